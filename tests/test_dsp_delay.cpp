// One delay tap: line length, feedback, pass-through, filter placement, the
// pan matrix, block handling, and bit-for-bit agreement of the optimised tap
// (alone and side by side) with a plain per-sample reference over long
// random parameter sequences.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "dsp/DelayMain.h"

namespace {

// ---------------------------------------------------------------------------
// Reference: the documented arithmetic, one sample at a time, both lines and
// both filters kept and run separately, the filter fed from scratch copies.

struct RefBiquad {
    double a0 = 1, a1 = 0, a2 = 0, b0 = 1, b1 = 0, b2 = 0;
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;

    static double Flush(double y) { return (y != 0.0 && std::fabs(y) < 1.0 / 1048576.0) ? 0.0 : y; }

    void Design(double rate, double freq, double gainDb, double q, int type) {
        const double A = std::pow(10.0, gainDb / 40.0);
        const double f = std::min(0.5 * rate * 0.95, freq);
        const double w = f / rate * 6.283185307;
        const double sn = std::sin(w), cs = std::cos(w), beta = std::sqrt(A / q);
        double na0 = a0, na1 = a1, na2 = a2, nb0 = b0, nb1 = b1, nb2 = b2;
        if (type == 0) {
            nb0 = A * ((A + 1) - (A - 1) * cs + beta * sn);
            nb1 = 2 * A * ((A - 1) - (A + 1) * cs);
            nb2 = A * ((A + 1) - (A - 1) * cs - beta * sn);
            na0 = (A + 1) + (A - 1) * cs + beta * sn;
            na1 = -2 * ((A - 1) + (A + 1) * cs);
            na2 = (A + 1) + (A - 1) * cs - beta * sn;
        } else if (type == 1) {
            const double alpha = sn / (2 * q);
            nb0 = 1 + A * alpha;
            nb1 = -2 * cs;
            nb2 = 1 - A * alpha;
            na0 = 1 + alpha / A;
            na1 = -2 * cs;
            na2 = 1 - alpha / A;
        } else if (type == 2) {
            nb0 = A * ((A + 1) + (A - 1) * cs + beta * sn);
            nb1 = -2 * A * ((A - 1) + (A + 1) * cs);
            nb2 = A * ((A + 1) + (A - 1) * cs - beta * sn);
            na0 = (A + 1) - (A - 1) * cs + beta * sn;
            na1 = 2 * ((A - 1) - (A + 1) * cs);
            na2 = (A + 1) - (A - 1) * cs - beta * sn;
        }
        a0 = na0;
        a1 = na1 / na0;
        a2 = na2 / na0;
        b0 = nb0 / na0;
        b1 = nb1 / na0;
        b2 = nb2 / na0;
    }

    // First two samples from the stored history, then the block itself.
    void Operate(const double* in, double* out, int n) {
        if (n <= 0)
            return;
        if (n == 1) {
            out[0] = Flush(b0 * in[0] + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2);
            x2 = x1;
            x1 = in[0];
            y2 = y1;
            y1 = out[0];
            return;
        }
        out[0] = Flush(b0 * in[0] + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2);
        out[1] = Flush(b0 * in[1] + b1 * in[0] + b2 * x1 - a1 * out[0] - a2 * y1);
        for (int i = 2; i < n; ++i)
            out[i] = Flush(b0 * in[i] + b1 * in[i - 1] + b2 * in[i - 2] - a1 * out[i - 1] - a2 * out[i - 2]);
        x1 = in[n - 1];
        x2 = in[n - 2];
        y1 = out[n - 1];
        y2 = out[n - 2];
    }
};

struct RefTap {
    int writeIndex = 0, length = 1;
    double ll = 1, lr = 0, rl = 0, rr = 1;
    float gain = 0.5f, pan = 0.5f, delayTime = 0.1f, feedback = 0.2f;
    long long rate = 44100;
    float freq = 1000, type = 0, filterOn = 0, filterGain = 0, q = 1, feedbackOn = 0;
    std::vector<double> lineL, lineR;
    RefBiquad filterL, filterR;

