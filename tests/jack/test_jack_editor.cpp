// tapdelay's window on the X server: titled with the client's name, it holds
// the editor, whose meters light while the test's client plays noise through
// it (pictures left beside the test); SAVE in the editor writes the state at
// once; closing the window quits.
#include "tests/jack/JackRig.h"
#include "tests/support/Picture.h"
#include "tools/vsthost/EditorWindow.h"
#include "tools/vsthost/Synth.h"

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

}  // namespace

TEST(TapDelayWindow, ShowsTheMetersMovingSavesAtOnceAndQuitsWhenClosed) {
    if (!std::getenv("DISPLAY") || !*std::getenv("DISPLAY")) {
        ASSERT_STRNE(std::getenv("TAPDELAY_REQUIRE_X11"), "1") << "DISPLAY is not set";
        GTEST_SKIP() << "no X display";
    }
    ConfigHome home;
    JackServer server;
    ASSERT_TRUE(server.Up());
    auto tapdelay = StartTapDelay(home, {"--program", "8"});
    TestClients clients;
    ASSERT_TRUE(clients.ConnectThrough(TapDelayName())) << tapdelay->Output();
    Display* display = XOpenDisplay(nullptr);
    ASSERT_NE(display, nullptr);
    const Window window = FindWindow(TapDelayName());
    ASSERT_NE(window, 0u) << tapdelay->Output();

    usleep(700000);  // the first paint
    vsthost::writeWindowPng(display, window, JACK_TEST_PICTURES "/window-silent.png");
    clients.Loop(vsthost::makeNoise(48000, 2, 48000, 0.5f));  // -6 dBFS
    usleep(1000000);
    vsthost::writeWindowPng(display, window, JACK_TEST_PICTURES "/window-playing.png");
    const Picture quiet(JACK_TEST_PICTURES "/window-silent.png"), loud(JACK_TEST_PICTURES "/window-playing.png");
    EXPECT_EQ(quiet.Width(), 800);
    EXPECT_TRUE(OnlyMetersLit(quiet, loud));

    // SAVE, and Return in its dialog: the plug-in saves the program, and
    // tapdelay its state file, at once.
    const std::string stateFile = home.file("TapDelay/standalone.fxb");
    ASSERT_FALSE(std::filesystem::exists(stateFile));
    ASSERT_EQ(std::system(("xdotool mousemove --window " + std::to_string(window) + " 292 18 click 1").c_str()), 0);
    ASSERT_NE(FindWindow("Save Program"), 0u);
    ASSERT_EQ(std::system("xdotool key Return"), 0);
    for (int i = 0; i < 200 && !std::filesystem::exists(stateFile); i++) usleep(25000);
    EXPECT_TRUE(std::filesystem::exists(stateFile)) << tapdelay->Output();

    // What a window manager's close button sends.
    XEvent close{};
    close.xclient = {ClientMessage, 0, True, display, window, XInternAtom(display, "WM_PROTOCOLS", False), 32, {}};
    close.xclient.data.l[0] = (long)XInternAtom(display, "WM_DELETE_WINDOW", False);
    XSendEvent(display, window, False, NoEventMask, &close);
    XCloseDisplay(display);
    EXPECT_EQ(tapdelay->Wait(), 0) << tapdelay->Output();
    EXPECT_TRUE(tapdelay->Said("quit      the window was closed")) << tapdelay->Output();
}
