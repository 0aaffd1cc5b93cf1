// A push button of a dialog: a click (press and release inside) or Space
// while focused sends WM_COMMAND(MAKEWPARAM(id, BN_CLICKED), handle) to the
// parent. BS_DEFPUSHBUTTON draws it as the button that Return presses.
#pragma once

#include "toolkit/CWnd.h"

constexpr DWORD BS_PUSHBUTTON = 0x0000;
constexpr DWORD BS_DEFPUSHBUTTON = 0x0001;

class CButton : public CWnd {
    DECLARE_DYNCREATE(CButton)
public:
    CButton() = default;

    virtual BOOL Create(LPCTSTR caption, DWORD style, const RECT& rect, CWnd* parent, UINT id);
    // Sends BN_CLICKED as a click does.
    void Click();

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
    // Focused, it takes Space (and the dialog's Return), so its root needs
    // the keyboard.
    bool WantsKeyboard() const override { return true; }

    DECLARE_MESSAGE_MAP()

protected:
    void Draw(CDC& dc);
    bool m_tracking = false;  // the left button went down on this button
    bool m_pressed = false;   // ... and the pointer is over it
};
