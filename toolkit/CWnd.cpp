// CWnd's life: handles, creation (lightweight, native child, popup and
// top-level roots), destruction, relations and text.
#include "toolkit/CWnd.h"

#include <cairo.h>

#include <cstring>
#include <unordered_map>

#include "toolkit/DeviceScale.h"
#include "toolkit/MessageQueue.h"
#include "toolkit/UIConnection.h"
#include "toolkit/WindowClasses.h"
#include "toolkit/WindowTree.h"

IMPLEMENT_DYNCREATE(CWnd, CCmdTarget)

namespace {

std::unordered_map<HWND, CWnd*>& Handles() {
    static std::unordered_map<HWND, CWnd*> handles;
    return handles;
}

uintptr_t nextHandle = 0x1000;

void RemoveFrom(std::vector<CWnd*>& list, CWnd* window) {
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (*it == window) {
            list.erase(it);
            return;
        }
    }
}

std::vector<HWND> HandlesOf(const std::vector<CWnd*>& windows) {
    std::vector<HWND> handles;
    handles.reserve(windows.size());
    for (CWnd* w : windows) handles.push_back(w->m_hWnd);
    return handles;
}

}  // namespace

HWND WindowTree::Register(CWnd* window) {
    HWND hwnd = reinterpret_cast<HWND>(nextHandle);
    nextHandle += 0x10;
    Handles()[hwnd] = window;
    return hwnd;
}

void WindowTree::Unregister(HWND hwnd) { Handles().erase(hwnd); }

CWnd* WindowTree::Lookup(HWND hwnd) {
    if (!hwnd) return nullptr;
    auto it = Handles().find(hwnd);
    return it == Handles().end() ? nullptr : it->second;
}

size_t WindowTree::LiveWindowCount() { return Handles().size(); }

CWnd* CWnd::FromHandle(HWND hwnd) { return WindowTree::Lookup(hwnd); }

CWnd::CWnd() = default;

void AfxForgetDispatches(const CWnd* window);

CWnd::~CWnd() {
    // A window deleted in the middle of its own destruction (by a handler)
    // still leaves the tree completely.
    if (m_hWnd && m_destroying)
        WindowTree::FinishDestroy(this);
    else if (m_hWnd)
        DestroyWindow();
    AfxForgetDispatches(this);
}

BOOL CWnd::Create(LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect,
                  CWnd* parent, UINT id, CCreateContext* /*context*/) {
    return CreateEx(0, className, windowName, style, rect, parent, id, nullptr);
}

