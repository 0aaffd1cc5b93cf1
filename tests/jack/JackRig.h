// What the JACK tests share: a JACK server of the test's own (jackd2's dummy
// driver under a private name, so that tests side by side never meet), the
// program under test as a child process, and the test's own clients, which
// play into a client and record its outputs in the same cycles.
#pragma once

#include "tools/vsthost/AudioBuffer.h"

#include <jack/jack.h>
#include <sys/types.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

// A program run with stdout and stderr in `log`, and `environment`
// ("NAME=VALUE") added to ours.
class Child {
public:
    Child(const std::vector<std::string>& argv, const std::string& log,
          const std::vector<std::string>& environment = {});
    ~Child();  // kills it if it still runs
    void Signal(int number);
    // The exit status; -1 when it died of a signal or ran on for `seconds`.
    int Wait(double seconds = 30.0);
    std::string Output() const;

private:
    pid_t m_pid = -1;
    std::string m_log;
};

// A client name of this test's own: libjack's socket for a client is named
// after the client alone, so the same name on two servers at once collides.
std::string UniqueName(const std::string& name);

// jackd -d dummy for the object's life; JACK_DEFAULT_SERVER names it for
// this process and its children.
class JackServer {
public:
    explicit JackServer(int period = 256);
    ~JackServer() { Stop(); }
    bool Up() const { return m_up; }
    void Stop();

private:
    std::unique_ptr<Child> m_jackd;
    int m_lock = -1;
    bool m_up = false;
};

// "player" feeds a client's in_L and in_R, "recorder" takes its out_L and
// out_R: JACK runs player, client, recorder in that order in every cycle.
// The player can be the transport's timebase master.
class TestClients {
public:
    TestClients();
    ~TestClients();
    // Connects once `client` is active.
    bool ConnectThrough(const std::string& client);
    // Plays `audio` (stereo) from the next cycle on and returns the client's
    // `frames` frames from that same cycle; nothing if it took too long.
    vsthost::AudioBuffer PlayAndRecord(const vsthost::AudioBuffer& audio, size_t frames);
    // Plays `audio` over and over until Stop.
    void Loop(const vsthost::AudioBuffer& audio);
    void Stop();
    // The transport rolls with this tempo, the player its timebase master.
    void GiveTempo(double bpm);

private:
    static int PlayerCycle(jack_nframes_t frames, void* self);
    static int RecorderCycle(jack_nframes_t frames, void* self);
    void Start(const vsthost::AudioBuffer& audio, bool loop);
    void WaitCycles(long cycles);

    jack_client_t* m_player = nullptr;
    jack_client_t* m_recorder = nullptr;
    jack_port_t* m_out[2] = {};
    jack_port_t* m_in[2] = {};
    const vsthost::AudioBuffer* m_audio = nullptr;
    vsthost::AudioBuffer m_recording;
    std::atomic<bool> m_armed{false}, m_looping{false}, m_started{false}, m_recorded{false};
    std::atomic<jack_nframes_t> m_startFrame{0};
    std::atomic<long> m_cycles{0};
    std::atomic<double> m_bpm{0.0};
};

// The first frame at or after `from` where either channel reaches `level`; -1 for none.
long FirstAbove(const vsthost::AudioBuffer& audio, float level, size_t from = 0);
