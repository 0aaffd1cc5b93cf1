#include "toolkit/CString.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "toolkit/ResourceFolder.h"

namespace {

// Room of the string-resource buffer, terminator included.
constexpr size_t kStringResourceBytes = 1024;

// Undoes the escapes that let one line of strings.txt hold any text:
// \n, \t and \\.
std::string Unescape(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            const char next = text[++i];
            if (next == 'n') out += '\n';
            else if (next == 't') out += '\t';
            else if (next == '\\') out += '\\';
            else {
                out += '\\';
                out += next;
            }
        } else {
            out += text[i];
        }
    }
    return out;
}

// Cuts to at most `limit` bytes, moving back over UTF-8 continuation bytes
// so that no character is left half.
void CutToBytes(std::string& text, size_t limit) {
    if (text.size() <= limit) return;
    size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text.resize(end);
}

// Finds `id` in strings.txt: lines "<id><TAB><text>", with blank lines and
// lines starting with '#' ignored.
bool FindStringResource(unsigned id, std::string& text) {
    const std::string path = std::string(AfxGetResourceFolder()) + "strings.txt";
    std::ifstream table(path, std::ios::binary);
    std::string line;
    while (std::getline(table, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        char* end = nullptr;
        const unsigned long lineId = std::strtoul(line.c_str(), &end, 10);
        if (end == line.c_str() || lineId != id) continue;
        if (*end != '\t' && *end != ' ' && *end != '\0') continue;
        size_t start = static_cast<size_t>(end - line.c_str());
        while (start < line.size() && (line[start] == '\t' || line[start] == ' ')) ++start;
        text = Unescape(line.substr(start));
        return true;
    }
    return false;
}

}  // namespace

CString& CString::operator=(const char* text) {
    m_text = text ? text : "";
    return *this;
}

CString& CString::operator+=(const char* text) {
    if (text) m_text += text;
    return *this;
}

CString& CString::operator+=(const CString& text) {
    m_text += text.m_text;
    return *this;
}

CString& CString::operator+=(char c) {
    m_text += c;
    return *this;
}

CString operator+(const CString& a, const CString& b) {
    CString sum(a);
    sum += b;
    return sum;
}

void CString::Format(const char* format, ...) {
    if (!format) {
        m_text.clear();
        return;
    }
    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    const int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    std::string formatted;
    if (length > 0) {
        std::vector<char> buffer(static_cast<size_t>(length) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        formatted.assign(buffer.data(), static_cast<size_t>(length));
    }
    va_end(args);
    m_text = formatted;
}

bool CString::LoadString(unsigned id) {
    std::string text;
    if (!FindStringResource(id, text)) return false;
    CutToBytes(text, kStringResourceBytes - 1);
    m_text = text;
    return true;
}
