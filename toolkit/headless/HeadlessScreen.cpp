// The virtual screen: its windows, their stacking, and their pixels.
#include "toolkit/headless/HeadlessScreen.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace headless {

Screen& TheScreen() {
    static Screen* screen = new Screen;  // lives until exit, after every display
    return *screen;
}

Window* Find(Screen& screen, NativeWindow id) {
    auto it = screen.windows.find(id);
    return it == screen.windows.end() ? nullptr : &it->second;
}

namespace {

cairo_surface_t* NewPixels(const CRect& rect) {
    const int width = std::max(1, std::min(rect.Width(), 16384));
    const int height = std::max(1, std::min(rect.Height(), 16384));
    return cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
}

void CopyInto(cairo_surface_t* target, cairo_surface_t* source, int x, int y, const CRect* area) {
    cairo_t* cr = cairo_create(target);
    if (area) {
        cairo_rectangle(cr, area->left, area->top, area->Width(), area->Height());
        cairo_clip(cr);
    }
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, source, x, y);
    cairo_paint(cr);
    cairo_destroy(cr);
}

void ComposeInto(Screen& screen, NativeWindow id, cairo_surface_t* target, CPoint at) {
    Window* w = Find(screen, id);
    if (!w) return;
    CopyInto(target, w->pixels, at.x, at.y, nullptr);
    for (NativeWindow child : w->children) {
        Window* c = Find(screen, child);
        if (!c || !c->mapped) continue;
        ComposeInto(screen, child, target, CPoint(at.x + c->rect.left, at.y + c->rect.top));
    }
}

std::vector<NativeWindow>& Siblings(Screen& screen, Window& w) {
    if (w.parent) {
        if (Window* p = Find(screen, w.parent)) return p->children;
    }
    return screen.topLevels;
}

}  // namespace

NativeWindow NewWindow(Screen& screen, WindowKind kind, NativeWindow parent, const CRect& rect,
                       HeadlessDisplay* owner) {
    if (parent && !Find(screen, parent)) return 0;
    const NativeWindow id = screen.nextId++;
    Window& w = screen.windows[id];
    w.id = id;
    w.kind = kind;
    w.parent = parent;
    w.rect = rect;
    w.owner = owner;
    w.pixels = NewPixels(rect);
    Siblings(screen, w).push_back(id);
    return id;
}

void Destroy(Screen& screen, NativeWindow id) {
    Window* w = Find(screen, id);
    if (!w) return;
    for (NativeWindow child : std::vector<NativeWindow>(w->children)) Destroy(screen, child);
    w = Find(screen, id);
    std::vector<NativeWindow>& siblings = Siblings(screen, *w);
    siblings.erase(std::remove(siblings.begin(), siblings.end(), id), siblings.end());
    if (screen.focus == id) screen.focus = 0;
    if (screen.pointerGrab == id) {
        screen.pointerGrab = 0;
        screen.pointerGrabber = nullptr;
    }
    if (screen.keyboardGrab == id) {
        screen.keyboardGrab = 0;
        screen.keyboardGrabber = nullptr;
    }
    if (screen.implicitGrab == id) screen.implicitGrab = 0;
    NativeEvent event;
    event.type = NativeEventType::Destroyed;
    Send(screen, id, event);
    cairo_surface_destroy(w->pixels);
    screen.windows.erase(id);
}

bool Viewable(Screen& screen, NativeWindow id) {
    for (Window* w = Find(screen, id); w; w = w->parent ? Find(screen, w->parent) : nullptr) {
        if (!w->mapped) return false;
    }
    return id != 0 && Find(screen, id) != nullptr;
}

CPoint ScreenOrigin(Screen& screen, NativeWindow id) {
    CPoint origin(0, 0);
    for (Window* w = Find(screen, id); w; w = w->parent ? Find(screen, w->parent) : nullptr) {
        origin.x += w->rect.left;
        origin.y += w->rect.top;
    }
    return origin;
}

