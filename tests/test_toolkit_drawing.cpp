// Device contexts, bitmaps and fonts: raster operations against pixels worked
// out by hand, scaling, clipping, PNG resources, text metrics and placement.
#include <gtest/gtest.h>

#include <cairo.h>

#include <algorithm>
#include <string>

#include "support/TempFolder.h"
#include "toolkit/CDC.h"
#include "toolkit/Gdi.h"
#include "toolkit/ResourceFolder.h"

namespace {

uint32_t* Pixel(CDC& dc, int x, int y) {
    cairo_surface_t* s = dc.GetTargetSurface();
    cairo_surface_flush(s);
    return reinterpret_cast<uint32_t*>(cairo_image_surface_get_data(s) +
                                       y * cairo_image_surface_get_stride(s)) + x;
}

void Put(CDC& dc, int x, int y, uint32_t rgb) {
    *Pixel(dc, x, y) = 0xFF000000u | rgb;
    cairo_surface_mark_dirty(dc.GetTargetSurface());
}

uint32_t Rgb(CDC& dc, int x, int y) { return *Pixel(dc, x, y) & 0xFFFFFFu; }

// A memory DC of w x h filled with one colour.
void Filled(CDC& dc, int w, int h, uint32_t rgb) {
    ASSERT_TRUE(dc.CreateBitmapDC(w, h));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) Put(dc, x, y, rgb);
}

TEST(ToolkitRaster, EachOperationGivesTheWin32PixelAndTheMaskSequenceDrawsTransparently) {
    // d = 3C5A96, s = 0FF00F, byte by byte:
    // xor 33 AA 99, and 0C 50 06.
    struct Case {
        DWORD rop;
        uint32_t expected;
    } cases[] = {
        {SRCCOPY, 0x0FF00F}, {SRCINVERT, 0x33AA99}, {SRCAND, 0x0C5006},
    };
    for (const Case& c : cases) {
        CDC source, target;
        Filled(source, 3, 3, 0x0FF00F);
        Filled(target, 3, 3, 0x3C5A96);
        EXPECT_TRUE(target.BitBlt(1, 1, 1, 1, &source, 0, 0, c.rop));
        EXPECT_EQ(*Pixel(target, 1, 1), 0xFF000000u | c.expected) << std::hex << c.rop;
        EXPECT_EQ(Rgb(target, 0, 0), 0x3C5A96u);  // outside the block
        EXPECT_EQ(Rgb(target, 2, 2), 0x3C5A96u);
    }
    // The switches' transparent drawing: SRCINVERT image, SRCAND mask,
    // SRCINVERT image leaves the image where the mask is black and the
    // background where it is white.
    CDC image, mask, target;
    ASSERT_TRUE(image.CreateBitmapDC(2, 1));
    ASSERT_TRUE(mask.CreateBitmapDC(2, 1));
    Filled(target, 2, 1, 0x204060);
    Put(image, 0, 0, 0xA0B0C0);
    Put(image, 1, 0, 0x0A0B0C);
    Put(mask, 0, 0, 0x000000);
    Put(mask, 1, 0, 0xFFFFFF);
    target.BitBlt(0, 0, 2, 1, &image, 0, 0, SRCINVERT);
    target.BitBlt(0, 0, 2, 1, &mask, 0, 0, SRCAND);
    target.BitBlt(0, 0, 2, 1, &image, 0, 0, SRCINVERT);
    EXPECT_EQ(Rgb(target, 0, 0), 0xA0B0C0u);
    EXPECT_EQ(Rgb(target, 1, 0), 0x204060u);
}

