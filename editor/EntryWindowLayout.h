// What the floating entry windows share: their window class, their size (a
// field of so many characters of the font with a spin button at its right)
// and the way they hand a finished entry to their owner.
#pragma once

#include "toolkit/CWnd.h"

class CFont;

// Registers a window class under name (double clicks, the arrow pointer,
// a light grey background) and returns name.
LPCTSTR RegisterEntryWindowClass(LPCTSTR name);

struct EntryWindowMetrics {
    int charWidth = 0;   // the text extent of "A" in the font
    int charHeight = 0;
    int spinWidth = 0;   // SM_CYHSCROLL

    // Measures "A" on a display DC with font selected.
    void Measure(CFont* font);
    int Height() const { return charHeight + charHeight / 2; }
    int Width(int charCount) const;
};

// The most characters a window is sized for; more only make it wider than
// any screen.
constexpr int kMaxEntryChars = 1000;

// A window's rectangle as asked for, a coordinate of 0x80000000 (Win32's
// CW_USEDEFAULT, "the default place") read as 0.
CRect EntryWindowRect(const CRect& asked);

// Sizes window to width x height where it stands, the field to its left
// part and the spin button to the spinWidth columns at its right.
void LayOutEntryWindow(CWnd& window, CWnd& field, CWnd& spin, int width, int height, int spinWidth);

// Tells the owner (message, wParam 0, lParam 0) and hides window; on
// abandon the focus goes back to the window's parent.
void FinishEntry(CWnd& window, HWND notify, UINT message, bool abandoned);
