// Edit fields and spin buttons on the headless backend: the keyboard rules
// of typing, backspace, delete, arrows and selection, the text limit, text
// placement (left, right-aligned, scrolled), and a spin button with its buddy.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/toolkit/ControlHost.h"
#include "toolkit/CEdit.h"
#include "toolkit/CSpinButtonCtrl.h"
#include "toolkit/ControlPaint.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

constexpr unsigned long kLeft = 0xff51, kRight = 0xff53;
constexpr unsigned long kHome = 0xff50, kEnd = 0xff57, kBackspace = 0xff08, kDelete = 0xffff;
constexpr unsigned long kShift = 0xffe1;
constexpr int kEditId = 77;

std::string TextOf(const CWnd& window) {
    CString text;
    window.GetWindowText(text);
    return std::string(text);
}

std::pair<int, int> Selection(const CEdit& edit) {
    int start = 0, end = 0;
    edit.GetSel(start, end);
    return {start, end};
}

class ToolkitEdit : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(host.Open());
    }
    void TearDown() override {
        spin.DestroyWindow();
        edit.DestroyWindow();
        host.Close();
    }
    void MakeEdit(DWORD style, const CRect& rect) {
        ASSERT_TRUE(edit.Create(WS_CHILD | WS_VISIBLE | style, rect, &host.Root(), kEditId));
        host.Env().Settle();
    }
    void Type(unsigned long keysym) { host.Env().TypeKey(keysym); }
    void Chars(std::initializer_list<unsigned> bytes) {
        for (unsigned b : bytes) edit.SendMessage(WM_CHAR, b, 1);
    }

    ControlHost host;
    CEdit edit;
    CSpinButtonCtrl spin;
};

TEST_F(ToolkitEdit, TypingBackspaceDeleteArrowsAndSelectionFollowTheKeyboardRules) {
    MakeEdit(WS_BORDER, CRect(20, 20, 220, 44));
    host.ClickAt(edit, 100, 12);
    EXPECT_EQ(CWnd::GetFocus(), &edit);
    // The click gave the root's native window the keyboard.
    EXPECT_EQ(headless::KeyboardFocus(), host.Root().GetNativeWindow());

    auto& env = host.Env();
    auto keys = [&](std::initializer_list<unsigned long> list) {
        return [&env, keysyms = std::vector<unsigned long>(list)] { for (unsigned long k : keysyms) env.TypeKey(k); };
    };
    auto text = [&](const char* typed) { return [&env, typed] { env.TypeText(typed); }; };
    // Shift extends; what is typed replaces the selection; Left on a
    // selection collapses it to its start; a caret past the end goes to it.
    const struct Step {
        std::function<void()> input;
        const char* text;
        std::pair<int, int> selection;
    } steps[] = {
        {text("12345"), "12345", {5, 5}},
        {keys({kLeft, kLeft}), "12345", {3, 3}},
        {text("a"), "123a45", {4, 4}},
        {keys({kBackspace}), "12345", {3, 3}},
        {keys({kDelete}), "1235", {3, 3}},
        {keys({kHome}), "1235", {0, 0}},
        {text("x"), "x1235", {1, 1}},
        {keys({kEnd}), "x1235", {5, 5}},
        {[&] { env.PressKey(kShift); keys({kLeft, kLeft})(); env.ReleaseKey(kShift); env.Settle(); }, "x1235", {3, 5}},
        {text("Z"), "x12Z", {4, 4}},
        {[&] { edit.SetSel(1, 3); env.TypeKey(kLeft); }, "x12Z", {1, 1}},
        {[&] { edit.SetSel(0, -1); }, "x12Z", {0, 4}},
        {text("9"), "9", {1, 1}},
        {[&] { edit.SetSel(8, 8); }, "9", {1, 1}},
    };
    for (const Step& step : steps) {
        step.input();
        EXPECT_EQ(TextOf(edit), step.text) << &step - steps;
        EXPECT_EQ(Selection(edit), step.selection) << &step - steps;
    }

    // 37 and 39 are ordinary characters here; control characters and 127
    // change nothing.
    Chars({37, 39, 1, 13, 27, 28, 127});
    EXPECT_EQ(TextOf(edit), "9%'");
}

TEST_F(ToolkitEdit, TheLimitCountsCharactersAndCutsWhatIsTyped) {
    MakeEdit(WS_BORDER, CRect(20, 20, 220, 44));
    edit.SetFocus();
    edit.SetLimitText(4);
    edit.SetWindowText("123456");  // setting the text ignores the limit, as in Win32
    EXPECT_EQ(TextOf(edit), "123456");
    EXPECT_EQ(Selection(edit), std::make_pair(0, 0));

    edit.SetWindowText("12");
    edit.SetSel(2, 2);
    host.Env().TypeText("345");
    EXPECT_EQ(TextOf(edit), "1234");
    // A full field still takes a character in place of a selected one.
    edit.SetSel(1, 2);
    host.Env().TypeText("x");
    EXPECT_EQ(TextOf(edit), "1x34");

    // UTF-8 arrives one byte per WM_CHAR; a character counts once.
    edit.SetWindowText("abc");
    edit.SetSel(3, 3);
    Chars({0xC3, 0xA9});  // é
    EXPECT_EQ(TextOf(edit), "abc\xC3\xA9");
    Chars({0xC3, 0xA9});  // refused whole, no stray byte
    EXPECT_EQ(TextOf(edit), "abc\xC3\xA9");
    Type(kLeft);
    EXPECT_EQ(Selection(edit), std::make_pair(3, 3));
    Type(kRight);
    EXPECT_EQ(Selection(edit), std::make_pair(5, 5));
    Type(kBackspace);
    EXPECT_EQ(TextOf(edit), "abc");
}

