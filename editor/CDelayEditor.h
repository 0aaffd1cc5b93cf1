// The editor the host opens, idles and closes. It lives as long as the
// effect; while open it owns the one editor window, a child of the host's
// window. Parameter changes reported by the effect from any thread are only
// recorded here and shown on the UI thread's next idle.
#pragma once

#include "editor/CVMQBitmap.h"
#include "editor/ChangeRecord.h"
#include "editor/EditorScale.h"
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
    // While open: the descriptor of the editor's display connection, for
    // hosts that call idle when it is readable; -1 when there is none.
    int EventFd() const;

    // The editor's size: 1, 1.5 or 2 times its 800 x 360 layout. SetScale is
    // the host's word (a VST host's vendor call, an LV2 host's scale
    // factor), which overrides the user's choice and the desktop's; false
    // for a factor that says nothing. The rectangle follows at once.
    bool SetScale(float factor) override;
    float GetScale() const { return scale; }
    // The "Size" menu: 1, 1.5, 2, or 0 to follow the desktop. Saved for
    // every later editor; a size picked now also sets aside the host's word
    // for this editor; the host is asked to resize its window.
    void ChooseScale(float choice);
    float GetScaleChoice() const { return sources.user; }

private:
    void ShowRecordedChanges();
    // Asks what the user saved and, unless the host or the user decided,
    // what the desktop says; then applies.
    void ReadScaleSources();
    void ApplyScale();

    EditorScaleSources sources;
    bool sourcesRead = false;
    float scale = 0.0f;  // 0 until the pictures are loaded for a scale

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
