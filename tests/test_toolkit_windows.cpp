// Windows on the headless backend: painting and presenting, geometry,
// popup and top-level roots, and a host that destroys its window first.
#include <gtest/gtest.h>

#include <cairo.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/toolkit/HostedWindow.h"
#include "toolkit/DamageRegion.h"
#include "toolkit/Gdi.h"
#include "toolkit/CDC.h"
#include "toolkit/UIConnection.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

std::vector<std::string> paints;

// Fills its update area with one colour and records what it was asked.
class Painter : public CWnd {
public:
    explicit Painter(COLORREF c = RGB(0, 0, 0)) : color(c) {}
    COLORREF color;
    int paintCount = 0;
    std::vector<CRect> updates;
    void OnPaint() {
        ++paintCount;
        updates.push_back(GetUpdateRect());
        paints.push_back(std::to_string(GetDlgCtrlID()));
        CPaintDC dc(this);
        // Far larger than the window: the DC clips.
        dc.FillSolidRect(-1000, -1000, 3000, 3000, color);
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(Painter, CWnd)
    ON_WM_PAINT()
END_MESSAGE_MAP()

// The host window's pixels as shown, 0xRRGGBB.
class Shot {
public:
    explicit Shot(NativeWindow window) : m_surface(headless::ComposeWindow(window)) {}
    ~Shot() {
        if (m_surface) cairo_surface_destroy(m_surface);
    }
    uint32_t At(int x, int y) const {
        const unsigned char* data = cairo_image_surface_get_data(m_surface);
        return reinterpret_cast<const uint32_t*>(data + y * cairo_image_surface_get_stride(m_surface))[x] &
               0xFFFFFFu;
    }
    // At a root client point.
    uint32_t Root(int x, int y) const { return At(HostedWindow::kRootX + x, HostedWindow::kRootY + y); }

private:
    cairo_surface_t* m_surface;
};

constexpr uint32_t kRed = 0xFF0000, kGreen = 0x00FF00, kBlue = 0x0000FF, kWhite = 0xFFFFFF;

class ToolkitWindows : public ::testing::Test {
protected:
    ToolkitWindows() : hosted(MakeHeadlessEnvironment()) {}
    void SetUp() override {
        ASSERT_TRUE(hosted.opened);
        paints.clear();
    }
    void Pump() { AfxPumpMessages(); }
    HostedWindow hosted;
};

TEST_F(ToolkitWindows, ChildrenPaintAfterTheirParentInZOrderClippedToThemselves) {
    Painter root(RGB(255, 0, 0)), first(RGB(0, 255, 0)), second(RGB(0, 0, 255)), inner(RGB(255, 255, 255));
    ASSERT_TRUE(hosted.CreateRoot(root));
    ASSERT_TRUE(first.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(10, 10, 60, 60), &root, 2));
    ASSERT_TRUE(second.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(45, 45, 90, 90), &root, 3));
    // Reaches outside its parent: cut at the parent's edge.
    ASSERT_TRUE(inner.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(30, 30, 80, 80), &first, 4));
    // Windows without a paint handler: the class brush erases, a hollow one
    // leaves the parent's pixels.
    LPCTSTR greyClass = AfxRegisterWndClass(0, nullptr, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));
    LPCTSTR hollowClass = AfxRegisterWndClass(0, nullptr, static_cast<HBRUSH>(GetStockObject(NULL_BRUSH)));
    EXPECT_STREQ(greyClass, AfxRegisterWndClass(0, nullptr, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH))));
    EXPECT_EQ(GetStockObject(6), nullptr);
    CWnd grey, hollow;
    ASSERT_TRUE(grey.Create(greyClass, "", WS_CHILD | WS_VISIBLE, CRect(200, 100, 240, 140), &root, 5));
    ASSERT_TRUE(hollow.Create(hollowClass, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 10, 10), &grey, 6));
    headless::TakePresents();
    Pump();
    EXPECT_EQ(paints, (std::vector<std::string>{"1", "2", "4", "3"}));
    Shot shot(hosted.host);
    // Inner starts at first's (30, 30); second is above first and inner.
    const struct {
        int x, y;
        uint32_t colour;
    } pixels[] = {{0, 0, kRed},     {299, 199, kRed},  {10, 10, kGreen}, {39, 39, kGreen},
                  {40, 40, kWhite}, {44, 44, kWhite},  {59, 59, kBlue},  {60, 45, kBlue},
                  {89, 89, kBlue},  {90, 90, kRed},    {220, 120, 0x808080}, {205, 105, 0x808080}};
    for (const auto& p : pixels) EXPECT_EQ(shot.Root(p.x, p.y), p.colour) << p.x << "," << p.y;
    EXPECT_EQ(shot.At(0, 0), 0u);  // the host's own pixels stay
    auto presents = headless::TakePresents();
    ASSERT_EQ(presents.size(), 1u);
    EXPECT_EQ(presents[0].area, CRect(0, 0, 300, 200));

    // Raising first puts it (and inner) above second.
    first.SetWindowPos(nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    Pump();
    Shot raised(hosted.host);
    EXPECT_EQ(raised.Root(59, 59), kWhite);
    EXPECT_EQ(raised.Root(60, 59), kBlue);

    // Invalidations between two pumps: one paint of their bounding box and
    // one present; a child sees its own part of it; the next pump has none.
    root.updates.clear();
    second.updates.clear();
    headless::TakePresents();
    root.InvalidateRect(CRect(5, 5, 10, 10));
    root.InvalidateRect(CRect(20, 30, 25, 35), FALSE);
    second.InvalidateRect(CRect(40, 40, 44, 44));  // root (85, 85) to (89, 89)
    Pump();
    Pump();
    EXPECT_EQ(root.updates, std::vector<CRect>{CRect(5, 5, 89, 89)});
    EXPECT_EQ(second.updates, std::vector<CRect>{CRect(0, 0, 44, 44)});
    presents = headless::TakePresents();
    ASSERT_EQ(presents.size(), 1u);
    EXPECT_EQ(presents[0].area, CRect(5, 5, 89, 89));
    // Hiding a child repaints its place.
    second.ShowWindow(SW_HIDE);
    Pump();
    EXPECT_EQ(Shot(hosted.host).Root(70, 70), kRed);

    // A client DC draws and presents at once, clipped to its window.
    headless::TakePresents();
    {
        CClientDC dc(&first);
        dc.FillSolidRect(-5, -5, 8, 100, RGB(0, 0, 255));
    }
    presents = headless::TakePresents();
    ASSERT_EQ(presents.size(), 1u);
    EXPECT_EQ(presents[0].area, CRect(10, 10, 13, 60));
    EXPECT_EQ(Shot(hosted.host).Root(12, 59), kBlue);
}

