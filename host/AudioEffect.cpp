#include "host/AudioEffect.h"

#include <cmath>
#include <cstdio>
#include <cstring>

void vstStrncpy(char* text, const char* src, VstInt32 maxLen) {
    if (maxLen < 0) maxLen = 0;
    std::strncpy(text, src, (size_t)maxLen);
    text[maxLen] = 0;
}

AudioEffect::AudioEffect(audioMasterCallback audioMaster, VstInt32 numPrograms,
                         VstInt32 numParams)
    : audioMaster(audioMaster), numPrograms(numPrograms), numParams(numParams) {
    std::memset(&cEffect, 0, sizeof(cEffect));
    cEffect.magic = kEffectMagic;
    cEffect.dispatcher = dispatchEffClass;
    cEffect.process = processClass;
    cEffect.setParameter = setParameterClass;
    cEffect.getParameter = getParameterClass;
    cEffect.numPrograms = numPrograms;
    cEffect.numParams = numParams;
    cEffect.numInputs = 1;
    cEffect.numOutputs = 2;
    cEffect.flags = effFlagsCanReplacing;
    cEffect.ioRatio = 1.0f;
    cEffect.object = this;
    cEffect.uniqueID = vstFourCC('N', 'o', 'E', 'f');
    cEffect.version = 1;
    cEffect.processReplacing = processClassReplacing;
    cEffect.processDoubleReplacing = processClassDoubleReplacing;
}

AudioEffect::~AudioEffect() { delete editor; }

void AudioEffect::setEditor(AEffEditor* newEditor) {
    editor = newEditor;
    setFlag(effFlagsHasEditor, newEditor != nullptr);
}

VstIntPtr AudioEffect::callHost(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                float opt) {
    if (!audioMaster) return 0;
    return audioMaster(&cEffect, opcode, index, value, ptr, opt);
}

// --- trampolines ------------------------------------------------------------

VstIntPtr AudioEffect::dispatchEffClass(AEffect* e, VstInt32 opcode, VstInt32 index,
                                        VstIntPtr value, void* ptr, float opt) {
    AudioEffect* effect = static_cast<AudioEffect*>(e->object);
    if (opcode == effClose) {
        effect->dispatcher(opcode, index, value, ptr, opt);
        delete effect;
        return 1;
    }
    return effect->dispatcher(opcode, index, value, ptr, opt);
}

float AudioEffect::getParameterClass(AEffect* e, VstInt32 index) {
    return static_cast<AudioEffect*>(e->object)->getParameter(index);
}

void AudioEffect::setParameterClass(AEffect* e, VstInt32 index, float value) {
    static_cast<AudioEffect*>(e->object)->setParameter(index, value);
}

void AudioEffect::processClass(AEffect* e, float** inputs, float** outputs,
                               VstInt32 sampleFrames) {
    static_cast<AudioEffect*>(e->object)->process(inputs, outputs, sampleFrames);
}

void AudioEffect::processClassReplacing(AEffect* e, float** inputs, float** outputs,
                                        VstInt32 sampleFrames) {
    static_cast<AudioEffect*>(e->object)->processReplacing(inputs, outputs, sampleFrames);
}

void AudioEffect::processClassDoubleReplacing(AEffect* e, double** inputs, double** outputs,
                                              VstInt32 sampleFrames) {
    static_cast<AudioEffect*>(e->object)->processDoubleReplacing(inputs, outputs, sampleFrames);
}

// --- dispatcher for opcodes 0 to 24 -------------------------------------------