NativeWindow WindowAt(Screen& screen, CPoint point) {
    const std::vector<NativeWindow>* level = &screen.topLevels;
    NativeWindow found = 0;
    CPoint local = point;
    for (bool descended = true; descended;) {
        descended = false;
        for (auto it = level->rbegin(); it != level->rend(); ++it) {
            Window* w = Find(screen, *it);
            if (!w || !w->mapped || !w->rect.PtInRect(local)) continue;
            found = w->id;
            local.x -= w->rect.left;
            local.y -= w->rect.top;
            level = &w->children;
            descended = true;
            break;
        }
    }
    return found;
}

unsigned Modifiers(const Screen& screen) {
    unsigned bits = screen.buttons & (modifier::Button1 | modifier::Button3);
    for (unsigned long key : screen.keysDown) {
        if (key == 0xffe1 || key == 0xffe2) bits |= modifier::Shift;
        if (key == 0xffe3 || key == 0xffe4) bits |= modifier::Control;
        if (key == 0xffe7 || key == 0xffe8 || key == 0xffe9 || key == 0xffea) bits |= modifier::Alt;
        if (key == 0xffeb || key == 0xffec) bits |= modifier::Super;
    }
    return bits;
}

uint32_t Now(const Screen& screen) {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                        std::chrono::steady_clock::now().time_since_epoch())
                        .count();
    return static_cast<uint32_t>(ms) + screen.clockOffset;
}

void Send(Screen& screen, NativeWindow window, NativeEvent event) {
    Window* w = Find(screen, window);
    if (!w || !w->owner || !screen.displays.count(w->owner)) return;
    event.window = window;
    if (!event.timeMs) event.timeMs = Now(screen);
    w->owner->Queue(event);
}

void SetFocus(Screen& screen, NativeWindow window) {
    if (screen.focus == window) return;
    const NativeWindow old = screen.focus;
    screen.focus = window;
    NativeEvent event;
    event.type = NativeEventType::FocusOut;
    if (old) Send(screen, old, event);
}

void SetScreenSize(CSize size) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    if (size.cx > 0 && size.cy > 0) screen.size = size;
}

void SetResourceDatabase(const std::string& text) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    screen.resources = text;
}

NativeWindow CreateHostWindow(const CRect& screenRect) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    const NativeWindow id = NewWindow(screen, WindowKind::Host, 0, screenRect, nullptr);
    Find(screen, id)->mapped = true;
    return id;
}

void DestroyWindow(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    Destroy(screen, window);
}

bool WindowExists(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return Find(screen, window) != nullptr;
}

bool IsShown(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return Viewable(screen, window);
}

CRect WindowRect(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    Window* w = Find(screen, window);
    return w ? w->rect : CRect();
}

NativeWindow ParentOf(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    Window* w = Find(screen, window);
    return w ? w->parent : 0;
}

std::vector<NativeWindow> ChildrenOf(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    Window* w = Find(screen, window);
    return w ? w->children : std::vector<NativeWindow>();
}

std::vector<PresentRecord> TakePresents() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    std::vector<PresentRecord> presents;
    presents.swap(screen.presents);
    return presents;
}

cairo_surface_t* ComposeWindow(NativeWindow window) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    Window* w = Find(screen, window);
    if (!w) return nullptr;
    cairo_surface_t* composed = NewPixels(w->rect);
    ComposeInto(screen, window, composed, CPoint(0, 0));
    cairo_surface_flush(composed);
    return composed;
}

bool WriteWindowPng(NativeWindow window, const char* path) {
    cairo_surface_t* composed = ComposeWindow(window);
    if (!composed || !path) return false;
    const bool ok = cairo_surface_write_to_png(composed, path) == CAIRO_STATUS_SUCCESS;
    cairo_surface_destroy(composed);
    return ok;
}

size_t PendingEvents() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    size_t pending = 0;
    for (HeadlessDisplay* display : screen.displays) pending += display->QueuedEvents();
    return pending;
}

void BreakConnections() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    for (HeadlessDisplay* display : screen.displays) display->Break();
}

void AdvanceClock(uint32_t milliseconds) {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    screen.clockOffset += milliseconds;
}

NativeWindow KeyboardFocus() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return screen.keyboardGrab ? screen.keyboardGrab : screen.focus;
}

NativeWindow PointerGrab() {
    Screen& screen = TheScreen();
    std::lock_guard<std::recursive_mutex> lock(screen.mutex);
    return screen.pointerGrab;
}

}  // namespace headless
