// Drawing surfaces over cairo image surfaces. A window DC draws into its
// root's back buffer (offset to the window, clipped to it); a memory DC draws
// into or copies from the bitmap selected into it. Raster operations work on
// the 32-bit pixels exactly as Win32's do.
//
// Every coordinate a DC takes is logical. A DC has a scale, its image's
// device pixels per logical pixel: a window DC takes its connection's, a
// memory DC the selected bitmap's (CreateBitmapDC: the one it was made
// compatible with). Blits map logical areas onto device pixels of both
// images, copying pixel for pixel when the scales agree; text is drawn by
// cairo at the device size.
#pragma once

#include "toolkit/CObject.h"
#include "toolkit/DamageRegion.h"
#include "toolkit/CString.h"
#include "toolkit/WinDefs.h"

typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo cairo_t;
class CBitmap;
class CFont;
class CWnd;

class CDC : public CObject {
    DECLARE_DYNCREATE(CDC)
public:
    CDC();
    ~CDC() override;
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;

    // A DC for measuring text ("DISPLAY"); drawing into it does nothing.
    BOOL CreateDC(LPCTSTR driver, LPCTSTR device = nullptr, LPCTSTR output = nullptr,
                  const void* initData = nullptr);
    // A memory DC at dc's scale; select a bitmap into it to draw from or
    // into it.
    BOOL CreateCompatibleDC(CDC* dc);
    // Gives this memory DC a new blank bitmap of its own, width x height
    // logical pixels at the DC's scale.
    BOOL CreateBitmapDC(int width, int height);
    BOOL DeleteDC();

    // Return the previously selected object (null when none).
    CBitmap* SelectObject(CBitmap* bitmap);
    CFont* SelectObject(CFont* font);

    // Copies w x h from (sx, sy) of source's image to (x, y) with rop
    // (SRCCOPY, SRCINVERT, SRCAND, SRCPAINT, BLACKNESS, WHITENESS).
    // "BitBlt null ..." goes to stderr when source has no image.
    BOOL BitBlt(int x, int y, int w, int h, CDC* source, int sx, int sy, DWORD rop);
    // The same, scaling sw x sh to w x h (nearest pixel).
    BOOL StretchBlt(int x, int y, int w, int h, CDC* source, int sx, int sy, int sw, int sh,
                    DWORD rop);
    void FillSolidRect(const RECT* rect, COLORREF color);
    void FillSolidRect(int x, int y, int w, int h, COLORREF color);

    // Text with its top at y (baseline at y + the font's ascent). ETO_OPAQUE
    // fills rect with the background colour first; ETO_CLIPPED clips to rect.
    BOOL ExtTextOut(int x, int y, UINT options, const RECT* rect, const CString& text,
                    const int* widths = nullptr);
    BOOL ExtTextOut(int x, int y, UINT options, const RECT* rect, const char* text, int length,
                    const int* widths = nullptr);
    BOOL TextOut(int x, int y, const char* text, int length);
    COLORREF SetTextColor(COLORREF color);  // returns the previous colour
    COLORREF GetTextColor() const { return m_textColor; }
    COLORREF SetBkColor(COLORREF color);
    int SetBkMode(int mode);  // TRANSPARENT or OPAQUE; returns the previous
    // Width of the text (advance, rounded) and the font's line height.
    CSize GetTextExtent(const char* text, int length) const;
    CSize GetTextExtent(const CString& text) const;

    // Drawing outside WM_PAINT is bracketed by these; they do nothing here.
    void InitDrawing() {}
    void ExitDrawing() {}

    // Origin of drawing coordinates in the target image (logical), the clip
    // (the target's device pixels) that bounds every drawing call, and the
    // scale between the two.
    CPoint GetOrigin() const { return m_origin; }
    CRect GetClip() const { return m_clip; }
    double GetScale() const { return m_scale; }
    // The target's device pixels that a rectangle of this DC's covers.
    CRect ToDevice(const CRect& logical) const;
    // The image this DC draws into (null for a measuring DC without one).
    cairo_surface_t* GetTargetSurface() const;
    CBitmap* GetSelectedBitmap() const { return m_bitmap; }
    CFont* GetSelectedFont() const { return m_font; }

protected:
    // Window DCs: draw into target at origin, within clip (both logical
    // target coordinates), scale device pixels per logical one.
    void AttachTarget(cairo_surface_t* target, CPoint origin, const CRect& clip, double scale);
    // Narrows the clip to deviceClip (target device pixels).
    void NarrowClip(const CRect& deviceClip);
    // Adds area (target device pixels) to what the window must present.
    virtual void Touched(const CRect& area) {}

private:
    cairo_surface_t* m_target = nullptr;  // window target (not owned)
    CBitmap* m_bitmap = nullptr;          // selected bitmap (memory DCs)
    CBitmap* m_ownBitmap = nullptr;       // made by CreateBitmapDC
    CFont* m_font = nullptr;
    CPoint m_origin;
    CRect m_clip;
    double m_scale = 1.0;
    COLORREF m_textColor = 0;
    COLORREF m_bkColor = RGB(255, 255, 255);
    int m_bkMode = OPAQUE;
    bool m_measureOnly = false;
};

// Draws directly into the window (its root's back buffer); what it touched is
// presented at the next pump or when the DC goes away.
class CClientDC : public CDC {
public:
    explicit CClientDC(CWnd* window);
    ~CClientDC() override;

protected:
    void Touched(const CRect& area) override;
    CWnd* m_window;
    HWND m_hwnd = nullptr;  // to tell whether m_window still exists
    DamageRegion m_touched;  // in the target's coordinates
};

// The DC of the current WM_PAINT, clipped to the window's update rectangle.
class CPaintDC : public CClientDC {
public:
    explicit CPaintDC(CWnd* window);
    ~CPaintDC() override;
};
