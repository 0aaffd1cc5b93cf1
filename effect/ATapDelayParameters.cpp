// The parameter queries and the three ways a parameter changes: host
// automation (normalised), editor controls (normalised) and typed or chosen
// values from the editor (display units).
#include <cstdio>
#include <cstring>

#include "effect/ATapDelay.h"
#include "toolkit/TextConvert.h"

namespace {

const char* LabelOf(int index) {
    if (IsGainParam(index)) return "dB";
    if (index >= kParamDelayTime && index < kParamDelayTime + kNumTaps) return "ms";
    if (index >= kParamFilterCutoff && index < kParamFilterCutoff + kNumTaps) return "Hz";
    if (index >= kParamFilterGain && index < kParamFilterGain + kNumTaps) return "dB";
    if (index == kParamFeedBack || index == kParamBalance) return "%";
    return "";
}

bool InGroup(int index, int first) { return index >= first && index < first + kNumTaps; }

// NaN becomes the minimum.
float ClampToRange(float value, float minimum, float maximum) {
    if (!(value >= minimum)) return minimum;
    return value > maximum ? maximum : value;
}

}  // namespace

// --- queries -----------------------------------------------------------------------

float ATapDelay::getParameter(VstInt32 index) {
    if (!IsValidParam(index)) return 0.0f;
    CSingleLock lock(engineLock);  // tempo following writes from the audio thread
    return params[index];
}

void ATapDelay::getParameterName(VstInt32 index, char* text) { GetParamName(index, text); }

void ATapDelay::getParameterLabel(VstInt32 index, char* label) {
    std::strcpy(label, IsValidParam(index) ? LabelOf(index) : "");
}

void ATapDelay::getParameterDisplay(VstInt32 index, char* text) {
    if (!IsValidParam(index)) {
        *text = 0;
        return;
    }
    CSingleLock lock(engineLock);
    if (IsSwitchParam(index)) {
        std::strcpy(text, params[index] == 1.0f ? "ON" : "OFF");
    } else if (index == kParamOutput || index == kParamInput) {
        std::sprintf(text, "%.1f", internal[index]);
        if (stricmp(text, "-0.0") == 0) std::strcpy(text, "0.0");
    } else if (InGroup(index, kParamFilterType)) {
        float type = internal[index];
        std::strcpy(text, type == 0.0f ? "L-SH" : type == 2.0f ? "H-SH" : "PK");
    } else if (index == kParamSyncNote) {
        // A note index of 4 or more has no name: the caller's text stays as it was.
        float note = internal[index];
        if (note < 4.0f && note >= 0.0f) std::strcpy(text, szNote[(int)note]);
    } else {
        std::sprintf(text, "%.1f", internal[index]);
    }
}

float ATapDelay::getParameterDisplayVal(int index) {
    if (!IsValidParam(index)) return 0.0f;
    CSingleLock lock(engineLock);
    if (index == kParamOnOff || index == kParamFeedBackOnOff || index == kParamTempoSync ||
        InGroup(index, kParamDelayOnOff))
        return params[index];
    // The filter-type branch also covers the filter switches, which answer
    // with their tap's Q.
    if (index >= kParamFilterType && index < kParamFilterOnOff + kNumTaps) {
        if (InGroup(index, kParamFilterOnOff)) return internal[kParamFilterQ + TapOfParam(index)];
        if (InGroup(index, kParamFilterType)) return internal[index];
        // FilterGain and FilterQ are biased like every other value below.
    }
    if (index == kParamSyncNote) return internal[index];
    // Biased so that truncation to one decimal rounds half away from zero.
    float value = internal[index];
    return value < 0.0f ? value + -0.05f : value + 0.05f;
}

// Only what hosts read as we mean it: the label, the switch flag for the
// two-state parameters, and for the selectors (filter types, sync note) a
// float step that lands on each of their values. No integer ranges: hosts
// that honour them send the integer itself through setParameter, which is
// not our normalised value.
bool ATapDelay::getParameterProperties(VstInt32 index, VstParameterProperties* p) {
    std::memset(p, 0, sizeof *p);
    getParameterLabel(index, p->label);
    if (!IsValidParam(index)) return true;
    const ParamMinMax& record = AutomateParamMinMax_Tbl[index];
    if (IsSwitchParam(index)) {
        p->flags = kVstParameterIsSwitch;
    } else if (record.stepped) {
        p->flags = kVstParameterUsesFloatStep;
        p->stepFloat = p->smallStepFloat = p->largeStepFloat = (float)(1.0 / (record.max - record.min));
    }
    return true;
}

// --- updates -------------------------------------------------------------------------

