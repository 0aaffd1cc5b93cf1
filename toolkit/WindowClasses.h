// Internal to the toolkit: what AfxRegisterWndClass recorded for a class
// name, and the stock brushes.
#pragma once

#include "toolkit/WinDefs.h"

struct WindowClass {
    UINT style = 0;
    HBRUSH background = nullptr;
    HCURSOR cursor = nullptr;
};

namespace WindowClasses {
// The class registered under name; defaults for unknown or null names.
WindowClass Find(LPCTSTR name);
// The colour a background brush fills with; false for none (null, unknown
// or NULL_BRUSH).
bool BrushColor(HBRUSH brush, COLORREF& color);
}  // namespace WindowClasses
