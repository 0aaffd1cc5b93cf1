// The parameter table: mappings between normalised, internal and display
// values, names, labels and display texts of all 62 parameters, and the three
// ways a value changes (host automation, editor controls, typed values).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "effect/ParamTable.h"
#include "tests/support/EffectUnderTest.h"

namespace {

// 6 dB per doubling, computed independently of the plug-in's helpers.
double Db(double linear) { return 6.0 * std::log2(linear); }

struct Mapping {
    int index;
    float from;
    double to, tolerance;  // 0: exact
};

float RecordSlot(EffectUnderTest& effect, int slot) {
    float value;
    std::memcpy(&value, effect.programBytes().data() + 4 * slot, 4);
    return value;
}

}  // namespace

TEST(ParamMapping, NormalisedToInternalAndBackAndTheRanges) {
    const Mapping toInternal[] = {
        {1, 0.0f, -59.79, 0.01}, {1, 0.0f, Db((double)0.001f), 1e-4}, {1, 1.0f, 6.0, 0}, {2, 1.0f, 0.0, 0},
        {9, 0.5f, Db(1.999 * 0.5 + 0.001), 1e-4}, {3, 0.5f, 2000.0, 0}, {27, 0.0f, 20.0, 0}, {27, 1.0f, 20000.0, 0},
        {45, 0.5f, 0.3 + 9.7 * 0.5, 1e-5}, {39, 0.5f, 0.0, 0},
        // Out of range normalised values are clamped to the table range.
        {3, 1.5f, 4000.0, 0}, {3, -0.5f, 0.0, 0}, {62, 0.5f, 0.0, 0}, {-1, 0.5f, 0.0, 0},
        // Stepped values round to the nearest step, never beyond the maximum.
        {61, 0.5f, 2.0, 0}, {61, 0.16f, 0.0, 0}, {61, 2.0f / 3.0f, 2.0, 0}, {61, 1.0f, 3.0, 0}, {61, 7.0f, 3.0, 0},
        {61, -3.0f, 0.0, 0}, {33, 0.5f, 1.0, 0}, {33, 0.24f, 0.0, 0}, {0, 0.49f, 0.0, 0}, {0, 0.5f, 1.0, 0},
        {61, NAN, 0.0, 0}};
    for (const Mapping& m : toInternal)
        EXPECT_NEAR(NormalizeValToInternalVal(m.index, m.from), m.to, m.tolerance) << m.index << " at " << m.from;
    const Mapping toNormalised[] = {
        {62, 3.0f, 0.0, 0}, {-1, 3.0f, 0.0, 0}, {3, 5000.0f, 1.0, 0}, {3, -1.0f, 0.0, 0}, {3, 1000.0f, 0.25, 0},
        {61, 6.0f, 2.0, 0},  // stepped values are not clamped
        {33, 1.0f, 0.5, 0}, {1, 1.0f, 0.999 / 1.999, 1e-7}, {2, 1.0f, 1.0, 0}, {45, 1.0f, 0.7 / 9.7, 1e-7},
        {27, 1000.0f, 980.0 / 19980.0, 1e-7}, {39, 0.0f, 0.5, 0}, {15, 50.0f, 0.5, 0}};
    for (const Mapping& m : toNormalised)
        EXPECT_NEAR(ValToNormalizeValue(m.index, m.from), m.to, m.tolerance) << m.index << " at " << m.from;
    const Mapping ranges[] = {  // index, maximum, minimum and its tolerance
        {1, 6.0f, -59.79, 0.01}, {2, 0.0f, -59.79, 0.01}, {12, 6.0f, -59.79, 0.01},
        {3, 4000.0f, 0.0, 0},    {46, 10.0f, 0.3, 1e-7},  {40, 12.0f, -12.0, 0}};
    for (const Mapping& r : ranges) {
        float min = 1, max = 1;
        GetParamMinMax(r.index, &min, &max);
        EXPECT_NEAR(min, r.to, r.tolerance) << r.index;
        EXPECT_EQ(max, r.from) << r.index;
    }
    EXPECT_EQ(NormalizeValToDWValue(60, 1.0f), 0u);
}

class ParameterTexts : public ::testing::Test {
protected:
    IsolatedPreferences preferences;
    PluginUnderTest plugin{false};
};

