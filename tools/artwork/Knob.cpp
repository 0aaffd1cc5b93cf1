// The knob film strip: one frame per step, the pointer and the amber value
// arc turning clockwise from about seven o'clock to about five o'clock.
#include <cmath>

#include "tools/artwork/Metrics.h"
#include "tools/artwork/Palette.h"
#include "tools/artwork/Picture.h"

namespace artwork {
namespace {

using namespace palette;

// Knob angles count clockwise from straight down; cairo's count clockwise
// from the right, a quarter turn earlier.
double CairoAngle(double knobDegrees) { return (knobDegrees + 90.0) * M_PI / 180.0; }

void DrawKnobFrame(cairo_t* cr, double knobDegrees)
{
    const double c = metrics::kKnobSize / 2.0;
    const double arcRadius = 14.5, bodyRadius = 10.5;
    const double start = CairoAngle(metrics::kKnobStartAngle);
    const double end = CairoAngle(metrics::kKnobEndAngle);
    const double now = CairoAngle(knobDegrees);

    // The plate the knob sits on, so the frame blends with the background.
    FillRect(cr, 0, 0, metrics::kKnobSize, metrics::kKnobSize, kPlate);

    // Scale track and value arc.
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(cr, 2.5);
    cairo_arc(cr, c, c, arcRadius, start, end);
    SetColour(cr, kRecess);
    cairo_stroke(cr);
    if (now > start + 1e-6) {
        cairo_set_line_width(cr, 1.6);
        cairo_arc(cr, c, c, arcRadius, start, now);
        SetColour(cr, kAccent);
        cairo_stroke(cr);
    }

    // Shadow below and right of the body (light from the top left).
    cairo_arc(cr, c + 0.8, c + 1.2, bodyRadius + 0.8, 0, 2 * M_PI);
    SetColour(cr, WithAlpha(kEdge, 0.55));
    cairo_fill(cr);
    // Body with a dark rim.
    cairo_arc(cr, c, c, bodyRadius + 0.6, 0, 2 * M_PI);
    SetColour(cr, kEdge);
    cairo_fill(cr);
    cairo_pattern_t* body = cairo_pattern_create_linear(c - bodyRadius, c - bodyRadius, c + bodyRadius, c + bodyRadius);
    const Colour lit = Mix(kCapLight, Hex(0xffffff), 0.08);
    cairo_pattern_add_color_stop_rgb(body, 0, lit.r, lit.g, lit.b);
    cairo_pattern_add_color_stop_rgb(body, 1, kCapDark.r * 0.8, kCapDark.g * 0.8, kCapDark.b * 0.8);
    cairo_arc(cr, c, c, bodyRadius, 0, 2 * M_PI);
    cairo_set_source(cr, body);
    cairo_fill(cr);
    cairo_pattern_destroy(body);
    // Flat top, shaded the other way, which makes the rim read as a bevel.
    cairo_pattern_t* top = cairo_pattern_create_linear(c - 8, c - 8, c + 8, c + 8);
    cairo_pattern_add_color_stop_rgb(top, 0, kCapDark.r, kCapDark.g, kCapDark.b);
    cairo_pattern_add_color_stop_rgb(top, 1, kCapLight.r * 0.9, kCapLight.g * 0.9, kCapLight.b * 0.9);
    cairo_arc(cr, c, c, bodyRadius - 2.2, 0, 2 * M_PI);
    cairo_set_source(cr, top);
    cairo_fill(cr);
    cairo_pattern_destroy(top);

    // Pointer from near the centre to the rim.
    const double dx = std::cos(now), dy = std::sin(now);
    cairo_set_line_width(cr, 2.0);
    cairo_move_to(cr, c + dx * 3.5, c + dy * 3.5);
    cairo_line_to(cr, c + dx * (bodyRadius - 1.2), c + dy * (bodyRadius - 1.2));
    SetColour(cr, kPointer);
    cairo_stroke(cr);
}

}  // namespace

void DrawKnobStrip(cairo_t* cr)
{
    for (int frame = 0; frame < metrics::kKnobFrames; frame++) {
        const double degrees = metrics::kKnobStartAngle +
            (metrics::kKnobEndAngle - metrics::kKnobStartAngle) * frame / (metrics::kKnobFrames - 1);
        cairo_save(cr);
        cairo_translate(cr, 0, frame * metrics::kKnobSize);
        cairo_rectangle(cr, 0, 0, metrics::kKnobSize, metrics::kKnobSize);
        cairo_clip(cr);
        DrawKnobFrame(cr, degrees);
        cairo_restore(cr);
    }
}

}  // namespace artwork
