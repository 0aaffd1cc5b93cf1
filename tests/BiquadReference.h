// The tap filter written out plainly from the cookbook formulas, one sample
// at a time, for the filter and delay-tap tests to compare against; and small
// helpers for bit-exact comparisons and test signals.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

constexpr double kTiny = 1.0 / 1048576.0;  // 2^-20: smaller results are flushed to 0.0

struct BiquadCoefficients {
    double a0, a1, a2, b0, b1, b2;  // a1 .. b2 divided by a0
};

// Types 0 low shelf, 1 peaking, 2 high shelf, with the shelf slope sqrt(A / q)
// and the frequency limited to 95 % of Nyquist. Computed in R: long double for
// a check within a tolerance, double for a bit-exact one.
template <class R>
BiquadCoefficients CookbookDesign(double rate, double frequency, double gainDb, double q, int type) {
    const R A = std::pow(R(10), R(gainDb) / 40);
    const R f = std::min(R(0.5 * rate * 0.95), R(frequency));
    const R w = f / R(rate) * R(6.283185307);
    const R sn = std::sin(w), cs = std::cos(w), beta = std::sqrt(A / R(q));
    R a0, a1, a2, b0, b1, b2;
    if (type == 0) {
        b0 = A * ((A + 1) - (A - 1) * cs + beta * sn);
        b1 = 2 * A * ((A - 1) - (A + 1) * cs);
        b2 = A * ((A + 1) - (A - 1) * cs - beta * sn);
        a0 = (A + 1) + (A - 1) * cs + beta * sn;
        a1 = -2 * ((A - 1) + (A + 1) * cs);
        a2 = (A + 1) + (A - 1) * cs - beta * sn;
    } else if (type == 1) {
        const R alpha = sn / (2 * R(q));
        b0 = 1 + A * alpha;
        b1 = -2 * cs;
        b2 = 1 - A * alpha;
        a0 = 1 + alpha / A;
        a1 = -2 * cs;
        a2 = 1 - alpha / A;
    } else {
        b0 = A * ((A + 1) + (A - 1) * cs + beta * sn);
        b1 = -2 * A * ((A - 1) + (A + 1) * cs);
        b2 = A * ((A + 1) + (A - 1) * cs - beta * sn);
        a0 = (A + 1) - (A - 1) * cs + beta * sn;
        a1 = 2 * ((A - 1) - (A + 1) * cs);
        a2 = (A + 1) - (A - 1) * cs - beta * sn;
    }
    return {double(a0), double(a1 / a0), double(a2 / a0), double(b0 / a0), double(b1 / a0), double(b2 / a0)};
}

// y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2 with the flush of tiny results.
struct RefBiquad {
    BiquadCoefficients k;
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;

    double Step(double x) {
        double y = k.b0 * x + k.b1 * x1 + k.b2 * x2 - k.a1 * y1 - k.a2 * y2;
        if (y != 0.0 && std::fabs(y) < kTiny)
            y = 0.0;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

inline bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Index of the first element whose bits differ (or the shorter size), -1 when none does.
inline long FirstDifference(const std::vector<double>& a, const std::vector<double>& b) {
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        if (!SameBits(a[i], b[i]))
            return long(i);
    return a.size() == b.size() ? -1 : long(std::min(a.size(), b.size()));
}

inline std::vector<double> Noise(int n, unsigned seed, double level = 1.0) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-level, level);
    std::vector<double> v(std::max(n, 0));
    for (double& x : v)
        x = d(rng);
    return v;
}