TEST_F(ToolkitEdit, TextIsPlacedByAlignmentScrolledToTheCaretAndAClickPlacesTheCaret) {
    // The entry fields are right-aligned: the text ends at the area's last
    // column but one (the last is the caret's).
    MakeEdit(ES_RIGHT, CRect(20, 20, 100, 40));
    edit.SetWindowText("12.5");
    const CRect area = edit.GetTextArea();
    EXPECT_EQ(area, CRect(2, 0, 78, 20));
    EXPECT_EQ(edit.GetTextOriginX() + TextMeasure(nullptr).Width("12.5"), area.right - 1);

    // Too long to fit: the caret stays in view and the text moves.
    edit.SetWindowText("1234567890123456789012345");
    EXPECT_EQ(edit.GetTextOriginX(), area.left);  // caret at 0 after setting the text
    edit.SetFocus();
    Type(kEnd);
    EXPECT_EQ(edit.GetCaretX(), area.right - 1);
    EXPECT_LT(edit.GetTextOriginX(), area.left - 50);
    Type(kHome);
    EXPECT_EQ(edit.GetTextOriginX(), area.left);
    EXPECT_EQ(edit.GetCaretX(), area.left);

    // Left-aligned text starts at the left edge, inside the border; a click
    // between two letters puts the caret there.
    edit.DestroyWindow();
    MakeEdit(WS_BORDER, CRect(20, 20, 220, 44));
    edit.SetWindowText("abcdef");
    const CRect leftArea = edit.GetTextArea();
    EXPECT_EQ(leftArea, CRect(4, 2, 196, 22));
    EXPECT_EQ(edit.GetTextOriginX(), leftArea.left);
    const int abc = TextMeasure(nullptr).Width("abc");
    host.ClickAt(edit, leftArea.left + abc + 1, 10);
    EXPECT_EQ(Selection(edit), std::make_pair(3, 3));
}

TEST_F(ToolkitEdit, ASpinStepsWithinItsRangeAndShowsThePositionInItsBuddy) {
    MakeEdit(ES_RIGHT, CRect(20, 20, 100, 40));
    ASSERT_TRUE(spin.Create(WS_CHILD | WS_VISIBLE | UDS_SETBUDDYINT | UDS_ARROWKEYS | UDS_ALIGNRIGHT,
                            CRect(100, 20, 116, 40), &host.Root(), 18000));
    spin.SetBuddy(&edit);
    spin.SetBase(10);
    spin.SetRange32(0, 10);
    EXPECT_EQ(spin.SetPos(12), 0);  // returns the old position
    EXPECT_EQ(spin.GetPos(), 10);
    EXPECT_EQ(TextOf(edit), "10");
    spin.SetPos(-3);
    EXPECT_EQ(TextOf(edit), "0");
    host.Env().Settle();

    // The upper arrow is the top half, the lower the bottom half.
    host.ClickAt(spin, 8, 4);
    EXPECT_EQ(spin.GetPos(), 1);
    EXPECT_EQ(TextOf(edit), "1");
    host.ClickAt(spin, 8, 16);
    host.ClickAt(spin, 8, 16);  // already at the bottom: nothing
    EXPECT_EQ(spin.GetPos(), 0);
    const LPARAM handle = reinterpret_cast<LPARAM>(spin.GetSafeHwnd());
    std::vector<CommandRecorder::Command> scrolls;
    for (const auto& c : host.Root().commands)
        if (c.message == WM_VSCROLL) scrolls.push_back(c);
    EXPECT_EQ(scrolls, (std::vector<CommandRecorder::Command>{{WM_VSCROLL, MAKEWPARAM(4, 1), handle},
                                                              {WM_VSCROLL, MAKEWPARAM(4, 0), handle}}));

    // Text set on the buddy moves the spin; SetTextForSpin does not.
    edit.SetWindowText("7");
    EXPECT_EQ(spin.GetPos(), 7);
    edit.SetTextForSpin("3");
    EXPECT_EQ(spin.GetPos(), 7);
    spin.SetPosForSpin(5);
    EXPECT_EQ(TextOf(edit), "3");

    spin.SetRange32(0, 300);
    spin.SetPos(255);

    // The buddy going away leaves the spin working alone.
    edit.DestroyWindow();
    EXPECT_EQ(spin.GetBuddy(), nullptr);
    spin.Step(1);
    EXPECT_EQ(spin.GetPos(), 256);
}

}  // namespace
