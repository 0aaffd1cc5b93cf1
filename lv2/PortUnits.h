// How the LV2 control ports carry the parameters: in the units the editor
// shows (ms, dB, Hz, %, the type and note indices, 0/1 for switches), with
// the same conversions the editor's typed values go through.
#pragma once

#include <string>

#include "effect/ParamTable.h"

namespace PortUnits {

// Port layout of the plug-in: audio first, then one control per parameter,
// the four meters and the time input.
constexpr int kAudioInL = 0, kAudioInR = 1, kAudioOutL = 2, kAudioOutR = 3;
constexpr int kFirstParam = 4;
constexpr int kFirstMeter = kFirstParam + kNumParams;  // inL, inR, outL, outR
constexpr int kNumMeters = 4;
constexpr int kTimeIn = kFirstMeter + kNumMeters;
constexpr int kNumPorts = kTimeIn + 1;

// The parameter name with only letters, digits and underscores ("DelayONOFF0").
std::string Symbol(int index);
// "ms", "dB", "Hz", "%" or "" for unitless values.
const char* Unit(int index);
bool IsEnumeration(int index);

// The range a port offers (gains in dB).
void Range(int index, float* minimum, float* maximum);

// Port value -> the normalised value the effect keeps; out-of-range and NaN
// port values are pulled back into range.
float ToNormalised(int index, float portValue);
// Normalised value -> port value.
float ToPort(int index, float normalised);
// The port value nearest ToPort(normalised) that converts back to exactly
// `normalised`, so presets and defaults written as text restore bit for bit.
// Returns false when no nearby value does.
bool ExactPortValue(int index, float normalised, float* portValue);

}  // namespace PortUnits
