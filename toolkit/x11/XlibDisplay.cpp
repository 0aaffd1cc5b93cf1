#include "toolkit/x11/XlibDisplay.h"  // first: see NativeNames.h

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "toolkit/x11/X11Display.h"

namespace {

constexpr long kEventMask = ExposureMask | ButtonPressMask | ButtonReleaseMask |
                            PointerMotionMask | KeyPressMask | KeyReleaseMask |
                            StructureNotifyMask | FocusChangeMask;

// X carries positions as 16-bit signed and sizes as 16-bit unsigned numbers
// (and refuses a size of 0): keep what comes from outside in range.
int ClampPosition(int64_t value) {
    return static_cast<int>(std::clamp<int64_t>(value, -32768, 32767));
}
unsigned ClampExtent(int64_t value) {
    return static_cast<unsigned>(std::clamp<int64_t>(value, 1, 32767));
}

// WM_NAME is Latin-1 text; titles are UTF-8, so only their ASCII survives there
// (window managers of this century read the UTF-8 _NET_WM_NAME instead).
std::string AsciiOnly(const char* text) {
    std::string result;
    for (const char* p = text; *p; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (c < 0x80) {
            result += static_cast<char>(c);
        } else if ((c & 0xC0) != 0x80) {
            result += '?';
        }
    }
    return result;
}

}  // namespace

std::unique_ptr<NativeDisplay> OpenX11Display() { return XlibDisplay::Open(); }

std::unique_ptr<NativeDisplay> XlibDisplay::Open() {
    // Hosts use Xlib from several threads; it must be made thread-aware
    // before the first connection (libX11 1.8 does it by itself).
    static std::once_flag threadsInitialised;
    std::call_once(threadsInitialised, [] { XInitThreads(); });

    const int wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd < 0) return nullptr;
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        close(wakeFd);
        return nullptr;
    }
    std::unique_ptr<XlibDisplay> result(new XlibDisplay(display, wakeFd));
    if (!result->Usable()) return nullptr;
    return result;
}

XlibDisplay::XlibDisplay(Display* display, int wakeFd) : m_display(display), m_wakeFd(wakeFd) {
    if (!RouteX11Errors(m_display, this)) {
        XCloseDisplay(m_display);
        m_display = nullptr;
        return;
    }
    m_screen = DefaultScreen(m_display);
    m_root = RootWindow(m_display, m_screen);
    m_visual = DefaultVisual(m_display, m_screen);
    m_depth = DefaultDepth(m_display, m_screen);
    m_colormap = DefaultColormap(m_display, m_screen);

    XGCValues values;
    values.graphics_exposures = False;
    m_gc = XCreateGC(m_display, m_root, GCGraphicsExposures, &values);

    // One round trip for all the atoms.
    char* names[] = {const_cast<char*>("WM_PROTOCOLS"),
                     const_cast<char*>("WM_DELETE_WINDOW"),
                     const_cast<char*>("WM_STATE"),
                     const_cast<char*>("_NET_WM_NAME"),
                     const_cast<char*>("_NET_WM_WINDOW_TYPE"),
                     const_cast<char*>("_NET_WM_WINDOW_TYPE_DIALOG"),
                     const_cast<char*>("_NET_WM_WINDOW_TYPE_NORMAL"),
                     const_cast<char*>("UTF8_STRING")};
    Atom atoms[8] = {};
    XInternAtoms(m_display, names, 8, False, atoms);
    m_wmProtocols = atoms[0];
    m_wmDeleteWindow = atoms[1];
    m_wmState = atoms[2];
    m_netWmName = atoms[3];
    m_netWmWindowType = atoms[4];
    m_netWmWindowTypeDialog = atoms[5];
    m_netWmWindowTypeNormal = atoms[6];
    m_utf8String = atoms[7];

    // A held key repeats as presses only, without a release between them.
    XkbSetDetectableAutoRepeat(m_display, True, nullptr);
}

XlibDisplay::~XlibDisplay() {
    if (m_display) {
        // Closing destroys every window and grab of this connection on the
        // server; the host's windows are not ours and stay.
        if (m_gc) XFreeGC(m_display, m_gc);
        XCloseDisplay(m_display);
        StopRoutingX11Errors(m_display);
    }
    if (m_wakeFd >= 0) close(m_wakeFd);
}

