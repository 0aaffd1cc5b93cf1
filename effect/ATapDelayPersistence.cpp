// Programs leaving and entering the effect: host chunks (one program or the
// whole bank as raw records) and the default bank file, read at open from the
// Preferences folder or the plug-in's folder and written when the user saves.
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "effect/ATapDelay.h"
#include "effect/BankFile.h"
#include "host/HostQuirks.h"
#include "toolkit/AfxMessageBox.h"
#include "toolkit/CFileFind.h"
#include "toolkit/CString.h"
#include "toolkit/TextConvert.h"

char szGlobalMyApplicationDataPathName[2048];

namespace {

constexpr unsigned kSaveFailedMessage = 20135;

void CopyFolder(char* target, size_t size, const std::string& folder) {
    std::string text = folder;
    if (!text.empty() && text.back() != '/') text += '/';
    if (text.size() >= size) text.clear();  // a cut path would name another folder
    std::memcpy(target, text.c_str(), text.size() + 1);
}

std::string HomeFolder() {
    const char* home = std::getenv("HOME");
    if (home && *home) return home;
    if (const passwd* entry = getpwuid(getuid())) return entry->pw_dir ? entry->pw_dir : "";
    return "";
}

}  // namespace

// The user's settings live in $XDG_CONFIG_HOME/TapDelay/, else ~/.config/TapDelay/.
void GetMy_SHFOLDER_PathName() {
    std::string folder;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && config[0] == '/') {
        folder = std::string(config) + "/TapDelay";
    } else {
        std::string home = HomeFolder();
        if (!home.empty()) folder = home + "/.config/TapDelay";
    }
    CopyFolder(szGlobalMyApplicationDataPathName, sizeof szGlobalMyApplicationDataPathName, folder);
}

const char* ATapDelay::GetPreferencesFolder() const { return szGlobalMyApplicationDataPathName; }

// Where the factory bank lies: the folder the host names, else the one the
// plug-in was loaded from.
void ATapDelay::FindPluginFolder() {
    std::string folder = HostQuirks::PluginFolder(getDirectory());
    char resolved[kMaxPOSIXPathBytes];
    PathToPOSIX(resolved, sizeof resolved, folder.c_str());
    CopyFolder(bundleFolder, sizeof bundleFolder, resolved);
}

// --- chunks ------------------------------------------------------------------------

VstInt32 ATapDelay::getChunk(void** data, bool isPreset) {
    CSingleLock lock(programLock);
    FoldPendingRecords();
    if (isPreset) {
        chunkSnapshot[0] = programs[curProgram];
        *data = &chunkSnapshot[0];
        return kProgramBytes;
    }
    programs[0].currentProgram = curProgram;
    std::memcpy(chunkSnapshot, programs, sizeof programs);
    *data = chunkSnapshot;
    return kBankBytes;
}

VstInt32 ATapDelay::setChunk(void* data, VstInt32 byteSize, bool isPreset) {
    if (data && byteSize > 0) {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        if (isPreset) {
            std::memcpy(&programs[curProgram], data, (size_t)std::min(byteSize, kProgramBytes));
        } else {
            std::memcpy(programs, data, (size_t)std::min(byteSize, kBankBytes));
            int stored = programs[0].currentProgram;
            if (stored >= 0 && stored < kNumPrograms) curProgram = stored;
        }
    }
    setProgram(curProgram);
    return 0;
}

// --- the default bank file -----------------------------------------------------------

void ATapDelay::LoadDefaultBank() {
    CopyCurrentBankToInitial();

    std::string candidate = std::string(szGlobalMyApplicationDataPathName) + kBankFileName;
    CFileFind finder;
    if (szGlobalMyApplicationDataPathName[0] == 0 || !finder.FindFile(candidate.c_str()))
        candidate = std::string(bundleFolder) + kBankFileName;
    finder.Close();

    // The chunk is read into a copy of the bank so that a short chunk leaves
    // the remaining records as they were.
    std::unique_ptr<ATapDelayProgram[]> bank(new ATapDelayProgram[kNumPrograms]);
    int bytesRead = 0;
    BankFileStatus status =
        ReadBankFile(candidate.c_str(), cEffect.uniqueID, bank.get(), kBankBytes, &bytesRead);
    if (status == BankFileStatus::Missing || status == BankFileStatus::NotAChunk ||
        status == BankFileStatus::ForeignId)
        return;
    if (status == BankFileStatus::Loaded) setChunk(bank.get(), bytesRead, false);

    CopyCurrentBankToInitial();
    SetFactoryProgram();
}

void ATapDelay::CopyCurrentBankToInitial() {
    CSingleLock lock(programLock);
    FoldPendingRecords();
    std::memcpy(initialPrograms, programs, sizeof programs);
}

void ATapDelay::SetFactoryProgram() {
    std::string path = std::string(bundleFolder) + kBankFileName;
    std::unique_ptr<ATapDelayProgram[]> bank(new ATapDelayProgram[kNumPrograms]);
    int bytesRead = 0;
    if (ReadBankFile(path.c_str(), cEffect.uniqueID, bank.get(), kBankBytes, &bytesRead) ==
        BankFileStatus::Loaded) {
        CSingleLock lock(programLock);
        std::memcpy(factoryPrograms, bank.get(), (size_t)bytesRead);
    }
}

void ATapDelay::SaveProgram(int index, const char* name) {
    if (index < 0 || index >= kNumPrograms) return;
    std::string path = std::string(szGlobalMyApplicationDataPathName) + kBankFileName;

    {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        int previous = curProgram;
        programs[index] = programs[previous];
        std::memset(programs[index].name, 0, sizeof programs[index].name);
        if (name) std::strncpy(programs[index].name, name, 23);
        initialPrograms[index] = programs[index];
        // The program that was being edited returns to its last saved state.
        programs[previous] = initialPrograms[previous];
        curProgram = index;
    }
    setProgram(index);
    std::unique_ptr<ATapDelayProgram[]> bank(new ATapDelayProgram[kNumPrograms]);
    {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        programs[0].currentProgram = index;
        std::memcpy(bank.get(), programs, sizeof programs);
    }

    // The file is written outside the lock: a slow disk or the message box
    // must never hold up another thread's program change.
    bool saved = szGlobalMyApplicationDataPathName[0] != 0 &&
                 MakeFolders(szGlobalMyApplicationDataPathName) &&
                 WriteBankFile(path.c_str(), cEffect.uniqueID, bank.get(), kBankBytes);
    if (!saved) {
        CString message;
        if (!message.LoadString(kSaveFailedMessage)) message = "The bank file could not be saved.";
        AfxMessageBox(message);
    }
    if (hasHost()) updateDisplay();
}
