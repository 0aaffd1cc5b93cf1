// The VST 2 plug-in as the reference the other formats must match bit for
// bit: opened on its own folder (the factory bank), prepared, and rendering
// in blocks cut wherever a change falls, as sample-accurate changes sound.
#pragma once

#include <cstring>
#include <vector>

#include "formats/shared/ParameterInfo.h"
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
Stereo<Sample> TestSignal(size_t frames) {
    Stereo<Sample> signal(frames);
    uint32_t seed = 1;
    for (size_t i = 10; i < frames / 2; i++) {
        seed = seed * 1664525u + 1013904223u;
        const float noise = ((seed >> 9) / 8388608.0f - 1.0f) * ((i / 4000) % 3 == 1 ? 0.5f : 0.05f);
        signal.left[i] = (Sample)(i == 10 ? 1.0f : noise);
        signal.right[i] = (Sample)(-0.5f * noise);
    }
    return signal;
}

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

    explicit Vst2Reference(int block = 512, float rate = 44100.0f) : PluginUnderTest(false), block(block) {
        directoryAnswer = "";
        dispatch(effOpen);
        prepare(rate, block);
    }

    template <class Sample>
    Stereo<Sample> Render(Stereo<Sample> in, const std::vector<Change>& changes = {}) {
        Stereo<Sample> out(in.left.size());  // `in` is a copy: the double path scales its input in place
        size_t next = 0;
        for (size_t done = 0; done < in.left.size();) {
            for (; next < changes.size() && changes[next].frame <= done; next++) {
                const Change& c = changes[next];
                if (c.index == kTempo)
                    giveTempo(c.value);
                else if (c.index == ParameterInfo::kBypass)
                    setParameter(kParamOnOff, c.value >= 0.5 ? 0.0f : 1.0f);
                else
                    setParameter(c.index, (float)c.value);
            }
            size_t end = std::min(in.left.size(), (done / block + 1) * block);
            if (next < changes.size()) end = std::min(end, changes[next].frame);
            if constexpr (sizeof(Sample) == 4)
                effect()->processReplacing(effect(), in.At(done), out.At(done), (VstInt32)(end - done));
            else
                effect()->processDoubleReplacing(effect(), in.At(done), out.At(done), (VstInt32)(end - done));
            done = end;
        }
        return out;
    }

    const size_t block;
};
