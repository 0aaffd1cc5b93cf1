#include "toolkit/KeyCodes.h"

namespace {

struct SpecialKey {
    unsigned long keysym;
    unsigned keyCode;
    uint32_t character;
};

// X keysyms of the special keys (keypad twins included).
constexpr SpecialKey specialKeys[] = {
    {0xff0d, keycode::Return, keychar::Return},          // Return
    {0xff8d, keycode::KeypadEnter, keychar::KeypadEnter},  // KP_Enter
    {0xff1b, keycode::Escape, keychar::Escape},          // Escape
    {0xff09, keycode::Tab, keychar::Tab},                // Tab
    {0xfe20, keycode::Tab, keychar::Tab},                // ISO_Left_Tab (Shift+Tab)
    {0xff08, keycode::Backspace, keychar::Backspace},    // BackSpace
    {0xffff, keycode::Delete, keychar::Delete},          // Delete
    {0xff9f, keycode::Delete, keychar::Delete},          // KP_Delete
    {0xff51, keycode::Left, keychar::Left},              // Left
    {0xff96, keycode::Left, keychar::Left},              // KP_Left
    {0xff52, keycode::Up, keychar::Up},                  // Up
    {0xff97, keycode::Up, keychar::Up},                  // KP_Up
    {0xff53, keycode::Right, keychar::Right},            // Right
    {0xff98, keycode::Right, keychar::Right},            // KP_Right
    {0xff54, keycode::Down, keychar::Down},              // Down
    {0xff99, keycode::Down, keychar::Down},              // KP_Down
    {0xff50, keycode::Home, 0},                          // Home
    {0xff95, keycode::Home, 0},                          // KP_Home
    {0xff57, keycode::End, 0},                           // End
    {0xff9c, keycode::End, 0},                           // KP_End
    {0xff55, keycode::PageUp, 0},                        // Prior
    {0xff9a, keycode::PageUp, 0},                        // KP_Prior
    {0xff56, keycode::PageDown, 0},                      // Next
    {0xff9b, keycode::PageDown, 0},                      // KP_Next
};

bool IsModifier(unsigned long keysym) {
    return (keysym >= 0xffe1 && keysym <= 0xffee)  // Shift, Control, Caps, Meta, Alt, Super, Hyper
           || keysym == 0xff7e                     // Mode_switch
           || keysym == 0xff7f                     // Num_Lock
           || keysym == 0xff14                     // Scroll_Lock
           || (keysym >= 0xfe01 && keysym <= 0xfe13);  // ISO level and group shifts
}

}  // namespace

KeyTranslation TranslateKeySym(unsigned long keysym, uint32_t typed) {
    for (const SpecialKey& key : specialKeys)
        if (key.keysym == keysym) return KeyTranslation{key.keyCode, key.character};
    if (IsModifier(keysym)) return KeyTranslation{keycode::None, 0};
    return KeyTranslation{keycode::None, typed};
}
