// tapdelay's window on the X server while the test's client plays noise
// through it and the transport's tempo moves the synced taps: titled with the
// client's name, it holds the editor, whose meters light (pictures left beside
// the test); SAVE in the editor writes the state at once; closing the window
// quits. With the realtime interposer preloaded, the process callback made no
// allocation, took no lock, touched no file or X connection and made no host
// call but the time query through all of it.
#include "tests/jack/JackRig.h"
#include "tests/support/Picture.h"
#include "tools/vsthost/EditorWindow.h"
#include "tools/vsthost/Synth.h"

#include <gtest/gtest.h>
// After gtest: Xlib's macros (None, Bool) would rename gtest's own.
#include <X11/Xlib.h>

#include <filesystem>
#include <regex>

namespace {

// The first visible window of that name, waited for up to 20 s; 0 for none.
Window FindWindow(const TempFolder& home, const std::string& name) {
    Child search({"timeout", "20", "xdotool", "search", "--sync", "--onlyvisible", "--name", "^" + name + "$"},
                 home.file("search.txt"));
    return search.Wait() == 0 ? std::stoul(search.Output()) : 0;
}

}  // namespace

TEST(TapDelayWindow, ShowsTheMetersMovingSavesAtOnceAndQuitsWhenClosed) {
    if (!std::getenv("DISPLAY") || !*std::getenv("DISPLAY")) {
        ASSERT_STRNE(std::getenv("TAPDELAY_REQUIRE_X11"), "1") << "DISPLAY is not set";
        GTEST_SKIP() << "no X display";
    }
    ConfigHome home;
    JackServer server(128);
    ASSERT_TRUE(server.Up());
#ifdef REALTIME_INTERPOSER
    setenv("LD_PRELOAD", REALTIME_INTERPOSER, 1);  // for tapdelay alone
#endif
    auto tapdelay = StartTapDelay(home, {"--program", "8"});
    unsetenv("LD_PRELOAD");
    TestClients clients;
    ASSERT_TRUE(clients.ConnectThrough(TapDelayName())) << tapdelay->Output();
    Display* display = XOpenDisplay(nullptr);
    ASSERT_NE(display, nullptr);
    const Window window = FindWindow(home, TapDelayName());
    ASSERT_NE(window, 0u) << tapdelay->Output();

    usleep(700000);  // the first paint
    vsthost::writeWindowPng(display, window, JACK_TEST_PICTURES "/window-silent.png");
    clients.Loop(vsthost::makeNoise(48000, 2, 24000, 0.5f));  // -6 dBFS
    usleep(1000000);
    vsthost::writeWindowPng(display, window, JACK_TEST_PICTURES "/window-playing.png");
    const Picture quiet(JACK_TEST_PICTURES "/window-silent.png"), loud(JACK_TEST_PICTURES "/window-playing.png");
    EXPECT_EQ(quiet.Width(), 800);
    EXPECT_TRUE(OnlyMetersLit(quiet, loud));
    for (double bpm : {100.0, 140.0, 75.0}) {  // the synced taps move, the editor shows their times
        clients.GiveTempo(bpm);
        usleep(400000);
    }

    // SAVE, and Return in its dialog: the plug-in saves the program, and
    // tapdelay its state file, at once.
    const std::string stateFile = home.file("TapDelay/standalone.fxb");
    ASSERT_FALSE(std::filesystem::exists(stateFile));
    ASSERT_EQ(std::system(("xdotool mousemove --window " + std::to_string(window) + " 292 18 click 1").c_str()), 0);
    ASSERT_NE(FindWindow(home, "Save Program"), 0u);
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
    const std::string output = tapdelay->Output();
    EXPECT_TRUE(tapdelay->Said("quit      the window was closed")) << output;
#ifdef REALTIME_INTERPOSER
    std::smatch report;
    ASSERT_TRUE(std::regex_search(output, report, std::regex("interposer: (\\d+) process cycles: (.*)\n"))) << output;
    EXPECT_GT(std::stol(report.str(1)), 300);
    EXPECT_EQ(report.str(2), "0 allocations or frees, 0 lock calls, 0 file calls, 0 X calls");
    EXPECT_FALSE(tapdelay->Said("refused")) << "host calls other than the time query:\n" << output;
#endif
}
