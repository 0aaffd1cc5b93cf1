#include "tests/clap/ClapTestHost.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>

namespace {

ClapTestHost& HostOf(const clap::Host* h) { return *static_cast<ClapTestHost*>(h->hostData); }

// The host's extensions, with only the functions the plug-in calls.
const clap::HostParams kParams = {
    [](const clap::Host* h, uint32_t) { HostOf(h).rescans++; },
    nullptr,
    [](const clap::Host* h) { HostOf(h).flushRequests++; },
};
const clap::HostState kState = {[](const clap::Host* h) { HostOf(h).dirtyMarks++; }};
const clap::HostGui kGui = {nullptr, [](const clap::Host* h, uint32_t width, uint32_t height) {
    HostOf(h).resized = std::to_string(width) + "x" + std::to_string(height);
    return true;
}};
const clap::HostTimerSupport kTimers = {
    [](const clap::Host* h, uint32_t period, clap::Id* id) { return HostOf(h).timerPeriod = period, *id = 7, true; },
    [](const clap::Host* h, clap::Id id) { return HostOf(h).timerPeriod = 0, id == 7; },
};
const clap::HostPosixFdSupport kFds = {
    [](const clap::Host* h, int fd, uint32_t) { return HostOf(h).fd = fd, true; },
    nullptr,
    [](const clap::Host* h, int fd) { return HostOf(h).fd = -1, fd >= 0; },
};

const void* HostExtension(const clap::Host* h, const char* id) {
    const std::string name = id;
    if (name == clap::kExtParams) return &kParams;
    if (name == clap::kExtState) return &kState;
    if (name == clap::kExtGui) return &kGui;
    if (name == clap::kExtTimerSupport && HostOf(h).offerTimers) return &kTimers;
    return name == clap::kExtPosixFdSupport ? &kFds : nullptr;
}

ClapTestHost& Of(void* context) { return *static_cast<ClapTestHost*>(context); }

}  // namespace

ClapTestHost::ClapTestHost(const char* path, bool offerTimers) : offerTimers(offerTimers) {
    host = {clap::kVersion, this, "tapdelay tests", "", "", "1", HostExtension, nullptr, nullptr, nullptr};
    // The library stays loaded: Xlib and fontconfig keep pointers into it.
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    entry = library ? static_cast<const clap::PluginEntry*>(dlsym(library, "clap_entry")) : nullptr;
    if (entry && entry->init(path))
        factory = static_cast<const clap::PluginFactory*>(entry->getFactory(clap::kPluginFactoryId));
    plugin = factory ? factory->createPlugin(factory, &host, "org.tapdelay.TapDelay") : nullptr;
    if (!plugin || !plugin->init(plugin)) {
        ADD_FAILURE() << "no plug-in from " << path << " " << (library ? "" : dlerror());
        plugin = nullptr;
        return;
    }
    params = Ext<clap::PluginParams>(clap::kExtParams);
    sent.reserve(64);
    taken.reserve(256);
    in = {this, [](const clap::InputEvents* l) { return (uint32_t)Of(l->context).sent.size(); },
          [](const clap::InputEvents* l, uint32_t i) -> const clap::EventHeader* { return &Of(l->context).sent.at(i).header; }};
    out = {this, [](const clap::OutputEvents* l, const clap::EventHeader* event) {
               Event copy{};
               std::memcpy(&copy, event, std::min<size_t>(event->size, sizeof copy));
               Of(l->context).taken.push_back(copy);
               return true;
           }};
}

void ClapTestHost::Send(uint32_t time, clap::Id id, double value) {
    Event e{};
    if (id == clap::kInvalidId)
        e.transport = {{sizeof e.transport, time, clap::kCoreEventSpace, clap::kEventTransport, 0}, clap::kTransportHasTempo, 0, 0, value};
    else
        e.value = {{sizeof e.value, time, clap::kCoreEventSpace, clap::kEventParamValue, 0}, id, nullptr, -1, -1, -1, -1, value};
    sent.push_back(e);
}

std::string ClapTestHost::Heard() const {
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

ClapTestHost::~ClapTestHost() {
    if (processing) plugin->stopProcessing(plugin);
    if (active) plugin->deactivate(plugin);
    if (plugin) plugin->destroy(plugin);
    if (factory) entry->deinit();
}

void ClapTestHost::Start(double rate, uint32_t maxFrames, bool startProcessing) {
    active = plugin->activate(plugin, rate, 1, maxFrames);
    ASSERT_TRUE(active);
    if (startProcessing) processing = plugin->startProcessing(plugin);
}

template <class Sample>
int32_t ClapTestHost::Process(Sample* const* in, Sample** out, uint32_t frames, double tempo) {
    clap::AudioBuffer input{}, output{};
    input.channelCount = output.channelCount = 2;
    if constexpr (sizeof(Sample) == 4)
        input.data32 = const_cast<float**>(in), output.data32 = out;
    else
        input.data64 = const_cast<double**>(in), output.data64 = out;
    clap::EventTransport transport{};
    transport.flags = clap::kTransportHasTempo;
    transport.tempo = tempo;
    taken.clear();
    const clap::Process process{-1, frames, tempo > 0 ? &transport : nullptr, &input, &output, 1, 1, &this->in, &this->out};
    const int32_t status = plugin->process(plugin, &process);
    sent.clear();
    return status;
}
template int32_t ClapTestHost::Process(float* const*, float**, uint32_t, double);
template int32_t ClapTestHost::Process(double* const*, double**, uint32_t, double);

void ClapTestHost::Flush() {
    taken.clear();
    params->flush(plugin, &in, &out);
    sent.clear();
}

std::string ClapTestHost::Set(clap::Id id, double value) {
    Send(0, id, value);
    Flush();
    return Heard();
}

double ClapTestHost::Value(clap::Id id) {
    double value = -1.0;
    EXPECT_TRUE(params->getValue(plugin, id, &value)) << id;
    return value;
}

std::string ClapTestHost::Text(clap::Id id, double value) {
    char text[64] = "";
    EXPECT_TRUE(params->valueToText(plugin, id, value, text, sizeof text)) << id;
    return text;
}

std::string ClapTestHost::State() {
    std::string bytes;
    const clap::OStream stream{&bytes, [](const clap::OStream* s, const void* data, uint64_t size) -> int64_t {
                                   static_cast<std::string*>(s->context)->append(static_cast<const char*>(data), size);
                                   return (int64_t)size;
                               }};
    return Ext<clap::PluginState>(clap::kExtState)->save(plugin, &stream) ? bytes : "";
}

bool ClapTestHost::Load(const std::string& bytes) {
    std::pair<const std::string*, size_t> at{&bytes, 0};
    const clap::IStream stream{&at, [](const clap::IStream* s, void* data, uint64_t size) -> int64_t {
                                   auto& [bytes, at] = *static_cast<std::pair<const std::string*, size_t>*>(s->context);
                                   const size_t n = std::min<size_t>({size, bytes->size() - at, 4096});
                                   std::memcpy(data, bytes->data() + at, n);
                                   return at += n, (int64_t)n;
                               }};
    return Ext<clap::PluginState>(clap::kExtState)->load(plugin, &stream);
}
