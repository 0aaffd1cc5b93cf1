// What the host answers a plug-in on its callback, and what it records.
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/Renderer.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace vsthost;

namespace {

class HostCallback : public ::testing::Test {
protected:
    void SetUp() override {
        HostTransport transport;
        transport.sampleRate = 48000;
        transport.blockSize = 512;
        host = PluginHost::create(TAPDELAY_PLUGIN_PATH, transport);
        host->open();
        prepareForProcessing(*host, 48000, 512, false);
        host->resume();
    }

    VstIntPtr ask(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                  float opt = 0.0f) {
        return PluginHost::callback(host->effect(), opcode, index, value, ptr, opt);
    }

    VstTimeInfo time() { return *reinterpret_cast<VstTimeInfo*>(ask(audioMasterGetTime)); }

    void processBlocks(int blocks) {
        std::vector<float> in(512, 0.0f), out0(512), out1(512);
        float* ins[2] = {in.data(), in.data()};
        float* outs[2] = {out0.data(), out1.data()};
        for (int b = 0; b < blocks; ++b)
            host->processFloat(ins, outs, 512);
    }

    std::unique_ptr<PluginHost> host;
};

}  // namespace

TEST_F(HostCallback, AnswersAndRecordsAutomationEditsAndDisplayUpdates) {
    EXPECT_EQ(ask(audioMasterVersion), 2400);
    EXPECT_EQ(PluginHost::callback(nullptr, audioMasterVersion, 0, 0, nullptr, 0), 2400);
    EXPECT_EQ(PluginHost::callback(nullptr, audioMasterGetTime, 0, 0, nullptr, 0), 0);
    char sendTime[] = "sendVstTimeInfo", sizeWindow[] = "sizeWindow";
    EXPECT_EQ(ask(audioMasterCanDo, 0, 0, sendTime), 1);
    EXPECT_EQ(ask(audioMasterCanDo, 0, 0, sizeWindow), 0);
    EXPECT_EQ(ask(audioMasterCanDo, 0, 0, nullptr), 0);
    EXPECT_EQ(host->callbackLog().canDoQueries.back(), "sizeWindow");
    // The interface's convention: 0 means "connected".
    EXPECT_EQ(ask(audioMasterPinConnected, 1, 1), 0);
    EXPECT_EQ(ask(audioMasterPinConnected, 2, 0), 1);
    host->clearCallbackLog();
    ask(audioMasterBeginEdit, 5);
    ask(audioMasterAutomate, 5, 0, nullptr, 0.25f);
    ask(audioMasterAutomate, 61, 0, nullptr, 1.0f);
    ask(audioMasterEndEdit, 5);
    ask(audioMasterUpdateDisplay);
    ask(audioMasterUpdateDisplay);
    EXPECT_EQ(ask(9999), 0);
    const CallbackLog log = host->callbackLog();
    ASSERT_EQ(log.automation.size(), 2u);
    EXPECT_EQ(std::make_tuple(log.automation[0].index, log.automation[0].value, log.automation[1].index),
              std::make_tuple(5, 0.25f, 61));
    EXPECT_EQ(std::make_tuple(log.beginEdit, log.endEdit, log.updateDisplay), std::make_tuple(1, 1, 2));
    EXPECT_EQ(log.unknownOpcodes, std::vector<VstInt32>{9999});
}

TEST_F(HostCallback, TimeInfoAdvancesWithProcessing) {
    VstTimeInfo t = time();
    EXPECT_EQ(t.samplePos, 0.0);
    EXPECT_EQ(t.sampleRate, 48000.0);
    EXPECT_EQ(t.tempo, 120.0);
    EXPECT_EQ(t.timeSigNumerator, 4);
    EXPECT_EQ(t.timeSigDenominator, 4);
    const VstInt32 needed = kVstTempoValid | kVstPpqPosValid | kVstTimeSigValid | kVstBarsValid | kVstTransportPlaying;
    EXPECT_EQ(t.flags & needed, needed);
    processBlocks(3);
    t = time();
    EXPECT_EQ(t.samplePos, 1536.0);
    // 1536 samples at 48 kHz and 120 BPM are 0.064 quarter notes.
    EXPECT_DOUBLE_EQ(t.ppqPos, 1536.0 / 48000.0 * 2.0);
    EXPECT_EQ(t.barStartPos, 0.0);
    EXPECT_EQ(t.flags & kVstTransportChanged, 0);

    // Bar starts follow the time signature: at 3/4, 8 quarters in is bar 3.
    host->transport().timeSigNumerator = 3;
    processBlocks(375 - 3);  // 192000 samples = 4 s = 8 quarters
    t = time();
    EXPECT_DOUBLE_EQ(t.ppqPos, 8.0);
    EXPECT_DOUBLE_EQ(t.barStartPos, 6.0);
}

TEST_F(HostCallback, TempoAsOtherHostsAnswerItRateBlockSizeAndDirectory) {
    EXPECT_EQ(ask(audioMasterTempoAt), 1200000);
    host->setTempo(97.5);
    EXPECT_EQ(ask(audioMasterTempoAt), 975000);
    EXPECT_EQ(time().tempo, 97.5);

    host->suspend();
    host->setSampleRate(44100);
    host->setBlockSize(256);
    EXPECT_EQ(ask(audioMasterGetSampleRate), 44100);
    EXPECT_EQ(ask(audioMasterGetBlockSize), 256);

    const char* folder = reinterpret_cast<const char*>(ask(audioMasterGetDirectory));
    ASSERT_NE(folder, nullptr);
    std::string expected = TAPDELAY_PLUGIN_PATH;
    expected = expected.substr(0, expected.rfind('/') + 1);
    EXPECT_EQ(std::string(folder), expected);
    host->setTempo(98.0);
    const struct {
        int scale;
        VstIntPtr tempoAt;
    } cases[] = {{10000, 980000}, {1000, 98000}, {0, 0}};
    for (const auto& c : cases) {
        host->transport().tempoAtScale = c.scale;
        EXPECT_EQ(ask(audioMasterTempoAt), c.tempoAt) << "scale " << c.scale;
        // The time info keeps the true tempo whatever the scale.
        EXPECT_EQ(time().tempo, 98.0);
    }
    host->transport().timeInfo = false;
    host->clearCallbackLog();
    EXPECT_EQ(ask(audioMasterGetTime, 0, kVstTempoValid), 0);
    EXPECT_EQ(host->callbackLog().getTime, 1);
}

