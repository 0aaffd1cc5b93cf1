// Sample-accurate parameter changes: a block is processed in pieces cut at
// the frames where changes fall, the changes applied between the pieces, as a
// VST 2 host whose block boundaries fell there would. On the audio thread;
// nothing here allocates or waits.
//
// Changes is the format's reader of its events:
//   int NextFrame();          the frame of the next change not yet applied,
//                             kNone when none is left
//   void ApplyAt(int frame);  applies every change at that frame
// Changes that fall at or after the block's end are applied after it.
#pragma once

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>

#include "effect/ATapDelay.h"
#include "host/HostQuirks.h"

class SplitRenderer {
public:
    static constexpr int kNone = INT_MAX;

    SplitRenderer() : scratch(new double[2 * kFrames]) {}

    // numInputs 1 (a mono input feeds both sides) or 2; two outputs, which
    // may be the inputs' own buffers. Inputs are never written.
    template <class Changes>
    void Process(ATapDelay& effect, float* const* inputs, int numInputs, float** outputs, int frames,
                 Changes& changes) {
        float* in[2] = {inputs[0], inputs[numInputs > 1 ? 1 : 0]};
        ForEachPiece(frames, changes, [&](int offset, int count) {
            float* i[2] = {in[0] + offset, in[1] + offset};
            float* o[2] = {outputs[0] + offset, outputs[1] + offset};
            effect.processReplacing(i, o, count);
        });
    }

    // The double path applies the input gain in place: the inputs go through
    // a copy of ours, a piece of at most kFrames at a time.
    template <class Changes>
    void Process(ATapDelay& effect, double* const* inputs, int numInputs, double** outputs,
                 int frames, Changes& changes) {
        double* in[2] = {inputs[0], inputs[numInputs > 1 ? 1 : 0]};
        ForEachPiece(frames, changes, [&](int offset, int count) {
            for (int done = 0; done < count; done += kFrames) {
                const int n = std::min(kFrames, count - done);
                double* i[2] = {scratch.get(), scratch.get() + kFrames};
                double* o[2] = {outputs[0] + offset + done, outputs[1] + offset + done};
                for (int c = 0; c < 2; c++) std::memcpy(i[c], in[c] + offset + done, sizeof(double) * n);
                effect.processDoubleReplacing(i, o, n);
            }
        });
    }

private:
    static constexpr int kFrames = HostQuirks::kMaxWorkBlock;

    template <class Changes, class Piece>
    static void ForEachPiece(int frames, Changes& changes, Piece piece) {
        int done = 0;
        while (done < frames) {
            const int next = changes.NextFrame();
            if (next <= done) {  // due now, or late
                changes.ApplyAt(next);
                continue;
            }
            const int end = std::min(next, frames);
            piece(done, end - done);
            done = end;
        }
        for (int next; (next = changes.NextFrame()) != kNone;) changes.ApplyAt(next);
    }

    std::unique_ptr<double[]> scratch;
};
