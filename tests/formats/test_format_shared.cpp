// What every format wrapper builds on: the host the effect sees (gestures,
// tempo, tail), the parameter texts, the bank as state bytes and
// sample-accurate block splitting.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "formats/shared/BankState.h"
#include "formats/shared/EffectHost.h"
#include "formats/shared/ParameterInfo.h"
#include "formats/shared/ParameterMirror.h"
#include "formats/shared/SplitRenderer.h"
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

// A host's generic control moves in 1 / StepCount steps: every step names
// another value, and together they reach all of them.
TEST(ParameterTexts, StepsReachEveryNamedValue) {
    const std::pair<int, std::vector<std::string>> lists[] = {
        {kParamDelayOnOff + 3, {"OFF", "ON"}},
        {kParamFilterType + 5, {"L-SH", "PK", "H-SH"}},
        {kParamSyncNote, {"Quarter", "8th", "16th", "32th"}},
        {ParameterInfo::kBypass, {"OFF", "ON"}},
    };
    for (const auto& [index, names] : lists) {
        const int steps = ParameterInfo::StepCount(index);
        ASSERT_EQ(steps + 1, (int)names.size()) << index;
        for (int step = 0; step <= steps; step++)
            EXPECT_EQ(ParameterInfo::Text(index, (float)step / (float)steps), names[step]) << index;
    }
    EXPECT_EQ(ParameterInfo::StepCount(kParamDelayTime), 0);
    EXPECT_TRUE(ParameterInfo::IsList(kParamSyncNote));
    EXPECT_FALSE(ParameterInfo::IsList(kParamTempoSync));
    EXPECT_EQ(ParameterInfo::Title(kParamFilterQ + 2), "FilterQ2");
    for (int index = 0; index < ParameterInfo::kCount; index++)
        EXPECT_LE(ParameterInfo::ShortTitle(index).size(), 8u) << index;
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

// Changes at frames 0, 17 (two), 40 and one past the end, against VST 2
// blocks cut at the same frames with the values set between them.
struct ScriptedChanges {
    struct Change {
        int frame, index;
        float value;
    };
    ATapDelay* effect;
    std::vector<Change> list;
    size_t next = 0;
    int NextFrame() { return next < list.size() ? list[next].frame : SplitRenderer::kNone; }
    void ApplyAt(int frame) {
        for (; next < list.size() && list[next].frame == frame; next++)
            effect->setParameter(list[next].index, list[next].value);
    }
};

template <class Sample>
void ExpectSplitEqualsCutBlocks(bool mono) {
    TempFolder preferences;
    setenv("XDG_CONFIG_HOME", preferences.path().c_str(), 1);
    EffectHost split(TAPDELAY_PLUGIN_DIR), cut(TAPDELAY_PLUGIN_DIR);
    for (EffectHost* h : {&split, &cut}) {
        h->SetSampleRate(44100.0);
        h->Effect().setBlockSize(64);
        h->Effect().resume();
        h->Effect().setProgram(8);
    }
    const std::vector<ScriptedChanges::Change> changes = {
        {0, kParamDelayTime, 0.01f}, {17, kParamFeedBack, 0.9f}, {17, kParamDelayGain, 0.7f},
        {40, kParamBalance, 0.0f},   {70, kParamOutput, 0.2f}};
    constexpr int kFrames = 64;
    std::vector<Sample> input(2 * kFrames), splitOut(2 * kFrames), cutOut(2 * kFrames);
    for (int n = 0; n < kFrames; n++) input[n] = input[kFrames + n] = (Sample)(n == 3 ? 1.0 : 0.01 * (n % 7));
    if (mono) std::fill(input.begin() + kFrames, input.end(), (Sample)0);  // never read
    const std::vector<Sample> original = input;
    Sample* in[2] = {&input[0], &input[kFrames]};
    Sample* out[2] = {&splitOut[0], &splitOut[kFrames]};
    ScriptedChanges script{&split.Effect(), changes};
    SplitRenderer renderer;
    for (int block = 0; block < 3; block++) {  // the feedback path needs a few blocks to show
        script.next = 0;
        renderer.Process(split.Effect(), in, mono ? 1 : 2, out, kFrames, script);
        EXPECT_EQ(input, original) << "inputs are never written";

        std::vector<Sample> cutIn = original;
        if (mono) std::copy(cutIn.begin(), cutIn.begin() + kFrames, cutIn.begin() + kFrames);
        int start = 0;
        size_t c = 0;
        for (int end : {0, 17, 40, kFrames}) {
            for (; c < changes.size() && changes[c].frame <= start; c++)
                cut.Effect().setParameter(changes[c].index, changes[c].value);
            if (end <= start) continue;
            Sample* i[2] = {&cutIn[start], &cutIn[kFrames + start]};
            Sample* o[2] = {&cutOut[start], &cutOut[kFrames + start]};
            if constexpr (sizeof(Sample) == 4)
                cut.Effect().processReplacing(i, o, end - start);
            else
                cut.Effect().processDoubleReplacing(i, o, end - start);
            start = end;
        }
        for (; c < changes.size(); c++) cut.Effect().setParameter(changes[c].index, changes[c].value);
        ASSERT_EQ(0, std::memcmp(splitOut.data(), cutOut.data(), sizeof(Sample) * 2 * kFrames)) << block;
    }
    EXPECT_EQ(split.Effect().getParameter(kParamOutput), 0.2f) << "the change past the end is kept";
}

TEST(SplitRenderer, CutsBlocksWhereChangesFallBitForBit) {
    ExpectSplitEqualsCutBlocks<float>(false);
    ExpectSplitEqualsCutBlocks<double>(false);
    ExpectSplitEqualsCutBlocks<double>(true);
    ExpectSplitEqualsCutBlocks<float>(true);
}

TEST_F(FormatShared, MirrorReportsOnlyWhatTheEffectChangedItself) {
    EffectHost host(TAPDELAY_PLUGIN_DIR);
    ParameterMirror mirror;
    mirror.KnowAll(host.Effect());
    host.Effect().setParameter(kParamBalance, 0.75f);
    mirror.Know(kParamBalance, 0.75f);  // the host set it: nothing to tell
    host.Effect().setProgram(1);
    std::vector<int> told;
    mirror.TellChanges(host.Effect(), [&](int index, float value) {
        EXPECT_EQ(value, host.Effect().getParameter(index));
        told.push_back(index);
    });
    EXPECT_FALSE(told.empty());
    told.clear();
    mirror.TellChanges(host.Effect(), [&](int index, float) { told.push_back(index); });
    EXPECT_TRUE(told.empty());
}

}  // namespace
