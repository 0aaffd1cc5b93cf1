// The built TapDelay.clap through a CLAP host of our own: what it tells a
// host (descriptor, extensions, every parameter with its texts), audio
// bit-identical to the VST 2 plug-in with a block split wherever a CLAP event
// falls, the transport's tempo, the state, and what goes back to the host.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <set>

#include "formats/shared/DisplayUnits.h"
#include "formats/shared/ParameterInfo.h"
#include "tests/clap/ClapTestHost.h"
#include "tests/support/PluginUnderTest.h"
#include "TapDelayVersion.h"

namespace {

constexpr int kBypass = ParameterInfo::kBypass;
constexpr uint32_t kBlock = 512;
constexpr double kRate = 44100.0;

// The VST 2 value a CLAP value stands for; bypass is the power switch reversed.
void SetVst2(PluginUnderTest& vst2, int index, double plain) {
    if (index == kBypass)
        vst2.setParameter(kParamOnOff, plain >= 0.5 ? 0.0f : 1.0f);
    else if (ParameterInfo::StepCount(index) > 0)
        vst2.setParameter(index, DisplayUnits::ToNormalised(index, (float)plain));
    else
        vst2.setParameter(index, (float)plain);
}

// An impulse over noise that swells and falls, left and right apart.
struct Signal {
    explicit Signal(size_t frames) : left(frames), right(frames) {
        uint32_t seed = 1;
        for (size_t i = 0; i < frames; i++) {
            seed = seed * 1664525u + 1013904223u;
            const float noise = ((seed >> 9) / 8388608.0f - 1.0f) * ((i / 4000) % 3 == 1 ? 0.5f : 0.05f);
            left[i] = i == 10 ? 1.0f : noise;
            right[i] = -0.5f * noise;
        }
    }
    std::vector<float> left, right;
};

// A change at a frame: a parameter (CLAP value) or, with index -1, a tempo.
struct Change {
    uint32_t frame;
    int index;
    double value;
};

template <class Sample>
using Stereo = std::pair<std::vector<Sample>, std::vector<Sample>>;

// The VST 2 plug-in processing `signal` in blocks of kBlock, split at every change.
template <class Sample>
Stereo<Sample> RenderVst2(PluginUnderTest& vst2, const Signal& signal, const std::vector<Change>& changes) {
    const size_t frames = signal.left.size();
    std::vector<Sample> inL(signal.left.begin(), signal.left.end()), inR(signal.right.begin(), signal.right.end());
    Stereo<Sample> out{std::vector<Sample>(frames), std::vector<Sample>(frames)};
    size_t next = 0;
    for (size_t done = 0; done < frames;) {
        for (; next < changes.size() && changes[next].frame <= done; next++) {
            if (changes[next].index < 0)
                vst2.giveTempo(changes[next].value);
            else
                SetVst2(vst2, changes[next].index, changes[next].value);
        }
        size_t end = std::min(frames, (done / kBlock + 1) * kBlock);
        if (next < changes.size()) end = std::min<size_t>(end, changes[next].frame);
        // The double path works on its inputs in place: copies go in.
        std::vector<Sample> l(&inL[done], &inL[end]), r(&inR[done], &inR[end]);
        Sample* in[2] = {l.data(), r.data()};
        Sample* o[2] = {&out.first[done], &out.second[done]};
        if constexpr (sizeof(Sample) == 4)
            vst2.effect()->processReplacing(vst2.effect(), in, o, (VstInt32)(end - done));
        else
            vst2.effect()->processDoubleReplacing(vst2.effect(), in, o, (VstInt32)(end - done));
        done = end;
    }
    return out;
}

// The CLAP plug-in on the same signal, each change an event in its block.
template <class Sample>
Stereo<Sample> RenderClap(ClapInstance& clap, const Signal& signal, const std::vector<Change>& changes) {
    const size_t frames = signal.left.size();
    std::vector<Sample> inL(signal.left.begin(), signal.left.end()), inR(signal.right.begin(), signal.right.end());
    Stereo<Sample> out{std::vector<Sample>(frames), std::vector<Sample>(frames)};
    EventList events;
    for (size_t done = 0; done < frames; done += kBlock) {
        const uint32_t count = (uint32_t)std::min<size_t>(kBlock, frames - done);
        events.Clear();
        for (const Change& c : changes)
            if (c.frame >= done && c.frame < done + count) {
                if (c.index < 0)
                    events.Tempo(c.frame - (uint32_t)done, c.value);
                else
                    events.Value(c.frame - (uint32_t)done, (clap::Id)c.index, c.value);
            }
        Sample* in[2] = {&inL[done], &inR[done]};
        Sample* o[2] = {&out.first[done], &out.second[done]};
        EXPECT_EQ(clap.Process(in, o, count, events), clap::kProcessContinue);
    }
    return out;
}

// A TapDelay state (the CLAP plug-in's own header) holding the VST 2 plug-in's bank.
std::string StateOf(ClapInstance& clap, PluginUnderTest& vst2) {
    void* bank = nullptr;
    const VstIntPtr size = vst2.dispatch(effGetChunk, 0, 0, &bank);
    std::string state = clap.State();
    return state.substr(0, state.size() - (size_t)size) + std::string(static_cast<const char*>(bank), (size_t)size);
}

class ClapPlugin : public ::testing::Test {
protected:
    // The VST 2 plug-in as the CLAP one starts: with the factory bank from
    // its own folder, ready to process.
    void StartVst2() {
        vst2.directoryAnswer = "";
        vst2.dispatch(effOpen);
        vst2.prepare((float)kRate, kBlock);
    }

