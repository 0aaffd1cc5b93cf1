// TapDelay.clap in the tests' own host: what a host is told, audio bit for bit
// as the VST 2 plug-in's with its blocks cut where CLAP events fall, the
// transport's tempo, the state, and what goes back to the host.
#include <gtest/gtest.h>

#include <cmath>

#include "TapDelayVersion.h"
#include "formats/shared/BankState.h"
#include "formats/shared/DisplayUnits.h"
#include "formats/shared/ParameterInfo.h"
#include "tests/clap/ClapTestHost.h"
#include "tests/support/Vst2Reference.h"

namespace {

constexpr int kBypass = ParameterInfo::kBypass, kTempo = Vst2Reference::kTempo;
constexpr uint32_t kBlock = 512;

// The effect's normalised value for a CLAP value (stepped ones count steps) or tempo.
double Normalised(int index, double plain) {
    return ParameterInfo::StepCount(index) && index != kBypass ? DisplayUnits::ToNormalised(index, (float)plain)
                                                               : plain;
}

class ClapPlugin : public ::testing::Test {
protected:
    IsolatedPreferences preferences;  // no user bank
    ClapTestHost clap;
};

TEST_F(ClapPlugin, DescriptorPortsAndExtensions) {
    ASSERT_EQ(clap.factory->getPluginCount(clap.factory), 1u);
    EXPECT_EQ(clap.factory->getPluginDescriptor(clap.factory, 1), nullptr);
    EXPECT_EQ(clap.factory->createPlugin(clap.factory, &clap.host, "org.tapdelay.Other"), nullptr);
    const clap::PluginDescriptor* d = clap.factory->getPluginDescriptor(clap.factory, 0);
    std::string told = std::to_string(d->clapVersion.major) + " " + d->id + " " + d->name + " " + d->vendor;
    for (const char* const* f = d->features; *f; f++) told += std::string(" ") + *f;
    EXPECT_EQ(told + " " + d->version,
              "1 org.tapdelay.TapDelay TapDelay VELDOTEK Co.,Ltd. audio-effect delay stereo " TAPDELAY_VERSION);

    for (const char* id : {clap::kExtAudioPorts, clap::kExtParams, clap::kExtState, clap::kExtLatency, clap::kExtTail,
                           clap::kExtRender, clap::kExtGui, clap::kExtTimerSupport, clap::kExtPosixFdSupport})
        EXPECT_NE(clap.Ext<void>(id), nullptr) << id;
    auto ports = clap.Ext<clap::PluginAudioPorts>(clap::kExtAudioPorts);
    for (bool input : {true, false}) {
        clap::AudioPortInfo info;
        EXPECT_EQ(ports->count(clap.plugin, input), 1u);
        EXPECT_FALSE(ports->get(clap.plugin, 1, input, &info));
        ASSERT_TRUE(ports->get(clap.plugin, 0, input, &info));
        EXPECT_EQ(info.channelCount, 2u);
        EXPECT_STREQ(info.portType, "stereo");
        EXPECT_TRUE(info.flags & clap::kAudioPortIsMain);
    }
}

// Every parameter's description, and every value a host's control reaches
// (each step of the stepped ones) kept, with the editor's text, which reads
// back to the same text. Unknown ids are refused, values pulled into range.
TEST_F(ClapPlugin, EveryParameterItsValuesAndTexts) {
    ASSERT_EQ(clap.params->count(clap.plugin), (uint32_t)ParameterInfo::kCount);
    clap::ParamInfo info;
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
        for (double value = 0.0; value <= info.maxValue; value += steps ? 1.0 : 0.25) {
            clap.Set(index, value);
            EXPECT_EQ(clap.Value(index), value);
            const std::string text = clap.Text(index, value);
            EXPECT_EQ(text, ParameterInfo::Text(index, (float)Normalised(index, value))) << value;
            double parsed = -1.0;
            ASSERT_TRUE(clap.params->textToValue(clap.plugin, index, text.c_str(), &parsed)) << text;
            EXPECT_EQ(clap.Text(index, parsed), text);
        }
    }
    double value = 0.0;
    char text[8];
    EXPECT_FALSE(clap.params->getInfo(clap.plugin, ParameterInfo::kCount, &info));
    EXPECT_FALSE(clap.params->getValue(clap.plugin, ParameterInfo::kCount, &value));
    EXPECT_FALSE(clap.params->valueToText(clap.plugin, 999, 0.5, text, sizeof text));
    EXPECT_FALSE(clap.params->textToValue(clap.plugin, 999, "1", &value));
    EXPECT_EQ(clap.Set(999, 1.0), "");
    for (auto [id, sent, kept] :
         {std::tuple{kParamFeedBack, (double)NAN, 0.0}, {kParamBalance, 7.0, 1.0}, {kParamSyncNote, -3.0, 0.0}}) {
        clap.Set(id, sent);
        EXPECT_EQ(clap.Value(id), kept) << id;
    }
}

