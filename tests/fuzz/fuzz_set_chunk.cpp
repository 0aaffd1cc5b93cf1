// Any bytes a host may hand to setChunk: the effect must copy at most what
// fits, never index outside its banks, and keep producing finite audio.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "effect/ATapDelay.h"

namespace {

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    if (opcode == audioMasterVersion) return 2400;
    if (opcode == audioMasterTempoAt) return 1234567;
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static ATapDelay* effect = [] {
        setenv("XDG_CONFIG_HOME", "/nonexistent-tapdelay-fuzz", 1);
        auto* made = new ATapDelay(&Host);
        made->setSampleRate(48000.0f);
        made->setBlockSize(64);
        return made;
    }();
    if (size < 1) return 0;
    bool isPreset = data[0] & 1;
    effect->setProgram(data[0] >> 2);
    std::vector<uint8_t> chunk(data + 1, data + size);
    effect->setChunk(chunk.data(), (VstInt32)chunk.size(), isPreset);

    char text[64];
    for (int index = 0; index < kNumParams; index++) {
        effect->getParameterDisplay(index, text);
        effect->getParameterDisplayVal(index);
    }
    effect->getProgramName(text);
    for (int program = 0; program < kNumPrograms; program++)
        effect->getProgramNameIndexed(0, program, text);
    void* out = nullptr;
    effect->getChunk(&out, isPreset);

    std::vector<double> left(100, 0.25), right(100, -0.25), outLeft(100), outRight(100);
    double* in[2] = {left.data(), right.data()};
    double* outs[2] = {outLeft.data(), outRight.data()};
    effect->processDoubleReplacing(in, outs, 100);
    for (double s : outLeft)
        if (!std::isfinite(s)) std::abort();
    return 0;
}
