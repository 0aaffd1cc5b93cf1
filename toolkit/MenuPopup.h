// The window of an open popup menu. Hovering highlights enabled items; a
// release over an enabled item chooses it once the menu has seen a press or
// the pointer has moved (so the release of the click that opened the menu
// chooses nothing); a press outside dismisses. Keys: Up and Down step through
// the enabled items, Left and Right change columns, Return chooses, Escape
// dismisses.
#pragma once

#include <vector>

#include "toolkit/CMenu.h"
#include "toolkit/MenuLayout.h"
#include "toolkit/TrackedPopup.h"

class CMenuPopup : public CTrackedPopup {
public:
    CMenuPopup(std::vector<CMenu::Item> items, MenuLayout layout);

    // Shows the menu with its top left at screenPoint and runs it; the chosen
    // item's index, or -1 when dismissed (or when it could not be shown).
    int Run(CWnd* owner, CPoint screenPoint);

    int GetHotIndex() const { return m_hot; }
    const MenuLayout& GetLayout() const { return m_layout; }

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

protected:
    void OnPopupKey(UINT key) override;
    void Draw(CDC& dc) override;

private:
    bool Choosable(int index) const;
    int ItemAt(CPoint point) const;
    void SetHot(int index);
    void StepHot(int direction);
    void ChangeColumn(int direction);

    std::vector<CMenu::Item> m_items;
    MenuLayout m_layout;
    int m_hot = -1;
    int m_chosen = -1;
    bool m_armed = false;
    bool m_haveStart = false;
    CPoint m_start;  // where the pointer was first seen
};