BOOL CWnd::CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR windowName, DWORD style,
                    const RECT& rect, CWnd* parent, UINT id, LPVOID param) {
    if (m_hWnd) return FALSE;
    if (parent && !parent->m_hWnd) return FALSE;

    const WindowClass cls = WindowClasses::Find(className);
    m_classStyle = cls.style;
    m_background = cls.background;
    m_style = style & ~WS_VISIBLE;
    m_rect = CRect(rect);
    if (m_rect.Width() < 0) m_rect.right = m_rect.left;
    if (m_rect.Height() < 0) m_rect.bottom = m_rect.top;
    m_id = static_cast<int>(id);
    m_text = windowName ? windowName : "";
    m_enabled = (style & WS_DISABLED) ? FALSE : TRUE;
    m_visible = FALSE;
    m_parent = parent;

    const bool popup = (style & WS_POPUP) != 0;
    RootData* parentRoot = parent ? parent->m_root : nullptr;
    const bool inForeign = !popup && parentRoot && parentRoot->kind == RootKind::Foreign;

    if (parent && !popup && !inForeign) {
        // A lightweight child: drawn into its root's buffer.
        m_hWnd = WindowTree::Register(this);
        parent->m_children.push_back(this);
    } else {
        auto* root = new RootData;
        m_root = root;
        m_hWnd = WindowTree::Register(this);
        UIConnection* connection = nullptr;
        if (inForeign) {
            connection = parentRoot->connection;
            parent->m_children.push_back(this);
        } else {
            connection = parent ? parent->GetConnection() : nullptr;
            if (!connection && popup) connection = UIConnection::Current();
            if (parent) parent->m_owned.push_back(this);
        }
        NativeDisplay* display = connection && connection->IsOpen() ? connection->Display() : nullptr;
        const CRect deviceRect = device::ToDevice(m_rect, connection ? connection->Scale() : 1.0);
        if (display && inForeign && !parentRoot->nativeDead && parentRoot->native) {
            root->kind = RootKind::NativeChild;
            root->native = display->CreateChildWindow(parentRoot->native, deviceRect);
        } else if (display && popup && (style & WS_CAPTION)) {
            root->kind = RootKind::TopLevel;
            NativeWindow transientFor = parent ? WindowTree::LiveNative(parent) : 0;
            root->native = display->CreateTopLevelWindow(deviceRect, m_text, transientFor, parent != nullptr);
        } else if (display && popup) {
            root->kind = RootKind::Popup;
            root->native = display->CreatePopupWindow(deviceRect);
        }
        if (root->native) {
            root->connection = connection;
            connection->AddRoot(this);
        } else {
            root->kind = RootKind::Windowless;
            WindowTree::AddWindowless(this);
        }
        WindowTree::ResizeBuffer(this);
    }

    CREATESTRUCT cs;
    cs.lpCreateParams = param;
    cs.hwndParent = parent ? parent->m_hWnd : nullptr;
    cs.cx = m_rect.Width();
    cs.cy = m_rect.Height();
    cs.x = m_rect.left;
    cs.y = m_rect.top;
    cs.style = static_cast<long>(style);
    cs.lpszName = m_text;
    cs.lpszClass = className;
    cs.dwExStyle = exStyle;
    HWND self = m_hWnd;
    if (SendMessage(WM_CREATE, 0, reinterpret_cast<LPARAM>(&cs)) == -1) {
        if (FromHandle(self) == this) DestroyWindow();
        return FALSE;
    }
    if (FromHandle(self) != this) return FALSE;
    SendMessage(WM_SIZE, SIZE_RESTORED, MAKELPARAM(m_rect.Width(), m_rect.Height()));
    if (FromHandle(self) != this) return FALSE;
    if (style & WS_VISIBLE) ShowWindow(SW_SHOW);
    return FromHandle(self) == this ? TRUE : FALSE;
}

namespace {

// WM_DESTROY goes to a window before its children.
void SendDestroy(HWND hwnd) {
    CWnd* window = CWnd::FromHandle(hwnd);
    if (!window) return;
    window->SendMessage(WM_DESTROY);
    window = CWnd::FromHandle(hwnd);
    if (!window) return;
    for (HWND child : HandlesOf(window->GetChildren())) SendDestroy(child);
}

}  // namespace

void WindowTree::MarkDestroying(CWnd* window) {
    window->m_destroying = true;
    for (CWnd* child : window->m_children) MarkDestroying(child);
}

// WM_NCDESTROY goes to children before their parent; then the window lets
// go of its native window, buffer, timers and relations.
void WindowTree::FinishDestroy(CWnd* window) {
    const HWND self = window->m_hWnd;
    if (!self) return;
    for (HWND owned : HandlesOf(window->m_owned)) {
        if (CWnd* w = Lookup(owned)) w->DestroyWindow();
    }
    for (HWND child : HandlesOf(window->m_children)) {
        if (CWnd* w = Lookup(child)) FinishDestroy(w);
    }
    if (Lookup(self) != window) return;
    window->SendMessage(WM_NCDESTROY);
    if (Lookup(self) != window) return;

    MessageQueue::KillTimers(self);
    if (RootData* root = window->m_root) {
        if (root->kind == RootKind::Foreign) {
            ReleaseForeignRoot(window);
        } else {
            if (root->connection) {
                NativeDisplay* display =
                    root->connection->IsOpen() ? root->connection->Display() : nullptr;
                if (display && root->native && !root->nativeDead) display->DestroyWindow(root->native);
                root->connection->RemoveRoot(window);
            } else {
                RemoveWindowless(window);
            }
            if (root->buffer) cairo_surface_destroy(root->buffer);
        }
        delete root;
        window->m_root = nullptr;
    }
    if (CWnd* parent = window->m_parent) {
        RemoveFrom(parent->m_children, window);
        RemoveFrom(parent->m_owned, window);
    }
    for (CWnd* child : window->m_children) child->m_parent = nullptr;
    for (CWnd* owned : window->m_owned) owned->m_parent = nullptr;
    window->m_children.clear();
    window->m_owned.clear();
    window->m_parent = nullptr;
    Unregister(self);
    window->m_hWnd = nullptr;
    window->m_visible = FALSE;
    window->m_destroying = false;
}

