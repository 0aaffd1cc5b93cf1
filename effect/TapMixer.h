// The block loops around the taps: precision conversion, the input gain with
// its meter, and the dry/wet mix of the active taps with the output gain and
// its meter. Each is built for AVX2 as well and picked when the processor has
// it; the arithmetic (no fused multiply-add) is the same either way.
#pragma once

// samples[i] *= gain, in place; returns the largest absolute result.
double ApplyGainAndPeak(double* samples, int count, double gain);

// out[i] = (in[i] * dry + taps[0][i] * wet + taps[1][i] * wet + ...) * gain,
// summed in that order for every sample; returns the larger of peak and the
// largest absolute output. At most six taps.
double MixTapsAndPeak(const double* in, const double* const* taps, int tapCount, double* out,
                      int count, double dry, double wet, double gain, double peak);

// The single-precision host buffers to and from the double-precision engine.
void WidenToDouble(const float* in, double* out, int count);
void NarrowToFloat(const double* in, float* out, int count);
