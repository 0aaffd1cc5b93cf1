// Logical and device pixels. Windows, layouts and mouse points are logical;
// a connection draws and places native windows at a scale s (1, 1.5 or 2),
// so one logical pixel covers s x s device pixels. Each edge of a rectangle
// is rounded on its own, so rectangles that touch still touch on the device.
#pragma once

#include <cmath>

#include "toolkit/Geometry.h"

namespace device {

inline int ToDevice(int logical, double scale) {
    return static_cast<int>(std::lround(logical * scale));
}
inline double ToDevice(double logical, double scale) { return logical * scale; }
// The logical pixel that covers a device pixel.
inline int ToLogical(int devicePixel, double scale) {
    return static_cast<int>(std::floor((devicePixel + 0.5) / scale));
}
inline CRect ToDevice(const CRect& r, double scale) {
    return CRect(ToDevice(r.left, scale), ToDevice(r.top, scale), ToDevice(r.right, scale),
                 ToDevice(r.bottom, scale));
}
inline CPoint ToDevice(CPoint p, double scale) { return CPoint(ToDevice(p.x, scale), ToDevice(p.y, scale)); }
inline CPoint ToLogical(CPoint p, double scale) {
    return CPoint(ToLogical(p.x, scale), ToLogical(p.y, scale));
}

}  // namespace device