bool XlibDisplay::IsOpen() const { return Usable(); }

void XlibDisplay::OnProtocolError(const XErrorEvent& error) {
    m_hadError = true;
    m_lastErrorSerial = error.serial;
}

void XlibDisplay::OnConnectionLost() {
    if (!m_broken) std::fprintf(stderr, "TapDelay: the connection to the X server is lost\n");
    m_broken = true;
}

bool XlibDisplay::SucceededSince(unsigned long serial) {
    if (!Usable()) return false;
    XSync(m_display, False);
    return Usable() && !(m_hadError && m_lastErrorSerial >= serial);
}

bool XlibDisplay::IsOurs(Window window) const { return m_windows.count(window) != 0; }

Window XlibDisplay::MakeWindow(Window parent, const CRect& rect, WindowKind kind) {
    if (!Usable() || !parent) return 0;
    XSetWindowAttributes attributes{};
    // No background: the toolkit paints every pixel, so the server need not
    // clear first (no flicker).
    attributes.background_pixmap = None;
    attributes.border_pixel = 0;
    attributes.colormap = m_colormap;
    attributes.event_mask = kEventMask;
    attributes.bit_gravity = NorthWestGravity;
    unsigned long mask = CWBackPixmap | CWBorderPixel | CWColormap | CWEventMask | CWBitGravity;
    if (kind == WindowKind::Popup) {
        attributes.override_redirect = True;
        attributes.save_under = True;
        mask |= CWOverrideRedirect | CWSaveUnder;
    }
    const unsigned long serial = NextRequest(m_display);
    // Our own visual and colormap rather than the parent's: the host's window
    // may have any depth, and a window of another depth needs both named.
    const Window window = XCreateWindow(
        m_display, parent, ClampPosition(rect.left), ClampPosition(rect.top),
        ClampExtent(rect.Width()), ClampExtent(rect.Height()), 0, m_depth, InputOutput,
        m_visual, mask, &attributes);
    // A parent id from outside may name no window: find out now.
    if (!window || !SucceededSince(serial)) return 0;
    m_windows[window] = kind;
    return window;
}

NativeWindow XlibDisplay::CreateChildWindow(NativeWindow parent, const CRect& rect) {
    return MakeWindow(static_cast<Window>(parent), rect, WindowKind::Child);
}

NativeWindow XlibDisplay::CreatePopupWindow(const CRect& screenRect) {
    return MakeWindow(m_root, screenRect, WindowKind::Popup);
}

NativeWindow XlibDisplay::CreateTopLevelWindow(const CRect& screenRect, const char* title,
                                               NativeWindow transientFor, bool dialog) {
    const Window window = MakeWindow(m_root, screenRect, WindowKind::TopLevel);
    if (window)
        SetTopLevelProperties(window, screenRect, title ? title : "",
                              static_cast<Window>(transientFor), dialog);
    return window;
}

void XlibDisplay::SetTopLevelProperties(Window window, const CRect& rect, const char* title,
                                        Window transientFor, bool dialog) {
    const std::string latinTitle = AsciiOnly(title);
    XStoreName(m_display, window, latinTitle.c_str());
    XChangeProperty(m_display, window, m_netWmName, m_utf8String, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title),
                    static_cast<int>(std::min<size_t>(strlen(title), 4096)));

    char resourceName[] = "tapdelay";
    char resourceClass[] = "TapDelay";
    XClassHint classHint{resourceName, resourceClass};
    XSetClassHint(m_display, window, &classHint);

    XWMHints wmHints{};
    wmHints.flags = InputHint | StateHint;
    wmHints.input = True;
    wmHints.initial_state = NormalState;
    XSetWMHints(m_display, window, &wmHints);

    Atom protocols[] = {m_wmDeleteWindow};
    XSetWMProtocols(m_display, window, protocols, 1);

    Atom type = dialog ? m_netWmWindowTypeDialog : m_netWmWindowTypeNormal;
    XChangeProperty(m_display, window, m_netWmWindowType, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&type), 1);

    // The window manager knows the host's top-level window, not the editor
    // window inside it: name that one.
    if (transientFor) {
        const Window owner = ManagedAncestor(transientFor);
        if (owner) XSetTransientForHint(m_display, window, owner);
    }
    SetSizeHints(window, rect);
}

