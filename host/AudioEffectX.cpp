#include "host/AudioEffectX.h"

#include <cstdlib>
#include <cstring>

VstIntPtr AudioEffectX::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                   float opt) {
    switch (opcode) {
        case effProcessEvents: processEvents((VstEvents*)ptr); return 0;
        case effCanBeAutomated: return canParameterBeAutomated(index) ? 1 : 0;
        case effString2Parameter: string2parameter(index, (char*)ptr); return 0;
        case effGetNumProgramCategories: return getNumCategories();
        case effGetProgramNameIndexed:
            return (ptr && getProgramNameIndexed((VstInt32)value, index, (char*)ptr)) ? 1 : 0;
        case effCopyProgram: copyProgram(index); return 0;
        case effConnectInput: inputConnected(index, value != 0); return 1;
        case effConnectOutput: outputConnected(index, value != 0); return 1;
        case effGetInputProperties: getInputProperties(index, (VstPinProperties*)ptr); return 0;
        case effGetOutputProperties: getOutputProperties(index, (VstPinProperties*)ptr); return 0;
        case effGetPlugCategory: return getPlugCategory();
        case effGetCurrentPosition: return reportCurrentPosition();
        case effGetDestinationBuffer: reportDestinationBuffer(); return 0;
        case effOfflineNotify: offlineNotify((VstAudioFile*)ptr, (VstInt32)value, index != 0); return 0;
        case effOfflinePrepare: offlinePrepare((VstOfflineTask*)ptr, (VstInt32)value); return 0;
        case effOfflineRun: offlineRun((VstOfflineTask*)ptr, (VstInt32)value); return 0;
        case effProcessVarIo: processVariableIo((VstVariableIo*)ptr); return 0;
        case effSetSpeakerArrangement:
            setSpeakerArrangement((VstSpeakerArrangement*)value, (VstSpeakerArrangement*)ptr);
            return 0;
        case effSetBlockSizeAndSampleRate: setBlockSizeAndSampleRate((VstInt32)value, opt); return 1;
        case effSetBypass: setBypass(value != 0); return 0;
        case effGetEffectName: if (ptr) getEffectName((char*)ptr); return 1;
        case effGetErrorText: getErrorText((char*)ptr); return 0;
        case effGetVendorString: if (ptr) getVendorString((char*)ptr); return 1;
        case effGetProductString: if (ptr) getProductString((char*)ptr); return 1;
        case effGetVendorVersion: return getVendorVersion();
        case effVendorSpecific: return vendorSpecific(index, value, ptr, opt);
        case effCanDo: return ptr ? canDo((char*)ptr) : 0;
        case effGetTailSize: return getGetTailSize();
        case effIdle: fxIdle(); return 0;
        case effGetIcon: getIcon(); return 0;
        case effSetViewPosition: setViewPosition(index, (VstInt32)value); return 0;
        case effGetParameterProperties:
            return (ptr && getParameterProperties(index, (VstParameterProperties*)ptr)) ? 1 : 0;
        case effKeysRequired: return keysRequired() ? 0 : 1;
        case effGetVstVersion: return getVstVersion();
        case effEditKeyDown:
        case effEditKeyUp: {
            if (!editor) return 0;
            VstKeyCode key;
            key.character = index;
            key.virt = (unsigned char)(value & 0xFF);
            key.modifier = (unsigned char)((VstInt32)opt & 0xFF);
            bool handled = opcode == effEditKeyDown ? editor->onKeyDown(key) : editor->onKeyUp(key);
            return handled ? 1 : 0;
        }
        case effSetEditKnobMode: return editor ? (editor->setKnobMode((VstInt32)value) ? 1 : 0) : 0;
        case effGetMidiProgramName:
        case effGetCurrentMidiProgram:
        case effGetMidiProgramCategory:
        case effHasMidiProgramsChanged:
        case effGetMidiKeyName: return 0;
        case effBeginSetProgram: beginSetProgram(); return 0;
        case effEndSetProgram: endSetProgram(); return 0;
        case effGetSpeakerArrangement:
            getSpeakerArrangement((VstSpeakerArrangement**)value, (VstSpeakerArrangement**)ptr);
            return 0;
        case effShellGetNextPlugin: getShellPlugin((char*)ptr); return 0;
        case effStartProcess: startProcess(); return 0;
        case effStopProcess: stopProcess(); return 0;
        case effSetTotalSampleToProcess: return setTotalSampleToProcess((VstInt32)value);
        case effSetPanLaw: setPanLaw((VstInt32)value, opt); return 0;
        case effBeginLoadBank: beginLoadBank((VstPatchChunkInfo*)ptr); return 0;
        case effBeginLoadProgram: beginLoadProgram((VstPatchChunkInfo*)ptr); return 0;
        case effSetProcessPrecision: setProcessPrecision((VstInt32)value); return 0;
        case effGetNumMidiInputChannels:
        case effGetNumMidiOutputChannels: return 0;
        default: return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

void AudioEffectX::resume() {
    char receiveMidi[] = "receiveVstMidiEvent";
    if (canDo(receiveMidi) == 1 || (cEffect.flags & effFlagsIsSynth)) wantEvents(1);
}

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** pluginInput,
                                         VstSpeakerArrangement** pluginOutput) {
    if (pluginInput) *pluginInput = nullptr;
    if (pluginOutput) *pluginOutput = nullptr;
    return false;
}

// --- host-callback wrappers ---------------------------------------------------

bool AudioEffectX::beginEdit(VstInt32 index) { return callHost(audioMasterBeginEdit, index) != 0; }
bool AudioEffectX::endEdit(VstInt32 index) { return callHost(audioMasterEndEdit, index) != 0; }
bool AudioEffectX::ioChanged() { return callHost(audioMasterIOChanged) != 0; }

double AudioEffectX::updateSampleRate() {
    VstIntPtr rate = callHost(audioMasterGetSampleRate);
    if (rate > 0) sampleRate = (float)rate;
    return sampleRate;
}

VstInt32 AudioEffectX::updateBlockSize() {
    VstIntPtr size = callHost(audioMasterGetBlockSize);
    if (size > 0) blockSize = (VstInt32)size;
    return blockSize;
}

VstInt32 AudioEffectX::getInputLatency() { return (VstInt32)callHost(audioMasterGetInputLatency); }
VstInt32 AudioEffectX::getOutputLatency() { return (VstInt32)callHost(audioMasterGetOutputLatency); }

VstTimeInfo* AudioEffectX::getTimeInfo(VstInt32 filter) {
    return (VstTimeInfo*)callHost(audioMasterGetTime, 0, filter);
}

VstInt32 AudioEffectX::getCurrentProcessLevel() {
    return (VstInt32)callHost(audioMasterGetCurrentProcessLevel);
}

VstInt32 AudioEffectX::getAutomationState() {
    return (VstInt32)callHost(audioMasterGetAutomationState);
}

bool AudioEffectX::getHostVendorString(char* text) {
    return callHost(audioMasterGetVendorString, 0, 0, text) != 0;
}

bool AudioEffectX::getHostProductString(char* text) {
    return callHost(audioMasterGetProductString, 0, 0, text) != 0;
}

VstInt32 AudioEffectX::getHostVendorVersion() {
    return (VstInt32)callHost(audioMasterGetVendorVersion);
}

VstIntPtr AudioEffectX::vendorSpecific(VstInt32 lArg, VstIntPtr lArg2, void*, float floatArg) {
    constexpr VstInt32 kContentScale = ('P' << 24) | ('r' << 16) | ('e' << 8) | 'S';
    constexpr VstIntPtr kScaleFactor = ('A' << 24) | ('e' << 16) | ('C' << 8) | 's';
    if (lArg == kContentScale && lArg2 == kScaleFactor && editor) return editor->SetScale(floatArg) ? 1 : 0;
    return 0;
}

VstIntPtr AudioEffectX::hostVendorSpecific(VstInt32 lArg1, VstIntPtr lArg2, void* ptrArg,
                                           float floatArg) {
    return callHost(audioMasterVendorSpecific, lArg1, lArg2, ptrArg, floatArg);
}

VstInt32 AudioEffectX::canHostDo(char* text) {
    return callHost(audioMasterCanDo, 0, 0, text) != 0 ? 1 : 0;
}

VstInt32 AudioEffectX::getHostLanguage() { return (VstInt32)callHost(audioMasterGetLanguage); }

void* AudioEffectX::getDirectory() { return (void*)callHost(audioMasterGetDirectory); }

bool AudioEffectX::updateDisplay() { return callHost(audioMasterUpdateDisplay) != 0; }

bool AudioEffectX::sizeWindow(VstInt32 width, VstInt32 height) {
    return callHost(audioMasterSizeWindow, width, height) != 0;
}

bool AudioEffectX::openFileSelector(VstFileSelect* ptr) {
    return ptr && callHost(audioMasterOpenFileSelector, 0, 0, ptr) != 0;
}

bool AudioEffectX::closeFileSelector(VstFileSelect* ptr) {
    return callHost(audioMasterCloseFileSelector, 0, 0, ptr) != 0;
}

bool AudioEffectX::offlineRead(VstOfflineTask* offline, VstInt32 option, bool readSource) {
    return callHost(audioMasterOfflineRead, readSource ? 1 : 0, option, offline) != 0;
}

bool AudioEffectX::offlineWrite(VstOfflineTask* offline, VstInt32 option) {
    return callHost(audioMasterOfflineWrite, 0, option, offline) != 0;
}

bool AudioEffectX::offlineStart(VstAudioFile* ptr, VstInt32 numAudioFiles,
                                VstInt32 numNewAudioFiles) {
    return callHost(audioMasterOfflineStart, numNewAudioFiles, numAudioFiles, ptr) != 0;
}

VstInt32 AudioEffectX::offlineGetCurrentPass() {
    return (VstInt32)callHost(audioMasterOfflineGetCurrentPass);
}

VstInt32 AudioEffectX::offlineGetCurrentMetaPass() {
    return (VstInt32)callHost(audioMasterOfflineGetCurrentMetaPass);
}

void AudioEffectX::wantEvents(VstInt32 filter) { callHost(audioMasterWantMidi, 0, filter); }

VstInt32 AudioEffectX::tempoAt(VstInt32 pos) { return (VstInt32)callHost(audioMasterTempoAt, 0, pos); }

VstInt32 AudioEffectX::getNumAutomatableParameters() {
    return (VstInt32)callHost(audioMasterGetNumAutomatableParameters);
}

VstInt32 AudioEffectX::getParameterQuantization() {
    return (VstInt32)callHost(audioMasterGetParameterQuantization);
}

bool AudioEffectX::needIdle() { return callHost(audioMasterNeedIdle) != 0; }

AEffect* AudioEffectX::getPreviousPlug(VstInt32 input) {
    return (AEffect*)callHost(audioMasterGetPreviousPlug, input);
}

AEffect* AudioEffectX::getNextPlug(VstInt32 output) {
    return (AEffect*)callHost(audioMasterGetNextPlug, output);
}

VstInt32 AudioEffectX::willProcessReplacing() {
    return (VstInt32)callHost(audioMasterWillReplaceOrAccumulate);
}

void AudioEffectX::setOutputSamplerate(float samplerate) {
    callHost(audioMasterSetOutputSampleRate, 0, 0, nullptr, samplerate);
}

VstSpeakerArrangement* AudioEffectX::getInputSpeakerArrangement() {
    return (VstSpeakerArrangement*)callHost(audioMasterGetInputSpeakerArrangement);
}

VstSpeakerArrangement* AudioEffectX::getOutputSpeakerArrangement() {
    return (VstSpeakerArrangement*)callHost(audioMasterGetOutputSpeakerArrangement);
}

void* AudioEffectX::openWindow(VstWindow* window) {
    return (void*)callHost(audioMasterOpenWindow, 0, 0, window);
}

bool AudioEffectX::closeWindow(VstWindow* window) {
    return callHost(audioMasterCloseWindow, 0, 0, window) != 0;
}

bool AudioEffectX::getChunkFile(void* nativePath) {
    return nativePath && callHost(audioMasterGetChunkFile, 0, 0, nativePath) != 0;
}

bool AudioEffectX::sendVstEventsToHost(VstEvents* events) {
    return callHost(audioMasterProcessEvents, 0, 0, events) == 1;
}

// --- speaker arrangement helpers ---------------------------------------------

bool AudioEffectX::allocateArrangement(VstSpeakerArrangement** arrangement, VstInt32 nbChannels) {
    if (!arrangement || nbChannels < 0) return false;
    deallocateArrangement(arrangement);
    // The record holds eight speakers inline; more channels extend it.
    size_t extra = nbChannels > 8 ? (size_t)(nbChannels - 8) * sizeof(VstSpeakerProperties) : 0;
    void* memory = std::calloc(1, sizeof(VstSpeakerArrangement) + extra);
    if (!memory) return false;
    *arrangement = (VstSpeakerArrangement*)memory;
    (*arrangement)->numChannels = nbChannels;
    return true;
}

bool AudioEffectX::deallocateArrangement(VstSpeakerArrangement** arrangement) {
    if (!arrangement) return false;
    std::free(*arrangement);
    *arrangement = nullptr;
    return true;
}

bool AudioEffectX::copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) {
    if (!to || !from) return false;
    std::memcpy(to, from, sizeof(VstSpeakerProperties));
    return true;
}

bool AudioEffectX::matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from) {
    if (!from || !allocateArrangement(to, from->numChannels)) return false;
    (*to)->type = from->type;
    for (VstInt32 i = 0; i < from->numChannels; i++) copySpeaker(&(*to)->speakers[i], &from->speakers[i]);
    return true;
}
