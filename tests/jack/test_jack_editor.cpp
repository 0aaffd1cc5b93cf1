// tapdelay's window on the X server: it opens titled with the client's name,
// holds the editor, whose meters light while the test's client plays noise
// through it (pictures left beside the test for a look); a program saved in
// the editor saves the standalone's state at once; closing the window quits.
#include "tests/jack/JackRig.h"
#include "tools/vsthost/EditorWindow.h"
#include "tools/vsthost/Synth.h"

#include <cairo.h>
#include <gtest/gtest.h>
#include <signal.h>
// After gtest: Xlib's macros (None, Bool) would rename gtest's own.
#include <X11/Xlib.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

#include "tests/support/TempFolder.h"

using namespace vsthost;

namespace {

// xdotool's answer: the id of the first visible window with that name.
Window FindWindow(const std::string& name) {
    FILE* pipe = popen(("timeout 20 xdotool search --sync --onlyvisible --name '^" + name + "$' 2>/dev/null").c_str(), "r");
    unsigned long id = 0;
    if (pipe && fscanf(pipe, "%lu", &id) != 1) id = 0;
    if (pipe) pclose(pipe);
    return id;
}

// The window's pixels as the PNG at `path` shows them.
std::vector<uint32_t> Photograph(Display* display, Window window, const std::string& path, int& width) {
    writeWindowPng(display, window, path);
    cairo_surface_t* surface = cairo_image_surface_create_from_png(path.c_str());
    width = cairo_image_surface_get_width(surface);
    std::vector<uint32_t> pixels;
    for (int y = 0; y < cairo_image_surface_get_height(surface); y++) {
        const auto* row = reinterpret_cast<const uint32_t*>(cairo_image_surface_get_data(surface) +
                                                            y * cairo_image_surface_get_stride(surface));
        for (int x = 0; x < width; x++) pixels.push_back(row[x] & 0xFFFFFF);
    }
    cairo_surface_destroy(surface);
    return pixels;
}

// What a window manager's close button sends.
void CloseWindow(Display* display, Window window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = (long)XInternAtom(display, "WM_DELETE_WINDOW", False);
    XSendEvent(display, window, False, NoEventMask, &event);
    XFlush(display);
}

}  // namespace

TEST(TapDelayWindow, OpensWithMetersFollowingTheAudioAndQuitsWhenClosed) {
    if (!std::getenv("DISPLAY") || !*std::getenv("DISPLAY")) {
        ASSERT_STRNE(std::getenv("TAPDELAY_REQUIRE_X11"), "1") << "DISPLAY is not set";
        GTEST_SKIP() << "no X display";
    }
    TempFolder folder;
    JackServer server;
    ASSERT_TRUE(server.Up());
    const std::string name = UniqueName("TapDelay on JACK");
    Child tapdelay({TAPDELAY_EXE, "--name", name, "--program", "8"}, folder.file("log.txt"),
                   {"XDG_CONFIG_HOME=" + folder.path()});
    TestClients clients;
    ASSERT_TRUE(clients.ConnectThrough(name)) << tapdelay.Output();
    Display* display = XOpenDisplay(nullptr);
    ASSERT_NE(display, nullptr);
    const Window window = FindWindow(name);
    ASSERT_NE(window, 0u) << tapdelay.Output();

    std::this_thread::sleep_for(std::chrono::milliseconds(700));  // the first paint
    int width = 0;
    const auto quiet = Photograph(display, window, JACK_TEST_PICTURES "/window-silent.png", width);
    const AudioBuffer noise = makeNoise(48000, 2, 48000, 0.5f);  // -6 dBFS
    clients.Loop(noise);
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    const auto loud = Photograph(display, window, JACK_TEST_PICTURES "/window-playing.png", width);
    clients.Stop();
    ASSERT_EQ(width, 800);
    ASSERT_EQ(quiet.size(), loud.size());

    // The four meters (two columns at each side, from row 50 down) are the
    // only pixels that the noise changes.
    size_t litLeft = 0, litRight = 0, elsewhere = 0;
    for (size_t i = 0; i < quiet.size(); i++) {
        if (quiet[i] == loud[i]) continue;
        const int x = (int)(i % width), y = (int)(i / width);
        const bool meter = y >= 50 && y < 190 && ((x >= 32 && x < 50) || (x >= 754 && x < 772));
        if (!meter) elsewhere++;
        else (x < 400 ? litLeft : litRight)++;
    }
    EXPECT_GT(litLeft, 100u);
    EXPECT_GT(litRight, 100u);
    EXPECT_EQ(elsewhere, 0u);

    // SAVE, and Return in its dialog: the plug-in saves the program, and
    // tapdelay its state file, before it quits.
    const std::string stateFile = folder.file("TapDelay/standalone.fxb");
    ASSERT_FALSE(std::filesystem::exists(stateFile));
    ASSERT_EQ(std::system(("xdotool mousemove --window " + std::to_string(window) + " 292 18 click 1").c_str()), 0);
    ASSERT_NE(FindWindow("Save Program"), 0u);
    ASSERT_EQ(std::system("xdotool key Return"), 0);
    for (int i = 0; i < 200 && !std::filesystem::exists(stateFile); i++)
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    EXPECT_TRUE(std::filesystem::exists(stateFile)) << tapdelay.Output();

    CloseWindow(display, window);
    EXPECT_EQ(tapdelay.Wait(), 0) << tapdelay.Output();
    EXPECT_NE(tapdelay.Output().find("quit      the window was closed"), std::string::npos) << tapdelay.Output();
    XCloseDisplay(display);
}
