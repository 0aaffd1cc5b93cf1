// One program: the 62 normalised parameter values in record order, a name and
// a trailing integer. Records travel as raw bytes (chunks and the bank file),
// so the layout is fixed at 276 bytes.
#pragma once

#include <cstdint>

#include "effect/ParamTable.h"

struct ATapDelayProgram {
    ATapDelayProgram();  // the fresh-record defaults

    float values[kNumParams];  // by record slot, see SlotOfParam
    char name[24];             // NUL-terminated, at most 23 characters
    int32_t currentProgram;    // meaningful in record 0 of a saved bank only
};

static_assert(sizeof(ATapDelayProgram) == 276, "program record is 276 bytes");

constexpr int kProgramBytes = (int)sizeof(ATapDelayProgram);
constexpr int kProgramValueBytes = kNumParams * (int)sizeof(float);
constexpr int kBankBytes = kNumPrograms * kProgramBytes;
static_assert(kBankBytes == 17664, "bank is 17664 bytes");

// The record stores three per-tap groups in another order than the parameter
// indices: slots 39-44 hold FilterON/OFF, 45-50 FilterGain, 51-56 FilterQ.
int SlotOfParam(int index);
