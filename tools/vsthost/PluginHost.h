// Hosting one VST 2.4 plug-in instance: loading the shared object, creating
// the effect through its entry point, answering its host callback and
// wrapping the dispatcher in named calls.
#pragma once

#include "host/VstAbi.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace vsthost {

class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A dlopen()ed plug-in file with its entry point. Instances share it, so the
// library stays loaded until the last instance made from it is gone.
class PluginModule {
public:
    // Throws HostError when the file cannot be loaded or has no entry point.
    static std::shared_ptr<PluginModule> load(const std::string& path);
    ~PluginModule();
    PluginModule(const PluginModule&) = delete;
    PluginModule& operator=(const PluginModule&) = delete;

    using EntryProc = AEffect* (*)(audioMasterCallback);
    EntryProc entry() const { return entry_; }
    const std::string& path() const { return path_; }
    const std::string& entryName() const { return entryName_; }
    // The folder that holds the plug-in file, ending in '/'.
    std::string folder() const;

private:
    PluginModule() = default;
    void* handle_ = nullptr;
    EntryProc entry_ = nullptr;
    std::string path_;
    std::string entryName_;
};

// What the host tells the plug-in about its surroundings.
struct HostTransport {
    double sampleRate = 48000.0;
    int blockSize = 512;
    double tempo = 120.0;
    int timeSigNumerator = 4;
    int timeSigDenominator = 4;
    VstInt32 processLevel = kVstProcessLevelRealtime;
    // How audioMasterTempoAt answers: BPM times this. The interface says
    // 10000; 1000 and 0 are what some hosts answer instead.
    int tempoAtScale = 10000;
    // false: audioMasterGetTime answers null, as hosts without time info do.
    bool timeInfo = true;
};

struct AutomationEvent {
    VstInt32 index;
    float value;
};

// Everything the plug-in told or asked the host, for inspection and checks.
struct CallbackLog {
    std::vector<AutomationEvent> automation;
    std::vector<std::string> canDoQueries;
    std::vector<VstInt32> unknownOpcodes;
    int updateDisplay = 0;
    int beginEdit = 0;
    int endEdit = 0;
    int ioChanged = 0;
    int getTime = 0;
    int tempoAt = 0;
    // The latest audioMasterSizeWindow (width, height); 0 x 0 for none.
    int sizeWindowWidth = 0;
    int sizeWindowHeight = 0;
};

class PluginHost {
public:
    // Creates one effect instance from the module (does not send effOpen).
    explicit PluginHost(std::shared_ptr<PluginModule> module,
                        const HostTransport& transport = HostTransport());
    // Loads the file and creates an instance: the usual way in.
    static std::unique_ptr<PluginHost> create(const std::string& path,
                                              const HostTransport& transport = HostTransport());
    ~PluginHost();
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    AEffect* effect() const { return effect_; }
    const PluginModule& module() const { return *module_; }
    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f);

    // Lifecycle, in the order a host uses them.
    void open();
    void setSampleRate(double rate);
    void setBlockSize(int frames);
    void setProcessPrecision(bool doublePrecision);
    void resume();   // effMainsChanged(1) then effStartProcess
    void suspend();  // effStopProcess then effMainsChanged(0)
    void close();    // effClose; the instance is gone afterwards
    bool isOpen() const { return opened_ && effect_; }
    bool isResumed() const { return resumed_; }

    // Identity.
    std::string effectName();
    std::string vendorString();
    std::string productString();
    VstInt32 vendorVersion();
    VstInt32 vstVersion();
    VstInt32 uniqueId() const { return effect_->uniqueID; }
    VstInt32 version() const { return effect_->version; }
    VstInt32 flags() const { return effect_->flags; }
    int numInputs() const { return effect_->numInputs; }
    int numOutputs() const { return effect_->numOutputs; }
    int numParams() const { return effect_->numParams; }
    int numPrograms() const { return effect_->numPrograms; }
    bool hasFlag(VstInt32 flag) const { return (effect_->flags & flag) != 0; }
    VstIntPtr canDo(const std::string& text);
    VstInt32 tailSize();

    // Parameters.
    std::string paramName(int index);
    std::string paramLabel(int index);
    std::string paramDisplay(int index);
    float getParam(int index);
    void setParam(int index, float value);
    // -1 when no parameter has that name (exact first, then ignoring case).
    int findParam(const std::string& name);

    // Programs.
    int currentProgram();
    void setProgram(int index);
    std::string programName();  // of the current program
    void setProgramName(const std::string& name);
    // Name of program `index` without changing the current program when the
    // plug-in answers effGetProgramNameIndexed; otherwise by selecting it.
    std::string programNameIndexed(int index);
    std::vector<std::string> programNames();

    // Chunks (copied out of the plug-in's memory).
    std::vector<uint8_t> getChunk(bool isPreset);
    VstIntPtr setChunk(const std::vector<uint8_t>& data, bool isPreset);

    // Audio. Channel arrays must hold numInputs() / numOutputs() pointers,
    // each to at least `frames` samples; frames must not exceed the block size.
    void processFloat(float** inputs, float** outputs, int frames);
    void processDouble(double** inputs, double** outputs, int frames);

    // Transport seen through audioMasterGetTime / audioMasterTempoAt.
    HostTransport& transport() { return transport_; }
    // The tempo may change on the audio thread between blocks.
    void setTempo(double bpm) { tempo_ = transport_.tempo = bpm; }
    double tempo() const { return tempo_.load(); }
    double samplePosition() const { return samplePos_.load(); }
    void resetSamplePosition() { samplePos_ = 0.0; }
    // What audioMasterGetTime answers now.
    VstTimeInfo timeInfo() const;

    CallbackLog callbackLog() const;
    void clearCallbackLog();
    // The log so far, cleared: for hosts that run for hours.
    CallbackLog takeCallbackLog();

    // Marks the calling thread as a real-time host's audio thread: there the
    // callback answers audioMasterGetTime without waiting on anything and
    // refuses every other call (answers 0, counted).
    static void markAudioThread();
    int refusedAudioThreadCalls() const { return refusedAudioCalls_.load(); }

    // The host callback given to every plug-in.
    static VstIntPtr callback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                              void* ptr, float opt);

private:
    VstIntPtr answer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);
    std::string dispatchString(VstInt32 opcode, VstInt32 index);

    std::shared_ptr<PluginModule> module_;
    AEffect* effect_ = nullptr;
    HostTransport transport_;
    std::string directory_;
    bool opened_ = false;
    bool resumed_ = false;
    std::atomic<double> samplePos_{0.0};  // advanced by the audio thread
    std::atomic<double> tempo_;
    std::atomic<int> getTimeCalls_{0};
    std::atomic<int> refusedAudioCalls_{0};
    mutable std::mutex logMutex_;
    CallbackLog log_;
};

// Four characters of an ID such as 'VaTD', printable characters kept, others
// shown as '.'.
std::string fourCCText(VstInt32 id);

}  // namespace vsthost
