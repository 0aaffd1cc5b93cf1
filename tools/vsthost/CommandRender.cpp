// vsthost render: a sound file through the plug-in, offline.
#include "tools/vsthost/CommandSupport.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/PluginSetup.h"
#include "tools/vsthost/Progress.h"
#include "tools/vsthost/Renderer.h"
#include "tools/vsthost/WavIO.h"

#include <cstdio>

namespace vsthost {

int runRender(const Args& args) {
    ArgParser parser;
    addPluginOptions(parser);
    parser.option("tail", 't', "SECONDS|auto",
                  "processing after the input ends (default auto: until quiet)")
        .option("format", 'f', "float|pcm16|pcm24", "output samples (default float)");
    ParsedArgs parsed;
    if (!parseCommandLine(parser, args, "vsthost render IN.wav OUT.wav [options]", parsed))
        return 0;
    if (parsed.positional.size() != 2)
        throw ArgError("render needs an input and an output file");
    const PluginSetup setup = pluginSetupFrom(parsed);
    RenderOptions options;
    options.blockSize = setup.blockSize;
    options.doublePrecision = setup.doublePrecision;
    const std::string tail = parsed.get("tail", "auto");
    if (tail != "auto")
        options.tailSeconds = parseDoubleArg(tail, "--tail", 0.0, 3600.0);
    const SampleFormat format = parseSampleFormat(parsed.get("format", "float"));
    const std::string& inPath = parsed.positional[0];
    const std::string& outPath = parsed.positional[1];

    const AudioBuffer input = readAudioFile(inPath);
    AppliedSetup applied;
    std::unique_ptr<PluginHost> host = startPlugin(setup, input.sampleRate, &applied);
    host->transport().processLevel = kVstProcessLevelOffline;

    printf("plug-in   %s\n", describePlugin(*host).c_str());
    printf("input     %s: %zu ch, %.0f Hz, %.2f s, %s\n", inPath.c_str(), input.channelCount(),
           input.sampleRate, input.seconds(), peakText(input).c_str());
    printf("program   %d \"%s\"\n", applied.program, applied.programName.c_str());
    for (const AppliedParam& p : applied.params)
        printf("param     %s = %s (normalised %.6g)\n", p.name.c_str(), p.display.c_str(),
               p.normalised);
    printf("process   %s precision, block %d, tempo %g BPM, tail %s\n",
           setup.doublePrecision ? "double" : "single", setup.blockSize, setup.tempo,
           tail == "auto" ? "until quiet" : (tail + " s").c_str());
    if (setup.tempoAtScale != 10000 || !setup.timeInfo)
        printf("host      tempo at = BPM x %d, time info %s\n", setup.tempoAtScale,
               setup.timeInfo ? "given" : "withheld");
    if (input.channelCount() == 1 && host->numInputs() > 1)
        printf("note      the mono input feeds all %d plug-in inputs\n", host->numInputs());
    if ((int)input.channelCount() > host->numInputs())
        printf("note      the plug-in has %d input%s: the file's other channels are not used\n",
               host->numInputs(), host->numInputs() == 1 ? "" : "s");

    ProgressBar bar("rendering");
    options.progress = [&bar](size_t done, size_t planned) { bar.update(done, planned); };
    const AudioBuffer output = render(*host, input, options);
    bar.finish();
    const CallbackLog log = host->callbackLog();
    if (!log.automation.empty() || log.updateDisplay > 0)
        printf("callbacks %zu automation messages, %d display updates from the plug-in\n",
               log.automation.size(), log.updateDisplay);
    host->close();

    writeAudioFile(outPath, output, format);
    printf("output    %s: %zu ch, %.0f Hz, %.2f s, %s\n", outPath.c_str(), output.channelCount(),
           output.sampleRate, output.seconds(), peakText(output).c_str());
    return 0;
}

}  // namespace vsthost
