// Reads the factory presets' text source and turns it into program records.
//
// The text is a list of sections: "[Preset Name]" followed by lines
// "ParameterName = value unit", the name as the plug-in reports it and the
// value in the units the plug-in displays (ms, dB, Hz, %, ON/OFF, L-SH/PK/H-SH,
// Quarter/8th/16th/32th; pan and Q without a unit). "#" starts a comment.
// Parameters a preset does not list keep the values of a fresh record.
#pragma once

#include <istream>
#include <string>
#include <vector>

#include "effect/ATapDelayProgram.h"

constexpr int kMaxPresetNameLength = 23;

struct FactoryPreset {
    std::string name;
    int line = 0;             // line of its "[name]" header
    ATapDelayProgram record;  // fresh defaults with the listed values stored
};

struct PresetParseResult {
    std::vector<FactoryPreset> presets;
    std::vector<std::string> errors;  // each "file:line: message"
    bool ok() const { return errors.empty(); }
};

// Parses a whole presets text; every problem found is reported, not only the first.
PresetParseResult ParsePresets(std::istream& text, const std::string& fileName);

// The parameter index of a name as the plug-in reports it ("DelayTime3"), or -1.
int ParamIndexByName(const std::string& name);

// Converts one value text in display units ("110 ms", "-3 dB", "H-SH") into the
// normalised value the record stores for parameter `index`. On failure returns
// false and says why in `error`.
bool ParseParamValue(int index, const std::string& text, float* normalised, std::string* error);

// Fills the 64 records of a bank: the presets in order, then fresh "Empty"
// records. Record 0's trailing integer (the current program) is 0.
bool MakeFactoryBank(const std::vector<FactoryPreset>& presets, ATapDelayProgram* bank,
                     std::string* error);
