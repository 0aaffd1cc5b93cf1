#include "editor/CNormalFloatEdit.h"

#include "editor/EntryFieldMessages.h"

IMPLEMENT_DYNCREATE(CNormalFloatEdit, CFormatEdit)

BEGIN_MESSAGE_MAP(CNormalFloatEdit, CFormatEdit)
    ON_WM_KEYDOWN()
    ON_WM_CHAR()
END_MESSAGE_MAP()

CNormalFloatEdit::CNormalFloatEdit() { SetFormat("%.1f", 10.0); }

BOOL CNormalFloatEdit::MakeWindow(DWORD style, const CRect& rect, CWnd* parent, UINT id,
                                  bool /*reserved*/, bool sign) {
    m_sign = sign;
    return CEdit::Create(style, rect, parent, id);
}

void CNormalFloatEdit::ProcRet() {
    SendMessage0(GetParent(), WM_ENTRY_RETURN, static_cast<WPARAM>(GetDlgCtrlID()), 0);
}

void CNormalFloatEdit::ProcEsc() {
    SendMessage0(GetParent(), WM_ENTRY_ESCAPE, static_cast<WPARAM>(GetDlgCtrlID()), 0);
}

void CNormalFloatEdit::OnKeyDown(UINT key, UINT repeat, UINT flags) {
    switch (key) {
    case kEntryReturnKey:
    case kEntryReturnKeyAlso:
        ProcRet();
        return;
    case kEntryEscapeKey:
        ProcEsc();
        return;
    default:
        CEdit::OnKeyDown(key, repeat, flags);
    }
}

void CNormalFloatEdit::OnChar(UINT ch, UINT repeat, UINT flags) {
    // Return and Escape did their work as key-downs.
    if (ch == keychar::Return || ch == keychar::Escape) return;
    if (IsAcceptedChar(ch)) {
        TypeAccepted(ch, repeat, flags);
        return;
    }
    // Not typed in: the text as it stands, rewritten in the format.
    const double value = ReadShownValue();
    ShowInFormat(value);
    SetValueText(value);
    NotifyParent();
}
