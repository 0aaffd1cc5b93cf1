// Win32 numbers, types and free functions that the toolkit's window classes
// speak: message numbers, styles, key and mouse constants, raster operations.
#pragma once

#include <cstdint>

#include "toolkit/Geometry.h"

typedef int BOOL;
typedef unsigned int UINT;
typedef uint32_t DWORD;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef uintptr_t WPARAM;
typedef intptr_t LPARAM;
typedef intptr_t LRESULT;
typedef uintptr_t UINT_PTR;
typedef uint32_t COLORREF;
typedef const char* LPCTSTR;
typedef char* LPTSTR;
typedef void* LPVOID;
typedef RECT* LPRECT;
typedef const RECT* LPCRECT;
typedef POINT* LPPOINT;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

// Opaque handles. A window handle names a live CWnd (CWnd::FromHandle).
struct HWND__;
typedef HWND__* HWND;
struct HCURSOR__;
typedef HCURSOR__* HCURSOR;
struct HBRUSH__;
typedef HBRUSH__* HBRUSH;
typedef void* HGDIOBJ;
typedef void* HINSTANCE;
typedef void* HICON;

constexpr WORD LOWORD(uintptr_t v) { return static_cast<WORD>(v & 0xFFFF); }
constexpr WORD HIWORD(uintptr_t v) { return static_cast<WORD>((v >> 16) & 0xFFFF); }
constexpr LPARAM MAKELPARAM(int lo, int hi) {
    return static_cast<LPARAM>(static_cast<uint32_t>((lo & 0xFFFF) | ((hi & 0xFFFF) << 16)));
}
constexpr WPARAM MAKEWPARAM(int lo, int hi) {
    return static_cast<WPARAM>(static_cast<uint32_t>((lo & 0xFFFF) | ((hi & 0xFFFF) << 16)));
}
// Signed coordinates out of a mouse message's lParam.
constexpr int GET_X_LPARAM(LPARAM lp) { return static_cast<int16_t>(LOWORD(static_cast<uintptr_t>(lp))); }
constexpr int GET_Y_LPARAM(LPARAM lp) { return static_cast<int16_t>(HIWORD(static_cast<uintptr_t>(lp))); }

constexpr COLORREF RGB(int r, int g, int b) {
    return static_cast<COLORREF>((r & 0xFF) | ((g & 0xFF) << 8) | ((b & 0xFF) << 16));
}
constexpr int GetRValue(COLORREF c) { return c & 0xFF; }
constexpr int GetGValue(COLORREF c) { return (c >> 8) & 0xFF; }
constexpr int GetBValue(COLORREF c) { return (c >> 16) & 0xFF; }

// Messages.
constexpr UINT WM_NULL = 0x0000;
constexpr UINT WM_CREATE = 0x0001;
constexpr UINT WM_DESTROY = 0x0002;
constexpr UINT WM_MOVE = 0x0003;
constexpr UINT WM_SIZE = 0x0005;
constexpr UINT WM_SETFOCUS = 0x0007;
constexpr UINT WM_KILLFOCUS = 0x0008;
constexpr UINT WM_ENABLE = 0x000A;
constexpr UINT WM_SETTEXT = 0x000C;
constexpr UINT WM_GETTEXT = 0x000D;
constexpr UINT WM_GETTEXTLENGTH = 0x000E;
constexpr UINT WM_PAINT = 0x000F;
constexpr UINT WM_CLOSE = 0x0010;
constexpr UINT WM_ERASEBKGND = 0x0014;
constexpr UINT WM_SHOWWINDOW = 0x0018;
constexpr UINT WM_SETFONT = 0x0030;
constexpr UINT WM_GETFONT = 0x0031;
constexpr UINT WM_NCDESTROY = 0x0082;
constexpr UINT WM_KEYDOWN = 0x0100;
constexpr UINT WM_KEYUP = 0x0101;
constexpr UINT WM_CHAR = 0x0102;
constexpr UINT WM_INITDIALOG = 0x0110;
constexpr UINT WM_COMMAND = 0x0111;
constexpr UINT WM_TIMER = 0x0113;
constexpr UINT WM_VSCROLL = 0x0115;
constexpr UINT WM_MOUSEMOVE = 0x0200;
constexpr UINT WM_LBUTTONDOWN = 0x0201;
constexpr UINT WM_LBUTTONUP = 0x0202;
constexpr UINT WM_LBUTTONDBLCLK = 0x0203;
constexpr UINT WM_RBUTTONDOWN = 0x0204;
constexpr UINT WM_RBUTTONUP = 0x0205;
constexpr UINT WM_RBUTTONDBLCLK = 0x0206;
constexpr UINT WM_MOUSEWHEEL = 0x020A;
constexpr UINT WM_CAPTURECHANGED = 0x0215;
constexpr UINT WM_USER = 0x0400;

