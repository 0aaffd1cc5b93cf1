// An ATapDelay object linked straight into the test, for the operations only
// the editor reaches (typed values, program saving, change detection), with a
// host callback and an editor view that record what the effect tells them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "effect/ATapDelay.h"
#include "tests/support/PluginUnderTest.h"

class RecordingView : public IEditorView {
public:
    void UpdateControl(int index, float value) override { controls.push_back({index, value}); }
    void UpdateModify() override { modifies++; }

    std::vector<std::pair<int, float>> controls;
    int modifies = 0;
};

class EffectUnderTest {
public:
    // directory: the host's answer to audioMasterGetDirectory ("" for none).
    explicit EffectUnderTest(const std::string& directory = "", bool open = true);
    ~EffectUnderTest();

    ATapDelay& operator*() { return *m_effect; }
    ATapDelay* operator->() { return m_effect.get(); }

    std::vector<HostCall> callsWithOpcode(VstInt32 opcode) const;
    std::string display(int index);
    // The current bank, or the current program's record, as raw bytes.
    std::vector<unsigned char> chunkBytes(bool program);
    std::vector<unsigned char> bankBytes() { return chunkBytes(false); }
    std::vector<unsigned char> programBytes() { return chunkBytes(true); }

    std::vector<HostCall> calls;
    std::string directoryAnswer;
    double tempo = 0;  // given in the audioMasterGetTime answer, 0 for none
    VstTimeInfo timeInfo{};
    RecordingView view;

private:
    static VstIntPtr callback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                              void* ptr, float opt);
    std::unique_ptr<ATapDelay> m_effect;
};

// The message boxes shown while the object lives.
class MessageBoxRecorder {
public:
    MessageBoxRecorder();
    ~MessageBoxRecorder();
    static std::vector<std::string> shown;
};
