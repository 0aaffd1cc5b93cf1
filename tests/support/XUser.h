// The user at the X server: real input through XTest on a connection of its
// own, from the test's thread or, while a host's call runs a modal loop (a
// menu), from a thread of its own. Header only: link X11 and Xtst.
#pragma once

#include <gtest/gtest.h>
// clang-format off
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
// clang-format on

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>

// Without an X server a test is skipped, or fails when TAPDELAY_REQUIRE_X11=1.
#define SKIP_WITHOUT_X(display)                                         \
    if (!(display)) {                                                   \
        const char* required = std::getenv("TAPDELAY_REQUIRE_X11");     \
        if (required && *required == '1') FAIL() << "no X display";      \
        GTEST_SKIP() << "no X display";                                  \
    }

class XUser {
public:
    XUser() : display(XOpenDisplay(nullptr)) {}
    ~XUser() {
        if (thread.joinable()) thread.join();
        if (display) XCloseDisplay(display);
    }

    void Click(int x, int y, unsigned button = 1) {
        XTestFakeMotionEvent(display, DefaultScreen(display), x, y, CurrentTime);
        XTestFakeButtonEvent(display, button, True, CurrentTime);
        XTestFakeButtonEvent(display, button, False, CurrentTime);
        Settle();
    }
    void Key(KeySym key) { Key(key, true), Key(key, false); }
    void Key(KeySym key, bool down) {  // alone: a key held over a click
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), down, CurrentTime);
        Settle();
    }

    // `script` on a thread of its own; Done() once it returned.
    void Start(std::function<void(XUser&)> script) {
        windows = MappedWindows();
        thread = std::thread([this, script] { script(*this), done = true; });
    }
    bool Done() const { return done; }
    // Until more windows are mapped than at Start (a menu opened), 5 s at most.
    void WaitForMenu() {
        for (int i = 0; i < 160 && MappedWindows() <= windows; i++) Settle();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }

    Display* const display;

private:
    void Settle() {
        XSync(display, False);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    unsigned MappedWindows() {
        Window root, parent, *children = nullptr;
        unsigned count = 0, mapped = 0;
        XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
        XWindowAttributes a;
        for (unsigned i = 0; i < count; i++)
            mapped += XGetWindowAttributes(display, children[i], &a) && a.map_state == IsViewable;
        if (children) XFree(children);
        return mapped;
    }

    std::thread thread;
    std::atomic<bool> done{false};
    unsigned windows = 0;
};
