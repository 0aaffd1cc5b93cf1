// CWnd visibility, placement, coordinates and invalidation.
#include "toolkit/CWnd.h"
#include "toolkit/DeviceScale.h"
#include "toolkit/UIConnection.h"
#include "toolkit/WindowTree.h"

namespace {

// The area a lightweight window covers in its root, for repainting it.
void InvalidateCovered(CWnd* window, bool erase) {
    CWnd* root = WindowTree::RootOf(window);
    if (!root || root == window) return;
    CWnd* parent = window->GetParent();
    RECT client;
    window->GetClientRect(&client);
    CRect area = rect::Offset(CRect(client), WindowTree::OffsetInRoot(window));
    if (parent) area = rect::Intersect(area, WindowTree::VisibleRectInRoot(parent));
    WindowTree::InvalidateRoot(root, area, erase);
}

}  // namespace

BOOL CWnd::ShowWindow(int command) {
    const BOOL wasVisible = m_visible;
    const bool show = command != SW_HIDE;
    if (!m_hWnd || (show ? 1 : 0) == (wasVisible ? 1 : 0)) return wasVisible;
    if (!show) WindowTree::LeavingWindow(this, false);
    if (!show) InvalidateCovered(this, true);
    m_visible = show ? TRUE : FALSE;
    if (show)
        m_style |= WS_VISIBLE;
    else
        m_style &= ~WS_VISIBLE;
    if (m_root) {
        if (NativeWindow native = WindowTree::LiveNative(this)) {
            if (NativeDisplay* display = m_root->connection->Display()) display->ShowWindow(native, show);
        }
        if (show) WindowTree::InvalidateRoot(this, CRect(0, 0, m_rect.Width(), m_rect.Height()), true);
    } else if (show) {
        InvalidateCovered(this, true);
    }
    return wasVisible;
}

BOOL CWnd::IsWindowVisible() const {
    if (!m_hWnd) return FALSE;
    for (const CWnd* w = this; w; w = w->m_parent) {
        if (w->m_root && w->m_root->kind == RootKind::Foreign) return TRUE;
        if (!w->m_visible) return FALSE;
        if (w->m_root) return TRUE;  // a root's owner does not hide it
    }
    return TRUE;
}

BOOL CWnd::EnableWindow(BOOL enable) {
    const BOOL wasDisabled = m_enabled ? FALSE : TRUE;
    const BOOL now = enable ? TRUE : FALSE;
    if (now == m_enabled) return wasDisabled;
    m_enabled = now;
    if (now)
        m_style &= ~WS_DISABLED;
    else
        m_style |= WS_DISABLED;
    if (m_hWnd) {
        if (!now) WindowTree::LeavingWindow(this, false);
        SendMessage(WM_ENABLE, now, 0);
        Invalidate();
    }
    return wasDisabled;
}

BOOL CWnd::SetWindowPos(const CWnd* insertAfter, int x, int y, int cx, int cy, UINT flags) {
    if (!m_hWnd) return FALSE;
    const bool redraw = !(flags & SWP_NOREDRAW);
    CRect newRect = m_rect;
    if (!(flags & SWP_NOMOVE)) newRect = CRect(x, y, x + newRect.Width(), y + newRect.Height());
    if (!(flags & SWP_NOSIZE)) {
        if (cx < 0) cx = 0;
        if (cy < 0) cy = 0;
        newRect.right = newRect.left + cx;
        newRect.bottom = newRect.top + cy;
    }
    const bool moved = newRect.left != m_rect.left || newRect.top != m_rect.top;
    const bool resized = newRect.Width() != m_rect.Width() || newRect.Height() != m_rect.Height();

    if (!m_root && redraw && (moved || resized)) InvalidateCovered(this, true);
    if (!(flags & SWP_NOZORDER) && m_parent && !m_root) {
        // Children are kept bottom to top; null means the top, a sibling
        // means just below it.
        std::vector<CWnd*>& siblings = m_parent->m_children;
        for (auto it = siblings.begin(); it != siblings.end(); ++it) {
            if (*it == this) {
                siblings.erase(it);
                break;
            }
        }
        auto where = siblings.end();
        if (insertAfter && insertAfter != this) {
            for (auto it = siblings.begin(); it != siblings.end(); ++it)
                if (*it == insertAfter) where = it;
        }
        siblings.insert(where, this);
    }
    m_rect = newRect;
    if (m_root && (moved || resized)) {
        if (NativeWindow native = WindowTree::LiveNative(this))
            m_root->connection->Display()->SetWindowRect(native, device::ToDevice(m_rect, WindowTree::Scale(this)));
        if (resized) WindowTree::ResizeBuffer(this);
    } else if (redraw && (moved || resized || !(flags & SWP_NOZORDER))) {
        InvalidateCovered(this, true);
    }
    const HWND self = m_hWnd;
    if (resized) SendMessage(WM_SIZE, SIZE_RESTORED, MAKELPARAM(m_rect.Width(), m_rect.Height()));
    if (FromHandle(self) != this) return TRUE;
    if (flags & SWP_SHOWWINDOW) ShowWindow(SW_SHOW);
    if (flags & SWP_HIDEWINDOW) ShowWindow(SW_HIDE);
    return TRUE;
}

