// The behaviour tests' environment on the headless backend: input goes
// straight into the virtual screen's queues.
#include "tests/toolkit/TestEnvironment.h"
#include "toolkit/CWnd.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

class HeadlessEnvironment : public TestEnvironment {
public:
    const char* Name() const override { return "headless"; }

    void Install() override {
        AfxSetNativeDisplayFactory([] { return std::make_unique<HeadlessDisplay>(); });
    }

    NativeWindow CreateHostWindow(const CRect& screenRect) override {
        return headless::CreateHostWindow(screenRect);
    }
    void DestroyHostWindow(NativeWindow window) override { headless::DestroyWindow(window); }

    void MovePointer(int screenX, int screenY) override { headless::MovePointer(screenX, screenY); }
    void PressButton(int button) override { headless::PressButton(button); }
    void ReleaseButton(int button) override { headless::ReleaseButton(button); }
    void PressKey(unsigned long keysym) override { headless::PressKey(keysym); }
    void ReleaseKey(unsigned long keysym) override { headless::ReleaseKey(keysym); }

    // Injected input is queued at once; pump until the queues stay empty.
    void Settle() override {
        for (int turn = 0; turn < 50; ++turn) {
            AfxPumpMessages();
            if (headless::PendingEvents() == 0) break;
        }
        AfxPumpMessages();
    }
};

}  // namespace

std::unique_ptr<TestEnvironment> MakeHeadlessEnvironment() {
    return std::make_unique<HeadlessEnvironment>();
}
