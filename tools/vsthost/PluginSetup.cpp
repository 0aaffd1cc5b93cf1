#include "tools/vsthost/PluginSetup.h"

#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/Renderer.h"

#include <unistd.h>

#include <cstdlib>
#include <strings.h>
#include <sys/stat.h>

#ifndef VSTHOST_DEFAULT_PLUGIN
#define VSTHOST_DEFAULT_PLUGIN "TapDelay/TapDelay.so"
#endif

namespace vsthost {

namespace {

bool isFile(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::string executableFolder() {
    char path[4096];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0)
        return "";
    std::string text(path, (size_t)n);
    return text.substr(0, text.rfind('/') + 1);
}

}  // namespace

std::string defaultPluginPath() {
    std::vector<std::string> candidates = {VSTHOST_DEFAULT_PLUGIN};
    const std::string here = executableFolder();
    if (!here.empty()) {
        candidates.push_back(here + "../../TapDelay/TapDelay.so");     // build/tools/vsthost/
        candidates.push_back(here + "../lib/vst/TapDelay/TapDelay.so");  // PREFIX/bin/
    }
    if (const char* home = getenv("HOME"))
        candidates.push_back(std::string(home) + "/.vst/TapDelay/TapDelay.so");
    for (const std::string& candidate : candidates)
        if (isFile(candidate))
            return candidate;
    return candidates.front();
}

void addPluginOptions(ArgParser& parser) {
    parser.option("plugin", 'P', "PATH", "plug-in to host (default: TapDelay.so)")
        .option("program", 0, "N|NAME", "select a program by number or by name")
        .option("load", 0, "FILE", "load a bank (.fxb) or program (.fxp) file")
        .list("param", 'p', "NAME=VALUE",
              "set a parameter by name or index: 0..1 normalised, or display units "
              "with a unit (250ms, -6dB, 50%) or as text (PK, ON); NAME:=VALUE for "
              "display units without a unit")
        .option("tempo", 0, "BPM", "host tempo (default 120)")
        .option("tempo-at-scale", 0, "1000|10000|0",
                "answer audioMasterTempoAt with BPM times this, as hosts do: 10000 as "
                "documented (default), 1000 as Ardour 7, 0 for no answer")
        .flag("no-time-info", 0, "answer audioMasterGetTime with null, as hosts without time info do")
        .option("block", 'b', "N", "block size in frames (default 512)")
        .flag("double", 0, "process in double precision");
}

PluginSetup pluginSetupFrom(const ParsedArgs& args) {
    PluginSetup setup;
    setup.pluginPath = args.get("plugin", defaultPluginPath());
    setup.program = args.get("program");
    setup.patchFile = args.get("load");
    setup.params = args.all("param");
    for (const std::string& p : setup.params)
        parseParamAssignment(p);  // form errors now, before any work
    if (args.has("tempo"))
        setup.tempo = parseDoubleArg(args.get("tempo"), "--tempo", 1.0, 999.0);
    if (args.has("tempo-at-scale")) {
        const std::string scale = args.get("tempo-at-scale");
        if (scale != "1000" && scale != "10000" && scale != "0")
            throw ArgError("--tempo-at-scale: \"" + scale + "\" is not 1000, 10000 or 0");
        setup.tempoAtScale = std::stoi(scale);
    }
    setup.timeInfo = !args.has("no-time-info");
    if (args.has("block"))
        setup.blockSize = parseIntArg(args.get("block"), "--block", 1, 65536);
    setup.doublePrecision = args.has("double");
    return setup;
}

int findProgram(PluginHost& host, const std::string& text) {
    char* end = nullptr;
    const long number = strtol(text.c_str(), &end, 10);
    if (!text.empty() && *end == 0) {
        if (number < 0 || number >= host.numPrograms())
            throw ParamError("program " + text + " does not exist (the plug-in has " +
                             std::to_string(host.numPrograms()) + ")");
        return (int)number;
    }
    const std::vector<std::string> names = host.programNames();
    for (size_t i = 0; i < names.size(); ++i)
        if (names[i] == text)
            return (int)i;
    for (size_t i = 0; i < names.size(); ++i)
        if (strcasecmp(names[i].c_str(), text.c_str()) == 0)
            return (int)i;
    std::string list;
    for (size_t i = 0; i < names.size(); ++i)
        if (list.find("\"" + names[i] + "\"") == std::string::npos)
            list += (list.empty() ? "\"" : ", \"") + names[i] + "\"";
    throw ParamError("no program named \"" + text + "\"; the programs are " + list);
}

AppliedSetup applySetup(PluginHost& host, const PluginSetup& setup) {
    AppliedSetup applied;
    host.setTempo(setup.tempo);
    if (!setup.patchFile.empty())
        applyPatch(host, readPatchFile(setup.patchFile));
    if (!setup.program.empty())
        host.setProgram(findProgram(host, setup.program));
    applied.program = host.currentProgram();
    applied.programName = host.programName();
    PluginParams params(host);
    for (const std::string& text : setup.params)
        applied.params.push_back(applyParamAssignment(params, parseParamAssignment(text)));
    return applied;
}

std::unique_ptr<PluginHost> startPlugin(const PluginSetup& setup, double sampleRate,
                                        AppliedSetup* applied) {
    HostTransport transport;
    transport.sampleRate = sampleRate;
    transport.blockSize = setup.blockSize;
    transport.tempo = setup.tempo;
    transport.tempoAtScale = setup.tempoAtScale;
    transport.timeInfo = setup.timeInfo;
    std::unique_ptr<PluginHost> host = PluginHost::create(setup.pluginPath, transport);
    host->open();
    prepareForProcessing(*host, sampleRate, setup.blockSize, setup.doublePrecision);
    AppliedSetup result = applySetup(*host, setup);
    if (applied)
        *applied = result;
    host->resume();
    return host;
}

}  // namespace vsthost
