// The base effect class: owns the AEffect record the host holds, turns
// dispatcher opcodes 0 to 24 into virtual calls and wraps the host callback.
// Every operation answers harmlessly until an effect overrides it.
#pragma once

#include "host/AEffEditor.h"
#include "host/VstAbi.h"

class AudioEffect {
public:
    AudioEffect(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams);
    virtual ~AudioEffect();

    virtual VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                 float opt);

    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}
    virtual void setSampleRate(float newSampleRate) { sampleRate = newSampleRate; }
    virtual void setBlockSize(VstInt32 newBlockSize) { blockSize = newBlockSize; }

    virtual void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) {}
    virtual void processDoubleReplacing(double** inputs, double** outputs,
                                        VstInt32 sampleFrames) {}

    virtual void setParameter(VstInt32 index, float value) {}
    virtual float getParameter(VstInt32 index) { return 0.0f; }
    virtual void setParameterAutomated(VstInt32 index, float value);

    virtual VstInt32 getProgram() { return curProgram; }
    virtual void setProgram(VstInt32 program) { curProgram = program; }
    virtual void setProgramName(char* name) {}
    virtual void getProgramName(char* name) { *name = 0; }
    virtual void getParameterLabel(VstInt32 index, char* label) { *label = 0; }
    virtual void getParameterDisplay(VstInt32 index, char* text) { *text = 0; }
    virtual void getParameterName(VstInt32 index, char* text) { *text = 0; }

    virtual VstInt32 getChunk(void** data, bool isPreset = false) { return 0; }
    virtual VstInt32 setChunk(void* data, VstInt32 byteSize, bool isPreset = false) { return 0; }

    virtual void setUniqueID(VstInt32 iD) { cEffect.uniqueID = iD; }
    virtual void setNumInputs(VstInt32 inputs) { cEffect.numInputs = inputs; }
    virtual void setNumOutputs(VstInt32 outputs) { cEffect.numOutputs = outputs; }
    virtual void canProcessReplacing(bool state = true) { setFlag(effFlagsCanReplacing, state); }
    virtual void canDoubleReplacing(bool state = true) {
        setFlag(effFlagsCanDoubleReplacing, state);
    }
    virtual void programsAreChunks(bool state = true) { setFlag(effFlagsProgramChunks, state); }
    virtual void setInitialDelay(VstInt32 delay) { cEffect.initialDelay = delay; }

    virtual AEffEditor* getEditor() { return editor; }
    virtual AEffect* getAeffect() { return &cEffect; }
    virtual float getSampleRate() { return sampleRate; }
    virtual VstInt32 getBlockSize() { return blockSize; }

    virtual VstInt32 getMasterVersion();
    virtual VstInt32 getCurrentUniqueId();
    virtual void masterIdle();

    virtual void dB2string(float value, char* text, VstInt32 maxLen);
    virtual void Hz2string(float samples, char* text, VstInt32 maxLen);
    virtual void ms2string(float samples, char* text, VstInt32 maxLen);
    virtual void float2string(float value, char* text, VstInt32 maxLen);
    virtual void int2string(VstInt32 value, char* text, VstInt32 maxLen);

    // Deprecated accumulating process: kept as an empty operation.
    virtual void process(float** inputs, float** outputs, VstInt32 sampleFrames) {}
    virtual float getVu() { return 0.0f; }
    virtual void hasVu(bool state = true) { setFlag(effFlagsHasVu, state); }
    virtual void hasClip(bool state = true) { setFlag(effFlagsHasClip, state); }
    virtual void canMono(bool state = true) { setFlag(effFlagsCanMono, state); }
    virtual void setRealtimeQualities(VstInt32 qualities) { cEffect.realQualities = qualities; }
    virtual void setOfflineQualities(VstInt32 qualities) { cEffect.offQualities = qualities; }
    virtual bool isInputConnected(VstInt32 input);
    virtual bool isOutputConnected(VstInt32 output);

    // Attaches the editor (owned from then on) and sets or clears the editor flag.
    void setEditor(AEffEditor* newEditor);

    // Host callback with this effect's AEffect; 0 when there is no callback.
    VstIntPtr callHost(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f);
    bool hasHost() const { return audioMaster != nullptr; }

    // The trampolines stored in the AEffect record.
    static VstIntPtr dispatchEffClass(AEffect* e, VstInt32 opcode, VstInt32 index,
                                      VstIntPtr value, void* ptr, float opt);
    static float getParameterClass(AEffect* e, VstInt32 index);
    static void setParameterClass(AEffect* e, VstInt32 index, float value);
    static void processClass(AEffect* e, float** inputs, float** outputs, VstInt32 sampleFrames);
    static void processClassReplacing(AEffect* e, float** inputs, float** outputs,
                                      VstInt32 sampleFrames);
    static void processClassDoubleReplacing(AEffect* e, double** inputs, double** outputs,
                                            VstInt32 sampleFrames);

protected:
    void setFlag(VstInt32 flag, bool state) {
        if (state)
            cEffect.flags |= flag;
        else
            cEffect.flags &= ~flag;
    }

    audioMasterCallback audioMaster;
    AEffEditor* editor = nullptr;
    float sampleRate = 44100.0f;
    VstInt32 blockSize = 1024;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 curProgram = 0;
    AEffect cEffect;
};

// Copies at most maxLen characters of src and always terminates at text[maxLen].
void vstStrncpy(char* text, const char* src, VstInt32 maxLen);
