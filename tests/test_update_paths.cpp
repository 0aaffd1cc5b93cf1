// The three ways a parameter changes (host automation, editor controls,
// typed values): what each stores, where in the program record, which tap
// hears it, and who is told.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/support/EffectUnderTest.h"

namespace {

float RecordSlot(EffectUnderTest& effect, int slot) {
    std::vector<unsigned char> bytes = effect.programBytes();
    float value;
    std::memcpy(&value, bytes.data() + 4 * slot, 4);
    return value;
}

// Left output of one block, with an impulse at sample 0 or silent.
std::vector<double> Block(EffectUnderTest& effect, int length, bool impulse = true) {
    std::vector<double> left(length, 0.0), right(length, 0.0), outLeft(length), outRight(length);
    left[0] = impulse ? 1.0 : 0.0;
    double* in[2] = {left.data(), right.data()};
    double* out[2] = {outLeft.data(), outRight.data()};
    effect->processDoubleReplacing(in, out, length);
    return outLeft;
}

class UpdatePaths : public ::testing::Test {
protected:
    void SetUp() override {
        effect->setSampleRate(44100.0f);
        effect->setBlockSize(4096);
        effect.calls.clear();
        effect.view.controls.clear();
    }
    IsolatedPreferences preferences;
    EffectUnderTest effect;
};

}  // namespace

TEST_F(UpdatePaths, RecordSlotsFollowTheRecordOrder) {
    // FilterGain k lands in slot 45+k, FilterQ k in 51+k, FilterON/OFF k in 39+k.
    for (int tap = 0; tap < 6; tap++) {
        effect->setParameter(39 + tap, 0.1f + tap * 0.01f);
        effect->setParameter(45 + tap, 0.3f + tap * 0.01f);
        effect->setParameter(51 + tap, 1.0f);
        EXPECT_EQ(RecordSlot(effect, 45 + tap), 0.1f + tap * 0.01f);
        EXPECT_EQ(RecordSlot(effect, 51 + tap), 0.3f + tap * 0.01f);
        EXPECT_EQ(RecordSlot(effect, 39 + tap), 1.0f);
    }
    // And a program load reads them back into the right parameters.
    effect->ProgramToInitial();
    ATapDelayProgram saved;
    std::memcpy(&saved, effect.programBytes().data(), sizeof saved);
    saved.values[45] = 0.25f;  // FilterGain0
    saved.values[51] = 0.75f;  // FilterQ0
    saved.values[39] = 1.0f;   // FilterON/OFF0
    effect->setChunk(&saved, sizeof saved, true);
    EXPECT_EQ(effect->getParameter(39), 0.25f);
    EXPECT_EQ(effect->getParameter(45), 0.75f);
    EXPECT_EQ(effect->getParameter(51), 1.0f);
    EXPECT_EQ(effect.display(39), "-6.0");
}

TEST_F(UpdatePaths, HostAutomationTellsTheWindowEditorControlsTheHost) {
    // Tempo settings from the host stay out of the record.
    effect->setParameter(61, 2.0f / 3.0f);
    effect->setParameter(60, 1.0f);
    EXPECT_EQ(effect.display(60), "ON");
    EXPECT_EQ(RecordSlot(effect, 60), 0.0f);
    EXPECT_EQ(RecordSlot(effect, 61), 0.0f);
    EXPECT_FALSE(effect->IsProgramChanged());

    effect.view.controls.clear();
    effect->setParameter(5, 0.5f);
    ASSERT_EQ(effect.view.controls.size(), 1u);
    EXPECT_EQ(effect.view.controls[0], std::make_pair(5, 0.5f));
    EXPECT_TRUE(effect.calls.empty());
    EXPECT_EQ(effect.display(5), "2000.0");
    EXPECT_EQ(RecordSlot(effect, 5), 0.5f);

    // Editor controls report to the host only.
    effect->setParameterFormUI(61, 2.0f);  // the note menu sends the note index
    EXPECT_EQ(effect.display(61), "16th");
    EXPECT_FLOAT_EQ(effect->getParameter(61), 2.0f / 3.0f);
    EXPECT_FLOAT_EQ(RecordSlot(effect, 61), 2.0f / 3.0f);
    ASSERT_EQ(effect.calls.size(), 1u);
    EXPECT_EQ(effect.calls[0].opcode, audioMasterAutomate);
    EXPECT_EQ(effect.calls[0].index, 61);
    EXPECT_EQ(effect.calls[0].opt, 2.0f);  // sent as it stands
    EXPECT_EQ(effect.view.controls.size(), 1u);
    effect->setParameterFormUI(60, 1.0f);
    EXPECT_EQ(RecordSlot(effect, 60), 1.0f);
    effect->setParameterFormUI(4, 0.125f);
    EXPECT_EQ(effect.display(4), "500.0");
    EXPECT_EQ(effect.calls.back().opt, 0.125f);
}

