// X errors in a process the toolkit shares with a host. Xlib has one error
// handler and one I/O error handler per process, and its defaults end the
// process. While any of our connections is open, our handlers are installed:
// errors of our connections go to that connection's sink and never end the
// process; errors of every other connection (the host's own) go on to the
// handlers that were installed before ours, exactly as without us.
//
// A broken connection (the server went away) is reported to its sink. Xlib
// ends the process after the I/O error handler returns unless the connection
// has an I/O error exit handler (libX11 1.7.99 and later,
// XSetIOErrorExitHandler); ours is set on every connection where the library
// offers it, and then the host survives the loss of our connection.
#pragma once

#include <X11/Xlib.h>

class X11ErrorSink {
public:
    // A protocol error caused by one of this connection's requests (called
    // from inside the Xlib call that noticed it, on the connection's thread).
    virtual void OnProtocolError(const XErrorEvent& error) = 0;
    // The connection is broken; nothing more may be asked of it but closing.
    virtual void OnConnectionLost() = 0;

protected:
    ~X11ErrorSink() = default;
};

// Starts routing display's errors to sink; the first connection installs
// the handlers. False when too many connections are open at once.
bool RouteX11Errors(Display* display, X11ErrorSink* sink);
// Stops routing (after XCloseDisplay); the last connection puts the
// previous handlers back, unless someone installed a handler over ours
// since, which may still chain to ours: then ours stay in place, and the
// module holding them is kept loaded.
void StopRoutingX11Errors(Display* display);
