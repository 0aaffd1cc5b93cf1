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

using Strings = std::vector<std::string>;

}  // namespace

TEST(ArgParse, LongShortInlineAndSeparateValues) {
    const ParsedArgs a = renderLikeParser().parse(
        {"in.wav", "--block", "256", "-p", "A=1", "--param=B=0.5", "-pC:=3", "out.wav", "--double"});
    EXPECT_EQ(a.positional, (Strings{"in.wav", "out.wav"}));
    EXPECT_EQ(a.get("block"), "256");
    EXPECT_EQ(a.all("param"), (Strings{"A=1", "B=0.5", "C:=3"}));
    EXPECT_TRUE(a.has("double"));
    EXPECT_FALSE(a.has("missing"));
    EXPECT_EQ(a.get("missing", "fallback"), "fallback");

    // Negative numbers and "-" are arguments; "--" ends the options.
    const ParsedArgs b = renderLikeParser().parse({"-3", "-0.5", "-", "--", "--block"});
    EXPECT_EQ(b.positional, (Strings{"-3", "-0.5", "-", "--block"}));
    EXPECT_FALSE(b.has("block"));
    EXPECT_EQ(renderLikeParser().parse({"-b", "-12"}).get("block"), "-12");  // a value, after an option taking one
}

TEST(ArgParse, MistakesAreReported) {
    const ArgParser parser = renderLikeParser();
    // Unknown long and short options, a missing value, a repeated option, a flag with a value.
    for (const Strings& args : {Strings{"--blok", "3"}, Strings{"-x"}, Strings{"--block"},
                                Strings{"-b", "1", "-b", "2"}, Strings{"--double=yes"}})
        EXPECT_THROW(parser.parse(args), ArgError) << args[0];
    try {
        parser.parse({"--block"});
    } catch (const ArgError& e) {
        EXPECT_NE(std::string(e.what()).find("--block needs a value (N)"), std::string::npos);
    }
    const std::string help = parser.help();
    for (const char* part : {"-b, --block N", "--double", "(repeatable)"})
        EXPECT_NE(help.find(part), std::string::npos) << part;
}

TEST(ArgParse, NumbersAndSampleFormatsAreChecked) {
    EXPECT_EQ(parseIntArg("512", "--block", 1, 8192), 512);
    for (const char* bad : {"0", "12x", "", "99999999999999999999"})
        EXPECT_THROW(parseIntArg(bad, "--block", 1, 8192), ArgError) << bad;
    EXPECT_DOUBLE_EQ(parseDoubleArg("2.5", "--tail", 0, 10), 2.5);
    for (const char* bad : {"-1", "nan", "1s"})
        EXPECT_THROW(parseDoubleArg(bad, "--tail", 0, 10), ArgError) << bad;
    EXPECT_EQ(parseSampleFormat("float"), SampleFormat::Float32);
    EXPECT_EQ(parseSampleFormat("pcm16"), SampleFormat::Pcm16);
    EXPECT_EQ(parseSampleFormat("24"), SampleFormat::Pcm24);
    EXPECT_THROW(parseSampleFormat("mp3"), std::invalid_argument);
}

