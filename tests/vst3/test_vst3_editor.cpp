// The bundle's plug view on the X server, in a host window driven by a
// stand-in IRunLoop: real XTest clicks move parameters (the host hears
// begin, perform, end edit), the content scale and the Size menu resize the
// view through the frame, and a parent destroyed first ends nothing.
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include "tests/support/PluginUnderTest.h"
#include "tests/vst3/Vst3Host.h"

using namespace vst3test;

namespace {

// The host's frame with its run loop: one event handler, one timer, run by Run().
class Frame : public IPlugFrame, public IRunLoop {
public:
    tresult queryInterface(const TUID iid, void** object) override {
        *object = nullptr;
        if (SameUid(iid, IRunLoop::iid)) *object = static_cast<IRunLoop*>(this);
        if (SameUid(iid, IPlugFrame::iid) || SameUid(iid, FUnknown::iid)) *object = static_cast<IPlugFrame*>(this);
        return *object ? kResultOk : kNoInterface;
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }

    // As Ardour does: the window follows, then the view hears the size.
    tresult resizeView(IPlugView* view, ViewRect* size) override {
        resized = std::to_string(size->right - size->left) + "x" + std::to_string(size->bottom - size->top);
        return view->onSize(size);
    }
    tresult registerEventHandler(IEventHandler* handler, int fd) override { return events = handler, this->fd = fd, kResultOk; }
    tresult unregisterEventHandler(IEventHandler*) override { return events = nullptr, kResultOk; }
    tresult registerTimer(ITimerHandler* handler, uint64_t ms) override { return timer = handler, interval = (int)ms, kResultOk; }
    tresult unregisterTimer(ITimerHandler*) override { return timer = nullptr, kResultOk; }

    void Run(int milliseconds) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (std::chrono::steady_clock::now() < end) {
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

std::string Size(IPlugView* view) {
    ViewRect rect{};
    view->getSize(&rect);
    return std::to_string(rect.right - rect.left) + "x" + std::to_string(rect.bottom - rect.top);
}

void Click(Display* display, int x, int y, unsigned button = 1) {
    XTestFakeMotionEvent(display, DefaultScreen(display), x, y, CurrentTime);
    XTestFakeButtonEvent(display, button, True, CurrentTime);
    XTestFakeButtonEvent(display, button, False, CurrentTime);
    XSync(display, False);
}

void Key(Display* display, KeySym key, bool press) {
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), press, CurrentTime);
    XSync(display, False);
}

TEST(Vst3Editor, RunByTheHostsLoopClickedResizedAndOrphaned) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        const char* require = std::getenv("TAPDELAY_REQUIRE_X11");
        if (require && *require == '1') FAIL() << "no X display";
        GTEST_SKIP() << "no X display";
    }
    IsolatedPreferences preferences;
    Module module;
    Plugin plugin(module);
    ASSERT_TRUE(plugin.Ready());
    EXPECT_EQ(plugin.controller->createView("other"), nullptr);
    IPlugView* view = plugin.controller->createView(kEditorViewType);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->isPlatformTypeSupported(kPlatformTypeX11EmbedWindowID), kResultTrue);
    EXPECT_EQ(view->isPlatformTypeSupported("HWND"), kResultFalse);
    EXPECT_EQ(view->canResize(), kResultFalse);

    const Window parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 800, 360, 0, 0, 0);
    XMapWindow(display, parent);
    XSync(display, False);
    void* handle = reinterpret_cast<void*>(static_cast<uintptr_t>(parent));
    // No frame, no run loop: no editor, since nothing would idle it.
    EXPECT_EQ(view->attached(handle, kPlatformTypeX11EmbedWindowID), kResultFalse);
    Frame frame;
    view->setFrame(&frame);
    ASSERT_EQ(view->attached(handle, kPlatformTypeX11EmbedWindowID), kResultOk);
    EXPECT_GE(frame.fd, 0);
    EXPECT_EQ(frame.interval, 30);
    EXPECT_EQ(Size(view), "800x360");
    ViewRect other{0, 0, 500, 300};
    EXPECT_EQ(view->onSize(&other), kResultFalse);
    EXPECT_EQ(view->checkSizeConstraint(&other), kResultTrue);
    EXPECT_EQ(other.right, 800);
    // One editor per instance: a second view stays empty.
    IPlugView* second = plugin.controller->createView(kEditorViewType);
    second->setFrame(&frame);
    EXPECT_EQ(second->attached(handle, kPlatformTypeX11EmbedWindowID), kResultFalse);
    second->release();
    frame.Run(300);

    // The delay switch of tap 0, then the power switch (the bypass follows
    // it), then Shift and the power switch: the program back to its factory
    // values, which the host hears as changed values.
    const struct {
        int x, y;
        bool shift;
        const char* heard;
    } clicks[] = {{79, 88, false, "B21 P21=0 E21"}, {37, 17, false, "B0 B62 P0=0 P62=1 E0 E62"},
                  {37, 17, true, "B0 B62 P0=1 P62=0 E0 E62"}};
    for (const auto& c : clicks) {
        plugin.handler.heard.clear();
        plugin.handler.restarts = 0;
        if (c.shift) Key(display, XK_Shift_L, true);  // held while the editor reads the click
        Click(display, c.x, c.y);
        frame.Run(200);
        if (c.shift) Key(display, XK_Shift_L, false);
        EXPECT_EQ(plugin.handler.heard, c.heard);
        EXPECT_EQ(plugin.handler.restarts != 0, c.shift) << c.heard;
    }
    EXPECT_EQ(plugin.controller->getParamNormalized(21), 1.0);  // factory value again

    // The host's content scale, then the user's Size menu ("200 %", the
    // third entry), which asks the frame.
    IPlugViewContentScaleSupport* scaling = nullptr;
    ASSERT_EQ(view->queryInterface(AsTuid(IPlugViewContentScaleSupport::iid), (void**)&scaling), kResultOk);
    EXPECT_EQ(scaling->setContentScaleFactor(1.5f), kResultOk);
    EXPECT_EQ(Size(view), "1200x540");
    EXPECT_EQ(frame.resized, "1200x540");
    scaling->setContentScaleFactor(1.0f);
    scaling->release();
    EXPECT_EQ(Size(view), "800x360");
    frame.resized.clear();
    std::thread user([] {
        Display* keys = XOpenDisplay(nullptr);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Click(keys, 400, 40, 3);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        for (KeySym key : {XK_Down, XK_Down, XK_Down, XK_Return}) {
            Key(keys, key, true);
            Key(keys, key, false);
        }
        XCloseDisplay(keys);
    });
    frame.Run(1500);
    user.join();
    EXPECT_EQ(frame.resized, "1600x720");
    EXPECT_EQ(Size(view), "1600x720");

    // The host destroys its window before it removes the view.
    XDestroyWindow(display, parent);
    XSync(display, False);
    frame.Run(100);
    EXPECT_EQ(view->removed(), kResultOk);
    EXPECT_EQ(frame.events, nullptr);
    EXPECT_EQ(frame.timer, nullptr);
    view->setFrame(nullptr);
    view->release();
    XCloseDisplay(display);
}

}  // namespace
