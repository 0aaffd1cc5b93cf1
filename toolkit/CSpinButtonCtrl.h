// Two arrow buttons stepping an integer position within a range; with
// UDS_SETBUDDYINT the buddy window's text shows the position, with
// UDS_ARROWKEYS the buddy's Up and Down keys step it.
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

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

    DECLARE_MESSAGE_MAP()

protected:
    CWnd* m_buddy = nullptr;
    int m_base = 10;
    int m_lower = 0;
    int m_upper = 100;
    int m_pos = 0;
    int m_pressed = 0;  // +1 upper arrow held, -1 lower, 0 none
};
