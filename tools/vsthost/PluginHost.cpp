#include "tools/vsthost/PluginHost.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <strings.h>

namespace vsthost {

namespace {

// The instance being built: a plug-in may call back from inside its entry
// point, before the host has had the chance to mark its AEffect.
thread_local PluginHost* t_constructing = nullptr;
// Set on a real-time host's audio thread (markAudioThread).
thread_local bool t_audioThread = false;

constexpr VstIntPtr kHostVstVersion = 2400;
constexpr size_t kTextBuffer = 512;  // far above every VST text limit

// What this host really does, in the words plug-ins ask with.
const char* const kHostCanDo[] = {"sendVstTimeInfo", "startStopProcess"};

}  // namespace

std::string fourCCText(VstInt32 id) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        char c = (char)((uint32_t)id >> shift);
        text += (c >= 32 && c < 127) ? c : '.';
    }
    return text;
}

// ---------------------------------------------------------------- module --

std::shared_ptr<PluginModule> PluginModule::load(const std::string& path) {
    std::shared_ptr<PluginModule> module(new PluginModule());
    module->path_ = path;
    module->handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module->handle_) {
        const char* why = dlerror();
        throw HostError("cannot load " + path + ": " + (why ? why : "unknown error"));
    }
    for (const char* name : {"VSTPluginMain", "main"}) {
        if (void* symbol = dlsym(module->handle_, name)) {
            module->entry_ = reinterpret_cast<EntryProc>(symbol);
            module->entryName_ = name;
            break;
        }
    }
    if (!module->entry_)
        throw HostError(path + " exports neither VSTPluginMain nor main");
    return module;
}

PluginModule::~PluginModule() {
    if (handle_)
        dlclose(handle_);
}

std::string PluginModule::folder() const {
    size_t slash = path_.rfind('/');
    if (slash == std::string::npos)
        return "./";
    return path_.substr(0, slash + 1);
}

// ---------------------------------------------------------------- host ----

PluginHost::PluginHost(std::shared_ptr<PluginModule> module, const HostTransport& transport)
    : module_(std::move(module)), transport_(transport), directory_(module_->folder()),
      tempo_(transport.tempo) {
    PluginHost* previous = t_constructing;
    t_constructing = this;
    AEffect* effect = module_->entry()(&PluginHost::callback);
    t_constructing = previous;
    if (!effect)
        throw HostError(module_->path() + ": the entry point returned no effect");
    if (effect->magic != kEffectMagic)
        throw HostError(module_->path() + ": the effect record has a wrong magic number");
    effect_ = effect;
    // resvd1 is the host's own field: it leads the callback back to us.
    effect_->resvd1 = reinterpret_cast<VstIntPtr>(this);
}

std::unique_ptr<PluginHost> PluginHost::create(const std::string& path,
                                               const HostTransport& transport) {
    return std::make_unique<PluginHost>(PluginModule::load(path), transport);
}

PluginHost::~PluginHost() {
    close();
}

VstIntPtr PluginHost::dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                               float opt) {
    if (!effect_)
        return 0;
    return effect_->dispatcher(effect_, opcode, index, value, ptr, opt);
}

void PluginHost::open() {
    if (opened_)
        return;
    dispatch(effOpen);
    opened_ = true;
}

void PluginHost::setSampleRate(double rate) {
    transport_.sampleRate = rate;
    dispatch(effSetSampleRate, 0, 0, nullptr, (float)rate);
}

void PluginHost::setBlockSize(int frames) {
    transport_.blockSize = frames;
    dispatch(effSetBlockSize, 0, frames);
}

void PluginHost::setProcessPrecision(bool doublePrecision) {
    dispatch(effSetProcessPrecision, 0,
             doublePrecision ? kVstProcessPrecision64 : kVstProcessPrecision32);
}

void PluginHost::resume() {
    if (resumed_)
        return;
    dispatch(effMainsChanged, 0, 1);
    dispatch(effStartProcess);
    resumed_ = true;
}

void PluginHost::suspend() {
    if (!resumed_)
        return;
    dispatch(effStopProcess);
    dispatch(effMainsChanged, 0, 0);
    resumed_ = false;
}

void PluginHost::close() {
    if (!effect_)
        return;
    suspend();
    // A plug-in frees itself on effClose, whether it was opened or not.
    dispatch(effClose);
    effect_ = nullptr;
    opened_ = false;
}

std::string PluginHost::dispatchString(VstInt32 opcode, VstInt32 index) {
    char text[kTextBuffer] = {};
    dispatch(opcode, index, 0, text);
    text[kTextBuffer - 1] = 0;
    return text;
}

std::string PluginHost::effectName() { return dispatchString(effGetEffectName, 0); }
std::string PluginHost::vendorString() { return dispatchString(effGetVendorString, 0); }
std::string PluginHost::productString() { return dispatchString(effGetProductString, 0); }
VstInt32 PluginHost::vendorVersion() { return (VstInt32)dispatch(effGetVendorVersion); }
VstInt32 PluginHost::vstVersion() { return (VstInt32)dispatch(effGetVstVersion); }
VstInt32 PluginHost::tailSize() { return (VstInt32)dispatch(effGetTailSize); }

