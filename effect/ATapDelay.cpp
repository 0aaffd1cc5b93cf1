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
    // Sized once for the longest slice, so that a block-size change while
    // the audio thread runs frees nothing it may be using.
    AllocateWorkBuffers(HostQuirks::kMaxWorkBlock);
    for (DelayMain& delay : delays) delay.SetBloackSize(HostQuirks::kMaxWorkBlock);
    for (int tap = 0; tap < kNumTaps; tap++) tapList[tap] = &delays[tap];

    // The live state before open replaces it with program 0: all six taps on.
    auto start = [this](int index, float value) {
        params[index] = ValToNormalizeValue(index, value);
        internal[index] = NormalizeValToInternalVal(index, params[index]);
        liveParams[index] = params[index];
        liveInternal[index] = internal[index];
    };
    params[kParamOnOff] = liveParams[kParamOnOff] = 1.0f;
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
    AudioEffectX::setBlockSize(size);
    // Hosts may announce no usable size, or process longer blocks than they
    // announce: those are processed in slices of this size.
    blockSizeCopy = HostQuirks::WorkBlockSize(size);
}

void ATapDelay::SetActiveFlag(float active) {
    params[kParamOnOff] = active;
    changedParams.fetch_or(uint64_t(1) << kParamOnOff);
}

void ATapDelay::resume() {
    SetActiveFlag(1.0f);
    if (editorView) editorView->UpdateControl(kParamOnOff, 1.0f);
    AudioEffectX::resume();
}

void ATapDelay::suspend() {
    SetActiveFlag(0.0f);
    if (editorView) editorView->UpdateControl(kParamOnOff, 0.0f);
    clearRequested = true;
}

// The host's own bypass button: the same active flag as suspend and resume,
// without clearing the delay lines, so echoes pick up again where they were.
bool ATapDelay::setBypass(bool onOff) {
    float active = onOff ? 0.0f : 1.0f;
    SetActiveFlag(active);
    if (editorView) editorView->UpdateControl(kParamOnOff, active);
    return true;
}

// The lines are cleared by the audio thread, before its next block.
VstInt32 ATapDelay::startProcess() {
    clearRequested = true;
    return 0;
}

void ATapDelay::AllocateWorkBuffers(int size) {
    FreeWorkBuffers();
    for (int tap = 0; tap < kNumTaps; tap++) {
        for (double*& buffer : workBuffers[tap]) buffer = new double[size]();
        workBufferList[tap] = workBuffers[tap];
    }
    floatBridge.assign(4 * (size_t)size, 0.0);
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
    const int size = blockSizeCopy;
    if (!BeginBlock(sampleFrames)) {
        for (int c = 0; c < 2; c++)
            std::memmove(outputs[c], inputs[c], sizeof(float) * (size_t)sampleFrames);
        return;
    }
    double* in[2] = {floatBridge.data(), floatBridge.data() + size};
    double* out[2] = {floatBridge.data() + 2 * size, floatBridge.data() + 3 * size};
    for (int offset = 0; offset < sampleFrames; offset += size) {
        int count = std::min(size, sampleFrames - offset);
        for (int c = 0; c < 2; c++) WidenToDouble(inputs[c] + offset, in[c], count);
        ProcessSlice(in, out, 0, count);
        for (int c = 0; c < 2; c++) NarrowToFloat(out[c], outputs[c] + offset, count);
    }
    PublishPeaks();
}

void ATapDelay::processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames) {
    if (!BeginBlock(sampleFrames)) {
        // memmove: hosts may process in place.
        for (int c = 0; c < 2; c++)
            std::memmove(outputs[c], inputs[c], sizeof(double) * (size_t)std::max(sampleFrames, 0));
        return;
    }
    // The taps' work buffers hold one block: longer host blocks go in slices.
    const int size = blockSizeCopy;
    for (int offset = 0; offset < sampleFrames; offset += size)
        ProcessSlice(inputs, outputs, offset, std::min(size, sampleFrames - offset));
    PublishPeaks();
}

// Counts the block, takes the changes and follows the tempo; false when the
// block passes through untouched.
bool ATapDelay::BeginBlock(int sampleFrames) {
    processCounter++;
    for (float& peak : blockPeak) peak = 0.0f;
    if (clearRequested.exchange(false))
        for (DelayMain& delay : delays) delay.SetFs((int64_t)sampleRate);
    TakeChanges();
    if (sampleFrames <= 0 || liveParams[kParamOnOff] == 0.0f) {
        peakInL = peakInR = peakOutL = peakOutR = 0.0f;
        return false;
    }
    if (liveParams[kParamTempoSync] == 1.0f && hasHost()) FollowTempo();
    return true;
}

