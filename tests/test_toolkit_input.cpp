// Input on the headless backend: mouse routing, capture, double clicks, key
// routing and translation, modifier state, focus with the native keyboard
// focus, and modal loops.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/toolkit/HostedWindow.h"
#include "toolkit/UIConnection.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

struct Seen {
    int window;
    UINT message;
    WPARAM wParam;
    int x, y;
    bool operator==(const Seen& o) const {
        return window == o.window && message == o.message && wParam == o.wParam && x == o.x && y == o.y;
    }
};
std::ostream& operator<<(std::ostream& os, const Seen& s) {
    return os << "{" << s.window << " 0x" << std::hex << s.message << std::dec << " " << s.wParam
              << " " << s.x << "," << s.y << "}";
}

std::vector<Seen> seen;
std::vector<Seen> pretranslated;

// Records input messages; options say what else it does.
class Probe : public CWnd {
public:
    bool captureOnPress = false;
    bool keyboard = false;
    UINT consume = 0;  // a WM_KEYDOWN key code its PreTranslateMessage eats
    int timers = 0;    // each timer pumps again, as a host may from a callback
    bool WantsKeyboard() const override { return keyboard; }
    BOOL PreTranslateMessage(MSG* msg) override {
        if (msg->message == WM_KEYDOWN || msg->message == WM_CHAR)
            pretranslated.push_back({GetDlgCtrlID(), msg->message, msg->wParam, 0, 0});
        return consume && msg->message == WM_KEYDOWN && msg->wParam == consume;
    }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        const bool mouse = message >= WM_MOUSEMOVE && message <= WM_RBUTTONDBLCLK;
        if (mouse) seen.push_back({GetDlgCtrlID(), message, wParam, GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        if (message == WM_KEYDOWN || message == WM_CHAR || message == WM_KEYUP ||
            message == WM_SETFOCUS || message == WM_KILLFOCUS)
            seen.push_back({GetDlgCtrlID(), message, message == WM_SETFOCUS || message == WM_KILLFOCUS ? 0 : wParam, 0, 0});
        if (message == WM_LBUTTONDOWN && captureOnPress) SetCapture();
        if (message == WM_LBUTTONUP && captureOnPress) ReleaseCapture();
        if (message == WM_TIMER) {
            ++timers;
            AfxPumpMessages();
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }
};

class ToolkitInput : public ::testing::Test {
protected:
    ToolkitInput() : hosted(MakeHeadlessEnvironment()) {}
    void SetUp() override {
        ASSERT_TRUE(hosted.opened);
        ASSERT_TRUE(hosted.CreateRoot(root));
        ASSERT_TRUE(left.Create(AfxRegisterWndClass(CS_DBLCLKS), "", WS_CHILD | WS_VISIBLE, CRect(10, 10, 110, 60), &root, 2));
        ASSERT_TRUE(right.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(150, 10, 250, 60), &root, 3));
        ASSERT_TRUE(nested.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(20, 20, 40, 40), &right, 4));
        hosted.env->Settle();
        seen.clear();
        pretranslated.clear();
    }
    void Click(int x, int y, int button = 1) {
        const CPoint p = HostedWindow::Screen(x, y);
        hosted.env->Click(p.x, p.y, button);
    }
    HostedWindow hosted;
    Probe root, left, right, nested;
};

TEST_F(ToolkitInput, ClicksReachTheDeepestShownEnabledWindowInItsCoordinates) {
    Click(175, 35);  // nested (170, 30)-(190, 50)
    Click(12, 11, 3);
    Click(5, 5);     // the root itself
    EXPECT_EQ(seen, (std::vector<Seen>{{4, WM_MOUSEMOVE, 0, 5, 5}, {4, WM_LBUTTONDOWN, 0, 5, 5},
                                       {4, WM_LBUTTONUP, 0, 5, 5}, {2, WM_MOUSEMOVE, 0, 2, 1},
                                       {2, WM_RBUTTONDOWN, 0, 2, 1}, {2, WM_RBUTTONUP, 0, 2, 1},
                                       {1, WM_MOUSEMOVE, 0, 5, 5}, {1, WM_LBUTTONDOWN, 0, 5, 5},
                                       {1, WM_LBUTTONUP, 0, 5, 5}}));
    // Disabled and hidden windows are passed over for their parent.
    nested.EnableWindow(FALSE);
    seen.clear();
    Click(175, 35);
    EXPECT_EQ(seen.back(), (Seen{3, WM_LBUTTONUP, 0, 25, 25}));
    right.ShowWindow(SW_HIDE);
    seen.clear();
    Click(175, 35);
    EXPECT_EQ(seen.back(), (Seen{1, WM_LBUTTONUP, 0, 175, 35}));
}

