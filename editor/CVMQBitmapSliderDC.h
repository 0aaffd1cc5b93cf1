// A slider drawn from a track picture and a thumb (and optionally a fill
// that grows with a horizontal slider's value). The thumb's centre travels
// from start (the minimum) to end (the maximum), points in the control's own
// coordinates; a vertical slider uses their y, a horizontal one their x.
#pragma once

#include <cstdint>

#include "editor/CVMQBitmap.h"
#include "editor/ControlCallback.h"
#include "toolkit/CDC.h"
#include "toolkit/CWnd.h"

class CVMQBitmapSliderDC {
public:
    // reversed: start and end swap sides of the axis. twoState: snaps to the
    // minimum or maximum. noThumb: draws the track (and fill) only.
    void Make(CRect rect, CRect invalRect, CWnd* parent, CVMQBitmap* background, CVMQBitmap* fill,
              CVMQBitmap* thumb, float min, float max, CPoint start, CPoint end, unsigned int id, int vertical,
              bool logarithmic, bool reversed, bool noThumb, bool twoState, VMQControlCallback callback,
              void* user);
    void SetNewRect(CRect rect, CRect invalRect);
    void GetRect(CRect* rect) const { *rect = m_rect; }
    void Enable(bool enable) { m_enabled = enable; }

    // Clamped; notifies only on a change but redraws either way.
    void SetValue(float value, CDC* dc, bool notify);
    // True when the point changed the value (then the callback has run).
    bool SetValueByPoint(CPoint point);
    float GetValue() const { return m_value; }
    bool IsTracking() const { return m_tracking; }

    // A hit captures the mouse for the drag that follows.
    bool PtInSwitch(CPoint point);
    void OnMouseMove(CPoint point, CDC* dc);
    void OnLButtonUp(CPoint point, CDC* dc);
    void DrawSlider(CDC* dc);

private:
    double MapPoint(int c, int a, int b) const;
    void InvalidateText();

    float m_min = 0.0f, m_max = 1.0f;
    CPoint m_start, m_end;
    uint32_t m_id = 0;
    int m_vertical = 0;
    CVMQBitmap* m_background = nullptr;
    CVMQBitmap* m_thumb = nullptr;
    CVMQBitmap* m_fill = nullptr;
    bool m_tracking = false;
    float m_value = 0.0f;
    bool m_noThumb = false;
    bool m_logarithmic = false;
    double m_decadeRange = 0.0;      // kept from Make, not used for drawing
    double m_pixelsPerDecade = 0.0;  // kept from Make, not used for drawing
    bool m_reversed = false;
    bool m_twoState = false;
    int m_backgroundWidth = 0, m_backgroundHeight = 0;
    CRect m_rect;
    CWnd* m_parent = nullptr;
    VMQControlCallback m_callback = nullptr;
    void* m_user = nullptr;
    bool m_enabled = true;
    CRect m_invalRect;
};
