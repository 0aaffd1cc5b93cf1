// What every format wrapper builds on: the host the effect sees (gestures,
// tempo, tail), the parameter texts and the bank as state bytes. The formats'
// own tests render through it with changes inside blocks, step through the
// parameters and hear the effect's own changes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "formats/shared/BankState.h"
#include "formats/shared/EffectHost.h"
#include "formats/shared/ParameterInfo.h"
#include "tests/support/TempFolder.h"

namespace {

class FormatShared : public ::testing::Test {
protected:
    void SetUp() override { setenv("XDG_CONFIG_HOME", preferences.path().c_str(), 1); }

    TempFolder preferences;
};

// What a format wrapper would hear, as one line per call.
struct Recorder : EffectListener {
    void BeginEdit(int index) override { heard += "B" + std::to_string(index) + " "; }
    void Edited(int index, float value) override {
        char text[48];
        std::snprintf(text, sizeof text, "E%d=%g ", index, value);
        heard += text;
    }
    void EndEdit(int index) override { heard += "N" + std::to_string(index) + " "; }
    bool ResizeRequested(int width, int height) override {
        heard += "R" + std::to_string(width) + "x" + std::to_string(height) + " ";
        return true;
    }
    void DisplayChanged() override { heard += "D "; }
    std::string heard;
};

TEST_F(FormatShared, EditorGesturesReachTheWrapperWellFormed) {
    EffectHost host(TAPDELAY_PLUGIN_DIR);
    ATapDelay& effect = host.Effect();
    Recorder recorder;
    host.SetListener(&recorder);
    struct Case {
        const char* what;
        std::function<void()> act;
        const char* heard;
    };
    const Case cases[] = {
        {"a drag", [&] {
             effect.beginEdit(kParamFeedBack);
             effect.setParameterFormUI(kParamFeedBack, 0.25f);
             effect.setParameterFormUI(kParamFeedBack, 0.5f);
             effect.endEdit(kParamFeedBack);
         }, "B58 E58=0.25 E58=0.5 N58 "},
        // The entry field ends its edit before it sends the value.
        {"typed entry", [&] { effect.setParameterFromDiaplay(kParamDelayTime, 250.0f); },
         "B3 E3=0.0625 N3 "},
        // The note menu sends the note itself; the host hears the normalised value.
        {"note menu", [&] { effect.setParameterFormUI(kParamSyncNote, 3.0f); }, "B61 E61=1 N61 "},
        {"end without a begin", [&] { effect.endEdit(kParamBalance); }, ""},
        {"a bad index", [&] {
             effect.beginEdit(kNumParams);
             effect.setParameterFormUI(-1, 1.0f);
         }, ""},
        {"the Size menu", [&] { effect.sizeWindow(1200, 540); }, "R1200x540 "},
        {"a program copied in the editor", [&] { effect.CopyPgFrom(1); }, "D "},
    };
    for (const Case& c : cases) {
        recorder.heard.clear();
        c.act();
        host.FlushGestures();
        EXPECT_EQ(recorder.heard, c.heard) << c.what;
    }
    // A drag still held when the editor closes is ended then.
    recorder.heard.clear();
    effect.beginEdit(kParamOutput);
    host.FlushGestures();
    host.FlushGestures(true);
    EXPECT_EQ(recorder.heard, "B1 N1 ");
    host.SetListener(nullptr);
}

TEST_F(FormatShared, TempoAndTailFollowTheEffect) {
    EffectHost host(TAPDELAY_PLUGIN_DIR);
    ATapDelay& effect = host.Effect();
    host.SetSampleRate(48000.0);
    effect.setBlockSize(64);
    effect.resume();
    float in[2][64] = {}, out[2][64] = {};
    float* i[2] = {in[0], in[1]};
    float* o[2] = {out[0], out[1]};
    effect.setParameter(kParamTempoSync, 1.0f);
    effect.setParameter(kParamSyncNote, 0.0f);  // quarter notes
    for (double tempo : {0.0, -5.0, (double)NAN}) {  // no tempo: the taps stay
        host.SetTempo(tempo);
        effect.processReplacing(i, o, 64);
        EXPECT_FLOAT_EQ(NormalizeValToInternalVal(kParamDelayTime, effect.getParameter(kParamDelayTime)), 500.0f);
    }
    host.SetTempo(100.0);
    effect.processReplacing(i, o, 64);
    EXPECT_FLOAT_EQ(NormalizeValToInternalVal(kParamDelayTime + 1, effect.getParameter(kParamDelayTime + 1)), 1200.0f);

    effect.setParameter(kParamFeedBackOnOff, 1.0f);
    EXPECT_EQ(host.TailFrames(), EffectHost::kInfiniteTail);
    effect.setParameter(kParamFeedBackOnOff, 0.0f);
    effect.setParameter(kParamTempoSync, 0.0f);
    for (int tap = 0; tap < kNumTaps; tap++) effect.setParameter(kParamDelayOnOff + tap, tap == 1 ? 1.0f : 0.0f);
    EXPECT_EQ(host.TailFrames(), 57600u);  // tap 1 at 1200 ms
    effect.setParameter(kParamDelayOnOff + 1, 0.0f);
    EXPECT_EQ(host.TailFrames(), 0u);
}

TEST(ParameterTexts, AreTheEditorsAndTypedTextComesBack) {
    struct Case {
        int index;
        float normalised;
        const char* text;
        const char* typed;   // what a user might type for it
    };
    const Case cases[] = {
        {kParamOnOff, 1.0f, "ON", "on"},
        {kParamOnOff, 0.0f, "OFF", "0"},
        {kParamOutput, 0.766547f, "3.7", "3.7 dB"},
        {kParamInput, 1.0f, "0.0", "0"},
        {kParamDelayTime + 2, 0.0625f, "250.0", "250ms"},
        {kParamDelayPan, 0.5f, "50.0", "50"},
        {kParamFilterType + 4, 0.5f, "PK", "pk"},
        {kParamFilterType, 1.0f, "H-SH", "2"},
        {kParamSyncNote, 1.0f, "32th", "32th"},
        {kParamFeedBack, 0.4f, "40.0", "40 %"},
        {ParameterInfo::kBypass, 1.0f, "ON", "ON"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ParameterInfo::Text(c.index, c.normalised), c.text) << c.index;
        float parsed = -1.0f;
        ASSERT_TRUE(ParameterInfo::Parse(c.index, c.typed, &parsed)) << c.typed;
        EXPECT_EQ(ParameterInfo::Text(c.index, parsed), c.text) << c.typed;
    }
    const std::pair<int, const char*> refused[] = {
        {kParamDelayTime, "fast"}, {kParamDelayTime, "250 Hz"}, {kParamDelayTime, ""},
        {kParamFilterType, "3"},   {kParamSyncNote, "Whole"},   {kParamOnOff, "maybe"},
        {kNumParams + 5, "1"},
    };
    for (auto [index, text] : refused) {
        float untouched = 0.25f;
        EXPECT_FALSE(ParameterInfo::Parse(index, text, &untouched)) << index << " " << text;
        EXPECT_EQ(untouched, 0.25f);
    }
    // Typed values land where the editor's entry field puts them, within range.
    float value = 0.0f;
    ASSERT_TRUE(ParameterInfo::Parse(kParamDelayTime, "99999", &value));
    EXPECT_EQ(value, 1.0f);
    EXPECT_EQ(ParameterInfo::Clamp(NAN), 0.0f);
    EXPECT_EQ(ParameterInfo::Clamp(7.0f), 1.0f);
}

TEST_F(FormatShared, BankStateRoundTripsAndRefusesWhatIsNotOurs) {
    EffectHost first(TAPDELAY_PLUGIN_DIR), second(TAPDELAY_PLUGIN_DIR);
    first.Effect().setProgram(7);
    first.Effect().setParameter(kParamBalance, 0.125f);
    first.Effect().setParameter(kParamTempoSync, 0.0f);  // not in the effect's record, in the state
    std::vector<uint8_t> state(BankState::kBytes);
    BankState::Save(first.Effect(), state.data());
    ASSERT_TRUE(BankState::Restore(second.Effect(), state.data(), state.size()));
    EXPECT_EQ(second.Effect().getProgram(), 7);
    EXPECT_EQ(second.Effect().getParameter(kParamBalance), 0.125f);
    EXPECT_EQ(second.Effect().getParameter(kParamTempoSync), 0.0f);
    std::vector<uint8_t> again(BankState::kBytes);
    BankState::Save(second.Effect(), again.data());
    EXPECT_EQ(again, state);

    auto damaged = [&](size_t at, const void* bytes, size_t n) {
        std::vector<uint8_t> copy = state;
        std::memcpy(copy.data() + at, bytes, n);
        return copy;
    };
    const float nan = NAN, big = 1.5f;
    const int32_t program64 = 64;
    const char unterminated[24] = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x',
                                   'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    const size_t bank = BankState::kHeaderBytes;
    const std::pair<const char*, std::vector<uint8_t>> refused[] = {
        {"short", std::vector<uint8_t>(state.begin(), state.end() - 1)},
        {"long", [&] { auto s = state; s.push_back(0); return s; }()},
        {"other header", damaged(0, "TDsx", 4)},
        {"newer layout", damaged(4, "\x02", 1)},
        {"a NaN value", damaged(bank + 5 * kProgramBytes + 8, &nan, 4)},
        {"a value above 1", damaged(bank + 63 * kProgramBytes, &big, 4)},
        {"no such program", damaged(bank + kProgramValueBytes + 24, &program64, 4)},
        {"a name without its end", damaged(bank + 9 * kProgramBytes + kProgramValueBytes, unterminated, 24)},
        {"zeros", std::vector<uint8_t>(BankState::kBytes, 0)},
    };
    second.Effect().setProgram(2);
    std::vector<uint8_t> before(BankState::kBytes), after(BankState::kBytes);
    BankState::Save(second.Effect(), before.data());
    for (const auto& [what, bytes] : refused) {
        EXPECT_FALSE(BankState::Restore(second.Effect(), bytes.data(), bytes.size())) << what;
        BankState::Save(second.Effect(), after.data());
        EXPECT_EQ(after, before) << what;
    }
    EXPECT_FALSE(BankState::Restore(second.Effect(), nullptr, BankState::kBytes));
}

}  // namespace
