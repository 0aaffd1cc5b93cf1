// A small CLAP host of the tests' own: loads the built TapDelay.clap, offers
// the host extensions it uses (params, gui, state, log, timers,
// descriptors) and records what the plug-in asks of them.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "formats/clap/ClapAbi.h"

// The host's event lists for one call: `events` is what the plug-in reads,
// `taken` what it pushed (cleared by each process or flush).
class EventList {
public:
    EventList();
    void Value(uint32_t time, clap::Id id, double value);
    void Tempo(uint32_t time, double bpm);
    void Add(const void* event, uint32_t size);
    void Clear() { events.clear(); }

    struct Out {
        uint16_t type;
        clap::Id id;
        double value;  // parameter values only
    };
    std::vector<Out> Taken() const;

    clap::InputEvents in;
    clap::OutputEvents out;
    std::vector<std::string> events, taken;  // raw bytes, each one event
};

class ClapTestHost {
public:
    explicit ClapTestHost(const char* path = TAPDELAY_CLAP_PATH);
    ~ClapTestHost();

    const clap::PluginEntry* entry = nullptr;
    const clap::PluginFactory* factory = nullptr;

    // Whether the host offers timers; change before creating a plug-in.
    bool offerTimers = true;
    // What the plug-in asked.
    int flushRequests = 0, rescans = 0, dirtyMarks = 0;
    std::vector<std::pair<uint32_t, uint32_t>> resizeRequests;
    std::vector<std::string> logs;
    std::map<clap::Id, uint32_t> timers;  // id -> period
    std::set<int> fds;

    clap::Host host;

private:
    void* library = nullptr;
};

// One instance: created and initialised, destroyed (deactivated first) at the end.
class ClapInstance {
public:
    explicit ClapInstance(ClapTestHost& host);
    ~ClapInstance();

    template <class Extension>
    const Extension* Ext(const char* id) const {
        return static_cast<const Extension*>(plugin->getExtension(plugin, id));
    }
    // activate (and start processing unless told not to).
    void Start(double rate = 44100.0, uint32_t maxFrames = 512, bool processing = true);
    // Stereo in, stereo out; events in `events`, transport when tempo > 0.
    int32_t Process(float* const* in, float** out, uint32_t frames, EventList& events, double tempo = 0.0);
    int32_t Process(double* const* in, double** out, uint32_t frames, EventList& events, double tempo = 0.0);
    void Flush(EventList& events);

    double Value(clap::Id id);
    std::string Text(clap::Id id, double value);
    std::string State();                  // saved bytes ("" when save fails)
    bool Load(const std::string& bytes);  // through a stream of those bytes

    const clap::Plugin* plugin = nullptr;
    const clap::PluginParams* params = nullptr;

private:
    bool active = false, processing = false;
};
