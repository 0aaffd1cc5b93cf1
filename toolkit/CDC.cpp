// Device contexts over cairo image surfaces: raster operations on the 32-bit
// pixels, solid fills, and text through the selected font.
#include "toolkit/CDC.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "toolkit/CWnd.h"
#include "toolkit/DeviceScale.h"
#include "toolkit/Gdi.h"
#include "toolkit/WindowTree.h"

IMPLEMENT_DYNCREATE(CDC, CObject)

namespace {

CRect SurfaceBounds(cairo_surface_t* surface) {
    if (!surface || cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE) return CRect();
    return CRect(0, 0, cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface));
}

bool Has32BitPixels(cairo_surface_t* surface) {
    if (!surface || cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE) return false;
    const cairo_format_t format = cairo_image_surface_get_format(surface);
    return format == CAIRO_FORMAT_RGB24 || format == CAIRO_FORMAT_ARGB32;
}

inline uint32_t* PixelAt(cairo_surface_t* surface, int x, int y) {
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    return reinterpret_cast<uint32_t*>(data + static_cast<size_t>(y) * stride) + x;
}

inline uint32_t PixelOf(COLORREF color) {
    return 0xFF000000u | (static_cast<uint32_t>(GetRValue(color)) << 16) |
           (static_cast<uint32_t>(GetGValue(color)) << 8) | static_cast<uint32_t>(GetBValue(color));
}

// One pixel of a raster operation. RGB24 targets keep their unused byte at
// 0xFF; ARGB32 targets take the source's alpha on a copy and keep their own
// otherwise.
inline uint32_t Combine(uint32_t d, uint32_t s, DWORD rop, bool targetHasAlpha, bool sourceHasAlpha) {
    uint32_t rgb;
    switch (rop) {
    case SRCINVERT: rgb = d ^ s; break;
    case SRCAND: rgb = d & s; break;
    case SRCPAINT: rgb = d | s; break;
    default: rgb = s; break;
    }
    rgb &= 0x00FFFFFFu;
    uint32_t alpha = 0xFF000000u;
    if (targetHasAlpha) {
        if (rop == SRCCOPY)
            alpha = sourceHasAlpha ? (s & 0xFF000000u) : 0xFF000000u;
        else
            alpha = d & 0xFF000000u;
    }
    return rgb | alpha;
}

CFont& DefaultFont() {
    static CFont font;
    if (!font.GetSafeHandle()) font.CreatePointFont(12, "sans-serif");
    return font;
}

cairo_font_options_t* TextOptions() {
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_subpixel_order(options, CAIRO_SUBPIXEL_ORDER_DEFAULT);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_ON);
    return options;
}

size_t Utf8Length(unsigned char lead) {
    if (lead < 0x80) return 1;
    if ((lead & 0xE0) == 0xC0) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    if ((lead & 0xF8) == 0xF0) return 4;
    return 1;
}

std::string TextOf(const char* text, int length) {
    if (!text || length == 0) return std::string();
    size_t n = std::strlen(text);
    if (length > 0 && static_cast<size_t>(length) < n) n = static_cast<size_t>(length);
    return std::string(text, n);
}

}  // namespace

CDC::CDC() = default;

CDC::~CDC() { DeleteDC(); }

BOOL CDC::CreateDC(LPCTSTR driver, LPCTSTR, LPCTSTR, const void*) {
    if (!driver || std::strcmp(driver, "DISPLAY") != 0) return FALSE;
    m_measureOnly = true;
    return TRUE;
}

BOOL CDC::CreateCompatibleDC(CDC* dc) {
    m_measureOnly = false;
    m_target = nullptr;
    m_scale = dc ? dc->m_scale : 1.0;
    return TRUE;
}

BOOL CDC::CreateBitmapDC(int width, int height) {
    auto* bitmap = new CBitmap;
    if (!bitmap->CreateBitmap(width, height, m_scale)) {
        delete bitmap;
        return FALSE;
    }
    if (m_ownBitmap) {
        if (m_bitmap == m_ownBitmap) m_bitmap = nullptr;
        delete m_ownBitmap;
    }
    m_ownBitmap = bitmap;
    m_measureOnly = false;
    m_target = nullptr;
    SelectObject(bitmap);
    return TRUE;
}

BOOL CDC::DeleteDC() {
    m_bitmap = nullptr;
    m_font = nullptr;
    m_target = nullptr;
    delete m_ownBitmap;
    m_ownBitmap = nullptr;
    return TRUE;
}

