// tapdelay (vsthost jack with TapDelay) on a JACK server of the test's own:
// what it plays is what `vsthost render` makes, its synced taps follow the
// transport's tempo, its bank outlives it, and without a server it says how
// to start one.
#include "tests/jack/JackRig.h"
#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/Synth.h"
#include "tools/vsthost/WavIO.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>

#include "TapDelayVersion.h"
#include "tests/support/TempFolder.h"

using namespace vsthost;

namespace {

constexpr double kRate = 48000.0;

// tapdelay with its own preferences folder and client name, as a child process.
std::unique_ptr<Child> StartTapDelay(const TempFolder& folder, const std::string& log,
                                     std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {TAPDELAY_EXE, "--name", UniqueName("TapDelay")});
    return std::make_unique<Child>(arguments, folder.file(log), std::vector<std::string>{"XDG_CONFIG_HOME=" + folder.path()});
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

// An impulse, then the demo phrase, played through `tapdelay --no-gui
// --program 0` and recorded in the same cycles, equals `vsthost render` of
// the same input with the JACK period as its block size, sample for sample.
TEST(TapDelayOnJack, PlaysWhatRenderMakesAtThePeriod) {
    const int period = 256;
    TempFolder folder;
    AudioBuffer input = makeImpulse(kRate, 2, 4800, 100);
    const AudioBuffer phrase = synthesiseDemoInput(kRate);
    for (int k = 0; k < 2; k++)
        input.channels[k].insert(input.channels[k].end(), phrase.channels[k].begin(), phrase.channels[k].end());
    writeAudioFile(folder.file("in.wav"), input);
    const std::string render = "XDG_CONFIG_HOME='" + folder.path() + "' '" VSTHOST_EXE "' render '" +
                               folder.file("in.wav") + "' '" + folder.file("out.wav") +
                               "' --program 0 --tail 0.25 --block " + std::to_string(period) + " > /dev/null";
    ASSERT_EQ(std::system(render.c_str()), 0);
    const AudioBuffer expected = readAudioFile(folder.file("out.wav"));

    JackServer server(period);
    ASSERT_TRUE(server.Up());
    auto tapdelay = StartTapDelay(folder, "log.txt", {"--no-gui", "--program", "0"});
    TestClients clients;
    ASSERT_TRUE(clients.ConnectThrough(UniqueName("TapDelay"))) << tapdelay->Output();
    const AudioBuffer played = clients.PlayAndRecord(input, expected.frames());
    tapdelay->Signal(SIGTERM);
    EXPECT_EQ(tapdelay->Wait(), 0) << tapdelay->Output();
    EXPECT_TRUE(Contains(tapdelay->Output(), "period 256 frames")) << tapdelay->Output();
    ASSERT_EQ(played.frames(), expected.frames());
    for (int k = 0; k < 2; k++) {
        size_t differ = 0, first = 0;
        for (size_t i = 0; i < expected.frames(); i++)
            if (played.channels[k][i] != expected.channels[k][i] && differ++ == 0) first = i;
        EXPECT_EQ(differ, 0u) << "channel " << k << ", first at frame " << first;
    }
}

// Program 0 has one tap a quarter note behind, synced: its echo of an
// impulse moves with the tempo of the transport's timebase master, unless
// --tempo holds it; without either it is at 120 BPM.
TEST(TapDelayOnJack, SyncedTapsFollowTheTransportsTempo) {
    struct Case {
        double transportBpm;  // 0: no timebase master
        std::vector<std::string> options;
        long echoAt;  // frames after the impulse: a quarter note at 48 kHz
    };
    const Case cases[] = {{0, {}, 24000}, {90, {}, 32000}, {90, {"--tempo", "150"}, 19200}};
    JackServer server;
    ASSERT_TRUE(server.Up());
    for (const Case& c : cases) {
        SCOPED_TRACE("transport " + std::to_string(c.transportBpm) + " BPM, " + std::to_string(c.options.size()) + " options");
        TempFolder folder;
        std::vector<std::string> options = {"--no-gui", "--program", "0"};
        options.insert(options.end(), c.options.begin(), c.options.end());
        auto tapdelay = StartTapDelay(folder, "log.txt", options);
        TestClients clients;
        ASSERT_TRUE(clients.ConnectThrough(UniqueName("TapDelay"))) << tapdelay->Output();
        if (c.transportBpm > 0) clients.GiveTempo(c.transportBpm);
        const AudioBuffer played = clients.PlayAndRecord(makeImpulse(kRate, 2, 100, 0), 33000);
        tapdelay->Signal(SIGTERM);
        EXPECT_EQ(tapdelay->Wait(), 0) << tapdelay->Output();
        EXPECT_EQ(FirstAbove(played, 0.01f, 1000), c.echoAt);
    }
}

// The bank and program of one run are there in the next, however it ended:
// a signal or the server going away. A damaged file is set aside and the
// run starts from the defaults.
TEST(TapDelayOnJack, KeepsItsStateBetweenRuns) {
    enum class End { Term, Interrupt, ServerGone };
    struct Step {
        const char* what;
        std::vector<std::string> options;
        End end;
        int status;
        std::vector<std::string> said;
    };
    const Step steps[] = {
        {"first run", {"--program", "5"}, End::Term, 0, {"state     none yet", "quit      SIGTERM", "state     saved to"}},
        {"second run", {}, End::Interrupt, 0, {"state     restored", "program   5 \"8th Note Echo\"", "state     unchanged"}},
        {"server gone", {"--program", "7"}, End::ServerGone, 1, {"the JACK server went away", "state     saved to"}},
        {"after the server", {}, End::Term, 0, {"program   7 \""}},
        {"damaged", {}, End::Term, 0, {"is damaged", "kept as", "defaults loaded", "program   0 \"Quarter Note Echo\""}},
    };
    TempFolder folder;
    const std::string stateFile = folder.file("TapDelay/standalone.fxb");
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        if (std::string(step.what) == "damaged") {
            std::ofstream(stateFile, std::ios::trunc) << "CcnK but nothing after it";
        }
        JackServer server;
        ASSERT_TRUE(server.Up());
        std::vector<std::string> options = step.options;
        options.push_back("--no-gui");
        auto tapdelay = StartTapDelay(folder, "log.txt", options);
        for (int i = 0; i < 1000 && !Contains(tapdelay->Output(), " quits"); i++) usleep(10000);
        if (step.end == End::ServerGone)
            server.Stop();
        else
            tapdelay->Signal(step.end == End::Term ? SIGTERM : SIGINT);
        EXPECT_EQ(tapdelay->Wait(), step.status) << tapdelay->Output();
        const std::string output = tapdelay->Output();
        for (const std::string& text : step.said) EXPECT_TRUE(Contains(output, text)) << text << " in\n" << output;
        EXPECT_TRUE(readPatchFile(stateFile).isBank());  // whole, whatever happened
    }
    size_t setAside = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.file("TapDelay")))
        if (Contains(entry.path().filename().string(), "standalone.fxb.broken-")) {
            setAside++;
            std::ifstream kept(entry.path());
            EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "CcnK but nothing after it");
        }
    EXPECT_EQ(setAside, 1u);
}

