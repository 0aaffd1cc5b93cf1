// tapdelay's window on the X server: titled with the client's name, it holds
// the editor, whose meters light while the test's client plays noise through
// it (pictures left beside the test); SAVE in the editor writes the state at
// once; closing the window quits.
#include "tests/jack/JackRig.h"
#include "tools/vsthost/EditorWindow.h"
#include "tools/vsthost/Synth.h"

#include <cairo.h>
#include <gtest/gtest.h>
// After gtest: Xlib's macros (None, Bool) would rename gtest's own.
#include <X11/Xlib.h>

#include <filesystem>

namespace {

// The first visible window of that name, waited for up to 20 s; 0 for none.
Window FindWindow(const std::string& name) {
    FILE* pipe = popen(("timeout 20 xdotool search --sync --onlyvisible --name '^" + name + "$' 2>/dev/null").c_str(), "r");
    unsigned long id = 0;
    if (pipe && fscanf(pipe, "%lu", &id) != 1) id = 0;
    if (pipe) pclose(pipe);
    return id;
}

// The window's pixels, row by row, as the PNG `name` beside the test shows them.
std::vector<uint32_t> Photograph(Display* display, Window window, const std::string& name, int& width) {
    const std::string path = JACK_TEST_PICTURES "/" + name + ".png";
    vsthost::writeWindowPng(display, window, path);
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

}  // namespace

TEST(TapDelayWindow, ShowsTheMetersMovingSavesAtOnceAndQuitsWhenClosed) {
    if (!std::getenv("DISPLAY") || !*std::getenv("DISPLAY")) {
        ASSERT_STRNE(std::getenv("TAPDELAY_REQUIRE_X11"), "1") << "DISPLAY is not set";
        GTEST_SKIP() << "no X display";
    }
    ConfigHome home;
    JackServer server;
    ASSERT_TRUE(server.Up());
    TapDelay tapdelay(home, {"--program", "8"});
    TestClients clients;
    ASSERT_TRUE(clients.ConnectThrough(TapDelay::Name())) << tapdelay.Output();
    Display* display = XOpenDisplay(nullptr);
    ASSERT_NE(display, nullptr);
    const Window window = FindWindow(TapDelay::Name());
    ASSERT_NE(window, 0u) << tapdelay.Output();

    usleep(700000);  // the first paint
    int width = 0;
    const auto quiet = Photograph(display, window, "window-silent", width);
    const vsthost::AudioBuffer noise = vsthost::makeNoise(48000, 2, 48000, 0.5f);  // -6 dBFS
    clients.Loop(noise);
    usleep(1000000);
    const auto loud = Photograph(display, window, "window-playing", width);
    clients.Stop();
    ASSERT_EQ(width, 800);
    ASSERT_EQ(quiet.size(), loud.size());
    // The four meters (two columns at each side, from row 50 down) are the
    // only pixels that the noise changes.
    size_t lit[2] = {}, elsewhere = 0;
    for (size_t i = 0; i < quiet.size(); i++) {
        const size_t x = i % width, y = i / width;
        const bool meter = y >= 50 && y < 190 && ((x >= 32 && x < 50) || (x >= 754 && x < 772));
        if (quiet[i] != loud[i]) (meter ? lit[x > 400] : elsewhere)++;
    }
    EXPECT_GT(lit[0], 100u);
    EXPECT_GT(lit[1], 100u);
    EXPECT_EQ(elsewhere, 0u);

    // SAVE, and Return in its dialog: the plug-in saves the program, and
    // tapdelay its state file, at once.
    const std::string stateFile = home.file("TapDelay/standalone.fxb");
    ASSERT_FALSE(std::filesystem::exists(stateFile));
    ASSERT_EQ(std::system(("xdotool mousemove --window " + std::to_string(window) + " 292 18 click 1").c_str()), 0);
    ASSERT_NE(FindWindow("Save Program"), 0u);
    ASSERT_EQ(std::system("xdotool key Return"), 0);
    for (int i = 0; i < 200 && !std::filesystem::exists(stateFile); i++) usleep(25000);
    EXPECT_TRUE(std::filesystem::exists(stateFile)) << tapdelay.Output();

    // What a window manager's close button sends.
    XEvent close{};
    close.xclient = {ClientMessage, 0, True, display, window, XInternAtom(display, "WM_PROTOCOLS", False), 32, {}};
    close.xclient.data.l[0] = (long)XInternAtom(display, "WM_DELETE_WINDOW", False);
    XSendEvent(display, window, False, NoEventMask, &close);
    XCloseDisplay(display);
    EXPECT_EQ(tapdelay.Wait(), 0) << tapdelay.Output();
    EXPECT_TRUE(tapdelay.Said("quit      the window was closed")) << tapdelay.Output();
}
