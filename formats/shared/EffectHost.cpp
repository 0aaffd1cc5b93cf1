#include "formats/shared/EffectHost.h"

#include <algorithm>
#include <cmath>

#include "editor/CDelayEditor.h"
#include "host/HostQuirks.h"
#include "toolkit/ResourceFolder.h"

EffectHost::EffectHost(const std::string& resourceFolder)
    : folder(resourceFolder.empty() ? HostQuirks::PluginFolder(nullptr) : resourceFolder) {
    if (!folder.empty() && folder.back() != '/') folder += '/';
    // The editor's pictures and texts lie there too; the toolkit's own guess,
    // the library's folder, is not that folder in every bundle (VST 3 keeps
    // them in Contents/Resources/). Set before the effect makes its editor.
    AfxSetResourceFolder(folder.c_str());
    effect = new ATapDelay(&Callback);
    effect->getAeffect()->user = this;
    effect->open();  // finds the factory bank in the resource folder
    for (int index = 0; index < kNumParams; index++) defaults[index] = effect->getParameter(index);
}

EffectHost::~EffectHost() {
    effect->close();
    delete effect;
}

CDelayEditor& EffectHost::Editor() { return *static_cast<CDelayEditor*>(effect->getEditor()); }

void EffectHost::SetTempo(double beatsPerMinute) {
    tempoKnown = beatsPerMinute > 0.0 && std::isfinite(beatsPerMinute);
    if (tempoKnown) {
        timeInfo.tempo = beatsPerMinute;
        timeInfo.flags = kVstTempoValid;
    }
}

void EffectHost::SetSampleRate(double rate) {
    timeInfo.sampleRate = rate;
    effect->setSampleRate((float)rate);
}

uint32_t EffectHost::TailFrames() {
    if (effect->getParameter(kParamFeedBackOnOff) == 1.0f) return kInfiniteTail;
    float longest = 0.0f;
    for (int tap = 0; tap < kNumTaps; tap++)
        if (effect->getParameter(kParamDelayOnOff + tap) != 0.0f)
            longest = std::max(longest, NormalizeValToInternalVal(
                                            kParamDelayTime + tap,
                                            effect->getParameter(kParamDelayTime + tap)));
    return (uint32_t)std::ceil(longest * effect->getSampleRate() / 1000.0f);
}

// --- the effect's host callback ------------------------------------------------------

VstIntPtr EffectHost::Callback(AEffect* aeffect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                               void*, float) {
    auto* self = aeffect ? static_cast<EffectHost*>(aeffect->user) : nullptr;
    if (self) return self->Answer(opcode, index, value);
    return opcode == audioMasterVersion ? 2400 : 0;
}

VstIntPtr EffectHost::Answer(VstInt32 opcode, VstInt32 index, VstIntPtr value) {
    EffectListener* to = listener.load();
    const bool valid = IsValidParam(index);
    const uint64_t bit = valid ? uint64_t(1) << index : 0;
    switch (opcode) {
    case audioMasterVersion:
        return 2400;
    case audioMasterGetDirectory:
        return (VstIntPtr)folder.c_str();
    case audioMasterGetTime:
        return tempoKnown ? (VstIntPtr)&timeInfo : 0;
    case audioMasterBeginEdit:
        if (!valid) return 0;
        endingGestures &= ~bit;
        if (!(openGestures & bit) && to) to->BeginEdit(index);
        openGestures |= bit;
        return 1;
    case audioMasterAutomate:
        if (valid) Automated(index);
        return 0;
    case audioMasterEndEdit:
        if (valid && (openGestures & bit)) endingGestures |= bit;
        return valid ? 1 : 0;
    case audioMasterSizeWindow:
        return to && to->ResizeRequested(index, (int)value) ? 1 : 0;
    case audioMasterUpdateDisplay:
        if (to) to->DisplayChanged();
        return 1;
    default:
        return 0;
    }
}

// The value the host hears is the effect's own: the note menu and typed
// entry pass other units through audioMasterAutomate.
void EffectHost::Automated(int index) {
    EffectListener* to = listener.load();
    const uint64_t bit = uint64_t(1) << index;
    if (!(openGestures & bit)) {
        if (to) to->BeginEdit(index);
        openGestures |= bit;
        endingGestures |= bit;
    }
    if (to) to->Edited(index, effect->getParameter(index));
}

void EffectHost::FlushGestures(bool all) {
    EffectListener* to = listener.load();
    if (all) endingGestures = openGestures;
    for (uint64_t bits = endingGestures; bits; bits &= bits - 1) {
        const int index = __builtin_ctzll(bits);
        if (to) to->EndEdit(index);
    }
    openGestures &= ~endingGestures;
    endingGestures = 0;
}
