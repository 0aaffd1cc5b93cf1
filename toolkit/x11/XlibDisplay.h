// One connection to the X server as the toolkit's NativeDisplay. Windows made
// here select the input they need and StructureNotify, so that a window the
// host destroys (with its parent) is reported as Destroyed and never touched
// again. Protocol errors of this connection are recorded, never fatal.
#pragma once

// First, before Xlib's macros exist.
#include "toolkit/x11/NativeNames.h"

#include <X11/Xlib.h>

#include <unordered_map>

#include "toolkit/x11/X11ErrorRouting.h"

class XlibDisplay final : public NativeDisplay, private X11ErrorSink {
public:
    // Null when no server can be reached.
    static std::unique_ptr<NativeDisplay> Open();
    ~XlibDisplay() override;

    bool IsOpen() const override;

    NativeWindow CreateChildWindow(NativeWindow parent, const CRect& rect) override;
    NativeWindow CreatePopupWindow(const CRect& screenRect) override;
    NativeWindow CreateTopLevelWindow(const CRect& screenRect, const char* title,
                                      NativeWindow transientFor, bool dialog) override;
    void DestroyWindow(NativeWindow window) override;
    void ShowWindow(NativeWindow window, bool show) override;
    void SetWindowRect(NativeWindow window, const CRect& rect) override;
    CPoint WindowToScreen(NativeWindow window, CPoint point) override;
    CSize ScreenSize() override;
    std::string ResourceDatabase() override;

    void Present(NativeWindow window, cairo_surface_t* image, const CRect& area) override;
    cairo_surface_t* CaptureWindow(NativeWindow window) override;

    bool GrabPointer(NativeWindow window) override;
    void UngrabPointer() override;
    bool GrabKeyboard(NativeWindow window) override;
    void UngrabKeyboard() override;
    void TakeKeyboardFocus(NativeWindow window) override;
    void RestoreKeyboardFocus() override;
    unsigned ModifierState() override;

    bool NextEvent(NativeEvent& event, int timeoutMs) override;
    void Wake() override;
    void Flush() override;
    int EventFd() const override;

private:
    enum class WindowKind { Child, Popup, TopLevel };

    XlibDisplay(Display* display, int wakeFd);

    void OnProtocolError(const XErrorEvent& error) override;
    void OnConnectionLost() override;

    // Waits for the server to handle everything sent so far; true when none
    // of the requests from serial on failed.
    bool SucceededSince(unsigned long serial);
    bool IsOurs(Window window) const;
    bool Usable() const { return m_display && !m_broken; }

    Window MakeWindow(Window parent, const CRect& rect, WindowKind kind);
    void SetTopLevelProperties(Window window, const CRect& rect, const char* title,
                               Window transientFor, bool dialog);
    void SetSizeHints(Window window, const CRect& rect);
    static unsigned ModifierBits(unsigned state);
    Window ManagedAncestor(Window window);
    bool WindowExists(Window window, bool* viewable = nullptr);

    // Pixels (XlibPixels.cpp).
    bool TakesCairoPixels();

    // Events (XlibEvents.cpp).
    bool WaitForInput(int timeoutMs);  // false on timeout or Wake
    bool Translate(XEvent& xevent, NativeEvent& event);
    void TranslateKey(XKeyEvent& key, NativeEvent& event);
    void DrainWake();

    Display* m_display = nullptr;
    int m_wakeFd = -1;
    bool m_broken = false;
    unsigned long m_lastErrorSerial = 0;
    bool m_hadError = false;

    int m_screen = 0;
    Window m_root = 0;
    Visual* m_visual = nullptr;
    int m_depth = 0;
    Colormap m_colormap = 0;
    GC m_gc = nullptr;
    bool m_cairoPixelsChecked = false;
    bool m_takesCairoPixels = false;

    Atom m_wmProtocols = 0;
    Atom m_wmDeleteWindow = 0;
    Atom m_wmState = 0;
    Atom m_netWmName = 0;
    Atom m_netWmWindowType = 0;
    Atom m_netWmWindowTypeDialog = 0;
    Atom m_netWmWindowTypeNormal = 0;
    Atom m_utf8String = 0;

    std::unordered_map<Window, WindowKind> m_windows;  // ours, still alive
    Window m_focusToRestore = 0;
    bool m_holdsFocus = false;
};
