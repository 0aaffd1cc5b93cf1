// The field inside the floating entry window: a number with one decimal by
// default ("%.1f", scale 10). Return confirms and Escape abandons, told to
// the parent window as WM_ENTRY_RETURN and WM_ENTRY_ESCAPE (wParam = the
// field's control id); a character it does not take only makes it rewrite
// its text in its format, with no bounds.
#pragma once

#include "editor/CFormatEdit.h"

class CNormalFloatEdit : public CFormatEdit {
    DECLARE_DYNCREATE(CNormalFloatEdit)
public:
    CNormalFloatEdit();

    // Creates the field (CEdit::Create) with the given sign flag. The first
    // flag has no meaning here; it stays for the callers that pass it.
    BOOL MakeWindow(DWORD style, const CRect& rect, CWnd* parent, UINT id, bool reserved,
                    bool sign);

    // d decimals: the format "%.<d>f" and the scale 10^d.
    void SetFloatPoint(int decimals) { SetDecimals(decimals); }

    void ProcRet();
    void ProcEsc();

    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);

    DECLARE_MESSAGE_MAP()
};
