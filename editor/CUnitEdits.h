// Number fields with a unit after the value. They type and fix their text
// as CFormatEdit does; SetLimitInputText(n) makes room for n digits, the
// sign when it may be typed, and the decimals and unit of the format.
#pragma once

#include "editor/CFormatEdit.h"

// Millimetres with one decimal, carried in hundredths.
class CFloatEdit : public CFormatEdit {
    DECLARE_DYNCREATE(CFloatEdit)
public:
    static constexpr int kExtraChars = 4;  // ".0mm"
    CFloatEdit();
    void SetLimitInputText(int digits) { LimitDigits(digits, kExtraChars); }
    DECLARE_MESSAGE_MAP()
};

// A plain number with one decimal, carried unscaled.
class CFloatEdit2 : public CFormatEdit {
    DECLARE_DYNCREATE(CFloatEdit2)
public:
    static constexpr int kExtraChars = 2;  // ".0"
    CFloatEdit2();
    void SetLimitInputText(int digits) { LimitDigits(digits, kExtraChars); }
    DECLARE_MESSAGE_MAP()
};

// Typographic points with one decimal, carried in tenths.
class CPointEdit : public CFormatEdit {
    DECLARE_DYNCREATE(CPointEdit)
public:
    static constexpr int kExtraChars = 7;  // ".0point"
    CPointEdit();
    void SetLimitInputText(int digits) { LimitDigits(digits, kExtraChars); }
    DECLARE_MESSAGE_MAP()
};

// Whole milliseconds.
class CMiliSecondEdit : public CFormatEdit {
    DECLARE_DYNCREATE(CMiliSecondEdit)
public:
    static constexpr int kExtraChars = 2;  // "ms"
    CMiliSecondEdit();
    void SetLimitInputText(int digits) { LimitDigits(digits, kExtraChars); }
    DECLARE_MESSAGE_MAP()
};
