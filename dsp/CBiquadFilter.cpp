#include "dsp/CBiquadFilter.h"

#include <algorithm>
#include <cmath>

#include <emmintrin.h>

#include "dsp/FlushTiny.h"
#include "dsp/VectorDispatch.h"

namespace {

constexpr double kTiny = 0x1p-20;

inline float FlushFloat(float y) { return (y != 0.0f && std::fabs(y) < float(kTiny)) ? 0.0f : y; }

// Two filters per SSE2 register: lane arithmetic is plain IEEE double
// arithmetic, so each lane computes exactly what the scalar loop computes.
// The flush test 0 < |y| < 2^-20 is one compare on the magnitude's bits
// minus one: a zero magnitude turns into all ones, a NaN pattern that
// compares false, and positive bit patterns order like their values.
inline __m128d TinyMask(__m128d y) {
    const __m128i magnitude = _mm_and_si128(_mm_castpd_si128(y), _mm_set1_epi64x(int64_t(kMagnitudeBits)));
    const __m128d below = _mm_castsi128_pd(_mm_sub_epi64(magnitude, _mm_set1_epi64x(1)));
    return _mm_cmplt_pd(below, _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kFlushTinyBits - 1))));
}

}  // namespace

CBiquadFilter::CBiquadFilter() = default;
CBiquadFilter::~CBiquadFilter() = default;

double* CBiquadFilter::CalcCoefficients(double sampleRate, double frequency, double gainDb, double q, int type) {
    const double A = std::pow(10.0, gainDb / 40.0);
    const double f = std::min(0.5 * sampleRate * 0.95, frequency);
    const double w = f / sampleRate * 6.283185307;
    const double sn = std::sin(w);
    const double cs = std::cos(w);
    const double beta = std::sqrt(A / q);

    double a0 = m_a0, a1 = m_a1, a2 = m_a2, b0 = m_b0, b1 = m_b1, b2 = m_b2;
    switch (type) {
    case 0:  // low shelf
        b0 = A * ((A + 1) - (A - 1) * cs + beta * sn);
        b1 = 2 * A * ((A - 1) - (A + 1) * cs);
        b2 = A * ((A + 1) - (A - 1) * cs - beta * sn);
        a0 = (A + 1) + (A - 1) * cs + beta * sn;
        a1 = -2 * ((A - 1) + (A + 1) * cs);
        a2 = (A + 1) + (A - 1) * cs - beta * sn;
        break;
    case 1: {  // peaking band
        const double alpha = sn / (2 * q);
        b0 = 1 + A * alpha;
        b1 = -2 * cs;
        b2 = 1 - A * alpha;
        a0 = 1 + alpha / A;
        a1 = -2 * cs;
        a2 = 1 - alpha / A;
        break;
    }
    case 2:  // high shelf
        b0 = A * ((A + 1) + (A - 1) * cs + beta * sn);
        b1 = -2 * A * ((A - 1) + (A + 1) * cs);
        b2 = A * ((A + 1) + (A - 1) * cs - beta * sn);
        a0 = (A + 1) - (A - 1) * cs + beta * sn;
        a1 = 2 * ((A - 1) - (A + 1) * cs);
        a2 = (A + 1) - (A - 1) * cs - beta * sn;
        break;
    default:  // unknown type: the stored set is normalised once more
        break;
    }
    m_a0 = a0;
    m_a1 = a1 / a0;
    m_a2 = a2 / a0;
    m_b0 = b0 / a0;
    m_b1 = b1 / a0;
    m_b2 = b2 / a0;
    return &m_b0;
}

// Rolling the history sample by sample gives the same numbers as taking the
// first two samples from the stored history, and also covers blocks of 1 and 2.
// Sample is the block's type; the arithmetic is double either way and each
// result is flushed in the block's own precision.
template <class Sample, class Flush>
void CBiquadFilter::Run(const Sample* in, Sample* out, int n, Flush flush) {
    if (n <= 0)
        return;
    const double b0 = m_b0, b1 = m_b1, b2 = m_b2, a1 = m_a1, a2 = m_a2;
    double x1 = m_x1, x2 = m_x2, y1 = m_y1, y2 = m_y2;
    for (int i = 0; i < n; ++i) {
        const double x = in[i];
        const Sample y = flush(Sample(b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2));
        out[i] = y;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
    }
    m_x1 = x1;
    m_x2 = x2;
    m_y1 = y1;
    m_y2 = y2;
}

void CBiquadFilter::OperateFilter(const double* in, double* out, int n) {
    Run(in, out, n, [](double y) { return FlushTiny(y); });
}

void CBiquadFilter::OperateFilter(const float* in, float* out, int n) {
    Run(in, out, n, [](float y) { return FlushFloat(y); });
}

