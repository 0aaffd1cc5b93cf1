// Test and demo signals: a short musical phrase (plucked strings over a drum
// pattern), impulses and noise. All deterministic.
#pragma once

#include "tools/vsthost/AudioBuffer.h"

#include <cstdint>

namespace vsthost {

// About three seconds of stereo: two bars of a plucked phrase with kick,
// snare and hi-hat at 120 BPM, then one last note alone so that echoes can
// be heard and seen. Peaks at -6 dBFS.
AudioBuffer synthesiseDemoInput(double sampleRate);

// One sample at `level` on every channel at frame `at`, silence elsewhere.
AudioBuffer makeImpulse(double sampleRate, int channels, size_t frames, size_t at = 0,
                        float level = 1.0f);

// Uniform white noise in [-level, level].
AudioBuffer makeNoise(double sampleRate, int channels, size_t frames, float level,
                      uint32_t seed = 1);

// A small, fast, repeatable generator (xorshift32).
class Random {
public:
    explicit Random(uint32_t seed) : state_(seed ? seed : 0x9E3779B9u) {}
    uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }
    // In [0, 1).
    double uniform() { return (next() >> 8) * (1.0 / 16777216.0); }
    // In [-1, 1).
    double bipolar() { return 2.0 * uniform() - 1.0; }

private:
    uint32_t state_;
};

}  // namespace vsthost
