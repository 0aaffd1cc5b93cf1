// The bitmap controls on their own, in the modes the editor uses: knob
// angles and the end-stop rule, the film-strip frame for a value, slider
// mappings, and what each control draws, read back from pixels of frames
// painted in colours of their own (the switches are clicked and looked at
// through the editor).
#include <gtest/gtest.h>
#include <cairo.h>

#include <cmath>
#include <vector>

#include "editor/CVMQBitmapSliderDC.h"
#include "editor/CVMQNewBitmapTumamiDC.h"

namespace {

// Every callback a control made.
struct Calls {
    std::vector<std::pair<unsigned, float>> made;
    static bool Record(unsigned id, float value, void* user) {
        static_cast<Calls*>(user)->made.push_back({id, value});
        return true;
    }
};

uint32_t* PixelOf(cairo_surface_t* surface, int x, int y) {
    cairo_surface_flush(surface);
    return reinterpret_cast<uint32_t*>(cairo_image_surface_get_data(surface) +
                                       y * cairo_image_surface_get_stride(surface)) + x;
}
uint32_t Rgb(CDC& dc, int x, int y) { return *PixelOf(dc.GetTargetSurface(), x, y) & 0xFFFFFFu; }

// Fills a block of a bitmap with one 0xRRGGBB colour.
void Fill(CBitmap& bitmap, int left, int top, int width, int height, uint32_t rgb) {
    for (int y = top; y < top + height; y++)
        for (int x = left; x < left + width; x++) *PixelOf(bitmap.GetSurface(), x, y) = 0xFF000000u | rgb;
    cairo_surface_mark_dirty(bitmap.GetSurface());
}
void Canvas(CDC& dc, int width, int height, uint32_t rgb) {
    ASSERT_TRUE(dc.CreateBitmapDC(width, height));
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) *PixelOf(dc.GetTargetSurface(), x, y) = 0xFF000000u | rgb;
    cairo_surface_mark_dirty(dc.GetTargetSurface());
}

constexpr int kKnobSize = 34, kFrames = 61;

class Knob : public ::testing::Test {
protected:
    // A film strip of 61 frames of 34 x 34 whose frame n is coloured n.
    void SetUp() override {
        ASSERT_TRUE(film.CreateBitmap(kKnobSize, kKnobSize * kFrames));
        for (int frame = 0; frame < kFrames; frame++) Fill(film, 0, frame * kKnobSize, kKnobSize, kKnobSize, frame);
    }
    // A knob from 30 to 330 degrees, its rectangle at (10, 20).
    void Make(float min, float max) {
        knob.Make(rect, CRect(), &parent, &film, min, max, 7, kFrames, 30.0f, 330.0f, 0, false,
                  &Calls::Record, &calls);
    }
    CPoint At(int dx, int dy) const { return CPoint(rect.left + dx, rect.top + dy); }
    int FrameShown() {
        CDC dc;
        Canvas(dc, 60, 60, 0xFFFFFF);
        knob.Draw(&dc);
        return static_cast<int>(Rgb(dc, rect.left + 5, rect.top + 5));
    }

    const CRect rect{10, 20, 10 + kKnobSize, 20 + kKnobSize};
    CVMQBitmap film;
    CWnd parent;
    Calls calls;
    CVMQNewBitmapTumamiDC knob;
};

// Clockwise from straight down: the left edge's middle is 90 degrees, the
// top 180 and the right 270, which over 30..330 are 0.2, 0.5 and 0.8. The
// angle comes from atan2 and the 3.141592653 constant, not full pi.
TEST_F(Knob, DragAnglesRunClockwiseFromTheBottom) {
    Make(0.0f, 1.0f);
    const double truncatedPi = 3.141592653;
    struct Case {
        int dx, dy;
        float value;
        double angle;
    } cases[] = {
        {0, 17, 0.2f, std::atan2(-17.0, 0.0) * -180.0 / truncatedPi},
        {17, 0, 0.5f, 180.0},
        {34, 17, 0.8f, std::atan2(17.0, 0.0) * -180.0 / truncatedPi + 360.0},
    };
    for (const Case& c : cases) {
        knob.SetValue(At(c.dx, c.dy));
        EXPECT_FLOAT_EQ(knob.GetValue(), c.value) << c.dx << "," << c.dy;
        EXPECT_EQ(knob.GetAngle(), c.angle) << c.dx << "," << c.dy;
    }
    EXPECT_NE(std::atan2(-17.0, 0.0) * -180.0 / M_PI, cases[0].angle);  // the constant shows

    // Below the gap the angle clamps to the nearer end of the range.
    knob.SetValue(At(12, 33));
    EXPECT_FLOAT_EQ(knob.GetValue(), 0.0f);
}

