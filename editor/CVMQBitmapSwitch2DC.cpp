#include "editor/CVMQBitmapSwitch2DC.h"

void CVMQBitmapSwitch2DC::Make(CRect rect, CWnd* parent, CVMQBitmap* off, CVMQBitmap* on, unsigned int id,
                               CRect srcRect, bool latch, CVMQBitmap* mask, VMQControlCallback callback,
                               void* user) {
    m_rect = rect;
    m_parent = parent;
    m_off = off;
    m_on = on;
    m_id = id;
    m_srcRect = srcRect;
    m_latch = latch;
    m_mask = mask;
    m_callback = callback;
    m_user = user;
    m_down = false;
    m_value = 0;
    m_selected = false;
    m_enabled = true;
    m_disabled = nullptr;
}

void CVMQBitmapSwitch2DC::SetNewRect(CRect rect, CRect srcRect) {
    m_rect = rect;
    m_srcRect = srcRect;
}

void CVMQBitmapSwitch2DC::SetValue(int value, bool notify) {
    if (!m_enabled || Locked() || value == m_value) return;
    m_value = value;
    if (notify && m_callback) m_callback(m_id, static_cast<float>(value), m_user);
}

void CVMQBitmapSwitch2DC::LButtonDown(CDC* dc) {
    if (!m_enabled || Locked()) return;
    m_down = true;
    DrawSwitch(dc);
}

void CVMQBitmapSwitch2DC::LButtonUp(CDC* dc) {
    if (!m_enabled || Locked() || !m_down) return;
    m_down = false;
    DrawSwitch(dc);
}

// Image XOR background, AND mask, XOR image again: where the mask is black
// the image shows, where it is white the background stays. A null image
// leaves only the mask's effect.
void CVMQBitmapSwitch2DC::BlitThroughMask(CDC* dc, CVMQBitmap* image, int width, int height, int sourceY) {
    CDC imageDC, maskDC;
    imageDC.CreateCompatibleDC(dc);
    maskDC.CreateCompatibleDC(dc);
    CBitmap* oldImage = imageDC.SelectObject(image);
    CBitmap* oldMask = maskDC.SelectObject(m_mask);
    const int x = m_rect.left, y = m_rect.top;
    if (image) dc->BitBlt(x, y, width, height, &imageDC, 0, sourceY, SRCINVERT);
    dc->BitBlt(x, y, width, height, &maskDC, 0, sourceY, SRCAND);
    if (image) dc->BitBlt(x, y, width, height, &imageDC, 0, sourceY, SRCINVERT);
    imageDC.SelectObject(oldImage);
    maskDC.SelectObject(oldMask);
}

void CVMQBitmapSwitch2DC::DrawSwitch(CDC* dc) {
    if (!dc || !m_off) return;
    const int width = static_cast<int>(m_off->Width());
    const int frameHeight = static_cast<int>(m_off->Height()) / 2;
    const int frameRow = m_down ? frameHeight : 0;
    const int x = m_rect.left, y = m_rect.top;

    if (m_enabled) {
        CVMQBitmap* image = m_value != 0 ? m_on : m_off;
        if (m_mask) {
            BlitThroughMask(dc, image, width, frameHeight, frameRow);
        } else if (image) {
            CDC imageDC;
            imageDC.CreateCompatibleDC(dc);
            CBitmap* old = imageDC.SelectObject(image);
            dc->BitBlt(x, y, image->Width(), image->Height() / 2, &imageDC, 0, frameRow, SRCCOPY);
            imageDC.SelectObject(old);
        }
        return;
    }
    if (m_disabled) {
        const int w = static_cast<int>(m_disabled->Width()), h = static_cast<int>(m_disabled->Height());
        if (m_mask) {
            BlitThroughMask(dc, m_disabled, w, h, 0);
        } else {
            CDC imageDC;
            imageDC.CreateCompatibleDC(dc);
            CBitmap* old = imageDC.SelectObject(m_disabled);
            dc->BitBlt(x, y, w, h, &imageDC, 0, 0, SRCCOPY);
            imageDC.SelectObject(old);
        }
        return;
    }
    if (m_mask) {
        // Disabled without its own picture: the image source is empty, so
        // only the mask darkens the background.
        BlitThroughMask(dc, nullptr, width, frameHeight, 0);
    } else {
        CDC imageDC;
        imageDC.CreateCompatibleDC(dc);
        CBitmap* old = imageDC.SelectObject(m_off);
        dc->BitBlt(x, y, width, frameHeight, &imageDC, 0, 0, SRCCOPY);
        imageDC.SelectObject(old);
    }
}