// Labels of all 62 are checked with the parameter properties.
TEST_F(ParameterTexts, NamesOfAllParameters) {
    const char* groups[] = {"DelayTime", "DelayGain", "DelayPan", "DelayON/OFF", "FilterCutoff",
                            "FilterType", "FilterGain", "FilterQ", "FilterON/OFF"};
    for (int group = 0; group < 9; group++)
        for (int tap = 0; tap < 6; tap++) EXPECT_EQ(plugin.name(3 + group * 6 + tap), groups[group] + std::to_string(tap));
    const std::pair<int, const char*> others[] = {
        {0, "ON/OFF"},   {1, "Output"},     {2, "Input"},     {57, "FeedBackON/OFF"}, {58, "FeedBack"},
        {59, "Balance"}, {60, "TempoSync"}, {61, "SyncNote"}, {62, ""}};  // outside the table: empty
    for (const auto& [index, name] : others) EXPECT_EQ(plugin.name(index), name) << index;
    EXPECT_EQ(plugin.text(effGetParamLabel, -3), "");
}

// One or more texts of every kind of parameter; every value set reads back.
TEST_F(ParameterTexts, DisplayTexts) {
    for (int index = 0; index < 62; index++)
        for (float n : {0.1f, 0.73f}) {
            plugin.setParameter(index, n);
            EXPECT_EQ(plugin.getParameter(index), n) << index;
        }
    // A linear 0.999 is -0.0087 dB, which "%.1f" writes as "-0.0": hidden only for Output and Input.
    const float nearUnity = (float)((0.999 - 0.001) / 1.999);
    const std::tuple<int, float, const char*> cases[] = {
        {1, 0.0f, "-59.8"},     {1, 1.0f, "6.0"},      {2, 1.0f, "0.0"},
        {33, 0.25f, "PK"},  // rounds to the peaking band
        {61, 0.5f, "16th"},     {61, 1.0f, "32th"},    {61, 0.16f, "Quarter"},
        {0, 0.5f, "OFF"},  // a switch is on only at exactly 1.0
        {21, NAN, "OFF"},       {1, nearUnity, "0.0"}, {9, nearUnity, "-0.0"},
        {2, (float)((0.999 - 0.001) / 0.999), "0.0"},
        {1, 0.25f, "-6.0"},     {2, 0.25f, "-12.0"},   {9, 0.73f, "3.3"},      {3, 0.25f, "1000.0"},
        {15, 0.73f, "73.0"},    {21, 1.0f, "ON"},      {27, 0.5f, "10010.0"},  {33, 0.0f, "L-SH"},
        {34, 1.0f, "H-SH"},     {39, 0.25f, "-6.0"},   {45, 0.1f, "1.3"},      {51, 1.0f, "ON"},
        {57, 0.5f, "OFF"},      {58, 0.73f, "73.0"},   {59, 0.1f, "10.0"},     {60, 1.0f, "ON"},
        {61, 0.25f, "8th"},     {61, 0.0f, "Quarter"}};
    for (const auto& [index, n, text] : cases) {
        plugin.setParameter(index, n);
        EXPECT_EQ(plugin.display(index), text) << index << " at " << n;
    }
    // Indices outside the table read 0 and show nothing; setting them does no harm.
    plugin.setParameter(62, 0.5f);
    plugin.setParameter(-1, 0.5f);
    EXPECT_EQ(plugin.getParameter(62), 0.0f);
    EXPECT_EQ(plugin.getParameter(-1), 0.0f);
    EXPECT_EQ(plugin.display(62), "");
}

// Host automation tells the window, editor controls and typed values tell the
// host; what each stores, and in which slot of the program record.
TEST(ParameterPaths, EachPathStoresInItsSlotAndTellsTheOtherSide) {
    IsolatedPreferences preferences;
    EffectUnderTest effect;
    // FilterGain k lands in slot 45+k, FilterQ k in 51+k, FilterON/OFF k in 39+k.
    for (int tap = 0; tap < 6; tap++) {
        effect->setParameter(39 + tap, 0.1f + tap * 0.01f);
        effect->setParameter(45 + tap, 0.3f + tap * 0.01f);
        effect->setParameter(51 + tap, 1.0f);
        EXPECT_EQ(RecordSlot(effect, 45 + tap), 0.1f + tap * 0.01f);
        EXPECT_EQ(RecordSlot(effect, 51 + tap), 0.3f + tap * 0.01f);
        EXPECT_EQ(RecordSlot(effect, 39 + tap), 1.0f);
    }
    // Tempo settings from the host stay out of the record; from the editor they go in.
    effect->ProgramToInitial();  // unchanged again: only what follows counts
    effect.calls.clear();
    effect.view.controls.clear();
    effect->setParameter(60, 1.0f);
    effect->setParameter(61, 1.0f);
    EXPECT_EQ(RecordSlot(effect, 60) + RecordSlot(effect, 61), 0.0f);
    EXPECT_FALSE(effect->IsProgramChanged());
    EXPECT_TRUE(effect.calls.empty());
    EXPECT_EQ(effect.view.controls.back(), std::make_pair(61, 1.0f));
    effect->setParameterFormUI(60, 1.0f);
    EXPECT_EQ(RecordSlot(effect, 60), 1.0f);

    // A typed value: endEdit, then automation with the resulting normalised value.
    effect.calls.clear();
    effect->setParameterFromDiaplay(3, 250.0f);
    ASSERT_EQ(effect.calls.size(), 2u);
    EXPECT_EQ(effect.calls[0].opcode, audioMasterEndEdit);
    EXPECT_EQ(effect.calls[1].opcode, audioMasterAutomate);
    EXPECT_EQ(effect.calls[1].index, 3);
    EXPECT_EQ(effect.calls[1].opt, 250.0f / 4000.0f);
    EXPECT_EQ(effect.view.controls.back(), std::make_pair(3, 250.0f / 4000.0f));
}

