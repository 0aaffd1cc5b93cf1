#include "tools/vsthost/EditorWindow.h"

#include "tools/vsthost/PluginHost.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <cairo.h>

#include <cstdlib>
#include <cstring>

namespace vsthost {

namespace {

// Bit position and width of a visual's colour mask.
void maskShape(unsigned long mask, int& shift, int& bits) {
    shift = 0;
    bits = 0;
    while (mask && !(mask & 1)) {
        mask >>= 1;
        ++shift;
    }
    while (mask & 1) {
        mask >>= 1;
        ++bits;
    }
}

uint32_t channel(unsigned long pixel, unsigned long mask) {
    int shift, bits;
    maskShape(mask, shift, bits);
    if (bits == 0)
        return 0;
    const unsigned long value = (pixel & mask) >> shift;
    const unsigned long top = (1ul << bits) - 1;
    return (uint32_t)((value * 255 + top / 2) / top);
}

}  // namespace

std::string noDisplayHint(const std::string& command) {
    return "no X display: DISPLAY is not set or the server cannot be reached.\n"
           "On a machine without a screen, run it on a virtual X server:\n"
           "  xvfb-run -a -s \"-screen 0 1280x1024x24\" " +
           command + "\n(Debian package xvfb; tools/editor_screenshot.sh does this for you).";
}

EditorWindow::EditorWindow(Display* display, const std::string& title, int width, int height)
    : display_(display), width_(width), height_(height) {
    if (!display_)
        throw HostError(noDisplayHint("vsthost edit ..."));
    const int screen = DefaultScreen(display_);
    window_ = XCreateSimpleWindow(display_, RootWindow(display_, screen), 0, 0, width, height, 0,
                                  BlackPixel(display_, screen), BlackPixel(display_, screen));
    if (!window_)
        throw HostError("cannot create an X window");
    XStoreName(display_, window_, title.c_str());
    XChangeProperty(display_, window_, XInternAtom(display_, "_NET_WM_NAME", False),
                    XInternAtom(display_, "UTF8_STRING", False), 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title.data()), (int)title.size());
    deleteAtom_ = XInternAtom(display_, "WM_DELETE_WINDOW", False);
    Atom protocols[] = {deleteAtom_};
    XSetWMProtocols(display_, window_, protocols, 1);
    XSelectInput(display_, window_, StructureNotifyMask);
    resize(width, height);
}

EditorWindow::~EditorWindow() {
    if (window_) {
        XDestroyWindow(display_, window_);
        XSync(display_, False);
    }
}

void* EditorWindow::parentHandle() const {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(window_));
}

void EditorWindow::show() {
    XMapRaised(display_, window_);
    XSync(display_, False);
}

// Fixed size: the editor does not stretch.
void EditorWindow::resize(int width, int height) {
    width_ = width;
    height_ = height;
    XSizeHints* hints = XAllocSizeHints();
    hints->flags = PMinSize | PMaxSize;
    hints->min_width = hints->max_width = width;
    hints->min_height = hints->max_height = height;
    XSetWMNormalHints(display_, window_, hints);
    XFree(hints);
    XResizeWindow(display_, window_, width, height);
    XSync(display_, False);
}

bool EditorWindow::handleEvents() {
    while (XPending(display_)) {
        XEvent event;
        XNextEvent(display_, &event);
        if (event.type == ClientMessage && (Atom)event.xclient.data.l[0] == deleteAtom_)
            closed_ = true;
        if (event.type == DestroyNotify && event.xdestroywindow.window == window_)
            closed_ = true;
    }
    return !closed_;
}

void EditorWindow::writePng(const std::string& path) const {
    writeWindowPng(display_, window_, path);
}

void writeWindowPng(Display* display, unsigned long window, const std::string& path) {
    XSync(display, False);
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(display, window, &attributes))
        throw HostError("the editor window is gone");
    XImage* image = XGetImage(display, window, 0, 0, attributes.width, attributes.height,
                              AllPlanes, ZPixmap);
    if (!image)
        throw HostError("cannot read the editor window's pixels");
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, attributes.width, attributes.height);
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const Visual* visual = attributes.visual;
    for (int y = 0; y < attributes.height; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(data + y * stride);
        for (int x = 0; x < attributes.width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            row[x] = channel(pixel, visual->red_mask) << 16 | channel(pixel, visual->green_mask) << 8 |
                     channel(pixel, visual->blue_mask);
        }
    }
    XDestroyImage(image);
    cairo_surface_mark_dirty(surface);
    const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
        throw HostError("cannot write " + path + ": " + cairo_status_to_string(status));
}

}  // namespace vsthost
