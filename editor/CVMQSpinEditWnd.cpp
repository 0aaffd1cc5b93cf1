#include "editor/CVMQSpinEditWnd.h"

#include <algorithm>
#include <cstdlib>

#include "toolkit/CDC.h"

IMPLEMENT_DYNCREATE(CVMQSpinEdit, CEdit)

BEGIN_MESSAGE_MAP(CVMQSpinEdit, CEdit)
    ON_WM_KEYDOWN()
    ON_WM_CHAR()
END_MESSAGE_MAP()

void CVMQSpinEdit::SetRange(int min, int max) {
    m_min = std::min(min, max);
    m_max = std::max(min, max);
}

void CVMQSpinEdit::SetValue(int value) {
    CString text;
    text.Format("%d", value);
    SetWindowText(text);
}

int CVMQSpinEdit::GetValue() const {
    CString text;
    GetWindowText(text);
    return std::atoi(text);
}

void CVMQSpinEdit::SetNewValue(int value, int min, int max) {
    SetRange(min, max);
    SetValue(value);
}

void CVMQSpinEdit::OnKeyDown(UINT key, UINT repeat, UINT flags) {
    switch (key) {
    case kEntryReturnKey:
    case kEntryReturnKeyAlso:
        SendMessage0(GetParent(), WM_ENTRY_RETURN, static_cast<WPARAM>(GetDlgCtrlID()), 0);
        return;
    case kEntryEscapeKey:
        SendMessage0(GetParent(), WM_ENTRY_ESCAPE, static_cast<WPARAM>(GetDlgCtrlID()), 0);
        return;
    default:
        CEdit::OnKeyDown(key, repeat, flags);
    }
}

void CVMQSpinEdit::OnChar(UINT ch, UINT repeat, UINT flags) {
    const bool typed = (ch >= '0' && ch <= '9') || ch == keychar::Backspace || (ch == '-' && m_min < 0);
    if (typed) CEdit::OnChar(ch, repeat, flags);
}

IMPLEMENT_DYNCREATE(CVMQSpinEditWnd, CWnd)

BEGIN_MESSAGE_MAP(CVMQSpinEditWnd, CWnd)
    ON_WM_CREATE()
    ON_WM_PAINT()
    ON_MESSAGE(WM_ENTRY_RETURN, OnReturn)
    ON_MESSAGE(WM_ENTRY_ESCAPE, OnEscape)
END_MESSAGE_MAP()

BOOL CVMQSpinEditWnd::MakeWindow(CWnd* parent, CWnd* notify, LPCTSTR name, CWindowAttr* attr,
                                 int charCount, CFont* font) {
    RegisterEntryWindowClass(kWindowClass);
    m_notify = notify ? notify->GetSafeHwnd() : nullptr;
    m_charCount = std::clamp(charCount, 0, kMaxEntryChars) + 1;
    m_font = font;
    m_metrics.Measure(font);
    const CRect rect = attr ? EntryWindowRect(attr->rect) : CRect();
    return Create(kWindowClass, name, CVMQFloatEditWnd::kWindowStyle, rect, parent, 0);
}

int CVMQSpinEditWnd::OnCreate(LPCREATESTRUCT cs) {
    if (CWnd::OnCreate(cs) == -1) return -1;
    m_height = m_metrics.Height();
    m_width = m_metrics.Width(m_charCount);
    SetWindowPos(nullptr, 0, 0, m_width, m_height, SWP_NOMOVE | SWP_NOZORDER);
    const int editWidth = m_width - m_metrics.spinWidth;
    if (!m_edit.Create(CVMQFloatEditWnd::kEditStyle, CRect(0, 0, editWidth, m_height), this,
                       IDC_ENTRY_EDIT))
        return -1;
    m_edit.SetLimitText(m_charCount);
    m_edit.SetFont(m_font);
    if (!m_spin.Create(CVMQFloatEditWnd::kSpinStyle, CRect(editWidth, 0, m_width, m_height), this,
                       IDC_ENTRY_SPIN))
        return -1;
    m_spin.SetBase(10);
    m_spin.SetBuddy(&m_edit);
    m_spin.ShowWindow(SW_SHOW);
    ShowWindow(SW_HIDE);
    return 0;
}

void CVMQSpinEditWnd::OnPaint() { CPaintDC dc(this); }

void CVMQSpinEditWnd::ChangeSize(int charCount) {
    m_charCount = std::clamp(charCount, 0, kMaxEntryChars) + 1;
    m_height = m_metrics.Height();
    m_width = m_metrics.Width(m_charCount);
    if (!GetSafeHwnd()) return;
    LayOutEntryWindow(*this, m_edit, m_spin, m_width, m_height, m_metrics.spinWidth);
    m_edit.SetLimitText(m_charCount);
}

void CVMQSpinEditWnd::SetNewValue(int value, int min, int max) {
    if (!GetSafeHwnd()) return;
    m_spin.SetRange32(min, max);
    m_spin.SetPos(value);
    m_edit.SetFocus();
    m_edit.SetNewValue(value, min, max);
    m_edit.SetSel(8, 8);
}

LRESULT CVMQSpinEditWnd::OnReturn(WPARAM, LPARAM) {
    FinishEntry(*this, m_notify, WM_ENTRY_RETURN, false);
    return 0;
}

LRESULT CVMQSpinEditWnd::OnEscape(WPARAM, LPARAM) {
    FinishEntry(*this, m_notify, WM_ENTRY_ESCAPE, true);
    return 0;
}
