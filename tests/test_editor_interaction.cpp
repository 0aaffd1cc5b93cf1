// What a user does in the editor, through the real window on the headless
// backend: clicks and drags on every kind of control, typed entry, the two
// value menus, the save dialog and revert, and keys that a host forwards.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "editor/CPresetSaveDlg.h"
#include "effect/BankFile.h"
#include "tests/editor/EditorFixture.h"
#include "tests/toolkit/ControlHost.h"
#include "toolkit/CComboBox.h"
#include "toolkit/CEdit.h"
#include "toolkit/MenuPopup.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

constexpr unsigned long kReturn = 0xff0d, kEscape = 0xff1b, kShift = 0xffe1, kControl = 0xffe3;

// Top of tap row i's 16-pixel band.
int RowTop(int tap) { return 80 + 39 * tap; }

class EditorInteraction : public ::testing::Test {
protected:
    EditorFixture fixture;
    ATapDelay& effect() { return fixture.effect(); }
    std::vector<HostCall>& calls() { return fixture.host().calls; }

    // Opcodes the host saw for one parameter (automate 0, begin 43, end 44).
    std::vector<VstInt32> GestureFor(int parameter) {
        std::vector<VstInt32> seen;
        for (const HostCall& call : calls())
            if ((call.opcode == audioMasterAutomate || call.opcode == audioMasterBeginEdit ||
                 call.opcode == audioMasterEndEdit) &&
                call.index == parameter)
                seen.push_back(call.opcode);
        return seen;
    }
    // A script step that clicks item index of the open popup menu.
    void ClickMenuItem(ModalScript& script, int index) {
        script.WaitUntil([] { return ModalRootAs<CMenuPopup>() != nullptr; }).Do([this, index] {
            CMenuPopup* popup = ModalRootAs<CMenuPopup>();
            const CRect item = popup->GetLayout().items[index];
            const CPoint at =
                ControlHost::Screen(*popup, (item.left + item.right) / 2, (item.top + item.bottom) / 2);
            fixture.env().MovePointer(at.x, at.y);
            fixture.env().PressButton(1);
            fixture.env().ReleaseButton(1);
        });
    }
    // Clicks a value text and types into the entry field that opens.
    void TypeInto(CPoint text, const std::string& typed, unsigned long finish = kReturn) {
        fixture.Click(text.x, text.y);
        ASSERT_TRUE(fixture.window().GetEntryWindow().IsWindowVisible());
        fixture.env().TypeText(typed);
        fixture.env().TypeKey(finish);
        fixture.Idle();
    }
};

