// The floating entry window: a CNormalFloatEdit with a spin button at its
// right, created hidden over the editor and shown over a value text when
// the user wants to type a value. Return and Escape in the field hide it and
// tell the notify window WM_ENTRY_RETURN or WM_ENTRY_ESCAPE (wParam 0); the
// typed value is then the field's value text, a scaled integer.
#pragma once

#include "editor/CNormalFloatEdit.h"
#include "editor/EntryFieldMessages.h"
#include "editor/EntryWindowLayout.h"
#include "toolkit/CSpinButtonCtrl.h"
#include "toolkit/CWnd.h"

class CFont;

// Where a window is made. A coordinate of 0x80000000 (Win32's
// CW_USEDEFAULT) stands for the default place, 0.
struct CWindowAttr {
    CRect rect;
};

class CVMQFloatEditWnd : public CWnd {
    DECLARE_DYNCREATE(CVMQFloatEditWnd)
public:
    static constexpr const char* kWindowClass = "VMQFloatEditWnd";
    static constexpr DWORD kWindowStyle = WS_CHILD | WS_CLIPSIBLINGS;
    static constexpr DWORD kEditStyle = WS_CHILD | WS_VISIBLE | WS_TABSTOP | ES_RIGHT;
    static constexpr DWORD kSpinStyle =
        UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS | UDS_NOTHOUSANDS;

    CVMQFloatEditWnd() = default;

    // Creates the window, hidden, as a child of parent at attr's rectangle
    // (sized afterwards for charCount characters of font); notify receives
    // the Return and Escape messages. font is not owned.
    BOOL MakeWindow(CWnd* parent, CWnd* notify, LPCTSTR name, CWindowAttr* attr, int charCount,
                    CFont* font, bool sign);

    // Spin range and position, the focus to the field, the field's text from
    // the scaled value, the caret at the end.
    void SetNewValue(int value, int min, int max);
    void SetSingnFlag(bool sign);
    // Resizes for charCount characters (and the text limit with it).
    void ChangeSize(int charCount, bool sign);

    CNormalFloatEdit& GetEdit() { return m_edit; }
    CSpinButtonCtrl& GetSpin() { return m_spin; }
    void SelectAll();
    void FocusEdit();

    // A key a host forwarded (toolkit key code and character) goes to the
    // field as a typed key would, through PreTranslateMessage. True when the
    // field used it; false while the window is hidden.
    bool DeliverKey(unsigned keyCode, unsigned character);

    // The sizes in use.
    int GetCharCount() const { return m_charCount; }  // the requested count + 1
    const EntryWindowMetrics& GetMetrics() const { return m_metrics; }
    int GetWindowWidth() const { return m_width; }
    int GetWindowHeight() const { return m_height; }

    int OnCreate(LPCREATESTRUCT cs);
    void OnPaint();
    LRESULT OnReturn(WPARAM wParam, LPARAM lParam);
    LRESULT OnEscape(WPARAM wParam, LPARAM lParam);

    DECLARE_MESSAGE_MAP()

private:
    void ComputeSize();

    CSpinButtonCtrl m_spin;
    CNormalFloatEdit m_edit;
    HWND m_notify = nullptr;  // a handle: the notify window may go first
    int m_charCount = 0;
    bool m_sign = false;
    CFont* m_font = nullptr;
    EntryWindowMetrics m_metrics;
    int m_width = 0;
    int m_height = 0;
};
