#include "formats/clap/ClapBindings.h"

#include <cstring>

#include "formats/clap/ClapGui.h"
#include "formats/clap/ClapParams.h"
#include "formats/clap/TapDelayClap.h"

namespace {

using clap::Plugin;

TapDelayClap* Self(const Plugin* plugin) { return TapDelayClap::Of(plugin); }

bool IsX11(const char* api) { return api && std::strcmp(api, clap::kWindowApiX11) == 0; }

// --- the record -------------------------------------------------------------------

bool Init(const Plugin* p) { return Self(p) && Self(p)->Init(); }
void Destroy(const Plugin* p) { delete Self(p); }
bool Activate(const Plugin* p, double rate, uint32_t, uint32_t maxFrames) {
    return Self(p) && Self(p)->Activate(rate, maxFrames);
}
void Deactivate(const Plugin* p) {
    if (Self(p)) Self(p)->Deactivate();
}
bool StartProcessing(const Plugin* p) { return Self(p) && Self(p)->StartProcessing(); }
void StopProcessing(const Plugin* p) {
    if (Self(p)) Self(p)->StopProcessing();
}
void Reset(const Plugin* p) {
    if (Self(p)) Self(p)->Reset();
}
int32_t Process(const Plugin* p, const clap::Process* process) {
    return Self(p) && process ? Self(p)->Process(*process) : clap::kProcessError;
}
const void* GetExtension(const Plugin* p, const char* id) { return Self(p) && id ? ExtensionTable(id) : nullptr; }
void OnMainThread(const Plugin*) {}

// --- audio ports: one stereo pair, in and out ----------------------------------------

const clap::PluginAudioPorts kAudioPorts = {
    [](const Plugin*, bool) -> uint32_t { return 1; },
    [](const Plugin*, uint32_t index, bool isInput, clap::AudioPortInfo* info) {
        if (index != 0 || !info) return false;
        std::memset(info, 0, sizeof *info);
        std::strcpy(info->name, isInput ? "Main In" : "Main Out");
        info->flags = clap::kAudioPortIsMain | clap::kAudioPortSupports64Bits |
                      clap::kAudioPortRequiresCommonSampleSize;
        info->channelCount = 2;
        info->portType = clap::kPortStereo;
        info->inPlacePair = clap::kInvalidId;
        return true;
    },
};

// --- parameters ---------------------------------------------------------------------

const clap::PluginParams kParams = {
    [](const Plugin*) { return ClapParams::kCount; },
    [](const Plugin* p, uint32_t index, clap::ParamInfo* info) {
        if (!Self(p) || !info || !ClapParams::IsValid(index)) return false;
        ClapParams::Describe(Self(p)->Host(), (int)index, info);
        return true;
    },
    [](const Plugin* p, clap::Id id, double* value) { return Self(p) && Self(p)->ParamValue(id, value); },
    [](const Plugin*, clap::Id id, double value, char* text, uint32_t capacity) {
        return ClapParams::IsValid(id) && ClapParams::ToText((int)id, value, text, capacity);
    },
    [](const Plugin*, clap::Id id, const char* text, double* value) {
        return ClapParams::IsValid(id) && value && ClapParams::FromText((int)id, text, value);
    },
    [](const Plugin* p, const clap::InputEvents* in, const clap::OutputEvents* out) {
        if (Self(p)) Self(p)->Flush(in, out);
    },
};

const clap::PluginState kState = {
    [](const Plugin* p, const clap::OStream* stream) { return Self(p) && Self(p)->SaveState(stream); },
    [](const Plugin* p, const clap::IStream* stream) { return Self(p) && Self(p)->LoadState(stream); },
};

const clap::PluginLatency kLatency = {[](const Plugin*) -> uint32_t { return 0; }};

const clap::PluginTail kTail = {
    [](const Plugin* p) -> uint32_t { return Self(p) ? Self(p)->Host().TailFrames() : 0; },
};

// Realtime and offline render alike.
const clap::PluginRender kRender = {
    [](const Plugin*) { return false; },
    [](const Plugin*, int32_t mode) { return mode == clap::kRenderRealtime || mode == clap::kRenderOffline; },
};

// --- the editor: X11, embedded only ------------------------------------------------

ClapGui* Gui(const Plugin* p) { return Self(p) ? Self(p)->gui.get() : nullptr; }

bool GuiCreate(const Plugin* p, const char* api, bool isFloating) {
    TapDelayClap* self = Self(p);
    if (!self || !IsX11(api) || isFloating || self->gui) {
        if (self && isFloating)
            self->Services().Log(clap::kLogInfo, "TapDelay: no floating window; the editor embeds in the host's");
        return false;
    }
    self->Services().ExpectMainThread("gui create");
    // Without the host's timers nothing would ever idle the editor.
    if (!self->Services().HasTimers()) {
        self->Services().Log(clap::kLogWarning, "TapDelay: the host has no timer support; no editor");
        return false;
    }
    self->gui.reset(new ClapGui(self->Host(), self->Services()));
    return true;
}

bool GuiGetSize(const Plugin* p, uint32_t* width, uint32_t* height) {
    if (!Gui(p) || !width || !height) return false;
    Gui(p)->GetSize(width, height);
    return true;
}

// The editor has three fixed sizes, changed by the host's scale or the
// user's Size menu (which asks the host); dragging keeps the size it has.
const clap::PluginGui kGui = {
    [](const Plugin*, const char* api, bool isFloating) { return IsX11(api) && !isFloating; },
    [](const Plugin*, const char** api, bool* isFloating) {
        if (!api || !isFloating) return false;
        *api = clap::kWindowApiX11;
        *isFloating = false;
        return true;
    },
    GuiCreate,
    [](const Plugin* p) {
        if (Self(p)) Self(p)->gui.reset();
    },
    [](const Plugin* p, double scale) { return Gui(p) && Gui(p)->SetScale(scale); },
    GuiGetSize,
    [](const Plugin*) { return false; },
    [](const Plugin* p, clap::GuiResizeHints* hints) {
        if (!Gui(p) || !hints) return false;
        std::memset(hints, 0, sizeof *hints);
        return true;
    },
    GuiGetSize,  // adjust_size: the one usable size is the present one
    [](const Plugin* p, uint32_t width, uint32_t height) {
        uint32_t w = 0, h = 0;
        return GuiGetSize(p, &w, &h) && w == width && h == height;
    },
    [](const Plugin* p, const clap::Window* window) {
        return Gui(p) && window && IsX11(window->api) && Gui(p)->SetParent(window->x11);
    },
    [](const Plugin*, const clap::Window*) { return false; },
    [](const Plugin*, const char*) {},
    [](const Plugin* p) { return Gui(p) != nullptr; },
    [](const Plugin* p) { return Gui(p) != nullptr; },
};

const clap::PluginTimerSupport kTimers = {[](const Plugin* p, clap::Id id) {
    if (Gui(p)) Gui(p)->OnTimer(id);
}};

const clap::PluginPosixFdSupport kFds = {[](const Plugin* p, int fd, uint32_t) {
    if (Gui(p)) Gui(p)->OnFd(fd);
}};

}  // namespace

void FillPluginRecord(clap::Plugin& record, const clap::PluginDescriptor* descriptor, TapDelayClap* instance) {
    record = {descriptor, instance, Init, Destroy, Activate, Deactivate, StartProcessing, StopProcessing,
              Reset, Process, GetExtension, OnMainThread};
}

const void* ExtensionTable(const char* id) {
    static const struct {
        const char* id;
        const void* table;
    } kTables[] = {
        {clap::kExtAudioPorts, &kAudioPorts}, {clap::kExtParams, &kParams},
        {clap::kExtState, &kState},           {clap::kExtLatency, &kLatency},
        {clap::kExtTail, &kTail},             {clap::kExtRender, &kRender},
        {clap::kExtGui, &kGui},               {clap::kExtTimerSupport, &kTimers},
        {clap::kExtPosixFdSupport, &kFds},
    };
    for (const auto& entry : kTables)
        if (std::strcmp(id, entry.id) == 0) return entry.table;
    return nullptr;
}
