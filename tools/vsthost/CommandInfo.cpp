// vsthost info: what a plug-in says about itself.
#include "tools/vsthost/CommandSupport.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/PluginSetup.h"
#include "tools/vsthost/Renderer.h"

#include "TapDelayVersion.h"

#include <cstdio>

namespace vsthost {

namespace {

// The canDo texts of the VST 2.4 interface that an effect may answer.
const char* const kPluginCanDo[] = {
    "sendVstEvents",      "sendVstMidiEvent",   "receiveVstEvents",      "receiveVstMidiEvent",
    "receiveVstTimeInfo", "offline",            "midiProgramNames",      "bypass",
    "mixDryWet",          "noRealTime",         "multipass",             "metapass",
    "1in1out",            "1in2out",            "2in1out",               "2in2out",
    "2in4out",            "4in2out",            "4in4out",               "4in8out",
    "8in4out",            "8in8out",            "plugAsChannelInsert",   "plugAsSend",
    "conformsToWindowRules",
};

const char* categoryName(VstIntPtr category) {
    static const char* const names[] = {"unknown",     "effect",          "synth",
                                        "analysis",    "mastering",       "spatialiser",
                                        "room effect", "surround effect", "restoration",
                                        "offline",     "shell",           "generator"};
    return category >= 0 && category < 12 ? names[category] : "?";
}

}  // namespace

int runInfo(const Args& args) {
    ArgParser parser;
    addPluginOptions(parser);
    ParsedArgs parsed;
    if (!parseCommandLine(parser, args, "vsthost info [PLUGIN.so] [options]", parsed))
        return 0;
    takePluginArgument(parsed);
    if (!parsed.positional.empty())
        throw ArgError("unexpected argument " + parsed.positional[0]);
    const PluginSetup setup = pluginSetupFrom(parsed);

    HostTransport transport;
    transport.tempo = setup.tempo;
    transport.blockSize = setup.blockSize;
    std::unique_ptr<PluginHost> host = PluginHost::create(setup.pluginPath, transport);
    host->open();
    prepareForProcessing(*host, transport.sampleRate, setup.blockSize,
                         setup.doublePrecision && host->hasFlag(effFlagsCanDoubleReplacing));
    const AppliedSetup applied = applySetup(*host, setup);

    const VstIntPtr category = host->dispatch(effGetPlugCategory);
    printf("Host          vsthost %s\n", TAPDELAY_VERSION);
    printf("Plug-in       %s (entry %s)\n", host->module().path().c_str(),
           host->module().entryName().c_str());
    printf("Effect        %s\n", host->effectName().c_str());
    printf("Vendor        %s (vendor version %d)\n", host->vendorString().c_str(),
           host->vendorVersion());
    printf("Product       %s\n", host->productString().c_str());
    printf("Unique ID     '%s' (0x%08x)   version %d   VST version %d\n",
           fourCCText(host->uniqueId()).c_str(), (unsigned)host->uniqueId(), host->version(),
           host->vstVersion());
    printf("Category      %d (%s)\n", (int)category, categoryName(category));
    printf("Audio         %d inputs, %d outputs, initial delay %d, tail size %d\n",
           host->numInputs(), host->numOutputs(), host->effect()->initialDelay,
           host->tailSize());
    printf("Flags         %s\n", flagNames(host->flags()).c_str());
    printf("canDo        ");
    for (const char* text : kPluginCanDo) {
        const VstIntPtr answer = host->canDo(text);
        if (answer != 0)
            printf(" %s=%d", text, (int)answer);
    }
    printf("  (every other text: 0)\n");
    const CallbackLog log = host->callbackLog();
    if (!log.canDoQueries.empty()) {
        printf("Host asked   ");
        for (const std::string& q : log.canDoQueries)
            printf(" %s", q.c_str());
        printf("\n");
    }

    printf("\nPrograms      %d (current %d \"%s\")\n", host->numPrograms(), applied.program,
           applied.programName.c_str());
    const std::vector<std::string> names = host->programNames();
    for (size_t i = 0; i < names.size(); ++i)
        printf("  %3zu  %s\n", i, names[i].c_str());

    printf("\nParameters    %d\n", host->numParams());
    printf("  %3s  %-24s %-14s %-8s %s\n", "#", "name", "display", "label", "normalised");
    for (int i = 0; i < host->numParams(); ++i)
        printf("  %3d  %-24s %-14s %-8s %.6f\n", i, host->paramName(i).c_str(),
               host->paramDisplay(i).c_str(), host->paramLabel(i).c_str(), host->getParam(i));
    host->close();
    return 0;
}

}  // namespace vsthost