    RefTap() {
        MakePan();
        Prepare();
        InitFilter();
    }
    static double Panpot(float x) { return x < 0.5 ? 1.0 : 1.0 + (x - 0.5) * (-2.0); }
    void MakePan() {
        const double pl = Panpot(pan), pr = Panpot(1.0f - pan);
        ll = pl;
        lr = 1.0 - pr;
        rl = 1.0 - pl;
        rr = pr;
    }
    void Prepare() {
        writeIndex = 0;
        const float product = float(rate) * delayTime;
        length = int(double(product) / 1000.0);
        if (length < 1)
            length = 1;
        lineL.assign(length, 0.0);
        lineR.assign(length, 0.0);
    }
    void InitFilter() {
        filterL.Design(double(rate), freq, filterGain, q, int(type));
        filterR.Design(double(rate), freq, filterGain, q, int(type));
    }
    void Process(const double* in, double* outL, double* outR, int n) {
        if (n <= 0)
            return;
        const double fb = feedbackOn != 0.0f ? double(feedback) : 0.0;
        for (int i = 0; i < n; ++i) {
            const double x = in[i];
            if (delayTime != 0.0f) {
                const int p = writeIndex;
                const double yL = lineL[p];
                lineL[p] = x + fb * yL;
                outL[i] = yL;
                const double yR = lineR[p];
                lineR[p] = fb * yR + x;
                outR[i] = yR;
                writeIndex = p + 1 < length ? p + 1 : 0;
            } else {
                outL[i] = x;
                outR[i] = x;
            }
        }
        if (filterOn != 0.0f) {
            std::vector<double> scratchL(outL, outL + n), scratchR(outR, outR + n);
            filterL.Operate(scratchL.data(), outL, n);
            filterR.Operate(scratchR.data(), outR, n);
        }
        const double g = gain;
        for (int i = 0; i < n; ++i) {
            const double L = outL[i], R = outR[i];
            const double panned = (L * ll + R * lr) * g;
            outL[i] = panned;
            outR[i] = (R * rr + panned * rl) * g;
        }
    }
};

// ---------------------------------------------------------------------------

bool SameBits(const std::vector<double>& a, const std::vector<double>& b, size_t* where) {
    for (size_t i = 0; i < a.size(); ++i)
        if (std::memcmp(&a[i], &b[i], sizeof(double)) != 0) {
            *where = i;
            return false;
        }
    return true;
}

// Runs one tap on a block and returns its left and right outputs.
struct TapOutput {
    std::vector<double> left, right;
};
TapOutput Process(DelayMain& tap, std::vector<double> in) {
    TapOutput r{std::vector<double>(in.size(), -7.0), std::vector<double>(in.size(), -7.0)};
    double* inputs[2] = {in.data(), nullptr};
    double* outputs[2] = {r.left.data(), r.right.data()};
    tap.Process(inputs, outputs, int(in.size()));
    return r;
}

std::vector<double> Impulse(int n, double height = 1.0) {
    std::vector<double> v(n, 0.0);
    v[0] = height;
    return v;
}

// The delay seen from outside: where the impulse comes out.
int EchoPosition(DelayMain& tap, int n) {
    const TapOutput r = Process(tap, Impulse(n));
    for (int i = 0; i < n; ++i)
        if (r.left[i] != 0.0)
            return i;
    return -1;
}

DelayMain* UnityTap(DelayMain& tap) {
    tap.SetGain(1.0f);
    tap.SetPan(0.5f);
    tap.SetBloackSize(1 << 14);
    return &tap;
}

}  // namespace

TEST(DelayLine, LengthIsRateTimesTimeInWholeSamples) {
    struct Case {
        long long rate;
        float ms;
        int samples;
    };
    const Case cases[] = {
        {44100, 10.0f, 441},  {48000, 10.0f, 480},  {44100, 0.1f, 4},       {48000, 0.1f, 4},
        {96000, 1.0f, 96},    {44100, 0.02f, 1},    {44100, 0.0001f, 1},    {48000, 123.4f, 5923},
        {44100, -5.0f, 1},    {44100, 50.839f, 2242},  // single-precision product rounds up to 2242000
        {48000, 250.0f, 12000},
    };
    for (const Case& c : cases) {
        DelayMain tap;
        UnityTap(tap);
        tap.SetFs(c.rate);
        tap.SetDelatTime(c.ms);
        EXPECT_EQ(EchoPosition(tap, c.samples + 10), c.samples) << c.rate << " Hz, " << c.ms << " ms";
    }
}

