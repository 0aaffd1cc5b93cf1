#include "toolkit/ResourceFolder.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

#include <mutex>
#include <string>

namespace {

std::mutex folderMutex;
std::string overrideFolder;
std::string moduleFolder;
bool moduleFolderKnown = false;

// dladdr on a function of this file names the shared object (or program)
// that the toolkit code was linked into.
std::string FolderOfThisModule() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&FolderOfThisModule), &info) || !info.dli_fname)
        return std::string();
    std::string path = info.dli_fname;
    // The main program may be named relative to the working directory.
    char resolved[PATH_MAX];
    if (path.empty() || path[0] != '/') {
        if (realpath(info.dli_fname, resolved)) path = resolved;
    }
    const std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos) return "./";
    return path.substr(0, slash + 1);
}

}  // namespace

const char* AfxGetResourceFolder() {
    std::lock_guard<std::mutex> guard(folderMutex);
    if (!overrideFolder.empty()) return overrideFolder.c_str();
    if (!moduleFolderKnown) {
        moduleFolder = FolderOfThisModule();
        moduleFolderKnown = true;
    }
    return moduleFolder.c_str();
}

void AfxSetResourceFolder(const char* folder) {
    std::lock_guard<std::mutex> guard(folderMutex);
    overrideFolder = folder ? folder : "";
    if (!overrideFolder.empty() && overrideFolder.back() != '/') overrideFolder += '/';
}
