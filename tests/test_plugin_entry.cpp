// The plug-in as a host sees it: the exported entry, the AEffect record and
// the dispatcher's answers, all through the built TapDelay.so.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/support/PluginUnderTest.h"

namespace {

VstIntPtr g_versionAnswer = 0;
int g_callsSeen = 0;

VstIntPtr CountingHost(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    g_callsSeen++;
    return opcode == audioMasterVersion ? g_versionAnswer : 0;
}

class Dispatcher : public ::testing::Test {
protected:
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
};

}  // namespace

TEST(Entry, HostWithoutVersionGetsNoEffect) {
    g_versionAnswer = 0;
    g_callsSeen = 0;
    EXPECT_EQ(PluginUnderTest::callEntry(&CountingHost), nullptr);
    EXPECT_EQ(g_callsSeen, 1);  // only the version request
}

TEST(Entry, AEffectRecordCarriesTheIdentity) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin(false);
    AEffect* e = plugin.effect();
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->magic, 0x56737450);  // "VstP"
    EXPECT_EQ(e->numPrograms, 64);
    EXPECT_EQ(e->numParams, 62);
    EXPECT_EQ(e->numInputs, 2);
    EXPECT_EQ(e->numOutputs, 2);
    EXPECT_EQ(e->flags, 0x1039);  // editor, mono, replacing, chunks, double
    EXPECT_EQ(e->uniqueID, 0x56615444);  // "VaTD"
    EXPECT_EQ(e->version, 1);
    EXPECT_EQ(e->initialDelay, 0);
    EXPECT_FLOAT_EQ(e->ioRatio, 1.0f);
    EXPECT_EQ(e->resvd1, 0);
    EXPECT_EQ(e->resvd2, 0);
    EXPECT_NE(e->object, nullptr);
    EXPECT_NE(e->processReplacing, nullptr);
    EXPECT_NE(e->processDoubleReplacing, nullptr);
    EXPECT_NE(e->process, nullptr);
    // The first thing the entry does is ask the host's version.
    ASSERT_FALSE(plugin.calls.empty());
    EXPECT_EQ(plugin.calls[0].opcode, audioMasterVersion);
    // The effect never asks for MIDI.
    EXPECT_TRUE(plugin.callsWithOpcode(audioMasterWantMidi).empty());
}

TEST(Entry, HostWritingReservedFieldsChangesNothing) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
    plugin.effect()->resvd1 = (VstIntPtr)0xDEADBEEF;
    plugin.effect()->resvd2 = -1;
    plugin.prepare();
    std::vector<float> l(64, 0.5f), r(64, 0.5f), ol, orr;
    plugin.processFloat(l, r, ol, orr);
    EXPECT_EQ(plugin.display(59), "50.0");
}

TEST(Entry, WithoutAHostDirectoryTheBankBesideTheLibraryLoads) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin(false);
    plugin.directoryAnswer = "";
    plugin.dispatch(effOpen);
    EXPECT_NE(plugin.programName(), "Empty");  // the factory bank of the plug-in folder
    EXPECT_EQ(plugin.callsWithOpcode(audioMasterGetDirectory).size(), 1u);
}

TEST(Entry, CloseDeletesThroughTheTrampoline) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
    EXPECT_EQ(plugin.close(), 1);
}

TEST_F(Dispatcher, IdentityAnswers) {
    EXPECT_EQ(plugin.dispatch(effIdentify), 0x4E764566);  // "NvEf"
    EXPECT_EQ(plugin.dispatch(effGetVstVersion), 2300);
    EXPECT_EQ(plugin.dispatch(effGetVendorVersion), 1000);
    EXPECT_EQ(plugin.dispatch(effGetPlugCategory), 1);
    char text[256] = {};
    EXPECT_EQ(plugin.dispatch(effGetEffectName, 0, 0, text), 1);
    EXPECT_STREQ(text, "TapDelay");
    EXPECT_EQ(plugin.dispatch(effGetProductString, 0, 0, text), 1);
    EXPECT_STREQ(text, "TapDelay");
    EXPECT_EQ(plugin.dispatch(effGetVendorString, 0, 0, text), 1);
    EXPECT_STREQ(text, "VELDOTEK Co.,Ltd.");
}

