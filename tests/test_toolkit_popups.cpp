// Popup menus and drop-down lists, driven like a user would drive them
// (clicks, keys, the wheel) on the headless screen and, when a server is
// reachable, on X11: the command each choice sends or does not send, a long
// menu laid out in columns that stays on screen, a long list that scrolls.
#include <gtest/gtest.h>

#include <string>

#include "tests/toolkit/ControlHost.h"
#include "toolkit/CComboBox.h"
#include "toolkit/CMenu.h"
#include "toolkit/ComboListPopup.h"
#include "toolkit/MenuPopup.h"
#include "toolkit/UIConnection.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

constexpr unsigned long kEscape = 0xff1b, kReturn = 0xff0d, kUp = 0xff52, kDown = 0xff54;
constexpr unsigned long kPageDown = 0xff56, kHome = 0xff50, kEnd = 0xff57;
using Command = CommandRecorder::Command;

template <class T>
T* OpenPopup() {
    UIConnection* connection = UIConnection::Current();
    return connection ? dynamic_cast<T*>(connection->ModalRoot()) : nullptr;
}

// The screen point at the middle of a client rectangle of window.
CPoint MiddleOnScreen(const CWnd& window, const CRect& r) {
    return ControlHost::Screen(window, (r.left + r.right) / 2, (r.top + r.bottom) / 2);
}

class ToolkitPopups : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        std::unique_ptr<TestEnvironment> environment = MakeEnvironmentNamed(GetParam());
        if (!environment) {
            if (X11IsRequired()) FAIL() << "no X server at $DISPLAY";
            GTEST_SKIP() << "no X server at $DISPLAY";
        }
        std::string error;
        ASSERT_TRUE(host.Open(std::move(environment), error)) << error;
    }
    void TearDown() override {
        combo.DestroyWindow();
        host.Close();
    }
    bool Headless() const { return GetParam() == "headless"; }

    // A menu of five: a checked item, a separator, a grayed one.
    void MakeFiveItemMenu(CMenu& menu) {
        menu.CreatePopupMenu();
        menu.AppendMenu(MF_STRING, 101, "One");
        menu.AppendMenu(MF_STRING | MF_CHECKED, 102, "Two");
        menu.AppendMenu(MF_SEPARATOR);
        menu.AppendMenu(MF_STRING | MF_GRAYED, 103, "Three");
        menu.AppendMenu(MF_STRING, 104, "Four");
    }
    // Waits for the open menu, then clicks item index.
    void ClickMenuItem(ModalScript& script, int index) {
        script.WaitUntil([] { return OpenPopup<CMenuPopup>() != nullptr; })
            .Do([this, &script, index] {
                CMenuPopup* popup = OpenPopup<CMenuPopup>();
                const CPoint at = MiddleOnScreen(*popup, popup->GetLayout().items[index]);
                host.Env().MovePointer(at.x, at.y);
                host.Env().PressButton(1);
                host.Env().ReleaseButton(1);
            });
    }
    void MakeCombo(int entries, int rootY = 20) {
        const int rows = 12;
        const CRect rect(20, rootY, 220, rootY + 22 + rows * 18 + 2);
        ASSERT_TRUE(combo.Create(WS_CHILD | WS_VISIBLE | WS_TABSTOP | CBS_DROPDOWNLIST, rect,
                                 &host.Root(), 1120));
        for (int i = 1; i <= entries; ++i) combo.AddString(("Entry " + std::to_string(i)).c_str());
        host.Env().Settle();
    }
    Command SelChange() const {
        return {WM_COMMAND, MAKEWPARAM(1120, CBN_SELCHANGE),
                reinterpret_cast<LPARAM>(combo.GetSafeHwnd())};
    }
    void OpenCombo() {
        CRect box;
        combo.GetClientRect(&box);
        host.ClickAt(combo, box.right - 10, box.bottom / 2);
    }

    ControlHost host;
    CComboBox combo;
};

