// Text helpers of the toolkit: file URLs to POSIX paths, the Shift-JIS and
// UTF-8 conversions for program names, and Win32's small string helpers.
#pragma once

#include <cstddef>
#include <cstring>

// Room for a POSIX path, terminator included.
constexpr size_t kMaxPOSIXPathBytes = 2048;

// Turns a "file://" URL (authority empty or "localhost", percent-escapes
// allowed; also "file:/path") into its POSIX path in dst and returns true.
// Text that is not a URL (no "scheme:" prefix, as for a plain path) is copied
// unchanged (cut to dstSize - 1 bytes) and the result is false. A URL whose path cannot be formed (another
// scheme, another host, a bad or NUL escape, an empty or too long path) leaves
// dst as it was and returns true, so that an open of dst that follows fails.
// The two-argument form expects room for kMaxPOSIXPathBytes bytes in dst.
bool PathToPOSIX(char* dst, size_t dstSize, const char* src);
bool PathToPOSIX(char* dst, const char* src);

// Writes src to dst as UTF-8 for display: valid UTF-8 is copied unchanged;
// else, when src decodes as Shift-JIS (Windows code page 932), its UTF-8 form
// is written and the result is true; else src is copied unchanged. Output
// longer than dstSize - 1 bytes is cut without splitting a UTF-8 character.
// The two-argument form expects room for 3 * strlen(src) + 1 bytes (each
// Shift-JIS byte becomes at most three UTF-8 bytes).
bool CheckSJISAndToUFT8(const char* src, char* dst, size_t dstSize);
bool CheckSJISAndToUFT8(const char* src, char* dst);

// The Shift-JIS (code page 932) form of a UTF-8 text, in a buffer owned by
// the toolkit that stays valid until the next call on the same thread; null
// when src is null, not UTF-8 or holds a character Shift-JIS cannot represent.
const char* UTF8ToSJSINS(const char* src);

// True for every byte with the high bit set: the cautious reading used when
// cutting Shift-JIS text, so that no half character is kept.
inline bool IsDBCSLeadByte(unsigned char b) { return (b & 0x80) != 0; }

// Case-insensitive comparison as Win32's: ASCII letters compare as lower
// case, other bytes by their unsigned value. A null text sorts first.
int stricmp(const char* a, const char* b);

inline void ZeroMemory(void* destination, size_t length) {
    if (destination && length) std::memset(destination, 0, length);
}