TEST(ToolkitRaster, BlitsAreClippedToBothImagesAndFromNothingDrawNothing) {
    CDC source, target;
    Filled(source, 2, 2, 0x111111);
    Put(source, 1, 1, 0x999999);
    Filled(target, 3, 3, 0x555555);
    // Starts above-left of the target and reaches past the source.
    EXPECT_TRUE(target.BitBlt(-1, -1, 10, 10, &source, 0, 0, SRCCOPY));
    EXPECT_EQ(Rgb(target, 0, 0), 0x999999u);  // source (1, 1)
    EXPECT_EQ(Rgb(target, 1, 0), 0x555555u);  // source column 2 does not exist
    EXPECT_EQ(Rgb(target, 0, 1), 0x555555u);
    // A source offset outside the image copies nothing.
    EXPECT_TRUE(target.BitBlt(0, 0, 3, 3, &source, 5, 5, SRCCOPY));
    EXPECT_EQ(Rgb(target, 2, 2), 0x555555u);
    // Within one image, overlapping.
    CDC strip;
    Filled(strip, 4, 1, 0);
    for (int x = 0; x < 4; ++x) Put(strip, x, 0, 0x10 * (x + 1));
    strip.BitBlt(1, 0, 3, 1, &strip, 0, 0, SRCCOPY);
    EXPECT_EQ(Rgb(strip, 0, 0), 0x10u);
    EXPECT_EQ(Rgb(strip, 1, 0), 0x10u);
    EXPECT_EQ(Rgb(strip, 2, 0), 0x20u);
    EXPECT_EQ(Rgb(strip, 3, 0), 0x30u);

    // From nothing: reported, and nothing drawn.
    CDC empty, kept;
    empty.CreateCompatibleDC(nullptr);
    Filled(kept, 1, 1, 0x123456);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(kept.BitBlt(0, 0, 1, 1, &empty, 0, 0, SRCCOPY));
    EXPECT_FALSE(kept.BitBlt(0, 0, 1, 1, nullptr, 0, 0, SRCCOPY));
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err.rfind("BitBlt null", 0), 0u) << err;
    EXPECT_EQ(Rgb(kept, 0, 0), 0x123456u);
}

TEST(ToolkitRaster, StretchBltTakesTheNearestPixel) {
    CDC source, target;
    Filled(source, 4, 2, 0);
    const uint32_t colours[2][4] = {{0x01, 0x02, 0x03, 0x04}, {0x05, 0x06, 0x07, 0x08}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x) Put(source, x, y, colours[y][x]);
    // Twice as large: each pixel a 2 x 2 block.
    Filled(target, 8, 4, 0xFFFFFF);
    EXPECT_TRUE(target.StretchBlt(0, 0, 8, 4, &source, 0, 0, 4, 2, SRCCOPY));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x) EXPECT_EQ(Rgb(target, x, y), colours[y / 2][x / 2]) << x << "," << y;
    // Half as large: pixel centres land on columns 1 and 3 of row 1.
    CDC small;
    Filled(small, 2, 1, 0xFFFFFF);
    EXPECT_TRUE(small.StretchBlt(0, 0, 2, 1, &source, 0, 0, 4, 2, SRCCOPY));
    EXPECT_EQ(Rgb(small, 0, 0), 0x06u);
    EXPECT_EQ(Rgb(small, 1, 0), 0x08u);
    // Scaled raster operations work per pixel as well.
    CDC inverted;
    Filled(inverted, 2, 2, 0xFFFFFF);
    inverted.StretchBlt(0, 0, 2, 2, &source, 0, 0, 1, 1, SRCINVERT);
    EXPECT_EQ(Rgb(inverted, 1, 1), 0xFFFFFEu);
}

TEST(ToolkitBitmaps, LoadsPngResourcesByNumber) {
    TempFolder folder;
    cairo_surface_t* png = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 3, 2);
    cairo_t* cr = cairo_create(png);
    cairo_set_source_rgb(cr, 1.0, 0.0, 0.0);
    cairo_paint(cr);
    cairo_destroy(cr);
    ASSERT_EQ(cairo_surface_write_to_png(png, folder.file("3005.png").c_str()), CAIRO_STATUS_SUCCESS);
    cairo_surface_destroy(png);
    AfxSetResourceFolder(folder.path().c_str());

    CBitmap bitmap;
    ASSERT_TRUE(bitmap.LoadBitmap(3005));
    EXPECT_EQ(bitmap.GetBitmapDimension(), CSize(3, 2));
    CBitmap missing;
    EXPECT_FALSE(missing.LoadBitmap(3006));
    EXPECT_EQ(missing.GetSurface(), nullptr);
    EXPECT_EQ(missing.Width(), 0);

    // Copied into an RGB24 window-like target it is opaque red.
    CDC source, target;
    source.CreateCompatibleDC(nullptr);
    EXPECT_EQ(source.SelectObject(&bitmap), nullptr);
    Filled(target, 3, 2, 0);
    target.BitBlt(0, 0, 3, 2, &source, 0, 0, SRCCOPY);
    EXPECT_EQ(*Pixel(target, 2, 1), 0xFFFF0000u);
    AfxSetResourceFolder(nullptr);
}

