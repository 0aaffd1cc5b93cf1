// tapdelay's JACK process callback under the preloaded interposer: while the
// test's client plays noise through it, the transport's tempo moves the
// synced taps and (on an X server) the editor draws its meters, the callback
// makes no allocation, takes no lock, touches no file or X connection, and
// makes no host call but the time query.
#include "tests/jack/JackRig.h"
#include "tools/vsthost/Synth.h"

#include <gtest/gtest.h>

TEST(JackProcessCallback, NeverWaits) {
    ConfigHome home;
    JackServer server(128);
    ASSERT_TRUE(server.Up());
    std::vector<std::string> options = {"--program", "0"};
    if (!std::getenv("DISPLAY") || !*std::getenv("DISPLAY")) options.push_back("--no-gui");
    setenv("LD_PRELOAD", REALTIME_INTERPOSER, 1);  // for tapdelay alone
    auto tapdelay = StartTapDelay(home, options);
    unsetenv("LD_PRELOAD");
    TestClients clients;
    ASSERT_TRUE(clients.ConnectThrough(TapDelayName())) << tapdelay->Output();
    clients.Loop(vsthost::makeNoise(48000, 2, 24000, 0.5f));
    for (double bpm : {100.0, 140.0, 75.0}) {
        clients.GiveTempo(bpm);
        usleep(400000);
    }
    tapdelay->Signal(SIGTERM);
    ASSERT_EQ(tapdelay->Wait(), 0) << tapdelay->Output();

    const std::string output = tapdelay->Output();
    const size_t report = output.find("interposer: ");
    ASSERT_NE(report, std::string::npos) << "run without the interposer?\n" << output;
    EXPECT_GT(std::stol(output.substr(report + 12)), 300) << "process cycles watched";
    EXPECT_NE(output.find(" process cycles: 0 allocations or frees, 0 lock calls, 0 file calls, 0 X calls\n", report),
              std::string::npos)
        << output;
    EXPECT_FALSE(tapdelay->Said("refused")) << "host calls other than the time query:\n" << output;
}
