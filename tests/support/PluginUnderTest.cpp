#include "tests/support/PluginUnderTest.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

typedef AEffect* (*EntryProc)(audioMasterCallback);

// The instance being built: calls made from inside VSTPluginMain arrive
// before the host could store itself in AEffect::user.
thread_local PluginUnderTest* g_constructing = nullptr;

}  // namespace

AEffect* PluginUnderTest::callEntry(audioMasterCallback callback) {
    static void* library = dlopen(TAPDELAY_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        ADD_FAILURE() << "dlopen failed: " << dlerror();
        return nullptr;
    }
    auto entry = reinterpret_cast<EntryProc>(dlsym(library, "VSTPluginMain"));
    if (!entry) {
        ADD_FAILURE() << "VSTPluginMain not exported";
        return nullptr;
    }
    return entry(callback);
}

PluginUnderTest::PluginUnderTest(bool sendOpen) {
    g_constructing = this;
    m_effect = callEntry(&PluginUnderTest::callback);
    g_constructing = nullptr;
    if (!m_effect) return;
    m_effect->user = this;
    if (sendOpen) dispatch(effOpen);
}

PluginUnderTest::~PluginUnderTest() {
    if (m_effect) close();
}

VstIntPtr PluginUnderTest::close() {
    VstIntPtr result = m_effect->dispatcher(m_effect, effClose, 0, 0, nullptr, 0.0f);
    m_effect = nullptr;
    return result;
}

VstIntPtr PluginUnderTest::dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                    float opt) {
    return m_effect->dispatcher(m_effect, opcode, index, value, ptr, opt);
}

VstIntPtr PluginUnderTest::callback(AEffect* effect, VstInt32 opcode, VstInt32 index,
                                    VstIntPtr value, void* ptr, float opt) {
    PluginUnderTest* host = effect && effect->user ? static_cast<PluginUnderTest*>(effect->user)
                                                   : g_constructing;
    if (!host) return opcode == audioMasterVersion ? 2400 : 0;
    return host->answer(opcode, index, value, ptr, opt);
}

VstIntPtr PluginUnderTest::answer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                                  float opt) {
    {
        std::lock_guard<std::mutex> lock(m_callsLock);
        calls.push_back({opcode, index, value, opt});
    }
    switch (opcode) {
        case audioMasterVersion: return 2400;
        case audioMasterTempoAt: return tempoAnswer;
        case audioMasterGetTime: return timeInfoGiven ? (VstIntPtr)&timeInfo : 0;
        case audioMasterGetDirectory:
            return directoryAnswer.empty() ? 0 : (VstIntPtr)directoryAnswer.c_str();
        default: return 0;
    }
}

std::string PluginUnderTest::EmptyPluginFolder() {
    static TempFolder folder;
    return folder.path();
}

std::vector<HostCall> CallsWithOpcode(const std::vector<HostCall>& calls, VstInt32 opcode) {
    std::vector<HostCall> found;
    for (const HostCall& call : calls)
        if (call.opcode == opcode) found.push_back(call);
    return found;
}

std::vector<HostCall> PluginUnderTest::callsWithOpcode(VstInt32 opcode) const {
    return CallsWithOpcode(calls, opcode);
}

std::string PluginUnderTest::text(VstInt32 opcode, int index) {
    char text[256] = {};
    dispatch(opcode, index, 0, text);
    return text;
}

void PluginUnderTest::prepare(float sampleRate, int blockSize) {
    dispatch(effSetSampleRate, 0, 0, nullptr, sampleRate);
    dispatch(effSetBlockSize, 0, blockSize);
    dispatch(effMainsChanged, 0, 1);
}

void PluginUnderTest::processFloat(std::vector<float>& left, std::vector<float>& right,
                                   std::vector<float>& outLeft, std::vector<float>& outRight) {
    outLeft.assign(left.size(), 0.0f);
    outRight.assign(left.size(), 0.0f);
    float* in[2] = {left.data(), right.data()};
    float* out[2] = {outLeft.data(), outRight.data()};
    m_effect->processReplacing(m_effect, in, out, (VstInt32)left.size());
}

void PluginUnderTest::processDouble(std::vector<double>& left, std::vector<double>& right,
                                    std::vector<double>& outLeft, std::vector<double>& outRight) {
    outLeft.assign(left.size(), 0.0);
    outRight.assign(left.size(), 0.0);
    double* in[2] = {left.data(), right.data()};
    double* out[2] = {outLeft.data(), outRight.data()};
    m_effect->processDoubleReplacing(m_effect, in, out, (VstInt32)left.size());
}

IsolatedPreferences::IsolatedPreferences() {
    const char* previous = std::getenv("XDG_CONFIG_HOME");
    m_hadPrevious = previous != nullptr;
    if (previous) m_previous = previous;
    setenv("XDG_CONFIG_HOME", m_root.path().c_str(), 1);
}

IsolatedPreferences::~IsolatedPreferences() {
    if (m_hadPrevious)
        setenv("XDG_CONFIG_HOME", m_previous.c_str(), 1);
    else
        unsetenv("XDG_CONFIG_HOME");
}

std::vector<unsigned char> ReadWholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(file), {});
}

void WriteWholeFile(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), (std::streamsize)bytes.size());
}
