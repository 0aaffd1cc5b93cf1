// Speed of the delay engine under the effect's heaviest per-block work: six
// taps at different times, feedback on at 50 %, 48 kHz, 512-frame blocks,
// then the effect's own input gain, mix with the dry signal, output gain and
// peak meters. Measured with the six filters on and off, both through
// DelayMain::ProcessTaps and through six DelayMain::Process calls.
//
//   bench_dsp                      timing table
//   bench_dsp --blocks N MODE      runs N blocks of one case and stops, for
//                                  valgrind --tool=callgrind --toggle-collect='*RunBlocks*'
//                                  (MODE: taps-on, taps-off: ProcessTaps; each-on,
//                                  each-off: six Process calls; all with the mix)
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include <emmintrin.h>

#include "dsp/DelayMain.h"

namespace {

constexpr int kTaps = 6;
constexpr int kRate = 48000;
constexpr int kBlock = 512;
constexpr int kNoiseFrames = kRate * 2;

struct Effect {
    DelayMain taps[kTaps];
    std::vector<double> work[kTaps][2];
    double* workPairs[kTaps][2];
    float tapOn[kTaps] = {1, 1, 1, 1, 1, 1};
    double inputGain = 0.9, outputGain = 1.1, balance = 0.5;
    float peaks[4] = {};
    bool sideBySide = true;
    bool mix = true;  // false: the taps alone, without the effect's own work around them

    explicit Effect(bool filtersOn) {
        const float times[kTaps] = {97.0f, 181.5f, 263.0f, 349.25f, 433.0f, 521.75f};
        const float pans[kTaps] = {0.0f, 0.2f, 0.4f, 0.6f, 0.8f, 1.0f};
        const float freqs[kTaps] = {250.0f, 900.0f, 2500.0f, 4000.0f, 7000.0f, 12000.0f};
        for (int k = 0; k < kTaps; ++k) {
            DelayMain& t = taps[k];
            t.SetFs(kRate);
            t.SetBloackSize(kBlock);
            t.SetDelatTime(times[k]);
            t.SetGain(0.3f + 0.1f * k);
            t.SetPan(pans[k]);
            t.SetFeedBack(0.5f);
            t.SetFeedBackOn(1.0f);
            t.SetFilterType(float(k % 3));
            t.SetFilterFreq(freqs[k]);
            t.SetFilterGain(k % 2 ? 6.0f : -9.0f);
            t.SetFilterQ(0.7f + 0.3f * k);
            t.SetFilterActive(filtersOn ? 1.0f : 0.0f);
            for (int c = 0; c < 2; ++c) {
                work[k][c].assign(kBlock, 0.0);
                workPairs[k][c] = work[k][c].data();
            }
        }
    }

    // What the effect does with one block once it is active: input gain and
    // meters, the taps, the mix with the dry signal, output gain and meters.
    void ProcessBlock(double** in, double** out, int n) {
        if (!mix) {
            RunTaps(in, n);
            return;
        }
        for (int c = 0; c < 2; ++c) {
            for (int i = 0; i < n; ++i)
                in[c][i] *= inputGain;
            peaks[c] = float(Peak(in[c], n));
        }
        RunTaps(in, n);
        const double* active[2][kTaps];
        int count = 0;
        for (int k = 0; k < kTaps; ++k)
            if (tapOn[k] == 1.0f) {
                active[0][count] = workPairs[k][0];
                active[1][count] = workPairs[k][1];
                ++count;
            }
        for (int c = 0; c < 2; ++c) {
            switch (count) {
            case 0: Mix<0>(in[c], active[c], out[c], n); break;
            case 1: Mix<1>(in[c], active[c], out[c], n); break;
            case 2: Mix<2>(in[c], active[c], out[c], n); break;
            case 3: Mix<3>(in[c], active[c], out[c], n); break;
            case 4: Mix<4>(in[c], active[c], out[c], n); break;
            case 5: Mix<5>(in[c], active[c], out[c], n); break;
            default: Mix<6>(in[c], active[c], out[c], n); break;
            }
            peaks[2 + c] = float(Peak(out[c], n));
        }
    }

    // One pass per channel: dry part, the active taps in tap order, output gain.
    template <int Count>
    void Mix(const double* x, const double* const taps[], double* out, int n) const {
        const double dry = 1.0 - balance, wet = balance, gain = outputGain;
        for (int i = 0; i < n; ++i) {
            double sum = x[i] * dry;
            for (int k = 0; k < Count; ++k)
                sum += taps[k][i] * wet;
            out[i] = sum * gain;
        }
    }

