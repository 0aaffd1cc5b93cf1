// Dialogs from templates and the message box, on the headless screen: the
// save dialog's template, DoModal's answers to Return, Escape, the close
// button and the buttons, members bound with DDX_Control, a list choice
// inside the dialog, and the alert window. The editor's real-input test runs
// the save dialog on X11.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "support/TempFolder.h"
#include "tests/toolkit/ControlHost.h"
#include "toolkit/CButton.h"
#include "toolkit/CComboBox.h"
#include "toolkit/CDialog.h"
#include "toolkit/CEdit.h"
#include "toolkit/ComboListPopup.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/Gdi.h"
#include "toolkit/DialogTemplate.h"
#include "toolkit/MessageBoxDialog.h"
#include "toolkit/ResourceFolder.h"
#include "toolkit/UIConnection.h"
#include "toolkit/WindowTree.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

constexpr unsigned long kEscape = 0xff1b, kReturn = 0xff0d, kDown = 0xff54;
constexpr int kProgramList = 1120, kNameField = 5000;

// The plug-in's save dialog in miniature: a bound program list whose choice
// puts the entry's text into the name field; OK records what it saw.
class SaveLikeDialog : public CDialog {
public:
    explicit SaveLikeDialog(CWnd* parent) : CDialog(5040, parent) {}
    CComboBox m_programs;
    std::string okName;
    int okSelection = -1;

    void DoDataExchange(CDataExchange* dx) override {
        CDialog::DoDataExchange(dx);
        DDX_Control(dx, kProgramList, m_programs);
    }
    BOOL OnInitDialog() override {
        CDialog::OnInitDialog();
        for (int i = 1; i <= 64; ++i) m_programs.AddString((std::to_string(i) + ":Program").c_str());
        m_programs.SetCurSel(3);
        SetDlgItemText(kNameField, "Name 4");
        return TRUE;
    }
    void OnOK() override {
        CString name;
        GetDlgItemText(kNameField, name);
        okName = name;
        okSelection = m_programs.GetCurSel();
        CDialog::OnOK();
    }
    void OnSelectProgram() {
        SetDlgItemText(kNameField, (std::to_string(m_programs.GetCurSel() + 1) + ":Program").c_str());
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(SaveLikeDialog, CDialog)
    ON_CBN_SELCHANGE(kProgramList, OnSelectProgram)
END_MESSAGE_MAP()

std::string TextOf(const CWnd* window) {
    CString text;
    if (window) window->GetWindowText(text);
    return std::string(text);
}

NativeWindow DialogWindow() { return ModalRootAs<CDialog>()->GetNativeWindow(); }

CPoint MiddleOf(const CWnd* window) {
    CRect r;
    window->GetClientRect(&r);
    return ControlHost::Screen(*window, r.Width() / 2, r.Height() / 2);
}

TEST(ToolkitDialogTemplate, ReadingKeepsWhatIsWellFormedAndBoundsTheNumbers) {
    DialogTemplate t;
    EXPECT_FALSE(ParseDialogTemplate("", t));
    EXPECT_FALSE(ParseDialogTemplate("edit 1 0 0 10 10\n", t));  // no dialog line first
    EXPECT_FALSE(ParseDialogTemplate("dialog 10\n", t));
    ASSERT_TRUE(ParseDialogTemplate(
        "# comment\n"
        "\n"
        "dialog 99999 -5 \"A \\\"quoted\\\" title\"\r\n"
        "button 7 1 2 3 4 \"Go \\\\ on\"\n"
        "slider 8 1 2 3 4 \"unknown kind\"\n"
        "edit 9 1 2 x 4\n"
        "edit 10 1 2 3\n"
        "static 11 1 2 3 4 \"unterminated\n"
        "edit 12 -9000 50 40 10\n",
        t));
    EXPECT_EQ(t.width, 4096);
    EXPECT_EQ(t.height, 1);
    EXPECT_EQ(t.title, "A \"quoted\" title");
    ASSERT_EQ(t.controls.size(), 2u);
    EXPECT_EQ(t.controls[0].caption, "Go \\ on");
    EXPECT_EQ(t.controls[0].rect, CRect(1, 2, 3, 4));
    // Clamped; a right or bottom before its left or top gives an empty rectangle.
    EXPECT_EQ(t.controls[1].rect, CRect(-4096, 50, 40, 50));
    EXPECT_EQ(t.Find(12), &t.controls[1]);
    EXPECT_EQ(t.Find(8), nullptr);
}

TEST(ToolkitDialogTemplate, WithoutTemplateOrDisplayDoModalAnswersMinusOne) {
    TempFolder folder;
    AfxSetResourceFolder(folder.path().c_str());
    CDialog missing(4242);
    EXPECT_EQ(missing.DoModal(), -1);
    AfxSetResourceFolder(TAPDELAY_PLUGIN_DIR);
    SaveLikeDialog noDisplay(nullptr);  // no connection is open
    EXPECT_EQ(noDisplay.DoModal(), -1);
    AfxSetResourceFolder(nullptr);
}

class ToolkitDialogs : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(host.Open());
        AfxSetResourceFolder(TAPDELAY_PLUGIN_DIR);
        baseline = WindowTree::LiveWindowCount();
    }
    void TearDown() override {
        AfxSetResourceFolder(nullptr);
        host.Close();
    }
    // Waits until the dialog is up and its controls can take input.
    ModalScript& WaitForDialog(ModalScript& script) {
        return script.WaitUntil([] {
            CDialog* dialog = ModalRootAs<CDialog>();
            CWnd* focus = CWnd::GetFocus();
            return dialog && dialog->IsWindowVisible() && focus &&
                   focus->GetNativeWindow() == dialog->GetNativeWindow();
        });
    }

