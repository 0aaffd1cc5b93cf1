#include "toolkit/CButton.h"

#include "toolkit/CDC.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"

IMPLEMENT_DYNCREATE(CButton, CWnd)

BEGIN_MESSAGE_MAP(CButton, CWnd)
END_MESSAGE_MAP()

BOOL CButton::Create(LPCTSTR caption, DWORD style, const RECT& rect, CWnd* parent, UINT id) {
    LPCTSTR cls = AfxRegisterWndClass(0, LoadCursor(nullptr, IDC_ARROW),
                                      static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    return CWnd::Create(cls, caption ? caption : "", style, rect, parent, id);
}

void CButton::Click() {
    if (CWnd* parent = GetParent()) {
        parent->SendMessage(WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(), BN_CLICKED),
                            reinterpret_cast<LPARAM>(GetSafeHwnd()));
    }
}

void CButton::Draw(CDC& dc) {
    CRect client;
    GetClientRect(&client);
    const bool focused = CWnd::GetFocus() == this;
    const bool isDefault = (GetStyle() & BS_DEFPUSHBUTTON) != 0;
    {
        ControlPainter paint(dc);
        paint.Fill(client, m_pressed ? theme::ButtonPressed : theme::ButtonFace);
        if (focused) paint.Frame(client, theme::Accent, 2);
        else paint.Frame(client, isDefault ? theme::Accent : theme::ButtonBorder, 1);
    }
    CFont* font = AfxControlFontOf(this);
    CFont* old = dc.SelectObject(font);
    CString caption;
    GetWindowText(caption);
    const CSize extent = dc.GetTextExtent(caption);
    dc.SetBkMode(TRANSPARENT);
    dc.SetTextColor(IsWindowEnabled() ? theme::Text : theme::TextDisabled);
    dc.ExtTextOut((client.Width() - extent.cx) / 2, CentreTextLine(font, 0, client.Height()).y,
                  ETO_CLIPPED, &client, caption);
    dc.SelectObject(old);
}

LRESULT CButton::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_PAINT: {
        CPaintDC dc(this);
        Draw(dc);
        return 0;
    }
    case WM_ERASEBKGND:
        return TRUE;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
        SetFocus();
        SetCapture();
        m_tracking = m_pressed = true;
        Invalidate(FALSE);
        return 0;
    case WM_MOUSEMOVE:
        if (m_tracking) {
            CRect client;
            GetClientRect(&client);
            const bool inside = client.PtInRect(CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)));
            if (inside != m_pressed) {
                m_pressed = inside;
                Invalidate(FALSE);
            }
        }
        return 0;
    case WM_LBUTTONUP:
        if (m_tracking) {
            const bool clicked = m_pressed;
            m_tracking = m_pressed = false;
            if (CWnd::GetCapture() == this) ReleaseCapture();
            Invalidate(FALSE);
            if (clicked) Click();
        }
        return 0;
    case WM_CAPTURECHANGED:
        if (m_tracking) {
            m_tracking = m_pressed = false;
            Invalidate(FALSE);
        }
        return 0;
    case WM_CHAR:
        if (wParam == ' ') Click();
        return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        Invalidate(FALSE);
        return 0;
    default:
        break;
    }
    return CWnd::DefWindowProc(message, wParam, lParam);
}
