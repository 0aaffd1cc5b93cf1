// The tap filter: a second-order section with three responses, 0 low shelf,
// 1 peaking band and 2 high shelf, designed after the audio-equaliser
// cookbook with this product's own shelf slope and frequency limit.
#pragma once

class CBiquadFilter {
public:
    CBiquadFilter();
    virtual ~CBiquadFilter();

    // Designs the coefficients; the history is left alone so that a sweep does
    // not click. Returns a pointer to b0.
    double* CalcCoefficients(double sampleRate, double frequency, double gainDb, double q, int type);

    // y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2, results below 2^-20 in
    // magnitude set to exactly 0.0. n <= 0 does nothing.
    void OperateFilter(const double* in, double* out, int n);
    // The same recurrence on single-precision blocks: computed in double,
    // stored (and fed back) as float.
    void OperateFilter(const float* in, float* out, int n);

    // Runs `count` filters side by side, filter k from in[k] into out[k]
    // (distinct arrays), n samples each. Every sample is bit-identical to
    // OperateFilter on that filter alone; running them together only hides
    // the latency of the recurrence. The same filter must not appear twice.
    static void OperateFilters(CBiquadFilter* const filters[], const double* const in[], double* const out[],
                               int count, int n);

    void Reset();
    // Takes over another filter's history (used to keep twin filters in step).
    void CopyHistoryFrom(const CBiquadFilter& other);

    double GetA0() const { return m_a0; }
    double GetA1() const { return m_a1; }
    double GetA2() const { return m_a2; }
    double GetB0() const { return m_b0; }
    double GetB1() const { return m_b1; }
    double GetB2() const { return m_b2; }

private:
    double m_a0 = 1.0;  // kept undivided
    double m_a1 = 0.0;
    double m_a2 = 0.0;
    double m_b0 = 1.0;
    double m_b1 = 0.0;
    double m_b2 = 0.0;
    double m_x1 = 0.0;
    double m_x2 = 0.0;
    double m_y1 = 0.0;
    double m_y2 = 0.0;

    template <class Sample, class Flush>
    void Run(const Sample* in, Sample* out, int n, Flush flush);
    void FeedForward(const double* in, double* out, int n);
    template <int Chains>
    static void FeedBack(CBiquadFilter* const filters[], double* const blocks[], int count, int n);
};