TEST(DelayLine, DefaultIsFourSamplesAt44100) {
    DelayMain tap;
    UnityTap(tap);
    EXPECT_EQ(EchoPosition(tap, 16), 4);
}

TEST(DelayLine, ZeroTimePassesStraightThrough) {
    DelayMain tap;
    UnityTap(tap);
    tap.SetFeedBackOn(1.0f);
    tap.SetFeedBack(0.9f);
    tap.SetDelatTime(0.0f);
    std::vector<double> in = {0.5, -0.25, 1.0, 0.0, 3.0};
    const TapOutput r = Process(tap, in);
    EXPECT_EQ(r.left, in);
    EXPECT_EQ(r.right, in);
    EXPECT_EQ(Process(tap, in).left, in);  // no feedback builds up
}

TEST(DelayLine, FullFeedbackRecirculatesWithoutDecay) {
    DelayMain tap;
    UnityTap(tap);
    tap.SetFs(48000);
    tap.SetDelatTime(1.0f);  // 48 samples
    tap.SetFeedBack(1.0f);
    tap.SetFeedBackOn(1.0f);
    const TapOutput r = Process(tap, Impulse(48 * 200 + 1, 0.75));
    for (int i = 0; i < int(r.left.size()); ++i) {
        const double expected = (i % 48 == 0 && i > 0) ? 0.75 : 0.0;
        ASSERT_EQ(r.left[i], expected) << i;
        ASSERT_EQ(r.right[i], expected) << i;
    }
}

TEST(DelayLine, FeedbackSwitchedOffIgnoresTheStoredAmount) {
    DelayMain tap;
    UnityTap(tap);
    tap.SetFs(48000);
    tap.SetDelatTime(1.0f);
    tap.SetFeedBack(0.8f);
    tap.SetFeedBackOn(0.0f);
    const TapOutput r = Process(tap, Impulse(48 * 5));
    for (int i = 0; i < int(r.left.size()); ++i)
        ASSERT_EQ(r.left[i], i == 48 ? 1.0 : 0.0) << i;

    // Any non-zero switch value, a half included, turns it on.
    DelayMain half;
    UnityTap(half);
    half.SetFs(48000);
    half.SetDelatTime(1.0f);
    half.SetFeedBack(0.5f);
    half.SetFeedBackOn(0.5f);
    const TapOutput h = Process(half, Impulse(48 * 4));
    EXPECT_EQ(h.left[48], 1.0);
    EXPECT_EQ(h.left[96], 0.5);
    EXPECT_EQ(h.left[144], 0.25);
}

TEST(DelayLine, ChangingTheTimeOrRateClearsTheLine) {
    DelayMain tap;
    UnityTap(tap);
    tap.SetFs(48000);
    tap.SetDelatTime(1.0f);
    tap.SetFeedBackOn(1.0f);
    tap.SetFeedBack(1.0f);
    Process(tap, Impulse(30));
    tap.SetDelatTime(1.0f);  // same time still restarts from silence
    TapOutput r = Process(tap, std::vector<double>(200, 0.0));
    EXPECT_TRUE(std::all_of(r.left.begin(), r.left.end(), [](double v) { return v == 0.0; }));

    Process(tap, Impulse(30));
    tap.SetFs(48000);
    r = Process(tap, std::vector<double>(200, 0.0));
    EXPECT_TRUE(std::all_of(r.left.begin(), r.left.end(), [](double v) { return v == 0.0; }));

    tap.SetFs(0);  // ignored: the line keeps running at 48000
    tap.SetFs(-44100);
    EXPECT_EQ(EchoPosition(tap, 60), 48);
}

TEST(DelayPan, MatrixCasesAtUnityGain) {
    struct Case {
        float pan;
        double left, right;  // output per unit of delayed signal on each line
    };
    // With both lines carrying y: pan .5 -> L'=L, R'=R; 0 -> L'=L+R, R'=0;
    // 1 -> L'=0, R'=R; .25 -> L'=L+.5R, R'=.5R.
    const Case cases[] = {{0.5f, 1.0, 1.0}, {0.0f, 2.0, 0.0}, {1.0f, 0.0, 1.0}, {0.25f, 1.5, 0.5}};
    for (const Case& c : cases) {
        DelayMain tap;
        UnityTap(tap);
        tap.SetPan(c.pan);
        const TapOutput r = Process(tap, Impulse(8, 0.5));
        EXPECT_EQ(r.left[4], 0.5 * c.left) << c.pan;
        EXPECT_EQ(r.right[4], 0.5 * c.right) << c.pan;
    }
}

