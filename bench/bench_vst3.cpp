// The VST 3 bundle's process() beside the VST 2 plug-in's callbacks, at
// 64-frame blocks (where a format's own work per block weighs most): the
// heaviest setting (six taps, six filters, feedback 50 %), 48 kHz, both
// sample sizes; the VST 3 path also reads the tempo from its process context
// and looks for the effect's own changes after every block. Runs alternate
// between the formats; the best of each counts. Time is the thread's own CPU
// time, so that other work on a shared machine does not count.
//
//   bench_vst3 [seconds-of-audio-per-run [runs [vst2|vst3]]]   (default 20 s, 7, both)
//
// One format alone, for instruction counts:
//   perf stat -e instructions:u bench_vst3 2 1 vst3
#include <dlfcn.h>

#include <algorithm>
#include <ctime>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/VstAbi.h"
#include "tests/vst3/Vst3Host.h"

namespace {

double CpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return (double)now.tv_sec + now.tv_nsec * 1e-9;
}

constexpr int kRate = 48000;
constexpr int kBlock = 64;

// Parameter, value: the heaviest setting, as bench_plugin has it.
std::vector<std::pair<int, float>> HeaviestSetting() {
    const float times[6] = {0.031f, 0.047f, 0.063f, 0.079f, 0.094f, 0.125f};  // 124..500 ms
    std::vector<std::pair<int, float>> setting;
    for (int tap = 0; tap < 6; tap++) {
        setting.insert(setting.end(), {{3 + tap, times[tap]}, {21 + tap, 1.0f}, {33 + tap, (tap % 3) / 2.0f},
                                       {39 + tap, 0.25f}, {51 + tap, 1.0f}});
    }
    setting.insert(setting.end(), {{57, 1.0f}, {58, 0.5f}, {60, 0.0f}});
    return setting;
}

template <class Sample>
struct Buffers {
    Buffers() : data(4 * kBlock) {}
    Sample** In() { return at[0] = &data[0], at[1] = &data[kBlock], at; }
    Sample** Out() { return out[0] = &data[2 * kBlock], out[1] = &data[3 * kBlock], out; }
    void Fill(unsigned& seed) {
        for (int i = 0; i < 2 * kBlock; i++) {
            seed = seed * 1664525u + 1013904223u;
            data[i] = (Sample)((seed >> 8) * (1.0 / 16777216.0) - 0.5);
        }
    }
    std::vector<Sample> data;
    Sample* at[2];
    Sample* out[2];
};

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? 2400 : 0;
}

// Seconds per frame through the VST 2 plug-in.
template <class Sample>
double RunVst2(long blocks) {
    static void* library = dlopen(TAPDELAY_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library) std::exit((std::fprintf(stderr, "cannot load %s\n", TAPDELAY_PLUGIN_PATH), 1));
    auto entry = reinterpret_cast<AEffect* (*)(audioMasterCallback)>(dlsym(library, "VSTPluginMain"));
    AEffect* e = entry(&Host);
    e->dispatcher(e, effOpen, 0, 0, nullptr, 0.0f);
    e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, (float)kRate);
    e->dispatcher(e, effSetBlockSize, 0, kBlock, nullptr, 0.0f);
    e->dispatcher(e, effMainsChanged, 0, 1, nullptr, 0.0f);
    for (auto [index, value] : HeaviestSetting()) e->setParameter(e, index, value);
    Buffers<Sample> buffers;
    unsigned seed = 1;
    const double start = CpuSeconds();
    for (long b = 0; b < blocks; b++) {
        buffers.Fill(seed);
        if constexpr (sizeof(Sample) == 8)
            e->processDoubleReplacing(e, buffers.In(), buffers.Out(), kBlock);
        else
            e->processReplacing(e, buffers.In(), buffers.Out(), kBlock);
    }
    const double elapsed = CpuSeconds() - start;
    e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f);
    return elapsed / (double)(blocks * kBlock);
}

// Seconds per frame through the VST 3 bundle.
template <class Sample>
double RunVst3(long blocks) {
    vst3test::Plugin plugin;
    if (!plugin.Ready()) std::exit((std::fprintf(stderr, "cannot load %s\n", TAPDELAY_VST3_SO), 1));
    plugin.Prepare(sizeof(Sample) == 8 ? vst3::kSample64 : vst3::kSample32, kBlock, kRate);
    vst3test::Changes setting, none;
    for (auto [index, value] : HeaviestSetting()) setting.Add((vst3::ParamID)index, 0, value);
    vst3::ProcessContext context{};
    context.state = vst3::ProcessContext::kTempoValid;
    context.tempo = 120.0;
    Buffers<Sample> buffers;
    unsigned seed = 1;
    plugin.Process(buffers.In(), buffers.Out(), 0, &setting, &context);
    const double start = CpuSeconds();
    for (long b = 0; b < blocks; b++) {
        buffers.Fill(seed);
        plugin.Process(buffers.In(), buffers.Out(), kBlock, &none, &context);
    }
    const double elapsed = CpuSeconds() - start;
    return elapsed / (double)(blocks * kBlock);
}

template <class Sample>
void Compare(const char* name, long blocks, int runs, const std::string& only) {
    double vst2 = 1e9, vst3 = 1e9;
    for (int run = 0; run < runs; run++) {
        if (only != "vst3") vst2 = std::min(vst2, RunVst2<Sample>(blocks));
        if (only != "vst2") vst3 = std::min(vst3, RunVst3<Sample>(blocks));
    }
    std::printf("  %-8s", name);
    if (only != "vst3") std::printf("  VST 2 %6.2f ns/frame", vst2 * 1e9);
    if (only != "vst2") std::printf("  VST 3 %6.2f ns/frame", vst3 * 1e9);
    if (only.empty()) std::printf("  VST 3 / VST 2 %6.1f %%", 100.0 * vst3 / vst2);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 20.0;
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 7;
    const std::string only = argc > 3 ? argv[3] : "";
    const long blocks = (long)(seconds * kRate / kBlock);
    std::printf("six taps, six filters, feedback 50 %%, %d Hz, %d-frame blocks, %.0f s per run, best of %d\n",
                kRate, kBlock, seconds, runs);
    Compare<float>("float", blocks, runs, only);
    Compare<double>("double", blocks, runs, only);
    return 0;
}