    IsolatedPreferences preferences;  // no user bank, before any instance
    ClapTestHost host;
    PluginUnderTest vst2{false};
};

TEST_F(ClapPlugin, DescriptorAndExtensions) {
    ASSERT_NE(host.factory, nullptr);
    EXPECT_EQ(host.entry->clapVersion.major, 1u);
    ASSERT_EQ(host.factory->getPluginCount(host.factory), 1u);
    EXPECT_EQ(host.factory->getPluginDescriptor(host.factory, 1), nullptr);
    const clap::PluginDescriptor* d = host.factory->getPluginDescriptor(host.factory, 0);
    EXPECT_STREQ(d->id, "org.tapdelay.TapDelay");
    EXPECT_STREQ(d->name, "TapDelay");
    EXPECT_STREQ(d->vendor, "VELDOTEK Co.,Ltd.");
    EXPECT_STREQ(d->version, TAPDELAY_VERSION);
    std::vector<std::string> features;
    for (const char* const* f = d->features; *f; f++) features.push_back(*f);
    EXPECT_EQ(features, (std::vector<std::string>{"audio-effect", "delay", "stereo"}));
    EXPECT_EQ(host.factory->createPlugin(host.factory, &host.host, "org.tapdelay.Other"), nullptr);

    ClapInstance clap(host);
    ASSERT_NE(clap.plugin, nullptr);
    for (const char* id : {clap::kExtAudioPorts, clap::kExtParams, clap::kExtState, clap::kExtLatency,
                           clap::kExtTail, clap::kExtRender, clap::kExtGui, clap::kExtTimerSupport,
                           clap::kExtPosixFdSupport})
        EXPECT_NE(clap.Ext<void>(id), nullptr) << id;
    EXPECT_EQ(clap.Ext<void>("clap.note-ports"), nullptr);
    auto ports = clap.Ext<clap::PluginAudioPorts>(clap::kExtAudioPorts);
    for (bool input : {true, false}) {
        EXPECT_EQ(ports->count(clap.plugin, input), 1u);
        clap::AudioPortInfo info;
        ASSERT_TRUE(ports->get(clap.plugin, 0, input, &info));
        EXPECT_EQ(info.channelCount, 2u);
        EXPECT_STREQ(info.portType, "stereo");
        EXPECT_TRUE(info.flags & clap::kAudioPortIsMain);
        EXPECT_FALSE(ports->get(clap.plugin, 1, input, &info));
    }
    clap.Start();
    EXPECT_EQ(clap.Ext<clap::PluginLatency>(clap::kExtLatency)->get(clap.plugin), 0u);
    // The tail: the longest tap that is on (at most 4 s), endless with feedback.
    auto tail = clap.Ext<clap::PluginTail>(clap::kExtTail);
    EventList events;
    events.Value(0, kParamFeedBackOnOff, 0.0);
    clap.Flush(events);
    EXPECT_GT(tail->get(clap.plugin), 0u);
    EXPECT_LE(tail->get(clap.plugin), 4 * 44100u);
    events.Clear();
    events.Value(0, kParamFeedBackOnOff, 1.0);
    clap.Flush(events);
    EXPECT_GE(tail->get(clap.plugin), (uint32_t)INT32_MAX);
    auto render = clap.Ext<clap::PluginRender>(clap::kExtRender);
    EXPECT_FALSE(render->hasHardRealtimeRequirement(clap.plugin));
    EXPECT_TRUE(render->set(clap.plugin, clap::kRenderOffline));
}

// Every parameter: its description, and every value a host's control can
// reach (each step of the stepped ones) with the editor's text, which reads
// back to the same value.
TEST_F(ClapPlugin, EveryParameterAndItsTexts) {
    ClapInstance clap(host);
    ASSERT_NE(clap.plugin, nullptr);
    ASSERT_EQ(clap.params->count(clap.plugin), (uint32_t)ParameterInfo::kCount);
    clap::ParamInfo info;
    EXPECT_FALSE(clap.params->getInfo(clap.plugin, ParameterInfo::kCount, &info));
    for (int index = 0; index < ParameterInfo::kCount; index++) {
        SCOPED_TRACE(ParameterInfo::Title(index));
        ASSERT_TRUE(clap.params->getInfo(clap.plugin, index, &info));
        const int steps = ParameterInfo::StepCount(index);
        EXPECT_EQ(info.id, (clap::Id)index);
        EXPECT_EQ(info.name, ParameterInfo::Title(index));
        EXPECT_EQ(info.flags, clap::kParamIsAutomatable | (steps ? clap::kParamIsStepped : 0u) |
                                  (ParameterInfo::IsList(index) ? clap::kParamIsEnum : 0u) |
                                  (index == kBypass ? clap::kParamIsBypass : 0u));
        EXPECT_EQ(info.minValue, 0.0);
        EXPECT_EQ(info.maxValue, steps ? steps : 1.0);
        EXPECT_EQ(info.defaultValue, clap.Value(index));

        std::vector<double> values = {0.0, 0.25, 0.5, 0.75, 1.0};
        if (steps) {
            values.clear();
            for (int step = 0; step <= steps; step++) values.push_back(step);
        }
        std::set<std::string> texts;
        for (double value : values) {
            EventList events;
            events.Value(0, index, value);
            clap.Flush(events);
            EXPECT_EQ(clap.Value(index), value);
            const float normalised = index == kBypass ? (float)value
                                     : steps           ? DisplayUnits::ToNormalised(index, (float)value)
                                                       : (float)value;
            const std::string text = clap.Text(index, value);
            EXPECT_EQ(text, ParameterInfo::Text(index, normalised)) << value;
            double parsed = -1.0;
            ASSERT_TRUE(clap.params->textToValue(clap.plugin, index, text.c_str(), &parsed)) << text;
            EXPECT_EQ(clap.Text(index, parsed), text);
            texts.insert(text);
        }
        if (steps) {
            EXPECT_EQ(texts.size(), (size_t)steps + 1);  // every state apart
        }
        double parsed = 0.0;
        EXPECT_FALSE(clap.params->textToValue(clap.plugin, index, "fast", &parsed));
    }
    // Ids that do not exist, values out of range.
    double value = 0.0;
    char text[8];
    EXPECT_FALSE(clap.params->getValue(clap.plugin, ParameterInfo::kCount, &value));
    EXPECT_FALSE(clap.params->valueToText(clap.plugin, 999, 0.5, text, sizeof text));
    EventList events;
    events.Value(0, kParamFeedBack, NAN);
    events.Value(0, kParamBalance, 7.0);
    events.Value(0, kParamSyncNote, -3.0);
    events.Value(0, 999, 1.0);
    clap.Flush(events);
    EXPECT_EQ(clap.Value(kParamFeedBack), 0.0);
    EXPECT_EQ(clap.Value(kParamBalance), 1.0);
    EXPECT_EQ(clap.Value(kParamSyncNote), 0.0);
}

// The CLAP plug-in and the VST 2 plug-in, each on the same program of the
// factory bank, in single and double precision, sound bit for bit alike.
struct RenderCase {
    int program;
    bool doublePrecision;
};
void PrintTo(const RenderCase& c, std::ostream* out) { *out << c.program << (c.doublePrecision ? " double" : " float"); }

class ClapRenders : public ClapPlugin, public ::testing::WithParamInterface<RenderCase> {};

TEST_P(ClapRenders, AsTheVst2PluginDoes) {
    StartVst2();
    vst2.setProgram(GetParam().program);
    ClapInstance clap(host);
    ASSERT_TRUE(clap.Load(StateOf(clap, vst2)));
    clap.Start(kRate, kBlock);
    const Signal signal(3 * (size_t)kRate / 2);
    if (GetParam().doublePrecision)
        EXPECT_TRUE(RenderClap<double>(clap, signal, {}) == RenderVst2<double>(vst2, signal, {}));
    else
        EXPECT_TRUE(RenderClap<float>(clap, signal, {}) == RenderVst2<float>(vst2, signal, {}));
}

INSTANTIATE_TEST_SUITE_P(Programs, ClapRenders,
                         ::testing::Values(RenderCase{0, false}, RenderCase{0, true}, RenderCase{1, false},
                                           RenderCase{5, true}, RenderCase{9, false}, RenderCase{17, true}),
                         [](const ::testing::TestParamInfo<RenderCase>& info) {
                             return "Program" + std::to_string(info.param.program) +
                                    (info.param.doublePrecision ? "Double" : "Float");
                         });

// Events at their frames inside blocks, tempo from transport events among
// them: the same sound as the VST 2 plug-in with its blocks cut there.
TEST_F(ClapPlugin, EventsTakeEffectAtTheirFrameAsInSplitVst2Blocks) {
    const std::vector<Change> changes = {
        {0, kParamTempoSync, 1.0},  {0, -1, 120.0},          {100, kParamDelayTime + 1, 0.02},
        {100, kParamFilterType, 2}, {101, kParamDelayGain, 0.8}, {300, kBypass, 1.0},
        {511, kBypass, 0.0},        {700, -1, 90.0},          {701, kParamSyncNote, 2},
        {1030, kParamFeedBackOnOff, 1}, {1030, kParamFeedBack, 0.4}, {1500, kParamDelayOnOff + 2, 0},
    };
    StartVst2();
    ClapInstance clap(host);
    clap.Start(kRate, kBlock);
    const Signal signal(20000);
    EXPECT_TRUE(RenderClap<float>(clap, signal, changes) == RenderVst2<float>(vst2, signal, changes));
}

// The transport's tempo moves the synced taps, and the host hears of the
// tap times the effect changed by itself.
TEST_F(ClapPlugin, TransportTempoDrivesTempoSyncAndTheHostHearsTheTaps) {
    ClapInstance clap(host);
    clap.Start();
    EventList events;
    events.Value(0, kParamTempoSync, 1.0);
    events.Value(0, kParamSyncNote, 0.0);
    std::vector<float> silence(kBlock);
    float* in[2] = {silence.data(), silence.data()};
    std::vector<float> l(kBlock), r(kBlock);
    float* out[2] = {l.data(), r.data()};
    std::vector<EventList::Out> told;
    for (auto [bpm, quarter] : {std::pair{100.0, "600.0"}, {150.0, "400.0"}}) {
        clap.Process(in, out, kBlock, events, bpm);
        events.Clear();
        EXPECT_EQ(clap.Text(kParamDelayTime, clap.Value(kParamDelayTime)), quarter) << bpm;
        for (const EventList::Out& e : events.Taken())
            if (e.id == kParamDelayTime + 5) told.push_back(e);
    }
    // Tap 5 waits six quarter notes: 3600 ms, then 2400 ms.
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(clap.Text(kParamDelayTime + 5, told[0].value), "3600.0");
    EXPECT_EQ(told[1].value, clap.Value(kParamDelayTime + 5));
}

// The state brings back the bank and the current program; anything else is
// refused whole and changes nothing.
TEST_F(ClapPlugin, StateRoundTripAndBadStreams) {
    ClapInstance edited(host), restored(host);
    EventList events;
    events.Value(0, kParamDelayTime, 0.125);
    events.Value(0, kParamFilterType + 2, 1);
    events.Value(0, kBypass, 1);
    edited.Flush(events);
    const std::string saved = edited.State();
    const std::string fresh = restored.State();
    ASSERT_EQ(saved.size(), fresh.size());
    EXPECT_NE(saved, fresh);
    const int rescans = host.rescans;
    ASSERT_TRUE(restored.Load(saved));
    EXPECT_EQ(host.rescans, rescans + 1);
    EXPECT_EQ(restored.State(), saved);
    for (int index = 0; index < ParameterInfo::kCount; index++) EXPECT_EQ(restored.Value(index), edited.Value(index));

    std::string damaged = saved;
    float nan = NAN;
    std::memcpy(&damaged[saved.size() - 200], &nan, sizeof nan);
    for (const std::string& bad : {std::string(), saved.substr(0, 100), saved.substr(0, saved.size() - 1),
                                   saved + '\0', std::string(saved.size(), 'x'), "TDst" + saved.substr(4, 4) + fresh,
                                   std::string("XDst") + saved.substr(4), damaged}) {
        ClapInstance target(host);
        const std::string before = target.State();
        EXPECT_FALSE(target.Load(bad)) << bad.size() << " bytes";
        EXPECT_EQ(target.State(), before);
    }
    // A stream that fails on read or write.
    const clap::IStream failing{nullptr, [](const clap::IStream*, void*, uint64_t) -> int64_t { return -1; }};
    EXPECT_FALSE(restored.Ext<clap::PluginState>(clap::kExtState)->load(restored.plugin, &failing));
    const clap::OStream full{nullptr, [](const clap::OStream*, const void*, uint64_t) -> int64_t { return 0; }};
    EXPECT_FALSE(restored.Ext<clap::PluginState>(clap::kExtState)->save(restored.plugin, &full));
}

// Flush works without processing (inactive, or active and idle) as process
// does: values applied, and the other side of bypass and the power switch
// told to the host. A session's values restated after its state, to six
// digits, leave the state exact.
TEST_F(ClapPlugin, FlushAndWhatTheHostIsTold) {
    ClapInstance clap(host);
    EventList events;
    events.Value(0, kBypass, 1.0);
    clap.Flush(events);
    ASSERT_EQ(events.Taken().size(), 1u);
    EXPECT_EQ(events.Taken()[0].id, (clap::Id)kParamOnOff);
    EXPECT_EQ(events.Taken()[0].value, 0.0);
    clap.Start(kRate, kBlock, false);
    events.Clear();
    events.Value(0, kParamOnOff, 1.0);
    clap.Flush(events);
    ASSERT_EQ(events.Taken().size(), 1u);
    EXPECT_EQ(events.Taken()[0].id, (clap::Id)kBypass);
    EXPECT_EQ(events.Taken()[0].value, 0.0);

    // Qtractor's reload: the state, then every value as it printed it.
    events.Clear();
    events.Value(0, kParamDelayTime, 0.123456789);
    events.Value(0, kParamFeedBack, 0.987654321);
    clap.Flush(events);
    const std::string saved = clap.State();
    ClapInstance reloaded(host);
    ASSERT_TRUE(reloaded.Load(saved));
    events.Clear();
    for (int index = 0; index < ParameterInfo::kCount; index++) {
        char text[32];
        std::snprintf(text, sizeof text, "%g", (float)clap.Value(index));
        events.Value(0, index, std::atof(text));
    }
    reloaded.Flush(events);
    EXPECT_EQ(reloaded.State(), saved);
    EXPECT_TRUE(events.Taken().empty());
    // Later the same values are values like any other.
    reloaded.Flush(events);
    EXPECT_EQ(reloaded.Value(kParamDelayTime), (double)0.123457f);
}

}  // namespace
