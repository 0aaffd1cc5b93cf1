// The numeric entry fields on the headless screen (typing under X11 is tested
// through the editor): the floating window's sizes from the font, what typed
// keys do to the text and the value text, Return and Escape with their
// messages, the key path a host's forwarded keys take, and the unit fields.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "editor/CUnitEdits.h"
#include "editor/CVMQFloatEditWnd.h"
#include "tests/toolkit/TestEnvironment.h"
#include "toolkit/CDC.h"
#include "toolkit/CWinApp.h"
#include "toolkit/Gdi.h"
#include "toolkit/WindowClasses.h"

namespace {

constexpr unsigned long kReturn = 0xff0d, kKeypadEnter = 0xff8d, kEscape = 0xff1b, kTab = 0xff09;
constexpr unsigned long kLeft = 0xff51, kRight = 0xff53, kBackspace = 0xff08, kUp = 0xff52;
// The toolkit's system metrics: SM_CYHSCROLL and SM_CXEDGE.
constexpr int kSpinWidth = 17, kEdge = 2;

std::string Shown(const CFormatEdit& field) { return std::string(field.GetShownText()); }
std::string Value(const CFormatEdit& field) { return std::string(field.GetValueText()); }

std::pair<int, int> Selection(const CEdit& edit) {
    int start = 0, end = 0;
    edit.GetSel(start, end);
    return {start, end};
}

CRect RectInParent(const CWnd& window) {
    CRect screen;
    window.GetWindowRect(&screen);
    CPoint origin(0, 0);
    window.GetParent()->ClientToScreen(&origin);
    screen.OffsetRect(-origin.x, -origin.y);
    return screen;
}

// Stands for the editor window: it owns the entry window, reads the value
// text when told of a confirmation, and sees the key-downs the field lets
// through.
class EntryOwner : public CWnd {
public:
    struct Note {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        std::string valueText;
        bool operator==(const Note& o) const {
            return message == o.message && wParam == o.wParam && lParam == o.lParam &&
                   valueText == o.valueText;
        }
    };
    std::vector<Note> notes;
    std::vector<WPARAM> keyDownsSeen;
    CWnd* entry = nullptr;

    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_ENTRY_RETURN || message == WM_ENTRY_ESCAPE) {
            char text[51] = "";
            if (CWnd* field = entry ? entry->GetDlgItem(IDC_ENTRY_EDIT) : nullptr)
                field->GetWindowText(text, sizeof text);
            notes.push_back({message, wParam, lParam, text});
            return 0;
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }
    BOOL PreTranslateMessage(MSG* msg) override {
        if (msg->message == WM_KEYDOWN) keyDownsSeen.push_back(msg->wParam);
        return FALSE;
    }
};

// The entry window, recording what its field sends it.
class RecordingEntry : public CVMQFloatEditWnd {
public:
    // The field's own WM_COMMAND, return and escape messages, in order.
    std::vector<std::pair<UINT, WPARAM>> fromField;
    int textChanges = 0;  // the toolkit's EN_CHANGE
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_COMMAND && HIWORD(wParam) == EN_CHANGE) ++textChanges;
        else if (message == WM_COMMAND || message == WM_ENTRY_RETURN || message == WM_ENTRY_ESCAPE)
            fromField.push_back({message, wParam});
        return CVMQFloatEditWnd::WindowProc(message, wParam, lParam);
    }
    // WM_COMMAND with the field's id (not the toolkit's EN_CHANGE).
    int Commands() const {
        int count = 0;
        for (const auto& m : fromField)
            if (m.first == WM_COMMAND && m.second == IDC_ENTRY_EDIT) ++count;
        return count;
    }
};

