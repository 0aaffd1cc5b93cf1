// The X11 backend itself on a real X server ($DISPLAY, Xvfb in CI), driven
// with XTest from a connection of the test's own, the way a host and a user
// would: windows inside a foreign parent, input, pixels, focus, window-manager
// properties, and surviving what a host can do to us (destroying our parent,
// X errors, a server that goes away). The toolkit's windows on top of it are
// walked with real input by the editor's X11 test. Skipped when no server is
// reachable, unless TAPDELAY_REQUIRE_X11 is set (as tools/test.sh does).

// The toolkit's and GoogleTest's names first: Xlib's macros (None...)
// would take them over.
#include "tests/toolkit/ControlHost.h"
#include "toolkit/x11/NativeNames.h"
#include "toolkit/x11/X11Display.h"

#include <gtest/gtest.h>

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <cairo.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

// A connection of the test's own, for what the host and the user do.
class Driver {
public:
    Driver() : m_display(XOpenDisplay(nullptr)) {}
    ~Driver() {
        if (m_display) XCloseDisplay(m_display);
    }
    operator Display*() const { return m_display; }

    // A mapped top-level window, like a host's editor window.
    Window HostWindow(int x, int y, int width, int height) {
        const Window window =
            XCreateSimpleWindow(m_display, DefaultRootWindow(m_display), x, y, width, height, 0,
                                0, WhitePixel(m_display, DefaultScreen(m_display)));
        XMapRaised(m_display, window);
        XSync(m_display, False);
        return window;
    }
    void MovePointer(int x, int y) {
        XTestFakeMotionEvent(m_display, -1, x, y, CurrentTime);
        XSync(m_display, False);
    }
    void Button(int button, bool press) {
        XTestFakeButtonEvent(m_display, button, press, CurrentTime);
        XSync(m_display, False);
    }
    void Key(KeySym keysym, bool press) {
        XTestFakeKeyEvent(m_display, XKeysymToKeycode(m_display, keysym), press, CurrentTime);
        XSync(m_display, False);
    }
    Window Focus() {
        Window focus = 0;
        int revert = 0;
        XGetInputFocus(m_display, &focus, &revert);
        return focus;
    }
    Atom AtomNamed(const char* name) { return XInternAtom(m_display, name, False); }
    // The property's items (32-bit formats as longs, 8-bit as bytes).
    std::vector<unsigned long> Property(Window window, const char* name) {
        Atom actualType = None;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        std::vector<unsigned long> items;
        if (XGetWindowProperty(m_display, window, AtomNamed(name), 0, 1024, False,
                               AnyPropertyType, &actualType, &format, &count, &after,
                               &data) == Success && data) {
            for (unsigned long i = 0; i < count; ++i)
                items.push_back(format == 32 ? reinterpret_cast<unsigned long*>(data)[i] : data[i]);
        }
        if (data) XFree(data);
        return items;
    }

private:
    Display* m_display;
};

// An X server of the test's own, for what the shared one must not suffer
// (being killed) or cannot show (another depth).
class PrivateServer {
public:
    explicit PrivateServer(const char* screen) {
        int pipeFds[2];
        if (pipe(pipeFds) != 0) return;
        m_pid = fork();
        if (m_pid == 0) {
            close(pipeFds[0]);
            const std::string fd = std::to_string(pipeFds[1]);
            execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-nolisten", "tcp", "-screen", "0",
                   screen, static_cast<char*>(nullptr));
            _exit(127);
        }
        close(pipeFds[1]);
        // The server writes its display number and a newline once it is ready.
        std::string number;
        char c = 0;
        while (m_pid > 0 && number.size() < 8 && read(pipeFds[0], &c, 1) == 1 && c != '\n')
            number += c;
        close(pipeFds[0]);
        if (c == '\n' && !number.empty()) m_name = ":" + number;
    }
    ~PrivateServer() { Stop(); }
    bool Running() const { return !m_name.empty(); }
    // A connection of the X11 backend to this server ($DISPLAY pointed at it
    // while it opens).
    std::unique_ptr<NativeDisplay> Open() const {
        const char* shared = getenv("DISPLAY");
        const bool hadShared = shared != nullptr;
        const std::string restore = hadShared ? shared : "";
        setenv("DISPLAY", m_name.c_str(), 1);
        std::unique_ptr<NativeDisplay> display = OpenX11Display();
        if (hadShared) setenv("DISPLAY", restore.c_str(), 1);
        else unsetenv("DISPLAY");
        return display;
    }
    void Stop() {
        if (m_pid > 0) {
            kill(m_pid, SIGTERM);
            waitpid(m_pid, nullptr, 0);
            m_pid = -1;
        }
    }

