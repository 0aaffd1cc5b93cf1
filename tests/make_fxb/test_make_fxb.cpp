// make_fxb: the presets text turned into program records (values converted
// from display units, stored in record order), its strict error reporting, and
// the tool run on real files.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/PluginUnderTest.h"
#include "tools/make_fxb/PresetParser.h"

namespace {

PresetParseResult Parse(const std::string& text) {
    std::istringstream stream(text);
    return ParsePresets(stream, "bad.txt");
}

// Record slots of the per-tap groups (FilterON/OFF, FilterGain and FilterQ are
// stored in another order than their parameter indices).
int TimeSlot(int tap) { return 3 + tap; }
int GainSlot(int tap) { return 9 + tap; }
int PanSlot(int tap) { return 15 + tap; }
int TapSwitchSlot(int tap) { return 21 + tap; }
int CutoffSlot(int tap) { return 27 + tap; }
int TypeSlot(int tap) { return 33 + tap; }
int FilterSwitchSlot(int tap) { return 39 + tap; }
int FilterGainSlot(int tap) { return 45 + tap; }
int QSlot(int tap) { return 51 + tap; }

// Linear gain from the plug-in's dB (6 dB per doubling), normalised over 0.001..max.
double GainNormalised(double dB, double maximum) {
    double linear = std::pow(2.0, dB / 6.0);
    return (linear - 0.001) / (maximum - 0.001);
}

struct RunResult {
    int status;
    std::string output;
};

RunResult RunTool(const std::string& arguments) {
    std::string command = std::string(MAKE_FXB_PATH) + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    RunResult result{-1, ""};
    if (!pipe) return result;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) result.output += buffer;
    int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

void WriteText(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
}

bool Exists(const std::string& path) { return std::ifstream(path).good(); }

}  // namespace

TEST(PresetNames, EveryNameThePluginReportsIsKnown) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
    for (int index = 0; index < 62; index++)
        EXPECT_EQ(ParamIndexByName(plugin.name(index)), index) << plugin.name(index);
    EXPECT_EQ(ParamIndexByName("DelayTime6"), -1);
    EXPECT_EQ(ParamIndexByName("delaytime0"), -1);
    EXPECT_EQ(ParamIndexByName("DelayTime"), -1);
    EXPECT_EQ(ParamIndexByName(""), -1);
}

TEST(PresetValues, DisplayUnitsBecomeNormalisedValuesInRecordOrder) {
    PresetParseResult result = Parse(
        "[Everything]\n"
        "ON/OFF = OFF\n"
        "Output = 6 dB\n"
        "Input = -12 dB\n"
        "DelayTime0 = 110 ms\n"
        "DelayTime5 = 4000 ms\n"
        "DelayGain1 = -3 dB\n"
        "DelayGain2 = -59.8 dB\n"
        "DelayPan3 = 20\n"
        "DelayON/OFF4 = ON\n"
        "DelayON/OFF0 = OFF\n"
        "FilterCutoff1 = 2500 Hz\n"
        "FilterType2 = H-SH\n"
        "FilterType3 = PK\n"
        "FilterGain2 = -4 dB\n"
        "FilterQ1 = 0.5\n"
        "FilterON/OFF3 = ON\n"
        "FeedBackON/OFF = ON\n"
        "FeedBack = 45 %\n"
        "Balance = 35.5 %\n"
        "TempoSync = ON\n"
        "SyncNote = 16th\n");
    ASSERT_TRUE(result.ok()) << result.errors[0];
    ASSERT_EQ(result.presets.size(), 1u);
    const ATapDelayProgram& record = result.presets[0].record;
    EXPECT_STREQ(record.name, "Everything");
    const float* v = record.values;
    EXPECT_EQ(v[0], 0.0f);
    EXPECT_NEAR(v[1], 1.0, 1e-6);
    EXPECT_NEAR(v[2], GainNormalised(-12.0, 1.0), 1e-6);
    EXPECT_NEAR(v[TimeSlot(0)], 110.0 / 4000.0, 1e-7);
    EXPECT_NEAR(v[TimeSlot(5)], 1.0, 1e-7);
    EXPECT_NEAR(v[GainSlot(1)], GainNormalised(-3.0, 2.0), 1e-6);
    EXPECT_NEAR(v[GainSlot(2)], 0.0, 1e-7);  // the lowest text lands on the range's minimum
    EXPECT_NEAR(v[PanSlot(3)], 0.2, 1e-7);
    EXPECT_EQ(v[TapSwitchSlot(4)], 1.0f);
    EXPECT_EQ(v[TapSwitchSlot(0)], 0.0f);
    EXPECT_NEAR(v[CutoffSlot(1)], (2500.0 - 20.0) / 19980.0, 1e-7);
    EXPECT_NEAR(v[TypeSlot(2)], 1.0, 1e-7);
    EXPECT_NEAR(v[TypeSlot(3)], 0.5, 1e-7);
    EXPECT_NEAR(v[FilterGainSlot(2)], 8.0 / 24.0, 1e-7);
    EXPECT_NEAR(v[QSlot(1)], 0.2 / 9.7, 1e-7);
    EXPECT_EQ(v[FilterSwitchSlot(3)], 1.0f);
    EXPECT_EQ(v[57], 1.0f);
    EXPECT_NEAR(v[58], 0.45, 1e-7);
    EXPECT_NEAR(v[59], 0.355, 1e-7);
    EXPECT_EQ(v[60], 1.0f);
    EXPECT_NEAR(v[61], 2.0 / 3.0, 1e-7);
}

