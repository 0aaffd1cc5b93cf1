// The LV2 plug-in instance: the effect behind the LV2 ports, its tempo from
// the last time:Position, its state the bank.
#pragma once

#include <cstring>
#include <memory>

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include "effect/ATapDelay.h"
#include "formats/shared/EffectHost.h"
#include "formats/lv2/PortLayout.h"
#include "formats/shared/DisplayUnits.h"

#define TAPDELAY_LV2_URI "urn:tapdelay:lv2:TapDelay"
#define TAPDELAY_LV2_UI_URI TAPDELAY_LV2_URI "#ui"
#define TAPDELAY_LV2_BANK_URI TAPDELAY_LV2_URI "#bank"

// The data of the host's feature with this URI, null when it offers none.
inline const void* FindFeature(const LV2_Feature* const* features, const char* uri) {
    for (int i = 0; features && features[i]; i++)
        if (std::strcmp(features[i]->URI, uri) == 0) return features[i]->data;
    return nullptr;
}

class TapDelayLv2 {
public:
    TapDelayLv2(double sampleRate, const char* bundlePath, const LV2_Feature* const* features);
    ~TapDelayLv2();

    void Connect(uint32_t port, void* data);
    void Activate();
    void Run(uint32_t frames);

    // The whole bank as the VST 2 chunk carries it.
    bool SaveBank(LV2_State_Store_Function store, LV2_State_Handle handle);
    bool RestoreBank(const void* data, size_t size);

    LV2_URID BankKey() const { return uri.bank; }
    EffectHost& Host() { return *host; }
    ATapDelay* Effect() { return &host->Effect(); }

private:
    void ReadTimeEvents();
    void NoteEffectParameters();

    std::unique_ptr<EffectHost> host;
    ATapDelay* effect = nullptr;
    LV2_URID_Map* map = nullptr;
    struct {
        LV2_URID atomBlank, atomObject, atomFloat, atomDouble, atomInt, atomChunk;
        LV2_URID timePosition, timeBeatsPerMinute, bank;
    } uri{};
    float* audio[4] = {};
    const float* controls[kNumParams] = {};
    float* meters[PortLayout::kNumMeters] = {};
    const LV2_Atom_Sequence* timeIn = nullptr;
    // The port values last handed to the effect (in port units).
    float applied[kNumParams] = {};
};
