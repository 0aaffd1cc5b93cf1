// A drop-down list: the closed box shows the selected entry; a click opens
// the list in a popup window below it (above when the screen has no room
// below; scrolling when longer than fits); choosing an entry sends
// WM_COMMAND(MAKEWPARAM(id, CBN_SELCHANGE), handle) to the parent, and so do
// Up, Down, Page Up, Page Down, Home and End on the closed box.
//
// As in Win32, Create's rectangle reaches down over the open list: the box
// takes the top (ItemBoxHeight), the rest sets how many rows the list shows
// (SetMinVisibleItems when that leaves room for none; 12 by default).
#pragma once

#include <string>
#include <vector>

#include "toolkit/CWnd.h"

class CComboBox : public CWnd {
    DECLARE_DYNCREATE(CComboBox)
public:
    CComboBox() = default;

    virtual BOOL Create(DWORD style, const RECT& rect, CWnd* parent, UINT id);

    int AddString(LPCTSTR text);  // returns the new entry's index
    int GetCount() const { return static_cast<int>(m_items.size()); }
    int SetCurSel(int index);     // -1 clears; returns index or CB_ERR
    int GetCurSel() const { return m_cur; }
    int GetLBText(int index, CString& text) const;
    void ResetContent();

    // Opens the list and runs it until a choice or dismissal; true when the
    // selection changed (CBN_SELCHANGE has then been sent).
    bool DropDown();
    bool GetDroppedState() const { return m_dropped != nullptr; }
    // The open list while DropDown runs (tests look at its rows), else null.
    class CComboListPopup* GetDroppedList() const { return m_dropped; }

    int SetMinVisibleItems(int rows);
    int GetVisibleRows() const { return m_visibleRows; }
    // Height of the closed box for a font (null: the control font).
    static int ItemBoxHeight(CFont* font);

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
    // Focused, it takes keys (Up, Down...), so its root needs the keyboard.
    bool WantsKeyboard() const override { return true; }

    DECLARE_MESSAGE_MAP()

protected:
    void Draw(CDC& dc);
    void SelectAndNotify(int index);
    CRect ListRectOnScreen(int rows) const;
    static int ComboListPopupFrameHeight();
    std::vector<std::string> m_items;
    int m_cur = -1;
    int m_visibleRows = 12;
    class CComboListPopup* m_dropped = nullptr;
};