TEST(DelayPan, RightCrossTermCarriesTheGainTwice) {
    // Pan .75: left level .5, right level 1, right-from-left .5.
    // L' = .5 y g; R' = (y + L' .5) g = (y + .25 y g) g.
    DelayMain tap;
    UnityTap(tap);
    tap.SetPan(0.75f);
    tap.SetGain(0.5f);
    const TapOutput r = Process(tap, Impulse(8, 1.0));
    EXPECT_EQ(r.left[4], 0.25);
    EXPECT_EQ(r.right[4], 0.5625);
    EXPECT_EQ(DelayMain::GetWavePanpot(0.25f), 1.0);
    EXPECT_EQ(DelayMain::GetWavePanpot(0.5f), 1.0);
    EXPECT_EQ(DelayMain::GetWavePanpot(0.75f), 0.5);
    EXPECT_EQ(DelayMain::GetWavePanpot(1.0f), 0.0);
}

TEST(DelayPan, NotANumberPanGivesNotANumber) {
    DelayMain tap;
    UnityTap(tap);
    tap.SetPan(NAN);
    const TapOutput r = Process(tap, Impulse(8, 1.0));
    EXPECT_TRUE(std::isnan(r.left[4]));
    EXPECT_TRUE(std::isnan(r.right[4]));
}

TEST(DelayFilter, StandsAfterTheLineAndOutsideTheLoop) {
    // Each echo of an impulse is the filter's answer to that echo alone:
    // echo k has height fb^k, so the outputs are fb^k times one filtered
    // impulse (up to the flush), not a response filtered k times.
    DelayMain tap;
    UnityTap(tap);
    tap.SetFs(48000);
    tap.SetDelatTime(10.0f);  // 480 samples, far longer than the filter rings
    tap.SetFeedBackOn(1.0f);
    tap.SetFeedBack(0.5f);
    tap.SetFilterType(2.0f);
    tap.SetFilterFreq(3000.0f);
    tap.SetFilterGain(-12.0f);
    tap.SetFilterQ(0.7f);
    tap.SetFilterActive(1.0f);
    const TapOutput r = Process(tap, Impulse(480 * 4));
    for (int i = 0; i < 10; ++i) {
        EXPECT_NEAR(r.left[960 + i], 0.5 * r.left[480 + i], 1e-12) << i;
        EXPECT_NEAR(r.left[1440 + i], 0.25 * r.left[480 + i], 1e-12) << i;
    }
    EXPECT_NE(r.left[481], 0.0);  // the filter did act
    EXPECT_EQ(r.left, r.right);
}

TEST(DelayFilter, FilterChangesKeepHistory) {
    std::vector<double> in(600);
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> d(-1, 1);
    for (double& x : in)
        x = d(rng);
    DelayMain tap;
    RefTap ref;
    UnityTap(tap);
    ref.gain = 1.0f;
    tap.SetFilterActive(1.0f);
    ref.filterOn = 1.0f;
    TapOutput first = Process(tap, std::vector<double>(in.begin(), in.begin() + 300));
    tap.SetFilterFreq(5000.0f);
    tap.SetFilterGain(9.0f);
    TapOutput second = Process(tap, std::vector<double>(in.begin() + 300, in.end()));

    std::vector<double> L(600), R(600);
    ref.Process(in.data(), L.data(), R.data(), 300);
    ref.freq = 5000.0f;
    ref.filterGain = 9.0f;
    ref.InitFilter();
    ref.Process(in.data() + 300, L.data() + 300, R.data() + 300, 300);
    first.left.insert(first.left.end(), second.left.begin(), second.left.end());
    size_t where = 0;
    EXPECT_TRUE(SameBits(L, first.left, &where)) << where;
}

