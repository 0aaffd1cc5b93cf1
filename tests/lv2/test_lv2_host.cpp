// The bundle in a small lilv host of our own: state round trips and refuses
// bad chunks, time:Position moves the synced taps, and the editor opened as
// the bundle's UI writes the ports its controls move (real X input).
#include <dlfcn.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <lilv/lilv.h>
#include <lv2/atom/forge.h>
#include <lv2/state/state.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/time/time.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include "formats/lv2/TapDelayLv2.h"
#include "tests/support/TempFolder.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

using namespace DisplayUnits;
using namespace PortLayout;

namespace {

// One world with the build's bundle, URIDs numbered in the order asked, and
// HOME in a fresh folder so that no user bank is read.
class Lv2Host {
public:
    Lv2Host() {
        setenv("HOME", home.path().c_str(), 1);
        world = lilv_world_new();
        LilvNode* bundle = lilv_new_file_uri(world, nullptr, TAPDELAY_LV2_DIR "/");
        lilv_world_load_bundle(world, bundle);
        lilv_node_free(bundle);
        LilvNode* uri = lilv_new_uri(world, TAPDELAY_LV2_URI);
        plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uri);
        lilv_node_free(uri);
    }
    ~Lv2Host() { lilv_world_free(world); }

    LV2_URID Map(const char* uri) {
        for (size_t i = 0; i < uris.size(); i++)
            if (uris[i] == uri) return (LV2_URID)(i + 1);
        uris.push_back(uri);
        return (LV2_URID)uris.size();
    }
    uint32_t PortIndex(const char* symbol) {
        LilvNode* node = lilv_new_string(world, symbol);
        const LilvPort* port = lilv_plugin_get_port_by_symbol(plugin, node);
        lilv_node_free(node);
        return port ? lilv_port_get_index(plugin, port) : UINT32_MAX;
    }

    TempFolder home;
    std::vector<std::string> uris;
    LV2_URID_Map map{this, [](LV2_URID_Map_Handle h, const char* uri) { return static_cast<Lv2Host*>(h)->Map(uri); }};
    LV2_URID_Unmap unmap{this, [](LV2_URID_Unmap_Handle h, LV2_URID urid) -> const char* {
                             const auto& uris = static_cast<Lv2Host*>(h)->uris;
                             return urid && urid <= uris.size() ? uris[urid - 1].c_str() : nullptr;
                         }};
    LilvWorld* world = nullptr;
    const LilvPlugin* plugin = nullptr;
};

// A running instance with every port connected; controls start at their defaults.
class Instance {
public:
    explicit Instance(Lv2Host& host) : host(host) {
        instance = lilv_plugin_instantiate(host.plugin, 44100.0, featureList);
        if (!instance) return;
        lilv_plugin_get_port_ranges_float(host.plugin, nullptr, nullptr, controls);
        for (int port = 0; port < kNumPorts; port++) {
            void* data = port < 4 ? (void*)audio[port] : port == kTimeIn ? (void*)timeBuffer : (void*)&controls[port];
            lilv_instance_connect_port(instance, (uint32_t)port, data);
        }
        ClearTime();
        lilv_instance_activate(instance);
    }
    ~Instance() {
        if (!instance) return;
        lilv_instance_deactivate(instance);
        lilv_instance_free(instance);
    }

