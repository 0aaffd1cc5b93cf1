// vsthost bench: realtime factor and nanoseconds per frame, optionally
// against a second plug-in given after --vs with settings of its own.
#include "tools/vsthost/Bench.h"
#include "tools/vsthost/CommandSupport.h"

#include <algorithm>
#include <cstdio>

namespace vsthost {

namespace {

// Options that describe one side; --vs starts the second side's list.
void addSideOptions(ArgParser& parser) {
    addPluginOptions(parser);
    parser.option("rate", 'r', "HZ", "sample rate (default 48000)");
}

BenchSide sideFrom(ParsedArgs& parsed, const BenchSide* inherit) {
    takePluginArgument(parsed);
    if (!parsed.positional.empty())
        throw ArgError("unexpected argument " + parsed.positional[0]);
    BenchSide side;
    side.setup = pluginSetupFrom(parsed);
    side.sampleRate = parseDoubleArg(parsed.get("rate", "48000"), "--rate", 8000, 768000);
    if (inherit) {
        // The second side runs like the first unless told otherwise.
        if (!parsed.has("block"))
            side.setup.blockSize = inherit->setup.blockSize;
        if (!parsed.has("double"))
            side.setup.doublePrecision = inherit->setup.doublePrecision;
        if (!parsed.has("rate"))
            side.sampleRate = inherit->sampleRate;
        if (!parsed.has("tempo"))
            side.setup.tempo = inherit->setup.tempo;
    }
    return side;
}

}  // namespace

int runBench(const Args& args) {
    const auto vs = std::find(args.begin(), args.end(), "--vs");
    const Args first(args.begin(), vs);
    ArgParser parser;
    addSideOptions(parser);
    parser.option("seconds", 's', "S", "seconds of audio per run (default 10)")
        .option("rounds", 'n', "N", "runs per plug-in (default 7)")
        .option("seed", 0, "N", "seed of the noise input (default 1)");
    ParsedArgs parsed;
    if (!parseCommandLine(parser, first,
                          "vsthost bench [PLUGIN.so] [options] [--vs OTHER.so [its options]]\n\n"
                          "The options after --vs OTHER.so set up the second plug-in (plug-in\n"
                          "options and --rate); its block size, precision, rate and tempo are\n"
                          "the first one's unless given there.",
                          parsed))
        return 0;
    BenchOptions options;
    options.seconds = parseDoubleArg(parsed.get("seconds", "10"), "--seconds", 0.01, 3600);
    options.rounds = parseIntArg(parsed.get("rounds", "7"), "--rounds", 1, 1000);
    options.seed = (uint32_t)parseIntArg(parsed.get("seed", "1"), "--seed", 0, 0x7fffffff);
    const BenchSide a = sideFrom(parsed, nullptr);

    BenchSide b;
    const bool versus = vs != args.end();
    if (versus) {
        ArgParser other;
        addSideOptions(other);
        ParsedArgs otherArgs = other.parse(Args(vs + 1, args.end()));
        b = sideFrom(otherArgs, &a);
    }

    Bench bench(a, versus ? &b : nullptr, options);
    printf("A    %s\n", bench.describe(false).c_str());
    if (versus)
        printf("B    %s\n", bench.describe(true).c_str());
    printf("%g s of noise per run, %d rounds%s\n\n", options.seconds, options.rounds,
           versus ? ", interleaved A B A B" : "");
    printf("round  A ns/frame%s\n", versus ? "  B ns/frame    A/B" : "");
    const std::vector<BenchRound> rounds = bench.run([versus](int r, const BenchRound& x) {
        if (versus)
            printf("%5d  %10.2f  %10.2f  %5.3f\n", r + 1, x.nsPerFrameA, x.nsPerFrameB,
                   x.nsPerFrameA / x.nsPerFrameB);
        else
            printf("%5d  %10.2f\n", r + 1, x.nsPerFrameA);
        fflush(stdout);
    });
    const BenchSummary s = summarise(rounds, a.sampleRate, b.sampleRate);
    if (versus)
        printf("median %9.2f  %10.2f  %5.3f\n\n", s.medianA, s.medianB, s.medianRatio);
    else
        printf("median %9.2f\n\n", s.medianA);
    printf("A: %.2f ns per frame, %.1f times realtime at %.0f Hz\n", s.medianA, s.realtimeA,
           a.sampleRate);
    if (versus) {
        printf("B: %.2f ns per frame, %.1f times realtime at %.0f Hz\n", s.medianB, s.realtimeB,
               b.sampleRate);
        printf("A/B: %.3f (median of the per-pair ratios; above 1 means A is slower)\n",
               s.medianRatio);
    }
    return 0;
}

}  // namespace vsthost
