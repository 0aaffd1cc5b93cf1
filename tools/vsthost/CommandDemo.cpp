// vsthost demo: a synthesised phrase through several presets, with a sound
// file and a picture (input, output, impulse response) for each.
#include "tools/vsthost/CommandSupport.h"
#include "tools/vsthost/EditorSession.h"
#include "tools/vsthost/Plot.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/PluginSetup.h"
#include "tools/vsthost/Renderer.h"
#include "tools/vsthost/Synth.h"
#include "tools/vsthost/WavIO.h"
#include "tools/vsthost/XServer.h"

#include <sys/stat.h>

#include <cerrno>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>

namespace vsthost {

namespace {

// Program numbers worth a demo: the presets (programs whose name is neither
// empty nor the filler most programs share, such as "Empty"), spread evenly
// over the list for variety; when there are not two presets, simply the
// first programs.
std::vector<int> choosePrograms(const std::vector<std::string>& names, int count) {
    std::map<std::string, int> uses;
    for (const std::string& n : names)
        ++uses[n];
    std::string filler;
    int most = 1;
    for (const auto& [name, n] : uses)
        if (n > most) {
            most = n;
            filler = name;
        }
    std::vector<int> presets;
    for (size_t i = 0; i < names.size(); ++i)
        if (!names[i].empty() && names[i] != filler)
            presets.push_back((int)i);
    std::vector<int> chosen;
    if (presets.size() >= 2) {
        const size_t n = std::min(presets.size(), (size_t)count);
        for (size_t k = 0; k < n; ++k)
            chosen.push_back(presets[k * presets.size() / n]);
        return chosen;
    }
    for (int i = 0; i < (int)names.size() && i < count; ++i)
        chosen.push_back(i);
    return chosen;
}

std::string fileStem(int program, const std::string& name) {
    if (program < 0)
        return "current-settings";
    char number[16];
    snprintf(number, sizeof number, "%02d", std::max(program, 0));
    std::string stem = std::string("program-") + number;
    std::string tail;
    for (char c : name) {
        if (std::isalnum((unsigned char)c))
            tail += (char)std::tolower((unsigned char)c);
        else if (!tail.empty() && tail.back() != '-')
            tail += '-';
    }
    while (!tail.empty() && tail.back() == '-')
        tail.pop_back();
    return tail.empty() ? stem : stem + "-" + tail;
}

std::vector<int> parseProgramList(const std::string& text) {
    std::vector<int> list;
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, ','))
        list.push_back(parseIntArg(item, "--programs", 0, 1 << 20));
    if (list.empty())
        throw ArgError("--programs needs numbers such as 0,2,5");
    return list;
}

float peakOf(const AudioBuffer& a) {
    float peak = 0.0f;
    for (const auto& c : a.channels)
        for (float x : c)
            if (std::isfinite(x))
                peak = std::max(peak, std::fabs(x));
    return peak;
}

// A picture of the plug-in's editor showing the program, with the demo's
// input playing so that its meters move; on $DISPLAY, else on a private
// Xvfb, else not at all.
void writeEditorPicture(const PluginSetup& setup, double rate, const AudioBuffer& input,
                        const std::string& path) {
    const XServer server(true);
    if (!server.display()) {
        printf("editor    no picture: no X display and no Xvfb (Debian package xvfb)\n");
        return;
    }
    std::unique_ptr<PluginHost> host = startPlugin(setup, rate);
    if (!host->hasFlag(effFlagsHasEditor))
        return;
    EditorSessionOptions options;
    options.audio = &input;
    options.screenshot = path;
    options.after = 2.0;
    try {
        runEditorSession(*host, server.display(), options);
    } catch (const HostError& e) {
        printf("editor    no picture: %s\n", e.what());
        return;
    }
    printf("editor    %s (the editor after %.0f s of the input)\n", path.c_str(), options.after);
}

}  // namespace

