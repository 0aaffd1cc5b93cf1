#include "toolkit/ComboListPopup.h"

#include <algorithm>

#include "toolkit/CDC.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"

namespace {
constexpr int kFrame = 1;
constexpr int kTextIndent = 5;
constexpr int kWheelRows = 3;
constexpr int kMinThumb = 16;
}  // namespace

CComboListPopup::CComboListPopup(const std::vector<std::string>& items, int current,
                                 int visibleRows)
    : m_items(items), m_rows(std::max(1, std::min(visibleRows, static_cast<int>(items.size())))) {
    m_hot = std::clamp(current, 0, std::max(0, Count() - 1));
    // The current entry shows near the middle of the rows.
    ScrollTo(m_hot - m_rows / 2);
}

int CComboListPopup::RowHeight(CFont* font) {
    return ListRowHeight((font ? font : AfxGetControlFont())->GetPointSize());
}

int CComboListPopup::ListHeight(int rows, CFont* font) { return rows * RowHeight(font) + 2 * kFrame; }

int CComboListPopup::Run(CWnd* owner, const CRect& screenRect, CFont* font) {
    m_chosen = -1;
    if (!CreatePopup(owner, screenRect)) return -1;
    SetFont(font, FALSE);
    Track();
    if (GetSafeHwnd()) DestroyWindow();
    return m_chosen;
}

CRect CComboListPopup::RowsArea() const {
    CRect client;
    GetClientRect(&client);
    return CRect(kFrame, kFrame, client.right - kFrame - (HasScrollBar() ? kScrollBarWidth : 0),
                 client.bottom - kFrame);
}

CRect CComboListPopup::ScrollTrack() const {
    CRect client;
    GetClientRect(&client);
    return CRect(client.right - kFrame - kScrollBarWidth, kFrame, client.right - kFrame,
                 client.bottom - kFrame);
}

CRect CComboListPopup::ScrollThumb() const {
    const CRect track = ScrollTrack();
    const int range = Count() - m_rows;
    const int height = std::max(kMinThumb, track.Height() * m_rows / std::max(1, Count()));
    const int travel = track.Height() - height;
    const int top = track.top + (range > 0 ? travel * m_top / range : 0);
    return CRect(track.left, top, track.right, top + height);
}

CRect CComboListPopup::EntryRect(int index) const {
    if (index < m_top || index >= m_top + m_rows || index >= Count()) return CRect();
    const CRect area = RowsArea();
    const int height = RowHeight(AfxControlFontOf(this));
    const int top = area.top + (index - m_top) * height;
    return CRect(area.left, top, area.right, top + height);
}

int CComboListPopup::RowAt(CPoint point) const {
    const CRect area = RowsArea();
    if (!area.PtInRect(point)) return -1;
    const int index = m_top + (point.y - area.top) / RowHeight(AfxControlFontOf(this));
    return index < Count() ? index : -1;
}

void CComboListPopup::ScrollTo(int top) {
    top = std::clamp(top, 0, std::max(0, Count() - m_rows));
    if (top == m_top) return;
    m_top = top;
    if (GetSafeHwnd()) Invalidate(FALSE);
}

void CComboListPopup::SetHot(int index) {
    if (Count() == 0) return;
    index = std::clamp(index, 0, Count() - 1);
    if (index < m_top) ScrollTo(index);
    else if (index >= m_top + m_rows) ScrollTo(index - m_rows + 1);
    if (index != m_hot) {
        m_hot = index;
        Invalidate(FALSE);
    }
}

void CComboListPopup::Choose(int index) {
    m_chosen = index;
    EndTracking();
}

void CComboListPopup::OnPopupKey(UINT key) {
    switch (key) {
    case keycode::Up: SetHot(m_hot - 1); break;
    case keycode::Down: SetHot(m_hot + 1); break;
    case keycode::PageUp: SetHot(m_hot - (m_rows - 1)); break;
    case keycode::PageDown: SetHot(m_hot + (m_rows - 1)); break;
    case keycode::Home: SetHot(0); break;
    case keycode::End: SetHot(Count() - 1); break;
    case keycode::Return:
    case keycode::KeypadEnter:
        if (m_hot >= 0 && m_hot < Count()) Choose(m_hot);
        break;
    case keycode::Escape: Choose(-1); break;
    default: break;
    }
}

LRESULT CComboListPopup::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    const CPoint point(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
    switch (message) {
    case WM_MOUSEMOVE:
        if (m_draggingThumb) {
            const CRect track = ScrollTrack();
            const CRect thumb = ScrollThumb();
            const int travel = track.Height() - thumb.Height();
            const int range = Count() - m_rows;
            if (travel > 0)
                ScrollTo(((point.y - m_dragGrip - track.top) * range + travel / 2) / travel);
        } else if (RowAt(point) >= 0) {
            m_pointerEntered = true;
            SetHot(RowAt(point));
        }
        return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
        if (!IsInside(point)) {
            Choose(-1);
        } else if (HasScrollBar() && ScrollTrack().PtInRect(point)) {
            const CRect thumb = ScrollThumb();
            if (thumb.PtInRect(point)) {
                m_draggingThumb = true;
                m_dragGrip = point.y - thumb.top;
            } else {
                ScrollTo(m_top + (point.y < thumb.top ? -(m_rows - 1) : m_rows - 1));
            }
        } else if (message != WM_RBUTTONDOWN && RowAt(point) >= 0) {
            m_pressedInside = true;
            SetHot(RowAt(point));
        }
        return 0;
    case WM_LBUTTONUP:
        if (m_draggingThumb) {
            m_draggingThumb = false;
        } else if (RowAt(point) >= 0 && (m_pressedInside || m_pointerEntered)) {
            Choose(RowAt(point));
        }
        return 0;
    case WM_MOUSEWHEEL: {
        const int notches = static_cast<int16_t>(HIWORD(wParam)) / 120;
        ScrollTo(m_top - notches * kWheelRows);
        return 0;
    }
    default:
        break;
    }
    return CTrackedPopup::DefWindowProc(message, wParam, lParam);
}

void CComboListPopup::Draw(CDC& dc) {
    CRect client;
    GetClientRect(&client);
    CFont* font = AfxControlFontOf(this);
    {
        ControlPainter paint(dc);
        paint.Fill(client, theme::Field);
        paint.Frame(client, theme::Border, 1);
        if (HasScrollBar()) {
            paint.Fill(ScrollTrack(), theme::ScrollTrack);
            CRect thumb = ScrollThumb();
            thumb.left += 3;
            thumb.right -= 3;
            thumb.top += 1;
            thumb.bottom -= 1;
            paint.Fill(thumb, m_draggingThumb ? theme::Arrow : theme::ScrollThumb);
        }
    }
    CFont* old = dc.SelectObject(font);
    dc.SetBkMode(TRANSPARENT);
    for (int index = m_top; index < std::min(Count(), m_top + m_rows); index++) {
        const CRect row = EntryRect(index);
        if (index == m_hot) {
            ControlPainter paint(dc);
            paint.Fill(row, theme::Hover);
        }
        dc.SetTextColor(index == m_hot ? theme::TextSelected : theme::Text);
        const std::string& text = m_items[index];
        dc.ExtTextOut(row.left + kTextIndent, CentreTextLine(font, row.top, row.bottom).y,
                      ETO_CLIPPED, &row, text.c_str(), static_cast<int>(text.size()));
    }
    dc.SelectObject(old);
}
