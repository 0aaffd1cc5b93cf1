// vsthost edit on an X server: the editor of the built TapDelay.so, shown in
// vsthost's own window and photographed, with and without audio playing
// through the plug-in.
#include "tools/vsthost/AudioBuffer.h"
#include "tools/vsthost/WavIO.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <unistd.h>
#include <sys/wait.h>

#include "tests/support/TempFolder.h"

using namespace vsthost;

namespace {

bool HaveDisplay() {
    const char* display = std::getenv("DISPLAY");
    return display && *display;
}

#define REQUIRE_DISPLAY()                                                        \
    do {                                                                         \
        const char* require = std::getenv("TAPDELAY_REQUIRE_X11");               \
        if (!HaveDisplay()) {                                                    \
            ASSERT_FALSE(require && *require == '1') << "DISPLAY is not set";    \
            GTEST_SKIP() << "no X display";                                      \
        }                                                                        \
    } while (0)

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

// A PNG read back as RGB24 pixels.
class Picture {
public:
    explicit Picture(const std::string& path) : m_surface(cairo_image_surface_create_from_png(path.c_str())) {}
    ~Picture() { cairo_surface_destroy(m_surface); }
    bool Ok() const { return cairo_surface_status(m_surface) == CAIRO_STATUS_SUCCESS; }
    int Width() const { return cairo_image_surface_get_width(m_surface); }
    int Height() const { return cairo_image_surface_get_height(m_surface); }
    uint32_t At(int x, int y) const {
        const unsigned char* row =
            cairo_image_surface_get_data(m_surface) + y * cairo_image_surface_get_stride(m_surface);
        uint32_t pixel;
        std::memcpy(&pixel, row + 4 * x, 4);
        return pixel & 0xFFFFFF;
    }
    size_t Colours() const {
        std::set<uint32_t> colours;
        for (int y = 0; y < Height(); y++)
            for (int x = 0; x < Width(); x++) colours.insert(At(x, y));
        return colours.size();
    }

private:
    cairo_surface_t* m_surface;
};

// A steady 1 kHz tone at -6 dBFS on both channels.
std::string WriteTone(const TempFolder& folder) {
    AudioBuffer tone(48000.0, 2, 48000);
    for (auto& channel : tone.channels)
        for (size_t i = 0; i < channel.size(); i++)
            channel[i] = 0.5f * static_cast<float>(std::sin(2.0 * M_PI * 1000.0 * i / 48000.0));
    const std::string path = folder.file("tone.wav");
    writeAudioFile(path, tone);
    return path;
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
    const CommandRun playing = Vsthost(common + "--audio '" + WriteTone(folder) + "' --screenshot '" +
                                    folder.file("playing.png") + "'",
                                settings);
    ASSERT_EQ(playing.status, 0) << playing.output;

    Picture quiet(folder.file("silent.png")), loud(folder.file("playing.png"));
    Picture background(TAPDELAY_PLUGIN_DIR "/3005.png");
    ASSERT_TRUE(quiet.Ok() && loud.Ok() && background.Ok());
    ASSERT_EQ(quiet.Width(), background.Width());
    ASSERT_EQ(quiet.Height(), background.Height());
    ASSERT_EQ(loud.Width(), background.Width());

    // Most of the window is the background picture itself: the editor is in
    // place, not shifted, not blank.
    size_t same = 0;
    for (int y = 0; y < quiet.Height(); y++)
        for (int x = 0; x < quiet.Width(); x++) same += quiet.At(x, y) == background.At(x, y);
    EXPECT_GT(same, static_cast<size_t>(quiet.Width() * quiet.Height() / 2));

    // The four meters (two columns at each side, from row 50 down) are the
    // only pixels that the tone changes.
    const auto inMeter = [](int x, int y) {
        return y >= 50 && y < 190 && ((x >= 32 && x < 50) || (x >= 754 && x < 772));
    };
    size_t litLeft = 0, litRight = 0, elsewhere = 0;
    for (int y = 0; y < quiet.Height(); y++)
        for (int x = 0; x < quiet.Width(); x++) {
            if (quiet.At(x, y) == loud.At(x, y)) continue;
            if (!inMeter(x, y)) elsewhere++;
            else (x < 400 ? litLeft : litRight)++;
        }
    EXPECT_GT(litLeft, 100u);
    EXPECT_GT(litRight, 100u);
    EXPECT_EQ(elsewhere, 0u);

    // --scale 2, as a HiDPI host asks: the editor at twice the size, drawn
    // from the 2x pictures.
    const CommandRun large = Vsthost(common + "--scale 2 --screenshot '" + folder.file("large.png") + "'", settings);
    ASSERT_EQ(large.status, 0) << large.output;
    Picture twice(folder.file("large.png")), background2x(TAPDELAY_PLUGIN_DIR "/3005@2x.png");
    ASSERT_TRUE(twice.Ok() && background2x.Ok());
    ASSERT_EQ(twice.Width(), 1600);
    ASSERT_EQ(twice.Height(), 720);
    same = 0;
    for (int y = 0; y < twice.Height(); y++)
        for (int x = 0; x < twice.Width(); x++) same += twice.At(x, y) == background2x.At(x, y);
    EXPECT_GT(same, static_cast<size_t>(twice.Width() * twice.Height() / 2));
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
