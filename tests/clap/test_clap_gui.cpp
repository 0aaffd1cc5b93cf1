// The CLAP editor on the X server, embedded in a host window and run by a
// stand-in of the host's loop (poll on the descriptor the plug-in registered,
// its timer at its period); the user's clicks and keys are real X input
// (XTest) from a thread of their own, since menus run their loops inside
// the host's call.
#include <gtest/gtest.h>
#include <poll.h>
// clang-format off
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
// clang-format on

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "effect/ParamTable.h"
#include "tests/clap/ClapTestHost.h"
#include "tests/support/PluginUnderTest.h"

namespace {

using Clock = std::chrono::steady_clock;

int g_hostErrors = 0;  // X errors on the test's own connection

// The user: XTest input on a connection of its own, on its own thread.
class User {
public:
    User() : display(XOpenDisplay(nullptr)) {}
    ~User() {
        if (thread.joinable()) thread.join();
        XCloseDisplay(display);
    }
    void Start(std::function<void(User&)> script) {
        thread = std::thread([this, script] {
            script(*this);
            done = true;
        });
    }
    void Click(int x, int y, unsigned button = 1) {
        XTestFakeMotionEvent(display, DefaultScreen(display), x, y, CurrentTime);
        XTestFakeButtonEvent(display, button, True, CurrentTime);
        XTestFakeButtonEvent(display, button, False, CurrentTime);
        Sync();
    }
    void Key(KeySym keysym) {
        const KeyCode code = XKeysymToKeycode(display, keysym);
        XTestFakeKeyEvent(display, code, True, CurrentTime);
        XTestFakeKeyEvent(display, code, False, CurrentTime);
        Sync();
    }
    // Until a window besides the `known` number is mapped on the root (a menu).
    void WaitForMenu(unsigned known) {
        for (auto end = Clock::now() + std::chrono::seconds(5); Clock::now() < end && Mapped() <= known;) Sync();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    unsigned Mapped() {
        Window root, parent, *children = nullptr;
        unsigned count = 0, mapped = 0;
        XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
        for (unsigned i = 0; i < count; i++) {
            XWindowAttributes a;
            if (XGetWindowAttributes(display, children[i], &a) && a.map_state == IsViewable) mapped++;
        }
        if (children) XFree(children);
        return mapped;
    }
    std::atomic<bool> done{false};

private:
    void Sync() {
        XSync(display, False);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    Display* display;
    std::thread thread;
};

class ClapGui : public ::testing::Test {
protected:
    void SetUp() override {
        display = XOpenDisplay(nullptr);
        if (!display) {
            const char* require = std::getenv("TAPDELAY_REQUIRE_X11");
            if (require && *require == '1') FAIL() << "no X display";
            GTEST_SKIP() << "no X display";
        }
        XSetErrorHandler([](Display*, XErrorEvent*) { return ++g_hostErrors, 0; });
        parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 800, 360, 0, 0, 0);
        XMapWindow(display, parent);
        XSync(display, False);
        clap.reset(new ClapInstance(host));
        gui = clap->Ext<clap::PluginGui>(clap::kExtGui);
    }
    void TearDown() override {
        clap.reset();
        if (display) XCloseDisplay(display);
    }

    // The host's loop for `ms` milliseconds, and on until the user is done.
    void Loop(int ms, const User* user = nullptr) {
        auto end = Clock::now() + std::chrono::milliseconds(ms);
        auto nextTimer = Clock::now();
        for (auto limit = end + std::chrono::seconds(20); Clock::now() < limit;) {
            if (Clock::now() >= end && (!user || user->done)) break;
            pollfd fds[1] = {{host.fds.empty() ? -1 : *host.fds.begin(), POLLIN, 0}};
            if (poll(fds, 1, 10) > 0 && (fds[0].revents & POLLIN))
                clap->Ext<clap::PluginPosixFdSupport>(clap::kExtPosixFdSupport)->onFd(clap->plugin, fds[0].fd, clap::kFdRead);
            if (Clock::now() >= nextTimer && !host.timers.empty()) {
                nextTimer = Clock::now() + std::chrono::milliseconds(host.timers.begin()->second);
                clap->Ext<clap::PluginTimerSupport>(clap::kExtTimerSupport)->onTimer(clap->plugin, host.timers.begin()->first);
            }
        }
    }
    std::pair<uint32_t, uint32_t> Size() {
        uint32_t width = 0, height = 0;
        EXPECT_TRUE(gui->getSize(clap->plugin, &width, &height));
        return {width, height};
    }
    bool Embed() {
        const clap::Window window{clap::kWindowApiX11, {}};
        clap::Window inParent = window;
        inParent.x11 = parent;
        return gui->create(clap->plugin, clap::kWindowApiX11, false) && gui->setParent(clap->plugin, &inParent);
    }

    IsolatedPreferences preferences;
    ClapTestHost host;
    std::unique_ptr<ClapInstance> clap;
    const clap::PluginGui* gui = nullptr;
    Display* display = nullptr;
    Window parent = 0;
};

TEST_F(ClapGui, EmbeddedX11OnlyAndOnlyWithTheHostsTimers) {
    EXPECT_TRUE(gui->isApiSupported(clap->plugin, clap::kWindowApiX11, false));
    EXPECT_FALSE(gui->isApiSupported(clap->plugin, clap::kWindowApiX11, true));
    EXPECT_FALSE(gui->isApiSupported(clap->plugin, "wayland", false));
    const char* api = nullptr;
    bool floating = true;
    ASSERT_TRUE(gui->getPreferredApi(clap->plugin, &api, &floating));
    EXPECT_STREQ(api, clap::kWindowApiX11);
    EXPECT_FALSE(floating);
    EXPECT_FALSE(gui->create(clap->plugin, clap::kWindowApiX11, true));
    EXPECT_EQ(host.logs.size(), 1u) << "a floating window is refused with a word to the host";
    uint32_t width, height;
    EXPECT_FALSE(gui->getSize(clap->plugin, &width, &height)) << "nothing before create";
    host.offerTimers = false;
    ClapInstance untimed(host);
    EXPECT_FALSE(untimed.Ext<clap::PluginGui>(clap::kExtGui)->create(untimed.plugin, clap::kWindowApiX11, false));
}

// The sizes, the host's loop, clicks and menus with what the host hears of
// them, and a host that destroys its window before the editor.
TEST_F(ClapGui, TheUsersInputReachesTheHost) {
    ASSERT_TRUE(gui->create(clap->plugin, clap::kWindowApiX11, false));
    EXPECT_FALSE(gui->create(clap->plugin, clap::kWindowApiX11, false)) << "one editor at a time";
    EXPECT_TRUE(gui->setScale(clap->plugin, 1.4));
    EXPECT_EQ(Size(), (std::pair<uint32_t, uint32_t>{1200, 540}));
    uint32_t width = 10, height = 10;
    EXPECT_FALSE(gui->canResize(clap->plugin));
    EXPECT_TRUE(gui->adjustSize(clap->plugin, &width, &height));
    EXPECT_EQ(width, 1200u);
    EXPECT_EQ(height, 540u);
    EXPECT_TRUE(gui->setSize(clap->plugin, 1200, 540));
    EXPECT_FALSE(gui->setSize(clap->plugin, 800, 360));
    EXPECT_FALSE(gui->setScale(clap->plugin, 0.0));
    EXPECT_TRUE(gui->setScale(clap->plugin, 1.0));
    EXPECT_EQ(Size(), (std::pair<uint32_t, uint32_t>{800, 360}));
    gui->destroy(clap->plugin);

    ASSERT_TRUE(Embed());
    EXPECT_EQ(host.fds.size(), 1u);
    ASSERT_EQ(host.timers.size(), 1u);
    EXPECT_EQ(host.timers.begin()->second, 30u);
    EXPECT_TRUE(gui->show(clap->plugin));
    Loop(300);
    EventList events;
    const auto gesture = [&](clap::Id id) {
        const std::vector<EventList::Out> taken = events.Taken();
        EXPECT_EQ(taken.size(), 3u);
        if (taken.size() != 3) return -1.0;
        EXPECT_EQ(taken[0].type, clap::kEventParamGestureBegin);
        EXPECT_EQ(taken[1].type, clap::kEventParamValue);
        EXPECT_EQ(taken[2].type, clap::kEventParamGestureEnd);
        for (const EventList::Out& e : taken) EXPECT_EQ(e.id, id);
        return taken[1].value;
    };

    // Not processing: the host is asked to flush. The delay switch of tap 0.
    const double wasOn = clap->Value(kParamDelayOnOff);
    {
        User user;
        user.Start([](User& u) { u.Click(79, 88); });
        Loop(200, &user);
    }
    EXPECT_GT(host.flushRequests, 0);
    clap->Flush(events);
    EXPECT_EQ(gesture(kParamDelayOnOff), 1.0 - wasOn);
    EXPECT_EQ(clap->Value(kParamDelayOnOff), 1.0 - wasOn);

    // Processing: through process. The left quarter of tap 0's delay-time slider.
    clap->Start();
    const int flushes = host.flushRequests;
    {
        User user;
        user.Start([](User& u) { u.Click(138 + 27, 88); });
        Loop(200, &user);
    }
    std::vector<float> silence(64);
    float* in[2] = {silence.data(), silence.data()};
    std::vector<float> l(64), r(64);
    float* out[2] = {l.data(), r.data()};
    clap->Process(in, out, 64, events);
    EXPECT_EQ(gesture(kParamDelayTime), (double)0.25f);
    EXPECT_EQ(host.flushRequests, flushes);

    // The copy menu: the next program into this one. The host hears the
    // values (no gesture) and that the state changed.
    {
        User user;
        const unsigned mapped = user.Mapped();
        user.Start([mapped](User& u) {
            u.Click(70, 18);
            u.WaitForMenu(mapped);
            u.Key(XK_Down);
            u.Key(XK_Return);
        });
        Loop(200, &user);
    }
    EXPECT_GT(host.dirtyMarks, 0);
    clap->Process(in, out, 64, events);
    ASSERT_FALSE(events.Taken().empty());
    for (const EventList::Out& e : events.Taken()) {
        EXPECT_EQ(e.type, clap::kEventParamValue);
        EXPECT_EQ(e.value, clap->Value(e.id));
    }

    // The Size menu (a right click on the background): 200 % asks the host.
    {
        User user;
        const unsigned mapped = user.Mapped();
        user.Start([mapped](User& u) {
            u.Click(400, 40, 3);
            u.WaitForMenu(mapped);
            for (int i = 0; i < 3; i++) u.Key(XK_Down);
            u.Key(XK_Return);
        });
        Loop(200, &user);
    }
    ASSERT_EQ(host.resizeRequests.size(), 1u);
    EXPECT_EQ(host.resizeRequests[0], (std::pair<uint32_t, uint32_t>{1600, 720}));
    EXPECT_EQ(Size(), host.resizeRequests[0]);

    // The host's window goes first; the editor is idled, then destroyed.
    XDestroyWindow(display, parent);
    XSync(display, False);
    Loop(100);
    gui->destroy(clap->plugin);
    EXPECT_TRUE(host.fds.empty());
    EXPECT_TRUE(host.timers.empty());
    XSync(display, False);
    EXPECT_EQ(g_hostErrors, 0);
}

}  // namespace