// Top-level windows keep the size the toolkit gives them: the user does not
// resize dialogs and message boxes.
void XlibDisplay::SetSizeHints(Window window, const CRect& rect) {
    XSizeHints* hints = XAllocSizeHints();
    if (!hints) return;
    // The toolkit places its windows itself (centred on the editor).
    hints->flags = USPosition | PPosition | USSize | PSize;
    hints->x = ClampPosition(rect.left);
    hints->y = ClampPosition(rect.top);
    hints->width = static_cast<int>(ClampExtent(rect.Width()));
    hints->height = static_cast<int>(ClampExtent(rect.Height()));
    hints->flags |= PMinSize | PMaxSize;
    hints->min_width = hints->max_width = hints->width;
    hints->min_height = hints->max_height = hints->height;
    XSetWMNormalHints(m_display, window, hints);
    XFree(hints);
}

// The first ancestor (or the window itself) that the window manager manages
// (it carries WM_STATE), else the ancestor just below the root.
Window XlibDisplay::ManagedAncestor(Window window) {
    Window current = window;
    for (int depth = 0; depth < 64 && current && current != m_root; ++depth) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        const int status = XGetWindowProperty(m_display, current, m_wmState, 0, 0, False,
                                              AnyPropertyType, &type, &format, &count, &after,
                                              &data);
        if (data) XFree(data);
        if (status == Success && type != None) return current;

        Window root = 0, parent = 0;
        Window* children = nullptr;
        unsigned childCount = 0;
        if (!XQueryTree(m_display, current, &root, &parent, &children, &childCount)) return 0;
        if (children) XFree(children);
        if (parent == root) return current;
        current = parent;
    }
    return 0;
}

void XlibDisplay::DestroyWindow(NativeWindow native) {
    const Window window = static_cast<Window>(native);
    if (!IsOurs(window)) return;
    m_windows.erase(window);
    if (m_focusToRestore == window) m_focusToRestore = 0;
    if (Usable()) XDestroyWindow(m_display, window);
}

void XlibDisplay::ShowWindow(NativeWindow native, bool show) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !IsOurs(window)) return;
    if (show) {
        XMapRaised(m_display, window);
    } else if (m_windows[window] == WindowKind::TopLevel) {
        // Withdrawn, so that a window manager lets go of it too.
        XWithdrawWindow(m_display, window, m_screen);
    } else {
        XUnmapWindow(m_display, window);
    }
}

void XlibDisplay::SetWindowRect(NativeWindow native, const CRect& rect) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !IsOurs(window)) return;
    XMoveResizeWindow(m_display, window, ClampPosition(rect.left), ClampPosition(rect.top),
                      ClampExtent(rect.Width()), ClampExtent(rect.Height()));
    if (m_windows[window] == WindowKind::TopLevel) SetSizeHints(window, rect);
}

CPoint XlibDisplay::WindowToScreen(NativeWindow native, CPoint point) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !window) return point;
    int x = 0, y = 0;
    Window child = 0;
    if (!XTranslateCoordinates(m_display, window, m_root, point.x, point.y, &x, &y, &child))
        return point;
    return CPoint(x, y);
}

CSize XlibDisplay::ScreenSize() {
    if (!Usable()) return CSize(0, 0);
    return CSize(DisplayWidth(m_display, m_screen), DisplayHeight(m_display, m_screen));
}

// The RESOURCE_MANAGER property as the server holds it now (xrdb -merge
// changes it), not the copy Xlib took when the connection opened.
std::string XlibDisplay::ResourceDatabase() {
    if (!Usable()) return std::string();
    Atom property = XInternAtom(m_display, "RESOURCE_MANAGER", True);
    if (property == None) return std::string();
    Atom type = None;
    int format = 0;
    unsigned long count = 0, remaining = 0;
    unsigned char* data = nullptr;
    std::string text;
    if (XGetWindowProperty(m_display, m_root, property, 0, 1 << 16, False, XA_STRING, &type, &format,
                           &count, &remaining, &data) == Success &&
        data && format == 8)
        text.assign(reinterpret_cast<const char*>(data), count);
    if (data) XFree(data);
    return text;
}

