// The CLAP editor in a host's X window, run by a stand-in of the host's loop
// (the plug-in's descriptor polled, its timer at its period), with real X
// input: what the host hears of clicks, menus and sizes; an orphaned editor.
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>

#include "tests/clap/ClapTestHost.h"
#include "tests/support/Vst2Reference.h"
#include "tests/support/XUser.h"

namespace {

class ClapGui : public ::testing::Test {
protected:
    void SetUp() override {
        SKIP_WITHOUT_X(user.display);
        parent = XCreateSimpleWindow(user.display, DefaultRootWindow(user.display), 0, 0, 800, 360, 0, 0, 0);
        XMapWindow(user.display, parent);
        XSync(user.display, False);
    }

    // The host's loop for `ms` milliseconds, and on while the user's thread runs.
    void Loop(int ms, const XUser* user = nullptr) {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::milliseconds(ms);
        for (auto timer = Clock::now(); Clock::now() < end || (user && !user->Done());) {
            pollfd watched{clap.fd, POLLIN, 0};
            if (poll(&watched, 1, 10) > 0) fds->onFd(clap.plugin, clap.fd, clap::kFdRead);
            if (clap.timerPeriod && Clock::now() >= timer) {
                timer += std::chrono::milliseconds(clap.timerPeriod);
                timers->onTimer(clap.plugin, 7);
            }
        }
    }
    // The editor's size, or the one it makes of a host's 10 x 10.
    std::string Size(bool adjusted = false) {
        uint32_t width = 10, height = 10;
        EXPECT_TRUE((adjusted ? gui->adjustSize : gui->getSize)(clap.plugin, &width, &height));
        return std::to_string(width) + "x" + std::to_string(height);
    }

    IsolatedPreferences preferences;
    XUser user;  // its connection also holds the host's window
    Window parent = 0;
    ClapTestHost clap;
    const clap::PluginGui* gui = clap.Ext<clap::PluginGui>(clap::kExtGui);
    const clap::PluginPosixFdSupport* fds = clap.Ext<clap::PluginPosixFdSupport>(clap::kExtPosixFdSupport);
    const clap::PluginTimerSupport* timers = clap.Ext<clap::PluginTimerSupport>(clap::kExtTimerSupport);
};

TEST_F(ClapGui, EmbeddedX11OnlyAndOnlyWithTheHostsTimers) {
    EXPECT_TRUE(gui->isApiSupported(clap.plugin, clap::kWindowApiX11, false));
    EXPECT_FALSE(gui->isApiSupported(clap.plugin, clap::kWindowApiX11, true));
    EXPECT_FALSE(gui->create(clap.plugin, clap::kWindowApiX11, true));
    ClapTestHost untimed(TAPDELAY_CLAP_PATH, false);
    EXPECT_FALSE(gui->create(untimed.plugin, clap::kWindowApiX11, false));
}

TEST_F(ClapGui, ClicksMenusAndSizesReachTheHost) {
    ASSERT_TRUE(gui->create(clap.plugin, clap::kWindowApiX11, false));
    EXPECT_FALSE(gui->create(clap.plugin, clap::kWindowApiX11, false)) << "one editor at a time";
    EXPECT_TRUE(gui->setScale(clap.plugin, 1.5));
    EXPECT_EQ(Size(), "1200x540");
    EXPECT_EQ(Size(true), "1200x540");
    EXPECT_FALSE(gui->setSize(clap.plugin, 800, 360));
    EXPECT_TRUE(gui->setScale(clap.plugin, 1.0));
    clap::Window window{clap::kWindowApiX11, {}};
    window.x11 = parent;
    ASSERT_TRUE(gui->setParent(clap.plugin, &window));
    EXPECT_GE(clap.fd, 0);
    EXPECT_EQ(clap.timerPeriod, 30u);
    Loop(300);

    // Idle, the host is asked to flush; processing, the events come from
    // process. Tap 0's delay switch, a quarter of its time slider, its filter
    // type twice (a list: steps), the power switch (bypass follows), and with
    // Shift the power switch again: the factory program back, heard as values.
    Stereo<float> silence(64);
    for (auto [processing, x, y, shift, heard] :
         {std::tuple{false, 79, 88, false, "B21 21=0 E21"}, {true, 165, 88, false, "B3 3=0.25 E3"},
          {true, 450, 88, false, "B33 33=0 E33"}, {true, 450, 88, false, "B33 33=1 E33"},
          {true, 37, 17, false, "B0 0=0 E0 62=1"}, {true, 37, 17, true, "B0 0=1 E0 3=0.125 21=1 33=2 62=0"}}) {
        if (processing && !clap.processing) clap.Start();
        const int flushes = clap.flushRequests, dirty = clap.dirtyMarks;
        if (shift) user.Key(XK_Shift_L, true);
        user.Click(x, y);
        Loop(200);
        if (shift) user.Key(XK_Shift_L, false);
        EXPECT_EQ(clap.flushRequests > flushes, !processing) << heard;
        EXPECT_EQ(clap.dirtyMarks > dirty, shift) << heard;
        processing ? (void)clap.Process(silence.At(0), silence.At(0), 64) : clap.Flush();
        EXPECT_EQ(clap.Heard(), heard);
    }

    // The Size menu (a right click on the background): 200 % asks the host.
    XUser menu;
    menu.Start([](XUser& u) {
        u.Click(400, 40, 3);
        u.WaitForMenu();
        for (KeySym key : {XK_Down, XK_Down, XK_Down, XK_Return}) u.Key(key);
    });
    Loop(200, &menu);
    EXPECT_EQ(clap.resized, "1600x720");
    EXPECT_EQ(Size(), "1600x720");

    // The host's window goes first; the editor is idled, then destroyed.
    XDestroyWindow(user.display, parent);
    XSync(user.display, False);
    Loop(100);
    gui->destroy(clap.plugin);
    EXPECT_EQ(clap.fd, -1);
    EXPECT_EQ(clap.timerPeriod, 0u);
}

}  // namespace
