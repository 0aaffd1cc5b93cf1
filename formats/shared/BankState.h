// The state a host keeps for the plug-in: the whole bank of 64 programs with
// the current program, as the VST 2 bank chunk holds it, behind a short
// header that tells our state from anything else. What comes back is checked
// before anything changes: a short, long or damaged state is refused whole.
#pragma once

#include <cstddef>
#include <cstdint>

#include "effect/ATapDelayProgram.h"

class ATapDelay;

namespace BankState {

constexpr size_t kHeaderBytes = 8;  // "TDst", then the layout version (1, little-endian)
constexpr size_t kBytes = kHeaderBytes + kBankBytes;

// Writes the state into out (kBytes long). The current program's record
// holds what plays: the effect leaves a host's tempo sync and note (and a few
// typed values) out of its record, yet a host restoring a session expects
// them back.
void Save(ATapDelay& effect, uint8_t* out);
// Loads a state Save wrote; false, with the effect untouched, for anything else.
bool Restore(ATapDelay& effect, const void* data, size_t size);
// What a state Save wrote holds for the current program: its number and its
// values by parameter index. False for anything Restore would refuse.
bool ReadCurrent(const void* data, size_t size, int* program, float values[kNumParams]);

// A bare bank chunk (as an LV2 session holds it): exactly kBankBytes, every
// value a number within 0..1, every name terminated, a program number that
// exists. RestoreBank loads one that is.
bool IsBank(const void* data, size_t size);
bool RestoreBank(ATapDelay& effect, const void* data, size_t size);

}  // namespace BankState