TEST_F(UpdatePaths, TypedValuesWorkBackwardsFromDisplayUnits) {
    effect->setParameter(59, 0.0f);
    effect->setParameterFromDiaplay(1, 12.0f);
    EXPECT_EQ(effect->getParameter(1), 1.0f);
    EXPECT_EQ(effect.display(1), "12.0");  // the typed value stays until another path writes
    EXPECT_EQ(RecordSlot(effect, 1), 1.0f);
    EXPECT_NEAR(Block(effect, 16)[0], 2.0, 1e-6);  // limited to the largest output gain

    // endEdit, then automation with the resulting normalised value.
    ASSERT_GE(effect.calls.size(), 2u);
    EXPECT_EQ(effect.calls[0].opcode, audioMasterEndEdit);
    EXPECT_EQ(effect.calls[0].index, 1);
    EXPECT_EQ(effect.calls[1].opcode, audioMasterAutomate);
    EXPECT_EQ(effect.calls[1].index, 1);
    EXPECT_EQ(effect.calls[1].opt, 1.0f);
    EXPECT_TRUE(effect.callsWithOpcode(audioMasterBeginEdit).empty());
    EXPECT_EQ(effect.view.controls.back(), std::make_pair(1, 1.0f));

    effect.calls.clear();
    effect->setParameterFromDiaplay(3, 250.0f);
    EXPECT_EQ(effect->getParameter(3), 250.0f / 4000.0f);
    EXPECT_EQ(effect.display(3), "250.0");
    EXPECT_EQ(effect.calls.back().opt, 250.0f / 4000.0f);

    effect->setParameterFromDiaplay(15, 25.0f);  // pan in 0..100
    EXPECT_EQ(effect->getParameter(15), 0.25f);
    effect->setParameterFromDiaplay(34, 2.0f);  // filter type by its index
    EXPECT_EQ(effect.display(34), "H-SH");
    EXPECT_EQ(effect->getParameter(34), 1.0f);
    effect->setParameterFromDiaplay(2, 3.0f);  // Input never exceeds unity
    EXPECT_EQ(effect->getParameter(2), 1.0f);
    effect->setParameterFromDiaplay(52, 1.0f);
    EXPECT_EQ(RecordSlot(effect, 40), 1.0f);
    effect->setParameterFromDiaplay(58, 40.0f);
    EXPECT_FLOAT_EQ(effect->getParameter(58), 0.4f);
}

TEST_F(UpdatePaths, TypedSwitchesTempoAndStrayIndicesChangeNothing) {
    for (int index : {0, 57, 60, 61}) {
        float before = effect->getParameter(index);
        effect.calls.clear();
        effect.view.controls.clear();
        effect->setParameterFromDiaplay(index, 0.5f);
        EXPECT_EQ(effect->getParameter(index), before) << index;
        // The window and the host still hear the value as it was passed.
        EXPECT_EQ(effect.view.controls.back(), std::make_pair(index, 0.5f));
        ASSERT_EQ(effect.calls.size(), 2u);
        EXPECT_EQ(effect.calls[1].opcode, audioMasterAutomate);
        EXPECT_EQ(effect.calls[1].opt, 0.5f);
    }
    EXPECT_FALSE(effect->IsProgramChanged());

    // Indices outside the table change nothing, but typed and editor values still reach the host.
    std::vector<unsigned char> before = effect.bankBytes();
    effect.calls.clear();
    effect->setParameter(62, 0.5f);
    effect->setParameter(-1, 0.5f);
    EXPECT_TRUE(effect.calls.empty());
    effect->setParameterFromDiaplay(62, 0.5f);
    effect->setParameterFormUI(-4, 0.5f);
    EXPECT_EQ(effect.bankBytes(), before);
    EXPECT_EQ(effect.callsWithOpcode(audioMasterAutomate).size(), 2u);
}

TEST_F(UpdatePaths, SettingTheSameDelayTimeClearsTheLineAgain) {
    effect->setParameter(59, 1.0f);
    effect->setParameter(3, 0.25f);  // 1000 ms: 44100 samples
    Block(effect, 1024);             // the impulse enters the line
    effect->setParameter(3, 0.25f);  // same time again
    double heard = 0.0;
    for (int block = 0; block < 44; block++)
        for (double s : Block(effect, 1024, false)) heard += std::fabs(s);
    EXPECT_EQ(heard, 0.0);
}

TEST_F(UpdatePaths, FeedbackAndSwitchesReachEveryTap) {
    effect->setParameter(59, 1.0f);
    effect->setParameter(1, (1.0f - 0.001f) / 1.999f);  // output about 0 dB
    effect->setParameter(9, 0.0f);  // a tap gain of 0 is the smallest gain, not silence
    EXPECT_NEAR(Block(effect, 1024)[441], 0.001, 1e-5);
    effect->setParameter(57, 1.0f);
    effect->setParameter(58, 1.0f);  // full feedback: the echo returns undiminished
    effect->setParameter(9, (1.0f - 0.001f) / 1.999f);
    std::vector<double> out = Block(effect, 2000);
    for (int echo : {441, 882, 1323}) EXPECT_NEAR(out[echo], 1.0, 1e-5) << echo;
    effect->setParameter(57, 0.0f);  // feedback off ignores the stored amount
    effect->setParameter(3, 0.0025f);
    out = Block(effect, 2000);
    EXPECT_NEAR(out[441], 1.0, 1e-5);
    EXPECT_EQ(out[882], 0.0);
}

TEST_F(UpdatePaths, ValuesOutsideTheRangesArePulledBackIn) {
    effect->setParameter(59, 1.0f);
    effect->setParameter(57, 1.0f);
    effect->setParameter(58, 40.0f);  // a feedback of 40 would explode
    EXPECT_EQ(effect->getParameter(58), 1.0f);
    effect->setParameter(15, -3.0f);
    EXPECT_EQ(effect->getParameter(15), 0.0f);
    effect->setParameter(46, NAN);
    EXPECT_EQ(effect->getParameter(46), 0.0f);
    EXPECT_EQ(effect.display(46), "0.3");
    effect->setParameterFromDiaplay(4, 99999.0f);  // typed far beyond 4000 ms
    EXPECT_EQ(effect.display(4), "4000.0");
    effect->setParameterFromDiaplay(40, 500.0f);
    EXPECT_EQ(effect.display(40), "12.0");
    effect->setParameterFromDiaplay(9, NAN);
    for (double s : Block(effect, 4096)) ASSERT_TRUE(std::isfinite(s));
}
