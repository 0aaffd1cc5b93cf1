#include "host/HostQuirks.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cmath>

#include "host/AudioEffectX.h"

namespace HostQuirks {

namespace {

bool IsFolder(const char* path) {
    struct stat info;
    return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

// Any address inside this library tells dladdr which file it was loaded from;
// a host may have loaded it through a symbolic link (users link plug-ins into
// ~/.vst), so the link is followed to where the resources lie beside it.
std::string LoadedLibraryFolder() {
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(&LoadedLibraryFolder), &info) || !info.dli_fname)
        return "";
    char* real = realpath(info.dli_fname, nullptr);
    std::string file = real ? real : info.dli_fname;
    std::free(real);
    size_t slash = file.find_last_of('/');
    return slash != std::string::npos ? file.substr(0, slash + 1) : "./";
}

}  // namespace

float TempoFromTimeInfo(const VstTimeInfo* info) {
    if (!info || !(info->flags & kVstTempoValid)) return 0.0f;
    float tempo = (float)info->tempo;
    return tempo > 0.0f && std::isfinite(tempo) ? tempo : 0.0f;
}

float HostTempo(AudioEffectX& effect) {
    // Asked from the audio thread, where audioMasterGetTime is the one host
    // call hosts are ready for: no audioMasterTempoAt fallback.
    return TempoFromTimeInfo(effect.getTimeInfo(kTimeInfoRequest));
}

std::string PluginFolder(const void* directoryAnswer) {
    const char* answer = static_cast<const char*>(directoryAnswer);
    std::string folder;
    if (answer && *answer) {
        folder = answer;
        if (folder.size() > 1 && folder.back() != '/' && !IsFolder(answer)) {
            size_t slash = folder.find_last_of('/');
            folder = (slash != std::string::npos && slash >= 1) ? folder.substr(0, slash + 1)
                                                                 : std::string();
        }
    }
    return folder.empty() ? LoadedLibraryFolder() : folder;
}

int WorkBlockSize(VstInt32 announced) {
    return announced > 0 ? std::min<int>(announced, kMaxWorkBlock) : 256;
}

}  // namespace HostQuirks
