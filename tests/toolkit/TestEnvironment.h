// The windowing environment the toolkit's behaviour tests run in: the
// headless backend, whose input goes straight into the virtual screen's
// queues. Real X input is left to the X11 backend's own test and to the
// editor's, through the built plug-in.
#pragma once

#include <memory>
#include <string>

#include "toolkit/NativeDisplay.h"

class TestEnvironment {
public:
    // Installs the headless backend as the toolkit's display factory.
    void Install();

    // A mapped top-level window standing for a host's editor window, at
    // screenRect; its id goes where a host would pass it (effEditOpen).
    NativeWindow CreateHostWindow(const CRect& screenRect);
    // Destroys it as a host would, even while the toolkit still has windows
    // inside it.
    void DestroyHostWindow(NativeWindow window);

    // Input, in screen coordinates. Buttons 1 left, 3 right.
    void MovePointer(int screenX, int screenY);
    void PressButton(int button);
    void ReleaseButton(int button);
    // Keys by X keysym (XK_Return 0xff0d, XK_a 0x61, XK_Shift_L 0xffe1...).
    void PressKey(unsigned long keysym);
    void ReleaseKey(unsigned long keysym);

    // Pumps the toolkit until the input sent so far has been handled and
    // nothing more arrives.
    void Settle();

    // Convenience built on the above.
    void Click(int screenX, int screenY, int button = 1);
    void TypeKey(unsigned long keysym);
    void TypeText(const std::string& asciiText);
};

std::unique_ptr<TestEnvironment> MakeHeadlessEnvironment();
