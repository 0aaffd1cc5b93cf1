// The behaviour tests' environment on a real X server ($DISPLAY; Xvfb in CI):
// the toolkit runs its X11 backend, the host window is a plain top-level
// window of the environment's own connection, and input is real input made
// with XTest, so it takes the server's whole path (pointer position, focus,
// grabs) to reach the toolkit.

// The toolkit's names first: Xlib's macros (None, KeyPress...) would take
// them over.
#include "tests/toolkit/TestEnvironment.h"
#include "toolkit/CWnd.h"
#include "toolkit/x11/X11Display.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

// The X11 backend as the toolkit gets it, with a count of the events it
// hands over: Settle knows from it when the toolkit has caught up.
class ObservedDisplay : public NativeDisplay {
public:
    explicit ObservedDisplay(std::unique_ptr<NativeDisplay> inner) : m_inner(std::move(inner)) {
        Live().push_back(this);
    }
    ~ObservedDisplay() override {
        std::vector<ObservedDisplay*>& live = Live();
        live.erase(std::remove(live.begin(), live.end(), this), live.end());
    }

    static std::vector<ObservedDisplay*>& Live() {
        static std::vector<ObservedDisplay*> live;
        return live;
    }
    static unsigned long& EventsDelivered() {
        static unsigned long count = 0;
        return count;
    }

    bool IsOpen() const override { return m_inner->IsOpen(); }
    NativeWindow CreateChildWindow(NativeWindow parent, const CRect& rect) override {
        return m_inner->CreateChildWindow(parent, rect);
    }
    NativeWindow CreatePopupWindow(const CRect& screenRect) override {
        return m_inner->CreatePopupWindow(screenRect);
    }
    NativeWindow CreateTopLevelWindow(const CRect& screenRect, const char* title,
                                      NativeWindow transientFor, bool dialog) override {
        return m_inner->CreateTopLevelWindow(screenRect, title, transientFor, dialog);
    }
    void DestroyWindow(NativeWindow window) override { m_inner->DestroyWindow(window); }
    void ShowWindow(NativeWindow window, bool show) override { m_inner->ShowWindow(window, show); }
    void SetWindowRect(NativeWindow window, const CRect& rect) override {
        m_inner->SetWindowRect(window, rect);
    }
    CPoint WindowToScreen(NativeWindow window, CPoint point) override {
        return m_inner->WindowToScreen(window, point);
    }
    CSize ScreenSize() override { return m_inner->ScreenSize(); }
    void Present(NativeWindow window, cairo_surface_t* image, const CRect& area) override {
        m_inner->Present(window, image, area);
    }
    cairo_surface_t* CaptureWindow(NativeWindow window) override {
        return m_inner->CaptureWindow(window);
    }
    bool GrabPointer(NativeWindow window) override { return m_inner->GrabPointer(window); }
    void UngrabPointer() override { m_inner->UngrabPointer(); }
    bool GrabKeyboard(NativeWindow window) override { return m_inner->GrabKeyboard(window); }
    void UngrabKeyboard() override { m_inner->UngrabKeyboard(); }
    void TakeKeyboardFocus(NativeWindow window) override { m_inner->TakeKeyboardFocus(window); }
    void RestoreKeyboardFocus() override { m_inner->RestoreKeyboardFocus(); }
    unsigned ModifierState() override { return m_inner->ModifierState(); }
    bool NextEvent(NativeEvent& event, int timeoutMs) override {
        const bool got = m_inner->NextEvent(event, timeoutMs);
        if (got) ++EventsDelivered();
        return got;
    }
    void Wake() override { m_inner->Wake(); }
    void Flush() override { m_inner->Flush(); }

private:
    std::unique_ptr<NativeDisplay> m_inner;
};

constexpr auto kQuietPeriod = std::chrono::milliseconds(50);
constexpr auto kSettleLimit = std::chrono::seconds(3);

class X11Environment : public TestEnvironment {
public:
    explicit X11Environment(Display* display) : m_display(display) {}
    ~X11Environment() override { XCloseDisplay(m_display); }

    const char* Name() const override { return "X11"; }

    void Install() override {
        AfxSetNativeDisplayFactory([]() -> std::unique_ptr<NativeDisplay> {
            std::unique_ptr<NativeDisplay> display = OpenX11Display();
            if (!display) return nullptr;
            return std::make_unique<ObservedDisplay>(std::move(display));
        });
    }

