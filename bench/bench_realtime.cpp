// The audio callback's latency as a real-time host sees it: 64-frame blocks
// at 48 kHz (a 1333 us deadline), called back to back, in three runs:
//   quiet    nothing else runs;
//   control  a second thread does comparable work that never touches the plug-in;
//   working  a second thread works the plug-in as a host's user interface does
//            (setParameter on random parameters, effGetParamDisplay, effSetProgram
//            every 64 operations, a bank effGetChunk + effSetChunk every 256).
//
//   bench_realtime [PLUGIN.so ...] [--calls N]   (default the built TapDelay.so, 60000)
#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "host/VstAbi.h"

namespace {

constexpr int kRate = 48000;
constexpr int kBlock = 64;
constexpr double kDeadlineUs = 1e6 * kBlock / kRate;

VstTimeInfo g_timeInfo{};

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    if (opcode == audioMasterGetTime) return (VstIntPtr)&g_timeInfo;
    return opcode == audioMasterVersion ? 2400 : 0;
}

enum class Load { Quiet, Control, Working };

struct Result {
    double p50, p99, p999, max;
    int late;
};

uint32_t Next(uint32_t& seed) { return seed = seed * 1664525u + 1013904223u; }

// One user-interface operation on the plug-in, or (control) the same kind of
// work on memory of our own: texts, a 17 KB copy now and then.
void Operate(AEffect* effect, Load load, uint32_t op, uint32_t& seed, std::vector<char>& scratch) {
    char text[256];
    const uint32_t r = Next(seed);
    if (load == Load::Control) {
        std::snprintf(text, sizeof text, "%.1f", (r % 1000) / 10.0);
        if (op % 256 == 0) std::vector<char> copy(scratch.begin(), scratch.end()), back(copy);
        if (op % 64 == 0) std::memset(scratch.data(), (int)r, 276);
        return;
    }
    if (op % 256 == 0 && (effect->flags & effFlagsProgramChunks)) {
        void* data = nullptr;
        VstIntPtr size = effect->dispatcher(effect, effGetChunk, 0, 0, &data, 0);
        if (data && size > 0) {
            std::vector<char> copy((char*)data, (char*)data + size);
            effect->dispatcher(effect, effSetChunk, 0, size, copy.data(), 0);
        }
    }
    if (op % 64 == 0 && effect->numPrograms > 0)
        effect->dispatcher(effect, effSetProgram, 0, (VstIntPtr)(r % effect->numPrograms), nullptr, 0);
    const int index = (int)((r >> 8) % (uint32_t)effect->numParams);
    effect->setParameter(effect, index, (float)((r >> 4) % 1000) / 999.0f);
    text[0] = 0;
    effect->dispatcher(effect, effGetParamDisplay, index, 0, text, 0);
}

Result Run(AEffect* effect, Load load, int calls) {
    std::vector<float> buffers(4 * kBlock);
    float* in[2] = {&buffers[0], &buffers[kBlock]};
    float* out[2] = {&buffers[2 * kBlock], &buffers[3 * kBlock]};
    uint32_t noise = 1;
    std::vector<double> times((size_t)calls);

    std::atomic<bool> done{false};
    std::thread other([&] {
        if (load == Load::Quiet) return;
        uint32_t seed = 7;
        std::vector<char> scratch(17664);
        for (uint32_t op = 0; !done.load(std::memory_order_relaxed); op++)
            Operate(effect, load, op, seed, scratch);
    });
    // Real-time priority where the system grants it.
    sched_param priority{};
    priority.sched_priority = 10;
    pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority);
    for (int call = 0; call < calls; call++) {
        for (int i = 0; i < 2 * kBlock; i++) buffers[i] = (float)(int32_t)Next(noise) * 2e-10f;
        const auto start = std::chrono::steady_clock::now();
        effect->processReplacing(effect, in, out, kBlock);
        times[(size_t)call] =
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
    }
    priority.sched_priority = 0;
    pthread_setschedparam(pthread_self(), SCHED_OTHER, &priority);
    done = true;
    other.join();

    Result r{};
    r.late = (int)std::count_if(times.begin(), times.end(), [](double t) { return t > kDeadlineUs; });
    std::sort(times.begin(), times.end());
    auto at = [&](double q) { return times[std::min(times.size() - 1, (size_t)(q * times.size()))]; };
    r.p50 = at(0.5);
    r.p99 = at(0.99);
    r.p999 = at(0.999);
    r.max = times.back();
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> plugins;
    int calls = 60000;
    for (int i = 1; i < argc; i++) {
        if (std::strcmp(argv[i], "--calls") == 0 && i + 1 < argc)
            calls = std::max(1000, std::atoi(argv[++i]));
        else
            plugins.push_back(argv[i]);
    }
    if (plugins.empty()) plugins.push_back(TAPDELAY_PLUGIN_PATH);
    g_timeInfo.tempo = 120.0;
    g_timeInfo.sampleRate = kRate;
    g_timeInfo.flags = kVstTempoValid | kVstTransportPlaying;

    std::printf("%d calls of %d frames at %d Hz, deadline %.0f us; times in us\n", calls, kBlock,
                kRate, kDeadlineUs);
    std::printf("%-40s %-8s %8s %8s %8s %8s %6s\n", "plug-in", "run", "p50", "p99", "p99.9",
                "max", "late");
    for (const std::string& path : plugins) {
        void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        // Older plug-ins export the entry point as "main" only.
        void* symbol = library ? dlsym(library, "VSTPluginMain") : nullptr;
        if (library && !symbol) symbol = dlsym(library, "main");
        auto entry = (AEffect * (*)(audioMasterCallback)) symbol;
        AEffect* effect = entry ? entry(Host) : nullptr;
        if (!effect) {
            std::printf("%s: cannot load (%s)\n", path.c_str(), library ? "no entry" : dlerror());
            continue;
        }
        effect->dispatcher(effect, effOpen, 0, 0, nullptr, 0);
        effect->dispatcher(effect, effSetSampleRate, 0, 0, nullptr, (float)kRate);
        effect->dispatcher(effect, effSetBlockSize, 0, kBlock, nullptr, 0);
        effect->dispatcher(effect, effMainsChanged, 0, 1, nullptr, 0);
        const std::string name = path.substr(path.find_last_of('/') + 1);
        const char* runs[] = {"quiet", "control", "working"};
        for (Load load : {Load::Quiet, Load::Control, Load::Working}) {
            const Result r = Run(effect, load, calls);
            std::printf("%-40s %-8s %8.1f %8.1f %8.1f %8.1f %6d\n", name.c_str(), runs[(int)load],
                        r.p50, r.p99, r.p999, r.max, r.late);
            std::fflush(stdout);
        }
        effect->dispatcher(effect, effMainsChanged, 0, 0, nullptr, 0);
        effect->dispatcher(effect, effClose, 0, 0, nullptr, 0);
    }
    return 0;
}
