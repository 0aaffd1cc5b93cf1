// Where the editor window puts its controls and value texts (window pixels,
// right and bottom exclusive). The background is drawn around these places.
#pragma once

namespace artwork::layout {

struct Box {
    int left, top, right, bottom;
    constexpr int Width() const { return right - left; }
    constexpr int Height() const { return bottom - top; }
    constexpr double CentreX() const { return (left + right) / 2.0; }
    constexpr double CentreY() const { return (top + bottom) / 2.0; }
};

constexpr int kTaps = 6;
constexpr int kRowPitch = 39;
constexpr int RowTop(int tap) { return 80 + kRowPitch * tap; }
constexpr int RowBottom(int tap) { return 96 + kRowPitch * tap; }
constexpr int KnobTop(int tap) { return 71 + kRowPitch * tap; }
constexpr int KnobBottom(int tap) { return 105 + kRowPitch * tap; }

// Horizontal extents of the columns in every tap row.
struct Span {
    int left, right;
};
constexpr Span kDelaySwitch{74, 84};
constexpr Span kTimeText{88, 136};
constexpr Span kTimeSlider{138, 236};
constexpr Span kGainText{242, 290};
constexpr Span kGainKnob{291, 325};
constexpr Span kPanText{330, 378};
constexpr Span kPanKnob{379, 413};
constexpr Span kFilterSwitch{419, 429};
constexpr Span kTypeText{433, 469};
constexpr Span kFreqText{474, 522};
constexpr Span kFreqKnob{523, 557};
constexpr Span kQText{561, 609};
constexpr Span kQKnob{610, 644};
constexpr Span kFilterGainText{648, 696};
constexpr Span kFilterGainKnob{697, 731};

constexpr Span kRowTexts[] = {kTimeText, kGainText, kPanText, kTypeText, kFreqText, kQText, kFilterGainText};
constexpr Span kRowKnobs[] = {kGainKnob, kPanKnob, kFreqKnob, kQKnob, kFilterGainKnob};

constexpr Box InRow(Span span, int tap) { return {span.left, RowTop(tap), span.right, RowBottom(tap)}; }
constexpr Box KnobInRow(Span span, int tap) { return {span.left, KnobTop(tap), span.right, KnobBottom(tap)}; }

// The global controls.
constexpr Box kPowerSwitch{23, 7, 52, 27};
constexpr Box kCopyButton{64, 10, 79, 27};
constexpr Box kModifiedLamp{216, 10, 259, 26};
constexpr Box kSaveButton{270, 10, 313, 26};
constexpr Box kInputSlider{32, 190, 48, 323};
constexpr Box kOutputSlider{754, 190, 770, 323};
constexpr Box kInputText{13, 329, 47, 345};
constexpr Box kOutputText{755, 329, 789, 345};
constexpr Box kSyncSwitch{149, 336, 163, 348};
constexpr Box kNoteText{175, 334, 230, 350};
constexpr Box kFeedbackSwitch{314, 336, 328, 348};
constexpr Box kFeedbackText{340, 333, 388, 349};
constexpr Box kFeedbackSlider{390, 333, 488, 349};
constexpr Box kMixText{546, 333, 594, 349};
constexpr Box kMixSlider{597, 333, 695, 349};
constexpr Box kGlobalTexts[] = {kInputText, kOutputText, kNoteText, kFeedbackText, kMixText};

// Meters: input left and right, output left and right, all at the same top.
constexpr int kMeterLefts[] = {32, 41, 754, 763};
constexpr int kMeterTop = 50;

}  // namespace artwork::layout
