// The processing frame through the built plug-in: input gain, the dry/wet
// balance over the active taps, output gain, meters, tempo following, and
// blocks the host should not have sent.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "effect/ATapDelay.h"
#include "tests/support/PluginUnderTest.h"

namespace {

// The gain the plug-in applies for a normalised gain value n of range
// [0.001, top]: dB = 6 log2(linear), then linear = 2^(dB / 6).
double GainOf(double n, double top) {
    double linear = (top - 0.001) * n + 0.001;
    return std::pow(2.0, (6.0 * std::log2(linear)) / 6.0);
}

std::vector<double> Noise(size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::vector<double> samples(count);
    for (double& s : samples) s = value(random);
    return samples;
}

class Processing : public ::testing::Test {
protected:
    void SetUp() override { plugin.prepare(44100.0f, 512); }

    // Processes in one call and returns both output channels.
    std::pair<std::vector<double>, std::vector<double>> run(std::vector<double> left,
                                                            std::vector<double> right) {
        std::vector<double> outLeft, outRight;
        plugin.processDouble(left, right, outLeft, outRight);
        return {outLeft, outRight};
    }

    IsolatedPreferences preferences;
    PluginUnderTest plugin;
};

}  // namespace

TEST_F(Processing, BalanceZeroGivesTheGainedInput) {
    plugin.setParameter(59, 0.0f);
    plugin.setParameter(1, 0.3f);
    plugin.setParameter(2, 0.8f);
    std::vector<double> left = Noise(512, 1), right = Noise(512, 2);
    auto [outLeft, outRight] = run(left, right);
    double gain = GainOf(0.3f, 2.0) * GainOf(0.8f, 1.0);
    for (size_t i = 0; i < left.size(); i++) {
        EXPECT_NEAR(outLeft[i], left[i] * gain, 1e-6);
        EXPECT_NEAR(outRight[i], right[i] * gain, 1e-6);
    }
}

TEST_F(Processing, OneTapDelaysTheLeftInputOnBothChannels) {
    // Program 0 of a fresh bank: tap 0 at 10 ms (441 samples), gain 0.5, centre.
    plugin.setParameter(59, 1.0f);  // wet only
    std::vector<double> left(1024, 0.0), right(1024, 0.0);
    left[0] = 1.0;
    right[5] = 1.0;  // the right input only reaches the dry path
    auto [outLeft, outRight] = run(left, right);
    double echo = GainOf((0.5 - 0.001) / 1.999, 2.0) * GainOf((1.0 - 0.001) / 1.999, 2.0);
    for (size_t i = 0; i < outLeft.size(); i++) {
        double expected = i == 441 ? echo : 0.0;
        EXPECT_NEAR(outLeft[i], expected, 1e-6) << i;
        EXPECT_NEAR(outRight[i], expected, 1e-6) << i;
    }
}

TEST_F(Processing, OnlyTapsSwitchedOnAtExactlyOneAreMixed) {
    plugin.setParameter(59, 1.0f);
    plugin.setParameter(4, 0.005f);  // tap 1 at 20 ms
    plugin.setParameter(22, 0.5f);   // neither off nor on
    std::vector<double> left(2048, 0.0), right(2048, 0.0);
    left[0] = 1.0;
    auto [outLeft, outRight] = run(left, right);
    EXPECT_NE(outLeft[441], 0.0);
    EXPECT_EQ(outLeft[882], 0.0);
    plugin.setParameter(22, 1.0f);
    plugin.setParameter(21, 0.0f);
    auto [laterLeft, laterRight] = run(left, right);
    EXPECT_EQ(laterLeft[441], 0.0);
    EXPECT_NE(laterLeft[882], 0.0);
}

