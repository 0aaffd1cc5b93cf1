// The tap filter: coefficient design, responses, the frequency limit, the
// flush of tiny results, block handling and the side-by-side runner.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <vector>

#include "dsp/CBiquadFilter.h"
#include "dsp/FlushTiny.h"

namespace {

constexpr double kTiny = 1.0 / 1048576.0;  // 2^-20

struct Coefficients {
    double a0, a1, a2, b0, b1, b2;  // a1 .. b2 divided by a0
};

// The design written out from the cookbook formulas with the shelf slope
// sqrt(A / q), in long double.
Coefficients Design(double rate, double frequency, double gainDb, double q, int type) {
    typedef long double R;
    const R A = std::pow(R(10), R(gainDb) / 40);
    R f = frequency;
    if (f > R(rate) / 2 * R(0.95))
        f = R(rate) / 2 * R(0.95);
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

Coefficients Read(const CBiquadFilter& f) {
    return {f.GetA0(), f.GetA1(), f.GetA2(), f.GetB0(), f.GetB1(), f.GetB2()};
}

void ExpectClose(const Coefficients& expected, const Coefficients& actual) {
    auto near = [](double e, double a) { return std::fabs(e - a) <= 1e-12 * std::max(1.0, std::fabs(e)); };
    EXPECT_TRUE(near(expected.a0, actual.a0)) << expected.a0 << " vs " << actual.a0;
    EXPECT_TRUE(near(expected.a1, actual.a1)) << expected.a1 << " vs " << actual.a1;
    EXPECT_TRUE(near(expected.a2, actual.a2)) << expected.a2 << " vs " << actual.a2;
    EXPECT_TRUE(near(expected.b0, actual.b0)) << expected.b0 << " vs " << actual.b0;
    EXPECT_TRUE(near(expected.b1, actual.b1)) << expected.b1 << " vs " << actual.b1;
    EXPECT_TRUE(near(expected.b2, actual.b2)) << expected.b2 << " vs " << actual.b2;
}

// |H(e^jw)| of the stored coefficients.
double Magnitude(const CBiquadFilter& f, double w) {
    const std::complex<double> z1 = std::polar(1.0, -w), z2 = z1 * z1;
    return std::abs((f.GetB0() + f.GetB1() * z1 + f.GetB2() * z2) / (1.0 + f.GetA1() * z1 + f.GetA2() * z2));
}

// Steady-state amplitude of the filter's answer to a sine at w (run on a fresh copy).
double MeasuredGain(CBiquadFilter f, double w) {
    f.Reset();
    const int n = 1 << 16, settle = 1 << 15;
    std::vector<double> in(n), out(n);
    for (int i = 0; i < n; ++i)
        in[i] = std::cos(w * i);
    f.OperateFilter(in.data(), out.data(), n);
    double c = 0, s = 0;
    for (int i = settle; i < n; ++i) {
        c += out[i] * std::cos(w * i);
        s += out[i] * std::sin(w * i);
    }
    // At DC and Nyquist the sine part vanishes and the cosine carries it all.
    const double scale = (w == 0.0 || w == M_PI) ? 1.0 : 2.0;
    return scale * std::hypot(c, s) / (n - settle);
}

// The recurrence written plainly, with its own flush rule.
struct Reference {
    Coefficients k;
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

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

std::vector<double> Noise(int n, unsigned seed, double level = 1.0) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-level, level);
    std::vector<double> v(n);
    for (double& x : v)
        x = d(rng);
    return v;
}

}  // namespace

TEST(BiquadDesign, CoefficientsFollowTheFormulasForEveryType) {
    const double rates[] = {44100, 48000, 96000};
    const double freqs[] = {20, 1000, 5000, 15000};
    const double gains[] = {-18, -6, 3, 18};
    const double qs[] = {0.1, 0.707, 1, 10};
    CBiquadFilter f;
    for (int type = 0; type < 3; ++type)
        for (double rate : rates)
            for (double freq : freqs)
                for (double gain : gains)
                    for (double q : qs) {
                        SCOPED_TRACE(testing::Message() << type << " " << rate << " " << freq << " " << gain << " " << q);
                        f.CalcCoefficients(rate, freq, gain, q, type);
                        ExpectClose(Design(rate, freq, gain, q, type), Read(f));
                    }
}

