// The default bank file "TapDelayDef.fxb": a "CcnK"/"FBCh" bank whose opaque
// chunk is the raw program bank, behind a big-endian header.
#pragma once

#include <cstdint>

constexpr const char* kBankFileName = "TapDelayDef.fxb";
constexpr int kBankFileHeaderBytes = 160;

enum class BankFileStatus {
    Loaded,       // the chunk was read
    Missing,      // the file could not be opened
    NotAChunk,    // the first four bytes are not "CcnK"
    NotABank,     // "CcnK" but another format than "FBCh": no programs inside
    ForeignId,    // a bank of another effect
};

// Reads the chunk of a bank file into dest, at most capacity bytes (a larger
// chunk-size field is never allocated or trusted). bytesRead tells how much
// arrived.
BankFileStatus ReadBankFile(const char* path, int32_t uniqueID, void* dest, int capacity,
                            int* bytesRead);

// Writes a bank file through a temporary file that replaces the old one only
// once it is complete, so a failed save never destroys the user's bank.
bool WriteBankFile(const char* path, int32_t uniqueID, const void* bank, int bankBytes);

// Creates a folder and its parents (for the Preferences folder).
bool MakeFolders(const char* folder);
