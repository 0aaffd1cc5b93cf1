// One delay tap: line length, pass-through, the pan matrix, and bit-for-bit
// agreement of the optimised tap (alone and side by side) with a plain
// per-sample reference over long random settings (full feedback, any non-zero
// switch value as on), which also pins the filter's place: after the line,
// outside the feedback loop.
#include <gtest/gtest.h>

#include <array>

#include "dsp/DelayMain.h"
#include "tests/BiquadReference.h"

namespace {

// The tap's arithmetic one sample at a time, with the same setters as
// DelayMain: both lines and both filters kept and run separately.
class RefTap {
public:
    RefTap() {
        MakePan();
        Prepare();
        Design();
    }
    void SetDelatTime(float ms) { m_time = ms; Prepare(); }
    void SetFs(long long hz) { m_rate = hz; Prepare(); Design(); }
    void SetGain(float gain) { m_gain = gain; }
    void SetPan(float pan) { m_pan = pan; MakePan(); }
    void SetFeedBack(float amount) { m_feedback = amount; }
    void SetFeedBackOn(float on) { m_feedbackOn = on; }
    void SetFilterFreq(float hz) { m_freq = hz; Design(); }
    void SetFilterType(float type) { m_type = type; Design(); }
    void SetFilterGain(float db) { m_filterGain = db; Design(); }
    void SetFilterQ(float q) { m_q = q; Design(); }
    void SetFilterActive(float on) { m_filterOn = on; }
    void SetBloackSize(int) {}

    void Process(const double* in, double* outL, double* outR, int n) {
        const double fb = m_feedbackOn != 0.0f ? double(m_feedback) : 0.0, g = m_gain;
        for (int i = 0; i < n; ++i) {
            const double x = in[i];
            double L = x, R = x;
            if (m_time != 0.0f) {
                L = m_lineL[m_write];
                m_lineL[m_write] = x + fb * L;
                R = m_lineR[m_write];
                m_lineR[m_write] = fb * R + x;
                m_write = m_write + 1 < int(m_lineL.size()) ? m_write + 1 : 0;
            }
            if (m_filterOn != 0.0f) {
                L = m_filterL.Step(L);
                R = m_filterR.Step(R);
            }
            outL[i] = (L * m_ll + R * m_lr) * g;
            outR[i] = (R * m_rr + outL[i] * m_rl) * g;  // the panned left sample: g twice
        }
    }

private:
    int m_write = 0;
    double m_ll = 1, m_lr = 0, m_rl = 0, m_rr = 1;
    float m_gain = 0.5f, m_pan = 0.5f, m_time = 0.1f, m_feedback = 0.2f, m_feedbackOn = 0;
    float m_freq = 1000, m_type = 0, m_filterOn = 0, m_filterGain = 0, m_q = 1;
    long long m_rate = 44100;
    std::vector<double> m_lineL, m_lineR;
    RefBiquad m_filterL{}, m_filterR{};

    static double Panpot(float x) { return x < 0.5 ? 1.0 : 1.0 + (x - 0.5) * (-2.0); }
    void MakePan() {
        const double pl = Panpot(m_pan), pr = Panpot(1.0f - m_pan);
        m_ll = pl;
        m_lr = 1.0 - pr;
        m_rl = 1.0 - pl;
        m_rr = pr;
    }
    void Prepare() {
        m_write = 0;
        const int length = int(double(float(m_rate) * m_time) / 1000.0);
        m_lineL.assign(std::max(length, 1), 0.0);
        m_lineR = m_lineL;
    }
    void Design() {
        m_filterL.k = m_filterR.k = CookbookDesign<double>(double(m_rate), m_freq, m_filterGain, m_q, int(m_type));
    }
};

struct TapOutput {
    std::vector<double> left, right;
};

TapOutput Process(DelayMain& tap, std::vector<double> in) {
    TapOutput r{std::vector<double>(in.size(), -7.0), std::vector<double>(in.size(), -7.0)};
    double* inputs[1] = {in.data()};
    double* outputs[2] = {r.left.data(), r.right.data()};
    tap.Process(inputs, outputs, int(in.size()));
    return r;
}

std::vector<double> Impulse(int n, double height = 1.0) {
    std::vector<double> v(n, 0.0);
    v[0] = height;
    return v;
}

// Where an impulse comes out: the delay seen from outside.
int EchoPosition(DelayMain& tap, int n) {
    const TapOutput r = Process(tap, Impulse(n));
    for (int i = 0; i < n; ++i)
        if (r.left[i] != 0.0)
            return i;
    return -1;
}

// Gain 1, centred, blocks of any length in one piece.
void Unity(DelayMain& tap, long long rate, float ms, float feedbackOn = 0) {
    tap.SetGain(1.0f);
    tap.SetBloackSize(1 << 14);
    tap.SetFs(rate);
    tap.SetDelatTime(ms);
    tap.SetFeedBack(1.0f);
    tap.SetFeedBackOn(feedbackOn);
}

// Left and right outputs of `taps` taps, filled with a marker that a call
// with no samples must leave.
struct TapOutputs {
    std::vector<std::array<std::vector<double>, 2>> data;
    std::vector<std::array<double*, 2>> pair;
    std::vector<double**> pairs;