TEST(BiquadDesign, ReturnsPointerToB0) {
    CBiquadFilter f;
    const double* b = f.CalcCoefficients(44100, 1000, 6, 1, 1);
    EXPECT_EQ(*b, f.GetB0());
}

TEST(BiquadDesign, ShelfSlopeIsSquareRootOfAOverQ) {
    // With A = 10^(12/40) and q = 4 the cookbook's sqrt(A)/q would differ.
    const double A = std::pow(10.0, 12.0 / 40.0), q = 4.0, w = 2000.0 / 48000.0 * 6.283185307;
    const double beta = std::sqrt(A / q);
    const double a0 = (A + 1) + (A - 1) * std::cos(w) + beta * std::sin(w);
    CBiquadFilter f;
    f.CalcCoefficients(48000, 2000, 12, q, 0);
    EXPECT_NEAR(f.GetA0(), a0, 1e-12);
}

TEST(BiquadDesign, ResponseMatchesClosedFormAtDcNyquistAndCentre) {
    const double rate = 48000, freq = 2000, q = 1.4;
    const double w0 = freq / rate * 6.283185307;
    for (double gain : {-12.0, 9.0}) {
        const double level = std::pow(10.0, gain / 20.0);  // A^2
        CBiquadFilter low, peak, high;
        low.CalcCoefficients(rate, freq, gain, q, 0);
        peak.CalcCoefficients(rate, freq, gain, q, 1);
        high.CalcCoefficients(rate, freq, gain, q, 2);
        EXPECT_NEAR(Magnitude(low, 0), level, 1e-9);
        EXPECT_NEAR(Magnitude(low, M_PI), 1.0, 1e-9);
        EXPECT_NEAR(Magnitude(high, 0), 1.0, 1e-9);
        EXPECT_NEAR(Magnitude(high, M_PI), level, 1e-9);
        EXPECT_NEAR(Magnitude(peak, 0), 1.0, 1e-9);
        EXPECT_NEAR(Magnitude(peak, M_PI), 1.0, 1e-9);
        EXPECT_NEAR(Magnitude(peak, w0), level, 1e-9);
        // The same seen from outside: a running filter fed with sines.
        EXPECT_NEAR(MeasuredGain(low, 0), level, 1e-4);
        EXPECT_NEAR(MeasuredGain(high, M_PI), level, 1e-4);
        EXPECT_NEAR(MeasuredGain(peak, w0), level, 1e-3);  // window not a whole number of periods
        EXPECT_NEAR(MeasuredGain(peak, M_PI), 1.0, 1e-4);
    }
}

TEST(BiquadDesign, FrequencyIsLimitedTo95PercentOfNyquist) {
    CBiquadFilter limited, atLimit, below;
    for (int type = 0; type < 3; ++type) {
        limited.CalcCoefficients(44100, 30000, 6, 1, type);
        atLimit.CalcCoefficients(44100, 20947.5, 6, 1, type);
        below.CalcCoefficients(44100, 20000, 6, 1, type);
        ExpectClose(Read(atLimit), Read(limited));
        EXPECT_GT(std::fabs(below.GetB1() - limited.GetB1()), 1e-6);
        limited.CalcCoefficients(48000, 40000, 6, 1, type);
        atLimit.CalcCoefficients(48000, 22800, 6, 1, type);
        ExpectClose(Read(atLimit), Read(limited));
    }
}

TEST(BiquadDesign, ZeroDecibelsIsAUnitAllPass) {
    for (int type = 0; type < 3; ++type) {
        CBiquadFilter f;
        f.CalcCoefficients(44100, 3000, 0.0, 0.7, type);
        EXPECT_EQ(f.GetB0(), 1.0);
        EXPECT_EQ(f.GetB1(), f.GetA1());
        EXPECT_EQ(f.GetB2(), f.GetA2());
        const std::vector<double> in = Noise(4096, 7 + type);
        std::vector<double> out(in.size());
        f.OperateFilter(in.data(), out.data(), int(in.size()));
        for (size_t i = 0; i < in.size(); ++i)
            ASSERT_NEAR(out[i], in[i], 1e-12) << i;
    }
}

