// Switch pictures: two frames each, released above pressed. "On" pictures
// carry a lit amber lamp or glyph, "off" pictures a dark one.
#include <cmath>

#include "tools/artwork/Metrics.h"
#include "tools/artwork/Palette.h"
#include "tools/artwork/Picture.h"

namespace artwork {
namespace {

using namespace palette;
using namespace metrics;

using DrawFrame = void (*)(cairo_t* cr, bool on, bool pressed);

// Draws the released frame at the top and the pressed frame below it, each
// on an opaque plate (the editor copies pictures without blending).
void DrawTwoFrames(cairo_t* cr, int width, int height, bool on, DrawFrame frame)
{
    for (int pressed = 0; pressed < 2; pressed++) {
        cairo_save(cr);
        cairo_translate(cr, 0, pressed * height);
        cairo_rectangle(cr, 0, 0, width, height);
        cairo_clip(cr);
        FillRect(cr, 0, 0, width, height, kPlate);
        frame(cr, on, pressed != 0);
        cairo_restore(cr);
    }
}

// Pressed caps sink by one pixel: their content moves with them.
double Sink(bool pressed) { return pressed ? 1.0 : 0.0; }

void TapSwitchFrame(cairo_t* cr, bool on, bool pressed)
{
    DrawKeyCap(cr, 0, 0, kTapSwitchWidth, kTapSwitchHeight, 2, pressed);
    DrawLamp(cr, 3, 4 + Sink(pressed), 4, 8, on);
}

// The filter switch has a round lamp, so the two switches of a row differ.
void FilterSwitchFrame(cairo_t* cr, bool on, bool pressed)
{
    DrawKeyCap(cr, 0, 0, kTapSwitchWidth, kTapSwitchHeight, 2, pressed);
    DrawLamp(cr, 2.5, 5.5 + Sink(pressed), 5, 5, on);
}

void SmallSwitchFrame(cairo_t* cr, bool on, bool pressed)
{
    DrawKeyCap(cr, 0, 0, kSmallSwitchWidth, kSmallSwitchHeight, 2, pressed);
    DrawLamp(cr, 3, 4 + Sink(pressed), 8, 4, on);
}

void PowerFrame(cairo_t* cr, bool on, bool pressed)
{
    DrawKeyCap(cr, 0, 0, kPowerWidth, kPowerHeight, 3, pressed);
    // The power symbol: a ring open at the top with a bar through the gap.
    const double cx = kPowerWidth / 2.0, cy = kPowerHeight / 2.0 + 0.5 + Sink(pressed), r = 5;
    const Colour glyph = on ? kAccent : Mix(kCapDark, kEdge, 0.4);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(cr, 1.8);
    if (on) {
        // Soft halo behind the lit glyph.
        cairo_pattern_t* halo = cairo_pattern_create_radial(cx, cy, 1, cx, cy, 9);
        cairo_pattern_add_color_stop_rgba(halo, 0, kAccent.r, kAccent.g, kAccent.b, 0.35);
        cairo_pattern_add_color_stop_rgba(halo, 1, kAccent.r, kAccent.g, kAccent.b, 0);
        cairo_set_source(cr, halo);
        cairo_arc(cr, cx, cy, 9, 0, 2 * M_PI);
        cairo_fill(cr);
        cairo_pattern_destroy(halo);
    } else {
        // An engraved glyph: a highlight one pixel below the dark stroke.
        cairo_arc(cr, cx, cy + 0.8, r, -M_PI / 2 + 0.75, 3 * M_PI / 2 - 0.75);
        cairo_move_to(cr, cx, cy + 0.8 - r - 1);
        cairo_line_to(cr, cx, cy + 0.8);
        SetColour(cr, WithAlpha(Hex(0xffffff), 0.12));
        cairo_stroke(cr);
    }
    cairo_arc(cr, cx, cy, r, -M_PI / 2 + 0.75, 3 * M_PI / 2 - 0.75);
    cairo_move_to(cr, cx, cy - r - 1);
    cairo_line_to(cr, cx, cy);
    SetColour(cr, glyph);
    cairo_stroke(cr);
}

// The copy button opens the list of programs to copy from: two stacked
// sheets, lit while the list is open.
void CopyFrame(cairo_t* cr, bool on, bool pressed)
{
    DrawKeyCap(cr, 0, 0, kCopyWidth, kCopyHeight, 2, pressed);
    const double y = Sink(pressed);
    const Colour ink = on ? kAccent : Hex(0xd8d1c4);
    cairo_set_line_width(cr, 1);
    // Back sheet, then the front sheet covering it.
    SetColour(cr, ink);
    cairo_rectangle(cr, 5.5, 4.5 + y, 5, 6);
    cairo_stroke(cr);
    FillRect(cr, 4, 7 + y, 6, 7, on ? Mix(kCapDark, kEdge, 0.3) : kCapDark);
    SetColour(cr, ink);
    cairo_rectangle(cr, 3.5, 7.5 + y, 5, 6);
    cairo_stroke(cr);
}

}  // namespace

void DrawTapSwitchOff(cairo_t* cr) { DrawTwoFrames(cr, kTapSwitchWidth, kTapSwitchHeight, false, TapSwitchFrame); }
void DrawTapSwitchOn(cairo_t* cr) { DrawTwoFrames(cr, kTapSwitchWidth, kTapSwitchHeight, true, TapSwitchFrame); }
void DrawFilterSwitchOff(cairo_t* cr) { DrawTwoFrames(cr, kTapSwitchWidth, kTapSwitchHeight, false, FilterSwitchFrame); }
void DrawFilterSwitchOn(cairo_t* cr) { DrawTwoFrames(cr, kTapSwitchWidth, kTapSwitchHeight, true, FilterSwitchFrame); }
void DrawSmallSwitchOff(cairo_t* cr) { DrawTwoFrames(cr, kSmallSwitchWidth, kSmallSwitchHeight, false, SmallSwitchFrame); }
void DrawSmallSwitchOn(cairo_t* cr) { DrawTwoFrames(cr, kSmallSwitchWidth, kSmallSwitchHeight, true, SmallSwitchFrame); }
void DrawPowerOff(cairo_t* cr) { DrawTwoFrames(cr, kPowerWidth, kPowerHeight, false, PowerFrame); }
void DrawPowerOn(cairo_t* cr) { DrawTwoFrames(cr, kPowerWidth, kPowerHeight, true, PowerFrame); }
void DrawCopyButtonOff(cairo_t* cr) { DrawTwoFrames(cr, kCopyWidth, kCopyHeight, false, CopyFrame); }
void DrawCopyButtonOn(cairo_t* cr) { DrawTwoFrames(cr, kCopyWidth, kCopyHeight, true, CopyFrame); }

}  // namespace artwork
