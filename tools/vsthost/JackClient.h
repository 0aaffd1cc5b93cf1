// A hosted plug-in as a JACK client: two audio inputs and two outputs, the
// plug-in run in JACK's process callback under the real-time rules (no
// allocation, no lock, no file or X call, no host call but the time query),
// the tempo from the caller or from JACK's transport, and what happened
// (xruns, the server going away) kept for the main thread.
#pragma once

#include <jack/jack.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

namespace vsthost {

class PluginHost;

class JackError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// No server answered (and none was started: that is left to the user).
class NoJackServer : public JackError {
public:
    using JackError::JackError;
};

class JackClient {
public:
    // Opens the client without ever starting a server; the server may add a
    // suffix to a name in use. Throws NoJackServer or JackError.
    explicit JackClient(const std::string& name);
    // Deactivates and closes.
    ~JackClient();
    JackClient(const JackClient&) = delete;
    JackClient& operator=(const JackClient&) = delete;

    std::string name() const;
    double sampleRate() const;
    int bufferSize() const;

    // Runs the plug-in (opened, prepared for bufferSize(), resumed) in every
    // cycle from now on. fixedTempo > 0 holds the tempo there; otherwise it
    // follows the transport's timebase master, else fallbackTempo.
    void activate(PluginHost& host, double fixedTempo, double fallbackTempo);
    // Stops the cycles; the plug-in is free again afterwards.
    void deactivate();
    // Inputs from the first two physical capture ports, outputs to the first
    // two playback ports (a single port takes both). Returns the connections
    // made, as "from -> to".
    std::vector<std::string> connectPhysical();

    // Becomes readable once the server has gone away.
    int shutdownFd() const { return shutdownFd_; }
    bool serverGone() const { return serverGone_.load(); }
    long xruns() const { return xruns_.load(); }
    // Cycles processed and the longest one, in microseconds.
    long cycles() const { return cycles_.load(); }
    double longestCycleMicros() const { return longestNanos_.load() / 1000.0; }

private:
    static int onProcess(jack_nframes_t frames, void* self);
    static int onXrun(void* self);
    static void onShutdown(void* self);
    int process(jack_nframes_t frames);
    double cycleTempo();

    jack_client_t* client_ = nullptr;
    jack_port_t* inputs_[2] = {};
    jack_port_t* outputs_[2] = {};
    int shutdownFd_ = -1;
    bool active_ = false;

    // Set before activation, read by the process callback only.
    PluginHost* host_ = nullptr;
    int block_ = 0;  // the block size the plug-in was told
    double fixedTempo_ = 0.0, fallbackTempo_ = 120.0;
    // The plug-in's own buffers: JACK's input buffers are not ours to write,
    // and the plug-in may have other channel counts than the ports.
    std::vector<std::vector<float>> pluginIn_, pluginOut_;
    std::vector<float*> pluginInPointers_, pluginOutPointers_;

    std::atomic<bool> serverGone_{false};
    std::atomic<long> xruns_{0};
    std::atomic<long> cycles_{0};
    std::atomic<long> longestNanos_{0};
};

}  // namespace vsthost
