#include "tools/vsthost/Synth.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace vsthost {

namespace {

constexpr double kTwoPi = 6.283185307179586;

double midiToHz(int note) {
    return 440.0 * std::pow(2.0, (note - 69) / 12.0);
}

// Karplus-Strong string: a noise burst circulating through a delay line of
// one period with a gentle two-point average as the string's damping.
void addPluck(std::vector<float>& left, std::vector<float>& right, double rate, double start,
              int note, double seconds, float pan, Random& random) {
    const size_t period = std::max<size_t>(2, (size_t)std::lround(rate / midiToHz(note)));
    std::vector<double> line(period);
    for (double& x : line)
        x = random.bipolar();
    const size_t begin = (size_t)(start * rate);
    const size_t length = (size_t)(seconds * rate);
    const double leftGain = std::min(1.0, 2.0 * (1.0 - pan)) * 0.5;
    const double rightGain = std::min(1.0, 2.0 * pan) * 0.5;
    size_t i = 0;
    for (size_t n = 0; n < length && begin + n < left.size(); ++n) {
        const size_t j = (i + 1) % period;
        const double y = line[i];
        line[i] = 0.4985 * (line[i] + line[j]);
        i = j;
        // A short fade at the end avoids a click when the note is cut.
        const double fade = std::min(1.0, (double)(length - n) / (0.01 * rate));
        left[begin + n] += (float)(y * leftGain * fade);
        right[begin + n] += (float)(y * rightGain * fade);
    }
}

void addKick(std::vector<float>& left, std::vector<float>& right, double rate, double start) {
    double phase = 0.0;
    const size_t begin = (size_t)(start * rate);
    for (size_t n = 0; n < (size_t)(0.35 * rate) && begin + n < left.size(); ++n) {
        const double t = n / rate;
        const double hz = 45.0 + 110.0 * std::exp(-t * 30.0);
        phase += kTwoPi * hz / rate;
        const float y = (float)(0.9 * std::sin(phase) * std::exp(-t * 9.0));
        left[begin + n] += y;
        right[begin + n] += y;
    }
}

void addSnare(std::vector<float>& left, std::vector<float>& right, double rate, double start,
              Random& random) {
    const size_t begin = (size_t)(start * rate);
    for (size_t n = 0; n < (size_t)(0.25 * rate) && begin + n < left.size(); ++n) {
        const double t = n / rate;
        const double tone = 0.3 * std::sin(kTwoPi * 190.0 * t) * std::exp(-t * 25.0);
        const double noise = 0.45 * random.bipolar() * std::exp(-t * 18.0);
        left[begin + n] += (float)(tone + noise);
        right[begin + n] += (float)(tone + noise);
    }
}

void addHat(std::vector<float>& left, std::vector<float>& right, double rate, double start,
            Random& random) {
    const size_t begin = (size_t)(start * rate);
    double previous = 0.0;
    for (size_t n = 0; n < (size_t)(0.05 * rate) && begin + n < left.size(); ++n) {
        const double white = random.bipolar();
        const double high = white - previous;  // first difference: a crude high-pass
        previous = white;
        const float y = (float)(0.12 * high * std::exp(-(n / rate) * 70.0));
        left[begin + n] += 0.8f * y;
        right[begin + n] += y;
    }
}

}  // namespace

AudioBuffer synthesiseDemoInput(double rate) {
    const double beat = 0.5;  // 120 BPM
    AudioBuffer audio(rate, 2, (size_t)(3.0 * rate));
    auto& left = audio.channels[0];
    auto& right = audio.channels[1];
    Random random(2024);

    // A minor arpeggio in eighths over two bars of 2/4, then one long note.
    const int phrase[] = {57, 60, 64, 69, 67, 64, 60, 64};
    for (int i = 0; i < 8; ++i)
        addPluck(left, right, rate, i * beat / 2, phrase[i], 0.45, 0.35f, random);
    addPluck(left, right, rate, 4 * beat, 69, 0.6, 0.35f, random);

    for (int b = 0; b < 4; ++b) {
        if (b % 2 == 0)
            addKick(left, right, rate, b * beat);
        else
            addSnare(left, right, rate, b * beat, random);
        addHat(left, right, rate, b * beat, random);
        addHat(left, right, rate, b * beat + beat / 2, random);
    }
    addKick(left, right, rate, 4 * beat);

    float peak = 0.0f;
    for (const auto& channel : audio.channels)
        for (float x : channel)
            peak = std::max(peak, std::fabs(x));
    const float gain = peak > 0.0f ? 0.5f / peak : 1.0f;
    for (auto& channel : audio.channels)
        for (float& x : channel)
            x *= gain;
    return audio;
}

AudioBuffer makeImpulse(double sampleRate, int channels, size_t frames, size_t at, float level) {
    AudioBuffer audio(sampleRate, channels, frames);
    if (at < frames)
        for (auto& channel : audio.channels)
            channel[at] = level;
    return audio;
}

AudioBuffer makeNoise(double sampleRate, int channels, size_t frames, float level,
                      uint32_t seed) {
    AudioBuffer audio(sampleRate, channels, frames);
    Random random(seed);
    for (size_t i = 0; i < frames; ++i)
        for (auto& channel : audio.channels)
            channel[i] = (float)(level * random.bipolar());
    return audio;
}

}  // namespace vsthost