void CWnd::MoveWindow(int x, int y, int width, int height, BOOL repaint) {
    SetWindowPos(nullptr, x, y, width, height, SWP_NOZORDER | (repaint ? 0 : SWP_NOREDRAW));
}

void CWnd::MoveWindow(LPCRECT rect, BOOL repaint) {
    if (rect) MoveWindow(rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top, repaint);
}

void CWnd::GetClientRect(LPRECT rect) const {
    if (rect) *rect = CRect(0, 0, m_rect.Width(), m_rect.Height());
}

void CWnd::GetWindowRect(LPRECT rect) const {
    if (!rect) return;
    CPoint origin(0, 0);
    ClientToScreen(&origin);
    *rect = CRect(origin.x, origin.y, origin.x + m_rect.Width(), origin.y + m_rect.Height());
}

void CWnd::ClientToScreen(LPPOINT point) const {
    if (!point) return;
    const CWnd* root = WindowTree::RootOf(this);
    if (!root) return;
    const CPoint offset = WindowTree::OffsetInRoot(this);
    CPoint inRoot(point->x + offset.x, point->y + offset.y);
    if (NativeWindow native = WindowTree::LiveNative(root)) {
        const double scale = WindowTree::Scale(root);
        *point = device::ToLogical(root->m_root->connection->Display()->WindowToScreen(
                                       native, device::ToDevice(inRoot, scale)),
                                   scale);
    } else {
        const bool screenPlaced = root->m_root && root->m_root->kind != RootKind::NativeChild &&
                                  root->m_root->kind != RootKind::Foreign;
        *point = screenPlaced ? CPoint(inRoot.x + root->m_rect.left, inRoot.y + root->m_rect.top)
                              : inRoot;
    }
}

void CWnd::ScreenToClient(LPPOINT point) const {
    if (!point) return;
    CPoint origin(0, 0);
    ClientToScreen(&origin);
    point->x -= origin.x;
    point->y -= origin.y;
}

void CWnd::Invalidate(BOOL erase) { InvalidateRect(nullptr, erase); }

void CWnd::InvalidateRect(LPCRECT rect, BOOL erase) {
    if (!m_hWnd) return;
    CWnd* root = WindowTree::RootOf(this);
    if (!root || !root->m_root || root->m_root->kind == RootKind::Foreign) return;
    CRect area(0, 0, m_rect.Width(), m_rect.Height());
    if (rect) area = rect::Intersect(area, CRect(*rect));
    area = rect::Offset(area, WindowTree::OffsetInRoot(this));
    area = rect::Intersect(area, WindowTree::VisibleRectInRoot(this));
    WindowTree::InvalidateRoot(root, area, erase != FALSE);
}

void CWnd::UpdateWindow() {
    CWnd* root = WindowTree::RootOf(this);
    if (!root || !root->m_root) return;
    WindowTree::PaintRoot(root);
    if (root->m_root && root->m_root->connection) root->m_root->connection->PresentRoot(root);
}