// Without a server: a message that says how to start one, exit status 1,
// and no server started behind the user's back. The version wherever it is
// asked for.
TEST(TapDelayOnJack, AnswersWithoutAServer) {
    setenv("JACK_DEFAULT_SERVER", UniqueName("tapdelay-absent").c_str(), 1);
    const std::vector<std::string> noServer = {"no JACK server is running", "jackd -d alsa", "jackd -d dummy"};
    const struct {
        std::vector<std::string> command;
        int status;
        std::vector<std::string> said;
    } cases[] = {{{TAPDELAY_EXE, "--no-gui"}, 1, {"pw-jack tapdelay\n"}},
                 {{VSTHOST_EXE, "jack", "--no-gui"}, 1, {"pw-jack vsthost jack\n"}},
                 {{TAPDELAY_EXE, "--version"}, 0, {"tapdelay " TAPDELAY_VERSION "\n"}},
                 {{VSTHOST_EXE, "--version"}, 0, {"vsthost " TAPDELAY_VERSION "\n"}},
                 {{VSTHOST_EXE, "info"}, 0, {"Host          vsthost " TAPDELAY_VERSION "\n"}}};
    TempFolder folder;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command[0] + " " + c.command[1]);
        Child run(c.command, folder.file("log.txt"), {"XDG_CONFIG_HOME=" + folder.path()});
        EXPECT_EQ(run.Wait(), c.status);
        std::vector<std::string> said = c.said;
        if (c.status == 1) said.insert(said.end(), noServer.begin(), noServer.end());
        for (const std::string& text : said) EXPECT_TRUE(Contains(run.Output(), text)) << run.Output();
    }
    EXPECT_EQ(jack_client_open(UniqueName("probe").c_str(), JackNoStartServer, nullptr), nullptr);
}
