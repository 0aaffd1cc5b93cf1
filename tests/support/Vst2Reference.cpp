#include "tests/support/Vst2Reference.h"

#include <algorithm>

#include "formats/shared/ParameterInfo.h"

template <class Sample>
Stereo<Sample> TestSignal(size_t frames) {
    Stereo<Sample> signal(frames);
    uint32_t seed = 1;
    for (size_t i = 0; i < frames * 2 / 3; i++) {
        seed = seed * 1664525u + 1013904223u;
        const float noise = ((seed >> 9) / 8388608.0f - 1.0f) * ((i / 4000) % 3 == 1 ? 0.5f : 0.05f);
        signal.left[i] = i == 10 ? 1.0f : noise;
        signal.right[i] = -0.5f * noise;
    }
    return signal;
}

Vst2Reference::Vst2Reference(double rate) : PluginUnderTest(false) {
    directoryAnswer = "";
    dispatch(effOpen);
    prepare((float)rate, kBlock);
}

void Vst2Reference::Set(const Vst2Change& change) {
    if (change.index == Vst2Change::kTempo)
        giveTempo(change.value);
    else if (change.index == ParameterInfo::kBypass)
        setParameter(kParamOnOff, change.value >= 0.5 ? 0.0f : 1.0f);
    else
        setParameter(change.index, (float)change.value);
}

template <class Sample>
Stereo<Sample> Vst2Reference::Render(const Stereo<Sample>& input, const std::vector<Vst2Change>& changes) {
    const size_t frames = input.left.size();
    Stereo<Sample> in = input, out(frames);  // the double path scales its input in place
    size_t next = 0;
    for (size_t done = 0; done < frames;) {
        for (; next < changes.size() && changes[next].frame <= done; next++) Set(changes[next]);
        size_t end = std::min(frames, (done / kBlock + 1) * kBlock);
        if (next < changes.size()) end = std::min(end, changes[next].frame);
        if constexpr (sizeof(Sample) == 4)
            effect()->processReplacing(effect(), in.At(done), out.At(done), (VstInt32)(end - done));
        else
            effect()->processDoubleReplacing(effect(), in.At(done), out.At(done), (VstInt32)(end - done));
        done = end;
    }
    return out;
}

template Stereo<float> TestSignal(size_t);
template Stereo<double> TestSignal(size_t);
template Stereo<float> Vst2Reference::Render(const Stereo<float>&, const std::vector<Vst2Change>&);
template Stereo<double> Vst2Reference::Render(const Stereo<double>&, const std::vector<Vst2Change>&);