// DejaVu Sans stands in for "Osaka": 2048 units per em, bounding box
// -948 to 2524, ascender 1901. At 12 px: line (2524 + 948) / 2048 x 12 =
// 20.3 -> 20, ascent 1901 / 2048 x 12 - 2 = 9.1 -> 9; at 9 px: 15.2 -> 15
// and 6.4 -> 6.
TEST(ToolkitText, MissingFaceFallsBackToSansWithItsMetricsAndExtents) {
    CFont big, small;
    EXPECT_TRUE(big.CreatePointFont(12, "Osaka"));
    EXPECT_TRUE(small.CreatePointFont(9, "Osaka"));
    ASSERT_NE(big.GetFace(), nullptr);
    EXPECT_EQ(big.GetFaceName(), "Osaka");
    EXPECT_EQ(big.GetFamilyUsed(), "DejaVu Sans");
    EXPECT_EQ(big.GetLineHeight(), 20);
    EXPECT_EQ(big.GetAscent(), 9);
    EXPECT_EQ(small.GetLineHeight(), 15);
    EXPECT_EQ(small.GetAscent(), 6);

    // Extents: the rounded advance ("H" advances 1540 units: 9.02 px) and
    // the line height.
    CDC measure;
    ASSERT_TRUE(measure.CreateDC("DISPLAY"));
    measure.SelectObject(&big);
    EXPECT_EQ(measure.GetTextExtent("H", 1), CSize(9, 20));
    EXPECT_EQ(measure.GetTextExtent(CString("HH")), CSize(18, 20));
    EXPECT_EQ(measure.GetTextExtent("HHH", 2), CSize(18, 20));
    EXPECT_EQ(measure.GetTextExtent("", 0), CSize(0, 20));
    // Drawing into a measuring DC does nothing and does not fail.
    EXPECT_TRUE(measure.ExtTextOut(0, 0, ETO_CLIPPED, CRect(0, 0, 5, 5), CString("x")));
    // Without a font: sans-serif 12.
    CDC plain;
    plain.CreateDC("DISPLAY");
    EXPECT_EQ(plain.GetTextExtent("H", 1), CSize(9, 20));
}

// Rows of a white image with any ink on them.
std::vector<int> InkedRows(CDC& dc, int width, int height) {
    std::vector<int> rows;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (Rgb(dc, x, y) != 0xFFFFFFu) {
                rows.push_back(y);
                break;
            }
    return rows;
}

TEST(ToolkitText, TextTopIsYBaselineIsYPlusAscentAndClippedTextStaysInItsBox) {
    CFont font;
    font.CreatePointFont(12, "Osaka");
    CDC dc;
    Filled(dc, 60, 40, 0xFFFFFF);
    dc.SelectObject(&font);
    dc.SetBkMode(TRANSPARENT);
    dc.SetTextColor(RGB(255, 0, 0));
    EXPECT_TRUE(dc.ExtTextOut(10, 10, 0, nullptr, CString("H")));
    // "H" stands on the baseline, 10 + 9 = 19: ink in rows up to 18 only,
    // and it is 1493 units (8.7 px) tall, so it starts at row 10.
    std::vector<int> rows = InkedRows(dc, 60, 40);
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows.front(), 10);
    EXPECT_EQ(rows.back(), 18);
    // Grey antialiasing of red over white: red stays full, green and blue
    // fall together (no colour fringes), down to near full coverage.
    int darkest = 255;
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 60; ++x) {
            const uint32_t p = Rgb(dc, x, y);
            ASSERT_EQ(p >> 16, 0xFFu) << x << "," << y;
            ASSERT_EQ((p >> 8) & 0xFF, p & 0xFF) << x << "," << y;
            darkest = std::min(darkest, static_cast<int>(p & 0xFF));
        }
    EXPECT_LT(darkest, 32);

    // Clipped text stays inside its box.
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 60; ++x) Put(dc, x, y, 0xFFFFFF);
    EXPECT_TRUE(dc.ExtTextOut(2, 2, ETO_CLIPPED, CRect(0, 0, 8, 30), CString("HHH")));
    EXPECT_FALSE(InkedRows(dc, 8, 30).empty());
    for (int y = 0; y < 40; ++y)
        for (int x = y < 30 ? 8 : 0; x < 60; ++x) ASSERT_EQ(Rgb(dc, x, y), 0xFFFFFFu) << x << "," << y;
}

}  // namespace
