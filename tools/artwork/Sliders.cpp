// Slider tracks (a dark groove with scale ticks, on the plate) and their
// handles (small raised caps with a centre mark).
#include "tools/artwork/Metrics.h"
#include "tools/artwork/Palette.h"
#include "tools/artwork/Picture.h"

namespace artwork {
namespace {

using namespace palette;

void DrawGroove(cairo_t* cr, double x, double y, double w, double h)
{
    RoundedRect(cr, x, y, w, h, 2);
    SetColour(cr, kRecess);
    cairo_fill(cr);
    // Lit lower/right lip of the cut, shaded upper/left lip.
    SetColour(cr, WithAlpha(Hex(0xffffff), 0.10));
    cairo_rectangle(cr, x + 1, y + h, w - 2, 0.5);
    cairo_fill(cr);
}

void DrawTick(cairo_t* cr, double x0, double y0, double x1, double y1, Colour colour)
{
    cairo_set_line_width(cr, 1);
    cairo_move_to(cr, x0, y0);
    cairo_line_to(cr, x1, y1);
    SetColour(cr, colour);
    cairo_stroke(cr);
}

// Handle cap: a raised block with a two-pixel mark across its centre.
void DrawHandleCap(cairo_t* cr, double w, double h, bool vertical)
{
    // Opaque corners: the editor copies pictures without blending.
    FillRect(cr, 0, 0, w, h, kPlate);
    DrawKeyCap(cr, 0, 0, w, h, 2, false);
    // Grip grooves either side of the mark.
    SetColour(cr, WithAlpha(kEdge, 0.35));
    if (vertical) {
        cairo_rectangle(cr, 3, h / 2 - 3, w - 6, 1);
        cairo_rectangle(cr, 3, h / 2 + 2, w - 6, 1);
    } else {
        cairo_rectangle(cr, w / 2 - 3, 3, 1, h - 6);
        cairo_rectangle(cr, w / 2 + 2, 3, 1, h - 6);
    }
    cairo_fill(cr);
    SetColour(cr, kPointer);
    if (vertical)
        cairo_rectangle(cr, 2, h / 2 - 1, w - 4, 2);
    else
        cairo_rectangle(cr, w / 2 - 1, 2, 2, h - 4);
    cairo_fill(cr);
}

}  // namespace

void DrawHorizontalTrack(cairo_t* cr)
{
    const double w = metrics::kHorizontalTrackWidth, h = metrics::kHorizontalTrackHeight;
    FillRect(cr, 0, 0, w, h, kPlate);
    // Ticks at every quarter of the handle's travel, above and below the groove.
    const double first = metrics::kHorizontalHandleWidth / 2, last = w - first;
    for (int quarter = 0; quarter <= 4; quarter++) {
        const double x = static_cast<int>(first + (last - first) * quarter / 4) + 0.5;
        const Colour colour = quarter % 2 ? WithAlpha(kLabelDim, 0.5) : kLabelDim;
        DrawTick(cr, x, 1, x, 4, colour);
        DrawTick(cr, x, 12, x, 15, colour);
    }
    DrawGroove(cr, 2, 6, w - 4, 4);
}

void DrawHorizontalHandle(cairo_t* cr)
{
    DrawHandleCap(cr, metrics::kHorizontalHandleWidth, metrics::kHorizontalHandleHeight, false);
}

void DrawVerticalTrack(cairo_t* cr)
{
    const double w = metrics::kVerticalTrackWidth, h = metrics::kVerticalTrackHeight;
    FillRect(cr, 0, 0, w, h, kPlate);
    // The gain scale beside it is part of the background.
    DrawGroove(cr, 6, 2, 4, h - 4);
}

void DrawVerticalHandle(cairo_t* cr)
{
    DrawHandleCap(cr, metrics::kVerticalHandleWidth, metrics::kVerticalHandleHeight, true);
}

}  // namespace artwork
