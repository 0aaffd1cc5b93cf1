#include "tools/vsthost/StateFile.h"

#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/PluginHost.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>

namespace vsthost {

namespace {

std::string configFolder() {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    if (xdg && xdg[0] == '/') {
        std::string folder = xdg;
        while (folder.size() > 1 && folder.back() == '/')
            folder.pop_back();
        return folder;
    }
    const char* home = std::getenv("HOME");
    return std::string(home && *home ? home : ".") + "/.config";
}

// The folder and its missing parents.
bool makeFolders(const std::string& path) {
    for (size_t slash = path.find('/', 1); ; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST)
            return false;
        if (slash == std::string::npos)
            return true;
    }
}

std::string folderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

// A file name from a plug-in's name: letters, digits, '-' and '_' kept.
std::string fileStem(const std::string& name) {
    std::string stem;
    for (char c : name)
        stem += std::isalnum((unsigned char)c) || c == '-' || c == '_' ? c : '_';
    return stem.empty() ? "plugin" : stem;
}

std::string timestamp() {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    char text[32];
    strftime(text, sizeof text, "%Y%m%d-%H%M%S", &local);
    return text;
}

}  // namespace

std::string StateFile::defaultPath(const std::string& effectName) {
    if (effectName == "TapDelay")
        return configFolder() + "/TapDelay/standalone.fxb";
    return configFolder() + "/vsthost/" + fileStem(effectName) + ".fxb";
}

StateFile::Restored StateFile::restore(PluginHost& host) {
    Restored result;
    std::ifstream file(path_, std::ios::binary);
    if (!file)
        return result;
    const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    try {
        const PatchFile patch = parsePatch(bytes);
        if (!patch.isBank())
            throw BankFileError("it holds a single program, not a bank");
        applyPatch(host, patch);
        stored_ = bytes;
        result.outcome = Restored::Outcome::Restored;
    } catch (const BankFileError& e) {
        result.outcome = Restored::Outcome::Damaged;
        result.problem = e.what();
        const std::string aside = path_ + ".broken-" + timestamp();
        if (rename(path_.c_str(), aside.c_str()) == 0)
            result.keptAs = aside;
    }
    return result;
}

bool StateFile::save(PluginHost& host, bool quietly) {
    if (quietly && !host.hasFlag(effFlagsProgramChunks))
        return false;
    const std::vector<uint8_t> bytes = serializePatch(capturePatch(host, true));
    if (bytes == stored_)
        return false;
    if (!makeFolders(folderOf(path_)))
        throw BankFileError("cannot make the folder " + folderOf(path_));
    // A crash or a full disk halfway leaves the old file as it was.
    const std::string temporary = path_ + ".new-" + std::to_string(getpid());
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()), (std::streamsize)bytes.size());
        file.flush();
        if (!file) {
            unlink(temporary.c_str());
            throw BankFileError("cannot write " + temporary);
        }
    }
    if (rename(temporary.c_str(), path_.c_str()) != 0) {
        unlink(temporary.c_str());
        throw BankFileError("cannot replace " + path_);
    }
    stored_ = bytes;
    return true;
}

}  // namespace vsthost
