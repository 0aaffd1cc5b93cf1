#include "toolkit/UIConnection.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "toolkit/CWnd.h"
#include "toolkit/DesktopScale.h"
#include "toolkit/DeviceScale.h"
#include "toolkit/MessageQueue.h"
#include "toolkit/WindowTree.h"

void AfxCallModalIdleHook();

namespace {

// Guards the list against WakeAll from other threads; everything else about
// connections happens on the UI thread.
std::mutex registryMutex;
std::vector<std::shared_ptr<UIConnection>> openConnections;
UIConnection* currentConnection = nullptr;

constexpr uint32_t kDoubleClickMs = 500;
constexpr int kDoubleClickDistance = 4;
constexpr int kEventsPerTurn = 512;

std::shared_ptr<UIConnection> Keep(UIConnection* connection) {
    std::lock_guard<std::mutex> lock(registryMutex);
    for (const auto& open : openConnections)
        if (open.get() == connection) return open;
    return nullptr;
}

// Keyboard and mouse messages pass PreTranslateMessage of the target and its
// parents first; true when one of them consumed the message.
bool PreTranslate(HWND target, MSG& msg) {
    std::vector<HWND> chain;
    for (CWnd* w = CWnd::FromHandle(target); w; w = w->GetParent()) chain.push_back(w->m_hWnd);
    for (HWND handle : chain) {
        CWnd* w = CWnd::FromHandle(handle);
        if (w && w->PreTranslateMessage(&msg)) return true;
    }
    return false;
}

void Deliver(HWND target, UINT message, WPARAM wParam, LPARAM lParam, const NativeEvent& event) {
    MSG msg;
    msg.hwnd = target;
    msg.message = message;
    msg.wParam = wParam;
    msg.lParam = lParam;
    msg.time = event.timeMs;
    msg.pt = CPoint(event.rootX, event.rootY);
    if (PreTranslate(target, msg)) return;
    if (CWnd* w = CWnd::FromHandle(target)) w->SendMessage(msg.message, msg.wParam, msg.lParam);
}

}  // namespace

UIConnection::UIConnection(std::unique_ptr<NativeDisplay> display) : m_display(std::move(display)) {}

UIConnection::~UIConnection() { Close(); }

std::shared_ptr<UIConnection> UIConnection::Open() {
    std::unique_ptr<NativeDisplay> display = AfxOpenNativeDisplay();
    if (!display || !display->IsOpen()) return nullptr;
    auto connection = std::make_shared<UIConnection>(std::move(display));
    std::lock_guard<std::mutex> lock(registryMutex);
    openConnections.push_back(connection);
    currentConnection = connection.get();
    return connection;
}

UIConnection* UIConnection::Current() { return currentConnection; }

std::vector<std::shared_ptr<UIConnection>> UIConnection::All() {
    std::lock_guard<std::mutex> lock(registryMutex);
    return openConnections;
}

void UIConnection::WakeAll() {
    std::lock_guard<std::mutex> lock(registryMutex);
    for (const auto& connection : openConnections)
        if (connection->m_display) connection->m_display->Wake();
}

void UIConnection::MarkUsed() { currentConnection = this; }

void UIConnection::Close() {
    // Roots still here (dialogs, popups) go first, while the display works.
    for (int guard = 0; guard < 10000; ++guard) {
        CWnd* victim = nullptr;
        for (CWnd* root : m_roots) {
            if (WindowTree::Root(root)->kind != RootKind::Foreign) {
                victim = root;
                break;
            }
        }
        if (!victim) break;
        if (!victim->DestroyWindow()) {
            // Already on its way out further up the stack: it finishes
            // without this connection.
            RootData* data = WindowTree::Root(victim);
            RemoveRoot(victim);
            if (data) {
                data->nativeDead = true;
                data->connection = nullptr;
            }
        }
    }
    // Frames still wrapping a host window on this connection stay frames,
    // but without a native side.
    for (CWnd* root : m_roots) {
        RootData* data = WindowTree::Root(root);
        data->nativeDead = true;
        data->connection = nullptr;
    }
    m_roots.clear();
    std::unique_ptr<NativeDisplay> display;
    {
        std::lock_guard<std::mutex> lock(registryMutex);
        openConnections.erase(std::remove_if(openConnections.begin(), openConnections.end(),
                                             [this](const std::shared_ptr<UIConnection>& c) {
                                                 return c.get() == this;
                                             }),
                              openConnections.end());
        if (currentConnection == this)
            currentConnection = openConnections.empty() ? nullptr : openConnections.back().get();
        display = std::move(m_display);
    }
    if (display && display->IsOpen()) display->Flush();
    display.reset();
}

