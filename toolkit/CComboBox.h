// A drop-down list: the closed box shows the selected entry; a click opens
// the list in a popup window below it (scrolling when longer than fits);
// choosing an entry sends CBN_SELCHANGE to the parent.
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

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

    DECLARE_MESSAGE_MAP()

protected:
    std::vector<std::string> m_items;
    int m_cur = -1;
};
