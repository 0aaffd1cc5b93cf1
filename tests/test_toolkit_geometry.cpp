#include <gtest/gtest.h>

#include "toolkit/Geometry.h"

TEST(ToolkitGeometry, RectSizesFollowExclusiveRightAndBottom) {
    const CRect rect(74, 80, 84, 96);
    EXPECT_EQ(rect.Width(), 10);
    EXPECT_EQ(rect.Height(), 16);
    EXPECT_EQ(rect.Size(), CSize(10, 16));
    EXPECT_EQ(rect.TopLeft(), CPoint(74, 80));
    EXPECT_EQ(rect.BottomRight(), CPoint(84, 96));
    EXPECT_EQ(CRect(CPoint(74, 80), CSize(10, 16)), rect);
}

TEST(ToolkitGeometry, SetAndCopyRect) {
    CRect rect;
    EXPECT_EQ(rect, CRect(0, 0, 0, 0));
    rect.SetRectWin(-5, 3, 20, 40);
    EXPECT_EQ(rect.left, -5);
    EXPECT_EQ(rect.top, 3);
    EXPECT_EQ(rect.right, 20);
    EXPECT_EQ(rect.bottom, 40);

    const RECT source{1, 2, 3, 4};
    rect.CopyRectWin(&source);
    EXPECT_EQ(rect, CRect(1, 2, 3, 4));
    rect.CopyRectWin(nullptr);
    EXPECT_EQ(rect, CRect(1, 2, 3, 4));

    rect.OffsetRect(10, -2);
    EXPECT_EQ(rect, CRect(11, 0, 13, 2));
}

TEST(ToolkitGeometry, EmptyWhenWidthOrHeightIsNotPositive) {
    EXPECT_FALSE(CRect(0, 0, 1, 1).IsRectEmpty());
    EXPECT_TRUE(CRect(0, 0, 0, 0).IsRectEmpty());
    EXPECT_TRUE(CRect(5, 0, 5, 10).IsRectEmpty());   // zero width
    EXPECT_TRUE(CRect(0, 7, 10, 7).IsRectEmpty());   // zero height
    EXPECT_TRUE(CRect(10, 0, 0, 10).IsRectEmpty());  // negative width
    EXPECT_TRUE(CRect(0, 10, 10, 0).IsRectEmpty());  // negative height
    EXPECT_TRUE(CRect(INT32_MAX, 0, INT32_MIN, 10).IsRectEmpty());
}

TEST(ToolkitGeometry, PointInRectIncludesLeftTopExcludesRightBottom) {
    const CRect rect(64, 10, 79, 27);
    EXPECT_TRUE(rect.PtInRect(CPoint(64, 10)));   // top-left corner
    EXPECT_TRUE(rect.PtInRect(CPoint(78, 26)));   // last pixel inside
    EXPECT_TRUE(rect.PtInRect(CPoint(70, 20)));
    EXPECT_FALSE(rect.PtInRect(CPoint(79, 20)));  // right edge
    EXPECT_FALSE(rect.PtInRect(CPoint(70, 27)));  // bottom edge
    EXPECT_FALSE(rect.PtInRect(CPoint(79, 27)));
    EXPECT_FALSE(rect.PtInRect(CPoint(63, 20)));
    EXPECT_FALSE(rect.PtInRect(CPoint(70, 9)));
    EXPECT_FALSE(CRect(5, 5, 5, 5).PtInRect(CPoint(5, 5)));  // empty holds nothing
}

TEST(ToolkitGeometry, ConvertsToRectPointerOfTheSameStorage) {
    CRect rect(1, 2, 3, 4);
    RECT* raw = rect;
    raw->right = 30;
    EXPECT_EQ(rect.right, 30);
    const CRect& constant = rect;
    const RECT* view = constant;
    EXPECT_EQ(view->left, 1);
    EXPECT_EQ(view->bottom, 4);
    static_assert(sizeof(RECT) == 16, "RECT is four 32-bit integers");
    static_assert(sizeof(CRect) == sizeof(RECT), "CRect adds no data");
    static_assert(sizeof(CPoint) == 8 && sizeof(CSize) == 8, "two 32-bit integers");
}
