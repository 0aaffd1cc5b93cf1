// The processing frame through the built plug-in: the dry/wet balance over the
// active taps, input gain, bypass, meters, and blocks the host should not have
// sent.
#include <gtest/gtest.h>

#include "tests/BiquadReference.h"
#include "tests/support/EffectUnderTest.h"

namespace {

// The gain the plug-in applies for a normalised gain value n of range
// [0.001, top]: shown as dB at 6 dB per doubling and applied back from them,
// which gives the linear value itself.
double GainOf(double n, double top) { return (top - 0.001) * n + 0.001; }

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
using ProcessingGuards = Processing;

}  // namespace

TEST_F(Processing, TapsDelayTheLeftInputOnBothChannelsWhenSwitchedOnAtExactlyOne) {
    // Program 0 of a fresh bank: tap 0 at 10 ms (441 samples), gain 0.5, centre.
    plugin.setParameter(59, 1.0f);  // wet only
    std::vector<double> left(2048, 0.0), right(2048, 0.0);
    left[0] = 1.0;
    right[5] = 1.0;  // the right input only reaches the dry path
    auto [outLeft, outRight] = run(left, right);
    double echo = GainOf((0.5 - 0.001) / 1.999, 2.0) * GainOf((1.0 - 0.001) / 1.999, 2.0);
    for (size_t i = 0; i < outLeft.size(); i++) {
        EXPECT_NEAR(outLeft[i], i == 441 ? echo : 0.0, 1e-6) << i;
        EXPECT_NEAR(outRight[i], i == 441 ? echo : 0.0, 1e-6) << i;
    }
    plugin.setParameter(4, 0.005f);  // tap 1 at 20 ms
    plugin.setParameter(22, 0.5f);   // neither off nor on
    outLeft = run(left, right).first;
    EXPECT_NE(outLeft[441], 0.0);
    EXPECT_EQ(outLeft[882], 0.0);
    plugin.setParameter(22, 1.0f);
    plugin.setParameter(21, 0.0f);
    outLeft = run(left, right).first;
    EXPECT_EQ(outLeft[441], 0.0);
    EXPECT_NE(outLeft[882], 0.0);
}

TEST_F(Processing, InputGainWorksInPlaceOnDoubleBuffersOnly) {
    plugin.setParameter(2, 0.5f);
    std::vector<double> left = Noise(256, 3), right = Noise(256, 4), original = left, outLeft, outRight;
    plugin.processDouble(left, right, outLeft, outRight);
    for (size_t i = 0; i < left.size(); i++) EXPECT_NEAR(left[i], original[i] * GainOf(0.5f, 1.0), 1e-7);

    std::vector<float> floatLeft(256, 0.25f), floatRight(256, -0.5f), floatOutL, floatOutR;
    plugin.processFloat(floatLeft, floatRight, floatOutL, floatOutR);
    EXPECT_EQ(floatLeft, std::vector<float>(256, 0.25f));
    EXPECT_EQ(floatRight, std::vector<float>(256, -0.5f));
}

TEST_F(Processing, BypassAndSuspendPassAudioThroughBitForBit) {
    plugin.setParameter(59, 1.0f);
    const std::vector<double> left = Noise(256, 21), right = Noise(256, 22);
    EXPECT_EQ(plugin.dispatch(effSetBypass, 0, 1), 0);
    EXPECT_EQ(plugin.display(0), "OFF");
    EXPECT_EQ(run(left, right), std::make_pair(left, right));
    plugin.dispatch(effSetBypass, 0, 0);
    EXPECT_EQ(plugin.display(0), "ON");
    std::vector<double> impulse(1024, 0.0), silence(1024, 0.0);
    impulse[0] = 1.0;
    EXPECT_NE(run(impulse, silence).first[441], 0.0);

    plugin.dispatch(effMainsChanged, 0, 0);  // suspended: the active flag goes off
    EXPECT_EQ(plugin.getParameter(0), 0.0f);
    EXPECT_EQ(run(left, right), std::make_pair(left, right));
}

TEST_F(Processing, SingleAndDoublePrecisionAgree) {
    PluginUnderTest other;
    other.prepare(44100.0f, 512);
    for (PluginUnderTest* p : {&plugin, &other}) {
        p->setParameter(57, 1.0f);
        p->setParameter(58, 0.4f);
        p->setParameter(51, 1.0f);
    }
    const std::vector<double> noiseLeft = Noise(512, 5), noiseRight = Noise(512, 6);
    const std::vector<float> floatLeft(noiseLeft.begin(), noiseLeft.end()), floatRight(noiseRight.begin(), noiseRight.end());
    for (int block = 0; block < 4; block++) {
        std::vector<double> outLeft, outRight;
        std::vector<float> fl = floatLeft, fr = floatRight, floatOutL, floatOutR;
        std::tie(outLeft, outRight) = run({fl.begin(), fl.end()}, {fr.begin(), fr.end()});
        other.processFloat(fl, fr, floatOutL, floatOutR);
        for (size_t i = 0; i < outLeft.size(); i++) {
            EXPECT_EQ(floatOutL[i], (float)outLeft[i]);
            EXPECT_EQ(floatOutR[i], (float)outRight[i]);
        }
    }
}