    NativeWindow CreateHostWindow(const CRect& screenRect) override {
        const int screen = DefaultScreen(m_display);
        const Window window = XCreateSimpleWindow(
            m_display, RootWindow(m_display, screen), screenRect.left, screenRect.top,
            static_cast<unsigned>(std::max(1, screenRect.Width())),
            static_cast<unsigned>(std::max(1, screenRect.Height())), 0,
            BlackPixel(m_display, screen), WhitePixel(m_display, screen));
        // Where the test says, should a window manager be running.
        XSizeHints hints{};
        hints.flags = USPosition | USSize;
        hints.x = screenRect.left;
        hints.y = screenRect.top;
        hints.width = screenRect.Width();
        hints.height = screenRect.Height();
        XSetWMNormalHints(m_display, window, &hints);
        XMapRaised(m_display, window);
        WaitUntilViewable(window);
        return window;
    }

    void DestroyHostWindow(NativeWindow window) override {
        XDestroyWindow(m_display, static_cast<Window>(window));
        XSync(m_display, False);
    }

    void MovePointer(int screenX, int screenY) override {
        XTestFakeMotionEvent(m_display, -1, screenX, screenY, CurrentTime);
        XFlush(m_display);
    }
    void PressButton(int button) override {
        XTestFakeButtonEvent(m_display, static_cast<unsigned>(button), True, CurrentTime);
        XFlush(m_display);
    }
    void ReleaseButton(int button) override {
        XTestFakeButtonEvent(m_display, static_cast<unsigned>(button), False, CurrentTime);
        XFlush(m_display);
    }

    // A keysym on the shifted level of its key (an uppercase letter) is typed
    // with Shift held around it.
    void PressKey(unsigned long keysym) override {
        bool shifted = false;
        const KeyCode key = KeyFor(keysym, shifted);
        if (!key) return;
        if (shifted) Key(XK_Shift_L, true);
        XTestFakeKeyEvent(m_display, key, True, CurrentTime);
        XFlush(m_display);
    }
    void ReleaseKey(unsigned long keysym) override {
        bool shifted = false;
        const KeyCode key = KeyFor(keysym, shifted);
        if (!key) return;
        XTestFakeKeyEvent(m_display, key, False, CurrentTime);
        if (shifted) Key(XK_Shift_L, false);
        XFlush(m_display);
    }

    // Once the server has handled the input sent so far, the events it made
    // are on their way to the toolkit's connections: pump until none has
    // come for a while.
    void Settle() override {
        using Clock = std::chrono::steady_clock;
        XSync(m_display, False);
        const Clock::time_point start = Clock::now();
        Clock::time_point lastEvent = start;
        unsigned long seen = ObservedDisplay::EventsDelivered();
        while (Clock::now() - lastEvent < kQuietPeriod && Clock::now() - start < kSettleLimit) {
            AfxPumpMessages();
            if (ObservedDisplay::EventsDelivered() != seen) {
                seen = ObservedDisplay::EventsDelivered();
                lastEvent = Clock::now();
            } else {
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        }
        // A round trip on each toolkit connection: what it drew has reached
        // the server before the test looks at the screen.
        for (ObservedDisplay* display : ObservedDisplay::Live()) display->ModifierState();
    }

private:
    KeyCode KeyFor(unsigned long keysym, bool& shifted) {
        const KeyCode key = XKeysymToKeycode(m_display, static_cast<KeySym>(keysym));
        if (!key) {
            std::fprintf(stderr, "X11Environment: no key types keysym 0x%lx\n", keysym);
            return 0;
        }
        shifted = XkbKeycodeToKeysym(m_display, key, 0, 0) != keysym &&
                  XkbKeycodeToKeysym(m_display, key, 0, 1) == keysym;
        return key;
    }

    void Key(KeySym keysym, bool press) {
        XTestFakeKeyEvent(m_display, XKeysymToKeycode(m_display, keysym), press, CurrentTime);
    }

    void WaitUntilViewable(Window window) {
        for (int turn = 0; turn < 200; ++turn) {
            XWindowAttributes attributes;
            if (!XGetWindowAttributes(m_display, window, &attributes) ||
                attributes.map_state == IsViewable)
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    Display* m_display;
};

}  // namespace

std::unique_ptr<TestEnvironment> MakeX11Environment() {
    Display* display = XOpenDisplay(nullptr);
    if (!display) return nullptr;
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor)) {
        XCloseDisplay(display);
        return nullptr;
    }
    return std::make_unique<X11Environment>(display);
}