    void Run() {
        lilv_instance_run(instance, kFrames);
        ClearTime();
    }
    void SetControl(const char* symbol, float value) {
        const uint32_t index = host.PortIndex(symbol);
        ASSERT_LT(index, (uint32_t)kNumPorts) << symbol;
        controls[index] = value;
    }
    // A time:Position with only the tempo, at the start of the next block.
    void SendTempo(float bpm) {
        LV2_Atom_Forge forge;
        lv2_atom_forge_init(&forge, &host.map);
        lv2_atom_forge_set_buffer(&forge, (uint8_t*)timeBuffer, sizeof timeBuffer);
        LV2_Atom_Forge_Frame sequence, object;
        lv2_atom_forge_sequence_head(&forge, &sequence, 0);
        lv2_atom_forge_frame_time(&forge, 0);
        lv2_atom_forge_object(&forge, &object, 0, host.Map(LV2_TIME__Position));
        lv2_atom_forge_key(&forge, host.Map(LV2_TIME__beatsPerMinute));
        lv2_atom_forge_float(&forge, bpm);
        lv2_atom_forge_pop(&forge, &object);
        lv2_atom_forge_pop(&forge, &sequence);
    }
    // What a host does when the UI reports the editor's program change.
    void PortsFollowEffect() {
        for (int index = 0; index < kNumParams; index++)
            controls[kFirstParam + index] = ToDisplay(index, Effect()->getParameter(index));
    }
    std::string Display(int index) {
        char text[64] = "";
        Effect()->getParameterDisplay(index, text);
        return text;
    }
    std::string Bank() {
        void* data = nullptr;
        VstInt32 size = Effect()->getChunk(&data, false);
        return std::string(static_cast<const char*>(data), (size_t)size);
    }
    std::string StateText() {
        LilvState* state = lilv_state_new_from_instance(
            host.plugin, instance, &host.map, nullptr, nullptr, nullptr, nullptr, PortValue,
            this, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE, nullptr);
        char* text = lilv_state_to_string(host.world, &host.map, &host.unmap, state, "urn:test:state", nullptr);
        std::string result = text ? text : "";
        lilv_free(text);
        lilv_state_free(state);
        return result;
    }
    void RestoreStateText(const std::string& text) {
        LilvState* state = lilv_state_new_from_string(host.world, &host.map, text.c_str());
        ASSERT_NE(state, nullptr);
        lilv_state_restore(state, instance, SetPortValue, this, 0, nullptr);
        lilv_state_free(state);
    }
    LV2_Handle Handle() { return lilv_instance_get_handle(instance); }
    ATapDelay* Effect() { return static_cast<TapDelayLv2*>(Handle())->Effect(); }

    LilvInstance* instance = nullptr;

private:
    static constexpr int kFrames = 64;
    void ClearTime() {
        auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(timeBuffer);
        sequence->atom.size = sizeof(LV2_Atom_Sequence_Body);
        sequence->atom.type = host.Map(LV2_ATOM__Sequence);
        sequence->body.unit = 0;
        sequence->body.pad = 0;
    }
    static const void* PortValue(const char* symbol, void* self, uint32_t* size, uint32_t* type) {
        auto* me = static_cast<Instance*>(self);
        const uint32_t index = me->host.PortIndex(symbol);
        if (index < (uint32_t)kFirstParam || index >= (uint32_t)kFirstMeter) return nullptr;
        *size = sizeof(float);
        *type = me->host.Map(LV2_ATOM__Float);
        return &me->controls[index];
    }
    static void SetPortValue(const char* symbol, void* self, const void* value, uint32_t size, uint32_t) {
        if (size == sizeof(float)) static_cast<Instance*>(self)->SetControl(symbol, *static_cast<const float*>(value));
    }

    Lv2Host& host;
    const LV2_Feature mapFeature{LV2_URID__map, &host.map}, unmapFeature{LV2_URID__unmap, &host.unmap};
    const LV2_Feature* featureList[3] = {&mapFeature, &unmapFeature, nullptr};
    float audio[4][kFrames] = {};
    float controls[kNumPorts] = {};
    alignas(8) uint8_t timeBuffer[256] = {};
};