CBitmap* CDC::SelectObject(CBitmap* bitmap) {
    CBitmap* previous = m_bitmap;
    m_bitmap = bitmap;
    if (!m_target) {
        m_origin = CPoint(0, 0);
        m_clip = bitmap ? SurfaceBounds(bitmap->GetSurface()) : CRect();
        if (bitmap) m_scale = bitmap->GetScale();
    }
    return previous;
}

CFont* CDC::SelectObject(CFont* font) {
    CFont* previous = m_font;
    m_font = font;
    return previous;
}

void CDC::AttachTarget(cairo_surface_t* target, CPoint origin, const CRect& clip, double scale) {
    m_target = target;
    m_origin = origin;
    m_scale = scale;
    m_clip = rect::Intersect(device::ToDevice(clip, scale), SurfaceBounds(target));
    m_measureOnly = false;
}

void CDC::NarrowClip(const CRect& deviceClip) { m_clip = rect::Intersect(m_clip, deviceClip); }

CRect CDC::ToDevice(const CRect& logical) const {
    return device::ToDevice(rect::Offset(logical, m_origin), m_scale);
}

cairo_surface_t* CDC::GetTargetSurface() const {
    if (m_target) return m_target;
    return m_bitmap ? m_bitmap->GetSurface() : nullptr;
}

BOOL CDC::BitBlt(int x, int y, int w, int h, CDC* source, int sx, int sy, DWORD rop) {
    return StretchBlt(x, y, w, h, source, sx, sy, w, h, rop);
}

BOOL CDC::StretchBlt(int x, int y, int w, int h, CDC* source, int sx, int sy, int sw, int sh,
                     DWORD rop) {
    cairo_surface_t* target = GetTargetSurface();
    const bool fill = rop == BLACKNESS || rop == WHITENESS;
    cairo_surface_t* image = source ? source->GetTargetSurface() : nullptr;
    if (!fill && !image) {
        std::fprintf(stderr, "BitBlt null source image (rop %08x)\n", static_cast<unsigned>(rop));
        return FALSE;
    }
    if (!Has32BitPixels(target) || w <= 0 || h <= 0) return FALSE;
    if (fill) {
        FillSolidRect(x, y, w, h, rop == BLACKNESS ? RGB(0, 0, 0) : RGB(255, 255, 255));
        return TRUE;
    }
    if (!Has32BitPixels(image) || sw <= 0 || sh <= 0) return FALSE;
    if (rop != SRCCOPY && rop != SRCINVERT && rop != SRCAND && rop != SRCPAINT) return FALSE;

    const CRect srcBounds = rect::Intersect(SurfaceBounds(image), source->m_target ? source->m_clip
                                                                                 : SurfaceBounds(image));
    // Destination pixels that may change, in target coordinates, and the
    // source's device pixels they come from: the same count when the scales
    // agree and nothing stretches, so that rounding never resamples.
    const CRect dest = ToDevice(CRect(x, y, x + w, y + h));
    CRect from = source->ToDevice(CRect(sx, sy, sx + sw, sy + sh));
    if (sw == w && sh == h && source->m_scale == m_scale) {
        from.right = from.left + dest.Width();
        from.bottom = from.top + dest.Height();
    }
    const CRect area = rect::Intersect(rect::Intersect(dest, m_clip), SurfaceBounds(target));
    if (area.IsRectEmpty() || dest.IsRectEmpty() || from.IsRectEmpty()) return TRUE;
    const int dw = dest.Width(), dh = dest.Height();
    const int fw = from.Width(), fh = from.Height();

    cairo_surface_flush(target);
    cairo_surface_flush(image);
    const bool targetAlpha = cairo_image_surface_get_format(target) == CAIRO_FORMAT_ARGB32;
    const bool sourceAlpha = cairo_image_surface_get_format(image) == CAIRO_FORMAT_ARGB32;

    // Source column and row for each destination one (nearest pixel,
    // sampled at pixel centres); -1 outside the source.
    std::vector<int> columns(static_cast<size_t>(area.Width()));
    for (int tx = area.left; tx < area.right; ++tx) {
        const int64_t i = tx - dest.left;
        const int64_t column = from.left + (fw == dw ? i : (2 * i + 1) * fw / (2 * int64_t(dw)));
        columns[static_cast<size_t>(tx - area.left)] =
            column >= srcBounds.left && column < srcBounds.right ? static_cast<int>(column) : -1;
    }
    // Unscaled copies, most of what an editor paints, take whole runs of
    // pixels at a time: the source columns are consecutive.
    int runStart = area.right, runEnd = area.left;
    if (fw == dw && rop == SRCCOPY) {
        for (int tx = area.left; tx < area.right; ++tx)
            if (columns[static_cast<size_t>(tx - area.left)] >= 0) {
                runStart = std::min(runStart, tx);
                runEnd = tx + 1;
            }
    }
    const bool copyRuns = runStart < runEnd;
    // Copy the source rows first when blitting within one image.
    std::vector<uint32_t> rowCopy;
    for (int ty = area.top; ty < area.bottom; ++ty) {
        const int64_t j = ty - dest.top;
        const int64_t row = from.top + (fh == dh ? j : (2 * j + 1) * fh / (2 * int64_t(dh)));
        if (row < srcBounds.top || row >= srcBounds.bottom) continue;
        const uint32_t* sourceRow = PixelAt(image, 0, static_cast<int>(row));
        if (image == target) {
            rowCopy.assign(sourceRow, sourceRow + cairo_image_surface_get_width(image));
            sourceRow = rowCopy.data();
        }
        uint32_t* out = PixelAt(target, 0, ty);
        if (copyRuns) {
            const uint32_t* in = sourceRow + columns[static_cast<size_t>(runStart - area.left)];
            const int count = runEnd - runStart;
            if (targetAlpha && sourceAlpha) {
                std::memcpy(out + runStart, in, static_cast<size_t>(count) * 4);
            } else {
                for (int i = 0; i < count; ++i) out[runStart + i] = in[i] | 0xFF000000u;
            }
            continue;
        }
        for (int tx = area.left; tx < area.right; ++tx) {
            const int column = columns[static_cast<size_t>(tx - area.left)];
            if (column < 0) continue;
            out[tx] = Combine(out[tx], sourceRow[column], rop, targetAlpha, sourceAlpha);
        }
    }
    cairo_surface_mark_dirty_rectangle(target, area.left, area.top, area.Width(), area.Height());
    Touched(area);
    return TRUE;
}

