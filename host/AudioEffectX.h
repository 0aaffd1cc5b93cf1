// The extended effect class: dispatcher opcodes 25 to 79 and the rest of the
// host-callback wrappers, each with a harmless default answer.
#pragma once

#include "host/AudioEffect.h"

struct VstWindow;

class AudioEffectX : public AudioEffect {
public:
    AudioEffectX(audioMasterCallback audioMaster, VstInt32 numPrograms, VstInt32 numParams)
        : AudioEffect(audioMaster, numPrograms, numParams) {}

    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                         float opt) override;
    void resume() override;

    virtual bool canParameterBeAutomated(VstInt32 index) { return true; }
    virtual bool string2parameter(VstInt32 index, char* text) { return false; }
    virtual bool getParameterProperties(VstInt32 index, VstParameterProperties* p) {
        return false;
    }
    virtual bool beginEdit(VstInt32 index);
    virtual bool endEdit(VstInt32 index);
    virtual bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text) {
        return false;
    }
    virtual bool beginSetProgram() { return false; }
    virtual bool endSetProgram() { return false; }
    virtual VstInt32 beginLoadBank(VstPatchChunkInfo* ptr) { return 0; }
    virtual VstInt32 beginLoadProgram(VstPatchChunkInfo* ptr) { return 0; }
    virtual bool ioChanged();
    virtual double updateSampleRate();
    virtual VstInt32 updateBlockSize();
    virtual VstInt32 getInputLatency();
    virtual VstInt32 getOutputLatency();
    virtual bool getInputProperties(VstInt32 index, VstPinProperties* properties) {
        return false;
    }
    virtual bool getOutputProperties(VstInt32 index, VstPinProperties* properties) {
        return false;
    }
    virtual bool setSpeakerArrangement(VstSpeakerArrangement* pluginInput,
                                       VstSpeakerArrangement* pluginOutput) {
        return false;
    }
    virtual bool getSpeakerArrangement(VstSpeakerArrangement** pluginInput,
                                       VstSpeakerArrangement** pluginOutput);
    virtual bool setBypass(bool onOff) { return false; }
    virtual bool setPanLaw(VstInt32 type, float val) { return false; }
    virtual bool setProcessPrecision(VstInt32 precision) { return false; }
    virtual VstInt32 getNumMidiInputChannels() { return 0; }
    virtual VstInt32 getNumMidiOutputChannels() { return 0; }
    virtual VstTimeInfo* getTimeInfo(VstInt32 filter);
    virtual VstInt32 getCurrentProcessLevel();
    virtual VstInt32 getAutomationState();
    virtual VstInt32 processEvents(VstEvents* events) { return 0; }
    virtual VstInt32 startProcess() { return 0; }
    virtual VstInt32 stopProcess() { return 0; }
    virtual bool processVariableIo(VstVariableIo* varIo) { return false; }
    virtual VstInt32 setTotalSampleToProcess(VstInt32 value) { return value; }
    virtual bool getHostVendorString(char* text);
    virtual bool getHostProductString(char* text);
    virtual VstInt32 getHostVendorVersion();
    virtual VstIntPtr hostVendorSpecific(VstInt32 lArg1, VstIntPtr lArg2, void* ptrArg,
                                         float floatArg);
    virtual VstInt32 canHostDo(char* text);
    virtual VstInt32 getHostLanguage();
    virtual void isSynth(bool state = true) { setFlag(effFlagsIsSynth, state); }
    virtual void noTail(bool state = true) { setFlag(effFlagsNoSoundInStop, state); }
    virtual VstInt32 getGetTailSize() { return 0; }
    virtual void* getDirectory();
    virtual bool getEffectName(char* name) { return false; }
    virtual bool getVendorString(char* text) { return false; }
    virtual bool getProductString(char* text) { return false; }
    virtual VstInt32 getVendorVersion() { return 0; }
    // Answers the content scale that hosts send as 'PreS' / 'AeCs' with the
    // factor in floatArg by handing it to the editor (1 when taken).
    virtual VstIntPtr vendorSpecific(VstInt32 lArg, VstIntPtr lArg2, void* ptrArg, float floatArg);
    virtual VstInt32 canDo(char* text) { return 0; }
    virtual VstInt32 getVstVersion() { return 2300; }
    virtual VstPlugCategory getPlugCategory() { return kPlugCategUnknown; }
    virtual VstInt32 getMidiProgramName(VstInt32 channel, MidiProgramName* name) { return 0; }
    virtual VstInt32 getCurrentMidiProgram(VstInt32 channel, MidiProgramName* current) {
        return 0;
    }
    virtual VstInt32 getMidiProgramCategory(VstInt32 channel, MidiProgramCategory* category) {
        return 0;
    }
    virtual bool hasMidiProgramsChanged(VstInt32 channel) { return false; }
    virtual bool getMidiKeyName(VstInt32 channel, MidiKeyName* keyName) { return false; }
    virtual bool updateDisplay();
    virtual bool sizeWindow(VstInt32 width, VstInt32 height);
    virtual bool openFileSelector(VstFileSelect* ptr);
    virtual bool closeFileSelector(VstFileSelect* ptr);
    virtual VstInt32 getShellPlugin(char* name) { return 0; }
    virtual bool allocateArrangement(VstSpeakerArrangement** arrangement, VstInt32 nbChannels);
    virtual bool deallocateArrangement(VstSpeakerArrangement** arrangement);
    virtual bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from);
    virtual bool matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from);
    virtual bool offlineRead(VstOfflineTask* offline, VstInt32 option, bool readSource = true);
    virtual bool offlineWrite(VstOfflineTask* offline, VstInt32 option);
    virtual bool offlineStart(VstAudioFile* ptr, VstInt32 numAudioFiles,
                              VstInt32 numNewAudioFiles);
    virtual VstInt32 offlineGetCurrentPass();
    virtual VstInt32 offlineGetCurrentMetaPass();
    virtual bool offlineNotify(VstAudioFile* ptr, VstInt32 numAudioFiles, bool start) {
        return false;
    }
    virtual bool offlinePrepare(VstOfflineTask* offline, VstInt32 count) { return false; }
    virtual bool offlineRun(VstOfflineTask* offline, VstInt32 count) { return false; }
    virtual VstInt32 offlineGetNumPasses() { return 0; }
    virtual VstInt32 offlineGetNumMetaPasses() { return 0; }
    virtual void wantEvents(VstInt32 filter = 1);
    virtual VstInt32 tempoAt(VstInt32 pos);
    virtual VstInt32 getNumAutomatableParameters();
    virtual VstInt32 getParameterQuantization();
    virtual VstInt32 getNumCategories() { return 1; }
    virtual bool copyProgram(VstInt32 destination) { return false; }
    virtual bool needIdle();
    virtual AEffect* getPreviousPlug(VstInt32 input);
    virtual AEffect* getNextPlug(VstInt32 output);
    virtual void inputConnected(VstInt32 index, bool state) {}
    virtual void outputConnected(VstInt32 index, bool state) {}
    virtual VstInt32 willProcessReplacing();
    virtual void wantAsyncOperation(bool state = true) { setFlag(effFlagsExtIsAsync, state); }
    virtual void hasExternalBuffer(bool state = true) { setFlag(effFlagsExtHasBuffer, state); }
    virtual VstInt32 reportCurrentPosition() { return 0; }
    virtual float* reportDestinationBuffer() { return nullptr; }
    virtual void setOutputSamplerate(float samplerate);
    virtual VstSpeakerArrangement* getInputSpeakerArrangement();
    virtual VstSpeakerArrangement* getOutputSpeakerArrangement();
    virtual void* openWindow(VstWindow* window);
    virtual bool closeWindow(VstWindow* window);
    virtual void setBlockSizeAndSampleRate(VstInt32 newBlockSize, float newSampleRate) {
        blockSize = newBlockSize;
        sampleRate = newSampleRate;
    }
    virtual bool getErrorText(char* text) { return false; }
    virtual void* getIcon() { return nullptr; }
    virtual bool setViewPosition(VstInt32 x, VstInt32 y) { return false; }
    virtual VstInt32 fxIdle() { return 0; }
    virtual bool keysRequired() { return false; }
    virtual bool getChunkFile(void* nativePath);

    bool sendVstEventsToHost(VstEvents* events);
};
