// The shipped factory bank: TapDelayDef.fxb beside the plug-in, built from
// resources/presets.txt (its bytes are checked with make_fxb's tests). The
// plug-in loads it and must show, program by program, exactly the names and
// values the text file states.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/PluginUnderTest.h"

namespace {

const std::string kPresetsPath = std::string(TAPDELAY_SOURCE_DIR) + "resources/presets.txt";

struct TextPreset {
    std::string name;
    std::map<std::string, std::string> values;  // parameter name -> value text
};

std::string Trim(const std::string& text) {
    size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// A plain reading of presets.txt: "[name]" headers and "key = value" lines.
std::vector<TextPreset> ReadPresetsText() {
    std::vector<TextPreset> presets;
    std::ifstream file(kPresetsPath);
    std::string line;
    while (std::getline(file, line)) {
        line = Trim(line.substr(0, line.find('#')));
        if (line.empty()) continue;
        if (line[0] == '[') {
            presets.push_back({Trim(line.substr(1, line.size() - 2)), {}});
        } else if (!presets.empty()) {
            size_t equals = line.find('=');
            presets.back().values[Trim(line.substr(0, equals))] = Trim(line.substr(equals + 1));
        }
    }
    return presets;
}

// What the plug-in displays for a value written in the text: numbers with one
// decimal (the unit dropped), names ("ON", "H-SH", "8th") as they are.
std::string ExpectedDisplay(const std::string& text) {
    char* end = nullptr;
    double number = std::strtod(text.c_str(), &end);
    const std::set<std::string> units = {"", "ms", "dB", "Hz", "%"};
    if (end == text.c_str() || !units.count(Trim(end))) return text;
    char shown[32];
    std::snprintf(shown, sizeof shown, "%.1f", number);
    return shown;
}

std::string WithoutNegativeZero(const std::string& text) { return text == "-0.0" ? "0.0" : text; }

// The display of every parameter of a fresh program, by the first name prefix that matches.
std::string FreshDisplay(const std::string& name) {
    static const std::pair<const char*, const char*> table[] = {
        {"ON/OFF", "ON"},         {"Output", "0.0"},          {"Input", "0.0"},        {"DelayTime", "10.0"},
        {"DelayGain", "-6.0"},    {"DelayPan", "50.0"},       {"DelayON/OFF0", "ON"},  {"DelayON/OFF", "OFF"},
        {"FilterCutoff", "1000.0"}, {"FilterType", "L-SH"},   {"FilterGain", "0.0"},   {"FilterQ", "1.0"},
        {"FilterON/OFF", "OFF"},  {"FeedBackON/OFF", "OFF"},  {"FeedBack", "0.0"},     {"Balance", "50.0"},
        {"TempoSync", "OFF"},     {"SyncNote", "Quarter"}};
    for (const auto& [prefix, shown] : table)
        if (name.rfind(prefix, 0) == 0) return shown;
    return "?";
}

class FactoryBank : public ::testing::Test {
protected:
    void SetUp() override {
        presets = ReadPresetsText();
        plugin.directoryAnswer = TAPDELAY_PLUGIN_DIR;
        plugin.dispatch(effOpen);
        for (int index = 0; index < 62; index++) names.push_back(plugin.name(index));
    }

    IsolatedPreferences preferences;  // an empty user folder: the factory file is what loads
    PluginUnderTest plugin{false};
    std::vector<TextPreset> presets;
    std::vector<std::string> names;  // parameter names as the plug-in reports them
};

}  // namespace

TEST_F(FactoryBank, EveryProgramShowsWhatTheTextSaysAndTheRestAreFreshEmptyOnes) {
    ASSERT_GE(presets.size(), 32u);
    EXPECT_EQ(plugin.program(), 0);
    std::set<std::vector<float>> settings;  // no two presets alike
    // Stored times of tempo-synced presets are those at 120 BPM, so a host that
    // gives no tempo still hears the designed rhythm.
    const std::map<std::string, double> noteAt120 = {
        {"Quarter", 500.0}, {"8th", 250.0}, {"16th", 125.0}, {"32th", 62.5}};
    int synced = 0;
    for (int program = 0; program < 64; program++) {
        const bool listed = program < (int)presets.size();
        const TextPreset preset = listed ? presets[program] : TextPreset{"Empty", {}};
        char name[64] = {};
        ASSERT_EQ(plugin.dispatch(effGetProgramNameIndexed, program, 0, name), 1);
        EXPECT_EQ(name, preset.name) << "program " << program;
        plugin.setProgram(program);
        ASSERT_EQ(plugin.programName(), preset.name);
        std::vector<float> values;
        for (int index = 0; index < 62; index++) {
            auto given = preset.values.find(names[index]);  // make_fxb refuses other keys
            std::string expected = given != preset.values.end() ? ExpectedDisplay(given->second)
                                                                : FreshDisplay(names[index]);
            EXPECT_EQ(WithoutNegativeZero(plugin.display(index)), WithoutNegativeZero(expected))
                << "program " << program << ": " << names[index];
            values.push_back(plugin.getParameter(index));
        }
        if (listed) {
            EXPECT_TRUE(settings.insert(values).second) << preset.name << " repeats an earlier preset";
        }
        if (plugin.display(60) != "ON") continue;
        synced++;
        for (int tap = 0; tap < 6; tap++)
            EXPECT_NEAR(std::atof(plugin.display(3 + tap).c_str()), (tap + 1) * noteAt120.at(plugin.display(61)), 0.05)
                << preset.name << " tap " << tap;
    }
    EXPECT_GE(synced, 8);
}

