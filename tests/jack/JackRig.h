// What the JACK tests share: a JACK server of the test's own (jackd2's dummy
// driver), tapdelay and other programs as child processes, and the test's own
// clients, which play into a client and record its outputs in the same cycles.
#pragma once

#include "tests/support/TempFolder.h"
#include "tools/vsthost/AudioBuffer.h"

#include <fcntl.h>
#include <jack/jack.h>
#include <signal.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

inline std::string ReadText(const std::string& path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// libjack names a client's socket after the client alone: the same name on
// two servers at once collides.
inline std::string UniqueName(const std::string& name) { return name + "-" + std::to_string(getpid()); }

// A preferences folder of the test's own, for it and the programs it starts.
struct ConfigHome : TempFolder {
    ConfigHome() { setenv("XDG_CONFIG_HOME", path().c_str(), 1); }
};

// A program run with stdout and stderr in `log`, killed if it still runs at the end.
class Child {
public:
    Child(std::vector<std::string> argv, std::string log) : m_log(std::move(log)) {
        std::vector<char*> args;
        for (std::string& a : argv) args.push_back(a.data());
        args.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 1, m_log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_adddup2(&files, 1, 2);
        if (posix_spawnp(&m_pid, args[0], &files, nullptr, args.data(), environ) != 0) m_pid = -1;
        posix_spawn_file_actions_destroy(&files);
    }
    ~Child() {
        Signal(SIGKILL);
        Wait();
    }
    void Signal(int number) {
        if (m_pid > 0) kill(m_pid, number);
    }
    // The exit status; -1 when it died of a signal or still runs after 30 s.
    int Wait() {
        int status = 0;
        for (int i = 0; m_pid > 0 && i < 3000; i++, usleep(10000))
            if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_pid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
        return -1;
    }
    std::string Output() const { return ReadText(m_log); }
    bool Said(const std::string& text) const { return Output().find(text) != std::string::npos; }

private:
    pid_t m_pid = -1;
    std::string m_log;
};

// tapdelay as the client TapDelayName() with `options`, its output in `home`'s log.txt.
inline std::string TapDelayName() { return UniqueName("TapDelay"); }
inline std::unique_ptr<Child> StartTapDelay(const TempFolder& home, std::vector<std::string> options) {
    options.insert(options.begin(), {TAPDELAY_EXE, "--name", TapDelayName()});
    return std::make_unique<Child>(options, home.file("log.txt"));
}

// jackd -d dummy for the object's life, made this process's and its children's
// server by JACK_DEFAULT_SERVER. jackd's machine-wide table holds eight servers
// and keeps the entry of one stopped with a client connected until its name is
// used again: so the names come from a pool of four, each locked while in use.
class JackServer {
public:
    explicit JackServer(int period = 256) {
        jack_set_error_function([](const char*) {});
        jack_set_info_function([](const char*) {});
        std::string name;
        for (int slot = 0; slot < 4 && m_lock < 0; slot++) {
            name = "tapdelay-test-" + std::to_string(slot);
            m_lock = open(("/tmp/" + name + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
            if (m_lock >= 0 && flock(m_lock, LOCK_EX | LOCK_NB) != 0) {
                close(m_lock);
                m_lock = -1;
            }
        }
        if (m_lock < 0) return;
        setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
        // Synchronous: every client runs in every cycle however busy the machine is.
        m_jackd = std::make_unique<Child>(std::vector<std::string>{"jackd", "-n", name, "-r", "-S", "-t", "5000", "-d",
                                                                   "dummy", "-r", "48000", "-p", std::to_string(period)},
                                          "/dev/null");
        for (int attempt = 0; attempt < 200 && !m_up; attempt++) {
            jack_client_t* probe = jack_client_open(UniqueName("probe").c_str(), JackNoStartServer, nullptr);
            m_up = probe && jack_client_close(probe) == 0;
            if (!m_up) usleep(50000);
        }
    }
    ~JackServer() { Stop(); }
    bool Up() const { return m_up; }
    void Stop() {
        if (m_jackd) {
            m_jackd->Signal(SIGTERM);
            m_jackd->Wait();
        }
        if (m_lock >= 0) close(m_lock);
        m_lock = -1;
        m_up = false;
    }

private:
    std::unique_ptr<Child> m_jackd;
    int m_lock = -1;
    bool m_up = false;
};

// "player" feeds a client's in_L and in_R, "recorder" takes its out_L and
// out_R: JACK runs player, client, recorder in that order in every cycle. The
// player can be the transport's timebase master.
class TestClients {
public:
    TestClients() {
        m_player = jack_client_open(UniqueName("player").c_str(), JackNoStartServer, nullptr);
        m_recorder = jack_client_open(UniqueName("recorder").c_str(), JackNoStartServer, nullptr);
        if (!m_player || !m_recorder) return;
        for (int k = 0; k < 2; k++) {
            m_out[k] = jack_port_register(m_player, k ? "R" : "L", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
            m_in[k] = jack_port_register(m_recorder, k ? "R" : "L", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        }
        jack_set_process_callback(m_player, [](jack_nframes_t n, void* t) { return ((TestClients*)t)->Play(n); }, this);
        jack_set_process_callback(m_recorder, [](jack_nframes_t n, void* t) { return ((TestClients*)t)->Record(n); }, this);
        jack_activate(m_player);
        jack_activate(m_recorder);
    }
    ~TestClients() {
        if (m_recorder) jack_client_close(m_recorder);
        if (m_player) jack_client_close(m_player);
    }

    // Connects once `client`'s ports are there.
    bool ConnectThrough(const std::string& client) {
        bool connected = false;
        for (int attempt = 0; attempt < 400 && !connected && m_player && m_recorder; attempt++) {
            connected = true;
            for (int k = 0; k < 2; k++) {
                const int in = jack_connect(m_player, jack_port_name(m_out[k]), (client + (k ? ":in_R" : ":in_L")).c_str());
                const int out = jack_connect(m_recorder, (client + (k ? ":out_R" : ":out_L")).c_str(), jack_port_name(m_in[k]));
                connected &= (in == 0 || in == EEXIST) && (out == 0 || out == EEXIST);
            }
            if (!connected) usleep(50000);
        }
        WaitCycles(4);  // the new graph order in place
        return connected;
    }
    // Plays `audio` (stereo) over and over from the next cycle on.
    void Loop(const vsthost::AudioBuffer& audio) { Start(audio, 0); }
    // Plays `audio` and returns the client's output of the same cycles; nothing if it took too long.
    vsthost::AudioBuffer PlayAndRecord(const vsthost::AudioBuffer& audio) {
        Start(audio, audio.frames());
        for (int i = 0; i < 6000 && !m_recorded; i++) usleep(10000);
        m_armed = false;
        return m_recorded ? m_recording : vsthost::AudioBuffer();
    }
    // The transport rolls with this tempo, the player its timebase master.
    void GiveTempo(double bpm) {
        m_bpm = bpm;
        jack_set_timebase_callback(
            m_player, 0,
            [](jack_transport_state_t, jack_nframes_t, jack_position_t* position, int, void* self) {
                position->valid = JackPositionBBT;  // 4/4, bar 1, beat 1 throughout
                position->bar = position->beat = 1;
                position->tick = position->bar_start_tick = 0;
                position->beats_per_bar = position->beat_type = 4;
                position->ticks_per_beat = 1920;
                position->beats_per_minute = static_cast<TestClients*>(self)->m_bpm;
            },
            this);
        jack_transport_start(m_player);
        WaitCycles(8);
    }

private:
    void Start(const vsthost::AudioBuffer& audio, size_t record) {
        m_armed = false;
        WaitCycles(2);  // no cycle reads the audio any more
        m_recording = vsthost::AudioBuffer(audio.sampleRate, 2, record);
        m_recorded = false;
        m_audio = audio;
        m_armed = true;
    }
    void WaitCycles(long cycles) {
        const long until = m_cycles + cycles;
        for (int i = 0; i < 2000 && m_cycles < until; i++) usleep(5000);
    }
    // The recorder runs after the player in the same cycle: m_played covers this one.
    int Play(jack_nframes_t frames) {
        const bool armed = m_armed;
        for (int k = 0; k < 2; k++) {
            auto* out = static_cast<float*>(jack_port_get_buffer(m_out[k], frames));
            for (jack_nframes_t i = 0; i < frames; i++)
                out[i] = armed ? m_audio.channels[k][(m_played + i) % m_audio.frames()] : 0.0f;
        }
        m_played = armed ? m_played + frames : 0;
        m_cycles++;
        return 0;
    }
    int Record(jack_nframes_t frames) {
        if (m_played == 0 || m_recorded) return 0;
        const size_t first = m_played - frames, wanted = m_recording.frames();
        for (int k = 0; k < 2; k++) {
            const auto* in = static_cast<const float*>(jack_port_get_buffer(m_in[k], frames));
            for (jack_nframes_t i = 0; i < frames && first + i < wanted; i++) m_recording.channels[k][first + i] = in[i];
        }
        m_recorded = first + frames >= wanted;
        return 0;
    }

    jack_client_t* m_player = nullptr;
    jack_client_t* m_recorder = nullptr;
    jack_port_t* m_out[2] = {};
    jack_port_t* m_in[2] = {};
    vsthost::AudioBuffer m_audio;
    vsthost::AudioBuffer m_recording;
    std::atomic<bool> m_armed{false}, m_recorded{false};
    std::atomic<size_t> m_played{0};  // frames since the audio started
    std::atomic<long> m_cycles{0};
    std::atomic<double> m_bpm{0.0};
};
