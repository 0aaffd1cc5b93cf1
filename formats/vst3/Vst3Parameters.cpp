#include "formats/vst3/Vst3Parameters.h"

#include <algorithm>

#include "formats/vst3/Utf16.h"

namespace Vst3Parameters {

int StepCount(vst3::ParamID id) {
    if (id == kProgram) return kNumPrograms - 1;
    return IsValid(id) ? ParameterInfo::StepCount((int)id) : 0;
}

bool Describe(vst3::ParamID id, double defaultValue, vst3::ParameterInfo& info) {
    if (!IsValid(id)) return false;
    info = {};
    info.id = id;
    info.stepCount = StepCount(id);
    info.defaultNormalizedValue = defaultValue;
    info.unitId = vst3::kRootUnitId;
    if (id == kProgram) {
        // Not automatable: a program load replays every parameter on the UI
        // thread, which no sample offset could honour.
        CopyUtf16(info.title, 128, "Program");
        CopyUtf16(info.shortTitle, 128, "Program");
        info.flags = vst3::ParameterInfo::kIsProgramChange | vst3::ParameterInfo::kIsList;
        return true;
    }
    CopyUtf16(info.title, 128, ParameterInfo::Title((int)id));
    CopyUtf16(info.shortTitle, 128, ParameterInfo::ShortTitle((int)id));
    CopyUtf16(info.units, 128, ParameterInfo::Unit((int)id));
    info.flags = vst3::ParameterInfo::kCanAutomate;
    if (id == kBypass) info.flags |= vst3::ParameterInfo::kIsBypass;
    if (ParameterInfo::IsList((int)id)) info.flags |= vst3::ParameterInfo::kIsList;
    return true;
}

double ToPlain(vst3::ParamID id, double normalised) {
    const int steps = StepCount(id);
    const double value = normalised >= 0.0 ? std::min(normalised, 1.0) : 0.0;  // NaN too
    return steps > 0 ? value * steps : value;
}

double ToNormalised(vst3::ParamID id, double plain) {
    const int steps = StepCount(id);
    if (!(plain >= 0.0)) plain = 0.0;  // NaN too
    return ParameterInfo::Clamp((float)(steps > 0 ? plain / steps : plain));
}

}  // namespace Vst3Parameters
