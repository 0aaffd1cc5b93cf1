// The level meter: a ladder of one-dB segments, unlit on the left half and
// lit on the right half. The editor shows the lit half from the reading's
// row down, so the rows here are fixed by its rule: row = 19 - 3 x dB.
#include "tools/artwork/Metrics.h"
#include "tools/artwork/Palette.h"
#include "tools/artwork/Picture.h"

namespace artwork {
namespace {

using namespace palette;
using namespace metrics;

// The segment whose top is at row r lights from dB = (19 - r) / 3 upward.
Colour SegmentColour(int topRow)
{
    const int dB = (kMeterZeroDbRow - topRow) / kMeterRowsPerDb;
    if (dB > 0)
        return kMeterRed;
    if (dB >= -12)
        return kMeterAmber;
    return kMeterGreen;
}

void DrawLadder(cairo_t* cr, bool lit)
{
    FillRect(cr, 0, 0, kMeterWidth, kMeterHeight, kRecess);
    // Segments two rows tall with a one-row gap, aligned so that one starts
    // at row 19 (0 dB); columns 1..6, leaving the outer columns as frame.
    for (int top = kMeterZeroDbRow % kMeterRowsPerDb; top + 1 <= kMeterLastRow; top += kMeterRowsPerDb) {
        if (top < kMeterFirstRow)
            continue;
        const Colour colour = SegmentColour(top);
        if (lit) {
            FillRect(cr, 1, top, kMeterWidth - 2, 2, colour);
            // A brighter core row sells the glow.
            FillRect(cr, 2, top, kMeterWidth - 4, 1, Mix(colour, Hex(0xffffff), 0.35));
        } else {
            FillRect(cr, 1, top, kMeterWidth - 2, 2, Mix(kRecess, colour, 0.2));
        }
    }
}

}  // namespace

void DrawMeter(cairo_t* cr)
{
    DrawLadder(cr, false);
    cairo_save(cr);
    cairo_translate(cr, kMeterWidth, 0);
    DrawLadder(cr, true);
    cairo_restore(cr);
}

}  // namespace artwork
