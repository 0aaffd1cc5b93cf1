#include "toolkit/MenuLayout.h"

#include <algorithm>

#include "toolkit/ControlPaint.h"

int menu_metrics::ItemHeight(int pointSize) { return std::max(20, pointSize + 11); }

MenuLayout LayoutMenu(const std::vector<CMenu::Item>& items, const TextMeasure& measure,
                      int maxHeight) {
    using namespace menu_metrics;
    MenuLayout layout;
    const int itemHeight = ItemHeight(measure.PointSize());
    int columnWidth = kMinColumnWidth;
    for (const auto& item : items) {
        if (!(item.flags & MF_SEPARATOR))
            columnWidth = std::max(columnWidth, kCheckColumn + measure.Width(item.text.c_str()) +
                                                    kTextRight);
    }
    const int top = kFrame + kPadding;
    const int limit = std::max(maxHeight - kFrame - kPadding, top + itemHeight);
    int column = 0;
    int y = top;
    int tallest = top;
    for (const auto& item : items) {
        const int height = (item.flags & MF_SEPARATOR) ? kSeparatorHeight : itemHeight;
        if (y + height > limit && y > top) {
            column++;
            y = top;
        }
        const int left = kFrame + column * columnWidth;
        layout.items.emplace_back(left, y, left + columnWidth, y + height);
        y += height;
        tallest = std::max(tallest, y);
    }
    layout.columns = items.empty() ? 1 : column + 1;
    layout.size = CSize(2 * kFrame + layout.columns * columnWidth, tallest + kPadding + kFrame);
    return layout;
}

CPoint PlacePopup(CPoint at, CSize size, CSize screen) {
    using menu_metrics::kScreenMargin;
    const int x = std::min(at.x, screen.cx - kScreenMargin - size.cx);
    const int y = std::min(at.y, screen.cy - kScreenMargin - size.cy);
    return CPoint(std::max(x, 0), std::max(y, 0));
}
