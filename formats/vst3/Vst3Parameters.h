// The parameters a VST 3 host sees: ids 0..61 are the effect's own indices,
// 62 the host's bypass (the power switch the other way round) and 63 the
// program, a list of the 64 programs in the root unit's program list.
#pragma once

#include <cmath>

#include "effect/ParamTable.h"
#include "formats/shared/ParameterInfo.h"
#include "formats/vst3/Vst3Abi.h"

namespace Vst3Parameters {

constexpr vst3::ParamID kBypass = ParameterInfo::kBypass;
constexpr vst3::ParamID kProgram = ParameterInfo::kCount;
constexpr int32_t kCount = ParameterInfo::kCount + 1;
constexpr int32_t kProgramListId = 1;

inline bool IsValid(vst3::ParamID id) { return id < (vst3::ParamID)kCount; }
inline bool IsEffectParameter(vst3::ParamID id) { return id < (vst3::ParamID)kNumParams; }

int StepCount(vst3::ParamID id);

// Everything but the default, which is what the effect opened with.
bool Describe(vst3::ParamID id, double defaultValue, vst3::ParameterInfo& info);

// Plain values are the normalised ones, counted in steps for stepped
// parameters (a filter type 0..2): exact both ways, so that a host that
// keeps plain values (Ardour's session) restores every value bit for bit.
double ToPlain(vst3::ParamID id, double normalised);
double ToNormalised(vst3::ParamID id, double plain);

// The bypass is on whenever the power switch is not exactly on.
inline float PowerForBypass(double bypass) { return bypass >= 0.5 ? 0.0f : 1.0f; }
inline double BypassForPower(float power) { return power == 1.0f ? 0.0 : 1.0; }

inline double ProgramValue(int program) { return program / double(kNumPrograms - 1); }
inline int ProgramOf(double value) {
    return (int)std::lround(ParameterInfo::Clamp((float)value) * (kNumPrograms - 1));
}

}  // namespace Vst3Parameters
