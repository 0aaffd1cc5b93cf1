#include "effect/ATapDelay.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "editor/CDelayEditor.h"
#include "effect/TapMixer.h"
#include "host/HostQuirks.h"

ATapDelay::ATapDelay(audioMasterCallback audioMaster)
    : AudioEffectX(audioMaster, kNumPrograms, kNumParams) {
    GetMy_SHFOLDER_PathName();
    curProgram = 0;
    AllocateWorkBuffers(blockSizeCopy);
    for (int tap = 0; tap < kNumTaps; tap++) tapList[tap] = &delays[tap];

    // The live state before open replaces it with program 0: all six taps on.
    auto start = [this](int index, float value) {
        params[index] = ValToNormalizeValue(index, value);
        internal[index] = NormalizeValToInternalVal(index, params[index]);
    };
    params[kParamOnOff] = 1.0f;
    start(kParamOutput, 1.0f);
    start(kParamInput, 1.0f);
    for (int tap = 0; tap < kNumTaps; tap++) {
        start(kParamDelayTime + tap, 10.0f);
        start(kParamDelayGain + tap, 0.5f);
        start(kParamDelayPan + tap, 50.0f);
        start(kParamDelayOnOff + tap, 1.0f);
        start(kParamFilterCutoff + tap, 1000.0f);
        start(kParamFilterType + tap, 0.0f);
        start(kParamFilterGain + tap, 0.0f);
        start(kParamFilterQ + tap, 1.0f);
        start(kParamFilterOnOff + tap, 0.0f);
    }
    start(kParamFeedBackOnOff, 0.0f);
    start(kParamFeedBack, 0.0f);
    start(kParamBalance, 50.0f);
    start(kParamTempoSync, 0.0f);
    start(kParamSyncNote, 0.0f);
    outputGain = inputGain = 1.0f;

    setNumInputs(2);
    setNumOutputs(2);
    setUniqueID(vstFourCC('V', 'a', 'T', 'D'));
    canDoubleReplacing(true);
    programsAreChunks(true);
    canMono(true);

    peakInL = peakInR = peakOutL = peakOutR = 0.0f;
    processCounter = 0xFFFF;
    // The editor attaches itself to the effect and lives as long as it does.
    new CDelayEditor(this);
    resume();
}

ATapDelay::~ATapDelay() { FreeWorkBuffers(); }

// --- lifecycle -------------------------------------------------------------------

void ATapDelay::open() {
    FindPluginFolder();
    setProgram(0);
    LoadDefaultBank();
}

void ATapDelay::setSampleRate(float rate) {
    // A rate of zero or less (or not a number) would make every filter design
    // divide by zero; such a request is ignored.
    if (!(rate > 0.0f) || !std::isfinite(rate)) return;
    AudioEffectX::setSampleRate(rate);
    int64_t samplesPerSec = (int64_t)rate;
    streamFormat = StreamFormat();
    streamFormat.samplesPerSec = (uint32_t)samplesPerSec;
    streamFormat.avgBytesPerSec = (uint32_t)(8 * samplesPerSec);
    for (DelayMain& delay : delays) delay.SetFs(samplesPerSec);
}

void ATapDelay::setBlockSize(VstInt32 size) {
    CSingleLock lock(engineLock);
    AudioEffectX::setBlockSize(size);
    // Hosts may announce no usable size, or process longer blocks than they
    // announce: those are processed in slices of this size.
    int usable = HostQuirks::WorkBlockSize(size);
    blockSizeCopy = usable;
    AllocateWorkBuffers(usable);
    for (DelayMain& delay : delays) delay.SetBloackSize(usable);
}

void ATapDelay::resume() {
    {
        CSingleLock lock(engineLock);
        params[kParamOnOff] = 1.0f;
    }
    if (editorView) editorView->UpdateControl(kParamOnOff, 1.0f);
    AudioEffectX::resume();
}

void ATapDelay::suspend() {
    {
        CSingleLock lock(engineLock);
        params[kParamOnOff] = 0.0f;
    }
    if (editorView) editorView->UpdateControl(kParamOnOff, 0.0f);
    for (DelayMain& delay : delays) delay.SetFs((int64_t)sampleRate);
}

// The host's own bypass button: the same active flag as suspend and resume,
// without clearing the delay lines, so echoes pick up again where they were.
bool ATapDelay::setBypass(bool onOff) {
    float active = onOff ? 0.0f : 1.0f;
    {
        CSingleLock lock(engineLock);
        params[kParamOnOff] = active;
    }
    if (editorView) editorView->UpdateControl(kParamOnOff, active);
    return true;
}

VstInt32 ATapDelay::startProcess() {
    for (DelayMain& delay : delays) delay.SetFs((int64_t)sampleRate);
    return 0;
}

void ATapDelay::AllocateWorkBuffers(int size) {
    FreeWorkBuffers();
    for (int tap = 0; tap < kNumTaps; tap++) {
        for (double*& buffer : workBuffers[tap]) buffer = new double[size]();
        workBufferList[tap] = workBuffers[tap];
    }
}

