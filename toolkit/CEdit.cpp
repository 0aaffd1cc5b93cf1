#include "toolkit/CEdit.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "toolkit/CDC.h"
#include "toolkit/CSpinButtonCtrl.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"

IMPLEMENT_DYNCREATE(CEdit, CWnd)

BEGIN_MESSAGE_MAP(CEdit, CWnd)
END_MESSAGE_MAP()

namespace {

// With WS_BORDER: a one-pixel frame and a one-pixel gap (the focus ring
// fills both); text keeps two more pixels from the sides.
constexpr int kBorderInset = 2;
constexpr int kTextPadding = 2;

bool IsContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

// Caret positions sit on UTF-8 character boundaries.
int PreviousBoundary(const std::string& text, int pos) {
    if (pos <= 0) return 0;
    pos--;
    while (pos > 0 && IsContinuation(static_cast<unsigned char>(text[pos]))) pos--;
    return pos;
}

int NextBoundary(const std::string& text, int pos) {
    const int length = static_cast<int>(text.size());
    if (pos >= length) return length;
    pos++;
    while (pos < length && IsContinuation(static_cast<unsigned char>(text[pos]))) pos++;
    return pos;
}

int SnapToBoundary(const std::string& text, int pos) {
    pos = std::clamp(pos, 0, static_cast<int>(text.size()));
    while (pos > 0 && pos < static_cast<int>(text.size()) &&
           IsContinuation(static_cast<unsigned char>(text[pos])))
        pos--;
    return pos;
}

int CountCharacters(const std::string& text, int from, int to) {
    int count = 0;
    for (int i = from; i < to; i++) {
        if (!IsContinuation(static_cast<unsigned char>(text[i]))) count++;
    }
    return count;
}

// Whether the character that ends at pos has all its bytes (a multi-byte
// character typed one byte per WM_CHAR is complete after its last byte).
bool CharacterCompleteBefore(const std::string& text, int pos) {
    int lead = pos - 1;
    while (lead > 0 && IsContinuation(static_cast<unsigned char>(text[lead]))) lead--;
    if (lead < 0) return true;
    const unsigned char b = static_cast<unsigned char>(text[lead]);
    const int need = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 1;
    return pos - lead >= need;
}

}  // namespace

BOOL CEdit::Create(DWORD style, const RECT& rect, CWnd* parent, UINT id) {
    LPCTSTR cls = AfxRegisterWndClass(CS_DBLCLKS, LoadCursor(nullptr, IDC_ARROW),
                                      static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    return CWnd::Create(cls, "", style, rect, parent, id);
}

std::string CEdit::Text() const {
    CString text;
    CWnd::GetWindowText(text);
    return std::string(static_cast<const char*>(text));
}

int CEdit::TextWidth(const std::string& text, int length) const {
    return TextMeasure(AfxControlFontOf(this)).Width(text.c_str(), length);
}

bool CEdit::HasFocus() const { return CWnd::GetFocus() == this; }

void CEdit::SetLimitText(UINT maxChars) { m_limit = maxChars; }

void CEdit::SetSel(int start, int end, BOOL noScroll) {
    const std::string text = Text();
    const int length = static_cast<int>(text.size());
    int caret = end < 0 ? length : SnapToBoundary(text, end);
    int anchor = start < 0 ? caret : SnapToBoundary(text, start);
    m_selStart = anchor;
    m_selEnd = caret;
    if (!noScroll) ScrollToCaret();
    Invalidate(FALSE);
}

void CEdit::GetSel(int& start, int& end) const {
    start = std::min(m_selStart, m_selEnd);
    end = std::max(m_selStart, m_selEnd);
}

void CEdit::ReplaceSel(LPCTSTR text, BOOL /*canUndo*/) {
    ReplaceSelection(text ? text : "");
}

void CEdit::SetWindowText(LPCTSTR text) {
    SetTextForSpin(text);
    if (CSpinButtonCtrl* spin = GetBuddySpin()) spin->BuddyTextChanged(text ? text : "");
}

void CEdit::SetTextForSpin(LPCTSTR text) {
    m_dropContinuation = false;
    m_scroll = 0;
    Replace(text ? text : "", 0, true);
}

BOOL CEdit::PreTranslateMessage(MSG* /*msg*/) { return FALSE; }

void CEdit::SetBuddySpin(CSpinButtonCtrl* spin) {
    m_spin = spin;
    m_spinHwnd = spin ? spin->GetSafeHwnd() : nullptr;
}

// The spin may have gone away without telling this field.
CSpinButtonCtrl* CEdit::GetBuddySpin() const {
    if (!m_spin || !m_spinHwnd || CWnd::FromHandle(m_spinHwnd) != m_spin) return nullptr;
    return m_spin;
}

// Sets the whole text with an empty selection at caret.
void CEdit::Replace(const std::string& text, int caret, bool notify) {
    CWnd::SetWindowText(text.c_str());
    m_selStart = m_selEnd = std::clamp(caret, 0, static_cast<int>(text.size()));
    ScrollToCaret();
    Invalidate(FALSE);
    if (notify) NotifyChange();
}

void CEdit::NotifyChange() {
    if (CWnd* parent = GetParent()) {
        parent->SendMessage(WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(), EN_CHANGE),
                            reinterpret_cast<LPARAM>(GetSafeHwnd()));
    }
}