// What the screen still has to be shown stays a handful of rectangles
// covering everything added, however many areas come.
TEST(DamageRegions, MergeNeighboursAndStayFew) {
    DamageRegion region;
    region.Add(CRect());
    EXPECT_TRUE(region.IsEmpty());
    region.Add(CRect(0, 0, 10, 10));
    region.Add(CRect(5, 5, 15, 15));  // overlapping: one
    EXPECT_EQ(region.Count(), 1);
    EXPECT_EQ(region[0], CRect(0, 0, 15, 15));
    region.Add(CRect(500, 0, 510, 300));  // far away: its own
    EXPECT_EQ(region.Count(), 2);
    const auto added = [](int i) {
        return CRect(i * 97 % 700, i * 53 % 500, i * 97 % 700 + 3, i * 53 % 500 + 3);
    };
    int right = 510, bottom = 300;
    for (int i = 0; i < 40; i++) {
        region.Add(added(i));
        right = std::max<int>(right, added(i).right);
        bottom = std::max<int>(bottom, added(i).bottom);
    }
    EXPECT_LE(region.Count(), 8);
    EXPECT_EQ(region.Bounds(), CRect(0, 0, right, bottom));
    // Every area added lies inside one of the rectangles.
    for (int i = 0; i < 40; i++) {
        bool covered = false;
        for (const CRect& r : region)
            covered = covered || (r.left <= added(i).left && r.top <= added(i).top &&
                                  r.right >= added(i).right && r.bottom >= added(i).bottom);
        EXPECT_TRUE(covered) << i;
    }
}

