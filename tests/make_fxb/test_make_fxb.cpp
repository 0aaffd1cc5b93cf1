// make_fxb: the presets text turned into program records (values converted
// from display units, stored in record order), its strict error reporting, and
// the tool run on real files.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/support/PluginUnderTest.h"
#include "tools/make_fxb/PresetParser.h"

namespace {

PresetParseResult Parse(const std::string& text) {
    std::istringstream stream(text);
    return ParsePresets(stream, "bad.txt");
}

// Linear gain from the plug-in's dB (6 dB per doubling), normalised over 0.001..maximum.
double GainNormalised(double dB, double maximum) { return (std::pow(2.0, dB / 6.0) - 0.001) / (maximum - 0.001); }

// Status and output (stdout and stderr) of the tool run with `arguments`.
std::pair<int, std::string> RunTool(const std::string& arguments) {
    FILE* pipe = popen((std::string(MAKE_FXB_PATH) + " " + arguments + " 2>&1").c_str(), "r");
    if (!pipe) return {-1, ""};
    std::string output;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) output += buffer;
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

}  // namespace

// What the factory presets do not reach (the plug-in's displays of those
// check every other kind of value in its record slot): the main switch,
// Input, and the ends of the ranges.
TEST(PresetValues, DisplayUnitsBecomeNormalisedValuesInRecordOrder) {
    struct Case {
        const char* line;
        int slot;  // ON/OFF, Output, Input, then the taps' times from 3, gains from 9, switches from 21
        double normalised;
    };
    const Case cases[] = {
        {"ON/OFF = OFF", 0, 0.0}, {"Output = 6 dB", 1, 1.0}, {"Input = -12 dB", 2, GainNormalised(-12.0, 1.0)},
        {"DelayTime5 = 4000 ms", 3 + 5, 1.0},
        {"DelayGain2 = -59.8 dB", 9 + 2, 0.0},  // the lowest text lands on the range's minimum
        {"DelayON/OFF0 = OFF", 21, 0.0},
    };
    std::string text = "[Everything]\n";
    for (const Case& c : cases) text += std::string(c.line) + "\n";
    PresetParseResult result = Parse(text);
    ASSERT_TRUE(result.ok()) << result.errors[0];
    ASSERT_EQ(result.presets.size(), 1u);
    EXPECT_STREQ(result.presets[0].record.name, "Everything");
    for (const Case& c : cases) EXPECT_NEAR(result.presets[0].record.values[c.slot], c.normalised, 1e-6) << c.line;
}

// Ranges come from the plug-in's table: times and the gains' dB rule stand for all.
TEST(PresetErrors, EachBadLineIsReportedWithFileAndLine) {
    const std::pair<const char*, const char*> cases[] = {  // the line, and what the message says
        {"DelayTme0 = 110 ms", "unknown parameter \"DelayTme0\""}, {"DelayTime6 = 1 ms", "unknown parameter"},
        {"delaytime0 = 1 ms", "unknown parameter"},  {"DelayTime = 1 ms", "unknown parameter"},
        {"DelayTime0 = 4000.1 ms", "out of range"},  {"DelayTime0 = -1 ms", "out of range"},
        {"DelayGain0 = 6.1 dB", "out of range"},     {"DelayGain0 = -60 dB", "out of range"},
        {"DelayTime0 = 110 s", "needs the unit \"ms\""},
        {"DelayTime0 = 110", "needs the unit \"ms\""}, {"DelayGain0 = -3", "needs the unit \"dB\""},
        {"Balance = 50", "needs the unit \"%\""},    {"FilterCutoff0 = 2.5 kHz", "needs the unit \"Hz\""},
        {"DelayPan0 = 50 %", "takes no unit"},       {"FilterQ0 = 1 dB", "takes no unit"},
        {"DelayTime0 = 1e3 ms", "needs the unit"},   {"DelayTime0 = nan ms", "not a number"},
        {"DelayTime0 = ms", "not a number"},         {"DelayON/OFF1 = on", "not one of OFF, ON"},
        {"DelayON/OFF1 = 1", "not one of OFF, ON"},  {"FilterType0 = HSH", "not one of L-SH, PK, H-SH"},
        {"SyncNote = quarter", "not one of Quarter, 8th, 16th, 32th"},
        {"just words", "expected \"[Preset Name]\" or \"Parameter = value\""},
        {"[Unclosed", "must end with \"]\""},       {"[]", "empty preset name"},
        {"[Exactly twenty-four char]", "longer than 23 characters"}, {"[First]", "already defined on line 1"},
    };
    for (const auto& [line, says] : cases) {
        PresetParseResult result = Parse(std::string("[First]\n") + line + "\n");
        ASSERT_EQ(result.errors.size(), 1u) << line;
        EXPECT_EQ(result.errors[0].rfind("bad.txt:2: ", 0), 0u) << result.errors[0];
        EXPECT_NE(result.errors[0].find(says), std::string::npos) << result.errors[0];
    }
}

