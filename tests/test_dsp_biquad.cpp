// The tap filter: coefficient design, the frequency limit, the flush of tiny
// results and block handling. The side-by-side runner, for every number of
// filters six taps can give, is held bit for bit to one filter at a time by
// the delay tap's reference run.
#include <gtest/gtest.h>

#include <iterator>

#include "dsp/CBiquadFilter.h"
#include "dsp/FlushTiny.h"
#include "tests/BiquadReference.h"

namespace {

BiquadCoefficients Read(const CBiquadFilter& f) {
    return {f.GetA0(), f.GetA1(), f.GetA2(), f.GetB0(), f.GetB1(), f.GetB2()};
}

// Every coefficient within `relative` of the expected one (exactly equal for 0).
void ExpectClose(const BiquadCoefficients& e, const BiquadCoefficients& a, double relative = 1e-12) {
    const double pairs[6][2] = {{e.a0, a.a0}, {e.a1, a.a1}, {e.a2, a.a2}, {e.b0, a.b0}, {e.b1, a.b1}, {e.b2, a.b2}};
    for (const auto& p : pairs)
        EXPECT_LE(std::fabs(p[0] - p[1]), relative * std::max(1.0, std::fabs(p[0]))) << p[0] << " vs " << p[1];
}

std::vector<double> Filtered(CBiquadFilter& f, const std::vector<double>& in) {
    std::vector<double> out(in.size(), -1.0);
    f.OperateFilter(in.data(), out.data(), int(in.size()));
    return out;
}

}  // namespace

TEST(BiquadDesign, CoefficientsFollowTheFormulasForEveryType) {
    // 20 kHz is below 95 % of Nyquist at 44.1 kHz, 30 kHz above it at 44.1
    // and 48 kHz: the limit itself is part of the formulas.
    CBiquadFilter f;
    for (int type = 0; type < 3; ++type)
        for (double rate : {44100, 48000, 96000})
            for (double freq : {20, 1000, 5000, 15000, 20000, 30000})
                for (double gain : {-18, -6, 3, 18})
                    for (double q : {0.1, 0.707, 1.0, 10.0}) {
                        SCOPED_TRACE(testing::Message() << type << " " << rate << " " << freq << " " << gain
                                                        << " " << q);
                        const double* b0 = f.CalcCoefficients(rate, freq, gain, q, type);
                        EXPECT_EQ(*b0, f.GetB0());
                        ExpectClose(CookbookDesign<long double>(rate, freq, gain, q, type), Read(f));
                    }
}

TEST(BiquadDesign, UnknownTypeNormalisesTheStoredSetAgain) {
    CBiquadFilter f;
    f.CalcCoefficients(44100, 1000, 6, 1, 1);
    const BiquadCoefficients b = Read(f);
    f.CalcCoefficients(44100, 5000, -6, 3, 7);
    ExpectClose({b.a0, b.a1 / b.a0, b.a2 / b.a0, b.b0 / b.a0, b.b1 / b.a0, b.b2 / b.a0}, Read(f), 0.0);
}

TEST(BiquadRun, MatchesPlainRecurrenceInBlocksOfAnySizeAndTheTailFallsToExactZeros) {
    CBiquadFilter f;
    f.CalcCoefficients(44100, 500, 18, 1, 1);  // a peak that rings for a while
    std::vector<double> in = Noise(20000, 3);
    std::fill(in.begin() + 2000, in.end(), 0.0);
    // Blocks of 0 .. 8 samples at random; negative counts do nothing.
    std::vector<double> out(in.size(), -1.0);
    std::mt19937 rng(7);
    for (size_t at = 0; at < in.size();) {
        const int n = std::min<int>(int(rng() % 9), int(in.size() - at));
        f.OperateFilter(in.data() + at, out.data() + at, n);
        f.OperateFilter(in.data() + at, out.data() + at, -5);
        at += n;
    }
    RefBiquad ref{Read(f)};
    int zeros = 0;
    for (size_t i = 0; i < in.size(); ++i) {
        ASSERT_TRUE(SameBits(ref.Step(in[i]), out[i])) << i;
        ASSERT_FALSE(out[i] != 0.0 && std::fabs(out[i]) < kTiny) << i;
        zeros += out[i] == 0.0;
    }
    EXPECT_GT(zeros, 10000);
    EXPECT_TRUE(SameBits(out.back(), 0.0));
}

