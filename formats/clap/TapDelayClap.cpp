#include "formats/clap/TapDelayClap.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "formats/clap/ClapBindings.h"
#include "formats/clap/ClapGui.h"
#include "formats/clap/ClapParams.h"
#include "formats/shared/BankState.h"
#include "host/HostQuirks.h"

namespace {

constexpr int kBypass = ParameterInfo::kBypass;

bool Usable(const clap::EventHeader& event) {
    if (event.spaceId != clap::kCoreEventSpace) return false;
    if (event.type == clap::kEventParamValue) return event.size >= sizeof(clap::EventParamValue);
    if (event.type == clap::kEventTransport) return event.size >= sizeof(clap::EventTransport);
    return false;
}

int FrameOf(const clap::EventHeader& event) { return (int)std::min<uint32_t>(event.time, INT_MAX - 1); }

// The channels a buffer must have, each with its samples.
template <class Sample>
bool HasChannels(Sample* const* data, const clap::AudioBuffer* buffer, uint32_t needed) {
    if (!buffer || !data || buffer->channelCount < needed) return false;
    for (uint32_t channel = 0; channel < needed; channel++)
        if (!data[channel]) return false;
    return true;
}

// The same number to the six significant digits a host prints it with.
bool SameInSixDigits(double a, double b) {
    char x[32], y[32];
    std::snprintf(x, sizeof x, "%.6g", (float)a);
    std::snprintf(y, sizeof y, "%.6g", (float)b);
    return std::strcmp(x, y) == 0;
}

void PushValue(const clap::OutputEvents* out, int index, double plain) {
    if (!out || !out->tryPush) return;
    clap::EventParamValue event{};
    event.header = {sizeof event, 0, clap::kCoreEventSpace, clap::kEventParamValue, 0};
    event.paramId = (clap::Id)index;
    event.noteId = -1;
    event.portIndex = event.channel = event.key = -1;
    event.value = plain;
    out->tryPush(out, &event.header);
}

void PushGesture(const clap::OutputEvents* out, clap::EventType type, int index) {
    if (!out || !out->tryPush) return;
    clap::EventParamGesture event{};
    event.header = {sizeof event, 0, clap::kCoreEventSpace, type, 0};
    event.paramId = (clap::Id)index;
    out->tryPush(out, &event.header);
}

}  // namespace

// The host's input list as SplitRenderer reads it: the parameter values and
// transports we use, at their frames, the rest skipped.
class TapDelayClap::HostEvents {
public:
    HostEvents(TapDelayClap& plugin, const clap::InputEvents* list)
        : plugin(plugin), list(list), count(list && list->size && list->get ? list->size(list) : 0) {}

    int NextFrame() {
        for (; next < count; next++)
            if (const clap::EventHeader* event = Usable(next)) return FrameOf(*event);
        return SplitRenderer::kNone;
    }
    void ApplyAt(int frame) {
        for (; next < count; next++) {
            const clap::EventHeader* event = Usable(next);
            if (!event) continue;
            if (FrameOf(*event) > frame) break;
            plugin.ApplyHostEvent(*event);
        }
    }

private:
    const clap::EventHeader* Usable(uint32_t index) {
        const clap::EventHeader* event = list->get(list, index);
        return event && ::Usable(*event) ? event : nullptr;
    }

    TapDelayClap& plugin;
    const clap::InputEvents* list;
    uint32_t count;
    uint32_t next = 0;
};

TapDelayClap::TapDelayClap(const clap::Host* host, const clap::PluginDescriptor* descriptor)
    : services(host),
      // The resources lie in TapDelay/ beside the .clap file.
      effectHost(new EffectHost(HostQuirks::PluginFolder(nullptr) + "TapDelay/")),
      effect(&effectHost->Effect()) {
    FillPluginRecord(record, descriptor, this);
    mirror.KnowAll(*effect);
    knownBypass = ClapParams::Read(*effect, kBypass);
}

TapDelayClap::~TapDelayClap() {
    effectHost->SetListener(nullptr);
    gui.reset();
}

