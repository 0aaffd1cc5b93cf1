// The host the effect sees inside every format but VST 2: one ATapDelay,
// opened on its resource folder, whose host callback is answered here. The
// format wrapper gives the tempo of each block and hears what the editor does
// (edit gestures, size requests, program changes) through an EffectListener.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "effect/ATapDelay.h"

class CDelayEditor;

// What the effect tells its format wrapper; every call comes on the thread
// that runs the editor (the UI thread), except where said.
class EffectListener {
public:
    virtual ~EffectListener() = default;
    // A gesture on one parameter: Begin, any number of Edited (the effect's
    // normalised value after the change), End. Every Edited lies inside a
    // Begin and End of its own parameter, also where the editor sent the
    // value after its end-edit (typed entry) or with none at all (menus).
    virtual void BeginEdit(int index) {}
    virtual void Edited(int index, float normalised) {}
    virtual void EndEdit(int index) {}
    // The editor wants this many pixels (its Size menu); true when granted.
    virtual bool ResizeRequested(int width, int height) { return false; }
    // The effect changed programs or names by itself (a program chosen or
    // copied in the editor, a factory reset).
    virtual void DisplayChanged() {}
};

class EffectHost {
public:
    // resourceFolder holds the factory bank and the editor's pictures; empty
    // means the folder of the loaded library (symbolic links followed).
    explicit EffectHost(const std::string& resourceFolder);
    ~EffectHost();
    EffectHost(const EffectHost&) = delete;
    EffectHost& operator=(const EffectHost&) = delete;

    ATapDelay& Effect() { return *effect; }
    CDelayEditor& Editor();
    const std::string& ResourceFolder() const { return folder; }

    // Any thread; null for none. The listener must outlive its registration.
    void SetListener(EffectListener* listener) { this->listener.store(listener); }

    // Audio thread, before each block (or slice): the tempo the effect reads
    // through audioMasterGetTime; 0 or less, or not finite, means none.
    void SetTempo(double beatsPerMinute);
    void SetSampleRate(double rate);

    // What the effect opened with: a host's default for each parameter.
    float DefaultValue(int index) const { return IsValidParam(index) ? defaults[index] : 0.0f; }

    // Frames the output may go on after the input falls silent: the longest
    // tap that is on, or kInfiniteTail while feedback is on.
    static constexpr uint32_t kInfiniteTail = UINT32_MAX;
    uint32_t TailFrames();

    // Ends the gestures the editor has finished: the editor's end-edit may
    // come before its last value (typed entry), so ends are held back until
    // the editor's turn is over. Called after every editor idle; `all` also
    // ends those still open (the editor is closing).
    void FlushGestures(bool all = false);

private:
    static VstIntPtr Callback(AEffect* aeffect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                              void* ptr, float opt);
    VstIntPtr Answer(VstInt32 opcode, VstInt32 index, VstIntPtr value);
    void Automated(int index);

    ATapDelay* effect = nullptr;
    std::string folder;
    std::atomic<EffectListener*> listener{nullptr};
    float defaults[kNumParams] = {};
    VstTimeInfo timeInfo{};
    bool tempoKnown = false;
    // Parameters inside a gesture, and those whose end is held back.
    uint64_t openGestures = 0;
    uint64_t endingGestures = 0;
};
