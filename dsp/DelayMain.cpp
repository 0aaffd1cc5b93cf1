#include "dsp/DelayMain.h"

#include <algorithm>
#include <type_traits>

#include "dsp/VectorDispatch.h"

namespace {

// Far above 4000 ms at any usual rate; only nonsense times reach it.
constexpr int32_t kMaxLineLength = 1 << 23;
// Scratch beyond this gains nothing: longer blocks simply run in slices.
constexpr int kMaxScratch = 1 << 16;
// Taps locked and run together in one pass of ProcessTaps.
constexpr int kMaxTapsPerPass = 8;

// The filter type truncated to an integer; values no integer can hold count
// as an unknown type.
int FilterTypeIndex(float type) {
    if (!(type > -2147483648.0f && type < 2147483648.0f))
        return -1;
    return int(type);
}

// The pan matrix and gain for one block. Over each half of the pan range one
// of the two levels is exactly 1.0, and y * 1.0 is y itself, so that product
// is skipped without changing a bit.
struct PanGain {
    double ll, lr, rl, rr, g;

    template <bool LeftUnity, bool RightUnity>
    VECTOR_LOOP void Apply(double y, double& left, double& right) const {
        const double panned = ((LeftUnity ? y : y * ll) + y * lr) * g;
        left = panned;
        right = ((RightUnity ? y : y * rr) + panned * rl) * g;
    }
};

template <class Body>
inline VECTOR_LOOP void WithPanShape(const PanGain& pan, Body body) {
    if (pan.ll == 1.0) {
        if (pan.rr == 1.0)
            body(std::true_type(), std::true_type());
        else
            body(std::true_type(), std::false_type());
    } else {
        if (pan.rr == 1.0)
            body(std::false_type(), std::true_type());
        else
            body(std::false_type(), std::false_type());
    }
}

}  // namespace

DelayMain::DelayMain() {
    MakePan();
    SizeLine();
    PrepareBuffer();
    SetBloackSize(256);
    InitFilter();
}

DelayMain::~DelayMain() = default;

void DelayMain::SetDelatTime(float ms) {
    m_delayTime = ms;
    PrepareBuffer();
}

void DelayMain::SetGain(float gain) {
    m_gain = gain;
}

void DelayMain::SetPan(float pan) {
    m_pan = pan;
    MakePan();
}

void DelayMain::SetFeedBack(float factor) {
    m_feedback = factor;
}

void DelayMain::SetFeedBackOn(float on) {
    m_feedbackOn = on;
}

void DelayMain::SetFilterFreq(float hz) {
    m_filterFreq = hz;
    InitFilter();
}

void DelayMain::SetFilterType(float type) {
    m_filterType = type;
    InitFilter();
}

void DelayMain::SetFilterGain(float db) {
    m_filterGain = db;
    InitFilter();
}

void DelayMain::SetFilterQ(float q) {
    m_filterQ = q;
    InitFilter();
}

void DelayMain::SetFilterActive(float on) {
    m_filterActive = on;
}

void DelayMain::SetFs(int64_t hz) {
    if (hz <= 0)
        return;
    m_sampleRate = hz;
    SizeLine();
    PrepareBuffer();
    InitFilter();
}

void DelayMain::SetActive(float on) { m_active = on; }

void DelayMain::SetBloackSize(int n) {
    if (n <= 0)
        return;
    m_scratch.assign(std::min(n, kMaxScratch), 0.0);
}

double DelayMain::GetWavePanpot(float x) {
    if (x < 0.5)
        return 1.0;
    return 1.0 + (x - 0.5) * (-2.0);
}

void DelayMain::MakePan() {
    const double levelLeft = GetWavePanpot(m_pan);
    const double levelRight = GetWavePanpot(1.0f - m_pan);
    m_leftFromLeft = levelLeft;
    m_leftFromRight = 1.0 - levelRight;
    m_rightFromLeft = 1.0 - levelLeft;
    m_rightFromRight = levelRight;
}

// The line length is the delay in whole samples: the product is taken in
// single precision and divided in double, then truncated; at least 1.
void DelayMain::PrepareBuffer() {
    m_writeIndex = 0;
    const double samples = double(float(m_sampleRate) * m_delayTime) / 1000.0;
    int32_t length = 1;
    if (samples >= 1.0)
        length = samples < double(kMaxLineLength) ? int32_t(samples) : kMaxLineLength;
    m_lineLength = length;
    // Cleared lazily: what the first lap has not written yet reads as silence.
    m_written = 0;
    if (size_t(length) > m_line.size())
        m_line.assign(size_t(length), 0.0);
}

// Room for the longest delay the effect sets (4000 ms) at this rate, so that
// time changes on the audio thread never allocate.
void DelayMain::SizeLine() {
    const double samples = double(float(m_sampleRate) * 4000.0f) / 1000.0;
    const size_t length = size_t(std::min(samples, double(kMaxLineLength))) + 1;
    if (m_line.size() != length)
        m_line.assign(length, 0.0);
}

// Both filters get the same design; their history is kept.
void DelayMain::InitFilter() {
    const int type = FilterTypeIndex(m_filterType);
    m_filterLeft.CalcCoefficients(double(m_sampleRate), m_filterFreq, m_filterGain, m_filterQ, type);
    m_filterRight.CalcCoefficients(double(m_sampleRate), m_filterFreq, m_filterGain, m_filterQ, type);
}

