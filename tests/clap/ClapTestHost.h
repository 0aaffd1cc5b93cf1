// A CLAP host of the tests' own: TapDelay.clap loaded, one instance made and
// initialised (deactivated and destroyed at the end), the host extensions it
// uses offered and what it asks of them recorded.
#pragma once

#include <string>
#include <vector>

#include "formats/clap/ClapAbi.h"

class ClapTestHost {
public:
    explicit ClapTestHost(const char* path = TAPDELAY_CLAP_PATH, bool offerTimers = true);
    ~ClapTestHost();

    template <class Extension>
    const Extension* Ext(const char* id) const {
        return static_cast<const Extension*>(plugin->getExtension(plugin, id));
    }
    void Start(double rate = 44100.0, uint32_t maxFrames = 512, bool startProcessing = true);

    // An event for the next process or flush, which takes it: a value, or
    // with kTempo a transport with that tempo.
    static constexpr clap::Id kTempo = clap::kInvalidId;
    void Send(uint32_t time, clap::Id id, double value);
    // Stereo in and out; a transport with the tempo when it is above 0.
    template <class Sample>
    int32_t Process(Sample* const* in, Sample** out, uint32_t frames, double tempo = 0.0);
    void Flush();
    std::string Set(clap::Id id, double value);  // sent and flushed: Heard()
    // What the plug-in pushed in the last call: "B3 3=0.25 E3" (gesture begin, value, end).
    std::string Heard() const;

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

    union Event {
        clap::EventHeader header;
        clap::EventParamValue value;  // a gesture's paramId lies where a value's does
        clap::EventTransport transport;
    };
    // Room is kept: the plug-in's pushes never allocate.
    std::vector<Event> sent, taken;

private:
    const clap::PluginEntry* entry = nullptr;
    bool active = false;
    clap::InputEvents in;
    clap::OutputEvents out;
};
