#include "editor/CPresetSaveDlg.h"

#include <cstring>

#include "effect/ATapDelay.h"
#include "toolkit/TextConvert.h"

BEGIN_MESSAGE_MAP(CPresetSaveDlg, CDialog)
    ON_CBN_SELCHANGE(CPresetSaveDlg::kProgramList, OnSelPGMCombo)
END_MESSAGE_MAP()

CPresetSaveDlg::CPresetSaveDlg(CWnd* parent, ATapDelay* effect) : CDialog(IDD, parent), m_effect(effect) {}

void CPresetSaveDlg::DoDataExchange(CDataExchange* dx) {
    CDialog::DoDataExchange(dx);
    DDX_Control(dx, kProgramList, m_programCombo);
}

// Program names are stored as Shift-JIS; the dialog shows them as UTF-8.
void CPresetSaveDlg::ShowProgramName(int program) {
    char stored[64] = {};
    char shown[256] = {};
    m_effect->getProgramNameIndexed(0, program, stored);
    CheckSJISAndToUFT8(stored, shown, sizeof shown);
    SetDlgItemText(kNameField, shown);
}

BOOL CPresetSaveDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    for (int program = 0; program < kNumPrograms; program++) {
        char stored[64] = {};
        char shown[256] = {};
        m_effect->getProgramNameIndexed(0, program, stored);
        CheckSJISAndToUFT8(stored, shown, sizeof shown);
        CString entry;
        entry.Format("%d:%s", program + 1, shown);
        m_programCombo.AddString(entry);
    }
    m_programCombo.SetCurSel(m_effect->getProgram());
    ShowProgramName(m_effect->getProgram());
    return TRUE;
}

void CPresetSaveDlg::OnSelPGMCombo() {
    int program = m_programCombo.GetCurSel();
    if (program >= 0 && program < kNumPrograms) ShowProgramName(program);
}

void CPresetSaveDlg::OnOK() {
    m_selected = m_programCombo.GetCurSel();
    if (m_selected < 0) m_selected = 0;
    CString typed;
    GetDlgItemText(kNameField, typed);
    // A name with no Shift-JIS form is saved as an empty name.
    const char* converted = UTF8ToSJSINS(typed);
    char name[24] = {};
    if (converted) {
        std::strncpy(name, converted, 23);
        // Never leave the first half of a two-byte character at the end.
        if (std::strlen(name) == 23 && IsDBCSLeadByte(static_cast<unsigned char>(name[22]))) name[22] = 0;
    }
    m_name = name;
    CDialog::OnOK();
}
