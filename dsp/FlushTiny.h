// The recursive filters set results below 2^-20 in magnitude to exactly 0.0,
// which keeps decaying tails out of the slow denormal range.
#pragma once

#include <cstdint>
#include <cstring>

constexpr uint64_t kFlushTinyBits = uint64_t(1023 - 20) << 52;  // bit pattern of 2^-20
constexpr uint64_t kMagnitudeBits = 0x7FFFFFFFFFFFFFFFull;

// Exactly 0.0 for 0 < |y| < 2^-20, else y unchanged (zeros keep their sign,
// NaN and infinities pass).
inline double FlushTiny(double y) {
    uint64_t bits;
    std::memcpy(&bits, &y, sizeof bits);
    // One unsigned compare: a zero magnitude wraps round to the top.
    return (bits & kMagnitudeBits) - 1 < kFlushTinyBits - 1 ? 0.0 : y;
}
