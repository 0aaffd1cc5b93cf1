// The program save dialog: pick a slot (1 to 64) and type a name; on OK the
// editor saves the current settings there.
#pragma once

#include "toolkit/CComboBox.h"
#include "toolkit/CDialog.h"

class ATapDelay;

class CPresetSaveDlg : public CDialog {
public:
    enum { IDD = 5040 };
    static constexpr int kProgramList = 1120;
    static constexpr int kNameField = 5000;

    CPresetSaveDlg(CWnd* parent, ATapDelay* effect);

    int GetSelectedSlot() const { return m_selected; }
    // Shift-JIS, at most 23 bytes.
    const char* GetName() const { return m_name; }

    void DoDataExchange(CDataExchange* dx) override;
    BOOL OnInitDialog() override;
    void OnOK() override;
    void OnSelPGMCombo();

    DECLARE_MESSAGE_MAP()

private:
    void ShowProgramName(int program);
    CComboBox m_programCombo;
    int m_selected = 0;
    CString m_name;
    ATapDelay* m_effect;
};
