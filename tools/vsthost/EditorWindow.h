// A top-level X11 window that holds a plug-in's editor, as a host's plug-in
// window does: the editor's parent, fixed at the editor's size, closed by
// the window manager's close button, and photographed for --screenshot.
#pragma once

#include <string>

typedef struct _XDisplay Display;

namespace vsthost {

class EditorWindow {
public:
    // Null display: no X server (see noDisplayHint). Throws HostError when the
    // window cannot be made.
    EditorWindow(Display* display, const std::string& title, int width, int height);
    ~EditorWindow();
    EditorWindow(const EditorWindow&) = delete;
    EditorWindow& operator=(const EditorWindow&) = delete;

    // What effEditOpen takes: the X window id as a pointer.
    void* parentHandle() const;
    void show();
    void resize(int width, int height);
    // Handles this window's events; false once the user closed it.
    bool handleEvents();
    // The window's pixels, the editor's child windows included, as a PNG.
    // Throws HostError when it cannot be read or written.
    void writePng(const std::string& path) const;

private:
    Display* display_;
    unsigned long window_ = 0;
    unsigned long deleteAtom_ = 0;
    int width_, height_;
    bool closed_ = false;
};

// Any window's pixels, its child windows included, as a PNG. Throws
// HostError when they cannot be read or written.
void writeWindowPng(Display* display, unsigned long window, const std::string& path);

// How to run a command that needs a display on a machine without one.
std::string noDisplayHint(const std::string& command);

}  // namespace vsthost
