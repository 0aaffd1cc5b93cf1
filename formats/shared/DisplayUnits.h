// The parameters in the units the editor shows (ms, dB, Hz, %, the type and
// note indices, 0/1 for switches), with the same conversions the editor's
// typed values go through: what LV2 ports carry, what CLAP ranges offer and
// what every format's text entry reads.
#pragma once

#include <string>

#include "effect/ParamTable.h"

namespace DisplayUnits {

// The parameter name with only letters, digits and underscores ("DelayONOFF0").
std::string Symbol(int index);
// "ms", "dB", "Hz", "%" or "" for unitless values.
const char* Unit(int index);
bool IsEnumeration(int index);

// The range in display units (gains in dB).
void Range(int index, float* minimum, float* maximum);

// Display value -> the normalised value the effect keeps; out-of-range and
// NaN values are pulled back into range.
float ToNormalised(int index, float value);
// Normalised value -> display value.
float ToDisplay(int index, float normalised);
// The display value nearest ToDisplay(normalised) that converts back to exactly
// `normalised`, so presets and defaults written as text restore bit for bit.
// Returns false when no nearby value does.
bool ExactDisplayValue(int index, float normalised, float* value);

}  // namespace DisplayUnits
