// The bundle's plug view on the X server in a host window run by a stand-in
// IRunLoop: real clicks reach the host as gestures, the content scale and the
// Size menu resize through the frame, and a parent destroyed first ends nothing.
#include "tests/support/XUser.h"

#include <poll.h>

#include "tests/support/PluginUnderTest.h"
#include "tests/vst3/Vst3Host.h"

using namespace vst3test;

namespace {

std::string Size(const ViewRect& r) {
    return std::to_string(r.right - r.left) + "x" + std::to_string(r.bottom - r.top);
}
std::string Size(IPlugView* view) {
    ViewRect rect{};
    return view->getSize(&rect), Size(rect);
}

// The host's frame with its run loop: one event handler and one timer.
class Frame : public HostObject<IPlugFrame, IRunLoop> {
public:
    // As Ardour does: the window follows, then the view hears the size.
    tresult resizeView(IPlugView* view, ViewRect* size) override { return resized = Size(*size), view->onSize(size); }
    tresult registerEventHandler(IEventHandler* h, int f) override { return events = h, fd = f, kResultOk; }
    tresult unregisterEventHandler(IEventHandler*) override { return events = nullptr, kResultOk; }
    tresult registerTimer(ITimerHandler* h, uint64_t ms) override { return timer = h, interval = (int)ms, kResultOk; }
    tresult unregisterTimer(ITimerHandler*) override { return timer = nullptr, kResultOk; }

    // For `ms`, and on until the user's script is done.
    void Run(int ms, const XUser* user = nullptr) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
        while (std::chrono::steady_clock::now() < end || (user && !user->Done())) {
            pollfd watched{fd, POLLIN, 0};
            if (events && poll(&watched, 1, interval) > 0) events->onFDIsSet(fd);
            if (timer) timer->onTimer();
        }
    }
    IEventHandler* events = nullptr;
    ITimerHandler* timer = nullptr;
    int fd = -1, interval = 0;
    std::string resized;
};

TEST(Vst3Editor, RunByTheHostsLoopClickedResizedAndOrphaned) {
    Display* display = XOpenDisplay(nullptr);
    SKIP_WITHOUT_X(display);
    IsolatedPreferences preferences;
    Module module;
    Plugin plugin(module);
    ASSERT_TRUE(plugin.Ready());
    EXPECT_EQ(plugin.controller->createView("other"), nullptr);
    IPlugView* view = plugin.controller->createView(kEditorViewType);
    ASSERT_NE(view, nullptr);
    const Window parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 800, 360, 0, 0, 0);
    XMapWindow(display, parent);
    XSync(display, False);
    void* handle = reinterpret_cast<void*>(static_cast<uintptr_t>(parent));
    EXPECT_EQ(view->attached(handle, kPlatformTypeX11EmbedWindowID), kResultFalse) << "no run loop, no editor";
    Frame frame;
    view->setFrame(&frame);
    ASSERT_EQ(view->attached(handle, kPlatformTypeX11EmbedWindowID), kResultOk);
    EXPECT_GE(frame.fd, 0);
    EXPECT_EQ(frame.interval, 30);
    ViewRect size{0, 0, 500, 300};
    EXPECT_EQ(view->onSize(&size), kResultFalse);
    EXPECT_EQ(view->checkSizeConstraint(&size), kResultTrue);
    EXPECT_EQ(Size(size), "800x360");
    IPlugView* second = plugin.controller->createView(kEditorViewType);
    second->setFrame(&frame);
    EXPECT_EQ(second->attached(handle, kPlatformTypeX11EmbedWindowID), kResultFalse) << "one editor per instance";
    second->release();
    frame.Run(300);

    // Tap 0's delay switch; the power switch (the bypass follows); Shift and
    // the power switch: the factory program again, all values changed.
    const struct { int x, y; bool shift; const char* heard; } clicks[] = {
        {79, 88, false, "B21 P21=0 E21"}, {37, 17, false, "B0 B62 P0=0 P62=1 E0 E62"},
        {37, 17, true, "B0 B62 P0=1 P62=0 E0 E62"}};
    XUser user;
    for (const auto& c : clicks) {
        plugin.handler.heard.clear();
        plugin.handler.restarts = 0;
        if (c.shift) user.Key(XK_Shift_L, true);
        user.Click(c.x, c.y);
        frame.Run(200);
        if (c.shift) user.Key(XK_Shift_L, false);
        EXPECT_EQ(plugin.handler.heard, c.heard);
        EXPECT_EQ(plugin.handler.restarts == kParamValuesChanged, c.shift) << c.heard;
    }
    EXPECT_EQ(plugin.controller->getParamNormalized(21), 1.0);

    // The host's content scale, then the Size menu's 200 %, which asks the frame.
    IPlugViewContentScaleSupport* scaling = nullptr;
    ASSERT_EQ(view->queryInterface(AsTuid(IPlugViewContentScaleSupport::iid), (void**)&scaling), kResultOk);
    EXPECT_EQ(scaling->setContentScaleFactor(1.5f), kResultOk);
    EXPECT_EQ(frame.resized, "1200x540");
    EXPECT_EQ(Size(view), "1200x540");
    scaling->setContentScaleFactor(1.0f);
    scaling->release();
    EXPECT_EQ(frame.resized, "800x360");
    user.Start([](XUser& u) {
        u.Click(400, 40, 3);
        u.WaitForMenu();
        for (KeySym key : {XK_Down, XK_Down, XK_Down, XK_Return}) u.Key(key);
    });
    frame.Run(200, &user);
    EXPECT_EQ(frame.resized, "1600x720");
    EXPECT_EQ(Size(view), "1600x720");

    // The host destroys its window before it removes the view.
    XDestroyWindow(display, parent);
    XSync(display, False);
    frame.Run(100);
    EXPECT_EQ(view->removed(), kResultOk);
    EXPECT_TRUE(!frame.events && !frame.timer);
    view->setFrame(nullptr);
    view->release();
    XCloseDisplay(display);
}

}  // namespace
