// Popup menus. TrackPopupMenu shows the menu in an override-redirect window
// at a point of the owner's client area, kept on screen (a menu taller than
// the screen is laid out in columns), and runs it until a choice (delivered
// to the owner as WM_COMMAND with the item id) or dismissal (Escape, a click
// outside).
#pragma once

#include <string>
#include <vector>

#include "toolkit/CObject.h"
#include "toolkit/WinDefs.h"

class CWnd;

class CMenu : public CObject {
    DECLARE_DYNCREATE(CMenu)
public:
    CMenu() = default;

    BOOL CreatePopupMenu();
    BOOL DestroyMenu();
    // flags: MF_STRING, MF_CHECKED, MF_GRAYED / MF_DISABLED, MF_SEPARATOR.
    BOOL AppendMenu(UINT flags, UINT_PTR id = 0, LPCTSTR text = nullptr);
    UINT GetMenuItemCount() const { return static_cast<UINT>(m_items.size()); }

    // x, y in the owner's client coordinates. Returns the chosen id with
    // TPM_RETURNCMD (then no WM_COMMAND is sent), else TRUE when an item was
    // chosen; 0 when dismissed.
    BOOL TrackPopupMenu(UINT flags, int x, int y, CWnd* owner, LPCRECT rect = nullptr);

    struct Item {
        UINT flags;
        UINT_PTR id;
        std::string text;
    };
    const std::vector<Item>& Items() const { return m_items; }

private:
    std::vector<Item> m_items;
    bool m_created = false;
};