TEST(PresetValues, UnlistedParametersKeepTheFreshDefaults) {
    PresetParseResult result = Parse("[Only Balance]\nBalance = 30 %\n");
    ASSERT_TRUE(result.ok());
    ATapDelayProgram fresh;
    const float* v = result.presets[0].record.values;
    for (int slot = 0; slot < 62; slot++) {
        if (slot == 59) continue;  // Balance, the one value listed
        EXPECT_EQ(v[slot], fresh.values[slot]) << "slot " << slot;
    }
    EXPECT_NEAR(v[59], 0.3, 1e-7);
    // The fresh values themselves: tap 0 alone on, 10 ms, gain 0.5, pan 50, no sync.
    EXPECT_NEAR(v[TimeSlot(3)], 10.0 / 4000.0, 1e-7);
    EXPECT_NEAR(v[GainSlot(3)], (0.5 - 0.001) / 1.999, 1e-7);
    EXPECT_EQ(v[TapSwitchSlot(0)], 1.0f);
    EXPECT_EQ(v[TapSwitchSlot(1)], 0.0f);
    EXPECT_EQ(v[60], 0.0f);
}

TEST(PresetText, CommentsSpacesAndUnitSpacingAreAccepted) {
    PresetParseResult result = Parse(
        "# a comment line\n"
        "\n"
        "  [  Spaced Name  ]   # trailing comment\n"
        "DelayTime0=250ms\n"
        "  DelayGain0   =   -6 dB   # tap level\n");
    ASSERT_TRUE(result.ok()) << result.errors[0];
    EXPECT_EQ(result.presets[0].name, "Spaced Name");
    EXPECT_EQ(result.presets[0].line, 3);
    EXPECT_NEAR(result.presets[0].record.values[TimeSlot(0)], 250.0 / 4000.0, 1e-7);
}

