// The 64 programs: selection, names, change detection and the revert and copy
// operations between the current, initial and factory banks.
#include <cstring>

#include "effect/ATapDelay.h"

namespace {

bool IsValidProgram(int index) { return index >= 0 && index < kNumPrograms; }

// Names that arrive in chunks or files may lack their terminator.
void CopyName(const ATapDelayProgram& program, char* text) {
    size_t length = strnlen(program.name, 23);
    std::memcpy(text, program.name, length);
    text[length] = 0;
}

}  // namespace

void ATapDelay::setProgram(VstInt32 program) {
    if (!IsValidProgram(program)) return;
    ATapDelayProgram record;
    {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        curProgram = program;
        // Replayed from a copy, because setParameter writes the same slots back.
        record = programs[program];
    }
    {
        Batch batch(*this);
        for (int index = 0; index < kNumParams; index++)
            setParameter(index, record.values[SlotOfParam(index)]);
        RecomputeInternalValues();
    }
    if (editorView) editorView->UpdateModify();
}

void ATapDelay::setProgramName(char* name) {
    CSingleLock lock(programLock);
    FoldPendingRecords();
    char* target = CurrentRecord().name;
    std::strncpy(target, name, sizeof CurrentRecord().name);
    target[23] = 0;
}

void ATapDelay::getProgramName(char* name) {
    CSingleLock lock(programLock);
    CopyName(CurrentRecord(), name);
}

bool ATapDelay::getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text) {
    if (!IsValidProgram(index)) return false;
    CSingleLock lock(programLock);
    CopyName(programs[index], text);
    return true;
}

bool ATapDelay::IsProgramChanged() {
    CSingleLock lock(programLock);
    FoldPendingRecords();
    return std::memcmp(programs[curProgram].values, initialPrograms[curProgram].values,
                       kProgramValueBytes) != 0;
}

// The operations below copy records under the program lock, which the audio
// thread never takes; the reload reaches it as one batch (setProgram).
void ATapDelay::AfterProgramOperation() {
    setProgram(curProgram);
    if (hasHost()) updateDisplay();
}

void ATapDelay::ProgramToInitial() {
    {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        programs[curProgram] = initialPrograms[curProgram];
    }
    AfterProgramOperation();
}

void ATapDelay::ProgramToAllInitial() {
    {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        std::memcpy(programs, initialPrograms, sizeof programs);
    }
    AfterProgramOperation();
}

void ATapDelay::ProgramToFactory() {
    {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        programs[curProgram] = factoryPrograms[curProgram];
    }
    AfterProgramOperation();
    if (editorView) editorView->UpdateModify();
}

// Kept empty on purpose: the editor's Control-click reaches it, and one click
// must not replace the user's whole bank.
void ATapDelay::ProgramToAllFactory() {}

void ATapDelay::CopyPgFrom(int source) {
    {
        CSingleLock lock(programLock);
        FoldPendingRecords();
        if (IsValidProgram(source)) programs[curProgram] = programs[source];
    }
    AfterProgramOperation();
}
