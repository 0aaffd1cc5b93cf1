// A byte string in the MFC manner. It has no encoding of its own: program
// names in it may be Shift-JIS or UTF-8 bytes.
#pragma once

#include <string>

class CString {
public:
    CString() = default;
    CString(const char* text) { *this = text; }

    CString& operator=(const char* text);
    CString& operator+=(const char* text);
    CString& operator+=(const CString& text);
    CString& operator+=(char c);

    operator const char*() const { return m_text.c_str(); }
    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }

    // printf rules; the arguments may include this string's own text.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Assigns the text of string resource `id` from strings.txt in the
    // resource folder, at most 1023 bytes (a 1024-byte buffer with its
    // terminator), never cutting a UTF-8 character in two. Returns false and
    // leaves the string unchanged when the id has no entry.
    bool LoadString(unsigned id);

    friend CString operator+(const CString& a, const CString& b);
    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.m_text == (b ? b : ""); }
    friend bool operator==(const char* a, const CString& b) { return b == a; }
    friend bool operator!=(const CString& a, const CString& b) { return !(a == b); }
    friend bool operator!=(const CString& a, const char* b) { return !(a == b); }
    friend bool operator!=(const char* a, const CString& b) { return !(b == a); }

private:
    std::string m_text;
};
