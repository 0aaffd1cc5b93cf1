// Where tempo sync takes the host tempo from, through the built plug-in: the
// time info when it carries a tempo, never audioMasterTempoAt (a host call
// from the audio thread), with the answers real hosts give (no time info, no tempo flag, a tempo of 0, Ardour's
// BPM x 1000, no answer at all).
#include <gtest/gtest.h>

#include <cctype>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "effect/ATapDelayProgram.h"
#include "tests/support/PluginUnderTest.h"

namespace {

using Texts = std::vector<std::string>;

const Texts kEighthsAt120 = {"250.0", "500.0", "750.0", "1000.0", "1250.0", "1500.0"};
const Texts kUnchanged = {"10.0", "10.0", "10.0", "10.0", "10.0", "10.0"};

struct HostAnswers {
    const char* what;
    bool timeInfo;      // audioMasterGetTime answers a record (else null)
    VstInt32 flags;     // the record's flags
    double tempo;       // the record's tempo
    VstIntPtr tempoAt;  // the audioMasterTempoAt answer, never asked
    Texts taps;         // the six tap times afterwards ("8th" notes)
};

void PrintTo(const HostAnswers& host, std::ostream* out) { *out << host.what; }

const VstInt32 kPlaying = kVstTransportPlaying | kVstPpqPosValid | kVstBarsValid;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

const HostAnswers kHosts[] = {
    {"time info at 120", true, kPlaying | kVstTempoValid, 120.0, 0, kEighthsAt120},
    {"time info at 120, TempoAt x 1000 (Ardour 7)", true, kPlaying | kVstTempoValid, 120.0,
     120000, kEighthsAt120},
    {"time info without the tempo flag", true, kPlaying, 90.0, 1200000, kUnchanged},
    {"time info with a tempo of 0", true, kPlaying | kVstTempoValid, 0.0, 1200000, kUnchanged},
    {"time info with a negative tempo", true, kVstTempoValid, -120.0, 1200000, kUnchanged},
    {"time info with a tempo that is not a number", true, kVstTempoValid, kNaN, 1200000,
     kUnchanged},
    {"no time info, TempoAt as documented", false, 0, 0.0, 1200000, kUnchanged},
    {"no time info, TempoAt 0", false, 0, 0.0, 0, kUnchanged},
};

class TempoSource : public ::testing::TestWithParam<HostAnswers> {
protected:
    void SetUp() override {
        plugin.prepare(44100.0f, 512);
        plugin.setParameter(61, 1.0f / 3.0f);  // "8th"
        plugin.setParameter(60, 1.0f);
    }

    IsolatedPreferences preferences;
    PluginUnderTest plugin;
};

}  // namespace

TEST_P(TempoSource, TapTimes) {
    const HostAnswers& host = GetParam();
    plugin.timeInfoGiven = host.timeInfo;
    plugin.timeInfo.tempo = host.tempo;
    plugin.timeInfo.flags = host.flags;
    plugin.timeInfo.sampleRate = 44100.0;
    plugin.tempoAnswer = host.tempoAt;
    plugin.clearCalls();
    std::vector<double> left(256, 0.0), right(256, 0.0), outLeft, outRight;
    plugin.processDouble(left, right, outLeft, outRight);

    for (int tap = 0; tap < 6; tap++) EXPECT_EQ(plugin.display(3 + tap), host.taps[tap]) << tap;
    // One question for the time info per block, asking for the tempo.
    auto getTime = plugin.callsWithOpcode(audioMasterGetTime);
    ASSERT_EQ(getTime.size(), 1u);
    EXPECT_EQ(getTime[0].value & kVstTempoValid, kVstTempoValid);
    EXPECT_TRUE(plugin.callsWithOpcode(audioMasterTempoAt).empty());
    EXPECT_TRUE(plugin.callsWithOpcode(audioMasterAutomate).empty());
}

INSTANTIATE_TEST_SUITE_P(Hosts, TempoSource, ::testing::ValuesIn(kHosts),
                         [](const ::testing::TestParamInfo<HostAnswers>& info) {
                             std::string name;
                             for (const char* c = info.param.what; *c; c++)
                                 if (std::isalnum((unsigned char)*c)) name += *c;
                             return name;
                         });

TEST(TempoSync, EveryNoteValueTempoChangesAndTheFourSecondLimit) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
    plugin.prepare(44100.0f, 512);
    plugin.giveTempo(30.0);  // a 2000 ms quarter
    plugin.setParameter(60, 1.0f);
    // Targets of 4000 ms or more are skipped: those taps keep their times.
    const std::pair<float, Texts> notes[] = {
        {0.0f, {"2000.0", "10.0", "10.0", "10.0", "10.0", "10.0"}},               // Quarter
        {1.0f / 3.0f, {"1000.0", "2000.0", "3000.0", "10.0", "10.0", "10.0"}},    // 8th
        {2.0f / 3.0f, {"500.0", "1000.0", "1500.0", "2000.0", "2500.0", "3000.0"}},  // 16th
        {1.0f, {"250.0", "500.0", "750.0", "1000.0", "1250.0", "1500.0"}},        // 32th
    };
    std::vector<double> left(64, 0.0), right(64, 0.0), outLeft, outRight;
    for (const auto& [note, taps] : notes) {
        plugin.setParameter(61, note);
        plugin.processDouble(left, right, outLeft, outRight);
        for (int tap = 0; tap < 6; tap++) EXPECT_EQ(plugin.display(3 + tap), taps[tap]) << note << " " << tap;
    }
    // The host slows to 24 BPM: the taps follow, and the program's record carries the times.
    plugin.giveTempo(24.0);
    plugin.processDouble(left, right, outLeft, outRight);
    EXPECT_EQ(plugin.display(3), "312.5");
    void* data = nullptr;
    ASSERT_EQ(plugin.dispatch(effGetChunk, 1, 0, &data), 276);
    EXPECT_FLOAT_EQ(static_cast<float*>(data)[SlotOfParam(3)], 312.5f / 4000.0f);
    // Tempo sync at anything but exactly 1.0 does not follow, nor ask.
    plugin.giveTempo(120.0);
    plugin.setParameter(60, 0.99f);
    plugin.clearCalls();
    plugin.processDouble(left, right, outLeft, outRight);
    EXPECT_EQ(plugin.display(3), "312.5");
    EXPECT_TRUE(plugin.callsWithOpcode(audioMasterTempoAt).empty());
}
