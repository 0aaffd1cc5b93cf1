// tapdelay --no-gui on a JACK server of the test's own: it plays what
// `vsthost render` makes, its synced taps follow the transport's tempo, its
// bank outlives it, and without a server it says how to start one.
#include "tests/jack/JackRig.h"
#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/Synth.h"
#include "tools/vsthost/WavIO.h"

#include <glob.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace vsthost;

namespace {

constexpr double kRate = 48000.0;
constexpr int kPeriod = 256;

// What tapdelay --program 0 (and `options`) plays of `input`, recorded in the
// same cycles; the transport's timebase master gives `bpm` unless it is 0.
AudioBuffer PlayThrough(const ConfigHome& home, const AudioBuffer& input, std::vector<std::string> options = {},
                        double bpm = 0) {
    options.insert(options.end(), {"--no-gui", "--program", "0"});
    auto tapdelay = StartTapDelay(home, options);
    TestClients clients;
    EXPECT_TRUE(clients.ConnectThrough(TapDelayName())) << tapdelay->Output();
    if (bpm > 0) clients.GiveTempo(bpm);
    const AudioBuffer played = clients.PlayAndRecord(input);
    tapdelay->Signal(SIGTERM);
    EXPECT_EQ(tapdelay->Wait(), 0) << tapdelay->Output();
    return played;
}

}  // namespace

// An impulse, then the demo phrase, through tapdelay with program 0: what
// `vsthost render` makes with the JACK period as its block size, bit for bit.
TEST(TapDelayOnJack, PlaysWhatRenderMakesAtThePeriod) {
    ConfigHome home;
    AudioBuffer input = makeImpulse(kRate, 2, 4800, 100);
    const AudioBuffer phrase = synthesiseDemoInput(kRate);
    for (int k = 0; k < 2; k++)
        input.channels[k].insert(input.channels[k].end(), phrase.channels[k].begin(), phrase.channels[k].end());
    writeAudioFile(home.file("in.wav"), input);
    Child render({VSTHOST_EXE, "render", home.file("in.wav"), home.file("out.wav"), "--program", "0", "--tail",
                  "0.25", "--block", std::to_string(kPeriod)},
                 home.file("render.txt"));
    ASSERT_EQ(render.Wait(), 0) << render.Output();
    const AudioBuffer expected = readAudioFile(home.file("out.wav"));
    input.resize(expected.frames());  // and the tail's silence

    JackServer server(kPeriod);
    ASSERT_TRUE(server.Up());
    const AudioBuffer played = PlayThrough(home, input);
    ASSERT_EQ(played.frames(), expected.frames());
    const auto sameBits = [](float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; };
    for (int k = 0; k < 2; k++) {
        const std::vector<float>& want = expected.channels[k];
        const auto differ = std::mismatch(want.begin(), want.end(), played.channels[k].begin(), sameBits).first;
        EXPECT_EQ(differ - want.begin(), (long)want.size()) << "the first frame that differs in channel " << k;
    }
}

// Program 0 has one tap a quarter note behind, synced: its echo of an impulse
// moves with the tempo of the transport's timebase master, unless --tempo
// holds it; without either it is at 120 BPM.
TEST(TapDelayOnJack, SyncedTapsFollowTheTransportsTempo) {
    const struct {
        double transportBpm;  // 0: no timebase master
        std::vector<std::string> options;
        long echoAt;  // frames after the impulse: a quarter note at 48 kHz
    } cases[] = {{0, {}, 24000}, {90, {}, 32000}, {90, {"--tempo", "150"}, 19200}};
    ConfigHome home;
    JackServer server;
    ASSERT_TRUE(server.Up());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.echoAt);
        const AudioBuffer played = PlayThrough(home, makeImpulse(kRate, 2, 33000), c.options, c.transportBpm);
        long echo = 1000;
        while (echo < (long)played.frames() && std::fabs(played.channels[0][echo]) < 0.01f &&
               std::fabs(played.channels[1][echo]) < 0.01f)
            echo++;
        EXPECT_EQ(echo, c.echoAt);
    }
}

// The bank and program of one run are there in the next, however it ended:
// a signal or the server going away. A damaged file is set aside and the run
// starts from the defaults.
TEST(TapDelayOnJack, KeepsItsStateBetweenRuns) {
    const struct {
        const char* what;
        std::vector<std::string> options;
        int end;  // the signal that ends it; 0: the server goes away
        int status;
        std::vector<std::string> said;
    } steps[] = {
        {"first run", {"--no-gui", "--program", "5"}, SIGTERM, 0, {"state     none yet", "quit      SIGTERM", "state     saved to"}},
        {"second run", {"--no-gui"}, SIGINT, 0, {"state     restored", "program   5 \"8th Note Echo\"", "state     unchanged"}},
        {"server gone", {"--no-gui", "--program", "7"}, 0, 1, {"the JACK server went away", "state     saved to"}},
        {"after the server", {"--no-gui"}, SIGTERM, 0, {"program   7 \""}},
        {"damaged", {"--no-gui"}, SIGTERM, 0, {"is damaged", "kept as", "defaults loaded", "program   0 \"Quarter Note Echo\""}},
    };
    ConfigHome home;
    const std::string stateFile = home.file("TapDelay/standalone.fxb");
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        if (std::string(step.what) == "damaged") std::ofstream(stateFile) << "CcnK but nothing after it";
        JackServer server;
        ASSERT_TRUE(server.Up());
        auto tapdelay = StartTapDelay(home, step.options);
        for (int i = 0; i < 1000 && !tapdelay->Said(" quits"); i++) usleep(10000);
        if (step.end) tapdelay->Signal(step.end);
        else server.Stop();
        EXPECT_EQ(tapdelay->Wait(), step.status) << tapdelay->Output();
        for (const std::string& text : step.said) EXPECT_TRUE(tapdelay->Said(text)) << text << " in\n" << tapdelay->Output();
        EXPECT_TRUE(readPatchFile(stateFile).isBank());  // whole, whatever happened
    }
    glob_t aside;
    ASSERT_EQ(glob(home.file("TapDelay/standalone.fxb.broken-*").c_str(), 0, nullptr, &aside), 0);
    EXPECT_EQ(aside.gl_pathc, 1u);
    EXPECT_EQ(ReadText(aside.gl_pathv[0]), "CcnK but nothing after it");
    globfree(&aside);
}

// Without a server: how to start one, exit status 1, and no server started
// behind the user's back.
TEST(TapDelayOnJack, AnswersWithoutAServer) {
    ConfigHome home;
    setenv("JACK_DEFAULT_SERVER", UniqueName("tapdelay-absent").c_str(), 1);
    const std::pair<std::vector<std::string>, std::string> runs[] = {{{TAPDELAY_EXE, "--no-gui"}, "tapdelay"},
                                                                     {{VSTHOST_EXE, "jack", "--no-gui"}, "vsthost jack"}};
    for (const auto& [command, self] : runs) {
        Child run(command, home.file("log.txt"));
        EXPECT_EQ(run.Wait(), 1) << run.Output();
        EXPECT_TRUE(run.Said("no JACK server is running. Start one first, for example\n  jackd -d alsa")) << run.Output();
        EXPECT_TRUE(run.Said("\n  pw-jack " + self + "\n")) << run.Output();
    }
    EXPECT_EQ(jack_client_open(UniqueName("probe").c_str(), JackNoStartServer, nullptr), nullptr);
}
