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

std::string FolderOf(const std::string& file) {
    size_t slash = file.find_last_of('/');
    return slash != std::string::npos ? file.substr(0, slash + 1) : "./";
}

std::string RealPath(const std::string& path) {
    char* real = realpath(path.c_str(), nullptr);
    std::string resolved = real ? real : path;
    std::free(real);
    return resolved;
}

// The file this library was loaded from, as the host named it: any address
// inside the library tells dladdr.
std::string LoadedLibraryPath() {
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(&LoadedLibraryPath), &info) || !info.dli_fname)
        return "";
    return info.dli_fname;
}

// A host may have loaded the library through a symbolic link (users link
// plug-ins into ~/.vst): the link is followed to where the resources lie
// beside the real file.
std::string LoadedLibraryFolder() {
    std::string file = LoadedLibraryPath();
    return file.empty() ? "" : FolderOf(RealPath(file));
}

bool SameFolder(const std::string& a, const std::string& b) {
    return !a.empty() && !b.empty() && RealPath(a) == RealPath(b);
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
    // A host that names the folder it found the plug-in in names the link's
    // folder, not the one that holds the resources.
    const std::string loaded = LoadedLibraryPath();
    if (folder.empty() || (!loaded.empty() && SameFolder(folder, FolderOf(loaded))))
        return LoadedLibraryFolder();
    return folder;
}

int WorkBlockSize(VstInt32 announced) {
    return announced > 0 ? std::min<int>(announced, kMaxWorkBlock) : 256;
}

}  // namespace HostQuirks
