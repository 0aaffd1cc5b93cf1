#include "toolkit/NativeDisplay.h"

#include <mutex>

#include "toolkit/x11/X11Display.h"

namespace {

std::mutex factoryMutex;

NativeDisplayFactory& Factory() {
    static NativeDisplayFactory factory;
    return factory;
}

}  // namespace

void AfxSetNativeDisplayFactory(NativeDisplayFactory factory) {
    std::lock_guard<std::mutex> lock(factoryMutex);
    Factory() = std::move(factory);
}

std::unique_ptr<NativeDisplay> AfxOpenNativeDisplay() {
    NativeDisplayFactory factory;
    {
        std::lock_guard<std::mutex> lock(factoryMutex);
        factory = Factory();
    }
    std::unique_ptr<NativeDisplay> display = factory ? factory() : OpenX11Display();
    if (display && !display->IsOpen()) display.reset();
    return display;
}
