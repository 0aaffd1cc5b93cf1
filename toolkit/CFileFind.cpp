#include "toolkit/CFileFind.h"

#include <cstring>
#include <string>

#include "toolkit/TextConvert.h"

bool CFileFind::FindFile(const char* pattern) {
    Close();
    char posixPattern[kMaxPOSIXPathBytes] = "";
    if (!pattern || std::strlen(pattern) >= sizeof posixPattern) return false;
    PathToPOSIX(posixPattern, sizeof posixPattern, pattern);
    if (posixPattern[0] == '\0') return false;

    const std::string path = posixPattern;
    m_root = path.substr(0, path.rfind('/') + 1).c_str();  // npos + 1 == 0: no folder

    // Escape what glob would read as its own syntax but Win32 does not.
    std::string globPattern;
    for (const char c : path) {
        if (c == '[' || c == ']' || c == '\\') globPattern += '\\';
        globPattern += c;
    }
    m_searching = true;
    return glob(globPattern.c_str(), 0, nullptr, &m_matches) == 0 && m_matches.gl_pathc > 0;
}

void CFileFind::Close() {
    if (m_searching) globfree(&m_matches);
    m_matches = glob_t{};
    m_searching = false;
}
