// Popup menus and drop-down lists, driven like a user would drive them
// (clicks, keys, the wheel) on the headless screen: the command each choice
// sends or does not send, a long menu laid out in columns that stays on
// screen, a long list that scrolls. The editor's real-input test walks a
// menu and a list on X11.
#include <gtest/gtest.h>

#include <string>

#include "tests/toolkit/ControlHost.h"
#include "toolkit/CComboBox.h"
#include "toolkit/CMenu.h"
#include "toolkit/ComboListPopup.h"
#include "toolkit/MenuPopup.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

constexpr unsigned long kEscape = 0xff1b, kReturn = 0xff0d, kUp = 0xff52, kDown = 0xff54;
constexpr unsigned long kPageDown = 0xff56, kHome = 0xff50, kEnd = 0xff57;
using Command = CommandRecorder::Command;

// The screen point at the middle of a client rectangle of window.
CPoint MiddleOnScreen(const CWnd& window, const CRect& r) {
    return ControlHost::Screen(window, (r.left + r.right) / 2, (r.top + r.bottom) / 2);
}

bool MenuOpen() { return ModalRootAs<CMenuPopup>() != nullptr; }

// The middle of item index of the open menu, on the screen.
CPoint MenuItem(int index) {
    CMenuPopup* popup = ModalRootAs<CMenuPopup>();
    return MiddleOnScreen(*popup, popup->GetLayout().items[index]);
}

class ToolkitPopups : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(host.Open());
    }
    void TearDown() override {
        combo.DestroyWindow();
        host.Close();
    }
    // Waits for the open menu, then clicks item index.
    void ClickMenuItem(ModalScript& script, int index) {
        script.WaitUntil(MenuOpen).ClickAt([index] { return MenuItem(index); });
    }
    // The menu's answer when opened at the root's (x, y) with script driving it.
    int Track(CMenu& menu, ModalScript& script, UINT flags = TPM_LEFTALIGN, int x = 50, int y = 60) {
        script.Install();
        const int answer = menu.TrackPopupMenu(flags, x, y, &host.Root());
        EXPECT_FALSE(script.Overran());
        return answer;
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
    bool ListOpen() { return combo.GetDroppedList() != nullptr; }
    // The middle of entry index of the open list, on the screen.
    CPoint ListEntry(int index) {
        CComboListPopup* list = combo.GetDroppedList();
        return MiddleOnScreen(*list, list->EntryRect(index));
    }
    // Opens the list with a click on the box; script drives it until it closes.
    void RunList(ModalScript& script) {
        script.WaitUntil([this] { return !ListOpen(); });
        script.Install();
        CRect box;
        combo.GetClientRect(&box);
        host.ClickAt(combo, box.right - 10, box.bottom / 2);
        EXPECT_FALSE(script.Overran());
    }

    ControlHost host;
    CComboBox combo;
};

TEST_F(ToolkitPopups, AClickOnAnItemSendsItsCommandOnceThePopupIsGoneAndOtherWaysOutChooseNothing) {
    // Five items: a checked one, a separator, a grayed one.
    CMenu menu;
    menu.CreatePopupMenu();
    menu.AppendMenu(MF_STRING, 101, "One");
    menu.AppendMenu(MF_STRING | MF_CHECKED, 102, "Two");
    menu.AppendMenu(MF_SEPARATOR);
    menu.AppendMenu(MF_STRING | MF_GRAYED, 103, "Three");
    menu.AppendMenu(MF_STRING, 104, "Four");

    HWND popupSeen = nullptr;
    bool popupGoneAtCommand = false;
    ModalScript click(host.Env());
    click.WaitUntil([&] {
             CMenuPopup* popup = ModalRootAs<CMenuPopup>();
             if (popup) popupSeen = popup->GetSafeHwnd();
             return popup != nullptr;
         })
        .Snapshot([] { return ModalRootAs<CMenuPopup>()->GetNativeWindow(); },
                  TAPDELAY_BINARY_DIR "toolkit-menu.png");
    ClickMenuItem(click, 1);
    host.Root().onCommand = [&] { popupGoneAtCommand = CWnd::FromHandle(popupSeen) == nullptr; };
    host.Root().SetCapture();  // as a window clicked to open its menu may have
    EXPECT_EQ(Track(menu, click), TRUE);
    host.Root().onCommand = nullptr;
    EXPECT_TRUE(click.Finished());
    EXPECT_EQ(host.Root().commands, (std::vector<Command>{{WM_COMMAND, MAKEWPARAM(102, 0), 0}}));
    EXPECT_TRUE(popupGoneAtCommand);

    // Escape; the menu opened at the point given in the root's client
    // coordinates.
    CRect popupRect;
    ModalScript escape(host.Env());
    escape
        .WaitUntil([&] {
            CMenuPopup* popup = ModalRootAs<CMenuPopup>();
            if (popup) popup->GetWindowRect(&popupRect);
            return popup != nullptr;
        })
        .Key(kEscape);
    EXPECT_EQ(Track(menu, escape), 0);
    EXPECT_EQ(popupRect.TopLeft(), ControlHost::Screen(host.Root(), 50, 60));
    // A click outside.
    ModalScript outside(host.Env());
    outside.WaitUntil(MenuOpen).Click(ControlHost::Screen(host.Root(), 400, 350));
    EXPECT_EQ(Track(menu, outside), 0);
    EXPECT_EQ(host.Root().commands.size(), 1u);  // a disabled item: the editor's copy menu test

    // Keys: Down skips the separator and the grayed item.
    ModalScript keys(host.Env());
    keys.WaitUntil(MenuOpen)
        .Key(kDown)
        .Key(kDown)
        .Key(kDown)
        .WaitUntil([] { return ModalRootAs<CMenuPopup>()->GetHotIndex() == 4; })
        .Key(kReturn);
    EXPECT_EQ(Track(menu, keys), TRUE);
    EXPECT_EQ(host.Root().commands.back(), (Command{WM_COMMAND, MAKEWPARAM(104, 0), 0}));
}

