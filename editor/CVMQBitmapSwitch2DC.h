// A two-state switch drawn from two pictures (off, on), each holding the
// released frame above the pressed one. It is not a window: the editor
// window hit-tests it, passes it the mouse and lets it draw into its DC.
#pragma once

#include <cstdint>

#include "editor/CVMQBitmap.h"
#include "editor/ControlCallback.h"
#include "toolkit/CDC.h"
#include "toolkit/CWnd.h"

class CVMQBitmapSwitch2DC {
public:
    // latch: once on, clicks and SetValue leave it on (radio buttons).
    // mask (may be null): drawn transparently through it, white keeping the
    // background. srcRect is kept but not used for drawing.
    void Make(CRect rect, CWnd* parent, CVMQBitmap* off, CVMQBitmap* on, unsigned int id, CRect srcRect,
              bool latch, CVMQBitmap* mask, VMQControlCallback callback, void* user);
    void SetNewRect(CRect rect, CRect srcRect);
    void SetDisableBmp(CVMQBitmap* bitmap) { m_disabled = bitmap; }
    void Enable(bool enable) { m_enabled = enable; }
    void SetSelect(bool select) { m_selected = select; }

    void SetValue(int value, bool notify);
    int GetValue() const { return m_value != 0 ? 1 : 0; }
    bool IsDown() const { return m_down; }
    bool PtInSwitch(CPoint point) const { return m_rect.PtInRect(point) != FALSE; }

    void LButtonDown(CDC* dc);
    void LButtonUp(CDC* dc);
    void LButtonDblClk(CDC* dc) { LButtonDown(dc); }
    void RButtonDown(CDC* dc) { LButtonDown(dc); }
    void RButtonUp(CDC* dc) { LButtonUp(dc); }
    void RButtonDblClk(CDC* dc) { LButtonDown(dc); }

    void DrawSwitch(CDC* dc);

private:
    bool Locked() const { return m_latch && m_value != 0; }
    void BlitThroughMask(CDC* dc, CVMQBitmap* image, int width, int height, int sourceY);

    uint32_t m_id = 0;
    bool m_down = false;
    bool m_latch = false;
    CVMQBitmap* m_off = nullptr;
    CVMQBitmap* m_on = nullptr;
    CVMQBitmap* m_mask = nullptr;
    CVMQBitmap* m_disabled = nullptr;
    int32_t m_value = 0;
    bool m_selected = false;
    bool m_enabled = true;
    CRect m_srcRect;
    CRect m_rect;
    CWnd* m_parent = nullptr;
    VMQControlCallback m_callback = nullptr;
    void* m_user = nullptr;
};
