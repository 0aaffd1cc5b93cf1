// The part of the VST 3 interface that TapDelay uses, declared here from its
// published description: interface ids, the order of each interface's
// methods, the records passed through them and their constants. Linux x86-64
// only: plain C++ virtual calls, natural alignment, result codes counted from
// -1, and interface ids stored as four big-endian 32-bit words (the COM byte
// order applies on Windows alone).
#pragma once

#include <cstdint>
#include <cstring>

namespace vst3 {

using tresult = int32_t;
enum : tresult {
    kNoInterface = -1,
    kResultOk = 0,
    kResultTrue = 0,
    kResultFalse = 1,
    kInvalidArgument = 2,
    kNotImplemented = 3,
    kInternalError = 4,
    kNotInitialized = 5,
    kOutOfMemory = 6,
};

using TUID = char[16];
using FIDString = const char*;
using TBool = uint8_t;
using char16 = char16_t;
using String128 = char16[128];
using ParamID = uint32_t;
using ParamValue = double;
using SpeakerArrangement = uint64_t;

// An interface or class id: the words a, b, c, d, most significant byte first.
struct Uid {
    uint8_t bytes[16];
};
constexpr Uid MakeUid(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return {{uint8_t(a >> 24), uint8_t(a >> 16), uint8_t(a >> 8), uint8_t(a),
             uint8_t(b >> 24), uint8_t(b >> 16), uint8_t(b >> 8), uint8_t(b),
             uint8_t(c >> 24), uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c),
             uint8_t(d >> 24), uint8_t(d >> 16), uint8_t(d >> 8), uint8_t(d)}};
}
inline bool SameUid(const void* id, const Uid& uid) {
    return id && std::memcmp(id, uid.bytes, sizeof uid.bytes) == 0;
}
// The id's bytes as a TUID argument.
inline const char* AsTuid(const Uid& uid) { return reinterpret_cast<const char*>(uid.bytes); }

class FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x00000000, 0x00000000, 0xC0000000, 0x00000046);
    virtual tresult queryInterface(const TUID iid, void** object) = 0;
    virtual uint32_t addRef() = 0;
    virtual uint32_t release() = 0;
};

class IBStream : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0xC3BF6EA2, 0x30994752, 0x9B6BF990, 0x1EE33E9B);
    enum { kSeekSet = 0, kSeekCurrent = 1, kSeekEnd = 2 };
    virtual tresult read(void* buffer, int32_t bytes, int32_t* bytesRead) = 0;
    virtual tresult write(void* buffer, int32_t bytes, int32_t* bytesWritten) = 0;
    virtual tresult seek(int64_t position, int32_t mode, int64_t* result) = 0;
    virtual tresult tell(int64_t* position) = 0;
};

class IPluginBase : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x22888DDB, 0x156E45AE, 0x8358B348, 0x08190625);
    virtual tresult initialize(FUnknown* context) = 0;
    virtual tresult terminate() = 0;
};

// --- the factory --------------------------------------------------------------------

struct PFactoryInfo {
    enum { kUnicode = 1 << 4 };
    char vendor[64];
    char url[256];
    char email[128];
    int32_t flags;
};

struct PClassInfo {
    enum { kManyInstances = 0x7FFFFFFF };
    TUID cid;
    int32_t cardinality;
    char category[32];
    char name[64];
};

struct PClassInfo2 {
    TUID cid;
    int32_t cardinality;
    char category[32];
    char name[64];
    uint32_t classFlags;
    char subCategories[128];
    char vendor[64];
    char version[64];
    char sdkVersion[64];
};

struct PClassInfoW {
    TUID cid;
    int32_t cardinality;
    char category[32];
    char16 name[64];
    uint32_t classFlags;
    char subCategories[128];
    char16 vendor[64];
    char16 version[64];
    char16 sdkVersion[64];
};

class IPluginFactory : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x7A4D811C, 0x52114A1F, 0xAED9D2EE, 0x0B43BF9F);
    virtual tresult getFactoryInfo(PFactoryInfo* info) = 0;
    virtual int32_t countClasses() = 0;
    virtual tresult getClassInfo(int32_t index, PClassInfo* info) = 0;
    virtual tresult createInstance(FIDString cid, FIDString iid, void** object) = 0;
};

class IPluginFactory2 : public IPluginFactory {
public:
    static constexpr Uid iid = MakeUid(0x0007B650, 0xF24B4C0B, 0xA464EDB9, 0xF00B2ABB);
    virtual tresult getClassInfo2(int32_t index, PClassInfo2* info) = 0;
};

