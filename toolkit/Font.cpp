// CFont: a fontconfig match drawn through cairo, with the face's own metrics.
#include <cairo-ft.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <cstring>

#include "toolkit/Gdi.h"

IMPLEMENT_DYNCREATE(CFont, CGdiObject)

namespace {

struct Metrics {
    int lineHeight;
    int ascent;
};

// The face's bounding-box height and ascender scaled to size pixels, both
// truncated; cairo's extents when the face has no outline units.
bool MeasureFace(cairo_font_face_t* face, int size, Metrics& metrics) {
    cairo_matrix_t fontMatrix, identity;
    cairo_matrix_init_scale(&fontMatrix, size, size);
    cairo_matrix_init_identity(&identity);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_scaled_font_t* scaled = cairo_scaled_font_create(face, &fontMatrix, &identity, options);
    cairo_font_options_destroy(options);
    bool ok = false;
    if (cairo_scaled_font_status(scaled) == CAIRO_STATUS_SUCCESS) {
        if (FT_Face ft = cairo_ft_scaled_font_lock_face(scaled)) {
            if (ft->units_per_EM > 0) {
                const double units = ft->units_per_EM;
                metrics.lineHeight = static_cast<int>((ft->bbox.yMax - ft->bbox.yMin) / units * size);
                metrics.ascent = static_cast<int>(ft->ascender / units * size - 2.0);
                ok = true;
            }
            cairo_ft_scaled_font_unlock_face(scaled);
        }
        if (!ok) {
            cairo_font_extents_t extents;
            cairo_scaled_font_extents(scaled, &extents);
            metrics.lineHeight = static_cast<int>(extents.height);
            metrics.ascent = static_cast<int>(extents.ascent - 2.0);
            ok = extents.height > 0;
        }
    }
    cairo_scaled_font_destroy(scaled);
    return ok;
}

// The best installed match for family (null: sans-serif alone), with grey
// antialiasing whatever the desktop settings say.
FcPattern* MatchFamily(const char* family, int size) {
    FcPattern* pattern = FcPatternCreate();
    if (!pattern) return nullptr;
    if (family && *family)
        FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family));
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>("sans-serif"));
    FcPatternAddDouble(pattern, FC_PIXEL_SIZE, size);
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result;
    FcPattern* match = FcFontMatch(nullptr, pattern, &result);
    FcPatternDestroy(pattern);
    if (!match) return nullptr;
    FcPatternDel(match, FC_ANTIALIAS);
    FcPatternDel(match, FC_RGBA);
    FcPatternAddBool(match, FC_ANTIALIAS, FcTrue);
    FcPatternAddInteger(match, FC_RGBA, FC_RGBA_NONE);
    return match;
}

}  // namespace

CFont::~CFont() { DeleteObject(); }

void CFont::ReleaseHandle(void* handle) {
    cairo_font_face_destroy(static_cast<cairo_font_face_t*>(handle));
}

BOOL CFont::CreatePointFont(int pointSize, LPCTSTR faceName, CDC* /*dc*/) {
    DeleteObject();
    if (pointSize < 1) pointSize = 1;
    if (pointSize > 1000) pointSize = 1000;
    m_pointSize = pointSize;
    m_faceName = faceName ? faceName : "";
    m_familyUsed.clear();
    m_lineHeight = 0;
    m_ascent = 0;
    // The face asked for, else the sans fallback: text is never left empty.
    const char* attempts[] = {m_faceName.c_str(), nullptr};
    for (const char* family : attempts) {
        FcPattern* match = MatchFamily(family, pointSize);
        if (!match) continue;
        cairo_font_face_t* face = cairo_ft_font_face_create_for_pattern(match);
        FcChar8* found = nullptr;
        std::string familyUsed;
        if (FcPatternGetString(match, FC_FAMILY, 0, &found) == FcResultMatch && found)
            familyUsed = reinterpret_cast<const char*>(found);
        FcPatternDestroy(match);
        Metrics metrics{};
        if (cairo_font_face_status(face) == CAIRO_STATUS_SUCCESS && MeasureFace(face, pointSize, metrics)) {
            Attach(face);
            m_familyUsed = familyUsed;
            m_lineHeight = metrics.lineHeight;
            m_ascent = metrics.ascent;
            return TRUE;
        }
        cairo_font_face_destroy(face);
    }
    // No usable font file at all: cairo's own sans face.
    cairo_font_face_t* toy =
        cairo_toy_font_face_create("sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    Metrics metrics{pointSize, pointSize - 2};
    MeasureFace(toy, pointSize, metrics);
    Attach(toy);
    m_familyUsed = "sans-serif";
    m_lineHeight = metrics.lineHeight;
    m_ascent = metrics.ascent;
    return TRUE;
}
