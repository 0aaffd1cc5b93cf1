// The Butterworth low-pass / high-pass equaliser filter.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "dsp/CIIRFilter.h"

namespace {

constexpr double kTiny = 1.0 / 1048576.0;  // 2^-20

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

struct Expected {
    double c1, c2, b0, b1, b2;
};

// Bilinear transform of the analog Butterworth section, written out in long double.
Expected Design(double first, double second, bool lowPass) {
    typedef long double R;
    const R k = R(second) * R(6.283184) * R(first);
    const R d = 4 + R(2.82842712) * k + k * k;
    const R b0 = lowPass ? k * k / d : 4 / d;
    return {double((8 - 2 * k * k) / d), double(-(4 - R(2.82842712) * k + k * k) / d), double(b0),
            double(lowPass ? 2 * b0 : -2 * b0), double(b0)};
}

double Magnitude(const CIIRFilter& f, double w) {
    const std::complex<double> z1 = std::polar(1.0, -w), z2 = z1 * z1;
    return std::abs((f.GetB0() + f.GetB1() * z1 + f.GetB2() * z2) / (1.0 - f.GetC1() * z1 - f.GetC2() * z2));
}

struct Reference {
    Expected k;
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    double Step(double x) {
        double y = k.b0 * x + k.b1 * x1 + k.b2 * x2 + k.c1 * y1 + k.c2 * y2;
        if (y != 0.0 && std::fabs(y) < kTiny)
            y = 0.0;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

Expected Read(const CIIRFilter& f) { return {f.GetC1(), f.GetC2(), f.GetB0(), f.GetB1(), f.GetB2()}; }

std::vector<double> Noise(int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-1, 1);
    std::vector<double> v(n);
    for (double& x : v)
        x = d(rng);
    return v;
}

}  // namespace

TEST(IIRDesign, CoefficientsFollowTheBilinearButterworth) {
    const double cutoffs[] = {20, 440, 1000, 8000, 20000};
    const double rates[] = {44100, 48000, 96000};
    for (bool lowPass : {true, false})
        for (double fc : cutoffs)
            for (double rate : rates) {
                CIIRFilter f;
                f.SetParams(fc, 1.0 / rate, lowPass);
                EXPECT_EQ(f.IsLowPass(), lowPass);
                const Expected e = Design(fc, 1.0 / rate, lowPass);
                EXPECT_NEAR(f.GetC1(), e.c1, 1e-13);
                EXPECT_NEAR(f.GetC2(), e.c2, 1e-13);
                EXPECT_NEAR(f.GetB0(), e.b0, 1e-13);
                EXPECT_NEAR(f.GetB1(), e.b1, 1e-13);
                EXPECT_NEAR(f.GetB2(), e.b2, 1e-13);
            }
}

TEST(IIRDesign, DesignDependsOnlyOnTheProductOfTheTwoValues) {
    CIIRFilter a, b;
    a.SetParams(1000, 1.0 / 48000, true);
    b.SetParams(1000.0 / 48000, 1.0, true);
    EXPECT_NEAR(a.GetB0(), b.GetB0(), 1e-15);
    EXPECT_NEAR(a.GetC1(), b.GetC1(), 1e-15);
}

TEST(IIRDesign, CalcFunctionsIgnoreTheFlag) {
    CIIRFilter f;
    f.SetParams(1000, 1.0 / 44100, true);
    f.CalcHPFCoefficients();
    EXPECT_TRUE(f.IsLowPass());
    EXPECT_NEAR(f.GetB0(), Design(1000, 1.0 / 44100, false).b0, 1e-15);
    f.CalcLPFCoefficients();
    EXPECT_NEAR(f.GetB0(), Design(1000, 1.0 / 44100, true).b0, 1e-15);
}

TEST(IIRDesign, DcGainIsOneForLowPassAndZeroForHighPass) {
    for (double fc : {1.0, 100.0, 5000.0}) {
        CIIRFilter lp, hp;
        lp.SetParams(fc, 1.0 / 44100, true);
        hp.SetParams(fc, 1.0 / 44100, false);
        EXPECT_NEAR((lp.GetB0() + lp.GetB1() + lp.GetB2()) / (1 - lp.GetC1() - lp.GetC2()), 1.0, 1e-6);
        EXPECT_NEAR(hp.GetB0() + hp.GetB1() + hp.GetB2(), 0.0, 1e-15);

        // A constant input settles at 1 through the low-pass, and at an exact
        // 0 through the high-pass once its tail passes the flush. (At very low
        // cutoffs the flush itself dominates: the low-pass's first outputs are
        // below 2^-20 and it never starts.)
        if (fc < 50)
            continue;
        const int n = 100000;
        std::vector<double> in(n, 1.0), out(n);
        lp.OperateEqualizer(in.data(), out.data(), n);
        EXPECT_NEAR(out[n - 1], 1.0, 1e-6);
        hp.OperateEqualizer(in.data(), out.data(), n);
        EXPECT_EQ(out[n - 1], 0.0);
    }
}

TEST(IIRDesign, HalfPowerAtTheWarpedCutoff) {
    // The bilinear transform puts the analog cutoff k at tan(w / 2) = k / 2.
    for (double fc : {200.0, 3000.0, 12000.0}) {
        const double k = fc / 48000 * 2 * M_PI, w = 2 * std::atan(k / 2);
        CIIRFilter lp, hp;
        lp.SetParams(fc, 1.0 / 48000, true);
        hp.SetParams(fc, 1.0 / 48000, false);
        EXPECT_NEAR(Magnitude(lp, w), std::sqrt(0.5), 1e-6);
        EXPECT_NEAR(Magnitude(hp, w), std::sqrt(0.5), 1e-6);
        EXPECT_NEAR(Magnitude(lp, M_PI), 0.0, 1e-9);
        EXPECT_NEAR(Magnitude(hp, M_PI), 1.0, 1e-9);
    }
}

TEST(IIRRun, MatchesPlainRecurrenceAndFlushesTheTail) {
    CIIRFilter f;
    f.SetParams(300, 1.0 / 44100, true);
    Reference ref{Read(f)};
    const int n = 100000;
    std::vector<double> in = Noise(n, 4), out(n);
    for (int i = 2000; i < n; ++i)
        in[i] = 0.0;
    f.OperateEqualizer(in.data(), out.data(), n);
    for (int i = 0; i < n; ++i) {
        ASSERT_TRUE(SameBits(ref.Step(in[i]), out[i])) << i;
        ASSERT_FALSE(out[i] != 0.0 && std::fabs(out[i]) < kTiny) << i;
    }
    EXPECT_EQ(out[n - 1], 0.0);
    EXPECT_FALSE(std::signbit(out[n - 1]));
}

TEST(IIRRun, BlocksOfOneTwoAndOddSizesGiveTheSameStream) {
    const std::vector<double> in = Noise(3001, 8);
    CIIRFilter whole;
    whole.SetParams(2000, 1.0 / 48000, false);
    std::vector<double> expected(in.size());
    whole.OperateEqualizer(in.data(), expected.data(), int(in.size()));
    for (int size : {1, 2, 3, 5, 77}) {
        CIIRFilter pieces;
        pieces.SetParams(2000, 1.0 / 48000, false);
        std::vector<double> out(in.size());
        for (size_t at = 0; at < in.size(); at += size) {
            const int n = std::min<int>(size, int(in.size() - at));
            pieces.OperateEqualizer(in.data() + at, out.data() + at, n);
            pieces.OperateEqualizer(in.data() + at, out.data() + at, 0);  // does nothing
            pieces.OperateEqualizer(in.data() + at, out.data() + at, -3);
        }
        for (size_t i = 0; i < in.size(); ++i)
            ASSERT_TRUE(SameBits(expected[i], out[i])) << "size " << size << " sample " << i;
    }
}

TEST(IIRRun, ChangingTheDesignWhileRunningIsSafe) {
    CIIRFilter f;
    f.SetParams(1000, 1.0 / 44100, true);
    std::thread designer([&f] {
        for (int i = 0; i < 2000; ++i)
            f.SetParams(100 + i, 1.0 / 44100, i % 2 == 0);
    });
    const std::vector<double> in = Noise(64, 1);
    std::vector<double> out(64);
    for (int i = 0; i < 2000; ++i)
        f.OperateEqualizer(in.data(), out.data(), 64);
    designer.join();
    for (double y : out)
        EXPECT_TRUE(std::isfinite(y));
}
