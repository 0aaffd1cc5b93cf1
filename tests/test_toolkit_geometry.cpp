// Win32 rectangle rules: right and bottom exclusive.
#include <gtest/gtest.h>

#include "toolkit/Geometry.h"

TEST(ToolkitGeometry, SizeAndEmptinessFollowExclusiveEdges) {
    const CRect rect(CPoint(74, 80), CSize(10, 16));
    EXPECT_EQ(rect, CRect(74, 80, 84, 96));
    EXPECT_EQ(rect.Size(), CSize(10, 16));
    CRect copy = rect;
    copy.CopyRectWin(nullptr);  // ignored
    EXPECT_EQ(copy, rect);
    EXPECT_FALSE(CRect(0, 0, 1, 1).IsRectEmpty());
    for (const CRect& empty : {CRect(), CRect(5, 0, 5, 10), CRect(0, 7, 10, 7), CRect(10, 0, 0, 10),
                               CRect(0, 10, 10, 0), CRect(INT32_MAX, 0, INT32_MIN, 10)})
        EXPECT_TRUE(empty.IsRectEmpty()) << empty.left << " " << empty.top << " " << empty.right << " " << empty.bottom;
}

TEST(ToolkitGeometry, PointInRectIncludesLeftTopExcludesRightBottom) {
    const CRect rect(64, 10, 79, 27);
    const std::pair<CPoint, bool> cases[] = {
        {{64, 10}, true},  {{78, 26}, true},  {{70, 20}, true},  {{79, 20}, false},
        {{70, 27}, false}, {{79, 27}, false}, {{63, 20}, false}, {{70, 9}, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(rect.PtInRect(c.first), c.second) << c.first.x << "," << c.first.y;
    EXPECT_FALSE(CRect(5, 5, 5, 5).PtInRect(CPoint(5, 5)));  // empty holds nothing
}
