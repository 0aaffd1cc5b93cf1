#include "tools/vsthost/Bench.h"

#include "tools/vsthost/CommandSupport.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/Renderer.h"
#include "tools/vsthost/Synth.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace vsthost {

struct Bench::Side {
    BenchSide config;
    AppliedSetup applied;
    std::unique_ptr<PluginHost> host;
    std::unique_ptr<BlockRunner> runner;
    AudioBuffer input, output;

    Side(const BenchSide& side, const BenchOptions& options) : config(side) {
        host = startPlugin(side.setup, side.sampleRate, &applied);
        runner = std::make_unique<BlockRunner>(*host, side.setup.blockSize,
                                               side.setup.doublePrecision);
        const size_t frames = (size_t)(options.seconds * side.sampleRate);
        input = makeNoise(side.sampleRate, 2, frames, 0.5f, options.seed);
        output = AudioBuffer(side.sampleRate, std::max(host->numOutputs(), 1), frames);
    }

    // Nanoseconds per frame for one pass over the whole input.
    double pass() {
        const int block = config.setup.blockSize;
        const size_t frames = input.frames();
        std::vector<const float*> in(input.channelCount());
        std::vector<float*> out(output.channelCount());
        const auto start = std::chrono::steady_clock::now();
        for (size_t done = 0; done < frames; done += block) {
            const int n = (int)std::min<size_t>(block, frames - done);
            for (size_t c = 0; c < in.size(); ++c)
                in[c] = input.channels[c].data() + done;
            for (size_t c = 0; c < out.size(); ++c)
                out[c] = output.channels[c].data() + done;
            runner->run(in, out, n);
        }
        const double ns =
            std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start)
                .count();
        return ns / frames;
    }
};

double median(std::vector<double> values) {
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : 0.5 * (values[n / 2 - 1] + values[n / 2]);
}

BenchSummary summarise(const std::vector<BenchRound>& rounds, double rateA, double rateB) {
    std::vector<double> a, b, ratio;
    for (const BenchRound& r : rounds) {
        a.push_back(r.nsPerFrameA);
        if (r.nsPerFrameB > 0) {
            b.push_back(r.nsPerFrameB);
            ratio.push_back(r.nsPerFrameA / r.nsPerFrameB);
        }
    }
    BenchSummary s;
    s.medianA = median(a);
    s.medianB = median(b);
    s.medianRatio = median(ratio);
    s.realtimeA = s.medianA > 0 ? 1e9 / (s.medianA * rateA) : 0.0;
    s.realtimeB = s.medianB > 0 ? 1e9 / (s.medianB * rateB) : 0.0;
    return s;
}

Bench::Bench(const BenchSide& a, const BenchSide* b, const BenchOptions& options)
    : options_(options) {
    sides_.push_back(std::make_unique<Side>(a, options));
    if (b)
        sides_.push_back(std::make_unique<Side>(*b, options));
}

Bench::~Bench() = default;

std::string Bench::describe(bool sideB) const {
    const Side& s = *sides_.at(sideB ? 1 : 0);
    std::vector<std::string> items;
    if (s.host->numPrograms() > 0)
        items.push_back("program " + std::to_string(s.applied.program) + " \"" +
                        s.applied.programName + "\"");
    for (const AppliedParam& p : s.applied.params)
        items.push_back(p.name + "=" + p.display);
    char tail[160];
    snprintf(tail, sizeof tail, "%.0f Hz, block %d, %s precision, %d in / %d out",
             s.config.sampleRate, s.config.setup.blockSize,
             s.config.setup.doublePrecision ? "double" : "single", s.host->numInputs(),
             s.host->numOutputs());
    items.push_back(tail);
    // The settings on lines of at most about 100 characters.
    const std::string indent = "\n     ";
    std::string text = describePlugin(*s.host) + indent;
    size_t column = 0;
    for (size_t i = 0; i < items.size(); ++i) {
        const std::string item = items[i] + (i + 1 < items.size() ? "; " : "");
        if (column > 0 && column + item.size() > 95) {
            text.pop_back();  // the space after the last ';'
            text += indent;
            column = 0;
        }
        text += item;
        column += item.size();
    }
    return text;
}

std::vector<BenchRound> Bench::run(const std::function<void(int, const BenchRound&)>& round) {
    // Warm up caches, allocators and branch predictors on both sides.
    for (auto& side : sides_)
        side->pass();
    std::vector<BenchRound> rounds;
    for (int r = 0; r < options_.rounds; ++r) {
        BenchRound result;
        result.nsPerFrameA = sides_[0]->pass();
        if (sides_.size() > 1)
            result.nsPerFrameB = sides_[1]->pass();
        rounds.push_back(result);
        if (round)
            round(r, result);
    }
    return rounds;
}

}  // namespace vsthost
