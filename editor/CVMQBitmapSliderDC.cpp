#include "editor/CVMQBitmapSliderDC.h"

#include <cmath>

void CVMQBitmapSliderDC::Make(CRect rect, CRect invalRect, CWnd* parent, CVMQBitmap* background,
                              CVMQBitmap* fill, CVMQBitmap* thumb, float min, float max, CPoint start, CPoint end,
                              unsigned int id, int vertical, bool logarithmic, bool reversed, bool noThumb,
                              bool twoState, VMQControlCallback callback, void* user) {
    m_rect = rect;
    m_invalRect = invalRect;
    m_parent = parent;
    m_background = background;
    m_fill = fill;
    m_thumb = thumb;
    m_min = min;
    m_max = max;
    m_start = start;
    m_end = end;
    m_id = id;
    m_vertical = vertical;
    m_logarithmic = logarithmic;
    m_reversed = reversed;
    m_noThumb = noThumb;
    m_twoState = twoState;
    m_callback = callback;
    m_user = user;
    m_value = min;
    m_tracking = false;
    m_backgroundWidth = background ? static_cast<int>(background->Width()) : 0;
    m_backgroundHeight = background ? static_cast<int>(background->Height()) : 0;
    if (logarithmic && min > 0.0f && max > 0.0f) {
        m_decadeRange = std::log10(max) - std::log10(min);
        if (m_decadeRange != 0.0) m_pixelsPerDecade = std::abs(start.y - end.y) / m_decadeRange;
    }
}

void CVMQBitmapSliderDC::SetNewRect(CRect rect, CRect invalRect) {
    m_rect = rect;
    m_invalRect = invalRect;
}

void CVMQBitmapSliderDC::InvalidateText() {
    if (m_parent && !m_invalRect.IsRectEmpty()) m_parent->InvalidateRect(&m_invalRect, TRUE);
}

void CVMQBitmapSliderDC::SetValue(float value, CDC* dc, bool notify) {
    if (value > m_max)
        value = m_max;
    else if (value < m_min)
        value = m_min;
    else if (std::isnan(value))
        value = m_min;
    if (value != m_value) {
        m_value = value;
        if (notify && m_callback) m_callback(m_id, m_value, m_user);
    }
    if (dc) DrawSlider(dc);
    InvalidateText();
}

// c on the axis between a (minimum) and b (maximum).
double CVMQBitmapSliderDC::MapPoint(int c, int a, int b) const {
    if (a == b) return m_min;
    const double range = static_cast<double>(m_max) - m_min;
    if (m_logarithmic) {
        const double t = static_cast<double>(c - a) / static_cast<double>(b - a);
        return m_min + range * ((std::pow(10.0, t) - 1.0) / 9.0);
    }
    if (m_vertical) return m_min + static_cast<double>(c - a) * range / static_cast<double>(b - a);
    return m_min + static_cast<float>(c - a) * (m_max - m_min) / static_cast<float>(b - a);
}

bool CVMQBitmapSliderDC::SetValueByPoint(CPoint point) {
    if (!m_enabled) return false;
    const int a = m_vertical ? m_start.y : m_start.x;
    const int b = m_vertical ? m_end.y : m_end.x;
    const int c = m_vertical ? point.y - m_rect.top : point.x - m_rect.left;
    double value;
    if (m_vertical && !m_reversed) {  // the minimum at the bottom
        value = c > a ? m_min : c < b ? m_max : MapPoint(c, a, b);
    } else if (m_vertical) {
        value = c < a ? m_min : c > b ? m_max : MapPoint(c, a, b);
    } else if (!m_reversed) {
        value = c < a ? m_min : c > b ? m_max : MapPoint(c, a, b);
    } else {
        // Reversed horizontal sliders have always mapped linearly.
        if (c > a) {
            value = m_min;
        } else if (c >= b) {
            value = a == b ? m_min : m_min + static_cast<float>(c - a) * (m_max - m_min) / static_cast<float>(b - a);
        } else {
            value = m_max;
        }
    }
    float result = static_cast<float>(value);
    if (m_twoState) result = result < m_min + (m_max - m_min) * 0.5f ? m_min : m_max;
    if (result == m_value) return false;
    m_value = result;
    InvalidateText();
    if (m_callback) m_callback(m_id, m_value, m_user);
    return true;
}

