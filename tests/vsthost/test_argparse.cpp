// The command line: options and their values, number checks, the shared
// plug-in settings, and NAME=VALUE parameter assignments.
#include "tools/vsthost/ArgParse.h"
#include "tools/vsthost/ParamSetting.h"
#include "tools/vsthost/PluginSetup.h"
#include "tools/vsthost/WavIO.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vsthost;

namespace {

ArgParser renderLikeParser() {
    ArgParser parser;
    parser.flag("double", 0, "double precision")
        .option("block", 'b', "N", "block size")
        .list("param", 'p', "NAME=VALUE", "parameter");
    return parser;
}

}  // namespace

TEST(ArgParse, LongShortInlineAndSeparateValues) {
    const ParsedArgs a = renderLikeParser().parse(
        {"in.wav", "--block", "256", "-p", "A=1", "--param=B=0.5", "-pC:=3", "out.wav", "--double"});
    EXPECT_EQ(a.positional, (std::vector<std::string>{"in.wav", "out.wav"}));
    EXPECT_EQ(a.get("block"), "256");
    EXPECT_EQ(a.all("param"), (std::vector<std::string>{"A=1", "B=0.5", "C:=3"}));
    EXPECT_TRUE(a.has("double"));
    EXPECT_FALSE(a.has("missing"));
    EXPECT_EQ(a.get("missing", "fallback"), "fallback");
}

TEST(ArgParse, NegativeNumbersAndDashAreArguments) {
    const ParsedArgs a = renderLikeParser().parse({"-3", "-0.5", "-", "--", "--block"});
    EXPECT_EQ(a.positional, (std::vector<std::string>{"-3", "-0.5", "-", "--block"}));
    EXPECT_FALSE(a.has("block"));
    // A negative value after an option that takes one is that value.
    EXPECT_EQ(renderLikeParser().parse({"-b", "-12"}).get("block"), "-12");
}

TEST(ArgParse, MistakesAreReported) {
    const ArgParser parser = renderLikeParser();
    EXPECT_THROW(parser.parse({"--blok", "3"}), ArgError);        // unknown
    EXPECT_THROW(parser.parse({"-x"}), ArgError);                 // unknown short
    EXPECT_THROW(parser.parse({"--block"}), ArgError);            // value missing
    EXPECT_THROW(parser.parse({"-b", "1", "-b", "2"}), ArgError); // not repeatable
    EXPECT_THROW(parser.parse({"--double=yes"}), ArgError);       // flag with a value
    try {
        parser.parse({"--block"});
    } catch (const ArgError& e) {
        EXPECT_NE(std::string(e.what()).find("--block needs a value (N)"), std::string::npos);
    }
}

TEST(ArgParse, HelpListsEveryOption) {
    const std::string help = renderLikeParser().help();
    EXPECT_NE(help.find("-b, --block N"), std::string::npos);
    EXPECT_NE(help.find("--double"), std::string::npos);
    EXPECT_NE(help.find("(repeatable)"), std::string::npos);
}

TEST(ArgParse, NumbersAreCheckedForFormAndRange) {
    EXPECT_EQ(parseIntArg("512", "--block", 1, 8192), 512);
    EXPECT_THROW(parseIntArg("0", "--block", 1, 8192), ArgError);
    EXPECT_THROW(parseIntArg("12x", "--block", 1, 8192), ArgError);
    EXPECT_THROW(parseIntArg("", "--block", 1, 8192), ArgError);
    EXPECT_THROW(parseIntArg("99999999999999999999", "--block", 1, 8192), ArgError);
    EXPECT_DOUBLE_EQ(parseDoubleArg("2.5", "--tail", 0, 10), 2.5);
    EXPECT_THROW(parseDoubleArg("-1", "--tail", 0, 10), ArgError);
    EXPECT_THROW(parseDoubleArg("nan", "--tail", 0, 10), ArgError);
    EXPECT_THROW(parseDoubleArg("1s", "--tail", 0, 10), ArgError);
}

TEST(PluginSetupArgs, DefaultsAndGivenValues) {
    ArgParser parser;
    addPluginOptions(parser);
    const PluginSetup defaults = pluginSetupFrom(parser.parse({}));
    EXPECT_EQ(defaults.blockSize, 512);
    EXPECT_DOUBLE_EQ(defaults.tempo, 120.0);
    EXPECT_FALSE(defaults.doublePrecision);
    EXPECT_TRUE(defaults.program.empty());
    EXPECT_NE(defaults.pluginPath.find("TapDelay.so"), std::string::npos);

    const PluginSetup given = pluginSetupFrom(
        parser.parse({"--plugin", "/x/y.so", "--program", "Slapback", "--load", "a.fxb", "-p",
                      "DelayTime0=250ms", "--tempo", "90", "-b", "64", "--double"}));
    EXPECT_EQ(given.pluginPath, "/x/y.so");
    EXPECT_EQ(given.program, "Slapback");
    EXPECT_EQ(given.patchFile, "a.fxb");
    EXPECT_EQ(given.params, (std::vector<std::string>{"DelayTime0=250ms"}));
    EXPECT_DOUBLE_EQ(given.tempo, 90.0);
    EXPECT_EQ(given.blockSize, 64);
    EXPECT_TRUE(given.doublePrecision);

    EXPECT_THROW(pluginSetupFrom(parser.parse({"-b", "0"})), ArgError);
    EXPECT_THROW(pluginSetupFrom(parser.parse({"--tempo", "0"})), ArgError);
    // A malformed assignment is caught before any plug-in is loaded.
    EXPECT_THROW(pluginSetupFrom(parser.parse({"-p", "Balance=50"})), ParamError);
    EXPECT_THROW(pluginSetupFrom(parser.parse({"-p", "=0.5"})), ParamError);
}

