#include "formats/clap/ClapHostServices.h"

#include <string>

template <class Extension>
const Extension* ClapHostServices::Ask(const char* id) const {
    return host && host->getExtension ? static_cast<const Extension*>(host->getExtension(host, id))
                                      : nullptr;
}

void ClapHostServices::Find() {
    params = Ask<clap::HostParams>(clap::kExtParams);
    state = Ask<clap::HostState>(clap::kExtState);
    gui = Ask<clap::HostGui>(clap::kExtGui);
    log = Ask<clap::HostLog>(clap::kExtLog);
    threads = Ask<clap::HostThreadCheck>(clap::kExtThreadCheck);
    timers = Ask<clap::HostTimerSupport>(clap::kExtTimerSupport);
    fds = Ask<clap::HostPosixFdSupport>(clap::kExtPosixFdSupport);
    // A table with a missing function counts as none.
    if (timers && (!timers->registerTimer || !timers->unregisterTimer)) timers = nullptr;
    if (fds && (!fds->registerFd || !fds->unregisterFd)) fds = nullptr;
}

void ClapHostServices::RequestFlush() const {
    if (params && params->requestFlush) params->requestFlush(host);
}

void ClapHostServices::RescanValues() const {
    if (params && params->rescan) params->rescan(host, clap::kParamRescanValues);
}

void ClapHostServices::MarkDirty() const {
    if (state && state->markDirty) state->markDirty(host);
}

bool ClapHostServices::RequestResize(uint32_t width, uint32_t height) const {
    return gui && gui->requestResize && gui->requestResize(host, width, height);
}

void ClapHostServices::Log(clap::LogSeverity severity, const char* message) const {
    if (log && log->log) log->log(host, severity, message);
}

bool ClapHostServices::ExpectMainThread(const char* call) const {
    if (!threads || !threads->isMainThread || threads->isMainThread(host)) return true;
    Log(clap::kLogHostMisbehaving, (std::string("TapDelay: ") + call + " called off the main thread").c_str());
    return false;
}

bool ClapHostServices::RegisterTimer(uint32_t periodMs, clap::Id* id) const {
    return timers && timers->registerTimer(host, periodMs, id);
}

void ClapHostServices::UnregisterTimer(clap::Id id) const {
    if (timers) timers->unregisterTimer(host, id);
}

bool ClapHostServices::RegisterFd(int fd) const {
    return fds && fd >= 0 && fds->registerFd(host, fd, clap::kFdRead);
}

void ClapHostServices::UnregisterFd(int fd) const {
    if (fds && fd >= 0) fds->unregisterFd(host, fd);
}
