// Keyboard focus, mouse capture and timers of windows.
#include "toolkit/CWnd.h"
#include "toolkit/MessageQueue.h"
#include "toolkit/UIConnection.h"
#include "toolkit/WindowTree.h"

namespace {

// Handles, not pointers: a window may go away while it holds either.
HWND focusWindow = nullptr;
HWND captureWindow = nullptr;

// The native keyboard focus follows edit fields: their root takes it while
// one has the toolkit focus and gives it back when none has.
void FollowKeyboard(CWnd* oldFocus, CWnd* newFocus) {
    const bool oldWants = oldFocus && oldFocus->WantsKeyboard();
    const bool newWants = newFocus && newFocus->WantsKeyboard();
    CWnd* oldRoot = WindowTree::RootOf(oldFocus);
    CWnd* newRoot = WindowTree::RootOf(newFocus);
    if (oldWants && (!newWants || oldRoot != newRoot)) {
        RootData* root = WindowTree::Root(oldRoot);
        if (root && root->keyboardTaken && root->connection) {
            root->keyboardTaken = false;
            root->connection->RestoreKeyboardFocus();
        }
    }
    if (newWants) {
        RootData* root = WindowTree::Root(newRoot);
        if (root && !root->keyboardTaken && root->connection) root->connection->TakeKeyboardFocus(newRoot);
    }
}

}  // namespace

CWnd* CWnd::GetFocus() { return FromHandle(focusWindow); }

CWnd* CWnd::SetFocus() {
    CWnd* old = GetFocus();
    if (!m_hWnd || old == this) return old;
    const HWND oldHandle = old ? old->m_hWnd : nullptr;
    focusWindow = m_hWnd;
    const HWND self = m_hWnd;
    if (old) old->SendMessage(WM_KILLFOCUS, reinterpret_cast<WPARAM>(self), 0);
    if (FromHandle(self) != this) return FromHandle(oldHandle);
    FollowKeyboard(FromHandle(oldHandle), this);
    if (focusWindow == self) SendMessage(WM_SETFOCUS, reinterpret_cast<WPARAM>(oldHandle), 0);
    return FromHandle(oldHandle);
}

CWnd* CWnd::GetCapture() { return FromHandle(captureWindow); }

CWnd* CWnd::SetCapture() {
    CWnd* old = GetCapture();
    if (!m_hWnd) return old;
    captureWindow = m_hWnd;
    if (old && old != this) old->SendMessage(WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(m_hWnd));
    return old;
}

BOOL ReleaseCapture() {
    CWnd* old = CWnd::GetCapture();
    const bool wasSet = captureWindow != nullptr;
    captureWindow = nullptr;
    if (old) old->SendMessage(WM_CAPTURECHANGED, 0, 0);
    return wasSet ? TRUE : FALSE;
}

UINT_PTR CWnd::SetTimer(UINT_PTR id, UINT elapseMs, TIMERPROC proc) {
    return MessageQueue::SetTimer(m_hWnd, id, elapseMs, proc);
}

BOOL CWnd::KillTimer(UINT_PTR id) { return MessageQueue::KillTimer(m_hWnd, id) ? TRUE : FALSE; }

void WindowTree::LeavingWindow(CWnd* window, bool destroying) {
    CWnd* capture = CWnd::GetCapture();
    if (capture && IsSelfOrAncestor(window, capture)) ReleaseCapture();

    CWnd* focus = CWnd::GetFocus();
    if (!focus || !IsSelfOrAncestor(window, focus)) return;
    // The focus falls back to the root, unless the root itself goes.
    CWnd* root = RootOf(window);
    CWnd* next = (root && root != window && root->m_root->kind != RootKind::Foreign) ? root : nullptr;
    if (next) {
        next->SetFocus();
    } else {
        const HWND old = focus->m_hWnd;
        focusWindow = nullptr;
        focus->SendMessage(WM_KILLFOCUS, 0, 0);
        FollowKeyboard(CWnd::FromHandle(old), nullptr);
    }
    (void)destroying;
}