TEST(PluginSetupArgs, DefaultsGivenValuesAndHostTempoAnswers) {
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
    EXPECT_EQ(given.params, (Strings{"DelayTime0=250ms"}));
    EXPECT_DOUBLE_EQ(given.tempo, 90.0);
    EXPECT_EQ(given.blockSize, 64);
    EXPECT_TRUE(given.doublePrecision);

    EXPECT_THROW(pluginSetupFrom(parser.parse({"-b", "0"})), ArgError);
    EXPECT_THROW(pluginSetupFrom(parser.parse({"--tempo", "0"})), ArgError);
    // A malformed assignment is caught before any plug-in is loaded.
    EXPECT_THROW(pluginSetupFrom(parser.parse({"-p", "Balance=50"})), ParamError);
    EXPECT_THROW(pluginSetupFrom(parser.parse({"-p", "=0.5"})), ParamError);

    // How the host answers tempo questions.
    EXPECT_EQ(defaults.tempoAtScale, 10000);
    EXPECT_TRUE(defaults.timeInfo);

    for (int scale : {1000, 10000, 0}) {
        const PluginSetup s =
            pluginSetupFrom(parser.parse({"--tempo-at-scale", std::to_string(scale)}));
        EXPECT_EQ(s.tempoAtScale, scale);
    }
    EXPECT_FALSE(pluginSetupFrom(parser.parse({"--no-time-info"})).timeInfo);
    for (const char* bad : {"100", "-1000", "1e4", "", "x"})
        EXPECT_THROW(pluginSetupFrom(parser.parse({"--tempo-at-scale", bad})), ArgError) << bad;
    EXPECT_THROW(parser.parse({"--no-time-info=1"}), ArgError);
}

TEST(ParamAssignmentText, NumbersUnitsAndTexts) {
    using Mode = ParamAssignment::Mode;
    struct Case {
        const char* text;
        std::string target;
        Mode mode;
        bool numeric;
        double number;
        std::string unit, value;  // value: checked for texts only
    };
    const Case cases[] = {
        {"Balance=0.25", "Balance", Mode::Normalised, true, 0.25, "", ""},
        {"59=1", "59", Mode::Normalised, true, 1.0, "", ""},
        {" ON/OFF = 0 ", "ON/OFF", Mode::Normalised, true, 0.0, "", ""},
        {"DelayTime0=250ms", "DelayTime0", Mode::Display, true, 250.0, "ms", ""},  // a unit means display units
        {"Output=-6.5 dB", "Output", Mode::Display, true, -6.5, "dB", ""},
        {"DelayPan0:=25", "DelayPan0", Mode::Display, true, 25.0, "", ""},  // so does ":="
        {"FilterType0=PK", "FilterType0", Mode::Display, false, 0.0, "", "PK"},
        {"Gain=-oo", "Gain", Mode::Display, false, 0.0, "", "-oo"},  // how some plug-ins show silence
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const ParamAssignment a = parseParamAssignment(c.text);
        EXPECT_EQ(a.target, c.target);
        EXPECT_EQ(a.mode, c.mode);
        EXPECT_EQ(a.numeric, c.numeric);
        if (c.numeric) {
            EXPECT_DOUBLE_EQ(a.number, c.number);
            EXPECT_EQ(a.unit, c.unit);
        } else {
            EXPECT_EQ(a.value, c.value);
        }
    }
    for (const char* bad : {"Balance=1.5", "Balance=-0.1", "NoValue=", "NoEquals"})
        EXPECT_THROW(parseParamAssignment(bad), ParamError) << bad;
}

TEST(ParamAssignmentText, DisplayNumbersAndUnits) {
    double number = 0;
    std::string suffix;
    ASSERT_TRUE(parseDisplayNumber(" -6.0 dB", number, suffix));
    EXPECT_DOUBLE_EQ(number, -6.0);
    EXPECT_EQ(suffix, "dB");
    ASSERT_TRUE(parseDisplayNumber("-oo", number, suffix));
    EXPECT_TRUE(std::isinf(number) && number < 0);
    for (const char* text : {"PK", "inf", ""})
        EXPECT_FALSE(parseDisplayNumber(text, number, suffix)) << text;

    const std::tuple<const char*, const char*, double> factors[] = {
        {"ms", "MS", 1.0},     {"s", "ms", 1000.0}, {"kHz", "Hz", 1000.0},
        {"Hz", "kHz", 0.001}, {"ms", "Hz", 0.0},    {"dB", "%", 0.0}};
    for (const auto& [from, to, factor] : factors)
        EXPECT_DOUBLE_EQ(unitFactor(from, to), factor) << from << " -> " << to;
}
