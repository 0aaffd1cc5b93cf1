#include "toolkit/ControlPaint.h"

#include <cairo.h>

#include <algorithm>
#include <cstring>

#include "toolkit/CWnd.h"
#include "toolkit/Gdi.h"

CFont* AfxGetControlFont() {
    static CFont font;
    static const bool created = font.CreatePointFont(9, "sans-serif");
    (void)created;
    return &font;
}

CFont* AfxControlFontOf(const CWnd* window) {
    CFont* own = window ? window->GetFont() : nullptr;
    return own ? own : AfxGetControlFont();
}

TextPlacement CentreTextLine(CFont* font, int top, int bottom) {
    if (!font) font = AfxGetControlFont();
    const int size = std::max(1, font->GetPointSize());
    // Capitals of a sans face stand about 0.72 em, ascenders 0.95 em,
    // descenders 0.24 em.
    const int capHeight = (size * 72 + 50) / 100;
    const int baseline = top + (bottom - top + capHeight + 1) / 2;
    TextPlacement place;
    place.baseline = baseline;
    place.y = baseline - font->GetAscent();
    place.glyphTop = baseline - (size * 95 + 50) / 100 - 1;
    place.glyphBottom = baseline + (size * 24 + 50) / 100 + 2;
    return place;
}

int ListRowHeight(int pointSize) { return std::max(18, pointSize + 9); }

int FieldHeight(int pointSize) { return std::max(22, pointSize + 13); }

ControlPainter::ControlPainter(CDC& dc) : m_dc(dc) {
    cairo_surface_t* target = dc.GetTargetSurface();
    if (!target || cairo_surface_status(target) != CAIRO_STATUS_SUCCESS) return;
    m_cr = cairo_create(target);
    const CRect clip = dc.GetClip();
    cairo_rectangle(m_cr, clip.left, clip.top, clip.Width(), clip.Height());
    cairo_clip(m_cr);
    cairo_scale(m_cr, dc.GetScale(), dc.GetScale());
    const CPoint origin = dc.GetOrigin();
    cairo_translate(m_cr, origin.x, origin.y);
    cairo_set_antialias(m_cr, CAIRO_ANTIALIAS_DEFAULT);
}

ControlPainter::~ControlPainter() {
    if (m_cr) cairo_destroy(m_cr);
}

void ControlPainter::SetColor(COLORREF color) {
    cairo_set_source_rgb(m_cr, GetRValue(color) / 255.0, GetGValue(color) / 255.0,
                         GetBValue(color) / 255.0);
}

void ControlPainter::Fill(const CRect& rect, COLORREF color) {
    if (!m_cr || rect.IsRectEmpty()) return;
    SetColor(color);
    const CRect pixels = m_dc.ToDevice(rect);
    cairo_save(m_cr);
    cairo_identity_matrix(m_cr);
    cairo_rectangle(m_cr, pixels.left, pixels.top, pixels.Width(), pixels.Height());
    cairo_fill(m_cr);
    cairo_restore(m_cr);
}

void ControlPainter::Frame(const CRect& rect, COLORREF color, int width) {
    if (!m_cr || rect.IsRectEmpty() || width <= 0) return;
    // Four filled bands keep the edges on whole pixels.
    const int w = std::min({width, rect.Width(), rect.Height()});
    Fill(CRect(rect.left, rect.top, rect.right, rect.top + w), color);
    Fill(CRect(rect.left, rect.bottom - w, rect.right, rect.bottom), color);
    Fill(CRect(rect.left, rect.top + w, rect.left + w, rect.bottom - w), color);
    Fill(CRect(rect.right - w, rect.top + w, rect.right, rect.bottom - w), color);
}

void ControlPainter::Line(int x0, int y0, int x1, int y1, COLORREF color) {
    Fill(CRect(std::min(x0, x1), std::min(y0, y1), std::max(x0, x1) + 1, std::max(y0, y1) + 1),
         color);
}

void ControlPainter::Triangle(const CRect& rect, ArrowDirection direction, int size,
                              COLORREF color) {
    if (!m_cr || size <= 0) return;
    const double cx = (rect.left + rect.right) / 2.0;
    const double cy = (rect.top + rect.bottom) / 2.0;
    const double half = size / 2.0;
    const double depth = size / 2.0;
    SetColor(color);
    switch (direction) {
    case ArrowDirection::Down:
        cairo_move_to(m_cr, cx - half, cy - depth / 2);
        cairo_line_to(m_cr, cx + half, cy - depth / 2);
        cairo_line_to(m_cr, cx, cy + depth / 2);
        break;
    case ArrowDirection::Up:
        cairo_move_to(m_cr, cx - half, cy + depth / 2);
        cairo_line_to(m_cr, cx + half, cy + depth / 2);
        cairo_line_to(m_cr, cx, cy - depth / 2);
        break;
    case ArrowDirection::Right:
        cairo_move_to(m_cr, cx - depth / 2, cy - half);
        cairo_line_to(m_cr, cx - depth / 2, cy + half);
        cairo_line_to(m_cr, cx + depth / 2, cy);
        break;
    case ArrowDirection::Left:
        cairo_move_to(m_cr, cx + depth / 2, cy - half);
        cairo_line_to(m_cr, cx + depth / 2, cy + half);
        cairo_line_to(m_cr, cx - depth / 2, cy);
        break;
    }
    cairo_close_path(m_cr);
    cairo_fill(m_cr);
}

void ControlPainter::CheckMark(const CRect& rect, COLORREF color) {
    if (!m_cr) return;
    const double cx = (rect.left + rect.right) / 2.0;
    const double cy = (rect.top + rect.bottom) / 2.0;
    SetColor(color);
    cairo_set_line_width(m_cr, 1.6);
    cairo_set_line_cap(m_cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(m_cr, CAIRO_LINE_JOIN_ROUND);
    cairo_move_to(m_cr, cx - 4.0, cy + 0.5);
    cairo_line_to(m_cr, cx - 1.5, cy + 3.0);
    cairo_line_to(m_cr, cx + 4.0, cy - 3.5);
    cairo_stroke(m_cr);
}

TextMeasure::TextMeasure(CFont* font) : m_font(font ? font : AfxGetControlFont()) {
    m_dc.CreateDC("DISPLAY");
    m_dc.SelectObject(m_font);
}

int TextMeasure::Width(const char* text, int length) const {
    if (!text || length <= 0) return 0;
    return m_dc.GetTextExtent(text, length).cx;
}

int TextMeasure::Width(const char* text) const {
    return text ? Width(text, static_cast<int>(std::strlen(text))) : 0;
}

int TextMeasure::LineHeight() const { return m_font->GetLineHeight(); }

int TextMeasure::Ascent() const { return m_font->GetAscent(); }

int TextMeasure::PointSize() const { return m_font->GetPointSize(); }
