// The command line: options and their values, and the shared plug-in
// settings; NAME=VALUE assignments are tested with the parameter search.
#include "tools/vsthost/ArgParse.h"
#include "tools/vsthost/ParamSetting.h"
#include "tools/vsthost/PluginSetup.h"

#include <gtest/gtest.h>

#include <tuple>

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

TEST(PluginSetupArgs, DefaultsGivenValuesAndHostTempoAnswers) {
    ArgParser parser;
    addPluginOptions(parser);
    const PluginSetup defaults = pluginSetupFrom(parser.parse({}));
    EXPECT_EQ(std::make_tuple(defaults.blockSize, defaults.tempo, defaults.tempoAtScale, defaults.timeInfo),
              std::make_tuple(512, 120.0, 10000, true));
    const PluginSetup given = pluginSetupFrom(parser.parse(
        {"--program", "Slapback", "-p", "DelayTime0=250ms", "--tempo", "90", "-b", "64", "--tempo-at-scale", "0", "--no-time-info"}));
    EXPECT_EQ(std::make_tuple(given.program, given.params, given.tempo, given.blockSize, given.tempoAtScale, given.timeInfo),
              std::make_tuple(std::string("Slapback"), Strings{"DelayTime0=250ms"}, 90.0, 64, 0, false));
    for (const Strings& bad : {Strings{"-b", "0"}, Strings{"-b", "12x"}, Strings{"--tempo", "0"},
                               Strings{"--tempo-at-scale", "100"}, Strings{"--tempo-at-scale", "1e4"}})
        EXPECT_THROW(pluginSetupFrom(parser.parse(bad)), ArgError) << bad[1];
    // A malformed assignment is caught before any plug-in is loaded.
    for (const char* bad : {"Balance=50", "Balance=-0.1", "NoValue=", "NoEquals", "=0.5"})
        EXPECT_THROW(pluginSetupFrom(parser.parse({"-p", bad})), ParamError) << bad;
}
