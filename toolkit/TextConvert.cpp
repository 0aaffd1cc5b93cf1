#include "toolkit/TextConvert.h"

#include <iconv.h>

#include <cerrno>
#include <string>

namespace {

// The Windows form of Shift-JIS: ASCII stays ASCII (0x5C is a backslash),
// and the NEC and IBM extensions that Japanese program names use decode.
const char* const kShiftJIS = "CP932";

bool IsASCIIAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsASCIIDigit(char c) { return c >= '0' && c <= '9'; }
char ASCIILower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualsNoCase(const std::string& a, const char* b) {
    if (a.size() != std::strlen(b)) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (ASCIILower(a[i]) != ASCIILower(b[i])) return false;
    return true;
}

int HexValue(char c) {
    if (IsASCIIDigit(c)) return c - '0';
    const char lower = ASCIILower(c);
    if (lower >= 'a' && lower <= 'f') return lower - 'a' + 10;
    return -1;
}

// Length of the URL scheme at the start of text ("file" in "file://..."),
// 0 when the text does not start with "scheme:".
size_t SchemeLength(const char* text) {
    if (!IsASCIIAlpha(text[0])) return 0;
    size_t i = 1;
    while (IsASCIIAlpha(text[i]) || IsASCIIDigit(text[i]) || text[i] == '+' || text[i] == '-' ||
           text[i] == '.')
        ++i;
    return text[i] == ':' ? i : 0;
}

// The POSIX path of the part of a file URL after "file:"; false when there is none.
bool FileURLPath(const char* rest, std::string& path) {
    const char* pathStart = rest;
    if (rest[0] == '/' && rest[1] == '/') {
        const char* authority = rest + 2;
        const char* authorityEnd = authority;
        while (*authorityEnd && *authorityEnd != '/' && *authorityEnd != '?' && *authorityEnd != '#')
            ++authorityEnd;
        const std::string host(authority, authorityEnd);
        if (!host.empty() && !EqualsNoCase(host, "localhost")) return false;
        pathStart = authorityEnd;
    }
    if (*pathStart != '/') return false;
    path.clear();
    for (const char* p = pathStart; *p && *p != '?' && *p != '#'; ++p) {
        if (*p != '%') {
            path += *p;
            continue;
        }
        const int high = HexValue(p[1]);
        const int low = high < 0 ? -1 : HexValue(p[2]);
        if (low < 0) return false;
        const char decoded = static_cast<char>(high * 16 + low);
        if (decoded == '\0') return false;
        path += decoded;
        p += 2;
    }
    return true;
}

// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool IsValidUTF8(const unsigned char* s, size_t length) {
    size_t i = 0;
    while (i < length) {
        const unsigned char c = s[i];
        size_t extra;
        unsigned long codePoint;
        if (c < 0x80) {
            ++i;
            continue;
        } else if (c >= 0xC2 && c <= 0xDF) {
            extra = 1;
            codePoint = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2;
            codePoint = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3;
            codePoint = c & 0x07;
        } else {
            return false;
        }
        if (length - i - 1 < extra) return false;
        for (size_t k = 1; k <= extra; ++k) {
            if ((s[i + k] & 0xC0) != 0x80) return false;
            codePoint = (codePoint << 6) | (s[i + k] & 0x3F);
        }
        if ((extra == 2 && codePoint < 0x800) || (extra == 3 && codePoint < 0x10000) ||
            (codePoint >= 0xD800 && codePoint <= 0xDFFF) || codePoint > 0x10FFFF)
            return false;
        i += extra + 1;
    }
    return true;
}

// Converts all of input between two encodings; false when any byte sequence
// is invalid in the source or has no form in the target.
bool Convert(const char* to, const char* from, const std::string& input, std::string& output) {
    iconv_t converter = iconv_open(to, from);
    if (converter == reinterpret_cast<iconv_t>(-1)) return false;
    output.assign(input.size() * 3 + 16, '\0');
    char* in = const_cast<char*>(input.data());
    size_t inLeft = input.size();
    size_t used = 0;
    bool ok = true;
    for (;;) {
        char* out = &output[used];
        size_t outLeft = output.size() - used;
        // Once all input is taken, one more call without input ends the shift state.
        const bool flushing = inLeft == 0;
        const size_t result = flushing ? iconv(converter, nullptr, nullptr, &out, &outLeft)
                                       : iconv(converter, &in, &inLeft, &out, &outLeft);
        used = output.size() - outLeft;
        if (result != static_cast<size_t>(-1)) {
            if (flushing) break;
            continue;
        }
        if (errno == E2BIG) {
            output.resize(output.size() * 2);
            continue;
        }
        ok = false;  // EILSEQ or EINVAL: not text of the source encoding
        break;
    }
    iconv_close(converter);
    output.resize(ok ? used : 0);
    return ok;
}

// Copies at most dstSize - 1 bytes and terminates; with utf8 set, the cut
// moves back to the start of a character.
void CopyOut(const std::string& text, char* dst, size_t dstSize, bool utf8) {
    size_t length = text.size();
    if (length > dstSize - 1) {
        length = dstSize - 1;
        while (utf8 && length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
            --length;
    }
    std::memmove(dst, text.data(), length);
    dst[length] = '\0';
}

}  // namespace

bool PathToPOSIX(char* dst, size_t dstSize, const char* src) {
    if (!dst || dstSize == 0 || !src) return false;
    const size_t schemeLength = SchemeLength(src);
    if (schemeLength == 0) {
        CopyOut(src, dst, dstSize, false);
        return false;
    }
    const std::string scheme(src, schemeLength);
    std::string path;
    if (EqualsNoCase(scheme, "file") && FileURLPath(src + schemeLength + 1, path) &&
        path.size() < dstSize)
        std::memcpy(dst, path.c_str(), path.size() + 1);
    return true;
}

bool PathToPOSIX(char* dst, const char* src) { return PathToPOSIX(dst, kMaxPOSIXPathBytes, src); }

bool CheckSJISAndToUFT8(const char* src, char* dst, size_t dstSize) {
    if (!dst || dstSize == 0) return false;
    const std::string source = src ? src : "";
    const bool isUTF8 =
        IsValidUTF8(reinterpret_cast<const unsigned char*>(source.data()), source.size());
    std::string converted;
    if (!isUTF8 && Convert("UTF-8", kShiftJIS, source, converted)) {
        CopyOut(converted, dst, dstSize, true);
        return true;
    }
    CopyOut(source, dst, dstSize, isUTF8);
    return false;
}

bool CheckSJISAndToUFT8(const char* src, char* dst) {
    return CheckSJISAndToUFT8(src, dst, (src ? std::strlen(src) : 0) * 3 + 1);
}

const char* UTF8ToSJSINS(const char* src) {
    thread_local std::string shiftJIS;
    if (!src) return nullptr;
    const std::string source = src;
    if (!IsValidUTF8(reinterpret_cast<const unsigned char*>(source.data()), source.size()))
        return nullptr;
    if (!Convert(kShiftJIS, "UTF-8", source, shiftJIS)) return nullptr;
    return shiftJIS.c_str();
}

int stricmp(const char* a, const char* b) {
    if (!a || !b) return (a ? 1 : 0) - (b ? 1 : 0);
    for (;; ++a, ++b) {
        const unsigned char ca = static_cast<unsigned char>(ASCIILower(*a));
        const unsigned char cb = static_cast<unsigned char>(ASCIILower(*b));
        if (ca != cb || ca == '\0') return ca - cb;
    }
}
