// The bundle in a small lilv host of our own: state round trips and refuses
// bad chunks, time:Position moves the synced taps.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <lilv/lilv.h>
#include <lv2/atom/forge.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>
#include <lv2/urid/urid.h>

#include "lv2/TapDelayLv2.h"
#include "tests/support/TempFolder.h"

using namespace PortUnits;

namespace {

class UridMap {
public:
    LV2_URID Map(const char* uri) {
        for (size_t i = 0; i < uris.size(); i++)
            if (uris[i] == uri) return (LV2_URID)(i + 1);
        uris.push_back(uri);
        return (LV2_URID)uris.size();
    }
    const char* Unmap(LV2_URID urid) { return urid && urid <= uris.size() ? uris[urid - 1].c_str() : nullptr; }

    LV2_URID_Map map{this, [](LV2_URID_Map_Handle h, const char* u) { return static_cast<UridMap*>(h)->Map(u); }};
    LV2_URID_Unmap unmap{this, [](LV2_URID_Unmap_Handle h, LV2_URID u) { return static_cast<UridMap*>(h)->Unmap(u); }};

private:
    std::vector<std::string> uris;
};

// One world with the build's bundle, and HOME in a fresh folder so that no
// user bank is read.
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

    TempFolder home;
    UridMap urids;
    LilvWorld* world = nullptr;
    const LilvPlugin* plugin = nullptr;
};

// A running instance with every port connected; controls start at their defaults.
class Instance {
public:
    explicit Instance(Lv2Host& host) : host(host) {
        features[0] = {LV2_URID__map, &host.urids.map};
        features[1] = {LV2_URID__unmap, &host.urids.unmap};
        instance = lilv_plugin_instantiate(host.plugin, 44100.0, featureList);
        if (!instance) return;
        std::vector<float> minimum(kNumPorts), maximum(kNumPorts);
        lilv_plugin_get_port_ranges_float(host.plugin, minimum.data(), maximum.data(), controls);
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
        LilvNode* node = lilv_new_string(host.world, symbol);
        const LilvPort* port = lilv_plugin_get_port_by_symbol(host.plugin, node);
        lilv_node_free(node);
        ASSERT_NE(port, nullptr) << symbol;
        controls[lilv_port_get_index(host.plugin, port)] = value;
    }
    // A time:Position with only the tempo, at the start of the next block.
    void SendTempo(float bpm) {
        LV2_Atom_Forge forge;
        lv2_atom_forge_init(&forge, &host.urids.map);
        lv2_atom_forge_set_buffer(&forge, (uint8_t*)timeBuffer, sizeof timeBuffer);
        LV2_Atom_Forge_Frame sequence, object;
        lv2_atom_forge_sequence_head(&forge, &sequence, 0);
        lv2_atom_forge_frame_time(&forge, 0);
        lv2_atom_forge_object(&forge, &object, 0, host.urids.Map(LV2_TIME__Position));
        lv2_atom_forge_key(&forge, host.urids.Map(LV2_TIME__beatsPerMinute));
        lv2_atom_forge_float(&forge, bpm);
        lv2_atom_forge_pop(&forge, &object);
        lv2_atom_forge_pop(&forge, &sequence);
    }
    // What a host does when the UI reports the editor's program change.
    void PortsFollowEffect() {
        for (int index = 0; index < kNumParams; index++)
            controls[kFirstParam + index] = ToPort(index, Effect()->getParameter(index));
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
            host.plugin, instance, &host.urids.map, nullptr, nullptr, nullptr, nullptr, PortValue,
            this, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE, nullptr);
        char* text = lilv_state_to_string(host.world, &host.urids.map, &host.urids.unmap, state,
                                          "urn:test:state", nullptr);
        std::string result = text ? text : "";
        lilv_free(text);
        lilv_state_free(state);
        return result;
    }
    void RestoreStateText(const std::string& text) {
        LilvState* state = lilv_state_new_from_string(host.world, &host.urids.map, text.c_str());
        ASSERT_NE(state, nullptr);
        lilv_state_restore(state, instance, SetPortValue, this, 0, nullptr);
        lilv_state_free(state);
    }
    const LV2_State_Interface* StateInterface() {
        return static_cast<const LV2_State_Interface*>(lilv_instance_get_extension_data(instance, LV2_STATE__interface));
    }
    LV2_Handle Handle() { return lilv_instance_get_handle(instance); }
    ATapDelay* Effect() { return static_cast<TapDelayLv2*>(Handle())->Effect(); }

    LilvInstance* instance = nullptr;

private:
    static constexpr int kFrames = 64;
    void ClearTime() {
        auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(timeBuffer);
        sequence->atom.size = sizeof(LV2_Atom_Sequence_Body);
        sequence->atom.type = host.urids.Map(LV2_ATOM__Sequence);
        sequence->body.unit = 0;
        sequence->body.pad = 0;
    }
    static const void* PortValue(const char* symbol, void* self, uint32_t* size, uint32_t* type) {
        auto* me = static_cast<Instance*>(self);
        LilvNode* node = lilv_new_string(me->host.world, symbol);
        const LilvPort* port = lilv_plugin_get_port_by_symbol(me->host.plugin, node);
        lilv_node_free(node);
        uint32_t index = lilv_port_get_index(me->host.plugin, port);
        if (index < (uint32_t)kFirstParam || index >= (uint32_t)kFirstMeter) return nullptr;
        *size = sizeof(float);
        *type = me->host.urids.Map(LV2_ATOM__Float);
        return &me->controls[index];
    }
    static void SetPortValue(const char* symbol, void* self, const void* value, uint32_t size, uint32_t type) {
        auto* me = static_cast<Instance*>(self);
        if (size == sizeof(float)) me->SetControl(symbol, *static_cast<const float*>(value));
    }

    Lv2Host& host;
    LV2_Feature features[2];
    const LV2_Feature* featureList[3] = {&features[0], &features[1], nullptr};
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
        EXPECT_NE(restored.StateInterface()->restore(restored.Handle(), retrieve, (LV2_State_Handle)&stored, 0, nullptr),
                  LV2_STATE_SUCCESS);
        EXPECT_TRUE(restored.Bank() == before) << stored.bytes.size() << " bytes";
    }
}

TEST(Lv2Host, TimePositionTempoMovesTheSyncedTaps) {
    Lv2Host host;
    Instance instance(host);
    ASSERT_TRUE(instance.instance);
    instance.SetControl("TempoSync", 1.0f);
    instance.SetControl("SyncNote", 0.0f);
    struct Case { float bpm; const char* taps[kNumTaps]; };
    const Case cases[] = {
        {100.0f, {"600.0", "1200.0", "1800.0", "2400.0", "3000.0", "3600.0"}},
        {150.0f, {"400.0", "800.0", "1200.0", "1600.0", "2000.0", "2400.0"}},
        {120.0f, {"500.0", "1000.0", "1500.0", "2000.0", "2500.0", "3000.0"}},
    };
    for (const Case& c : cases) {
        instance.SendTempo(c.bpm);
        instance.Run();
        instance.Run();  // the tempo is kept between positions
        for (int tap = 0; tap < kNumTaps; tap++)
            EXPECT_EQ(instance.Display(kParamDelayTime + tap), c.taps[tap]) << c.bpm << " BPM, tap " << tap;
    }
    // An eighth note halves them.
    instance.SetControl("SyncNote", 1.0f);
    instance.Run();
    EXPECT_EQ(instance.Display(kParamDelayTime), "250.0");
}

}  // namespace
