#include "toolkit/x11/X11ErrorRouting.h"

#include <dlfcn.h>

#include <atomic>
#include <mutex>

// Absent from libX11 before 1.7.99; weak so that the module still loads there.
#pragma weak XSetIOErrorExitHandler

namespace {

// Lock-free lookup for the handlers, which may run on any thread (a host's
// connection used by another thread reports its errors there too).
struct Route {
    std::atomic<Display*> display{nullptr};
    std::atomic<X11ErrorSink*> sink{nullptr};
};
constexpr int kMaxRoutes = 256;
Route routes[kMaxRoutes];

std::mutex installLock;  // installation, removal and route slots
int openRoutes = 0;
bool errorHandlerInstalled = false;
bool ioErrorHandlerInstalled = false;
std::atomic<XErrorHandler> previousErrorHandler{nullptr};
std::atomic<XIOErrorHandler> previousIOErrorHandler{nullptr};

X11ErrorSink* SinkOf(Display* display) {
    if (!display) return nullptr;
    for (Route& route : routes)
        if (route.display.load(std::memory_order_acquire) == display)
            return route.sink.load(std::memory_order_acquire);
    return nullptr;
}

int HandleError(Display* display, XErrorEvent* error) {
    if (X11ErrorSink* sink = SinkOf(display)) {
        if (error) sink->OnProtocolError(*error);
        return 0;
    }
    XErrorHandler previous = previousErrorHandler.load();
    return (previous && previous != &HandleError) ? previous(display, error) : 0;
}

int HandleIOError(Display* display) {
    if (X11ErrorSink* sink = SinkOf(display)) {
        sink->OnConnectionLost();
        return 0;
    }
    XIOErrorHandler previous = previousIOErrorHandler.load();
    return (previous && previous != &HandleIOError) ? previous(display) : 0;
}

// Replaces Xlib's exit() after a broken connection of ours.
void KeepRunningAfterIOError(Display* display, void* sink) {
    if (sink) static_cast<X11ErrorSink*>(sink)->OnConnectionLost();
}

bool CanSetIOErrorExitHandler() {
    void (*volatile function)(Display*, XIOErrorExitHandler, void*) = &XSetIOErrorExitHandler;
    return function != nullptr;
}

// Our handlers stay reachable through someone else's chain: this module
// must not be unloaded while that is so.
void KeepModuleLoaded() {
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&HandleError), &info) && info.dli_fname)
        dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

void InstallHandlers() {
    if (!errorHandlerInstalled) {
        previousErrorHandler = XSetErrorHandler(&HandleError);
        errorHandlerInstalled = true;
    }
    if (!ioErrorHandlerInstalled) {
        previousIOErrorHandler = XSetIOErrorHandler(&HandleIOError);
        ioErrorHandlerInstalled = true;
    }
}

void UninstallHandlers() {
    bool stillChained = false;
    if (errorHandlerInstalled) {
        XErrorHandler current = XSetErrorHandler(previousErrorHandler.load());
        if (current == &HandleError) {
            errorHandlerInstalled = false;
        } else {
            XSetErrorHandler(current);
            stillChained = true;
        }
    }
    if (ioErrorHandlerInstalled) {
        XIOErrorHandler current = XSetIOErrorHandler(previousIOErrorHandler.load());
        if (current == &HandleIOError) {
            ioErrorHandlerInstalled = false;
        } else {
            XSetIOErrorHandler(current);
            stillChained = true;
        }
    }
    if (stillChained) KeepModuleLoaded();
}

}  // namespace

bool RouteX11Errors(Display* display, X11ErrorSink* sink) {
    if (!display || !sink) return false;
    std::lock_guard<std::mutex> guard(installLock);
    Route* free = nullptr;
    for (Route& route : routes) {
        if (!route.display.load(std::memory_order_relaxed)) {
            free = &route;
            break;
        }
    }
    if (!free) return false;
    InstallHandlers();
    free->sink.store(sink, std::memory_order_release);
    free->display.store(display, std::memory_order_release);
    ++openRoutes;
    if (CanSetIOErrorExitHandler()) XSetIOErrorExitHandler(display, &KeepRunningAfterIOError, sink);
    return true;
}

void StopRoutingX11Errors(Display* display) {
    if (!display) return;
    std::lock_guard<std::mutex> guard(installLock);
    for (Route& route : routes) {
        if (route.display.load(std::memory_order_relaxed) == display) {
            route.display.store(nullptr, std::memory_order_release);
            route.sink.store(nullptr, std::memory_order_release);
            --openRoutes;
        }
    }
    if (openRoutes == 0) UninstallHandlers();
}
