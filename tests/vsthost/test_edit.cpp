// vsthost edit on an X server: the editor of the built TapDelay.so, shown in
// vsthost's own window and photographed, with and without audio playing
// through the plug-in.
#include "tools/vsthost/Synth.h"
#include "tools/vsthost/WavIO.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>

#include "tests/support/Picture.h"
#include "tests/support/TempFolder.h"

using namespace vsthost;

namespace {

// Skips without an X display, unless TAPDELAY_REQUIRE_X11 is 1.
#define REQUIRE_DISPLAY()                                                                  \
    if (!std::getenv("DISPLAY") || !*std::getenv("DISPLAY")) {                             \
        ASSERT_STRNE(std::getenv("TAPDELAY_REQUIRE_X11"), "1") << "DISPLAY is not set";    \
        GTEST_SKIP() << "no X display";                                                    \
    }

struct CommandRun {
    int status;
    std::string output;
};

CommandRun Vsthost(const std::string& arguments, const std::string& environment = "") {
    const std::string command = environment + " '" VSTHOST_EXE "' " + arguments + " 2>&1";
    CommandRun run{-1, ""};
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    char buffer[512];
    while (fgets(buffer, sizeof buffer, pipe)) run.output += buffer;
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

}  // namespace

// The editor fills vsthost's window at the size it reports, shows the chosen
// program over the background picture, and its meters light only where the
// audio playing through the plug-in reaches them.
TEST(VsthostEdit, ShowsTapDelaysEditorWithItsMetersFollowingTheAudio) {
    REQUIRE_DISPLAY();
    TempFolder folder;
    const std::string settings = "XDG_CONFIG_HOME='" + folder.path() + "'";
    const std::string common = "edit '" TAPDELAY_PLUGIN_PATH "' --program 8 -p FeedBack=40% --after 1.5 ";
    const CommandRun silent = Vsthost(common + "--screenshot '" + folder.file("silent.png") + "'", settings);
    ASSERT_EQ(silent.status, 0) << silent.output;
    EXPECT_NE(silent.output.find("program   8 \"Dotted 8th + Quarter\""), std::string::npos) << silent.output;
    EXPECT_NE(silent.output.find("param     FeedBack = 40.0 %"), std::string::npos) << silent.output;
    // A second of noise peaking at -6 dBFS on both channels.
    writeAudioFile(folder.file("noise.wav"), makeNoise(48000, 2, 48000, 0.5f));
    const CommandRun playing = Vsthost(
        common + "--audio '" + folder.file("noise.wav") + "' --screenshot '" + folder.file("playing.png") + "'", settings);
    ASSERT_EQ(playing.status, 0) << playing.output;

    Picture quiet(folder.file("silent.png")), loud(folder.file("playing.png"));
    Picture background(TAPDELAY_PLUGIN_DIR "/3005.png");
    ASSERT_TRUE(quiet.Ok() && loud.Ok() && background.Ok());
    ASSERT_TRUE(quiet.MostlyLike(background));
    ASSERT_TRUE(loud.MostlyLike(background));

    EXPECT_TRUE(OnlyMetersLit(quiet, loud));

    // --scale 2, as a HiDPI host asks: the editor at twice the size (1600 x
    // 720), drawn from the 2x pictures.
    const CommandRun large = Vsthost(common + "--scale 2 --screenshot '" + folder.file("large.png") + "'", settings);
    ASSERT_EQ(large.status, 0) << large.output;
    Picture twice(folder.file("large.png")), background2x(TAPDELAY_PLUGIN_DIR "/3005@2x.png");
    ASSERT_TRUE(twice.Ok() && background2x.Ok());
    EXPECT_EQ(background2x.Width(), 1600);
    EXPECT_TRUE(twice.MostlyLike(background2x));
}

// Without an X server there is nothing to show: vsthost says how to get one
// instead of failing obscurely; a plug-in without an editor is refused.
TEST(VsthostEdit, ExplainsWhatItNeeds) {
    const CommandRun noDisplay = Vsthost("edit '" TAPDELAY_PLUGIN_PATH "'", "env -u DISPLAY");
    EXPECT_EQ(noDisplay.status, 1);
    EXPECT_NE(noDisplay.output.find("xvfb-run"), std::string::npos) << noDisplay.output;

    REQUIRE_DISPLAY();
    const CommandRun noEditor = Vsthost("edit '" FAULTY_PLUGIN_PATH "' --screenshot /dev/null");
    EXPECT_NE(noEditor.status, 0);
    EXPECT_NE(noEditor.output.find("no editor"), std::string::npos) << noEditor.output;
}
