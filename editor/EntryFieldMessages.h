// What the numeric entry windows and their fields say to their owners: the
// two private messages and the identifiers of the controls inside a window.
#pragma once

#include "toolkit/WinDefs.h"

constexpr UINT WM_ENTRY_ESCAPE = 0x0A00;  // the entry was abandoned (Escape)
constexpr UINT WM_ENTRY_RETURN = 0x0A01;  // the entry was confirmed (Return)

constexpr UINT IDC_ENTRY_SPIN = 18000;
constexpr UINT IDC_ENTRY_EDIT = 18001;

// Key-down codes that confirm or abandon an entry: Return (0x24) and 0x23
// confirm, Escape (0x35) abandons.
constexpr UINT kEntryReturnKey = 0x24;
constexpr UINT kEntryReturnKeyAlso = 0x23;
constexpr UINT kEntryEscapeKey = 0x35;
