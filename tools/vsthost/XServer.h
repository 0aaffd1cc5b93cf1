// The X display a command shows its windows on: $DISPLAY when it answers,
// else, where the command allows it, a private virtual X server (Xvfb)
// started for the command and stopped with it.
#pragma once

#include <sys/types.h>

typedef struct _XDisplay Display;

namespace vsthost {

class XServer {
public:
    // startVirtual: start Xvfb when $DISPLAY is unset or does not answer.
    // The virtual server becomes $DISPLAY for this process, so that
    // plug-ins opening their own connection find it too.
    explicit XServer(bool startVirtual);
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    // Null when there is no display.
    Display* display() const { return display_; }
    bool isVirtual() const { return xvfb_ > 0; }

private:
    bool startXvfb();

    Display* display_ = nullptr;
    pid_t xvfb_ = 0;
};

}  // namespace vsthost
