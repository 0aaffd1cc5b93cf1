// What the editor costs the host's UI thread, through the built TapDelay.so
// on a real X server (run under Xvfb: tools/test.sh shows how to start one):
// opening and closing the editor, the memory an open editor adds, a full
// repaint, an idle call with nothing to do, an idle call with the meters
// moving, and an idle call after the host automated every parameter. The
// painting alone, without the X server's share, is measured on the headless
// backend.
//
//   bench_editor [rounds] [scale]   (default 200 rounds at scale 1; the
//   scale, 1, 1.5 or 2, is sent as a HiDPI host sends it)
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "editor/CDelayEditor.h"
#include "host/VstAbi.h"
#include "toolkit/ResourceFolder.h"
#include "toolkit/headless/HeadlessDisplay.h"
// Xlib after the toolkit: its macros (KeyPress, None) clash with the toolkit's names.
#include <X11/Xlib.h>

namespace {

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? 2400 : 0;
}

VstIntPtr Dispatch(AEffect* effect, VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                   void* ptr = nullptr, float opt = 0.0f) {
    return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

// Mean microseconds per call of step over rounds calls.
double Measure(int rounds, const std::function<void(int)>& step) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < rounds; i++) step(i);
    const std::chrono::duration<double, std::micro> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / rounds;
}

// The process's resident memory in MB.
double ResidentMB() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * 4096.0 / (1024.0 * 1024.0);
}

// A full repaint on the headless backend: the editor's own drawing, with the
// effect linked in rather than loaded.
double HeadlessRepaint(int rounds, float scale) {
    AfxSetNativeDisplayFactory([] { return std::make_unique<HeadlessDisplay>(); });
    AfxSetResourceFolder(TAPDELAY_PLUGIN_DIR);
    double perCall = 0.0;
    {
        ATapDelay effect(Host);
        effect.open();
        auto* editor = static_cast<CDelayEditor*>(effect.getEditor());
        editor->SetScale(scale);
        ERect* rect = nullptr;
        editor->getRect(&rect);
        const NativeWindow host = headless::CreateHostWindow(CRect(0, 0, rect->right, rect->bottom));
        editor->open(reinterpret_cast<void*>(host));
        editor->idle();
        perCall = Measure(rounds, [&](int) { editor->draw(rect); });
        editor->close();
        headless::DestroyWindow(host);
    }
    AfxSetResourceFolder(nullptr);
    AfxSetNativeDisplayFactory(nullptr);
    return perCall;
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 200;
    const float scale = argc > 2 ? static_cast<float>(std::atof(argv[2])) : 1.0f;
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "bench_editor needs an X server: run it under xvfb-run or set DISPLAY\n");
        return 1;
    }
    void* library = dlopen(TAPDELAY_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        std::fprintf(stderr, "cannot load %s: %s\n", TAPDELAY_PLUGIN_PATH, dlerror());
        return 1;
    }
    auto entry = reinterpret_cast<AEffect* (*)(audioMasterCallback)>(dlsym(library, "VSTPluginMain"));
    AEffect* effect = entry(Host);
    Dispatch(effect, effOpen);
    effect->dispatcher(effect, effSetSampleRate, 0, 0, nullptr, 48000.0f);
    Dispatch(effect, effSetBlockSize, 0, 512);
    Dispatch(effect, effMainsChanged, 0, 1);

    constexpr VstInt32 kContentScale = ('P' << 24) | ('r' << 16) | ('e' << 8) | 'S';
    constexpr VstIntPtr kScaleFactor = ('A' << 24) | ('e' << 16) | ('C' << 8) | 's';
    if (!Dispatch(effect, effVendorSpecific, kContentScale, kScaleFactor, nullptr, scale))
        std::fprintf(stderr, "the editor did not take the scale %g\n", scale);
    ERect* rect = nullptr;
    Dispatch(effect, effEditGetRect, 0, 0, &rect);
    const int width = rect->right - rect->left, height = rect->bottom - rect->top;
    Window host = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, width, height, 0, 0, 0);
    XMapWindow(display, host);
    XSync(display, False);
    void* parent = reinterpret_cast<void*>(static_cast<uintptr_t>(host));

    const double openClose = Measure(std::max(1, rounds / 10), [&](int) {
        Dispatch(effect, effEditOpen, 0, 0, parent);
        Dispatch(effect, effEditIdle);
        Dispatch(effect, effEditClose);
    });
    const double closedMB = ResidentMB();
    Dispatch(effect, effEditOpen, 0, 0, parent);
    Dispatch(effect, effEditIdle);
    const double openMB = ResidentMB();

    const double repaint = Measure(rounds, [&](int) { Dispatch(effect, effEditDraw, 0, 0, rect); });
    const double quietIdle = Measure(rounds, [&](int) { Dispatch(effect, effEditIdle); });

    std::vector<float> in(512), out(512);
    float* inputs[2] = {in.data(), in.data()};
    float* outputs[2] = {out.data(), out.data()};
    const double meterIdle = Measure(rounds, [&](int round) {
        const float level = 0.05f + 0.9f * (round % 20) / 20.0f;
        for (float& s : in) s = level;
        effect->processReplacing(effect, inputs, outputs, 512);
        Dispatch(effect, effEditIdle);
    });
    const double automatedIdle = Measure(rounds, [&](int round) {
        for (int p = 0; p < 62; p++) effect->setParameter(effect, p, std::fmod(0.37f * (round + p), 1.0f));
        Dispatch(effect, effEditIdle);
    });

    Dispatch(effect, effEditClose);
    Dispatch(effect, effMainsChanged, 0, 0);
    Dispatch(effect, effClose);
    XDestroyWindow(display, host);
    XCloseDisplay(display);

    std::printf("editor %dx%d (scale %g), %d rounds (microseconds per call)\n", width, height, scale, rounds);
    std::printf("  open + idle + close        %10.1f\n", openClose);
    std::printf("  full repaint (effEditDraw) %10.1f\n", repaint);
    std::printf("  full repaint, headless     %10.1f\n", HeadlessRepaint(rounds, scale));
    std::printf("  idle, nothing changed      %10.1f\n", quietIdle);
    std::printf("  idle, meters moving        %10.1f\n", meterIdle);
    std::printf("  idle after 62 automations  %10.1f\n", automatedIdle);
    std::printf("memory an open editor adds: %.1f MB resident\n", openMB - closedMB);
    return 0;
}
