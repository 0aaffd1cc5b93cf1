// The VST 2 plug-in as the reference every other format renders bit for bit:
// the factory bank from its own folder, blocks of kBlock, each block cut
// where a change falls, with the change made between the pieces.
#pragma once

#include <cstring>
#include <vector>

#include "tests/support/PluginUnderTest.h"

template <class Sample>
struct Stereo {
    explicit Stereo(size_t frames = 0) : left(frames), right(frames) {}
    Sample** At(size_t frame) { return at[0] = &left[frame], at[1] = &right[frame], at; }
    bool operator==(const Stereo& other) const {  // bit for bit
        return left.size() == other.left.size() && right.size() == other.right.size() &&
               !std::memcmp(left.data(), other.left.data(), left.size() * sizeof(Sample)) &&
               !std::memcmp(right.data(), other.right.data(), right.size() * sizeof(Sample));
    }
    std::vector<Sample> left, right;
    Sample* at[2];
};

// An impulse, noise that swells and falls (left and right apart), then
// silence for the echoes.
template <class Sample>
Stereo<Sample> TestSignal(size_t frames);

struct Vst2Change {
    static constexpr int kTempo = -1;
    size_t frame;
    int index;     // the effect's, ParameterInfo::kBypass (the power switch reversed) or kTempo
    double value;  // normalised, or beats per minute
};

class Vst2Reference : public PluginUnderTest {
public:
    static constexpr int kBlock = 512;
    explicit Vst2Reference(double rate = 44100.0);
    void Set(const Vst2Change& change);
    template <class Sample>
    Stereo<Sample> Render(const Stereo<Sample>& input, const std::vector<Vst2Change>& changes);
};