private:
    pid_t m_pid = -1;
    std::string m_name;
};

// The next event of one of the types, waiting at most a few seconds.
bool NextOf(NativeDisplay& display, NativeEvent& event,
            std::initializer_list<NativeEventType> types) {
    for (int turn = 0; turn < 100; ++turn) {
        if (!display.NextEvent(event, 50)) continue;
        for (NativeEventType type : types)
            if (event.type == type) return true;
    }
    return false;
}

// The next key event that is not a modifier key's own (those translate to
// neither a key code nor a character).
bool NextKey(NativeDisplay& display, NativeEvent& event, NativeEventType type) {
    while (NextOf(display, event, {type}))
        if (event.keyCode != 0 || event.character != 0) return true;
    return false;
}

std::vector<unsigned long> Bytes(const std::string& text) {
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text.data());
    return std::vector<unsigned long>(bytes, bytes + text.size());
}

cairo_surface_t* SolidSurface(int width, int height, double r, double g, double b) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, r, g, b);
    cairo_paint(cr);
    cairo_destroy(cr);
    return surface;
}

uint32_t PixelAt(cairo_surface_t* surface, int x, int y) {
    cairo_surface_flush(surface);
    const unsigned char* row =
        cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
    return reinterpret_cast<const uint32_t*>(row)[x];
}

class X11Backend : public ::testing::Test {
protected:
    void SetUp() override {
        SKIP_WITHOUT_X11(m_driver);
        m_display = OpenX11Display();
        ASSERT_TRUE(m_display);
        ASSERT_TRUE(m_display->IsOpen());
    }

    // Our window inside a host window, shown, with its first Expose read.
    NativeWindow EmbeddedWindow(Window host, const CRect& rect) {
        const NativeWindow window = m_display->CreateChildWindow(host, rect);
        m_display->ShowWindow(window, true);
        NativeEvent event;
        EXPECT_TRUE(NextOf(*m_display, event, {native::kExpose}));
        return window;
    }

    Driver m_driver;
    std::unique_ptr<NativeDisplay> m_display;
};

