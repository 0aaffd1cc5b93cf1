// A rotary knob drawn from a film strip: frames as high as the control,
// stacked vertically. Dragging sets the value from the pointer's angle
// around the knob's centre, measured clockwise from straight down (left 90,
// up 180, right 270 degrees).
#pragma once

#include <cstdint>

#include "editor/CVMQBitmap.h"
#include "editor/ControlCallback.h"
#include "toolkit/CDC.h"
#include "toolkit/CWnd.h"

class CVMQNewBitmapTumamiDC {
public:
    // invalRect (may be empty): invalidated in parent after every change,
    // e.g. the value text beside the knob. stored is kept, unused.
    void Make(CRect rect, CRect invalRect, CWnd* parent, CVMQBitmap* film, float min, float max, unsigned int id,
              int frames, float startAngle, float endAngle, int stored, bool logarithmic,
              VMQControlCallback callback, void* user);
    void SetNewRect(CRect rect, CRect invalRect);
    void GetRect(CRect* rect) const { *rect = m_rect; }

    // Clamped to the range; an unchanged value does nothing at all.
    void SetValue(float value, CDC* dc, bool notify);
    // From a drag point; always notifies.
    void SetValue(CPoint point);
    float GetValue() const { return m_value; }
    int GetIndexValue() const;
    double GetAngle() const { return m_angle; }
    bool IsTracking() const { return m_tracking; }

    // A hit captures the mouse for the drag that follows.
    bool PtInTumami(CPoint point);
    void OnMouseMove(CPoint point, CDC* dc);
    void OnLButtonUp(CPoint point, CDC* dc);
    void Draw(CDC* dc);

private:
    void InvalidateText();

    uint32_t m_id = 0;
    CVMQBitmap* m_film = nullptr;
    CWnd* m_parent = nullptr;
    float m_min = 0.0f, m_max = 1.0f;
    float m_value = 0.0f;
    CRect m_rect;
    float m_startAngle = 0.0f, m_endAngle = 360.0f;
    int m_stored = 0;
    double m_angle = 0.0;
    // The value at the last SetValue, -1 after a drag ends: a knob resting
    // at an end does not jump to the other end across the bottom gap.
    float m_lastValue = -1.0f;
    float m_step = 1.0f;
    bool m_logarithmic = false;
    bool m_tracking = false;
    VMQControlCallback m_callback = nullptr;
    void* m_user = nullptr;
    CRect m_invalRect;
};
