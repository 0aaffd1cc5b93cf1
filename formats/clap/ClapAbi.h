// The parts of the CLAP 1.x binary interface TapDelay uses, declared here
// from the published layout (records of C function pointers, x86-64 SysV:
// a bool is one byte, pointers and doubles 8). Names are our own, in our
// style; the order and types of every field are the interface's and must
// not change. Only what the plug-in and its tests touch is declared.
#pragma once

#include <cstdint>

namespace clap {

using Id = uint32_t;
constexpr Id kInvalidId = UINT32_MAX;
constexpr int kNameSize = 256;
constexpr int kPathSize = 1024;

struct Version {
    uint32_t major, minor, revision;
};
// The interface version we were written against; hosts accept any 1.x.
constexpr Version kVersion{1, 2, 0};

struct Host;
struct Plugin;

// --- the library's entry and factory -------------------------------------------

constexpr const char kPluginFactoryId[] = "clap.plugin-factory";

struct PluginDescriptor {
    Version clapVersion;
    const char* id;
    const char* name;
    const char* vendor;
    const char* url;
    const char* manualUrl;
    const char* supportUrl;
    const char* version;
    const char* description;
    const char* const* features;  // ends with a null
};

struct PluginFactory {
    uint32_t (*getPluginCount)(const PluginFactory* factory);
    const PluginDescriptor* (*getPluginDescriptor)(const PluginFactory* factory, uint32_t index);
    const Plugin* (*createPlugin)(const PluginFactory* factory, const Host* host, const char* pluginId);
};

// The exported symbol "clap_entry" is one of these.
struct PluginEntry {
    Version clapVersion;
    bool (*init)(const char* pluginPath);
    void (*deinit)();
    const void* (*getFactory)(const char* factoryId);
};

// --- events --------------------------------------------------------------------------

struct EventHeader {
    uint32_t size;  // of the whole event
    uint32_t time;  // frame within the block
    uint16_t spaceId;
    uint16_t type;
    uint32_t flags;
};
constexpr uint16_t kCoreEventSpace = 0;
enum EventType : uint16_t {
    kEventParamValue = 5,
    kEventParamGestureBegin = 7,
    kEventParamGestureEnd = 8,
    kEventTransport = 9,
};

struct EventParamValue {
    EventHeader header;
    Id paramId;
    void* cookie;
    int32_t noteId;  // -1: any
    int16_t portIndex, channel, key;
    double value;
};

struct EventParamGesture {
    EventHeader header;
    Id paramId;
};

enum TransportFlags : uint32_t { kTransportHasTempo = 1u << 0 };

struct EventTransport {
    EventHeader header;
    uint32_t flags;
    int64_t songPosBeats, songPosSeconds;  // fixed point, 2^31 per beat / second
    double tempo;                          // beats per minute
    double tempoIncrement;                 // per frame
    int64_t loopStartBeats, loopEndBeats, loopStartSeconds, loopEndSeconds;
    int64_t barStart;
    int32_t barNumber;
    uint16_t timeSignatureNumerator, timeSignatureDenominator;
};

struct InputEvents {
    void* context;
    uint32_t (*size)(const InputEvents* list);
    const EventHeader* (*get)(const InputEvents* list, uint32_t index);
};

struct OutputEvents {
    void* context;
    // Copies the event; false when the host could not take it.
    bool (*tryPush)(const OutputEvents* list, const EventHeader* event);
};

// --- processing -------------------------------------------------------------------

struct AudioBuffer {
    float** data32;   // one of the two is set
    double** data64;
    uint32_t channelCount;
    uint32_t latency;
    uint64_t constantMask;
};

struct Process {
    int64_t steadyTime;
    uint32_t framesCount;
    const EventTransport* transport;  // null: no transport
    const AudioBuffer* audioInputs;
    AudioBuffer* audioOutputs;
    uint32_t audioInputsCount;
    uint32_t audioOutputsCount;
    const InputEvents* inEvents;
    const OutputEvents* outEvents;
};

enum ProcessStatus : int32_t { kProcessError = 0, kProcessContinue = 1 };

// --- the host and the plug-in --------------------------------------------------------

struct Host {
    Version clapVersion;
    void* hostData;
    const char* name;
    const char* vendor;
    const char* url;
    const char* version;
    const void* (*getExtension)(const Host* host, const char* extensionId);
    void (*requestRestart)(const Host* host);
    void (*requestProcess)(const Host* host);
    void (*requestCallback)(const Host* host);
};

struct Plugin {
    const PluginDescriptor* desc;
    void* pluginData;
    bool (*init)(const Plugin* plugin);
    void (*destroy)(const Plugin* plugin);
    bool (*activate)(const Plugin* plugin, double sampleRate, uint32_t minFrames, uint32_t maxFrames);
    void (*deactivate)(const Plugin* plugin);
    bool (*startProcessing)(const Plugin* plugin);
    void (*stopProcessing)(const Plugin* plugin);
    void (*reset)(const Plugin* plugin);
    int32_t (*process)(const Plugin* plugin, const Process* process);
    const void* (*getExtension)(const Plugin* plugin, const char* extensionId);
    void (*onMainThread)(const Plugin* plugin);
};

// --- streams (state) ------------------------------------------------------------------

struct IStream {
    void* context;
    // Bytes read; 0 at the end, -1 on error.
    int64_t (*read)(const IStream* stream, void* buffer, uint64_t size);
};

struct OStream {
    void* context;
    // Bytes written; -1 on error.
    int64_t (*write)(const OStream* stream, const void* buffer, uint64_t size);
};

// --- extensions --------------------------------------------------------------------------

constexpr const char kExtAudioPorts[] = "clap.audio-ports";
constexpr const char kPortStereo[] = "stereo";
enum AudioPortFlags : uint32_t {
    kAudioPortIsMain = 1u << 0,
    kAudioPortSupports64Bits = 1u << 1,
    kAudioPortRequiresCommonSampleSize = 1u << 3,
};
struct AudioPortInfo {
    Id id;
    char name[kNameSize];
    uint32_t flags;
    uint32_t channelCount;
    const char* portType;
    Id inPlacePair;
};
struct PluginAudioPorts {
    uint32_t (*count)(const Plugin* plugin, bool isInput);
    bool (*get)(const Plugin* plugin, uint32_t index, bool isInput, AudioPortInfo* info);
};

constexpr const char kExtParams[] = "clap.params";
enum ParamFlags : uint32_t {
    kParamIsStepped = 1u << 0,
    kParamIsBypass = 1u << 4,
    kParamIsAutomatable = 1u << 5,
    kParamIsEnum = 1u << 16,
};
constexpr uint32_t kParamRescanValues = 1u << 0;  // a flag of HostParams::rescan
struct ParamInfo {
    Id id;
    uint32_t flags;
    void* cookie;
    char name[kNameSize];
    char module[kPathSize];
    double minValue, maxValue, defaultValue;
};
struct PluginParams {
    uint32_t (*count)(const Plugin* plugin);
    bool (*getInfo)(const Plugin* plugin, uint32_t index, ParamInfo* info);
    bool (*getValue)(const Plugin* plugin, Id id, double* value);
    bool (*valueToText)(const Plugin* plugin, Id id, double value, char* text, uint32_t capacity);
    bool (*textToValue)(const Plugin* plugin, Id id, const char* text, double* value);
    void (*flush)(const Plugin* plugin, const InputEvents* in, const OutputEvents* out);
};
struct HostParams {
    void (*rescan)(const Host* host, uint32_t flags);
    void (*clear)(const Host* host, Id id, uint32_t flags);
    void (*requestFlush)(const Host* host);
};

constexpr const char kExtState[] = "clap.state";
struct PluginState {
    bool (*save)(const Plugin* plugin, const OStream* stream);
    bool (*load)(const Plugin* plugin, const IStream* stream);
};
struct HostState {
    void (*markDirty)(const Host* host);
};

constexpr const char kExtLatency[] = "clap.latency";
struct PluginLatency {
    uint32_t (*get)(const Plugin* plugin);
};

constexpr const char kExtTail[] = "clap.tail";
struct PluginTail {
    uint32_t (*get)(const Plugin* plugin);  // INT32_MAX and above: endless
};

constexpr const char kExtRender[] = "clap.render";
enum RenderMode : int32_t { kRenderRealtime = 0, kRenderOffline = 1 };
struct PluginRender {
    bool (*hasHardRealtimeRequirement)(const Plugin* plugin);
    bool (*set)(const Plugin* plugin, int32_t mode);
};

constexpr const char kExtGui[] = "clap.gui";
constexpr const char kWindowApiX11[] = "x11";
struct Window {
    const char* api;
    union {
        void* pointer;  // the other systems' handles
        unsigned long x11;
    };
};
struct GuiResizeHints {
    bool canResizeHorizontally;
    bool canResizeVertically;
    bool preserveAspectRatio;
    uint32_t aspectRatioWidth;
    uint32_t aspectRatioHeight;
};
struct PluginGui {
    bool (*isApiSupported)(const Plugin* plugin, const char* api, bool isFloating);
    bool (*getPreferredApi)(const Plugin* plugin, const char** api, bool* isFloating);
    bool (*create)(const Plugin* plugin, const char* api, bool isFloating);
    void (*destroy)(const Plugin* plugin);
    bool (*setScale)(const Plugin* plugin, double scale);
    bool (*getSize)(const Plugin* plugin, uint32_t* width, uint32_t* height);
    bool (*canResize)(const Plugin* plugin);
    bool (*getResizeHints)(const Plugin* plugin, GuiResizeHints* hints);
    bool (*adjustSize)(const Plugin* plugin, uint32_t* width, uint32_t* height);
    bool (*setSize)(const Plugin* plugin, uint32_t width, uint32_t height);
    bool (*setParent)(const Plugin* plugin, const Window* window);
    bool (*setTransient)(const Plugin* plugin, const Window* window);
    void (*suggestTitle)(const Plugin* plugin, const char* title);
    bool (*show)(const Plugin* plugin);
    bool (*hide)(const Plugin* plugin);
};
struct HostGui {
    void (*resizeHintsChanged)(const Host* host);
    bool (*requestResize)(const Host* host, uint32_t width, uint32_t height);
    bool (*requestShow)(const Host* host);
    bool (*requestHide)(const Host* host);
    void (*closed)(const Host* host, bool wasDestroyed);
};

constexpr const char kExtThreadCheck[] = "clap.thread-check";
struct HostThreadCheck {
    bool (*isMainThread)(const Host* host);
    bool (*isAudioThread)(const Host* host);
};

constexpr const char kExtLog[] = "clap.log";
enum LogSeverity : int32_t { kLogInfo = 1, kLogWarning = 2, kLogHostMisbehaving = 5 };
struct HostLog {
    void (*log)(const Host* host, int32_t severity, const char* message);
};

constexpr const char kExtTimerSupport[] = "clap.timer-support";
struct PluginTimerSupport {
    void (*onTimer)(const Plugin* plugin, Id timerId);
};
struct HostTimerSupport {
    bool (*registerTimer)(const Host* host, uint32_t periodMs, Id* timerId);
    bool (*unregisterTimer)(const Host* host, Id timerId);
};

constexpr const char kExtPosixFdSupport[] = "clap.posix-fd-support";
constexpr uint32_t kFdRead = 1u << 0;  // a flag of the fd functions
struct PluginPosixFdSupport {
    void (*onFd)(const Plugin* plugin, int fd, uint32_t flags);
};
struct HostPosixFdSupport {
    bool (*registerFd)(const Host* host, int fd, uint32_t flags);
    bool (*modifyFd)(const Host* host, int fd, uint32_t flags);
    bool (*unregisterFd)(const Host* host, int fd);
};

}  // namespace clap
