#include "tests/clap/ClapTestHost.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>

namespace {

ClapTestHost* HostOf(const clap::Host* host) { return static_cast<ClapTestHost*>(host->hostData); }

const clap::HostParams kParams = {
    [](const clap::Host* h, uint32_t) { HostOf(h)->rescans++; },
    [](const clap::Host*, clap::Id, uint32_t) {},
    [](const clap::Host* h) { HostOf(h)->flushRequests++; },
};
const clap::HostState kState = {[](const clap::Host* h) { HostOf(h)->dirtyMarks++; }};
const clap::HostGui kGui = {
    [](const clap::Host*) {},
    [](const clap::Host* h, uint32_t width, uint32_t height) {
        HostOf(h)->resizeRequests.push_back({width, height});
        return true;
    },
    [](const clap::Host*) { return false; },
    [](const clap::Host*) { return false; },
    [](const clap::Host*, bool) {},
};
const clap::HostLog kLog = {[](const clap::Host* h, int32_t, const char* message) {
    HostOf(h)->logs.push_back(message);
}};
const clap::HostTimerSupport kTimers = {
    [](const clap::Host* h, uint32_t period, clap::Id* id) {
        *id = (clap::Id)(100 + HostOf(h)->timers.size());
        HostOf(h)->timers[*id] = period;
        return true;
    },
    [](const clap::Host* h, clap::Id id) { return HostOf(h)->timers.erase(id) == 1; },
};
const clap::HostPosixFdSupport kFds = {
    [](const clap::Host* h, int fd, uint32_t) { return HostOf(h)->fds.insert(fd).second; },
    [](const clap::Host*, int, uint32_t) { return true; },
    [](const clap::Host* h, int fd) { return HostOf(h)->fds.erase(fd) == 1; },
};

const void* HostExtension(const clap::Host* h, const char* id) {
    const std::string name = id;
    if (name == clap::kExtParams) return &kParams;
    if (name == clap::kExtState) return &kState;
    if (name == clap::kExtGui) return &kGui;
    if (name == clap::kExtLog) return &kLog;
    if (name == clap::kExtTimerSupport) return HostOf(h)->offerTimers ? &kTimers : nullptr;
    if (name == clap::kExtPosixFdSupport) return &kFds;
    return nullptr;
}

}  // namespace

// --- events -----------------------------------------------------------------------------

EventList::EventList() {
    in = {this, [](const clap::InputEvents* l) { return (uint32_t) static_cast<EventList*>(l->context)->events.size(); },
          [](const clap::InputEvents* l, uint32_t i) {
              auto& events = static_cast<EventList*>(l->context)->events;
              return i < events.size() ? reinterpret_cast<const clap::EventHeader*>(events[i].data()) : nullptr;
          }};
    out = {this, [](const clap::OutputEvents* l, const clap::EventHeader* event) {
               static_cast<EventList*>(l->context)->taken.emplace_back(reinterpret_cast<const char*>(event),
                                                                        event->size);
               return true;
           }};
}

void EventList::Add(const void* event, uint32_t size) {
    events.emplace_back(static_cast<const char*>(event), size);
}

void EventList::Value(uint32_t time, clap::Id id, double value) {
    clap::EventParamValue event{};
    event.header = {sizeof event, time, clap::kCoreEventSpace, clap::kEventParamValue, 0};
    event.paramId = id;
    event.noteId = -1;
    event.portIndex = event.channel = event.key = -1;
    event.value = value;
    Add(&event, sizeof event);
}

void EventList::Tempo(uint32_t time, double bpm) {
    clap::EventTransport event{};
    event.header = {sizeof event, time, clap::kCoreEventSpace, clap::kEventTransport, 0};
    event.flags = clap::kTransportHasTempo;
    event.tempo = bpm;
    Add(&event, sizeof event);
}

std::vector<EventList::Out> EventList::Taken() const {
    std::vector<Out> result;
    for (const std::string& bytes : taken) {
        clap::EventParamValue event{};
        std::memcpy(&event, bytes.data(), std::min(bytes.size(), sizeof event));
        result.push_back({event.header.type, event.paramId,
                          event.header.type == clap::kEventParamValue ? event.value : 0.0});
    }
    return result;
}

// --- the host -----------------------------------------------------------------------------