TEST_F(Processing, InputGainWorksInPlaceOnDoubleBuffersOnly) {
    plugin.setParameter(2, 0.5f);
    double gain = GainOf(0.5f, 1.0);
    std::vector<double> left = Noise(256, 3), right = Noise(256, 4);
    std::vector<double> originalLeft = left, outLeft, outRight;
    plugin.processDouble(left, right, outLeft, outRight);
    for (size_t i = 0; i < left.size(); i++) EXPECT_NEAR(left[i], originalLeft[i] * gain, 1e-7);

    std::vector<float> floatLeft(256, 0.25f), floatRight(256, -0.5f), floatOutL, floatOutR;
    plugin.processFloat(floatLeft, floatRight, floatOutL, floatOutR);
    for (float s : floatLeft) EXPECT_EQ(s, 0.25f);
    for (float s : floatRight) EXPECT_EQ(s, -0.5f);
}

TEST_F(Processing, HostBypassPassesAudioThroughAndBack) {
    plugin.setParameter(59, 1.0f);
    EXPECT_EQ(plugin.dispatch(effSetBypass, 0, 1), 0);
    EXPECT_EQ(plugin.display(0), "OFF");
    std::vector<double> left = Noise(256, 21), right = Noise(256, 22);
    auto [outLeft, outRight] = run(left, right);
    EXPECT_EQ(outLeft, left);
    EXPECT_EQ(outRight, right);
    plugin.dispatch(effSetBypass, 0, 0);
    EXPECT_EQ(plugin.display(0), "ON");
    std::vector<double> impulse(1024, 0.0), silence(1024, 0.0);
    impulse[0] = 1.0;
    auto [wetLeft, wetRight] = run(impulse, silence);
    EXPECT_NE(wetLeft[441], 0.0);
}

TEST_F(Processing, SingleAndDoublePrecisionAgree) {
    PluginUnderTest other;
    other.prepare(44100.0f, 512);
    for (PluginUnderTest* p : {&plugin, &other}) {
        p->setParameter(57, 1.0f);
        p->setParameter(58, 0.4f);
        p->setParameter(51, 1.0f);
    }
    std::vector<double> left = Noise(512, 5), right = Noise(512, 6);
    std::vector<float> floatLeft(left.begin(), left.end()), floatRight(right.begin(), right.end());
    std::vector<double> doubleLeft(floatLeft.begin(), floatLeft.end());
    std::vector<double> doubleRight(floatRight.begin(), floatRight.end());
    for (int block = 0; block < 4; block++) {
        std::vector<double> outLeft, outRight;
        std::vector<float> floatOutL, floatOutR;
        std::vector<double> l = doubleLeft, r = doubleRight;
        std::vector<float> fl = floatLeft, fr = floatRight;
        plugin.processDouble(l, r, outLeft, outRight);
        other.processFloat(fl, fr, floatOutL, floatOutR);
        for (size_t i = 0; i < outLeft.size(); i++) {
            EXPECT_EQ(floatOutL[i], (float)outLeft[i]);
            EXPECT_EQ(floatOutR[i], (float)outRight[i]);
        }
    }
}

TEST(ProcessingGuards, LongBlocksEqualTheSameAudioInAllowedBlocks) {
    IsolatedPreferences preferences;
    for (int announced : {0, 64, 300}) {
        PluginUnderTest whole, sliced;
        for (PluginUnderTest* p : {&whole, &sliced}) {
            p->dispatch(effSetSampleRate, 0, 0, nullptr, 48000.0f);
            // 0: no effSetBlockSize at all before processing.
            if (announced) p->dispatch(effSetBlockSize, 0, announced);
            p->dispatch(effMainsChanged, 0, 1);
            p->setParameter(57, 1.0f);
            p->setParameter(58, 0.5f);
            p->setParameter(52, 1.0f);
            p->setParameter(22, 1.0f);
        }
        const size_t total = 5000;
        const size_t allowed = announced ? (size_t)announced : 256;
        std::vector<double> left = Noise(total, 7), right = Noise(total, 8);
        std::vector<double> outLeft, outRight;
        {
            std::vector<double> l = left, r = right;
            whole.processDouble(l, r, outLeft, outRight);
        }
        for (size_t start = 0; start < total; start += allowed) {
            size_t count = std::min(allowed, total - start);
            std::vector<double> l(left.begin() + start, left.begin() + start + count);
            std::vector<double> r(right.begin() + start, right.begin() + start + count);
            std::vector<double> ol, orr;
            sliced.processDouble(l, r, ol, orr);
            for (size_t i = 0; i < count; i++) {
                ASSERT_EQ(ol[i], outLeft[start + i]) << announced << " at " << start + i;
                ASSERT_EQ(orr[i], outRight[start + i]) << announced << " at " << start + i;
            }
        }
    }
}

