// What the host offers the plug-in, asked for once in init: every call is
// harmless when the host lacks the extension behind it. None of these is
// called from the audio thread.
#pragma once

#include "formats/clap/ClapAbi.h"

class ClapHostServices {
public:
    explicit ClapHostServices(const clap::Host* host) : host(host) {}

    // In the plug-in's init, where host extensions may first be asked for.
    void Find();

    // Any thread but the audio thread.
    void RequestFlush() const;
    // Main thread.
    void RescanValues() const;
    void MarkDirty() const;
    bool RequestResize(uint32_t width, uint32_t height) const;
    void Log(clap::LogSeverity severity, const char* message) const;
    // True unless the host says this is not its main thread; otherwise logs
    // that `call` came on another.
    bool ExpectMainThread(const char* call) const;

    bool HasTimers() const { return timers != nullptr; }
    bool RegisterTimer(uint32_t periodMs, clap::Id* id) const;
    void UnregisterTimer(clap::Id id) const;
    bool RegisterFd(int fd) const;
    void UnregisterFd(int fd) const;

private:
    template <class Extension>
    const Extension* Ask(const char* id) const;

    const clap::Host* host;
    const clap::HostParams* params = nullptr;
    const clap::HostState* state = nullptr;
    const clap::HostGui* gui = nullptr;
    const clap::HostLog* log = nullptr;
    const clap::HostThreadCheck* threads = nullptr;
    const clap::HostTimerSupport* timers = nullptr;
    const clap::HostPosixFdSupport* fds = nullptr;
};
