// The built TapDelay.so's editor on a real X server, as a host shows it: the
// host's window is the parent, the host idles the editor, and the user's
// input is real X input (XTest) sent from a thread of its own, because menus
// and dialogs run their loops inside the host's idle call. Input is checked
// at each of the editor's sizes, 100 %, 150 % and 200 %.
// The toolkit's and GoogleTest's names before Xlib, whose macros (None,
// Bool) clash with them.
#include "tests/toolkit/ControlHost.h"

#include <gtest/gtest.h>
// clang-format off
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
// clang-format on

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cmath>
#include <functional>
#include <set>
#include <thread>

#include "tests/support/PluginUnderTest.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kWidth = 800, kHeight = 360;

// A host's editor window: a plain top-level window the editor goes into.
class HostWindow {
public:
    explicit HostWindow(Display* display, int x = 0, int y = 0, int width = kWidth, int height = kHeight)
        : m_display(display) {
        m_window = XCreateSimpleWindow(display, DefaultRootWindow(display), x, y, width, height, 0, 0, 0);
        XMapWindow(display, m_window);
        XSync(display, False);
    }
    ~HostWindow() { Destroy(); }
    void Destroy() {
        if (!m_window) return;
        XDestroyWindow(m_display, m_window);
        XSync(m_display, False);
        m_window = 0;
    }
    void* Handle() const { return reinterpret_cast<void*>(static_cast<uintptr_t>(m_window)); }
    Window Id() const { return m_window; }

private:
    Display* m_display;
    Window m_window = 0;
};

// The child windows of parent, bottom to top.
std::set<Window> Children(Display* display, Window parent) {
    Window root = 0, up = 0, *children = nullptr;
    unsigned count = 0;
    XQueryTree(display, parent, &root, &up, &children, &count);
    std::set<Window> windows(children, children + count);
    if (children) XFree(children);
    return windows;
}

// The user: XTest input on a connection of its own, on its own thread.
class User {
public:
    User() : m_display(XOpenDisplay(nullptr)) {}
    ~User() {
        if (m_thread.joinable()) m_thread.join();
        if (m_display) XCloseDisplay(m_display);
    }
    // Runs script on the user's thread; Done() turns true when it returns.
    void Start(std::function<void(User&)> script) {
        m_done = false;
        m_thread = std::thread([this, script] {
            script(*this);
            m_done = true;
        });
    }
    bool Done() const { return m_done; }
    void Join() {
        if (m_thread.joinable()) m_thread.join();
    }