TEST_F(X11Backend, InputArrivesInWindowCoordinatesWithModifiersAndKeysFollowTheFocus) {
    const Window host = m_driver.HostWindow(100, 80, 400, 300);
    const NativeWindow window = EmbeddedWindow(host, CRect(20, 30, 220, 130));
    ASSERT_NE(window, 0u);
    EXPECT_EQ(m_display->WindowToScreen(window, CPoint(5, 6)), CPoint(125, 116));

    m_driver.MovePointer(100 + 20 + 15, 80 + 30 + 25);
    m_driver.Key(XK_Shift_L, true);
    m_driver.Button(3, true);
    m_driver.Button(3, false);
    m_driver.Key(XK_Shift_L, false);

    NativeEvent event;
    ASSERT_TRUE(NextOf(*m_display, event, {native::kButtonPress}));
    EXPECT_EQ(event.window, window);
    EXPECT_EQ(event.button, 3);
    EXPECT_EQ(event.x, 15);
    EXPECT_EQ(event.y, 25);
    EXPECT_EQ(event.rootX, 135);
    EXPECT_EQ(event.rootY, 135);
    EXPECT_EQ(event.modifiers, native::kShiftHeld);
    ASSERT_TRUE(NextOf(*m_display, event, {native::kButtonRelease}));
    EXPECT_EQ(event.button, 3);
    EXPECT_EQ(event.modifiers, native::kShiftHeld | native::kButton3Held);

    // A drag: the moves of a held button keep coming to the window where it
    // was pressed, even outside it; a run of moves arrives as its last one.
    m_driver.Button(1, true);
    m_driver.MovePointer(100 + 20 + 50, 80 + 30 + 40);
    m_driver.MovePointer(100 + 20 + 300, 80 + 30 + 250);
    ASSERT_TRUE(NextOf(*m_display, event, {native::kMotion}));
    EXPECT_EQ(event.window, window);
    if (event.x == 50) {
        ASSERT_TRUE(NextOf(*m_display, event, {native::kMotion}));
    }
    EXPECT_EQ(event.x, 300);
    EXPECT_EQ(event.y, 250);
    EXPECT_EQ(event.modifiers, native::kButton1Held);
    m_driver.Button(1, false);
    ASSERT_TRUE(NextOf(*m_display, event, {native::kButtonRelease}));
    EXPECT_EQ(event.window, window);
    EXPECT_EQ(event.x, 300);

    EXPECT_EQ(m_display->ModifierState(), 0u);
    m_driver.Key(XK_Control_L, true);
    EXPECT_EQ(m_display->ModifierState(), native::kControlHeld);
    m_driver.Key(XK_Control_L, false);
    EXPECT_EQ(m_display->ModifierState(), 0u);

    // Keys follow the focus, not the pointer (outside our window now; their
    // translation is tabled in test_toolkit_input.cpp); the focus goes back
    // to whoever had it.
    const Window before = m_driver.Focus();
    m_display->TakeKeyboardFocus(window);
    EXPECT_EQ(m_driver.Focus(), window);
    m_driver.Key(XK_Shift_L, true);
    m_driver.Key(XK_a, true);
    m_driver.Key(XK_a, false);
    m_driver.Key(XK_Shift_L, false);
    ASSERT_TRUE(NextKey(*m_display, event, native::kKeyPress));
    EXPECT_EQ(event.window, window);
    EXPECT_EQ(event.character, uint32_t('A'));
    EXPECT_EQ(event.modifiers, native::kShiftHeld);
    m_display->RestoreKeyboardFocus();
    EXPECT_EQ(m_driver.Focus(), before);

    // Focus given away by someone else is reported; it is not taken back.
    m_display->TakeKeyboardFocus(window);
    XSetInputFocus(m_driver, host, RevertToParent, CurrentTime);
    XSync(m_driver, False);
    ASSERT_TRUE(NextOf(*m_display, event, {native::kFocusOut}));
    EXPECT_EQ(event.window, window);
    m_display->RestoreKeyboardFocus();
    EXPECT_EQ(m_driver.Focus(), host);
}

