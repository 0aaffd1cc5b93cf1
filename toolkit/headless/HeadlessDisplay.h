// The headless backend: windows on a virtual screen in memory, so that tests
// create windows, inject pointer and key input, run modal loops and look at
// the presented pixels without a display server.
//
// One process-wide screen (default 1024 x 768) is shared by every headless
// connection, as one X server is shared by its clients: windows of one
// connection may sit inside another's (an editor inside a host window), the
// pointer and the keyboard focus are the screen's. Input follows X rules:
// pointer events go to the grab window, else (while a button is held) to the
// window the press went to, else to the topmost shown window under the
// pointer, in that window's coordinates; keys go to the keyboard grab, else
// the focus window (TakeKeyboardFocus). Windows without a connection (host
// windows made by tests) receive nothing.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "toolkit/NativeDisplay.h"

class HeadlessDisplay : public NativeDisplay {
public:
    HeadlessDisplay();
    ~HeadlessDisplay() override;

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
    void Flush() override {}

    // Screen side: queues an event for this connection.
    void Queue(const NativeEvent& event);
    size_t QueuedEvents();
    // Makes IsOpen false, as a lost server connection would.
    void Break();

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<NativeEvent> m_events;
    bool m_woken = false;
    bool m_broken = false;
    // TakeKeyboardFocus remembers the focus it replaced.
    bool m_focusTaken = false;
    NativeWindow m_focusBefore = 0;
};

// The virtual screen, for tests.
namespace headless {

struct PresentRecord {
    NativeWindow window;
    CRect area;
};

// Sizes the screen (no windows change).
void SetScreenSize(CSize size);
// What ResourceDatabase answers ("Xft.dpi:\t192\n"); empty by default.
void SetResourceDatabase(const std::string& text);
// A shown top-level window that belongs to no connection, standing for a
// host's window.
NativeWindow CreateHostWindow(const CRect& screenRect);
// Destroys a window and everything inside it as its owner would; the
// connections owning the windows get Destroyed events.
void DestroyWindow(NativeWindow window);
bool WindowExists(NativeWindow window);
bool IsShown(NativeWindow window);  // mapped, and all its ancestors too
// Parent-relative rectangle (screen for top-level and popup windows).
CRect WindowRect(NativeWindow window);
NativeWindow ParentOf(NativeWindow window);
std::vector<NativeWindow> ChildrenOf(NativeWindow window);  // bottom to top

// Input, in screen coordinates; buttons 1 left, 2 middle, 3 right.
void MovePointer(int screenX, int screenY);
CPoint PointerPosition();
void PressButton(int button);
void ReleaseButton(int button);
// Keys by X keysym; Shift, Control, Alt (or Meta) and Super keysyms change
// the modifier state. Printable keysyms type their character (shifted for
// a US layout while Shift is held).
void PressKey(unsigned long keysym);
void ReleaseKey(unsigned long keysym);
// The window manager's close button.
void RequestClose(NativeWindow window);
// Moves the event clock forward (double-click timing) without waiting.
void AdvanceClock(uint32_t milliseconds);
NativeWindow KeyboardFocus();
NativeWindow PointerGrab();

// Events queued in all connections and not yet taken.
size_t PendingEvents();
// Every connection's IsOpen turns false.
void BreakConnections();

// Present calls since the last call, oldest first.
std::vector<PresentRecord> TakePresents();
// The window as shown: its pixels with its shown native children composed
// on top (bottom to top). A new RGB24 surface the caller destroys; null for
// an unknown window.
cairo_surface_t* ComposeWindow(NativeWindow window);
// ComposeWindow written as a PNG file.
bool WriteWindowPng(NativeWindow window, const char* path);

}  // namespace headless
