#include "tools/vsthost/CommandSupport.h"

#include "tools/vsthost/PluginHost.h"

#include <cmath>
#include <cstdio>

namespace vsthost {

bool parseCommandLine(ArgParser& parser, const Args& args, const std::string& usage,
                      ParsedArgs& parsed) {
    parser.flag("help", 'h', "show this help");
    parsed = parser.parse(args);
    if (parsed.has("help")) {
        printf("Usage: %s\n\nOptions:\n%s", usage.c_str(), parser.help().c_str());
        return false;
    }
    return true;
}

void takePluginArgument(ParsedArgs& parsed) {
    for (auto it = parsed.positional.begin(); it != parsed.positional.end(); ++it) {
        const std::string& arg = *it;
        if (arg.size() > 3 && arg.compare(arg.size() - 3, 3, ".so") == 0) {
            if (parsed.has("plugin"))
                throw ArgError("the plug-in is given twice: " + arg + " and --plugin");
            parsed.values["plugin"] = {arg};
            parsed.positional.erase(it);
            return;
        }
    }
}

std::string flagNames(int32_t flags) {
    static const struct {
        int32_t bit;
        const char* name;
    } names[] = {{effFlagsHasEditor, "HasEditor"},
                 {effFlagsHasClip, "HasClip"},
                 {effFlagsHasVu, "HasVu"},
                 {effFlagsCanMono, "CanMono"},
                 {effFlagsCanReplacing, "CanReplacing"},
                 {effFlagsProgramChunks, "ProgramChunks"},
                 {effFlagsIsSynth, "IsSynth"},
                 {effFlagsNoSoundInStop, "NoSoundInStop"},
                 {effFlagsExtIsAsync, "ExtIsAsync"},
                 {effFlagsExtHasBuffer, "ExtHasBuffer"},
                 {effFlagsCanDoubleReplacing, "CanDoubleReplacing"}};
    char hex[16];
    snprintf(hex, sizeof hex, "0x%04x", (unsigned)flags);
    std::string text = hex;
    int32_t known = 0;
    for (const auto& n : names) {
        known |= n.bit;
        if (flags & n.bit)
            text += std::string(" ") + n.name;
    }
    if (flags & ~known)
        text += " (and unnamed bits)";
    return text;
}

std::string peakText(const AudioBuffer& audio) {
    float peak = 0.0f;
    for (const auto& channel : audio.channels)
        for (float x : channel)
            peak = std::fmax(peak, std::fabs(x));
    if (peak <= 0.0f)
        return "silent";
    char text[32];
    snprintf(text, sizeof text, "peak %.1f dBFS", 20.0 * std::log10(peak));
    return text;
}

std::string describePlugin(PluginHost& host) {
    std::string name = host.effectName();
    if (name.empty())
        name = host.productString();
    std::string vendor = host.vendorString();
    return (name.empty() ? "(unnamed)" : name) + (vendor.empty() ? "" : " by " + vendor) +
           " [" + host.module().path() + "]";
}

}  // namespace vsthost