TEST_F(Dispatcher, CanDoIsExactAndCaseSensitive) {
    auto canDo = [this](const char* text) {
        char copy[64];
        std::strcpy(copy, text);
        return plugin.dispatch(effCanDo, 0, 0, copy);
    };
    for (const char* never : {"sendVstEvents", "sendVstMidiEvent", "receiveVstEvents",
                              "receiveVstMidiEvent", "receiveVstTimeInfo", "offline",
                              "midiProgramNames"})
        EXPECT_EQ(canDo(never), -1) << never;
    EXPECT_EQ(canDo("bypass"), 1);
    EXPECT_EQ(canDo("Bypass"), 0);
    EXPECT_EQ(canDo("bypass "), 0);
    EXPECT_EQ(canDo("plugAsChannelInsert"), 0);
    EXPECT_EQ(canDo(""), 0);
}

TEST_F(Dispatcher, FixedAnswersOfTheExtendedOpcodes) {
    EXPECT_EQ(plugin.dispatch(effCanBeAutomated, 0), 1);
    EXPECT_EQ(plugin.dispatch(effCanBeAutomated, 61), 1);
    EXPECT_EQ(plugin.dispatch(effCanBeAutomated, 500), 1);  // beyond 61 as well
    EXPECT_EQ(plugin.dispatch(effGetNumProgramCategories), 1);
    EXPECT_EQ(plugin.dispatch(effConnectInput, 0, 1), 1);
    EXPECT_EQ(plugin.dispatch(effConnectOutput, 1, 0), 1);
    EXPECT_EQ(plugin.dispatch(effSetBlockSizeAndSampleRate, 0, 512, nullptr, 48000.0f), 1);
    EXPECT_EQ(plugin.dispatch(effKeysRequired), 1);
    EXPECT_EQ(plugin.dispatch(effGetTailSize), 0);
    EXPECT_EQ(plugin.dispatch(effSetTotalSampleToProcess, 0, 777), 777);
    EXPECT_EQ(plugin.dispatch(effGetVu), 0);
    EXPECT_EQ(plugin.dispatch(effStartProcess), 0);
    EXPECT_EQ(plugin.dispatch(effStopProcess), 0);
    EXPECT_EQ(plugin.dispatch(effSetBypass, 0, 1), 0);
    EXPECT_EQ(plugin.dispatch(effSetProcessPrecision, 0, kVstProcessPrecision64), 0);
    EXPECT_EQ(plugin.dispatch(effGetNumMidiInputChannels), 0);
    EXPECT_EQ(plugin.dispatch(effGetNumMidiOutputChannels), 0);
    // Unknown opcodes answer 0.
    EXPECT_EQ(plugin.dispatch(80), 0);
    EXPECT_EQ(plugin.dispatch(-1), 0);
    EXPECT_EQ(plugin.dispatch(12345), 0);
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
    EXPECT_EQ(rect->top, 0);
    EXPECT_EQ(rect->left, 0);
    EXPECT_EQ(rect->bottom, 360);
    EXPECT_EQ(rect->right, 800);
    // Closed: mouse, keys and idle do nothing, and keys stay the host's.
    EXPECT_EQ(plugin.dispatch(effEditMouse, 1, 2), 0);
    EXPECT_EQ(plugin.dispatch(effEditKey, 0, 65), 0);
    EXPECT_EQ(plugin.dispatch(effEditKeyDown, 'a', 0), 0);
    EXPECT_EQ(plugin.dispatch(effEditIdle), 0);
    EXPECT_EQ(plugin.dispatch(effEditClose), 0);
    EXPECT_EQ(plugin.dispatch(effSetEditKnobMode, 0, 1), 0);
}