TEST_F(Knob, EndStopsHoldAKnobAtItsEndUntilTheButtonIsReleased) {
    Make(0.0f, 1.0f);
    knob.SetValue(0.0f, nullptr, false);  // resting at the minimum
    knob.SetValue(At(30, 30));            // bottom right: across the gap
    EXPECT_EQ(knob.GetValue(), 0.0f);
    EXPECT_EQ(knob.GetAngle(), 30.0);
    knob.SetValue(At(17, 30));  // straight below the centre
    EXPECT_EQ(knob.GetValue(), 0.0f);

    knob.SetValue(1.0f, nullptr, false);  // resting at the maximum
    knob.SetValue(At(4, 30));             // bottom left
    EXPECT_EQ(knob.GetValue(), 1.0f);
    EXPECT_EQ(knob.GetAngle(), 330.0);
    knob.SetValue(At(17, 30));
    EXPECT_EQ(knob.GetValue(), 1.0f);

    // A released drag forgets where it rested: the same point now counts.
    knob.SetValue(0.0f, nullptr, false);
    ASSERT_TRUE(knob.PtInTumami(At(17, 17)));
    EXPECT_TRUE(knob.IsTracking());
    CDC dc;
    Canvas(dc, 60, 60, 0xFFFFFF);
    knob.OnLButtonUp(At(30, 30), &dc);
    EXPECT_FALSE(knob.IsTracking());
    knob.SetValue(At(30, 30));  // atan2(13, 13): 315 degrees
    EXPECT_NEAR(knob.GetValue(), (315.0 - 30.0) / 300.0, 1e-6);
}

// Drags notify even when unchanged and ignore the centre; SetValue clamps,
// notifies once, and an unchanged value neither notifies nor draws.
TEST_F(Knob, NotificationsAndClamping) {
    Make(-12.0f, 12.0f);
    knob.SetValue(At(17, 0));
    knob.SetValue(At(17, 0));
    ASSERT_EQ(calls.made.size(), 2u);
    EXPECT_EQ(calls.made[1].second, 0.0f);
    knob.SetValue(At(17, 17));  // the centre
    // Outside the square, one row below its middle-right corner: the check
    // that mixes the axes drops it.
    knob.SetValue(At(35, 34));
    EXPECT_EQ(calls.made.size(), 2u);

    CDC dc;
    Canvas(dc, 60, 60, 0xFFFFFF);
    knob.SetValue(40.0f, &dc, true);
    EXPECT_EQ(knob.GetValue(), 12.0f);
    EXPECT_EQ(Rgb(dc, rect.left, rect.top), 60u);  // the last frame
    ASSERT_EQ(calls.made.size(), 3u);
    EXPECT_EQ(calls.made[2].second, 12.0f);
    Canvas(dc, 60, 60, 0xFFFFFF);
    knob.SetValue(12.0f, &dc, true);
    EXPECT_EQ(calls.made.size(), 3u);
    EXPECT_EQ(Rgb(dc, rect.left, rect.top), 0xFFFFFFu);  // not drawn
    knob.SetValue(-40.0f, nullptr, false);
    EXPECT_EQ(knob.GetValue(), -12.0f);
}

TEST_F(Knob, FramesFollowTheValue) {
    Make(0.0f, 1.0f);
    const float step = 1.0f / 60.0f;
    struct Case {
        float value;
        int frame, index;
    } linear[] = {
        {0.0f, 0, 0},
        {0.5f, 30, 30},
        {1.0f, 60, 60},
        {30.49f * step, 30, 31},  // rounds to nearest; the index rounds up
        {30.51f * step, 31, 31},
    };
    for (const Case& c : linear) {
        knob.SetValue(c.value, nullptr, false);
        EXPECT_EQ(FrameShown(), c.frame) << c.value;
        EXPECT_EQ(knob.GetIndexValue(), c.index) << c.value;
    }
}