// Mouse-message wParam flags.
constexpr UINT MK_LBUTTON = 0x0001;
constexpr UINT MK_RBUTTON = 0x0002;
constexpr UINT MK_SHIFT = 0x0004;
constexpr UINT MK_CONTROL = 0x0008;

// Window styles.
constexpr DWORD WS_OVERLAPPED = 0x00000000;
constexpr DWORD WS_POPUP = 0x80000000;
constexpr DWORD WS_CHILD = 0x40000000;
constexpr DWORD WS_VISIBLE = 0x10000000;
constexpr DWORD WS_DISABLED = 0x08000000;
constexpr DWORD WS_CLIPSIBLINGS = 0x04000000;
constexpr DWORD WS_CLIPCHILDREN = 0x02000000;
constexpr DWORD WS_CAPTION = 0x00C00000;
constexpr DWORD WS_BORDER = 0x00800000;
constexpr DWORD WS_SYSMENU = 0x00080000;
constexpr DWORD WS_TABSTOP = 0x00010000;
constexpr DWORD WS_GROUP = 0x00020000;

// Class styles.
constexpr UINT CS_VREDRAW = 0x0001;
constexpr UINT CS_HREDRAW = 0x0002;
constexpr UINT CS_DBLCLKS = 0x0008;

// ShowWindow commands.
constexpr int SW_HIDE = 0;
constexpr int SW_SHOWNORMAL = 1;
constexpr int SW_SHOWNOACTIVATE = 4;
constexpr int SW_SHOW = 5;
constexpr int SW_SHOWNA = 8;

// SetWindowPos flags.
constexpr UINT SWP_NOSIZE = 0x0001;
constexpr UINT SWP_NOMOVE = 0x0002;
constexpr UINT SWP_NOZORDER = 0x0004;
constexpr UINT SWP_NOREDRAW = 0x0008;
constexpr UINT SWP_NOACTIVATE = 0x0010;
constexpr UINT SWP_SHOWWINDOW = 0x0040;
constexpr UINT SWP_HIDEWINDOW = 0x0080;

// WM_SIZE types.
constexpr UINT SIZE_RESTORED = 0;

// Virtual keys answered by GetKeyState.
constexpr int VK_SHIFT = 16;
constexpr int VK_CONTROL = 17;
constexpr int VK_MENU = 18;
constexpr int VK_OPTION = 19;

// System metrics.
constexpr int SM_CXSCREEN = 0;
constexpr int SM_CYSCREEN = 1;
constexpr int SM_CXVSCROLL = 2;
constexpr int SM_CYHSCROLL = 3;
constexpr int SM_CXEDGE = 45;
constexpr int SM_CYEDGE = 46;

// Stock objects.
constexpr int WHITE_BRUSH = 0;
constexpr int LTGRAY_BRUSH = 1;
constexpr int GRAY_BRUSH = 2;
constexpr int DKGRAY_BRUSH = 3;
constexpr int BLACK_BRUSH = 4;
constexpr int NULL_BRUSH = 5;
constexpr int HOLLOW_BRUSH = NULL_BRUSH;

// Standard cursors (LoadCursor's resource numbers).
#define IDC_ARROW (reinterpret_cast<LPCTSTR>(static_cast<uintptr_t>(32512)))
#define MAKEINTRESOURCE(i) (reinterpret_cast<LPCTSTR>(static_cast<uintptr_t>(static_cast<WORD>(i))))