TEST(ProcessingGuards, EmptyAndNegativeBlocksDoNothing) {
    IsolatedPreferences preferences;
    PluginUnderTest plugin;
    plugin.prepare();
    double sample = 0.5;
    double* channels[2] = {&sample, &sample};
    plugin.effect()->processDoubleReplacing(plugin.effect(), channels, channels, 0);
    plugin.effect()->processDoubleReplacing(plugin.effect(), channels, channels, -5);
    EXPECT_EQ(sample, 0.5);
    float floatSample = 0.5f;
    float* floatChannels[2] = {&floatSample, &floatSample};
    plugin.effect()->processReplacing(plugin.effect(), floatChannels, floatChannels, -1);
    EXPECT_EQ(floatSample, 0.5f);
    // A zero or negative sample rate is ignored rather than poisoning the filters.
    plugin.dispatch(effSetSampleRate, 0, 0, nullptr, 0.0f);
    plugin.dispatch(effSetSampleRate, 0, 0, nullptr, -44100.0f);
    plugin.setParameter(51, 1.0f);
    std::vector<double> left = Noise(512, 9), right = Noise(512, 10), outLeft, outRight;
    plugin.processDouble(left, right, outLeft, outRight);
    for (double s : outLeft) ASSERT_TRUE(std::isfinite(s));
}

TEST_F(Processing, TempoFollowingSetsTapTimesAsNoteMultiples) {
    plugin.tempoAnswer = 1200000;  // 120 BPM
    plugin.setParameter(61, 2.0f / 3.0f);  // 16th: quarter / 4
    plugin.setParameter(60, 1.0f);
    plugin.clearCalls();
    run(Noise(64, 11), Noise(64, 12));
    const char* expected[] = {"125.0", "250.0", "375.0", "500.0", "625.0", "750.0"};
    for (int tap = 0; tap < 6; tap++) {
        EXPECT_EQ(plugin.display(3 + tap), expected[tap]);
        EXPECT_FLOAT_EQ(plugin.getParameter(3 + tap), (125.0f * (tap + 1)) / 4000.0f);
    }
    ASSERT_EQ(plugin.callsWithOpcode(audioMasterTempoAt).size(), 1u);
    EXPECT_EQ(plugin.callsWithOpcode(audioMasterTempoAt)[0].value, 0);
    EXPECT_TRUE(plugin.callsWithOpcode(audioMasterAutomate).empty());

    // The record of the current program follows, so a chunk carries the times.
    void* data = nullptr;
    ASSERT_EQ(plugin.dispatch(effGetChunk, 1, 0, &data), 276);
    EXPECT_FLOAT_EQ(static_cast<float*>(data)[5], 375.0f / 4000.0f);
}

TEST_F(Processing, TempoTargetsOfFourSecondsOrMoreAreSkipped) {
    plugin.tempoAnswer = 300000;  // 30 BPM, quarter notes: a 2000 ms beat
    plugin.setParameter(61, 0.0f);
    plugin.setParameter(60, 1.0f);
    run(Noise(64, 13), Noise(64, 14));
    EXPECT_EQ(plugin.display(3), "2000.0");
    for (int tap = 1; tap < 6; tap++) EXPECT_EQ(plugin.display(3 + tap), "10.0");

    // A host that does not answer leaves every time alone.
    plugin.tempoAnswer = 0;
    run(Noise(64, 15), Noise(64, 16));
    EXPECT_EQ(plugin.display(3), "2000.0");

    // Tempo sync at anything but exactly 1.0 does not follow.
    plugin.tempoAnswer = 1200000;
    plugin.setParameter(60, 0.99f);
    plugin.clearCalls();
    run(Noise(64, 17), Noise(64, 18));
    EXPECT_EQ(plugin.display(3), "2000.0");
    EXPECT_TRUE(plugin.callsWithOpcode(audioMasterTempoAt).empty());
}