VstIntPtr PluginHost::canDo(const std::string& text) {
    std::vector<char> buffer(text.begin(), text.end());
    buffer.resize(text.size() + kTextBuffer, 0);
    return dispatch(effCanDo, 0, 0, buffer.data());
}

std::string PluginHost::paramName(int index) { return dispatchString(effGetParamName, index); }
std::string PluginHost::paramLabel(int index) { return dispatchString(effGetParamLabel, index); }
std::string PluginHost::paramDisplay(int index) {
    return dispatchString(effGetParamDisplay, index);
}

float PluginHost::getParam(int index) { return effect_->getParameter(effect_, index); }
void PluginHost::setParam(int index, float value) { effect_->setParameter(effect_, index, value); }

int PluginHost::findParam(const std::string& name) {
    int folded = -1;
    for (int i = 0; i < numParams(); ++i) {
        std::string candidate = paramName(i);
        if (candidate == name)
            return i;
        if (folded < 0 && strcasecmp(candidate.c_str(), name.c_str()) == 0)
            folded = i;
    }
    return folded;
}

int PluginHost::currentProgram() { return (int)dispatch(effGetProgram); }

void PluginHost::setProgram(int index) {
    dispatch(effBeginSetProgram);
    dispatch(effSetProgram, 0, index);
    dispatch(effEndSetProgram);
}

std::string PluginHost::programName() { return dispatchString(effGetProgramName, 0); }

void PluginHost::setProgramName(const std::string& name) {
    char text[kTextBuffer] = {};
    strncpy(text, name.c_str(), kVstMaxProgNameLen - 1);
    dispatch(effSetProgramName, 0, 0, text);
}

std::string PluginHost::programNameIndexed(int index) {
    char text[kTextBuffer] = {};
    if (dispatch(effGetProgramNameIndexed, index, -1, text)) {
        text[kTextBuffer - 1] = 0;
        return text;
    }
    int current = currentProgram();
    setProgram(index);
    std::string name = programName();
    setProgram(current);
    return name;
}

std::vector<std::string> PluginHost::programNames() {
    std::vector<std::string> names;
    for (int i = 0; i < numPrograms(); ++i)
        names.push_back(programNameIndexed(i));
    return names;
}

std::vector<uint8_t> PluginHost::getChunk(bool isPreset) {
    void* data = nullptr;
    VstIntPtr size = dispatch(effGetChunk, isPreset ? 1 : 0, 0, &data);
    if (size <= 0 || !data)
        return {};
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    return std::vector<uint8_t>(bytes, bytes + size);
}

VstIntPtr PluginHost::setChunk(const std::vector<uint8_t>& data, bool isPreset) {
    // Plug-ins may keep reading while they parse: hand them a private copy.
    std::vector<uint8_t> copy(data);
    return dispatch(effSetChunk, isPreset ? 1 : 0, (VstIntPtr)copy.size(), copy.data());
}

void PluginHost::processFloat(float** inputs, float** outputs, int frames) {
    effect_->processReplacing(effect_, inputs, outputs, frames);
    samplePos_ = samplePos_.load() + frames;
}

void PluginHost::processDouble(double** inputs, double** outputs, int frames) {
    effect_->processDoubleReplacing(effect_, inputs, outputs, frames);
    samplePos_ = samplePos_.load() + frames;
}

VstTimeInfo PluginHost::timeInfo() const {
    VstTimeInfo t{};
    const double position = samplePos_.load();
    t.samplePos = position;
    t.sampleRate = transport_.sampleRate;
    t.nanoSeconds = (double)std::chrono::duration_cast<std::chrono::nanoseconds>(
                        std::chrono::steady_clock::now().time_since_epoch())
                        .count();
    const double tempo = tempo_.load();
    const double quarters = position / transport_.sampleRate * tempo / 60.0;
    const double quartersPerBar =
        transport_.timeSigNumerator * 4.0 / std::max(1, transport_.timeSigDenominator);
    t.ppqPos = quarters;
    t.tempo = tempo;
    t.barStartPos = std::floor(quarters / quartersPerBar) * quartersPerBar;
    t.timeSigNumerator = transport_.timeSigNumerator;
    t.timeSigDenominator = transport_.timeSigDenominator;
    t.flags = kVstTransportPlaying | kVstNanosValid | kVstPpqPosValid | kVstTempoValid |
              kVstBarsValid | kVstTimeSigValid | (position == 0.0 ? kVstTransportChanged : 0);
    return t;
}

CallbackLog PluginHost::callbackLog() const {
    std::lock_guard<std::mutex> lock(logMutex_);
    CallbackLog log = log_;
    log.getTime = getTimeCalls_.load();
    return log;
}

void PluginHost::clearCallbackLog() {
    std::lock_guard<std::mutex> lock(logMutex_);
    log_ = CallbackLog();
    getTimeCalls_ = 0;
}