    ControlHost host;
    size_t baseline = 0;
};

TEST_F(ToolkitDialogs, ReturnEscapeTheCloseButtonAndTheButtonsEndTheDialog) {
    // Escape after some typing, the window manager's close button (on X11
    // the backend's own test sends it), and a click on OK or Cancel. OnOK
    // runs for OK only.
    enum Way { kEscapeKey, kCloseButton, kOkButton, kCancelButton };
    for (Way way : {kEscapeKey, kCloseButton, kOkButton, kCancelButton}) {
        SaveLikeDialog dialog(&host.Root());
        ModalScript script(host.Env());
        WaitForDialog(script);
        if (way == kEscapeKey) script.Text("zz").Key(kEscape);
        if (way == kCloseButton) script.Do([] { headless::RequestClose(DialogWindow()); });
        if (way == kOkButton || way == kCancelButton) {
            script.ClickAt([way] {
                return MiddleOf(ModalRootAs<CDialog>()->GetDlgItem(way == kOkButton ? IDOK : IDCANCEL));
            });
            // The editor window opens the dialog from a click it captured:
            // the capture must not keep the dialog's clicks.
            host.Root().SetCapture();
        }
        script.Install();
        EXPECT_EQ(dialog.DoModal(), way == kOkButton ? IDOK : IDCANCEL) << way;
        EXPECT_FALSE(script.Overran()) << way;
        EXPECT_EQ(dialog.okSelection, way == kOkButton ? 3 : -1) << way;
    }
    // Return; the same object runs again with a freshly filled list. (The
    // editor's X11 test types a name into the real dialog.)
    {
        SaveLikeDialog dialog(&host.Root());
        for (int run = 0; run < 2; ++run) {
            ModalScript script(host.Env());
            WaitForDialog(script).Key(kReturn);
            script.Install();
            EXPECT_EQ(dialog.DoModal(), IDOK);
            EXPECT_EQ(dialog.okName, "Name 4");
            EXPECT_EQ(dialog.okSelection, 3);
        }
        // Window and controls are gone, owned controls freed.
        EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
        EXPECT_EQ(dialog.m_programs.GetSafeHwnd(), nullptr);
    }
    EXPECT_EQ(WindowTree::LiveWindowCount(), baseline);
}