int runDemo(const Args& args) {
    ArgParser parser;
    addPluginOptions(parser);
    parser.option("out", 'o', "DIR", "folder for the files (default tapdelay-demo)")
        .option("programs", 0, "N,N,...", "program numbers to render (default: the presets)")
        .option("count", 'n', "N", "how many presets at most (default 5)")
        .option("rate", 'r', "HZ", "sample rate (default 48000)")
        .flag("no-editor", 0, "no picture of the editor (it shows on the X display for 2 s)");
    ParsedArgs parsed;
    if (!parseCommandLine(parser, args, "vsthost demo [options]", parsed))
        return 0;
    takePluginArgument(parsed);
    if (!parsed.positional.empty())
        throw ArgError("unexpected argument " + parsed.positional[0]);
    PluginSetup setup = pluginSetupFrom(parsed);
    if (!setup.program.empty())
        throw ArgError("demo picks its programs itself; use --programs to choose");
    const std::string folder = parsed.get("out", "tapdelay-demo");
    const int count = parseIntArg(parsed.get("count", "5"), "--count", 1, 64);
    const double rate = parseDoubleArg(parsed.get("rate", "48000"), "--rate", 8000, 384000);

    if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot create folder " + folder);

    std::vector<std::string> names;
    std::string title;
    {
        std::unique_ptr<PluginHost> host = startPlugin(setup, rate);
        names = host->programNames();
        title = host->effectName().empty() ? host->productString() : host->effectName();
        printf("plug-in   %s\n", describePlugin(*host).c_str());
    }
    std::vector<int> programs = parsed.has("programs") ? parseProgramList(parsed.get("programs"))
                                                       : choosePrograms(names, count);
    if (programs.empty())
        programs.push_back(-1);  // a plug-in without programs: its own settings

    const AudioBuffer input = synthesiseDemoInput(rate);
    const std::string inputPath = folder + "/input.wav";
    writeAudioFile(inputPath, input);
    printf("input     %s (%.1f s of plucked phrase and drums at %.0f Hz)\n", inputPath.c_str(),
           input.seconds(), rate);

    for (int program : programs) {
        if (program >= (int)names.size() && !names.empty())
            throw ArgError("program " + std::to_string(program) + " does not exist");
        PluginSetup presetSetup = setup;
        if (program >= 0)
            presetSetup.program = std::to_string(program);
        const std::string name = program >= 0 ? names[program] : std::string("current settings");

        RenderOptions options;
        options.blockSize = setup.blockSize;
        options.doublePrecision = setup.doublePrecision;
        options.maxTail = 20.0;
        const AudioBuffer output = render(*startPlugin(presetSetup, rate), input, options);
        options.quietWindow = 4.5;
        const AudioBuffer response =
            render(*startPlugin(presetSetup, rate), makeImpulse(rate, 2, 1), options);

        const std::string stem = folder + "/" + fileStem(program, names.empty() ? "" : name);
        writeAudioFile(stem + ".wav", output);

        const double seconds = std::max(input.seconds(), output.seconds());
        const float peak = std::max(peakOf(input), peakOf(output));
        PlotPanel in, out, ir;
        in.title = "Input";
        out.title = "Output";
        for (PlotPanel* p : {&in, &out}) {
            p->sampleRate = rate;
            p->seconds = seconds;
            p->peak = peak;
        }
        in.traces.push_back({&input.channels[0], 0.12, 0.38, 0.75, "left"});
        in.traces.push_back({&input.channels[1], 0.90, 0.45, 0.10, "right"});
        for (size_t c = 0; c < output.channelCount() && c < 2; ++c)
            out.traces.push_back({&output.channels[c], c ? 0.90 : 0.12, c ? 0.45 : 0.38,
                                  c ? 0.10 : 0.75, c ? "right" : "left"});
        const double irSeconds = std::max(0.05, response.seconds() - 0.05);
        ir.title = "Impulse response (an impulse on both inputs), level in dB";
        ir.sampleRate = rate;
        ir.seconds = irSeconds;
        ir.milliseconds = irSeconds < 2.0;
        ir.decibels = true;
        for (size_t c = 0; c < response.channelCount() && c < 2; ++c)
            ir.traces.push_back({&response.channels[c], c ? 0.90 : 0.12, c ? 0.45 : 0.38,
                                 c ? 0.10 : 0.75, c ? "right" : "left"});
        const std::string heading =
            title + (program >= 0 ? "  -  program " + std::to_string(program) + " \"" + name + "\""
                                  : std::string());
        writePlotPng(stem + ".png", heading, {in, out, ir});
        printf("program   %2d %-24s -> %s.wav, %s.png (%.1f s, %s)\n", program,
               ("\"" + name + "\"").c_str(), stem.c_str(), stem.c_str(), output.seconds(),
               peakText(output).c_str());
    }
    PluginSetup editorSetup = setup;
    if (programs[0] >= 0)
        editorSetup.program = std::to_string(programs[0]);
    if (!parsed.has("no-editor"))
        writeEditorPicture(editorSetup, rate, input, folder + "/editor.png");
    printf("done      listen to the WAV files and look at the PNG pictures in %s/\n",
           folder.c_str());
    return 0;
}

}  // namespace vsthost