void CEdit::ReplaceSelection(const std::string& insert) {
    const std::string text = Text();
    int from, to;
    GetSel(from, to);
    std::string kept = insert;
    if (m_limit > 0) {
        // Only as many whole characters as the limit leaves room for.
        const int room = static_cast<int>(m_limit) -
                         (CountCharacters(text, 0, static_cast<int>(text.size())) -
                          CountCharacters(text, from, to));
        int end = 0, chars = 0;
        while (end < static_cast<int>(kept.size()) && chars < room) {
            end = NextBoundary(kept, end);
            chars++;
        }
        kept.resize(room > 0 ? end : 0);
    }
    if (kept.empty() && from == to) return;
    Replace(text.substr(0, from) + kept + text.substr(to), from + static_cast<int>(kept.size()),
            true);
}

void CEdit::TypeByte(unsigned char byte) {
    std::string text = Text();
    if (IsContinuation(byte)) {
        // The rest of a character whose first byte went in (or was refused).
        if (m_dropContinuation) return;
        const int caret = m_selEnd;
        text.insert(text.begin() + caret, static_cast<char>(byte));
        Replace(text, caret + 1, CharacterCompleteBefore(text, caret + 1));
        return;
    }
    int from, to;
    GetSel(from, to);
    const int chars = CountCharacters(text, 0, static_cast<int>(text.size())) -
                      CountCharacters(text, from, to);
    if (m_limit > 0 && chars + 1 > static_cast<int>(m_limit)) {
        m_dropContinuation = byte >= 0xC0;
        return;
    }
    m_dropContinuation = false;
    text = text.substr(0, from) + static_cast<char>(byte) + text.substr(to);
    Replace(text, from + 1, CharacterCompleteBefore(text, from + 1));
}

void CEdit::OnChar(UINT ch, UINT /*repeat*/, UINT /*flags*/) {
    if (ch == keychar::Backspace) {
        m_dropContinuation = false;
        int from, to;
        GetSel(from, to);
        if (from == to) {
            if (from == 0) return;
            m_selStart = PreviousBoundary(Text(), from);
            m_selEnd = from;
        }
        ReplaceSelection("");
        return;
    }
    if (ch > 0xFF || ch < 32 || ch == keychar::Delete) return;
    TypeByte(static_cast<unsigned char>(ch));
}

void CEdit::MoveCaret(int to, bool extend) {
    m_selEnd = SnapToBoundary(Text(), to);
    if (!extend) m_selStart = m_selEnd;
    ScrollToCaret();
    Invalidate(FALSE);
}

void CEdit::OnKeyDown(UINT key, UINT /*repeat*/, UINT /*flags*/) {
    const std::string text = Text();
    const bool shift = GetKeyState(VK_SHIFT) < 0;
    int from, to;
    GetSel(from, to);
    switch (key) {
    case keycode::Left:
        if (!shift && from != to) MoveCaret(from, false);
        else MoveCaret(PreviousBoundary(text, m_selEnd), shift);
        break;
    case keycode::Right:
        if (!shift && from != to) MoveCaret(to, false);
        else MoveCaret(NextBoundary(text, m_selEnd), shift);
        break;
    case keycode::Home:
        MoveCaret(0, shift);
        break;
    case keycode::End:
        MoveCaret(static_cast<int>(text.size()), shift);
        break;
    case keycode::Delete:
        if (from == to) {
            if (to >= static_cast<int>(text.size())) return;
            m_selStart = from;
            m_selEnd = NextBoundary(text, from);
        }
        ReplaceSelection("");
        break;
    case keycode::Up:
    case keycode::Down:
        if (CSpinButtonCtrl* spin = GetBuddySpin()) {
            if (spin->GetStyle() & UDS_ARROWKEYS) spin->Step(key == keycode::Up ? 1 : -1);
        }
        break;
    default:
        break;
    }
}

CRect CEdit::GetTextArea() const {
    CRect area;
    GetClientRect(&area);
    const int inset = (GetStyle() & WS_BORDER) ? kBorderInset : 0;
    area.left += inset + kTextPadding;
    area.right -= inset + kTextPadding;
    area.top += inset;
    area.bottom -= inset;
    if (area.right < area.left) area.right = area.left;
    if (area.bottom < area.top) area.bottom = area.top;
    return area;
}

int CEdit::GetTextOriginX() const {
    const CRect area = GetTextArea();
    const std::string text = Text();
    const int width = TextWidth(text, static_cast<int>(text.size()));
    if (width < area.Width()) {
        // Right-aligned text keeps its last pixel column free for the caret.
        if (GetStyle() & ES_RIGHT) return area.right - 1 - width;
        if (GetStyle() & ES_CENTER) return area.left + (area.Width() - width) / 2;
        return area.left;
    }
    return area.left - m_scroll;
}

