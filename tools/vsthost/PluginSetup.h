// The settings every command shares: which plug-in, which program, bank or
// program file, parameter values, tempo, block size and precision; read from
// the command line and applied to a hosted plug-in.
#pragma once

#include "tools/vsthost/ArgParse.h"
#include "tools/vsthost/ParamSetting.h"

#include <memory>
#include <string>
#include <vector>

namespace vsthost {

class PluginHost;

struct PluginSetup {
    std::string pluginPath;
    std::string program;              // number or name; empty leaves it as it is
    std::string patchFile;            // .fxb or .fxp; empty for none
    std::vector<std::string> params;  // NAME=VALUE, applied in order
    double tempo = 120.0;
    int tempoAtScale = 10000;  // how the host answers audioMasterTempoAt
    bool timeInfo = true;      // false: no answer to audioMasterGetTime
    int blockSize = 512;
    bool doublePrecision = false;
};

// Where TapDelay.so is looked for, in order: the build vsthost belongs to,
// the prefix it is installed in, ~/.vst/TapDelay/, /usr/lib/vst/TapDelay/.
std::vector<std::string> defaultPluginCandidates();
// The first candidate that exists (the system one when none does).
std::string defaultPluginPath();

// --plugin, --program, --load, --param, --tempo, --tempo-at-scale,
// --no-time-info, --block, --double.
void addPluginOptions(ArgParser& parser);
// Throws ArgError for values out of range; the parameter texts are checked
// for form here and against the plug-in when applied.
PluginSetup pluginSetupFrom(const ParsedArgs& args);

// Program number for `text`: a number, or a program name (exact, then
// ignoring case). Throws ParamError listing the names there are.
int findProgram(PluginHost& host, const std::string& text);

struct AppliedSetup {
    int program = -1;
    std::string programName;
    std::vector<AppliedParam> params;
};

// File first, then program, then parameters. Throws ParamError or
// BankFileError with a message for the user.
AppliedSetup applySetup(PluginHost& host, const PluginSetup& setup);

// Loads the plug-in and makes it ready to process at `sampleRate`: opened,
// rate, block size and precision set, the setup applied, resumed.
std::unique_ptr<PluginHost> startPlugin(const PluginSetup& setup, double sampleRate,
                                        AppliedSetup* applied = nullptr);

}  // namespace vsthost
