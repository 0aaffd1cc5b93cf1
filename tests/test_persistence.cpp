// Chunks and the default bank file: round trips, the exact bytes written,
// which file wins, and files or chunks that are foreign, short or oversized.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>

#include "effect/BankFile.h"
#include "toolkit/ResourceFolder.h"
#include "tests/support/EffectUnderTest.h"

namespace {

constexpr int32_t kUniqueId = 0x56615444;  // "VaTD"

void PutBigEndian(std::vector<unsigned char>& bytes, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back((unsigned char)(value >> shift));
}

// A bank file built by hand: header, 128 zero bytes, chunk size, chunk.
std::vector<unsigned char> BankFile(const std::vector<ATapDelayProgram>& bank,
                                    const char* fxMagic = "FBCh", int32_t id = kUniqueId,
                                    uint32_t chunkSizeField = 17664) {
    std::vector<unsigned char> bytes = {'C', 'c', 'n', 'K'};
    PutBigEndian(bytes, 0);
    bytes.insert(bytes.end(), fxMagic, fxMagic + 4);
    PutBigEndian(bytes, 1);
    PutBigEndian(bytes, (uint32_t)id);
    PutBigEndian(bytes, 1);
    PutBigEndian(bytes, 64);
    bytes.insert(bytes.end(), 128, 0);
    PutBigEndian(bytes, chunkSizeField);
    auto* raw = reinterpret_cast<const unsigned char*>(bank.data());
    bytes.insert(bytes.end(), raw, raw + bank.size() * sizeof(ATapDelayProgram));
    return bytes;
}

std::vector<ATapDelayProgram> NamedBank(const char* prefix, float balance) {
    std::vector<ATapDelayProgram> bank(64);
    for (int i = 0; i < 64; i++) {
        std::snprintf(bank[i].name, sizeof bank[i].name, "%s %d", prefix, i);
        bank[i].values[59] = balance;
    }
    bank[0].currentProgram = 0;
    return bank;
}

std::string NameOf(EffectUnderTest& effect, int program) {
    char text[64] = {};
    effect->getProgramNameIndexed(0, program, text);
    return text;
}

}  // namespace

TEST(Chunks, BankRoundTripRestoresEveryProgramAndTheCurrentOne) {
    IsolatedPreferences preferences;
    std::vector<unsigned char> saved;
    {
        PluginUnderTest plugin;
        for (int program = 0; program < 64; program++) {
            plugin.setProgram(program);
            char name[32];
            std::snprintf(name, sizeof name, "Program %02d", program);
            plugin.dispatch(effSetProgramName, 0, 0, name);
            plugin.setParameter(program % 62, (program % 7) / 7.0f);
        }
        plugin.setProgram(42);
        void* data = nullptr;
        ASSERT_EQ(plugin.dispatch(effGetChunk, 0, 0, &data), 17664);
        saved.assign((unsigned char*)data, (unsigned char*)data + 17664);
    }
    EXPECT_EQ(reinterpret_cast<ATapDelayProgram*>(saved.data())->currentProgram, 42);

    PluginUnderTest restored;
    EXPECT_EQ(restored.dispatch(effSetChunk, 0, 17664, saved.data()), 0);
    EXPECT_EQ(restored.program(), 42);
    EXPECT_EQ(restored.programName(), "Program 42");
    void* data = nullptr;
    restored.dispatch(effGetChunk, 0, 0, &data);
    EXPECT_EQ(std::memcmp(data, saved.data(), 17664), 0);

    // A program chunk is the current record, and loads into whichever program is current.
    restored.setProgram(5);
    ASSERT_EQ(restored.dispatch(effGetChunk, 1, 0, &data), 276);
    std::vector<unsigned char> record((unsigned char*)data, (unsigned char*)data + 276);
    EXPECT_EQ(std::memcmp(record.data(), saved.data() + 5 * 276, 276), 0);
    restored.setProgram(4);
    EXPECT_EQ(restored.dispatch(effSetChunk, 1, 276, record.data()), 0);
    EXPECT_EQ(restored.program(), 4);
    EXPECT_EQ(restored.programName(), "Program 05");
    EXPECT_FLOAT_EQ(restored.getParameter(5), 5 / 7.0f);
}

