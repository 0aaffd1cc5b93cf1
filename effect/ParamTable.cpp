#include "effect/ParamTable.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

constexpr ParamMinMax kSwitchOn = {0.0, 1.0, 1.0, 1, 0};
constexpr ParamMinMax kSwitchOff = {0.0, 1.0, 0.0, 1, 0};
constexpr ParamMinMax kOutputGain = {0.001, 2.0, 1.0, 0, 0};
constexpr ParamMinMax kInputGain = {0.001, 1.0, 1.0, 0, 0};
constexpr ParamMinMax kDelayTime = {0.0, 4000.0, 0.0, 0, 0};
constexpr ParamMinMax kPan = {0.0, 100.0, 50.0, 0, 0};
constexpr ParamMinMax kCutoff = {20.0, 20000.0, 1000.0, 0, 0};
constexpr ParamMinMax kFilterType = {0.0, 2.0, 2.0, 1, 0};
constexpr ParamMinMax kFilterGain = {-12.0, 12.0, 0.0, 0, 0};
constexpr ParamMinMax kFilterQ = {0.3, 10.0, 1.0, 0, 0};
constexpr ParamMinMax kPercentZero = {0.0, 100.0, 0.0, 0, 0};
constexpr ParamMinMax kPercentHalf = {0.0, 100.0, 50.0, 0, 0};
constexpr ParamMinMax kSyncNote = {0.0, 3.0, 0.0, 1, 0};

}  // namespace

const ParamMinMax AutomateParamMinMax_Tbl[kNumParams] = {
    kSwitchOn, kOutputGain, kInputGain,
    kDelayTime, kDelayTime, kDelayTime, kDelayTime, kDelayTime, kDelayTime,
    kOutputGain, kOutputGain, kOutputGain, kOutputGain, kOutputGain, kOutputGain,
    kPan, kPan, kPan, kPan, kPan, kPan,
    kSwitchOn, kSwitchOff, kSwitchOff, kSwitchOff, kSwitchOff, kSwitchOff,
    kCutoff, kCutoff, kCutoff, kCutoff, kCutoff, kCutoff,
    kFilterType, kFilterType, kFilterType, kFilterType, kFilterType, kFilterType,
    kFilterGain, kFilterGain, kFilterGain, kFilterGain, kFilterGain, kFilterGain,
    kFilterQ, kFilterQ, kFilterQ, kFilterQ, kFilterQ, kFilterQ,
    kSwitchOff, kSwitchOff, kSwitchOff, kSwitchOff, kSwitchOff, kSwitchOff,
    kSwitchOff,    // FeedBackON/OFF
    kPercentZero,  // FeedBack
    kPercentHalf,  // Balance
    kSwitchOn,     // TempoSync
    kSyncNote,
};

const char* const szNote[4] = {"Quarter", "8th", "16th", "32th"};

const double g_ln2 = 0.6931471805599453;

bool IsGainParam(int index) {
    return index == kParamOutput || index == kParamInput ||
           (index >= kParamDelayGain && index < kParamDelayGain + kNumTaps);
}

bool IsSwitchParam(int index) {
    return index == kParamOnOff || index == kParamFeedBackOnOff || index == kParamTempoSync ||
           (index >= kParamDelayOnOff && index < kParamDelayOnOff + kNumTaps) ||
           (index >= kParamFilterOnOff && index < kParamFilterOnOff + kNumTaps);
}

int TapOfParam(int index) {
    if (index < kParamDelayTime || index >= kParamFeedBackOnOff) return -1;
    return (index - kParamDelayTime) % kNumTaps;
}

float LinearToDb(float linear) { return (float)(std::log((double)linear) / g_ln2 * 6.0); }

float DbToLinear(float dB, float minimum, float maximum) {
    float linear = std::pow(2.0f, dB / 6.0f);
    if (!(linear >= minimum)) linear = minimum;  // NaN too
    if (linear > maximum) linear = maximum;
    return linear;
}

static float Range(const ParamMinMax& record) { return (float)(record.max - record.min); }