TEST_F(ToolkitInput, CaptureKeepsTheDragOnTheCapturingWindow) {
    left.captureOnPress = true;
    auto& env = *hosted.env;
    CPoint p = HostedWindow::Screen(20, 20);
    env.MovePointer(p.x, p.y);
    env.PressButton(1);
    env.Settle();
    EXPECT_EQ(CWnd::GetCapture(), &left);
    p = HostedWindow::Screen(180, 30);  // over nested
    env.MovePointer(p.x, p.y);
    p = HostedWindow::Screen(-5, 300);  // outside the root, even the host
    env.MovePointer(p.x, p.y);
    env.ReleaseButton(1);
    env.Settle();
    EXPECT_EQ(CWnd::GetCapture(), nullptr);
    EXPECT_EQ(seen, (std::vector<Seen>{{2, WM_MOUSEMOVE, 0, 10, 10}, {2, WM_LBUTTONDOWN, 0, 10, 10},
                                       {2, WM_MOUSEMOVE, 0, 170, 20}, {2, WM_MOUSEMOVE, 0, -15, 290},
                                       {2, WM_LBUTTONUP, 0, -15, 290}}));
    // One capture per process: setting it elsewhere takes it over.
    EXPECT_EQ(right.SetCapture(), nullptr);
    EXPECT_EQ(left.SetCapture(), &right);
    EXPECT_TRUE(ReleaseCapture());
    EXPECT_FALSE(ReleaseCapture());
}

TEST_F(ToolkitInput, DoubleClicksNeedTheClassStyleTimeAndPlace) {
    Click(20, 20);
    Click(22, 23);  // within 4 px and 500 ms
    Click(150 + 20, 20);
    Click(150 + 20, 20);  // right's class has no CS_DBLCLKS
    Click(20, 20);
    headless::AdvanceClock(600);
    Click(20, 20);  // too late
    std::vector<UINT> lefts, rights;
    for (const Seen& s : seen) {
        if (s.message == WM_MOUSEMOVE || s.message == WM_LBUTTONUP) continue;
        (s.window == 2 ? lefts : rights).push_back(s.message);
    }
    EXPECT_EQ(lefts, (std::vector<UINT>{WM_LBUTTONDOWN, WM_LBUTTONDBLCLK, WM_LBUTTONDOWN, WM_LBUTTONDOWN}));
    EXPECT_EQ(rights, (std::vector<UINT>{WM_LBUTTONDOWN, WM_LBUTTONDOWN}));
}