TEST(DelayBlocks, AnyBlockSizeGivesTheSameStream) {
    std::vector<double> in(3000);
    std::mt19937 rng(9);
    std::uniform_real_distribution<double> d(-1, 1);
    for (double& x : in)
        x = d(rng);
    auto configure = [](DelayMain& tap) {
        tap.SetFs(48000);
        tap.SetDelatTime(0.05f);  // 2 samples: shorter than most blocks
        tap.SetFeedBackOn(1.0f);
        tap.SetFeedBack(0.6f);
        tap.SetFilterActive(1.0f);
        tap.SetFilterType(1.0f);
        tap.SetFilterGain(6.0f);
        tap.SetPan(0.3f);
    };
    DelayMain whole;
    configure(whole);
    whole.SetBloackSize(3000);
    const TapOutput expected = Process(whole, in);
    for (int size : {1, 2, 3, 5, 255, 1001}) {
        DelayMain tap;
        configure(tap);
        tap.SetBloackSize(4);  // blocks longer than this run in slices
        TapOutput got{std::vector<double>(in.size()), std::vector<double>(in.size())};
        for (size_t at = 0; at < in.size(); at += size) {
            const int n = std::min<int>(size, int(in.size() - at));
            double* inputs[1] = {in.data() + at};
            double* outputs[2] = {got.left.data() + at, got.right.data() + at};
            tap.Process(inputs, outputs, n);
            tap.Process(inputs, outputs, 0);
            tap.Process(inputs, outputs, -1);
        }
        size_t where = 0;
        EXPECT_TRUE(SameBits(expected.left, got.left, &where)) << "size " << size << " at " << where;
        EXPECT_TRUE(SameBits(expected.right, got.right, &where)) << "size " << size << " at " << where;
    }
}

TEST(DelayBlocks, BadBlockSizesAreIgnored) {
    DelayMain tap;
    tap.SetBloackSize(0);
    tap.SetBloackSize(-100);
    UnityTap(tap);
    tap.SetBloackSize(-1);
    EXPECT_EQ(EchoPosition(tap, 1000), 4);
}

// ---------------------------------------------------------------------------
// Long random sequences: the optimised tap, run alone and six side by side,
// against the reference, bit for bit.

namespace {

struct Rig {
    RefTap ref[6];
    DelayMain alone[6];
    DelayMain together[6];

