// Small drawing vocabulary shared by all pictures: colours, rounded shapes,
// bevels and text. Every picture draws in 1x units; the scale lives in the
// cairo matrix, so the same calls produce the 2x set.
#pragma once

#include <cairo.h>

#include <string>

namespace artwork {

struct Colour {
    double r, g, b, a;
};

constexpr Colour Hex(unsigned rgb, double alpha = 1.0)
{
    return {((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0, (rgb & 0xFF) / 255.0, alpha};
}

Colour Mix(Colour from, Colour to, double amount);
Colour WithAlpha(Colour colour, double alpha);

void SetColour(cairo_t* cr, Colour colour);
void RoundedRect(cairo_t* cr, double x, double y, double w, double h, double radius);
void FillRect(cairo_t* cr, double x, double y, double w, double h, Colour colour);
// A top-to-bottom gradient as the current source.
void SetVerticalGradient(cairo_t* cr, double top, double bottom, Colour upper, Colour lower);

// A raised key cap filling (x, y, w, h): lit from the top left, darker and
// flatter when pressed.
void DrawKeyCap(cairo_t* cr, double x, double y, double w, double h, double radius, bool pressed);

// A small lamp: lit with a soft halo, or dark glass.
void DrawLamp(cairo_t* cr, double x, double y, double w, double h, bool lit);

struct Font {
    double size;
    bool bold;
    bool condensed;
    double tracking;  // extra space after each letter
};

enum class Align { Left, Centre, Right };

double TextWidth(cairo_t* cr, const Font& font, const std::string& text);
void DrawText(cairo_t* cr, const Font& font, Colour colour, double x, double baseline,
              const std::string& text, Align align);

}  // namespace artwork