CallbackLog PluginHost::takeCallbackLog() {
    std::lock_guard<std::mutex> lock(logMutex_);
    CallbackLog log = std::move(log_);
    log.getTime = getTimeCalls_.exchange(0);
    log_ = CallbackLog();
    return log;
}

void PluginHost::markAudioThread() {
    t_audioThread = true;
}

VstIntPtr PluginHost::callback(AEffect* effect, VstInt32 opcode, VstInt32 index,
                               VstIntPtr value, void* ptr, float opt) {
    PluginHost* host = effect ? reinterpret_cast<PluginHost*>(effect->resvd1) : nullptr;
    if (!host)
        host = t_constructing;
    if (!host)
        return opcode == audioMasterVersion ? kHostVstVersion : 0;
    return host->answer(opcode, index, value, ptr, opt);
}

VstIntPtr PluginHost::answer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                             float opt) {
    if (t_audioThread && opcode != audioMasterGetTime) {
        refusedAudioCalls_.fetch_add(1, std::memory_order_relaxed);
        return 0;
    }
    switch (opcode) {
    case audioMasterAutomate: {
        std::lock_guard<std::mutex> lock(logMutex_);
        log_.automation.push_back({index, opt});
        return 0;
    }
    case audioMasterVersion:
        return kHostVstVersion;
    case audioMasterCurrentId:
        return effect_ ? effect_->uniqueID : 0;
    case audioMasterIdle:
        return 0;
    case audioMasterPinConnected: {
        // The VST convention: 0 means "connected".
        const int pins = !effect_ ? 2 : (value == 0 ? effect_->numInputs : effect_->numOutputs);
        return (index >= 0 && index < pins) ? 0 : 1;
    }
    case audioMasterWantMidi:
        return 0;
    case audioMasterGetTime: {
        getTimeCalls_.fetch_add(1, std::memory_order_relaxed);
        if (!transport_.timeInfo)
            return 0;
        // One record per thread: the audio thread's stays as it was during
        // its block whatever another thread asks meanwhile.
        thread_local VstTimeInfo answered;
        answered = timeInfo();
        return reinterpret_cast<VstIntPtr>(&answered);
    }
    case audioMasterTempoAt: {
        std::lock_guard<std::mutex> lock(logMutex_);
        ++log_.tempoAt;
        return (VstIntPtr)(tempo_.load() * transport_.tempoAtScale + 0.5);
    }
    case audioMasterGetNumAutomatableParameters:
        return effect_ ? effect_->numParams : 0;
    case audioMasterIOChanged: {
        std::lock_guard<std::mutex> lock(logMutex_);
        ++log_.ioChanged;
        return 0;
    }
    case audioMasterSizeWindow: {
        // The editor window follows on the next turn of the editor session.
        std::lock_guard<std::mutex> lock(logMutex_);
        log_.sizeWindowWidth = index;
        log_.sizeWindowHeight = (int)value;
        return index > 0 && value > 0 ? 1 : 0;
    }
    case audioMasterGetSampleRate:
        return (VstIntPtr)transport_.sampleRate;
    case audioMasterGetBlockSize:
        return transport_.blockSize;
    case audioMasterGetInputLatency:
    case audioMasterGetOutputLatency:
        return 0;
    case audioMasterWillReplaceOrAccumulate:
        return 1;  // replacing
    case audioMasterGetCurrentProcessLevel:
        return transport_.processLevel;
    case audioMasterGetAutomationState:
        return kVstAutomationOff;
    case audioMasterGetVendorString:
        if (ptr)
            strcpy(static_cast<char*>(ptr), "TapDelay");
        return ptr ? 1 : 0;
    case audioMasterGetProductString:
        if (ptr)
            strcpy(static_cast<char*>(ptr), "vsthost");
        return ptr ? 1 : 0;
    case audioMasterGetVendorVersion:
        return 1000;
    case audioMasterCanDo: {
        const char* text = static_cast<const char*>(ptr);
        if (!text)
            return 0;
        {
            std::lock_guard<std::mutex> lock(logMutex_);
            log_.canDoQueries.push_back(text);
        }
        for (const char* known : kHostCanDo)
            if (strcmp(text, known) == 0)
                return 1;
        return 0;
    }
    case audioMasterGetLanguage:
        return kVstLangEnglish;
    case audioMasterGetDirectory:
        return reinterpret_cast<VstIntPtr>(directory_.c_str());
    case audioMasterUpdateDisplay: {
        std::lock_guard<std::mutex> lock(logMutex_);
        ++log_.updateDisplay;
        return 1;
    }
    case audioMasterBeginEdit: {
        std::lock_guard<std::mutex> lock(logMutex_);
        ++log_.beginEdit;
        return 1;
    }
    case audioMasterEndEdit: {
        std::lock_guard<std::mutex> lock(logMutex_);
        ++log_.endEdit;
        return 1;
    }
    default: {
        std::lock_guard<std::mutex> lock(logMutex_);
        log_.unknownOpcodes.push_back(opcode);
        return 0;
    }
    }
}

}  // namespace vsthost
