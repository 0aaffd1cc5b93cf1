// The CLAP plug-in's process under the preloaded interposer: with parameter
// and tempo events inside every block, and the plug-in's own changes going
// back to the host, while another thread saves and loads its state and asks
// for values and texts as a host's main thread does, the audio thread makes
// no allocation, takes no lock and touches no file or X connection.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "effect/ParamTable.h"
#include "tests/clap/ClapTestHost.h"
#include "tests/realtime/Interposer.h"

extern "C" __attribute__((weak)) void InterposerWatch(bool on);
extern "C" __attribute__((weak)) unsigned InterposerTake(int kind);

namespace {

constexpr uint32_t kFrames = 64;

// Lists of fixed size that never allocate: what a real-time host keeps.
struct FixedEvents {
    clap::EventParamValue values[2]{};
    clap::EventTransport tempo{};
    const clap::EventHeader* order[3] = {&tempo.header, &values[0].header, &values[1].header};
    unsigned pushed = 0;

    clap::InputEvents in{this, [](const clap::InputEvents*) -> uint32_t { return 3; },
                         [](const clap::InputEvents* l, uint32_t i) {
                             return i < 3 ? static_cast<FixedEvents*>(l->context)->order[i] : nullptr;
                         }};
    clap::OutputEvents out{this, [](const clap::OutputEvents* l, const clap::EventHeader*) {
                               static_cast<FixedEvents*>(l->context)->pushed++;
                               return true;
                           }};

    void Fill(uint32_t& seed, double bpm) {
        tempo.header = {sizeof tempo, 0, clap::kCoreEventSpace, clap::kEventTransport, 0};
        tempo.flags = clap::kTransportHasTempo;
        tempo.tempo = bpm;
        for (int i = 0; i < 2; i++) {
            seed = seed * 1664525u + 1013904223u;
            clap::EventParamValue& v = values[i];
            v.header = {sizeof v, (seed >> 4) % kFrames, clap::kCoreEventSpace, clap::kEventParamValue, 0};
            v.paramId = 1 + (seed >> 8) % (kNumParams - 1);
            if (v.paramId == kParamTempoSync) v.paramId = kParamFeedBack;
            v.value = (double)((seed >> 12) % 4);  // every step of the stepped ones
            if (v.value > 1.0) v.value /= 4.0;
        }
        if (values[1].header.time < values[0].header.time) std::swap(values[0].header.time, values[1].header.time);
    }
};

TEST(ClapAudioThread, NeverWaits) {
    ASSERT_TRUE(&InterposerTake && &InterposerWatch) << "run with the interposer preloaded";
    char folder[] = "/tmp/tapdelay-rt-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    setenv("XDG_CONFIG_HOME", folder, 1);  // no user bank
    ClapTestHost host;
    ClapInstance clap(host);
    ASSERT_NE(clap.plugin, nullptr);
    clap.Start(48000.0, kFrames);
    EventList sync;
    sync.Value(0, kParamTempoSync, 1.0);
    clap.Flush(sync);

    float buffers[4][kFrames] = {};
    for (float& sample : buffers[0]) sample = 0.25f;
    float* in[2] = {buffers[0], buffers[1]};
    float* out[2] = {buffers[2], buffers[3]};
    clap::AudioBuffer input{nullptr, nullptr, 2, 0, 0}, output{nullptr, nullptr, 2, 0, 0};
    input.data32 = in;
    output.data32 = out;
    FixedEvents events;

    std::atomic<bool> done{false};
    std::atomic<uint32_t> operations{0};
    std::thread ui([&] {
        char text[64];
        for (uint32_t op = 0; !done; op++, operations++) {
            const clap::Id id = op % 63;
            double value = 0.0;
            clap.params->getValue(clap.plugin, id, &value);
            clap.params->valueToText(clap.plugin, id, value, text, sizeof text);
            clap.params->textToValue(clap.plugin, id, text, &value);
            if (op % 16 == 0) clap.Load(clap.State());
        }
    });
    std::thread audio([&] {
        uint32_t seed = 3;
        for (int block = 0; block < 4000 || operations < 300; block++) {
            events.Fill(seed, block % 500 < 250 ? 120.0 : 97.0);
            clap::Process process{block * (int64_t)kFrames, kFrames, &events.tempo, &input, &output, 1, 1,
                                  &events.in, &events.out};
            InterposerWatch(block > 0);
            clap.plugin->process(clap.plugin, &process);
            InterposerWatch(false);
        }
    });
    audio.join();
    done = true;
    ui.join();

    const char* names[kWaitKinds] = {"allocations or frees", "lock calls", "file calls", "X calls"};
    for (int kind = 0; kind < kWaitKinds; kind++) EXPECT_EQ(InterposerTake(kind), 0u) << names[kind];
    EXPECT_GT(events.pushed, 0u);  // the host heard of the changes
    std::system((std::string("rm -rf ") + folder).c_str());
}

}  // namespace
