// Modal dialogs built from a template in the resource folder, "<id>.dlg":
//
//   dialog <width> <height> "<title>"
//   <kind> <id> <left> <top> <right> <bottom> "<caption>"
//
// one control a line, kind one of static, edit, combo, button, defbutton;
// ids 1 (IDOK) and 2 (IDCANCEL) are the usual buttons, -1 marks a label
// nobody addresses. Rectangles are client pixels of the dialog; a combo's
// rectangle reaches down over its open list, as in Win32 (see CComboBox.h).
// Blank lines and lines starting with '#' are skipped. Return presses the
// focused push button, else the default button (OK); Escape and the window's
// close button cancel; Tab and Shift+Tab move the focus.
#pragma once

#include <utility>
#include <vector>

#include "toolkit/CWnd.h"
#include "toolkit/DialogTemplate.h"

class CDialog;

// Binds dialog controls to members (DDX_Control).
class CDataExchange {
public:
    CDataExchange(CDialog* dialog, BOOL saveAndValidate)
        : m_pDlgWnd(dialog), m_bSaveAndValidate(saveAndValidate) {}
    CDialog* m_pDlgWnd;
    BOOL m_bSaveAndValidate;
    // Set while DoModal asks which members stand for which controls, before
    // it creates them; DDX_Control then only records.
    std::vector<std::pair<int, CWnd*>>* m_pBindings = nullptr;
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
    // when it cannot be shown: no template, no display connection).
    //
    // Steps: the top-level window (transient for the owner), DoDataExchange
    // once to learn the DDX_Control members, the controls in template order
    // (a bound member is created in its entry's place, the others are made
    // and owned by the dialog), OnInitDialog, the focus to the first edit
    // field or combo box, the modal loop until EndDialog (or until the window
    // or the connection goes away: IDCANCEL), and the window destroyed.
    virtual intptr_t DoModal();
    virtual BOOL OnInitDialog();  // runs DoDataExchange(load); TRUE
    virtual void OnOK();          // EndDialog(IDOK)
    virtual void OnCancel();      // EndDialog(IDCANCEL)
    void EndDialog(int result);
    BOOL UpdateData(BOOL saveAndValidate = TRUE);

    BOOL PreTranslateMessage(MSG* msg) override;
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
    bool WantsKeyboard() const override { return true; }

    UINT GetTemplateId() const { return m_templateId; }
    bool IsRunning() const { return m_running; }

    DECLARE_MESSAGE_MAP()

protected:
    // Runs from a template made in memory instead of the resource file.
    void SetTemplate(const DialogTemplate& dialogTemplate);
    // Creates control as template entry id inside the open dialog; false
    // when there is no such entry or its kind does not fit the control.
    bool CreateControlFromTemplate(int id, CWnd& control);
    CWnd* FindOwner() const;
    CRect PlaceOnScreen(CWnd* owner, CSize size) const;
    void FocusFirstControl();
    void MoveFocus(int direction);
    void DestroyDialogWindow();

    UINT m_templateId;
    CWnd* m_parentWnd;
    int m_result = -1;
    bool m_running = false;
    std::vector<CWnd*> m_ownedControls;  // controls made from the template
    DialogTemplate m_template;
    bool m_haveTemplate = false;  // m_template set by SetTemplate

    friend void DDX_Control(CDataExchange* dx, int id, CWnd& control);
};
