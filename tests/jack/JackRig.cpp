#include "tests/jack/JackRig.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace {

void Quiet(const char*) {}

void Sleep(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

pid_t Spawn(const std::vector<std::string>& argv, const std::string& log, const std::vector<std::string>& added) {
    std::vector<char*> args, env;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    // What the test gives replaces what the test itself was given.
    auto overridden = [&](const char* entry) {
        for (const std::string& a : added)
            if (std::strncmp(entry, a.c_str(), a.find('=') + 1) == 0) return true;
        return false;
    };
    for (char** e = environ; *e; e++)
        if (!overridden(*e)) env.push_back(*e);
    for (const std::string& a : added) env.push_back(const_cast<char*>(a.c_str()));
    env.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = -1;
    if (posix_spawnp(&pid, args[0], &files, nullptr, args.data(), env.data()) != 0) pid = -1;
    posix_spawn_file_actions_destroy(&files);
    return pid;
}

}  // namespace

std::string UniqueName(const std::string& name) { return name + "-" + std::to_string(getpid()); }

// ------------------------------------------------------------- child -----

Child::Child(const std::vector<std::string>& argv, const std::string& log, const std::vector<std::string>& environment)
    : m_pid(Spawn(argv, log, environment)), m_log(log) {}

Child::~Child() {
    Signal(SIGKILL);
    Wait();
}

void Child::Signal(int number) {
    if (m_pid > 0) kill(m_pid, number);
}

int Child::Wait(double seconds) {
    for (int i = 0; m_pid > 0 && i < seconds * 100; i++) {
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        Sleep(0.01);
    }
    return -1;
}

