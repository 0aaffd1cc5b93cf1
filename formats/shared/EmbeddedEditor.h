// The editor inside a window the host gives, run by the host's own loop: the
// host watches EventFd() and calls Idle() when it is readable and from a
// timer every kIdleIntervalMs. No thread of our own; every call on the thread
// that opened it.
#pragma once

#include <cstdint>

class CDelayEditor;
class EffectHost;

class EmbeddedEditor {
public:
    static constexpr int kIdleIntervalMs = 30;

    explicit EmbeddedEditor(EffectHost& host);
    ~EmbeddedEditor();  // closes what this one opened
    EmbeddedEditor(const EmbeddedEditor&) = delete;
    EmbeddedEditor& operator=(const EmbeddedEditor&) = delete;

    // The host's content scale (1 is 100 %): the editor takes the nearest of
    // its sizes; false for a factor that says nothing.
    bool SetScale(float factor);
    // In pixels, at the scale the editor has or will open with.
    void GetSize(int* width, int* height);

    // parent: the host's X window. False when there is no display or the
    // window is gone.
    bool Open(uint64_t parent);
    bool IsOpen() const;
    // Closes the editor if this one opened it (the effect has one editor; a
    // host may make a second view that never shows it).
    void Close();
    // The editor's own X window inside the parent (0 while closed).
    uint64_t Window() const;

    int EventFd() const;
    // One turn: X events, what the host and the audio changed, the meters;
    // then the ends of the gestures the user finished.
    void Idle();

private:
    EffectHost& host;
    CDelayEditor& editor;
    bool opened = false;
};