// Brings one parameter into the live state, the current program's record (when
// asked to) and the taps. The engine lock is held by the caller. Values from
// outside the ranges (a foreign chunk, a careless host) are pulled back into
// them first, so no tap ever sees a feedback above 1 or a Q of zero.
void ATapDelay::ApplyParameter(int index, float normalised, float internalValue, bool writeRecord) {
    normalised = ClampToRange(normalised, 0.0f, 1.0f);
    if (!IsGainParam(index) && index != kParamSyncNote) {
        float minimum, maximum;
        GetParamMinMax(index, &minimum, &maximum);
        internalValue = ClampToRange(internalValue, minimum, maximum);
    }
    params[index] = normalised;
    if (!IsSwitchParam(index)) internal[index] = internalValue;
    if (writeRecord) CurrentRecord().values[SlotOfParam(index)] = normalised;

    int tap = TapOfParam(index);
    if (index == kParamOutput) {
        outputGain = DbToLinear(internalValue, 0.001f, 2.0f);
    } else if (index == kParamInput) {
        inputGain = DbToLinear(internalValue, 0.001f, 1.0f);
    } else if (InGroup(index, kParamDelayTime)) {
        delays[tap].SetDelatTime(internalValue);
    } else if (InGroup(index, kParamDelayGain)) {
        delays[tap].SetGain(DbToLinear(internalValue, 0.001f, 2.0f));
    } else if (InGroup(index, kParamDelayPan)) {
        delays[tap].SetPan(normalised);
    } else if (InGroup(index, kParamFilterCutoff)) {
        delays[tap].SetFilterFreq(internalValue);
    } else if (InGroup(index, kParamFilterType)) {
        delays[tap].SetFilterType(internalValue);
    } else if (InGroup(index, kParamFilterGain)) {
        delays[tap].SetFilterGain(internalValue);
    } else if (InGroup(index, kParamFilterQ)) {
        delays[tap].SetFilterQ(internalValue);
    } else if (InGroup(index, kParamFilterOnOff)) {
        delays[tap].SetFilterActive(normalised);
    } else if (index == kParamFeedBackOnOff) {
        for (DelayMain& delay : delays) delay.SetFeedBackOn(normalised);
    } else if (index == kParamFeedBack) {
        for (DelayMain& delay : delays) delay.SetFeedBack(normalised);
    }
}

void ATapDelay::setParameter(VstInt32 index, float value) {
    // The window is told before the lock, so it never waits on the audio thread.
    if (editorView && IsValidParam(index)) editorView->UpdateControl(index, value);
    CSingleLock lock(engineLock);
    if (!IsValidParam(index)) return;
    bool writeRecord = index != kParamTempoSync && index != kParamSyncNote;
    ApplyParameter(index, value, NormalizeValToInternalVal(index, value), writeRecord);
}

void ATapDelay::setParameterFromDiaplay(int index, float value) {
    CSingleLock lock(engineLock);
    float normalised = value;
    bool changes = IsValidParam(index) && index != kParamOnOff && index != kParamFeedBackOnOff &&
                   index != kParamTempoSync && index != kParamSyncNote;
    if (changes) {
        if (IsGainParam(index)) {
            float ceiling = index == kParamInput ? 1.0f : 2.0f;
            normalised = ValToNormalizeValue(index, DbToLinear(value, 0.001f, ceiling));
        } else if (!IsSwitchParam(index)) {
            normalised = ValToNormalizeValue(index, value);
        }
        ApplyParameter(index, normalised, value, true);
    }
    if (editorView && IsValidParam(index)) editorView->UpdateControl(index, normalised);
    if (hasHost()) {
        endEdit(index);
        callHost(audioMasterAutomate, index, 0, nullptr, normalised);
    }
}

void ATapDelay::setParameterFormUI(int index, float value) {
    CSingleLock lock(engineLock);
    if (index == kParamSyncNote) {
        // The note menu sends the note index itself, not a normalised value.
        ApplyParameter(index, ValToNormalizeValue(index, value), value, true);
    } else if (IsValidParam(index)) {
        ApplyParameter(index, value, NormalizeValToInternalVal(index, value), true);
    }
    if (hasHost()) callHost(audioMasterAutomate, index, 0, nullptr, value);
}

void ATapDelay::RecomputeInternalValues() {
    CSingleLock lock(engineLock);
    auto recompute = [this](int index) {
        internal[index] = NormalizeValToInternalVal(index, params[index]);
    };
    for (int tap = 0; tap < kNumTaps; tap++) {
        recompute(kParamDelayTime + tap);
        recompute(kParamDelayGain + tap);
        recompute(kParamDelayPan + tap);
        recompute(kParamFilterCutoff + tap);
        recompute(kParamFilterGain + tap);
        recompute(kParamFilterQ + tap);
    }
    recompute(kParamFeedBack);
    recompute(kParamBalance);
    recompute(kParamOutput);
    recompute(kParamInput);
    outputGain = DbToLinear(internal[kParamOutput], 0.001f, 2.0f);
    inputGain = DbToLinear(internal[kParamInput], 0.001f, 1.0f);
}
