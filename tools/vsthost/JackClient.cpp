#include "tools/vsthost/JackClient.h"

#include "tools/vsthost/PluginHost.h"

#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace vsthost {

namespace {

// libjack reports through one process-wide function. While a client opens
// its messages are kept for our own error (they would only repeat it
// less clearly); afterwards they go to stderr.
std::mutex g_messageMutex;
bool g_quiet = false;
std::string g_lastMessage;

void onJackError(const char* message) {
    std::lock_guard<std::mutex> lock(g_messageMutex);
    if (g_quiet)
        g_lastMessage = message;
    else
        fprintf(stderr, "JACK: %s\n", message);
}

void onJackInfo(const char*) {}

// The JACK period a plug-in is told at most; longer ones come in slices.
constexpr int kLargestBlock = 8192;
const char* const kInputNames[2] = {"in_L", "in_R"};
const char* const kOutputNames[2] = {"out_L", "out_R"};

long nowNanos() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1000000000L + t.tv_nsec;
}

}  // namespace

JackClient::JackClient(const std::string& name) {
    jack_set_error_function(onJackError);
    jack_set_info_function(onJackInfo);
    jack_status_t status{};
    {
        std::lock_guard<std::mutex> lock(g_messageMutex);
        g_quiet = true;
        g_lastMessage.clear();
    }
    client_ = jack_client_open(name.c_str(), JackNoStartServer, &status);
    std::string why;
    {
        std::lock_guard<std::mutex> lock(g_messageMutex);
        g_quiet = false;
        why = g_lastMessage;
    }
    if (!client_) {
        if (status & JackServerFailed)
            throw NoJackServer("no JACK server is running");
        throw JackError("JACK refused the client \"" + name + "\"" + (why.empty() ? "" : ": " + why));
    }
    shutdownFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    for (int k = 0; k < 2; ++k) {
        inputs_[k] = jack_port_register(client_, kInputNames[k], JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        outputs_[k] = jack_port_register(client_, kOutputNames[k], JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        if (!inputs_[k] || !outputs_[k] || shutdownFd_ < 0) {
            jack_client_close(client_);
            if (shutdownFd_ >= 0)
                close(shutdownFd_);
            throw JackError("cannot register the client's audio ports");
        }
    }
}

JackClient::~JackClient() {
    deactivate();
    {
        // Closing after the server went away only repeats that it is gone.
        std::lock_guard<std::mutex> lock(g_messageMutex);
        g_quiet = serverGone_;
    }
    jack_client_close(client_);
    close(shutdownFd_);
}

std::string JackClient::name() const { return jack_get_client_name(client_); }
double JackClient::sampleRate() const { return jack_get_sample_rate(client_); }
int JackClient::bufferSize() const { return (int)jack_get_buffer_size(client_); }

void JackClient::activate(PluginHost& host, double fixedTempo, double fallbackTempo) {
    if (active_)
        return;
    host_ = &host;
    block_ = std::min(std::max(bufferSize(), 1), kLargestBlock);
    fixedTempo_ = fixedTempo;
    fallbackTempo_ = fallbackTempo;
    // At least one buffer each side: some plug-ins read inputs[0] even when
    // they declare none.
    pluginIn_.assign(std::max(host.numInputs(), 1), std::vector<float>(block_, 0.0f));
    pluginOut_.assign(std::max(host.numOutputs(), 1), std::vector<float>(block_, 0.0f));
    pluginInPointers_.clear();
    pluginOutPointers_.clear();
    for (auto& b : pluginIn_)
        pluginInPointers_.push_back(b.data());
    for (auto& b : pluginOut_)
        pluginOutPointers_.push_back(b.data());

    jack_set_process_callback(client_, onProcess, this);
    jack_set_xrun_callback(client_, onXrun, this);
    jack_on_shutdown(client_, onShutdown, this);
    if (jack_activate(client_) != 0)
        throw JackError("JACK would not start the client's processing");
    active_ = true;
}

void JackClient::deactivate() {
    if (!active_)
        return;
    if (!serverGone_)
        jack_deactivate(client_);
    active_ = false;
}

std::vector<std::string> JackClient::connectPhysical() {
    std::vector<std::string> made;
    auto connectSide = [&](unsigned long flags, jack_port_t* const ours[2], bool ourInputs) {
        const char** ports = jack_get_ports(client_, nullptr, JACK_DEFAULT_AUDIO_TYPE, JackPortIsPhysical | flags);
        if (!ports || !ports[0]) {
            fprintf(stderr, "connect   no physical %s ports\n", ourInputs ? "capture" : "playback");
        } else {
            for (int k = 0; k < 2; ++k) {
                const std::string theirs = ports[k > 0 && ports[1] ? 1 : 0];
                const std::string mine = jack_port_name(ours[k]);
                const std::string& from = ourInputs ? theirs : mine;
                const std::string& to = ourInputs ? mine : theirs;
                if (jack_connect(client_, from.c_str(), to.c_str()) == 0)
                    made.push_back(from + " -> " + to);
            }
        }
        jack_free(ports);
    };
    connectSide(JackPortIsOutput, inputs_, true);
    connectSide(JackPortIsInput, outputs_, false);
    return made;
}

int JackClient::onProcess(jack_nframes_t frames, void* self) {
    return static_cast<JackClient*>(self)->process(frames);
}

int JackClient::onXrun(void* self) {
    static_cast<JackClient*>(self)->xruns_.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

// Runs on a JACK thread as a signal handler would: a flag and a wake-up.
void JackClient::onShutdown(void* self) {
    auto* client = static_cast<JackClient*>(self);
    client->serverGone_ = true;
    const uint64_t one = 1;
    if (write(client->shutdownFd_, &one, sizeof one) < 0) {
        // Nothing to do: the flag is set and the main loop polls it too.
    }
}

double JackClient::cycleTempo() {
    if (fixedTempo_ > 0.0)
        return fixedTempo_;
    jack_position_t position;
    jack_transport_query(client_, &position);
    if ((position.valid & JackPositionBBT) && std::isfinite(position.beats_per_minute) &&
        position.beats_per_minute >= 1.0 && position.beats_per_minute <= 999.0)
        return position.beats_per_minute;
    return fallbackTempo_;
}

int JackClient::process(jack_nframes_t frames) {
    PluginHost::markAudioThread();
    const long started = nowNanos();
    host_->setTempo(cycleTempo());
    const float* in[2];
    float* out[2];
    for (int k = 0; k < 2; ++k) {
        in[k] = static_cast<const float*>(jack_port_get_buffer(inputs_[k], frames));
        out[k] = static_cast<float*>(jack_port_get_buffer(outputs_[k], frames));
    }
    const size_t ins = pluginIn_.size(), outs = pluginOut_.size();
    const bool silentOutputs = host_->numOutputs() < 1;
    for (jack_nframes_t done = 0; done < frames;) {
        const int n = (int)std::min<jack_nframes_t>((jack_nframes_t)block_, frames - done);
        for (size_t k = 0; k < ins; ++k)
            std::memcpy(pluginIn_[k].data(), in[std::min<size_t>(k, 1)] + done, n * sizeof(float));
        host_->processFloat(pluginInPointers_.data(), pluginOutPointers_.data(), n);
        for (int k = 0; k < 2; ++k) {
            if (silentOutputs)
                std::memset(out[k] + done, 0, n * sizeof(float));
            else
                std::memcpy(out[k] + done, pluginOut_[std::min<size_t>(k, outs - 1)].data(), n * sizeof(float));
        }
        done += n;
    }
    cycles_.fetch_add(1, std::memory_order_relaxed);
    const long took = nowNanos() - started;
    if (took > longestNanos_.load(std::memory_order_relaxed))
        longestNanos_.store(took, std::memory_order_relaxed);
    return 0;
}

}  // namespace vsthost
