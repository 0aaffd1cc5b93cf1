#include "tools/vsthost/XServer.h"

#include <X11/Xlib.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace vsthost {

XServer::XServer(bool startVirtual) {
    const char* name = std::getenv("DISPLAY");
    if (name && *name)
        display_ = XOpenDisplay(nullptr);
    if (!display_ && startVirtual && startXvfb())
        display_ = XOpenDisplay(nullptr);
}

XServer::~XServer() {
    if (display_)
        XCloseDisplay(display_);
    if (xvfb_ > 0) {
        kill(xvfb_, SIGTERM);
        waitpid(xvfb_, nullptr, 0);
    }
}

// Xvfb picks a free display number itself and writes it to the -displayfd
// pipe once it accepts connections.
bool XServer::startXvfb() {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return false;
    // Everything the child needs is made before the fork: after it, only
    // calls that are safe in a copy of a threaded process.
    const std::string fd = std::to_string(pipeEnds[1]);
    fflush(nullptr);  // or the child would write our buffered output a second time
    const pid_t child = fork();
    if (child < 0) {
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        return false;
    }
    if (child == 0) {
        close(pipeEnds[0]);
        const int quiet = open("/dev/null", O_WRONLY);
        dup2(quiet, STDOUT_FILENO);
        dup2(quiet, STDERR_FILENO);
        execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1280x1024x24", "-nolisten",
               "tcp", "-noreset", (char*)nullptr);
        _exit(127);
    }
    close(pipeEnds[1]);
    xvfb_ = child;
    std::string number;
    pollfd ready{pipeEnds[0], POLLIN, 0};
    char c;
    while (poll(&ready, 1, 10000) > 0 && read(pipeEnds[0], &c, 1) == 1 && c != '\n')
        number += c;
    close(pipeEnds[0]);
    if (number.empty()) {  // no Xvfb on this machine, or it did not come up
        kill(xvfb_, SIGTERM);
        waitpid(xvfb_, nullptr, 0);
        xvfb_ = 0;
        return false;
    }
    setenv("DISPLAY", (":" + number).c_str(), 1);
    return true;
}

}  // namespace vsthost
