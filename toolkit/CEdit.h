// A single-line edit field drawn by the toolkit: caret, selection, typing,
// backspace and delete, arrows, Home and End, left or right (ES_RIGHT)
// alignment, a text limit.
#pragma once

#include "toolkit/CWnd.h"

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

    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);

    DECLARE_MESSAGE_MAP()

protected:
    void DrawField(CDC& dc);
    int CaretFromPoint(CPoint point) const;
    UINT m_limit = 0;
    int m_selStart = 0;
    int m_selEnd = 0;    // the caret
    int m_scroll = 0;    // horizontal text offset in pixels
    bool m_dragging = false;
};
