// Message maps, window life cycle, timers and handlers that end their own
// window, without any native window.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "toolkit/CWinApp.h"
#include "toolkit/CWnd.h"
#include "toolkit/WindowTree.h"

namespace {

std::vector<std::string> trace;

class BaseWindow : public CWnd {
public:
    int OnCreate(LPCREATESTRUCT cs) {
        trace.push_back("base create " + std::string(cs->lpszName ? cs->lpszName : ""));
        return CWnd::OnCreate(cs);
    }
    void OnTimer(UINT_PTR id) { trace.push_back("base timer " + std::to_string(id)); }
    void OnFirst() { trace.push_back("base first"); }
    void OnKeyDown(UINT key, UINT, UINT) { trace.push_back("base key " + std::to_string(key)); }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(BaseWindow, CWnd)
    ON_WM_CREATE()
    ON_WM_TIMER()
    ON_WM_KEYDOWN()
    ON_COMMAND(100, OnFirst)
END_MESSAGE_MAP()

class DerivedWindow : public BaseWindow {
public:
    void OnTimer(UINT_PTR id) { trace.push_back("derived timer " + std::to_string(id)); }
    void OnRange(UINT id) { trace.push_back("range " + std::to_string(id)); }
    void OnClicked() { trace.push_back("clicked"); }
    LRESULT OnPrivate(WPARAM w, LPARAM l) {
        trace.push_back("private " + std::to_string(w) + " " + std::to_string(l));
        return 77;
    }
    void OnDestroy() {
        trace.push_back("destroy " + std::to_string(GetDlgCtrlID()));
        CWnd::OnDestroy();
    }
    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_KEYDOWN) trace.push_back("default key " + std::to_string(wParam));
        if (message == WM_NCDESTROY) trace.push_back("ncdestroy " + std::to_string(GetDlgCtrlID()));
        return CWnd::DefWindowProc(message, wParam, lParam);
    }
    void OnKeyDown(UINT key, UINT repeat, UINT flags) {
        trace.push_back("derived key " + std::to_string(key));
        Default();
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(DerivedWindow, BaseWindow)
    ON_WM_TIMER()
    ON_WM_DESTROY()
    ON_WM_KEYDOWN()
    ON_COMMAND_RANGE(200, 209, OnRange)
    ON_BN_CLICKED(300, OnClicked)
    ON_MESSAGE(0x0A01, OnPrivate)
END_MESSAGE_MAP()

class RefusingWindow : public CWnd {
public:
    int OnCreate(LPCREATESTRUCT) { return -1; }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(RefusingWindow, CWnd)
    ON_WM_CREATE()
END_MESSAGE_MAP()

class ToolkitMessages : public ::testing::Test {
protected:
    void SetUp() override {
        trace.clear();
        baseline = WindowTree::LiveWindowCount();
    }
    void TearDown() override { EXPECT_EQ(WindowTree::LiveWindowCount(), baseline); }
    size_t baseline = 0;
};

TEST_F(ToolkitMessages, MapsAreSearchedOwnClassFirstThenBases) {
    DerivedWindow window;
    ASSERT_TRUE(window.Create(nullptr, "w", WS_CHILD, CRect(0, 0, 10, 10), nullptr, 1));
    // WM_CREATE is only in the base map.
    EXPECT_EQ(trace, std::vector<std::string>{"base create w"});
    trace.clear();

    window.SendMessage(WM_TIMER, 7);
    window.SendMessage(WM_COMMAND, MAKEWPARAM(100, 0));  // base's command
    window.SendMessage(WM_COMMAND, MAKEWPARAM(199, 0));  // below the range
    window.SendMessage(WM_COMMAND, MAKEWPARAM(200, 0));
    window.SendMessage(WM_COMMAND, MAKEWPARAM(209, 0));
    window.SendMessage(WM_COMMAND, MAKEWPARAM(210, 0));  // above the range
    window.SendMessage(WM_COMMAND, MAKEWPARAM(300, BN_CLICKED));
    window.SendMessage(WM_COMMAND, MAKEWPARAM(300, CBN_SELCHANGE));  // no entry
    window.SendMessage(WM_COMMAND, MAKEWPARAM(100, CBN_SELCHANGE));  // code mismatch
    EXPECT_EQ(window.SendMessage(0x0A01, 5, -3), 77);
    // The derived handler's Default() runs DefWindowProc with the same message.
    window.SendMessage(WM_KEYDOWN, 0x24, 1);
    EXPECT_EQ(trace, (std::vector<std::string>{"derived timer 7", "base first", "range 200",
                                               "range 209", "clicked", "private 5 -3",
                                               "derived key 36", "default key 36"}));
}

TEST_F(ToolkitMessages, CreateMayBeRefusedAndDestroyGoesParentFirstFinishingBottomUp) {
    RefusingWindow refused;
    EXPECT_FALSE(refused.Create(nullptr, "", WS_CHILD, CRect(0, 0, 5, 5), nullptr, 0));
    EXPECT_EQ(refused.GetSafeHwnd(), nullptr);

    DerivedWindow parent, child, grandchild, sibling;
    ASSERT_TRUE(parent.Create(nullptr, "", WS_CHILD, CRect(0, 0, 50, 50), nullptr, 1));
    ASSERT_TRUE(child.Create(nullptr, "", WS_CHILD, CRect(0, 0, 20, 20), &parent, 2));
    ASSERT_TRUE(grandchild.Create(nullptr, "", WS_CHILD, CRect(0, 0, 5, 5), &child, 3));
    ASSERT_TRUE(sibling.Create(nullptr, "", WS_CHILD, CRect(20, 0, 30, 20), &parent, 4));
    EXPECT_EQ(parent.GetDlgItem(4), &sibling);
    EXPECT_EQ(grandchild.GetParent(), &child);
    const HWND childHandle = child.GetSafeHwnd();
    trace.clear();
    EXPECT_TRUE(parent.DestroyWindow());
    EXPECT_EQ(trace, (std::vector<std::string>{"destroy 1", "destroy 2", "destroy 3", "destroy 4",
                                               "ncdestroy 3", "ncdestroy 2", "ncdestroy 4",
                                               "ncdestroy 1"}));
    EXPECT_EQ(CWnd::FromHandle(childHandle), nullptr);
    EXPECT_EQ(grandchild.GetSafeHwnd(), nullptr);
    EXPECT_FALSE(parent.DestroyWindow());
}

TEST_F(ToolkitMessages, TextFontAndDialogItems) {
    CWnd parent, item;
    ASSERT_TRUE(parent.Create(nullptr, "", WS_CHILD, CRect(0, 0, 50, 50), nullptr, 0));
    ASSERT_TRUE(item.Create(nullptr, "first", WS_CHILD, CRect(0, 0, 5, 5), &parent, 1120));
    CString text;
    EXPECT_EQ(parent.GetDlgItemText(1120, text), 5);
    EXPECT_EQ(text, "first");
    parent.SetDlgItemText(1120, "second text");
    char buffer[7];
    EXPECT_EQ(item.GetWindowText(buffer, sizeof buffer), 6);
    EXPECT_STREQ(buffer, "second");
    EXPECT_EQ(item.GetWindowTextLength(), 11);
    EXPECT_EQ(parent.GetDlgItemText(999, text), 0);
    EXPECT_EQ(SendMessage0(nullptr, WM_GETTEXTLENGTH, 0, 0), 0);
    EXPECT_EQ(SendMessage0(&item, WM_GETTEXTLENGTH, 0, 0), 11);
    parent.DestroyWindow();
}

TEST_F(ToolkitMessages, DueTimersFireOncePerPumpUntilKilled) {
    DerivedWindow window;
    ASSERT_TRUE(window.Create(nullptr, "", WS_CHILD, CRect(0, 0, 5, 5), nullptr, 0));
    trace.clear();
    EXPECT_EQ(window.SetTimer(1024, 0), 1024u);  // due at every pump
    EXPECT_EQ(window.SetTimer(5, 3600000), 5u);  // not due for an hour
    AfxPumpMessages();
    AfxPumpMessages();
    EXPECT_EQ(trace, (std::vector<std::string>{"derived timer 1024", "derived timer 1024"}));
    EXPECT_TRUE(window.KillTimer(1024));
    EXPECT_FALSE(window.KillTimer(1024));
    trace.clear();
    AfxPumpMessages();
    EXPECT_TRUE(trace.empty());

    window.SetTimer(9, 0);
    window.DestroyWindow();  // takes its timers along
    trace.clear();
    AfxPumpMessages();
    EXPECT_TRUE(trace.empty());
}

// Handlers that destroy or delete their own window.
class SelfEnding : public CWnd {
public:
    LRESULT OnEnd(WPARAM remove, LPARAM) {
        DestroyWindow();
        const LRESULT afterwards = Default();  // still the message being handled
        if (remove) delete this;
        return afterwards + 1;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(SelfEnding, CWnd)
    ON_MESSAGE(WM_USER + 5, OnEnd)
END_MESSAGE_MAP()

TEST_F(ToolkitMessages, HandlersMayDestroyOrDeleteTheirWindow) {
    SelfEnding kept;
    ASSERT_TRUE(kept.Create(nullptr, "", WS_CHILD, CRect(0, 0, 5, 5), nullptr, 0));
    EXPECT_EQ(kept.SendMessage(WM_USER + 5, 0), 1);
    EXPECT_EQ(kept.GetSafeHwnd(), nullptr);
    EXPECT_EQ(kept.Default(), 0);  // outside any message

    auto* deleted = new SelfEnding;
    ASSERT_TRUE(deleted->Create(nullptr, "", WS_CHILD, CRect(0, 0, 5, 5), nullptr, 0));
    deleted->PostMessage(WM_USER + 5, 1);
    AfxPumpMessages();  // ASan watches the delivery touch nothing after the delete
}

// Posts wait in one ring of 256 records: past that the oldest undelivered
// are lost. A post to a window that has gone is dropped.
TEST_F(ToolkitMessages, PostsKeepTheLast256UndeliveredAndSkipWindowsThatWent) {
    DerivedWindow window;
    ASSERT_TRUE(window.Create(nullptr, "", WS_CHILD, CRect(0, 0, 5, 5), nullptr, 0));
    trace.clear();
    for (int i = 0; i < 300; ++i) window.PostMessage(0x0A01, i, 0);
    AfxPumpMessages();
    ASSERT_EQ(trace.size(), 256u);
    EXPECT_EQ(trace.front(), "private 44 0");
    EXPECT_EQ(trace.back(), "private 299 0");
    window.PostMessage(0x0A01, 1, 0);
    window.DestroyWindow();
    trace.clear();
    AfxPumpMessages();
    EXPECT_TRUE(trace.empty());
}

}  // namespace
