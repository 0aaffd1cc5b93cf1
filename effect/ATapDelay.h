// The effect object: six delay taps mixed with the dry signal, 62 parameters,
// three banks of 64 programs, chunks and the default bank file.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "dsp/DelayMain.h"
#include "effect/ATapDelayProgram.h"
#include "effect/ParamTable.h"
#include "host/AudioEffectX.h"
#include "toolkit/CCriticalSection.h"
#include "TapDelayVersion.h"

// The names every format reports.
constexpr const char kTapDelayName[] = "TapDelay";
constexpr const char kTapDelayVendor[] = "VELDOTEK Co.,Ltd.";

// What the effect tells the open editor window; null while no window is open.
class IEditorView {
public:
    virtual ~IEditorView() = default;
    virtual void UpdateControl(int index, float value) = 0;
    virtual void UpdateModify() = 0;
};

// The stream format the effect keeps, shaped as a WAVEFORMATEX.
struct StreamFormat {
    uint16_t formatTag = 3;  // IEEE float
    uint16_t channels = 2;
    uint32_t samplesPerSec = 44100;
    uint32_t avgBytesPerSec = 352800;
    uint16_t blockAlign = 8;
    uint16_t bitsPerSample = 32;
    uint16_t extraSize = 0;
};

class ATapDelay : public AudioEffectX {
public:
    explicit ATapDelay(audioMasterCallback audioMaster);
    ~ATapDelay() override;

    // Lifecycle and processing.
    void open() override;
    void suspend() override;
    void resume() override;
    void setSampleRate(float sampleRate) override;
    void setBlockSize(VstInt32 blockSize) override;
    VstInt32 startProcess() override;
    bool setBypass(bool onOff) override;
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override;
    void processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames) override;

    // Parameters.
    void setParameter(VstInt32 index, float value) override;
    float getParameter(VstInt32 index) override;
    void getParameterLabel(VstInt32 index, char* label) override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    void getParameterName(VstInt32 index, char* text) override;
    bool getParameterProperties(VstInt32 index, VstParameterProperties* p) override;
    float getParameterDisplayVal(int index);
    void setParameterFromDiaplay(int index, float value);
    void setParameterFormUI(int index, float value);

    // Programs.
    void setProgram(VstInt32 program) override;
    void setProgramName(char* name) override;
    void getProgramName(char* name) override;
    bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text) override;
    bool IsProgramChanged();
    void ProgramToInitial();
    void ProgramToAllInitial();
    void ProgramToFactory();
    void ProgramToAllFactory();
    void CopyPgFrom(int source);

    // Persistence.
    VstInt32 getChunk(void** data, bool isPreset) override;
    VstInt32 setChunk(void* data, VstInt32 byteSize, bool isPreset) override;
    void SetFactoryProgram();
    void SaveProgram(int index, const char* name);

    // Identity.
    bool getEffectName(char* name) override;
    bool getVendorString(char* text) override;
    bool getProductString(char* text) override;
    VstInt32 getVendorVersion() override { return TAPDELAY_VERSION_INT; }
    VstInt32 canDo(char* text) override;
    VstPlugCategory getPlugCategory() override { return kPlugCategEffect; }

    // For the editor.
    void GetVU(float* inL, float* inR, float* outL, float* outR);
    int GetClip() { return 0; }
    uint16_t GetProcessCounter() const { return processCounter.load(std::memory_order_relaxed); }
    void SetEditorView(IEditorView* view) { editorView = view; }

    // The folders the bank file is looked up in (each ends in "/").
    const char* GetPluginFolder() const { return bundleFolder; }
    const char* GetPreferencesFolder() const;

private:
    void ApplyParameter(int index, float normalised, float internal, bool writeRecord);
    void Publish(int index, float normalised, float tapValue);
    void SetActiveFlag(float active);
    void RecomputeInternalValues();
    void FoldPendingRecords();
    // The audio thread's side: changes picked up at the start of a block,
    // then the block itself in slices of the work buffers' size.
    void TakeChanges();
    void ApplyToTaps(int index);
    bool BeginBlock(int sampleFrames);
    void PublishPeaks();
    void ProcessSlice(double** inputs, double** outputs, int offset, int count);
    void FollowTempo();
    void MixSlice(double** inputs, double** outputs, int offset, int count);
    void AllocateWorkBuffers(int size);
    void FreeWorkBuffers();
    void FindPluginFolder();
    void LoadDefaultBank();
    void CopyCurrentBankToInitial();
    void AfterProgramOperation();
    ATapDelayProgram& CurrentRecord() { return programs[curProgram]; }

    // Program loads replay every parameter; while one runs (or if one ran
    // while a block picked up changes), the audio thread keeps the settings
    // it has, so a block never mixes two programs.
    class Batch {
    public:
        explicit Batch(ATapDelay& effect);
        ~Batch();
    private:
        ATapDelay& effect;
    };

    std::atomic<uint16_t> processCounter{0xFFFF};
    ATapDelayProgram programs[kNumPrograms];
    DelayMain delays[kNumTaps];
    ATapDelayProgram initialPrograms[kNumPrograms];
    ATapDelayProgram factoryPrograms[kNumPrograms];
    // What getChunk hands out: a copy taken under the program lock, so the host
    // reads a consistent state while tempo following writes the live bank.
    ATapDelayProgram chunkSnapshot[kNumPrograms];
    double* workBuffers[kNumTaps][2] = {};
    // The taps and their work buffers as the multi-tap engine call takes them.
    DelayMain* tapList[kNumTaps] = {};
    double** workBufferList[kNumTaps] = {};
    char bundleFolder[2048] = {};
    // What any thread writes and reads: normalised values (params[0] is the
    // active flag), internal values, the value each tap setter takes, the
    // value the current program's record takes and which of those are new.
    std::atomic<float> params[kNumParams] = {};
    StreamFormat streamFormat;
    std::atomic<int32_t> blockSizeCopy{256};
    std::atomic<float> internal[kNumParams] = {};  // internal values (ms, dB, Hz, ...)
    std::atomic<float> tapValues[kNumParams] = {};
    std::atomic<float> recordValues[kNumParams] = {};
    std::atomic<uint64_t> changedParams{0};   // for the audio thread
    std::atomic<uint64_t> pendingRecords{0};  // for the current program's record
    std::atomic<int> openBatches{0};
    std::atomic<uint32_t> closedBatches{0};
    std::atomic<bool> clearRequested{false};  // suspend and startProcess clear the lines
    std::atomic<float> peakInL{0}, peakInR{0}, peakOutL{0}, peakOutR{0};
    // The audio thread's own copies, changed only at the start of a block.
    float liveParams[kNumParams] = {};
    float liveInternal[kNumParams] = {};
    float outputGain = 1.0f;
    float inputGain = 1.0f;
    float blockPeak[4] = {};
    // Single-precision blocks are widened into this, one slice at a time.
    std::vector<double> floatBridge;
    // Guards the banks and the current program number among the threads that
    // are not the audio thread; the audio thread never takes it.
    CCriticalSection programLock;
    IEditorView* editorView = nullptr;
};

// Big-endian words of the bank file, read and written byte by byte.
class CFile;
uint32_t getDWordFile(CFile& file);
uint16_t getWordFile(CFile& file);
void putDWordFile(CFile& file, uint32_t value);

// Fills the Preferences folder path ("" when there is no home folder).
void GetMy_SHFOLDER_PathName();
extern char szGlobalMyApplicationDataPathName[2048];
