// What the toolkit promises on every backend, run on each environment: the
// headless screen always, a real X server when one is reachable.
#include <gtest/gtest.h>

#include <cairo.h>

#include <vector>

#include "tests/toolkit/HostedWindow.h"
#include "toolkit/CDC.h"
#include "toolkit/Gdi.h"

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

// Records clicks, keys and (while dragging) moves; paints itself red with a
// blue 10 x 10 square at (5, 5).
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
        if (message == WM_PAINT) {
            CPaintDC dc(this);
            dc.FillSolidRect(0, 0, 100, 50, RGB(255, 0, 0));
            dc.FillSolidRect(5, 5, 10, 10, RGB(0, 0, 255));
            return 0;
        }
        return CWnd::WindowProc(message, wParam, lParam);
    }
};

typedef std::unique_ptr<TestEnvironment> (*EnvironmentMaker)();

// A grey root with the target at (30, 40), 100 x 50, inside it.
class ToolkitBehaviour : public ::testing::TestWithParam<EnvironmentMaker> {
protected:
    void SetUp() override {
        std::unique_ptr<TestEnvironment> env = GetParam() ? GetParam()() : nullptr;
        if (!env) GTEST_SKIP() << "environment not available";
        hosted = std::make_unique<HostedWindow>(std::move(env));
        ASSERT_TRUE(hosted->opened);
        ASSERT_TRUE(CreateWindows());
        Env().Settle();
    }
    void TearDown() override {
        target.DestroyWindow();
        root.DestroyWindow();
        hosted.reset();
    }
    bool CreateWindows() {
        return hosted->CreateRoot(root, AfxRegisterWndClass(0, nullptr, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)))) &&
               target.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(30, 40, 130, 90), &root, 2);
    }
    TestEnvironment& Env() { return *hosted->env; }
    // Screen point of a target client point.
    static CPoint AtTarget(int x, int y) { return HostedWindow::Screen(30 + x, 40 + y); }
    void Click(int x, int y) {
        const CPoint p = AtTarget(x, y);
        Env().Click(p.x, p.y);
    }
    std::unique_ptr<HostedWindow> hosted;
    CWnd root;
    Target target;
};

TEST_P(ToolkitBehaviour, ClicksArriveInClientCoordinatesUpToTheWindowsEdge) {
    Click(17, 9);
    Click(99, 49);   // the last pixel inside
    Click(100, 49);  // the first outside: the root's
    EXPECT_EQ(target.got, (std::vector<Input>{{WM_LBUTTONDOWN, 0, 17, 9}, {WM_LBUTTONUP, 0, 17, 9},
                                              {WM_LBUTTONDOWN, 0, 99, 49}, {WM_LBUTTONUP, 0, 99, 49}}));
}

TEST_P(ToolkitBehaviour, DragWithCaptureFollowsThePointerOutsideTheHostWindow) {
    target.drag = true;
    CPoint p = AtTarget(5, 5);
    Env().MovePointer(p.x, p.y);
    Env().PressButton(1);
    Env().Settle();
    p = AtTarget(450, -70);  // right of and above the host window
    Env().MovePointer(p.x, p.y);
    Env().Settle();
    Env().ReleaseButton(1);
    Env().Settle();
    EXPECT_EQ(target.got, (std::vector<Input>{{WM_MOUSEMOVE, 0, 5, 5}, {WM_LBUTTONDOWN, 0, 5, 5},
                                              {WM_MOUSEMOVE, 0, 450, -70}, {WM_LBUTTONUP, 0, 450, -70}}));
    EXPECT_EQ(CWnd::GetCapture(), nullptr);
}

TEST_P(ToolkitBehaviour, KeysReachTheFocusedWindow) {
    target.keyboard = true;
    target.SetFocus();
    Env().Settle();
    Env().TypeText("7B");   // B with Shift held
    Env().TypeKey(0xff0d);  // Return
    Env().TypeKey(0xff51);  // Left
    EXPECT_EQ(target.got, (std::vector<Input>{{WM_KEYDOWN, 0, 0, 0}, {WM_CHAR, '7', 0, 0},
                                              {WM_KEYDOWN, 0, 0, 0}, {WM_CHAR, 'B', 0, 0},
                                              {WM_KEYDOWN, keycode::Return, 0, 0}, {WM_CHAR, 13, 0, 0},
                                              {WM_KEYDOWN, keycode::Left, 0, 0}, {WM_CHAR, keychar::Left, 0, 0}}));
}

TEST_P(ToolkitBehaviour, WhatThePaintDrewIsOnTheScreenInsideTheHostWindow) {
    // Read back through a connection of its own, as a user would see it.
    cairo_surface_t* shot = AfxOpenNativeDisplay()->CaptureWindow(hosted->host);
    ASSERT_TRUE(shot);
    cairo_surface_flush(shot);
    const auto rootPixel = [shot](int x, int y) {
        const unsigned char* row = cairo_image_surface_get_data(shot) +
                                   (HostedWindow::kRootY + y) * cairo_image_surface_get_stride(shot);
        return reinterpret_cast<const uint32_t*>(row)[HostedWindow::kRootX + x] & 0xFFFFFFu;
    };
    EXPECT_EQ(rootPixel(29, 40), 0x808080u);
    EXPECT_EQ(rootPixel(30, 40), 0xFF0000u);  // the target's top left
    EXPECT_EQ(rootPixel(35, 45), 0x0000FFu);
    EXPECT_EQ(rootPixel(44, 54), 0x0000FFu);
    EXPECT_EQ(rootPixel(45, 55), 0xFF0000u);
    EXPECT_EQ(rootPixel(129, 89), 0xFF0000u);  // its bottom right
    EXPECT_EQ(rootPixel(130, 90), 0x808080u);
    cairo_surface_destroy(shot);
}

TEST_P(ToolkitBehaviour, HostWindowDestroyedBeforeTheToolkitWindowThenANewOne) {
    hosted->DestroyHost();
    Env().Settle();
    // The toolkit goes on with its windows as if nothing happened, and the
    // close that follows touches nothing of the dead windows.
    root.Invalidate();
    target.MoveWindow(0, 0, 10, 10);
    target.ShowWindow(SW_HIDE);
    target.ShowWindow(SW_SHOW);
    Env().Settle();
    EXPECT_TRUE(target.DestroyWindow());
    EXPECT_TRUE(root.DestroyWindow());
    EXPECT_TRUE(hosted->frame.SetNativeHandle(0));
    Env().Settle();

    // A new editor in a new host window works as the first did.
    ASSERT_TRUE(hosted->OpenHost());
    ASSERT_TRUE(CreateWindows());
    Env().Settle();
    target.got.clear();
    Click(7, 8);
    EXPECT_EQ(target.got, (std::vector<Input>{{WM_LBUTTONDOWN, 0, 7, 8}, {WM_LBUTTONUP, 0, 7, 8}}));
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
