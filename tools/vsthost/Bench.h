// Speed of a plug-in in a named configuration, optionally against a second
// one: runs interleaved A B A B so that both see the same machine state,
// with the ratio per pair and medians.
#pragma once

#include "tools/vsthost/PluginSetup.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vsthost {

struct BenchSide {
    PluginSetup setup;
    double sampleRate = 48000.0;
};

struct BenchOptions {
    double seconds = 10.0;  // audio per run
    int rounds = 7;
    uint32_t seed = 1;
};

struct BenchRound {
    double nsPerFrameA = 0.0;
    double nsPerFrameB = 0.0;  // 0 without a second plug-in
};

struct BenchSummary {
    double medianA = 0.0, medianB = 0.0, medianRatio = 0.0;  // ratio of A to B per pair
    double realtimeA = 0.0, realtimeB = 0.0;  // seconds of audio per second of work
};

double median(std::vector<double> values);
BenchSummary summarise(const std::vector<BenchRound>& rounds, double rateA, double rateB);

class Bench {
public:
    // `b` may be null for a single plug-in.
    Bench(const BenchSide& a, const BenchSide* b, const BenchOptions& options);
    ~Bench();

    // One line describing each side: plug-in, settings, rate, block, precision.
    std::string describe(bool sideB) const;
    // Runs the rounds; `round` is called after each.
    std::vector<BenchRound> run(const std::function<void(int, const BenchRound&)>& round);

private:
    struct Side;
    std::vector<std::unique_ptr<Side>> sides_;
    BenchOptions options_;
};

}  // namespace vsthost
