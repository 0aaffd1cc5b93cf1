// Programs: fresh defaults, names, change detection and the revert and copy
// operations between the current, initial and factory banks.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "tests/support/EffectUnderTest.h"

// The fresh record is the factory bank's unlisted one, whose every value the
// factory bank test reads back; here only its name, switches and slots.
TEST(Programs, FreshBankHas64EmptyProgramsWithOnlyTapZeroOn) {
    IsolatedPreferences preferences;
    PluginUnderTest factory(false), plugin;  // the second with an empty plug-in folder
    factory.directoryAnswer = TAPDELAY_PLUGIN_DIR;
    factory.dispatch(effOpen);
    void *fresh = nullptr, *shipped = nullptr;
    ASSERT_EQ(plugin.dispatch(effGetChunk, 0, 0, &fresh), 17664);
    factory.dispatch(effGetChunk, 0, 0, &shipped);
    const auto* bank = static_cast<const ATapDelayProgram*>(fresh);
    const ATapDelayProgram& unlisted = static_cast<const ATapDelayProgram*>(shipped)[63];
    EXPECT_STREQ(unlisted.name, "Empty");
    for (int tap = 0; tap < 6; tap++) EXPECT_EQ(unlisted.values[21 + tap], tap == 0 ? 1.0f : 0.0f);
    EXPECT_EQ(unlisted.values[45], 0.5f);  // FilterGain 0 dB, stored in slot 45
    EXPECT_EQ(unlisted.values[39], 0.0f);  // FilterON/OFF, slot 39
    for (int program = 0; program < 64; program++)
        EXPECT_EQ(std::memcmp(&bank[program], &unlisted, offsetof(ATapDelayProgram, currentProgram)), 0) << program;

    // Names are cut to 23 characters. (Selecting programs is walked by the
    // factory bank test, keeping edits across a switch by the chunk round trip.)
    plugin.setProgram(7);
    char longName[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcd";
    plugin.dispatch(effSetProgramName, 0, 0, longName);
    EXPECT_EQ(plugin.text(effGetProgramNameIndexed, 7), "ABCDEFGHIJKLMNOPQRSTUVW");
}

class ProgramOperations : public ::testing::Test {
protected:
    IsolatedPreferences preferences;
    TempFolder pluginFolder;
    EffectUnderTest effect{pluginFolder.path()};
};

TEST_F(ProgramOperations, ChangeDetectionComparesValuesOnly) {
    EXPECT_FALSE(effect->IsProgramChanged());
    char name[] = "Renamed";
    effect->setProgramName(name);
    EXPECT_FALSE(effect->IsProgramChanged());
    effect->setParameter(10, 0.9f);
    EXPECT_TRUE(effect->IsProgramChanged());
    effect->setParameter(10, ATapDelayProgram().values[10]);  // edited back to identical bytes
    EXPECT_FALSE(effect->IsProgramChanged());
    effect->setParameter(40, 0.2f);
    EXPECT_TRUE(effect->IsProgramChanged());

    effect->ProgramToInitial();
    char current[64];
    effect->getProgramName(current);
    EXPECT_STREQ(current, "Empty");  // the whole record returns, name included
}

TEST_F(ProgramOperations, RevertingAllProgramsThenAFactoryResetOfOne) {
    std::vector<unsigned char> initial = effect.bankBytes();
    for (int program : {0, 5, 63}) {
        effect->setProgram(program);
        effect->setParameter(59, 0.9f);
    }
    effect->ProgramToAllInitial();
    std::vector<unsigned char> now = effect.bankBytes();
    // Record 0's trailing integer carries the current program; compare the rest.
    EXPECT_EQ(std::memcmp(now.data() + 276, initial.data() + 276, now.size() - 276), 0);
    EXPECT_EQ(std::memcmp(now.data(), initial.data(), 272), 0);
    EXPECT_EQ(effect.display(59), "50.0");

    // Factory reset of one program only.
    effect->setParameter(58, 0.8f);
    effect.calls.clear();
    effect.view.modifies = 0;
    effect->ProgramToFactory();  // no factory file: the defaults
    EXPECT_EQ(effect.display(58), "0.0");
    EXPECT_EQ(effect.callsWithOpcode(audioMasterUpdateDisplay).size(), 1u);
    EXPECT_EQ(effect.view.modifies, 2);  // once by the reload, once more by the reset

    effect->setProgram(3);
    effect->setParameter(58, 0.6f);
    std::vector<unsigned char> before = effect.bankBytes();
    effect->ProgramToAllFactory();  // kept empty: nothing changes
    EXPECT_EQ(effect.bankBytes(), before);
    EXPECT_EQ(effect->getProgram(), 3);
    EXPECT_EQ(effect.display(58), "60.0");
}

TEST_F(ProgramOperations, CopyFromAnotherProgram) {
    effect->setProgram(2);
    effect->setParameter(5, 0.2f);
    char name[] = "Source";
    effect->setProgramName(name);
    effect->setProgram(9);
    effect.calls.clear();
    effect.view.controls.clear();
    effect->CopyPgFrom(2);
    EXPECT_EQ(effect->getProgram(), 9);
    EXPECT_EQ(effect.display(5), "800.0");
    char current[64];
    effect->getProgramName(current);
    EXPECT_STREQ(current, "Source");
    EXPECT_EQ(effect.view.controls.size(), 62u);  // the window and the host are told
    EXPECT_EQ(effect.callsWithOpcode(audioMasterUpdateDisplay).size(), 1u);

    effect->CopyPgFrom(-1);  // not a program: only the reload happens
    effect->CopyPgFrom(64);
    EXPECT_EQ(effect.display(5), "800.0");
}