bool UIConnection::IsOpen() const { return m_display && m_display->IsOpen(); }

CSize UIConnection::ScreenSize() const {
    if (!IsOpen()) return CSize(0, 0);
    const CSize screen = m_display->ScreenSize();
    return CSize(static_cast<int>(screen.cx / m_scale), static_cast<int>(screen.cy / m_scale));
}

void UIConnection::SetScale(double scale) {
    if (!(scale >= 0.5 && scale <= 4.0) || scale == m_scale) return;
    m_scale = scale;
    std::vector<HWND> roots;
    for (CWnd* root : m_roots) roots.push_back(root->m_hWnd);
    for (HWND handle : roots) {
        CWnd* root = CWnd::FromHandle(handle);
        RootData* data = WindowTree::Root(root);
        if (!data || data->kind == RootKind::Foreign) continue;
        if (NativeWindow native = WindowTree::LiveNative(root))
            m_display->SetWindowRect(native, device::ToDevice(root->m_rect, m_scale));
        WindowTree::ResizeBuffer(root);
        WindowTree::InvalidateRoot(root, CRect(0, 0, root->m_rect.Width(), root->m_rect.Height()), true);
    }
}

double UIConnection::DesktopScale() const {
    return IsOpen() ? DesktopScaleOf(m_display->ResourceDatabase().c_str(), std::getenv("GDK_SCALE"))
                    : 0.0;
}

void UIConnection::AddRoot(CWnd* root) { m_roots.push_back(root); }

void UIConnection::RemoveRoot(CWnd* root) {
    RootData* data = WindowTree::Root(root);
    if (data && data->keyboardTaken) {
        data->keyboardTaken = false;
        RestoreKeyboardFocus();
    }
    m_roots.erase(std::remove(m_roots.begin(), m_roots.end(), root), m_roots.end());
}

CWnd* UIConnection::RootFromNative(NativeWindow window) const {
    if (!window) return nullptr;
    for (CWnd* root : m_roots) {
        RootData* data = WindowTree::Root(root);
        if (data->native == window && !data->nativeDead) return root;
    }
    return nullptr;
}

CWnd* UIConnection::ModalRoot() const {
    return m_modalRoots.empty() ? nullptr : CWnd::FromHandle(m_modalRoots.back());
}

CWnd* UIConnection::InputRoot() const { return CWnd::FromHandle(m_inputRoot); }

bool UIConnection::AcceptsInput(CWnd* root) const {
    if (m_modalRoots.empty()) return true;
    CWnd* modal = ModalRoot();
    return !modal || WindowTree::IsOwnedBy(root, modal);
}

void UIConnection::PresentRoot(CWnd* root) {
    RootData* data = WindowTree::Root(root);
    if (!data || data->damage.IsEmpty()) return;
    const DamageRegion damage = data->damage;
    data->damage.Clear();
    if (!IsOpen() || !data->buffer || !data->native || data->nativeDead || !root->m_visible) return;
    for (const CRect& area : damage) m_display->Present(data->native, data->buffer, area);
    m_display->Flush();
}

void UIConnection::PaintAndPresent() {
    std::vector<HWND> roots;
    for (CWnd* root : m_roots) roots.push_back(root->m_hWnd);
    for (HWND handle : roots) {
        CWnd* root = CWnd::FromHandle(handle);
        if (!root || !WindowTree::Root(root)) continue;
        WindowTree::PaintRoot(root);
        root = CWnd::FromHandle(handle);
        if (root) PresentRoot(root);
    }
}

void UIConnection::DispatchEvent(const NativeEvent& deviceEvent) {
    MarkUsed();
    // Pointer positions become logical; exposed areas stay device pixels.
    NativeEvent event = deviceEvent;
    event.x = device::ToLogical(event.x, m_scale);
    event.y = device::ToLogical(event.y, m_scale);
    event.rootX = device::ToLogical(event.rootX, m_scale);
    event.rootY = device::ToLogical(event.rootY, m_scale);
    CWnd* root = RootFromNative(event.window);
    if (!root) return;
    RootData* data = WindowTree::Root(root);
    switch (event.type) {
    case NativeEventType::Destroyed:
        WindowTree::MarkNativeDead(root);
        break;
    case NativeEventType::Expose:
        // The back buffer still holds the pixels: present them again.
        data->damage.Add(event.area.IsRectEmpty()
                             ? device::ToDevice(CRect(0, 0, root->m_rect.Width(), root->m_rect.Height()), m_scale)
                             : event.area);
        break;
    case NativeEventType::CloseRequest:
        if (AcceptsInput(root)) root->SendMessage(WM_CLOSE);
        break;
    case NativeEventType::ButtonPress:
    case NativeEventType::ButtonRelease:
    case NativeEventType::Motion:
        DispatchMouse(root, event);
        break;
    case NativeEventType::KeyPress:
    case NativeEventType::KeyRelease:
        DispatchKey(root, event);
        break;
    default:
        break;
    }
}

