// An edit field for one number. Values go in and out as scaled integers
// (the value x scale, as "%d", the value text); the field shows the value
// itself in a printf format. Only digits, ".", backspace, the arrows and,
// with the sign flag, "-" are typed in; any other character makes the
// field rewrite its text in its format. Every change is told to the parent
// with WM_COMMAND (wParam = the field's control id, lParam its handle).
#pragma once

#include <string>

#include "toolkit/CEdit.h"

class CFormatEdit : public CEdit {
    DECLARE_DYNCREATE(CFormatEdit)
public:
    CFormatEdit();

    // text is a scaled integer: the field shows text / scale in its format.
    // Sets the value text as well.
    void SetWindowText(LPCTSTR text) override;
    // The value text, as an owner or a buddy spin reads the field.
    void GetWindowText(CString& text) const override;
    using CEdit::GetWindowText;
    const CString& GetValueText() const { return m_valueText; }
    // The text as shown.
    CString GetShownText() const;

    void SetSingnFlag(bool sign) { m_sign = sign; }
    bool GetSingnFlag() const { return m_sign; }
    // Bounds for FixInputText; kept only when max > min.
    void SetInputMinMax(double min, double max);
    double GetInputMin() const { return m_min; }
    double GetInputMax() const { return m_max; }
    const char* GetFormat() const { return m_format; }
    double GetScale() const { return m_scale; }

    // The shown text as a scaled integer, as the buddy spin's position.
    void NotifySpinButton();
    // Clamps the shown value into [min, max], rewrites it in the format and
    // updates the value text; tells the parent.
    void FixInputText();

    // The C library's atof, with values beyond a double's range pulled to
    // the largest finite double (and text that is not a number giving 0).
    double atof(const char* text) const;
    // The same, then limited to [min, max].
    double atof_and_limitchk(const char* text) const;

    // Key-downs other than Tab go to the field itself, followed by their
    // character (keypad Enter 3 as 13, the arrows 28 and 29 as 37 and 39);
    // the toolkit delivers nothing more of them.
    BOOL PreTranslateMessage(MSG* msg) override;

    void OnChar(UINT ch, UINT repeat, UINT flags);
    // A variant that only lets the accepted characters through and tells the
    // parent of any other.
    void OnNotifyChar(UINT ch, UINT repeat, UINT flags);
    void OnKillFocus(CWnd* newFocus);

    DECLARE_MESSAGE_MAP()

protected:
    // Digits, backspace, the arrows (37, 39), "." and, with the sign flag, "-".
    bool IsAcceptedChar(UINT ch) const;
    // Lets an accepted character do its default editing, then updates the
    // value text from the new text and tells the parent.
    void TypeAccepted(UINT ch, UINT repeat, UINT flags);
    // The shown text read back (at most 318 characters) as a value.
    double ReadShownValue() const;
    // Shows value in the format (the caret stays where it was).
    void ShowInFormat(double value);
    void SetValueText(double shownValue);
    void NotifyParent();
    // format (a literal, for one double) and scale, set by each kind of field.
    void SetFormat(const char* format, double scale) {
        m_format = format;
        m_scale = scale;
    }
    // Sets the format for d decimals ("%.<d>f") and the scale 10^d.
    void SetDecimals(int decimals);
    // Text limit: digits, the sign when it may be typed, and extra.
    void LimitDigits(int digits, int extra);

    const char* m_format = "%.1fmm";
    double m_scale = 10.0;
    bool m_sign = false;
    double m_max;
    double m_min;
    std::string m_formatBuffer;  // a format built at run time
    CString m_valueText;
};