BOOL CWnd::DestroyWindow() {
    if (!m_hWnd || m_destroying) return FALSE;
    const HWND self = m_hWnd;
    // Windows this one owns (dialogs, menus) go first, as in Win32.
    for (HWND owned : HandlesOf(m_owned)) {
        if (CWnd* w = FromHandle(owned)) w->DestroyWindow();
    }
    if (FromHandle(self) != this) return TRUE;
    WindowTree::MarkDestroying(this);
    WindowTree::LeavingWindow(this, true);
    SendDestroy(self);
    if (FromHandle(self) == this) WindowTree::FinishDestroy(this);
    return TRUE;
}

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return WindowProc(message, wParam, lParam);
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (!m_hWnd) return FALSE;
    MessageQueue::Post(m_hWnd, message, wParam, lParam);
    return TRUE;
}

LRESULT SendMessage0(CWnd* window, UINT message, WPARAM wParam, LPARAM lParam) {
    return window ? window->SendMessage(message, wParam, lParam) : 0;
}

CWnd* CWnd::GetDlgItem(int id) const {
    for (CWnd* child : m_children)
        if (child->m_id == id) return child;
    return nullptr;
}

int CWnd::GetDlgItemText(int id, CString& text) const {
    CWnd* item = GetDlgItem(id);
    if (!item) {
        text = "";
        return 0;
    }
    item->GetWindowText(text);
    return text.GetLength();
}

void CWnd::SetDlgItemText(int id, LPCTSTR text) {
    if (CWnd* item = GetDlgItem(id)) item->SetWindowText(text);
}

void CWnd::SetWindowText(LPCTSTR text) {
    SendMessage(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text ? text : ""));
}

void CWnd::GetWindowText(CString& text) const { text = m_text; }

int CWnd::GetWindowText(LPTSTR buffer, int maxCount) const {
    if (!buffer || maxCount <= 0) return 0;
    CString text;
    GetWindowText(text);
    int n = text.GetLength();
    if (n > maxCount - 1) n = maxCount - 1;
    std::memcpy(buffer, static_cast<const char*>(text), static_cast<size_t>(n));
    buffer[n] = '\0';
    return n;
}

int CWnd::GetWindowTextLength() const {
    CString text;
    GetWindowText(text);
    return text.GetLength();
}

void CWnd::SetFont(CFont* font, BOOL redraw) {
    SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(font), redraw);
}

bool CWnd::WantsKeyboard() const {
    static CRuntimeClass* editClass = CRuntimeClass::FromName("CEdit");
    return editClass && IsKindOf(editClass);
}

UIConnection* CWnd::GetConnection() const {
    RootData* root = WindowTree::Root(WindowTree::RootOf(this));
    return root ? root->connection : nullptr;
}

NativeWindow CWnd::GetNativeWindow() const {
    RootData* root = WindowTree::Root(WindowTree::RootOf(this));
    return root && !root->nativeDead ? root->native : 0;
}

double CWnd::GetDeviceScale() const {
    UIConnection* connection = GetConnection();
    return connection ? connection->Scale() : 1.0;
}

void CWnd::SetDeviceScale(double scale) {
    if (UIConnection* connection = GetConnection()) connection->SetScale(scale);
}

double AfxDesktopScale() {
    if (UIConnection* connection = UIConnection::Current()) return connection->DesktopScale();
    UIConnection probe(AfxOpenNativeDisplay());
    return probe.DesktopScale();
}
