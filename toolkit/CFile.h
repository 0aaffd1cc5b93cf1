// A binary file over one C standard-library stream, with MFC's open flags.
#pragma once

#include <cstdint>
#include <cstdio>

#include "toolkit/CString.h"

// Accepted by Open for MFC compatibility; never filled.
class CFileException {};

class CFile {
public:
    enum OpenFlags : unsigned {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
        typeText = 0x4000,
        typeBinary = 0x8000,
    };
    enum SeekPosition : unsigned { begin = 0, current = 1, end = 2 };

    CFile() = default;
    ~CFile() { Close(); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // path may be a POSIX path or a "file://" URL. The mode is chosen by the
    // first flag present of: modeCreate (any existing file is deleted, then
    // opened for writing from empty), modeReadWrite ("w+b"), modeWrite ("wb");
    // otherwise the file is opened for reading. A file still open is closed first.
    bool Open(const char* path, unsigned flags, CFileException* exception = nullptr);

    // Bytes read, 0 when the file is not open.
    unsigned Read(void* buffer, unsigned count);
    // Does nothing when the file is not open; a failed write is remembered
    // for WriteFailed and Close.
    void Write(const void* buffer, unsigned count);
    // from: begin, current or end; any other value leaves the position.
    // Returns the position afterwards, 0 when the file is not open.
    uint64_t Seek(int64_t offset, unsigned from);

    // Pushes buffered writes to the system; false when that fails or a write failed.
    bool Flush();
    // Closes the stream if open (safe to call twice). False when a write since
    // Open failed or the final flush failed, so a writer can tell its file is incomplete.
    bool Close();

    bool IsOpen() const { return m_stream != nullptr; }
    bool WriteFailed() const { return m_writeFailed; }
    // The POSIX path given to the last Open.
    CString GetFilePath() const { return m_path; }

private:
    FILE* m_stream = nullptr;
    CString m_path;
    bool m_writeFailed = false;
};