void ATapDelay::FreeWorkBuffers() {
    for (auto& pair : workBuffers)
        for (double*& buffer : pair) {
            delete[] buffer;
            buffer = nullptr;
        }
}

// --- processing ------------------------------------------------------------------

void ATapDelay::processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) {
    if (sampleFrames <= 0) return;
    // Both precisions share the double-precision engine.
    std::unique_ptr<double[]> buffer(new double[4 * (size_t)sampleFrames]);
    double* in[2] = {buffer.get(), buffer.get() + sampleFrames};
    double* out[2] = {buffer.get() + 2 * sampleFrames, buffer.get() + 3 * sampleFrames};
    for (int c = 0; c < 2; c++) WidenToDouble(inputs[c], in[c], sampleFrames);
    processDoubleReplacing(in, out, sampleFrames);
    for (int c = 0; c < 2; c++) NarrowToFloat(out[c], outputs[c], sampleFrames);
}

void ATapDelay::processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames) {
    CSingleLock lock(engineLock);
    processCounter++;
    peakInL = peakInR = peakOutL = peakOutR = 0.0f;
    if (sampleFrames <= 0) return;

    if (params[kParamOnOff] == 0.0f) {
        // memmove: hosts may process in place.
        for (int c = 0; c < 2; c++)
            std::memmove(outputs[c], inputs[c], sizeof(double) * (size_t)sampleFrames);
        return;
    }

    // The input gain works in place on the host's buffers.
    peakInL = (float)ApplyGainAndPeak(inputs[0], sampleFrames, inputGain);
    peakInR = (float)ApplyGainAndPeak(inputs[1], sampleFrames, inputGain);

    if (params[kParamTempoSync] == 1.0f && hasHost()) FollowTempo();

    // The taps' work buffers hold one block: longer host blocks go in slices.
    for (int offset = 0; offset < sampleFrames; offset += blockSizeCopy) {
        int count = std::min(blockSizeCopy, sampleFrames - offset);
        double* sliceIn[2] = {inputs[0] + offset, inputs[1] + offset};
        DelayMain::ProcessTaps(tapList, kNumTaps, sliceIn, workBufferList, count);
        MixSlice(inputs, outputs, offset, count);
    }
}

void ATapDelay::MixSlice(double** inputs, double** outputs, int offset, int count) {
    const double wet = params[kParamBalance];
    const double dry = 1.0f - params[kParamBalance];
    for (int c = 0; c < 2; c++) {
        const double* active[kNumTaps];
        int activeCount = 0;
        for (int tap = 0; tap < kNumTaps; tap++)
            if (params[kParamDelayOnOff + tap] == 1.0f) active[activeCount++] = workBuffers[tap][c];
        float& peak = c == 0 ? peakOutL : peakOutR;
        peak = (float)MixTapsAndPeak(inputs[c] + offset, active, activeCount, outputs[c] + offset,
                                     count, dry, wet, outputGain, peak);
    }
}

// Tap k follows the host tempo at (k + 1) note lengths. A host without a
// tempo gives an infinite note, which the 4000 ms bound rejects.
void ATapDelay::FollowTempo() {
    double quarter = 60000.0 / HostQuirks::HostTempo(*this);
    double note = quarter / std::pow(2.0, (double)internal[kParamSyncNote]);
    for (int tap = 0; tap < kNumTaps; tap++) {
        float time = (float)((tap + 1) * note);
        int index = kParamDelayTime + tap;
        if (!(time > 0.0f && time < 4000.0f) || time == internal[index]) continue;
        internal[index] = time;
        float normalised = ValToNormalizeValue(kParamDelayTime, time);
        params[index] = normalised;
        CurrentRecord().values[SlotOfParam(index)] = normalised;
        delays[tap].SetDelatTime(time);
        if (editorView) editorView->UpdateControl(index, normalised);
    }
}

void ATapDelay::GetVU(float* inL, float* inR, float* outL, float* outR) {
    CSingleLock lock(engineLock);
    *inL = peakInL;
    *inR = peakInR;
    *outL = peakOutL;
    *outR = peakOutR;
}

// --- identity --------------------------------------------------------------------

bool ATapDelay::getEffectName(char* name) {
    vstStrncpy(name, "TapDelay", kVstMaxEffectNameLen - 1);
    return true;
}

bool ATapDelay::getProductString(char* text) {
    vstStrncpy(text, "TapDelay", kVstMaxProductStrLen - 1);
    return true;
}

bool ATapDelay::getVendorString(char* text) {
    vstStrncpy(text, "VELDOTEK Co.,Ltd.", kVstMaxVendorStrLen - 1);
    return true;
}

VstInt32 ATapDelay::canDo(char* text) {
    static const char* const kNever[] = {"sendVstEvents",       "sendVstMidiEvent",
                                         "receiveVstEvents",    "receiveVstMidiEvent",
                                         "receiveVstTimeInfo",  "offline",
                                         "midiProgramNames"};
    for (const char* never : kNever)
        if (std::strcmp(text, never) == 0) return -1;
    if (std::strcmp(text, "bypass") == 0) return 1;
    return 0;
}
