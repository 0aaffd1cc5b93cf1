// Loads the built TapDelay.so as a host does (dlopen, VSTPluginMain) with a
// host callback that records every call the plug-in makes.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "host/VstAbi.h"
#include "tests/support/TempFolder.h"

struct HostCall {
    VstInt32 opcode;
    VstInt32 index;
    VstIntPtr value;
    float opt;
};

class PluginUnderTest {
public:
    // Creates one instance; open() is not sent unless asked for.
    explicit PluginUnderTest(bool sendOpen = true);
    ~PluginUnderTest();
    PluginUnderTest(const PluginUnderTest&) = delete;
    PluginUnderTest& operator=(const PluginUnderTest&) = delete;

    AEffect* effect() const { return m_effect; }
    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f);
    // effClose through the trampoline; afterwards the instance is gone.
    VstIntPtr close();

    void setParameter(int index, float value) { m_effect->setParameter(m_effect, index, value); }
    float getParameter(int index) { return m_effect->getParameter(m_effect, index); }
    // The text an opcode writes into a zeroed buffer.
    std::string text(VstInt32 opcode, int index = 0);
    std::string display(int index) { return text(effGetParamDisplay, index); }
    std::string name(int index) { return text(effGetParamName, index); }
    std::string programName() { return text(effGetProgramName); }
    int program() { return (int)dispatch(effGetProgram); }
    void setProgram(int program) { dispatch(effSetProgram, 0, program); }

    // Sets sample rate and block size and resumes, as a host does before audio.
    void prepare(float sampleRate = 44100.0f, int blockSize = 512);
    void processFloat(std::vector<float>& left, std::vector<float>& right,
                      std::vector<float>& outLeft, std::vector<float>& outRight);
    void processDouble(std::vector<double>& left, std::vector<double>& right,
                       std::vector<double>& outLeft, std::vector<double>& outRight);

    std::vector<HostCall> calls;    // everything the plug-in asked, in order
    VstIntPtr tempoAnswer = 0;      // answer to audioMasterTempoAt
    // Answer to audioMasterGetTime: &timeInfo when given, else null.
    bool timeInfoGiven = false;
    VstTimeInfo timeInfo{};
    // Time info that carries this tempo.
    void giveTempo(double bpm) {
        timeInfoGiven = true;
        timeInfo.flags = kVstTempoValid;
        timeInfo.tempo = bpm;
    }
    // Answer to audioMasterGetDirectory ("" = none, so the plug-in finds its own
    // folder with the factory bank). By default an empty folder: a fresh bank.
    std::string directoryAnswer = EmptyPluginFolder();
    static std::string EmptyPluginFolder();

    std::vector<HostCall> callsWithOpcode(VstInt32 opcode) const;
    void clearCalls() { calls.clear(); }

    // The plug-in entry point, loaded once per test program.
    static AEffect* callEntry(audioMasterCallback callback);

private:
    static VstIntPtr callback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                              void* ptr, float opt);
    VstIntPtr answer(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);

    AEffect* m_effect = nullptr;
    std::mutex m_callsLock;  // the plug-in may call back from the audio thread
};

// Points XDG_CONFIG_HOME at a temporary folder for the life of the object, so
// tests never touch the real Preferences folder.
class IsolatedPreferences {
public:
    IsolatedPreferences();
    ~IsolatedPreferences();
    std::string folder() const { return m_root.path() + "TapDelay/"; }
    std::string bankPath() const { return folder() + "TapDelayDef.fxb"; }

private:
    TempFolder m_root;
    std::string m_previous;
    bool m_hadPrevious = false;
};

// The calls of one opcode among `calls`, in order.
std::vector<HostCall> CallsWithOpcode(const std::vector<HostCall>& calls, VstInt32 opcode);

std::vector<unsigned char> ReadWholeFile(const std::string& path);
void WriteWholeFile(const std::string& path, const std::vector<unsigned char>& bytes);
