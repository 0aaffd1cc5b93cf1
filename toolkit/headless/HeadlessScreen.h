// Internal to the headless backend: the shared virtual screen's state.
#pragma once

#include <cairo.h>

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "toolkit/headless/HeadlessDisplay.h"

namespace headless {

enum class WindowKind { Host, Child, Popup, TopLevel };

struct Window {
    NativeWindow id = 0;
    WindowKind kind = WindowKind::Child;
    NativeWindow parent = 0;
    CRect rect;  // parent coordinates (screen for windows without a parent)
    bool mapped = false;
    HeadlessDisplay* owner = nullptr;  // null: a host window made by a test
    cairo_surface_t* pixels = nullptr;  // RGB24, what was presented
    std::vector<NativeWindow> children;  // bottom to top
};

struct Screen {
    std::recursive_mutex mutex;
    CSize size{1024, 768};
    std::string resources;  // the resource database's text
    std::map<NativeWindow, Window> windows;
    std::vector<NativeWindow> topLevels;  // bottom to top
    NativeWindow nextId = 0x200001;
    std::set<HeadlessDisplay*> displays;

    CPoint pointer{0, 0};
    unsigned buttons = 0;  // modifier::Button1 / Button3 and 1 << 8 for the middle one
    std::set<unsigned long> keysDown;
    NativeWindow focus = 0;
    NativeWindow pointerGrab = 0;
    HeadlessDisplay* pointerGrabber = nullptr;
    NativeWindow keyboardGrab = 0;
    HeadlessDisplay* keyboardGrabber = nullptr;
    NativeWindow implicitGrab = 0;  // the window a held button went to
    uint32_t clockOffset = 0;
    std::vector<PresentRecord> presents;
};

Screen& TheScreen();

Window* Find(Screen& screen, NativeWindow id);
NativeWindow NewWindow(Screen& screen, WindowKind kind, NativeWindow parent, const CRect& rect,
                       HeadlessDisplay* owner);
void Destroy(Screen& screen, NativeWindow id);
bool Viewable(Screen& screen, NativeWindow id);
CPoint ScreenOrigin(Screen& screen, NativeWindow id);
// The deepest viewable window under a screen point (0: the root).
NativeWindow WindowAt(Screen& screen, CPoint point);
unsigned Modifiers(const Screen& screen);
uint32_t Now(const Screen& screen);
// Queues event for the window's owner (if it has one).
void Send(Screen& screen, NativeWindow window, NativeEvent event);
void SetFocus(Screen& screen, NativeWindow window);

}  // namespace headless
