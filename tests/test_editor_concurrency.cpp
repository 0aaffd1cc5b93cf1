// The editor while other threads work: the audio thread follows the host
// tempo (and so reports parameter changes from inside the engine lock), a
// host thread automates parameters at about 1 kHz, and the UI thread idles
// and reopens the editor. Run under ThreadSanitizer in CI.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "tests/editor/EditorFixture.h"

TEST(EditorConcurrency, AudioAutomationAndTheUserInterfaceThreadTogether) {
    EditorFixture fixture;
    ATapDelay& effect = fixture.effect();
    fixture.host().tempo = 120.0;
    effect.setSampleRate(48000.0f);
    effect.setBlockSize(256);
    effect.setParameter(60, 1.0f);  // tempo sync on
    for (int tap = 0; tap < 6; tap++) effect.setParameter(21 + tap, 1.0f);

    std::atomic<bool> done{false};
    std::atomic<int> blocks{0};
    std::thread audio([&] {
        std::vector<float> inL(256), inR(256), outL(256), outR(256);
        float* in[2] = {inL.data(), inR.data()};
        float* out[2] = {outL.data(), outR.data()};
        for (int block = 0; !done.load(); block++) {
            for (int i = 0; i < 256; i++) inL[i] = inR[i] = (float)std::sin(0.02 * (block * 256 + i));
            // Each block asks the tempo again; a changed note moves the taps.
            effect.processReplacing(in, out, 256);
            blocks++;
        }
    });
    std::thread automation([&] {
        for (int step = 0; !done.load(); step++) {
            effect.setParameter(9 + step % 6, (step % 10) / 10.0f);
            effect.setParameter(61, (step % 4) / 3.0f);
            effect.setParameter(33 + step % 6, (step % 3) / 2.0f);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });

    for (int round = 0; round < 400; round++) {
        fixture.Idle();
        if (round % 50 == 49) fixture.Reopen();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    done = true;
    audio.join();
    automation.join();
    EXPECT_GT(blocks.load(), 0);
    fixture.Idle();
    EXPECT_TRUE(fixture.window().HasPainted());
}