TEST_F(ToolkitPopups, SixtyFourItemsFitTheScreenInColumnsAndTheLastIsClickable) {
    const CSize screen = host.Root().GetConnection()->ScreenSize();
    EXPECT_EQ(screen, CSize(1024, 768));
    CMenu menu;
    menu.CreatePopupMenu();
    for (int i = 0; i < 64; ++i)
        menu.AppendMenu(MF_STRING | (i == 5 ? MF_CHECKED : 0), 1010 + i,
                        ("Program " + std::to_string(i + 1)).c_str());

    // Opened near the root's bottom right: it has to move to fit. The
    // editor's test clicks items of the first column (and shows the menu
    // in editor-copy-menu.png); this one the last.
    CRect popupRect;
    int columns = 0;
    bool itemsInside = true;
    ModalScript script(host.Env());
    script.WaitUntil([&] {
        CMenuPopup* popup = ModalRootAs<CMenuPopup>();
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
    ClickMenuItem(script, 63);
    ASSERT_EQ(Track(menu, script, TPM_LEFTALIGN, 470, 370), TRUE);
    EXPECT_EQ(host.Root().commands.back().wParam, WPARAM(1010 + 63));
    EXPECT_GE(columns, 2);
    EXPECT_GE(popupRect.left, 0);
    EXPECT_GE(popupRect.top, 0);
    EXPECT_LE(popupRect.right, screen.cx);
    EXPECT_LE(popupRect.bottom, screen.cy);
    EXPECT_TRUE(itemsInside);
}

TEST_F(ToolkitPopups, AListChoiceByClickOrKeysNotifiesTheParentAndEscapeDoesNot) {
    MakeCombo(30);
    combo.SetCurSel(2);
    // A click on an entry of the open list.
    ModalScript click(host.Env());
    click.WaitUntil([this] { return ListOpen(); })
        .Snapshot([this] { return combo.GetDroppedList()->GetNativeWindow(); },
                  TAPDELAY_BINARY_DIR "toolkit-combo-list.png")
        .ClickAt([this] { return ListEntry(5); });
    RunList(click);
    EXPECT_EQ(combo.GetCurSel(), 5);
    EXPECT_EQ(host.Root().commands, std::vector<Command>{SelChange()});
    EXPECT_EQ(CWnd::GetFocus(), &combo);
    // Escape and a click outside leave it as it was.
    ModalScript escape(host.Env()), outside(host.Env());
    escape.WaitUntil([this] { return ListOpen(); }).Key(kDown).Key(kDown).Key(kEscape);
    outside.WaitUntil([this] { return ListOpen(); }).Click(ControlHost::Screen(host.Root(), 400, 10));
    for (ModalScript* script : {&escape, &outside}) {
        RunList(*script);
        EXPECT_EQ(combo.GetCurSel(), 5);
        EXPECT_EQ(host.Root().commands.size(), 1u);
    }
    // (Keys in an open list are the dialog test's.)
    AfxSetModalIdleHook(nullptr);

    // Keys on the closed box change the selection and notify each time.
    host.Root().commands.clear();
    host.Env().TypeKey(kDown);
    EXPECT_EQ(combo.GetCurSel(), 6);
    host.Env().TypeKey(kUp);
    host.Env().TypeKey(kUp);
    EXPECT_EQ(combo.GetCurSel(), 4);
    host.Env().TypeKey(kEnd);
    EXPECT_EQ(combo.GetCurSel(), 29);
    host.Env().TypeKey(kEnd);  // already there: no notification
    host.Env().TypeKey(kHome);
    EXPECT_EQ(combo.GetCurSel(), 0);
    EXPECT_EQ(host.Root().commands, std::vector<Command>(5, SelChange()));
}

TEST_F(ToolkitPopups, ALongListShowsTwelveRowsBelowTheBoxAndScrolls) {
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
        .ClickAt([this] { return ListEntry(55); }, 4)  // one notch of the wheel up: three rows
        .WaitUntil(listTopIs(49))
        .ClickAt([this] {
            // In the scroll bar above the thumb: a page up.
            CComboListPopup* list = combo.GetDroppedList();
            CRect client;
            list->GetClientRect(&client);
            return ControlHost::Screen(*list, client.right - 5, 5);
        })
        .WaitUntil(listTopIs(38))
        .ClickAt([this] { return ListEntry(40); });
    RunList(script);
    EXPECT_EQ(tops, std::vector<int>{0});
    EXPECT_EQ(combo.GetCurSel(), 40);
    EXPECT_EQ(listRect, CRect(box.left, box.bottom, box.right,
                              box.bottom + CComboListPopup::ListHeight(12, nullptr)));
    EXPECT_EQ(CComboListPopup::ListHeight(12, nullptr), 12 * 18 + 2);
}

TEST_F(ToolkitPopups, AListWithoutRoomBelowOpensAboveTheBox) {
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
        .Key(kEscape);
    RunList(script);
    headless::SetScreenSize(CSize(1024, 768));
    EXPECT_EQ(listRect.bottom, box.top);
    EXPECT_EQ(listRect.Height(), CComboListPopup::ListHeight(12, nullptr));
}

}  // namespace
