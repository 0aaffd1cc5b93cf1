// The editor as an X11 UI of the bundle. It reaches the effect through
// instance access and opens the same CDelayEditor the VST 2 host gets; the
// controls the user moves go back to the host through write_function, so the
// host's port values follow.
#include <cstdint>
#include <cstring>

#include <lv2/instance-access/instance-access.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include "editor/CDelayEditor.h"
#include "formats/lv2/TapDelayLv2.h"
#include "formats/shared/EmbeddedEditor.h"

using namespace DisplayUnits;
using namespace PortLayout;

namespace {

// The host's ui:scaleFactor, 0 when it gives none (the editor then follows
// the user's choice or the desktop).
float HostScale(const LV2_Feature* const* features) {
    auto* map = static_cast<const LV2_URID_Map*>(FindFeature(features, LV2_URID__map));
    auto* options = static_cast<const LV2_Options_Option*>(FindFeature(features, LV2_OPTIONS__options));
    if (!map || !options) return 0.0f;
    LV2_URID key = map->map(map->handle, LV2_UI__scaleFactor);
    LV2_URID floatType = map->map(map->handle, LV2_ATOM__Float);
    for (int i = 0; options[i].key; i++)
        if (options[i].key == key && options[i].type == floatType) {
            float scale = *static_cast<const float*>(options[i].value);
            if (scale >= 1.0f && scale <= 4.0f) return scale;
        }
    return 0.0f;
}

class TapDelayLv2Ui : public EffectListener {
public:
    TapDelayLv2Ui(TapDelayLv2* plugin, LV2UI_Write_Function write, LV2UI_Controller controller)
        : plugin(plugin), editor(plugin->Host()), write(write), controller(controller) {}

    ~TapDelayLv2Ui() override {
        plugin->Host().SetListener(nullptr);
        editor.Close();
    }

    bool Open(uintptr_t parent, float scale, const LV2UI_Resize* resize, LV2UI_Widget* widget) {
        this->resize = resize;
        if (scale > 0.0f) editor.SetScale(scale);
        if (!editor.Open(parent)) return false;
        int width = 0, height = 0;
        editor.GetSize(&width, &height);
        if (resize) resize->ui_resize(resize->handle, width, height);
        *widget = reinterpret_cast<LV2UI_Widget>(editor.Window());
        for (int index = 0; index < kNumParams; index++)
            hostPorts[index] = effectPorts[index] = ToDisplay(index, plugin->Effect()->getParameter(index));
        plugin->Host().SetListener(this);
        return true;
    }

    // The editor's Size menu asks for its new size through the host callback.
    bool ResizeRequested(int width, int height) override {
        return resize && resize->ui_resize(resize->handle, width, height) == 0;
    }

    void Edited(int index, float normalised) override { WritePort(index, ToDisplay(index, normalised)); }

    void PortEvent(uint32_t port, uint32_t size, uint32_t format, const void* buffer) {
        int index = (int)port - kFirstParam;
        if (format != 0 || size != sizeof(float) || !IsValidParam(index) || !editor.IsOpen()) return;
        float value = *static_cast<const float*>(buffer);
        hostPorts[index] = value;
        plugin->Host().Editor().UpdateControl(index, ToNormalised(index, value));
    }

    int Idle() {
        if (!editor.IsOpen()) return 0;
        editor.Idle();
        // Programs chosen in the editor and taps moved by tempo sync change the
        // effect without automation: the host's ports are brought along. Only
        // the effect's own changes count, so a host change on its way to the
        // effect is never written back.
        for (int index = 0; index < kNumParams; index++) {
            float value = ToDisplay(index, plugin->Effect()->getParameter(index));
            if (value == effectPorts[index]) continue;
            effectPorts[index] = value;
            if (value != hostPorts[index]) WritePort(index, value);
        }
        return 0;
    }

private:
    void WritePort(int index, float value) {
        hostPorts[index] = value;
        write(controller, (uint32_t)(kFirstParam + index), sizeof value, 0, &value);
    }

    TapDelayLv2* plugin;
    EmbeddedEditor editor;
    LV2UI_Write_Function write;
    LV2UI_Controller controller;
    const LV2UI_Resize* resize = nullptr;
    float hostPorts[kNumParams] = {};    // the port values the host holds, as far as we know
    float effectPorts[kNumParams] = {};  // the effect's values at the last idle
};

LV2UI_Handle Instantiate(const LV2UI_Descriptor*, const char*, const char*,
                         LV2UI_Write_Function write, LV2UI_Controller controller,
                         LV2UI_Widget* widget, const LV2_Feature* const* features) {
    auto* instance = static_cast<TapDelayLv2*>(
        const_cast<void*>(FindFeature(features, LV2_INSTANCE_ACCESS_URI)));
    const void* parent = FindFeature(features, LV2_UI__parent);
    if (!instance || !parent || !write) return nullptr;
    auto* resize = static_cast<const LV2UI_Resize*>(FindFeature(features, LV2_UI__resize));
    auto* ui = new TapDelayLv2Ui(instance, write, controller);
    if (ui->Open(reinterpret_cast<uintptr_t>(parent), HostScale(features), resize, widget))
        return ui;
    delete ui;
    return nullptr;
}

TapDelayLv2Ui* Self(LV2UI_Handle handle) { return static_cast<TapDelayLv2Ui*>(handle); }

int Idle(LV2UI_Handle handle) { return Self(handle)->Idle(); }

const void* ExtensionData(const char* uri) {
    static const LV2UI_Idle_Interface idle = {Idle};
    if (std::strcmp(uri, LV2_UI__idleInterface) == 0) return &idle;
    return nullptr;
}

const LV2UI_Descriptor kDescriptor = {
    TAPDELAY_LV2_UI_URI,
    Instantiate,
    [](LV2UI_Handle h) { delete Self(h); },
    [](LV2UI_Handle h, uint32_t port, uint32_t size, uint32_t format, const void* buffer) {
        Self(h)->PortEvent(port, size, format, buffer);
    },
    ExtensionData,
};

}  // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
    return index == 0 ? &kDescriptor : nullptr;
}
