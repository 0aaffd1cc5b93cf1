// Text to numbers and back for the entry fields.
#pragma once

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>

namespace entry_value {

// The C library's atof (text that is not a number gives 0), with values
// beyond a double's range pulled to the largest finite double.
inline double ParseClamped(const char* text) {
    const double value = std::atof(text ? text : "");
    if (std::isnan(value)) return 0.0;
    if (value > DBL_MAX) return DBL_MAX;
    if (value < -DBL_MAX) return -DBL_MAX;
    return value;
}

// Truncated toward zero to a 32-bit integer; beyond that range the nearest
// end of it.
inline int ToScaledInt(double value) {
    if (std::isnan(value)) return 0;
    if (value >= static_cast<double>(INT_MAX)) return INT_MAX;
    if (value <= static_cast<double>(INT_MIN)) return INT_MIN;
    return static_cast<int>(value);
}

}  // namespace entry_value