TEST(Lv2Host, StateBringsBackTheWholeBankAndRefusesBadChunks) {
    Lv2Host host;
    ASSERT_NE(host.plugin, nullptr);
    Instance edited(host), fresh(host), restored(host);
    ASSERT_TRUE(edited.instance && fresh.instance && restored.instance);
    edited.SetControl("DelayTime0", 500.0f);
    edited.SetControl("FilterType2", 1.0f);
    edited.Run();
    edited.Effect()->setProgram(5);
    edited.PortsFollowEffect();
    edited.Run();
    std::string saved = edited.StateText();
    EXPECT_TRUE(saved != fresh.StateText());
    restored.RestoreStateText(saved);
    restored.Run();
    EXPECT_EQ(restored.Effect()->getProgram(), 5);
    EXPECT_TRUE(restored.Bank() == edited.Bank());
    EXPECT_TRUE(restored.StateText() == saved);
    restored.Effect()->setProgram(0);
    EXPECT_EQ(restored.Display(kParamDelayTime), "500.0");
    EXPECT_EQ(restored.Display(kParamFilterType + 2), "PK");

    // Chunks of the wrong size (or none) leave the bank as it was.
    struct Stored { std::string bytes; bool present; };
    for (const Stored& stored : {Stored{std::string(100, '\x7f'), true}, Stored{std::string(17665, 0), true},
                                 Stored{std::string(), false}}) {
        std::string before = restored.Bank();
        auto retrieve = [](LV2_State_Handle h, uint32_t, size_t* size, uint32_t* type, uint32_t* flags) -> const void* {
            auto* s = static_cast<const Stored*>(h);
            *size = s->bytes.size();
            *type = 0;
            *flags = 0;
            return s->present ? s->bytes.data() : nullptr;
        };
        auto* state = static_cast<const LV2_State_Interface*>(
            lilv_instance_get_extension_data(restored.instance, LV2_STATE__interface));
        EXPECT_NE(state->restore(restored.Handle(), retrieve, (LV2_State_Handle)&stored, 0, nullptr), LV2_STATE_SUCCESS);
        EXPECT_TRUE(restored.Bank() == before) << stored.bytes.size() << " bytes";
    }
}

TEST(Lv2Host, TimePositionTempoMovesTheSyncedTaps) {
    Lv2Host host;
    Instance instance(host);
    ASSERT_TRUE(instance.instance);
    instance.SetControl("TempoSync", 1.0f);
    instance.SetControl("SyncNote", 0.0f);
    // Tap n waits n + 1 quarter notes.
    for (auto [bpm, quarter] : {std::pair{100.0f, 600}, {150.0f, 400}, {120.0f, 500}}) {
        instance.SendTempo(bpm);
        instance.Run();
        instance.Run();  // the tempo is kept between positions
        for (int tap = 0; tap < kNumTaps; tap++)
            EXPECT_EQ(instance.Display(kParamDelayTime + tap), std::to_string((tap + 1) * quarter) + ".0")
                << bpm << " BPM, tap " << tap;
    }
    // An eighth note halves them.
    instance.SetControl("SyncNote", 1.0f);
    instance.Run();
    EXPECT_EQ(instance.Display(kParamDelayTime), "250.0");
}