// A click on each kind of control writes its parameter through the editor
// path and tells the host, framed as one gesture.
TEST_F(EditorInteraction, EveryKindOfControlWritesItsParameterAsOneGesture) {
    struct Case {
        const char* what;
        CPoint point;
        int parameter;
        float expected;  // normalised value after the click; < 0: toggled
    };
    const int t3 = RowTop(3);
    const Case cases[] = {
        // Horizontal sliders: handle travel 5..93 of the 98-pixel track.
        {"delay time slider, tap 3", {138 + 27, t3 + 8}, 3 + 3, 0.25f},
        {"feedback slider", {390 + 93, 341}, 58, 1.0f},
        {"balance slider", {597 + 5, 341}, 59, 0.0f},
        // The level sliders are logarithmic and vertical: bottom is the minimum.
        {"input slider", {40, 323 - 5}, 2, 0.0f},
        {"output slider", {762, 190 + 5}, 1, 1.0f},
        // Knobs: left middle 90 degrees, top 180, right middle 270 (30..330).
        {"gain knob, tap 3", {291, t3 - 9 + 17}, 9 + 3, 0.2f},
        {"pan knob, tap 3", {379 + 17, t3 - 9 + 1}, 15 + 3, 0.5f},
        {"cutoff knob, tap 3", {523 + 33, t3 - 9 + 17}, 27 + 3, 0.8f},
        {"Q knob, tap 3", {610, t3 - 9 + 17}, 45 + 3, 0.2f},
        {"filter gain knob, tap 3", {697 + 17, t3 - 9 + 1}, 39 + 3, 0.5f},
        // Switches toggle.
        {"delay switch, tap 3", {79, t3 + 8}, 21 + 3, -1},
        {"filter switch, tap 3", {424, t3 + 8}, 51 + 3, -1},
        {"feedback switch", {321, 342}, 57, -1},
        {"tempo sync switch", {156, 342}, 60, -1},
        {"effect switch", {37, 17}, 0, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const float before = effect().getParameter(c.parameter);
        calls().clear();
        fixture.Click(c.point.x, c.point.y);
        const float expected = c.expected >= 0 ? c.expected : (before == 1.0f ? 0.0f : 1.0f);
        EXPECT_NEAR(effect().getParameter(c.parameter), expected, 1e-6);
        const std::vector<VstInt32> gesture = GestureFor(c.parameter);
        ASSERT_GE(gesture.size(), 3u) << before << " -> " << effect().getParameter(c.parameter);
        EXPECT_EQ(gesture.front(), audioMasterBeginEdit);
        EXPECT_EQ(gesture.back(), audioMasterEndEdit);
        for (size_t i = 1; i + 1 < gesture.size(); i++) EXPECT_EQ(gesture[i], audioMasterAutomate);
    }
}

TEST_F(EditorInteraction, TheFilterTypeTextCyclesThroughTheThreeTypes) {
    const CPoint text(451, RowTop(2) + 8);
    effect().setParameterFromDiaplay(33 + 2, 0.0f);
    const char* expected[] = {"PK", "H-SH", "L-SH", "PK"};
    for (const char* type : expected) {
        fixture.Click(text.x, text.y);
        EXPECT_EQ(fixture.host().display(33 + 2), type);
    }
}

// Typed entry: each target code from a click on its text to a confirmed
// value, as the display shows it afterwards.
TEST_F(EditorInteraction, TypedValuesReachTheirParameters) {
    struct Case {
        const char* what;
        CPoint text;
        int target;
        int parameter;
        std::string typed;
        std::string shown;
    };
    const int t1 = RowTop(1) + 8;
    const Case cases[] = {
        {"input", {30, 337}, 210, 2, "-12", "-12.0"},
        {"output", {772, 337}, 211, 1, "-6.5", "-6.5"},
        {"feedback", {364, 341}, 280, 58, "40", "40.0"},
        {"balance", {570, 341}, 281, 59, "75", "75.0"},
        {"delay time", {112, t1}, 221, 4, "250", "250.0"},
        {"gain", {266, t1}, 231, 10, "-3", "-3.0"},
        {"pan", {354, t1}, 241, 16, "20", "20.0"},
        {"cutoff", {498, t1}, 251, 28, "1200", "1200.0"},
        {"Q", {585, t1}, 261, 46, "2.5", "2.5"},
        {"filter gain", {672, t1}, 271, 40, "6", "6.0"},
        // A letter is refused; what stays is confirmed.
        {"cutoff with a letter", {498, t1}, 251, 28, "8x00", "800.0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        fixture.Click(c.text.x, c.text.y);
        EXPECT_EQ(fixture.window().GetEntryTarget(), c.target);
        fixture.env().TypeText(c.typed);
        fixture.env().TypeKey(kReturn);
        fixture.Idle();
        EXPECT_FALSE(fixture.window().GetEntryWindow().IsWindowVisible());
        EXPECT_EQ(fixture.window().GetEntryTarget(), -1);
        EXPECT_EQ(fixture.host().display(c.parameter).find(c.shown), 0u)
            << "shows " << fixture.host().display(c.parameter);
    }
}

// Typed values out of the range are clamped; Escape and a click elsewhere
// close the field without applying; a click on another text moves it there.
TEST_F(EditorInteraction, TypedValuesAreClampedAndOnlyReturnAppliesThem) {
    const CPoint cutoff(498, RowTop(0) + 8);
    const CPoint gain(266, RowTop(0) + 8);
    TypeInto(cutoff, "9999999");
    EXPECT_EQ(effect().getParameter(27), 1.0f) << "above the range: the maximum";
    TypeInto(gain, "-999");
    EXPECT_NEAR(effect().getParameter(9), 0.0f, 1e-6) << "below the range: the minimum";

    const std::string before = fixture.host().display(27);
    TypeInto(cutoff, "500", kEscape);
    EXPECT_FALSE(fixture.window().GetEntryWindow().IsWindowVisible());
    fixture.Click(cutoff.x, cutoff.y);
    fixture.env().TypeText("1500");
    fixture.Click(400, 30);
    EXPECT_FALSE(fixture.window().GetEntryWindow().IsWindowVisible());
    EXPECT_EQ(fixture.host().display(27), before);
    fixture.Click(cutoff.x, cutoff.y);
    fixture.Click(gain.x, gain.y);
    EXPECT_TRUE(fixture.window().GetEntryWindow().IsWindowVisible());
    EXPECT_EQ(fixture.window().GetEntryTarget(), 230);
}

// Keys a host forwards through effEditKeyDown reach the open field; others
// are left to the host.
TEST_F(EditorInteraction, ForwardedKeysTypeIntoTheField) {
    VstKeyCode key{};
    key.character = '5';
    EXPECT_FALSE(fixture.editor().onKeyDown(key)) << "no field open: the host keeps the key";

    fixture.Click(112, RowTop(0) + 8);
    for (char c : std::string("125")) {
        key = VstKeyCode{};
        key.character = c;
        EXPECT_TRUE(fixture.editor().onKeyDown(key));
        EXPECT_TRUE(fixture.editor().onKeyUp(key));
    }
    key = VstKeyCode{};
    key.virt = 4;  // return
    EXPECT_TRUE(fixture.editor().onKeyDown(key));
    fixture.Idle();
    EXPECT_EQ(fixture.host().display(3).find("125.0"), 0u) << fixture.host().display(3);
    EXPECT_FALSE(fixture.window().GetEntryWindow().IsWindowVisible());
}

// The note menu opens only with tempo sync on (the X11 test picks a note
// with it on).
TEST_F(EditorInteraction, TheSyncNoteMenuStaysClosedWithTempoSyncOff) {
    bool opened = false;
    ModalScript script(fixture.env());
    script.Do([&] { opened = true; }).Key(kEscape);
    script.Install();
    effect().setParameter(60, 0.0f);
    fixture.Click(200, 342);
    EXPECT_FALSE(opened);
}

TEST_F(EditorInteraction, TheCopyMenuListsEveryProgramAndCopiesTheChosenOne) {
    effect().setProgram(5);
    size_t itemCount = 0;
    ModalScript script(fixture.env());
    script.WaitUntil([] { return ModalRootAs<CMenuPopup>() != nullptr; }).Do([&] {
        CMenuPopup* popup = ModalRootAs<CMenuPopup>();
        itemCount = popup->GetLayout().items.size();
        headless::WriteWindowPng(popup->GetNativeWindow(), TAPDELAY_BINARY_DIR "editor-copy-menu.png");
    });
    ClickMenuItem(script, 5);  // the current program: disabled, the menu stays
    script.Do([] {});
    ClickMenuItem(script, 8);
    script.Install();
    calls().clear();
    fixture.Click(71, 18);
    EXPECT_TRUE(script.Finished());
    EXPECT_FALSE(script.Overran());
    EXPECT_EQ(itemCount, 64u);
    // Program 5 now holds program 8's values.
    const std::vector<unsigned char> bank = fixture.host().bankBytes();
    EXPECT_EQ(0, std::memcmp(&bank[5 * kProgramBytes], &bank[8 * kProgramBytes], kProgramValueBytes));
}

// The modified indicator reverts the program; shift on the effect switch
// resets it to its factory values.
TEST_F(EditorInteraction, TheIndicatorRevertsAndShiftResetsTheProgram) {
    const float original = effect().getParameter(10);
    effect().setParameter(10, original == 0.25f ? 0.75f : 0.25f);
    ASSERT_TRUE(effect().IsProgramChanged());
    fixture.Click(237, 18);
    EXPECT_EQ(effect().getParameter(10), original);
    EXPECT_FALSE(effect().IsProgramChanged());

    effect().setParameter(3, 0.9f);
    effect().setParameter(0, 1.0f);
    fixture.env().PressKey(kShift);
    fixture.Click(37, 17);
    fixture.env().ReleaseKey(kShift);
    EXPECT_NE(effect().getParameter(3), 0.9f) << "the factory value is back";

    // Control asks for all programs, which is left alone on purpose: one
    // click must not replace the user's bank.
    effect().setProgram(1);
    effect().setParameter(4, 0.77f);
    effect().setProgram(0);
    effect().setParameter(5, 0.66f);
    fixture.env().PressKey(kControl);
    fixture.Click(37, 17);
    fixture.env().ReleaseKey(kControl);
    EXPECT_EQ(effect().getParameter(5), 0.66f);
    effect().setProgram(1);
    EXPECT_EQ(effect().getParameter(4), 0.77f);
}

// The save dialog, checked against the bank file the effect writes.
class EditorSaveDialog : public EditorInteraction {
protected:
    std::string BankPath() { return std::string(effect().GetPreferencesFolder()) + kBankFileName; }
    std::vector<unsigned char> BankFile() { return ReadWholeFile(BankPath()); }
    std::string StoredName(const std::vector<unsigned char>& file, int program) {
        const char* name = reinterpret_cast<const char*>(&file[kBankFileHeaderBytes + program * kProgramBytes +
                                                              kProgramValueBytes]);
        return std::string(name, strnlen(name, 24));
    }
    // Opens the dialog from the save picture, picks slot, sets the name text
    // (typed when plain ASCII), and finishes with key.
    void Save(int slot, const std::string& name, unsigned long key, bool typeIt = true) {
        ModalScript script(fixture.env());
        script.WaitUntil([] { return ModalRootAs<CPresetSaveDlg>() != nullptr; })
            .Do([&] {
                CPresetSaveDlg* dialog = ModalRootAs<CPresetSaveDlg>();
                headless::WriteWindowPng(dialog->GetNativeWindow(), TAPDELAY_BINARY_DIR "editor-save-dialog.png");
                auto* combo = static_cast<CComboBox*>(dialog->GetDlgItem(1120));
                combo->SetCurSel(slot);
                dialog->SendMessage(WM_COMMAND, MAKEWPARAM(1120, CBN_SELCHANGE), (LPARAM)combo->GetSafeHwnd());
                auto* field = static_cast<CEdit*>(dialog->GetDlgItem(5000));
                field->SetFocus();
                field->SetSel(0, -1);
                if (!typeIt) field->SetWindowText(name.c_str());
            });
        if (typeIt) script.Text(name);
        script.Key(key);
        script.Install();
        fixture.Click(291, 18);
        EXPECT_TRUE(script.Finished());
        EXPECT_FALSE(script.Overran());
    }
};

// Cancel writes nothing; a save writes the program's values and its name,
// cut to whole Shift-JIS characters (the X11 test saves with real keys).
TEST_F(EditorSaveDialog, SavesValuesAndNamesCutToWholeShiftJisCharacters) {
    Save(9, "Long Hall", kEscape);
    EXPECT_TRUE(BankFile().empty()) << "cancel writes no file";

    effect().setParameter(3, 0.625f);
    Save(2, "abcdefghijklmnopqrstuvwxyz1234", kReturn);
    const std::vector<unsigned char> file = BankFile();
    ASSERT_EQ(file.size(), 17824u);
    EXPECT_EQ(StoredName(file, 2), "abcdefghijklmnopqrstuvw") << "30 characters keep their first 23";
    float stored = 0;
    std::memcpy(&stored, &file[kBankFileHeaderBytes + 2 * kProgramBytes + 3 * 4], 4);
    EXPECT_EQ(stored, 0.625f);

    // 22 ASCII characters and a half-width katakana (one byte with the high
    // bit): the 23rd byte counts as a lead byte and goes.
    Save(3, "abcdefghijklmnopqrstuv\xEF\xBD\xB1", kReturn, false);
    EXPECT_EQ(StoredName(BankFile(), 3), "abcdefghijklmnopqrstuv");
}

}  // namespace
