// The VST 3 bundle's process() under the preloaded interposer, with changes at
// sample offsets, the tempo moving the taps and another thread working the
// controller and state: no allocation, lock, file or X call.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/realtime/Interposer.h"
#include "tests/vst3/Vst3Host.h"

extern "C" __attribute__((weak)) void InterposerWatch(bool on);
extern "C" __attribute__((weak)) unsigned InterposerTake(int kind);

using namespace vst3test;

namespace {

template <class Sample>
void ExpectNoWaits(int frames) {  // the announced block is 64
    ASSERT_TRUE(&InterposerTake && &InterposerWatch) << "run with the interposer preloaded";
    Plugin plugin;
    ASSERT_TRUE(plugin.Ready());
    plugin.Prepare(sizeof(Sample) == 8 ? kSample64 : kSample32, 64);
    std::atomic<bool> done{false};
    std::atomic<uint32_t> operations{0};
    std::thread ui([&] {
        for (uint32_t op = 0; !done; op++, operations++) {
            plugin.controller->setParamNormalized(1 + op % 61, (op % 100) / 99.0);
            if (op % 64 == 0) plugin.controller->setParamNormalized(63, (op / 64 % 64) / 63.0);  // a program
            if (op % 256 == 0) plugin.SetState(plugin.State());
        }
    });
    std::vector<Sample> buffers(4 * (size_t)frames, (Sample)0.25);
    Sample *in[2] = {&buffers[0], &buffers[frames]}, *out[2] = {&buffers[2 * frames], &buffers[3 * frames]};
    Changes changes;
    for (int block = 0; block < 4000 || operations < 300; block++) {
        changes.count = 0;
        changes.Add(60, 0, 1.0);                                   // tempo sync stays on
        changes.Add(58, frames / 3, (block % 10) / 10.0);          // feedback
        changes.Add(62, frames / 2, block % 50 == 0 ? 1.0 : 0.0);  // bypass now and then
        ProcessContext context = Tempo(90.0 + block % 60);          // the taps move: output changes
        InterposerWatch(block > 0);                                // the first block may settle in
        plugin.Process(in, out, frames, &changes, &context);
        InterposerWatch(false);
    }
    done = true;
    ui.join();
    const char* names[kWaitKinds] = {"allocations or frees", "lock calls", "file calls", "X calls"};
    for (int kind = 0; kind < kWaitKinds; kind++) EXPECT_EQ(InterposerTake(kind), 0u) << names[kind];
}

TEST(Vst3AudioThread, FloatNeverWaits) { ExpectNoWaits<float>(64); }
TEST(Vst3AudioThread, DoubleInLongBlocksNeverWaits) { ExpectNoWaits<double>(200); }

}  // namespace