    void Move(int x, int y) {
        XTestFakeMotionEvent(m_display, DefaultScreen(m_display), x, y, CurrentTime);
        Sync();
    }
    void Button(bool press, unsigned button = 1) {
        XTestFakeButtonEvent(m_display, button, press, CurrentTime);
        Sync();
    }
    void Click(int x, int y) {
        Move(x, y);
        Button(true);
        Button(false);
    }
    void Key(KeySym keysym) {
        const KeyCode code = XKeysymToKeycode(m_display, keysym);
        XTestFakeKeyEvent(m_display, code, True, CurrentTime);
        XTestFakeKeyEvent(m_display, code, False, CurrentTime);
        Sync();
    }
    void Type(const char* text) {
        for (; *text; text++) Key(*text == '.' ? XK_period : *text == ' ' ? XK_space : KeySym(*text));
    }
    // Waits (up to 5 s) for a new viewable top-level window besides known ones:
    // a popup menu or a dialog. Its rectangle on the screen, or empty.
    XRectangle WaitForNewWindow(const std::set<Window>& known) {
        const auto deadline = Clock::now() + std::chrono::seconds(5);
        for (; Clock::now() < deadline; Pause(20))
            if (XRectangle shown = NewWindow(known); shown.width > 0) {
                Pause(100);  // until it has taken the keyboard
                return shown;
            }
        return XRectangle{};
    }
    // Waits (up to 5 s) until no top-level window besides known ones is shown,
    // so that a popup on its way out is not taken for the next one.
    void WaitUntilGone(const std::set<Window>& known) {
        WaitUntil([&] { return NewWindow(known).width == 0; });
    }
    // Waits (up to 5 s) until the editor's thread has done what was asked.
    void WaitUntil(const std::function<bool()>& done) {
        const auto deadline = Clock::now() + std::chrono::seconds(5);
        while (Clock::now() < deadline && !done()) Pause(20);
    }
    static void Pause(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
    Window Focus() {
        Window focus = 0;
        int revert = 0;
        XGetInputFocus(m_display, &focus, &revert);
        return focus;
    }

private:
    XRectangle NewWindow(const std::set<Window>& known) {
        for (Window window : Children(m_display, DefaultRootWindow(m_display))) {
            XWindowAttributes a;
            if (!known.count(window) && XGetWindowAttributes(m_display, window, &a) && a.map_state == IsViewable)
                return {short(a.x), short(a.y), (unsigned short)a.width, (unsigned short)a.height};
        }
        return XRectangle{};
    }
    void Sync() {
        XSync(m_display, False);
        Pause(30);
    }
    Display* m_display;
    std::thread m_thread;
    std::atomic<bool> m_done{true};
};

using Size = std::pair<int, int>;

// The content scale a host sends: 'PreS' / 'AeCs' with the factor as opt.
constexpr VstInt32 kContentScale = ('P' << 24) | ('r' << 16) | ('e' << 8) | 'S';
constexpr VstIntPtr kScaleFactor = ('A' << 24) | ('e' << 16) | ('C' << 8) | 's';

class EditorOnX11 : public ::testing::Test {
protected:
    void SetUp() override {
        m_display = XOpenDisplay(nullptr);
        SKIP_WITHOUT_X11(m_display);
        plugin.reset(new PluginUnderTest());
        plugin->prepare(48000.0f, 256);
    }
    void TearDown() override {
        plugin.reset();
        if (m_display) XCloseDisplay(m_display);
    }
    // Idles the editor as a host does, about every 10 ms, until the user's
    // script is done (and a little longer) or 20 s have passed.
    void IdleWhile(User& user) {
        const auto deadline = Clock::now() + std::chrono::seconds(20);
        while (!user.Done() && Clock::now() < deadline) {
            plugin->dispatch(effEditIdle);
            User::Pause(10);
        }
        for (int i = 0; i < 10; i++) {
            plugin->dispatch(effEditIdle);
            User::Pause(10);
        }
        user.Join();
    }
    // The editor's size as effEditGetRect reports it.
    Size EditorSize() {
        ERect* rect = nullptr;
        plugin->dispatch(effEditGetRect, 0, 0, &rect);
        return rect ? Size{rect->right - rect->left, rect->bottom - rect->top} : Size{};
    }
    // The size of the host window's one child, the editor's window.
    Size ChildSize(Window host) {
        const std::set<Window> children = Children(m_display, host);
        XWindowAttributes attributes{};
        if (children.size() == 1) XGetWindowAttributes(m_display, *children.begin(), &attributes);
        return {attributes.width, attributes.height};
    }

