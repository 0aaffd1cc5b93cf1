// The VST 2 plug-in as the reference the other formats must match bit for
// bit: opened on its own folder (the factory bank), prepared, and rendering
// in blocks cut wherever a change falls, as sample-accurate changes sound.
#pragma once

#include <cstring>
#include <vector>

#include "tests/support/PluginUnderTest.h"

template <class Sample>
struct Stereo {
    explicit Stereo(size_t frames = 0) : left(frames), right(frames) {}
    // Both channels from `frame` on, as a host's channel pointers.
    Sample** At(size_t frame) { return at[0] = left.data() + frame, at[1] = right.data() + frame, at; }
    // Bit for bit (== on the samples would take -0 for 0).
    bool operator==(const Stereo& other) const {
        return left.size() == other.left.size() && right.size() == other.right.size() &&
               !std::memcmp(left.data(), other.left.data(), left.size() * sizeof(Sample)) &&
               !std::memcmp(right.data(), other.right.data(), right.size() * sizeof(Sample));
    }

    std::vector<Sample> left, right;
    Sample* at[2] = {};
};

// An impulse at frame 10, then noise (right apart from left) that swells
// and falls over the first half; silence after it, where the echoes ring.
template <class Sample>
Stereo<Sample> TestSignal(size_t frames);

class Vst2Reference : public PluginUnderTest {
public:
    static constexpr int kTempo = -1;
    // Before `frame`: a parameter (ParameterInfo::kBypass is the power switch
    // reversed) set to a normalised value, or with kTempo the host's tempo.
    struct Change {
        size_t frame;
        int index;
        double value;
    };

    explicit Vst2Reference(int block = 512, float rate = 44100.0f);
    template <class Sample>
    Stereo<Sample> Render(const Stereo<Sample>& input, const std::vector<Change>& changes = {});

    const int block;
};