TEST(PresetErrors, StructuralMistakesAreCaught) {
    std::string tooMany;
    for (int i = 0; i < 65; i++) tooMany += "[Preset " + std::to_string(i) + "]  # comment\n";
    const std::pair<std::string, std::string> cases[] = {
        {"DelayTime0 = 110 ms\n[Late]\n", "bad.txt:1: \"DelayTime0\" stands before the first \"[Preset Name]\""},
        {"[A]\nBalance = 10 %\n\nBalance = 20 %\n", "bad.txt:4: Balance is already set on line 2"},
        {"# nothing but a comment\n", "bad.txt:1: no presets in the file"},
        {tooMany, "bad.txt:65: more than 64 presets"},
    };
    for (const auto& c : cases) {
        PresetParseResult result = Parse(c.first);
        ASSERT_EQ(result.errors.size(), 1u) << c.first;
        EXPECT_EQ(result.errors[0], c.second);
    }
    // The same parameter in two presets; spaces and comments anywhere.
    const PresetParseResult fine = Parse("# c\n\n  [  A  ]  # c\nBalance=10 %\n[Exactly twenty-three ch]\n  Balance   =   10 %  # c\n");
    ASSERT_TRUE(fine.ok()) << fine.errors[0];
    EXPECT_EQ(fine.presets[0].name, "A");
    EXPECT_EQ(fine.presets[0].line, 3);
    EXPECT_STREQ(fine.presets[1].record.name, "Exactly twenty-three ch");
}

class MakeFxbTool : public ::testing::Test {
protected:
    TempFolder folder;
    const std::string source = folder.path() + "presets.txt", target = folder.path() + "TapDelayDef.fxb";
};

// The bank shipped beside the plug-in is the tool's output for
// resources/presets.txt; the factory-bank tests read that back through the
// plug-in, program by program.
TEST_F(MakeFxbTool, WritesTheShippedBankFromThePresetsText) {
    EXPECT_EQ(RunTool(std::string(TAPDELAY_SOURCE_DIR) + "resources/presets.txt " + target),
              std::make_pair(0, std::string()));
    EXPECT_EQ(ReadWholeFile(std::string(TAPDELAY_PLUGIN_DIR) + "TapDelayDef.fxb"), ReadWholeFile(target));
}

TEST_F(MakeFxbTool, BadInputMissingFilesAndArgumentsFailAndWriteNothing) {
    std::ofstream(source) << "[Fine]\nDelayTime0 = 110 ms\nDelayGian0 = -3 dB\nFeedBack = 120 %\n";
    auto run = RunTool(source + " " + target);
    EXPECT_NE(run.first, 0);
    EXPECT_NE(run.second.find(source + ":3: unknown parameter \"DelayGian0\""), std::string::npos) << run.second;
    EXPECT_NE(run.second.find(source + ":4: FeedBack: 120 % is out of range"), std::string::npos) << run.second;
    EXPECT_FALSE(std::ifstream(target).good());

    run = RunTool(folder.path() + "absent.txt " + target);
    EXPECT_NE(run.first, 0);
    EXPECT_NE(run.second.find("absent.txt: cannot be read"), std::string::npos) << run.second;
    std::ofstream(source) << "[Fine]\n";
    run = RunTool(source + " " + folder.path() + "no/such/folder/out.fxb");
    EXPECT_NE(run.first, 0);
    EXPECT_NE(run.second.find("cannot be written"), std::string::npos) << run.second;
    EXPECT_NE(RunTool("").first, 0);
}
