#include "editor/CVMQNewBitmapTumamiDC.h"

#include <cmath>

namespace {

// The value of pi the angle conversion has always used.
constexpr double kPi = 3.141592653;

}  // namespace

void CVMQNewBitmapTumamiDC::Make(CRect rect, CRect invalRect, CWnd* parent, CVMQBitmap* film, float min,
                                 float max, unsigned int id, int frames, float startAngle, float endAngle,
                                 int stored, bool logarithmic, VMQControlCallback callback, void* user) {
    m_rect = rect;
    m_invalRect = invalRect;
    m_parent = parent;
    m_film = film;
    m_min = min;
    m_max = max;
    m_id = id;
    m_startAngle = startAngle;
    m_endAngle = endAngle;
    m_stored = stored;
    m_logarithmic = logarithmic;
    m_callback = callback;
    m_user = user;
    // Out of range, so that the first SetValue always takes.
    m_value = m_lastValue = 65535.0f;
    SetValue(min + 0.5f * (max - min), nullptr, false);
    m_step = frames > 1 ? (max - min) / static_cast<float>(frames - 1) : (max - min);
    if (!(m_step != 0.0f)) m_step = 1.0f;  // one frame, or an empty range
    m_tracking = false;
}

void CVMQNewBitmapTumamiDC::SetNewRect(CRect rect, CRect invalRect) {
    m_rect = rect;
    m_invalRect = invalRect;
}

void CVMQNewBitmapTumamiDC::InvalidateText() {
    if (m_parent && !m_invalRect.IsRectEmpty()) m_parent->InvalidateRect(&m_invalRect, TRUE);
}

void CVMQNewBitmapTumamiDC::SetValue(float value, CDC* dc, bool notify) {
    if (value > m_max)
        value = m_max;
    else if (value < m_min)
        value = m_min;
    else if (std::isnan(value))
        value = m_min;
    if (value == m_value) return;
    m_value = value;
    m_angle = m_startAngle + (static_cast<double>(m_endAngle) - m_startAngle) * (static_cast<double>(value) - m_min) /
                                 (static_cast<double>(m_max) - m_min);
    m_lastValue = value;
    if (notify && m_callback) m_callback(m_id, m_value, m_user);
    if (dc) Draw(dc);
    InvalidateText();
}

void CVMQNewBitmapTumamiDC::SetValue(CPoint point) {
    const int dx = point.x - m_rect.left, dy = point.y - m_rect.top;
    const int cx = m_rect.Width() / 2, cy = m_rect.Height() / 2;
    // Mixes the axes on purpose: one point right of the centre's diagonal
    // has always been skipped.
    if (static_cast<double>(dy - cy) == static_cast<double>(cx) &&
        static_cast<double>(dx - cx) > static_cast<double>(cy))
        return;
    if (dx == cx && dy == cy) return;  // the centre has no angle

    const double start = m_startAngle, end = m_endAngle;
    const double degrees = std::atan2(static_cast<double>(dx - cx), static_cast<double>(dy - cy)) * -180.0 / kPi;
    double angle;
    if (dx == cx) {
        if (m_lastValue == m_max)
            angle = end;
        else if (m_lastValue == m_min)
            angle = start;
        else
            angle = dy - cy < 0 ? 180.0 : 0.0;
    } else if (dx > cx) {
        angle = m_lastValue == m_min ? start : degrees + 360.0;
    } else {
        angle = m_lastValue == m_max ? end : degrees;
    }
    if (angle < start) angle = start;
    if (angle > end) angle = end;

    const double range = static_cast<double>(m_max) - m_min;
    const double position = end != start ? (angle - start) / (end - start) : 0.0;
    const double value =
        m_logarithmic ? m_min + range * ((std::pow(10.0, position) - 1.0) / 9.0) : m_min + position * range;
    m_value = static_cast<float>(value);
    m_angle = angle;
    m_lastValue = m_value;
    InvalidateText();
    if (m_callback) m_callback(m_id, m_value, m_user);
}

int CVMQNewBitmapTumamiDC::GetIndexValue() const {
    return static_cast<int>(std::ceil((m_value - m_min) / m_step));
}

bool CVMQNewBitmapTumamiDC::PtInTumami(CPoint point) {
    if (!m_rect.PtInRect(point)) return false;
    if (m_parent) m_parent->SetCapture();
    m_tracking = true;
    return true;
}

void CVMQNewBitmapTumamiDC::OnMouseMove(CPoint point, CDC* dc) {
    if (!m_tracking) return;
    SetValue(point);
    Draw(dc);
}

void CVMQNewBitmapTumamiDC::OnLButtonUp(CPoint point, CDC* dc) {
    if (!m_tracking) return;
    ReleaseCapture();
    m_tracking = false;
    SetValue(point);
    m_lastValue = -1.0f;
    Draw(dc);
}

void CVMQNewBitmapTumamiDC::Draw(CDC* dc) {
    if (!dc || !m_film) return;
    const int height = m_rect.Height();
    double frame;
    if (m_logarithmic) {
        const double position = (static_cast<double>(m_value) - m_min) / (static_cast<double>(m_max) - m_min);
        frame = std::floor(std::log10(position * 9.0 + 1.0) / m_step + 0.5);
    } else {
        const float steps = (m_value - m_min) / m_step;
        frame = std::floor(static_cast<double>(steps) + 0.5);
    }
    // Never beyond the strip, whatever the value.
    const int frames = height > 0 ? static_cast<int>(m_film->Height()) / height : 0;
    int index = std::isfinite(frame) ? static_cast<int>(frame) : 0;
    if (index > frames - 1) index = frames - 1;
    if (index < 0) index = 0;
    CDC filmDC;
    filmDC.CreateCompatibleDC(dc);
    CBitmap* old = filmDC.SelectObject(m_film);
    dc->BitBlt(m_rect.left, m_rect.top, m_rect.Width(), height, &filmDC, 0, index * height, SRCCOPY);
    filmDC.SelectObject(old);
}