TEST_P(ToolkitPopups, AClickOnAnItemSendsItsCommandOnceThePopupIsGone) {
    CMenu menu;
    MakeFiveItemMenu(menu);
    HWND popupSeen = nullptr;
    bool popupGoneAtCommand = false;
    ModalScript script(host.Env());
    script.WaitUntil([&] {
        CMenuPopup* popup = OpenPopup<CMenuPopup>();
        if (popup) popupSeen = popup->GetSafeHwnd();
        return popup != nullptr;
    });
    if (Headless()) {
        script.Do([&] {
            headless::WriteWindowPng(OpenPopup<CMenuPopup>()->GetNativeWindow(),
                                     TAPDELAY_BINARY_DIR "toolkit-menu.png");
        });
    }
    ClickMenuItem(script, 1);
    script.Install();
    host.Root().onCommand = [&] { popupGoneAtCommand = CWnd::FromHandle(popupSeen) == nullptr; };
    const size_t before = host.Root().commands.size();
    host.Root().SetCapture();  // as a window clicked to open its menu may have
    EXPECT_EQ(menu.TrackPopupMenu(TPM_LEFTALIGN, 50, 60, &host.Root()), TRUE);
    host.Root().onCommand = nullptr;
    EXPECT_NE(popupSeen, nullptr);
    EXPECT_TRUE(script.Finished());
    EXPECT_FALSE(script.Overran());
    ASSERT_EQ(host.Root().commands.size(), before + 1);
    EXPECT_EQ(host.Root().commands.back(), (Command{WM_COMMAND, MAKEWPARAM(102, 0), 0}));
    EXPECT_TRUE(popupGoneAtCommand);

    // The menu opened at the point given in the root's client coordinates.
    // (Checked on the next opening, which Escape closes.)
    CRect popupRect;
    ModalScript where(host.Env());
    where.WaitUntil([&] {
             CMenuPopup* popup = OpenPopup<CMenuPopup>();
             if (popup) popup->GetWindowRect(&popupRect);
             return popup != nullptr;
         })
        .Key(kEscape);
    where.Install();
    EXPECT_EQ(menu.TrackPopupMenu(TPM_LEFTALIGN, 50, 60, &host.Root()), 0);
    EXPECT_EQ(popupRect.TopLeft(), ControlHost::Screen(host.Root(), 50, 60));
}

TEST_P(ToolkitPopups, EscapeAClickOutsideAndAGrayedItemChooseNothing) {
    CMenu menu;
    MakeFiveItemMenu(menu);
    {
        ModalScript script(host.Env());
        script.WaitUntil([] { return OpenPopup<CMenuPopup>() != nullptr; }).Key(kEscape);
        script.Install();
        EXPECT_EQ(menu.TrackPopupMenu(TPM_LEFTALIGN, 50, 60, &host.Root()), 0);
        EXPECT_FALSE(script.Overran());
    }
    {
        ModalScript script(host.Env());
        script.WaitUntil([] { return OpenPopup<CMenuPopup>() != nullptr; })
            .Click(ControlHost::Screen(host.Root(), 400, 350));
        script.Install();
        EXPECT_EQ(menu.TrackPopupMenu(TPM_LEFTALIGN, 50, 60, &host.Root()), 0);
        EXPECT_FALSE(script.Overran());
    }
    {
        // The grayed item takes the click and stays open; the pointer moving
        // on to "Four" highlights it (so the click has been handled).
        ModalScript script(host.Env());
        bool stillOpen = false;
        ClickMenuItem(script, 3);
        script
            .Do([this] {
                CMenuPopup* popup = OpenPopup<CMenuPopup>();
                const CPoint at = MiddleOnScreen(*popup, popup->GetLayout().items[4]);
                host.Env().MovePointer(at.x, at.y);
            })
            .WaitUntil([&] {
                CMenuPopup* popup = OpenPopup<CMenuPopup>();
                stillOpen = popup != nullptr;
                return !popup || popup->GetHotIndex() == 4;
            })
            .Key(kEscape);
        script.Install();
        EXPECT_EQ(menu.TrackPopupMenu(TPM_LEFTALIGN, 50, 60, &host.Root()), 0);
        EXPECT_TRUE(stillOpen);
        EXPECT_FALSE(script.Overran());
    }
    EXPECT_TRUE(host.Root().commands.empty());

    // Keys: Down skips the separator and the grayed item; with TPM_RETURNCMD
    // the id comes back instead of a command.
    ModalScript keys(host.Env());
    keys.WaitUntil([] { return OpenPopup<CMenuPopup>() != nullptr; })
        .Key(kDown)
        .Key(kDown)
        .Key(kDown)
        .WaitUntil([] { return OpenPopup<CMenuPopup>()->GetHotIndex() == 4; })
        .Key(kReturn);
    keys.Install();
    EXPECT_EQ(menu.TrackPopupMenu(TPM_RETURNCMD, 50, 60, &host.Root()), 104);
    EXPECT_TRUE(host.Root().commands.empty());
}

