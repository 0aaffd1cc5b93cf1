// tapdelay's JACK process callback under the preloaded interposer: while the
// test's client plays noise through it, the transport's tempo moves the
// synced taps and (on an X server) the editor idles and draws its meters,
// the callback makes no allocation, takes no lock, touches no file or X
// connection, and makes no host call but the time query.
#include "tests/jack/JackRig.h"
#include "tools/vsthost/Synth.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "tests/support/TempFolder.h"

TEST(JackProcessCallback, NeverWaits) {
    TempFolder folder;
    JackServer server(128);
    ASSERT_TRUE(server.Up());
    std::vector<std::string> command = {TAPDELAY_EXE, "--name", UniqueName("Realtime"), "--program", "0"};
    if (!std::getenv("DISPLAY") || !*std::getenv("DISPLAY")) command.push_back("--no-gui");
    Child tapdelay(command, folder.file("log.txt"),
                   {"XDG_CONFIG_HOME=" + folder.path(), "LD_PRELOAD=" REALTIME_INTERPOSER});
    TestClients clients;
    ASSERT_TRUE(clients.ConnectThrough(UniqueName("Realtime"))) << tapdelay.Output();
    const vsthost::AudioBuffer noise = vsthost::makeNoise(48000, 2, 24000, 0.5f);
    clients.Loop(noise);
    for (double bpm : {100.0, 140.0, 75.0}) {
        clients.GiveTempo(bpm);
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
    }
    clients.Stop();
    tapdelay.Signal(SIGTERM);
    ASSERT_EQ(tapdelay.Wait(), 0) << tapdelay.Output();

    const std::string output = tapdelay.Output();
    const size_t report = output.find("interposer: ");
    ASSERT_NE(report, std::string::npos) << "run without the interposer?\n" << output;
    unsigned long cycles = 0;
    unsigned counts[4] = {9, 9, 9, 9};
    ASSERT_EQ(sscanf(output.c_str() + report,
                     "interposer: %lu process cycles: %u allocations or frees, %u lock calls, %u file calls, %u X calls",
                     &cycles, &counts[0], &counts[1], &counts[2], &counts[3]),
              5)
        << output;
    EXPECT_GT(cycles, 300u);
    const char* names[4] = {"allocations or frees", "lock calls", "file calls", "X calls"};
    for (int kind = 0; kind < 4; kind++) EXPECT_EQ(counts[kind], 0u) << names[kind];
    EXPECT_EQ(output.find("refused"), std::string::npos) << "host calls other than the time query:\n" << output;
}