    template <class F>
    void Apply(int k, F setter) {
        setter(alone[k]);
        setter(together[k]);
    }
};

void RandomChange(Rig& rig, std::mt19937& rng) {
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    const int k = int(rng() % 6);
    RefTap& r = rig.ref[k];
    switch (rng() % 13) {
    case 0: {
        // Short times keep the lines small and wrapping often; some are 0
        // (pass-through) or below one sample.
        const int pick = int(rng() % 10);
        const float ms = pick == 0 ? 0.0f : pick == 1 ? unit(rng) * 0.03f : unit(rng) * 25.0f;
        r.delayTime = ms;
        r.Prepare();
        rig.Apply(k, [ms](DelayMain& t) { t.SetDelatTime(ms); });
        break;
    }
    case 1: {
        const float g = 0.001f + unit(rng) * 1.999f;
        r.gain = g;
        rig.Apply(k, [g](DelayMain& t) { t.SetGain(g); });
        break;
    }
    case 2: {
        // Mostly the parameter range, now and then beyond it.
        const int pick = int(rng() % 8);
        const float p = pick == 0   ? 0.0f
                        : pick == 1 ? 1.0f
                        : pick == 2 ? 0.5f
                        : pick == 3 ? -0.5f + unit(rng) * 2.0f
                                    : unit(rng);
        r.pan = p;
        r.MakePan();
        rig.Apply(k, [p](DelayMain& t) { t.SetPan(p); });
        break;
    }
    case 3: {
        const float f = rng() % 5 == 0 ? 1.0f : unit(rng);
        r.feedback = f;
        rig.Apply(k, [f](DelayMain& t) { t.SetFeedBack(f); });
        break;
    }
    case 4: {
        const float on = float(rng() % 3) * 0.5f;  // 0, .5 (on) or 1
        r.feedbackOn = on;
        rig.Apply(k, [on](DelayMain& t) { t.SetFeedBackOn(on); });
        break;
    }
    case 5: {
        const float hz = 20.0f + unit(rng) * (rng() % 4 == 0 ? 40000.0f : 15000.0f);
        r.freq = hz;
        r.InitFilter();
        rig.Apply(k, [hz](DelayMain& t) { t.SetFilterFreq(hz); });
        break;
    }
    case 6: {
        const float type = float(rng() % 3);
        r.type = type;
        r.InitFilter();
        rig.Apply(k, [type](DelayMain& t) { t.SetFilterType(type); });
        break;
    }
    case 7: {
        const float db = -18.0f + unit(rng) * 36.0f;
        r.filterGain = db;
        r.InitFilter();
        rig.Apply(k, [db](DelayMain& t) { t.SetFilterGain(db); });
        break;
    }
    case 8: {
        const float q = 0.1f + unit(rng) * 19.9f;
        r.q = q;
        r.InitFilter();
        rig.Apply(k, [q](DelayMain& t) { t.SetFilterQ(q); });
        break;
    }
    case 9:
    case 10: {
        const float on = rng() % 3 == 0 ? 0.0f : 1.0f;
        r.filterOn = on;
        rig.Apply(k, [on](DelayMain& t) { t.SetFilterActive(on); });
        break;
    }
    case 11: {
        static const long long rates[] = {44100, 48000, 96000, 22050};
        const long long hz = rates[rng() % 4];
        for (int t = 0; t < 6; ++t) {
            rig.ref[t].rate = hz;
            rig.ref[t].Prepare();
            rig.ref[t].InitFilter();
            rig.alone[t].SetFs(hz);
            rig.together[t].SetFs(hz);
        }
        break;
    }
    default: {
        const int n = 1 + int(rng() % 700);
        rig.Apply(k, [n](DelayMain& t) { t.SetBloackSize(n); });
        break;
    }
    }
}

std::vector<double> RandomBlock(int n, std::mt19937& rng) {
    std::vector<double> in(n);
    const int kind = int(rng() % 6);
    const double level = kind == 0 ? 0.0 : kind == 1 ? 1e-6 : kind == 2 ? 8.0 : 1.0;
    std::uniform_real_distribution<double> d(-level, level);
    for (double& x : in)
        x = kind == 3 ? (rng() % 50 == 0 ? d(rng) : 0.0) : d(rng);  // sparse clicks let tails decay
    return in;
}

}  // namespace

TEST(DelayReference, OptimisedTapsMatchThePlainFormBitForBit) {
    Rig rig;
    std::mt19937 rng(20240611);
    for (int k = 0; k < 6; ++k) {
        rig.ref[k].filterOn = 1.0f;
        rig.ref[k].feedbackOn = 1.0f;
        rig.Apply(k, [](DelayMain& t) {
            t.SetFilterActive(1.0f);
            t.SetFeedBackOn(1.0f);
        });
    }
    long long compared = 0;
    for (int block = 0; block < 4000; ++block) {
        const int changes = int(rng() % 4);
        for (int c = 0; c < changes; ++c)
            RandomChange(rig, rng);
        const int pick = int(rng() % 10);
        const int n = pick == 0 ? 1 : pick == 1 ? 2 : pick == 2 ? int(rng() % 1500) : int(rng() % 600);
        std::vector<double> in = RandomBlock(std::max(n, 1), rng);
        const std::vector<double> pristine = in;

        std::vector<std::vector<double>> refOut(12, std::vector<double>(in.size())),
            aloneOut(12, std::vector<double>(in.size(), -9.0)), togetherOut(12, std::vector<double>(in.size(), -9.0));
        double* inputs[2] = {in.data(), in.data()};
        double* aloneBuffers[6][2];
        double* togetherBuffers[6][2];
        double** togetherPairs[6];
        DelayMain* taps[6];
        for (int k = 0; k < 6; ++k) {
            rig.ref[k].Process(pristine.data(), refOut[2 * k].data(), refOut[2 * k + 1].data(), n);
            aloneBuffers[k][0] = aloneOut[2 * k].data();
            aloneBuffers[k][1] = aloneOut[2 * k + 1].data();
            rig.alone[k].Process(inputs, aloneBuffers[k], n);
            togetherBuffers[k][0] = togetherOut[2 * k].data();
            togetherBuffers[k][1] = togetherOut[2 * k + 1].data();
            togetherPairs[k] = togetherBuffers[k];
            taps[k] = &rig.together[k];
        }
        DelayMain::ProcessTaps(taps, 6, inputs, togetherPairs, n);
        ASSERT_EQ(in, pristine) << "input changed";
        for (int c = 0; c < 12; ++c) {
            if (n <= 0) {
                ASSERT_EQ(aloneOut[c][0], -9.0);
                ASSERT_EQ(togetherOut[c][0], -9.0);
                continue;
            }
            size_t where = 0;
            ASSERT_TRUE(SameBits(refOut[c], aloneOut[c], &where))
                << "block " << block << " tap " << c / 2 << " channel " << c % 2 << " sample " << where;
            ASSERT_TRUE(SameBits(refOut[c], togetherOut[c], &where))
                << "block " << block << " tap " << c / 2 << " channel " << c % 2 << " sample " << where;
            compared += n;
        }
    }
    EXPECT_GT(compared, 10000000);
}

