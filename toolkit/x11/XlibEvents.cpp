// Waiting for and translating X events; the wake-up channel.
#include "toolkit/x11/XlibDisplay.h"  // first: see NativeNames.h

#include <X11/Xutil.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>


namespace {

CRect Union(const CRect& a, const CRect& b) {
    if (a.IsRectEmpty()) return b;
    if (b.IsRectEmpty()) return a;
    return CRect(std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
                 std::max(a.bottom, b.bottom));
}

CRect ExposedArea(const XExposeEvent& expose) {
    return CRect(expose.x, expose.y, expose.x + expose.width, expose.y + expose.height);
}

// The character a key typed, as a Unicode code point. XLookupString gives
// ASCII and control characters as one byte; other text it gives in the
// locale's encoding, so take those from the keysym: Latin-1 keysyms are
// their own code points and Unicode keysyms carry theirs.
uint32_t TypedCharacter(const char* text, int count, KeySym keysym) {
    const unsigned char first = static_cast<unsigned char>(text[0]);
    if (count == 1 && first < 0x80) return first;
    if ((keysym >= 0x20 && keysym <= 0x7E) || (keysym >= 0xA0 && keysym <= 0xFF))
        return static_cast<uint32_t>(keysym);
    if ((keysym & 0xFF000000ul) == 0x01000000ul) return static_cast<uint32_t>(keysym & 0x00FFFFFF);
    return 0;
}

}  // namespace

bool XlibDisplay::NextEvent(NativeEvent& event, int timeoutMs) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(std::max(0, timeoutMs));
    for (;;) {
        while (Usable() && XPending(m_display) > 0) {
            XEvent xevent;
            XNextEvent(m_display, &xevent);
            if (Translate(xevent, event)) return true;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) return false;
        if (!WaitForInput(static_cast<int>(std::min<int64_t>(left, 60000)))) return false;
    }
}

bool XlibDisplay::WaitForInput(int timeoutMs) {
    pollfd fds[2] = {{m_wakeFd, POLLIN, 0}, {-1, POLLIN, 0}};
    // A broken connection has nothing more to say; only a Wake ends the wait.
    if (Usable()) fds[1].fd = ConnectionNumber(m_display);
    const int ready = poll(fds, Usable() ? 2 : 1, timeoutMs);
    if (ready < 0) return errno == EINTR;
    if (ready == 0) return false;
    if (fds[0].revents) {
        DrainWake();
        return false;
    }
    return true;
}

void XlibDisplay::Wake() {
    const uint64_t one = 1;
    if (m_wakeFd >= 0) (void)!write(m_wakeFd, &one, sizeof one);
}

void XlibDisplay::DrainWake() {
    uint64_t count = 0;
    (void)!read(m_wakeFd, &count, sizeof count);
}

int XlibDisplay::EventFd() const { return Usable() ? ConnectionNumber(m_display) : -1; }

void XlibDisplay::Flush() {
    if (Usable()) XFlush(m_display);
}

bool XlibDisplay::Translate(XEvent& xevent, NativeEvent& event) {
    event = NativeEvent();
    switch (xevent.type) {
    case ButtonPress:
    case ButtonRelease: {
        const XButtonEvent& button = xevent.xbutton;
        if (!IsOurs(button.window)) return false;
        event.type = xevent.type == ButtonPress ? native::kButtonPress
                                                : native::kButtonRelease;
        event.window = button.window;
        event.x = button.x;
        event.y = button.y;
        event.rootX = button.x_root;
        event.rootY = button.y_root;
        event.button = static_cast<int>(button.button);
        event.modifiers = ModifierBits(button.state);
        event.timeMs = static_cast<uint32_t>(button.time);
        return true;
    }
    case MotionNotify: {
        // Only the latest of a run of moves in the same window matters.
        while (XEventsQueued(m_display, QueuedAlready) > 0) {
            XEvent next;
            XPeekEvent(m_display, &next);
            if (next.type != MotionNotify || next.xmotion.window != xevent.xmotion.window) break;
            XNextEvent(m_display, &xevent);
        }
        const XMotionEvent& motion = xevent.xmotion;
        if (!IsOurs(motion.window)) return false;
        event.type = native::kMotion;
        event.window = motion.window;
        event.x = motion.x;
        event.y = motion.y;
        event.rootX = motion.x_root;
        event.rootY = motion.y_root;
        event.modifiers = ModifierBits(motion.state);
        event.timeMs = static_cast<uint32_t>(motion.time);
        return true;
    }
    case KeyPress:
    case KeyRelease: {
        XKeyEvent& key = xevent.xkey;
        if (!IsOurs(key.window)) return false;
        event.type = xevent.type == KeyPress ? native::kKeyPress
                                             : native::kKeyRelease;
        event.window = key.window;
        event.x = key.x;
        event.y = key.y;
        event.rootX = key.x_root;
        event.rootY = key.y_root;
        event.modifiers = ModifierBits(key.state);
        event.timeMs = static_cast<uint32_t>(key.time);
        TranslateKey(key, event);
        return true;
    }
    case Expose: {
        const Window window = xevent.xexpose.window;
        if (!IsOurs(window)) return false;
        // One event for all the pieces already queued.
        CRect area = ExposedArea(xevent.xexpose);
        XEvent more;
        while (XCheckTypedWindowEvent(m_display, window, Expose, &more))
            area = Union(area, ExposedArea(more.xexpose));
        event.type = native::kExpose;
        event.window = window;
        event.area = area;
        return true;
    }
    case ClientMessage: {
        const XClientMessageEvent& message = xevent.xclient;
        if (!IsOurs(message.window) || message.message_type != m_wmProtocols ||
            message.format != 32 || static_cast<Atom>(message.data.l[0]) != m_wmDeleteWindow)
            return false;
        event.type = native::kCloseRequest;
        event.window = message.window;
        return true;
    }
    case DestroyNotify: {
        // Also the editor window, destroyed by the server with the host's
        // window: from now on it is not ours to touch.
        const Window window = xevent.xdestroywindow.window;
        if (!IsOurs(window)) return false;
        m_windows.erase(window);
        if (m_focusToRestore == window) m_focusToRestore = 0;
        event.type = native::kDestroyed;
        event.window = window;
        return true;
    }
    case FocusOut: {
        const XFocusChangeEvent& focus = xevent.xfocus;
        // Grabs (our own menus among them) and moves within the window are
        // not losses of the focus.
        if (!IsOurs(focus.window) || focus.mode == NotifyGrab || focus.mode == NotifyUngrab ||
            focus.detail == NotifyInferior || focus.detail == NotifyPointer)
            return false;
        event.type = native::kFocusOut;
        event.window = focus.window;
        return true;
    }
    case MappingNotify:
        if (xevent.xmapping.request != MappingPointer) XRefreshKeyboardMapping(&xevent.xmapping);
        return false;
    default:
        return false;
    }
}

void XlibDisplay::TranslateKey(XKeyEvent& key, NativeEvent& event) {
    char text[32] = {};
    KeySym keysym = NoSymbol;
    const int count = XLookupString(&key, text, sizeof text - 1, &keysym, nullptr);
    const KeyTranslation translation = TranslateKeySym(keysym, TypedCharacter(text, count, keysym));
    event.keyCode = translation.keyCode;
    event.character = translation.character;
}
