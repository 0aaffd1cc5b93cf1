#include "formats/clap/ClapGui.h"

ClapGui::~ClapGui() {
    // The host stops calling before the connection behind the descriptor goes.
    if (timer != clap::kInvalidId) services.UnregisterTimer(timer);
    services.UnregisterFd(watchedFd);
    editor.Close();
}

void ClapGui::GetSize(uint32_t* width, uint32_t* height) {
    int w = 0, h = 0;
    editor.GetSize(&w, &h);
    *width = (uint32_t)w;
    *height = (uint32_t)h;
}

bool ClapGui::SetParent(unsigned long window) {
    if (editor.IsOpen() || !editor.Open(window)) return false;
    if (services.RegisterFd(editor.EventFd())) watchedFd = editor.EventFd();
    clap::Id id = clap::kInvalidId;
    if (services.RegisterTimer(EmbeddedEditor::kIdleIntervalMs, &id)) timer = id;
    return true;
}

void ClapGui::OnTimer(clap::Id id) {
    if (timer != clap::kInvalidId && id == timer) editor.Idle();
}

void ClapGui::OnFd(int fd) {
    if (watchedFd >= 0 && fd == watchedFd) editor.Idle();
}