TEST(PresetErrors, EachBadLineIsReportedWithFileAndLine) {
    struct Case {
        const char* line;
        const char* says;
    };
    const Case cases[] = {
        {"DelayTme0 = 110 ms", "unknown parameter \"DelayTme0\""},
        {"DelayTime6 = 110 ms", "unknown parameter"},
        {"DelayTime0 = 4000.1 ms", "out of range"},
        {"DelayTime0 = -1 ms", "out of range"},
        {"DelayGain0 = 6.1 dB", "out of range"},
        {"DelayGain0 = -60 dB", "out of range"},
        {"Input = 0.1 dB", "out of range"},
        {"DelayPan0 = 101", "out of range"},
        {"FilterCutoff0 = 19 Hz", "out of range"},
        {"FilterCutoff0 = 20001 Hz", "out of range"},
        {"FilterGain0 = 12.5 dB", "out of range"},
        {"FilterQ0 = 0.2", "out of range"},
        {"FeedBack = 100.5 %", "out of range"},
        {"DelayTime0 = 110 s", "needs the unit \"ms\""},
        {"DelayTime0 = 110", "needs the unit \"ms\""},
        {"DelayGain0 = -3", "needs the unit \"dB\""},
        {"Balance = 50", "needs the unit \"%\""},
        {"FilterCutoff0 = 2.5 kHz", "needs the unit \"Hz\""},
        {"DelayPan0 = 50 %", "takes no unit"},
        {"FilterQ0 = 1 dB", "takes no unit"},
        {"DelayTime0 = 1e3 ms", "needs the unit"},
        {"DelayTime0 = nan ms", "not a number"},
        {"DelayTime0 = ms", "not a number"},
        {"DelayON/OFF1 = on", "not one of OFF, ON"},
        {"DelayON/OFF1 = 1", "not one of OFF, ON"},
        {"FilterType0 = HSH", "not one of L-SH, PK, H-SH"},
        {"SyncNote = quarter", "not one of Quarter, 8th, 16th, 32th"},
        {"just words", "expected \"[Preset Name]\" or \"Parameter = value\""},
        {"[Unclosed", "must end with \"]\""},
        {"[]", "empty preset name"},
        {"[Exactly twenty-four char]", "longer than 23 characters"},
        {"[First]", "already defined on line 1"},
    };
    for (const Case& c : cases) {
        PresetParseResult result = Parse(std::string("[First]\n") + c.line + "\n");
        ASSERT_EQ(result.errors.size(), 1u) << c.line;
        EXPECT_EQ(result.errors[0].rfind("bad.txt:2: ", 0), 0u) << result.errors[0];
        EXPECT_NE(result.errors[0].find(c.says), std::string::npos) << result.errors[0];
    }
}

TEST(PresetErrors, StructuralMistakesAreCaught) {
    PresetParseResult before = Parse("DelayTime0 = 110 ms\n[Late]\n");
    ASSERT_EQ(before.errors.size(), 1u);
    EXPECT_EQ(before.errors[0], "bad.txt:1: \"DelayTime0\" stands before the first \"[Preset Name]\"");

    PresetParseResult twice = Parse("[A]\nBalance = 10 %\n\nBalance = 20 %\n");
    ASSERT_EQ(twice.errors.size(), 1u);
    EXPECT_EQ(twice.errors[0], "bad.txt:4: Balance is already set on line 2");

    PresetParseResult empty = Parse("# nothing but a comment\n");
    ASSERT_EQ(empty.errors.size(), 1u);
    EXPECT_NE(empty.errors[0].find("no presets"), std::string::npos);

    // The same parameter in two presets is fine.
    EXPECT_TRUE(Parse("[A]\nBalance = 10 %\n[B]\nBalance = 10 %\n").ok());
}

TEST(PresetErrors, AllProblemsOfAFileAreListedInOrder) {
    PresetParseResult result = Parse(
        "[Good]\n"
        "DelayTime0 = 5000 ms\n"
        "Foo = 1\n"
        "[A name that is far too long]\n"
        "DelayGain0 = 7 dB\n");
    ASSERT_EQ(result.errors.size(), 4u);
    EXPECT_EQ(result.errors[0].rfind("bad.txt:2: DelayTime0: 5000 ms is out of range", 0), 0u);
    EXPECT_EQ(result.errors[1], "bad.txt:3: unknown parameter \"Foo\"");
    EXPECT_EQ(result.errors[2].rfind("bad.txt:4: preset name", 0), 0u);
    EXPECT_EQ(result.errors[3].rfind("bad.txt:5: DelayGain0: 7 dB is out of range", 0), 0u);
}

TEST(PresetNames, TwentyThreeCharactersFitAndSixtyFourPresetsAtMost) {
    PresetParseResult fits = Parse("[Exactly twenty-three ch]\n");
    ASSERT_TRUE(fits.ok());
    EXPECT_STREQ(fits.presets[0].record.name, "Exactly twenty-three ch");

    std::string text;
    for (int i = 0; i < 65; i++) text += "[Preset " + std::to_string(i) + "]\n";
    PresetParseResult tooMany = Parse(text);
    ASSERT_EQ(tooMany.errors.size(), 1u);
    EXPECT_EQ(tooMany.errors[0], "bad.txt:65: more than 64 presets");
    EXPECT_EQ(tooMany.presets.size(), 64u);
}

