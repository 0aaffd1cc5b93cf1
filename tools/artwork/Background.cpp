// The background (3005): raised plates on a dark chassis, the headings and
// labels, the meter wells and scales, and the pale windows behind the value
// texts that the editor draws at run time.
#include <cmath>
#include <string>

#include "tools/artwork/Layout.h"
#include "tools/artwork/Metrics.h"
#include "tools/artwork/Palette.h"
#include "tools/artwork/Picture.h"

namespace artwork {
namespace {

using namespace palette;
using namespace layout;

const Font kTitleFont{7.5, true, false, 1.2};
const Font kStripTitleFont{7.5, true, false, 0.4};
const Font kHeadingFont{7, true, false, 0.7};
const Font kUnitFont{6.5, false, false, 0.3};
const Font kScaleFont{6, false, true, 0};
const Font kTapNumberFont{10, true, false, 0};

// Plates: flat (the controls' own pictures share their colour), with a lit
// top-left edge and a shaded bottom-right edge.
constexpr Box kHeaderPlate{4, 3, 796, 33};
constexpr Box kInputPlate{4, 37, 53, 357};
constexpr Box kOutputPlate{747, 37, 796, 357};
constexpr Box kGlobalPlate{56, 305, 744, 357};
constexpr int kDelayPlateLeft = 56, kDelayPlateRight = 415;
constexpr int kFilterPlateLeft = 417, kFilterPlateRight = 744;
constexpr int RowPlateTop(int tap) { return 70 + kRowPitch * tap; }
constexpr int RowPlateBottom(int tap) { return 106 + kRowPitch * tap; }

void DrawPlate(cairo_t* cr, const Box& box)
{
    FillRect(cr, box.left, box.top, box.Width(), box.Height(), kPlate);
    FillRect(cr, box.left, box.top, box.Width(), 1, WithAlpha(Hex(0xffffff), 0.07));
    FillRect(cr, box.left, box.top + 1, 1, box.Height() - 1, WithAlpha(Hex(0xffffff), 0.04));
    FillRect(cr, box.left, box.bottom - 1, box.Width(), 1, WithAlpha(kEdge, 0.55));
    FillRect(cr, box.right - 1, box.top, 1, box.Height() - 1, WithAlpha(kEdge, 0.35));
}

// A window cut into the plate: dark rim, a shaded inner top edge, and a lit
// lip below, so it reads as recessed under the same top-left light.
//
// The editor's 9-point text lands with its baseline 9 rows below the top of
// a 16-row value box (the toolkit's line height 15 and ascent 6 for the face),
// so its digits fill rows 3 to 8 and descenders reach row 11. The window sits
// one row higher and ends two rows earlier than the box to frame the text
// evenly; the text never reaches the rows left out.
void DrawDisplayWindow(cairo_t* cr, const Box& text)
{
    const Box box{text.left, text.top - 1, text.right, text.bottom - 2};
    FillRect(cr, box.left - 1, box.top - 1, box.Width() + 2, box.Height() + 2, kEdge);
    FillRect(cr, box.left - 1, box.bottom + 1, box.Width() + 2, 1, WithAlpha(Hex(0xffffff), 0.08));
    FillRect(cr, box.left, box.top, box.Width(), box.Height(), kDisplay);
    FillRect(cr, box.left, box.top, box.Width(), 1, kDisplayShade);
    FillRect(cr, box.left, box.top + 1, 1, box.Height() - 1, Mix(kDisplay, kDisplayShade, 0.5));
}

// A section title centred over [left, right) with rules out to both ends.
void DrawGroupTitle(cairo_t* cr, const std::string& title, double left, double right, double baseline)
{
    const double centre = (left + right) / 2;
    const double half = TextWidth(cr, kTitleFont, title) / 2 + 5;
    DrawText(cr, kTitleFont, kLabel, centre, baseline, title, Align::Centre);
    const double y = std::floor(baseline - 3) + 0.5;
    cairo_set_line_width(cr, 1);
    SetColour(cr, WithAlpha(kLabelDim, 0.6));
    for (const auto& [from, to] : {std::pair{left, centre - half}, std::pair{centre + half, right}}) {
        cairo_move_to(cr, from, y);
        cairo_line_to(cr, to, y);
    }
    cairo_move_to(cr, left + 0.5, y);
    cairo_line_to(cr, left + 0.5, y + 3);
    cairo_move_to(cr, right - 0.5, y);
    cairo_line_to(cr, right - 0.5, y + 3);
    cairo_stroke(cr);
}

// A column heading with an optional unit in smaller, dimmer type.
void DrawHeading(cairo_t* cr, const std::string& name, const std::string& unit, double centre, double baseline)
{
    const double gap = unit.empty() ? 0 : 3;
    const double nameWidth = TextWidth(cr, kHeadingFont, name);
    const double width = nameWidth + gap + (unit.empty() ? 0 : TextWidth(cr, kUnitFont, unit));
    const double x = centre - width / 2;
    DrawText(cr, kHeadingFont, kLabel, x, baseline, name, Align::Left);
    if (!unit.empty())
        DrawText(cr, kUnitFont, kLabelDim, x + nameWidth + gap, baseline, unit, Align::Left);
}

double Centre(Span span) { return (span.left + span.right) / 2.0; }
double Centre(Span from, Span to) { return (from.left + to.right) / 2.0; }

void DrawHeader(cairo_t* cr)
{
    DrawPlate(cr, kHeaderPlate);
    DrawText(cr, kHeadingFont, kLabel, kCopyButton.right + 5, 21, "COPY FROM", Align::Left);
    // Product name at the right, the tag line before it on the same baseline.
    const Font nameFont{18, true, false, 0};
    const double right = 786, baseline = 25;
    const double delayWidth = TextWidth(cr, nameFont, "Delay");
    const double tapWidth = TextWidth(cr, nameFont, "Tap");
    DrawText(cr, nameFont, kLabel, right, baseline, "Delay", Align::Right);
    DrawText(cr, nameFont, kAccent, right - delayWidth, baseline, "Tap", Align::Right);
    DrawText(cr, Font{6.5, false, false, 1.4}, kLabelDim, right - delayWidth - tapWidth - 12, baseline - 1,
             "SIX-TAP STEREO DELAY", Align::Right);
}

void DrawColumnHeadings(cairo_t* cr)
{
    const double titleBaseline = 47, headingBaseline = 64;
    DrawGroupTitle(cr, "DELAY", kDelayPlateLeft + 2, kDelayPlateRight - 2, titleBaseline);
    DrawGroupTitle(cr, "FILTER", kFilterPlateLeft + 2, kFilterPlateRight - 2, titleBaseline);
    DrawHeading(cr, "TAP", "", Centre(Span{58, 70}, kDelaySwitch), headingBaseline);
    DrawHeading(cr, "TIME", "ms", Centre(kTimeText, kTimeSlider), headingBaseline);
    DrawHeading(cr, "GAIN", "dB", Centre(kGainText, kGainKnob), headingBaseline);
    DrawHeading(cr, "PAN", "L-R", Centre(kPanText, kPanKnob), headingBaseline);
    DrawHeading(cr, "ON", "", Centre(kFilterSwitch), headingBaseline);
    DrawHeading(cr, "TYPE", "", Centre(kTypeText), headingBaseline);
    DrawHeading(cr, "FREQ", "Hz", Centre(kFreqText, kFreqKnob), headingBaseline);
    DrawHeading(cr, "Q", "", Centre(kQText, kQKnob), headingBaseline);
    DrawHeading(cr, "GAIN", "dB", Centre(kFilterGainText, kFilterGainKnob), headingBaseline);
}

void DrawTapRows(cairo_t* cr)
{
    for (int tap = 0; tap < kTaps; tap++) {
        DrawPlate(cr, {kDelayPlateLeft, RowPlateTop(tap), kDelayPlateRight, RowPlateBottom(tap)});
        DrawPlate(cr, {kFilterPlateLeft, RowPlateTop(tap), kFilterPlateRight, RowPlateBottom(tap)});
        const double middle = (RowTop(tap) + RowBottom(tap)) / 2.0;
        DrawText(cr, kTapNumberFont, kLabel, 64, middle + 3.6, std::to_string(tap + 1), Align::Centre);
        for (Span text : kRowTexts)
            DrawDisplayWindow(cr, InRow(text, tap));
    }
}

// Scale labels: "+6", "0", and a true minus sign (U+2212) for cuts.
std::string DecibelLabel(int dB)
{
    if (dB > 0)
        return "+" + std::to_string(dB);
    if (dB < 0)
        return "\u2212" + std::to_string(-dB);
    return "0";
}

// Level scale beside a meter pair: the editor lights 3 rows per dB, 0 dB at row 19.
void DrawMeterScale(cairo_t* cr, double labelX, Align align)
{
    for (int dB : {6, 0, -6, -12, -24, -36}) {
        const double y = kMeterTop + metrics::kMeterZeroDbRow - metrics::kMeterRowsPerDb * dB + 1;
        DrawText(cr, kScaleFont, dB > 0 ? Mix(kMeterRed, kLabel, 0.4) : kLabelDim, labelX, y + 2.2,
                 DecibelLabel(dB), align);
    }
}

// Handle centre of a level slider (logarithmic travel) for a gain in dB:
// the slider's value v (0..1) maps linearly onto the gain from 0.001 to
// maxGain, and the handle sits at log10(9 v + 1) of its travel.
double LevelSliderY(const Box& slider, double dB, double maxGain)
{
    const double bottom = metrics::kVerticalTrackHeight - metrics::kVerticalHandleHeight / 2;
    const double top = metrics::kVerticalHandleHeight / 2;
    const double gain = std::pow(2.0, dB / 6.0);
    const double v = (gain - 0.001) / (maxGain - 0.001);
    return slider.top + bottom + (top - bottom) * std::log10(v * 9 + 1);
}

void DrawLevelScale(cairo_t* cr, const Box& slider, double maxGain, double labelX, Align align)
{
    const double maxDb = 6.0 * std::log2(maxGain);
    for (int dB : {6, 0, -6, -12, -24}) {
        if (dB > maxDb + 0.01)
            continue;
        const double y = std::floor(LevelSliderY(slider, dB, maxGain)) + 0.5;
        DrawText(cr, kScaleFont, kLabelDim, labelX, y + 2.2, DecibelLabel(dB), align);
    }
    const double floorY = slider.bottom - metrics::kVerticalHandleHeight / 2 + 0.5;
    DrawText(cr, kScaleFont, kLabelDim, labelX, floorY + 2.2, DecibelLabel(-60), align);
}

// Input or output strip: title, meter well and scale, fader scale, value
// window with its unit.
void DrawLevelStrip(cairo_t* cr, const Box& plate, const char* title, int meterLeft, const Box& slider,
                    const Box& text, double maxGain, bool scaleOnLeft)
{
    DrawPlate(cr, plate);
    const double centre = plate.CentreX();
    DrawText(cr, kStripTitleFont, kLabel, centre, 47, title, Align::Centre);
    // The well behind both meters; the pictures fill it but for the frame.
    const int wellWidth = 2 * metrics::kMeterWidth + 1;
    FillRect(cr, meterLeft - 1, kMeterTop - 1, wellWidth + 2, metrics::kMeterHeight + 2, kEdge);
    FillRect(cr, meterLeft - 1, kMeterTop + metrics::kMeterHeight + 1, wellWidth + 2, 1,
             WithAlpha(Hex(0xffffff), 0.08));
    FillRect(cr, meterLeft, kMeterTop, wellWidth, metrics::kMeterHeight, kRecess);
    const Align align = scaleOnLeft ? Align::Right : Align::Left;
    DrawMeterScale(cr, scaleOnLeft ? meterLeft - 3 : meterLeft + wellWidth + 3, align);
    DrawLevelScale(cr, slider, maxGain, scaleOnLeft ? slider.left - 3 : slider.right + 3, align);
    DrawDisplayWindow(cr, text);
    DrawText(cr, kUnitFont, kLabelDim, text.CentreX(), 355, "dB", Align::Centre);
}

void DrawGlobalSection(cairo_t* cr)
{
    DrawPlate(cr, kGlobalPlate);
    const double title = 315, sub = 327;
    DrawGroupTitle(cr, "TEMPO SYNC", kSyncSwitch.left - 4, kNoteText.right + 4, title);
    DrawHeading(cr, "ON", "", kSyncSwitch.CentreX(), sub);
    DrawHeading(cr, "NOTE", "", kNoteText.CentreX(), sub);
    DrawGroupTitle(cr, "FEEDBACK", kFeedbackSwitch.left - 4, kFeedbackSlider.right + 4, title);
    DrawHeading(cr, "ON", "", kFeedbackSwitch.CentreX(), sub);
    DrawHeading(cr, "AMOUNT", "%", kFeedbackText.CentreX(), sub);
    DrawGroupTitle(cr, "MIX", kMixText.left - 4, kMixSlider.right + 4, title);
    DrawHeading(cr, "WET", "%", kMixText.CentreX(), sub);
    DrawText(cr, kUnitFont, kLabelDim, kMixSlider.left + 2, sub, "DRY", Align::Left);
    DrawText(cr, kUnitFont, kLabelDim, kMixSlider.right - 2, sub, "WET", Align::Right);
    for (const Box& text : {kNoteText, kFeedbackText, kMixText})
        DrawDisplayWindow(cr, text);
}

}  // namespace

void DrawBackground(cairo_t* cr)
{
    FillRect(cr, 0, 0, metrics::kBackgroundWidth, metrics::kBackgroundHeight, kChassis);
    DrawHeader(cr);
    DrawColumnHeadings(cr);
    DrawTapRows(cr);
    DrawLevelStrip(cr, kInputPlate, "INPUT", kMeterLefts[0], kInputSlider, kInputText, 1.0, true);
    DrawLevelStrip(cr, kOutputPlate, "OUTPUT", kMeterLefts[2], kOutputSlider, kOutputText, 2.0, false);
    DrawGlobalSection(cr);
}

}  // namespace artwork
