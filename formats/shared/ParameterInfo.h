// What a host is told about each parameter, the same in every format: its
// title, short title and unit, how many steps it has, and its texts. Values
// are the effect's normalised ones; texts are the editor's and typed values
// follow the editor's typed entry (display units, one decimal).
#pragma once

#include <string>

#include "effect/ParamTable.h"

namespace ParameterInfo {

// Formats add one parameter of their own after the effect's: the host's
// bypass button, the effect's power switch the other way round.
constexpr int kBypass = kNumParams;
constexpr int kCount = kNumParams + 1;

// "DelayTime0", as a VST 2 host shows it; "Bypass".
std::string Title(int index);
// At most 8 characters ("Time0", "Out").
std::string ShortTitle(int index);
// "ms", "dB", "Hz", "%" or "".
const char* Unit(int index);
// 0 for continuous values; 1 for switches, 2 for the filter types, 3 for the note.
int StepCount(int index);
// The filter types and the note: a list of named values.
bool IsList(int index);

// The editor's text for a normalised value ("250.0", "H-SH", "ON").
std::string Text(int index, float normalised);
// The normalised value for a text a user typed: a number in the editor's
// units (a unit after it is allowed), or for switches, types and notes their
// names or indices. False, leaving *normalised alone, for anything else.
bool Parse(int index, const char* text, float* normalised);

// The normalised value nearest `value` that a host may send: NaN and values
// outside 0..1 are pulled into range.
float Clamp(float value);

}  // namespace ParameterInfo
