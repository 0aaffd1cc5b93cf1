#include "toolkit/DamageRegion.h"

#include <cstdint>

#include "toolkit/WindowTree.h"

namespace {

int64_t Area(const CRect& r) { return int64_t(r.Width()) * r.Height(); }

// Pixels a merged rectangle would cover that neither part does (overlaps
// counted once per part, which only makes merging more willing).
int64_t Waste(const CRect& a, const CRect& b) { return Area(rect::Union(a, b)) - Area(a) - Area(b); }

// Presenting one more image costs about as much as this many pixels.
constexpr int64_t kMergeSlack = 1024;

}  // namespace

void DamageRegion::Add(const CRect& area) {
    if (area.IsRectEmpty()) return;
    CRect merged = area;
    // Absorb every rectangle that merging costs little; a merge may make the
    // result reach further, so look again from the start.
    for (int i = 0; i < m_count;) {
        if (Waste(m_rects[i], merged) <= kMergeSlack) {
            merged = rect::Union(m_rects[i], merged);
            Remove(i);
            i = 0;
        } else {
            ++i;
        }
    }
    if (m_count == kMaxRects) {
        int best = 0;
        for (int i = 1; i < m_count; ++i)
            if (Waste(m_rects[i], merged) < Waste(m_rects[best], merged)) best = i;
        merged = rect::Union(m_rects[best], merged);
        Remove(best);
        Add(merged);
        return;
    }
    m_rects[m_count++] = merged;
}

void DamageRegion::Add(const DamageRegion& other) {
    for (const CRect& r : other) Add(r);
}

CRect DamageRegion::Bounds() const {
    CRect bounds;
    for (const CRect& r : *this) bounds = rect::Union(bounds, r);
    return bounds;
}
