// The editor's pictures as built by tools/artwork, beside the plug-in at 1x,
// 1.5x and 2x. The editor places its controls from
// the picture sizes and copies pixels without blending, so sizes, opacity,
// the meter's rows and the knob frames are checked exactly.
#include <gtest/gtest.h>

#include <cairo.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Size {
    int id, width, height;
};

const Size kSizes[] = {
    {3005, 800, 360}, {3004, 34, 2074}, {3006, 98, 16}, {3015, 10, 14}, {3016, 16, 133},
    {3007, 14, 10},   {3008, 16, 136},  {3010, 10, 32}, {3009, 10, 32}, {3018, 10, 32},
    {3017, 10, 32},   {3002, 29, 40},   {3003, 29, 40}, {3020, 14, 24}, {3019, 14, 24},
    {3012, 15, 34},   {3011, 15, 34},   {5016, 43, 16}, {5017, 43, 32}, {3001, 64, 16},
};

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

Surface Load(int id, const char* suffix = "") {
    const std::string path = TAPDELAY_PLUGIN_DIR + std::to_string(id) + suffix + ".png";
    return Surface(cairo_image_surface_create_from_png(path.c_str()), cairo_surface_destroy);
}

uint32_t Pixel(cairo_surface_t* surface, int x, int y) {
    const unsigned char* data = cairo_image_surface_get_data(surface);
    if (!data) return 0;  // a missing picture fails the size test
    const unsigned char* row = data + y * cairo_image_surface_get_stride(surface);
    uint32_t pixel;
    std::memcpy(&pixel, row + 4 * x, 4);
    return pixel;
}

bool SameRect(cairo_surface_t* a, int ax, int ay, cairo_surface_t* b, int bx, int by, int w, int h) {
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++)
            if (Pixel(a, ax + x, ay + y) != Pixel(b, bx + x, by + y)) return false;
    return true;
}

TEST(Artwork, EveryPictureHasItsSizeAtEachScaleAndIsOpaque) {
    for (auto [suffix, scale] : {std::pair{"", 1.0}, {"@1.5x", 1.5}, {"@2x", 2.0}})
        for (const Size& size : kSizes) {
            SCOPED_TRACE(std::to_string(size.id) + suffix);
            Surface picture = Load(size.id, suffix);
            ASSERT_EQ(cairo_surface_status(picture.get()), CAIRO_STATUS_SUCCESS);
            const int width = static_cast<int>(std::lround(size.width * scale));
            const int height = static_cast<int>(std::lround(size.height * scale));
            EXPECT_EQ(cairo_image_surface_get_width(picture.get()), width);
            EXPECT_EQ(cairo_image_surface_get_height(picture.get()), height);
            // The editor copies raw pixels, so a transparent pixel would show as a hole.
            int transparent = 0;
            for (int y = 0; y < height; y++)
                for (int x = 0; x < width; x++) transparent += (Pixel(picture.get(), x, y) >> 24) != 0xFF;
            EXPECT_EQ(transparent, 0);
        }
}

// The editor shows the unlit half, then the lit half from row 19 - 3 x dB
// down: rows 0 and 133..135 must match so that -38 dB looks unlit, and every
// whole dB from -37 to +6 must light a row of its own.
TEST(Artwork, MeterLightsOneStepPerDecibelBetweenIdenticalFrameRows) {
    Surface meter = Load(3008);
    for (int row : {0, 133, 134, 135}) EXPECT_TRUE(SameRect(meter.get(), 0, row, meter.get(), 8, row, 8, 1)) << row;
    for (int dB = -37; dB <= 6; dB++) {
        const int row = 19 - 3 * dB;
        EXPECT_FALSE(SameRect(meter.get(), 0, row, meter.get(), 8, row, 8, 1)) << dB << " dB, row " << row;
    }
}

TEST(Artwork, KnobFramesAllDifferAndBlendWithTheBackground) {
    Surface knob = Load(3004), background = Load(3005);
    for (int a = 0; a < 61; a++)
        for (int b = a + 1; b < 61; b++)
            EXPECT_FALSE(SameRect(knob.get(), 0, 34 * a, knob.get(), 0, 34 * b, 34, 34)) << a << " " << b;
    // Corners of every frame match the background at each knob's corners.
    for (int tap = 0; tap < 6; tap++)
        for (int left : {291, 379, 523, 610, 697})
            for (int frame : {0, 60})
                for (int corner = 0; corner < 4; corner++) {
                    const int dx = corner % 2 ? 33 : 0, dy = corner / 2 ? 33 : 0;
                    EXPECT_EQ(Pixel(knob.get(), dx, 34 * frame + dy), Pixel(background.get(), left + dx, 71 + 39 * tap + dy))
                        << "tap " << tap << " knob at " << left;
                }
}

// Black 9-point value text needs a pale window: every value box is light
// over the rows where the text's letters fall (its baseline is 9 rows down).
TEST(Artwork, BackgroundShowsPaleWindowsBehindEveryValueText) {
    Surface background = Load(3005);
    struct Box {
        int left, top, right, bottom;
    };
    std::vector<Box> boxes = {{13, 329, 47, 345}, {755, 329, 789, 345}, {340, 333, 388, 349},
                              {546, 333, 594, 349}, {175, 334, 230, 350}};
    for (int tap = 0; tap < 6; tap++)
        for (auto [left, right] : {std::pair{88, 136}, {242, 290}, {330, 378}, {433, 469}, {474, 522}, {561, 609},
                                   {648, 696}})
            boxes.push_back({left, 80 + 39 * tap, right, 96 + 39 * tap});
    for (const Box& box : boxes)
        for (int y = box.top + 1; y <= box.top + 11; y++)
            for (int x = box.left + 1; x < box.right; x++) {
                const uint32_t p = Pixel(background.get(), x, y);
                const int luminance = (2 * ((p >> 16) & 0xFF) + 5 * ((p >> 8) & 0xFF) + (p & 0xFF)) / 8;
                ASSERT_GE(luminance, 200) << "box at " << box.left << "," << box.top << " pixel " << x << "," << y;
            }
}

// On and off pictures differ, and so do their released and pressed frames.
TEST(Artwork, SwitchesShowTheirStateAndTheirPress) {
    for (auto [off, on] : {std::pair{3010, 3009}, {3018, 3017}, {3002, 3003}, {3020, 3019}, {3012, 3011}}) {
        Surface offPicture = Load(off), onPicture = Load(on);
        const int w = cairo_image_surface_get_width(offPicture.get());
        const int h = cairo_image_surface_get_height(offPicture.get()) / 2;
        for (int frame = 0; frame < 2; frame++)
            EXPECT_FALSE(SameRect(offPicture.get(), 0, frame * h, onPicture.get(), 0, frame * h, w, h)) << off;
        for (cairo_surface_t* picture : {offPicture.get(), onPicture.get()})
            EXPECT_FALSE(SameRect(picture, 0, 0, picture, 0, h, w, h)) << off;
    }
}

}  // namespace
