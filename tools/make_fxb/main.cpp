// make_fxb: builds the factory bank file TapDelayDef.fxb from the presets text.
//   make_fxb <presets.txt> <TapDelayDef.fxb>
#include <cstdio>
#include <fstream>

#include "effect/BankFile.h"
#include "host/VstAbi.h"
#include "tools/make_fxb/PresetParser.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_fxb <presets.txt> <TapDelayDef.fxb>\n");
        return 2;
    }
    const char* source = argv[1];
    const char* target = argv[2];
    std::ifstream text(source);
    if (!text) {
        std::fprintf(stderr, "%s: cannot be read\n", source);
        return 1;
    }
    PresetParseResult parsed = ParsePresets(text, source);
    for (const std::string& error : parsed.errors) std::fprintf(stderr, "%s\n", error.c_str());
    if (!parsed.ok()) return 1;

    static ATapDelayProgram bank[kNumPrograms];
    std::string error;
    if (!MakeFactoryBank(parsed.presets, bank, &error)) {
        std::fprintf(stderr, "%s: %s\n", source, error.c_str());
        return 1;
    }
    if (!WriteBankFile(target, vstFourCC('V', 'a', 'T', 'D'), bank, kBankBytes)) {
        std::fprintf(stderr, "%s: cannot be written\n", target);
        return 1;
    }
    return 0;
}
