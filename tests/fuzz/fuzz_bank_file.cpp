// Any file where the default bank file is looked for: opening the effect
// must read at most one bank's worth, allocate nothing the file asks for, and
// never crash.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "effect/ATapDelay.h"
#include "effect/BankFile.h"

namespace {

std::string g_folder;

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    if (opcode == audioMasterVersion) return 2400;
    if (opcode == audioMasterGetDirectory) return (VstIntPtr)g_folder.c_str();
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool prepared = [] {
        char pattern[] = "/tmp/tapdelay-fuzz-XXXXXX";
        g_folder = std::string(mkdtemp(pattern)) + "/";
        setenv("XDG_CONFIG_HOME", (g_folder + "config").c_str(), 1);
        return true;
    }();
    (void)prepared;
    std::string path = g_folder + kBankFileName;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    // The plug-in folder's copy is read both as the user's bank (there is no
    // user file) and as the factory bank.
    ATapDelay effect(&Host);
    effect.open();
    char text[64];
    for (int program = 0; program < kNumPrograms; program++)
        effect.getProgramNameIndexed(0, program, text);
    effect.ProgramToFactory();
    effect.getParameterDisplay(3, text);
    return 0;
}