TEST_P(ToolkitPopups, SixtyFourItemsFitTheScreenInColumnsAndEachIsClickable) {
    UIConnection* connection = host.Root().GetConnection();
    const CSize screen = connection->ScreenSize();
    if (Headless()) EXPECT_EQ(screen, CSize(1024, 768));
    CMenu menu;
    menu.CreatePopupMenu();
    for (int i = 0; i < 64; ++i)
        menu.AppendMenu(MF_STRING | (i == 5 ? MF_CHECKED : 0), 1010 + i,
                        ("Program " + std::to_string(i + 1)).c_str());

    for (int index = 0; index < 64; ++index) {
        CRect popupRect;
        int columns = 0;
        bool itemsInside = true;
        ModalScript script(host.Env());
        script.WaitUntil([&] {
            CMenuPopup* popup = OpenPopup<CMenuPopup>();
            if (!popup) return false;
            popup->GetWindowRect(&popupRect);
            columns = popup->GetLayout().columns;
            CRect client;
            popup->GetClientRect(&client);
            for (const CRect& r : popup->GetLayout().items)
                itemsInside = itemsInside && r.left >= 0 && r.top >= 0 && r.right <= client.right &&
                              r.bottom <= client.bottom;
            return true;
        });
        if (index == 0 && Headless()) {
            script.Do([] {
                headless::WriteWindowPng(OpenPopup<CMenuPopup>()->GetNativeWindow(),
                                         TAPDELAY_BINARY_DIR "toolkit-menu-64.png");
            });
        }
        ClickMenuItem(script, index);
        script.Install();
        // Opened near the root's bottom right: it has to move to fit.
        ASSERT_EQ(menu.TrackPopupMenu(TPM_RETURNCMD, 470, 370, &host.Root()), 1010 + index)
            << "item " << index;
        ASSERT_FALSE(script.Overran());
        if (index == 0) {
            EXPECT_GE(columns, 2);
            EXPECT_GE(popupRect.left, 0);
            EXPECT_GE(popupRect.top, 0);
            EXPECT_LE(popupRect.right, screen.cx);
            EXPECT_LE(popupRect.bottom, screen.cy);
            EXPECT_TRUE(itemsInside);
        }
    }
}

TEST_P(ToolkitPopups, AListChoiceByClickOrKeysNotifiesTheParentAndEscapeDoesNot) {
    MakeCombo(30);
    combo.SetCurSel(2);
    // A click on an entry of the open list.
    {
        ModalScript script(host.Env());
        script.WaitUntil([this] { return combo.GetDroppedList() != nullptr; });
        if (Headless()) {
            script.Do([this] {
                headless::WriteWindowPng(combo.GetDroppedList()->GetNativeWindow(),
                                         TAPDELAY_BINARY_DIR "toolkit-combo-list.png");
            });
        }
        script.Do([this] {
            CComboListPopup* list = combo.GetDroppedList();
            const CPoint at = MiddleOnScreen(*list, list->EntryRect(5));
            host.Env().MovePointer(at.x, at.y);
            host.Env().PressButton(1);
            host.Env().ReleaseButton(1);
        });
        script.WaitUntil([this] { return combo.GetDroppedList() == nullptr; });
        script.Install();
        OpenCombo();
        EXPECT_FALSE(script.Overran());
        EXPECT_EQ(combo.GetCurSel(), 5);
        EXPECT_EQ(host.Root().commands, std::vector<Command>{SelChange()});
        EXPECT_EQ(CWnd::GetFocus(), &combo);
    }
    // Escape and a click outside leave it as it was.
    for (int way = 0; way < 2; ++way) {
        ModalScript script(host.Env());
        script.WaitUntil([this] { return combo.GetDroppedList() != nullptr; });
        if (way == 0) {
            script.Key(kDown).Key(kDown).Key(kEscape);
        } else {
            script.Click(ControlHost::Screen(host.Root(), 400, 10));
        }
        script.WaitUntil([this] { return combo.GetDroppedList() == nullptr; });
        script.Install();
        OpenCombo();
        EXPECT_FALSE(script.Overran());
        EXPECT_EQ(combo.GetCurSel(), 5);
        EXPECT_EQ(host.Root().commands.size(), 1u);
    }
    // Keys in the open list: three down and Return.
    {
        ModalScript script(host.Env());
        script.WaitUntil([this] { return combo.GetDroppedList() != nullptr; })
            .Key(kDown)
            .Key(kDown)
            .Key(kDown)
            .WaitUntil([this] { return combo.GetDroppedList()->GetHotIndex() == 8; })
            .Key(kReturn)
            .WaitUntil([this] { return combo.GetDroppedList() == nullptr; });
        script.Install();
        OpenCombo();
        EXPECT_FALSE(script.Overran());
        EXPECT_EQ(combo.GetCurSel(), 8);
        EXPECT_EQ(host.Root().commands, std::vector<Command>(2, SelChange()));
    }
    AfxSetModalIdleHook(nullptr);
    // Keys on the closed box change the selection and notify each time.
    host.Root().commands.clear();
    host.Env().TypeKey(kDown);
    EXPECT_EQ(combo.GetCurSel(), 9);
    host.Env().TypeKey(kUp);
    host.Env().TypeKey(kUp);
    EXPECT_EQ(combo.GetCurSel(), 7);
    host.Env().TypeKey(kEnd);
    EXPECT_EQ(combo.GetCurSel(), 29);
    host.Env().TypeKey(kEnd);  // already there: no notification
    host.Env().TypeKey(kHome);
    EXPECT_EQ(combo.GetCurSel(), 0);
    EXPECT_EQ(host.Root().commands, std::vector<Command>(5, SelChange()));
    CString text;
    EXPECT_EQ(combo.GetLBText(0, text), 7);
    EXPECT_STREQ(text, "Entry 1");
    EXPECT_EQ(combo.GetLBText(30, text), CB_ERR);
}

