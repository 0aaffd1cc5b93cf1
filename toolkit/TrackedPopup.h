// A popup root that holds the pointer and the keyboard while it runs: the
// shared part of popup menus and combo-box lists. Track shows it, grabs
// input and runs a modal loop on its connection until EndTracking (or until
// the window or its connection goes away). Presses outside the window arrive
// at the window itself (the grab), with client coordinates outside it.
#pragma once

#include "toolkit/CWnd.h"

class CTrackedPopup : public CWnd {
public:
    // Creates the hidden popup at screenRect, owned by owner (may be null:
    // the current connection).
    bool CreatePopup(CWnd* owner, const CRect& screenRect);
    // False when the popup could not run (no window or connection).
    bool Track();
    void EndTracking() { m_tracking = false; }
    bool IsTracking() const { return m_tracking; }
    bool IsInside(CPoint clientPoint) const;

    // Keys aimed at the popup stop here: a dialog behind it must not see
    // Return or Escape.
    BOOL PreTranslateMessage(MSG* msg) override;
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

protected:
    virtual void OnPopupKey(UINT key) = 0;
    virtual void Draw(CDC& dc) = 0;

private:
    bool m_tracking = false;
};