void UIConnection::DispatchMouse(CWnd* root, const NativeEvent& event) {
    if (!AcceptsInput(root) || WindowTree::Root(root)->kind == RootKind::Foreign) return;
    m_inputRoot = root->m_hWnd;
    const bool press = event.type == NativeEventType::ButtonPress;
    UINT message;
    WPARAM wParam = 0;
    if (event.type == NativeEventType::Motion) {
        message = WM_MOUSEMOVE;
    } else if (event.button == 1) {
        message = press ? WM_LBUTTONDOWN : WM_LBUTTONUP;
    } else if (event.button == 3) {
        message = press ? WM_RBUTTONDOWN : WM_RBUTTONUP;
    } else if ((event.button == 4 || event.button == 5) && press) {
        message = WM_MOUSEWHEEL;
        wParam = MAKEWPARAM(0, event.button == 4 ? 120 : -120);
    } else {
        return;
    }

    CWnd* target;
    CPoint point(event.x, event.y);
    if (CWnd* capture = CWnd::GetCapture()) {
        target = capture;
        if (WindowTree::RootOf(capture) == root) {
            const CPoint offset = WindowTree::OffsetInRoot(capture);
            point = CPoint(event.x - offset.x, event.y - offset.y);
        } else {
            point = CPoint(event.rootX, event.rootY);
            capture->ScreenToClient(&point);
        }
    } else {
        if (!root->IsWindowEnabled()) return;
        target = WindowTree::HitTest(root, point);
    }
    const HWND handle = target->m_hWnd;

    if (press && (event.button == 1 || event.button == 3)) {
        if (target->WantsKeyboard()) {
            RootData* data = WindowTree::Root(WindowTree::RootOf(target));
            if (data && !data->keyboardTaken) TakeKeyboardFocus(WindowTree::RootOf(target));
        }
        const bool again = m_lastClickWindow == handle && m_lastClickButton == event.button &&
                           event.timeMs - m_lastClickTime <= kDoubleClickMs &&
                           std::abs(point.x - m_lastClickPoint.x) <= kDoubleClickDistance &&
                           std::abs(point.y - m_lastClickPoint.y) <= kDoubleClickDistance;
        if (again && (target->m_classStyle & CS_DBLCLKS)) {
            message = event.button == 1 ? WM_LBUTTONDBLCLK : WM_RBUTTONDBLCLK;
            m_lastClickWindow = nullptr;
        } else {
            m_lastClickWindow = handle;
            m_lastClickButton = event.button;
            m_lastClickTime = event.timeMs;
            m_lastClickPoint = point;
        }
    }
    Deliver(handle, message, wParam, MAKELPARAM(point.x, point.y), event);
}

