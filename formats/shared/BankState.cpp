#include "formats/shared/BankState.h"

#include <cmath>
#include <cstring>

#include "effect/ATapDelay.h"

namespace BankState {

namespace {

constexpr uint8_t kHeader[kHeaderBytes] = {'T', 'D', 's', 't', 1, 0, 0, 0};

// The bank inside a state Save wrote, or null.
const uint8_t* BankOf(const void* data, size_t size) {
    if (!data || size != kBytes || std::memcmp(data, kHeader, kHeaderBytes) != 0) return nullptr;
    const uint8_t* bank = static_cast<const uint8_t*>(data) + kHeaderBytes;
    return IsBank(bank, kBankBytes) ? bank : nullptr;
}

}  // namespace

void Save(ATapDelay& effect, uint8_t* out) {
    void* bank = nullptr;
    effect.getChunk(&bank, false);
    std::memcpy(out, kHeader, kHeaderBytes);
    uint8_t* saved = out + kHeaderBytes;
    std::memcpy(saved, bank, kBankBytes);
    ATapDelayProgram record;
    std::memcpy(&record, saved, kProgramBytes);
    uint8_t* current = saved + record.currentProgram * kProgramBytes;
    std::memcpy(&record, current, kProgramBytes);
    for (int index = 0; index < kNumParams; index++) record.values[SlotOfParam(index)] = effect.getParameter(index);
    std::memcpy(current, &record, kProgramBytes);
}

bool Restore(ATapDelay& effect, const void* data, size_t size) {
    const uint8_t* bank = BankOf(data, size);
    return bank && RestoreBank(effect, bank, kBankBytes);
}

bool ReadCurrent(const void* data, size_t size, int* program, float values[kNumParams]) {
    const uint8_t* bank = BankOf(data, size);
    if (!bank) return false;
    ATapDelayProgram record;
    std::memcpy(&record, bank, kProgramBytes);
    *program = record.currentProgram;
    std::memcpy(&record, bank + *program * kProgramBytes, kProgramBytes);
    for (int index = 0; index < kNumParams; index++) values[index] = record.values[SlotOfParam(index)];
    return true;
}

bool IsBank(const void* data, size_t size) {
    if (!data || size != (size_t)kBankBytes) return false;
    // Read through a copy: the host's bytes need not be aligned.
    ATapDelayProgram record;
    for (int program = 0; program < kNumPrograms; program++) {
        std::memcpy(&record, static_cast<const uint8_t*>(data) + program * kProgramBytes, kProgramBytes);
        for (float value : record.values)
            if (!(value >= 0.0f && value <= 1.0f)) return false;  // NaN too
        if (!std::memchr(record.name, 0, sizeof record.name)) return false;
        if (program == 0 && (record.currentProgram < 0 || record.currentProgram >= kNumPrograms))
            return false;
    }
    return true;
}

bool RestoreBank(ATapDelay& effect, const void* data, size_t size) {
    if (!IsBank(data, size)) return false;
    effect.setChunk(const_cast<void*>(data), kBankBytes, false);
    return true;
}

}  // namespace BankState