TEST(ParamAssignmentText, PlainNumbersAreNormalised) {
    const ParamAssignment a = parseParamAssignment("Balance=0.25");
    EXPECT_EQ(a.target, "Balance");
    EXPECT_EQ(a.mode, ParamAssignment::Mode::Normalised);
    EXPECT_DOUBLE_EQ(a.number, 0.25);
    EXPECT_EQ(parseParamAssignment("59=1").target, "59");
    EXPECT_EQ(parseParamAssignment(" ON/OFF = 0 ").target, "ON/OFF");
    EXPECT_THROW(parseParamAssignment("Balance=1.5"), ParamError);
    EXPECT_THROW(parseParamAssignment("Balance=-0.1"), ParamError);
}

TEST(ParamAssignmentText, UnitsTextsAndColonMeanDisplayUnits) {
    const ParamAssignment ms = parseParamAssignment("DelayTime0=250ms");
    EXPECT_EQ(ms.mode, ParamAssignment::Mode::Display);
    EXPECT_TRUE(ms.numeric);
    EXPECT_DOUBLE_EQ(ms.number, 250.0);
    EXPECT_EQ(ms.unit, "ms");

    const ParamAssignment db = parseParamAssignment("Output=-6.5 dB");
    EXPECT_DOUBLE_EQ(db.number, -6.5);
    EXPECT_EQ(db.unit, "dB");

    const ParamAssignment text = parseParamAssignment("FilterType0=PK");
    EXPECT_EQ(text.mode, ParamAssignment::Mode::Display);
    EXPECT_FALSE(text.numeric);
    EXPECT_EQ(text.value, "PK");

    const ParamAssignment bare = parseParamAssignment("DelayPan0:=25");
    EXPECT_EQ(bare.target, "DelayPan0");
    EXPECT_EQ(bare.mode, ParamAssignment::Mode::Display);
    EXPECT_DOUBLE_EQ(bare.number, 25.0);
    EXPECT_TRUE(bare.unit.empty());

    // "-oo" is how some plug-ins show silence: a text to look for.
    EXPECT_FALSE(parseParamAssignment("Gain=-oo").numeric);
    EXPECT_THROW(parseParamAssignment("NoValue="), ParamError);
    EXPECT_THROW(parseParamAssignment("NoEquals"), ParamError);
}

TEST(ParamAssignmentText, DisplayNumbersAndUnits) {
    double number = 0;
    std::string suffix;
    ASSERT_TRUE(parseDisplayNumber(" -6.0 dB", number, suffix));
    EXPECT_DOUBLE_EQ(number, -6.0);
    EXPECT_EQ(suffix, "dB");
    ASSERT_TRUE(parseDisplayNumber("-oo", number, suffix));
    EXPECT_TRUE(std::isinf(number) && number < 0);
    EXPECT_FALSE(parseDisplayNumber("PK", number, suffix));
    EXPECT_FALSE(parseDisplayNumber("inf", number, suffix));
    EXPECT_FALSE(parseDisplayNumber("", number, suffix));

    EXPECT_DOUBLE_EQ(unitFactor("ms", "MS"), 1.0);
    EXPECT_DOUBLE_EQ(unitFactor("s", "ms"), 1000.0);
    EXPECT_DOUBLE_EQ(unitFactor("kHz", "Hz"), 1000.0);
    EXPECT_DOUBLE_EQ(unitFactor("Hz", "kHz"), 0.001);
    EXPECT_DOUBLE_EQ(unitFactor("ms", "Hz"), 0.0);
    EXPECT_DOUBLE_EQ(unitFactor("dB", "%"), 0.0);
}

TEST(SampleFormats, NamesAreRecognised) {
    EXPECT_EQ(parseSampleFormat("float"), SampleFormat::Float32);
    EXPECT_EQ(parseSampleFormat("pcm16"), SampleFormat::Pcm16);
    EXPECT_EQ(parseSampleFormat("24"), SampleFormat::Pcm24);
    EXPECT_THROW(parseSampleFormat("mp3"), std::invalid_argument);
}
