#include "editor/CDelayEditor.h"

#include <cmath>

#include "editor/CUIWindow.h"
#include "toolkit/KeyCodes.h"
#include "host/AudioEffectX.h"
#include "toolkit/UIConnection.h"

CVaTapDelay theApp;

BEGIN_MESSAGE_MAP(CVaTapDelay, CWinApp)
END_MESSAGE_MAP()

bool ControlCallback(unsigned int id, float value, void* window) {
    static_cast<CUIWindow*>(window)->ChangeControl(static_cast<int>(id), value);
    return true;
}

CDelayEditor::CDelayEditor(AudioEffect* effect) : AEffEditor(effect) {
    background.LoadResourceBitmap(MAKEINTRESOURCE(3005));
    effect->setEditor(this);
    static_cast<ATapDelay*>(effect)->SetEditorView(this);
    rect.top = 0;
    rect.left = 0;
    rect.bottom = static_cast<VstInt16>(background.Height());
    rect.right = static_cast<VstInt16>(background.Width());
}

bool CDelayEditor::SetScale(float factor) {
    const float size = NearestEditorScale(factor);
    if (!size) return false;
    sources.host = size;
    ApplyScale();
    return true;
}

void CDelayEditor::ChooseScale(float choice) {
    sources.user = NearestEditorScale(choice);
    // A size the user picks now wins over what the host said at opening.
    if (sources.user) sources.host = 0.0f;
    SaveEditorScaleChoice(static_cast<ATapDelay*>(effect)->GetPreferencesFolder(), sources.user);
    if (!sources.user && !sources.host) sources.desktop = NearestEditorScale(AfxDesktopScale());
    const float before = scale;
    ApplyScale();
    if (scale != before)
        static_cast<AudioEffectX*>(effect)->sizeWindow(rect.right - rect.left, rect.bottom - rect.top);
}

void CDelayEditor::ReadScaleSources() {
    sources.user = LoadEditorScaleChoice(static_cast<ATapDelay*>(effect)->GetPreferencesFolder());
    if (!sources.host && !sources.user) {
        UIConnection* connection = parentFrame.GetConnection();
        sources.desktop = NearestEditorScale(connection ? connection->DesktopScale() : AfxDesktopScale());
    }
    sourcesRead = true;
    ApplyScale();
}

// Pictures drawn for the new scale replace the old ones in place, so the
// controls keep their pointers; the window keeps its logical layout.
void CDelayEditor::ApplyScale() {
    const float chosen = sources.Choose();
    if (chosen != scale) {
        scale = chosen;
        background.LoadResourceBitmap(MAKEINTRESOURCE(3005), scale);
        if (window) window->SetScale(scale);
    }
    rect.bottom = static_cast<VstInt16>(std::lround(background.Height() * scale));
    rect.right = static_cast<VstInt16>(std::lround(background.Width() * scale));
}

// The effect deletes its editor from its base destructor, when it is no
// longer an ATapDelay: nothing here may reach back into it.
CDelayEditor::~CDelayEditor() {
    if (window) close();
}

bool CDelayEditor::getRect(ERect** out) {
    if (!sourcesRead) ReadScaleSources();
    *out = &rect;
    return true;
}

bool CDelayEditor::open(void* parent) {
    if (window) return true;
    systemWindow = parent;
    // Changes recorded while closed are already in the controls' start values.
    changes.Clear();
    parentFrame.SetNativeHandle(reinterpret_cast<NativeWindow>(parent));
    // The desktop may have changed since the last editor: ask again, and
    // give the connection the scale before the window is made on it.
    ReadScaleSources();
    parentFrame.SetDeviceScale(scale);
    window = new CUIWindow();
    if (!window->MakeWindow(&parentFrame, &background, this)) {
        // No display to show it on, or the host's window is already gone:
        // say so rather than keep a window that does not exist.
        delete window;
        window = nullptr;
        parentFrame.SetNativeHandle(0);
        systemWindow = nullptr;
        return false;
    }
    window->MoveWindow(0, 0, background.Width(), background.Height(), TRUE);
    return true;
}

void CDelayEditor::close() {
    systemWindow = nullptr;
    if (!window) return;
    window->DestroyWindow();
    delete window;
    window = nullptr;
    parentFrame.SetNativeHandle(0);
}

void CDelayEditor::idle() {
    // Some hosts answer our own callbacks by calling idle again, on the same
    // thread, while we are still inside this one (see host/HostQuirks.h).
    if (inIdle) return;
    inIdle = true;
    if (window) {
        ShowRecordedChanges();
        window->idle();
        AfxPumpMessages();
    }
    inIdle = false;
}

int CDelayEditor::EventFd() const {
    UIConnection* connection = window ? parentFrame.GetConnection() : nullptr;
    NativeDisplay* display = connection ? connection->Display() : nullptr;
    return display ? display->EventFd() : -1;
}

void CDelayEditor::ShowRecordedChanges() {
    uint64_t changed = changes.TakeParameters();
    ATapDelay* tapDelay = static_cast<ATapDelay*>(effect);
    for (int index = 0; changed != 0 && index < kNumParams; index++, changed >>= 1)
        if (changed & 1) window->UpdateControl(index, tapDelay->getParameter(index));
    if (changes.TakeModified()) window->UpdateModify();
}

void CDelayEditor::draw(ERect*) {
    if (window) window->SendMessage(WM_PAINT);
}

void CDelayEditor::UpdateControl(int index, float) { changes.MarkParameter(index); }

void CDelayEditor::UpdateModify() { changes.MarkModified(); }

namespace {

// VST's virtual key numbers (VstKeyCode::virt) for the keys the entry field
// uses, and the toolkit's codes for them.
struct VstKey {
    unsigned char virt;
    unsigned keyCode;
    unsigned character;
};
constexpr VstKey kVstKeys[] = {
    {1, keycode::Backspace, keychar::Backspace},  // VKEY_BACK
    {2, keycode::Tab, keychar::Tab},              // VKEY_TAB
    {4, keycode::Return, keychar::Return},        // VKEY_RETURN
    {6, keycode::Escape, keychar::Escape},        // VKEY_ESCAPE
    {9, keycode::End, 0},                         // VKEY_END
    {10, keycode::Home, 0},                       // VKEY_HOME
    {11, keycode::Left, keychar::Left},           // VKEY_LEFT
    {12, keycode::Up, keychar::Up},               // VKEY_UP
    {13, keycode::Right, keychar::Right},         // VKEY_RIGHT
    {14, keycode::Down, keychar::Down},           // VKEY_DOWN
    {19, keycode::KeypadEnter, keychar::KeypadEnter},  // VKEY_ENTER
    {22, keycode::Delete, keychar::Delete},       // VKEY_DELETE
};

}  // namespace

bool CDelayEditor::onKeyDown(VstKeyCode& key) {
    if (!window) return false;
    unsigned keyCode = 0, character = 0;
    if (key.virt != 0) {
        for (const VstKey& k : kVstKeys)
            if (k.virt == key.virt) keyCode = k.keyCode, character = k.character;
        if (keyCode == 0) return false;
    } else if (key.character > 0 && key.character < 0x80) {
        character = static_cast<unsigned>(key.character);
    } else {
        return false;
    }
    return window->ForwardKey(keyCode, character);
}

// The field acts on key presses; a release is ours only while it is open.
bool CDelayEditor::onKeyUp(VstKeyCode&) { return window && window->GetEntryWindow().IsWindowVisible(); }