class IPluginFactory3 : public IPluginFactory2 {
public:
    static constexpr Uid iid = MakeUid(0x4555A2AB, 0xC1234E57, 0x9B122910, 0x36878931);
    virtual tresult getClassInfoUnicode(int32_t index, PClassInfoW* info) = 0;
    virtual tresult setHostContext(FUnknown* context) = 0;
};

// The category of an audio processor class with its controller.
constexpr const char* kAudioEffectClass = "Audio Module Class";

// --- the component and its processor --------------------------------------------------

enum MediaType : int32_t { kAudio = 0, kEvent = 1 };
enum BusDirection : int32_t { kInput = 0, kOutput = 1 };
enum BusType : int32_t { kMain = 0, kAux = 1 };

struct BusInfo {
    enum { kDefaultActive = 1 << 0 };
    int32_t mediaType;
    int32_t direction;
    int32_t channelCount;
    String128 name;
    int32_t busType;
    uint32_t flags;
};

struct RoutingInfo {
    int32_t mediaType;
    int32_t busIndex;
    int32_t channel;
};

class IComponent : public IPluginBase {
public:
    static constexpr Uid iid = MakeUid(0xE831FF31, 0xF2D54301, 0x928EBBEE, 0x25697802);
    virtual tresult getControllerClassId(TUID classId) = 0;
    virtual tresult setIoMode(int32_t mode) = 0;
    virtual int32_t getBusCount(int32_t type, int32_t direction) = 0;
    virtual tresult getBusInfo(int32_t type, int32_t direction, int32_t index, BusInfo& bus) = 0;
    virtual tresult getRoutingInfo(RoutingInfo& in, RoutingInfo& out) = 0;
    virtual tresult activateBus(int32_t type, int32_t direction, int32_t index, TBool state) = 0;
    virtual tresult setActive(TBool state) = 0;
    virtual tresult setState(IBStream* state) = 0;
    virtual tresult getState(IBStream* state) = 0;
};

constexpr SpeakerArrangement kSpeakerMono = SpeakerArrangement(1) << 19;
constexpr SpeakerArrangement kSpeakerStereo = 3;  // left and right

enum SampleSize : int32_t { kSample32 = 0, kSample64 = 1 };
enum ProcessMode : int32_t { kRealtime = 0, kPrefetch = 1, kOffline = 2 };
constexpr uint32_t kInfiniteTail = UINT32_MAX;

struct ProcessSetup {
    int32_t processMode;
    int32_t symbolicSampleSize;
    int32_t maxSamplesPerBlock;
    double sampleRate;
};

struct AudioBusBuffers {
    int32_t numChannels;
    uint64_t silenceFlags;
    union {
        float** channelBuffers32;
        double** channelBuffers64;
    };
};

// One parameter's changes in a block: points (sample offset, value) in time order.
class IParamValueQueue : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x01263A18, 0xED074F6F, 0x98C9D356, 0x4686F9BA);
    virtual ParamID getParameterId() = 0;
    virtual int32_t getPointCount() = 0;
    virtual tresult getPoint(int32_t index, int32_t& sampleOffset, ParamValue& value) = 0;
    virtual tresult addPoint(int32_t sampleOffset, ParamValue value, int32_t& index) = 0;
};

class IParameterChanges : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0xA4779663, 0x0BB64A56, 0xB44384A8, 0x466FEB9D);
    virtual int32_t getParameterCount() = 0;
    virtual IParamValueQueue* getParameterData(int32_t index) = 0;
    virtual IParamValueQueue* addParameterData(const ParamID& id, int32_t& index) = 0;
};

class IEventList;

struct ProcessContext {
    enum { kTempoValid = 1 << 10 };
    uint32_t state;
    double sampleRate;
    int64_t projectTimeSamples;
    int64_t systemTime;
    int64_t continuousTimeSamples;
    double projectTimeMusic;
    double barPositionMusic;
    double cycleStartMusic;
    double cycleEndMusic;
    double tempo;
    int32_t timeSigNumerator;
    int32_t timeSigDenominator;
    uint8_t chordKeyNote;
    uint8_t chordRootNote;
    int16_t chordMask;
    int32_t smpteOffsetSubframes;
    uint32_t framesPerSecond;
    uint32_t frameRateFlags;
    int32_t samplesToNextClock;
};

