// A CLAP host of the tests' own: TapDelay.clap loaded, one instance made and
// initialised, the host functions it calls offered and what it asks recorded.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "formats/clap/ClapAbi.h"

class ClapTestHost {
public:
    explicit ClapTestHost(const char* path = TAPDELAY_CLAP_PATH, bool offerTimers = true)
        : offerTimers(offerTimers) {
        host = {clap::kVersion, this, "tapdelay tests", "", "", "1", &Extension, nullptr, nullptr, nullptr};
        // The library stays loaded: Xlib and fontconfig keep pointers into it.
        void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        entry = library ? static_cast<const clap::PluginEntry*>(dlsym(library, "clap_entry")) : nullptr;
        if (entry && entry->clapVersion.major == 1 && entry->init(path))
            factory = static_cast<const clap::PluginFactory*>(entry->getFactory(clap::kPluginFactoryId));
        plugin = factory ? factory->createPlugin(factory, &host, "org.tapdelay.TapDelay") : nullptr;
        if (!plugin || !plugin->init(plugin)) {
            ADD_FAILURE() << "no plug-in from " << path << " " << (library ? "" : dlerror());
            plugin = nullptr;
        }
        params = plugin ? Ext<clap::PluginParams>(clap::kExtParams) : nullptr;
        sent.reserve(64);
        taken.reserve(256);  // the plug-in's pushes never allocate
    }
    ~ClapTestHost() {
        if (processing) plugin->stopProcessing(plugin);
        if (active) plugin->deactivate(plugin);
        if (plugin) plugin->destroy(plugin);
        if (factory) entry->deinit();
    }

    template <class Extension>
    const Extension* Ext(const char* id) const { return (const Extension*)plugin->getExtension(plugin, id); }
    void Start(double rate = 44100.0, uint32_t maxFrames = 512, bool startProcessing = true) {
        active = plugin->activate(plugin, rate, 1, maxFrames);
        ASSERT_TRUE(active);
        if (startProcessing) processing = plugin->startProcessing(plugin);
    }

    // An event for the next process or flush, which takes it: a value, or
    // with kTempo a transport with that tempo.
    static constexpr clap::Id kTempo = clap::kInvalidId;
    void Send(uint32_t time, clap::Id id, double value) {
        Event e{};
        if (id == kTempo)
            e.transport = Transport(time, value);
        else
            e.value = {{sizeof e.value, time, 0, clap::kEventParamValue, 0}, id, nullptr, -1, -1, -1, -1, value};
        sent.push_back(e);
    }
    // Stereo in and out; a transport with the tempo when it is above 0.
    template <class Sample>
    int32_t Process(Sample* const* in, Sample** out, uint32_t frames, double tempo = 0.0) {
        clap::AudioBuffer input{}, output{};
        input.channelCount = output.channelCount = 2;
        if constexpr (sizeof(Sample) == 4)
            input.data32 = const_cast<float**>(in), output.data32 = out;
        else
            input.data64 = const_cast<double**>(in), output.data64 = out;
        const clap::EventTransport transport = Transport(0, tempo);
        const clap::Process process{-1, frames, tempo > 0 ? &transport : nullptr, &input, &output, 1, 1,
                                    &inList, &outList};
        taken.clear();
        const int32_t status = plugin->process(plugin, &process);
        sent.clear();
        return status;
    }
    void Flush() {
        taken.clear();
        params->flush(plugin, &inList, &outList);
        sent.clear();
    }
    std::string Set(clap::Id id, double value) { return Send(0, id, value), Flush(), Heard(); }  // flushed
    // What the plug-in pushed in the last call: "B3 3=0.25 E3" (gesture begin, value, end).
    std::string Heard() const {
        std::string heard;
        for (const Event& e : taken) {
            char value[32];
            std::snprintf(value, sizeof value, "%g", e.value.value);
            const std::string id = std::to_string(e.value.paramId);
            heard += e.header.type == clap::kEventParamValue ? " " + id + "=" + value
                     : (e.header.type == clap::kEventParamGestureBegin ? " B" : " E") + id;
        }
        return heard.empty() ? heard : heard.substr(1);
    }

