// The VST 3 bundle's library in the tests' own host, against the VST 2
// plug-in as the reference: what the host is told about each parameter,
// renders bit for bit (both sample sizes), changes at their sample offsets as
// split VST 2 blocks, tempo from the process context, and the state.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "TapDelayVersion.h"
#include "formats/shared/ParameterInfo.h"
#include "tests/support/PluginUnderTest.h"
#include "tests/vst3/Vst3Host.h"

using namespace vst3test;

namespace {

constexpr ParamID kBypass = 62, kProgram = 63;
constexpr int kBlock = 512;

class Vst3Plugin : public ::testing::Test {
protected:
    IsolatedPreferences preferences;
    Module module;
};

// The VST 2 plug-in with the factory bank beside it, as the reference.
struct Reference : PluginUnderTest {
    Reference() : PluginUnderTest(false) {
        directoryAnswer = "";  // its own folder, with the factory bank
        dispatch(effOpen);
        prepare(44100.0f, kBlock);
        giveTempo(120.0);
    }
};

// What a host's transport says: only the tempo.
ProcessContext Tempo(double bpm, bool valid = true) {
    ProcessContext context{};
    context.state = valid ? ProcessContext::kTempoValid : 0;
    context.tempo = bpm;
    return context;
}

std::string Utf8(const char16_t* text) {
    std::string out;
    for (; *text; text++) out += (char)*text;
    return out;
}

TEST_F(Vst3Plugin, FactoryAndBusesAsAHostSeesThem) {
    ASSERT_NE(module.factory, nullptr);
    Reference reference;
    PClassInfo2 info2;
    auto* factory2 = static_cast<IPluginFactory2*>(module.factory);
    ASSERT_EQ(factory2->getClassInfo2(0, &info2), kResultOk);
    EXPECT_STREQ(info2.category, kAudioEffectClass);
    EXPECT_STREQ(info2.subCategories, "Fx|Delay");
    EXPECT_STREQ(info2.name, reference.text(effGetEffectName).c_str());
    EXPECT_STREQ(info2.vendor, reference.text(effGetVendorString).c_str());
    EXPECT_STREQ(info2.version, TAPDELAY_VERSION);
    void* object = nullptr;
    EXPECT_EQ(module.factory->createInstance("not our class id", AsTuid(IComponent::iid), &object), kNoInterface);
    EXPECT_EQ(object, nullptr);

    Plugin plugin(module);
    ASSERT_TRUE(plugin.Ready());
    struct Arrangement {
        SpeakerArrangement in, out;
        tresult result;
        int inputChannels;
    };
    const Arrangement arrangements[] = {
        {kSpeakerMono, kSpeakerStereo, kResultTrue, 1},
        {kSpeakerStereo, kSpeakerMono, kResultFalse, 1},  // refused: the last accepted stays
        {0x3F, 0x3F, kResultFalse, 1},                     // 5.1
        {kSpeakerStereo, kSpeakerStereo, kResultTrue, 2},
    };
    for (Arrangement a : arrangements) {
        EXPECT_EQ(plugin.processor->setBusArrangements(&a.in, 1, &a.out, 1), a.result) << std::hex << a.in;
        BusInfo bus;
        ASSERT_EQ(plugin.component->getBusInfo(kAudio, kInput, 0, bus), kResultOk);
        EXPECT_EQ(bus.channelCount, a.inputChannels) << std::hex << a.in;
    }
    BusInfo bus;
    EXPECT_EQ(plugin.component->getBusInfo(kAudio, kOutput, 1, bus), kInvalidArgument);
    EXPECT_EQ(plugin.component->getBusCount(kEvent, kInput), 0);
}

// Every parameter: title, unit, steps, flags and default as the effect has
// them; texts both ways; plain values that convert back bit for bit.
TEST_F(Vst3Plugin, EveryParameterAsTheEffectDescribesIt) {
    Plugin plugin(module);
    ASSERT_TRUE(plugin.Ready());
    Reference reference;
    ASSERT_EQ(plugin.controller->getParameterCount(), 64);
    for (int32_t index = 0; index < 64; index++) {
        vst3::ParameterInfo info;
        ASSERT_EQ(plugin.controller->getParameterInfo(index, info), kResultOk);
        EXPECT_EQ(info.id, (ParamID)index);
        EXPECT_EQ(info.unitId, kRootUnitId);
        if (index < kNumParams) {
            EXPECT_EQ(Utf8(info.title), reference.name(index));
            EXPECT_EQ(Utf8(info.shortTitle), ParameterInfo::ShortTitle(index));
            EXPECT_EQ(Utf8(info.units), ParameterInfo::Unit(index));
            EXPECT_EQ(info.stepCount, ParameterInfo::StepCount(index));
            EXPECT_EQ(info.defaultNormalizedValue, reference.getParameter(index)) << index;
            EXPECT_EQ(info.flags, vst3::ParameterInfo::kCanAutomate |
                                      (ParameterInfo::IsList(index) ? vst3::ParameterInfo::kIsList : 0));
        }
        for (double value : {0.0, 0.1, 1.0 / 3.0, 0.5, 0.9, 1.0}) {
            const double plain = plugin.controller->normalizedParamToPlain(info.id, value);
            EXPECT_EQ(plugin.controller->plainParamToNormalized(info.id, plain), (double)(float)value) << index;
            if (index < kNumParams) {
                reference.setParameter(index, (float)value);
                EXPECT_EQ(plugin.Text(info.id, value), reference.display(index)) << index << " at " << value;
            }
        }
    }
    vst3::ParameterInfo bypass, program;
    plugin.controller->getParameterInfo(kBypass, bypass);
    plugin.controller->getParameterInfo(kProgram, program);
    EXPECT_EQ(Utf8(bypass.title), "Bypass");
    EXPECT_EQ(bypass.flags, vst3::ParameterInfo::kCanAutomate | vst3::ParameterInfo::kIsBypass);
    EXPECT_EQ(bypass.stepCount, 1);
    EXPECT_EQ(bypass.defaultNormalizedValue, 0.0);  // the first program is on
    EXPECT_EQ(program.flags, vst3::ParameterInfo::kIsProgramChange | vst3::ParameterInfo::kIsList);
    EXPECT_EQ(program.stepCount, 63);
    EXPECT_EQ(plugin.controller->normalizedParamToPlain(kProgram, 5 / 63.0), 5.0);

    struct Typed {
        ParamID id;
        const char16_t* text;
        tresult result;
        const char* shown;  // the text of the value it gives
    };
    const Typed typed[] = {
        {3, u"250 ms", kResultOk, "250.0"},  {33, u"h-sh", kResultOk, "H-SH"}, {61, u"16th", kResultOk, "16th"},
        {kBypass, u"ON", kResultOk, "ON"},   {kProgram, u"Slapback", kResultOk, "Slapback"},
        {kProgram, u"3", kResultOk, "Rockabilly Slap"}, {3, u"fast", kResultFalse, ""}, {99, u"1", kInvalidArgument, ""},
    };
    for (const Typed& t : typed) {
        ParamValue value = -1.0;
        EXPECT_EQ(plugin.controller->getParamValueByString(t.id, const_cast<char16_t*>(t.text), value), t.result)
            << t.shown;
        if (t.result == kResultOk) {
            EXPECT_EQ(plugin.Text(t.id, value), t.shown);
        }
    }
}

template <class Sample>
struct Stereo {
    explicit Stereo(int frames) : left(frames), right(frames) {}
    Sample* at[2];
    Sample** At(int offset) { return at[0] = left.data() + offset, at[1] = right.data() + offset, at; }
    std::vector<Sample> left, right;
};

struct Change {
    int offset;
    ParamID id;
    double value;
};

// An impulse, noise and silence for the echoes through both plug-ins in
// blocks of kBlock at 120 BPM, with a program and changes in the first block:
// at their offsets in VST 3, between VST 2 blocks cut there. Every output
// sample must agree. Returns the output changes of the first VST 3 block.
template <class Sample>
int ExpectSameOutput(Module& module, int program, const std::vector<Change>& changes = {}) {
    constexpr int kFrames = 3 * 44100 + 100;
    Stereo<Sample> in(kFrames), vst2(kFrames), vst3(kFrames);
    unsigned seed = 7;
    in.left[10] = 1;
    for (int i = 100; i < kFrames / 3; i++, seed = seed * 1664525u + 1013904223u)
        in.left[i] = in.right[i] = (Sample)(((seed >> 9) / 8388608.0f - 1.0f) * 0.4f);
    Stereo<Sample> scratch = in;  // VST 2's double path scales its input in place

    Reference reference;
    Plugin plugin(module);
    plugin.Prepare(sizeof(Sample) == 8 ? kSample64 : kSample32, kBlock);
    if (program >= 0) {
        reference.setProgram(program);
        plugin.controller->setParamNormalized(kProgram, program / 63.0);
    }
    Changes queued;
    for (const Change& c : changes) queued.Add(c.id, c.offset, c.value);
    ProcessContext context = Tempo(120.0);
    int reported = 0;
    for (int done = 0; done < kFrames; done += kBlock) {
        plugin.Process(in.At(done), vst3.At(done), std::min(kBlock, kFrames - done), done ? nullptr : &queued, &context);
        if (!done) reported = plugin.reported.count;
    }
    AEffect* e = reference.effect();
    int done = 0;
    auto run = [&](int until) {
        for (; done < until; done += std::min(kBlock, until - done)) {
            const int frames = std::min(kBlock, until - done);
            if constexpr (sizeof(Sample) == 8)
                e->processDoubleReplacing(e, scratch.At(done), vst2.At(done), frames);
            else
                e->processReplacing(e, scratch.At(done), vst2.At(done), frames);
        }
    };
    for (const Change& c : changes) {
        run(std::min(c.offset, kBlock));
        reference.setParameter(c.id == kBypass ? kParamOnOff : (int)c.id,
                               c.id == kBypass ? (c.value >= 0.5 ? 0.0f : 1.0f) : (float)c.value);
    }
    run(kBlock);
    run(kFrames);
    EXPECT_TRUE(vst2.left == vst3.left && vst2.right == vst3.right);
    EXPECT_GT(*std::max_element(vst3.left.begin(), vst3.left.end()), (Sample)0.01);
    return reported;
}

struct Render {
    int program;  // -1: the state the plug-in opens with
    bool doublePrecision;
};

class Vst3Render : public Vst3Plugin, public ::testing::WithParamInterface<Render> {};

TEST_P(Vst3Render, BitIdenticalToTheVst2Plugin) {
    if (GetParam().doublePrecision)
        ExpectSameOutput<double>(module, GetParam().program);
    else
        ExpectSameOutput<float>(module, GetParam().program);
}

INSTANTIATE_TEST_SUITE_P(Programs, Vst3Render,
                         ::testing::Values(Render{-1, false}, Render{-1, true}, Render{1, false}, Render{9, true},
                                           Render{25, false}, Render{34, true}),
                         [](const ::testing::TestParamInfo<Render>& info) {
                             return (info.param.program < 0 ? std::string("Default")
                                                            : "Program" + std::to_string(info.param.program)) +
                                    (info.param.doublePrecision ? "Double" : "Float");
                         });

// Changes at sample offsets inside a block (and one after it) are the VST 2
// plug-in's blocks cut there with the same values set between them; the host
// hears none of its own changes back.
TEST_F(Vst3Plugin, ChangesAtSampleOffsetsAreSplitVst2Blocks) {
    const std::vector<Change> changes = {
        {0, 60, 0.0},        {0, 3, 0.05},        {100, 3, 0.01}, {100, 58, 0.6},     {100, 57, 1.0},
        {300, kBypass, 1.0}, {400, kBypass, 0.0}, {450, 59, 0.8}, {kBlock + 20, 1, 0.3},
    };
    EXPECT_EQ(ExpectSameOutput<float>(module, -1, changes), 0);
    EXPECT_EQ(ExpectSameOutput<double>(module, -1, changes), 0);
}

// The process context's tempo moves the synced taps, and the new tap times
// reach the host as output changes; a context without a tempo leaves them.
TEST_F(Vst3Plugin, ProcessContextTempoMovesTheSyncedTapsAndTellsTheHost) {
    Plugin plugin(module);
    ASSERT_TRUE(plugin.Ready());
    constexpr int kFrames = 2048;  // the plug-in looks for its own changes this often
    plugin.Prepare(kSample32, kFrames);
    Stereo<float> in(kFrames), out(kFrames);
    Changes sync;
    sync.Add(60, 0, 1.0);  // tempo sync on
    sync.Add(61, 0, 0.0);  // quarter notes
    struct Step {
        bool tempoValid;
        double bpm;
        const char* tap0;  // as reported, "" for no report
    };
    const Step steps[] = {{true, 100.0, "600.0"}, {true, 150.0, "400.0"}, {false, 90.0, ""}, {true, 120.0, "500.0"}};
    for (const Step& s : steps) {
        ProcessContext context = Tempo(s.bpm, s.tempoValid);
        plugin.Process(in.At(0), out.At(0), kFrames, &sync, &context);
        sync.Clear();
        const double reported = plugin.reported.Last(3);
        EXPECT_EQ(reported < 0 ? "" : plugin.Text(3, reported), s.tap0) << s.bpm;
    }
}

// The component state is the whole bank with its current program; the
// controller follows it; short, long and damaged streams change nothing.
TEST_F(Vst3Plugin, StateCarriesTheBankAndRefusesBadStreams) {
    Plugin edited(module), restored(module);
    ASSERT_TRUE(edited.Ready() && restored.Ready());
    edited.Prepare(kSample32, kBlock);
    edited.controller->setParamNormalized(kProgram, 5 / 63.0);
    Changes changes;
    changes.Add(3, 0, 0.125);
    changes.Add(kBypass, 0, 1.0);
    Stereo<float> in(kBlock), out(kBlock);
    edited.Process(in.At(0), out.At(0), kBlock, &changes);
    const std::string state = edited.State();
    ASSERT_EQ(state.size(), 8u + 17664u);

    ASSERT_EQ(restored.SetState(state), kResultOk);
    EXPECT_TRUE(restored.State() == state);
    for (IEditController* controller : {restored.controller, edited.controller}) {
        MemoryStream stream(state);
        ASSERT_EQ(controller->setComponentState(&stream), kResultOk);
        EXPECT_EQ(controller->getParamNormalized(kProgram), 5 / 63.0);
        EXPECT_EQ(controller->getParamNormalized(3), 0.125);
        EXPECT_EQ(controller->getParamNormalized(kBypass), 1.0);
        EXPECT_EQ(controller->getParamNormalized(kParamOnOff), 0.0);
    }

    std::string damaged = state;
    damaged[8 + 3] = '\x7f';  // the first value far outside 0..1
    const std::string bad[] = {state.substr(0, 100), state + "x", std::string(state.size(), '\x7f'), "", damaged};
    for (const std::string& bytes : bad) {
        EXPECT_EQ(restored.SetState(bytes), kResultFalse) << bytes.size() << " bytes";
        MemoryStream stream(bytes);
        EXPECT_EQ(restored.controller->setComponentState(&stream), kResultFalse) << bytes.size() << " bytes";
        EXPECT_TRUE(restored.State() == state) << bytes.size() << " bytes";
        EXPECT_EQ(restored.controller->getParamNormalized(3), 0.125);
    }
}

// The host's bypass and the effect's power switch are one: set either on the
// controller and the other follows; the processor reports a change of either
// as both.
TEST_F(Vst3Plugin, BypassAndPowerSwitchStayInStep) {
    Plugin plugin(module);
    ASSERT_TRUE(plugin.Ready());
    const struct {
        ParamID id;
        double value, bypass, power;
    } steps[] = {{kBypass, 1.0, 1.0, 0.0}, {kParamOnOff, 1.0, 0.0, 1.0}, {kParamOnOff, 0.0, 1.0, 0.0},
                 {kBypass, 0.0, 0.0, 1.0}};
    constexpr int kFrames = 2048;  // the plug-in looks for its own changes this often
    plugin.Prepare(kSample32, kFrames);
    Stereo<float> in(kFrames), out(kFrames);
    for (const auto& s : steps) {
        plugin.controller->setParamNormalized(s.id, s.value);
        EXPECT_EQ(plugin.controller->getParamNormalized(kBypass), s.bypass);
        EXPECT_EQ(plugin.controller->getParamNormalized(kParamOnOff), s.power);
        Changes change;
        change.Add(s.id, 0, s.value);
        plugin.Process(in.At(0), out.At(0), kFrames, &change);
        EXPECT_EQ(plugin.reported.Last(kBypass), s.bypass) << s.id << " " << s.value;
        EXPECT_EQ(plugin.reported.Last(kParamOnOff), s.power) << s.id << " " << s.value;
    }
}

}  // namespace