bool XlibDisplay::GrabPointer(NativeWindow native) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !IsOurs(window)) return false;
    // owner_events False: every pointer event is reported to the grabbing
    // window (a click outside a menu arrives there, outside its rectangle).
    const int status = XGrabPointer(m_display, window, False,
                                    ButtonPressMask | ButtonReleaseMask | PointerMotionMask,
                                    GrabModeAsync, GrabModeAsync, None, None, CurrentTime);
    return status == GrabSuccess;
}

void XlibDisplay::UngrabPointer() {
    if (!Usable()) return;
    XUngrabPointer(m_display, CurrentTime);
    XFlush(m_display);
}

bool XlibDisplay::GrabKeyboard(NativeWindow native) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !IsOurs(window)) return false;
    const int status =
        XGrabKeyboard(m_display, window, False, GrabModeAsync, GrabModeAsync, CurrentTime);
    return status == GrabSuccess;
}

void XlibDisplay::UngrabKeyboard() {
    if (!Usable()) return;
    XUngrabKeyboard(m_display, CurrentTime);
    XFlush(m_display);
}

bool XlibDisplay::WindowExists(Window window, bool* viewable) {
    XWindowAttributes attributes;
    const unsigned long serial = NextRequest(m_display);
    const bool exists = XGetWindowAttributes(m_display, window, &attributes) != 0 &&
                        SucceededSince(serial);
    if (viewable) *viewable = exists && attributes.map_state == IsViewable;
    return exists;
}

void XlibDisplay::TakeKeyboardFocus(NativeWindow native) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !IsOurs(window)) return;
    Window current = 0;
    int revertTo = 0;
    XGetInputFocus(m_display, &current, &revertTo);
    if (!m_holdsFocus || !IsOurs(current)) {
        m_focusToRestore = IsOurs(current) ? 0 : current;
        m_holdsFocus = true;
    }
    // Only a viewable window may take the focus.
    bool viewable = false;
    if (WindowExists(window, &viewable) && viewable)
        XSetInputFocus(m_display, window, RevertToParent, CurrentTime);
    XFlush(m_display);
}

void XlibDisplay::RestoreKeyboardFocus() {
    if (!Usable() || !m_holdsFocus) return;
    m_holdsFocus = false;
    const Window previous = m_focusToRestore;
    m_focusToRestore = 0;
    // Give it back only while one of ours still has it: if the user has
    // moved on to another window meanwhile, leave the focus there.
    Window current = 0;
    int revertTo = 0;
    XGetInputFocus(m_display, &current, &revertTo);
    if (!IsOurs(current)) return;
    if (previous == None) return;
    if (previous == PointerRoot) {
        XSetInputFocus(m_display, PointerRoot, RevertToParent, CurrentTime);
    } else {
        bool viewable = false;
        if (WindowExists(previous, &viewable) && viewable)
            XSetInputFocus(m_display, previous, RevertToParent, CurrentTime);
    }
    XFlush(m_display);
}

unsigned XlibDisplay::ModifierState() {
    if (!Usable()) return 0;
    Window root = 0, child = 0;
    int rootX = 0, rootY = 0, x = 0, y = 0;
    unsigned mask = 0;
    XQueryPointer(m_display, m_root, &root, &child, &rootX, &rootY, &x, &y, &mask);
    return ModifierBits(mask);
}

// Alt and Super are Mod1 and Mod4 in every common keyboard mapping.
unsigned XlibDisplay::ModifierBits(unsigned state) {
    unsigned bits = 0;
    if (state & ShiftMask) bits |= native::kShiftHeld;
    if (state & ControlMask) bits |= native::kControlHeld;
    if (state & Mod1Mask) bits |= native::kAltHeld;
    if (state & Mod4Mask) bits |= native::kSuperHeld;
    if (state & Button1Mask) bits |= native::kButton1Held;
    if (state & Button3Mask) bits |= native::kButton3Held;
    return bits;
}
