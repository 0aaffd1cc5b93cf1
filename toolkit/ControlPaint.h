// The look shared by the toolkit's controls (edit fields, spin buttons, combo
// boxes, push buttons, labels, menus, dialogs): one palette, one default font,
// and the few shapes that CDC has no call for (frames, arrows, check marks).
#pragma once

#include "toolkit/CDC.h"
#include "toolkit/WinDefs.h"

typedef struct _cairo cairo_t;
class CFont;
class CWnd;

namespace theme {
constexpr COLORREF Face = RGB(240, 240, 240);          // dialog and message-box background
constexpr COLORREF Field = RGB(255, 255, 255);         // edit fields, lists, menus
constexpr COLORREF FieldDisabled = RGB(244, 244, 244);
constexpr COLORREF Text = RGB(0, 0, 0);
constexpr COLORREF TextDisabled = RGB(150, 150, 150);
constexpr COLORREF TextSelected = RGB(255, 255, 255);
constexpr COLORREF Border = RGB(160, 160, 160);        // fields, lists, menus
constexpr COLORREF Accent = RGB(0, 120, 215);          // focus ring, selection, default button
constexpr COLORREF SelectionUnfocused = RGB(205, 205, 205);
constexpr COLORREF Hover = RGB(0, 120, 215);           // highlighted menu or list row
constexpr COLORREF ButtonFace = RGB(225, 225, 225);
constexpr COLORREF ButtonPressed = RGB(204, 228, 247);
constexpr COLORREF ButtonBorder = RGB(173, 173, 173);
constexpr COLORREF Arrow = RGB(64, 64, 64);
constexpr COLORREF ScrollTrack = RGB(236, 236, 236);
constexpr COLORREF ScrollThumb = RGB(190, 190, 190);
constexpr COLORREF Separator = RGB(215, 215, 215);
}  // namespace theme

// The font controls use unless SetFont gave them one: 9-point sans.
CFont* AfxGetControlFont();
// The font a window draws its text with: its own (SetFont) or the default.
CFont* AfxControlFontOf(const CWnd* window);

// Where one line of text goes to look centred between top and bottom: y for
// ExtTextOut (the baseline is y + the font's ascent) and the band the glyphs
// take (for the caret and the selection). The font's line height follows
// the face's bounding box, much taller than its letters, so the capitals
// are what is centred.
struct TextPlacement {
    int y;
    int baseline;
    int glyphTop;
    int glyphBottom;  // exclusive
};
TextPlacement CentreTextLine(CFont* font, int top, int bottom);

// Row heights of lists and menus, and the height of a closed combo box or a
// one-line field, for a font of pointSize points.
int ListRowHeight(int pointSize);
int FieldHeight(int pointSize);

enum class ArrowDirection { Up, Down, Left, Right };

// Draws into a DC's image with cairo, in the DC's coordinates and within its
// clip, at its scale (filled rectangles snap to whole device pixels). Does
// nothing for a DC without an image.
class ControlPainter {
public:
    explicit ControlPainter(CDC& dc);
    ~ControlPainter();
    ControlPainter(const ControlPainter&) = delete;
    ControlPainter& operator=(const ControlPainter&) = delete;

    void Fill(const CRect& rect, COLORREF color);
    // A frame of the given width just inside rect.
    void Frame(const CRect& rect, COLORREF color, int width = 1);
    // A filled triangle centred in rect, size pixels along its base.
    void Triangle(const CRect& rect, ArrowDirection direction, int size, COLORREF color);
    // A check mark centred in rect.
    void CheckMark(const CRect& rect, COLORREF color);
    // A vertical or horizontal 1-pixel line from (x0, y0) to (x1, y1),
    // both ends included.
    void Line(int x0, int y0, int x1, int y1, COLORREF color);

private:
    void SetColor(COLORREF color);
    CDC& m_dc;
    cairo_t* m_cr = nullptr;
};

// Text helpers over a measuring DC with a window's font.
class TextMeasure {
public:
    explicit TextMeasure(CFont* font);
    int Width(const char* text, int length) const;
    int Width(const char* text) const;
    int LineHeight() const;
    int Ascent() const;
    int PointSize() const;

private:
    mutable CDC m_dc;
    CFont* m_font;
};
