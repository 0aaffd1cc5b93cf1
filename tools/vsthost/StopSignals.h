// Ctrl-C, SIGTERM (session managers, systemd) and SIGHUP (a closed terminal)
// as a file descriptor that the main loop polls: the signals are blocked and
// read from a signalfd, so no handler runs and nothing happens on whichever
// thread a signal would have interrupted. Make it before any thread starts
// (JACK's, the plug-in's): threads inherit the blocked set.
#pragma once

namespace vsthost {

class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    int fd() const { return fd_; }
    // The signal that arrived ("SIGTERM"), or null when none did.
    const char* take();

private:
    int fd_ = -1;
};

}  // namespace vsthost
