#include "effect/TapMixer.h"

#include <emmintrin.h>

#include "dsp/VectorDispatch.h"

namespace {

// Largest absolute value, two SSE2 lanes at a time.
inline VECTOR_LOOP double PeakOf(const double* samples, int count, double peak) {
    const __m128d signMask = _mm_castsi128_pd(_mm_set1_epi64x(0x7FFFFFFFFFFFFFFFLL));
    __m128d lanes = _mm_set1_pd(peak);
    __m128d more = lanes;
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        lanes = _mm_max_pd(lanes, _mm_and_pd(_mm_loadu_pd(samples + i), signMask));
        more = _mm_max_pd(more, _mm_and_pd(_mm_loadu_pd(samples + i + 2), signMask));
    }
    lanes = _mm_max_pd(lanes, more);
    double pair[2];
    _mm_storeu_pd(pair, lanes);
    double largest = pair[0] > pair[1] ? pair[0] : pair[1];
    for (; i < count; i++) {
        double magnitude = samples[i] < 0.0 ? -samples[i] : samples[i];
        if (magnitude > largest) largest = magnitude;
    }
    return largest;
}

// One pass with the tap count fixed at compile time, so the loop vectorises.
template <int Taps>
inline VECTOR_LOOP void Mix(const double* in, const double* const* taps, double* out, int count, double dry,
         double wet, double gain) {
    for (int i = 0; i < count; i++) {
        double sum = in[i] * dry;
        for (int k = 0; k < Taps; k++) sum += taps[k][i] * wet;
        out[i] = sum * gain;
    }
}

}  // namespace

double ApplyGainAndPeak(double* samples, int count, double gain) {
    double peak = 0.0;
    RunVectorised([&]() VECTOR_LOOP {
        for (int i = 0; i < count; i++) samples[i] *= gain;
        peak = PeakOf(samples, count, 0.0);
    });
    return peak;
}

double MixTapsAndPeak(const double* in, const double* const* taps, int tapCount, double* out,
                      int count, double dry, double wet, double gain, double peak) {
    RunVectorised([&]() VECTOR_LOOP {
        switch (tapCount) {
            case 0: Mix<0>(in, taps, out, count, dry, wet, gain); break;
            case 1: Mix<1>(in, taps, out, count, dry, wet, gain); break;
            case 2: Mix<2>(in, taps, out, count, dry, wet, gain); break;
            case 3: Mix<3>(in, taps, out, count, dry, wet, gain); break;
            case 4: Mix<4>(in, taps, out, count, dry, wet, gain); break;
            case 5: Mix<5>(in, taps, out, count, dry, wet, gain); break;
            default: Mix<6>(in, taps, out, count, dry, wet, gain); break;
        }
        peak = PeakOf(out, count, peak);
    });
    return peak;
}

void WidenToDouble(const float* in, double* out, int count) {
    RunVectorised([&]() VECTOR_LOOP {
        for (int i = 0; i < count; i++) out[i] = in[i];
    });
}

void NarrowToFloat(const double* in, float* out, int count) {
    RunVectorised([&]() VECTOR_LOOP {
        for (int i = 0; i < count; i++) out[i] = (float)in[i];
    });
}