    double Value(clap::Id id) {
        double value = -1.0;
        EXPECT_TRUE(params->getValue(plugin, id, &value)) << id;
        return value;
    }
    std::string Text(clap::Id id, double value) {
        char text[64] = "";
        EXPECT_TRUE(params->valueToText(plugin, id, value, text, sizeof text)) << id;
        return text;
    }
    std::string State() {  // "" when saving fails
        std::string bytes;
        const clap::OStream stream{&bytes, [](const clap::OStream* s, const void* data, uint64_t size) -> int64_t {
                                       static_cast<std::string*>(s->context)->append((const char*)data, size);
                                       return (int64_t)size;
                                   }};
        return Ext<clap::PluginState>(clap::kExtState)->save(plugin, &stream) ? bytes : "";
    }
    bool Load(const std::string& bytes) {  // read in pieces, as from a file
        std::pair<const std::string*, size_t> at{&bytes, 0};
        const clap::IStream stream{&at, [](const clap::IStream* s, void* data, uint64_t size) -> int64_t {
                                       auto& [bytes, at] = *(std::pair<const std::string*, size_t>*)s->context;
                                       const size_t n = std::min<size_t>({size, bytes->size() - at, 4096});
                                       std::memcpy(data, bytes->data() + at, n);
                                       return at += n, (int64_t)n;
                                   }};
        return Ext<clap::PluginState>(clap::kExtState)->load(plugin, &stream);
    }

    clap::Host host;
    const clap::PluginFactory* factory = nullptr;
    const clap::Plugin* plugin = nullptr;
    const clap::PluginParams* params = nullptr;
    const bool offerTimers;
    bool processing = false;
    // What the plug-in asked for.
    int flushRequests = 0, rescans = 0, dirtyMarks = 0, fd = -1;
    uint32_t timerPeriod = 0;  // 0: no timer
    std::string resized;       // "1600x720"

    union Event {
        clap::EventHeader header;
        clap::EventParamValue value;  // a gesture's paramId lies where a value's does
        clap::EventTransport transport;
    };
    std::vector<Event> sent, taken;

private:
    static clap::EventTransport Transport(uint32_t time, double bpm) {
        clap::EventTransport transport{};
        transport.header = {sizeof transport, time, 0, clap::kEventTransport, 0};
        transport.flags = clap::kTransportHasTempo;
        transport.tempo = bpm;
        return transport;
    }
    static ClapTestHost& Of(const void* context) { return *(ClapTestHost*)context; }
    static ClapTestHost& Of(const clap::Host* host) { return Of(host->hostData); }
    static const void* Extension(const clap::Host* host, const char* id) {
        using H = const clap::Host*;
        static const clap::HostParams params = {[](H h, uint32_t) { Of(h).rescans++; }, nullptr,
                                                [](H h) { Of(h).flushRequests++; }};
        static const clap::HostState state = {[](H h) { Of(h).dirtyMarks++; }};
        static const clap::HostGui gui = {nullptr, [](H h, uint32_t width, uint32_t height) {
            return Of(h).resized = std::to_string(width) + "x" + std::to_string(height), true;
        }, nullptr, nullptr, nullptr};
        static const clap::HostTimerSupport timers = {
            [](H h, uint32_t period, clap::Id* id) { return Of(h).timerPeriod = period, *id = 7, true; },
            [](H h, clap::Id id) { return Of(h).timerPeriod = 0, id == 7; }};
        static const clap::HostPosixFdSupport fds = {[](H h, int fd, uint32_t) { return Of(h).fd = fd, true; }, nullptr,
                                                     [](H h, int fd) { return Of(h).fd = -1, fd >= 0; }};
        const std::string name = id;
        if (name == clap::kExtParams) return &params;
        if (name == clap::kExtState) return &state;
        if (name == clap::kExtGui) return &gui;
        if (name == clap::kExtTimerSupport && Of(host).offerTimers) return &timers;
        return name == clap::kExtPosixFdSupport ? &fds : nullptr;
    }

    const clap::PluginEntry* entry = nullptr;
    bool active = false;
    const clap::InputEvents inList{
        this, [](const clap::InputEvents* l) { return (uint32_t)Of(l->context).sent.size(); },
        [](const clap::InputEvents* l, uint32_t i) -> const clap::EventHeader* {
            return &Of(l->context).sent.at(i).header;
        }};
    const clap::OutputEvents outList{this, [](const clap::OutputEvents* l, const clap::EventHeader* event) {
                                         Event copy{};
                                         std::memcpy(&copy, event, std::min<size_t>(event->size, sizeof copy));
                                         return Of(l->context).taken.push_back(copy), true;
                                     }};
};