TEST(Chunks, OddSizesCopyAtMostWhatFits) {
    IsolatedPreferences preferences;
    EffectUnderTest effect;

    // Longer than a bank: only the bank's worth is taken.
    std::vector<ATapDelayProgram> big = NamedBank("Big", 0.25f);
    big.resize(70);
    effect->setChunk(big.data(), 70 * 276, false);
    EXPECT_EQ(NameOf(effect, 63), "Big 63");

    // Shorter: the rest stays as it was.
    std::vector<ATapDelayProgram> small = NamedBank("Small", 0.75f);
    effect->setChunk(small.data(), 276 * 2 + 100, false);
    EXPECT_EQ(NameOf(effect, 1), "Small 1");
    EXPECT_EQ(NameOf(effect, 2), "Big 2");

    // A stored program number outside the bank is not used.
    std::vector<ATapDelayProgram> stray = NamedBank("Stray", 0.5f);
    for (int32_t number : {-1, 64, 1 << 30}) {
        effect->setProgram(5);
        stray[0].currentProgram = number;
        effect->setChunk(stray.data(), 17664, false);
        EXPECT_EQ(effect->getProgram(), 5);
    }

    // Program chunks of other sizes, null data and negative sizes.
    ATapDelayProgram one;
    std::strcpy(one.name, "One");
    unsigned char large[1000] = {};
    std::memcpy(large, &one, sizeof one);
    effect->setChunk(large, 1000, true);
    char name[64];
    effect->getProgramName(name);
    EXPECT_STREQ(name, "One");
    effect->setChunk(nullptr, 276, true);
    effect->setChunk(large, -5, false);
    effect->getProgramName(name);
    EXPECT_STREQ(name, "One");

    // Names without a terminator are still read within their 24 bytes.
    ATapDelayProgram unterminated;
    std::memset(unterminated.name, 'x', sizeof unterminated.name);
    effect->setChunk(&unterminated, sizeof unterminated, true);
    effect->getProgramName(name);
    EXPECT_EQ(std::string(name), std::string(23, 'x'));
}

class BankFiles : public ::testing::Test {
protected:
    std::string pluginBank() const { return pluginFolder.path() + "TapDelayDef.fxb"; }
    void writeUserBank(const std::vector<unsigned char>& bytes) {
        mkdir(preferences.folder().c_str(), 0755);
        WriteWholeFile(preferences.bankPath(), bytes);
    }

    IsolatedPreferences preferences;
    TempFolder pluginFolder;
};

TEST_F(BankFiles, UserBankWinsAndFactoryComesFromThePluginFolder) {
    WriteWholeFile(pluginBank(), BankFile(NamedBank("Factory", 0.1f)));
    {
        // No user bank: the plug-in folder's, even when the host names the file itself.
        EffectUnderTest named(pluginFolder.path() + "TapDelay.so");
        EXPECT_EQ(NameOf(named, 12), "Factory 12");
        EXPECT_STREQ(named->GetPluginFolder(), pluginFolder.path().c_str());
    }
    std::vector<ATapDelayProgram> user = NamedBank("User", 0.9f);
    user[0].currentProgram = 6;
    writeUserBank(BankFile(user));

    EffectUnderTest effect(pluginFolder.path());
    EXPECT_EQ(NameOf(effect, 0), "User 0");
    EXPECT_EQ(effect->getProgram(), 6);  // the bank selects its stored program
    EXPECT_EQ(effect.display(59), "90.0");
    EXPECT_FALSE(effect->IsProgramChanged());
    effect->ProgramToFactory();
    EXPECT_EQ(NameOf(effect, 6), "Factory 6");
    EXPECT_EQ(effect.display(59), "10.0");
    EXPECT_TRUE(effect->IsProgramChanged());
}