TEST(BiquadDesign, UnknownTypeNormalisesTheStoredSetAgain) {
    CBiquadFilter f;
    f.CalcCoefficients(44100, 1000, 6, 1, 1);
    const Coefficients before = Read(f);
    f.CalcCoefficients(44100, 5000, -6, 3, 7);
    const Coefficients after = Read(f);
    EXPECT_EQ(after.a0, before.a0);
    EXPECT_EQ(after.a1, before.a1 / before.a0);
    EXPECT_EQ(after.a2, before.a2 / before.a0);
    EXPECT_EQ(after.b0, before.b0 / before.a0);
    EXPECT_EQ(after.b1, before.b1 / before.a0);
    EXPECT_EQ(after.b2, before.b2 / before.a0);
}

TEST(BiquadRun, MatchesPlainRecurrenceBitForBit) {
    CBiquadFilter f;
    f.CalcCoefficients(48000, 800, 12, 2, 1);
    Reference ref{Read(f)};
    const std::vector<double> in = Noise(20000, 3);
    std::vector<double> out(in.size());
    f.OperateFilter(in.data(), out.data(), int(in.size()));
    for (size_t i = 0; i < in.size(); ++i)
        ASSERT_TRUE(SameBits(ref.Step(in[i]), out[i])) << i;
}

TEST(BiquadRun, DecayingTailFallsToExactZeros) {
    CBiquadFilter f;
    f.CalcCoefficients(44100, 500, 18, 1, 1);  // a peak that rings for a while
    const int n = 20000;
    std::vector<double> in(n, 0.0), out(n, 1.0);
    in[0] = 1.0;
    f.OperateFilter(in.data(), out.data(), n);
    Reference ref{Read(f)};
    int zerosAfterRinging = 0;
    for (int i = 0; i < n; ++i) {
        ASSERT_TRUE(SameBits(ref.Step(in[i]), out[i])) << i;
        ASSERT_FALSE(out[i] != 0.0 && std::fabs(out[i]) < kTiny) << i;
        if (i > 100 && out[i] == 0.0)
            ++zerosAfterRinging;
    }
    EXPECT_GT(zerosAfterRinging, n / 2);
    EXPECT_EQ(out[n - 1], 0.0);
    EXPECT_FALSE(std::signbit(out[n - 1]));
}

TEST(BiquadRun, FlushThresholdIsTwoToTheMinusTwenty) {
    // At 0 dB the first output of a fresh filter is the input itself.
    struct Case {
        double in, out;
    };
    const double below = std::nextafter(kTiny, 0.0);
    const Case cases[] = {{kTiny, kTiny},   {-kTiny, -kTiny}, {below, 0.0},         {-below, 0.0},
                          {1e-300, 0.0},    {4.9e-324, 0.0},  {2 * kTiny, 2 * kTiny}, {0.0, 0.0},
                          {INFINITY, INFINITY}};
    for (const Case& c : cases) {
        CBiquadFilter f;
        f.CalcCoefficients(44100, 1000, 0, 1, 1);
        double out = 99;
        f.OperateFilter(&c.in, &out, 1);
        EXPECT_TRUE(SameBits(out, c.out)) << c.in << " -> " << out;
    }
    CBiquadFilter f;
    f.CalcCoefficients(44100, 1000, 0, 1, 1);
    const double nan = NAN;
    double out = 0;
    f.OperateFilter(&nan, &out, 1);
    EXPECT_TRUE(std::isnan(out));
}

TEST(BiquadRun, BlocksOfAnySizeGiveTheSameStream) {
    const std::vector<double> in = Noise(5000, 11);
    CBiquadFilter whole;
    whole.CalcCoefficients(44100, 2500, -9, 0.5, 2);
    std::vector<double> expected(in.size());
    whole.OperateFilter(in.data(), expected.data(), int(in.size()));

    for (int pattern : {1, 2, 3, 7}) {
        CBiquadFilter pieces;
        pieces.CalcCoefficients(44100, 2500, -9, 0.5, 2);
        std::vector<double> out(in.size(), -1.0);
        std::mt19937 rng(pattern);
        size_t at = 0;
        while (at < in.size()) {
            int n = pattern == 7 ? int(rng() % 9) : pattern;  // random sizes 0..8 include 1 and 2
            n = std::min<int>(n, int(in.size() - at));
            pieces.OperateFilter(in.data() + at, out.data() + at, n);
            at += n;
        }
        for (size_t i = 0; i < in.size(); ++i)
            ASSERT_TRUE(SameBits(expected[i], out[i])) << "pattern " << pattern << " sample " << i;
    }
}

