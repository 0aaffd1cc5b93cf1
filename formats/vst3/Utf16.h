// VST 3 strings are UTF-16; ours are UTF-8.
#pragma once

#include <cstddef>
#include <string>

// Writes text into out (room for `capacity` units, terminator included), cut
// at a character boundary. Bytes that are not UTF-8 become U+FFFD.
void CopyUtf16(char16_t* out, size_t capacity, const std::string& text);

// At most `capacity` units of text, up to its terminator.
std::string ToUtf8(const char16_t* text, size_t capacity);
