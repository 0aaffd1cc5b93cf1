#include "toolkit/CSpinButtonCtrl.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "toolkit/CDC.h"
#include "toolkit/CEdit.h"
#include "toolkit/ControlPaint.h"

IMPLEMENT_DYNCREATE(CSpinButtonCtrl, CWnd)

BEGIN_MESSAGE_MAP(CSpinButtonCtrl, CWnd)
END_MESSAGE_MAP()

namespace {

// Holding an arrow repeats the step: first after a pause, then faster.
constexpr UINT_PTR kRepeatTimer = 0x5B1;
constexpr UINT kFirstRepeatMs = 400;
constexpr UINT kRepeatMs = 80;
// WM_VSCROLL's low word when the position has changed.
constexpr UINT SB_THUMBPOSITION = 4;

}  // namespace

BOOL CSpinButtonCtrl::Create(DWORD style, const RECT& rect, CWnd* parent, UINT id) {
    LPCTSTR cls = AfxRegisterWndClass(0, LoadCursor(nullptr, IDC_ARROW),
                                      static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    return CWnd::Create(cls, "", style, rect, parent, id);
}

CWnd* CSpinButtonCtrl::SetBuddy(CWnd* buddy) {
    CWnd* previous = m_buddy;
    if (CEdit* edit = dynamic_cast<CEdit*>(LiveBuddy())) {
        if (edit->GetBuddySpin() == this) edit->SetBuddySpin(nullptr);
    }
    m_buddy = buddy;
    m_buddyHwnd = buddy ? buddy->GetSafeHwnd() : nullptr;
    // An edit field passes its Up and Down keys here (see CEdit::OnKeyDown).
    if (CEdit* edit = dynamic_cast<CEdit*>(buddy)) edit->SetBuddySpin(this);
    return previous;
}

CWnd* CSpinButtonCtrl::LiveBuddy() const {
    if (!m_buddy || !m_buddyHwnd || CWnd::FromHandle(m_buddyHwnd) != m_buddy) return nullptr;
    return m_buddy;
}

int CSpinButtonCtrl::SetBase(int base) {
    if (base != 10 && base != 16) return 0;
    const int previous = m_base;
    m_base = base;
    return previous;
}

void CSpinButtonCtrl::SetRange32(int lower, int upper) {
    m_lower = lower;
    m_upper = upper;
    m_pos = Clamp(m_pos);
}

void CSpinButtonCtrl::GetRange32(int& lower, int& upper) const {
    lower = m_lower;
    upper = m_upper;
}

int CSpinButtonCtrl::Clamp(int pos) const {
    return std::clamp(pos, std::min(m_lower, m_upper), std::max(m_lower, m_upper));
}

int CSpinButtonCtrl::SetPosForSpin(int pos) {
    const int previous = m_pos;
    m_pos = Clamp(pos);
    return previous;
}

int CSpinButtonCtrl::SetPos(int pos) {
    const int previous = SetPosForSpin(pos);
    UpdateBuddyText();
    return previous;
}

void CSpinButtonCtrl::UpdateBuddyText() {
    if (!(GetStyle() & UDS_SETBUDDYINT)) return;
    CWnd* buddy = LiveBuddy();
    if (!buddy) return;
    CString text;
    if (m_base == 16) text.Format("0x%X", static_cast<unsigned>(m_pos));
    else text.Format("%d", m_pos);
    // The buddy's own SetWindowText: a formatting field shows it its way.
    m_settingBuddy = true;
    buddy->SetWindowText(text);
    m_settingBuddy = false;
}

void CSpinButtonCtrl::BuddyTextChanged(const char* text) {
    if (m_settingBuddy || !text) return;
    const bool hex = m_base == 16 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const long long value = std::strtoll(hex ? text + 2 : text, nullptr, m_base);
    SetPosForSpin(static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX)));
}

// Up goes towards the upper end of the range (which may be below the lower).
void CSpinButtonCtrl::Step(int direction) {
    if (direction == 0) return;
    const int toward = m_upper >= m_lower ? direction : -direction;
    const long long next = static_cast<long long>(m_pos) + (toward > 0 ? 1 : -1);
    const int low = std::min(m_lower, m_upper);
    const int high = std::max(m_lower, m_upper);
    int pos;
    if (next > high) pos = (GetStyle() & UDS_WRAP) ? low : high;
    else if (next < low) pos = (GetStyle() & UDS_WRAP) ? high : low;
    else pos = static_cast<int>(next);
    if (pos == m_pos) return;
    SetPos(pos);
    if (CWnd* parent = GetParent()) {
        parent->SendMessage(WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, m_pos),
                            reinterpret_cast<LPARAM>(GetSafeHwnd()));
    }
}

// The upper arrow is the top half (the extra pixel of an odd height goes to
// the lower one).
CRect CSpinButtonCtrl::ArrowRect(int direction) const {
    CRect client;
    GetClientRect(&client);
    const int middle = client.top + client.Height() / 2;
    if (direction > 0) return CRect(client.left, client.top, client.right, middle);
    return CRect(client.left, middle, client.right, client.bottom);
}

void CSpinButtonCtrl::Draw(CDC& dc) {
    ControlPainter paint(dc);
    for (int direction : {1, -1}) {
        const CRect box = ArrowRect(direction);
        const bool pressed = m_pressed == direction;
        paint.Fill(box, pressed ? theme::ButtonPressed : theme::ButtonFace);
        paint.Frame(box, pressed ? theme::Accent : theme::ButtonBorder, 1);
        const int size = std::max(3, std::min(box.Width() - 6, box.Height() * 3 / 4) | 1);
        paint.Triangle(box, direction > 0 ? ArrowDirection::Up : ArrowDirection::Down, size,
                       IsWindowEnabled() ? theme::Arrow : theme::TextDisabled);
    }
}

LRESULT CSpinButtonCtrl::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_PAINT: {
        CPaintDC dc(this);
        Draw(dc);
        return 0;
    }
    case WM_ERASEBKGND:
        return TRUE;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK: {
        const CPoint point(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
        m_pressed = ArrowRect(1).PtInRect(point) ? 1 : -1;
        SetCapture();
        Step(m_pressed);
        SetTimer(kRepeatTimer, kFirstRepeatMs);
        Invalidate(FALSE);
        return 0;
    }
    case WM_TIMER:
        if (wParam == kRepeatTimer && m_pressed != 0) {
            Step(m_pressed);
            SetTimer(kRepeatTimer, kRepeatMs);
            return 0;
        }
        break;
    case WM_LBUTTONUP:
    case WM_CAPTURECHANGED:
        if (m_pressed != 0) {
            m_pressed = 0;
            KillTimer(kRepeatTimer);
            if (message == WM_LBUTTONUP && CWnd::GetCapture() == this) ReleaseCapture();
            Invalidate(FALSE);
        }
        return 0;
    case WM_DESTROY:
        KillTimer(kRepeatTimer);
        SetBuddy(nullptr);
        break;
    default:
        break;
    }
    return CWnd::DefWindowProc(message, wParam, lParam);
}
