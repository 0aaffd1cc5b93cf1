// The CLAP plug-in's process under the preloaded interposer, with events in
// every block and changes going back, while a main thread works the state and
// the texts: no allocation, lock, file or X call on the audio thread.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "formats/shared/ParameterInfo.h"
#include "tests/clap/ClapTestHost.h"
#include "tests/realtime/Interposer.h"
#include "tests/support/TempFolder.h"

extern "C" __attribute__((weak)) void InterposerWatch(bool on);
extern "C" __attribute__((weak)) unsigned InterposerTake(int kind);

TEST(ClapAudioThread, NeverWaits) {
    ASSERT_TRUE(&InterposerTake && &InterposerWatch) << "run with the interposer preloaded";
    TempFolder preferences;  // no user bank
    setenv("XDG_CONFIG_HOME", preferences.path().c_str(), 1);
    ClapTestHost clap;
    ASSERT_NE(clap.plugin, nullptr);
    clap.Start(48000.0, 64);

    std::atomic<bool> done{false};
    std::atomic<uint32_t> operations{0};
    std::thread ui([&] {
        char text[64];
        for (uint32_t op = 0; !done; op++, operations++) {
            double value = 0.0;
            clap.params->getValue(clap.plugin, op % 63, &value);
            clap.params->valueToText(clap.plugin, op % 63, value, text, sizeof text);
            clap.params->textToValue(clap.plugin, op % 63, text, &value);
            if (op % 16 == 0) clap.Load(clap.State());
        }
    });
    uint32_t told = 0;
    std::thread audio([&] {
        float buffers[4][64] = {{1.0f}};
        float* in[2] = {buffers[0], buffers[1]};
        float* out[2] = {buffers[2], buffers[3]};
        for (int block = 0; block < 4000 || operations < 300; block++) {
            const double bpm = block % 500 < 250 ? 120.0 : 97.0;
            const clap::Id id = 1 + block % 61;  // every value but tempo sync, which stays on
            clap.Send(0, ClapTestHost::kTempo, bpm);
            clap.Send(0, kParamTempoSync, 1.0);
            clap.Send(20, id == kParamTempoSync ? (clap::Id)kParamSyncNote : id, block % 4 / 3.0);
            clap.Send(40, ParameterInfo::kBypass, block % 50 == 0);
            InterposerWatch(block > 0);  // the first block may settle in
            clap.Process(in, out, 64, bpm);
            InterposerWatch(false);
            told += (uint32_t)clap.taken.size();
        }
    });
    audio.join();
    done = true;
    ui.join();

    const char* names[kWaitKinds] = {"allocations or frees", "lock calls", "file calls", "X calls"};
    for (int kind = 0; kind < kWaitKinds; kind++) EXPECT_EQ(InterposerTake(kind), 0u) << names[kind];
    EXPECT_GT(told, 0u);  // the host heard the taps move and the bypass
}
