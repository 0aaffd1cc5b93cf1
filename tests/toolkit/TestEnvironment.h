// The windowing environment the toolkit's behaviour tests run in: the
// headless backend with its input. Real X input is left to the X11 backend's
// own test and to the editor's, through the built plug-in.
#pragma once

#include <memory>
#include <string>

#include "toolkit/NativeDisplay.h"

class TestEnvironment {
public:
    virtual ~TestEnvironment() = default;
    virtual const char* Name() const = 0;

    // Installs this environment's backend as the toolkit's display factory.
    virtual void Install() = 0;

    // A mapped top-level window standing for a host's editor window, at
    // screenRect; its id goes where a host would pass it (effEditOpen).
    virtual NativeWindow CreateHostWindow(const CRect& screenRect) = 0;
    // Destroys it as a host would, even while the toolkit still has windows
    // inside it.
    virtual void DestroyHostWindow(NativeWindow window) = 0;

    // Real input, in screen coordinates. Buttons 1 left, 3 right.
    virtual void MovePointer(int screenX, int screenY) = 0;
    virtual void PressButton(int button) = 0;
    virtual void ReleaseButton(int button) = 0;
    // Keys by X keysym (XK_Return 0xff0d, XK_a 0x61, XK_Shift_L 0xffe1...).
    virtual void PressKey(unsigned long keysym) = 0;
    virtual void ReleaseKey(unsigned long keysym) = 0;

    // Waits until the input sent so far has reached the toolkit's
    // connections (pumping them), then pumps until nothing more arrives.
    virtual void Settle() = 0;

    // Convenience built on the above.
    void Click(int screenX, int screenY, int button = 1);
    void TypeKey(unsigned long keysym);
    void TypeText(const std::string& asciiText);
};

std::unique_ptr<TestEnvironment> MakeHeadlessEnvironment();
