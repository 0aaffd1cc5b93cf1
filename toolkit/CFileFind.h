// Tells whether files matching a pattern exist, as MFC's CFileFind::FindFile.
#pragma once

#include <glob.h>

#include "toolkit/CString.h"

class CFileFind {
public:
    CFileFind() = default;
    ~CFileFind() { Close(); }
    CFileFind(const CFileFind&) = delete;
    CFileFind& operator=(const CFileFind&) = delete;

    // pattern: a POSIX path or "file://" URL whose last parts may hold the
    // wildcards '*' and '?' (the only ones, as in Win32; '[' and ']' are
    // plain characters). A pattern without wildcards asks whether that file
    // or folder exists. Returns true when at least one entry matches.
    bool FindFile(const char* pattern = "*");
    // Ends the search; safe to call twice.
    void Close();

    // The folder part of the last pattern, ending in "/" (empty when the
    // pattern named no folder).
    CString GetRoot() const { return m_root; }

private:
    CString m_root;
    glob_t m_matches{};
    bool m_searching = false;
};
