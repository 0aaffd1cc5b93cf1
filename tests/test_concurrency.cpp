// One thread processes audio while another changes parameters and programs,
// takes chunks and reads displays, as hosts do. Run under ThreadSanitizer in
// CI; everywhere the audio must stay finite and each block one program's.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

#include "tests/support/PluginUnderTest.h"

TEST(Concurrency, AudioThreadAndUserInterfaceThreadTogether) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
    plugin.giveTempo(120.0);
    plugin.prepare(48000.0f, 256);
    plugin.setParameter(57, 1.0f);
    plugin.setParameter(58, 0.5f);
    for (int tap = 0; tap < 6; tap++) {
        plugin.setParameter(21 + tap, 1.0f);
        plugin.setParameter(51 + tap, 1.0f);
    }

    std::atomic<bool> done{false};
    std::atomic<int> blocks{0};
    std::atomic<bool> finite{true};
    std::thread audio([&] {
        std::vector<double> left(256), right(256), outLeft, outRight;
        std::vector<float> floatLeft(256), floatRight(256), floatOutL, floatOutR;
        for (int block = 0; !done.load() || block < 50; block++) {
            for (int i = 0; i < 256; i++)
                left[i] = right[i] = floatLeft[i] = floatRight[i] = (float)std::sin(0.01 * (block * 256 + i));
            if (block % 2) {
                plugin.processDouble(left, right, outLeft, outRight);
            } else {
                plugin.processFloat(floatLeft, floatRight, floatOutL, floatOutR);
                outLeft.assign(floatOutL.begin(), floatOutL.end());
            }
            for (double s : outLeft)
                if (!std::isfinite(s)) finite = false;
            blocks++;
            // Host automation arrives on the audio thread too.
            plugin.setParameter(9 + block % 6, (block % 10) / 10.0f);
        }
    });

    std::vector<unsigned char> copy(17664);
    for (int round = 0; round < 300; round++) {
        plugin.setParameter(3 + round % 6, (round % 17) / 17.0f * 0.2f);
        plugin.setParameter(27 + round % 6, (round % 13) / 13.0f);
        plugin.setParameter(60, round % 3 == 0 ? 1.0f : 0.0f);
        plugin.setParameter(61, (round % 4) / 3.0f);
        if (round % 10 == 0) plugin.setProgram(round % 64);
        void* data = nullptr;
        VstIntPtr size = plugin.dispatch(effGetChunk, round % 2, 0, &data);
        std::memcpy(copy.data(), data, (size_t)size);
        if (round % 25 == 0) plugin.dispatch(effSetChunk, 0, 17664, copy.data());
        if (round % 7 == 0) plugin.dispatch(effSetChunk, 1, 276, copy.data());
        char text[64];
        plugin.dispatch(effGetParamDisplay, round % 62, 0, text);
        plugin.dispatch(effGetProgramName, 0, 0, text);
        plugin.getParameter(3 + round % 6);
        if (round % 50 == 0) {
            plugin.dispatch(effMainsChanged, 0, 0);
            plugin.dispatch(effMainsChanged, 0, 1);
        }
        if (round % 60 == 0) plugin.dispatch(effSetBlockSize, 0, 128 + round);
    }
    done = true;
    audio.join();
    EXPECT_GT(blocks.load(), 0);
    EXPECT_TRUE(finite.load());
}

// A program change replays every parameter; the audio thread must take all
// of them or none, so each block sounds like one program. Dry signal only
// (taps off, balance 0): a block's level is its input gain times its output
// gain, and a block mixing the two programs has a level of neither.
TEST(Concurrency, BlocksNeverMixTwoPrograms) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
    plugin.prepare(48000.0f, 64);
    const float gains[2][2] = {{1.0f, 1.0f}, {0.5f, 0.25f}};  // input, output
    for (int program = 0; program < 2; program++) {
        plugin.setProgram(program);
        for (int index = 21; index <= 26; index++) plugin.setParameter(index, 0.0f);
        plugin.setParameter(59, 0.0f);
        plugin.setParameter(60, 0.0f);
        plugin.setParameter(2, gains[program][0]);
        plugin.setParameter(1, gains[program][1]);
    }
    std::vector<float> left(64, 0.5f), right(64, 0.5f), outLeft, outRight;
    float levels[2];
    for (int program = 0; program < 2; program++) {
        plugin.setProgram(program);
        plugin.processFloat(left, right, outLeft, outRight);
        levels[program] = outLeft[0];
    }
    ASSERT_NE(levels[0], levels[1]);

    std::atomic<bool> done{false};
    std::thread changer([&] {
        for (int round = 0; round < 20000; round++) plugin.setProgram(round % 2);
        done = true;
    });
    int blocks = 0, mixed = 0;
    while (!done.load() || blocks < 100) {
        std::fill(left.begin(), left.end(), 0.5f);
        std::fill(right.begin(), right.end(), 0.5f);
        plugin.processFloat(left, right, outLeft, outRight);
        for (float sample : outLeft)
            if (sample != levels[0] && sample != levels[1]) mixed++;
        blocks++;
    }
    changer.join();
    EXPECT_EQ(mixed, 0) << "in " << blocks << " blocks";
}