TEST(FactoryBankRecords, PresetsFirstThenEmptyPrograms) {
    PresetParseResult result = Parse("[One]\nBalance = 10 %\n[Two]\nDelayPan0 = 0\n");
    ASSERT_TRUE(result.ok());
    std::vector<ATapDelayProgram> bank(64);
    std::memset(static_cast<void*>(bank.data()), 0x5A, sizeof(ATapDelayProgram) * 64);  // garbage to overwrite
    std::string error;
    ASSERT_TRUE(MakeFactoryBank(result.presets, bank.data(), &error));
    EXPECT_STREQ(bank[0].name, "One");
    EXPECT_STREQ(bank[1].name, "Two");
    EXPECT_EQ(bank[0].currentProgram, 0);
    ATapDelayProgram fresh;
    for (int program = 2; program < 64; program++) {
        EXPECT_STREQ(bank[program].name, "Empty");
        EXPECT_EQ(std::memcmp(bank[program].values, fresh.values, sizeof fresh.values), 0);
    }
    // Names are NUL-padded to their 24 bytes, so the file is reproducible.
    for (int i = 3; i < 24; i++) EXPECT_EQ(bank[0].name[i], 0);
}

TEST(ShippedPresets, TheResourceFileParsesCleanly) {
    std::ifstream file(std::string(TAPDELAY_SOURCE_DIR) + "resources/presets.txt");
    ASSERT_TRUE(file.good());
    PresetParseResult result = ParsePresets(file, "presets.txt");
    for (const std::string& error : result.errors) ADD_FAILURE() << error;
    EXPECT_GE(result.presets.size(), 32u);
}

TEST(MakeFxbTool, WritesTheBankFileFromAGoodText) {
    TempFolder folder;
    std::string source = folder.path() + "presets.txt";
    std::string target = folder.path() + "TapDelayDef.fxb";
    const std::string text = "[Slap]\nDelayTime0 = 110 ms\n[Wide]\nDelayPan0 = 0\n";
    WriteText(source, text);
    RunResult run = RunTool(source + " " + target);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(run.output, "");

    std::vector<unsigned char> bytes = ReadWholeFile(target);
    ASSERT_EQ(bytes.size(), 17824u);
    EXPECT_EQ(std::memcmp(bytes.data(), "CcnK\0\0\0\0FBCh\0\0\0\1VaTD\0\0\0\1\0\0\0\x40", 28), 0);
    EXPECT_EQ(std::memcmp(bytes.data() + 156, "\0\0\x45\0", 4), 0);
    std::vector<ATapDelayProgram> bank(64);
    std::string error;
    ASSERT_TRUE(MakeFactoryBank(Parse(text).presets, bank.data(), &error));
    EXPECT_EQ(std::memcmp(bytes.data() + 160, bank.data(), 17664), 0);
}

TEST(MakeFxbTool, BadInputFailsWithLineNumbersAndWritesNothing) {
    TempFolder folder;
    std::string source = folder.path() + "broken.txt";
    std::string target = folder.path() + "TapDelayDef.fxb";
    WriteText(source, "[Fine]\nDelayTime0 = 110 ms\nDelayGian0 = -3 dB\nFeedBack = 120 %\n");
    RunResult run = RunTool(source + " " + target);
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.output.find(source + ":3: unknown parameter \"DelayGian0\""), std::string::npos)
        << run.output;
    EXPECT_NE(run.output.find(source + ":4: FeedBack: 120 % is out of range"), std::string::npos)
        << run.output;
    EXPECT_FALSE(Exists(target));

    WriteText(source, "[A preset name that is too long]\n");
    run = RunTool(source + " " + target);
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.output.find(source + ":1: preset name"), std::string::npos) << run.output;
    EXPECT_FALSE(Exists(target));
}

TEST(MakeFxbTool, MissingFilesAndArgumentsFail) {
    TempFolder folder;
    RunResult missing = RunTool(folder.path() + "absent.txt " + folder.path() + "out.fxb");
    EXPECT_NE(missing.status, 0);
    EXPECT_NE(missing.output.find("absent.txt: cannot be read"), std::string::npos);

    std::string source = folder.path() + "presets.txt";
    WriteText(source, "[Fine]\n");
    RunResult unwritable = RunTool(source + " " + folder.path() + "no/such/folder/out.fxb");
    EXPECT_NE(unwritable.status, 0);
    EXPECT_NE(unwritable.output.find("cannot be written"), std::string::npos);

    EXPECT_NE(RunTool("").status, 0);
}
