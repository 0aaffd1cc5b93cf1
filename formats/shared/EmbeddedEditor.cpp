#include "formats/shared/EmbeddedEditor.h"

#include "editor/CDelayEditor.h"
#include "editor/CUIWindow.h"
#include "formats/shared/EffectHost.h"

EmbeddedEditor::EmbeddedEditor(EffectHost& host) : host(host), editor(host.Editor()) {}

EmbeddedEditor::~EmbeddedEditor() { Close(); }

bool EmbeddedEditor::SetScale(float factor) { return editor.SetScale(factor); }

void EmbeddedEditor::GetSize(int* width, int* height) {
    ERect* rect = nullptr;
    editor.getRect(&rect);
    *width = rect->right - rect->left;
    *height = rect->bottom - rect->top;
}

bool EmbeddedEditor::Open(uint64_t parent) {
    if (opened || IsOpen() || !parent) return false;
    opened = editor.open(reinterpret_cast<void*>(static_cast<uintptr_t>(parent)));
    return opened;
}

bool EmbeddedEditor::IsOpen() const { return editor.GetWindow() != nullptr; }

void EmbeddedEditor::Close() {
    if (!opened) return;
    opened = false;
    editor.close();
    host.FlushGestures(true);
}

uint64_t EmbeddedEditor::Window() const {
    return IsOpen() ? editor.GetWindow()->GetNativeWindow() : 0;
}

int EmbeddedEditor::EventFd() const { return editor.EventFd(); }

void EmbeddedEditor::Idle() {
    editor.idle();
    host.FlushGestures();
}
