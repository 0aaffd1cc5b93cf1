// The parameters as a CLAP host sees them: ids 0..61 are the effect's, 62
// the host's bypass button. Continuous values keep the effect's normalised
// 0..1 (exact both ways, and a host's slider moves as the editor's knob
// does); switches, filter types and the note are stepped integers (0..1,
// 0..2, 0..3) so that a host's generic control reaches every value. Texts
// are the editor's; typed values follow the editor's typed entry.
#pragma once

#include <cstdint>

#include "formats/clap/ClapAbi.h"
#include "formats/shared/ParameterInfo.h"

class ATapDelay;
class EffectHost;

namespace ClapParams {

constexpr uint32_t kCount = ParameterInfo::kCount;

// id within 0..kCount-1.
inline bool IsValid(clap::Id id) { return id < kCount; }

void Describe(EffectHost& host, int index, clap::ParamInfo* info);

// A parameter's value as the effect keeps it: normalised for the effect's
// own, 0 or 1 for bypass.
float ToNormalised(int index, double plain);
double ToPlain(int index, float normalised);

// The effect's value (bypass: 1 while the power switch is not on), and
// setting it as a host does.
float Read(ATapDelay& effect, int index);
void Write(ATapDelay& effect, int index, float normalised);

bool ToText(int index, double plain, char* text, uint32_t capacity);
bool FromText(int index, const char* text, double* plain);

}  // namespace ClapParams