TEST_F(ToolkitInput, KeysGoThroughPreTranslateThenKeyDownThenChar) {
    left.keyboard = true;
    left.SetFocus();
    EXPECT_EQ(headless::KeyboardFocus(), root.GetNativeWindow());  // an edit-like window takes it
    seen.clear();
    auto& env = *hosted.env;
    env.TypeKey(0xff0d);  // Return
    env.TypeText("a");
    env.TypeText("A");    // Shift, a
    env.TypeKey(0xff51);  // Left
    env.TypeKey(0xff50);  // Home: no character
    env.TypeKey(0xe9);    // eacute: two UTF-8 bytes
    std::vector<Seen> expected = {
        {2, WM_KEYDOWN, keycode::Return, 0, 0}, {2, WM_CHAR, 13, 0, 0}, {2, WM_KEYUP, keycode::Return, 0, 0},
        {2, WM_KEYDOWN, 0, 0, 0}, {2, WM_CHAR, 'a', 0, 0},
        {2, WM_KEYDOWN, 0, 0, 0}, {2, WM_CHAR, 'A', 0, 0},
        {2, WM_KEYDOWN, keycode::Left, 0, 0}, {2, WM_CHAR, 28, 0, 0}, {2, WM_KEYUP, keycode::Left, 0, 0},
        {2, WM_KEYDOWN, keycode::Home, 0, 0}, {2, WM_KEYUP, keycode::Home, 0, 0},
        {2, WM_KEYDOWN, 0, 0, 0}, {2, WM_CHAR, 0xC3, 0, 0}, {2, WM_CHAR, 0xA9, 0, 0},
    };  // (keys without a key code have no WM_KEYUP)
    EXPECT_EQ(seen, expected);
    // PreTranslateMessage saw each WM_KEYDOWN and WM_CHAR on the focus
    // window, then on its parent.
    ASSERT_GE(pretranslated.size(), 2u);
    EXPECT_EQ(pretranslated[0], (Seen{2, WM_KEYDOWN, keycode::Return, 0, 0}));
    EXPECT_EQ(pretranslated[1], (Seen{1, WM_KEYDOWN, keycode::Return, 0, 0}));

    // A parent that consumes Escape: neither WM_KEYDOWN nor WM_CHAR follow.
    root.consume = keycode::Escape;
    seen.clear();
    env.TypeKey(0xff1b);
    EXPECT_EQ(seen, (std::vector<Seen>{{2, WM_KEYUP, keycode::Escape, 0, 0}}));
}

TEST_F(ToolkitInput, FocusMovesWithMessagesAndGivesTheKeyboardBack) {
    left.keyboard = true;
    EXPECT_EQ(right.SetFocus(), nullptr);
    EXPECT_EQ(headless::KeyboardFocus(), 0u);  // plain windows leave the host its keys
    EXPECT_EQ(left.SetFocus(), &right);
    EXPECT_EQ(CWnd::GetFocus(), &left);
    EXPECT_EQ(headless::KeyboardFocus(), root.GetNativeWindow());
    EXPECT_EQ(seen, (std::vector<Seen>{{3, WM_SETFOCUS, 0, 0, 0}, {3, WM_KILLFOCUS, 0, 0, 0},
                                       {2, WM_SETFOCUS, 0, 0, 0}}));
    // Hiding the focused field: the root takes the focus, the keyboard goes back.
    seen.clear();
    left.ShowWindow(SW_HIDE);
    EXPECT_EQ(CWnd::GetFocus(), &root);
    EXPECT_EQ(headless::KeyboardFocus(), 0u);
    EXPECT_EQ(seen, (std::vector<Seen>{{2, WM_KILLFOCUS, 0, 0, 0}, {1, WM_SETFOCUS, 0, 0, 0}}));
    // So does destroying it (a click on an edit-like window taking the
    // keyboard is the edit test's).
    left.ShowWindow(SW_SHOW);
    left.SetFocus();
    left.DestroyWindow();
    EXPECT_EQ(CWnd::GetFocus(), &root);
    EXPECT_EQ(headless::KeyboardFocus(), 0u);
}

TEST_F(ToolkitInput, KeyStateFollowsTheLiveModifiers) {
    struct Case {
        unsigned long keysym;
        int vk;
    } cases[] = {{0xffe1, VK_SHIFT}, {0xffe2, VK_SHIFT}, {0xffe3, VK_CONTROL}, {0xffe4, VK_CONTROL}};
    for (const Case& c : cases) {
        for (int vk : {VK_SHIFT, VK_CONTROL}) EXPECT_EQ(GetKeyState(vk), 0);
        hosted.env->PressKey(c.keysym);
        for (int vk : {VK_SHIFT, VK_CONTROL})
            EXPECT_EQ(static_cast<uint32_t>(GetKeyState(vk)), vk == c.vk ? 0xFFFF8000u : 0u)
                << std::hex << c.keysym << " " << vk;
        hosted.env->ReleaseKey(c.keysym);
    }
    EXPECT_EQ(GetKeyState('A'), 0);
    // Modifier keys alone deliver no messages.
    root.SetFocus();
    hosted.env->TypeKey(0xffe1);
    hosted.env->TypeKey(0xffe3);
    int keys = 0;
    for (const Seen& s : seen) keys += s.message == WM_KEYDOWN || s.message == WM_CHAR;
    EXPECT_EQ(keys, 0);
}