struct ProcessData {
    int32_t processMode;
    int32_t symbolicSampleSize;
    int32_t numSamples;
    int32_t numInputs;
    int32_t numOutputs;
    AudioBusBuffers* inputs;
    AudioBusBuffers* outputs;
    IParameterChanges* inputParameterChanges;
    IParameterChanges* outputParameterChanges;
    IEventList* inputEvents;
    IEventList* outputEvents;
    ProcessContext* processContext;
};

class IAudioProcessor : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x42043F99, 0xB7DA453C, 0xA569E79D, 0x9AAEC33D);
    virtual tresult setBusArrangements(SpeakerArrangement* inputs, int32_t numInputs,
                                       SpeakerArrangement* outputs, int32_t numOutputs) = 0;
    virtual tresult getBusArrangement(int32_t direction, int32_t index, SpeakerArrangement& arrangement) = 0;
    virtual tresult canProcessSampleSize(int32_t symbolicSampleSize) = 0;
    virtual uint32_t getLatencySamples() = 0;
    virtual tresult setupProcessing(ProcessSetup& setup) = 0;
    virtual tresult setProcessing(TBool state) = 0;
    virtual tresult process(ProcessData& data) = 0;
    virtual uint32_t getTailSamples() = 0;
};

class IProcessContextRequirements : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x2A654303, 0xEF764E3D, 0x95B5FE83, 0x730EF6D0);
    enum { kNeedTempo = 1 << 6 };
    virtual uint32_t getProcessContextRequirements() = 0;
};

// --- the edit controller ----------------------------------------------------------------

struct ParameterInfo {
    enum Flags : int32_t {
        kCanAutomate = 1 << 0,
        kIsReadOnly = 1 << 1,
        kIsList = 1 << 3,
        kIsProgramChange = 1 << 15,
        kIsBypass = 1 << 16,
    };
    ParamID id;
    String128 title;
    String128 shortTitle;
    String128 units;
    int32_t stepCount;
    ParamValue defaultNormalizedValue;
    int32_t unitId;
    int32_t flags;
};

enum RestartFlags : int32_t { kParamValuesChanged = 1 << 2 };

class IComponentHandler : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x93A0BEA3, 0x0BD045DB, 0x8E890B0C, 0xC1E46AC6);
    virtual tresult beginEdit(ParamID id) = 0;
    virtual tresult performEdit(ParamID id, ParamValue normalised) = 0;
    virtual tresult endEdit(ParamID id) = 0;
    virtual tresult restartComponent(int32_t flags) = 0;
};

class IPlugView;

class IEditController : public IPluginBase {
public:
    static constexpr Uid iid = MakeUid(0xDCD7BBE3, 0x7742448D, 0xA874AACC, 0x979C759E);
    virtual tresult setComponentState(IBStream* state) = 0;
    virtual tresult setState(IBStream* state) = 0;
    virtual tresult getState(IBStream* state) = 0;
    virtual int32_t getParameterCount() = 0;
    virtual tresult getParameterInfo(int32_t index, ParameterInfo& info) = 0;
    virtual tresult getParamStringByValue(ParamID id, ParamValue normalised, String128 text) = 0;
    virtual tresult getParamValueByString(ParamID id, char16* text, ParamValue& normalised) = 0;
    virtual ParamValue normalizedParamToPlain(ParamID id, ParamValue normalised) = 0;
    virtual ParamValue plainParamToNormalized(ParamID id, ParamValue plain) = 0;
    virtual ParamValue getParamNormalized(ParamID id) = 0;
    virtual tresult setParamNormalized(ParamID id, ParamValue normalised) = 0;
    virtual tresult setComponentHandler(IComponentHandler* handler) = 0;
    virtual IPlugView* createView(FIDString name) = 0;
};

constexpr const char* kEditorViewType = "editor";

// --- units and the program list --------------------------------------------------------

constexpr int32_t kRootUnitId = 0;
constexpr int32_t kNoParentUnitId = -1;

struct UnitInfo {
    int32_t id;
    int32_t parentUnitId;
    String128 name;
    int32_t programListId;
};

struct ProgramListInfo {
    int32_t id;
    String128 name;
    int32_t programCount;
};

