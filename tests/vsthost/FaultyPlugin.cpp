// A tiny VST 2.4 gain effect for testing the validator: well behaved, or
// with one fault chosen by the environment variable VSTHOST_FAULT when the
// entry point runs. Written straight against the ABI header.
#include "host/VstAbi.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kParams = 2;
constexpr int kPrograms = 2;
const char* const kParamNames[kParams] = {"Gain", "Shape"};

struct Program {
    float values[kParams];
    char name[24];
};

struct Faulty {
    AEffect effect{};
    std::string fault;
    Program programs[kPrograms] = {{{0.5f, 0.0f}, "First"}, {{1.0f, 0.5f}, "Second"}};
    std::atomic<int> current{0};
    std::vector<uint8_t> chunk;
    int chunksTaken = 0;

    bool is(const char* name) const { return fault == name; }
    float value(int i) const { return programs[current].values[i]; }
};

// Where the "leak" fault's allocations go, so that the compiler keeps them.
char* volatile g_sink = nullptr;

Faulty* self(AEffect* e) { return static_cast<Faulty*>(e->object); }

template <typename Sample>
void process(AEffect* e, Sample** in, Sample** out, VstInt32 frames) {
    Faulty* f = self(e);
    const Sample gain = (Sample)(2.0f * f->value(0));
    for (int c = 0; c < 2; ++c)
        for (VstInt32 i = 0; i < frames; ++i) {
            Sample y = in[c][i] * gain;
            if (f->is("nan") && f->value(1) > 0.9f)
                y = (Sample)NAN;
            if (f->is("hum"))
                y += (Sample)1e-12;
            out[c][i] = y;
        }
}

void setParameter(AEffect* e, VstInt32 index, float value) {
    Faulty* f = self(e);
    if (index >= 0 && index < kParams)
        f->programs[f->current].values[index] = value;
}

float getParameter(AEffect* e, VstInt32 index) {
    return index >= 0 && index < kParams ? self(e)->value(index) : 0.0f;
}

VstIntPtr dispatcher(AEffect* e, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                     float opt) {
    Faulty* f = self(e);
    char* text = static_cast<char*>(ptr);
    const bool paramInRange = index >= 0 && index < kParams;
    switch (opcode) {
    case effOpen:
        if (f->is("leak")) {
            char* lost = new char[4096];
            memset(lost, 1, 4096);
            g_sink = lost;
        }
        return 0;
    case effClose:
        delete f;
        return 1;
    case effGetParamName:
        // The "crash" fault trusts the index.
        if (f->is("crash") || paramInRange)
            strcpy(text, kParamNames[index]);
        return 0;
    case effGetParamDisplay:
        if (paramInRange)
            snprintf(text, 16, "%.2f", f->value(index) * (index == 0 ? 2.0f : 1.0f));
        return 0;
    case effGetParameterProperties: {
        // "Shape" moves in quarters; the "intrange" fault also announces
        // the gain as the integers 0 to 2, which its setParameter does not take.
        if (!paramInRange)
            return 0;
        VstParameterProperties* p = static_cast<VstParameterProperties*>(ptr);
        memset(p, 0, sizeof *p);
        if (index == 1) {
            p->flags = kVstParameterUsesFloatStep;
            p->stepFloat = p->smallStepFloat = p->largeStepFloat = 0.25f;
        } else if (f->is("intrange")) {
            p->flags = kVstParameterUsesIntegerMinMax | kVstParameterUsesIntStep;
            p->maxInteger = 2;
            p->stepInteger = p->largeStepInteger = 1;
        }
        return 1;
    }
    case effGetEffectName:
        if (f->is("text"))
            memset(text, 'x', 300);  // no terminating zero
        else
            strcpy(text, "Faulty");
        return 1;
    case effSetProgram:
        if (value >= 0 && value < kPrograms)
            f->current = (int)value;
        return 0;
    case effGetProgram:
        return f->current;
    case effGetProgramName:
        strcpy(text, f->programs[f->current].name);
        return 0;
    case effGetChunk: {
        const bool preset = index != 0;
        const uint8_t* from = reinterpret_cast<const uint8_t*>(preset ? &f->programs[f->current]
                                                                      : &f->programs[0]);
        f->chunk.assign(from, from + (preset ? sizeof(Program) : sizeof f->programs));
        if (f->is("chunk"))
            f->chunk.push_back((uint8_t)++f->chunksTaken);  // never the same twice
        *static_cast<void**>(ptr) = f->chunk.data();
        return (VstIntPtr)f->chunk.size();
    }
    case effSetChunk: {
        const bool preset = index != 0;
        const size_t size = preset ? sizeof(Program) : sizeof f->programs;
        if ((size_t)value >= size)
            memcpy(preset ? (void*)&f->programs[f->current] : (void*)f->programs, ptr, size);
        return 1;
    }
    default:
        return 0;
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) AEffect* VSTPluginMain(audioMasterCallback master) {
    if (!master || master(nullptr, audioMasterVersion, 0, 0, nullptr, 0) == 0)
        return nullptr;
    Faulty* f = new Faulty();
    const char* fault = getenv("VSTHOST_FAULT");
    f->fault = fault ? fault : "";
    AEffect& e = f->effect;
    e.magic = kEffectMagic;
    e.dispatcher = dispatcher;
    e.setParameter = setParameter;
    e.getParameter = getParameter;
    e.numPrograms = kPrograms;
    e.numParams = kParams;
    e.numInputs = 2;
    e.numOutputs = 2;
    e.flags = effFlagsCanReplacing | effFlagsCanDoubleReplacing | effFlagsProgramChunks;
    e.ioRatio = 1.0f;
    e.object = f;
    e.uniqueID = vstFourCC('F', 'a', 'l', 't');
    e.version = 1;
    e.processReplacing = process<float>;
    e.processDoubleReplacing = process<double>;
    return &e;
}
