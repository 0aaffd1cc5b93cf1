// A small VST 3 host of the tests' own: loads the bundle's library as a host
// does (dlopen, ModuleEntry, GetPluginFactory), makes one instance, and
// keeps what a host hands the plug-in: streams, parameter change queues
// (fixed size: nothing allocates while processing), a component handler that
// writes down what it hears.
#pragma once

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "formats/vst3/Vst3Abi.h"

namespace vst3test {

using namespace vst3;

// Host objects live on the stack or in the test: the references are not counted.
template <class Interface>
class HostObject : public Interface {
public:
    tresult queryInterface(const TUID iid, void** object) override {
        const bool known = SameUid(iid, FUnknown::iid) || SameUid(iid, Interface::iid);
        *object = known ? this : nullptr;
        return known ? kResultOk : kNoInterface;
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }
};

class Module {
public:
    explicit Module(const char* path = TAPDELAY_VST3_SO) {
        library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (!library) return;
        auto entry = (ModuleEntryFunction)dlsym(library, "ModuleEntry");
        auto getFactory = (GetFactoryFunction)dlsym(library, "GetPluginFactory");
        if (entry && getFactory && entry(library)) factory = getFactory();
    }
    // ModuleExit, but the library stays loaded, as hosts keep theirs: the
    // leak checker trips over the thread-local data of an unloaded library.
    ~Module() {
        if (auto exit = library ? (ModuleExitFunction)dlsym(library, "ModuleExit") : nullptr) exit();
    }
    void* library = nullptr;
    IPluginFactory* factory = nullptr;
};

class MemoryStream : public HostObject<IBStream> {
public:
    MemoryStream() = default;
    explicit MemoryStream(std::string bytes) : bytes(std::move(bytes)) {}
    tresult read(void* buffer, int32_t count, int32_t* done) override {
        const int32_t n = std::max(0, std::min(count, (int32_t)(bytes.size() - position)));
        std::memcpy(buffer, bytes.data() + position, (size_t)n);
        position += (size_t)n;
        if (done) *done = n;
        return kResultOk;
    }
    tresult write(void* buffer, int32_t count, int32_t* done) override {
        bytes.replace(position, (size_t)count, static_cast<const char*>(buffer), (size_t)count);
        position += (size_t)count;
        if (done) *done = count;
        return kResultOk;
    }
    // The plug-in reads and writes in one go: no seeking.
    tresult seek(int64_t, int32_t, int64_t*) override { return kNotImplemented; }
    tresult tell(int64_t* at) override { return *at = (int64_t)position, kResultOk; }
    std::string bytes;
    size_t position = 0;
};

class Queue : public HostObject<IParamValueQueue> {
public:
    static constexpr int kMaxPoints = 64;
    ParamID getParameterId() override { return id; }
    int32_t getPointCount() override { return count; }
    tresult getPoint(int32_t index, int32_t& offset, ParamValue& value) override {
        if (index < 0 || index >= count) return kInvalidArgument;
        offset = offsets[index];
        value = values[index];
        return kResultOk;
    }
    tresult addPoint(int32_t offset, ParamValue value, int32_t& index) override {
        if (count == kMaxPoints) return kResultFalse;
        offsets[count] = offset;
        values[count] = value;
        index = count++;
        return kResultOk;
    }
    ParamID id = 0;
    int32_t count = 0;
    int32_t offsets[kMaxPoints] = {};
    double values[kMaxPoints] = {};
};

class Changes : public HostObject<IParameterChanges> {
public:
    static constexpr int kMaxQueues = 80;
    int32_t getParameterCount() override { return count; }
    IParamValueQueue* getParameterData(int32_t index) override {
        return index >= 0 && index < count ? &queues[index] : nullptr;
    }
    IParamValueQueue* addParameterData(const ParamID& id, int32_t& index) override {
        for (index = 0; index < count; index++)
            if (queues[index].id == id) return &queues[index];
        if (count == kMaxQueues) return nullptr;
        queues[count].id = id;
        queues[count].count = 0;
        return &queues[index = count++];
    }
    void Add(ParamID id, int32_t offset, double value) {
        int32_t index = 0;
        if (IParamValueQueue* queue = addParameterData(id, index)) queue->addPoint(offset, value, index);
    }
    // The last value sent for id, or -1 when none was.
    double Last(ParamID id) {
        for (int i = 0; i < count; i++)
            if (queues[i].id == id && queues[i].count > 0) return queues[i].values[queues[i].count - 1];
        return -1.0;
    }
    void Clear() { count = 0; }
    int32_t count = 0;
    Queue queues[kMaxQueues];
};

// Writes "B21 P21=0 E21" for a gesture; counts restarts.
class Handler : public HostObject<IComponentHandler> {
public:
    tresult beginEdit(ParamID id) override { return Note("B" + std::to_string(id)); }
    tresult performEdit(ParamID id, ParamValue value) override {
        char text[48];
        std::snprintf(text, sizeof text, "P%u=%g", id, value);
        return Note(text);
    }
    tresult endEdit(ParamID id) override { return Note("E" + std::to_string(id)); }
    tresult restartComponent(int32_t flags) override { return restarts |= flags, kResultOk; }
    tresult Note(const std::string& what) {
        heard += (heard.empty() ? "" : " ") + what;
        return kResultOk;
    }
    std::string heard;
    int32_t restarts = 0;
};

// One initialised instance with the handler set.
class Plugin {
public:
    explicit Plugin(Module& module) {
        if (!module.factory) return;
        PClassInfo info;
        if (module.factory->getClassInfo(0, &info) != kResultOk) return;
        void* object = nullptr;
        if (module.factory->createInstance(info.cid, AsTuid(IComponent::iid), &object) != kResultOk) return;
        component = static_cast<IComponent*>(object);
        component->initialize(nullptr);
        component->queryInterface(AsTuid(IAudioProcessor::iid), (void**)&processor);
        component->queryInterface(AsTuid(IEditController::iid), (void**)&controller);
        component->queryInterface(AsTuid(IUnitInfo::iid), (void**)&units);
        if (controller) controller->setComponentHandler(&handler);
    }
    ~Plugin() {
        if (!component) return;
        component->setActive(0);
        controller->setComponentHandler(nullptr);
        for (FUnknown* part : std::initializer_list<FUnknown*>{processor, controller, units})
            if (part) part->release();
        component->terminate();
        component->release();
    }
    bool Ready() const { return component && processor && controller && units; }