// The UI in a plain X window at the screen's corner, clicked with XTest.
TEST(Lv2Host, EditorClicksWriteThePortValues) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        const char* require = std::getenv("TAPDELAY_REQUIRE_X11");
        if (require && *require == '1') FAIL() << "no X display";
        GTEST_SKIP() << "no X display";
    }
    Lv2Host host;
    Instance instance(host);
    ASSERT_TRUE(instance.instance);
    void* library = dlopen(TAPDELAY_LV2_DIR "/TapDelay_lv2.so", RTLD_NOW);
    ASSERT_NE(library, nullptr);
    auto uiDescriptor = reinterpret_cast<LV2UI_DescriptorFunction>(dlsym(library, "lv2ui_descriptor"));
    ASSERT_NE(uiDescriptor, nullptr);
    const LV2UI_Descriptor* descriptor = uiDescriptor(0);
    ASSERT_STREQ(descriptor->URI, TAPDELAY_LV2_UI_URI);

    // What the host keeps: the parent window at the size asked, and the port values written.
    struct UiHost {
        Display* display;
        Window parent;
        int width = 0, height = 0;
        std::map<uint32_t, float> written;
    } state{display, XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 10, 10, 0, 0, 0), 0, 0, {}};
    XMapWindow(display, state.parent);
    XSync(display, False);
    LV2UI_Resize resize{&state, [](LV2UI_Feature_Handle h, int width, int height) {
                            auto* s = static_cast<UiHost*>(h);
                            s->width = width;
                            s->height = height;
                            XResizeWindow(s->display, s->parent, (unsigned)width, (unsigned)height);
                            XSync(s->display, False);
                            return 0;
                        }};
    auto write = [](LV2UI_Controller c, uint32_t port, uint32_t size, uint32_t format, const void* buffer) {
        if (format == 0 && size == sizeof(float))
            static_cast<UiHost*>(c)->written[port] = *static_cast<const float*>(buffer);
    };
    // The UI with the features a host gives, and the host's options if any.
    auto open = [&](const LV2_Options_Option* options) {
        const LV2_Feature parent{LV2_UI__parent, reinterpret_cast<void*>(state.parent)},
            access{LV2_INSTANCE_ACCESS_URI, instance.Handle()}, resizing{LV2_UI__resize, &resize},
            map{LV2_URID__map, &host.map}, hostOptions{LV2_OPTIONS__options, const_cast<LV2_Options_Option*>(options)};
        const LV2_Feature* features[] = {&parent, &access, &resizing, &map, options ? &hostOptions : nullptr, nullptr};
        LV2UI_Widget widget = nullptr;
        LV2UI_Handle ui = descriptor->instantiate(descriptor, TAPDELAY_LV2_URI, TAPDELAY_LV2_DIR, write, &state,
                                                  &widget, features);
        EXPECT_NE(widget, nullptr);
        return ui;
    };
    LV2UI_Handle ui = open(nullptr);
    ASSERT_NE(ui, nullptr);
    EXPECT_EQ(state.width, 800);
    EXPECT_EQ(state.height, 360);
    auto idle = static_cast<const LV2UI_Idle_Interface*>(descriptor->extension_data(LV2_UI__idleInterface));
    ASSERT_NE(idle, nullptr);
    auto idleFor = [&](int milliseconds) {
        auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (std::chrono::steady_clock::now() < end) {
            idle->idle(ui);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    };
    idleFor(300);
    state.written.clear();

    // The delay switch of tap 0 (on in program 0), the left quarter of its
    // delay-time slider (0.25 of 4000 ms) and its gain knob's left-middle
    // point (exactly 0.2).
    for (auto [x, y] : {std::pair{79, 88}, {138 + 27, 88}, {291, 88}}) {
        XTestFakeMotionEvent(display, DefaultScreen(display), x, y, CurrentTime);
        XTestFakeButtonEvent(display, 1, True, CurrentTime);
        XTestFakeButtonEvent(display, 1, False, CurrentTime);
        XSync(display, False);
        idleFor(200);
    }
    EXPECT_EQ(state.written[kFirstParam + kParamDelayOnOff], 0.0f);
    EXPECT_EQ(state.written[kFirstParam + kParamDelayTime], 1000.0f);
    EXPECT_EQ(state.written[kFirstParam + kParamDelayGain], ToDisplay(kParamDelayGain, 0.2f));
    // A change from the host reaches the editor's controls without a write back.
    state.written.clear();
    float gain = -12.0f;
    descriptor->port_event(ui, kFirstParam + kParamDelayGain, sizeof gain, 0, &gain);
    idleFor(100);
    EXPECT_EQ(state.written.count(kFirstParam + kParamDelayGain), 0u);
    // A program chosen in the editor changes the effect alone: the ports follow.
    instance.Effect()->setProgram(instance.Effect()->getProgram() + 1);
    idleFor(100);
    EXPECT_EQ(state.written[kFirstParam + kParamDelayTime], ToDisplay(kParamDelayTime, instance.Effect()->getParameter(kParamDelayTime)));
    EXPECT_EQ(state.written[kFirstParam + kParamOutput], ToDisplay(kParamOutput, instance.Effect()->getParameter(kParamOutput)));
    descriptor->cleanup(ui);

    // A host's ui:scaleFactor of 2 opens the editor at 200 %.
    float two = 2.0f;
    const LV2_Options_Option options[] = {
        {LV2_OPTIONS_INSTANCE, 0, host.Map(LV2_UI__scaleFactor), sizeof two, host.Map(LV2_ATOM__Float), &two},
        {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
    ui = open(options);
    ASSERT_NE(ui, nullptr);
    EXPECT_EQ(state.width, 1600);
    EXPECT_EQ(state.height, 720);
    descriptor->cleanup(ui);
    XDestroyWindow(display, state.parent);
    XCloseDisplay(display);
    dlclose(library);
}

}  // namespace
