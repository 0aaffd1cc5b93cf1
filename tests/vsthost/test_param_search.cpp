// Setting parameters in display units on model plug-ins whose displays are
// known: a linear time in ms, a gain in dB on a curved mapping, a selector
// shown as words, a switch that is on only at exactly 1.0, a falling scale.
#include "tools/vsthost/ParamSetting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace vsthost;

namespace {

struct ModelParam {
    std::string name, label;
    std::function<std::string(float)> show;
    float value = 0.0f;
};

class ModelParams : public ParamAccess {
public:
    std::vector<ModelParam> params;

    int count() override { return (int)params.size(); }
    std::string name(int i) override { return params[i].name; }
    std::string label(int i) override { return params[i].label; }
    std::string display(int i) override { return params[i].show(params[i].value); }
    float get(int i) override { return params[i].value; }
    void set(int i, float v) override { params[i].value = v; }
};

std::string fixed1(double v) {
    char text[32];
    snprintf(text, sizeof text, "%.1f", v);
    return text;
}

// The same kinds of display a delay plug-in has.
ModelParams delayModel() {
    ModelParams m;
    m.params.push_back({"Time", "ms", [](float n) { return fixed1(4000.0f * n); }});
    m.params.push_back({"Gain", "dB", [](float n) { return fixed1(6.0 * std::log2(0.001 + 1.999 * n)); }});
    m.params.push_back({"Type", "", [](float n) {
                            const int k = (int)std::floor(n * 2.0f + 0.5f);
                            return std::string(k == 0 ? "L-SH" : k == 1 ? "PK" : "H-SH");
                        }});
    m.params.push_back({"Switch", "", [](float n) { return std::string(n == 1.0f ? "ON" : "OFF"); }});
    m.params.push_back({"Falling", "%", [](float n) { return fixed1(100.0 - 100.0 * n); }});
    m.params.push_back({"Cutoff", "Hz", [](float n) { return fixed1(20.0 + 19980.0 * n); }});
    return m;
}

float setTo(ModelParams& m, const std::string& text) {
    return applyParamAssignment(m, parseParamAssignment(text)).normalised;
}

}  // namespace

TEST(ParamSearch, DisplayValuesLandOnTheExactNormalisedValue) {
    // 250 ms is 250/4000 = 0.0625 exactly: the search must find that and not
    // an edge of the "250.0" display interval. Likewise for the other scales.
    const std::pair<const char*, float> cases[] = {
        {"Time=250ms", 0.0625f}, {"Time=0.5s", 0.125f}, {"Time:=100", 0.025f}, {"Time=4000ms", 1.0f},
        {"Time=0ms", 0.0f},      {"Type=PK", 0.5f},     {"Switch=ON", 1.0f},   {"Switch=OFF", 0.0f},
        {"Falling=25%", 0.75f},  {"4=0.5", 0.5f},       // by index, normalised
        {" falling = 0.25 ", 0.25f},  // a name in another case, spaces
        {"Type=h-sh", 1.0f},
    };
    ModelParams m = delayModel();  // each search starts where the last one left the parameter
    for (const auto& [text, normalised] : cases)
        EXPECT_EQ(setTo(m, text), normalised) << text;
    // A curved scale: 6 log2(0.001 + 1.999 n) = -6 gives n = (0.5 - 0.001) / 1.999.
    EXPECT_NEAR(setTo(m, "Gain=-6dB"), (0.5 - 0.001) / 1.999, 2e-4);
    EXPECT_EQ(m.display(1), "-6.0");
    EXPECT_NEAR(setTo(m, "Cutoff=1kHz"), (1000.0 - 20.0) / 19980.0, 1e-5);
    // What was applied is reported with the display and its label.
    const AppliedParam p = applyParamAssignment(m, parseParamAssignment("Time=250ms"));
    EXPECT_EQ(p.index, 0);
    EXPECT_EQ(p.name, "Time");
    EXPECT_EQ(p.display, "250.0 ms");
}

TEST(ParamSearch, ImpossibleRequestsSayWhy) {
    ModelParams m = delayModel();
    auto message = [&m](const std::string& text) {
        try {
            setTo(m, text);
        } catch (const ParamError& e) {
            return std::string(e.what());
        }
        return std::string("(no error)");
    };
    const std::pair<const char*, const char*> cases[] = {
        {"Time=5000ms", "runs from 0 to 4000"},
        {"Time=3dB", "is in \"ms\", not \"dB\""},
        {"Type=Notch", "never shows \"Notch\""},
        {"Type=Notch", "\"L-SH\", \"PK\", \"H-SH\""},
        {"Nothing=0.5", "no parameter \"Nothing\"; there are: Time, Gain"},
        {"9=0.5", "no parameter \"9\""},
    };
    for (const auto& [text, says] : cases)
        EXPECT_NE(message(text).find(says), std::string::npos) << message(text);
}
