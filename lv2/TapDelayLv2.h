// The LV2 plug-in instance: an ATapDelay behind the LV2 ports, answering the
// effect's host callbacks itself (the bundle folder, the tempo from the last
// time:Position, editor automation handed to the UI).
#pragma once

#include <atomic>
#include <cstring>
#include <string>

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include "effect/ATapDelay.h"
#include "lv2/PortUnits.h"

#define TAPDELAY_LV2_URI "urn:tapdelay:lv2:TapDelay"
#define TAPDELAY_LV2_UI_URI TAPDELAY_LV2_URI "#ui"
#define TAPDELAY_LV2_BANK_URI TAPDELAY_LV2_URI "#bank"

// The data of the host's feature with this URI, null when it offers none.
inline const void* FindFeature(const LV2_Feature* const* features, const char* uri) {
    for (int i = 0; features && features[i]; i++)
        if (std::strcmp(features[i]->URI, uri) == 0) return features[i]->data;
    return nullptr;
}

// Where the editor's automation goes (the UI's write_function), and its
// requests for a new size (the host's ui:resize).
struct Lv2UiLink {
    virtual ~Lv2UiLink() = default;
    virtual void ParameterMoved(int index, float normalised) = 0;
    virtual bool SizeRequested(int width, int height) = 0;
};

class TapDelayLv2 {
public:
    TapDelayLv2(double sampleRate, const char* bundlePath, const LV2_Feature* const* features);
    ~TapDelayLv2();
    bool Valid() const { return effect != nullptr; }

    void Connect(uint32_t port, void* data);
    void Activate();
    void Run(uint32_t frames);

    // The whole bank as the VST 2 chunk carries it.
    bool SaveBank(LV2_State_Store_Function store, LV2_State_Handle handle);
    bool RestoreBank(const void* data, size_t size);

    LV2_URID BankKey() const { return uri.bank; }
    ATapDelay* Effect() { return effect; }
    void SetUiLink(Lv2UiLink* link) { uiLink.store(link); }

private:
    static VstIntPtr HostCallback(AEffect* aeffect, VstInt32 opcode, VstInt32 index,
                                  VstIntPtr value, void* ptr, float opt);
    VstIntPtr Answer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);
    void ReadTimeEvents();
    void NoteEffectParameters();

    ATapDelay* effect = nullptr;
    std::string bundle;
    LV2_URID_Map* map = nullptr;
    struct {
        LV2_URID atomBlank, atomObject, atomFloat, atomDouble, atomInt, atomChunk;
        LV2_URID timePosition, timeBeatsPerMinute, bank;
    } uri{};
    float* audio[4] = {};
    const float* controls[kNumParams] = {};
    float* meters[PortUnits::kNumMeters] = {};
    const LV2_Atom_Sequence* timeIn = nullptr;
    // The port values last handed to the effect (in port units).
    float applied[kNumParams] = {};
    VstTimeInfo timeInfo{};
    bool tempoKnown = false;
    std::atomic<Lv2UiLink*> uiLink{nullptr};
};
