// The toolkit's native-seam names that Xlib's headers take over as macros
// (None, Button1, ButtonPress, KeyPress, Expose, FocusOut...), under names of
// their own. Include this before any X header; after one, the originals no
// longer compile.
#pragma once

#include "toolkit/KeyCodes.h"
#include "toolkit/NativeDisplay.h"

namespace native {
constexpr NativeEventType kNoEvent = NativeEventType::None;
constexpr NativeEventType kButtonPress = NativeEventType::ButtonPress;
constexpr NativeEventType kButtonRelease = NativeEventType::ButtonRelease;
constexpr NativeEventType kMotion = NativeEventType::Motion;
constexpr NativeEventType kKeyPress = NativeEventType::KeyPress;
constexpr NativeEventType kKeyRelease = NativeEventType::KeyRelease;
constexpr NativeEventType kExpose = NativeEventType::Expose;
constexpr NativeEventType kCloseRequest = NativeEventType::CloseRequest;
constexpr NativeEventType kDestroyed = NativeEventType::Destroyed;
constexpr NativeEventType kFocusOut = NativeEventType::FocusOut;

constexpr unsigned kShiftHeld = modifier::Shift;
constexpr unsigned kControlHeld = modifier::Control;
constexpr unsigned kAltHeld = modifier::Alt;
constexpr unsigned kSuperHeld = modifier::Super;
constexpr unsigned kButton1Held = modifier::Button1;
constexpr unsigned kButton3Held = modifier::Button3;
}  // namespace native
