// The Butterworth equaliser each tap carries (outside its signal path): the
// bilinear design and a run against the plain recurrence, in blocks of any size.
#include <gtest/gtest.h>

#include "dsp/CIIRFilter.h"
#include "tests/BiquadReference.h"

TEST(IIRFilter, DesignAndRunFollowTheBilinearButterworth) {
    struct Case {
        double fc, rate;
        bool lowPass;
    };
    const Case cases[] = {{20, 44100, true}, {1000, 48000, false}, {8000, 96000, true}, {20000, 44100, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.fc << " " << c.rate << " " << c.lowPass);
        typedef long double R;
        const R k = R(1.0 / c.rate) * R(6.283184) * R(c.fc), d = 4 + R(2.82842712) * k + k * k;
        const R b0 = c.lowPass ? k * k / d : 4 / d;
        CIIRFilter f;
        f.SetParams(c.fc, 1.0 / c.rate, c.lowPass);
        EXPECT_NEAR(f.GetC1(), double((8 - 2 * k * k) / d), 1e-13);
        EXPECT_NEAR(f.GetC2(), double(-(4 - R(2.82842712) * k + k * k) / d), 1e-13);
        EXPECT_NEAR(f.GetB0(), double(b0), 1e-13);
        EXPECT_NEAR(f.GetB1(), double(c.lowPass ? 2 * b0 : -2 * b0), 1e-13);
        EXPECT_NEAR(f.GetB2(), double(b0), 1e-13);
        // The two design functions look at the stored values, not at the flag.
        CIIRFilter other;
        other.SetParams(c.fc, 1.0 / c.rate, !c.lowPass);
        c.lowPass ? other.CalcLPFCoefficients() : other.CalcHPFCoefficients();
        EXPECT_EQ(other.GetB1(), f.GetB1());

        // Noise then silence, in blocks of 1, 2, 77 (0 and negative counts do
        // nothing): the recurrence with tiny results flushed, bit for bit.
        const int n = 20000;
        std::vector<double> in = Noise(n, 4), out(n);
        std::fill(in.begin() + 2000, in.end(), 0.0);
        int size = 1;
        for (int at = 0; at < n; at += size, size = size == 1 ? 2 : 77) {
            f.OperateEqualizer(in.data() + at, out.data() + at, std::min(size, n - at));
            f.OperateEqualizer(in.data() + at, out.data() + at, at % 2 ? 0 : -3);
        }
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        for (int i = 0; i < n; ++i) {
            double y = f.GetB0() * in[i] + f.GetB1() * x1 + f.GetB2() * x2 + f.GetC1() * y1 + f.GetC2() * y2;
            if (y != 0.0 && std::fabs(y) < kTiny) y = 0.0;
            ASSERT_TRUE(SameBits(y, out[i])) << i;
            x2 = x1, x1 = in[i], y2 = y1, y1 = y;
        }
        EXPECT_TRUE(SameBits(out[n - 1], 0.0));
    }
}
