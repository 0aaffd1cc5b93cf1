// jack_demo_player CLIENT: plays vsthost's demo phrase (plucked strings and
// drums) in a loop into CLIENT's in_L and in_R, from a JACK client of its
// own, until SIGINT or SIGTERM. For the standalone check's pictures.
#include "tools/vsthost/Synth.h"

#include <jack/jack.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

namespace {

struct Player {
    jack_client_t* client = nullptr;
    jack_port_t* ports[2] = {};
    vsthost::AudioBuffer phrase;
    size_t position = 0;
};

int Play(jack_nframes_t frames, void* arg) {
    auto* player = static_cast<Player*>(arg);
    const size_t length = player->phrase.frames();
    for (int k = 0; k < 2; k++) {
        auto* out = static_cast<float*>(jack_port_get_buffer(player->ports[k], frames));
        for (jack_nframes_t i = 0; i < frames; i++) out[i] = player->phrase.channels[k][(player->position + i) % length];
    }
    player->position = (player->position + frames) % length;
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: jack_demo_player CLIENT\n");
        return 2;
    }
    const std::string target = argv[1];
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr);  // before JACK's threads

    Player player;
    player.client = jack_client_open("demo-player", JackNoStartServer, nullptr);
    if (!player.client) {
        fprintf(stderr, "jack_demo_player: no JACK server\n");
        return 1;
    }
    player.phrase = vsthost::synthesiseDemoInput(jack_get_sample_rate(player.client));
    const char* names[2] = {"L", "R"};
    for (int k = 0; k < 2; k++)
        player.ports[k] = jack_port_register(player.client, names[k], JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    jack_set_process_callback(player.client, Play, &player);
    jack_activate(player.client);

    // The target's ports can be connected once it is active.
    const char* inputs[2] = {":in_L", ":in_R"};
    for (int k = 0; k < 2; k++) {
        int result = -1;
        for (int attempt = 0; attempt < 200 && result != 0 && result != EEXIST; attempt++) {
            result = jack_connect(player.client, jack_port_name(player.ports[k]), (target + inputs[k]).c_str());
            if (result != 0) usleep(100000);
        }
        printf("%s -> %s%s: %s\n", jack_port_name(player.ports[k]), target.c_str(), inputs[k],
               result == 0 || result == EEXIST ? "connected" : "not connected");
    }
    fflush(stdout);
    int signal = 0;
    sigwait(&stop, &signal);
    jack_client_close(player.client);
    return 0;
}
