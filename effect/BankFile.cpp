#include "effect/BankFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "effect/ATapDelay.h"
#include "host/VstAbi.h"
#include "toolkit/CFile.h"

namespace {

constexpr int kReservedBytes = 128;

bool ReadMagic(CFile& file, const char* magic) {
    char bytes[4] = {};
    return file.Read(bytes, 4) == 4 && std::memcmp(bytes, magic, 4) == 0;
}

}  // namespace

uint32_t getDWordFile(CFile& file) {
    uint32_t value = 0;
    for (int i = 0; i < 4; i++) {
        unsigned char byte = 0;
        file.Read(&byte, 1);
        value = (value << 8) | byte;
    }
    return value;
}

uint16_t getWordFile(CFile& file) {
    uint16_t value = 0;
    for (int i = 0; i < 2; i++) {
        unsigned char byte = 0;
        file.Read(&byte, 1);
        value = (uint16_t)((value << 8) | byte);
    }
    return value;
}

void putDWordFile(CFile& file, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        unsigned char byte = (unsigned char)(value >> shift);
        file.Write(&byte, 1);
    }
}

BankFileStatus ReadBankFile(const char* path, int32_t uniqueID, void* dest, int capacity,
                            int* bytesRead) {
    *bytesRead = 0;
    CFile file;
    if (!file.Open(path, CFile::modeRead | CFile::typeBinary)) return BankFileStatus::Missing;
    if (!ReadMagic(file, "CcnK")) return BankFileStatus::NotAChunk;
    getDWordFile(file);  // byte size: not used
    if (!ReadMagic(file, "FBCh")) return BankFileStatus::NotABank;
    getDWordFile(file);  // format version
    if ((int32_t)getDWordFile(file) != uniqueID) return BankFileStatus::ForeignId;
    getDWordFile(file);  // fx version
    getDWordFile(file);  // number of programs
    file.Seek(kReservedBytes, CFile::current);
    uint32_t chunkSize = getDWordFile(file);
    uint32_t wanted = chunkSize < (uint32_t)capacity ? chunkSize : (uint32_t)capacity;
    *bytesRead = (int)file.Read(dest, wanted);
    return BankFileStatus::Loaded;
}

bool WriteBankFile(const char* path, int32_t uniqueID, const void* bank, int bankBytes) {
    std::string temporary = std::string(path) + ".saving";
    bool complete;
    {
        CFile file;
        if (!file.Open(temporary.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeBinary))
            return false;
        file.Write("CcnK", 4);
        putDWordFile(file, 0);
        file.Write("FBCh", 4);
        putDWordFile(file, 1);
        putDWordFile(file, (uint32_t)uniqueID);
        putDWordFile(file, 1);
        putDWordFile(file, kNumPrograms);
        for (int i = 0; i < kReservedBytes; i++) {
            unsigned char zero = 0;
            file.Write(&zero, 1);
        }
        putDWordFile(file, (uint32_t)bankBytes);
        file.Write(bank, (unsigned)bankBytes);
        complete = file.Close();
    }
    // A full disk shows as a failed write or a short file: keep the old bank then.
    struct stat written;
    if (!complete || stat(temporary.c_str(), &written) != 0 ||
        written.st_size != kBankFileHeaderBytes + bankBytes) {
        unlink(temporary.c_str());
        return false;
    }
    if (std::rename(temporary.c_str(), path) != 0) {
        unlink(temporary.c_str());
        return false;
    }
    return true;
}

bool MakeFolders(const char* folder) {
    std::string path(folder);
    for (size_t slash = 1; slash != std::string::npos; slash = path.find('/', slash + 1)) {
        std::string part = path.substr(0, slash);
        if (!part.empty() && mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return false;
    }
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) return false;
    return true;
}
