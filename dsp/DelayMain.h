// One delay tap: a mono-in, stereo-out delay line with its own feedback, a
// stereo pair of tap filters after the line, a pan matrix and an output gain.
#pragma once

#include <cstdint>
#include <vector>

#include "dsp/CBiquadFilter.h"
#include "dsp/CIIRFilter.h"

class DelayMain {
public:
    DelayMain();
    ~DelayMain();
    DelayMain(const DelayMain&) = delete;
    DelayMain& operator=(const DelayMain&) = delete;

    // The setters take no lock: the engine calls them from the audio thread
    // only, between blocks. Switch-like values count as on when non-zero (NaN
    // included).
    void SetDelatTime(float ms);  // sets the length and clears; allocates only beyond 4000 ms
    void SetGain(float gain);
    void SetPan(float pan);       // 0 left .. 1 right
    void SetFeedBack(float factor);
    void SetFeedBackOn(float on);
    void SetFilterFreq(float hz);
    void SetFilterType(float type);  // 0 low shelf, 1 peaking, 2 high shelf
    void SetFilterGain(float db);
    void SetFilterQ(float q);
    void SetFilterActive(float on);
    void SetFs(int64_t hz);       // sizes the line for 4000 ms and clears it; hz <= 0 is ignored
    void SetActive(float on);     // stored only
    void SetBloackSize(int n);    // allocates scratch for one block; n <= 0 is ignored

    // Level of a channel attenuated linearly on the far half of the pan range.
    static double GetWavePanpot(float x);

    // Delays inputs[0] into outputs[0] (left) and outputs[1] (right), n
    // samples; the outputs must not overlap the input.
    // Blocks longer than the block size are run in slices of that size.
    void Process(double** inputs, double** outputs, int n);

    // The same as calling taps[k]->Process(inputs, outputs[k], n) for k = 0 ..
    // count-1 in that order, bit for bit, but with the filters of all taps run
    // side by side, which hides the latency of their recurrences. A tap may
    // appear only once; null taps and null output pairs are skipped.
    static void ProcessTaps(DelayMain* const taps[], int count, double** inputs, double** const outputs[], int n);

private:
    int32_t m_writeIndex = 0;
    int32_t m_lineLength = 1;
    int32_t m_written = 0;  // slots written since the line was last cleared
    double m_leftFromLeft = 1.0;
    double m_leftFromRight = 0.0;
    double m_rightFromLeft = 0.0;
    double m_rightFromRight = 1.0;
    float m_active = 1.0f;
    float m_gain = 0.5f;
    float m_pan = 0.5f;
    float m_delayTime = 0.1f;
    float m_feedback = 0.2f;
    int64_t m_sampleRate = 44100;
    float m_filterFreq = 1000.0f;
    float m_filterType = 0.0f;
    float m_filterActive = 0.0f;
    float m_filterGain = 0.0f;
    float m_filterQ = 1.0f;
    float m_feedbackOn = 0.0f;
    // Both channels' lines would receive x + fb y and fb y + x, which are the
    // same number, so one line (and one delayed block) serves both channels.
    std::vector<double> m_line;
    std::vector<double> m_scratch;
    CIIRFilter m_equalisers[2];  // carried by every tap, not part of its signal path
    CBiquadFilter m_filterLeft;
    CBiquadFilter m_filterRight;  // in the same state as the left one at all times

    void PrepareBuffer();
    void SizeLine();
    void InitFilter();
    void MakePan();

    bool FiltersOn() const { return m_filterActive != 0.0f; }
    double FeedbackFactor() const { return m_feedbackOn != 0.0f ? double(m_feedback) : 0.0; }
    template <class Emit>
    void RunLine(const double* in, int n, Emit emit);
    void LineToScratch(const double* in, int n);
    void LineToOutputs(const double* in, double* left, double* right, int n);
    void PanInPlace(double* left, double* right, int n) const;
};