int CEdit::GetCaretX() const {
    const CRect area = GetTextArea();
    const int x = GetTextOriginX() + TextWidth(Text(), m_selEnd);
    return std::clamp(x, area.left, std::max(area.left, area.right - 1));
}

// Scrolls just enough for the caret line to be inside the text area.
void CEdit::ScrollToCaret() {
    const CRect area = GetTextArea();
    const std::string text = Text();
    const int width = TextWidth(text, static_cast<int>(text.size()));
    if (width < area.Width()) {
        m_scroll = 0;
        return;
    }
    const int caretX = TextWidth(text, m_selEnd);
    if (caretX - m_scroll < 0) m_scroll = caretX;
    if (caretX - m_scroll > area.Width() - 1) m_scroll = caretX - (area.Width() - 1);
    m_scroll = std::clamp(m_scroll, 0, width - area.Width() + 1);
}

int CEdit::CaretFromPoint(CPoint point) const {
    const std::string text = Text();
    const int origin = GetTextOriginX();
    int best = 0;
    int bestDistance = INT_MAX;
    for (int pos = 0;; pos = NextBoundary(text, pos)) {
        const int distance = std::abs(origin + TextWidth(text, pos) - point.x);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = pos;
        }
        if (pos >= static_cast<int>(text.size())) break;
    }
    return best;
}

void CEdit::DrawField(CDC& dc) {
    CRect client;
    GetClientRect(&client);
    const bool focused = HasFocus();
    const bool enabled = IsWindowEnabled();
    {
        ControlPainter paint(dc);
        paint.Fill(client, enabled ? theme::Field : theme::FieldDisabled);
        if (GetStyle() & WS_BORDER) {
            if (focused) paint.Frame(client, theme::Accent, 2);
            else paint.Frame(client, theme::Border, 1);
        }
    }
    CFont* font = AfxControlFontOf(this);
    CFont* oldFont = dc.SelectObject(font);
    const CRect area = GetTextArea();
    const std::string text = Text();
    const TextPlacement line = CentreTextLine(font, area.top, area.bottom);
    const int glyphTop = std::max(area.top, line.glyphTop);
    const int glyphBottom = std::min(area.bottom, line.glyphBottom);
    const int origin = GetTextOriginX();
    dc.SetBkMode(TRANSPARENT);
    dc.SetTextColor(enabled ? theme::Text : theme::TextDisabled);
    dc.ExtTextOut(origin, line.y, ETO_CLIPPED, &area, text.c_str(), static_cast<int>(text.size()));
    int from, to;
    GetSel(from, to);
    if (focused && from != to) {
        // The selected part again, light on the highlight.
        CRect band(origin + TextWidth(text, from), glyphTop, origin + TextWidth(text, to),
                   glyphBottom);
        band.left = std::max(band.left, area.left);
        band.right = std::min(band.right, area.right);
        if (!band.IsRectEmpty()) {
            {
                ControlPainter paint(dc);
                paint.Fill(band, theme::Accent);
            }
            dc.SetTextColor(theme::TextSelected);
            dc.ExtTextOut(origin, line.y, ETO_CLIPPED, &band, text.c_str(),
                          static_cast<int>(text.size()));
        }
    }
    if (focused && from == to && glyphBottom > glyphTop) {
        ControlPainter paint(dc);
        const int x = GetCaretX();
        paint.Line(x, glyphTop, x, glyphBottom - 1, theme::Text);
    }
    dc.SelectObject(oldFont);
}

LRESULT CEdit::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_PAINT: {
        CPaintDC dc(this);
        DrawField(dc);
        return 0;
    }
    case WM_ERASEBKGND:
        return TRUE;  // WM_PAINT covers every pixel
    case WM_KEYDOWN:
        OnKeyDown(static_cast<UINT>(wParam), LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_CHAR:
        OnChar(static_cast<UINT>(wParam), LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_LBUTTONDOWN: {
        const CPoint point(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
        if (!HasFocus()) SetFocus();
        MoveCaret(CaretFromPoint(point), GetKeyState(VK_SHIFT) < 0);
        SetCapture();
        m_dragging = true;
        return 0;
    }
    case WM_MOUSEMOVE:
        if (m_dragging) {
            MoveCaret(CaretFromPoint(CPoint(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam))), true);
        }
        return 0;
    case WM_LBUTTONUP:
        if (m_dragging) {
            m_dragging = false;
            if (CWnd::GetCapture() == this) ReleaseCapture();
        }
        return 0;
    case WM_LBUTTONDBLCLK:
        SetSel(0, -1);
        return 0;
    case WM_CAPTURECHANGED:
        m_dragging = false;
        return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        Invalidate(FALSE);
        return 0;
    case WM_DESTROY:
        if (CSpinButtonCtrl* spin = GetBuddySpin()) {
            if (spin->GetBuddy() == this) spin->SetBuddy(nullptr);
        }
        m_spin = nullptr;
        m_spinHwnd = nullptr;
        break;
    default:
        break;
    }
    return CWnd::DefWindowProc(message, wParam, lParam);
}