ClapTestHost::ClapTestHost(const char* path) {
    host = {clap::kVersion, this, "tapdelay tests", "", "", "1", HostExtension,
            [](const clap::Host*) {}, [](const clap::Host*) {}, [](const clap::Host*) {}};
    library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        ADD_FAILURE() << dlerror();
        return;
    }
    entry = static_cast<const clap::PluginEntry*>(dlsym(library, "clap_entry"));
    if (entry && entry->init(path))
        factory = static_cast<const clap::PluginFactory*>(entry->getFactory(clap::kPluginFactoryId));
    if (!factory) ADD_FAILURE() << "no plug-in factory";
}

ClapTestHost::~ClapTestHost() {
    if (factory) entry->deinit();
    // The library stays loaded: Xlib and fontconfig keep pointers into it.
}

ClapInstance::ClapInstance(ClapTestHost& host) {
    if (!host.factory) return;
    plugin = host.factory->createPlugin(host.factory, &host.host, "org.tapdelay.TapDelay");
    if (!plugin || !plugin->init(plugin)) {
        ADD_FAILURE() << "the plug-in did not start";
        plugin = nullptr;
        return;
    }
    params = Ext<clap::PluginParams>(clap::kExtParams);
}

ClapInstance::~ClapInstance() {
    if (!plugin) return;
    if (processing) plugin->stopProcessing(plugin);
    if (active) plugin->deactivate(plugin);
    plugin->destroy(plugin);
}

void ClapInstance::Start(double rate, uint32_t maxFrames, bool startProcessing) {
    active = plugin->activate(plugin, rate, 1, maxFrames);
    ASSERT_TRUE(active);
    if (startProcessing) processing = plugin->startProcessing(plugin);
}

namespace {

template <class Sample>
int32_t Run(const clap::Plugin* plugin, Sample* const* in, Sample** out, uint32_t frames, EventList& events,
            double tempo) {
    clap::AudioBuffer input{}, output{};
    input.channelCount = output.channelCount = 2;
    if constexpr (sizeof(Sample) == 4) {
        input.data32 = const_cast<float**>(in);
        output.data32 = out;
    } else {
        input.data64 = const_cast<double**>(in);
        output.data64 = out;
    }
    clap::EventTransport transport{};
    transport.header = {sizeof transport, 0, clap::kCoreEventSpace, clap::kEventTransport, 0};
    transport.flags = clap::kTransportHasTempo;
    transport.tempo = tempo;
    events.taken.clear();
    clap::Process process{-1, frames, tempo > 0 ? &transport : nullptr, &input, &output, 1, 1, &events.in, &events.out};
    return plugin->process(plugin, &process);
}

}  // namespace

int32_t ClapInstance::Process(float* const* in, float** out, uint32_t frames, EventList& events, double tempo) {
    return Run(plugin, in, out, frames, events, tempo);
}

int32_t ClapInstance::Process(double* const* in, double** out, uint32_t frames, EventList& events, double tempo) {
    return Run(plugin, in, out, frames, events, tempo);
}

void ClapInstance::Flush(EventList& events) {
    events.taken.clear();
    params->flush(plugin, &events.in, &events.out);
}

double ClapInstance::Value(clap::Id id) {
    double value = -1.0;
    EXPECT_TRUE(params->getValue(plugin, id, &value)) << id;
    return value;
}

std::string ClapInstance::Text(clap::Id id, double value) {
    char text[256] = "";
    EXPECT_TRUE(params->valueToText(plugin, id, value, text, sizeof text)) << id;
    return text;
}

std::string ClapInstance::State() {
    std::string bytes;
    const clap::OStream stream{&bytes, [](const clap::OStream* s, const void* data, uint64_t size) -> int64_t {
                                   static_cast<std::string*>(s->context)->append(static_cast<const char*>(data), size);
                                   return (int64_t)size;
                               }};
    auto state = Ext<clap::PluginState>(clap::kExtState);
    return state->save(plugin, &stream) ? bytes : "";
}

bool ClapInstance::Load(const std::string& bytes) {
    struct Reader {
        const std::string& bytes;
        size_t at = 0;
    } reader{bytes};
    const clap::IStream stream{&reader, [](const clap::IStream* s, void* data, uint64_t size) -> int64_t {
                                   auto* r = static_cast<Reader*>(s->context);
                                   const size_t n = std::min<size_t>(size, r->bytes.size() - r->at);
                                   std::memcpy(data, r->bytes.data() + r->at, n);
                                   r->at += n;
                                   return (int64_t)n;
                               }};
    return Ext<clap::PluginState>(clap::kExtState)->load(plugin, &stream);
}
