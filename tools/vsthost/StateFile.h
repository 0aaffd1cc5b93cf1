// A standalone host's memory between runs: the plug-in's whole bank and its
// current program in a .fxb file of the host's own, written whole (a
// temporary file renamed over the old one) and read back at the next start.
// A file that cannot be read back is set aside under another name, so that
// nothing the user made is lost, and the plug-in keeps its defaults.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vsthost {

class PluginHost;

class StateFile {
public:
    explicit StateFile(std::string path) : path_(std::move(path)) {}

    // $XDG_CONFIG_HOME (else ~/.config) /TapDelay/standalone.fxb for
    // TapDelay, /vsthost/NAME.fxb for another plug-in.
    static std::string defaultPath(const std::string& effectName);

    struct Restored {
        enum class Outcome { Missing, Restored, Damaged } outcome = Outcome::Missing;
        std::string problem;  // why a damaged file was refused
        std::string keptAs;   // where it was set aside ("" if it could not be moved)
    };
    Restored restore(PluginHost& host);

    // Writes the plug-in's bank unless it is what the file holds already.
    // `quietly`: only for plug-ins that hand out their bank as a chunk, as
    // the others must be walked through every program to read it. Returns
    // whether the file was written; throws BankFileError when it cannot be.
    bool save(PluginHost& host, bool quietly = false);

    const std::string& path() const { return path_; }

private:
    std::string path_;
    std::vector<uint8_t> stored_;  // the bytes the file holds, as far as we know
};

}  // namespace vsthost