TapDelayClap* TapDelayClap::Of(const clap::Plugin* plugin) {
    return plugin ? static_cast<TapDelayClap*>(plugin->pluginData) : nullptr;
}

bool TapDelayClap::Init() {
    services.Find();
    effectHost->SetListener(this);
    return true;
}

// --- processing ----------------------------------------------------------------------

bool TapDelayClap::Activate(double sampleRate, uint32_t maxFrames) {
    services.ExpectMainThread("activate");
    if (!(sampleRate > 0.0) || !std::isfinite(sampleRate)) return false;
    effectHost->SetSampleRate(sampleRate);
    effect->setBlockSize((VstInt32)std::min<uint32_t>(maxFrames, INT32_MAX));
    effect->startProcess();  // fresh delay lines
    active = true;
    return true;
}

bool TapDelayClap::StartProcessing() {
    processing = active.load();
    return processing;
}

void TapDelayClap::Reset() { effect->startProcess(); }

int32_t TapDelayClap::Process(const clap::Process& process) {
    StartBatch();
    HostEvents changes(*this, process.inEvents);
    if (process.transport && (process.transport->flags & clap::kTransportHasTempo))
        effectHost->SetTempo(process.transport->tempo);
    const clap::AudioBuffer* in = process.audioInputsCount ? process.audioInputs : nullptr;
    const clap::AudioBuffer* out = process.audioOutputsCount ? process.audioOutputs : nullptr;
    const int frames = (int)std::min<uint32_t>(process.framesCount, INT_MAX);
    const int inputs = in && in->channelCount >= 2 ? 2 : 1;
    int32_t status = clap::kProcessContinue;
    if (!active || !in || !out) {
        status = clap::kProcessError;
    } else if (HasChannels(in->data64, in, inputs) && HasChannels(out->data64, out, 2)) {
        renderer.Process(*effect, in->data64, inputs, out->data64, frames, changes);
    } else if (HasChannels(in->data32, in, inputs) && HasChannels(out->data32, out, 2)) {
        renderer.Process(*effect, in->data32, inputs, out->data32, frames, changes);
    } else {
        status = clap::kProcessError;
    }
    // Without audio the changes still count.
    for (int frame; (frame = changes.NextFrame()) != SplitRenderer::kNone;) changes.ApplyAt(frame);
    TellHost(process.outEvents);
    return status;
}

void TapDelayClap::Flush(const clap::InputEvents* in, const clap::OutputEvents* out) {
    StartBatch();
    HostEvents changes(*this, in);
    for (int frame; (frame = changes.NextFrame()) != SplitRenderer::kNone;) changes.ApplyAt(frame);
    TellHost(out);
}

// After a state load the host learns the values by rescanning: they are
// known, not news.
void TapDelayClap::StartBatch() {
    valuesSeen = false;
    if (!stateLoaded.exchange(false)) return;
    mirror.KnowAll(*effect);
    knownBypass = ClapParams::Read(*effect, kBypass);
    afterLoad = true;
}

void TapDelayClap::ApplyHostEvent(const clap::EventHeader& event) {
    if (event.type == clap::kEventTransport) {
        const auto& transport = reinterpret_cast<const clap::EventTransport&>(event);
        if (transport.flags & clap::kTransportHasTempo) effectHost->SetTempo(transport.tempo);
        return;
    }
    const auto& change = reinterpret_cast<const clap::EventParamValue&>(event);
    if (!ClapParams::IsValid(change.paramId)) return;
    const int index = (int)change.paramId;
    valuesSeen = true;
    // HostQuirks: the values a session sends after its state, printed with
    // six digits, are the state's own.
    if (afterLoad && SameInSixDigits(ClapParams::ToPlain(index, ClapParams::Read(*effect, index)), change.value))
        return;
    ClapParams::Write(*effect, index, ClapParams::ToNormalised(index, change.value));
    if (index == kBypass)
        knownBypass = ClapParams::Read(*effect, kBypass);
    else
        mirror.Know(index, effect->getParameter(index));
}

