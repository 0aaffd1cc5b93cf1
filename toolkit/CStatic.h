// A text label. Lines break at spaces (and at '\n') to fit the width; a word
// wider than the width breaks between characters. The block of lines is
// centred vertically; SS_CENTER and SS_RIGHT align each line.
#pragma once

#include <string>
#include <vector>

#include "toolkit/CWnd.h"

constexpr DWORD SS_LEFT = 0x0000;
constexpr DWORD SS_CENTER = 0x0001;
constexpr DWORD SS_RIGHT = 0x0002;

class CStatic : public CWnd {
    DECLARE_DYNCREATE(CStatic)
public:
    CStatic() = default;

    virtual BOOL Create(LPCTSTR text, DWORD style, const RECT& rect, CWnd* parent,
                        UINT id = 0xFFFF);

    // The lines text breaks into at width pixels in font (null: the control font).
    static std::vector<std::string> WrapLines(const char* text, int width, CFont* font);

    LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

    DECLARE_MESSAGE_MAP()
};