TEST(BiquadRun, EmptyOrNegativeBlockDoesNothing) {
    CBiquadFilter f, untouched;
    f.CalcCoefficients(44100, 1000, 6, 1, 0);
    untouched.CalcCoefficients(44100, 1000, 6, 1, 0);
    const std::vector<double> warm = Noise(10, 5);
    std::vector<double> sink(10);
    f.OperateFilter(warm.data(), sink.data(), 10);
    untouched.OperateFilter(warm.data(), sink.data(), 10);
    double out[1] = {42.0};
    f.OperateFilter(warm.data(), out, 0);
    f.OperateFilter(warm.data(), out, -5);
    EXPECT_EQ(out[0], 42.0);
    double a = 0, b = 0;
    const double one = 1.0;
    f.OperateFilter(&one, &a, 1);
    untouched.OperateFilter(&one, &b, 1);
    EXPECT_TRUE(SameBits(a, b));
}

TEST(BiquadRun, RedesignKeepsHistory) {
    const std::vector<double> in = Noise(400, 17);
    std::vector<double> out(in.size());
    CBiquadFilter f;
    f.CalcCoefficients(44100, 1000, 6, 1, 0);
    Reference ref{Read(f)};
    f.OperateFilter(in.data(), out.data(), 200);
    f.CalcCoefficients(44100, 4000, -6, 2, 1);
    f.OperateFilter(in.data() + 200, out.data() + 200, 200);
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE(SameBits(ref.Step(in[i]), out[i])) << i;
    ref.k = Read(f);  // new coefficients, old history
    for (int i = 200; i < 400; ++i)
        ASSERT_TRUE(SameBits(ref.Step(in[i]), out[i])) << i;

    // Reset clears it.
    f.Reset();
    CBiquadFilter fresh;
    fresh.CalcCoefficients(44100, 4000, -6, 2, 1);
    double a = 0, b = 0;
    f.OperateFilter(in.data(), &a, 1);
    fresh.OperateFilter(in.data(), &b, 1);
    EXPECT_TRUE(SameBits(a, b));
}

TEST(BiquadRun, SinglePrecisionStoresAndFeedsBackFloats) {
    CBiquadFilter f;
    f.CalcCoefficients(44100, 700, 15, 6, 1);
    const Coefficients k = Read(f);
    const int n = 60000;
    std::vector<float> in(n, 0.0f), out(n);
    const std::vector<double> noise = Noise(300, 23);
    for (int i = 0; i < 300; ++i)
        in[i] = float(noise[i]);
    f.OperateFilter(in.data(), out.data(), 100);
    f.OperateFilter(in.data() + 100, out.data() + 100, 1);
    f.OperateFilter(in.data() + 101, out.data() + 101, n - 101);
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (int i = 0; i < n; ++i) {
        const double x = in[i];
        float y = float(k.b0 * x + k.b1 * x1 + k.b2 * x2 - k.a1 * y1 - k.a2 * y2);
        if (y != 0.0f && std::fabs(y) < float(kTiny))
            y = 0.0f;
        ASSERT_EQ(std::memcmp(&y, &out[i], sizeof y), 0) << i;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
    }
    EXPECT_EQ(out[n - 1], 0.0f);
}

