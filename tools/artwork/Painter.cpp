#include "tools/artwork/Painter.h"

#include <cmath>

#include "tools/artwork/Palette.h"

namespace artwork {

Colour Mix(Colour from, Colour to, double amount)
{
    auto lerp = [amount](double a, double b) { return a + (b - a) * amount; };
    return {lerp(from.r, to.r), lerp(from.g, to.g), lerp(from.b, to.b), lerp(from.a, to.a)};
}

Colour WithAlpha(Colour colour, double alpha)
{
    colour.a = alpha;
    return colour;
}

void SetColour(cairo_t* cr, Colour colour)
{
    cairo_set_source_rgba(cr, colour.r, colour.g, colour.b, colour.a);
}

void RoundedRect(cairo_t* cr, double x, double y, double w, double h, double radius)
{
    const double r = std::fmin(radius, std::fmin(w, h) / 2);
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -M_PI / 2, 0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0, M_PI / 2);
    cairo_arc(cr, x + r, y + h - r, r, M_PI / 2, M_PI);
    cairo_arc(cr, x + r, y + r, r, M_PI, 3 * M_PI / 2);
    cairo_close_path(cr);
}

void FillRect(cairo_t* cr, double x, double y, double w, double h, Colour colour)
{
    SetColour(cr, colour);
    cairo_rectangle(cr, x, y, w, h);
    cairo_fill(cr);
}

void SetVerticalGradient(cairo_t* cr, double top, double bottom, Colour upper, Colour lower)
{
    cairo_pattern_t* gradient = cairo_pattern_create_linear(0, top, 0, bottom);
    cairo_pattern_add_color_stop_rgba(gradient, 0, upper.r, upper.g, upper.b, upper.a);
    cairo_pattern_add_color_stop_rgba(gradient, 1, lower.r, lower.g, lower.b, lower.a);
    cairo_set_source(cr, gradient);
    cairo_pattern_destroy(gradient);
}

void DrawKeyCap(cairo_t* cr, double x, double y, double w, double h, double radius, bool pressed)
{
    using namespace palette;
    // Outline, which also reads as the cap's shadow on the plate.
    RoundedRect(cr, x, y, w, h, radius);
    SetColour(cr, kEdge);
    cairo_fill(cr);
    // Face: lit from above when up; a pressed cap sinks and loses its shine.
    RoundedRect(cr, x + 1, y + 1, w - 2, h - 2, radius - 0.5);
    if (pressed)
        SetVerticalGradient(cr, y, y + h, Mix(kCapDark, kEdge, 0.35), kCapDark);
    else
        SetVerticalGradient(cr, y, y + h, kCapLight, kCapDark);
    cairo_fill(cr);
    if (!pressed) {
        // A one-pixel highlight along the top edge.
        SetColour(cr, WithAlpha(Hex(0xffffff), 0.16));
        cairo_rectangle(cr, x + 1 + radius / 2, y + 1, w - 2 - radius, 1);
        cairo_fill(cr);
    }
}

void DrawLamp(cairo_t* cr, double x, double y, double w, double h, bool lit)
{
    using namespace palette;
    const double radius = std::fmin(w, h) / 2;
    RoundedRect(cr, x - 0.5, y - 0.5, w + 1, h + 1, radius + 0.5);
    SetColour(cr, WithAlpha(kEdge, 0.8));
    cairo_fill(cr);
    RoundedRect(cr, x, y, w, h, radius);
    if (lit) {
        cairo_pattern_t* glow = cairo_pattern_create_radial(x + w * 0.4, y + h * 0.35, 0,
                                                            x + w / 2, y + h / 2, std::fmax(w, h) * 0.7);
        const Colour hot = Mix(kAccent, Hex(0xffffff), 0.55);
        cairo_pattern_add_color_stop_rgb(glow, 0, hot.r, hot.g, hot.b);
        cairo_pattern_add_color_stop_rgb(glow, 0.6, kAccent.r, kAccent.g, kAccent.b);
        const Colour rim = Mix(kAccent, Hex(0x7a3c00), 0.45);
        cairo_pattern_add_color_stop_rgb(glow, 1, rim.r, rim.g, rim.b);
        cairo_set_source(cr, glow);
        cairo_pattern_destroy(glow);
    } else {
        SetVerticalGradient(cr, y, y + h, Mix(kAccentDark, kEdge, 0.5), kAccentDark);
    }
    cairo_fill(cr);
}

namespace {

void SelectFont(cairo_t* cr, const Font& font)
{
    cairo_select_font_face(cr, font.condensed ? "DejaVu Sans Condensed" : "DejaVu Sans",
                           CAIRO_FONT_SLANT_NORMAL,
                           font.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, font.size);
    // Grey antialiasing and unhinted metrics: the same layout at every scale.
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(cr, options);
    cairo_font_options_destroy(options);
}

double LetterAdvance(cairo_t* cr, const std::string& letter)
{
    cairo_text_extents_t extents;
    cairo_text_extents(cr, letter.c_str(), &extents);
    return extents.x_advance;
}

// UTF-8 letters, so that tracking spaces whole characters.
template <typename Visit>
void ForEachLetter(const std::string& text, Visit visit)
{
    for (size_t i = 0; i < text.size();) {
        size_t length = 1;
        while (i + length < text.size() && (static_cast<unsigned char>(text[i + length]) & 0xC0) == 0x80)
            length++;
        visit(text.substr(i, length));
        i += length;
    }
}

}  // namespace

double TextWidth(cairo_t* cr, const Font& font, const std::string& text)
{
    cairo_save(cr);
    SelectFont(cr, font);
    double width = 0;
    int letters = 0;
    ForEachLetter(text, [&](const std::string& letter) {
        width += LetterAdvance(cr, letter);
        letters++;
    });
    cairo_restore(cr);
    return letters > 1 ? width + font.tracking * (letters - 1) : width;
}

void DrawText(cairo_t* cr, const Font& font, Colour colour, double x, double baseline,
              const std::string& text, Align align)
{
    const double width = TextWidth(cr, font, text);
    if (align == Align::Centre)
        x -= width / 2;
    else if (align == Align::Right)
        x -= width;
    cairo_save(cr);
    SelectFont(cr, font);
    SetColour(cr, colour);
    ForEachLetter(text, [&](const std::string& letter) {
        cairo_move_to(cr, x, baseline);
        cairo_show_text(cr, letter.c_str());
        x += LetterAdvance(cr, letter) + font.tracking;
    });
    cairo_restore(cr);
}

}  // namespace artwork
