// A window with a message map. Roots (the editor window, dialogs, menus) have
// a native window of their own and a back buffer; their child windows are
// drawn into that buffer and hit-tested by the toolkit. Coordinates are client
// pixels, origin top left, y downwards, right and bottom exclusive.
#pragma once

#include <vector>

#include "toolkit/CCmdTarget.h"
#include "toolkit/CString.h"
#include "toolkit/NativeDisplay.h"

class CDC;
class CFont;
class CDataExchange;
class CCreateContext;
class UIConnection;

typedef void (*TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);

class CWnd : public CCmdTarget {
    DECLARE_DYNCREATE(CWnd)
public:
    CWnd();
    ~CWnd() override;

    HWND m_hWnd = nullptr;  // non-null while the window exists
    HWND GetSafeHwnd() const { return m_hWnd; }
    static CWnd* FromHandle(HWND hwnd);  // null unless hwnd names a live window

    // Creation. The window exists when WM_CREATE arrives; OnCreate returning
    // -1 destroys it again and Create returns FALSE. A parent with a native
    // window (a CFrameWnd wrapping the host's window) makes this window a root
    // with a native child window; a WS_POPUP window without a parent becomes a
    // top-level native window.
    virtual BOOL Create(LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect,
                        CWnd* parent, UINT id, CCreateContext* context = nullptr);
    virtual BOOL CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR windowName, DWORD style,
                          const RECT& rect, CWnd* parent, UINT id, LPVOID param = nullptr);
    // Sends WM_DESTROY to this window and its children (children first
    // destroyed), frees the native window; the C++ object stays.
    virtual BOOL DestroyWindow();

    // Messages. SendMessage dispatches at once through the message map;
    // PostMessage queues in the process-wide ring of 256 (any thread) and the
    // UI thread delivers it when it next pumps.
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    // What happens to a message that no map entry takes, and what the
    // handlers' Default() runs: the class's built-in behaviour.
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    // Runs DefWindowProc with the message now being handled.
    LRESULT Default();
    // Keyboard and mouse messages pass here first (the target window, then
    // its parents); TRUE means consumed.
    virtual BOOL PreTranslateMessage(MSG* msg);

    // Relations.
    CWnd* GetParent() const { return m_parent; }
    CWnd* GetDlgItem(int id) const;
    int GetDlgCtrlID() const { return m_id; }
    void SetDlgCtrlID(int id) { m_id = id; }
    int GetDlgItemText(int id, CString& text) const;
    void SetDlgItemText(int id, LPCTSTR text);
    const std::vector<CWnd*>& GetChildren() const { return m_children; }

    // Text.
    virtual void SetWindowText(LPCTSTR text);
    virtual void GetWindowText(CString& text) const;
    int GetWindowText(LPTSTR buffer, int maxCount) const;
    int GetWindowTextLength() const;

    // Font (WM_SETFONT); not owned.
    void SetFont(CFont* font, BOOL redraw = TRUE);
    CFont* GetFont() const { return m_font; }

    // Focus: the toolkit's focus window receives the keys that reach its root.
    CWnd* SetFocus();
    static CWnd* GetFocus();

    // Visibility and geometry. Rectangles are in the parent's client
    // coordinates (the screen's for top-level windows).
    BOOL ShowWindow(int command);
    BOOL IsWindowVisible() const;  // this window and all its parents shown
    BOOL EnableWindow(BOOL enable = TRUE);
    BOOL IsWindowEnabled() const { return m_enabled; }
    BOOL SetWindowPos(const CWnd* insertAfter, int x, int y, int cx, int cy, UINT flags);
    void MoveWindow(int x, int y, int width, int height, BOOL repaint = TRUE);
    void MoveWindow(LPCRECT rect, BOOL repaint = TRUE);
    void GetClientRect(LPRECT rect) const;
    void GetWindowRect(LPRECT rect) const;  // screen coordinates
    void ClientToScreen(LPPOINT point) const;
    void ScreenToClient(LPPOINT point) const;
    DWORD GetStyle() const { return m_style; }

    // Painting: invalid areas are painted (WM_ERASEBKGND when asked, then
    // WM_PAINT to the window and its children) once per pump.
    void Invalidate(BOOL erase = TRUE);
    void InvalidateRect(LPCRECT rect, BOOL erase = TRUE);
    void UpdateWindow();  // paints now what is invalid
    // The area being painted, in client coordinates (empty outside WM_PAINT).
    CRect GetUpdateRect() const { return m_updateRect; }

    // Mouse capture: one window per process receives all mouse messages.
    CWnd* SetCapture();
    static CWnd* GetCapture();

    // Timers: WM_TIMER (wParam = id) is sent when the UI thread pumps after
    // the period has passed; any thread may set or kill.
    UINT_PTR SetTimer(UINT_PTR id, UINT elapseMs, TIMERPROC proc = nullptr);
    BOOL KillTimer(UINT_PTR id);

    virtual void DoDataExchange(CDataExchange* dx) {}

    // True for windows that take typed text (edit fields): focusing or
    // clicking one gives its root's native window the keyboard focus, which
    // goes back when it loses the focus, hides or is destroyed. By default
    // true for classes derived from the one registered as "CEdit".
    virtual bool WantsKeyboard() const;

    // The root's native window and the connection it lives on (null for a
    // window not yet created, or one whose root has no native window).
    UIConnection* GetConnection() const;
    NativeWindow GetNativeWindow() const;

    // Device pixels per logical pixel of the window's connection: every
    // root on it (the editor, its menus and dialogs) draws at that scale
    // while all coordinates stay logical. 1 without a connection. Setting it
    // resizes the native windows and repaints them.
    double GetDeviceScale() const;
    void SetDeviceScale(double scale);

    // Message handlers; each runs Default() unless a class says more.
    int OnCreate(LPCREATESTRUCT cs);
    void OnDestroy();
    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc);
    void OnSize(UINT type, int cx, int cy);
    void OnTimer(UINT_PTR id);
    void OnMouseMove(UINT flags, CPoint point);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnLButtonDblClk(UINT flags, CPoint point);
    void OnRButtonDown(UINT flags, CPoint point);
    void OnRButtonUp(UINT flags, CPoint point);
    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnKeyUp(UINT key, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);
    void OnKillFocus(CWnd* newFocus);
    void OnSetFocus(CWnd* oldFocus);

    DECLARE_MESSAGE_MAP()

