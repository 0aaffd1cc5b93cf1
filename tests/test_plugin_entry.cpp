// The plug-in as a host sees it: the exported entry, the AEffect record and
// the dispatcher's answers, all through the built TapDelay.so.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/PluginUnderTest.h"

namespace {

int g_callsSeen = 0;

VstIntPtr VersionlessHost(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float) {
    g_callsSeen++;
    return 0;
}

class Dispatcher : public ::testing::Test {
protected:
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
};

}  // namespace

TEST(Entry, AHostWithoutVersionGetsNoEffectOthersARecordWithTheIdentity) {
    EXPECT_EQ(PluginUnderTest::callEntry(&VersionlessHost), nullptr);
    EXPECT_EQ(g_callsSeen, 1);  // only the version request

    IsolatedPreferences preferences;
    PluginUnderTest plugin(false);
    AEffect* e = plugin.effect();
    ASSERT_NE(e, nullptr);
    const std::tuple<const char*, VstIntPtr, VstIntPtr> fields[] = {
        {"magic", e->magic, 0x56737450},  // "VstP"
        {"numPrograms", e->numPrograms, 64}, {"numParams", e->numParams, 62},
        {"numInputs", e->numInputs, 2},      {"numOutputs", e->numOutputs, 2},
        {"flags", e->flags, 0x1039},  // editor, mono, replacing, chunks, double
        {"uniqueID", e->uniqueID, 0x56615444},  // "VaTD"
        {"version", e->version, 1},          {"initialDelay", e->initialDelay, 0},
        {"resvd1", e->resvd1, 0},            {"resvd2", e->resvd2, 0}};
    for (const auto& [name, value, expected] : fields) EXPECT_EQ(value, expected) << name;
    EXPECT_FLOAT_EQ(e->ioRatio, 1.0f);
    // The first thing the entry does is ask the host's version.
    ASSERT_FALSE(plugin.calls.empty());
    EXPECT_EQ(plugin.calls[0].opcode, audioMasterVersion);
    // The effect never asks for MIDI.
    EXPECT_TRUE(plugin.callsWithOpcode(audioMasterWantMidi).empty());

    // Without a host directory the bank beside the library loads.
    plugin.directoryAnswer = "";
    plugin.dispatch(effOpen);
    EXPECT_NE(plugin.programName(), "Empty");
    EXPECT_EQ(plugin.callsWithOpcode(audioMasterGetDirectory).size(), 1u);

    // A host writing the reserved fields changes nothing; close deletes.
    const std::string balance = plugin.display(59);
    e->resvd1 = (VstIntPtr)0xDEADBEEF;
    e->resvd2 = -1;
    plugin.prepare();
    std::vector<float> l(64, 0.5f), r(64, 0.5f), ol, orr;
    plugin.processFloat(l, r, ol, orr);
    EXPECT_EQ(plugin.display(59), balance);
    EXPECT_EQ(plugin.close(), 1);  // through the trampoline
}

TEST_F(Dispatcher, FixedAnswers) {
    struct Case {
        VstInt32 opcode, index;
        VstIntPtr value;
        float opt;
        VstIntPtr answer;
    };
    const Case cases[] = {
        {effIdentify, 0, 0, 0, 0x4E764566},  // "NvEf"
        {effGetVstVersion, 0, 0, 0, 2300}, {effGetVendorVersion, 0, 0, 0, 1000}, {effGetPlugCategory, 0, 0, 0, 1},
        {effCanBeAutomated, 0, 0, 0, 1}, {effCanBeAutomated, 61, 0, 0, 1},
        {effCanBeAutomated, 500, 0, 0, 1},  // beyond 61 as well
        {effGetNumProgramCategories, 0, 0, 0, 1}, {effConnectInput, 0, 1, 0, 1}, {effConnectOutput, 1, 0, 0, 1},
        {effSetBlockSizeAndSampleRate, 0, 512, 48000.0f, 1}, {effKeysRequired, 0, 0, 0, 1},
        {effGetTailSize, 0, 0, 0, 0}, {effSetTotalSampleToProcess, 0, 777, 0, 777}, {effGetVu, 0, 0, 0, 0},
        {effStartProcess, 0, 0, 0, 0}, {effStopProcess, 0, 0, 0, 0}, {effSetBypass, 0, 1, 0, 0},
        {effSetProcessPrecision, 0, kVstProcessPrecision64, 0, 0}, {effGetNumMidiInputChannels, 0, 0, 0, 0},
        {effGetNumMidiOutputChannels, 0, 0, 0, 0},
        // The editor closed: mouse, keys and idle do nothing, and keys stay the host's.
        {effEditMouse, 1, 2, 0, 0}, {effEditKey, 0, 65, 0, 0}, {effEditKeyDown, 'a', 0, 0, 0},
        {effEditIdle, 0, 0, 0, 0}, {effEditClose, 0, 0, 0, 0}, {effSetEditKnobMode, 0, 1, 0, 0},
        {80, 0, 0, 0, 0}, {-1, 0, 0, 0, 0}, {12345, 0, 0, 0, 0},  // unknown opcodes
    };
    for (const Case& c : cases)
        EXPECT_EQ(plugin.dispatch(c.opcode, c.index, c.value, nullptr, c.opt), c.answer) << "opcode " << c.opcode;
    for (const auto& [opcode, expected] : {std::pair{effGetEffectName, "TapDelay"}, {effGetProductString, "TapDelay"},
                                           {effGetVendorString, "VELDOTEK Co.,Ltd."}}) {
        char text[256] = {};
        EXPECT_EQ(plugin.dispatch(opcode, 0, 0, text), 1);
        EXPECT_STREQ(text, expected);
    }
}