TEST_F(ToolkitWindows, GeometryMovesNativeRootsAndSendsSizes) {
    Painter root;
    ASSERT_TRUE(hosted.CreateRoot(root));
    const NativeWindow native = root.GetNativeWindow();
    ASSERT_NE(native, 0u);
    EXPECT_EQ(headless::ParentOf(native), hosted.host);
    EXPECT_EQ(headless::WindowRect(native), CRect(10, 20, 310, 220));
    EXPECT_TRUE(headless::IsShown(native));
    CRect rect;
    root.GetWindowRect(&rect);
    EXPECT_EQ(rect, CRect(110, 100, 410, 300));
    CWnd child;
    ASSERT_TRUE(child.Create(nullptr, "", WS_CHILD, CRect(5, 6, 25, 26), &root, 2));
    EXPECT_FALSE(child.IsWindowVisible());
    child.ShowWindow(SW_SHOW);
    EXPECT_TRUE(child.IsWindowVisible());
    CPoint p(1, 2);
    child.ClientToScreen(&p);
    EXPECT_EQ(p, CPoint(116, 108));
    child.ScreenToClient(&p);
    EXPECT_EQ(p, CPoint(1, 2));

    root.MoveWindow(0, 0, 200, 100);
    EXPECT_EQ(headless::WindowRect(native), CRect(0, 0, 200, 100));
    root.GetClientRect(&rect);
    EXPECT_EQ(rect, CRect(0, 0, 200, 100));
    Pump();
    EXPECT_EQ(root.updates.back(), CRect(0, 0, 200, 100));
    root.ShowWindow(SW_HIDE);
    EXPECT_FALSE(headless::IsShown(native));
    EXPECT_FALSE(child.IsWindowVisible());
}

TEST_F(ToolkitWindows, PopupAndTopLevelRootsLiveOnTheOwnersConnection) {
    Painter root, popup(RGB(0, 255, 0)), dialog;
    ASSERT_TRUE(hosted.CreateRoot(root));
    ASSERT_TRUE(UIConnection::CreatePopupRoot(popup, nullptr, CRect(500, 400, 540, 420), &root, 7));
    ASSERT_TRUE(UIConnection::CreateTopLevelRoot(dialog, nullptr, "Save", CRect(200, 200, 400, 300), &root));
    EXPECT_EQ(popup.GetConnection(), root.GetConnection());
    EXPECT_EQ(popup.GetParent(), &root);
    EXPECT_EQ(headless::ParentOf(popup.GetNativeWindow()), 0u);
    EXPECT_EQ(headless::WindowRect(popup.GetNativeWindow()), CRect(500, 400, 540, 420));
    EXPECT_FALSE(headless::IsShown(popup.GetNativeWindow()));  // created hidden
    popup.ShowWindow(SW_SHOW);
    Pump();
    Shot shot(popup.GetNativeWindow());
    EXPECT_EQ(shot.At(39, 19), kGreen);
    CPoint p(0, 0);
    popup.ClientToScreen(&p);
    EXPECT_EQ(p, CPoint(500, 400));

    // The window manager's close button destroys a window that does not
    // handle WM_CLOSE.
    dialog.ShowWindow(SW_SHOW);
    const NativeWindow dialogNative = dialog.GetNativeWindow();
    headless::RequestClose(dialogNative);
    Pump();
    EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
    EXPECT_FALSE(headless::WindowExists(dialogNative));
    // Owned windows go with their owner.
    const NativeWindow popupNative = popup.GetNativeWindow();
    root.DestroyWindow();
    EXPECT_EQ(popup.GetSafeHwnd(), nullptr);
    EXPECT_FALSE(headless::WindowExists(popupNative));
}

// Records which windows each native call names, passing everything on.
class RecordingDisplay : public HeadlessDisplay {
public:
    static std::vector<NativeWindow>* touched;
    void Note(NativeWindow w) { touched->push_back(w); }
    void DestroyWindow(NativeWindow w) override { Note(w); HeadlessDisplay::DestroyWindow(w); }
    void ShowWindow(NativeWindow w, bool s) override { Note(w); HeadlessDisplay::ShowWindow(w, s); }
    void SetWindowRect(NativeWindow w, const CRect& r) override { Note(w); HeadlessDisplay::SetWindowRect(w, r); }
    void Present(NativeWindow w, cairo_surface_t* i, const CRect& a) override { Note(w); HeadlessDisplay::Present(w, i, a); }
    CPoint WindowToScreen(NativeWindow w, CPoint p) override { Note(w); return HeadlessDisplay::WindowToScreen(w, p); }
    void TakeKeyboardFocus(NativeWindow w) override { Note(w); HeadlessDisplay::TakeKeyboardFocus(w); }
    bool GrabPointer(NativeWindow w) override { Note(w); return HeadlessDisplay::GrabPointer(w); }
};
std::vector<NativeWindow>* RecordingDisplay::touched = nullptr;

