#include "tests/support/EffectUnderTest.h"

#include "toolkit/AfxMessageBox.h"

namespace {

EffectUnderTest* g_current = nullptr;

}  // namespace

EffectUnderTest::EffectUnderTest(const std::string& directory, bool open)
    : directoryAnswer(directory) {
    g_current = this;
    m_effect.reset(new ATapDelay(&EffectUnderTest::callback));
    if (open) m_effect->open();
    m_effect->SetEditorView(&view);
}

EffectUnderTest::~EffectUnderTest() {
    m_effect.reset();
    if (g_current == this) g_current = nullptr;
}

VstIntPtr EffectUnderTest::callback(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                    void*, float opt) {
    if (!g_current) return 0;
    g_current->calls.push_back({opcode, index, value, opt});
    switch (opcode) {
        case audioMasterVersion: return 2400;
        case audioMasterGetTime:
            g_current->timeInfo.tempo = g_current->tempo;
            g_current->timeInfo.flags = kVstTempoValid;
            return (VstIntPtr)&g_current->timeInfo;
        case audioMasterGetDirectory:
            return g_current->directoryAnswer.empty() ? 0
                                                      : (VstIntPtr)g_current->directoryAnswer.c_str();
        default: return 0;
    }
}

std::vector<HostCall> EffectUnderTest::callsWithOpcode(VstInt32 opcode) const {
    return CallsWithOpcode(calls, opcode);
}

std::string EffectUnderTest::display(int index) {
    char text[64] = {};
    m_effect->getParameterDisplay(index, text);
    return text;
}

std::vector<unsigned char> EffectUnderTest::chunkBytes(bool program) {
    void* data = nullptr;
    int size = m_effect->getChunk(&data, program);
    auto* bytes = static_cast<unsigned char*>(data);
    return std::vector<unsigned char>(bytes, bytes + size);
}

std::vector<std::string> MessageBoxRecorder::shown;

namespace {

int RecordMessage(const char* text, unsigned, unsigned) {
    MessageBoxRecorder::shown.push_back(text ? text : "");
    return IDOK;
}

}  // namespace

MessageBoxRecorder::MessageBoxRecorder() {
    shown.clear();
    AfxSetMessageBoxHandler(&RecordMessage);
}

MessageBoxRecorder::~MessageBoxRecorder() { AfxSetMessageBoxHandler(nullptr); }
