// Two arrow buttons stepping an integer position within a range; with
// UDS_SETBUDDYINT the buddy window's text shows the position ("%d", or
// "0x%X" in base 16; no thousands separators), with UDS_ARROWKEYS the buddy's
// Up and Down keys step it (an edit buddy passes them on from its
// OnKeyDown). A step notifies the parent with WM_VSCROLL
// (MAKEWPARAM(SB_THUMBPOSITION 4, position), the spin's handle). The
// position is not read back from the buddy's text.
#pragma once

#include "toolkit/CWnd.h"

class CSpinButtonCtrl : public CWnd {
    DECLARE_DYNCREATE(CSpinButtonCtrl)
public:
    CSpinButtonCtrl() = default;

    virtual BOOL Create(DWORD style, const RECT& rect, CWnd* parent, UINT id);

    CWnd* SetBuddy(CWnd* buddy);  // returns the previous buddy
    CWnd* GetBuddy() const { return m_buddy; }
    int SetBase(int base);        // 10 or 16; returns the previous base
    void SetRange(short lower, short upper) { SetRange32(lower, upper); }
    void SetRange32(int lower, int upper);
    void GetRange32(int& lower, int& upper) const;
    // Sets the position (clamped to the range) and, with UDS_SETBUDDYINT,
    // the buddy's text. Returns the previous position.
    int SetPos(int pos);
    int GetPos() const { return m_pos; }
    // The same, leaving the buddy's text as it is.
    int SetPosForSpin(int pos);
    // One step up (+1) or down (-1), as an arrow click does.
    void Step(int direction);
    // The buddy edit's text was set from outside: the position follows it
    // (read in the spin's base). Ignored while the spin itself sets the text.
    void BuddyTextChanged(const char* text);

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

    DECLARE_MESSAGE_MAP()

protected:
    void Draw(CDC& dc);
    CRect ArrowRect(int direction) const;  // +1 the upper arrow, -1 the lower
    int Clamp(int pos) const;
    void UpdateBuddyText();
    CWnd* LiveBuddy() const;  // the buddy while its window exists
    HWND m_buddyHwnd = nullptr;
    CWnd* m_buddy = nullptr;
    int m_base = 10;
    int m_lower = 0;
    int m_upper = 100;
    int m_pos = 0;
    int m_pressed = 0;  // +1 upper arrow held, -1 lower, 0 none
    bool m_settingBuddy = false;
};