TEST_F(BankFiles, ForeignAndBrokenFilesLeaveTheDefaults) {
    WriteWholeFile(pluginBank(), BankFile(NamedBank("Factory", 0.1f)));
    struct Case {
        const char* what;
        std::vector<unsigned char> bytes;
        const char* program0;   // after open
        bool factoryLoaded;
    };
    std::vector<unsigned char> notChunk = BankFile(NamedBank("User", 0.9f));
    notChunk[0] = 'X';
    std::vector<unsigned char> truncatedHeader = BankFile(NamedBank("User", 0.9f));
    truncatedHeader.resize(100);
    std::vector<unsigned char> truncatedChunk = BankFile(NamedBank("User", 0.9f));
    truncatedChunk.resize(160 + 276 * 3);
    Case cases[] = {
        {"foreign id", BankFile(NamedBank("User", 0.9f), "FBCh", 0x41424344), "Empty", false},
        {"not CcnK", notChunk, "Empty", false},
        {"program file, not a bank", BankFile(NamedBank("User", 0.9f), "FPCh"), "Empty", true},
        {"huge chunk size field", BankFile(NamedBank("User", 0.9f), "FBCh", kUniqueId, 0xFFFFFFF0u),
         "User 0", true},
        {"truncated header", truncatedHeader, "Empty", true},
        {"truncated chunk", truncatedChunk, "User 0", true},
        {"empty file", {}, "Empty", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        writeUserBank(c.bytes);
        EffectUnderTest effect(pluginFolder.path());
        EXPECT_EQ(NameOf(effect, 0), c.program0);
        if (std::string(c.what) == "truncated chunk") {
            EXPECT_EQ(NameOf(effect, 2), "User 2");
            EXPECT_EQ(NameOf(effect, 3), "Empty");
        }
        effect->ProgramToFactory();
        EXPECT_EQ(NameOf(effect, 0), c.factoryLoaded ? "Factory 0" : "Empty");
    }
}

TEST_F(BankFiles, SaveWritesTheExactFile) {
    EffectUnderTest effect(pluginFolder.path());
    effect->setParameter(5, 0.5f);
    effect->SaveProgram(0, "Mine");
    std::vector<unsigned char> file = ReadWholeFile(preferences.bankPath());
    ASSERT_EQ(file.size(), 17824u);
    // "CcnK", size field 0, "FBCh", version 1, "VaTD", version 1, 64 programs,
    // 128 reserved zero bytes, the chunk size 17664, the bank.
    EXPECT_EQ(std::memcmp(file.data(), "CcnK\0\0\0\0FBCh\0\0\0\1VaTD\0\0\0\1\0\0\0\x40", 28), 0);
    for (int i = 28; i < 156; i++) ASSERT_EQ(file[i], 0) << i;
    EXPECT_EQ(std::memcmp(file.data() + 156, "\0\0\x45\0", 4), 0);
    EXPECT_EQ(std::memcmp(file.data() + 160, effect.bankBytes().data(), 17664), 0);
    EXPECT_EQ(NameOf(effect, 0), "Mine");
    EXPECT_FALSE(effect->IsProgramChanged());
    EXPECT_EQ(effect.display(5), "2000.0");  // values kept
}

TEST_F(BankFiles, SavingIntoAnotherSlotRevertsTheEditedProgram) {
    EffectUnderTest effect(pluginFolder.path());
    effect->setProgram(3);
    effect->setParameter(59, 0.9f);
    effect.calls.clear();
    effect->SaveProgram(10, "Ten");
    EXPECT_EQ(effect->getProgram(), 10);
    EXPECT_EQ(effect.display(59), "90.0");
    EXPECT_FALSE(effect->IsProgramChanged());
    EXPECT_EQ(effect.callsWithOpcode(audioMasterUpdateDisplay).size(), 1u);
    effect->setProgram(3);
    EXPECT_EQ(effect.display(59), "50.0");  // back to its last saved state
    EXPECT_EQ(NameOf(effect, 10), "Ten");
    std::vector<unsigned char> file = ReadWholeFile(preferences.bankPath());
    EXPECT_EQ(reinterpret_cast<ATapDelayProgram*>(file.data() + 160)->currentProgram, 10);

    effect->SaveProgram(64, "Nowhere");  // ignored
    effect->SaveProgram(-1, "Nowhere");
    EXPECT_EQ(effect->getProgram(), 3);
}

TEST_F(BankFiles, FailedSaveKeepsTheOldFileAndTellsTheUser) {
    EffectUnderTest effect(pluginFolder.path());
    effect->SaveProgram(1, "First");
    std::vector<unsigned char> before = ReadWholeFile(preferences.bankPath());
    ASSERT_EQ(before.size(), 17824u);

    // A folder where the temporary file would go makes the write fail.
    mkdir((preferences.bankPath() + ".saving").c_str(), 0755);
    MessageBoxRecorder messages;
    AfxSetResourceFolder(TAPDELAY_PLUGIN_DIR);  // the string table beside the plug-in
    effect->setParameter(59, 0.1f);
    effect->SaveProgram(2, "Second");
    ASSERT_EQ(messages.shown.size(), 1u);
    EXPECT_EQ(messages.shown[0], "The default bank file could not be saved.");
    EXPECT_EQ(ReadWholeFile(preferences.bankPath()), before);
    // The in-memory save happened all the same.
    EXPECT_EQ(NameOf(effect, 2), "Second");
    EXPECT_EQ(effect->getProgram(), 2);
}
