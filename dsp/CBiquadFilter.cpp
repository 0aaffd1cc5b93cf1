#include "dsp/CBiquadFilter.h"

#include <algorithm>
#include <cmath>

#include "dsp/FlushTiny.h"

namespace {

constexpr double kTiny = 0x1p-20;

inline float FlushFloat(float y) { return (y != 0.0f && std::fabs(y) < float(kTiny)) ? 0.0f : y; }

// Two filters per SSE2 register: lane arithmetic is plain IEEE double
// arithmetic, so each lane computes exactly what the scalar loop computes.
typedef double Pair __attribute__((vector_size(16)));
typedef long long PairBits __attribute__((vector_size(16)));

inline Pair FlushPair(Pair y) {
    const PairBits bits = (PairBits)y;
    const Pair magnitude = (Pair)(bits & (PairBits){(long long)kMagnitudeBits, (long long)kMagnitudeBits});
    const PairBits tiny = (magnitude < (Pair){kTiny, kTiny}) & (y != (Pair){0.0, 0.0});
    return (Pair)(bits & ~tiny);
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
void CBiquadFilter::OperateFilter(const double* in, double* out, int n) {
    if (n <= 0)
        return;
    const double b0 = m_b0, b1 = m_b1, b2 = m_b2, a1 = m_a1, a2 = m_a2;
    double x1 = m_x1, x2 = m_x2, y1 = m_y1, y2 = m_y2;
    for (int i = 0; i < n; ++i) {
        const double x = in[i];
        const double y = FlushTiny(b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2);
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

void CBiquadFilter::OperateFilter(const float* in, float* out, int n) {
    if (n <= 0)
        return;
    const double b0 = m_b0, b1 = m_b1, b2 = m_b2, a1 = m_a1, a2 = m_a2;
    double x1 = m_x1, x2 = m_x2, y1 = m_y1, y2 = m_y2;
    for (int i = 0; i < n; ++i) {
        const double x = in[i];
        const float y = FlushFloat(float(b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2));
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

// Lane l of chain c runs filter 2c + l. With an odd count the spare lane
// repeats the last filter: it computes the same values and stores them to the
// same place, so it changes nothing.
template <int Chains>
void CBiquadFilter::RunChains(CBiquadFilter* const filters[], double* const blocks[], int count, int n) {
    CBiquadFilter* lane[2 * Chains];
    double* data[2 * Chains];
    for (int k = 0; k < 2 * Chains; ++k) {
        const int source = k < count ? k : count - 1;
        lane[k] = filters[source];
        data[k] = blocks[source];
    }
    Pair b0[Chains], b1[Chains], b2[Chains], a1[Chains], a2[Chains];
    Pair x1[Chains], x2[Chains], y1[Chains], y2[Chains];
    for (int c = 0; c < Chains; ++c) {
        const CBiquadFilter& l = *lane[2 * c];
        const CBiquadFilter& h = *lane[2 * c + 1];
        b0[c] = (Pair){l.m_b0, h.m_b0};
        b1[c] = (Pair){l.m_b1, h.m_b1};
        b2[c] = (Pair){l.m_b2, h.m_b2};
        a1[c] = (Pair){l.m_a1, h.m_a1};
        a2[c] = (Pair){l.m_a2, h.m_a2};
        x1[c] = (Pair){l.m_x1, h.m_x1};
        x2[c] = (Pair){l.m_x2, h.m_x2};
        y1[c] = (Pair){l.m_y1, h.m_y1};
        y2[c] = (Pair){l.m_y2, h.m_y2};
    }
    for (int i = 0; i < n; ++i) {
        for (int c = 0; c < Chains; ++c) {
            const Pair x = {data[2 * c][i], data[2 * c + 1][i]};
            const Pair y = FlushPair(b0[c] * x + b1[c] * x1[c] + b2[c] * x2[c] - a1[c] * y1[c] - a2[c] * y2[c]);
            data[2 * c][i] = y[0];
            data[2 * c + 1][i] = y[1];
            x2[c] = x1[c];
            x1[c] = x;
            y2[c] = y1[c];
            y1[c] = y;
        }
    }
    for (int k = 0; k < count; ++k) {
        CBiquadFilter& f = *lane[k];
        const int c = k / 2, l = k % 2;
        f.m_x1 = x1[c][l];
        f.m_x2 = x2[c][l];
        f.m_y1 = y1[c][l];
        f.m_y2 = y2[c][l];
    }
}

void CBiquadFilter::OperateFilters(CBiquadFilter* const filters[], double* const blocks[], int count, int n) {
    if (n <= 0)
        return;
    // Three chains (six filters) fill the latency of one sample's recurrence
    // and still fit the sixteen SSE registers.
    constexpr int kGroup = 6;
    for (int first = 0; first < count; first += kGroup) {
        const int group = std::min(kGroup, count - first);
        switch ((group + 1) / 2) {
        case 1:
            RunChains<1>(filters + first, blocks + first, group, n);
            break;
        case 2:
            RunChains<2>(filters + first, blocks + first, group, n);
            break;
        default:
            RunChains<3>(filters + first, blocks + first, group, n);
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
