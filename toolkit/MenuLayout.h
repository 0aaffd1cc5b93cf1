// Where a popup menu's items go: rows of one column, or several columns when
// the menu would be taller than the screen allows, and where the menu goes
// so that all of it is on the screen.
#pragma once

#include <vector>

#include "toolkit/CMenu.h"
#include "toolkit/Geometry.h"

class TextMeasure;

namespace menu_metrics {
constexpr int kFrame = 1;          // border around the menu
constexpr int kPadding = 3;        // above the first and below the last row
constexpr int kCheckColumn = 24;   // check marks; the text starts after it
constexpr int kTextRight = 20;     // room after the longest text
constexpr int kMinColumnWidth = 100;
constexpr int kSeparatorHeight = 7;
constexpr int kScreenMargin = 4;   // kept free at the screen's edges
int ItemHeight(int pointSize);     // 20 pixels for 9 points
}  // namespace menu_metrics

struct MenuLayout {
    std::vector<CRect> items;  // one per item, in the popup's client coordinates
    CSize size;                // the popup's size
    int columns = 0;
};

// Lays items out top to bottom, starting a new column whenever the next one
// would pass maxHeight (the popup's height limit).
MenuLayout LayoutMenu(const std::vector<CMenu::Item>& items, const TextMeasure& measure,
                      int maxHeight);

// The top left of a size-sized popup that wants to be at `at` on a screen of
// screen size: shifted left and up to keep clear of the right and bottom
// margins, never past the screen's left or top edge.
CPoint PlacePopup(CPoint at, CSize size, CSize screen);
