#include "toolkit/CComboBox.h"

#include <algorithm>

#include "toolkit/CDC.h"
#include "toolkit/ComboListPopup.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"
#include "toolkit/UIConnection.h"

IMPLEMENT_DYNCREATE(CComboBox, CWnd)

BEGIN_MESSAGE_MAP(CComboBox, CWnd)
END_MESSAGE_MAP()

namespace {
constexpr int kArrowWidth = 20;
constexpr int kTextIndent = 5;
constexpr int kMaxItems = 100000;
}  // namespace

int CComboBox::ItemBoxHeight(CFont* font) {
    return FieldHeight((font ? font : AfxGetControlFont())->GetPointSize());
}

BOOL CComboBox::Create(DWORD style, const RECT& rect, CWnd* parent, UINT id) {
    CRect box(rect);
    const int boxHeight = std::min(box.Height(), ItemBoxHeight(AfxControlFontOf(parent)));
    const int listRows = (box.Height() - boxHeight - ComboListPopupFrameHeight()) /
                         CComboListPopup::RowHeight(AfxControlFontOf(parent));
    if (listRows >= 1) m_visibleRows = listRows;
    box.bottom = box.top + std::max(0, boxHeight);
    LPCTSTR cls = AfxRegisterWndClass(0, LoadCursor(nullptr, IDC_ARROW),
                                      static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    return CWnd::Create(cls, "", style, box, parent, id);
}

int CComboBox::ComboListPopupFrameHeight() { return CComboListPopup::ListHeight(0, nullptr); }

int CComboBox::AddString(LPCTSTR text) {
    if (GetCount() >= kMaxItems) return CB_ERR;
    m_items.emplace_back(text ? text : "");
    return GetCount() - 1;
}

int CComboBox::SetCurSel(int index) {
    if (index < -1 || index >= GetCount()) {
        // Win32 clears the selection and answers CB_ERR.
        m_cur = -1;
        Invalidate(FALSE);
        return CB_ERR;
    }
    m_cur = index;
    Invalidate(FALSE);
    return index;
}

int CComboBox::GetLBText(int index, CString& text) const {
    if (index < 0 || index >= GetCount()) return CB_ERR;
    text = m_items[index].c_str();
    return static_cast<int>(m_items[index].size());
}

void CComboBox::ResetContent() {
    m_items.clear();
    m_cur = -1;
    Invalidate(FALSE);
}

int CComboBox::SetMinVisibleItems(int rows) {
    if (rows < 1) return FALSE;
    m_visibleRows = rows;
    return TRUE;
}

void CComboBox::SelectAndNotify(int index) {
    if (index < 0 || index >= GetCount() || index == m_cur) return;
    const HWND self = GetSafeHwnd();
    SetCurSel(index);
    if (CWnd* parent = GetParent()) {
        parent->SendMessage(WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(), CBN_SELCHANGE),
                            reinterpret_cast<LPARAM>(self));
    }
}

// Below the box, or above it when only there the list fits; else on the side
// with more room, cut to fit.
CRect CComboBox::ListRectOnScreen(int rows) const {
    CRect box;
    GetWindowRect(&box);
    CFont* font = AfxControlFontOf(this);
    int height = CComboListPopup::ListHeight(rows, font);
    UIConnection* connection = GetConnection();
    const CSize screen = connection ? connection->ScreenSize() : CSize(0, 0);
    if (screen.cy <= 0) return CRect(box.left, box.bottom, box.right, box.bottom + height);
    const int below = screen.cy - box.bottom;
    const int above = box.top;
    if (height <= below) return CRect(box.left, box.bottom, box.right, box.bottom + height);
    if (height <= above) return CRect(box.left, box.top - height, box.right, box.top);
    const int rowHeight = CComboListPopup::RowHeight(font);
    const int room = std::max(below, above);
    const int fitting = std::max(1, (room - CComboListPopup::ListHeight(0, font)) / rowHeight);
    height = CComboListPopup::ListHeight(fitting, font);
    if (below >= above) return CRect(box.left, box.bottom, box.right, box.bottom + height);
    return CRect(box.left, box.top - height, box.right, box.top);
}