TEST_F(X11Backend, PopupsAndDialogsCarryWhatWindowManagersNeed) {
    const Window host = m_driver.HostWindow(100, 80, 400, 300);
    const NativeWindow editor = EmbeddedWindow(host, CRect(0, 0, 200, 100));

    const NativeWindow popup = m_display->CreatePopupWindow(CRect(300, 250, 420, 400));
    m_display->ShowWindow(popup, true);
    const NativeWindow dialog = m_display->CreateTopLevelWindow(
        CRect(200, 150, 500, 350), "Save Program \xE2\x80\x94 1", editor, true);
    m_display->ShowWindow(dialog, true);
    m_display->Flush();
    XSync(m_driver, False);

    XWindowAttributes attributes;
    ASSERT_TRUE(XGetWindowAttributes(m_driver, popup, &attributes));
    EXPECT_TRUE(attributes.override_redirect);
    EXPECT_EQ(attributes.map_state, IsViewable);
    EXPECT_EQ(CRect(attributes.x, attributes.y, attributes.x + attributes.width,
                    attributes.y + attributes.height),
              CRect(300, 250, 420, 400));

    // Transient for the host's top-level window, not for our editor inside it.
    Window transientFor = 0;
    ASSERT_TRUE(XGetTransientForHint(m_driver, dialog, &transientFor));
    EXPECT_EQ(transientFor, host);
    EXPECT_EQ(m_driver.Property(dialog, "_NET_WM_WINDOW_TYPE"),
              std::vector<unsigned long>{m_driver.AtomNamed("_NET_WM_WINDOW_TYPE_DIALOG")});
    const std::vector<unsigned long> protocols = m_driver.Property(dialog, "WM_PROTOCOLS");
    EXPECT_EQ(protocols, std::vector<unsigned long>{m_driver.AtomNamed("WM_DELETE_WINDOW")});
    EXPECT_EQ(m_driver.Property(dialog, "_NET_WM_NAME"), Bytes("Save Program \xE2\x80\x94 1"));
    EXPECT_EQ(m_driver.Property(dialog, "WM_NAME"), Bytes("Save Program ? 1"));

    // The window manager's close button.
    XEvent close{};
    close.xclient.type = ClientMessage;
    close.xclient.window = dialog;
    close.xclient.message_type = m_driver.AtomNamed("WM_PROTOCOLS");
    close.xclient.format = 32;
    close.xclient.data.l[0] = static_cast<long>(m_driver.AtomNamed("WM_DELETE_WINDOW"));
    close.xclient.data.l[1] = CurrentTime;
    XSendEvent(m_driver, dialog, False, NoEventMask, &close);
    XSync(m_driver, False);
    NativeEvent event;
    ASSERT_TRUE(NextOf(*m_display, event, {native::kCloseRequest}));
    EXPECT_EQ(event.window, dialog);

    // While a popup grabs the pointer, a click anywhere is reported to it,
    // in its coordinates: a click outside a menu is seen by the menu.
    ASSERT_TRUE(m_display->GrabPointer(popup));
    ASSERT_TRUE(m_display->GrabKeyboard(popup));
    m_driver.MovePointer(110, 90);
    m_driver.Button(1, true);
    m_driver.Button(1, false);
    m_driver.Key(XK_Escape, true);
    m_driver.Key(XK_Escape, false);
    ASSERT_TRUE(NextOf(*m_display, event, {native::kButtonPress}));
    EXPECT_EQ(event.window, popup);
    EXPECT_EQ(event.x, 110 - 300);
    EXPECT_EQ(event.y, 90 - 250);
    ASSERT_TRUE(NextOf(*m_display, event, {native::kKeyPress}));
    EXPECT_EQ(event.window, popup);
    EXPECT_EQ(event.keyCode, keycode::Escape);
    m_display->UngrabKeyboard();
    m_display->UngrabPointer();
    m_driver.Button(1, true);
    m_driver.Button(1, false);
    ASSERT_TRUE(NextOf(*m_display, event, {native::kButtonPress}));
    EXPECT_EQ(event.window, editor);
}

int foreignErrors = 0;
int CountForeignError(Display*, XErrorEvent*) {
    ++foreignErrors;
    return 0;
}

TEST(X11Errors, OtherConnectionsKeepTheirHandlerAndOursNeverEndTheProcess) {
    Driver driver;
    SKIP_WITHOUT_X11(driver);
    // A window that no longer exists: every request on it is an error.
    const Window gone = XCreateSimpleWindow(driver, XDefaultRootWindow(driver), 0, 0, 10, 10, 0, 0, 0);
    XDestroyWindow(driver, gone);
    XSync(driver, False);

    foreignErrors = 0;
    const XErrorHandler hostHandler = XSetErrorHandler(&CountForeignError);
    {
        std::unique_ptr<NativeDisplay> first = OpenX11Display();
        std::unique_ptr<NativeDisplay> second = OpenX11Display();
        XMapWindow(driver, gone);
        XSync(driver, False);
        EXPECT_EQ(foreignErrors, 1);
        // Ours go nowhere near the host's handler (the default one exits).
        EXPECT_EQ(first->CreateChildWindow(gone, CRect(0, 0, 10, 10)), 0u);
        EXPECT_EQ(second->WindowToScreen(gone, CPoint(3, 4)), CPoint(3, 4));
        EXPECT_EQ(foreignErrors, 1);
        first.reset();
        XMapWindow(driver, gone);
        XSync(driver, False);
        EXPECT_EQ(foreignErrors, 2);
    }
    // With the last of ours closed, the host's handler is back in place.
    EXPECT_EQ(XSetErrorHandler(hostHandler), &CountForeignError);
}