TEST_F(Dispatcher, SpeakerArrangementQueryStoresNull) {
    VstSpeakerArrangement dummy;
    VstSpeakerArrangement* in = &dummy;
    VstSpeakerArrangement* out = &dummy;
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
}

TEST_F(Dispatcher, ProgramNameIndexedRejectsNumbersOutsideTheBank) {
    char text[64];
    std::strcpy(text, "untouched");
    EXPECT_EQ(plugin.dispatch(effGetProgramNameIndexed, 64, 0, text), 0);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(plugin.dispatch(effGetProgramNameIndexed, -1, 0, text), 0);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(plugin.dispatch(effGetProgramNameIndexed, 63, 0, text), 1);
    EXPECT_EQ(plugin.dispatch(effGetProgramNameIndexed, 0, 7, text), 1);  // category ignored
}

TEST_F(Dispatcher, ParameterPropertiesFollowTheTable) {
    VstParameterProperties p;
    std::memset(&p, 0x55, sizeof p);
    EXPECT_EQ(plugin.dispatch(effGetParameterProperties, 45, 0, &p), 1);  // FilterQ0
    EXPECT_EQ(p.flags, 10);
    EXPECT_EQ(p.minInteger, 0);
    EXPECT_EQ(p.maxInteger, 10);
    EXPECT_EQ(p.stepInteger, 128);
    EXPECT_EQ(p.largeStepInteger, 256);
    EXPECT_EQ(p.displayIndex, 45);
    EXPECT_STREQ(p.label, "");
    EXPECT_EQ(p.stepFloat, 0.0f);  // the whole record was cleared
    EXPECT_EQ(p.category, 0);

    EXPECT_EQ(plugin.dispatch(effGetParameterProperties, 1, 0, &p), 1);  // Output
    EXPECT_EQ(p.minInteger, 0);
    EXPECT_EQ(p.maxInteger, 2);
    EXPECT_STREQ(p.label, "dB");

    EXPECT_EQ(plugin.dispatch(effGetParameterProperties, 61, 0, &p), 1);  // SyncNote
    EXPECT_EQ(p.flags, 11);
    EXPECT_EQ(p.maxInteger, 3);
    EXPECT_EQ(plugin.dispatch(effGetParameterProperties, 39, 0, &p), 1);  // FilterGain0
    EXPECT_EQ(p.minInteger, -12);
    EXPECT_EQ(p.maxInteger, 12);
    EXPECT_EQ(plugin.dispatch(effGetParameterProperties, 27, 0, &p), 1);
    EXPECT_STREQ(p.label, "Hz");
    EXPECT_EQ(p.minInteger, 20);
    EXPECT_EQ(p.maxInteger, 20000);
}

TEST_F(Dispatcher, ChunkOpcodesReportTheirSizes) {
    void* data = nullptr;
    EXPECT_EQ(plugin.dispatch(effGetChunk, 1, 0, &data), 276);
    EXPECT_NE(data, nullptr);
    EXPECT_EQ(plugin.dispatch(effGetChunk, 0, 0, &data), 17664);
    EXPECT_EQ(plugin.dispatch(effSetChunk, 0, 17664, data), 0);
}

TEST_F(Dispatcher, BypassedEffectPassesAudioThroughBitForBit) {
    plugin.prepare(44100.0f, 128);
    plugin.dispatch(effMainsChanged, 0, 0);  // suspend: active flag off
    EXPECT_EQ(plugin.getParameter(0), 0.0f);
    std::vector<double> left(128), right(128), outLeft, outRight;
    for (int i = 0; i < 128; i++) {
        left[i] = 0.3 * std::sin(i * 0.1) + 1e-9 * i;
        right[i] = -0.7 * std::cos(i * 0.07);
    }
    std::vector<double> originalLeft = left, originalRight = right;
    plugin.processDouble(left, right, outLeft, outRight);
    EXPECT_EQ(outLeft, originalLeft);
    EXPECT_EQ(outRight, originalRight);
    EXPECT_EQ(plugin.dispatch(effGetVu), 0);
}
