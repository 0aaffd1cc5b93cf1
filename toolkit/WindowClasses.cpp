// Window classes, stock objects, cursors, system metrics and key state.
#include "toolkit/WindowClasses.h"

#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>

#include "toolkit/CWnd.h"
#include "toolkit/UIConnection.h"

namespace {

struct StockBrush {
    COLORREF color;
    bool hollow;
};

// WHITE_BRUSH, LTGRAY_BRUSH, GRAY_BRUSH, DKGRAY_BRUSH, BLACK_BRUSH, NULL_BRUSH.
StockBrush stockBrushes[] = {
    {RGB(255, 255, 255), false}, {RGB(192, 192, 192), false}, {RGB(128, 128, 128), false},
    {RGB(64, 64, 64), false},    {RGB(0, 0, 0), false},       {0, true},
};

struct Registered {
    std::string name;
    WindowClass cls;
};

std::deque<Registered>& Classes() {
    static std::deque<Registered> classes;
    return classes;
}

std::mutex classesMutex;

}  // namespace

namespace WindowClasses {

WindowClass Find(LPCTSTR name) {
    if (!name) return WindowClass{};
    std::lock_guard<std::mutex> lock(classesMutex);
    for (const Registered& r : Classes())
        if (r.name == name) return r.cls;
    return WindowClass{};
}

bool BrushColor(HBRUSH brush, COLORREF& color) {
    for (const StockBrush& stock : stockBrushes) {
        if (reinterpret_cast<const void*>(&stock) == reinterpret_cast<const void*>(brush)) {
            if (stock.hollow) return false;
            color = stock.color;
            return true;
        }
    }
    return false;
}

}  // namespace WindowClasses

LPCTSTR AfxRegisterWndClass(UINT classStyle, HCURSOR cursor, HBRUSH background, HICON /*icon*/) {
    char name[96];
    std::snprintf(name, sizeof name, "Afx:%x:%p:%p", classStyle, static_cast<void*>(cursor),
                  static_cast<void*>(background));
    std::lock_guard<std::mutex> lock(classesMutex);
    for (const Registered& r : Classes())
        if (r.name == name) return r.name.c_str();
    // A deque keeps earlier names where they are while it grows.
    Classes().push_back(Registered{name, WindowClass{classStyle, background, cursor}});
    return Classes().back().name.c_str();
}

BOOL AfxRegisterClass(const WNDCLASS* wndClass) {
    if (!wndClass || !wndClass->lpszClassName || !*wndClass->lpszClassName) return FALSE;
    std::lock_guard<std::mutex> lock(classesMutex);
    for (const Registered& r : Classes())
        if (r.name == wndClass->lpszClassName) return TRUE;
    Classes().push_back(Registered{wndClass->lpszClassName,
                                   WindowClass{wndClass->style, wndClass->hbrBackground,
                                               wndClass->hCursor}});
    return TRUE;
}

HCURSOR LoadCursor(HINSTANCE /*instance*/, LPCTSTR cursorName) {
    // Windows keep the default pointer; the handle only has to be non-null.
    static char arrow;
    return cursorName ? reinterpret_cast<HCURSOR>(&arrow) : nullptr;
}

HGDIOBJ GetStockObject(int index) {
    if (index < WHITE_BRUSH || index > NULL_BRUSH) return nullptr;
    return &stockBrushes[index];
}

int GetSystemMetrics(int index) {
    switch (index) {
    case SM_CXSCREEN:
    case SM_CYSCREEN: {
        CSize screen(1024, 768);
        if (UIConnection* connection = UIConnection::Current()) {
            CSize size = connection->ScreenSize();
            if (size.cx > 0 && size.cy > 0) screen = size;
        }
        return index == SM_CXSCREEN ? screen.cx : screen.cy;
    }
    case SM_CXVSCROLL:
    case SM_CYHSCROLL:
        return 17;
    case SM_CXEDGE:
    case SM_CYEDGE:
        return 2;
    default:
        return 0;
    }
}

short GetKeyState(int virtualKey) {
    unsigned bit = 0;
    switch (virtualKey) {
    case VK_SHIFT: bit = modifier::Shift; break;
    case VK_CONTROL: bit = modifier::Control; break;
    case VK_MENU: bit = modifier::Alt; break;
    case VK_OPTION: bit = modifier::Super; break;
    default: return 0;
    }
    UIConnection* connection = UIConnection::Current();
    NativeDisplay* display = connection && connection->IsOpen() ? connection->Display() : nullptr;
    if (!display) return 0;
    return (display->ModifierState() & bit) ? static_cast<short>(0x8000) : 0;
}