TEST(DelayReference, SideBySideSkipsMissingTapsAndHandlesAnyCount) {
    // Seven taps (more than one filter group), one of them missing, matches
    // running the present ones one by one.
    std::vector<std::unique_ptr<DelayMain>> a, b;
    for (int k = 0; k < 7; ++k) {
        for (auto* set : {&a, &b}) {
            set->emplace_back(new DelayMain);
            DelayMain& t = *set->back();
            t.SetFs(44100);
            t.SetDelatTime(1.0f + k);
            t.SetFilterActive(k % 3 ? 1.0f : 0.0f);
            t.SetFilterType(float(k % 3));
            t.SetFilterGain(3.0f * k - 9.0f);
            t.SetFeedBackOn(1.0f);
            t.SetFeedBack(0.1f * k);
        }
    }
    std::vector<double> in(1000);
    for (int i = 0; i < 1000; ++i)
        in[i] = std::sin(i * 0.01) + (i % 97 == 0);
    double* inputs[1] = {in.data()};
    std::vector<std::vector<double>> expected(14, std::vector<double>(1000)), got(14, std::vector<double>(1000, 3.0));
    double* pairsStorage[7][2];
    double** pairs[7];
    DelayMain* taps[7];
    for (int k = 0; k < 7; ++k) {
        double* out[2] = {expected[2 * k].data(), expected[2 * k + 1].data()};
        if (k != 3)
            a[k]->Process(inputs, out, 1000);
        pairsStorage[k][0] = got[2 * k].data();
        pairsStorage[k][1] = got[2 * k + 1].data();
        pairs[k] = pairsStorage[k];
        taps[k] = b[k].get();
    }
    taps[3] = nullptr;
    DelayMain::ProcessTaps(taps, 7, inputs, pairs, 1000);
    for (int c = 0; c < 14; ++c) {
        if (c / 2 == 3) {
            EXPECT_EQ(got[c][0], 3.0);
            continue;
        }
        size_t where = 0;
        EXPECT_TRUE(SameBits(expected[c], got[c], &where)) << c << " " << where;
    }
    DelayMain::ProcessTaps(taps, 0, inputs, pairs, 1000);
    DelayMain::ProcessTaps(nullptr, 7, inputs, pairs, 1000);
}

TEST(DelayConcurrency, SettersFromAnotherThreadAreSafe) {
    DelayMain tap;
    tap.SetFilterActive(1.0f);
    std::atomic<bool> stop{false};
    std::thread ui([&] {
        std::mt19937 rng(1);
        while (!stop) {
            tap.SetDelatTime(float(rng() % 2000) / 10.0f);
            tap.SetFilterFreq(float(100 + rng() % 10000));
            tap.SetPan(float(rng() % 100) / 100.0f);
            tap.SetFs(rng() % 2 ? 44100 : 48000);
            tap.SetBloackSize(1 + int(rng() % 512));
        }
    });
    std::vector<double> in(512, 0.25), left(512), right(512);
    double* inputs[1] = {in.data()};
    double* outputs[2] = {left.data(), right.data()};
    for (int i = 0; i < 3000; ++i)
        tap.Process(inputs, outputs, 512);
    stop = true;
    ui.join();
    for (double v : left)
        EXPECT_TRUE(std::isfinite(v));
}
