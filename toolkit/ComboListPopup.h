// The open list of a drop-down combo box: a popup below (or above) the box
// showing a window of rows over the entries, with a scroll bar when they do
// not all fit. Pointer: hover highlights, a click on an entry chooses it, a
// press outside dismisses, the wheel and the scroll bar scroll. Keys: Up,
// Down, Page Up, Page Down, Home and End move the highlight (the rows follow
// it), Return chooses, Escape dismisses.
#pragma once

#include <string>
#include <vector>

#include "toolkit/TrackedPopup.h"

class CComboListPopup : public CTrackedPopup {
public:
    CComboListPopup(const std::vector<std::string>& items, int current, int visibleRows);

    // Shows the list at screenRect and runs it; the chosen index, or -1 when
    // dismissed (or when it could not be shown).
    int Run(CWnd* owner, const CRect& screenRect, CFont* font);

    // Geometry shared with the combo box, which places the list.
    static int RowHeight(CFont* font);
    static int ListHeight(int rows, CFont* font);  // rows plus the frame
    static constexpr int kScrollBarWidth = 14;

    int GetTopIndex() const { return m_top; }
    int GetHotIndex() const { return m_hot; }
    // Client rectangle of entry index (empty when scrolled out of view).
    CRect EntryRect(int index) const;

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

protected:
    void OnPopupKey(UINT key) override;
    void Draw(CDC& dc) override;

private:
    int Count() const { return static_cast<int>(m_items.size()); }
    bool HasScrollBar() const { return Count() > m_rows; }
    CRect RowsArea() const;
    CRect ScrollTrack() const;
    CRect ScrollThumb() const;
    int RowAt(CPoint point) const;  // entry index under point, -1 none
    void ScrollTo(int top);
    void SetHot(int index);  // clamps and scrolls it into view
    void Choose(int index);

    const std::vector<std::string>& m_items;
    int m_rows;
    int m_top = 0;
    int m_hot = -1;
    int m_chosen = -1;
    bool m_pressedInside = false;
    bool m_pointerEntered = false;
    bool m_draggingThumb = false;
    int m_dragGrip = 0;  // pointer y minus thumb top while dragging
};
