#include "toolkit/TrackedPopup.h"

#include "toolkit/CDC.h"
#include "toolkit/UIConnection.h"

bool CTrackedPopup::CreatePopup(CWnd* owner, const CRect& screenRect) {
    LPCTSTR cls = AfxRegisterWndClass(0, LoadCursor(nullptr, IDC_ARROW),
                                      static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    return UIConnection::CreatePopupRoot(*this, cls, screenRect, owner) != FALSE;
}

bool CTrackedPopup::Track() {
    UIConnection* connection = GetConnection();
    if (!GetSafeHwnd() || !connection || !connection->IsOpen()) return false;
    // Held so that the ungrab below never touches a connection closed meanwhile.
    std::shared_ptr<UIConnection> keep;
    for (const auto& open : UIConnection::All())
        if (open.get() == connection) keep = open;
    if (!keep) return false;
    const HWND self = GetSafeHwnd();
    // A window that captured the mouse (a control being clicked) would take
    // the popup's mouse input: the capture ends here, as in Win32.
    if (CWnd::GetCapture()) ReleaseCapture();
    ShowWindow(SW_SHOW);
    UpdateWindow();
    connection->GrabInput(this);
    m_tracking = true;
    connection->RunModalLoop([this, self] { return m_tracking && CWnd::FromHandle(self) == this; },
                             this);
    m_tracking = false;
    // The connection may have closed while the loop ran.
    if (connection->IsOpen()) connection->UngrabInput();
    return true;
}

bool CTrackedPopup::IsInside(CPoint clientPoint) const {
    CRect client;
    GetClientRect(&client);
    return client.PtInRect(clientPoint);
}

BOOL CTrackedPopup::PreTranslateMessage(MSG* msg) {
    if (msg->hwnd != GetSafeHwnd()) return FALSE;
    if (msg->message == WM_KEYDOWN) {
        OnPopupKey(static_cast<UINT>(msg->wParam));
        return TRUE;
    }
    return msg->message == WM_KEYUP || msg->message == WM_CHAR;
}

LRESULT CTrackedPopup::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_PAINT: {
        CPaintDC dc(this);
        Draw(dc);
        return 0;
    }
    case WM_ERASEBKGND:
        return TRUE;
    default:
        break;
    }
    return CWnd::DefWindowProc(message, wParam, lParam);
}
