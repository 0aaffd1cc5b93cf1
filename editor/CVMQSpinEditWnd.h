// The integer twin of CVMQFloatEditWnd: the same window, layout and
// messages around a CVMQSpinEdit, which holds a plain integer.
#pragma once

#include <climits>

#include "editor/CVMQFloatEditWnd.h"
#include "toolkit/CEdit.h"

// An integer field: digits, backspace and (when the range goes below 0)
// "-"; Return and Escape go to the parent as WM_ENTRY_RETURN and
// WM_ENTRY_ESCAPE (wParam = the field's control id).
class CVMQSpinEdit : public CEdit {
    DECLARE_DYNCREATE(CVMQSpinEdit)
public:
    CVMQSpinEdit() = default;

    void SetRange(int min, int max);
    int GetMin() const { return m_min; }
    int GetMax() const { return m_max; }
    void SetValue(int value);  // shows it as "%d"
    int GetValue() const;      // the text as an integer (atoi)
    void SetNewValue(int value, int min, int max);

    void OnKeyDown(UINT key, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);

    DECLARE_MESSAGE_MAP()

private:
    int m_min = INT_MIN;
    int m_max = INT_MAX;
};

class CVMQSpinEditWnd : public CWnd {
    DECLARE_DYNCREATE(CVMQSpinEditWnd)
public:
    static constexpr const char* kWindowClass = "VMQSpinEditWnd";

    CVMQSpinEditWnd() = default;

    BOOL MakeWindow(CWnd* parent, CWnd* notify, LPCTSTR name, CWindowAttr* attr, int charCount,
                    CFont* font);
    void SetNewValue(int value, int min, int max);
    void ChangeSize(int charCount);

    CVMQSpinEdit& GetEdit() { return m_edit; }
    CSpinButtonCtrl& GetSpin() { return m_spin; }
    int GetWindowWidth() const { return m_width; }
    int GetWindowHeight() const { return m_height; }

    int OnCreate(LPCREATESTRUCT cs);
    void OnPaint();
    LRESULT OnReturn(WPARAM wParam, LPARAM lParam);
    LRESULT OnEscape(WPARAM wParam, LPARAM lParam);

    DECLARE_MESSAGE_MAP()

private:
    CSpinButtonCtrl m_spin;
    CVMQSpinEdit m_edit;
    HWND m_notify = nullptr;
    int m_charCount = 0;
    CFont* m_font = nullptr;
    EntryWindowMetrics m_metrics;
    int m_width = 0;
    int m_height = 0;
};