// The editor's gestures first, then what the effect changed by itself
// (programs chosen in the editor, taps moved by tempo sync).
void TapDelayClap::TellHost(const clap::OutputEvents* out) {
    if (valuesSeen) afterLoad = false;  // the batch after a load is over
    edits.Drain([&](const EditQueue::Edit& edit) {
        switch (edit.kind) {
        case EditQueue::kBegin:
            PushGesture(out, clap::kEventParamGestureBegin, edit.index);
            break;
        case EditQueue::kValue:
            PushValue(out, edit.index, ClapParams::ToPlain(edit.index, edit.value));
            mirror.Know(edit.index, edit.value);
            break;
        case EditQueue::kEnd:
            PushGesture(out, clap::kEventParamGestureEnd, edit.index);
            break;
        }
    });
    mirror.TellChanges(*effect, [&](int index, float value) {
        PushValue(out, index, ClapParams::ToPlain(index, value));
    });
    const float bypass = ClapParams::Read(*effect, kBypass);
    if (bypass != knownBypass) {
        knownBypass = bypass;
        PushValue(out, kBypass, bypass);
    }
}

// --- parameters and state ------------------------------------------------------------

bool TapDelayClap::ParamValue(clap::Id id, double* value) {
    if (!ClapParams::IsValid(id) || !value) return false;
    *value = ClapParams::ToPlain((int)id, ClapParams::Read(*effect, (int)id));
    return true;
}

bool TapDelayClap::SaveState(const clap::OStream* stream) {
    services.ExpectMainThread("state save");
    if (!stream || !stream->write) return false;
    std::vector<uint8_t> data(BankState::kBytes);
    BankState::Save(*effect, data.data());
    for (size_t done = 0; done < data.size();) {
        const int64_t written = stream->write(stream, data.data() + done, data.size() - done);
        if (written <= 0 || (uint64_t)written > data.size() - done) return false;
        done += (size_t)written;
    }
    return true;
}

bool TapDelayClap::LoadState(const clap::IStream* stream) {
    services.ExpectMainThread("state load");
    if (!stream || !stream->read) return false;
    // One byte more than a state: a longer stream is no state of ours.
    std::vector<uint8_t> data(BankState::kBytes + 1);
    size_t have = 0;
    while (have < data.size()) {
        const int64_t read = stream->read(stream, data.data() + have, data.size() - have);
        if (read == 0) break;
        if (read < 0 || (uint64_t)read > data.size() - have) return false;
        have += (size_t)read;
    }
    loading = true;
    const bool restored = BankState::Restore(*effect, data.data(), have);
    loading = false;
    if (!restored) {
        services.Log(clap::kLogWarning, "TapDelay: the state is not one TapDelay saved; nothing changed");
        return false;
    }
    stateLoaded = true;
    services.RescanValues();
    return true;
}

// --- the editor's side (UI thread) ---------------------------------------------------------

// A gesture's begin waits for its first value: a click that changes nothing
// sends nothing (HostQuirks: Qtractor sets 0 at an empty gesture's end).
void TapDelayClap::Edited(int index, float normalised) {
    const uint64_t bit = uint64_t(1) << index;
    if (!(begun & bit) && edits.Push({EditQueue::kBegin, (uint16_t)index, 0.0f})) begun |= bit;
    edits.Push({EditQueue::kValue, (uint16_t)index, normalised});
    if (!processing) services.RequestFlush();
}

void TapDelayClap::EndEdit(int index) {
    const uint64_t bit = uint64_t(1) << index;
    if (!(begun & bit)) return;
    if (edits.Push({EditQueue::kEnd, (uint16_t)index, 0.0f})) begun &= ~bit;
    if (!processing) services.RequestFlush();
}

bool TapDelayClap::ResizeRequested(int width, int height) {
    return width > 0 && height > 0 && services.RequestResize((uint32_t)width, (uint32_t)height);
}

// Programs chosen, copied or saved in the editor: the bank (our state)
// changed, and the values are told from the next flush or process.
void TapDelayClap::DisplayChanged() {
    if (loading) return;
    services.MarkDirty();
    if (!processing) services.RequestFlush();
}