// Sliders: a track of 20 x 130 (vertical) or 130 x 20 (horizontal) at
// (100, 50), the thumb 10 x 6 (vertical) or 6 x 10 (horizontal).
class Slider : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(verticalTrack.CreateBitmap(20, 130));
        Fill(verticalTrack, 0, 0, 20, 130, 0x202020);
        ASSERT_TRUE(horizontalTrack.CreateBitmap(130, 20));
        Fill(horizontalTrack, 0, 0, 130, 20, 0x202020);
        ASSERT_TRUE(verticalThumb.CreateBitmap(10, 6));
        Fill(verticalThumb, 0, 0, 10, 6, 0xE0E0E0);
        ASSERT_TRUE(horizontalThumb.CreateBitmap(6, 10));
        Fill(horizontalThumb, 0, 0, 6, 10, 0xE0E0E0);
    }
    void Make(int vertical, CPoint start, CPoint end, bool logarithmic = false, bool reversed = false,
              float min = 0.0f, float max = 100.0f) {
        const CRect rect = vertical ? CRect(100, 50, 120, 180) : CRect(100, 50, 230, 70);
        slider.Make(rect, CRect(), &parent, vertical ? &verticalTrack : &horizontalTrack, nullptr,
                    vertical ? &verticalThumb : &horizontalThumb, min, max, start, end, 3, vertical, logarithmic,
                    reversed, false, false, &Calls::Record, &calls);
    }
    // The value a point on the axis gives, c being its offset from the
    // rectangle's top (vertical) or left (horizontal) edge.
    float ValueAt(int c) {
        slider.SetValueByPoint(vertical() ? CPoint(110, 50 + c) : CPoint(100 + c, 60));
        return slider.GetValue();
    }
    bool vertical() const { return verticalMade; }

    CVMQBitmap verticalTrack, horizontalTrack, verticalThumb, horizontalThumb;
    CWnd parent;
    Calls calls;
    CVMQBitmapSliderDC slider;
    bool verticalMade = false;
};

// The level sliders' mapping: vertical and logarithmic, half way up is
// (10^0.5 - 1) / 9 of the range.
TEST_F(Slider, LogarithmicAndCoincidentEnds) {
    verticalMade = true;
    Make(1, CPoint(5, 120), CPoint(5, 10), true, false, 20.0f, 20000.0f);
    EXPECT_FLOAT_EQ(ValueAt(65), static_cast<float>(20.0 + 19980.0 * (std::sqrt(10.0) - 1.0) / 9.0));

    // Start and end at one place: that place gives the minimum.
    Make(1, CPoint(5, 60), CPoint(5, 60));
    slider.SetValue(50.0f, nullptr, false);
    EXPECT_EQ(ValueAt(60), 0.0f);
    EXPECT_EQ(ValueAt(61), 0.0f);
    EXPECT_EQ(ValueAt(59), 100.0f);
}

TEST_F(Slider, ChangesNotifyOnce) {
    verticalMade = false;
    Make(0, CPoint(10, 5), CPoint(110, 5));
    EXPECT_TRUE(slider.SetValueByPoint(CPoint(160, 60)));
    EXPECT_FALSE(slider.SetValueByPoint(CPoint(160, 60)));  // unchanged
    ASSERT_EQ(calls.made.size(), 1u);
    EXPECT_EQ(calls.made[0], std::make_pair(3u, 50.0f));

    slider.SetValue(500.0f, nullptr, true);  // clamped, notified
    slider.SetValue(100.0f, nullptr, true);  // unchanged: no call
    ASSERT_EQ(calls.made.size(), 2u);
    EXPECT_EQ(calls.made[1].second, 100.0f);

}

// The thumb's top (vertical) or left (horizontal) edge in the composed
// picture: vertically y = (int)(a - (v - min)(a - b)/(max - min) - th/2),
// horizontally x = (int)(a + (v - min)(b - a)/(max - min) - tw/2).
TEST_F(Slider, ThumbsSitWhereTheValueSays) {
    const struct {
        int vertical;
        float value;
        int edge;
    } cases[] = {{1, 0.0f, 117}, {1, 100.0f, 7}, {1, 50.0f, 62}, {1, 33.0f, 80},
                 {0, 0.0f, 7},   {0, 100.0f, 117}, {0, 50.0f, 62}, {0, 33.0f, 43}};
    CDC dc;
    for (const auto& c : cases) {
        verticalMade = c.vertical != 0;
        Make(c.vertical, c.vertical ? CPoint(5, 120) : CPoint(10, 5), c.vertical ? CPoint(5, 10) : CPoint(120, 5));
        Canvas(dc, 300, 250, 0xFFFFFF);
        slider.SetValue(c.value, &dc, false);
        int edge = -1;
        for (int along = 0; along < 130 && edge < 0; along++)
            if (Rgb(dc, c.vertical ? 107 : 100 + along, c.vertical ? 50 + along : 57) == 0xE0E0E0u) edge = along;
        EXPECT_EQ(edge, c.edge) << "vertical " << c.vertical << " value " << c.value;
        // The track shows around the thumb.
        EXPECT_EQ(c.vertical ? Rgb(dc, 100, 50) : Rgb(dc, 100 + c.edge + 6, 52), 0x202020u);
    }
}

}  // namespace
