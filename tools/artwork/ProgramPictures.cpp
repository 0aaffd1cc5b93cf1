// The program area's pictures (save button, modified lamp) and the logo.
#include "tools/artwork/Metrics.h"
#include "tools/artwork/Palette.h"
#include "tools/artwork/Picture.h"

namespace artwork {
namespace {

using namespace palette;
using namespace metrics;

const Font kButtonFont{7.5, true, false, 0.6};
const Font kLampKeyFont{7.5, true, true, 0.3};

// A 43 x 16 key with a lamp at its left and a word beside it.
void DrawLampKey(cairo_t* cr, const char* word, bool lit)
{
    FillRect(cr, 0, 0, kModifiedWidth, kModifiedHeight, kPlate);
    DrawKeyCap(cr, 0, 0, kModifiedWidth, kModifiedHeight, 2, false);
    DrawLamp(cr, 4, 6, 4, 4, lit);
    const Colour ink = lit ? Mix(kAccent, Hex(0xffffff), 0.2) : Mix(kLabelDim, kCapDark, 0.15);
    DrawText(cr, kLampKeyFont, ink, 25, 11, word, Align::Centre);
}

}  // namespace

void DrawSaveButton(cairo_t* cr)
{
    FillRect(cr, 0, 0, kSaveWidth, kSaveHeight, kPlate);
    DrawKeyCap(cr, 0, 0, kSaveWidth, kSaveHeight, 2, false);
    // Engraved word: a dark shadow above, the light face below it.
    DrawText(cr, kButtonFont, WithAlpha(kEdge, 0.6), kSaveWidth / 2.0, 10.5, "SAVE", Align::Centre);
    DrawText(cr, kButtonFont, kLabel, kSaveWidth / 2.0, 11, "SAVE", Align::Centre);
}

// Upper half: the program is as loaded (dim). Lower half: it has been edited;
// the lit lamp says a click brings the loaded settings back.
void DrawModifiedLamp(cairo_t* cr)
{
    DrawLampKey(cr, "REVERT", false);
    cairo_save(cr);
    cairo_translate(cr, 0, kModifiedHeight);
    DrawLampKey(cr, "REVERT", true);
    cairo_restore(cr);
}

void DrawLogo(cairo_t* cr)
{
    FillRect(cr, 0, 0, kLogoWidth, kLogoHeight, kPlate);
    const Font font{12, true, false, 0};
    const double tapWidth = TextWidth(cr, font, "Tap");
    const double x = (kLogoWidth - TextWidth(cr, font, "TapDelay")) / 2;
    DrawText(cr, font, kAccent, x, 12.5, "Tap", Align::Left);
    DrawText(cr, font, kLabel, x + tapWidth, 12.5, "Delay", Align::Left);
}

}  // namespace artwork
