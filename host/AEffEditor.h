// The editor base the host talks to through the editor opcodes. Every
// operation has a harmless default; a real editor overrides what it needs.
#pragma once

#include "host/VstAbi.h"

class AudioEffect;

class AEffEditor {
public:
    explicit AEffEditor(AudioEffect* effect = nullptr) : effect(effect) {}
    virtual ~AEffEditor() {}

    virtual AudioEffect* getEffect() { return effect; }
    virtual bool getRect(ERect** rect) {
        *rect = nullptr;
        return false;
    }
    virtual bool open(void* ptr) {
        systemWindow = ptr;
        return false;
    }
    virtual void close() { systemWindow = nullptr; }
    virtual bool isOpen() { return systemWindow != nullptr; }
    virtual void idle() {}
    virtual void draw(ERect* rect) {}
    virtual VstInt32 mouse(VstInt32 x, VstInt32 y) { return 0; }
    virtual VstInt32 key(VstInt32 keyCode) { return 0; }
    virtual void top() {}
    virtual void sleep() {}
    virtual bool onKeyDown(VstKeyCode& keyCode) { return false; }
    virtual bool onKeyUp(VstKeyCode& keyCode) { return false; }
    virtual bool onWheel(float distance) { return false; }
    virtual bool setKnobMode(VstInt32 mode) { return false; }
    // The host's content scale factor (1 is 100 %); false when not taken.
    virtual bool SetScale(float factor) { return false; }

protected:
    AudioEffect* effect;
    void* systemWindow = nullptr;
};
