#include "toolkit/CFile.h"

#include <unistd.h>

#include <cstring>

#include "toolkit/TextConvert.h"

bool CFile::Open(const char* path, unsigned flags, CFileException* /*exception*/) {
    Close();
    m_writeFailed = false;
    // Stays empty when path is a URL without a file-system path, so the open fails.
    char posixPath[kMaxPOSIXPathBytes] = "";
    if (!path || std::strlen(path) >= sizeof posixPath) return false;
    PathToPOSIX(posixPath, sizeof posixPath, path);
    m_path = posixPath;
    if (posixPath[0] == '\0') return false;

    const char* mode = "rb";
    if (flags & modeCreate) {
        unlink(posixPath);  // unlink, not remove: it never takes a directory away
        mode = "wb";
    } else if (flags & modeReadWrite) {
        mode = "w+b";
    } else if (flags & modeWrite) {
        mode = "wb";
    }
    m_stream = std::fopen(posixPath, mode);
    return m_stream != nullptr;
}

unsigned CFile::Read(void* buffer, unsigned count) {
    if (!m_stream || !buffer || count == 0) return 0;
    return static_cast<unsigned>(std::fread(buffer, 1, count, m_stream));
}

void CFile::Write(const void* buffer, unsigned count) {
    if (!m_stream || !buffer || count == 0) return;
    if (std::fwrite(buffer, 1, count, m_stream) != count) m_writeFailed = true;
}

uint64_t CFile::Seek(int64_t offset, unsigned from) {
    if (!m_stream) return 0;
    static const int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (from < 3) fseeko(m_stream, static_cast<off_t>(offset), kOrigins[from]);
    const off_t position = ftello(m_stream);
    return position < 0 ? 0 : static_cast<uint64_t>(position);
}

bool CFile::Flush() {
    if (!m_stream) return !m_writeFailed;
    if (std::fflush(m_stream) != 0) m_writeFailed = true;
    return !m_writeFailed;
}

bool CFile::Close() {
    if (m_stream) {
        if (std::fclose(m_stream) != 0) m_writeFailed = true;
        m_stream = nullptr;
    }
    return !m_writeFailed;
}
