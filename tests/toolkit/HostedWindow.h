// What the toolkit tests start from: a test environment installed, a host
// window on the screen, a frame wrapping it (the editor's connection) and a
// toolkit root inside it, as the editor sets itself up.
#pragma once

#include <memory>

#include "tests/toolkit/TestEnvironment.h"
#include "toolkit/CWinApp.h"

class HostedWindow {
public:
    // The host window's screen rectangle and the root's place inside it.
    static constexpr int kHostX = 100, kHostY = 80, kHostWidth = 420, kHostHeight = 320;
    static constexpr int kRootX = 10, kRootY = 20, kRootWidth = 300, kRootHeight = 200;

    explicit HostedWindow(std::unique_ptr<TestEnvironment> environment)
        : env(std::move(environment)) {
        env->Install();
        host = env->CreateHostWindow(CRect(kHostX, kHostY, kHostX + kHostWidth, kHostY + kHostHeight));
        opened = frame.SetNativeHandle(host);
    }
    ~HostedWindow() {
        frame.SetNativeHandle(0);
        env->DestroyHostWindow(host);
        AfxSetNativeDisplayFactory(nullptr);
    }

    // Creates root (its class decides its behaviour) inside the host window.
    bool CreateRoot(CWnd& root, LPCTSTR className = nullptr) {
        return root.Create(className, "root", WS_CHILD | WS_VISIBLE,
                           CRect(kRootX, kRootY, kRootX + kRootWidth, kRootY + kRootHeight),
                           &frame, 1) != FALSE;
    }
    // Screen point of a root client point.
    static CPoint Screen(int x, int y) { return CPoint(kHostX + kRootX + x, kHostY + kRootY + y); }

    std::unique_ptr<TestEnvironment> env;
    NativeWindow host = 0;
    CFrameWnd frame;
    bool opened = false;
};
