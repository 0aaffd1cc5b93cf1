// The editor embedded in the host's X window, run by the host's loop: its
// X connection's descriptor goes to the host's fd support and a timer to
// its timer support, and both call the editor's idle. No thread of ours.
// Main thread only.
#pragma once

#include "formats/clap/ClapAbi.h"
#include "formats/clap/ClapHostServices.h"
#include "formats/shared/EmbeddedEditor.h"

class ClapGui {
public:
    ClapGui(EffectHost& host, const ClapHostServices& services) : editor(host), services(services) {}
    ~ClapGui();
    ClapGui(const ClapGui&) = delete;
    ClapGui& operator=(const ClapGui&) = delete;

    // The host's content scale: 100, 150 or 200 %, whichever is nearest.
    bool SetScale(double scale) { return editor.SetScale((float)scale); }
    void GetSize(uint32_t* width, uint32_t* height);
    // Once: the editor into the host's window.
    bool SetParent(unsigned long window);

    void OnTimer(clap::Id id);
    void OnFd(int fd);

private:
    EmbeddedEditor editor;
    const ClapHostServices& services;
    clap::Id timer = clap::kInvalidId;
    int watchedFd = -1;
};
