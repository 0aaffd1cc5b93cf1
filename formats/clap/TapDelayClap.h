// One CLAP plug-in instance: the effect (through EffectHost) behind the
// clap::Plugin record. Host events take effect at their frame (the block is
// split there); what the editor and the effect change by themselves goes
// back to the host as parameter events from process or flush.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "formats/clap/ClapAbi.h"
#include "formats/clap/ClapHostServices.h"
#include "formats/clap/EditQueue.h"
#include "formats/shared/EffectHost.h"
#include "formats/shared/ParameterMirror.h"
#include "formats/shared/SplitRenderer.h"

class ClapGui;

class TapDelayClap : public EffectListener {
public:
    TapDelayClap(const clap::Host* host, const clap::PluginDescriptor* descriptor);
    ~TapDelayClap() override;
    TapDelayClap(const TapDelayClap&) = delete;
    TapDelayClap& operator=(const TapDelayClap&) = delete;

    const clap::Plugin* Record() const { return &record; }
    // The instance behind a record the host passes back; null for none.
    static TapDelayClap* Of(const clap::Plugin* plugin);

    bool Init();
    bool Activate(double sampleRate, uint32_t maxFrames);
    void Deactivate() { active = false; }
    bool StartProcessing();
    void StopProcessing() { processing = false; }
    void Reset();
    int32_t Process(const clap::Process& process);

    bool ParamValue(clap::Id id, double* value);
    void Flush(const clap::InputEvents* in, const clap::OutputEvents* out);

    bool SaveState(const clap::OStream* stream);
    bool LoadState(const clap::IStream* stream);

    EffectHost& Host() { return *effectHost; }
    const ClapHostServices& Services() const { return services; }
    // The editor, while the host has one created (main thread).
    std::unique_ptr<ClapGui> gui;

    // EffectListener: the editor's gestures, on the UI thread.
    void Edited(int index, float normalised) override;
    void EndEdit(int index) override;
    bool ResizeRequested(int width, int height) override;
    void DisplayChanged() override;

private:
    class HostEvents;

    void StartBatch();
    void ApplyHostEvent(const clap::EventHeader& event);
    void TellHost(const clap::OutputEvents* out);

    clap::Plugin record;
    ClapHostServices services;
    std::unique_ptr<EffectHost> effectHost;
    ATapDelay* effect = nullptr;
    SplitRenderer renderer;
    std::atomic<bool> active{false}, processing{false};

    // The audio side (process, or flush): what the host knows.
    ParameterMirror mirror;
    float knownBypass = 0.0f;
    bool afterLoad = false;   // no values came since a state load
    bool valuesSeen = false;  // in this batch
    // Set by a state load on the main thread, taken by the next batch.
    std::atomic<bool> stateLoaded{false};
    bool loading = false;  // main thread, inside a state load

    // The UI side: gestures whose begin went out (begins wait for a value).
    EditQueue edits;
    uint64_t begun = 0;
};
