// The Butterworth low-pass / high-pass equaliser filter.
#include <gtest/gtest.h>

#include <complex>
#include <thread>

#include "dsp/CIIRFilter.h"
#include "tests/BiquadReference.h"

namespace {

struct Expected {
    double c1, c2, b0, b1, b2;
};

// Bilinear transform of the analog Butterworth section, in long double.
Expected Design(double first, double second, bool lowPass) {
    typedef long double R;
    const R k = R(second) * R(6.283184) * R(first);
    const R d = 4 + R(2.82842712) * k + k * k;
    const R b0 = lowPass ? k * k / d : 4 / d;
    return {double((8 - 2 * k * k) / d), double(-(4 - R(2.82842712) * k + k * k) / d), double(b0),
            double(lowPass ? 2 * b0 : -2 * b0), double(b0)};
}

Expected Read(const CIIRFilter& f) { return {f.GetC1(), f.GetC2(), f.GetB0(), f.GetB1(), f.GetB2()}; }

void ExpectNear(const Expected& e, const Expected& a, double tolerance) {
    const double pairs[5][2] = {{e.c1, a.c1}, {e.c2, a.c2}, {e.b0, a.b0}, {e.b1, a.b1}, {e.b2, a.b2}};
    for (const auto& p : pairs)
        EXPECT_NEAR(p[0], p[1], tolerance);
}

double Magnitude(const CIIRFilter& f, double w) {
    const std::complex<double> z1 = std::polar(1.0, -w), z2 = z1 * z1;
    return std::abs((f.GetB0() + f.GetB1() * z1 + f.GetB2() * z2) / (1.0 - f.GetC1() * z1 - f.GetC2() * z2));
}

}  // namespace

TEST(IIRDesign, CoefficientsFollowTheBilinearButterworth) {
    for (bool lowPass : {true, false})
        for (double fc : {20, 440, 1000, 8000, 20000})
            for (double rate : {44100, 48000, 96000}) {
                SCOPED_TRACE(testing::Message() << lowPass << " " << fc << " " << rate);
                CIIRFilter f;
                f.SetParams(fc, 1.0 / rate, lowPass);
                ExpectNear(Design(fc, 1.0 / rate, lowPass), Read(f), 1e-13);
            }
    // The two design functions look at the stored values, not at the flag.
    CIIRFilter f;
    f.SetParams(1000, 1.0 / 44100, true);
    f.CalcHPFCoefficients();
    ExpectNear(Design(1000, 1.0 / 44100, false), Read(f), 1e-15);
    f.CalcLPFCoefficients();
    ExpectNear(Design(1000, 1.0 / 44100, true), Read(f), 1e-15);
}

TEST(IIRDesign, ResponseAtDcTheWarpedCutoffAndNyquist) {
    // Low-pass: 1 at DC, 0 at Nyquist; high-pass the other way round. The
    // bilinear transform puts the analog cutoff k at tan(w / 2) = k / 2,
    // where both are at half power.
    for (double fc : {1.0, 100.0, 200.0, 3000.0, 5000.0, 12000.0}) {
        const double k = fc / 48000 * 2 * M_PI, w = 2 * std::atan(k / 2);
        CIIRFilter lp, hp;
        lp.SetParams(fc, 1.0 / 48000, true);
        hp.SetParams(fc, 1.0 / 48000, false);
        EXPECT_NEAR((lp.GetB0() + lp.GetB1() + lp.GetB2()) / (1 - lp.GetC1() - lp.GetC2()), 1.0, 1e-6);
        EXPECT_NEAR(hp.GetB0() + hp.GetB1() + hp.GetB2(), 0.0, 1e-15);
        EXPECT_NEAR(Magnitude(lp, w), std::sqrt(0.5), 1e-6);
        EXPECT_NEAR(Magnitude(hp, w), std::sqrt(0.5), 1e-6);
        EXPECT_NEAR(Magnitude(lp, M_PI), 0.0, 1e-9);
        EXPECT_NEAR(Magnitude(hp, M_PI), 1.0, 1e-9);
    }
}

TEST(IIRRun, MatchesPlainRecurrenceAndFlushesTheTail) {
    CIIRFilter f;
    f.SetParams(300, 1.0 / 44100, true);
    const Expected k = Read(f);
    const int n = 100000;
    std::vector<double> in = Noise(n, 4), out(n);
    std::fill(in.begin() + 2000, in.end(), 0.0);
    f.OperateEqualizer(in.data(), out.data(), n);
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (int i = 0; i < n; ++i) {
        double y = k.b0 * in[i] + k.b1 * x1 + k.b2 * x2 + k.c1 * y1 + k.c2 * y2;
        if (y != 0.0 && std::fabs(y) < kTiny)
            y = 0.0;
        ASSERT_TRUE(SameBits(y, out[i])) << i;
        x2 = x1, x1 = in[i], y2 = y1, y1 = y;
    }
    EXPECT_TRUE(SameBits(out[n - 1], 0.0));
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
            pieces.OperateEqualizer(in.data() + at, out.data() + at, std::min<int>(size, int(in.size() - at)));
            pieces.OperateEqualizer(in.data() + at, out.data() + at, 0);  // does nothing
            pieces.OperateEqualizer(in.data() + at, out.data() + at, -3);
        }
        EXPECT_EQ(FirstDifference(expected, out), -1) << "size " << size;
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