// Each factory program (-1: the one the plug-in opens with), and two with
// events at their frames (values, tempos), render bit for bit as the VST 2
// plug-in with its blocks cut at the events.
TEST(ClapRenders, AsTheVst2PluginWithBlocksCutAtEvents) {
    IsolatedPreferences preferences;
    const Vst2Reference::Change kEvents[] = {  // CLAP values
        {0, kParamTempoSync, 1.0},      {0, kTempo, 120.0},          {100, kParamDelayTime + 1, 0.02},
        {100, kParamFilterType, 2},     {101, kParamDelayGain, 0.8}, {300, kBypass, 1.0},
        {511, kBypass, 0.0},            {700, kTempo, 90.0},         {701, kParamSyncNote, 2},
        {1030, kParamFeedBackOnOff, 1}, {1030, kParamFeedBack, 0.4}, {1500, kParamDelayOnOff + 2, 0},
    };
    for (auto [program, doublePrecision, events] : {std::tuple{-1, false, false}, {-1, true, false}, {1, false, false},
                                                    {5, true, false}, {9, false, false}, {17, true, false},
                                                    {-1, false, true}, {9, true, true}}) {
        SCOPED_TRACE(std::to_string(program) + (doublePrecision ? " double" : " float") + (events ? " events" : ""));
        Vst2Reference vst2(kBlock);
        ClapTestHost clap;
        if (program >= 0) {  // a state holding the VST 2 plug-in's bank at that program
            vst2.setProgram(program);
            void* bank = nullptr;
            const size_t size = (size_t)vst2.dispatch(effGetChunk, 0, 0, &bank);
            ASSERT_TRUE(clap.Load(clap.State().substr(0, BankState::kHeaderBytes) + std::string((char*)bank, size)));
        }
        clap.Start(44100.0, kBlock);
        std::vector<Vst2Reference::Change> changes;
        auto render = [&](auto in) {
            decltype(in) out(in.left.size());
            for (uint32_t done = 0; done < in.left.size(); done += kBlock) {
                for (const auto& e : kEvents)
                    if (events && e.frame >= done && e.frame < done + kBlock) {
                        clap.Send(e.frame - done, e.index, e.value);
                        changes.push_back({e.frame, e.index, Normalised(e.index, e.value)});
                    }
                EXPECT_EQ(clap.Process(in.At(done), out.At(done), kBlock), clap::kProcessContinue);
            }
            EXPECT_TRUE(out == vst2.Render(in, changes));
        };
        doublePrecision ? render(TestSignal<double>(128 * kBlock)) : render(TestSignal<float>(128 * kBlock));
    }
}

// The transport's tempo moves the synced taps (quarter notes: tap n waits
// n + 1 of them), and the host hears of the tap times the effect changed.
TEST_F(ClapPlugin, TransportTempoMovesTheSyncedTapsAndTheHostHearsThem) {
    clap.Start();
    clap.Send(0, kParamTempoSync, 1.0);
    clap.Send(0, kParamSyncNote, 0.0);
    Stereo<float> in(kBlock), out(kBlock);
    clap.Process(in.At(0), out.At(0), kBlock, 100.0);
    EXPECT_EQ(clap.Heard(), "3=0.15 4=0.3 5=0.45 6=0.6 7=0.75 8=0.9");
    clap.Process(in.At(0), out.At(0), kBlock, 150.0);
    EXPECT_EQ(clap.Heard(), "3=0.1 4=0.2 5=0.3 6=0.4 7=0.5 8=0.6");
}

// The state brings back the bank and the current program, read in pieces;
// a short, long or foreign stream, or one that fails, changes nothing.
TEST_F(ClapPlugin, StateRoundTripAndBadStreams) {
    ClapTestHost restored;
    clap.Set(kParamFilterType + 2, 1);
    clap.Set(kBypass, 1);
    const std::string saved = clap.State();
    EXPECT_NE(saved, restored.State());
    ASSERT_TRUE(restored.Load(saved));
    EXPECT_EQ(restored.rescans, 1);
    EXPECT_EQ(restored.State(), saved);
    for (int index = 0; index < ParameterInfo::kCount; index++) EXPECT_EQ(restored.Value(index), clap.Value(index));

    for (const std::string& bad :
         {std::string(), saved.substr(0, saved.size() - 1), saved + '\0', std::string(saved.size(), 'x')}) {
        EXPECT_FALSE(clap.Load(bad)) << bad.size() << " bytes";
        EXPECT_EQ(clap.State(), saved);
    }
    auto state = clap.Ext<clap::PluginState>(clap::kExtState);
    const clap::IStream failing{nullptr, [](const clap::IStream*, void*, uint64_t) -> int64_t { return -1; }};
    EXPECT_FALSE(state->load(clap.plugin, &failing));
    const clap::OStream full{nullptr, [](const clap::OStream*, const void*, uint64_t) -> int64_t { return 0; }};
    EXPECT_FALSE(state->save(clap.plugin, &full));
}

// Flush, inactive or idle, tells the host the other side of bypass and the
// power switch. A session's values restated after its state to six digits
// leave the state exact; later the same values are values like any other.
TEST_F(ClapPlugin, FlushBypassInStepAndValuesRestatedAfterAState) {
    EXPECT_EQ(clap.Set(kBypass, 1.0), "0=0");
    clap.Start(44100.0, kBlock, false);
    EXPECT_EQ(clap.Set(kParamOnOff, 1.0), "62=0");
    clap.Set(kParamDelayTime, 0.123456789);
    const std::string saved = clap.State();
    ClapTestHost reloaded;
    ASSERT_TRUE(reloaded.Load(saved));
    for (int index = 0; index < ParameterInfo::kCount; index++) {
        char text[32];
        std::snprintf(text, sizeof text, "%g", (float)clap.Value(index));
        reloaded.Send(0, index, std::atof(text));
    }
    reloaded.Flush();
    EXPECT_EQ(reloaded.State(), saved);
    EXPECT_EQ(reloaded.Heard(), "");
    reloaded.Set(kParamDelayTime, 0.123457);
    EXPECT_EQ(reloaded.Value(kParamDelayTime), (double)0.123457f);
}

}  // namespace