TEST_F(ToolkitDialogs, AListChoiceInsideTheDialogReachesItsHandlerAndReturnThenConfirms) {
    SaveLikeDialog dialog(nullptr);
    // Without a parent the dialog goes over the window that took the input
    // (the editor's X11 test sees it centred there).
    host.ClickAt(host.Root(), 5, 5);
    CRect dialogRect;
    std::string nameAfterChoice, title;
    int listRows = 0;
    bool runningAfterListReturn = false;
    ModalScript script(host.Env());
    WaitForDialog(script)
        .Do([&] {
            dialog.GetWindowRect(&dialogRect);
            title = TextOf(&dialog);
            listRows = dialog.m_programs.GetVisibleRows();
        })
        .ClickAt([&] { return MiddleOf(&dialog.m_programs); })
        .WaitUntil([&] { return dialog.m_programs.GetDroppedList() != nullptr; })
        .Snapshot([&] { return dialog.m_programs.GetDroppedList()->GetNativeWindow(); },
                  TAPDELAY_BINARY_DIR "toolkit-dialog-list.png")
        .Key(kDown)
        .Key(kDown)
        .WaitUntil([&] { return dialog.m_programs.GetDroppedList()->GetHotIndex() == 5; })
        .Key(kReturn)  // chooses in the list; the dialog stays
        .WaitUntil([&] { return dialog.m_programs.GetDroppedList() == nullptr; })
        .Do([&] {
            runningAfterListReturn = dialog.IsRunning();
            nameAfterChoice = TextOf(dialog.GetDlgItem(kNameField));
        })
        .Key(kReturn);
    script.Install();
    EXPECT_EQ(dialog.DoModal(), IDOK);
    EXPECT_FALSE(script.Overran());
    EXPECT_TRUE(runningAfterListReturn);
    EXPECT_EQ(nameAfterChoice, "6:Program");
    EXPECT_EQ(dialog.okName, "6:Program");
    EXPECT_EQ(dialog.okSelection, 5);
    // The plug-in's template; its list shows 12 rows below the box.
    EXPECT_EQ(title, "Save Program");
    EXPECT_EQ(listRows, 12);
    EXPECT_EQ(dialogRect.Size(), CSize(300, 130));
}

TEST_F(ToolkitDialogs, TheMessageBoxShowsItsTextAndCloses) {
    const char* text =
        "The program bank could not be saved to the preferences folder. Check that the folder "
        "exists and can be written.";
    std::string shown;
    int labelLines = 0;
    ModalScript script(host.Env());
    WaitForDialog(script)
        .Do([&] {
            CDialog* box = ModalRootAs<CMessageBoxDialog>();
            if (!box) return;
            CWnd* label = box->GetDlgItem(CMessageBoxDialog::kTextId);
            shown = TextOf(label);
            CRect r;
            label->GetClientRect(&r);
            labelLines = r.Height() / AfxGetControlFont()->GetLineHeight();
        })
        .Snapshot(DialogWindow, TAPDELAY_BINARY_DIR "toolkit-message-box.png")
        .Key(kReturn);
    script.Install();
    EXPECT_EQ(AfxMessageBox(text, MB_OK | MB_ICONERROR), IDOK);
    EXPECT_FALSE(script.Overran());
    EXPECT_EQ(shown, text);
    EXPECT_EQ(labelLines, 2);

    // With OK alone Escape answers IDOK.
    ModalScript escape(host.Env());
    WaitForDialog(escape).Key(kEscape);
    escape.Install();
    EXPECT_EQ(AfxMessageBox("Done."), IDOK);
    EXPECT_FALSE(escape.Overran());
    EXPECT_EQ(WindowTree::LiveWindowCount(), baseline);

    // Off the UI thread no window opens: the text goes to stderr.
    bool loopRan = false;
    AfxSetModalIdleHook([&] { loopRan = true; });
    int answer = 0;
    std::thread other([&] { answer = AfxMessageBox("from the audio thread", MB_OKCANCEL); });
    other.join();
    AfxSetModalIdleHook(nullptr);
    EXPECT_EQ(answer, IDOK);
    EXPECT_FALSE(loopRan);
}

}  // namespace