TEST_F(ToolkitWindows, HostDestroyingItsWindowFirstIsSurvivedWithoutNativeCalls) {
    std::vector<NativeWindow> touched;
    RecordingDisplay::touched = &touched;
    CFrameWnd frame;
    AfxSetNativeDisplayFactory([] { return std::make_unique<RecordingDisplay>(); });
    const NativeWindow host = headless::CreateHostWindow(CRect(0, 0, 200, 200));
    ASSERT_TRUE(frame.SetNativeHandle(host));
    Painter root;
    CWnd child;
    ASSERT_TRUE(root.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 100, 100), &frame, 1));
    ASSERT_TRUE(child.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 10, 10), &root, 2));
    const NativeWindow native = root.GetNativeWindow();
    Pump();

    headless::DestroyWindow(host);
    Pump();  // the Destroyed events arrive
    touched.clear();
    EXPECT_EQ(root.GetNativeWindow(), 0u);
    root.Invalidate();
    root.MoveWindow(1, 1, 50, 50);
    root.ShowWindow(SW_HIDE);
    root.ShowWindow(SW_SHOW);
    CPoint p(0, 0);
    child.ClientToScreen(&p);
    Pump();
    EXPECT_TRUE(root.DestroyWindow());
    EXPECT_TRUE(frame.SetNativeHandle(0));
    for (NativeWindow w : touched) EXPECT_TRUE(w != host && w != native) << w;
    EXPECT_EQ(child.GetSafeHwnd(), nullptr);
    RecordingDisplay::touched = nullptr;
    AfxSetNativeDisplayFactory([] { return std::make_unique<HeadlessDisplay>(); });
}

// Native roots, their buffers and their connections: 1000 cycles, one
// connection of their own every tenth; the sanitizer build checks leaks.
TEST_F(ToolkitWindows, ThousandNativeCyclesLeaveNoWindows) {
    const size_t screenWindows = headless::ChildrenOf(hosted.host).size();
    for (int i = 0; i < 1000; ++i) {
        CFrameWnd ownFrame;
        CFrameWnd& frame = i % 10 == 0 ? ownFrame : hosted.frame;
        if (&frame == &ownFrame) {
            ASSERT_TRUE(ownFrame.SetNativeHandle(hosted.host));
        }
        auto* root = new Painter;
        ASSERT_TRUE(root->Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 64, 48), &frame, 1));
        auto* child = new Painter;
        ASSERT_TRUE(child->Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(4, 4, 20, 20), root, 2));
        Painter popup;
        ASSERT_TRUE(UIConnection::CreatePopupRoot(popup, nullptr, CRect(0, 0, 30, 30), child));
        popup.ShowWindow(SW_SHOW);
        child->SetFocus();
        root->InvalidateRect(CRect(1, 1, 5, 5));
        Pump();
        if (i % 2) {
            delete root;  // takes the child's and the popup's windows along
            delete child;
        } else {
            root->DestroyWindow();
            delete child;
            delete root;
        }
    }
    EXPECT_EQ(headless::ChildrenOf(hosted.host).size(), screenWindows);
    headless::TakePresents();
}

TEST_F(ToolkitWindows, FrameLettingGoClosesItsConnectionAndWindows) {
    Painter root;
    ASSERT_TRUE(hosted.CreateRoot(root));
    const NativeWindow native = root.GetNativeWindow();
    const size_t open = UIConnection::All().size();
    EXPECT_TRUE(hosted.frame.SetNativeHandle(0));
    EXPECT_EQ(UIConnection::All().size(), open - 1);
    EXPECT_EQ(root.GetSafeHwnd(), nullptr);
    EXPECT_FALSE(headless::WindowExists(native));
    EXPECT_TRUE(headless::WindowExists(hosted.host));
    EXPECT_EQ(hosted.frame.GetNativeHandle(), 0u);
    // Without a display the frame cannot wrap anything.
    AfxSetNativeDisplayFactory([] { return std::unique_ptr<NativeDisplay>(); });
    EXPECT_FALSE(hosted.frame.SetNativeHandle(hosted.host));
}

}  // namespace
