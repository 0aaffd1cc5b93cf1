// VST program (.fxp) and bank (.fxb) files: big-endian headers around either
// an opaque chunk ("FPCh", "FBCh") or plain parameter values ("FxCk",
// "FxBk"). Reading, writing, and moving them into and out of a plug-in.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace vsthost {

class PluginHost;

class BankFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct PatchProgram {
    std::string name;  // at most 27 characters are stored
    std::vector<float> params;
};

struct PatchFile {
    enum class Kind {
        ProgramChunk,   // "FPCh"
        ProgramParams,  // "FxCk"
        BankChunk,      // "FBCh"
        BankParams,     // "FxBk"
    };
    Kind kind = Kind::BankChunk;
    int32_t formatVersion = 1;
    int32_t fxId = 0;
    int32_t fxVersion = 1;
    int32_t numPrograms = 0;       // banks: programs; programs: parameters
    int32_t currentProgram = -1;   // banks of format version 2, else -1
    std::string programName;       // program files
    std::vector<uint8_t> chunk;    // chunk kinds
    std::vector<PatchProgram> programs;  // FxBk: every program; FxCk: one

    bool isBank() const { return kind == Kind::BankChunk || kind == Kind::BankParams; }
    bool isChunk() const { return kind == Kind::ProgramChunk || kind == Kind::BankChunk; }
};

// Throws BankFileError on any malformed, truncated or foreign data.
PatchFile parsePatch(const std::vector<uint8_t>& bytes);
std::vector<uint8_t> serializePatch(const PatchFile& patch);

PatchFile readPatchFile(const std::string& path);
void writePatchFile(const std::string& path, const PatchFile& patch);

// The plug-in's current program or whole bank, as a chunk when the plug-in
// keeps its state in chunks, else as parameter values.
PatchFile capturePatch(PluginHost& host, bool bank);

// Loads a program or bank into the plug-in. Throws BankFileError when the
// file was made for another plug-in or does not fit this one.
void applyPatch(PluginHost& host, const PatchFile& patch);

}  // namespace vsthost