// Internal dB values of the gains stay within -100 and +6 dB (0 dB for Input).
static float ClampGainDb(int index, float dB) {
    if (dB < -100.0f) dB = -100.0f;
    float ceiling = index == kParamInput ? 0.0f : 6.0f;
    if (dB > ceiling) dB = ceiling;
    return dB;
}

float ValToNormalizeValue(int index, float value) {
    if (!IsValidParam(index)) return 0.0f;
    const ParamMinMax& record = AutomateParamMinMax_Tbl[index];
    float range = Range(record);
    if (record.stepped) return value * (1.0f / range);
    float n = (float)((value - record.min) / range);
    if (n < 0.0f) n = 0.0f;
    if (n > 1.0f) n = 1.0f;
    return n;
}

float NormalizeValToInternalVal(int index, float normalised) {
    if (!IsValidParam(index)) return 0.0f;
    const ParamMinMax& record = AutomateParamMinMax_Tbl[index];
    float range = Range(record);
    if (record.stepped) {
        float step = std::floor(normalised / (1.0f / range) + 0.5f);
        // Negative or NaN input selects the first step rather than wrapping.
        uint32_t selected = step > 0.0f ? (uint32_t)std::fmin(step, 4294967040.0f) : 0u;
        uint32_t maximum = (uint32_t)record.max;
        return (float)(selected < maximum ? selected : maximum);
    }
    double v = (double)(range * normalised) + record.min;
    if (!(v >= record.min)) v = record.min;  // NaN from a foreign chunk counts as the minimum
    if (v > record.max) v = record.max;
    if (!IsGainParam(index)) return (float)v;
    return ClampGainDb(index, LinearToDb((float)v));
}

uint32_t NormalizeValToDWValue(int index, float normalised) { return 0; }

void GetParamMinMax(int index, float* min, float* max) {
    if (!IsValidParam(index)) {
        *min = *max = 0.0f;
        return;
    }
    const ParamMinMax& record = AutomateParamMinMax_Tbl[index];
    *min = (float)record.min;
    *max = (float)record.max;
    if (IsGainParam(index)) {
        *min = ClampGainDb(index, LinearToDb(*min));
        *max = ClampGainDb(index, LinearToDb(*max));
    }
}

void GetParamName(int index, char* text) {
    static const char* const kGlobalNames[] = {"ON/OFF", "Output", "Input"};
    static const char* const kTapGroups[] = {"DelayTime%d",    "DelayGain%d",    "DelayPan%d",
                                             "DelayON/OFF%d",  "FilterCutoff%d", "FilterType%d",
                                             "FilterGain%d",   "FilterQ%d",      "FilterON/OFF%d"};
    static const char* const kTailNames[] = {"FeedBackON/OFF", "FeedBack", "Balance", "TempoSync",
                                             "SyncNote"};
    if (!IsValidParam(index))
        *text = 0;
    else if (index < kParamDelayTime)
        std::sprintf(text, "%s", kGlobalNames[index]);
    else if (index >= kParamFeedBackOnOff)
        std::sprintf(text, "%s", kTailNames[index - kParamFeedBackOnOff]);
    else
        std::sprintf(text, kTapGroups[(index - kParamDelayTime) / kNumTaps], TapOfParam(index));
}

void FormatDisplayText(int index, float normalised, float internalValue, char* text) {
    if (IsSwitchParam(index)) {
        std::strcpy(text, normalised == 1.0f ? "ON" : "OFF");
    } else if (index == kParamOutput || index == kParamInput) {
        std::sprintf(text, "%.1f", internalValue);
        if (std::strcmp(text, "-0.0") == 0) std::strcpy(text, "0.0");
    } else if (index >= kParamFilterType && index < kParamFilterType + kNumTaps) {
        float type = internalValue;
        std::strcpy(text, type == 0.0f ? "L-SH" : type == 2.0f ? "H-SH" : "PK");
    } else if (index == kParamSyncNote) {
        // A note index of 4 or more has no name: the caller's text stays as it was.
        float note = internalValue;
        if (note < 4.0f && note >= 0.0f) std::strcpy(text, szNote[(int)note]);
    } else {
        std::sprintf(text, "%.1f", internalValue);
    }
}