TEST_F(ProcessingGuards, LongBlocksEqualTheSameAudioInAllowedBlocks) {
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
        const size_t total = 5000, allowed = announced ? (size_t)announced : 256;
        std::vector<double> left = Noise(total, 7), right = Noise(total, 8), outLeft, outRight;
        {
            std::vector<double> l = left, r = right;
            whole.processDouble(l, r, outLeft, outRight);
        }
        for (size_t start = 0; start < total; start += allowed) {
            size_t count = std::min(allowed, total - start);
            std::vector<double> l(left.begin() + start, left.begin() + start + count);
            std::vector<double> r(right.begin() + start, right.begin() + start + count), ol, orr;
            sliced.processDouble(l, r, ol, orr);
            for (size_t i = 0; i < count; i++) {
                ASSERT_EQ(ol[i], outLeft[start + i]) << announced << " at " << start + i;
                ASSERT_EQ(orr[i], outRight[start + i]) << announced << " at " << start + i;
            }
        }
    }
}

TEST_F(ProcessingGuards, EmptyAndNegativeBlocksAndSampleRatesDoNothing) {
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

TEST_F(Processing, SteadyTempoKeepsTheEchoesRinging) {
    plugin.giveTempo(120.0);
    plugin.setParameter(61, 1.0f / 3.0f);  // 8th: 250 ms, 11025 samples
    plugin.setParameter(60, 1.0f);
    plugin.setParameter(59, 1.0f);
    run(std::vector<double>(64, 0.0), std::vector<double>(64, 0.0));  // times settle
    // Feed an impulse, then keep processing in small blocks: the echo must
    // still arrive after 11025 samples, so no block cleared the line.
    std::vector<double> heard;
    for (size_t start = 0; start < 11025 + 512; start += 500) {
        std::vector<double> l(500, 0.0);
        l[0] = start == 0 ? 1.0 : 0.0;
        const std::vector<double> out = run(l, std::vector<double>(500, 0.0)).first;
        heard.insert(heard.end(), out.begin(), out.end());
    }
    EXPECT_GT(std::fabs(heard[11025]), 0.1);
}

TEST(Meters, PeaksOfTheLastBlock) {
    IsolatedPreferences preferences;
    EffectUnderTest effect;
    effect->setSampleRate(44100.0f);
    effect->setBlockSize(256);
    effect->setParameter(59, 0.0f);  // dry only
    effect->setParameter(2, 0.5f);
    const double inputGain = GainOf(0.5f, 1.0), outputGain = GainOf((1.0 - 0.001) / 1.999, 2.0);
    std::vector<double> left(256, 0.1), right(256, -0.2), outLeft(256), outRight(256);
    left[17] = -0.9;
    right[200] = 0.6;
    double* in[2] = {left.data(), right.data()};
    double* out[2] = {outLeft.data(), outRight.data()};
    EXPECT_EQ(effect->GetProcessCounter(), 0xFFFF);
    effect->processDoubleReplacing(in, out, 256);
    EXPECT_EQ(effect->GetProcessCounter(), 0);  // counts on, wrapping
    float inL, inR, outL, outR;
    effect->GetVU(&inL, &inR, &outL, &outR);
    EXPECT_NEAR(inL, 0.9 * inputGain, 1e-6);
    EXPECT_NEAR(inR, 0.6 * inputGain, 1e-6);
    EXPECT_NEAR(outL, 0.9 * inputGain * outputGain, 1e-6);
    EXPECT_NEAR(outR, 0.6 * inputGain * outputGain, 1e-6);
    EXPECT_EQ(effect->GetClip(), 0);

    // A full-scale square wave is not reported as clipping either.
    for (int i = 0; i < 256; i++) left[i] = right[i] = (i / 16) % 2 ? 1.0 : -1.0;
    effect->processDoubleReplacing(in, out, 256);
    EXPECT_EQ(effect->GetClip(), 0);

    // Bypassed blocks leave the meters at zero.
    effect->suspend();
    effect->processDoubleReplacing(in, out, 256);
    effect->GetVU(&inL, &inR, &outL, &outR);
    EXPECT_EQ(inL + inR + outL + outR, 0.0f);
}