TEST_F(ToolkitInput, KeySymsTranslateThroughOneTable) {
    struct Case {
        unsigned long keysym;
        unsigned code;
        uint32_t ch;
    } cases[] = {
        {0xff0d, 0x24, 13}, {0xff8d, 0x4C, 3},  {0xff1b, 0x35, 27}, {0xff09, 0x09, 9},
        {0xff08, 0x33, 8},  {0xffff, 0x75, 127}, {0xff51, 0x7B, 28}, {0xff52, 0x7E, 30},
        {0xff53, 0x7C, 29}, {0xff54, 0x7D, 31}, {0xff50, 0x73, 0},  {0xff57, 0x77, 0},
        {0xff55, 0x74, 0},  {0xff56, 0x79, 0},  {0xffe1, 0, 0},     {0xffe3, 0, 0},
        {0x35, 0, '5'},     {0x61, 0, 'a'},
    };
    for (const Case& c : cases) {
        const uint32_t typed = c.keysym < 0x100 ? static_cast<uint32_t>(c.keysym) : 0;
        const KeyTranslation t = TranslateKeySym(c.keysym, typed);
        EXPECT_EQ(t.keyCode, c.code) << std::hex << c.keysym;
        EXPECT_EQ(t.character, c.ch) << std::hex << c.keysym;
    }
}

// A popup run modally: input elsewhere is ignored, the idle hook runs each
// turn, and the loop ends when told, when its window goes, or when the
// connection breaks.
TEST_F(ToolkitInput, ModalLoopsTakeInputOnlyForTheirRootAndEndWithItOrTheConnection) {
    Probe popup;
    ASSERT_TRUE(UIConnection::CreatePopupRoot(popup, nullptr, CRect(600, 100, 700, 200), &root, 9));
    popup.ShowWindow(SW_SHOW);
    UIConnection* connection = root.GetConnection();
    ASSERT_NE(connection, nullptr);
    int turns = 0;
    AfxSetModalIdleHook([&] {
        ++turns;
        if (turns == 1) {
            const CPoint p = HostedWindow::Screen(20, 20);  // left, outside the modal root
            hosted.env->Click(p.x, p.y);
            hosted.env->Click(610, 120);
        }
    });
    bool inside = false;
    const bool ended = connection->RunModalLoop(
        [&] {
            inside = inside || connection->ModalRoot() == &popup;
            for (const Seen& s : seen)
                if (s.window == 9 && s.message == WM_LBUTTONUP) return false;
            return true;
        },
        &popup);
    EXPECT_TRUE(ended);
    EXPECT_TRUE(inside);
    EXPECT_GE(turns, 1);
    for (const Seen& s : seen) EXPECT_NE(s.window, 2) << s;
    EXPECT_EQ(seen.back(), (Seen{9, WM_LBUTTONUP, 0, 10, 20}));
    EXPECT_EQ(connection->ModalRoot(), nullptr);

    // Destroying the modal window ends the loop.
    turns = 0;
    AfxSetModalIdleHook([&] {
        if (++turns == 2) popup.DestroyWindow();
    });
    EXPECT_FALSE(connection->RunModalLoop([] { return true; }, &popup));
    EXPECT_EQ(turns, 2);

    // So does the connection breaking.
    AfxSetModalIdleHook([] { headless::BreakConnections(); });
    EXPECT_FALSE(connection->RunModalLoop([] { return true; }, &root));
    AfxSetModalIdleHook(nullptr);
    EXPECT_FALSE(connection->IsOpen());
    // Nothing native is called any more, and nothing fails.
    root.Invalidate();
    AfxPumpMessages();
    EXPECT_EQ(GetKeyState(VK_SHIFT), 0);
}

// A host may call the idle pump from inside a callback we make while
// pumping: the inner call returns at once.
TEST_F(ToolkitInput, PumpIsNotReentered) {
    nested.SetTimer(1, 0);
    AfxPumpMessages();
    EXPECT_EQ(nested.timers, 1);
}

}  // namespace
