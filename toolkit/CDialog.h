// Modal dialogs built from a template in the resource folder, "<id>.dlg":
//
//   dialog <width> <height> "<title>"
//   <kind> <id> <left> <top> <right> <bottom> "<caption>"
//
// one control a line, kind one of static, edit, combo, button, defbutton;
// ids 1 (IDOK) and 2 (IDCANCEL) are the usual buttons. Return presses OK,
// Escape and the window's close button cancel.
#pragma once

#include "toolkit/CWnd.h"

class CDialog;

// Binds dialog controls to members (DDX_Control).
class CDataExchange {
public:
    CDataExchange(CDialog* dialog, BOOL saveAndValidate)
        : m_pDlgWnd(dialog), m_bSaveAndValidate(saveAndValidate) {}
    CDialog* m_pDlgWnd;
    BOOL m_bSaveAndValidate;
};

// Makes control the dialog's control id (its window takes the template's
// place, kind and rectangle).
void DDX_Control(CDataExchange* dx, int id, CWnd& control);

class CDialog : public CWnd {
    DECLARE_DYNAMIC(CDialog)
public:
    explicit CDialog(UINT templateId = 0, CWnd* parent = nullptr);
    ~CDialog() override;

    // Shows the dialog centred on its parent (or on the window that is
    // handling input now), runs it modally, returns IDOK or IDCANCEL (-1
    // when it cannot be shown).
    virtual intptr_t DoModal();
    virtual BOOL OnInitDialog();  // runs DoDataExchange(load); TRUE
    virtual void OnOK();          // EndDialog(IDOK)
    virtual void OnCancel();      // EndDialog(IDCANCEL)
    void EndDialog(int result);
    BOOL UpdateData(BOOL saveAndValidate = TRUE);

    BOOL PreTranslateMessage(MSG* msg) override;
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

    UINT GetTemplateId() const { return m_templateId; }

    DECLARE_MESSAGE_MAP()

protected:
    UINT m_templateId;
    CWnd* m_parentWnd;
    int m_result = -1;
    bool m_running = false;
    std::vector<CWnd*> m_ownedControls;  // controls made from the template
};
