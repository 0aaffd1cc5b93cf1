#include "formats/lv2/TapDelayLv2.h"

#include <cmath>
#include <cstring>

#include <lv2/atom/util.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>

#include "formats/shared/BankState.h"

using namespace DisplayUnits;
using namespace PortLayout;

namespace {

bool SameValue(float a, float b) { return a == b || (a != a && b != b); }

}  // namespace

TapDelayLv2::TapDelayLv2(double sampleRate, const char* bundlePath,
                         const LV2_Feature* const* features)
    : host(new EffectHost(bundlePath ? bundlePath : "")), effect(&host->Effect()) {
    // Without a URID map (a plain command-line host) there is no time input
    // and no state: every URID stays 0, which matches nothing.
    map = static_cast<LV2_URID_Map*>(const_cast<void*>(FindFeature(features, LV2_URID__map)));
    auto m = [this](const char* u) { return map ? map->map(map->handle, u) : 0; };
    uri.atomBlank = m(LV2_ATOM__Blank);
    uri.atomObject = m(LV2_ATOM__Object);
    uri.atomFloat = m(LV2_ATOM__Float);
    uri.atomDouble = m(LV2_ATOM__Double);
    uri.atomInt = m(LV2_ATOM__Int);
    uri.atomChunk = m(LV2_ATOM__Chunk);
    uri.timePosition = m(LV2_TIME__Position);
    uri.timeBeatsPerMinute = m(LV2_TIME__beatsPerMinute);
    uri.bank = m(TAPDELAY_LV2_BANK_URI);
    host->SetSampleRate(sampleRate);

    // The largest block the host will run, when it says.
    auto* options = static_cast<const LV2_Options_Option*>(FindFeature(features, LV2_OPTIONS__options));
    LV2_URID maxBlock = m(LV2_BUF_SIZE__maxBlockLength);
    for (int i = 0; options && options[i].key; i++)
        if (map && options[i].key == maxBlock && options[i].type == uri.atomInt)
            effect->setBlockSize(*static_cast<const int32_t*>(options[i].value));
    NoteEffectParameters();
}

TapDelayLv2::~TapDelayLv2() = default;

void TapDelayLv2::NoteEffectParameters() {
    for (int i = 0; i < kNumParams; i++) applied[i] = ToDisplay(i, effect->getParameter(i));
}

void TapDelayLv2::Connect(uint32_t port, void* data) {
    if (port < 4)
        audio[port] = static_cast<float*>(data);
    else if (port < (uint32_t)kFirstMeter)
        controls[port - kFirstParam] = static_cast<const float*>(data);
    else if (port < (uint32_t)kTimeIn)
        meters[port - kFirstMeter] = static_cast<float*>(data);
    else if (port == (uint32_t)kTimeIn)
        timeIn = static_cast<const LV2_Atom_Sequence*>(data);
}

void TapDelayLv2::Activate() {
    effect->resume();
    effect->startProcess();
}

void TapDelayLv2::ReadTimeEvents() {
    if (!timeIn || !map) return;
    LV2_ATOM_SEQUENCE_FOREACH (timeIn, ev) {
        if (ev->body.type != uri.atomObject && ev->body.type != uri.atomBlank) continue;
        const auto* object = reinterpret_cast<const LV2_Atom_Object*>(&ev->body);
        if (object->body.otype != uri.timePosition) continue;
        const LV2_Atom* bpm = nullptr;
        lv2_atom_object_get(object, uri.timeBeatsPerMinute, &bpm, 0);
        if (!bpm) continue;
        double tempo = 0.0;
        if (bpm->type == uri.atomFloat) tempo = reinterpret_cast<const LV2_Atom_Float*>(bpm)->body;
        if (bpm->type == uri.atomDouble) tempo = reinterpret_cast<const LV2_Atom_Double*>(bpm)->body;
        // A position without a usable tempo leaves the last one standing.
        if (tempo > 0.0 && std::isfinite(tempo)) host->SetTempo(tempo);
    }
}

void TapDelayLv2::Run(uint32_t frames) {
    ReadTimeEvents();
    for (int i = 0; i < kNumParams; i++) {
        if (!controls[i] || SameValue(*controls[i], applied[i])) continue;
        applied[i] = *controls[i];
        effect->setParameter(i, ToNormalised(i, applied[i]));
    }
    if (audio[0] && audio[1] && audio[2] && audio[3]) {
        float* inputs[2] = {audio[0], audio[1]};
        float* outputs[2] = {audio[2], audio[3]};
        effect->processReplacing(inputs, outputs, (VstInt32)frames);
    }
    float levels[kNumMeters];
    effect->GetVU(&levels[0], &levels[1], &levels[2], &levels[3]);
    for (int m = 0; m < kNumMeters; m++)
        if (meters[m]) *meters[m] = levels[m];
}

bool TapDelayLv2::SaveBank(LV2_State_Store_Function store, LV2_State_Handle handle) {
    if (!map) return false;
    void* data = nullptr;
    VstInt32 size = effect->getChunk(&data, false);
    if (size <= 0 || !data) return false;
    return store(handle, uri.bank, data, (size_t)size,
                 uri.atomChunk, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE) == LV2_STATE_SUCCESS;
}

bool TapDelayLv2::RestoreBank(const void* data, size_t size) {
    if (!BankState::RestoreBank(*effect, data, size)) return false;
    NoteEffectParameters();
    return true;
}

// --- the LV2 entry points ----------------------------------------------------------

namespace {

LV2_Handle Instantiate(const LV2_Descriptor*, double rate, const char* bundlePath,
                       const LV2_Feature* const* features) {
    return new TapDelayLv2(rate, bundlePath, features);
}

TapDelayLv2* Self(LV2_Handle handle) { return static_cast<TapDelayLv2*>(handle); }

LV2_State_Status Save(LV2_Handle handle, LV2_State_Store_Function store,
                      LV2_State_Handle stateHandle, uint32_t, const LV2_Feature* const*) {
    return Self(handle)->SaveBank(store, stateHandle)
               ? LV2_STATE_SUCCESS
               : LV2_STATE_ERR_UNKNOWN;
}

LV2_State_Status Restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve,
                         LV2_State_Handle stateHandle, uint32_t, const LV2_Feature* const*) {
    TapDelayLv2* self = Self(handle);
    size_t size = 0;
    uint32_t type = 0, flags = 0;
    const void* data = retrieve(stateHandle, self->BankKey(), &size, &type, &flags);
    return self->RestoreBank(data, size) ? LV2_STATE_SUCCESS : LV2_STATE_ERR_NO_PROPERTY;
}

const void* ExtensionData(const char* uri) {
    static const LV2_State_Interface state = {Save, Restore};
    if (std::strcmp(uri, LV2_STATE__interface) == 0) return &state;
    return nullptr;
}

const LV2_Descriptor kDescriptor = {
    TAPDELAY_LV2_URI,
    Instantiate,
    [](LV2_Handle h, uint32_t port, void* data) { Self(h)->Connect(port, data); },
    [](LV2_Handle h) { Self(h)->Activate(); },
    [](LV2_Handle h, uint32_t frames) { Self(h)->Run(frames); },
    [](LV2_Handle) {},
    [](LV2_Handle h) { delete Self(h); },
    ExtensionData,
};

}  // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    return index == 0 ? &kDescriptor : nullptr;
}