// Dialog answers and button ids. (AfxMessageBox.h defines IDOK and IDCANCEL.)
#include "toolkit/AfxMessageBox.h"

// Notification codes carried in WM_COMMAND's high word.
constexpr UINT BN_CLICKED = 0;
constexpr UINT CBN_SELCHANGE = 1;
constexpr UINT EN_CHANGE = 0x0300;
constexpr UINT EN_KILLFOCUS = 0x0200;

// Raster operations of BitBlt and StretchBlt.
constexpr DWORD SRCCOPY = 0x00CC0020;
constexpr DWORD SRCPAINT = 0x00EE0086;
constexpr DWORD SRCAND = 0x008800C6;
constexpr DWORD SRCINVERT = 0x00660046;
constexpr DWORD BLACKNESS = 0x00000042;
constexpr DWORD WHITENESS = 0x00FF0062;

// Text drawing.
constexpr int TRANSPARENT = 1;
constexpr int OPAQUE = 2;
constexpr UINT ETO_OPAQUE = 0x0002;
constexpr UINT ETO_CLIPPED = 0x0004;

// Edit styles.
constexpr DWORD ES_LEFT = 0x0000;
constexpr DWORD ES_CENTER = 0x0001;
constexpr DWORD ES_RIGHT = 0x0002;
constexpr DWORD ES_AUTOHSCROLL = 0x0080;

// Up-down (spin) styles.
constexpr DWORD UDS_WRAP = 0x0001;
constexpr DWORD UDS_SETBUDDYINT = 0x0002;
constexpr DWORD UDS_ALIGNRIGHT = 0x0004;
constexpr DWORD UDS_ALIGNLEFT = 0x0008;
constexpr DWORD UDS_AUTOBUDDY = 0x0010;
constexpr DWORD UDS_ARROWKEYS = 0x0020;
constexpr DWORD UDS_HORZ = 0x0040;
constexpr DWORD UDS_NOTHOUSANDS = 0x0080;

// Combo-box styles.
constexpr DWORD CBS_DROPDOWNLIST = 0x0003;
constexpr int CB_ERR = -1;

// Menu flags.
constexpr UINT MF_STRING = 0x0000;
constexpr UINT MF_ENABLED = 0x0000;
constexpr UINT MF_UNCHECKED = 0x0000;
constexpr UINT MF_GRAYED = 0x0001;
constexpr UINT MF_DISABLED = 0x0002;
constexpr UINT MF_CHECKED = 0x0008;
constexpr UINT MF_POPUP = 0x0010;
constexpr UINT MF_SEPARATOR = 0x0800;
constexpr UINT TPM_LEFTALIGN = 0x0000;
constexpr UINT TPM_LEFTBUTTON = 0x0000;
constexpr UINT TPM_RIGHTBUTTON = 0x0002;
constexpr UINT TPM_RETURNCMD = 0x0100;

// Key codes the toolkit delivers in WM_KEYDOWN's wParam (see the table in
// toolkit/KeyCodes.h) and the characters of WM_CHAR for the special keys.
#include "toolkit/KeyCodes.h"

// Live modifier state: pressed keys give 0xFFFF8000 (high bit set), others 0.
short GetKeyState(int virtualKey);
int GetSystemMetrics(int index);

// The Win32 message record, as PreTranslateMessage sees it.
class CWnd;
struct MSG {
    HWND hwnd = nullptr;
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
    DWORD time = 0;
    POINT pt{0, 0};
    // WM_KEYDOWN: the character the key types (0 when none), which arrives
    // as WM_CHAR unless PreTranslateMessage consumes the key-down; a field
    // that consumes it can still act on the character.
    uint32_t character = 0;
};
typedef MSG* LPMSG;

struct CREATESTRUCT {
    LPVOID lpCreateParams = nullptr;
    HINSTANCE hInstance = nullptr;
    void* hMenu = nullptr;
    HWND hwndParent = nullptr;
    int cy = 0;
    int cx = 0;
    int y = 0;
    int x = 0;
    long style = 0;
    LPCTSTR lpszName = nullptr;
    LPCTSTR lpszClass = nullptr;
    DWORD dwExStyle = 0;
};
typedef CREATESTRUCT* LPCREATESTRUCT;