class EntryFields : public ::testing::Test {
protected:
    void SetUp() override {
        env = MakeHeadlessEnvironment();
        env->Install();
        host = env->CreateHostWindow(CRect(100, 100, 600, 400));
        ASSERT_TRUE(frame.SetNativeHandle(host));
        ASSERT_TRUE(owner.Create(AfxRegisterWndClass(CS_DBLCLKS), "editor", WS_CHILD | WS_VISIBLE,
                                 CRect(0, 0, 480, 280), &frame, 1));
        font12.CreatePointFont(12, "Osaka");
        env->Settle();
        MakeEntry();
    }
    void TearDown() override {
        entry.DestroyWindow();
        if (owner.GetSafeHwnd()) owner.DestroyWindow();
        frame.SetNativeHandle(0);
        env->DestroyHostWindow(host);
        AfxSetNativeDisplayFactory(nullptr);
        env.reset();
    }

    // As the editor window makes its entry field at creation.
    void MakeEntry() {
        CWindowAttr attr;
        attr.rect = CRect(INT_MIN, INT_MIN, INT_MIN, INT_MIN);  // 0x80000000: the default place
        ASSERT_TRUE(entry.MakeWindow(&owner, &owner, "", &attr, 6, &font12, true));
        owner.entry = &entry;
    }
    // As the editor window opens it over a value text at (x, y).
    void OpenEntry(int value, int min, int max, bool sign, int digits, int x = 40, int y = 30) {
        entry.SetNewValue(value, min, max);
        entry.SetSingnFlag(sign);
        entry.ChangeSize(digits, sign);
        entry.SetWindowPos(nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        entry.SelectAll();
        entry.ShowWindow(SW_SHOW);
        entry.FocusEdit();
        env->Settle();
    }
    CNormalFloatEdit& Field() { return entry.GetEdit(); }
    void Type(const std::string& text) { env->TypeText(text); }
    void Key(unsigned long keysym) { env->TypeKey(keysym); }

    std::unique_ptr<TestEnvironment> env;
    NativeWindow host = 0;
    CFrameWnd frame;
    EntryOwner owner;
    CFont font12;
    RecordingEntry entry;
};

TEST_F(EntryFields, MadeHiddenSizedFromTheLetterAAndTheSystemMetricsThenOpenedWithAValue) {
    // The pixel size of "A" in the 12-point font, measured on its own DC.
    CDC dc;
    dc.CreateDC("DISPLAY");
    dc.SelectObject(&font12);
    const CSize a = dc.GetTextExtent("A", 1);
    ASSERT_GT(a.cx, 0);
    ASSERT_GT(a.cy, 0);

    // Six characters asked for: seven kept, the text limit too.
    const int height = a.cy + a.cy / 2;
    int width = kSpinWidth + 7 * a.cx + 2 * kEdge;
    EXPECT_FALSE(entry.IsWindowVisible());
    EXPECT_EQ(entry.GetCharCount(), 7);
    EXPECT_EQ(RectInParent(entry), CRect(0, 0, width, height));
    EXPECT_EQ(entry.GetStyle(), WS_CHILD | WS_CLIPSIBLINGS);
    EXPECT_EQ(RectInParent(Field()), CRect(0, 0, width - kSpinWidth, height));
    EXPECT_EQ(RectInParent(entry.GetSpin()), CRect(width - kSpinWidth, 0, width, height));
    EXPECT_EQ(Field().GetStyle(), 0x50010002u);
    EXPECT_EQ(entry.GetSpin().GetStyle(), 0x100000A6u);  // 0xA6, shown
    EXPECT_EQ(Field().GetDlgCtrlID(), 18001);
    EXPECT_EQ(entry.GetSpin().GetDlgCtrlID(), 18000);
    EXPECT_EQ(Field().GetLimitText(), 7u);
    EXPECT_EQ(Field().GetFont(), &font12);
    EXPECT_EQ(entry.GetSpin().GetBuddy(), &Field());
    EXPECT_TRUE(Field().GetSingnFlag());
    const WindowClass cls = WindowClasses::Find("VMQFloatEditWnd");
    EXPECT_EQ(cls.style, static_cast<UINT>(CS_DBLCLKS));
    EXPECT_EQ(cls.background, GetStockObject(LTGRAY_BRUSH));

    // Opened for three digits over a text at (40, 30).
    OpenEntry(125, 0, 1000, false, 3);
    width = kSpinWidth + 4 * a.cx + 2 * kEdge;
    EXPECT_EQ(RectInParent(entry), CRect(40, 30, 40 + width, 30 + height));
    EXPECT_EQ(RectInParent(Field()), CRect(0, 0, width - kSpinWidth, height));
    EXPECT_EQ(RectInParent(entry.GetSpin()), CRect(width - kSpinWidth, 0, width, height));
    EXPECT_EQ(Field().GetLimitText(), 4u);
    EXPECT_FALSE(Field().GetSingnFlag());
    EXPECT_TRUE(entry.IsWindowVisible());

    // The new value shows in the field's format and comes back unchanged.
    EXPECT_EQ(Shown(Field()), "12.5");
    EXPECT_EQ(Value(Field()), "125");
    int lower = 0, upper = 0;
    entry.GetSpin().GetRange32(lower, upper);
    EXPECT_EQ(std::make_pair(lower, upper), std::make_pair(0, 1000));
    EXPECT_EQ(entry.GetSpin().GetPos(), 125);
    EXPECT_EQ(CWnd::GetFocus(), &Field());
    EXPECT_EQ(Selection(Field()), std::make_pair(0, 4));  // the editor selects all

    // Negative, out of the spin's range (the spin stops at its end, the
    // field keeps the value), and beyond a 32-bit integer.
    struct Case {
        const char* text;
        const char* shown;
        const char* value;
    };
    const Case cases[] = {{"-375", "-37.5", "-375"},
                          {"2000", "200.0", "2000"},
                          {"abc", "0.0", "0"},
                          {"nan", "0.0", "0"},
                          {"1e12", "100000000000.0", "2147483647"},
                          {"-1e400", nullptr, "-2147483648"}};
    entry.GetSpin().SetRange32(-1000, 1000);
    for (const Case& c : cases) {
        Field().SetWindowText(c.text);
        if (c.shown) {
            EXPECT_EQ(Shown(Field()), c.shown) << c.text;
        }
        EXPECT_EQ(Value(Field()), c.value) << c.text;
    }
    // The largest double shown whole, with its sign.
    EXPECT_EQ(Field().GetShownText().GetLength(), 311);
    EXPECT_EQ(entry.GetSpin().GetPos(), -1000);

    // Text that shows the same as before changes nothing (no EN_CHANGE).
    Field().SetWindowText("125");
    const int before = entry.textChanges;
    Field().SetWindowText("125");
    Field().SetWindowText("125.4");  // 12.54 shows as 12.5 as well
    EXPECT_EQ(entry.textChanges, before);
    EXPECT_EQ(Value(Field()), "125");

    // Two decimals.
    Field().SetFloatPoint(2);
    EXPECT_STREQ(Field().GetFormat(), "%.2f");
    EXPECT_EQ(Field().GetScale(), 100.0);
    Field().SetWindowText("-12345");
    EXPECT_EQ(Shown(Field()), "-123.45");
}

TEST_F(EntryFields, DigitsPointBackspaceAndArrowsEditTheTextAndTheValueText) {
    OpenEntry(125, 0, 1000, false, 6);
    struct Step {
        const char* what;
        std::function<void()> input;
        int keys;
        const char* shown;
        const char* value;
        std::pair<int, int> caret;
    };
    // The arrows' characters (28, 29 as 37, 39) neither type nor rewrite:
    // "37.25" keeps its second decimal.
    const std::vector<Step> steps = {
        {"3 over the selection", [&] { Type("3"); }, 1, "3", "30", {1, 1}},
        {"7.25", [&] { Type("7.25"); }, 4, "37.25", "372", {5, 5}},
        {"left left", [&] { Key(kLeft); Key(kLeft); }, 2, "37.25", "372", {3, 3}},
        {"1", [&] { Type("1"); }, 1, "37.125", "371", {4, 4}},
        {"right", [&] { Key(kRight); }, 1, "37.125", "371", {5, 5}},
        {"backspace", [&] { Key(kBackspace); }, 1, "37.15", "371", {4, 4}},
        {"left, backspace the point", [&] { Key(kLeft); Key(kBackspace); }, 2, "3715", "37150", {2, 2}},
    };
    int commands = entry.Commands();
    for (const Step& step : steps) {
        step.input();
        EXPECT_EQ(Shown(Field()), step.shown) << step.what;
        EXPECT_EQ(Value(Field()), step.value) << step.what;
        EXPECT_EQ(Selection(Field()), step.caret) << step.what;
        // One WM_COMMAND (the field's id) to the window per key.
        EXPECT_EQ(entry.Commands(), commands + step.keys) << step.what;
        commands = entry.Commands();
    }
    // The spin steps on from what was typed.
    Field().SetSel(0, -1);
    Type("50");
    Key(kUp);
    EXPECT_EQ(Shown(Field()), "50.1");
    EXPECT_EQ(Value(Field()), "501");
    // The limit (7 characters) holds.
    Field().SetSel(0, -1);
    Type("123456789");
    EXPECT_EQ(Shown(Field()), "1234567");
}

TEST_F(EntryFields, ACharacterNotTakenRewritesTheTextInTheFormat) {
    struct Case {
        bool sign;
        const char* typed;
        const char* then;
        const char* shown;
        const char* value;
    };
    const Case cases[] = {
        {false, "12.34", "a", "12.3", "123"},
        {false, "12.34", "-", "12.3", "123"},  // no sign: "-" is refused
        {false, "-5", "", "5", "50"},
        {true, "12.34", "x", "12.3", "123"},
        {true, "-5", "", "-5", "-50"},  // with the sign flag "-" is typed
        {true, "-", "", "-", "0"},
        {true, "-", "%", "-", "0"},     // "%" is 37, the left arrow's number: no text
        // Shown rounded by the format; the value text truncates what was typed.
        {false, "9.96", "/", "10.0", "99"},
    };
    for (const Case& c : cases) {
        OpenEntry(0, -1000, 1000, c.sign, 6);
        Type(c.typed);
        const int commands = entry.Commands();
        Type(c.then);
        EXPECT_EQ(Shown(Field()), c.shown) << c.typed << c.then;
        EXPECT_EQ(Value(Field()), c.value) << c.typed << c.then;
        if (*c.then) {
            EXPECT_EQ(entry.Commands(), commands + 1) << c.typed << c.then;
        }
    }
}

TEST_F(EntryFields, ReturnAndEscapeTellTheOwnerHideTheWindowAndTypeNothing) {
    // Return: the field tells the window (its id), the window the owner
    // (0, 0), who reads the value text; the window hides.
    OpenEntry(125, 0, 1000, false, 6);
    Type("12.34");
    entry.fromField.clear();
    Key(kReturn);
    EXPECT_EQ(owner.notes, (std::vector<EntryOwner::Note>{{WM_ENTRY_RETURN, 0, 0, "123"}}));
    EXPECT_EQ(entry.fromField, (std::vector<std::pair<UINT, WPARAM>>{{WM_ENTRY_RETURN, 18001}}));
    EXPECT_FALSE(entry.IsWindowVisible());
    // Its character typed nothing: the text is as it was, not rewritten.
    EXPECT_EQ(Shown(Field()), "12.34");

    // Escape: the same with the escape message; the focus goes back.
    owner.notes.clear();
    entry.fromField.clear();
    OpenEntry(50, 0, 1000, false, 6);
    Type("7");
    Key(kEscape);
    EXPECT_EQ(owner.notes, (std::vector<EntryOwner::Note>{{WM_ENTRY_ESCAPE, 0, 0, "70"}}));
    EXPECT_EQ(entry.fromField,
              (std::vector<std::pair<UINT, WPARAM>>{{WM_COMMAND, 18001}, {WM_ENTRY_ESCAPE, 18001}}));
    EXPECT_FALSE(entry.IsWindowVisible());
    EXPECT_EQ(CWnd::GetFocus(), &owner);
    EXPECT_EQ(Shown(Field()), "7");

    // The keypad Enter's character 3 counts as 13: ignored like Return's,
    // so "12.34" is not rewritten; its key is not Return's and confirms
    // nothing.
    owner.notes.clear();
    OpenEntry(0, 0, 1000, false, 6);
    Type("12.34");
    const int commands = entry.Commands();
    Key(kKeypadEnter);
    EXPECT_EQ(Shown(Field()), "12.34");
    EXPECT_EQ(entry.Commands(), commands);
    EXPECT_TRUE(owner.notes.empty());
    EXPECT_TRUE(entry.IsWindowVisible());
    // 0x23 confirms as Return does.
    Field().SendMessage(WM_KEYDOWN, 0x23, 1);
    EXPECT_EQ(owner.notes, (std::vector<EntryOwner::Note>{{WM_ENTRY_RETURN, 0, 0, "123"}}));
}

// Keys a host forwards take the typed keys' path; the field consumes every
// key-down but Tab's, which goes to the ordinary handling (its character is
// not taken, so the text is rewritten).
TEST_F(EntryFields, KeysAHostForwardsTakeTheTypedKeysPathAndOnlyTabPassesThrough) {
    EXPECT_FALSE(entry.DeliverKey(0, '7'));  // hidden: nothing to type into
    OpenEntry(125, 0, 1000, false, 6);
    for (char c : std::string("7.5")) EXPECT_TRUE(entry.DeliverKey(0, c));
    EXPECT_TRUE(entry.DeliverKey(keycode::Left, keychar::Left));
    EXPECT_EQ(Selection(Field()), std::make_pair(2, 2));
    EXPECT_EQ(Shown(Field()), "7.5");  // no "%" from the arrow's 37
    EXPECT_TRUE(entry.DeliverKey(keycode::Backspace, keychar::Backspace));
    EXPECT_EQ(Shown(Field()), "75");
    EXPECT_TRUE(entry.DeliverKey(0, 'q'));
    EXPECT_EQ(Shown(Field()), "75.0");
    EXPECT_FALSE(entry.DeliverKey(keycode::Tab, keychar::Tab));
    Key(kTab);
    EXPECT_EQ(owner.keyDownsSeen, (std::vector<WPARAM>{keycode::Tab, keycode::Tab}));
    EXPECT_TRUE(entry.DeliverKey(keycode::Return, keychar::Return));
    EXPECT_EQ(owner.notes, (std::vector<EntryOwner::Note>{{WM_ENTRY_RETURN, 0, 0, "750"}}));
    EXPECT_FALSE(entry.DeliverKey(0, '1'));
}

// The unit fields (the editor uses the plain one): their formats and scales.
TEST_F(EntryFields, TheUnitFieldsShowTheirFormats) {
    const std::pair<CRuntimeClass*, const char*> cases[] = {
        {RUNTIME_CLASS(CFormatEdit), "125.0mm"},   {RUNTIME_CLASS(CNormalFloatEdit), "125.0"},
        {RUNTIME_CLASS(CFloatEdit), "12.5mm"},     {RUNTIME_CLASS(CFloatEdit2), "1250.0"},
        {RUNTIME_CLASS(CPointEdit), "125.0point"}, {RUNTIME_CLASS(CMiliSecondEdit), "1250ms"},
    };
    for (const auto& [cls, shown1250] : cases) {
        std::unique_ptr<CObject> object(cls->CreateObject());
        auto* field = dynamic_cast<CFormatEdit*>(object.get());
        ASSERT_NE(field, nullptr) << cls->m_lpszClassName;
        ASSERT_TRUE(field->Create(WS_CHILD | WS_VISIBLE, CRect(10, 200, 200, 220), &owner, 40));
        field->SetWindowText("1250");
        EXPECT_EQ(Shown(*field), shown1250) << cls->m_lpszClassName;
        CString valueText;
        field->GetWindowText(valueText);  // what an owner reads: the value text
        EXPECT_EQ(std::string(valueText), "1250");
    }
}

}  // namespace
