// A CLAP host of the tests' own: loads TapDelay.clap, offers the host
// extensions it uses and records what the plug-in asks of them.
#pragma once

#include <string>
#include <vector>

#include "formats/clap/ClapAbi.h"

// The lists of one process or flush: `events` in, `taken` out (cleared by
// each call, with room kept so that the plug-in's pushes never allocate).
struct EventList {
    union Event {
        clap::EventHeader header;
        clap::EventParamValue value;  // a gesture's paramId lies where a value's does
        clap::EventTransport transport;
    };
    EventList();
    void Value(uint32_t time, clap::Id id, double value);
    void Tempo(uint32_t time, double bpm);
    // What the plug-in pushed: "B3 3=0.25 E3" (gesture begin, value, end).
    std::string Heard() const;

    std::vector<Event> events, taken;
    clap::InputEvents in;
    clap::OutputEvents out;
};

// TapDelay.clap loaded, and one instance of it made and initialised
// (deactivated and destroyed at the end).
class ClapTestHost {
public:
    explicit ClapTestHost(const char* path = TAPDELAY_CLAP_PATH, bool offerTimers = true);
    ~ClapTestHost();

    template <class Extension>
    const Extension* Ext(const char* id) const {
        return static_cast<const Extension*>(plugin->getExtension(plugin, id));
    }
    void Start(double rate = 44100.0, uint32_t maxFrames = 512, bool startProcessing = true);
    // Stereo in and out; a transport with the tempo when it is above 0.
    template <class Sample>
    int32_t Process(Sample* const* in, Sample** out, uint32_t frames, EventList& events, double tempo = 0.0);
    void Flush(EventList& events);
    std::string Set(clap::Id id, double value);  // through flush: what the host heard

    double Value(clap::Id id);
    std::string Text(clap::Id id, double value);
    std::string State();                  // "" when saving fails
    bool Load(const std::string& bytes);  // read in pieces, as from a file

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

private:
    const clap::PluginEntry* entry = nullptr;
    bool active = false;
};
