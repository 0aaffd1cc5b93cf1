// A small VST 3 host of the tests' own: streams, parameter change queues of
// fixed size (nothing allocates while processing), a component handler that
// writes down what it hears, and the plug-in loaded as a host loads it.
#pragma once

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "formats/vst3/Vst3Abi.h"

namespace vst3test {

using namespace vst3;

inline std::string Utf8(std::u16string text) { return std::string(text.begin(), text.end()); }

// A host's transport: only the tempo, |bpm|, valid when bpm > 0.
inline ProcessContext Tempo(double bpm) {
    ProcessContext context{};
    context.state = bpm > 0 ? ProcessContext::kTempoValid : 0;
    context.tempo = bpm > 0 ? bpm : -bpm;
    return context;
}

// Host objects live in the test: the references are not counted.
template <class First, class... Rest>
class HostObject : public First, public Rest... {
public:
    tresult queryInterface(const TUID iid, void** object) override {
        *object = SameUid(iid, FUnknown::iid) || SameUid(iid, First::iid) ? static_cast<First*>(this) : nullptr;
        ((*object = !*object && SameUid(iid, Rest::iid) ? static_cast<Rest*>(this) : *object), ...);
        return *object ? kResultOk : kNoInterface;
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }
};

class MemoryStream : public HostObject<IBStream> {
public:
    explicit MemoryStream(std::string bytes = "") : bytes(std::move(bytes)) {}
    tresult read(void* to, int32_t count, int32_t* done) override {
        *done = std::max(0, std::min(count, (int32_t)(bytes.size() - position)));
        std::memcpy(to, bytes.data() + position, (size_t)*done);
        return position += (size_t)*done, kResultOk;
    }
    tresult write(void* from, int32_t count, int32_t* done) override {
        return bytes.append(static_cast<const char*>(from), (size_t)(*done = count)), kResultOk;
    }
    tresult seek(int64_t, int32_t, int64_t*) override { return kNotImplemented; }
    tresult tell(int64_t* at) override { return *at = (int64_t)position, kResultOk; }
    std::string bytes;
    size_t position = 0;
};

class Queue : public HostObject<IParamValueQueue> {
public:
    ParamID getParameterId() override { return id; }
    int32_t getPointCount() override { return count; }
    tresult getPoint(int32_t i, int32_t& offset, ParamValue& value) override {
        return offset = points[i].first, value = points[i].second, kResultOk;
    }
    tresult addPoint(int32_t offset, ParamValue value, int32_t& i) override {
        return count == 64 ? kResultFalse : (points[i = count++] = {offset, value}, kResultOk);
    }
    ParamID id = 0;
    int32_t count = 0;
    std::pair<int32_t, double> points[64];
};

class Changes : public HostObject<IParameterChanges> {
public:
    int32_t getParameterCount() override { return count; }
    IParamValueQueue* getParameterData(int32_t i) override { return i >= 0 && i < count ? &queues[i] : nullptr; }
    IParamValueQueue* addParameterData(const ParamID& id, int32_t& i) override {
        for (i = 0; i < count; i++)
            if (queues[i].id == id) return &queues[i];
        queues[count].id = id;
        queues[count].count = 0;
        return &queues[i = count++];
    }
    void Add(ParamID id, int32_t offset, double value) {
        int32_t i = 0;
        if (IParamValueQueue* queue = addParameterData(id, i)) queue->addPoint(offset, value, i);
    }
    double Last(ParamID id) {  // the last value sent for id, -1 for none
        for (int i = 0; i < count; i++)
            if (queues[i].id == id && queues[i].count > 0) return queues[i].points[queues[i].count - 1].second;
        return -1.0;
    }
    int32_t count = 0;
    Queue queues[80];
};

// Writes "B21 P21=0 E21" for a gesture; collects restart flags.
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
    tresult Note(const std::string& what) { return heard += (heard.empty() ? "" : " ") + what, kResultOk; }
    std::string heard;
    int32_t restarts = 0;
};

// One initialised instance with the handler set. The library stays loaded, as
// hosts keep theirs: the leak checker trips over an unloaded one's thread data.
class Plugin {
public:
    explicit Plugin(const char* path = TAPDELAY_VST3_SO) {
        void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        auto entry = library ? (ModuleEntryFunction)dlsym(library, "ModuleEntry") : nullptr;
        auto get = library ? (GetFactoryFunction)dlsym(library, "GetPluginFactory") : nullptr;
        factory = entry && get && entry(library) ? get() : nullptr;
        PClassInfo info;
        if (!factory || factory->getClassInfo(0, &info) != kResultOk ||
            factory->createInstance(info.cid, AsTuid(IComponent::iid), (void**)&component) != kResultOk)
            return;
        component->initialize(nullptr);
        component->queryInterface(AsTuid(IAudioProcessor::iid), (void**)&processor);
        component->queryInterface(AsTuid(IEditController::iid), (void**)&controller);
        component->queryInterface(AsTuid(IUnitInfo::iid), (void**)&units);
        if (controller) controller->setComponentHandler(&handler);
    }
    ~Plugin() {
        if (!component) return;
        component->setActive(0);
        if (controller) controller->setComponentHandler(nullptr);
        for (FUnknown* part : {(FUnknown*)processor, (FUnknown*)controller, (FUnknown*)units})
            if (part) part->release();
        component->terminate();
        component->release();
    }
    bool Ready() const { return component && processor && controller && units; }
    tresult Prepare(int32_t sampleSize, int maxBlock, double rate = 44100.0) {
        ProcessSetup setup{kRealtime, sampleSize, maxBlock, rate};
        if (processor->setupProcessing(setup) != kResultOk) return kResultFalse;
        component->setActive(1);
        return processor->setProcessing(1);
    }
    // One block, stereo in and out; the effect's own changes into `reported`.
    template <class Sample>
    void Process(Sample** in, Sample** out, int frames, Changes* changes = nullptr, ProcessContext* context = nullptr) {
        AudioBusBuffers inputs{2, 0, {reinterpret_cast<float**>(in)}}, outputs{2, 0, {reinterpret_cast<float**>(out)}};
        reported.count = 0;
        ProcessData data{kRealtime, sizeof(Sample) == 8 ? kSample64 : kSample32, frames, 1, 1, &inputs, &outputs,
                         changes, &reported, nullptr, nullptr, context};
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
        return Utf8(text);
    }

    IPluginFactory* factory;
    IComponent* component = nullptr;
    IAudioProcessor* processor = nullptr;
    IEditController* controller = nullptr;
    IUnitInfo* units = nullptr;
    Handler handler;
    Changes reported;  // the output changes of the last block
};

}  // namespace vst3test
