// The parameter table: mappings between normalised, internal and display
// values, names, labels and display texts of all 62 parameters.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "effect/ATapDelay.h"
#include "effect/ParamTable.h"
#include "tests/support/PluginUnderTest.h"

namespace {

// 6 dB per doubling, computed independently of the plug-in's helpers.
double Db(double linear) { return 6.0 * std::log2(linear); }

std::string Fixed1(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

}  // namespace

TEST(ParamMapping, NormalisedToInternal) {
    EXPECT_NEAR(NormalizeValToInternalVal(1, 0.0f), -59.79, 0.01);
    EXPECT_NEAR(NormalizeValToInternalVal(1, 0.0f), Db((double)0.001f), 1e-4);
    EXPECT_EQ(NormalizeValToInternalVal(1, 1.0f), 6.0f);
    EXPECT_EQ(NormalizeValToInternalVal(2, 1.0f), 0.0f);
    EXPECT_NEAR(NormalizeValToInternalVal(9, 0.5f), Db(1.999 * 0.5 + 0.001), 1e-4);
    EXPECT_EQ(NormalizeValToInternalVal(3, 0.5f), 2000.0f);
    EXPECT_EQ(NormalizeValToInternalVal(27, 0.0f), 20.0f);
    EXPECT_EQ(NormalizeValToInternalVal(27, 1.0f), 20000.0f);
    EXPECT_NEAR(NormalizeValToInternalVal(45, 0.5f), 0.3 + 9.7 * 0.5, 1e-5);
    EXPECT_EQ(NormalizeValToInternalVal(39, 0.5f), 0.0f);
    // Out of range normalised values are clamped to the table range.
    EXPECT_EQ(NormalizeValToInternalVal(3, 1.5f), 4000.0f);
    EXPECT_EQ(NormalizeValToInternalVal(3, -0.5f), 0.0f);
    EXPECT_EQ(NormalizeValToInternalVal(62, 0.5f), 0.0f);
    EXPECT_EQ(NormalizeValToInternalVal(-1, 0.5f), 0.0f);
}

TEST(ParamMapping, SteppedValuesRoundToTheNearestStep) {
    EXPECT_EQ(NormalizeValToInternalVal(61, 0.5f), 2.0f);  // "16th"
    EXPECT_EQ(NormalizeValToInternalVal(61, 0.16f), 0.0f);
    EXPECT_EQ(NormalizeValToInternalVal(61, 2.0f / 3.0f), 2.0f);
    EXPECT_EQ(NormalizeValToInternalVal(61, 1.0f), 3.0f);  // "32th"
    EXPECT_EQ(NormalizeValToInternalVal(61, 7.0f), 3.0f);  // never beyond the maximum
    EXPECT_EQ(NormalizeValToInternalVal(61, -3.0f), 0.0f);
    EXPECT_EQ(NormalizeValToInternalVal(33, 0.5f), 1.0f);
    EXPECT_EQ(NormalizeValToInternalVal(33, 0.24f), 0.0f);
    EXPECT_EQ(NormalizeValToInternalVal(0, 0.49f), 0.0f);
    EXPECT_EQ(NormalizeValToInternalVal(0, 0.5f), 1.0f);
    EXPECT_EQ(NormalizeValToInternalVal(61, NAN), 0.0f);
}

TEST(ParamMapping, InternalToNormalised) {
    EXPECT_EQ(ValToNormalizeValue(62, 3.0f), 0.0f);
    EXPECT_EQ(ValToNormalizeValue(-1, 3.0f), 0.0f);
    EXPECT_EQ(ValToNormalizeValue(3, 5000.0f), 1.0f);
    EXPECT_EQ(ValToNormalizeValue(3, -1.0f), 0.0f);
    EXPECT_EQ(ValToNormalizeValue(3, 1000.0f), 0.25f);
    EXPECT_EQ(ValToNormalizeValue(61, 6.0f), 2.0f);  // stepped values are not clamped
    EXPECT_EQ(ValToNormalizeValue(33, 1.0f), 0.5f);
    EXPECT_NEAR(ValToNormalizeValue(1, 1.0f), 0.999 / 1.999, 1e-7);
    EXPECT_EQ(ValToNormalizeValue(2, 1.0f), 1.0f);
    EXPECT_NEAR(ValToNormalizeValue(45, 1.0f), 0.7 / 9.7, 1e-7);
    EXPECT_NEAR(ValToNormalizeValue(27, 1000.0f), 980.0 / 19980.0, 1e-7);
    EXPECT_EQ(ValToNormalizeValue(39, 0.0f), 0.5f);
    EXPECT_EQ(ValToNormalizeValue(15, 50.0f), 0.5f);
}

TEST(ParamMapping, RangesInInternalUnits) {
    float min = 1, max = 1;
    GetParamMinMax(1, &min, &max);
    EXPECT_NEAR(min, -59.79, 0.01);
    EXPECT_EQ(max, 6.0f);
    GetParamMinMax(2, &min, &max);
    EXPECT_NEAR(min, -59.79, 0.01);
    EXPECT_EQ(max, 0.0f);
    GetParamMinMax(12, &min, &max);
    EXPECT_EQ(max, 6.0f);
    GetParamMinMax(3, &min, &max);
    EXPECT_EQ(min, 0.0f);
    EXPECT_EQ(max, 4000.0f);
    GetParamMinMax(46, &min, &max);
    EXPECT_FLOAT_EQ(min, 0.3f);
    EXPECT_EQ(max, 10.0f);
    GetParamMinMax(40, &min, &max);
    EXPECT_EQ(min, -12.0f);
    EXPECT_EQ(max, 12.0f);
    EXPECT_EQ(NormalizeValToDWValue(60, 1.0f), 0u);
}

class ParameterTexts : public ::testing::Test {
protected:
    IsolatedPreferences preferences;
    PluginUnderTest plugin{false};
};

TEST_F(ParameterTexts, NamesAndLabelsOfAllParameters) {
    const char* groups[] = {"DelayTime", "DelayGain", "DelayPan", "DelayON/OFF", "FilterCutoff",
                            "FilterType", "FilterGain", "FilterQ", "FilterON/OFF"};
    const char* groupLabels[] = {"ms", "dB", "", "", "Hz", "", "dB", "", ""};
    EXPECT_EQ(plugin.name(0), "ON/OFF");
    EXPECT_EQ(plugin.name(1), "Output");
    EXPECT_EQ(plugin.name(2), "Input");
    for (int group = 0; group < 9; group++)
        for (int tap = 0; tap < 6; tap++) {
            int index = 3 + group * 6 + tap;
            EXPECT_EQ(plugin.name(index), groups[group] + std::to_string(tap));
            EXPECT_EQ(plugin.label(index), groupLabels[group]) << index;
        }
    const char* tail[] = {"FeedBackON/OFF", "FeedBack", "Balance", "TempoSync", "SyncNote"};
    const char* tailLabels[] = {"", "%", "%", "", ""};
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(plugin.name(57 + i), tail[i]);
        EXPECT_EQ(plugin.label(57 + i), tailLabels[i]);
    }
    EXPECT_EQ(plugin.label(0), "");
    EXPECT_EQ(plugin.label(1), "dB");
    EXPECT_EQ(plugin.label(2), "dB");
    EXPECT_EQ(plugin.label(62), "");
    EXPECT_EQ(plugin.label(-3), "");
}