    void Prepare(int32_t sampleSize, int maxBlock, double rate = 44100.0) {
        ProcessSetup setup{kRealtime, sampleSize, maxBlock, rate};
        processor->setupProcessing(setup);
        component->setActive(1);
        processor->setProcessing(1);
    }

    // One block of two channels in and out; `changes` in, effect changes out.
    template <class Sample>
    void Process(Sample** in, Sample** out, int frames, Changes* changes = nullptr,
                 ProcessContext* context = nullptr) {
        AudioBusBuffers inputs{}, outputs{};
        inputs.numChannels = outputs.numChannels = 2;
        if constexpr (sizeof(Sample) == sizeof(double)) {
            inputs.channelBuffers64 = in;
            outputs.channelBuffers64 = out;
        } else {
            inputs.channelBuffers32 = in;
            outputs.channelBuffers32 = out;
        }
        ProcessData data{};
        data.symbolicSampleSize = sizeof(Sample) == sizeof(double) ? kSample64 : kSample32;
        data.numSamples = frames;
        data.numInputs = data.numOutputs = 1;
        data.inputs = &inputs;
        data.outputs = &outputs;
        data.inputParameterChanges = changes;
        reported.Clear();
        data.outputParameterChanges = &reported;
        data.processContext = context;
        processor->process(data);
    }

    std::string State() {
        MemoryStream stream;
        component->getState(&stream);
        return stream.bytes;
    }
    tresult SetState(const std::string& bytes) {
        MemoryStream stream(bytes);
        return component->setState(&stream);
    }
    std::string Text(ParamID id, double value) {
        String128 text = {};
        controller->getParamStringByValue(id, value, text);
        std::string out;
        for (int i = 0; text[i]; i++) out += (char)text[i];
        return out;
    }

    IComponent* component = nullptr;
    IAudioProcessor* processor = nullptr;
    IEditController* controller = nullptr;
    IUnitInfo* units = nullptr;
    Handler handler;
    Changes reported;  // the output changes of the last block
};

}  // namespace vst3test
