// The LV2 plug-in's ports: audio first, then one control per parameter (in
// display units), the four meters and the time input.
#pragma once

#include "effect/ParamTable.h"

namespace PortLayout {

constexpr int kAudioInL = 0, kAudioInR = 1, kAudioOutL = 2, kAudioOutR = 3;
constexpr int kFirstParam = 4;
constexpr int kFirstMeter = kFirstParam + kNumParams;  // inL, inR, outL, outR
constexpr int kNumMeters = 4;
constexpr int kTimeIn = kFirstMeter + kNumMeters;
constexpr int kNumPorts = kTimeIn + 1;

}  // namespace PortLayout