TEST(BiquadRun, ResultsBelowTwoToTheMinusTwentyFlushToZero) {
    // FlushTiny is the rule on its own. At 0 dB every type is a unit all-pass,
    // so a fresh filter's first output is its input after the flush, in every
    // lane of OperateFilters (OperateFilter is held to the same rule above).
    const double below = std::nextafter(kTiny, 0.0);
    const double cases[][2] = {{kTiny, kTiny},       {-kTiny, -kTiny},       {2 * kTiny, 2 * kTiny}, {below, 0.0},
                               {-below, 0.0},        {1e-300, 0.0},          {4.9e-324, 0.0},        {-4.9e-324, 0.0},
                               {0.0, 0.0},           {-0.0, -0.0},  // zero is not "non-zero": kept with its sign
                               {INFINITY, INFINITY}, {-INFINITY, -INFINITY}};
    const int count = int(std::size(cases));
    std::vector<CBiquadFilter> lanes(count);
    std::vector<CBiquadFilter*> pointers;
    std::vector<const double*> in;
    std::vector<double> out(count, 99.0);
    std::vector<double*> outputs;
    for (int k = 0; k < count; ++k) {
        lanes[k].CalcCoefficients(48000, 1000, 0, 1, k % 3);
        pointers.push_back(&lanes[k]);
        in.push_back(&cases[k][0]);
        outputs.push_back(&out[k]);
    }
    CBiquadFilter::OperateFilters(pointers.data(), in.data(), outputs.data(), count, 1);
    for (int k = 0; k < count; ++k) {
        const double x = cases[k][0], flushed = cases[k][1];
        EXPECT_TRUE(SameBits(FlushTiny(x), flushed)) << x;
        EXPECT_TRUE(x == 0.0 ? out[k] == 0.0 : SameBits(out[k], flushed)) << x << " -> " << out[k];
    }
    EXPECT_TRUE(std::isnan(FlushTiny(NAN)));
    CBiquadFilter f;
    f.CalcCoefficients(44100, 1000, 0, 1, 1);
    EXPECT_TRUE(std::isnan(Filtered(f, {NAN})[0]));
}

// A redesign mid-run keeping the history is part of the tap's random
// reference run. Reset and the single-precision form have no caller here:
// one short check each.
TEST(BiquadRun, ResetClearsTheHistoryAndTheFloatFormStoresAndFeedsBackFloats) {
    const std::vector<double> noise = Noise(300, 23);
    CBiquadFilter f, fresh;
    f.CalcCoefficients(44100, 700, 15, 6, 1);
    fresh.CalcCoefficients(44100, 700, 15, 6, 1);
    Filtered(f, noise);
    f.Reset();
    EXPECT_EQ(FirstDifference(Filtered(f, noise), Filtered(fresh, noise)), -1);

    const BiquadCoefficients k = Read(f);
    f.Reset();
    const int n = 60000;
    std::vector<float> in(n, 0.0f), out(n);
    std::copy(noise.begin(), noise.end(), in.begin());
    f.OperateFilter(in.data(), out.data(), 100);
    f.OperateFilter(in.data() + 100, out.data() + 100, n - 100);
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (int i = 0; i < n; ++i) {
        const double x = in[i];
        float y = float(k.b0 * x + k.b1 * x1 + k.b2 * x2 - k.a1 * y1 - k.a2 * y2);
        if (y != 0.0f && std::fabs(y) < float(kTiny))
            y = 0.0f;
        ASSERT_EQ(std::memcmp(&y, &out[i], sizeof y), 0) << i;
        x2 = x1, x1 = x, y2 = y1, y1 = y;
    }
    EXPECT_EQ(out[n - 1], 0.0f);
}
