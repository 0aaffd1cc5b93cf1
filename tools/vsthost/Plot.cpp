#include "tools/vsthost/Plot.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace vsthost {

namespace {

constexpr int kMarginLeft = 60;
constexpr int kMarginRight = 20;
constexpr int kTitleHeight = 40;
constexpr int kPanelTitle = 22;
constexpr int kAxisHeight = 22;

struct SurfaceCloser {
    void operator()(cairo_surface_t* s) const { cairo_surface_destroy(s); }
};
struct ContextCloser {
    void operator()(cairo_t* c) const { cairo_destroy(c); }
};

// A tick step of 1, 2 or 5 times a power of ten giving about `count` ticks.
double niceStep(double span, int count) {
    const double raw = span / count;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0, 10.0})
        if (m * power >= raw)
            return m * power;
    return 10.0 * power;
}

void drawText(cairo_t* cr, double x, double y, const std::string& text, double size,
              bool centred = false) {
    cairo_set_font_size(cr, size);
    cairo_text_extents_t extents;
    cairo_text_extents(cr, text.c_str(), &extents);
    cairo_move_to(cr, centred ? x - extents.width / 2 : x, y);
    cairo_show_text(cr, text.c_str());
}

void drawPanel(cairo_t* cr, const PlotPanel& panel, double top, double width, double height) {
    const double left = kMarginLeft, right = width - kMarginRight;
    const double plotTop = top + kPanelTitle, plotBottom = top + height - kAxisHeight;
    const double mid = 0.5 * (plotTop + plotBottom), half = 0.5 * (plotBottom - plotTop);

    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    drawText(cr, left, top + 16, panel.title, 14);

    // Frame, zero line and amplitude labels.
    cairo_set_source_rgb(cr, 0.97, 0.97, 0.97);
    cairo_rectangle(cr, left, plotTop, right - left, plotBottom - plotTop);
    cairo_fill(cr);
    cairo_set_line_width(cr, 1.0);
    cairo_set_source_rgb(cr, 0.8, 0.8, 0.8);
    for (double db = -30; panel.decibels && db > kFloorDb; db -= 30) {
        const double y = std::round(plotTop + (plotBottom - plotTop) * db / kFloorDb) + 0.5;
        cairo_move_to(cr, left, y);
        cairo_line_to(cr, right, y);
    }
    if (!panel.decibels) {
        cairo_move_to(cr, left, mid + 0.5);
        cairo_line_to(cr, right, mid + 0.5);
    }
    cairo_stroke(cr);

    // Scale to the loudest sample so quiet signals still show their shape.
    float peak = panel.peak;
    if (peak <= 0.0f)
        for (const PlotTrace& t : panel.traces)
            for (float x : *t.samples)
                if (std::isfinite(x))
                    peak = std::max(peak, std::fabs(x));
    const double scale = peak > 0 ? 0.95 / peak : 1.0;
    char text[64];
    cairo_set_source_rgb(cr, 0.3, 0.3, 0.3);
    if (panel.decibels) {
        for (double db = 0; db >= kFloorDb; db -= 30) {
            const double y = plotTop + (plotBottom - plotTop) * db / kFloorDb;
            snprintf(text, sizeof text, "%g dB", db);
            drawText(cr, 4, y + (db == 0 ? 10 : db == kFloorDb ? -2 : 4), text, 10);
        }
    } else {
        snprintf(text, sizeof text, "%+.2g", peak);
        drawText(cr, 4, plotTop + 12, peak > 0 ? text : "0", 10);
        drawText(cr, 4, mid + 4, "0", 10);
    }

    // Time axis.
    const double span = panel.seconds * (panel.milliseconds ? 1000.0 : 1.0);
    const double step = niceStep(span, 10);
    for (double t = 0; t <= span + 1e-9; t += step) {
        const double x = left + (right - left) * t / span;
        cairo_set_source_rgb(cr, 0.88, 0.88, 0.88);
        cairo_move_to(cr, std::round(x) + 0.5, plotTop);
        cairo_line_to(cr, std::round(x) + 0.5, plotBottom);
        cairo_stroke(cr);
        cairo_set_source_rgb(cr, 0.3, 0.3, 0.3);
        snprintf(text, sizeof text, "%g%s", t, panel.milliseconds ? " ms" : " s");
        drawText(cr, x, plotBottom + 15, text, 10, true);
    }

    // Each trace as a min/max envelope per pixel column.
    const int columns = (int)(right - left);
    const double framesPerColumn = panel.seconds * panel.sampleRate / columns;
    double legendX = right - 10;
    for (auto it = panel.traces.rbegin(); it != panel.traces.rend(); ++it) {
        const PlotTrace& trace = *it;
        cairo_set_source_rgba(cr, trace.red, trace.green, trace.blue, 0.75);
        const std::vector<float>& s = *trace.samples;
        for (int c = 0; c < columns; ++c) {
            const size_t from = (size_t)(c * framesPerColumn);
            const size_t to = std::min(s.size(), (size_t)((c + 1) * framesPerColumn) + 1);
            if (from >= to)
                break;
            float lo = s[from], hi = s[from];
            for (size_t i = from; i < to; ++i) {
                if (!std::isfinite(s[i]))
                    continue;
                lo = std::min(lo, s[i]);
                hi = std::max(hi, s[i]);
            }
            const double x = left + c + 0.5;
            if (panel.decibels) {
                const double level = std::max(std::fabs(lo), std::fabs(hi));
                if (level <= 0)
                    continue;
                const double db = std::max(kFloorDb, 20.0 * std::log10(level));
                cairo_move_to(cr, x, plotBottom);
                cairo_line_to(cr, x, plotTop + (plotBottom - plotTop) * db / kFloorDb);
                continue;
            }
            cairo_move_to(cr, x, mid - hi * scale * half - 0.5);
            cairo_line_to(cr, x, mid - lo * scale * half + 0.5);
        }
        cairo_stroke(cr);
        if (!trace.label.empty()) {
            cairo_set_font_size(cr, 11);
            cairo_text_extents_t extents;
            cairo_text_extents(cr, trace.label.c_str(), &extents);
            legendX -= extents.width;
            drawText(cr, legendX, top + 16, trace.label, 11);
            legendX -= 16;
        }
    }
}

}  // namespace

void writePlotPng(const std::string& path, const std::string& title,
                  const std::vector<PlotPanel>& panels, int width, int panelHeight) {
    const int height = kTitleHeight + (int)panels.size() * panelHeight;
    std::unique_ptr<cairo_surface_t, SurfaceCloser> surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    std::unique_ptr<cairo_t, ContextCloser> context(cairo_create(surface.get()));
    cairo_t* cr = context.get();
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
    drawText(cr, kMarginLeft, 26, title, 17);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    for (size_t i = 0; i < panels.size(); ++i)
        drawPanel(cr, panels[i], kTitleHeight + (double)i * panelHeight, width, panelHeight);
    cairo_surface_flush(surface.get());
    const cairo_status_t status = cairo_surface_write_to_png(surface.get(), path.c_str());
    if (status != CAIRO_STATUS_SUCCESS)
        throw PlotError("cannot write " + path + ": " + cairo_status_to_string(status));
}

}  // namespace vsthost
