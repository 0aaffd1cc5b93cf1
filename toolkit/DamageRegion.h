// Pixels drawn but not yet on the screen, as a few rectangles rather than one
// bounding box: two small areas far apart (the meters at either side of an
// editor) are presented as two small images, not as one as wide as the
// window. Rectangles that overlap or nearly touch are merged; past a handful
// the two whose union wastes least become one.
#pragma once

#include "toolkit/Geometry.h"

class DamageRegion {
public:
    void Add(const CRect& area);
    void Add(const DamageRegion& other);
    void Clear() { m_count = 0; }
    bool IsEmpty() const { return m_count == 0; }
    int Count() const { return m_count; }
    const CRect& operator[](int i) const { return m_rects[i]; }
    const CRect* begin() const { return m_rects; }
    const CRect* end() const { return m_rects + m_count; }
    CRect Bounds() const;

private:
    static constexpr int kMaxRects = 8;
    void Remove(int i) { m_rects[i] = m_rects[--m_count]; }

    CRect m_rects[kMaxRects];
    int m_count = 0;
};
