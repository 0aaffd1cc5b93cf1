// The headless test environment: its primitives, and the convenience input
// built on them.
#include "tests/toolkit/TestEnvironment.h"

#include <cstring>

#include "toolkit/CWnd.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

constexpr unsigned long kShiftL = 0xffe1;

// The unshifted key of a US layout for ch, and whether Shift is needed.
unsigned long KeyFor(char ch, bool& shift) {
    static const char unshifted[] = "`1234567890-=[]\\;',./";
    static const char shifted[] = "~!@#$%^&*()_+{}|:\"<>?";
    shift = false;
    if (ch >= 'A' && ch <= 'Z') {
        shift = true;
        return static_cast<unsigned long>(ch - 'A' + 'a');
    }
    if (const char* at = std::strchr(shifted, ch); at && ch) {
        shift = true;
        return static_cast<unsigned char>(unshifted[at - shifted]);
    }
    if (ch == '\n' || ch == '\r') return 0xff0d;
    if (ch == '\t') return 0xff09;
    if (ch == '\b') return 0xff08;
    return static_cast<unsigned char>(ch);
}

}  // namespace

void TestEnvironment::Install() {
    AfxSetNativeDisplayFactory([] { return std::make_unique<HeadlessDisplay>(); });
}

NativeWindow TestEnvironment::CreateHostWindow(const CRect& screenRect) {
    return headless::CreateHostWindow(screenRect);
}
void TestEnvironment::DestroyHostWindow(NativeWindow window) { headless::DestroyWindow(window); }

void TestEnvironment::MovePointer(int screenX, int screenY) { headless::MovePointer(screenX, screenY); }
void TestEnvironment::PressButton(int button) { headless::PressButton(button); }
void TestEnvironment::ReleaseButton(int button) { headless::ReleaseButton(button); }
void TestEnvironment::PressKey(unsigned long keysym) { headless::PressKey(keysym); }
void TestEnvironment::ReleaseKey(unsigned long keysym) { headless::ReleaseKey(keysym); }

// Injected input is queued at once; pump until the queues stay empty.
void TestEnvironment::Settle() {
    for (int turn = 0; turn < 50; ++turn) {
        AfxPumpMessages();
        if (headless::PendingEvents() == 0) break;
    }
    AfxPumpMessages();
}

void TestEnvironment::Click(int screenX, int screenY, int button) {
    MovePointer(screenX, screenY);
    PressButton(button);
    ReleaseButton(button);
    Settle();
}

void TestEnvironment::TypeKey(unsigned long keysym) {
    PressKey(keysym);
    ReleaseKey(keysym);
    Settle();
}

void TestEnvironment::TypeText(const std::string& asciiText) {
    for (char ch : asciiText) {
        bool shift = false;
        const unsigned long keysym = KeyFor(ch, shift);
        if (shift) PressKey(kShiftL);
        PressKey(keysym);
        ReleaseKey(keysym);
        if (shift) ReleaseKey(kShiftL);
    }
    Settle();
}

std::unique_ptr<TestEnvironment> MakeHeadlessEnvironment() {
    return std::make_unique<TestEnvironment>();
}