VstIntPtr AudioEffect::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt) {
    switch (opcode) {
        case effOpen: open(); return 0;
        case effClose: close(); return 0;
        case effSetProgram:
            // Only the upper bound is part of the interface; a negative number
            // would index outside the banks, so it is ignored as well.
            if (value < numPrograms && value >= 0) setProgram((VstInt32)value);
            return 0;
        case effGetProgram: return getProgram();
        case effSetProgramName: if (ptr) setProgramName((char*)ptr); return 0;
        case effGetProgramName: if (ptr) getProgramName((char*)ptr); return 0;
        case effGetParamLabel: if (ptr) getParameterLabel(index, (char*)ptr); return 0;
        case effGetParamDisplay: if (ptr) getParameterDisplay(index, (char*)ptr); return 0;
        case effGetParamName: if (ptr) getParameterName(index, (char*)ptr); return 0;
        case effGetVu: return (VstIntPtr)(getVu() * 32767.0f);
        case effSetSampleRate: setSampleRate(opt); return 0;
        case effSetBlockSize: setBlockSize((VstInt32)value); return 0;
        case effMainsChanged:
            if (value)
                resume();
            else
                suspend();
            return 0;
        case effEditGetRect:
            if (editor && ptr) return editor->getRect((ERect**)ptr) ? 1 : 0;
            return 0;
        case effEditOpen: return editor ? (editor->open(ptr) ? 1 : 0) : 0;
        case effEditClose: if (editor) editor->close(); return 0;
        case effEditDraw: if (editor) editor->draw((ERect*)ptr); return 0;
        case effEditMouse: return editor ? editor->mouse(index, (VstInt32)value) : 0;
        case effEditKey: return editor ? editor->key((VstInt32)value) : 0;
        case effEditIdle: if (editor) editor->idle(); return 0;
        case effEditTop: if (editor) editor->top(); return 0;
        case effEditSleep: if (editor) editor->sleep(); return 0;
        case effIdentify: return vstFourCC('N', 'v', 'E', 'f');
        case effGetChunk: return ptr ? getChunk((void**)ptr, index != 0) : 0;
        case effSetChunk: return setChunk(ptr, (VstInt32)value, index != 0);
        default: return 0;
    }
}

// --- host-callback wrappers ---------------------------------------------------

void AudioEffect::setParameterAutomated(VstInt32 index, float value) {
    setParameter(index, value);
    callHost(audioMasterAutomate, index, 0, nullptr, value);
}

VstInt32 AudioEffect::getMasterVersion() {
    VstInt32 version = (VstInt32)callHost(audioMasterVersion);
    return version ? version : 1;
}

VstInt32 AudioEffect::getCurrentUniqueId() { return (VstInt32)callHost(audioMasterCurrentId); }

void AudioEffect::masterIdle() { callHost(audioMasterIdle); }

bool AudioEffect::isInputConnected(VstInt32 input) {
    return callHost(audioMasterPinConnected, input, 0) == 0;
}

bool AudioEffect::isOutputConnected(VstInt32 output) {
    return callHost(audioMasterPinConnected, output, 1) == 0;
}

// --- text formatting ------------------------------------------------------------

void AudioEffect::dB2string(float value, char* text, VstInt32 maxLen) {
    if (value <= 0.0f)
        vstStrncpy(text, "-oo", maxLen);
    else
        float2string((float)(20.0 * std::log10(value)), text, maxLen);
}

void AudioEffect::Hz2string(float samples, char* text, VstInt32 maxLen) {
    float2string(samples == 0.0f ? 0.0f : getSampleRate() / samples, text, maxLen);
}

void AudioEffect::ms2string(float samples, char* text, VstInt32 maxLen) {
    float2string(samples * 1000.0f / getSampleRate(), text, maxLen);
}

void AudioEffect::float2string(float value, char* text, VstInt32 maxLen) {
    if (maxLen < 0) maxLen = 0;
    char integerPart[64];
    int integerLength = std::snprintf(integerPart, sizeof integerPart, "%.0f", std::trunc(value));
    if (value < 0.0f && integerPart[0] != '-') integerLength++;  // "-0.5" needs its sign
    if (!std::isfinite(value) || integerLength > maxLen) {
        vstStrncpy(text, "Huge!", maxLen);
        return;
    }
    // As many decimals as fit after the integer part and the point.
    int decimals = maxLen - integerLength - 1;
    if (decimals < 0) decimals = 0;
    char formatted[96];
    for (;; decimals--) {
        std::snprintf(formatted, sizeof formatted, "%.*f", decimals, (double)value);
        if ((int)std::strlen(formatted) <= maxLen || decimals == 0) break;
    }
    vstStrncpy(text, formatted, maxLen);
}

void AudioEffect::int2string(VstInt32 value, char* text, VstInt32 maxLen) {
    char formatted[32];
    int length = std::snprintf(formatted, sizeof formatted, "%d", value);
    vstStrncpy(text, length > maxLen ? "Huge!" : formatted, maxLen);
}