void CDC::FillSolidRect(const RECT* r, COLORREF color) {
    if (r) FillSolidRect(r->left, r->top, r->right - r->left, r->bottom - r->top, color);
}

void CDC::FillSolidRect(int x, int y, int w, int h, COLORREF color) {
    cairo_surface_t* target = GetTargetSurface();
    if (!Has32BitPixels(target) || w <= 0 || h <= 0) return;
    const CRect dest = ToDevice(CRect(x, y, x + w, y + h));
    const CRect area = rect::Intersect(rect::Intersect(dest, m_clip), SurfaceBounds(target));
    if (area.IsRectEmpty()) return;
    cairo_surface_flush(target);
    const uint32_t pixel = PixelOf(color);
    for (int ty = area.top; ty < area.bottom; ++ty) {
        uint32_t* row = PixelAt(target, 0, ty);
        std::fill(row + area.left, row + area.right, pixel);
    }
    cairo_surface_mark_dirty_rectangle(target, area.left, area.top, area.Width(), area.Height());
    Touched(area);
}

COLORREF CDC::SetTextColor(COLORREF color) {
    const COLORREF previous = m_textColor;
    m_textColor = color;
    return previous;
}

COLORREF CDC::SetBkColor(COLORREF color) {
    const COLORREF previous = m_bkColor;
    m_bkColor = color;
    return previous;
}

int CDC::SetBkMode(int mode) {
    const int previous = m_bkMode;
    if (mode == TRANSPARENT || mode == OPAQUE) m_bkMode = mode;
    return previous;
}

BOOL CDC::TextOut(int x, int y, const char* text, int length) {
    return ExtTextOut(x, y, 0, nullptr, text, length, nullptr);
}

BOOL CDC::ExtTextOut(int x, int y, UINT options, const RECT* r, const CString& text,
                     const int* widths) {
    return ExtTextOut(x, y, options, r, text, text.GetLength(), widths);
}