bool CComboBox::DropDown() {
    if (m_dropped || GetCount() == 0 || !GetSafeHwnd()) return false;
    const HWND self = GetSafeHwnd();
    int rows = std::min(m_visibleRows, GetCount());
    const CRect place = ListRectOnScreen(rows);
    rows = std::min(rows, (place.Height() - CComboListPopup::ListHeight(0, AfxControlFontOf(this))) /
                              CComboListPopup::RowHeight(AfxControlFontOf(this)));
    // The list works on a copy: a handler may change the entries meanwhile.
    const std::vector<std::string> items = m_items;
    CComboListPopup list(items, m_cur, rows);
    m_dropped = &list;
    Invalidate(FALSE);
    const int chosen = list.Run(this, place, GetFont());
    if (CWnd::FromHandle(self) != this) return false;
    m_dropped = nullptr;
    Invalidate(FALSE);
    if (chosen < 0 || chosen == m_cur || chosen >= GetCount()) return false;
    SelectAndNotify(chosen);
    return true;
}

void CComboBox::Draw(CDC& dc) {
    CRect client;
    GetClientRect(&client);
    const bool focused = CWnd::GetFocus() == this;
    const bool enabled = IsWindowEnabled();
    const CRect arrow(client.right - kArrowWidth, client.top, client.right, client.bottom);
    {
        ControlPainter paint(dc);
        paint.Fill(client, enabled ? theme::Field : theme::FieldDisabled);
        if (focused || m_dropped) paint.Frame(client, theme::Accent, 2);
        else paint.Frame(client, theme::Border, 1);
        paint.Line(arrow.left, client.top + 4, arrow.left, client.bottom - 5, theme::Separator);
        paint.Triangle(arrow, ArrowDirection::Down, 8, enabled ? theme::Arrow : theme::TextDisabled);
    }
    CString text;
    if (m_cur >= 0) GetLBText(m_cur, text);
    CFont* font = AfxControlFontOf(this);
    CFont* old = dc.SelectObject(font);
    const CRect textArea(client.left + kTextIndent, client.top + 2, arrow.left - 2, client.bottom - 2);
    dc.SetBkMode(TRANSPARENT);
    dc.SetTextColor(enabled ? theme::Text : theme::TextDisabled);
    dc.ExtTextOut(textArea.left, CentreTextLine(font, client.top, client.bottom).y, ETO_CLIPPED,
                  &textArea, text);
    dc.SelectObject(old);
}

LRESULT CComboBox::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
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
        if (CWnd::GetFocus() != this) SetFocus();
        DropDown();
        return 0;
    case WM_KEYDOWN: {
        const int last = GetCount() - 1;
        const int page = std::max(1, m_visibleRows - 1);
        const int from = m_cur < 0 ? -1 : m_cur;
        switch (wParam) {
        case keycode::Up: SelectAndNotify(std::max(0, from - 1)); break;
        case keycode::Down: SelectAndNotify(std::min(last, from + 1)); break;
        case keycode::PageUp: SelectAndNotify(std::max(0, from - page)); break;
        case keycode::PageDown: SelectAndNotify(std::min(last, from + page)); break;
        case keycode::Home: SelectAndNotify(0); break;
        case keycode::End: SelectAndNotify(last); break;
        default: break;
        }
        return 0;
    }
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        Invalidate(FALSE);
        return 0;
    case WM_DESTROY:
        // The entries belong to the window, as in Win32: a dialog made again
        // fills its box again.
        m_dropped = nullptr;  // the open list, owned by this box, goes too
        m_items.clear();
        m_cur = -1;
        break;
    default:
        break;
    }
    return CWnd::DefWindowProc(message, wParam, lParam);
}
