// The editor the host opens, idles and closes. It lives as long as the
// effect; while open it owns the one editor window, a child of the host's
// window. Parameter changes reported by the effect from any thread are only
// recorded here and shown on the UI thread's next idle.
#pragma once

#include "editor/CVMQBitmap.h"
#include "editor/ChangeRecord.h"
#include "effect/ATapDelay.h"
#include "host/AEffEditor.h"
#include "toolkit/CWinApp.h"

class CUIWindow;

// The toolkit's application object; it has no behaviour of its own.
class CVaTapDelay : public CWinApp {
public:
    CVaTapDelay() : CWinApp(nullptr) {}
    DECLARE_MESSAGE_MAP()
};
extern CVaTapDelay theApp;

class CDelayEditor : public AEffEditor, public IEditorView {
public:
    explicit CDelayEditor(AudioEffect* effect);
    ~CDelayEditor() override;

    bool getRect(ERect** rect) override;
    bool open(void* parent) override;
    void close() override;
    void idle() override;
    void draw(ERect* rect) override;
    VstInt32 mouse(VstInt32 x, VstInt32 y) override { return 0; }
    // Keys a host forwards instead of letting the window have them.
    bool onKeyDown(VstKeyCode& key) override;
    bool onKeyUp(VstKeyCode& key) override;

    // From the effect, on any thread: record only.
    void UpdateControl(int index, float value) override;
    void UpdateModify() override;

    CUIWindow* GetWindow() const { return window; }

private:
    void ShowRecordedChanges();

    ERect rect{};
    CVMQBitmap background;
    CFrameWnd parentFrame;
    CUIWindow* window = nullptr;
    ChangeRecord changes;
    bool inIdle = false;  // a host may call idle again from inside our own idle
};

// Every bitmap control reports through this: it hands the change to the
// window given as the control's user pointer.
bool ControlCallback(unsigned int id, float value, void* window);
