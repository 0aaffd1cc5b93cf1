// The windowed form of AfxMessageBox: a modal dialog with the text wrapped
// to a comfortable width and an OK button (OK and Cancel for MB_OKCANCEL),
// centred over the window handling input. Return presses OK; Escape and the
// close button cancel (answering IDOK when there is no Cancel button).
#pragma once

#include "toolkit/CDialog.h"

class CMessageBoxDialog : public CDialog {
public:
    CMessageBoxDialog(const char* text, unsigned type);
    void OnCancel() override;

    // The layout the dialog uses for text and type (tests read it).
    static DialogTemplate MakeTemplate(const char* text, unsigned type);

    static constexpr int kTextId = 0xFFFF;
    static constexpr int kMaxTextWidth = 380;

private:
    bool m_hasCancel;
};

// Shows text in a message box window on the current display connection and
// returns the answer; -1 when no connection is open (or when called off the
// connection's UI thread), so that the caller can fall back.
int AfxShowMessageWindow(const char* text, unsigned type);