TEST(BiquadSideBySide, MatchesOneFilterAtATimeBitForBit) {
    std::mt19937 rng(99);
    for (int count = 1; count <= 13; ++count) {
        std::vector<CBiquadFilter> together(count), alone(count);
        for (int k = 0; k < count; ++k) {
            const double freq = 50 + rng() % 15000, gain = int(rng() % 37) - 18.0, q = 0.2 + (rng() % 100) / 10.0;
            const int type = int(rng() % 3);
            together[k].CalcCoefficients(48000, freq, gain, q, type);
            alone[k].CalcCoefficients(48000, freq, gain, q, type);
        }
        for (int round = 0; round < 8; ++round) {
            const int n = round == 0 ? 1 : round == 1 ? 2 : round == 2 ? 3 : int(rng() % 700);
            std::vector<std::vector<double>> in(count), out(count), expected(count);
            std::vector<CBiquadFilter*> filters;
            std::vector<const double*> inputs;
            std::vector<double*> outputs;
            for (int k = 0; k < count; ++k) {
                // Some blocks are quiet or end in silence so that results
                // reach the flush.
                in[k] = Noise(n, rng(), k % 3 == 0 ? 1e-5 : 1.0);
                for (int i = n / 2; k % 2 && i < n; ++i)
                    in[k][i] = 0.0;
                expected[k].assign(n, 0.0);
                out[k].assign(n, -1.0);
                alone[k].OperateFilter(in[k].data(), expected[k].data(), n);
                filters.push_back(&together[k]);
                inputs.push_back(in[k].data());
                outputs.push_back(out[k].data());
            }
            CBiquadFilter::OperateFilters(filters.data(), inputs.data(), outputs.data(), count, n);
            for (int k = 0; k < count; ++k)
                for (int i = 0; i < n; ++i)
                    ASSERT_TRUE(SameBits(expected[k][i], out[k][i]))
                        << "count " << count << " filter " << k << " sample " << i;
        }
    }
}

TEST(BiquadSideBySide, FlushEdgesMatchTheScalarRule) {
    // At 0 dB a fresh filter's first output is its input, so the flush alone
    // decides what comes out, in every lane of the side-by-side runner.
    const double below = std::nextafter(kTiny, 0.0);
    const double edges[] = {kTiny, -kTiny, below, -below, 4.9e-324, -4.9e-324, 0.0, -0.0, 2 * kTiny, INFINITY, -INFINITY};
    const int count = int(sizeof edges / sizeof edges[0]);
    std::vector<CBiquadFilter> filters(count);
    std::vector<CBiquadFilter*> pointers;
    std::vector<const double*> in;
    std::vector<double> out(count, 99.0);
    std::vector<double*> outputs;
    for (int k = 0; k < count; ++k) {
        filters[k].CalcCoefficients(48000, 1000, 0, 1, k % 3);
        pointers.push_back(&filters[k]);
        in.push_back(&edges[k]);
        outputs.push_back(&out[k]);
    }
    CBiquadFilter::OperateFilters(pointers.data(), in.data(), outputs.data(), count, 1);
    for (int k = 0; k < count; ++k) {
        CBiquadFilter alone;
        alone.CalcCoefficients(48000, 1000, 0, 1, k % 3);
        double expected = 0;
        alone.OperateFilter(&edges[k], &expected, 1);
        EXPECT_TRUE(SameBits(expected, out[k])) << edges[k] << " -> " << out[k];
        if (edges[k] != 0.0 && std::fabs(edges[k]) < kTiny) {
            EXPECT_TRUE(SameBits(out[k], 0.0)) << edges[k];
        }
    }
}

TEST(BiquadRun, FlushRuleOnItsOwn) {
    const double below = std::nextafter(kTiny, 0.0);
    EXPECT_TRUE(SameBits(FlushTiny(below), 0.0));
    EXPECT_TRUE(SameBits(FlushTiny(-below), 0.0));
    EXPECT_TRUE(SameBits(FlushTiny(-4.9e-324), 0.0));
    EXPECT_TRUE(SameBits(FlushTiny(kTiny), kTiny));
    EXPECT_TRUE(SameBits(FlushTiny(-kTiny), -kTiny));
    EXPECT_TRUE(SameBits(FlushTiny(-0.0), -0.0));  // zero is not "non-zero": kept as it is
    EXPECT_TRUE(SameBits(FlushTiny(0.0), 0.0));
    EXPECT_TRUE(SameBits(FlushTiny(-INFINITY), -INFINITY));
    EXPECT_TRUE(std::isnan(FlushTiny(NAN)));
}
