// What the toolkit promises on every backend, run on each environment: the
// headless screen always, a real X server when one is reachable.
#include <gtest/gtest.h>

#include <vector>

#include "tests/toolkit/HostedWindow.h"

// Linked in when the X11 environment is built; otherwise null here.
std::unique_ptr<TestEnvironment> MakeX11Environment() __attribute__((weak));

namespace {

struct Input {
    UINT message;
    WPARAM wParam;
    int x, y;
    bool operator==(const Input& o) const {
        return message == o.message && wParam == o.wParam && x == o.x && y == o.y;
    }
};
std::ostream& operator<<(std::ostream& os, const Input& i) {
    return os << "{0x" << std::hex << i.message << std::dec << " " << i.wParam << " " << i.x << "," << i.y << "}";
}

class Target : public CWnd {
public:
    std::vector<Input> got;
    bool keyboard = false;
    bool drag = false;
    bool WantsKeyboard() const override { return keyboard; }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_LBUTTONDOWN || message == WM_LBUTTONUP || (message == WM_MOUSEMOVE && drag))
            got.push_back({message, 0, GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        if (message == WM_KEYDOWN || message == WM_CHAR) got.push_back({message, wParam, 0, 0});
        if (message == WM_LBUTTONDOWN && drag) SetCapture();
        if (message == WM_LBUTTONUP && drag) ReleaseCapture();
        return CWnd::WindowProc(message, wParam, lParam);
    }
};

typedef std::unique_ptr<TestEnvironment> (*EnvironmentMaker)();

class ToolkitBehaviour : public ::testing::TestWithParam<EnvironmentMaker> {
protected:
    void SetUp() override {
        std::unique_ptr<TestEnvironment> env = GetParam() ? GetParam()() : nullptr;
        if (!env) GTEST_SKIP() << "environment not available";
        hosted = std::make_unique<HostedWindow>(std::move(env));
        ASSERT_TRUE(hosted->opened);
        ASSERT_TRUE(hosted->CreateRoot(root));
        ASSERT_TRUE(target.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(30, 40, 130, 90), &root, 2));
        hosted->env->Settle();
    }
    void TearDown() override {
        target.DestroyWindow();
        root.DestroyWindow();
        hosted.reset();
    }
    TestEnvironment& Env() { return *hosted->env; }
    std::unique_ptr<HostedWindow> hosted;
    CWnd root;
    Target target;
};

TEST_P(ToolkitBehaviour, ClickArrivesAtTheWindowsClientCoordinates) {
    const CPoint p = HostedWindow::Screen(30 + 17, 40 + 9);
    Env().Click(p.x, p.y);
    EXPECT_EQ(target.got, (std::vector<Input>{{WM_LBUTTONDOWN, 0, 17, 9}, {WM_LBUTTONUP, 0, 17, 9}}));
}

TEST_P(ToolkitBehaviour, DragWithCaptureFollowsThePointerOutside) {
    target.drag = true;
    CPoint p = HostedWindow::Screen(30 + 5, 40 + 5);
    Env().MovePointer(p.x, p.y);
    Env().PressButton(1);
    Env().Settle();
    p = HostedWindow::Screen(30 + 150, 40 + 100);  // past the window, inside the root
    Env().MovePointer(p.x, p.y);
    Env().Settle();
    Env().ReleaseButton(1);
    Env().Settle();
    ASSERT_GE(target.got.size(), 4u);
    EXPECT_EQ(target.got[1], (Input{WM_LBUTTONDOWN, 0, 5, 5}));
    EXPECT_EQ(target.got[target.got.size() - 2], (Input{WM_MOUSEMOVE, 0, 150, 100}));
    EXPECT_EQ(target.got.back(), (Input{WM_LBUTTONUP, 0, 150, 100}));
    EXPECT_EQ(CWnd::GetCapture(), nullptr);
}

TEST_P(ToolkitBehaviour, KeysReachTheFocusedWindow) {
    target.keyboard = true;
    target.SetFocus();
    Env().Settle();
    Env().TypeText("7");
    Env().TypeKey(0xff0d);  // Return
    EXPECT_EQ(target.got, (std::vector<Input>{{WM_KEYDOWN, 0, 0, 0}, {WM_CHAR, '7', 0, 0},
                                              {WM_KEYDOWN, keycode::Return, 0, 0}, {WM_CHAR, 13, 0, 0}}));
}

TEST_P(ToolkitBehaviour, HostWindowDestroyedBeforeTheToolkitWindow) {
    hosted->DestroyHost();
    Env().Settle();
    root.Invalidate();
    target.MoveWindow(0, 0, 10, 10);
    Env().Settle();
    EXPECT_TRUE(target.DestroyWindow());
    EXPECT_TRUE(root.DestroyWindow());
    EXPECT_TRUE(hosted->frame.SetNativeHandle(0));
}

std::vector<EnvironmentMaker> Environments() {
    std::vector<EnvironmentMaker> makers{&MakeHeadlessEnvironment};
    makers.push_back(MakeX11Environment ? &MakeX11Environment : nullptr);
    return makers;
}

INSTANTIATE_TEST_SUITE_P(Backends, ToolkitBehaviour, ::testing::ValuesIn(Environments()),
                         [](const ::testing::TestParamInfo<EnvironmentMaker>& info) {
                             return std::string(info.index == 0 ? "Headless" : "X11");
                         });

}  // namespace