    IsolatedPreferences preferences;
    std::unique_ptr<PluginUnderTest> plugin;
    Display* m_display = nullptr;
};

// Many opens and closes, two instances at once, and a host that destroys
// its window before it closes the editor (some do).
TEST_F(EditorOnX11, OpensAndClosesManyTimesTwoAtOnceAndAfterTheHostWindowIsGone) {
    HostWindow host(m_display);
    for (int round = 0; round < 100; round++) {
        ASSERT_EQ(plugin->dispatch(effEditOpen, 0, 0, host.Handle()), 1);
        ASSERT_EQ(plugin->dispatch(effEditOpen, 0, 0, host.Handle()), 1) << "a second open is harmless";
        plugin->dispatch(effEditIdle);
        plugin->dispatch(effEditClose);
        plugin->dispatch(effEditClose);
    }
    PluginUnderTest second;
    HostWindow otherHost(m_display, 0, 400);
    EXPECT_EQ(plugin->dispatch(effEditOpen, 0, 0, host.Handle()), 1);
    EXPECT_EQ(second.dispatch(effEditOpen, 0, 0, otherHost.Handle()), 1);
    for (int i = 0; i < 5; i++) {
        plugin->setParameter(9, i / 5.0f);
        second.setParameter(10, i / 5.0f);
        plugin->dispatch(effEditIdle);
        second.dispatch(effEditIdle);
    }
    second.dispatch(effEditClose);
    host.Destroy();
    plugin->setParameter(9, 0.3f);
    for (int i = 0; i < 5; i++) plugin->dispatch(effEditIdle);
    plugin->dispatch(effEditClose);
    // And the editor opens again in a new window.
    HostWindow again(m_display);
    EXPECT_EQ(plugin->dispatch(effEditOpen, 0, 0, again.Handle()), 1);
    plugin->dispatch(effEditIdle);
    plugin->dispatch(effEditClose);
}

// One control of each kind, typing, a menu choice and the save dialog, all
// with real X input, at each size the host asks for: the points are the
// layout's, times the scale.
class EditorInputOnX11 : public EditorOnX11, public ::testing::WithParamInterface<double> {};

TEST_P(EditorInputOnX11, RealInputReachesEveryKindOfControl) {
    const double scale = GetParam();
    const auto at = [scale](int logical) { return static_cast<int>(std::lround(logical * scale)); };
    EXPECT_EQ(plugin->dispatch(effVendorSpecific, kContentScale, kScaleFactor, nullptr, float(scale)), 1);
    EXPECT_EQ(EditorSize(), (Size{at(kWidth), at(kHeight)}));
    HostWindow host(m_display, 0, 0, at(kWidth), at(kHeight));
    ASSERT_EQ(plugin->dispatch(effEditOpen, 0, 0, host.Handle()), 1);
    EXPECT_EQ(ChildSize(host.Id()), (Size{at(kWidth), at(kHeight)}));
    for (int i = 0; i < 5; i++) plugin->dispatch(effEditIdle);
    XImage* image = XGetImage(m_display, host.Id(), 0, 0, at(kWidth), at(kHeight), AllPlanes, ZPixmap);
    ASSERT_NE(image, nullptr);
    std::set<unsigned long> colours;
    for (int y = 0; y < at(kHeight); y += 7)
        for (int x = 0; x < at(kWidth); x += 7) colours.insert(XGetPixel(image, x, y));
    XDestroyImage(image);
    EXPECT_GT(colours.size(), 50u) << "the editor's picture is not shown";
    plugin->setParameter(60, 1.0f);  // tempo sync on: the note menu opens
    plugin->setParameter(61, 0.0f);
    const float delayOn = plugin->getParameter(21);
    const float gainBefore = plugin->getParameter(10);
    const std::set<Window> before = Children(m_display, DefaultRootWindow(m_display));
    XRectangle menu{}, dialog{};

    User user;
    user.Start([&](User& u) {
        // Each step waits until the editor has taken the last: a busy machine
        // may run the editor's idle long after the input arrived.
        // Gain knob of tap 0 (291, 71, 325, 105): from its left to its right.
        u.Move(at(291), at(88));
        u.Button(true);
        u.Move(at(308), at(72));
        u.Move(at(324), at(88));
        u.Button(false);
        u.WaitUntil([&] { return plugin->getParameter(9) > 0.79f; });
        // Delay switch of tap 0, the delay-time slider's left quarter.
        u.Click(at(79), at(88));
        u.WaitUntil([&] { return plugin->getParameter(21) != delayOn; });
        u.Click(at(138 + 27), at(88));
        u.WaitUntil([&] { return plugin->getParameter(3) == 0.25f; });
        // Type into the gain text of tap 1, once the field has the keyboard.
        const Window focus = u.Focus();
        u.Click(at(266), at(127));
        u.WaitUntil([&] { return u.Focus() != focus; });
        u.Type("-9");
        u.Key(XK_Return);
        // A click while the field is still open would only close it.
        u.WaitUntil([&] { return plugin->getParameter(10) != gainBefore; });
        // The note menu: the third entry, "16th", by keys.
        u.Click(at(200), at(342));
        menu = u.WaitForNewWindow(before);
        u.Key(XK_Down);
        u.Key(XK_Down);
        u.Key(XK_Down);
        u.Key(XK_Return);
        u.WaitUntilGone(before);
        // The save dialog: slot 3 (two steps down from slot 1), a name, Return.
        u.Click(at(291), at(18));
        dialog = u.WaitForNewWindow(before);
        u.Key(XK_Down);
        u.Key(XK_Down);
        u.Key(XK_Tab);
        u.Type("xtest hall");
        u.Key(XK_Return);
    });
    IdleWhile(user);

    EXPECT_NEAR(plugin->getParameter(9), 0.8f, 1e-6);
    EXPECT_EQ(plugin->getParameter(21), delayOn == 1.0f ? 0.0f : 1.0f);
    EXPECT_NEAR(plugin->getParameter(3), 0.25f, 1e-6);
    EXPECT_EQ(plugin->display(10).find("-9.0"), 0u) << plugin->display(10);
    EXPECT_GT(menu.width, 0) << "the note menu did not appear";
    // Below the note text, drawn at the editor's scale.
    EXPECT_NEAR(menu.x, at(175), 2 * scale);
    EXPECT_NEAR(menu.y, at(337), 2 * scale);
    EXPECT_EQ(plugin->display(61), "16th");
    float noteTold = -1;
    for (const HostCall& call : plugin->callsWithOpcode(audioMasterAutomate))
        if (call.index == 61) noteTold = call.opt;
    EXPECT_EQ(noteTold, 2.0f) << "the host is told the note's index, not a normalised value";
    EXPECT_GT(dialog.width, 0) << "the save dialog did not appear";
    // The dialog sits over the editor's middle.
    EXPECT_NEAR(dialog.x + dialog.width / 2, at(kWidth) / 2, 2 * scale);
    EXPECT_NEAR(dialog.y + dialog.height / 2, at(kHeight) / 2, 2 * scale);
    const std::vector<unsigned char> bank = ReadWholeFile(preferences.bankPath());
    ASSERT_EQ(bank.size(), 17824u);
    const char* name = reinterpret_cast<const char*>(&bank[160 + 2 * 276 + 62 * 4]);
    EXPECT_STREQ(name, "xtest hall");
    plugin->dispatch(effEditClose);
}

INSTANTIATE_TEST_SUITE_P(Sizes, EditorInputOnX11, ::testing::Values(1.0, 1.5, 2.0),
                         [](const ::testing::TestParamInfo<double>& info) {
                             return "Scale" + std::to_string(int(info.param * 10));
                         });

// Where the size comes from without the host: the desktop's Xft.dpi, until
// the user picks one in the "Size" menu (saved for later editors, the host
// asked to resize), and the desktop again after "Follow the desktop".
TEST_F(EditorOnX11, DesktopDpiAndTheSizeMenuChooseTheSize) {
    if (std::system("echo 'Xft.dpi: 192' | xrdb -merge 2>/dev/null") != 0)
        GTEST_SKIP() << "xrdb is missing (package x11-xserver-utils)";
    struct RestoreResources {
        ~RestoreResources() { (void)std::system("xrdb -remove 2>/dev/null"); }
    } restore;
    plugin.reset(new PluginUnderTest());
    EXPECT_EQ(EditorSize(), (Size{1600, 720}));
    HostWindow host(m_display, 0, 0, 1600, 720);
    ASSERT_EQ(plugin->dispatch(effEditOpen, 0, 0, host.Handle()), 1);
    EXPECT_EQ(ChildSize(host.Id()), (Size{1600, 720}));

    // A right click on the background, then "100 %", the first entry.
    const auto choose = [&](int scale, KeySym key, int downs) {
        plugin->clearCalls();
        const std::set<Window> before = Children(m_display, DefaultRootWindow(m_display));
        User user;
        user.Start([&](User& u) {
            u.Move(400 * scale, 40 * scale);
            u.Button(true, 3);
            u.Button(false, 3);
            u.WaitForNewWindow(before);
            for (int i = 0; i < downs; i++) u.Key(key);
            u.Key(XK_Return);
        });
        IdleWhile(user);
    };
    choose(2, XK_Down, 1);
    const std::vector<HostCall> resized = plugin->callsWithOpcode(audioMasterSizeWindow);
    ASSERT_EQ(resized.size(), 1u);
    EXPECT_EQ(resized[0].index, 800);
    EXPECT_EQ(resized[0].value, 360);
    EXPECT_EQ(EditorSize(), (Size{800, 360}));
    EXPECT_EQ(ChildSize(host.Id()), (Size{800, 360}));
    plugin->dispatch(effEditClose);

    // The choice outlives the editor and the instance.
    plugin.reset(new PluginUnderTest());
    EXPECT_EQ(EditorSize(), (Size{800, 360}));
    ASSERT_EQ(plugin->dispatch(effEditOpen, 0, 0, host.Handle()), 1);
    choose(1, XK_End, 1);  // "Follow the desktop", the last entry
    EXPECT_EQ(EditorSize(), (Size{1600, 720}));
    EXPECT_EQ(ChildSize(host.Id()), (Size{1600, 720}));
    plugin->dispatch(effEditClose);
}

}  // namespace
