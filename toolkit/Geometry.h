// Win32-style geometry values in integer pixels: origin at the top left,
// y downwards, rectangles with right and bottom exclusive.
#pragma once

#include <cstdint>

struct POINT {
    int32_t x;
    int32_t y;
};

struct SIZE {
    int32_t cx;
    int32_t cy;
};

struct RECT {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

class CPoint : public POINT {
public:
    CPoint() : POINT{0, 0} {}
    CPoint(int32_t px, int32_t py) : POINT{px, py} {}
    CPoint(const POINT& p) : POINT(p) {}

    bool operator==(const POINT& p) const { return x == p.x && y == p.y; }
    bool operator!=(const POINT& p) const { return !(*this == p); }
};

class CSize : public SIZE {
public:
    CSize() : SIZE{0, 0} {}
    CSize(int32_t w, int32_t h) : SIZE{w, h} {}
    CSize(const SIZE& s) : SIZE(s) {}

    bool operator==(const SIZE& s) const { return cx == s.cx && cy == s.cy; }
    bool operator!=(const SIZE& s) const { return !(*this == s); }
};

class CRect : public RECT {
public:
    CRect() : RECT{0, 0, 0, 0} {}
    CRect(int32_t l, int32_t t, int32_t r, int32_t b) : RECT{l, t, r, b} {}
    CRect(const RECT& r) : RECT(r) {}
    CRect(const POINT& topLeft, const SIZE& size)
        : RECT{topLeft.x, topLeft.y, topLeft.x + size.cx, topLeft.y + size.cy} {}

    // Computed in 64 bits so that extreme coordinates cannot overflow.
    int32_t Width() const { return static_cast<int32_t>(int64_t(right) - left); }
    int32_t Height() const { return static_cast<int32_t>(int64_t(bottom) - top); }
    CSize Size() const { return CSize(Width(), Height()); }
    CPoint TopLeft() const { return CPoint(left, top); }
    CPoint BottomRight() const { return CPoint(right, bottom); }

    // The "Win" suffix keeps these apart from platform functions of the same name.
    void SetRectWin(int32_t l, int32_t t, int32_t r, int32_t b) {
        left = l;
        top = t;
        right = r;
        bottom = b;
    }
    void CopyRectWin(const RECT* source) {
        if (source) *static_cast<RECT*>(this) = *source;
    }

    // Width or height not positive.
    bool IsRectEmpty() const { return right <= left || bottom <= top; }
    bool PtInRect(const POINT& p) const {
        return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
    }
    void OffsetRect(int32_t dx, int32_t dy) {
        left += dx;
        right += dx;
        top += dy;
        bottom += dy;
    }

    bool operator==(const RECT& r) const {
        return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
    }
    bool operator!=(const RECT& r) const { return !(*this == r); }

    operator RECT*() { return this; }
    operator const RECT*() const { return this; }
};
