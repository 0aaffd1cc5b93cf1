#include "editor/CFormatEdit.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>

#include "editor/EntryFieldValue.h"
#include "toolkit/CSpinButtonCtrl.h"

IMPLEMENT_DYNCREATE(CFormatEdit, CEdit)

BEGIN_MESSAGE_MAP(CFormatEdit, CEdit)
    ON_WM_CHAR()
    ON_WM_KILLFOCUS()
END_MESSAGE_MAP()

namespace {

// The longest text read back: room for the largest double in "%.1f" and its
// sign, with a little to spare.
constexpr int kReadLimit = 318;

// The characters of the arrow keys once PreTranslateMessage has mapped them.
constexpr UINT kLeftChar = 37;
constexpr UINT kRightChar = 39;

UINT FieldCharacter(uint32_t character) {
    switch (character) {
    case keychar::KeypadEnter: return keychar::Return;
    case keychar::Left: return kLeftChar;
    case keychar::Right: return kRightChar;
    default: return character;
    }
}

}  // namespace

CFormatEdit::CFormatEdit() : m_max(DBL_MAX), m_min(-DBL_MAX) {}

CString CFormatEdit::GetShownText() const {
    CString text;
    CWnd::GetWindowText(text);
    return text;
}

void CFormatEdit::GetWindowText(CString& text) const { text = m_valueText; }

void CFormatEdit::SetWindowText(LPCTSTR text) {
    const double scaled = atof(text ? text : "");
    m_valueText.Format("%d", entry_value::ToScaledInt(scaled));
    CString shown;
    shown.Format(m_format, scaled / m_scale);
    if (shown != GetShownText()) SetTextForSpin(shown);
    // A buddy spin follows text set from outside (not its own).
    if (CSpinButtonCtrl* spin = GetBuddySpin()) spin->BuddyTextChanged(m_valueText);
}

void CFormatEdit::SetInputMinMax(double min, double max) {
    if (!(max > min)) return;
    m_min = min;
    m_max = max;
}

void CFormatEdit::SetDecimals(int decimals) {
    // Scaled values are 32-bit integers: more decimals than 9 cannot travel.
    decimals = std::clamp(decimals, 0, 9);
    char format[16];
    std::snprintf(format, sizeof format, "%%.%df", decimals);
    m_formatBuffer = format;
    m_format = m_formatBuffer.c_str();
    m_scale = std::pow(10.0, decimals);
}

void CFormatEdit::LimitDigits(int digits, int extra) {
    digits = std::clamp(digits, 0, 4096);
    SetLimitText(static_cast<UINT>(digits + (m_sign ? 1 : 0) + extra));
}

double CFormatEdit::atof(const char* text) const {
    return entry_value::ParseClamped(text);
}

double CFormatEdit::atof_and_limitchk(const char* text) const {
    double value = atof(text);
    if (value > m_max) value = m_max;
    if (value < m_min) value = m_min;
    return value;
}

double CFormatEdit::ReadShownValue() const {
    char buffer[kReadLimit + 1];
    const CString shown = GetShownText();
    const int length = std::min(shown.GetLength(), kReadLimit);
    std::copy_n(static_cast<const char*>(shown), length, buffer);
    buffer[length] = '\0';
    return atof(buffer);
}

void CFormatEdit::ShowInFormat(double value) {
    CString text;
    text.Format(m_format, value);
    if (text == GetShownText()) return;
    int from, to;
    GetSel(from, to);
    SetTextForSpin(text);
    SetSel(std::min(from, text.GetLength()), std::min(to, text.GetLength()));
}

void CFormatEdit::SetValueText(double shownValue) {
    m_valueText.Format("%d", entry_value::ToScaledInt(shownValue * m_scale));
}

void CFormatEdit::NotifyParent() {
    if (CWnd* parent = GetParent()) {
        parent->SendMessage(WM_COMMAND, static_cast<WPARAM>(GetDlgCtrlID()),
                            reinterpret_cast<LPARAM>(GetSafeHwnd()));
    }
}

void CFormatEdit::NotifySpinButton() {
    // SetPosForSpin: the spin must not write its "%d" over what is typed.
    if (CSpinButtonCtrl* spin = GetBuddySpin())
        spin->SetPosForSpin(entry_value::ToScaledInt(ReadShownValue() * m_scale));
}

void CFormatEdit::FixInputText() {
    const double value = atof_and_limitchk(GetShownText());
    ShowInFormat(value);
    SetValueText(value);
    NotifySpinButton();
    NotifyParent();
}

bool CFormatEdit::IsAcceptedChar(UINT ch) const {
    if (ch >= '0' && ch <= '9') return true;
    switch (ch) {
    case keychar::Backspace:
    case kLeftChar:
    case kRightChar:
    case '.':
        return true;
    case '-':
        return m_sign;
    default:
        return false;
    }
}

void CFormatEdit::TypeAccepted(UINT ch, UINT repeat, UINT flags) {
    // The arrows moved the caret with their key-down; their character adds
    // no text.
    if (ch != kLeftChar && ch != kRightChar) CEdit::OnChar(ch, repeat, flags);
    SetValueText(ReadShownValue());
    // The spin steps on from what was typed.
    NotifySpinButton();
    NotifyParent();
}

void CFormatEdit::OnChar(UINT ch, UINT repeat, UINT flags) {
    if (IsAcceptedChar(ch)) {
        TypeAccepted(ch, repeat, flags);
        return;
    }
    FixInputText();
}

void CFormatEdit::OnNotifyChar(UINT ch, UINT repeat, UINT flags) {
    const bool passes = (ch >= '0' && ch <= '9') || ch == keychar::Backspace || ch == kLeftChar ||
                        ch == kRightChar || ch == '.';
    if (!passes) {
        NotifyParent();
        return;
    }
    if (ch != kLeftChar && ch != kRightChar) CEdit::OnChar(ch, repeat, flags);
}

void CFormatEdit::OnKillFocus(CWnd* /*newFocus*/) {
    NotifySpinButton();
    Default();
}

BOOL CFormatEdit::PreTranslateMessage(MSG* msg) {
    if (!msg || msg->message != WM_KEYDOWN || msg->hwnd != GetSafeHwnd() ||
        msg->wParam == keycode::Tab)
        return CEdit::PreTranslateMessage(msg);
    // The key-down is ours now: the toolkit delivers nothing more of it, so
    // its character comes from here.
    const HWND self = GetSafeHwnd();
    SendMessage(WM_KEYDOWN, msg->wParam, msg->lParam);
    if (msg->character != 0 && CWnd::FromHandle(self) == this)
        SendMessage(WM_CHAR, FieldCharacter(msg->character), msg->lParam);
    return TRUE;
}
