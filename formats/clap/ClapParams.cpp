#include "formats/clap/ClapParams.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "formats/shared/DisplayUnits.h"
#include "formats/shared/EffectHost.h"

namespace ClapParams {

namespace {

int Steps(int index) { return ParameterInfo::StepCount(index); }

void Copy(char* to, size_t capacity, const std::string& text) {
    std::snprintf(to, capacity, "%s", text.c_str());
}

}  // namespace

void Describe(EffectHost& host, int index, clap::ParamInfo* info) {
    std::memset(info, 0, sizeof *info);
    info->id = (clap::Id)index;
    info->flags = clap::kParamIsAutomatable;
    if (Steps(index) > 0) info->flags |= clap::kParamIsStepped;
    if (ParameterInfo::IsList(index)) info->flags |= clap::kParamIsEnum;
    if (index == ParameterInfo::kBypass) info->flags |= clap::kParamIsBypass;
    Copy(info->name, sizeof info->name, ParameterInfo::Title(index));
    const int tap = index < kNumParams ? TapOfParam(index) : -1;
    if (tap >= 0) Copy(info->module, sizeof info->module, "Tap " + std::to_string(tap));
    info->minValue = 0.0;
    info->maxValue = Steps(index) > 0 ? Steps(index) : 1.0;
    const float power = host.DefaultValue(kParamOnOff);
    info->defaultValue = index == ParameterInfo::kBypass ? (power == 1.0f ? 0.0 : 1.0)
                                                          : ToPlain(index, host.DefaultValue(index));
}

float ToNormalised(int index, double plain) {
    if (index == ParameterInfo::kBypass) return plain >= 0.5 ? 1.0f : 0.0f;  // NaN: off
    if (Steps(index) > 0) return DisplayUnits::ToNormalised(index, (float)plain);
    return ParameterInfo::Clamp((float)plain);
}

double ToPlain(int index, float normalised) {
    if (index == ParameterInfo::kBypass) return normalised >= 0.5f ? 1.0 : 0.0;
    // A switch is on only at exactly 1, as its text says.
    if (IsSwitchParam(index)) return normalised == 1.0f ? 1.0 : 0.0;
    if (Steps(index) > 0) return std::round(DisplayUnits::ToDisplay(index, normalised));
    return ParameterInfo::Clamp(normalised);
}

float Read(ATapDelay& effect, int index) {
    if (index == ParameterInfo::kBypass) return effect.getParameter(kParamOnOff) == 1.0f ? 0.0f : 1.0f;
    return effect.getParameter(index);
}

void Write(ATapDelay& effect, int index, float normalised) {
    if (index == ParameterInfo::kBypass)
        effect.setParameter(kParamOnOff, normalised >= 0.5f ? 0.0f : 1.0f);
    else
        effect.setParameter(index, normalised);
}

bool ToText(int index, double plain, char* text, uint32_t capacity) {
    if (!text || capacity == 0) return false;
    Copy(text, capacity, ParameterInfo::Text(index, ToNormalised(index, plain)));
    return true;
}

bool FromText(int index, const char* text, double* plain) {
    float normalised = 0.0f;
    if (!ParameterInfo::Parse(index, text, &normalised)) return false;
    *plain = ToPlain(index, normalised);
    return true;
}

}  // namespace ClapParams
