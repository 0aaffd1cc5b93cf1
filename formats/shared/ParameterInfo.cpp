#include "formats/shared/ParameterInfo.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "formats/shared/DisplayUnits.h"

namespace ParameterInfo {

namespace {

constexpr const char* kFilterTypes[3] = {"L-SH", "PK", "H-SH"};

// The word after a number or name: spaces, then nothing or the unit.
bool OnlyUnitLeft(int index, const char* rest) {
    while (*rest == ' ') rest++;
    if (!*rest) return true;
    const char* unit = Unit(index);
    if (!*unit || strncasecmp(rest, unit, std::strlen(unit)) != 0) return false;
    rest += std::strlen(unit);
    while (*rest == ' ') rest++;
    return !*rest;
}

// One of `count` names, or its index typed as a number.
bool ParseChoice(const char* text, const char* const* names, int count, int* choice) {
    while (*text == ' ') text++;
    for (int i = 0; i < count; i++)
        if (strcasecmp(text, names[i]) == 0) return *choice = i, true;
    char* end = nullptr;
    long number = std::strtol(text, &end, 10);
    while (end && *end == ' ') end++;
    if (end == text || !end || *end || number < 0 || number >= count) return false;
    *choice = (int)number;
    return true;
}

}  // namespace

std::string Title(int index) {
    if (index == kBypass) return "Bypass";
    char name[32];
    GetParamName(index, name);
    return name;
}

std::string ShortTitle(int index) {
    static const char* const kGlobal[3] = {"Power", "Out", "In"};
    static const char* const kTap[9] = {"Time", "Gain", "Pan", "On", "Cut", "Type", "FGain", "Q", "FOn"};
    static const char* const kTail[5] = {"FB On", "FB", "Bal", "Sync", "Note"};
    if (index == kBypass) return "Bypass";
    if (!IsValidParam(index)) return "";
    if (index < kParamDelayTime) return kGlobal[index];
    if (index >= kParamFeedBackOnOff) return kTail[index - kParamFeedBackOnOff];
    return kTap[(index - kParamDelayTime) / kNumTaps] + std::to_string(TapOfParam(index));
}

const char* Unit(int index) { return IsValidParam(index) ? DisplayUnits::Unit(index) : ""; }

int StepCount(int index) {
    if (index == kBypass || (IsValidParam(index) && IsSwitchParam(index))) return 1;
    if (!IsValidParam(index) || !AutomateParamMinMax_Tbl[index].stepped) return 0;
    return (int)(AutomateParamMinMax_Tbl[index].max - AutomateParamMinMax_Tbl[index].min);
}

bool IsList(int index) { return IsValidParam(index) && DisplayUnits::IsEnumeration(index); }

float Clamp(float value) {
    if (!(value >= 0.0f)) return 0.0f;  // NaN too
    return value > 1.0f ? 1.0f : value;
}

std::string Text(int index, float normalised) {
    normalised = Clamp(normalised);
    if (index == kBypass) return normalised >= 0.5f ? "ON" : "OFF";
    if (!IsValidParam(index)) return "";
    char text[64] = "";
    FormatDisplayText(index, normalised, NormalizeValToInternalVal(index, normalised), text);
    return text;
}

bool Parse(int index, const char* text, float* normalised) {
    if (!text) return false;
    static const char* const kSwitch[2] = {"OFF", "ON"};
    int choice = 0;
    if (index == kBypass || (IsValidParam(index) && IsSwitchParam(index))) {
        if (!ParseChoice(text, kSwitch, 2, &choice)) return false;
        *normalised = (float)choice;
        return true;
    }
    if (!IsValidParam(index)) return false;
    if (IsList(index)) {
        const bool note = index == kParamSyncNote;
        if (!ParseChoice(text, note ? szNote : kFilterTypes, note ? 4 : 3, &choice)) return false;
        *normalised = ValToNormalizeValue(index, (float)choice);
        return true;
    }
    char* end = nullptr;
    const double value = std::strtod(text, &end);
    if (end == text || !std::isfinite(value) || !OnlyUnitLeft(index, end)) return false;
    // As the entry field takes it: tenths, nudged so that the one-decimal
    // display shows what was typed, then within the range.
    const double tenths = std::round(value * 10.0);
    const float typed = tenths >= 0 ? (float)(tenths / 10.0) + 0.005f : (float)(tenths / 10.0) - 0.005f;
    *normalised = DisplayUnits::ToNormalised(index, typed);
    return true;
}

}  // namespace ParameterInfo