    void RunTaps(double** in, int n) {
        if (sideBySide) {
            DelayMain* all[kTaps];
            double** outs[kTaps];
            for (int k = 0; k < kTaps; ++k) {
                all[k] = &taps[k];
                outs[k] = workPairs[k];
            }
            DelayMain::ProcessTaps(all, kTaps, in, outs, n);
        } else {
            for (int k = 0; k < kTaps; ++k)
                taps[k].Process(in, workPairs[k], n);
        }
    }

    // Largest magnitude, two samples at a time (a meter has no use for
    // the scalar loop's one long chain of comparisons).
    static double Peak(const double* x, int n) {
        const __m128d magnitude = _mm_castsi128_pd(_mm_set1_epi64x(0x7FFFFFFFFFFFFFFF));
        __m128d m0 = _mm_setzero_pd(), m1 = _mm_setzero_pd();
        int i = 0;
        for (; i + 4 <= n; i += 4) {
            m0 = _mm_max_pd(m0, _mm_and_pd(_mm_loadu_pd(x + i), magnitude));
            m1 = _mm_max_pd(m1, _mm_and_pd(_mm_loadu_pd(x + i + 2), magnitude));
        }
        double lanes[2];
        _mm_storeu_pd(lanes, _mm_max_pd(m0, m1));
        double m = std::max(lanes[0], lanes[1]);
        for (; i < n; ++i)
            m = std::max(m, std::fabs(x[i]));
        return m;
    }
};

struct Signal {
    std::vector<double> noise[2];
    std::vector<double> in[2], out[2];
    int at = 0;
    Signal() {
        std::mt19937 rng(1);
        std::normal_distribution<double> d(0.0, 0.25);
        for (int c = 0; c < 2; ++c) {
            noise[c].resize(kNoiseFrames);
            for (double& x : noise[c])
                x = d(rng);
            in[c].resize(kBlock);
            out[c].resize(kBlock);
        }
    }
    // The host hands over a fresh input block each time.
    void Next() {
        for (int c = 0; c < 2; ++c)
            std::memcpy(in[c].data(), noise[c].data() + at, kBlock * sizeof(double));
        at = (at + kBlock) % (kNoiseFrames - kBlock);
    }
};

__attribute__((noinline)) void RunBlocks(Effect& effect, Signal& signal, long blocks) {
    double* in[2] = {signal.in[0].data(), signal.in[1].data()};
    double* out[2] = {signal.out[0].data(), signal.out[1].data()};
    for (long b = 0; b < blocks; ++b) {
        signal.Next();
        effect.ProcessBlock(in, out, kBlock);
    }
}

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

struct Figure {
    double nsPerFrame, realtime;
};

Figure Measure(bool filtersOn, bool sideBySide, bool mix) {
    Effect effect(filtersOn);
    effect.sideBySide = sideBySide;
    effect.mix = mix;
    Signal signal;
    RunBlocks(effect, signal, 2000);  // fills the lines: feedback and filters see real signal
    // Many short rounds and the fastest of them: other work on the machine
    // only ever makes a round slower.
    const long blocks = 100;
    double best = 1e30;
    for (int round = 0; round < 200; ++round) {
        const auto start = std::chrono::steady_clock::now();
        RunBlocks(effect, signal, blocks);
        best = std::min(best, Seconds(start));
    }
    const double frames = double(blocks) * kBlock;
    return {best / frames * 1e9, frames / kRate / best};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--blocks") == 0) {
        const long blocks = std::atol(argv[2]);
        const bool filtersOn = std::strstr(argv[3], "-on") != nullptr;
        Effect effect(filtersOn);
        effect.sideBySide = std::strncmp(argv[3], "taps", 4) == 0;
        Signal signal;
        RunBlocks(effect, signal, blocks);
        std::printf("%ld blocks of %d frames (%ld frames), %s\n", blocks, kBlock, blocks * kBlock, argv[3]);
        return 0;
    }
    std::printf("Six taps, feedback 50 %%, %d Hz, %d-frame blocks (fastest of 200 rounds of 100 blocks)\n", kRate,
                kBlock);
    std::printf("%-32s %12s %14s\n", "case", "ns/frame", "x realtime");
    const struct {
        const char* name;
        bool filtersOn, sideBySide, mix;
    } cases[] = {
        {"filters on, ProcessTaps", true, true, true},
        {"filters on, 6 x Process", true, false, true},
        {"filters off, ProcessTaps", false, true, true},
        {"filters off, 6 x Process", false, false, true},
        {"ProcessTaps alone, filters on", true, true, false},
        {"ProcessTaps alone, filters off", false, true, false},
    };
    for (const auto& c : cases) {
        const Figure f = Measure(c.filtersOn, c.sideBySide, c.mix);
        std::printf("%-32s %12.2f %14.0f\n", c.name, f.nsPerFrame, f.realtime);
    }
    return 0;
}
