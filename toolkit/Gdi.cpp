// CGdiObject and CBitmap: images as cairo image surfaces.
#include "toolkit/Gdi.h"

#include <cairo.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "toolkit/DeviceScale.h"

#include "toolkit/ResourceFolder.h"

IMPLEMENT_DYNAMIC(CGdiObject, CObject)
IMPLEMENT_DYNCREATE(CBitmap, CGdiObject)

CGdiObject::~CGdiObject() {
    // Derived classes release their handle in their own destructors (the
    // release is virtual); a base-only object holds nothing.
}

BOOL CGdiObject::DeleteObject() {
    if (!m_handle) return FALSE;
    void* handle = m_handle;
    m_handle = nullptr;
    ReleaseHandle(handle);
    return TRUE;
}

void CGdiObject::Attach(void* handle) {
    if (handle == m_handle) return;
    DeleteObject();
    m_handle = handle;
}

CBitmap::~CBitmap() { DeleteObject(); }

void CBitmap::ReleaseHandle(void* handle) {
    cairo_surface_destroy(static_cast<cairo_surface_t*>(handle));
}

BOOL CBitmap::LoadFromFile(const char* path) {
    DeleteObject();
    m_scale = 1.0;
    if (!path || !*path) return FALSE;
    cairo_surface_t* image = cairo_image_surface_create_from_png(path);
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(image);
        return FALSE;
    }
    Attach(image);
    return TRUE;
}

BOOL CBitmap::LoadBitmap(UINT id) {
    const std::string path = std::string(AfxGetResourceFolder()) + std::to_string(id) + ".png";
    return LoadFromFile(path.c_str());
}

std::string ScaledResourceName(UINT id, double scale) {
    if (scale == 1.0) return std::to_string(id) + ".png";
    char factor[32];
    std::snprintf(factor, sizeof factor, "%g", scale);
    return std::to_string(id) + "@" + factor + "x.png";
}

BOOL CBitmap::LoadBitmap(UINT id, double scale) {
    if (scale != 1.0) {
        const std::string path = std::string(AfxGetResourceFolder()) + ScaledResourceName(id, scale);
        if (LoadFromFile(path.c_str())) {
            m_scale = scale;
            return TRUE;
        }
    }
    return LoadBitmap(id);
}

BOOL CBitmap::LoadBitmap(LPCTSTR resourceName) {
    const uintptr_t value = reinterpret_cast<uintptr_t>(resourceName);
    if (value < 0x10000) return LoadBitmap(static_cast<UINT>(value));
    std::string name = resourceName;
    if (name.size() < 4 || name.compare(name.size() - 4, 4, ".png") != 0) name += ".png";
    return LoadFromFile((std::string(AfxGetResourceFolder()) + name).c_str());
}

BOOL CBitmap::CreateBitmap(int logicalWidth, int logicalHeight, double scale) {
    DeleteObject();
    if (logicalWidth <= 0 || logicalHeight <= 0 || !(scale > 0.0) || scale > 4.0) return FALSE;
    const int width = device::ToDevice(logicalWidth, scale);
    const int height = device::ToDevice(logicalHeight, scale);
    if (width > 16384 || height > 16384) return FALSE;
    m_scale = scale;
    cairo_surface_t* image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(image);
        return FALSE;
    }
    // Black with the unused byte set, as the raster operations leave it.
    cairo_surface_flush(image);
    unsigned char* data = cairo_image_surface_get_data(image);
    const int stride = cairo_image_surface_get_stride(image);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(data + static_cast<size_t>(y) * stride);
        for (int x = 0; x < width; ++x) row[x] = 0xFF000000u;
    }
    cairo_surface_mark_dirty(image);
    Attach(image);
    return TRUE;
}

void CBitmap::AttachSurface(cairo_surface_t* surface) {
    if (surface && (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS ||
                    cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE)) {
        cairo_surface_destroy(surface);
        surface = nullptr;
    }
    m_scale = 1.0;
    if (surface)
        Attach(surface);
    else
        DeleteObject();
}

int CBitmap::DeviceWidth() const {
    return m_handle ? cairo_image_surface_get_width(GetSurface()) : 0;
}

int CBitmap::DeviceHeight() const {
    return m_handle ? cairo_image_surface_get_height(GetSurface()) : 0;
}

int CBitmap::Width() const { return static_cast<int>(std::lround(DeviceWidth() / m_scale)); }

int CBitmap::Height() const { return static_cast<int>(std::lround(DeviceHeight() / m_scale)); }