// Read-then-write through the line: emit(i, y) receives the sample written
// one line length ago while x + fb y takes its place. A delay time of exactly
// 0 passes the input straight through and leaves the line alone.
template <class Emit>
inline VECTOR_LOOP void DelayMain::RunLine(const double* in, int n, Emit emit) {
    if (m_delayTime == 0.0f) {
        for (int i = 0; i < n; ++i)
            emit(i, in[i]);
        return;
    }
    const double fb = FeedbackFactor();
    double* const line = m_line.data();
    const int length = m_lineLength;
    int p = (m_writeIndex >= 0 && m_writeIndex < length) ? m_writeIndex : 0;
    for (int done = 0; done < n;) {
        // Up to the end of the line every slot is visited once, so this run
        // has no dependence from one sample to the next and vectorises.
        const int run = std::min(n - done, length - p);
        const int kept = std::max(0, std::min(run, m_written - p));
        double* const slot = line + p;
        const double* const x = in + done;
        for (int i = 0; i < kept; ++i) {
            const double y = slot[i];
            slot[i] = x[i] + fb * y;
            emit(done + i, y);
        }
        for (int i = kept; i < run; ++i) {
            const double y = 0.0;
            slot[i] = x[i] + fb * y;
            emit(done + i, y);
        }
        m_written = std::max(m_written, p + run);
        done += run;
        p += run;
        if (p >= length)
            p = 0;
    }
    m_writeIndex = p;
}

void DelayMain::LineToScratch(const double* in, int n) {
    double* const __restrict delayed = m_scratch.data();
    RunVectorised([&]() VECTOR_LOOP {
        RunLine(in, n, [delayed](int i, double y) VECTOR_LOOP { delayed[i] = y; });
    });
}

// Pan and gain: L' = (L ll + R lr) g, R' = (R rr + L' rl) g. Both channels
// carry the same delayed sample y; the right channel's cross term takes the
// already panned and gained left sample.
void DelayMain::LineToOutputs(const double* in, double* left, double* right, int n) {
    const PanGain pan{m_leftFromLeft, m_leftFromRight, m_rightFromLeft, m_rightFromRight, m_gain};
    double* const __restrict outL = left;
    double* const __restrict outR = right;
    RunVectorised([&]() VECTOR_LOOP {
        WithPanShape(pan, [&](auto leftUnity, auto rightUnity) VECTOR_LOOP {
            RunLine(in, n, [&](int i, double y) VECTOR_LOOP {
                pan.Apply<decltype(leftUnity)::value, decltype(rightUnity)::value>(y, outL[i], outR[i]);
            });
        });
    });
}

// The same for a filtered block that already stands in the left output.
void DelayMain::PanInPlace(double* left, double* right, int n) const {
    const PanGain pan{m_leftFromLeft, m_leftFromRight, m_rightFromLeft, m_rightFromRight, m_gain};
    double* const __restrict outR = right;
    RunVectorised([&]() VECTOR_LOOP {
        WithPanShape(pan, [&](auto leftUnity, auto rightUnity) VECTOR_LOOP {
            for (int i = 0; i < n; ++i)
                pan.Apply<decltype(leftUnity)::value, decltype(rightUnity)::value>(left[i], left[i], outR[i]);
        });
    });
}

void DelayMain::Process(double** inputs, double** outputs, int n) {
    DelayMain* self = this;
    ProcessTaps(&self, 1, inputs, &outputs, n);
}

void DelayMain::ProcessTaps(DelayMain* const taps[], int count, double** inputs, double** const outputs[], int n) {
    if (!taps || !inputs || !inputs[0] || !outputs || n <= 0)
        return;
    const double* const in = inputs[0];
    for (int first = 0; first < count; first += kMaxTapsPerPass) {
        DelayMain* tap[kMaxTapsPerPass];
        double* left[kMaxTapsPerPass];
        double* right[kMaxTapsPerPass];
        int taken = 0;
        for (int k = first; k < std::min(count, first + kMaxTapsPerPass); ++k) {
            if (!taps[k] || !outputs[k] || !outputs[k][0] || !outputs[k][1])
                continue;
            tap[taken] = taps[k];
            left[taken] = outputs[k][0];
            right[taken] = outputs[k][1];
            ++taken;
        }

        // Slices no longer than the smallest scratch; the state carries over
        // from slice to slice, so slicing does not change a single sample.
        int slice = n;
        for (int t = 0; t < taken; ++t)
            slice = std::min(slice, int(tap[t]->m_scratch.size()));

        CBiquadFilter* filters[kMaxTapsPerPass];
        const double* delayed[kMaxTapsPerPass];
        double* filtered[kMaxTapsPerPass];
        for (int done = 0; done < n; done += slice) {
            const int m = std::min(slice, n - done);
            int filterCount = 0;
            for (int t = 0; t < taken; ++t) {
                DelayMain& d = *tap[t];
                if (d.FiltersOn()) {
                    d.LineToScratch(in + done, m);
                    filters[filterCount] = &d.m_filterLeft;
                    delayed[filterCount] = d.m_scratch.data();
                    filtered[filterCount] = left[t] + done;
                    ++filterCount;
                } else {
                    d.LineToOutputs(in + done, left[t] + done, right[t] + done, m);
                }
            }
            if (filterCount == 0)
                continue;
            // The filter stands after the line, outside the feedback loop;
            // the right filter would see the same samples as the left one.
            CBiquadFilter::OperateFilters(filters, delayed, filtered, filterCount, m);
            for (int t = 0; t < taken; ++t) {
                DelayMain& d = *tap[t];
                if (d.FiltersOn()) {
                    d.m_filterRight.CopyHistoryFrom(d.m_filterLeft);
                    d.PanInPlace(left[t] + done, right[t] + done, m);
                }
            }
        }
    }
}