// Typed values work backwards from display units, out of range and NaN are
// pulled in, and display values are what a typed entry starts from.
TEST(ParameterPaths, TypedAndOutOfRangeValuesBecomeNormalisedOnesAndBack) {
    IsolatedPreferences preferences;
    EffectUnderTest effect;
    const std::tuple<int, float, float> typed[] = {
        {1, 12.0f, 1.0f},   {2, 3.0f, 1.0f},  // Input never exceeds unity
        {15, 25.0f, 0.25f}, {34, 2.0f, 1.0f},  // pan in 0..100, filter type by its index
        {58, 40.0f, 0.4f},  {4, 99999.0f, 1.0f}, {40, 500.0f, 1.0f}, {46, NAN, 0.0f}};
    for (const auto& [index, value, normalised] : typed) {
        effect->setParameterFromDiaplay(index, value);
        EXPECT_FLOAT_EQ(effect->getParameter(index), normalised) << index;
    }
    const std::tuple<int, float, float> automated[] = {{58, 40.0f, 1.0f}, {15, -3.0f, 0.0f}, {46, NAN, 0.0f}};
    for (const auto& [index, value, normalised] : automated) {
        effect->setParameter(index, value);
        EXPECT_EQ(effect->getParameter(index), normalised) << index;
    }

    // What a typed entry starts from: display values of the editor paths.
    effect->setParameter(3, 0.25f);  // 1000 ms
    EXPECT_FLOAT_EQ(effect->getParameterDisplayVal(3), 1000.05f);
    effect->setParameter(39, 0.0f);  // -12 dB
    EXPECT_FLOAT_EQ(effect->getParameterDisplayVal(39), -12.05f);
    effect->setParameter(45, 1.0f);  // Q 10
    EXPECT_FLOAT_EQ(effect->getParameterDisplayVal(51), 10.0f);  // a filter switch answers its Q
    effect->setParameter(34, 1.0f);
    EXPECT_EQ(effect->getParameterDisplayVal(34), 2.0f);  // filter type, unbiased
    effect->setParameter(22, 1.0f);
    EXPECT_EQ(effect->getParameterDisplayVal(22), 1.0f);
    effect->setParameter(61, 0.5f);
    EXPECT_EQ(effect->getParameterDisplayVal(61), 2.0f);
    // A note index of 4 or more has no name and leaves the caller's text alone.
    effect->setParameterFormUI(61, 5.0f);
    char text[32] = "keep";
    effect->getParameterDisplay(61, text);
    EXPECT_STREQ(text, "keep");
    effect->setParameterFormUI(61, 1.0f);
    EXPECT_EQ(effect.display(61), "8th");

    // Typed switches, tempo settings and indices outside the table change
    // nothing, but the window and the host still hear the value as passed.
    std::vector<unsigned char> before = effect.bankBytes();
    effect.calls.clear();
    for (int index : {0, 57, 60, 61, 62}) {
        effect->setParameterFromDiaplay(index, 0.5f);
        EXPECT_EQ(effect.calls.back().opt, 0.5f) << index;
    }
    effect->setParameterFormUI(-4, 0.5f);
    effect->setParameter(-1, 0.5f);
    EXPECT_EQ(effect.bankBytes(), before);
    EXPECT_EQ(effect.callsWithOpcode(audioMasterAutomate).size(), 6u);
}