TEST_F(ParameterTexts, DisplayOfEveryParameterAtSeveralValues) {
    // Expected texts from the documented mappings, computed here.
    auto linear = [](double min, double max, float n) {
        double v = (double)(float)(max - min) * n + min;
        return std::fmin(std::fmax(v, min), max);
    };
    auto expected = [&](int index, float n) -> std::string {
        bool isSwitch = index == 0 || (index >= 21 && index <= 26) || (index >= 51 && index <= 56) ||
                        index == 57 || index == 60;
        if (isSwitch) return n == 1.0f ? "ON" : "OFF";
        if (index == 1 || index == 2 || (index >= 9 && index <= 14)) {
            double top = index == 2 ? 1.0 : 2.0;
            double dB = std::fmin(Db((float)linear(0.001, top, n)), index == 2 ? 0.0 : 6.0);
            std::string text = Fixed1((float)dB);
            if ((index == 1 || index == 2) && text == "-0.0") text = "0.0";
            return text;
        }
        if (index >= 3 && index <= 8) return Fixed1((float)linear(0, 4000, n));
        if (index >= 15 && index <= 20) return Fixed1((float)linear(0, 100, n));
        if (index >= 27 && index <= 32) return Fixed1((float)linear(20, 20000, n));
        if (index >= 33 && index <= 38) {
            int type = (int)std::floor(n * 2.0f + 0.5f);
            return type == 0 ? "L-SH" : type == 2 ? "H-SH" : "PK";
        }
        if (index >= 39 && index <= 44) return Fixed1((float)linear(-12, 12, n));
        if (index >= 45 && index <= 50) return Fixed1((float)linear(0.3, 10, n));
        if (index == 58 || index == 59) return Fixed1((float)linear(0, 100, n));
        const char* notes[] = {"Quarter", "8th", "16th", "32th"};
        return notes[(int)std::fmin(std::floor(n * 3.0f + 0.5f), 3.0f)];
    };
    for (float n : {0.0f, 0.1f, 0.25f, 0.5f, 0.73f, 1.0f}) {
        for (int index = 0; index < 62; index++) {
            plugin.setParameter(index, n);
            EXPECT_EQ(plugin.getParameter(index), n);
            EXPECT_EQ(plugin.display(index), expected(index, n)) << "index " << index << " at " << n;
        }
    }
}

