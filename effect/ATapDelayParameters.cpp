// The parameter queries and the three ways a parameter changes: host
// automation (normalised), editor controls (normalised) and typed or chosen
// values from the editor (display units).
#include <cstdio>
#include <cstring>

#include "effect/ATapDelay.h"

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
    FormatDisplayText(index, params[index], internal[index], text);
}

float ATapDelay::getParameterDisplayVal(int index) {
    if (!IsValidParam(index)) return 0.0f;
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

// Brings one parameter into the live state and the current program's record
// (when asked to), and publishes it for the taps. Values from outside the
// ranges (a foreign chunk, a careless host) are pulled back into them first,
// so no tap ever sees a feedback above 1 or a Q of zero. Any thread, the
// audio thread between blocks included: nothing here waits.
void ATapDelay::ApplyParameter(int index, float normalised, float internalValue, bool writeRecord) {
    normalised = ClampToRange(normalised, 0.0f, 1.0f);
    if (!IsGainParam(index) && index != kParamSyncNote) {
        float minimum, maximum;
        GetParamMinMax(index, &minimum, &maximum);
        internalValue = ClampToRange(internalValue, minimum, maximum);
    }
    if (!IsSwitchParam(index)) internal[index] = internalValue;
    if (writeRecord) {
        recordValues[index] = normalised;
        pendingRecords.fetch_or(uint64_t(1) << index);
    }
    // Pan and the switches reach the taps as normalised values.
    bool takesNormalised = IsSwitchParam(index) || InGroup(index, kParamDelayPan) ||
                           index == kParamFeedBack;
    Publish(index, normalised, takesNormalised ? normalised : internalValue);
}

// The value first, then its flag: the audio thread reads the flags first.
void ATapDelay::Publish(int index, float normalised, float tapValue) {
    params[index] = normalised;
    tapValues[index] = tapValue;
    changedParams.fetch_or(uint64_t(1) << index);
}

// On the audio thread, at the start of a block: the only caller of the taps'
// setters while processing may run.
void ATapDelay::ApplyToTaps(int index) {
    const float value = liveInternal[index];
    int tap = TapOfParam(index);
    if (index == kParamOutput) {
        outputGain = DbToLinear(value, 0.001f, 2.0f);
    } else if (index == kParamInput) {
        inputGain = DbToLinear(value, 0.001f, 1.0f);
    } else if (InGroup(index, kParamDelayTime)) {
        delays[tap].SetDelatTime(value);
    } else if (InGroup(index, kParamDelayGain)) {
        delays[tap].SetGain(DbToLinear(value, 0.001f, 2.0f));
    } else if (InGroup(index, kParamDelayPan)) {
        delays[tap].SetPan(value);
    } else if (InGroup(index, kParamFilterCutoff)) {
        delays[tap].SetFilterFreq(value);
    } else if (InGroup(index, kParamFilterType)) {
        delays[tap].SetFilterType(value);
    } else if (InGroup(index, kParamFilterGain)) {
        delays[tap].SetFilterGain(value);
    } else if (InGroup(index, kParamFilterQ)) {
        delays[tap].SetFilterQ(value);
    } else if (InGroup(index, kParamFilterOnOff)) {
        delays[tap].SetFilterActive(value);
    } else if (index == kParamFeedBackOnOff) {
        for (DelayMain& delay : delays) delay.SetFeedBackOn(value);
    } else if (index == kParamFeedBack) {
        for (DelayMain& delay : delays) delay.SetFeedBack(value);
    }
}

// Parameter writes since the record was last read go into the current
// program's record; every reader of the banks calls this first, holding the
// program lock.
void ATapDelay::FoldPendingRecords() {
    for (uint64_t bits = pendingRecords.exchange(0); bits; bits &= bits - 1) {
        int index = __builtin_ctzll(bits);
        CurrentRecord().values[SlotOfParam(index)] = recordValues[index];
    }
}

void ATapDelay::setParameter(VstInt32 index, float value) {
    // The window is told before the lock, so it never waits on the audio thread.
    if (editorView && IsValidParam(index)) editorView->UpdateControl(index, value);
    if (!IsValidParam(index)) return;
    bool writeRecord = index != kParamTempoSync && index != kParamSyncNote;
    ApplyParameter(index, value, NormalizeValToInternalVal(index, value), writeRecord);
}

void ATapDelay::setParameterFromDiaplay(int index, float value) {
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
    if (index == kParamSyncNote) {
        // The note menu sends the note index itself, not a normalised value.
        ApplyParameter(index, ValToNormalizeValue(index, value), value, true);
    } else if (IsValidParam(index)) {
        ApplyParameter(index, value, NormalizeValToInternalVal(index, value), true);
    }
    if (hasHost()) callHost(audioMasterAutomate, index, 0, nullptr, value);
}

void ATapDelay::RecomputeInternalValues() {
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
    for (int index : {kParamOutput, kParamInput}) Publish(index, params[index], internal[index]);
}
