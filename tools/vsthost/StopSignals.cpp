#include "tools/vsthost/StopSignals.h"

#include "tools/vsthost/PluginHost.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vsthost {

namespace {

sigset_t stopSet() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

StopSignals::StopSignals() {
    const sigset_t set = stopSet();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    fd_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (fd_ < 0)
        throw HostError(std::string("cannot watch for signals: ") + strerror(errno));
}

// The signals stay blocked: one more Ctrl-C while the program winds down
// must not cut short the saving of its state.
StopSignals::~StopSignals() {
    close(fd_);
}

const char* StopSignals::take() {
    signalfd_siginfo info;
    if (read(fd_, &info, sizeof info) != (ssize_t)sizeof info)
        return nullptr;
    switch (info.ssi_signo) {
    case SIGINT: return "SIGINT";
    case SIGTERM: return "SIGTERM";
    default: return "SIGHUP";
    }
}

}  // namespace vsthost