std::string Child::Output() const {
    std::ifstream file(m_log);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// ------------------------------------------------------------ server -----

// jackd keeps a machine-wide table of eight servers, and forgets to free
// its entry when it is stopped with a client still connected (as the
// server-gone test does); a name used again frees it. So the tests take
// their names from a small pool, each held by a lock for the server's life.
JackServer::JackServer(int period) {
    jack_set_error_function(Quiet);
    jack_set_info_function(Quiet);
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
    // Synchronous: every client runs in every cycle however busy the machine
    // is. (The dummy driver keeps real time; its -w sets the period.)
    m_jackd = std::make_unique<Child>(std::vector<std::string>{"jackd", "-n", name, "-r", "-S", "-t", "5000", "-d",
                                                               "dummy", "-r", "48000", "-p", std::to_string(period)},
                                      "/dev/null");
    for (int attempt = 0; attempt < 200 && !m_up; attempt++) {
        jack_client_t* probe = jack_client_open(UniqueName("probe").c_str(), JackNoStartServer, nullptr);
        m_up = probe != nullptr;
        if (probe) jack_client_close(probe);
        else Sleep(0.05);
    }
}

void JackServer::Stop() {
    if (m_jackd) {
        m_jackd->Signal(SIGTERM);
        m_jackd->Wait();
    }
    if (m_lock >= 0) close(m_lock);
    m_lock = -1;
    m_up = false;
}

// ----------------------------------------------------------- clients -----

TestClients::TestClients() {
    m_player = jack_client_open(UniqueName("player").c_str(), JackNoStartServer, nullptr);
    m_recorder = jack_client_open(UniqueName("recorder").c_str(), JackNoStartServer, nullptr);
    if (!m_player || !m_recorder) return;
    const char* names[2] = {"L", "R"};
    for (int k = 0; k < 2; k++) {
        m_out[k] = jack_port_register(m_player, names[k], JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        m_in[k] = jack_port_register(m_recorder, names[k], JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    }
    jack_set_process_callback(m_player, PlayerCycle, this);
    jack_set_process_callback(m_recorder, RecorderCycle, this);
    jack_activate(m_player);
    jack_activate(m_recorder);
}

TestClients::~TestClients() {
    if (m_recorder) jack_client_close(m_recorder);
    if (m_player) jack_client_close(m_player);
}

// A client's ports appear when it opens; they can be connected once it is
// active.
bool TestClients::ConnectThrough(const std::string& client) {
    const char* ins[2] = {":in_L", ":in_R"};
    const char* outs[2] = {":out_L", ":out_R"};
    bool connected = false;
    for (int attempt = 0; attempt < 400 && !connected && m_player && m_recorder; attempt++) {
        connected = true;
        for (int k = 0; k < 2; k++) {
            const int in = jack_connect(m_player, jack_port_name(m_out[k]), (client + ins[k]).c_str());
            const int out = jack_connect(m_recorder, (client + outs[k]).c_str(), jack_port_name(m_in[k]));
            connected &= (in == 0 || in == EEXIST) && (out == 0 || out == EEXIST);
        }
        if (!connected) Sleep(0.05);
    }
    WaitCycles(4);  // the new graph order in place
    return connected;
}

void TestClients::Start(const vsthost::AudioBuffer& audio, bool loop) {
    m_audio = &audio;
    m_looping = loop;
    m_recorded = loop;  // a loop records nothing
    m_armed = true;
}

vsthost::AudioBuffer TestClients::PlayAndRecord(const vsthost::AudioBuffer& audio, size_t frames) {
    m_recording = vsthost::AudioBuffer(audio.sampleRate, 2, frames);
    Start(audio, false);
    for (int i = 0; i < 6000 && !m_recorded; i++) Sleep(0.01);
    if (!m_recorded) m_recording.resize(0);
    Stop();
    return m_recording;
}

void TestClients::Loop(const vsthost::AudioBuffer& audio) { Start(audio, true); }

void TestClients::Stop() {
    m_armed = false;
    m_started = false;
    WaitCycles(2);  // no cycle reads the audio any more
    m_audio = nullptr;
}

void TestClients::GiveTempo(double bpm) {
    m_bpm = bpm;
    jack_set_timebase_callback(
        m_player, 0,
        [](jack_transport_state_t, jack_nframes_t, jack_position_t* position, int, void* self) {
            position->valid = JackPositionBBT;
            position->bar = position->beat = 1;
            position->tick = 0;
            position->bar_start_tick = 0;
            position->beats_per_bar = position->beat_type = 4;
            position->ticks_per_beat = 1920;
            position->beats_per_minute = static_cast<TestClients*>(self)->m_bpm;
        },
        this);
    jack_transport_start(m_player);
    WaitCycles(8);
}

void TestClients::WaitCycles(long cycles) {
    const long until = m_cycles + cycles;
    for (int i = 0; i < 2000 && m_cycles < until; i++) Sleep(0.005);
}

int TestClients::PlayerCycle(jack_nframes_t frames, void* self) {
    auto* t = static_cast<TestClients*>(self);
    const jack_nframes_t now = jack_last_frame_time(t->m_player);
    if (t->m_armed && !t->m_started) {
        t->m_startFrame = now;
        t->m_started = true;
    }
    const vsthost::AudioBuffer* audio = t->m_started ? t->m_audio : nullptr;
    const size_t length = audio ? audio->frames() : 0;
    for (int k = 0; k < 2; k++) {
        auto* out = static_cast<float*>(jack_port_get_buffer(t->m_out[k], frames));
        for (jack_nframes_t i = 0; i < frames; i++) {
            size_t at = now - t->m_startFrame + i;
            if (t->m_looping && length) at %= length;
            out[i] = at < length ? audio->channels[k % audio->channelCount()][at] : 0.0f;
        }
    }
    t->m_cycles++;
    return 0;
}

int TestClients::RecorderCycle(jack_nframes_t frames, void* self) {
    auto* t = static_cast<TestClients*>(self);
    if (!t->m_started || t->m_recorded) return 0;
    const size_t first = jack_last_frame_time(t->m_recorder) - t->m_startFrame;
    const size_t wanted = t->m_recording.frames();
    for (int k = 0; k < 2; k++) {
        const auto* in = static_cast<const float*>(jack_port_get_buffer(t->m_in[k], frames));
        for (jack_nframes_t i = 0; i < frames && first + i < wanted; i++) t->m_recording.channels[k][first + i] = in[i];
    }
    if (first + frames >= wanted) t->m_recorded = true;
    return 0;
}

long FirstAbove(const vsthost::AudioBuffer& audio, float level, size_t from) {
    for (size_t i = from; i < audio.frames(); i++)
        for (const auto& channel : audio.channels)
            if (std::fabs(channel[i]) >= level) return (long)i;
    return -1;
}
