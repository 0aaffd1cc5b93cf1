#include "effect/ATapDelayProgram.h"

#include <cstring>

int SlotOfParam(int index) {
    if (index >= kParamFilterGain && index < kParamFilterGain + kNumTaps)
        return index + kNumTaps;  // 45..50
    if (index >= kParamFilterQ && index < kParamFilterQ + kNumTaps)
        return index + kNumTaps;  // 51..56
    if (index >= kParamFilterOnOff && index < kParamFilterOnOff + kNumTaps)
        return index - 2 * kNumTaps;  // 39..44
    return index;
}

ATapDelayProgram::ATapDelayProgram() {
    auto set = [this](int index, float internal) {
        values[SlotOfParam(index)] = ValToNormalizeValue(index, internal);
    };
    values[SlotOfParam(kParamOnOff)] = 1.0f;
    set(kParamOutput, 1.0f);
    set(kParamInput, 1.0f);
    for (int tap = 0; tap < kNumTaps; tap++) {
        // Every tap uses tap 0's mapping; the ranges are equal.
        values[SlotOfParam(kParamDelayTime + tap)] = ValToNormalizeValue(kParamDelayTime, 10.0f);
        values[SlotOfParam(kParamDelayGain + tap)] = ValToNormalizeValue(kParamDelayGain, 0.5f);
        values[SlotOfParam(kParamDelayPan + tap)] = ValToNormalizeValue(kParamDelayPan, 50.0f);
        values[SlotOfParam(kParamDelayOnOff + tap)] = ValToNormalizeValue(
            kParamDelayOnOff, (float)AutomateParamMinMax_Tbl[kParamDelayOnOff + tap].def);
        values[SlotOfParam(kParamFilterCutoff + tap)] =
            ValToNormalizeValue(kParamFilterCutoff, 1000.0f);
        values[SlotOfParam(kParamFilterType + tap)] = ValToNormalizeValue(kParamFilterType, 0.0f);
        values[SlotOfParam(kParamFilterOnOff + tap)] = ValToNormalizeValue(kParamFilterOnOff, 0.0f);
        values[SlotOfParam(kParamFilterGain + tap)] = ValToNormalizeValue(kParamFilterGain, 0.0f);
        values[SlotOfParam(kParamFilterQ + tap)] = ValToNormalizeValue(kParamFilterQ, 1.0f);
    }
    set(kParamFeedBackOnOff, 0.0f);
    set(kParamFeedBack, 0.0f);
    set(kParamBalance, 50.0f);
    set(kParamTempoSync, 0.0f);
    set(kParamSyncNote, 0.0f);
    std::memset(name, 0, sizeof name);
    std::strcpy(name, "Empty");
    currentProgram = 0;
}