TEST_F(Dispatcher, CanDoIsExactAndCaseSensitive) {
    auto canDo = [this](const char* text) { return plugin.dispatch(effCanDo, 0, 0, const_cast<char*>(text)); };
    for (const char* never : {"sendVstEvents", "sendVstMidiEvent", "receiveVstEvents",
                              "receiveVstMidiEvent", "receiveVstTimeInfo", "offline",
                              "midiProgramNames"})
        EXPECT_EQ(canDo(never), -1) << never;
    EXPECT_EQ(canDo("bypass"), 1);
    for (const char* unknown : {"Bypass", "bypass ", "plugAsChannelInsert", ""})
        EXPECT_EQ(canDo(unknown), 0) << unknown;
}

TEST_F(Dispatcher, EveryOpcodeAnswersSafely) {
    // Each opcode gets a generous zeroed buffer so none can write out of
    // bounds. Opening the editor needs a real window (the X11 tests do that).
    for (VstInt32 opcode = 2; opcode <= 79; opcode++) {
        if (opcode == effSetChunk || opcode == effMainsChanged || opcode == effEditOpen) continue;
        alignas(16) char buffer[4096] = {};
        plugin.dispatch(opcode, 0, 0, buffer, 0.0f);
    }
    // The editor's size is known before it opens: the background's.
    ERect* rect = nullptr;
    EXPECT_EQ(plugin.dispatch(effEditGetRect, 0, 0, &rect), 1);
    ASSERT_NE(rect, nullptr);
    EXPECT_EQ((std::vector<int>{rect->top, rect->left, rect->bottom, rect->right}), (std::vector<int>{0, 0, 360, 800}));
    // The speaker arrangement query stores null for both.
    VstSpeakerArrangement dummy;
    VstSpeakerArrangement *in = &dummy, *out = &dummy;
    EXPECT_EQ(plugin.dispatch(effGetSpeakerArrangement, 0, (VstIntPtr)&in, &out), 0);
    EXPECT_EQ(in, nullptr);
    EXPECT_EQ(out, nullptr);
}

TEST_F(Dispatcher, ProgramNumbersOutsideTheBankAreIgnored) {
    plugin.setProgram(5);
    EXPECT_EQ(plugin.program(), 5);
    EXPECT_EQ(plugin.dispatch(effSetProgram, 0, 64), 0);
    EXPECT_EQ(plugin.program(), 5);
    plugin.setProgram(-1);
    EXPECT_EQ(plugin.program(), 5);
    plugin.setProgram(63);
    EXPECT_EQ(plugin.program(), 63);

    char text[64] = "untouched";
    for (int outside : {64, -1}) {
        EXPECT_EQ(plugin.dispatch(effGetProgramNameIndexed, outside, 0, text), 0);
        EXPECT_STREQ(text, "untouched");
    }
    EXPECT_EQ(plugin.dispatch(effGetProgramNameIndexed, 63, 0, text), 1);
    EXPECT_EQ(plugin.dispatch(effGetProgramNameIndexed, 0, 7, text), 1);  // category ignored
}

// Properties answer only what hosts read as meant: the label, the switch
// flag for two-state parameters, float steps that land on each selector
// value; never an integer range (hosts that honour one send the integer).
TEST_F(Dispatcher, ParameterPropertiesForAllParameters) {
    struct Group {
        int first, count, flags;
        float step;
        const char* label;
    };
    const Group table[] = {
        {0, 1, kVstParameterIsSwitch, 0.0f, ""},            // ON/OFF
        {1, 2, 0, 0.0f, "dB"},                              // Output, Input
        {3, 6, 0, 0.0f, "ms"},                              // DelayTime
        {9, 6, 0, 0.0f, "dB"},                              // DelayGain
        {15, 6, 0, 0.0f, ""},                               // DelayPan
        {21, 6, kVstParameterIsSwitch, 0.0f, ""},           // DelayON/OFF
        {27, 6, 0, 0.0f, "Hz"},                             // FilterCutoff
        {33, 6, kVstParameterUsesFloatStep, 0.5f, ""},      // FilterType: 0, 0.5, 1
        {39, 6, 0, 0.0f, "dB"},                             // FilterGain
        {45, 6, 0, 0.0f, ""},                               // FilterQ
        {51, 6, kVstParameterIsSwitch, 0.0f, ""},           // FilterON/OFF
        {57, 1, kVstParameterIsSwitch, 0.0f, ""},           // FeedBackON/OFF
        {58, 2, 0, 0.0f, "%"},                              // FeedBack, Balance
        {60, 1, kVstParameterIsSwitch, 0.0f, ""},           // TempoSync
        {61, 1, kVstParameterUsesFloatStep, 1.0f / 3, ""},  // SyncNote: four notes
    };
    int covered = 0;
    for (const Group& g : table) {
        for (int index = g.first; index < g.first + g.count; index++, covered++) {
            // Everything not named here stays cleared.
            VstParameterProperties expected{}, p;
            expected.stepFloat = expected.smallStepFloat = expected.largeStepFloat = g.step;
            std::strcpy(expected.label, g.label);
            expected.flags = g.flags;
            std::memset(&p, 0x55, sizeof p);
            EXPECT_EQ(plugin.dispatch(effGetParameterProperties, index, 0, &p), 1);
            EXPECT_EQ(p.flags, g.flags) << index;
            EXPECT_STREQ(p.label, g.label) << index;
            EXPECT_EQ(p.stepFloat, g.step) << index;
            EXPECT_EQ(0, std::memcmp(&p, &expected, sizeof p)) << index;
        }
    }
    EXPECT_EQ(covered, 62);
}
