// Pixels between cairo image surfaces and X windows.
#include "toolkit/x11/XlibDisplay.h"  // first: see NativeNames.h

#include <X11/Xutil.h>
#include <cairo.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "toolkit/x11/X11PixelFormat.h"

namespace {

// cairo keeps each pixel as one native-endian 32-bit word.
constexpr int kNativeByteOrder =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? LSBFirst : MSBFirst;

int BitsPerPixelOfDepth(Display* display, int depth) {
    int count = 0;
    XPixmapFormatValues* formats = XListPixmapFormats(display, &count);
    int bits = 0;
    for (int i = 0; formats && i < count; ++i)
        if (formats[i].depth == depth) bits = formats[i].bits_per_pixel;
    if (formats) XFree(formats);
    return bits;
}

X11PixelFormat FormatOf(const Visual* visual, int depth) {
    return X11PixelFormat(visual->red_mask, visual->green_mask, visual->blue_mask, depth);
}

}  // namespace

// The server takes cairo's words as they are: a 24-bit TrueColor visual with
// red, green, blue in the low three bytes of a 32-bit pixel.
bool XlibDisplay::TakesCairoPixels() {
    if (m_cairoPixelsChecked) return m_takesCairoPixels;
    m_cairoPixelsChecked = true;
    m_takesCairoPixels = m_visual->c_class == TrueColor && m_depth == 24 &&
                         FormatOf(m_visual, m_depth).IsPlainRgb24() &&
                         BitsPerPixelOfDepth(m_display, m_depth) == 32;
    return m_takesCairoPixels;
}

void XlibDisplay::Present(NativeWindow native, cairo_surface_t* image, const CRect& area) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !IsOurs(window) || !image) return;
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS ||
        cairo_surface_get_type(image) != CAIRO_SURFACE_TYPE_IMAGE)
        return;
    const cairo_format_t format = cairo_image_surface_get_format(image);
    if (format != CAIRO_FORMAT_RGB24 && format != CAIRO_FORMAT_ARGB32) return;
    cairo_surface_flush(image);
    unsigned char* data = cairo_image_surface_get_data(image);
    const int width = cairo_image_surface_get_width(image);
    const int height = cairo_image_surface_get_height(image);
    const int stride = cairo_image_surface_get_stride(image);
    if (!data || width <= 0 || height <= 0) return;

    const int left = std::max(area.left, 0), top = std::max(area.top, 0);
    const int right = std::min(area.right, width), bottom = std::min(area.bottom, height);
    if (right <= left || bottom <= top) return;
    const unsigned areaWidth = static_cast<unsigned>(right - left);
    const unsigned areaHeight = static_cast<unsigned>(bottom - top);

    if (TakesCairoPixels()) {
        // The surface's memory goes out as it is; Xlib splits large areas
        // into several requests and swaps bytes for a server of the other
        // byte order.
        XImage* ximage = XCreateImage(m_display, m_visual, static_cast<unsigned>(m_depth), ZPixmap,
                                      0, reinterpret_cast<char*>(data), static_cast<unsigned>(width),
                                      static_cast<unsigned>(height), 32, stride);
        if (!ximage) return;
        ximage->byte_order = kNativeByteOrder;
        XPutImage(m_display, window, m_gc, ximage, left, top, left, top, areaWidth, areaHeight);
        ximage->data = nullptr;  // cairo's, not Xlib's to free
        XDestroyImage(ximage);
        return;
    }

    // Any other TrueColor visual: repack the area pixel by pixel. The alpha
    // of ARGB32 sources is dropped (the toolkit draws opaque pictures).
    XImage* ximage = XCreateImage(m_display, m_visual, static_cast<unsigned>(m_depth), ZPixmap, 0,
                                  nullptr, areaWidth, areaHeight, 32, 0);
    if (!ximage) return;
    ximage->data = static_cast<char*>(malloc(size_t(ximage->bytes_per_line) * areaHeight));
    if (!ximage->data) {
        XDestroyImage(ximage);
        return;
    }
    const X11PixelFormat pixelFormat = FormatOf(m_visual, m_depth);
    for (unsigned y = 0; y < areaHeight; ++y) {
        const uint32_t* row =
            reinterpret_cast<const uint32_t*>(data + size_t(top + y) * stride) + left;
        for (unsigned x = 0; x < areaWidth; ++x)
            XPutPixel(ximage, static_cast<int>(x), static_cast<int>(y),
                      pixelFormat.Encode(row[x] & 0x00FFFFFF));
    }
    XPutImage(m_display, window, m_gc, ximage, 0, 0, left, top, areaWidth, areaHeight);
    XDestroyImage(ximage);  // frees the pixels too
}

cairo_surface_t* XlibDisplay::CaptureWindow(NativeWindow native) {
    const Window window = static_cast<Window>(native);
    if (!Usable() || !window) return nullptr;
    XWindowAttributes attributes;
    const unsigned long serial = NextRequest(m_display);
    if (!XGetWindowAttributes(m_display, window, &attributes) || !SucceededSince(serial) ||
        attributes.map_state != IsViewable || attributes.width <= 0 || attributes.height <= 0)
        return nullptr;

    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, attributes.width, attributes.height);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < attributes.height; ++y)
        std::fill_n(reinterpret_cast<uint32_t*>(data + size_t(y) * stride), attributes.width,
                    0xFF000000u);

    // Only what lies on the screen can be read back; the rest stays black.
    int screenX = 0, screenY = 0;
    Window child = 0;
    XTranslateCoordinates(m_display, window, m_root, 0, 0, &screenX, &screenY, &child);
    const CSize screen = ScreenSize();
    const int left = std::max(0, -screenX), top = std::max(0, -screenY);
    const int right = std::min(attributes.width, screen.cx - screenX);
    const int bottom = std::min(attributes.height, screen.cy - screenY);
    if (right > left && bottom > top) {
        const unsigned long readSerial = NextRequest(m_display);
        XImage* ximage =
            XGetImage(m_display, window, left, top, static_cast<unsigned>(right - left),
                      static_cast<unsigned>(bottom - top), AllPlanes, ZPixmap);
        if (ximage && SucceededSince(readSerial)) {
            const X11PixelFormat pixelFormat = FormatOf(attributes.visual, attributes.depth);
            for (int y = top; y < bottom; ++y) {
                uint32_t* row = reinterpret_cast<uint32_t*>(data + size_t(y) * stride);
                for (int x = left; x < right; ++x)
                    row[x] = pixelFormat.Decode(XGetPixel(ximage, x - left, y - top));
            }
        }
        if (ximage) XDestroyImage(ximage);
    }
    cairo_surface_mark_dirty(surface);
    return surface;
}
