// The CLAP editor embedded in a host's X window and run by a stand-in of the
// host's loop (poll on the descriptor the plug-in registered, its timer at
// its period), with real X input: what the host hears of clicks, menus and
// sizes, and a host that destroys its window before the editor.
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>

#include "effect/ParamTable.h"
#include "tests/clap/ClapTestHost.h"
#include "tests/support/Vst2Reference.h"
#include "tests/support/XUser.h"

namespace {

class ClapGui : public ::testing::Test {
protected:
    void SetUp() override {
        SKIP_WITHOUT_X(display);
        parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 800, 360, 0, 0, 0);
        XMapWindow(display, parent);
        XSync(display, False);
    }
    void TearDown() override {
        if (display) XCloseDisplay(display);
    }

    // The host's loop for `ms` milliseconds, and on while the user's thread runs.
    void Loop(int ms, const XUser* user = nullptr) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
        auto timer = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() < end || (user && !user->Done())) {
            pollfd watched{clap.fd, POLLIN, 0};
            if (poll(&watched, 1, 10) > 0)
                clap.Ext<clap::PluginPosixFdSupport>(clap::kExtPosixFdSupport)->onFd(clap.plugin, clap.fd, clap::kFdRead);
            if (clap.timerPeriod && std::chrono::steady_clock::now() >= timer) {
                timer += std::chrono::milliseconds(clap.timerPeriod);
                clap.Ext<clap::PluginTimerSupport>(clap::kExtTimerSupport)->onTimer(clap.plugin, 7);
            }
        }
    }
    std::string Size() {
        uint32_t width = 0, height = 0;
        EXPECT_TRUE(gui->getSize(clap.plugin, &width, &height));
        return std::to_string(width) + "x" + std::to_string(height);
    }

    IsolatedPreferences preferences;
    Display* display = XOpenDisplay(nullptr);
    Window parent = 0;
    ClapTestHost clap;
    const clap::PluginGui* gui = clap.Ext<clap::PluginGui>(clap::kExtGui);
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
    uint32_t width = 10, height = 10;
    EXPECT_TRUE(gui->adjustSize(clap.plugin, &width, &height));
    EXPECT_EQ(width * 1000 + height, 1200540u);
    EXPECT_FALSE(gui->setSize(clap.plugin, 800, 360));
    EXPECT_TRUE(gui->setScale(clap.plugin, 1.0));
    clap::Window window{clap::kWindowApiX11, {}};
    window.x11 = parent;
    ASSERT_TRUE(gui->setParent(clap.plugin, &window));
    EXPECT_GE(clap.fd, 0);
    EXPECT_EQ(clap.timerPeriod, 30u);
    Loop(300);

    // Idle, the host is asked to flush; processing, the events come from
    // process. The tap 0 delay switch, a quarter of its time slider, the
    // power switch (bypass follows), and with Shift the power switch again:
    // the program back to its factory values, which the host hears.
    const struct {
        bool processing;
        int x, y;
        bool shift;
        const char* heard;
    } clicks[] = {
        {false, 79, 88, false, "B21 21=0 E21"},
        {true, 165, 88, false, "B3 3=0.25 E3"},
        {true, 37, 17, false, "B0 0=0 E0 62=1"},
        {true, 37, 17, true, "B0 0=1 E0 3=0.125 21=1 62=0"},
    };
    XUser user;
    Stereo<float> silence(64);
    for (const auto& c : clicks) {
        if (c.processing && !clap.processing) clap.Start();
        const int flushes = clap.flushRequests, dirty = clap.dirtyMarks;
        if (c.shift) user.Key(XK_Shift_L, true);
        user.Click(c.x, c.y);
        Loop(200);
        if (c.shift) user.Key(XK_Shift_L, false);
        EXPECT_EQ(clap.flushRequests > flushes, !c.processing) << c.heard;
        EXPECT_EQ(clap.dirtyMarks > dirty, c.shift) << c.heard;
        c.processing ? (void)clap.Process(silence.At(0), silence.At(0), 64) : clap.Flush();
        EXPECT_EQ(clap.Heard(), c.heard);
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
    XDestroyWindow(display, parent);
    XSync(display, False);
    Loop(100);
    gui->destroy(clap.plugin);
    EXPECT_EQ(clap.fd, -1);
    EXPECT_EQ(clap.timerPeriod, 0u);
}

}  // namespace
