// A single-line edit field drawn by the toolkit: caret, selection, typing,
// backspace and delete, arrows, Home and End, left or right (ES_RIGHT)
// alignment, a text limit.
#pragma once

#include <string>

#include "toolkit/CWnd.h"

class CSpinButtonCtrl;

class CEdit : public CWnd {
    DECLARE_DYNCREATE(CEdit)
public:
    CEdit() = default;

    virtual BOOL Create(DWORD style, const RECT& rect, CWnd* parent, UINT id);

    // Characters the field accepts at most (0: no limit).
    void SetLimitText(UINT maxChars);
    UINT GetLimitText() const { return m_limit; }
    // Selects [start, end); end -1 means to the end of the text; start -1
    // removes the selection. The caret goes to end.
    void SetSel(int start, int end, BOOL noScroll = FALSE);
    void GetSel(int& start, int& end) const;
    void ReplaceSel(LPCTSTR text, BOOL canUndo = FALSE);

    // Text changes notify the parent with EN_CHANGE; SetTextForSpin does the
    // same as SetWindowText but tells no buddy spin button.
    void SetWindowText(LPCTSTR text) override;
    void SetTextForSpin(LPCTSTR text);

    BOOL PreTranslateMessage(MSG* msg) override;
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

    // The default key handling, also what DefWindowProc does with WM_KEYDOWN
    // and WM_CHAR: Left, Right, Home, End move the caret (Shift extends the
    // selection), Delete removes; characters from 32 up (except 127) replace
    // the selection, 8 is backspace, other control characters are ignored.
    // Up and Down step a spin button whose buddy this field is (UDS_ARROWKEYS).
    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);

    // Set by CSpinButtonCtrl::SetBuddy: the spin that shows its position here.
    void SetBuddySpin(CSpinButtonCtrl* spin);
    CSpinButtonCtrl* GetBuddySpin() const;

    // Where the text starts, in client x (after alignment and scrolling), and
    // the area it is drawn in; for tests and subclasses that draw around it.
    int GetTextOriginX() const;
    CRect GetTextArea() const;
    int GetCaretX() const;  // client x of the caret line

    DECLARE_MESSAGE_MAP()

protected:
    void DrawField(CDC& dc);
    int CaretFromPoint(CPoint point) const;
    UINT m_limit = 0;
    int m_selStart = 0;
    int m_selEnd = 0;    // the caret
    int m_scroll = 0;    // horizontal text offset in pixels
    bool m_dragging = false;

private:
    std::string Text() const;
    int TextWidth(const std::string& text, int length) const;
    void Replace(const std::string& text, int caret, bool notify);
    void ReplaceSelection(const std::string& insert);
    void TypeByte(unsigned char byte);
    void MoveCaret(int to, bool extend);
    void ScrollToCaret();
    void NotifyChange();
    bool HasFocus() const;

    HWND m_spinHwnd = nullptr;
    CSpinButtonCtrl* m_spin = nullptr;
    bool m_dropContinuation = false;  // the lead byte before was refused
};