TEST_P(ToolkitPopups, ALongListShowsTwelveRowsBelowTheBoxAndScrolls) {
    MakeCombo(64);
    combo.SetCurSel(0);
    EXPECT_EQ(combo.GetVisibleRows(), 12);
    CRect box;
    combo.GetWindowRect(&box);
    EXPECT_EQ(box.Height(), 22);

    CRect listRect;
    std::vector<int> tops;
    ModalScript script(host.Env());
    auto listTopIs = [&](int top) {
        return [this, top] { return combo.GetDroppedList()->GetTopIndex() == top; };
    };
    script.WaitUntil([&] {
              CComboListPopup* list = combo.GetDroppedList();
              if (list) list->GetWindowRect(&listRect);
              return list != nullptr;
          })
        .Key(kPageDown)  // the highlight to row 11: still in view
        .WaitUntil([this] { return combo.GetDroppedList()->GetHotIndex() == 11; })
        .Do([&] { tops.push_back(combo.GetDroppedList()->GetTopIndex()); })
        .Key(kPageDown)  // to 22: the rows follow
        .WaitUntil(listTopIs(11))
        .Key(kEnd)
        .WaitUntil(listTopIs(52))
        .Do([this] {
            // One notch of the wheel up: three rows.
            CComboListPopup* list = combo.GetDroppedList();
            const CPoint at = MiddleOnScreen(*list, list->EntryRect(55));
            host.Env().MovePointer(at.x, at.y);
            host.Env().PressButton(4);
            host.Env().ReleaseButton(4);
        })
        .WaitUntil(listTopIs(49))
        .Do([this] {
            // A click in the scroll bar above the thumb: a page up.
            CComboListPopup* list = combo.GetDroppedList();
            CRect client;
            list->GetClientRect(&client);
            const CPoint at = ControlHost::Screen(*list, client.right - 5, 5);
            host.Env().MovePointer(at.x, at.y);
            host.Env().PressButton(1);
            host.Env().ReleaseButton(1);
        })
        .WaitUntil(listTopIs(38))
        .Do([this] {
            CComboListPopup* list = combo.GetDroppedList();
            const CPoint at = MiddleOnScreen(*list, list->EntryRect(40));
            host.Env().MovePointer(at.x, at.y);
            host.Env().PressButton(1);
            host.Env().ReleaseButton(1);
        })
        .WaitUntil([this] { return combo.GetDroppedList() == nullptr; });
    script.Install();
    OpenCombo();
    EXPECT_FALSE(script.Overran());
    EXPECT_EQ(tops, std::vector<int>{0});
    EXPECT_EQ(combo.GetCurSel(), 40);
    EXPECT_EQ(listRect, CRect(box.left, box.bottom, box.right,
                              box.bottom + CComboListPopup::ListHeight(12, nullptr)));
    EXPECT_EQ(CComboListPopup::ListHeight(12, nullptr), 12 * 18 + 2);
}

TEST_P(ToolkitPopups, AListWithoutRoomBelowOpensAboveTheBox) {
    if (!Headless()) GTEST_SKIP() << "the screen size is the server's";
    headless::SetScreenSize(CSize(1024, 560));
    MakeCombo(20, 300);
    CRect box, listRect;
    combo.GetWindowRect(&box);
    ModalScript script(host.Env());
    script.WaitUntil([&] {
              CComboListPopup* list = combo.GetDroppedList();
              if (list) list->GetWindowRect(&listRect);
              return list != nullptr;
          })
        .Key(kEscape)
        .WaitUntil([this] { return combo.GetDroppedList() == nullptr; });
    script.Install();
    OpenCombo();
    headless::SetScreenSize(CSize(1024, 768));
    EXPECT_FALSE(script.Overran());
    EXPECT_EQ(listRect.bottom, box.top);
    EXPECT_EQ(listRect.Height(), CComboListPopup::ListHeight(12, nullptr));
}

INSTANTIATE_TEST_SUITE_P(Environments, ToolkitPopups,
                         ::testing::ValuesIn(ControlEnvironmentNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

}  // namespace