    TapOutputs(int taps, int n) : data(taps), pair(taps), pairs(taps) {
        for (int k = 0; k < taps; ++k) {
            for (int c = 0; c < 2; ++c) {
                data[k][c].assign(std::max(n, 1), -9.0);
                pair[k][c] = data[k][c].data();
            }
            pairs[k] = pair[k].data();
        }
    }
};

}  // namespace

TEST(DelayLine, LengthIsRateTimesTimeInWholeSamplesAndANewTimeClearsTheLine) {
    struct Case {
        long long rate;
        float ms;
        int samples;
    };
    const Case cases[] = {
        {44100, 10.0f, 441}, {48000, 10.0f, 480},     {44100, 0.1f, 4},      {48000, 0.1f, 4},
        {96000, 1.0f, 96},   {44100, 0.02f, 1},       {44100, 0.0001f, 1},   {48000, 123.4f, 5923},
        {44100, -5.0f, 1},   {48000, 250.0f, 12000},
        {44100, 50.839f, 2242},  // the single-precision product rounds up to 2242000
    };
    for (const Case& c : cases) {
        DelayMain tap;
        Unity(tap, c.rate, c.ms);
        EXPECT_EQ(EchoPosition(tap, c.samples + 10), c.samples) << c.rate << " Hz, " << c.ms << " ms";
    }
    DelayMain fresh;  // 0.1 ms at 44100 Hz; block sizes of 0 or below are ignored
    fresh.SetGain(1.0f);
    fresh.SetBloackSize(0);
    fresh.SetBloackSize(-100);
    EXPECT_EQ(EchoPosition(fresh, 1000), 4);

    // A new time, even the same one, clears the line (full feedback on); a
    // rate of zero or below is ignored.
    DelayMain tap;
    Unity(tap, 48000, 1.0f, 1.0f);
    Process(tap, Impulse(30));
    tap.SetDelatTime(1.0f);
    EXPECT_EQ(Process(tap, std::vector<double>(200, 0.0)).left, std::vector<double>(200, 0.0));
    tap.SetFs(0);
    tap.SetFs(-44100);
    EXPECT_EQ(EchoPosition(tap, 60), 48);
}

TEST(DelayPan, MatrixCases) {
    // Both lines carry the delayed y. At gain 1: pan .5 -> L'=L, R'=R;
    // 0 -> L'=L+R, R'=0; 1 -> L'=0, R'=R; .25 -> L'=L+.5R, R'=.5R. At pan .75
    // (left level .5, right-from-left .5) and gain .5 the cross term carries
    // the gain twice: L' = .5 y g, R' = (y + .5 L') g.
    struct Case {
        float pan, gain;
        double left, right;  // per unit of delayed signal
    };
    const Case cases[] = {
        {0.5f, 1, 1.0, 1.0},  {0.0f, 1, 2.0, 0.0},           {1.0f, 1, 0.0, 1.0},
        {0.25f, 1, 1.5, 0.5}, {0.75f, 0.5f, 0.25, 0.5625},
    };
    for (const Case& c : cases) {
        DelayMain tap;
        tap.SetPan(c.pan);
        tap.SetGain(c.gain);
        const TapOutput r = Process(tap, Impulse(8, 0.5));
        EXPECT_EQ(r.left[4], 0.5 * c.left) << c.pan;
        EXPECT_EQ(r.right[4], 0.5 * c.right) << c.pan;
    }
    DelayMain tap;
    tap.SetPan(NAN);
    const TapOutput r = Process(tap, Impulse(8));
    EXPECT_TRUE(std::isnan(r.left[4]) && std::isnan(r.right[4]));
}

// ---------------------------------------------------------------------------
// Long random sequences: the optimised tap, run alone and six side by side
// (with empty places), against the reference, bit for bit.