void UIConnection::DispatchKey(CWnd* root, const NativeEvent& event) {
    if (!AcceptsInput(root)) return;
    // Modifier keys deliver nothing; keys that only type a character have
    // no WM_KEYUP.
    if (event.keyCode == 0 && (event.character == 0 || event.type == NativeEventType::KeyRelease))
        return;
    if (WindowTree::Root(root)->kind == RootKind::Foreign) return;
    m_inputRoot = root->m_hWnd;
    CWnd* focus = CWnd::GetFocus();
    CWnd* target = focus && WindowTree::RootOf(focus) == root ? focus : root;
    const HWND handle = target->m_hWnd;
    if (event.type == NativeEventType::KeyRelease) {
        Deliver(handle, WM_KEYUP, event.keyCode, MAKELPARAM(1, 0xC000), event);
        return;
    }
    MSG msg;
    msg.hwnd = handle;
    msg.message = WM_KEYDOWN;
    msg.wParam = event.keyCode;
    msg.lParam = 1;
    msg.time = event.timeMs;
    msg.pt = CPoint(event.rootX, event.rootY);
    msg.character = event.character;
    if (PreTranslate(handle, msg)) return;
    if (CWnd* w = CWnd::FromHandle(handle)) w->SendMessage(msg.message, msg.wParam, msg.lParam);
    if (!event.character) return;
    // WM_CHAR carries the typed character one UTF-8 byte at a time.
    unsigned char bytes[4];
    int count;
    const uint32_t c = event.character;
    if (c < 0x80) {
        bytes[0] = static_cast<unsigned char>(c);
        count = 1;
    } else if (c < 0x800) {
        bytes[0] = static_cast<unsigned char>(0xC0 | (c >> 6));
        bytes[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        count = 2;
    } else if (c < 0x10000) {
        bytes[0] = static_cast<unsigned char>(0xE0 | (c >> 12));
        bytes[1] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
        bytes[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        count = 3;
    } else if (c < 0x110000) {
        bytes[0] = static_cast<unsigned char>(0xF0 | (c >> 18));
        bytes[1] = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
        bytes[2] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
        bytes[3] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        count = 4;
    } else {
        return;
    }
    for (int i = 0; i < count; ++i) {
        if (!CWnd::FromHandle(handle)) return;
        Deliver(handle, WM_CHAR, bytes[i], 1, event);
    }
}

int UIConnection::DrainNativeEvents(int timeoutMs) {
    int handled = 0;
    NativeEvent event;
    while (handled < kEventsPerTurn && IsOpen()) {
        if (!m_display->NextEvent(event, handled == 0 ? timeoutMs : 0)) break;
        ++handled;
        DispatchEvent(event);
    }
    return handled;
}

void UIConnection::DispatchQueuedEvents() {
    std::shared_ptr<UIConnection> keep = Keep(this);
    DrainNativeEvents(0);
}

void UIConnection::PumpOnce() {
    std::shared_ptr<UIConnection> keep = Keep(this);
    DrainNativeEvents(0);
    MessageQueue::DeliverPosted();
    MessageQueue::FireDueTimers();
    PaintAndPresent();
}

bool UIConnection::RunModalLoop(std::function<bool()> keepGoing, CWnd* modalRoot) {
    std::shared_ptr<UIConnection> keep = Keep(this);
    const HWND modal = modalRoot ? modalRoot->m_hWnd : nullptr;
    if (modalRoot && !modal) return false;
    m_modalRoots.push_back(modal);
    bool ended = true;
    for (;;) {
        if (keepGoing && !keepGoing()) break;
        if (!IsOpen() || !Keep(this)) {
            ended = false;
            break;
        }
        if (modal) {
            CWnd* w = CWnd::FromHandle(modal);
            RootData* data = WindowTree::Root(w);
            if (!w || !data || data->nativeDead) {
                ended = false;
                break;
            }
        }
        MarkUsed();
        AfxCallModalIdleHook();
        int wait = 20;
        const int timer = MessageQueue::MillisecondsToNextTimer();
        if (timer >= 0 && timer < wait) wait = timer;
        if (MessageQueue::PendingPosts() > 0) wait = 0;
        if (keepGoing && !keepGoing()) break;
        DrainNativeEvents(wait);
        MessageQueue::DeliverPosted();
        MessageQueue::FireDueTimers();
        PaintAndPresent();
    }
    auto it = std::find(m_modalRoots.rbegin(), m_modalRoots.rend(), modal);
    if (it != m_modalRoots.rend()) m_modalRoots.erase(std::next(it).base());
    return ended;
}

BOOL UIConnection::CreatePopupRoot(CWnd& window, LPCTSTR className, const CRect& screenRect,
                                   CWnd* owner, UINT id) {
    return window.CreateEx(0, className, "", WS_POPUP, screenRect, owner, id);
}

BOOL UIConnection::CreateTopLevelRoot(CWnd& window, LPCTSTR className, LPCTSTR title,
                                      const CRect& screenRect, CWnd* owner) {
    return window.CreateEx(0, className, title, WS_POPUP | WS_CAPTION | WS_SYSMENU, screenRect,
                           owner, 0);
}

bool UIConnection::GrabInput(CWnd* root) {
    NativeWindow native = WindowTree::LiveNative(root);
    if (!native) return false;
    const bool pointer = m_display->GrabPointer(native);
    const bool keyboard = m_display->GrabKeyboard(native);
    return pointer && keyboard;
}

void UIConnection::UngrabInput() {
    if (!IsOpen()) return;
    m_display->UngrabPointer();
    m_display->UngrabKeyboard();
    m_display->Flush();
}

void UIConnection::TakeKeyboardFocus(CWnd* root) {
    RootData* data = WindowTree::Root(WindowTree::RootOf(root));
    NativeWindow native = WindowTree::LiveNative(root);
    if (!data || !native) return;
    m_display->TakeKeyboardFocus(native);
    data->keyboardTaken = true;
}

void UIConnection::RestoreKeyboardFocus() {
    if (IsOpen()) m_display->RestoreKeyboardFocus();
}
