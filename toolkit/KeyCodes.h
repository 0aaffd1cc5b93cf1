// The key codes the toolkit delivers as WM_KEYDOWN / WM_KEYUP wParam, and the
// character that follows in WM_CHAR. The editor's entry fields were written
// against Macintosh virtual key numbers (Return 0x24, Escape 0x35), so special
// keys keep those numbers on every backend. Keys that only type a character
// (letters, digits, punctuation) arrive with key code 0 and their character:
// a number of their own could collide with a special key (the digit 5 is 0x35
// in Win32 numbering, Escape here), and nothing in the toolkit needs one.
//
//   key                 key code        WM_CHAR character
//   Return              0x24 Return     13
//   keypad Enter        0x4C KeypadEnter 3 (the fields turn it into 13)
//   Escape              0x35 Escape     27
//   Tab                 0x09 Tab        9 (the fields let it through)
//   Backspace           0x33 Backspace  8
//   Delete (forward)    0x75 Delete     127
//   Left arrow          0x7B Left       28 (the fields turn it into 37)
//   Right arrow         0x7C Right      29 (the fields turn it into 39)
//   Up arrow            0x7E Up         30
//   Down arrow          0x7D Down       31
//   Home                0x73 Home       none
//   End                 0x77 End        none
//   Page Up             0x74 PageUp     none
//   Page Down           0x79 PageDown   none
//   any other key       0               its Unicode character (UTF-8 in WM_CHAR
//                                       arrives one byte per message), or none
//
// The modifier keys themselves deliver nothing; their state is read with
// GetKeyState (16 Shift, 17 Control, 18 Alt, 19 Super).
#pragma once

#include <cstdint>

namespace keycode {
constexpr unsigned None = 0x00;
constexpr unsigned Tab = 0x09;
constexpr unsigned Return = 0x24;
constexpr unsigned Backspace = 0x33;
constexpr unsigned Escape = 0x35;
constexpr unsigned KeypadEnter = 0x4C;
constexpr unsigned Home = 0x73;
constexpr unsigned PageUp = 0x74;
constexpr unsigned Delete = 0x75;
constexpr unsigned End = 0x77;
constexpr unsigned PageDown = 0x79;
constexpr unsigned Left = 0x7B;
constexpr unsigned Right = 0x7C;
constexpr unsigned Down = 0x7D;
constexpr unsigned Up = 0x7E;
}  // namespace keycode

// Both backends name keys by X keysym (the headless one too, so that tests
// drive them alike) and translate them here. typed is the Unicode character
// the key produced (0 when none).
struct KeyTranslation {
    unsigned keyCode;
    uint32_t character;
};
KeyTranslation TranslateKeySym(unsigned long keysym, uint32_t typed);

namespace keychar {
constexpr unsigned KeypadEnter = 3;
constexpr unsigned Backspace = 8;
constexpr unsigned Tab = 9;
constexpr unsigned Return = 13;
constexpr unsigned Escape = 27;
constexpr unsigned Left = 28;
constexpr unsigned Right = 29;
constexpr unsigned Up = 30;
constexpr unsigned Down = 31;
constexpr unsigned Delete = 127;
}  // namespace keychar