TEST_F(Processing, SteadyTempoKeepsTheEchoesRinging) {
    plugin.tempoAnswer = 1200000;
    plugin.setParameter(61, 1.0f / 3.0f);  // 8th: 250 ms, 11025 samples
    plugin.setParameter(60, 1.0f);
    plugin.setParameter(59, 1.0f);
    run(std::vector<double>(64, 0.0), std::vector<double>(64, 0.0));  // times settle
    std::vector<double> left(11025 + 512, 0.0), right(left.size(), 0.0);
    left[0] = 1.0;
    // Feed the impulse, then keep processing in small blocks: the echo must
    // still arrive after 11025 samples, so no block cleared the line.
    std::vector<double> heard;
    for (size_t start = 0; start < left.size(); start += 500) {
        size_t count = std::min<size_t>(500, left.size() - start);
        std::vector<double> l(left.begin() + start, left.begin() + start + count);
        std::vector<double> r(count, 0.0), ol, orr;
        plugin.processDouble(l, r, ol, orr);
        heard.insert(heard.end(), ol.begin(), ol.end());
    }
    EXPECT_GT(std::fabs(heard[11025]), 0.1);
}

namespace {

VstIntPtr SilentHost(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? 2400 : 0;
}

}  // namespace

TEST(Meters, PeaksOfTheLastBlock) {
    IsolatedPreferences preferences;
    ATapDelay effect(&SilentHost);
    effect.open();
    effect.setSampleRate(44100.0f);
    effect.setBlockSize(256);
    effect.setParameter(59, 0.0f);  // dry only
    effect.setParameter(2, 0.5f);
    double inputGain = GainOf(0.5f, 1.0);
    double outputGain = GainOf((1.0 - 0.001) / 1.999, 2.0);
    std::vector<double> left(256, 0.1), right(256, -0.2);
    left[17] = -0.9;
    right[200] = 0.6;
    double* in[2] = {left.data(), right.data()};
    std::vector<double> outLeft(256), outRight(256);
    double* out[2] = {outLeft.data(), outRight.data()};
    uint16_t before = effect.GetProcessCounter();
    effect.processDoubleReplacing(in, out, 256);
    EXPECT_EQ((uint16_t)(before + 1), effect.GetProcessCounter());
    EXPECT_EQ(before, 0xFFFF);
    float inL, inR, outL, outR;
    effect.GetVU(&inL, &inR, &outL, &outR);
    EXPECT_NEAR(inL, 0.9 * inputGain, 1e-6);
    EXPECT_NEAR(inR, 0.6 * inputGain, 1e-6);
    EXPECT_NEAR(outL, 0.9 * inputGain * outputGain, 1e-6);
    EXPECT_NEAR(outR, 0.6 * inputGain * outputGain, 1e-6);
    EXPECT_EQ(effect.GetClip(), 0);

    // A full-scale square wave is not reported as clipping either.
    for (int i = 0; i < 256; i++) left[i] = right[i] = (i / 16) % 2 ? 1.0 : -1.0;
    effect.processDoubleReplacing(in, out, 256);
    EXPECT_EQ(effect.GetClip(), 0);

    // Bypassed blocks leave the meters at zero.
    effect.suspend();
    effect.processDoubleReplacing(in, out, 256);
    effect.GetVU(&inL, &inR, &outL, &outR);
    EXPECT_EQ(inL + inR + outL + outR, 0.0f);
}