TEST_F(ParameterTexts, DocumentedDisplayTexts) {
    plugin.setParameter(1, 0.0f);
    EXPECT_EQ(plugin.display(1), "-59.8");
    plugin.setParameter(1, 1.0f);
    EXPECT_EQ(plugin.display(1), "6.0");
    plugin.setParameter(2, 1.0f);
    EXPECT_EQ(plugin.display(2), "0.0");
    plugin.setParameter(33, 0.25f);  // rounds to the peaking band
    EXPECT_EQ(plugin.display(33), "PK");
    plugin.setParameter(61, 0.5f);
    EXPECT_EQ(plugin.display(61), "16th");
    plugin.setParameter(61, 1.0f);
    EXPECT_EQ(plugin.display(61), "32th");
    plugin.setParameter(61, 0.16f);
    EXPECT_EQ(plugin.display(61), "Quarter");
    plugin.setParameter(0, 0.5f);  // a switch is on only at exactly 1.0
    EXPECT_EQ(plugin.display(0), "OFF");
    plugin.setParameter(21, NAN);
    EXPECT_EQ(plugin.display(21), "OFF");
}

TEST_F(ParameterTexts, MinusZeroIsHiddenOnlyForOutputAndInput) {
    // A linear 0.999 is -0.0087 dB, which "%.1f" writes as "-0.0".
    float n = (float)((0.999 - 0.001) / 1.999);
    plugin.setParameter(1, n);
    plugin.setParameter(9, n);
    EXPECT_EQ(plugin.display(1), "0.0");
    EXPECT_EQ(plugin.display(9), "-0.0");
    plugin.setParameter(2, (float)((0.999 - 0.001) / 0.999));
    EXPECT_EQ(plugin.display(2), "0.0");
}

TEST_F(ParameterTexts, ValuesOutsideTheIndexRange) {
    EXPECT_EQ(plugin.getParameter(62), 0.0f);
    EXPECT_EQ(plugin.getParameter(-1), 0.0f);
    plugin.setParameter(62, 0.5f);  // ignored without harm
    plugin.setParameter(-1, 0.5f);
    EXPECT_EQ(plugin.display(62), "");
    EXPECT_EQ(plugin.name(62), "");
}

// Values only the editor paths reach, checked on the effect object itself.
TEST(ParameterEditorValues, DisplayValuesForTypedEntry) {
    IsolatedPreferences preferences;
    ATapDelay effect(nullptr);
    effect.setParameter(3, 0.25f);  // 1000 ms
    EXPECT_FLOAT_EQ(effect.getParameterDisplayVal(3), 1000.05f);
    effect.setParameter(39, 0.0f);  // -12 dB
    EXPECT_FLOAT_EQ(effect.getParameterDisplayVal(39), -12.05f);
    effect.setParameter(45, 1.0f);  // Q 10
    EXPECT_FLOAT_EQ(effect.getParameterDisplayVal(51), 10.0f);  // a filter switch answers its Q
    effect.setParameter(34, 1.0f);
    EXPECT_EQ(effect.getParameterDisplayVal(34), 2.0f);  // filter type, unbiased
    effect.setParameter(22, 1.0f);
    EXPECT_EQ(effect.getParameterDisplayVal(22), 1.0f);
    effect.setParameter(61, 0.5f);
    EXPECT_EQ(effect.getParameterDisplayVal(61), 2.0f);

    // A note index of 4 or more has no name and leaves the caller's text alone.
    effect.setParameterFormUI(61, 5.0f);
    char text[32] = "keep";
    effect.getParameterDisplay(61, text);
    EXPECT_STREQ(text, "keep");
    effect.setParameterFormUI(61, 1.0f);
    effect.getParameterDisplay(61, text);
    EXPECT_STREQ(text, "8th");
}
