// Internal to the toolkit: the bookkeeping behind CWnd that the window code,
// the DCs and the connections share. Roots carry RootData; lightweight
// windows are found, offset, hit-tested and painted through their root.
#pragma once

#include <memory>
#include <vector>

#include "toolkit/CWnd.h"
#include "toolkit/DamageRegion.h"

typedef struct _cairo_surface cairo_surface_t;

enum class RootKind {
    Windowless,   // no native window (no connection, or its host died)
    Foreign,      // a CFrameWnd wrapping the host's window: never drawn
    NativeChild,  // a native child of a foreign root's window (the editor)
    Popup,        // override-redirect popup (menus, lists)
    TopLevel,     // decorated top-level window (dialogs, message boxes)
};

struct RootData {
    RootKind kind = RootKind::Windowless;
    UIConnection* connection = nullptr;
    std::shared_ptr<UIConnection> ownedConnection;  // a frame's own connection
    NativeWindow native = 0;
    bool nativeDead = false;           // destroyed by someone else: never touch it
    cairo_surface_t* buffer = nullptr;  // RGB24, the root's client size in device pixels
    CRect invalid;                     // root coordinates (logical)
    bool erase = false;
    DamageRegion damage;               // drawn but not yet presented (device pixels)
    bool keyboardTaken = false;        // TakeKeyboardFocus done for this root
};

namespace rect {
CRect Intersect(const CRect& a, const CRect& b);
// The bounding box; an empty side is ignored.
CRect Union(const CRect& a, const CRect& b);
CRect Offset(CRect r, CPoint by);
}  // namespace rect

class WindowTree {
public:
    // HWNDs are numbers handed out once, so a stale one never names a new window.
    static HWND Register(CWnd* window);
    static void Unregister(HWND hwnd);
    static CWnd* Lookup(HWND hwnd);
    static size_t LiveWindowCount();

    static RootData* Root(const CWnd* window) { return window ? window->m_root : nullptr; }
    // Device pixels per logical pixel of the root's connection (1 without one).
    static double Scale(const CWnd* root);
    static CWnd* RootOf(const CWnd* window);
    // Where window's client origin lies in its root's client coordinates.
    static CPoint OffsetInRoot(const CWnd* window);
    // The part of the root that window may draw on (root coordinates):
    // its client area clipped by its ancestors' and the buffer's bounds.
    static CRect VisibleRectInRoot(const CWnd* window);
    static bool IsSelfOrAncestor(const CWnd* ancestor, const CWnd* window);
    // True when root is owned (directly or through other roots) by owner.
    static bool IsOwnedBy(const CWnd* root, const CWnd* owner);
    // The NativeWindow that input for window arrives on, 0 when none.
    static NativeWindow LiveNative(const CWnd* window);

    // The deepest shown, enabled lightweight window at point (root client
    // coordinates); point becomes that window's client coordinates.
    static CWnd* HitTest(CWnd* root, CPoint& point);

    // Adds area (root coordinates) to the root's invalid region.
    static void InvalidateRoot(CWnd* root, const CRect& area, bool erase);
    // Paints the root's invalid region now (WM_ERASEBKGND, WM_PAINT, children).
    static void PaintRoot(CWnd* root);
    // A window DC drew area (root coordinates) of window's root; outside a
    // paint it is presented at once.
    static void WindowDrawn(HWND window, const DamageRegion& area);
    static bool Painting();

    // Roots without a connection; AfxPumpMessages paints them too.
    static const std::vector<CWnd*>& WindowlessRoots();
    static void AddWindowless(CWnd* root);
    static void RemoveWindowless(CWnd* root);

    // Native window gone: the root and the roots inside it never touch it.
    static void MarkNativeDead(CWnd* root);
    // A new back buffer of the root's size, keeping what it can of the old.
    static void ResizeBuffer(CWnd* root);

    // Focus and capture bookkeeping for windows going away or hiding.
    static void LeavingWindow(CWnd* window, bool destroying);

    // Destruction in two passes: flag the subtree, then (after WM_DESTROY
    // went top-down) WM_NCDESTROY bottom-up and the release of everything.
    static void MarkDestroying(CWnd* window);
    static void FinishDestroy(CWnd* window);

    // Frames: become or stop being a foreign root.
    static void MakeForeignRoot(CWnd* frame, std::shared_ptr<UIConnection> connection,
                                NativeWindow host);
    static void ReleaseForeignRoot(CWnd* frame);

private:
    static void PaintWindow(CWnd* window, const CRect& area, bool erase, CPoint offset);
};
