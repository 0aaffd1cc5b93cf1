// The 62 parameters: their ranges, and the mappings between the normalised
// value the host sees (0..1), the internal value the engines use (ms, dB, Hz,
// Q, percent, type or note index) and the linear gains.
#pragma once

#include <cstdint>

enum TapDelayParam {
    kParamOnOff = 0,
    kParamOutput = 1,
    kParamInput = 2,
    kParamDelayTime = 3,      // 3..8
    kParamDelayGain = 9,      // 9..14
    kParamDelayPan = 15,      // 15..20
    kParamDelayOnOff = 21,    // 21..26
    kParamFilterCutoff = 27,  // 27..32
    kParamFilterType = 33,    // 33..38
    kParamFilterGain = 39,    // 39..44
    kParamFilterQ = 45,       // 45..50
    kParamFilterOnOff = 51,   // 51..56
    kParamFeedBackOnOff = 57,
    kParamFeedBack = 58,
    kParamBalance = 59,
    kParamTempoSync = 60,
    kParamSyncNote = 61,
    kNumParams = 62,
};

constexpr int kNumTaps = 6;
constexpr int kNumPrograms = 64;

struct ParamMinMax {
    double min;
    double max;
    double def;
    uint32_t stepped;   // 1 for switches and selectors
    uint32_t reserved;  // always 0
};

extern const ParamMinMax AutomateParamMinMax_Tbl[kNumParams];
extern const char* const szNote[4];

// ln 2, set once for the whole process; every dB conversion divides by it.
extern const double g_ln2;

float ValToNormalizeValue(int index, float value);
float NormalizeValToInternalVal(int index, float normalised);
uint32_t NormalizeValToDWValue(int index, float normalised);
void GetParamMinMax(int index, float* min, float* max);
// The parameter's name as the host sees it ("DelayTime3"); "" outside 0..61.
void GetParamName(int index, char* text);

// 6 dB per doubling, the rule used for every gain in the plug-in.
float LinearToDb(float linear);
// The reverse, limited to [minimum, maximum].
float DbToLinear(float dB, float minimum, float maximum);

// The text shown for a value: "ON"/"OFF" for switches (on only at exactly
// 1), the filter type or note name, else the internal value to one decimal.
// A note index with no name leaves text as it was.
void FormatDisplayText(int index, float normalised, float internalValue, char* text);

bool IsGainParam(int index);    // Output, Input and the six tap gains
bool IsSwitchParam(int index);  // shown as "ON" / "OFF"
inline bool IsValidParam(int index) { return index >= 0 && index < kNumParams; }

// The tap that a per-tap parameter addresses, or -1 for a global parameter.
int TapOfParam(int index);
