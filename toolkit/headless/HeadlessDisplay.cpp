// One headless connection: its windows on the shared screen and its queue.
#include "toolkit/headless/HeadlessDisplay.h"

#include <algorithm>
#include <chrono>

#include "toolkit/headless/HeadlessScreen.h"

using headless::Screen;
using headless::TheScreen;

namespace {

// Only the connection that made a window may change it.
headless::Window* Owned(Screen& screen, HeadlessDisplay* display, NativeWindow window) {
    headless::Window* w = headless::Find(screen, window);
    return w && w->owner == display ? w : nullptr;
}

}  // namespace

HeadlessDisplay::HeadlessDisplay() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    screen.displays.insert(this);
}

HeadlessDisplay::~HeadlessDisplay() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    // A closed connection's windows go with it, as on an X server.
    std::vector<NativeWindow> mine;
    for (const auto& entry : screen.windows)
        if (entry.second.owner == this) mine.push_back(entry.first);
    screen.displays.erase(this);
    for (NativeWindow id : mine) headless::Destroy(screen, id);
    if (screen.pointerGrabber == this) {
        screen.pointerGrab = 0;
        screen.pointerGrabber = nullptr;
    }
    if (screen.keyboardGrabber == this) {
        screen.keyboardGrab = 0;
        screen.keyboardGrabber = nullptr;
    }
}

bool HeadlessDisplay::IsOpen() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_broken;
}

void HeadlessDisplay::Break() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_broken = true;
    m_arrived.notify_all();
}

NativeWindow HeadlessDisplay::CreateChildWindow(NativeWindow parent, const CRect& rect) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return headless::NewWindow(screen, headless::WindowKind::Child, parent, rect, this);
}

NativeWindow HeadlessDisplay::CreatePopupWindow(const CRect& screenRect) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return headless::NewWindow(screen, headless::WindowKind::Popup, 0, screenRect, this);
}

NativeWindow HeadlessDisplay::CreateTopLevelWindow(const CRect& screenRect, const char*,
                                                   NativeWindow, bool) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return headless::NewWindow(screen, headless::WindowKind::TopLevel, 0, screenRect, this);
}

void HeadlessDisplay::DestroyWindow(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (Owned(screen, this, window)) headless::Destroy(screen, window);
}

void HeadlessDisplay::ShowWindow(NativeWindow window, bool show) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    headless::Window* w = Owned(screen, this, window);
    if (!w || w->mapped == show) return;
    w->mapped = show;
    if (show) {
        // Newly mapped windows come up on top of their siblings.
        if (w->kind == headless::WindowKind::Popup || w->kind == headless::WindowKind::TopLevel) {
            auto& levels = screen.topLevels;
            levels.erase(std::remove(levels.begin(), levels.end(), window), levels.end());
            levels.push_back(window);
        }
        NativeEvent event;
        event.type = NativeEventType::Expose;
        event.area = CRect(0, 0, w->rect.Width(), w->rect.Height());
        headless::Send(screen, window, event);
    } else if (screen.focus && !headless::Viewable(screen, screen.focus)) {
        // The focus reverts to the nearest shown ancestor.
        NativeWindow next = screen.focus;
        while (next && !headless::Viewable(screen, next)) {
            headless::Window* f = headless::Find(screen, next);
            next = f ? f->parent : 0;
        }
        headless::SetFocus(screen, next);
    }
}

void HeadlessDisplay::SetWindowRect(NativeWindow window, const CRect& rect) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    headless::Window* w = Owned(screen, this, window);
    if (!w) return;
    if (rect.Width() != w->rect.Width() || rect.Height() != w->rect.Height()) {
        cairo_surface_t* pixels = cairo_image_surface_create(
            CAIRO_FORMAT_RGB24, std::max(1, std::min(rect.Width(), 16384)),
            std::max(1, std::min(rect.Height(), 16384)));
        cairo_t* cr = cairo_create(pixels);
        cairo_set_source_surface(cr, w->pixels, 0, 0);
        cairo_paint(cr);
        cairo_destroy(cr);
        cairo_surface_destroy(w->pixels);
        w->pixels = pixels;
    }
    w->rect = rect;
}

CPoint HeadlessDisplay::WindowToScreen(NativeWindow window, CPoint point) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    const CPoint origin = headless::ScreenOrigin(screen, window);
    return CPoint(origin.x + point.x, origin.y + point.y);
}

CSize HeadlessDisplay::ScreenSize() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return screen.size;
}

std::string HeadlessDisplay::ResourceDatabase() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return screen.resources;
}

void HeadlessDisplay::Present(NativeWindow window, cairo_surface_t* image, const CRect& area) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    headless::Window* w = Owned(screen, this, window);
    if (!w || !image || area.IsRectEmpty()) return;
    screen.presents.push_back(headless::PresentRecord{window, area});
    cairo_t* cr = cairo_create(w->pixels);
    cairo_rectangle(cr, area.left, area.top, area.Width(), area.Height());
    cairo_clip(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, image, 0, 0);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(w->pixels);
}

cairo_surface_t* HeadlessDisplay::CaptureWindow(NativeWindow window) {
    return headless::ComposeWindow(window);
}

bool HeadlessDisplay::GrabPointer(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (!headless::Viewable(screen, window)) return false;
    if (screen.pointerGrab && screen.pointerGrabber != this) return false;
    screen.pointerGrab = window;
    screen.pointerGrabber = this;
    return true;
}

void HeadlessDisplay::UngrabPointer() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (screen.pointerGrabber != this) return;
    screen.pointerGrab = 0;
    screen.pointerGrabber = nullptr;
}

bool HeadlessDisplay::GrabKeyboard(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (!headless::Viewable(screen, window)) return false;
    if (screen.keyboardGrab && screen.keyboardGrabber != this) return false;
    screen.keyboardGrab = window;
    screen.keyboardGrabber = this;
    return true;
}

void HeadlessDisplay::UngrabKeyboard() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (screen.keyboardGrabber != this) return;
    screen.keyboardGrab = 0;
    screen.keyboardGrabber = nullptr;
}

void HeadlessDisplay::TakeKeyboardFocus(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (!headless::Find(screen, window)) return;
    if (!m_focusTaken) {
        m_focusBefore = screen.focus;
        m_focusTaken = true;
    }
    headless::SetFocus(screen, window);
}

void HeadlessDisplay::RestoreKeyboardFocus() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (!m_focusTaken) return;
    m_focusTaken = false;
    headless::SetFocus(screen, headless::Find(screen, m_focusBefore) ? m_focusBefore : 0);
}

unsigned HeadlessDisplay::ModifierState() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return headless::Modifiers(screen);
}

void HeadlessDisplay::Queue(const NativeEvent& event) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_events.push_back(event);
    m_arrived.notify_all();
}

size_t HeadlessDisplay::QueuedEvents() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events.size();
}

bool HeadlessDisplay::NextEvent(NativeEvent& event, int timeoutMs) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_events.empty() && timeoutMs > 0 && !m_woken && !m_broken) {
        m_arrived.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                           [this] { return !m_events.empty() || m_woken || m_broken; });
    }
    m_woken = false;
    if (m_events.empty() || m_broken) return false;
    event = m_events.front();
    m_events.pop_front();
    return true;
}

void HeadlessDisplay::Wake() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_woken = true;
    m_arrived.notify_all();
}
