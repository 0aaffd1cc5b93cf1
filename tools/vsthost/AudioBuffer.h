// Multi-channel audio held as one float vector per channel.
#pragma once

#include <cstddef>
#include <vector>

namespace vsthost {

struct AudioBuffer {
    double sampleRate = 48000.0;
    std::vector<std::vector<float>> channels;

    AudioBuffer() = default;
    AudioBuffer(double rate, size_t channelCount, size_t frames)
        : sampleRate(rate), channels(channelCount, std::vector<float>(frames, 0.0f)) {}

    size_t channelCount() const { return channels.size(); }
    size_t frames() const { return channels.empty() ? 0 : channels[0].size(); }
    double seconds() const { return sampleRate > 0 ? frames() / sampleRate : 0.0; }
    void resize(size_t frames) {
        for (auto& c : channels)
            c.resize(frames, 0.0f);
    }
};

}  // namespace vsthost
