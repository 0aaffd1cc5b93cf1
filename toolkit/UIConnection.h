// One connection to the windowing system and the toolkit roots that live on
// it: their native windows and back buffers, the routing of native input to
// CWnds, painting and presenting, keyboard focus hand-over and modal loops.
//
// Connections are opened by CFrameWnd::SetNativeHandle (one per open editor).
// Popup and top-level roots (menus, combo lists, dialogs, message boxes) are
// made with CWnd::CreateEx and WS_POPUP (plus WS_CAPTION for a decorated
// dialog window); they live on their owner's connection, or on Current() when
// the owner has none. CreatePopupRoot and CreateTopLevelRoot say the same.
//
// Everything here runs on the UI thread except WakeAll.
#pragma once

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "toolkit/NativeDisplay.h"
#include "toolkit/WinDefs.h"

class CWnd;

class UIConnection {
public:
    explicit UIConnection(std::unique_ptr<NativeDisplay> display);
    ~UIConnection();
    UIConnection(const UIConnection&) = delete;
    UIConnection& operator=(const UIConnection&) = delete;

    // Opens a connection through AfxOpenNativeDisplay; null when no display.
    static std::shared_ptr<UIConnection> Open();
    // The connection handling input now, else the one used most recently;
    // null when none is open.
    static UIConnection* Current();
    // Every open connection, oldest first.
    static std::vector<std::shared_ptr<UIConnection>> All();
    // Wakes every connection's wait (any thread).
    static void WakeAll();

    // Destroys the roots still on this connection, then closes it. A pump or
    // modal loop running on it ends at its next turn.
    void Close();
    bool IsOpen() const;
    // The native layer; null once closed.
    NativeDisplay* Display() const { return m_display.get(); }
    // In logical pixels, as every coordinate the toolkit hands out.
    CSize ScreenSize() const;

    // Device pixels per logical pixel for every root on this connection
    // (1 by default). Changing it resizes their native windows and back
    // buffers and repaints them; their logical geometry stays.
    double Scale() const { return m_scale; }
    void SetScale(double scale);
    // What the desktop asks for: Xft.dpi of the display's resource database
    // (96 dpi is 1), else GDK_SCALE; 0 when neither says.
    double DesktopScale() const;

    // One turn: queued native events, posted messages, due timers, paint and
    // present.
    void PumpOnce();
    // Dispatches the native events queued now (AfxPumpMessages' first step).
    void DispatchQueuedEvents();

    // Runs the connection until keepGoing() answers false, the connection
    // breaks or closes, or modalRoot (when given) is destroyed. While it runs
    // mouse and key input reaches only modalRoot (and the windows inside it);
    // other roots still paint. Each turn: the modal idle hook, a wait of at
    // most 20 ms for native events, their dispatch, posts, timers, paint.
    // Returns false when it ended for another reason than keepGoing().
    bool RunModalLoop(std::function<bool()> keepGoing, CWnd* modalRoot);
    // The innermost modal root (null when no modal loop runs).
    CWnd* ModalRoot() const;
    // The root that the latest mouse or key input went to (null when none or
    // gone): a dialog without an owner opens over it.
    CWnd* InputRoot() const;
    // True on the thread that opened this connection (the UI thread).
    bool OnOwnThread() const { return std::this_thread::get_id() == m_thread; }

    // Popup (override-redirect: menus, lists) and decorated top-level
    // (dialog) roots at screenRect, owned by owner (may be null). className
    // comes from AfxRegisterWndClass (may be null). The window is created
    // hidden; ShowWindow(SW_SHOW) maps it.
    static BOOL CreatePopupRoot(CWnd& window, LPCTSTR className, const CRect& screenRect,
                                CWnd* owner, UINT id = 0);
    static BOOL CreateTopLevelRoot(CWnd& window, LPCTSTR className, LPCTSTR title,
                                   const CRect& screenRect, CWnd* owner);

    // Input grabs for a root's native window (menus, lists).
    bool GrabInput(CWnd* root);
    void UngrabInput();
    // Gives root's native window the keyboard focus, or hands it back.
    void TakeKeyboardFocus(CWnd* root);
    void RestoreKeyboardFocus();

    // Paints what is invalid in every root of this connection and presents
    // the damage.
    void PaintAndPresent();
    // Dispatches one native event (tests and backends may feed events here).
    void DispatchEvent(const NativeEvent& event);

    // The toolkit root whose native window this is (null if none).
    CWnd* RootFromNative(NativeWindow window) const;

    // Internal: root bookkeeping used by CWnd.
    void AddRoot(CWnd* root);
    void RemoveRoot(CWnd* root);
    void PresentRoot(CWnd* root);
    void MarkUsed();

private:
    void DispatchMouse(CWnd* root, const NativeEvent& event);
    void DispatchKey(CWnd* root, const NativeEvent& event);
    bool AcceptsInput(CWnd* root) const;
    int DrainNativeEvents(int timeoutMs);

    std::unique_ptr<NativeDisplay> m_display;
    double m_scale = 1.0;
    std::vector<CWnd*> m_roots;
    std::vector<HWND> m_modalRoots;
    bool m_keyboardTaken = false;
    HWND m_inputRoot = nullptr;
    std::thread::id m_thread = std::this_thread::get_id();
    // Double-click tracking.
    HWND m_lastClickWindow = nullptr;
    uint32_t m_lastClickTime = 0;
    CPoint m_lastClickPoint;
    int m_lastClickButton = 0;
};
