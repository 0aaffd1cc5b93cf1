// The parameter values a host knows, as far as we know: what it set and what
// it was told. Finds the parameters the effect changed by itself since
// (programs chosen in the editor, taps moved by tempo sync), so that the host
// can be told of them. Used from one thread at a time.
#pragma once

#include "effect/ATapDelay.h"

class ParameterMirror {
public:
    void Know(int index, float value) {
        if (IsValidParam(index)) known[index] = value;
    }
    void KnowAll(ATapDelay& effect) {
        for (int index = 0; index < kNumParams; index++) known[index] = effect.getParameter(index);
    }
    // report(index, value) for each value the host does not know yet.
    template <class Report>
    void TellChanges(ATapDelay& effect, Report report) {
        for (int index = 0; index < kNumParams; index++) {
            const float value = effect.getParameter(index);
            if (value == known[index]) continue;
            known[index] = value;
            report(index, value);
        }
    }

private:
    float known[kNumParams] = {};
};