protected:
    // Window-class data from AfxRegisterWndClass (class style, background brush).
    UINT m_classStyle = 0;
    HBRUSH m_background = nullptr;

private:
    friend class UIConnection;
    friend class WindowTree;
    CWnd* m_parent = nullptr;
    std::vector<CWnd*> m_children;
    int m_id = 0;
    DWORD m_style = 0;
    CRect m_rect;  // in the parent's client coordinates
    CString m_text;
    CFont* m_font = nullptr;
    BOOL m_enabled = TRUE;
    BOOL m_visible = FALSE;
    CRect m_updateRect;
    struct RootData* m_root = nullptr;  // non-null for roots
    std::vector<CWnd*> m_owned;         // popups and dialogs this window owns
    bool m_destroying = false;
};

// Sends to a window that may be null (null answers 0).
LRESULT SendMessage0(CWnd* window, UINT message, WPARAM wParam, LPARAM lParam);

// Class registration: returns a class name standing for the class style,
// cursor and background brush; windows created with it take those.
LPCTSTR AfxRegisterWndClass(UINT classStyle, HCURSOR cursor = nullptr, HBRUSH background = nullptr,
                            HICON icon = nullptr);
// A window class under a name of its own (the fields of Win32's WNDCLASS
// that the toolkit uses). Registering a name again keeps the first
// registration and succeeds, as MFC's AfxRegisterClass does.
struct WNDCLASS {
    UINT style = 0;
    HICON hIcon = nullptr;
    HCURSOR hCursor = nullptr;
    HBRUSH hbrBackground = nullptr;
    LPCTSTR lpszClassName = nullptr;
};
BOOL AfxRegisterClass(const WNDCLASS* wndClass);
HCURSOR LoadCursor(HINSTANCE instance, LPCTSTR cursorName);
HGDIOBJ GetStockObject(int index);
BOOL ReleaseCapture();

// The factor the desktop asks for (see UIConnection::DesktopScale), read
// from the display now; 0 when it says nothing or there is no display.
double AfxDesktopScale();

// Pumps every open connection once: native events, posted messages, due
// timers, then paints what is invalid. The editor calls it from effEditIdle.
void AfxPumpMessages();

// Called on each turn of a modal loop (menus, dialogs, message boxes) before
// it waits; tests drive modal loops from it. Null removes it.
void AfxSetModalIdleHook(std::function<void()> hook);
