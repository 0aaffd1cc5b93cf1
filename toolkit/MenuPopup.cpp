#include "toolkit/MenuPopup.h"

#include <cstdlib>

#include "toolkit/CDC.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"

namespace {
// Pointer travel that counts as a deliberate move.
constexpr int kArmDistance = 4;
}  // namespace

CMenuPopup::CMenuPopup(std::vector<CMenu::Item> items, MenuLayout layout)
    : m_items(std::move(items)), m_layout(std::move(layout)) {}

int CMenuPopup::Run(CWnd* owner, CPoint screenPoint) {
    m_chosen = -1;
    if (!CreatePopup(owner, CRect(screenPoint, m_layout.size))) return -1;
    Track();
    if (GetSafeHwnd()) DestroyWindow();
    return m_chosen;
}

bool CMenuPopup::Choosable(int index) const {
    if (index < 0 || index >= static_cast<int>(m_items.size())) return false;
    return !(m_items[index].flags & (MF_GRAYED | MF_DISABLED | MF_SEPARATOR));
}

int CMenuPopup::ItemAt(CPoint point) const {
    for (size_t i = 0; i < m_layout.items.size(); i++) {
        if (m_layout.items[i].PtInRect(point)) return static_cast<int>(i);
    }
    return -1;
}

void CMenuPopup::SetHot(int index) {
    if (!Choosable(index)) index = -1;
    if (index == m_hot) return;
    m_hot = index;
    Invalidate(FALSE);
}

void CMenuPopup::StepHot(int direction) {
    const int count = static_cast<int>(m_items.size());
    int index = m_hot;
    for (int tries = 0; tries < count; tries++) {
        if (index < 0) index = direction > 0 ? 0 : count - 1;
        else index = (index + direction + count) % count;
        if (Choosable(index)) {
            SetHot(index);
            return;
        }
    }
}

// To the enabled item of the next column whose row is nearest.
void CMenuPopup::ChangeColumn(int direction) {
    if (m_hot < 0 || m_layout.columns < 2) return;
    const CRect& from = m_layout.items[m_hot];
    const int targetLeft = from.left + direction * from.Width();
    int best = -1;
    int bestDistance = 0;
    for (size_t i = 0; i < m_items.size(); i++) {
        const CRect& r = m_layout.items[i];
        if (r.left != targetLeft || !Choosable(static_cast<int>(i))) continue;
        const int distance = std::abs(r.top - from.top);
        if (best < 0 || distance < bestDistance) {
            best = static_cast<int>(i);
            bestDistance = distance;
        }
    }
    if (best >= 0) SetHot(best);
}

void CMenuPopup::OnPopupKey(UINT key) {
    switch (key) {
    case keycode::Up: StepHot(-1); break;
    case keycode::Down: StepHot(1); break;
    case keycode::Left: ChangeColumn(-1); break;
    case keycode::Right: ChangeColumn(1); break;
    case keycode::Home: m_hot = -1; StepHot(1); break;
    case keycode::End: m_hot = -1; StepHot(-1); break;
    case keycode::Return:
    case keycode::KeypadEnter:
        if (Choosable(m_hot)) {
            m_chosen = m_hot;
            EndTracking();
        }
        break;
    case keycode::Escape: EndTracking(); break;
    default: break;
    }
}

LRESULT CMenuPopup::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    const CPoint point(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
    const bool mouse = message == WM_MOUSEMOVE || message == WM_LBUTTONDOWN ||
                       message == WM_LBUTTONUP || message == WM_RBUTTONDOWN ||
                       message == WM_RBUTTONUP || message == WM_LBUTTONDBLCLK ||
                       message == WM_RBUTTONDBLCLK;
    if (mouse) {
        if (!m_haveStart) {
            m_haveStart = true;
            m_start = point;
        } else if (std::abs(point.x - m_start.x) + std::abs(point.y - m_start.y) >= kArmDistance) {
            m_armed = true;
        }
    }
    switch (message) {
    case WM_MOUSEMOVE:
        if (IsInside(point)) SetHot(ItemAt(point));
        return 0;
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDBLCLK:
        if (!IsInside(point)) {
            EndTracking();
        } else {
            m_armed = true;
            SetHot(ItemAt(point));
        }
        return 0;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP: {
        const int index = ItemAt(point);
        if (m_armed && Choosable(index)) {
            m_chosen = index;
            EndTracking();
        }
        return 0;
    }
    default:
        break;
    }
    return CTrackedPopup::DefWindowProc(message, wParam, lParam);
}

void CMenuPopup::Draw(CDC& dc) {
    using namespace menu_metrics;
    CRect client;
    GetClientRect(&client);
    CFont* font = AfxControlFontOf(this);
    {
        ControlPainter paint(dc);
        paint.Fill(client, theme::Field);
        paint.Frame(client, theme::Border, 1);
        // A thin rule between columns.
        for (size_t i = 0; i < m_layout.items.size(); i++) {
            const CRect& r = m_layout.items[i];
            if (r.left > kFrame && (i == 0 || m_layout.items[i - 1].left != r.left))
                paint.Line(r.left, kFrame + kPadding, r.left, client.bottom - kFrame - kPadding - 1,
                           theme::Separator);
        }
    }
    CFont* old = dc.SelectObject(font);
    dc.SetBkMode(TRANSPARENT);
    for (size_t i = 0; i < m_items.size(); i++) {
        const CMenu::Item& item = m_items[i];
        const CRect& r = m_layout.items[i];
        if (item.flags & MF_SEPARATOR) {
            ControlPainter paint(dc);
            paint.Line(r.left + kCheckColumn - 4, r.top + r.Height() / 2, r.right - 6,
                       r.top + r.Height() / 2, theme::Separator);
            continue;
        }
        const bool hot = static_cast<int>(i) == m_hot;
        const bool grayed = (item.flags & (MF_GRAYED | MF_DISABLED)) != 0;
        const COLORREF color = grayed ? theme::TextDisabled : hot ? theme::TextSelected : theme::Text;
        {
            ControlPainter paint(dc);
            if (hot) paint.Fill(CRect(r.left + 2, r.top, r.right - 2, r.bottom), theme::Hover);
            if (item.flags & MF_CHECKED)
                paint.CheckMark(CRect(r.left, r.top, r.left + kCheckColumn, r.bottom), color);
        }
        dc.SetTextColor(color);
        const CRect textRect(r.left + kCheckColumn, r.top, r.right - 4, r.bottom);
        dc.ExtTextOut(textRect.left, CentreTextLine(font, r.top, r.bottom).y, ETO_CLIPPED, &textRect,
                      item.text.c_str(), static_cast<int>(item.text.size()));
    }
    dc.SelectObject(old);
}
