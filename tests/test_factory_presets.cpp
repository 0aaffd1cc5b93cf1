// The shipped factory bank: TapDelayDef.fxb beside the plug-in, built from
// resources/presets.txt. The plug-in loads it and must show, program by
// program, exactly the names and values the text file states.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/PluginUnderTest.h"

namespace {

const std::string kBankPath = std::string(TAPDELAY_PLUGIN_DIR) + "TapDelayDef.fxb";
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

// The display of every parameter of a fresh program.
std::string FreshDisplay(const std::string& name) {
    auto is = [&name](const char* group) { return name.rfind(group, 0) == 0; };
    if (name == "ON/OFF") return "ON";
    if (name == "Output" || name == "Input") return "0.0";
    if (is("DelayTime")) return "10.0";
    if (is("DelayGain")) return "-6.0";
    if (is("DelayPan")) return "50.0";
    if (is("DelayON/OFF")) return name == "DelayON/OFF0" ? "ON" : "OFF";
    if (is("FilterCutoff")) return "1000.0";
    if (is("FilterType")) return "L-SH";
    if (is("FilterGain")) return "0.0";
    if (is("FilterQ")) return "1.0";
    if (is("FilterON/OFF")) return "OFF";
    if (name == "FeedBackON/OFF" || name == "TempoSync") return "OFF";
    if (name == "FeedBack") return "0.0";
    if (name == "Balance") return "50.0";
    if (name == "SyncNote") return "Quarter";
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

TEST(FactoryBankFile, HasTheBankLayoutAndSize) {
    std::vector<unsigned char> bytes = ReadWholeFile(kBankPath);
    ASSERT_EQ(bytes.size(), 17824u);
    const unsigned char header[28] = {'C', 'c', 'n', 'K', 0, 0, 0, 0,   'F', 'B', 'C', 'h', 0, 0,
                                      0,   1,   'V', 'a', 'T', 'D', 0, 0, 0,   1,   0,   0,   0, 64};
    for (int i = 0; i < 28; i++) EXPECT_EQ(bytes[i], header[i]) << "header byte " << i;
    for (int i = 28; i < 156; i++) EXPECT_EQ(bytes[i], 0) << "reserved byte " << i;
    const unsigned char chunkSize[4] = {0x00, 0x00, 0x45, 0x00};  // 17664
    for (int i = 0; i < 4; i++) EXPECT_EQ(bytes[156 + i], chunkSize[i]);
    // Record 0's trailing integer: program 0 is current when the bank loads.
    for (int i = 160 + 272; i < 160 + 276; i++) EXPECT_EQ(bytes[i], 0);
}

TEST_F(FactoryBank, ThereAreAtLeast32PresetsWithDistinctShortNames) {
    ASSERT_GE(presets.size(), 32u);
    ASSERT_LE(presets.size(), 64u);
    std::set<std::string> distinct;
    for (const TextPreset& preset : presets) {
        EXPECT_LE(preset.name.size(), 23u) << preset.name;
        EXPECT_NE(preset.name, "Empty");
        distinct.insert(preset.name);
    }
    EXPECT_EQ(distinct.size(), presets.size());
}

TEST_F(FactoryBank, ProgramNamesFollowTheTextAndTheRestAreEmpty) {
    for (int program = 0; program < 64; program++) {
        char text[64] = {};
        ASSERT_EQ(plugin.dispatch(effGetProgramNameIndexed, program, 0, text), 1);
        std::string expected = program < (int)presets.size() ? presets[program].name : "Empty";
        EXPECT_EQ(text, expected) << "program " << program;
    }
    EXPECT_EQ(plugin.program(), 0);
}

TEST_F(FactoryBank, EveryParameterShowsWhatTheTextSays) {
    for (size_t program = 0; program < presets.size(); program++) {
        const TextPreset& preset = presets[program];
        plugin.setProgram((int)program);
        ASSERT_EQ(plugin.programName(), preset.name);
        for (const auto& entry : preset.values)
            EXPECT_NE(std::find(names.begin(), names.end(), entry.first), names.end())
                << preset.name << ": " << entry.first;
        for (int index = 0; index < 62; index++) {
            auto listed = preset.values.find(names[index]);
            std::string expected = listed != preset.values.end() ? ExpectedDisplay(listed->second)
                                                                 : FreshDisplay(names[index]);
            EXPECT_EQ(WithoutNegativeZero(plugin.display(index)), WithoutNegativeZero(expected))
                << preset.name << ": " << names[index];
        }
    }
}

TEST_F(FactoryBank, AFewPresetsReadAsDesigned) {
    plugin.setProgram(1);
    EXPECT_EQ(plugin.programName(), "Slapback");
    EXPECT_EQ(plugin.display(3), "110.0");  // DelayTime0
    EXPECT_EQ(plugin.display(21), "ON");    // DelayON/OFF0
    EXPECT_EQ(plugin.display(22), "OFF");   // DelayON/OFF1
    EXPECT_EQ(plugin.display(57), "OFF");   // FeedBackON/OFF
    EXPECT_EQ(plugin.display(60), "OFF");   // TempoSync

    plugin.setProgram(7);
    EXPECT_EQ(plugin.programName(), "Dotted 8th Echo");
    EXPECT_EQ(plugin.display(60), "ON");     // TempoSync
    EXPECT_EQ(plugin.display(61), "16th");   // SyncNote
    EXPECT_EQ(plugin.display(21), "OFF");    // tap 0 off ...
    EXPECT_EQ(plugin.display(23), "ON");     // ... tap 2 (3 x 16th) on
    EXPECT_EQ(plugin.display(5), "375.0");   // 3 x 125 ms at 120 BPM
}

// Stored times of tempo-synced presets are those at 120 BPM, so a host that
// gives no tempo still hears the designed rhythm.
TEST_F(FactoryBank, SyncedPresetsStoreTheirTimesAt120Bpm) {
    const std::map<std::string, double> noteAt120 = {
        {"Quarter", 500.0}, {"8th", 250.0}, {"16th", 125.0}, {"32th", 62.5}};
    int synced = 0;
    for (size_t program = 0; program < presets.size(); program++) {
        plugin.setProgram((int)program);
        if (plugin.display(60) != "ON") continue;
        synced++;
        double note = noteAt120.at(plugin.display(61));
        for (int tap = 0; tap < 6; tap++)
            EXPECT_NEAR(std::atof(plugin.display(3 + tap).c_str()), (tap + 1) * note, 0.05)
                << presets[program].name << " tap " << tap;
    }
    EXPECT_GE(synced, 8);
}

TEST_F(FactoryBank, PresetsDifferAndEmptyProgramsKeepFreshValues) {
    std::vector<std::vector<float>> settings;
    for (size_t program = 0; program < presets.size(); program++) {
        plugin.setProgram((int)program);
        std::vector<float> values;
        for (int index = 0; index < 62; index++) values.push_back(plugin.getParameter(index));
        for (size_t other = 0; other < settings.size(); other++)
            EXPECT_NE(values, settings[other])
                << presets[program].name << " repeats " << presets[other].name;
        settings.push_back(values);
    }
    for (int program = (int)presets.size(); program < 64; program++) {
        plugin.setProgram(program);
        for (int index = 0; index < 62; index++)
            EXPECT_EQ(WithoutNegativeZero(plugin.display(index)), FreshDisplay(names[index]))
                << "program " << program << ": " << names[index];
    }
}

// Program 0 through the whole chain: an impulse on the left input comes back
// one quarter note later at the host's tempo, and not before.
TEST_F(FactoryBank, FirstProgramEchoesAQuarterNoteLater) {
    for (double bpm : {120.0, 100.0}) {
        plugin.tempoAnswer = (VstIntPtr)(bpm * 10000);
        plugin.prepare(44100.0f, 512);
        plugin.setProgram(0);
        std::vector<double> left(512), right(512), outLeft, outRight;
        plugin.processDouble(left, right, outLeft, outRight);  // lets the tap times follow the tempo
        const int quarter = (int)(44100.0 * 60.0 / bpm);
        int firstEcho = -1;
        for (int start = 0; start < quarter + 512 && firstEcho < 0; start += 512) {
            std::fill(left.begin(), left.end(), 0.0);
            std::fill(right.begin(), right.end(), 0.0);
            if (start == 0) left[0] = right[0] = 1.0;
            plugin.processDouble(left, right, outLeft, outRight);
            for (int i = start == 0 ? 1 : 0; i < 512 && firstEcho < 0; i++)
                if (outLeft[i] != 0.0 || outRight[i] != 0.0) firstEcho = start + i;
        }
        EXPECT_EQ(firstEcho, quarter) << bpm << " BPM";
    }
}