// The plug-in's units and their program lists.
class IUnitInfo : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x3D4BD6B5, 0x913A4FD2, 0xA886E768, 0xA5EB92C1);
    virtual int32_t getUnitCount() = 0;
    virtual tresult getUnitInfo(int32_t index, UnitInfo& info) = 0;
    virtual int32_t getProgramListCount() = 0;
    virtual tresult getProgramListInfo(int32_t index, ProgramListInfo& info) = 0;
    virtual tresult getProgramName(int32_t listId, int32_t program, String128 name) = 0;
    virtual tresult getProgramInfo(int32_t listId, int32_t program, const char* attribute, String128 value) = 0;
    virtual tresult hasProgramPitchNames(int32_t listId, int32_t program) = 0;
    virtual tresult getProgramPitchName(int32_t listId, int32_t program, int16_t pitch, String128 name) = 0;
    virtual int32_t getSelectedUnit() = 0;
    virtual tresult selectUnit(int32_t unitId) = 0;
    virtual tresult getUnitByBus(int32_t type, int32_t direction, int32_t busIndex, int32_t channel,
                                 int32_t& unitId) = 0;
    virtual tresult setUnitProgramData(int32_t listOrUnitId, int32_t program, IBStream* data) = 0;
};

class IUnitHandler : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x4B5147F8, 0x4654486B, 0x8DAB30BA, 0x163A3C56);
    virtual tresult notifyUnitSelection(int32_t unitId) = 0;
    virtual tresult notifyProgramListChange(int32_t listId, int32_t programIndex) = 0;
};

// --- the editor view and the host's run loop ---------------------------------------------

constexpr const char* kPlatformTypeX11EmbedWindowID = "X11EmbedWindowID";

struct ViewRect {
    int32_t left, top, right, bottom;
};

class IPlugFrame;

class IPlugView : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x5BC32507, 0xD06049EA, 0xA6151B52, 0x2B755B29);
    virtual tresult isPlatformTypeSupported(FIDString type) = 0;
    virtual tresult attached(void* parent, FIDString type) = 0;
    virtual tresult removed() = 0;
    virtual tresult onWheel(float distance) = 0;
    virtual tresult onKeyDown(char16 key, int16_t keyCode, int16_t modifiers) = 0;
    virtual tresult onKeyUp(char16 key, int16_t keyCode, int16_t modifiers) = 0;
    virtual tresult getSize(ViewRect* size) = 0;
    virtual tresult onSize(ViewRect* newSize) = 0;
    virtual tresult onFocus(TBool state) = 0;
    virtual tresult setFrame(IPlugFrame* frame) = 0;
    virtual tresult canResize() = 0;
    virtual tresult checkSizeConstraint(ViewRect* rect) = 0;
};

class IPlugFrame : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x367FAF01, 0xAFA94693, 0x8D4DA2A0, 0xED0882A3);
    virtual tresult resizeView(IPlugView* view, ViewRect* newSize) = 0;
};

class IPlugViewContentScaleSupport : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x65ED9690, 0x8AC44525, 0x8AADEF7A, 0x72EA703F);
    virtual tresult setContentScaleFactor(float factor) = 0;
};

class IEventHandler : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x561E65C9, 0x13A0496F, 0x813A2C35, 0x654D7983);
    virtual void onFDIsSet(int fd) = 0;
};

class ITimerHandler : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x10BDD94F, 0x41424774, 0x821FAD8F, 0xECA72CA9);
    virtual void onTimer() = 0;
};

// Offered by the host's IPlugFrame on Linux.
class IRunLoop : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x18C35366, 0x97764F1A, 0x9C5B8385, 0x7A871389);
    virtual tresult registerEventHandler(IEventHandler* handler, int fd) = 0;
    virtual tresult unregisterEventHandler(IEventHandler* handler) = 0;
    virtual tresult registerTimer(ITimerHandler* handler, uint64_t milliseconds) = 0;
    virtual tresult unregisterTimer(ITimerHandler* handler) = 0;
};

// --- the host ----------------------------------------------------------------------------

class IHostApplication : public FUnknown {
public:
    static constexpr Uid iid = MakeUid(0x58E595CC, 0xDB2D4969, 0x8B6AAF8C, 0x36A664E5);
    virtual tresult getName(String128 name) = 0;
    virtual tresult createInstance(TUID cid, TUID iid, void** object) = 0;
};

// The module's entry points: ModuleEntry(library handle) and ModuleExit()
// answer true; GetPluginFactory returns the factory with a reference.
using ModuleEntryFunction = bool (*)(void*);
using ModuleExitFunction = bool (*)();
using GetFactoryFunction = IPluginFactory* (*)();

}  // namespace vst3
