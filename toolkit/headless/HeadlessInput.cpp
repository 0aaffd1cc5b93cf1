// Pointer and key input injected into the virtual screen, routed as an X
// server routes it.
#include <cctype>
#include <cstring>

#include "toolkit/KeyCodes.h"
#include "toolkit/headless/HeadlessScreen.h"

namespace headless {
namespace {

unsigned ButtonBit(int button) {
    switch (button) {
    case 1: return modifier::Button1;
    case 3: return modifier::Button3;
    case 2: return 1u << 8;
    default: return 0;  // the wheel holds nothing
    }
}

NativeWindow PointerTarget(Screen& screen) {
    if (screen.pointerGrab) return screen.pointerGrab;
    if (screen.implicitGrab) return screen.implicitGrab;
    return WindowAt(screen, screen.pointer);
}

void SendPointer(Screen& screen, NativeEventType type, int button) {
    const NativeWindow target = PointerTarget(screen);
    if (!target) return;
    const CPoint origin = ScreenOrigin(screen, target);
    NativeEvent event;
    event.type = type;
    event.x = screen.pointer.x - origin.x;
    event.y = screen.pointer.y - origin.y;
    event.rootX = screen.pointer.x;
    event.rootY = screen.pointer.y;
    event.button = button;
    event.modifiers = Modifiers(screen);
    Send(screen, target, event);
}

// The character a printable keysym types on a US layout.
uint32_t TypedCharacter(unsigned long keysym, bool shift) {
    static const char unshifted[] = "`1234567890-=[]\\;',./";
    static const char shifted[] = "~!@#$%^&*()_+{}|:\"<>?";
    if (keysym >= 0x20 && keysym <= 0x7e) {
        char c = static_cast<char>(keysym);
        if (shift) {
            if (c >= 'a' && c <= 'z') return static_cast<uint32_t>(c - 'a' + 'A');
            if (const char* at = std::strchr(unshifted, c)) return static_cast<unsigned char>(shifted[at - unshifted]);
        }
        return static_cast<uint32_t>(c);
    }
    if (keysym >= 0xa0 && keysym <= 0xff) return static_cast<uint32_t>(keysym);
    if (keysym >= 0x1000100 && keysym <= 0x110ffff) return static_cast<uint32_t>(keysym - 0x1000000);
    if (keysym == 0xff0d) return 13;
    if (keysym == 0xff09) return 9;
    if (keysym == 0xff08) return 8;
    if (keysym == 0xff1b) return 27;
    if (keysym == 0xffff) return 127;
    return 0;
}

void SendKey(Screen& screen, NativeEventType type, unsigned long keysym) {
    const NativeWindow target = screen.keyboardGrab ? screen.keyboardGrab : screen.focus;
    const unsigned modifiers = Modifiers(screen);
    if (!target) return;
    const KeyTranslation key =
        TranslateKeySym(keysym, TypedCharacter(keysym, (modifiers & modifier::Shift) != 0));
    const CPoint origin = ScreenOrigin(screen, target);
    NativeEvent event;
    event.type = type;
    event.keyCode = key.keyCode;
    event.character = type == NativeEventType::KeyPress ? key.character : 0;
    event.modifiers = modifiers;
    event.x = screen.pointer.x - origin.x;
    event.y = screen.pointer.y - origin.y;
    event.rootX = screen.pointer.x;
    event.rootY = screen.pointer.y;
    Send(screen, target, event);
}

}  // namespace

void MovePointer(int screenX, int screenY) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    screen.pointer = CPoint(screenX, screenY);
    SendPointer(screen, NativeEventType::Motion, 0);
}

CPoint PointerPosition() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return screen.pointer;
}

void PressButton(int button) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (!screen.pointerGrab && !screen.implicitGrab && ButtonBit(button))
        screen.implicitGrab = WindowAt(screen, screen.pointer);
    SendPointer(screen, NativeEventType::ButtonPress, button);
    screen.buttons |= ButtonBit(button);
}

void ReleaseButton(int button) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    SendPointer(screen, NativeEventType::ButtonRelease, button);
    screen.buttons &= ~ButtonBit(button);
    if (!screen.buttons) screen.implicitGrab = 0;
}

void PressKey(unsigned long keysym) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    SendKey(screen, NativeEventType::KeyPress, keysym);
    screen.keysDown.insert(keysym);
}

void ReleaseKey(unsigned long keysym) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    SendKey(screen, NativeEventType::KeyRelease, keysym);
    screen.keysDown.erase(keysym);
}

void RequestClose(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    NativeEvent event;
    event.type = NativeEventType::CloseRequest;
    Send(screen, window, event);
}

}  // namespace headless
