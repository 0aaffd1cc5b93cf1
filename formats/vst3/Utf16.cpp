#include "formats/vst3/Utf16.h"

namespace {

// The code point starting at text[i], advancing i; U+FFFD for a bad sequence.
char32_t NextCodePoint(const std::string& text, size_t& i) {
    const unsigned char lead = (unsigned char)text[i++];
    if (lead < 0x80) return lead;
    int more = lead >= 0xF0 && lead < 0xF5 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 && lead < 0xE0 ? 1 : -1;
    if (more < 0) return 0xFFFD;
    char32_t point = lead & (0x3F >> more);
    for (; more > 0; more--) {
        if (i >= text.size() || ((unsigned char)text[i] & 0xC0) != 0x80) return 0xFFFD;
        point = (point << 6) | ((unsigned char)text[i++] & 0x3F);
    }
    return point > 0x10FFFF || (point >= 0xD800 && point < 0xE000) ? 0xFFFD : point;
}

void AppendUtf8(std::string& out, char32_t point) {
    if (point < 0x80) {
        out += (char)point;
    } else if (point < 0x800) {
        out += (char)(0xC0 | (point >> 6));
        out += (char)(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        out += (char)(0xE0 | (point >> 12));
        out += (char)(0x80 | ((point >> 6) & 0x3F));
        out += (char)(0x80 | (point & 0x3F));
    } else {
        out += (char)(0xF0 | (point >> 18));
        out += (char)(0x80 | ((point >> 12) & 0x3F));
        out += (char)(0x80 | ((point >> 6) & 0x3F));
        out += (char)(0x80 | (point & 0x3F));
    }
}

}  // namespace

void CopyUtf16(char16_t* out, size_t capacity, const std::string& text) {
    if (!out || capacity == 0) return;
    size_t used = 0;
    for (size_t i = 0; i < text.size();) {
        const char32_t point = NextCodePoint(text, i);
        const size_t units = point >= 0x10000 ? 2 : 1;
        if (used + units >= capacity) break;
        if (units == 2) {
            out[used++] = (char16_t)(0xD800 + ((point - 0x10000) >> 10));
            out[used++] = (char16_t)(0xDC00 + ((point - 0x10000) & 0x3FF));
        } else {
            out[used++] = (char16_t)point;
        }
    }
    out[used] = 0;
}

std::string ToUtf8(const char16_t* text, size_t capacity) {
    std::string out;
    for (size_t i = 0; text && i < capacity && text[i]; i++) {
        char32_t point = text[i];
        const bool high = point >= 0xD800 && point < 0xDC00;
        if (high && i + 1 < capacity && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00);
        else if (point >= 0xD800 && point < 0xE000)
            point = 0xFFFD;
        AppendUtf8(out, point);
    }
    return out;
}
