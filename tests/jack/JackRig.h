// What the JACK tests share: a JACK server of the test's own (jackd2's dummy
// driver under a private name, so that tests side by side never meet), the
// tests' own clients that play into a client under test and record what it
// gives back in the same cycles, and the program under test as a child
// process.
#pragma once

#include "tools/vsthost/AudioBuffer.h"

#include <jack/jack.h>
#include <sys/types.h>

#include <atomic>
#include <string>
#include <vector>

// jackd -d dummy, running for the object's life. Sets JACK_DEFAULT_SERVER
// for this process and its children.
class JackServer {
public:
    explicit JackServer(int period = 256, double rate = 48000.0);
    ~JackServer();
    JackServer(const JackServer&) = delete;
    JackServer& operator=(const JackServer&) = delete;
    bool Up() const { return m_up; }
    void Stop();

private:
    pid_t m_pid = -1;
    bool m_up = false;
};

// A program run with its output (stdout and stderr) in a file.
class Child {
public:
    // `environment`: "NAME=VALUE" entries added to this process's.
    Child(const std::vector<std::string>& argv, const std::string& log,
          const std::vector<std::string>& environment = {});
    ~Child();  // kills it if it still runs
    void Signal(int number);
    // Exit status, or -1 when it did not end within the time or died of a signal.
    int Wait(double seconds = 30.0);
    std::string Output() const;

private:
    pid_t m_pid = -1;
    std::string m_log;
};

// Two clients of the test's own: "player" feeds a client's inputs, "recorder"
// takes its outputs, so that JACK runs player, client, recorder in that order
// within every cycle. The player can also be the transport's timebase master.
class TestClients {
public:
    TestClients();
    ~TestClients();
    TestClients(const TestClients&) = delete;
    TestClients& operator=(const TestClients&) = delete;

    // Waits for `client`'s ports in_L, in_R, out_L and out_R, then connects them.
    bool ConnectThrough(const std::string& client, double seconds = 20.0);
    // Plays `audio` (two channels) from the next cycle on and records
    // `frames` frames of the client's outputs from that same cycle.
    vsthost::AudioBuffer PlayAndRecord(const vsthost::AudioBuffer& audio, size_t frames, double seconds = 60.0);
    // Plays `audio` over and over until Stop.
    void Loop(const vsthost::AudioBuffer& audio);
    void Stop();
    // Becomes the timebase master with this tempo and starts the transport.
    void GiveTempo(double bpm);
    // Waits for this many cycles of the player.
    void WaitCycles(long cycles);

private:
    static int PlayerCycle(jack_nframes_t frames, void* self);
    static int RecorderCycle(jack_nframes_t frames, void* self);
    static void Timebase(jack_transport_state_t, jack_nframes_t, jack_position_t* position, int, void* self);

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

// The frame where |signal| first reaches `level` on either channel at or
// after `from`; -1 if it never does.
long FirstAbove(const vsthost::AudioBuffer& audio, float level, size_t from = 0);
