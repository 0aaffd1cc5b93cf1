#include "tools/vsthost/Renderer.h"

#include "tools/vsthost/PluginHost.h"

#include <algorithm>
#include <cmath>

namespace vsthost {

BlockRunner::BlockRunner(PluginHost& host, int maxBlock, bool doublePrecision)
    : host_(host), maxBlock_(maxBlock), double_(doublePrecision) {
    const int ins = std::max(0, host.numInputs());
    const int outs = std::max(0, host.numOutputs());
    // Every plug-in gets at least one buffer on each side: some read inputs[0]
    // even when they declare none.
    const size_t inBuffers = std::max(ins, 1), outBuffers = std::max(outs, 1);
    if (double_) {
        inD_.assign(inBuffers, std::vector<double>(maxBlock, 0.0));
        outD_.assign(outBuffers, std::vector<double>(maxBlock, 0.0));
        for (auto& b : inD_) inPtrD_.push_back(b.data());
        for (auto& b : outD_) outPtrD_.push_back(b.data());
    } else {
        inF_.assign(inBuffers, std::vector<float>(maxBlock, 0.0f));
        outF_.assign(outBuffers, std::vector<float>(maxBlock, 0.0f));
        for (auto& b : inF_) inPtrF_.push_back(b.data());
        for (auto& b : outF_) outPtrF_.push_back(b.data());
    }
}

void BlockRunner::run(const std::vector<const float*>& inputs, const std::vector<float*>& outputs,
                      int frames) {
    frames = std::min(frames, maxBlock_);
    const size_t ins = double_ ? inD_.size() : inF_.size();
    for (size_t k = 0; k < ins; ++k) {
        const float* source =
            inputs.empty() ? nullptr : inputs[std::min(k, inputs.size() - 1)];
        for (int i = 0; i < frames; ++i) {
            const float x = source ? source[i] : 0.0f;
            if (double_)
                inD_[k][i] = x;
            else
                inF_[k][i] = x;
        }
    }
    if (double_)
        host_.processDouble(inPtrD_.data(), outPtrD_.data(), frames);
    else
        host_.processFloat(inPtrF_.data(), outPtrF_.data(), frames);
    for (size_t k = 0; k < outputs.size() && k < (double_ ? outD_.size() : outF_.size()); ++k)
        for (int i = 0; i < frames; ++i)
            outputs[k][i] = double_ ? (float)outD_[k][i] : outF_[k][i];
}

void prepareForProcessing(PluginHost& host, double sampleRate, int blockSize,
                          bool doublePrecision) {
    if (doublePrecision && !host.hasFlag(effFlagsCanDoubleReplacing))
        throw HostError("the plug-in cannot process in double precision");
    if (!doublePrecision && !host.hasFlag(effFlagsCanReplacing))
        throw HostError("the plug-in cannot process in single precision (replacing)");
    host.setSampleRate(sampleRate);
    host.setBlockSize(blockSize);
    host.setProcessPrecision(doublePrecision);
}

AudioBuffer render(PluginHost& host, const AudioBuffer& input, const RenderOptions& options) {
    const double rate = input.sampleRate;
    const size_t inFrames = input.frames();
    const bool untilQuiet = options.tailSeconds < 0;
    const size_t tailFrames =
        (size_t)std::llround((untilQuiet ? options.maxTail : options.tailSeconds) * rate);
    const size_t planned = inFrames + tailFrames;
    const size_t quietFrames = (size_t)std::llround(options.quietWindow * rate);
    constexpr float kQuiet = 1e-5f;  // -100 dBFS

    const int outs = std::max(0, host.numOutputs());
    AudioBuffer output(rate, outs, planned);
    BlockRunner runner(host, options.blockSize, options.doublePrecision);
    std::vector<float> silence(options.blockSize, 0.0f);

    size_t done = 0, lastLoud = 0;
    while (done < planned) {
        const int frames = (int)std::min<size_t>(options.blockSize, planned - done);
        std::vector<const float*> inputs;
        std::vector<std::vector<float>> partial;
        partial.reserve(input.channelCount());
        for (const auto& channel : input.channels) {
            if (done + frames <= inFrames) {
                inputs.push_back(channel.data() + done);
            } else {
                // The block that straddles the end of the input, or the tail.
                partial.emplace_back(frames, 0.0f);
                for (size_t i = done; i < inFrames; ++i)
                    partial.back()[i - done] = channel[i];
                inputs.push_back(partial.back().data());
            }
        }
        if (inputs.empty())
            inputs.push_back(silence.data());
        std::vector<float*> outputs;
        for (auto& channel : output.channels)
            outputs.push_back(channel.data() + done);
        runner.run(inputs, outputs, frames);

        for (const auto& channel : output.channels)
            for (int i = 0; i < frames; ++i)
                if (std::fabs(channel[done + i]) >= kQuiet || !std::isfinite(channel[done + i]))
                    lastLoud = done + i;
        done += frames;
        if (options.progress)
            options.progress(done, planned);
        if (untilQuiet && done >= inFrames && done - std::max(lastLoud, inFrames) >= quietFrames)
            break;
    }
    if (untilQuiet) {
        const size_t keep = std::max(inFrames, lastLoud + 1 + (size_t)std::llround(0.1 * rate));
        output.resize(std::min(keep, done));
    }
    return output;
}

}  // namespace vsthost
