#include "formats/shared/DisplayUnits.h"

#include <cmath>

namespace DisplayUnits {

namespace {

bool InGroup(int index, int first) { return index >= first && index < first + kNumTaps; }

float GainCeiling(int index) { return index == kParamInput ? 1.0f : 2.0f; }

}  // namespace

std::string Symbol(int index) {
    char name[64];
    GetParamName(index, name);
    std::string symbol;
    for (const char* c = name; *c; c++)
        if (std::isalnum((unsigned char)*c) || *c == '_') symbol += *c;
    return symbol;
}

const char* Unit(int index) {
    if (IsGainParam(index) || InGroup(index, kParamFilterGain)) return "dB";
    if (InGroup(index, kParamDelayTime)) return "ms";
    if (InGroup(index, kParamFilterCutoff)) return "Hz";
    if (index == kParamFeedBack || index == kParamBalance) return "%";
    return "";
}

bool IsEnumeration(int index) { return InGroup(index, kParamFilterType) || index == kParamSyncNote; }

void Range(int index, float* minimum, float* maximum) { GetParamMinMax(index, minimum, maximum); }

float ToNormalised(int index, float value) {
    if (!IsValidParam(index)) return 0.0f;
    float minimum, maximum;
    Range(index, &minimum, &maximum);
    if (!(value >= minimum)) value = minimum;  // NaN too
    if (value > maximum) value = maximum;
    if (IsSwitchParam(index)) return value >= 0.5f ? 1.0f : 0.0f;
    if (IsEnumeration(index)) return ValToNormalizeValue(index, std::floor(value + 0.5f));
    if (IsGainParam(index))
        return ValToNormalizeValue(index, DbToLinear(value, 0.001f, GainCeiling(index)));
    return ValToNormalizeValue(index, value);
}

float ToDisplay(int index, float normalised) {
    if (!IsValidParam(index)) return 0.0f;
    if (IsSwitchParam(index)) return normalised >= 0.5f ? 1.0f : 0.0f;
    return NormalizeValToInternalVal(index, normalised);
}

bool ExactDisplayValue(int index, float normalised, float* value) {
    float start = ToDisplay(index, normalised);
    float up = start, down = start;
    for (int step = 0; step < 64; step++) {
        if (ToNormalised(index, up) == normalised) {
            *value = up;
            return true;
        }
        if (ToNormalised(index, down) == normalised) {
            *value = down;
            return true;
        }
        up = std::nextafter(up, INFINITY);
        down = std::nextafter(down, -INFINITY);
    }
    *value = start;
    return false;
}

}  // namespace DisplayUnits
