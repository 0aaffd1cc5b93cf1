// The base classes' host-callback wrappers with and without a host.
#include <gtest/gtest.h>

#include "tests/support/EffectUnderTest.h"

namespace {

VstIntPtr g_answer = 0;
VstInt32 g_lastOpcode = -1;
VstIntPtr g_lastValue = 0;

VstIntPtr AnsweringHost(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr value, void*, float) {
    g_lastOpcode = opcode;
    g_lastValue = value;
    return g_answer;
}

}  // namespace

TEST(BaseClasses, WrappersWithoutAHostAndAskingTheHost) {
    IsolatedPreferences preferences;
    ATapDelay effect(nullptr);
    EXPECT_EQ(effect.getMasterVersion(), 1);
    EXPECT_TRUE(effect.isInputConnected(0));
    EXPECT_TRUE(effect.isOutputConnected(1));
    EXPECT_EQ(effect.getTimeInfo(0), nullptr);
    EXPECT_EQ(effect.tempoAt(0), 0);
    EXPECT_FALSE(effect.updateDisplay());
    EXPECT_EQ(effect.getDirectory(), nullptr);
    effect.open();  // no host, no directory: still opens
    effect.setParameterFromDiaplay(3, 100.0f);
    EXPECT_EQ(effect.getParameter(3), 100.0f / 4000.0f);

    ATapDelay asking(&AnsweringHost);
    g_answer = 0;
    EXPECT_EQ(asking.getMasterVersion(), 1);  // a host answering 0 counts as version 1
    EXPECT_TRUE(asking.isInputConnected(3));
    EXPECT_EQ(g_lastOpcode, audioMasterPinConnected);
    EXPECT_EQ(g_lastValue, 0);
    EXPECT_TRUE(asking.isOutputConnected(3));
    EXPECT_EQ(g_lastValue, 1);
    g_answer = 1;
    EXPECT_FALSE(asking.isInputConnected(0));
    g_answer = 2400;
    EXPECT_EQ(asking.getMasterVersion(), 2400);
    g_answer = 96000;
    EXPECT_EQ(asking.updateSampleRate(), 96000.0);
    EXPECT_EQ(asking.getSampleRate(), 96000.0f);
    g_answer = -5;
    EXPECT_EQ(asking.updateBlockSize(), 1024);  // non-positive answers are not stored
    g_answer = 1200000;
    EXPECT_EQ(asking.tempoAt(0), 1200000);
    EXPECT_EQ(g_lastOpcode, audioMasterTempoAt);
    char canDo[] = "sendVstTimeInfo";
    g_answer = 1;
    EXPECT_EQ(asking.canHostDo(canDo), 1);
    g_answer = 0;
    EXPECT_EQ(asking.canHostDo(canDo), 0);
    asking.setParameterAutomated(59, 0.25f);
    EXPECT_EQ(g_lastOpcode, audioMasterAutomate);
    EXPECT_EQ(asking.getParameter(59), 0.25f);
}
