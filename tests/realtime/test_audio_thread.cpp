// The audio callback of the built TapDelay.so under the preloaded interposer:
// while another thread works the plug-in as a host's user interface does, the
// audio thread makes no allocation, takes no lock, touches no file or X
// connection, and calls the host for nothing but audioMasterGetTime.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <ostream>
#include <thread>
#include <vector>

#include "effect/ATapDelay.h"
#include "host/VstAbi.h"
#include "tests/realtime/Interposer.h"

// Found in the preloaded interposer at run time.
extern "C" __attribute__((weak)) void InterposerWatch(bool on);
extern "C" __attribute__((weak)) unsigned InterposerTake(int kind);

namespace {

thread_local bool t_audioThread = false;
std::atomic<unsigned> g_otherHostCalls{0};
VstTimeInfo g_timeInfo{};

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    if (opcode == audioMasterGetTime) return (VstIntPtr)&g_timeInfo;
    if (t_audioThread) g_otherHostCalls++;
    return opcode == audioMasterVersion ? 2400 : 0;
}

enum class Work { Parameters, Programs, Chunks, Everything };

struct Scenario {
    const char* name;
    bool doublePrecision;
    bool tempoSync;
    int hostBlock;  // frames per call; the announced block is 64
    Work work;
};

const Scenario kScenarios[] = {
    {"ParametersAndTheirTextsFloat", false, false, 64, Work::Parameters},
    {"ProgramChangesDoubleTempoSync", true, true, 64, Work::Programs},
    {"BankAndProgramChunksFloatBlocksInSlices", false, true, 200, Work::Chunks},
    {"AllOfItAsAHostDoesDouble", true, true, 64, Work::Everything},
};

// One operation of the user-interface thread; `op` counts them.
void WorkThePlugin(AEffect* effect, Work work, uint32_t op, uint32_t& seed) {
    seed = seed * 1664525u + 1013904223u;
    char text[64];
    float levels[4];
    auto chunks = [&] {
        for (VstIntPtr preset : {0, 1}) {
            void* data = nullptr;
            VstIntPtr size = effect->dispatcher(effect, effGetChunk, (VstInt32)preset, 0, &data, 0);
            std::vector<char> copy((char*)data, (char*)data + size);
            effect->dispatcher(effect, effSetChunk, (VstInt32)preset, size, copy.data(), 0);
        }
    };
    switch (work) {
        case Work::Parameters: break;
        case Work::Programs: effect->dispatcher(effect, effSetProgram, 0, seed % 64, nullptr, 0); return;
        case Work::Chunks: chunks(); return;
        case Work::Everything:
            if (op % 256 == 0) chunks();
            if (op % 64 == 0) effect->dispatcher(effect, effSetProgram, 0, seed % 64, nullptr, 0);
            break;
    }
    int index = 1 + (int)(seed >> 8) % (kNumParams - 1);
    if (index == kParamTempoSync) index = kParamFeedBack;
    effect->setParameter(effect, index, (float)((seed >> 4) % 1000) / 999.0f);
    effect->dispatcher(effect, effGetParamDisplay, index, 0, text, 0);
    static_cast<ATapDelay*>(effect->object)->GetVU(&levels[0], &levels[1], &levels[2], &levels[3]);
}

void PrintTo(const Scenario& s, std::ostream* out) { *out << s.name; }

class AudioThread : public ::testing::TestWithParam<Scenario> {};

TEST_P(AudioThread, NeverWaits) {
    const Scenario& s = GetParam();
    ASSERT_TRUE(&InterposerTake && &InterposerWatch) << "run with the interposer preloaded";
    void* library = dlopen(TAPDELAY_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    auto entry = (AEffect * (*)(audioMasterCallback)) dlsym(library, "VSTPluginMain");
    AEffect* effect = entry(Host);
    g_timeInfo.tempo = 120.0;
    g_timeInfo.flags = kVstTempoValid;
    g_timeInfo.sampleRate = 48000.0;
    effect->dispatcher(effect, effOpen, 0, 0, nullptr, 0);
    effect->dispatcher(effect, effSetSampleRate, 0, 0, nullptr, 48000.0f);
    effect->dispatcher(effect, effSetBlockSize, 0, 64, nullptr, 0);
    effect->dispatcher(effect, effMainsChanged, 0, 1, nullptr, 0);
    effect->setParameter(effect, kParamTempoSync, s.tempoSync ? 1.0f : 0.0f);

    std::vector<float> floats(4 * (size_t)s.hostBlock, 0.25f);
    std::vector<double> doubles(4 * (size_t)s.hostBlock, 0.25);
    float* in[2] = {&floats[0], &floats[s.hostBlock]};
    float* out[2] = {&floats[2 * s.hostBlock], &floats[3 * s.hostBlock]};
    double* inD[2] = {&doubles[0], &doubles[s.hostBlock]};
    double* outD[2] = {&doubles[2 * s.hostBlock], &doubles[3 * s.hostBlock]};

    std::atomic<bool> done{false};
    std::atomic<uint32_t> operations{0};
    std::thread ui([&] {
        uint32_t seed = 7;
        for (uint32_t op = 0; !done; op++, operations++) WorkThePlugin(effect, s.work, op, seed);
    });
    std::thread audio([&] {
        t_audioThread = true;
        for (int block = 0; block < 4000 || operations < 300; block++) {
            InterposerWatch(block > 0);  // the first block may settle in
            if (s.doublePrecision)
                effect->processDoubleReplacing(effect, inD, outD, s.hostBlock);
            else
                effect->processReplacing(effect, in, out, s.hostBlock);
            InterposerWatch(false);
        }
    });
    audio.join();
    done = true;
    ui.join();

    const char* names[kWaitKinds] = {"allocations or frees", "lock calls", "file calls", "X calls"};
    for (int kind = 0; kind < kWaitKinds; kind++)
        EXPECT_EQ(InterposerTake(kind), 0u) << names[kind];
    EXPECT_EQ(g_otherHostCalls.exchange(0), 0u) << "host calls other than audioMasterGetTime";
    effect->dispatcher(effect, effClose, 0, 0, nullptr, 0);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, AudioThread, ::testing::ValuesIn(kScenarios),
                         [](const ::testing::TestParamInfo<Scenario>& info) { return std::string(info.param.name); });

}  // namespace