namespace {

// Setting `which` (0 .. 11) of a tap, the reference's or the optimised one's.
template <class Tap>
void Set(Tap& t, int which, float v) {
    switch (which) {
    case 0: return t.SetDelatTime(v);
    case 1: return t.SetGain(v);
    case 2: return t.SetPan(v);
    case 3: return t.SetFeedBack(v);
    case 4: return t.SetFeedBackOn(v);
    case 5: return t.SetFilterFreq(v);
    case 6: return t.SetFilterType(v);
    case 7: return t.SetFilterGain(v);
    case 8: return t.SetFilterQ(v);
    case 9: return t.SetFilterActive(v);
    case 10: return t.SetBloackSize(int(v));
    default: return t.SetFs(int64_t(v));
    }
}

// A random value for setting `which`: its range with special values mixed in.
float RandomValue(int which, std::mt19937& rng) {
    const float u = std::uniform_real_distribution<float>(0.0f, 1.0f)(rng);
    const int pick = int(rng() % 10);
    switch (which) {
    // ms: pass-through, below one sample, or short lines that wrap often.
    case 0: return pick == 0 ? 0.0f : pick == 1 ? u * 0.03f : u * 25.0f;
    case 1: return 0.001f + u * 1.999f;
    case 2: return pick < 3 ? 0.5f * pick : pick == 3 ? -0.5f + u * 2.0f : u;  // now and then beyond the range
    case 3: return pick < 2 ? 1.0f : u;
    case 4: return float(pick % 3) * 0.5f;  // .5 counts as on
    case 5: return 20.0f + u * (pick < 3 ? 40000.0f : 15000.0f);  // some above the frequency limit
    case 6: return float(pick % 3);
    case 7: return -18.0f + u * 36.0f;
    case 8: return 0.1f + u * 19.9f;
    case 9: return pick < 3 ? 0.0f : 1.0f;
    case 10: return float(int(u * 700.0f) - 1);  // block size; 0 and -1 are ignored
    default: return float(std::array<int, 4>{44100, 48000, 96000, 22050}[pick % 4]);
    }
}

std::vector<double> RandomBlock(int n, std::mt19937& rng) {
    const int kind = int(rng() % 6);
    std::vector<double> in = Noise(n, rng(), kind == 0 ? 0.0 : kind == 1 ? 1e-6 : kind == 2 ? 8.0 : 1.0);
    if (kind == 3)  // sparse clicks let tails decay
        for (double& x : in)
            x = rng() % 50 == 0 ? x : 0.0;
    return in;
}

}  // namespace

// Side by side, the six taps sit in ten places, four of them empty, so that
// both of the runner's passes (eight places each) hold taps.
constexpr int kPlaces = 10;
constexpr int kPlace[6] = {1, 2, 3, 7, 8, 9};

TEST(DelayReference, OptimisedTapsMatchThePlainFormBitForBit) {
    RefTap ref[6];
    DelayMain alone[6], together[6];
    auto set = [&](int k, int which, float v) {
        Set(ref[k], which, v);
        Set(alone[k], which, v);
        Set(together[k], which, v);
    };
    for (int k = 0; k < 6; ++k) {
        set(k, 4, 1.0f);  // feedback and filter on
        set(k, 9, 1.0f);
    }
    std::mt19937 rng(20240611);
    long long compared = 0;
    for (int block = 0; block < 4000; ++block) {
        for (int changes = int(rng() % 4); changes > 0; --changes) {
            const int which = int(rng() % 12);
            const float v = RandomValue(which, rng);
            if (which == 11)  // a new rate for every tap
                for (int k = 0; k < 6; ++k)
                    set(k, which, v);
            else
                set(int(rng() % 6), which, v);
        }
        const int pick = int(rng() % 10);
        const int n = pick < 2 ? pick + 1 : pick == 2 ? int(rng() % 1500) - 1 : int(rng() % 600);
        std::vector<double> in = RandomBlock(std::max(n, 1), rng);
        const std::vector<double> pristine = in;
        double* inputs[2] = {in.data(), in.data()};

        TapOutputs expected(6, n), aloneOut(6, n), togetherOut(kPlaces, n);
        DelayMain* taps[kPlaces] = {};
        for (int k = 0; k < 6; ++k) {
            ref[k].Process(pristine.data(), expected.pair[k][0], expected.pair[k][1], n);
            alone[k].Process(inputs, aloneOut.pairs[k], n);
            taps[kPlace[k]] = &together[k];
        }
        DelayMain::ProcessTaps(taps, kPlaces, inputs, togetherOut.pairs.data(), n);
        ASSERT_EQ(in, pristine) << "input changed";
        for (int k = 0; k < 6; ++k)
            for (int c = 0; c < 2; ++c) {
                ASSERT_EQ(FirstDifference(expected.data[k][c], aloneOut.data[k][c]), -1)
                    << "alone: block " << block << " tap " << k << " channel " << c;
                ASSERT_EQ(FirstDifference(expected.data[k][c], togetherOut.data[kPlace[k]][c]), -1)
                    << "together: block " << block << " tap " << k << " channel " << c;
                compared += std::max(n, 0);
            }
    }
    EXPECT_GT(compared, 10000000);
    DelayMain* none[kPlaces] = {};
    TapOutputs untouched(kPlaces, 16);
    std::vector<double> in(16, 1.0);
    double* inputs[1] = {in.data()};
    DelayMain::ProcessTaps(none, kPlaces, inputs, untouched.pairs.data(), 16);
    DelayMain::ProcessTaps(nullptr, kPlaces, inputs, untouched.pairs.data(), 16);
    DelayMain::ProcessTaps(none, 0, inputs, untouched.pairs.data(), 16);
    EXPECT_EQ(untouched.data[0][0], std::vector<double>(16, -9.0));
}
