#include "dsp/CIIRFilter.h"

#include "dsp/FlushTiny.h"

namespace {
constexpr double kSqrt8 = 2.82842712;  // 2 sqrt 2, the Butterworth damping
}

CIIRFilter::CIIRFilter() = default;
CIIRFilter::~CIIRFilter() = default;

void CIIRFilter::SetParams(double first, double second, bool lowPass) {
    CSingleLock guard(m_lock);
    m_first = first;
    m_second = second;
    m_lowPass = lowPass;
    if (lowPass)
        CalcLPFCoefficients();
    else
        CalcHPFCoefficients();
}

void CIIRFilter::CalcLPFCoefficients() {
    const double k = Warp();
    const double d = 4 + kSqrt8 * k + k * k;
    m_c1 = (8 - 2 * k * k) / d;
    m_c2 = -(4 - kSqrt8 * k + k * k) / d;
    m_b0 = k * k / d;
    m_b1 = 2 * m_b0;
    m_b2 = m_b0;
}

void CIIRFilter::CalcHPFCoefficients() {
    const double k = Warp();
    const double d = 4 + kSqrt8 * k + k * k;
    m_c1 = (8 - 2 * k * k) / d;
    m_c2 = -(4 - kSqrt8 * k + k * k) / d;
    m_b0 = 4 / d;
    m_b1 = -2 * m_b0;
    m_b2 = m_b0;
}

void CIIRFilter::OperateEqualizer(const double* in, double* out, int n) {
    CSingleLock guard(m_lock);
    if (n <= 0)
        return;
    const double b0 = m_b0, b1 = m_b1, b2 = m_b2, c1 = m_c1, c2 = m_c2;
    double x1 = m_x1, x2 = m_x2, y1 = m_y1, y2 = m_y2;
    // Rolling the history covers blocks of 1 and 2 with the same numbers as
    // taking the first two samples from the stored history.
    for (int i = 0; i < n; ++i) {
        const double x = in[i];
        const double y = FlushTiny(b0 * x + b1 * x1 + b2 * x2 + c1 * y1 + c2 * y2);
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
