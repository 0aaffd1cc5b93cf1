// Running audio through a plug-in block by block, in single or double
// precision, with a tail after the input so that echoes ring out.
#pragma once

#include "tools/vsthost/AudioBuffer.h"

#include <functional>
#include <vector>

namespace vsthost {

class PluginHost;

// Feeds one block at a time to a plug-in that is open, has its sample rate
// and block size, and is resumed. The plug-in gets private copies of the
// input, so whatever it does to its input buffers stays with it.
class BlockRunner {
public:
    BlockRunner(PluginHost& host, int maxBlock, bool doublePrecision);

    // `inputs` holds one pointer per channel given (at least one unless the
    // plug-in has no inputs); plug-in input k reads channel min(k, count-1),
    // so mono feeds every input. `outputs` holds numOutputs() pointers.
    void run(const std::vector<const float*>& inputs, const std::vector<float*>& outputs,
             int frames);
    int maxBlock() const { return maxBlock_; }

private:
    PluginHost& host_;
    int maxBlock_;
    bool double_;
    std::vector<std::vector<float>> inF_, outF_;
    std::vector<std::vector<double>> inD_, outD_;
    std::vector<float*> inPtrF_, outPtrF_;
    std::vector<double*> inPtrD_, outPtrD_;
};

struct RenderOptions {
    int blockSize = 512;
    bool doublePrecision = false;
    // Seconds processed after the input; negative means "until quiet":
    // until the output has stayed below -100 dBFS for `quietWindow` seconds
    // (at most `maxTail`), then cut 0.1 s after the last louder sample.
    double tailSeconds = -1.0;
    double quietWindow = 4.5;
    double maxTail = 60.0;
    // Called now and then with the frames done and the frames planned.
    std::function<void(size_t done, size_t planned)> progress;
};

// The plug-in must be prepared (see prepareForProcessing) and resumed.
AudioBuffer render(PluginHost& host, const AudioBuffer& input, const RenderOptions& options);

// effSetSampleRate, effSetBlockSize and effSetProcessPrecision; checks that
// the plug-in can do the precision asked (throws HostError if not).
void prepareForProcessing(PluginHost& host, double sampleRate, int blockSize,
                          bool doublePrecision);

}  // namespace vsthost
