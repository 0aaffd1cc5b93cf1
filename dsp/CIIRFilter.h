// Second-order Butterworth low-pass or high-pass filter by the bilinear
// transform, with its own lock so that its design can change while it runs.
#pragma once

#include "toolkit/CCriticalSection.h"

class CIIRFilter {
public:
    CIIRFilter();
    virtual ~CIIRFilter();

    // first x second is the cutoff over the sample rate (for instance the
    // cutoff in Hz and the sample period in seconds). Takes the lock.
    void SetParams(double first, double second, bool lowPass);
    // Design from the stored values without the lock and without looking at
    // the flag; a caller using them on a running filter holds the lock.
    void CalcLPFCoefficients();
    void CalcHPFCoefficients();

    // y = b0 x + b1 x1 + b2 x2 + c1 y1 + c2 y2, results below 2^-20 in
    // magnitude set to exactly 0.0. Takes the lock; n <= 0 does nothing.
    void OperateEqualizer(const double* in, double* out, int n);

    double GetC1() const { return m_c1; }
    double GetC2() const { return m_c2; }
    double GetB0() const { return m_b0; }
    double GetB1() const { return m_b1; }
    double GetB2() const { return m_b2; }
    bool IsLowPass() const { return m_lowPass; }

private:
    double m_first = 0.0;
    double m_second = 0.0;
    bool m_lowPass = true;
    // Until the first design the filter passes its input through.
    double m_c1 = 0.0;
    double m_c2 = 0.0;
    double m_b0 = 1.0;
    double m_b1 = 0.0;
    double m_b2 = 0.0;
    double m_y1 = 0.0;
    double m_y2 = 0.0;
    double m_x1 = 0.0;
    double m_x2 = 0.0;
    CCriticalSection m_lock;

    // k = second x 2 pi x first with this filter's own short value of 2 pi.
    double Warp() const { return m_second * 6.283184 * m_first; }
};