// The feed-forward half of the recurrence, (b0 x + b1 x1) + b2 x2, for a
// whole block: no dependence between samples, so it vectorises.
void CBiquadFilter::FeedForward(const double* in, double* out, int n) {
    const double b0 = m_b0, b1 = m_b1, b2 = m_b2;
    out[0] = b0 * in[0] + b1 * m_x1 + b2 * m_x2;
    if (n > 1)
        out[1] = b0 * in[1] + b1 * in[0] + b2 * m_x1;
    RunVectorised([&]() VECTOR_LOOP {
        for (int i = 2; i < n; ++i)
            out[i] = b0 * in[i] + b1 * in[i - 1] + b2 * in[i - 2];
    });
    m_x2 = n > 1 ? in[n - 2] : m_x1;
    m_x1 = in[n - 1];
}

// The feedback half, (partial - a1 y1) - a2 y2, and the flush, in place over
// the partial sums. Filters 2c and 2c + 1 share the SSE2 register pairs of
// chain c; with an odd count the spare lane repeats the last filter,
// computing the same values into the same place. The chains are independent,
// so the latencies of their recurrences overlap. A result needs flushing only
// in decaying tails: the test runs beside the recurrence and is acted on in a
// branch that is rarely taken, so it adds nothing to the latency.
template <int Chains>
void CBiquadFilter::FeedBack(CBiquadFilter* const filters[], double* const blocks[], int count, int n) {
    CBiquadFilter* lane[2 * Chains];
    double* data[2 * Chains];
    for (int k = 0; k < 2 * Chains; ++k) {
        const int from = k < count ? k : count - 1;
        lane[k] = filters[from];
        data[k] = blocks[from];
    }
    __m128d a1[Chains], a2[Chains], y1[Chains], y2[Chains];
    for (int c = 0; c < Chains; ++c) {
        const CBiquadFilter& l = *lane[2 * c];
        const CBiquadFilter& h = *lane[2 * c + 1];
        a1[c] = _mm_setr_pd(l.m_a1, h.m_a1);
        a2[c] = _mm_setr_pd(l.m_a2, h.m_a2);
        y1[c] = _mm_setr_pd(l.m_y1, h.m_y1);
        y2[c] = _mm_setr_pd(l.m_y2, h.m_y2);
    }
    for (int i = 0; i < n; ++i) {
        __m128d y[Chains], tiny[Chains];
        __m128d anyTiny = _mm_setzero_pd();
        for (int c = 0; c < Chains; ++c) {
            const __m128d partial = _mm_loadh_pd(_mm_load_sd(data[2 * c] + i), data[2 * c + 1] + i);
            y[c] = _mm_sub_pd(_mm_sub_pd(partial, _mm_mul_pd(a1[c], y1[c])), _mm_mul_pd(a2[c], y2[c]));
            tiny[c] = TinyMask(y[c]);
            anyTiny = _mm_or_pd(anyTiny, tiny[c]);
        }
        if (__builtin_expect(_mm_movemask_pd(anyTiny) != 0, 0))
            for (int c = 0; c < Chains; ++c)
                y[c] = _mm_andnot_pd(tiny[c], y[c]);
        for (int c = 0; c < Chains; ++c) {
            _mm_storel_pd(data[2 * c] + i, y[c]);
            _mm_storeh_pd(data[2 * c + 1] + i, y[c]);
            y2[c] = y1[c];
            y1[c] = y[c];
        }
    }
    double state[2][2 * Chains];
    for (int c = 0; c < Chains; ++c) {
        _mm_storeu_pd(&state[0][2 * c], y1[c]);
        _mm_storeu_pd(&state[1][2 * c], y2[c]);
    }
    for (int k = 0; k < count; ++k) {
        lane[k]->m_y1 = state[0][k];
        lane[k]->m_y2 = state[1][k];
    }
}

void CBiquadFilter::OperateFilters(CBiquadFilter* const filters[], const double* const in[], double* const out[],
                                   int count, int n) {
    if (n <= 0)
        return;
    for (int k = 0; k < count; ++k)
        filters[k]->FeedForward(in[k], out[k], n);
    // Three chains (six filters) cover the latency of one sample's
    // recurrence and still fit the sixteen SSE registers.
    constexpr int kGroup = 6;
    for (int first = 0; first < count; first += kGroup) {
        const int group = std::min(kGroup, count - first);
        switch ((group + 1) / 2) {
        case 1:
            FeedBack<1>(filters + first, out + first, group, n);
            break;
        case 2:
            FeedBack<2>(filters + first, out + first, group, n);
            break;
        default:
            FeedBack<3>(filters + first, out + first, group, n);
            break;
        }
    }
}

void CBiquadFilter::Reset() {
    m_x1 = m_x2 = m_y1 = m_y2 = 0.0;
}

void CBiquadFilter::CopyHistoryFrom(const CBiquadFilter& other) {
    m_x1 = other.m_x1;
    m_x2 = other.m_x2;
    m_y1 = other.m_y1;
    m_y2 = other.m_y2;
}
