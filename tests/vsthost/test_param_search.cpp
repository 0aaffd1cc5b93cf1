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
    int sets = 0;

    int count() override { return (int)params.size(); }
    std::string name(int i) override { return params[i].name; }
    std::string label(int i) override { return params[i].label; }
    std::string display(int i) override { return params[i].show(params[i].value); }
    float get(int i) override { return params[i].value; }
    void set(int i, float v) override {
        ++sets;
        params[i].value = v;
    }
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
    m.params.push_back({"Gain", "dB", [](float n) {
                            const double linear = 0.001 + 1.999 * n;
                            return fixed1(6.0 * std::log2(linear));
                        }});
    m.params.push_back({"Type", "", [](float n) {
                            const int k = (int)std::floor(n * 2.0f + 0.5f);
                            return std::string(k == 0 ? "L-SH" : k == 1 ? "PK" : "H-SH");
                        }});
    m.params.push_back(
        {"Switch", "", [](float n) { return std::string(n == 1.0f ? "ON" : "OFF"); }});
    m.params.push_back({"Falling", "%", [](float n) { return fixed1(100.0 - 100.0 * n); }});
    m.params.push_back({"Cutoff", "Hz", [](float n) { return fixed1(20.0 + 19980.0 * n); }});
    return m;
}

float setTo(ModelParams& m, const std::string& text) {
    return applyParamAssignment(m, parseParamAssignment(text)).normalised;
}

}  // namespace

TEST(ParamSearch, LinearTimeLandsOnTheExactValue) {
    ModelParams m = delayModel();
    // 250 ms is 250/4000 = 0.0625 exactly: the search must find that and not
    // an edge of the "250.0" display interval.
    EXPECT_EQ(setTo(m, "Time=250ms"), 0.0625f);
    EXPECT_EQ(m.display(0), "250.0");
    EXPECT_EQ(setTo(m, "Time=0.5s"), 0.125f);
    EXPECT_EQ(setTo(m, "Time:=100"), 0.025f);
    EXPECT_EQ(setTo(m, "Time=4000ms"), 1.0f);
    EXPECT_EQ(setTo(m, "Time=0ms"), 0.0f);
    // Between display steps: the nearest step shown.
    setTo(m, "Time=123.44ms");
    EXPECT_EQ(m.display(0), "123.4");
}

TEST(ParamSearch, CurvedDecibelScale) {
    ModelParams m = delayModel();
    setTo(m, "Gain=-6dB");
    EXPECT_EQ(m.display(1), "-6.0");
    // Independent: 6*log2(0.001 + 1.999 n) = -6 gives n = (0.5 - 0.001) / 1.999.
    EXPECT_NEAR(m.get(1), (0.5 - 0.001) / 1.999, 2e-4);
    setTo(m, "Gain=6dB");
    EXPECT_EQ(m.display(1), "6.0");
    setTo(m, "Gain=-59.8dB");
    EXPECT_EQ(m.display(1), "-59.8");
}

TEST(ParamSearch, WordsAndSwitches) {
    ModelParams m = delayModel();
    EXPECT_EQ(setTo(m, "Type=PK"), 0.5f);
    EXPECT_EQ(m.display(2), "PK");
    setTo(m, "Type=h-sh");  // case does not matter
    EXPECT_EQ(m.display(2), "H-SH");
    EXPECT_EQ(setTo(m, "Switch=ON"), 1.0f);
    EXPECT_EQ(setTo(m, "Switch=OFF"), 0.0f);
    EXPECT_EQ(m.display(3), "OFF");
}

TEST(ParamSearch, FallingScalesAndIndices) {
    ModelParams m = delayModel();
    EXPECT_EQ(setTo(m, "Falling=25%"), 0.75f);
    EXPECT_EQ(setTo(m, "4=0.5"), 0.5f);  // by index, normalised
    EXPECT_EQ(setTo(m, "falling=0.25"), 0.25f);  // name without case
    EXPECT_NEAR(setTo(m, "Cutoff=1kHz"), (1000.0 - 20.0) / 19980.0, 1e-5);
    EXPECT_EQ(m.display(5), "1000.0");
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
    EXPECT_NE(message("Time=5000ms").find("runs from 0 to 4000"), std::string::npos);
    EXPECT_NE(message("Time=3dB").find("is in \"ms\", not \"dB\""), std::string::npos);
    EXPECT_NE(message("Type=Notch").find("never shows \"Notch\""), std::string::npos);
    EXPECT_NE(message("Type=Notch").find("\"L-SH\", \"PK\", \"H-SH\""), std::string::npos);
    EXPECT_NE(message("Nothing=0.5").find("no parameter \"Nothing\"; there are: Time, Gain"),
              std::string::npos);
    EXPECT_NE(message("9=0.5").find("no parameter \"9\""), std::string::npos);
}

TEST(ParamSearch, AppliedValueReportsDisplayWithLabel) {
    ModelParams m = delayModel();
    const AppliedParam p = applyParamAssignment(m, parseParamAssignment("Time=250ms"));
    EXPECT_EQ(p.index, 0);
    EXPECT_EQ(p.name, "Time");
    EXPECT_EQ(p.display, "250.0 ms");
}