// The editor reads the block's peaks once the whole block is done.
void ATapDelay::PublishPeaks() {
    peakInL = blockPeak[0];
    peakInR = blockPeak[1];
    peakOutL = blockPeak[2];
    peakOutR = blockPeak[3];
}

// The input gain works in place on the host's buffers.
void ATapDelay::ProcessSlice(double** inputs, double** outputs, int offset, int count) {
    for (int c = 0; c < 2; c++)
        blockPeak[c] = std::max(blockPeak[c],
                                (float)ApplyGainAndPeak(inputs[c] + offset, count, inputGain));
    double* sliceIn[2] = {inputs[0] + offset, inputs[1] + offset};
    DelayMain::ProcessTaps(tapList, kNumTaps, sliceIn, workBufferList, count);
    MixSlice(inputs, outputs, offset, count);
}

// What changed since the last block, unless a program load is under way or
// ran meanwhile: then the changes wait for the next block.
void ATapDelay::TakeChanges() {
    if (changedParams.load(std::memory_order_relaxed) == 0) return;
    uint32_t closed = closedBatches.load();
    if (openBatches.load() != 0) return;
    uint64_t changed = changedParams.exchange(0);
    float normalised[kNumParams], taps[kNumParams];
    for (uint64_t bits = changed; bits; bits &= bits - 1) {
        int index = __builtin_ctzll(bits);
        normalised[index] = params[index];
        taps[index] = tapValues[index];
    }
    if (openBatches.load() != 0 || closedBatches.load() != closed) {
        changedParams.fetch_or(changed);
        return;
    }
    for (uint64_t bits = changed; bits; bits &= bits - 1) {
        int index = __builtin_ctzll(bits);
        liveParams[index] = normalised[index];
        liveInternal[index] = taps[index];
        ApplyToTaps(index);
    }
}

ATapDelay::Batch::Batch(ATapDelay& effect) : effect(effect) { effect.openBatches++; }

ATapDelay::Batch::~Batch() {
    effect.closedBatches++;
    effect.openBatches--;
}

void ATapDelay::MixSlice(double** inputs, double** outputs, int offset, int count) {
    const double wet = liveParams[kParamBalance];
    const double dry = 1.0f - liveParams[kParamBalance];
    for (int c = 0; c < 2; c++) {
        const double* active[kNumTaps];
        int activeCount = 0;
        for (int tap = 0; tap < kNumTaps; tap++)
            if (liveParams[kParamDelayOnOff + tap] == 1.0f) active[activeCount++] = workBuffers[tap][c];
        float& peak = blockPeak[2 + c];
        peak = (float)MixTapsAndPeak(inputs[c] + offset, active, activeCount, outputs[c] + offset,
                                     count, dry, wet, outputGain, peak);
    }
}

// Tap k follows the host tempo at (k + 1) note lengths. A host without a
// tempo gives an infinite note, which the 4000 ms bound rejects. The new
// times reach the current program's record through the next thread that
// reads it (FoldPendingRecords).
void ATapDelay::FollowTempo() {
    double quarter = 60000.0 / HostQuirks::HostTempo(*this);
    double note = quarter / std::pow(2.0, (double)liveInternal[kParamSyncNote]);
    for (int tap = 0; tap < kNumTaps; tap++) {
        float time = (float)((tap + 1) * note);
        int index = kParamDelayTime + tap;
        if (!(time > 0.0f && time < 4000.0f) || time == internal[index]) continue;
        internal[index] = time;
        float normalised = ValToNormalizeValue(kParamDelayTime, time);
        params[index] = normalised;
        liveParams[index] = normalised;
        liveInternal[index] = time;
        recordValues[index] = normalised;
        pendingRecords.fetch_or(uint64_t(1) << index);
        delays[tap].SetDelatTime(time);
        if (editorView) editorView->UpdateControl(index, normalised);
    }
}

void ATapDelay::GetVU(float* inL, float* inR, float* outL, float* outR) {
    *inL = peakInL;
    *inR = peakInR;
    *outL = peakOutL;
    *outR = peakOutR;
}

// --- identity --------------------------------------------------------------------

bool ATapDelay::getEffectName(char* name) {
    vstStrncpy(name, kTapDelayName, kVstMaxEffectNameLen - 1);
    return true;
}

bool ATapDelay::getProductString(char* text) {
    vstStrncpy(text, kTapDelayName, kVstMaxProductStrLen - 1);
    return true;
}

bool ATapDelay::getVendorString(char* text) {
    vstStrncpy(text, kTapDelayVendor, kVstMaxVendorStrLen - 1);
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
