#include "editor/CVMQFloatEditWnd.h"

#include <algorithm>
#include <vector>

#include "toolkit/CDC.h"

IMPLEMENT_DYNCREATE(CVMQFloatEditWnd, CWnd)

namespace {

// The field first, then its parents, as the toolkit passes input; true when
// one of them consumed msg.
bool PreTranslateFromField(HWND field, MSG& msg) {
    std::vector<HWND> chain;
    for (CWnd* w = CWnd::FromHandle(field); w; w = w->GetParent()) chain.push_back(w->GetSafeHwnd());
    for (HWND handle : chain) {
        CWnd* w = CWnd::FromHandle(handle);
        if (w && w->PreTranslateMessage(&msg)) return true;
    }
    return false;
}

}  // namespace

BEGIN_MESSAGE_MAP(CVMQFloatEditWnd, CWnd)
    ON_WM_CREATE()
    ON_WM_PAINT()
    ON_MESSAGE(WM_ENTRY_RETURN, OnReturn)
    ON_MESSAGE(WM_ENTRY_ESCAPE, OnEscape)
END_MESSAGE_MAP()

BOOL CVMQFloatEditWnd::MakeWindow(CWnd* parent, CWnd* notify, LPCTSTR name, CWindowAttr* attr,
                                  int charCount, CFont* font, bool sign) {
    RegisterEntryWindowClass(kWindowClass);
    m_notify = notify ? notify->GetSafeHwnd() : nullptr;
    m_charCount = std::clamp(charCount, 0, kMaxEntryChars) + 1;
    m_sign = sign;
    m_font = font;
    m_metrics.Measure(font);
    const CRect rect = attr ? EntryWindowRect(attr->rect) : CRect();
    return Create(kWindowClass, name, kWindowStyle, rect, parent, 0);
}

void CVMQFloatEditWnd::ComputeSize() {
    m_height = m_metrics.Height();
    m_width = m_metrics.Width(m_charCount);
}

int CVMQFloatEditWnd::OnCreate(LPCREATESTRUCT cs) {
    if (CWnd::OnCreate(cs) == -1) return -1;
    ComputeSize();
    SetWindowPos(nullptr, 0, 0, m_width, m_height, SWP_NOMOVE | SWP_NOZORDER);

    const int editWidth = m_width - m_metrics.spinWidth;
    if (!m_edit.MakeWindow(kEditStyle, CRect(0, 0, editWidth, m_height), this, IDC_ENTRY_EDIT,
                           true, m_sign))
        return -1;
    m_edit.SetLimitText(m_charCount);
    m_edit.SetFont(m_font);
    m_edit.ShowWindow(SW_SHOW);

    if (!m_spin.Create(kSpinStyle, CRect(editWidth, 0, m_width, m_height), this, IDC_ENTRY_SPIN))
        return -1;
    m_spin.SetBase(10);
    m_spin.SetBuddy(&m_edit);
    m_spin.ShowWindow(SW_SHOW);

    ShowWindow(SW_HIDE);
    return 0;
}

// The field and the spin cover the whole window.
void CVMQFloatEditWnd::OnPaint() { CPaintDC dc(this); }

void CVMQFloatEditWnd::SetSingnFlag(bool sign) {
    m_sign = sign;
    m_edit.SetSingnFlag(sign);
}

void CVMQFloatEditWnd::ChangeSize(int charCount, bool sign) {
    SetSingnFlag(sign);
    m_charCount = std::clamp(charCount, 0, kMaxEntryChars) + 1;
    ComputeSize();
    if (!GetSafeHwnd()) return;
    LayOutEntryWindow(*this, m_edit, m_spin, m_width, m_height, m_metrics.spinWidth);
    m_edit.SetLimitText(m_charCount);
}

void CVMQFloatEditWnd::SetNewValue(int value, int min, int max) {
    if (!GetSafeHwnd()) return;
    m_spin.SetRange32(min, max);
    m_spin.SetPos(value);
    m_edit.SetFocus();
    CString text;
    text.Format("%d", value);
    m_edit.SetWindowText(text);
    m_edit.SetSel(8, 8);
}

void CVMQFloatEditWnd::SelectAll() { m_edit.SetSel(0, -1); }

void CVMQFloatEditWnd::FocusEdit() {
    if (m_edit.GetSafeHwnd()) m_edit.SetFocus();
}

LRESULT CVMQFloatEditWnd::OnReturn(WPARAM, LPARAM) {
    FinishEntry(*this, m_notify, WM_ENTRY_RETURN, false);
    return 0;
}

LRESULT CVMQFloatEditWnd::OnEscape(WPARAM, LPARAM) {
    FinishEntry(*this, m_notify, WM_ENTRY_ESCAPE, true);
    return 0;
}

bool CVMQFloatEditWnd::DeliverKey(unsigned keyCode, unsigned character) {
    if (!GetSafeHwnd() || !IsWindowVisible() || !m_edit.GetSafeHwnd()) return false;
    const HWND field = m_edit.GetSafeHwnd();
    MSG msg;
    msg.hwnd = field;
    msg.message = WM_KEYDOWN;
    msg.wParam = keyCode;
    msg.lParam = 1;
    msg.character = character;
    if (PreTranslateFromField(field, msg)) return true;
    // Not taken (Tab): the field's ordinary handling, as for a typed key;
    // the host may use the key as well.
    if (CWnd* w = CWnd::FromHandle(field)) w->SendMessage(WM_KEYDOWN, keyCode, 1);
    if (character == 0) return false;
    msg.message = WM_CHAR;
    msg.wParam = character;
    msg.character = 0;
    if (PreTranslateFromField(field, msg)) return false;
    if (CWnd* w = CWnd::FromHandle(field)) w->SendMessage(WM_CHAR, character, 1);
    return false;
}
