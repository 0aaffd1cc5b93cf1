// What a windowing system must provide to the toolkit: native windows, input
// events, presenting drawn pixels, grabs and keyboard focus. One object is one
// connection to the windowing system; the editor opens one per open editor.
// toolkit/x11/ implements it over Xlib, toolkit/headless/ in memory for tests.
//
// Only the toolkit's roots are native windows: the editor window (a child of
// the host's window), popup menus, combo lists, dialogs and message boxes.
// Controls inside them are drawn and hit-tested by the toolkit itself.
//
// All calls happen on the UI thread, except Wake, which any thread may call.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "toolkit/Geometry.h"

typedef struct _cairo_surface cairo_surface_t;

// A native window: an X window id, or a headless window number. 0 is none.
typedef uint64_t NativeWindow;

// Modifier bits of NativeEvent::modifiers and ModifierState().
namespace modifier {
constexpr unsigned Shift = 1;
constexpr unsigned Control = 2;
constexpr unsigned Alt = 4;
constexpr unsigned Super = 8;
constexpr unsigned Button1 = 16;  // left button held
constexpr unsigned Button3 = 32;  // right button held
}  // namespace modifier

enum class NativeEventType {
    None,
    ButtonPress,    // button 1 left, 2 middle, 3 right, 4 and 5 wheel up and down
    ButtonRelease,
    Motion,
    KeyPress,       // keyCode and character as in toolkit/KeyCodes.h
    KeyRelease,
    Expose,         // area needs its pixels again
    CloseRequest,   // the window manager's close button on a top-level window
    Destroyed,      // the window is gone (e.g. the host destroyed its parent)
    FocusOut,       // the window lost the keyboard focus
};

struct NativeEvent {
    NativeEventType type = NativeEventType::None;
    NativeWindow window = 0;
    int x = 0, y = 0;          // pointer in the window's coordinates
    int rootX = 0, rootY = 0;  // pointer in screen coordinates
    int button = 0;
    unsigned modifiers = 0;    // modifier bits before this event
    unsigned keyCode = 0;
    uint32_t character = 0;    // Unicode code point, 0 when the key types none
    CRect area;                // Expose
    uint32_t timeMs = 0;       // event time in milliseconds, for double clicks
};

class NativeDisplay {
public:
    virtual ~NativeDisplay() = default;

    // False when the connection could not be made or has broken.
    virtual bool IsOpen() const = 0;

    // Windows are created hidden. Rectangles of child windows are in their
    // parent's coordinates; of popups and top-level windows, in the screen's.
    virtual NativeWindow CreateChildWindow(NativeWindow parent, const CRect& rect) = 0;
    // Override-redirect: no decoration, placed exactly (menus, combo lists).
    virtual NativeWindow CreatePopupWindow(const CRect& screenRect) = 0;
    // A decorated window; transientFor (may be 0) is the window it belongs
    // to; dialog marks it as a dialog for the window manager. Its close
    // button arrives as CloseRequest.
    virtual NativeWindow CreateTopLevelWindow(const CRect& screenRect, const char* title,
                                              NativeWindow transientFor, bool dialog) = 0;
    virtual void DestroyWindow(NativeWindow window) = 0;
    virtual void ShowWindow(NativeWindow window, bool show) = 0;
    virtual void SetWindowRect(NativeWindow window, const CRect& rect) = 0;
    // Where the window's client point lies on the screen.
    virtual CPoint WindowToScreen(NativeWindow window, CPoint point) = 0;
    virtual CSize ScreenSize() = 0;
    // The server's resource database as text ("Xft.dpi:\t192\n..."), where
    // desktops say how large things should be drawn; empty when none.
    virtual std::string ResourceDatabase() { return std::string(); }

    // Copies area (window coordinates) of image, an RGB24 or ARGB32 cairo
    // image surface whose (0, 0) is the window's (0, 0), onto the window.
    virtual void Present(NativeWindow window, cairo_surface_t* image, const CRect& area) = 0;

    // The window's pixels as they are on the screen now (including child
    // windows of other programs, e.g. a plug-in's editor inside a host
    // window), as a new RGB24 surface the caller destroys; null on failure.
    virtual cairo_surface_t* CaptureWindow(NativeWindow window) = 0;

    // Pointer and keyboard grabs for menus and drags; false when refused.
    virtual bool GrabPointer(NativeWindow window) = 0;
    virtual void UngrabPointer() = 0;
    virtual bool GrabKeyboard(NativeWindow window) = 0;
    virtual void UngrabKeyboard() = 0;

    // Gives window the keyboard focus, remembering who had it; Restore gives
    // it back to that window (if it still exists).
    virtual void TakeKeyboardFocus(NativeWindow window) = 0;
    virtual void RestoreKeyboardFocus() = 0;

    // Modifier bits as they are now (not as of the last event).
    virtual unsigned ModifierState() = 0;

    // The next event, waiting at most timeoutMs (0: only what is queued).
    // False when none arrived in time.
    virtual bool NextEvent(NativeEvent& event, int timeoutMs) = 0;
    // Makes a NextEvent that is waiting, or the next one, return at once.
    // Safe from any thread.
    virtual void Wake() = 0;
    // Sends buffered requests to the windowing system.
    virtual void Flush() = 0;
    // The descriptor that becomes readable when events arrive, for hosts that
    // run the editor from their own loop; -1 when there is none.
    virtual int EventFd() const { return -1; }
};

// How the toolkit opens a connection. The default factory opens the X11
// backend; tests install the headless one. A null result means no display.
typedef std::function<std::unique_ptr<NativeDisplay>()> NativeDisplayFactory;
void AfxSetNativeDisplayFactory(NativeDisplayFactory factory);
std::unique_ptr<NativeDisplay> AfxOpenNativeDisplay();