TEST(X11Errors, LosingTheServerLeavesABrokenConnectionNotAnEndedProcess) {
    PrivateServer server("320x240x24");
    ASSERT_TRUE(server.Running() || !X11IsRequired()) << "Xvfb does not start";
    if (!server.Running()) GTEST_SKIP() << "Xvfb not available";
    std::unique_ptr<NativeDisplay> display = server.Open();
    ASSERT_TRUE(display);
    const NativeWindow popup = display->CreatePopupWindow(CRect(0, 0, 20, 20));
    display->ShowWindow(popup, true);
    server.Stop();

    NativeEvent event;
    EXPECT_FALSE(display->NextEvent(event, 200));
    EXPECT_FALSE(display->IsOpen());
    // Nothing more reaches the dead connection; closing it is clean.
    EXPECT_EQ(display->CreatePopupWindow(CRect(0, 0, 20, 20)), 0u);
    EXPECT_EQ(display->ScreenSize(), CSize(0, 0));
    display->Wake();
    EXPECT_FALSE(display->NextEvent(event, 600000));
    display.reset();
}

// Screens of other depths: what is presented is repacked for the visual and
// reads back as the nearest colour the visual has; a present shows exactly
// its damaged area, clipped to the surface.
struct OtherVisual {
    const char* screen;
    uint32_t greyReadBack;  // of 0x808080
};

// Printed as its screen, which names the case in ctest (not its bytes,
// which differ from build to build).
void PrintTo(const OtherVisual& visual, std::ostream* out) { *out << visual.screen; }

class X11Pixels : public ::testing::TestWithParam<OtherVisual> {};

TEST_P(X11Pixels, PresentRepacksForTheVisual) {
    PrivateServer server(GetParam().screen);
    ASSERT_TRUE(server.Running() || !X11IsRequired()) << "Xvfb does not start";
    if (!server.Running()) GTEST_SKIP() << "Xvfb not available";
    std::unique_ptr<NativeDisplay> display = server.Open();
    ASSERT_TRUE(display);
    const NativeWindow window = display->CreatePopupWindow(CRect(10, 10, 70, 50));
    display->ShowWindow(window, true);
    cairo_surface_t* surface = SolidSurface(60, 40, 0, 1, 0);
    display->Present(window, surface, CRect(0, 0, 60, 40));
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 1, 0, 1);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 128 / 255.0, 128 / 255.0, 128 / 255.0);
    cairo_rectangle(cr, 50, 0, 10, 40);
    cairo_fill(cr);
    cairo_destroy(cr);
    display->Present(window, surface, CRect(30, 10, 400, 400));
    cairo_surface_t* shot = display->CaptureWindow(window);
    ASSERT_TRUE(shot);
    EXPECT_EQ(PixelAt(shot, 0, 0), 0xFF00FF00u);
    EXPECT_EQ(PixelAt(shot, 29, 39), 0xFF00FF00u);  // left of the damage
    EXPECT_EQ(PixelAt(shot, 30, 9), 0xFF00FF00u);   // above it
    EXPECT_EQ(PixelAt(shot, 30, 10), 0xFFFF00FFu);
    EXPECT_EQ(PixelAt(shot, 59, 39), GetParam().greyReadBack);
    cairo_surface_destroy(shot);
    cairo_surface_destroy(surface);
}

INSTANTIATE_TEST_SUITE_P(Depths, X11Pixels,
                         ::testing::Values(OtherVisual{"320x240x16", 0xFF848284u},
                                           OtherVisual{"320x240x30", 0xFF808080u}));

}  // namespace
