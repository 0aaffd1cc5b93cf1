// The user at the X server: real input (XTest) on a connection of its own,
// from a thread of its own once a script starts, since menus run their loops
// inside the host's call. Header only: the programs that use it link X11 and
// Xtst.
#pragma once

// gtest before Xlib, whose macros (None, Bool) would break its templates.
#include <gtest/gtest.h>
// clang-format off
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
// clang-format on

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

// A display for the test, else a skip (a failure when TAPDELAY_REQUIRE_X11=1).
#define OPEN_DISPLAY_OR_SKIP(display)                                      \
    do {                                                                   \
        if (((display) = XOpenDisplay(nullptr))) break;                    \
        const char* require = std::getenv("TAPDELAY_REQUIRE_X11");         \
        if (require && !std::strcmp(require, "1")) FAIL() << "no X display"; \
        GTEST_SKIP() << "no X display";                                    \
    } while (false)

class XUser {
public:
    XUser() : display(XOpenDisplay(nullptr)) {}
    ~XUser() {
        if (thread.joinable()) thread.join();
        if (display) XCloseDisplay(display);
    }
    void Start(std::function<void(XUser&)> script) {
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
    void Hold(KeySym key, bool down) {
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), down, CurrentTime);
        Sync();
    }
    void Key(KeySym key) {
        Hold(key, true);
        Hold(key, false);
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
    using Clock = std::chrono::steady_clock;
    void Sync() {
        XSync(display, False);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    Display* display;
    std::thread thread;
};