BOOL CDC::ExtTextOut(int x, int y, UINT options, const RECT* r, const char* text, int length,
                     const int* widths) {
    cairo_surface_t* target = GetTargetSurface();
    if (m_measureOnly || !target) return TRUE;
    if ((options & ETO_OPAQUE) && r) FillSolidRect(r, m_bkColor);
    const std::string s = TextOf(text, length);
    if (s.empty()) return TRUE;

    CFont* font = m_font && m_font->GetFace() ? m_font : &DefaultFont();
    CRect clip = m_clip;
    if ((options & ETO_CLIPPED) && r) clip = rect::Intersect(clip, ToDevice(CRect(*r)));
    if (clip.IsRectEmpty()) return TRUE;

    cairo_t* cr = cairo_create(target);
    cairo_rectangle(cr, clip.left, clip.top, clip.Width(), clip.Height());
    cairo_clip(cr);
    // Glyphs rasterised at the device size, placed in logical units.
    cairo_scale(cr, m_scale, m_scale);
    cairo_translate(cr, m_origin.x, m_origin.y);
    cairo_set_font_face(cr, font->GetFace());
    cairo_set_font_size(cr, font->GetPointSize());
    cairo_font_options_t* fontOptions = TextOptions();
    cairo_set_font_options(cr, fontOptions);
    cairo_font_options_destroy(fontOptions);
    cairo_set_source_rgb(cr, GetRValue(m_textColor) / 255.0, GetGValue(m_textColor) / 255.0,
                         GetBValue(m_textColor) / 255.0);
    const double baseline = y + font->GetAscent();
    CRect inked;
    auto draw = [&](const std::string& piece, double at) {
        cairo_text_extents_t ink;
        cairo_text_extents(cr, piece.c_str(), &ink);
        cairo_move_to(cr, at, baseline);
        cairo_show_text(cr, piece.c_str());
        const CRect box(static_cast<int>(std::floor(at + ink.x_bearing)) - 1,
                        static_cast<int>(std::floor(baseline + ink.y_bearing)) - 1,
                        static_cast<int>(std::ceil(at + ink.x_bearing + ink.width)) + 1,
                        static_cast<int>(std::ceil(baseline + ink.y_bearing + ink.height)) + 1);
        inked = rect::Union(inked, box);
    };
    if (widths) {
        // Each character at its given advance.
        double at = x;
        for (size_t i = 0; i < s.size();) {
            const size_t n = std::min(Utf8Length(static_cast<unsigned char>(s[i])), s.size() - i);
            draw(s.substr(i, n), at);
            at += widths[i];
            i += n;
        }
    } else {
        draw(s, x);
    }
    cairo_destroy(cr);
    cairo_surface_flush(target);
    const CRect touched = rect::Intersect(ToDevice(inked), clip);
    if (!touched.IsRectEmpty()) Touched(touched);
    return TRUE;
}

CSize CDC::GetTextExtent(const char* text, int length) const {
    CFont* font = m_font && m_font->GetFace() ? m_font : &DefaultFont();
    const std::string s = TextOf(text, length);
    if (s.empty()) return CSize(0, font->GetLineHeight());
    cairo_matrix_t fontMatrix, identity;
    cairo_matrix_init_scale(&fontMatrix, font->GetPointSize(), font->GetPointSize());
    cairo_matrix_init_identity(&identity);
    cairo_font_options_t* options = TextOptions();
    cairo_scaled_font_t* scaled =
        cairo_scaled_font_create(font->GetFace(), &fontMatrix, &identity, options);
    cairo_font_options_destroy(options);
    cairo_text_extents_t extents{};
    if (cairo_scaled_font_status(scaled) == CAIRO_STATUS_SUCCESS)
        cairo_scaled_font_text_extents(scaled, s.c_str(), &extents);
    cairo_scaled_font_destroy(scaled);
    return CSize(static_cast<int>(std::lround(extents.x_advance)), font->GetLineHeight());
}

CSize CDC::GetTextExtent(const CString& text) const { return GetTextExtent(text, text.GetLength()); }

CClientDC::CClientDC(CWnd* window) : m_window(window) {
    if (!window || !window->GetSafeHwnd()) return;
    m_hwnd = window->GetSafeHwnd();
    CWnd* root = WindowTree::RootOf(window);
    RootData* data = WindowTree::Root(root);
    if (!data || !data->buffer) return;
    AttachTarget(data->buffer, WindowTree::OffsetInRoot(window), WindowTree::VisibleRectInRoot(window),
                 WindowTree::Scale(root));
}

CClientDC::~CClientDC() {
    if (!m_touched.IsEmpty()) WindowTree::WindowDrawn(m_hwnd, m_touched);
}

void CClientDC::Touched(const CRect& area) { m_touched.Add(area); }

CPaintDC::CPaintDC(CWnd* window) : CClientDC(window) {
    if (!GetTargetSurface() || !window) return;
    const CRect update = window->GetUpdateRect();
    if (!update.IsRectEmpty()) NarrowClip(ToDevice(update));
}

CPaintDC::~CPaintDC() = default;
