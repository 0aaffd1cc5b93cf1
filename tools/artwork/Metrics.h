// Picture sizes in 1x pixels. The editor places its controls from these
// sizes, so each one matches the control rectangle it fills.
#pragma once

namespace artwork::metrics {

constexpr int kBackgroundWidth = 800, kBackgroundHeight = 360;

// Knob film strip: 61 frames from 30 to 330 degrees, clockwise from straight down.
constexpr int kKnobSize = 34, kKnobFrames = 61;
constexpr double kKnobStartAngle = 30.0, kKnobEndAngle = 330.0;

// Horizontal sliders: the handle's top sits at y 1; its centre runs from
// half its width to the track width minus half its width.
constexpr int kHorizontalTrackWidth = 98, kHorizontalTrackHeight = 16;
constexpr int kHorizontalHandleWidth = 10, kHorizontalHandleHeight = 14;
// Vertical sliders: the handle's left edge sits at x 1.
constexpr int kVerticalTrackWidth = 16, kVerticalTrackHeight = 133;
constexpr int kVerticalHandleWidth = 14, kVerticalHandleHeight = 10;

// Meter: unlit and lit halves side by side. The editor lights from row
// 19 - 3 dB down, so each dB is 3 rows and 0 dB starts at row 19.
constexpr int kMeterWidth = 8, kMeterHeight = 136;
constexpr int kMeterZeroDbRow = 19, kMeterRowsPerDb = 3;
constexpr int kMeterFirstRow = 1, kMeterLastRow = 132;  // segments live here

// Switches: each picture holds two frames of this size, released above pressed.
constexpr int kPowerWidth = 29, kPowerHeight = 20;
constexpr int kTapSwitchWidth = 10, kTapSwitchHeight = 16;
constexpr int kSmallSwitchWidth = 14, kSmallSwitchHeight = 12;
constexpr int kCopyWidth = 15, kCopyHeight = 17;

// Program pictures: the save button is shown whole; the modified lamp holds
// the unchanged state above the changed one.
constexpr int kSaveWidth = 43, kSaveHeight = 16;
constexpr int kModifiedWidth = 43, kModifiedHeight = 16;
constexpr int kLogoWidth = 64, kLogoHeight = 16;

}  // namespace artwork::metrics