bool CVMQBitmapSliderDC::PtInSwitch(CPoint point) {
    if (!m_enabled || !m_rect.PtInRect(point)) return false;
    m_tracking = true;
    if (m_parent) m_parent->SetCapture();
    return true;
}

void CVMQBitmapSliderDC::OnMouseMove(CPoint point, CDC* dc) {
    if (!m_tracking) return;
    SetValueByPoint(point);
    DrawSlider(dc);
}

void CVMQBitmapSliderDC::OnLButtonUp(CPoint point, CDC* dc) {
    if (!m_tracking) return;
    ReleaseCapture();
    m_tracking = false;
    SetValueByPoint(point);
    DrawSlider(dc);
}

// Composed off screen and copied in one piece, so a drag never flickers.
void CVMQBitmapSliderDC::DrawSlider(CDC* dc) {
    if (!m_enabled || !dc || m_backgroundWidth <= 0 || m_backgroundHeight <= 0) return;
    CDC composed, source;
    composed.CreateCompatibleDC(dc);
    composed.CreateBitmapDC(m_backgroundWidth, m_backgroundHeight);
    source.CreateCompatibleDC(dc);
    CBitmap* old = source.SelectObject(m_background);
    const int bw = static_cast<int>(m_background->Width()), bh = static_cast<int>(m_background->Height());
    if (m_vertical && (bw != m_backgroundWidth || bh != m_backgroundHeight))
        composed.StretchBlt(0, 0, m_backgroundWidth, m_backgroundHeight, &source, 0, 0, bw, bh, SRCCOPY);
    else
        composed.BitBlt(0, 0, m_backgroundWidth, m_backgroundHeight, &source, 0, 0, SRCCOPY);

    const int tw = m_thumb ? static_cast<int>(m_thumb->Width()) : 0;
    const int th = m_thumb ? static_cast<int>(m_thumb->Height()) : 0;
    const double range = static_cast<double>(m_max) - m_min;
    const double position = range != 0.0 ? (static_cast<double>(m_value) - m_min) / range : 0.0;
    if (m_vertical) {
        const int a = m_start.y, b = m_end.y;
        int y;
        if (m_logarithmic)
            y = static_cast<int>(a + (b - a) * std::log10(position * 9.0 + 1.0) + 0.5) - th / 2;
        else if (m_max != m_min)
            y = static_cast<int>(a - (static_cast<double>(m_value) - m_min) * (a - b) / range - 0.5 * th);
        else
            y = a - th / 2;
        if (!m_noThumb && m_thumb) {
            source.SelectObject(m_thumb);
            composed.BitBlt(m_start.x, y, tw, th, &source, 0, 0, SRCCOPY);
        }
    } else {
        const int a = m_start.x, b = m_end.x;
        int x;
        if (m_logarithmic)
            x = static_cast<int>(a + (b - a) * std::log10(position * 9.0 + 1.0)) - tw / 2;
        else if (m_max != m_min)
            x = static_cast<int>(a + (static_cast<double>(m_value) - m_min) * (b - a) / range - 0.5 * tw);
        else
            x = static_cast<int>(a - 0.5 * tw);
        if (m_fill && x > 0) {
            source.SelectObject(m_fill);
            composed.BitBlt(0, 0, x, th, &source, 0, 0, SRCCOPY);
        }
        if (!m_noThumb && m_thumb) {
            source.SelectObject(m_thumb);
            composed.BitBlt(x, m_start.y, tw, th, &source, 0, 0, SRCCOPY);
        }
    }
    dc->BitBlt(m_rect.left, m_rect.top, m_backgroundWidth, m_backgroundHeight, &composed, 0, 0, SRCCOPY);
    source.SelectObject(old);
}
