// Pieces the sub-commands share: option parsing with --help, the plug-in
// path given as an argument, and texts for flags and levels.
#pragma once

#include "tools/vsthost/ArgParse.h"
#include "tools/vsthost/AudioBuffer.h"
#include "tools/vsthost/Commands.h"

#include <cstdint>
#include <string>

namespace vsthost {

class PluginHost;

// Adds --help; returns false after printing the help when it was asked for.
bool parseCommandLine(ArgParser& parser, const Args& args, const std::string& usage,
                      ParsedArgs& parsed);

// A positional argument that names a plug-in file overrides --plugin.
void takePluginArgument(ParsedArgs& parsed);

std::string flagNames(int32_t flags);
// "-3.1 dBFS" for the largest sample of the buffer.
std::string peakText(const AudioBuffer& audio);
std::string describePlugin(PluginHost& host);

}  // namespace vsthost
