// Realtime factor of the built TapDelay.so as a host drives it: the heaviest
// setting (six taps on at different times, six filters, feedback on at 50 %),
// 48 kHz, 512-frame blocks, through the single-precision callback; then the
// same with the filters off, and the double-precision callback.
//
//   bench_plugin [seconds-of-audio-per-run [setting [runs]]]   (default 60 s, all, 5)
//
// For instruction counts:  valgrind --tool=callgrind
//   --toggle-collect='*processReplacing*' bench_plugin 2 0 1
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "host/VstAbi.h"

namespace {

constexpr int kRate = 48000;
constexpr int kBlock = 512;

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? 2400 : 0;
}

struct Setting {
    const char* name;
    bool filters;
    bool doublePrecision;
};

AEffect* Load() {
    void* library = dlopen(TAPDELAY_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        std::fprintf(stderr, "cannot load %s: %s\n", TAPDELAY_PLUGIN_PATH, dlerror());
        std::exit(1);
    }
    auto entry = reinterpret_cast<AEffect* (*)(audioMasterCallback)>(dlsym(library, "VSTPluginMain"));
    return entry(&Host);
}

double Run(const Setting& setting, double seconds) {
    AEffect* e = Load();
    e->dispatcher(e, effOpen, 0, 0, nullptr, 0.0f);
    e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, (float)kRate);
    e->dispatcher(e, effSetBlockSize, 0, kBlock, nullptr, 0.0f);
    e->dispatcher(e, effMainsChanged, 0, 1, nullptr, 0.0f);
    const float times[6] = {0.031f, 0.047f, 0.063f, 0.079f, 0.094f, 0.125f};  // 124..500 ms
    for (int tap = 0; tap < 6; tap++) {
        e->setParameter(e, 3 + tap, times[tap]);
        e->setParameter(e, 21 + tap, 1.0f);
        e->setParameter(e, 33 + tap, (tap % 3) / 2.0f);
        e->setParameter(e, 39 + tap, 0.25f);
        e->setParameter(e, 51 + tap, setting.filters ? 1.0f : 0.0f);
    }
    e->setParameter(e, 57, 1.0f);
    e->setParameter(e, 58, 0.5f);

    std::vector<float> inL(kBlock), inR(kBlock), outL(kBlock), outR(kBlock);
    std::vector<double> dInL(kBlock), dInR(kBlock), dOutL(kBlock), dOutR(kBlock);
    unsigned seed = 1;
    auto noise = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return (float)((seed >> 8) * (1.0 / 16777216.0) - 0.5);
    };
    const long blocks = (long)(seconds * kRate / kBlock);
    double checksum = 0.0;
    auto start = std::chrono::steady_clock::now();
    for (long b = 0; b < blocks; b++) {
        if (setting.doublePrecision) {
            for (int i = 0; i < kBlock; i++) dInL[i] = dInR[i] = noise();
            double* in[2] = {dInL.data(), dInR.data()};
            double* out[2] = {dOutL.data(), dOutR.data()};
            e->processDoubleReplacing(e, in, out, kBlock);
            checksum += dOutL[b % kBlock];
        } else {
            for (int i = 0; i < kBlock; i++) inL[i] = inR[i] = noise();
            float* in[2] = {inL.data(), inR.data()};
            float* out[2] = {outL.data(), outR.data()};
            e->processReplacing(e, in, out, kBlock);
            checksum += outL[b % kBlock];
        }
    }
    double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f);
    if (!std::isfinite(checksum)) std::fprintf(stderr, "non-finite output\n");
    return elapsed / (double)(blocks * kBlock);  // seconds per frame
}

}  // namespace

int main(int argc, char** argv) {
    double seconds = argc > 1 ? std::atof(argv[1]) : 60.0;
    int only = argc > 2 ? std::atoi(argv[2]) : -1;
    int runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 5;
    const Setting settings[] = {
        {"six taps, six filters, feedback 50 % (float)", true, false},
        {"six taps, filters off, feedback 50 % (float)", false, false},
        {"six taps, six filters, feedback 50 % (double)", true, true},
        {"six taps, filters off, feedback 50 % (double)", false, true},
    };
    std::printf("TapDelay.so at %d Hz, %d-frame blocks, %.0f s of audio per run, best of %d\n",
                kRate, kBlock, seconds, runs);
    for (int index = 0; index < 4; index++) {
        if (only >= 0 && index != only) continue;
        const Setting& setting = settings[index];
        double best = 1e9;
        for (int run = 0; run < runs; run++) best = std::min(best, Run(setting, seconds));
        std::printf("  %-48s %8.1f x realtime  %6.2f ns/frame\n", setting.name,
                    1.0 / (best * kRate), best * 1e9);
    }
    return 0;
}
