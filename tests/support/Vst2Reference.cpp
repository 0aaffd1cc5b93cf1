#include "tests/support/Vst2Reference.h"

#include "formats/shared/ParameterInfo.h"

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

Vst2Reference::Vst2Reference(int block, float rate) : PluginUnderTest(false), block(block) {
    directoryAnswer = "";
    dispatch(effOpen);
    prepare(rate, block);
}

template <class Sample>
Stereo<Sample> Vst2Reference::Render(const Stereo<Sample>& input, const std::vector<Change>& changes) {
    Stereo<Sample> in = input, out(input.left.size());  // the double path scales its input in place
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

template Stereo<float> TestSignal(size_t);
template Stereo<double> TestSignal(size_t);
template Stereo<float> Vst2Reference::Render(const Stereo<float>&, const std::vector<Change>&);
template Stereo<double> Vst2Reference::Render(const Stereo<double>&, const std::vector<Change>&);
