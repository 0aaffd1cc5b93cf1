#include "editor/EntryWindowLayout.h"

#include "toolkit/CDC.h"

LPCTSTR RegisterEntryWindowClass(LPCTSTR name) {
    WNDCLASS cls;
    cls.style = CS_DBLCLKS;
    cls.hCursor = LoadCursor(nullptr, IDC_ARROW);
    cls.hbrBackground = static_cast<HBRUSH>(GetStockObject(LTGRAY_BRUSH));
    cls.lpszClassName = name;
    AfxRegisterClass(&cls);
    return name;
}

CRect EntryWindowRect(const CRect& asked) {
    constexpr int kUseDefault = static_cast<int>(0x80000000u);
    auto place = [](int coordinate) { return coordinate == kUseDefault ? 0 : coordinate; };
    return CRect(place(asked.left), place(asked.top), place(asked.right), place(asked.bottom));
}

void EntryWindowMetrics::Measure(CFont* font) {
    CDC dc;
    dc.CreateDC("DISPLAY");
    CFont* old = dc.SelectObject(font);
    const CSize extent = dc.GetTextExtent("A", 1);
    dc.SelectObject(old);
    charWidth = extent.cx;
    charHeight = extent.cy;
    spinWidth = GetSystemMetrics(SM_CYHSCROLL);
}

int EntryWindowMetrics::Width(int charCount) const {
    return spinWidth + charCount * charWidth + 2 * GetSystemMetrics(SM_CXEDGE);
}

void LayOutEntryWindow(CWnd& window, CWnd& field, CWnd& spin, int width, int height, int spinWidth) {
    window.SetWindowPos(nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    field.MoveWindow(0, 0, width - spinWidth, height);
    spin.MoveWindow(width - spinWidth, 0, spinWidth, height);
}

void FinishEntry(CWnd& window, HWND notify, UINT message, bool abandoned) {
    const HWND self = window.GetSafeHwnd();
    SendMessage0(CWnd::FromHandle(notify), message, 0, 0);
    // The owner may have taken the window down while it was told.
    if (CWnd::FromHandle(self) != &window) return;
    window.ShowWindow(SW_HIDE);
    if (abandoned) {
        if (CWnd* parent = window.GetParent()) parent->SetFocus();
    }
}
