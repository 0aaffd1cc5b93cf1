// Drawing objects: bitmaps (cairo image surfaces decoded from PNG resources)
// and fonts (fontconfig faces drawn through cairo).
#pragma once

#include <string>

#include "toolkit/CObject.h"
#include "toolkit/WinDefs.h"

typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo_font_face cairo_font_face_t;
class CDC;

class CGdiObject : public CObject {
    DECLARE_DYNAMIC(CGdiObject)
public:
    CGdiObject() = default;
    ~CGdiObject() override;
    CGdiObject(const CGdiObject&) = delete;
    CGdiObject& operator=(const CGdiObject&) = delete;

    // The platform handle: the cairo surface of a bitmap, the cairo font face
    // of a font. Null while empty.
    void* GetSafeHandle() const { return m_handle; }
    BOOL DeleteObject();

protected:
    // Takes ownership of handle (releasing what was held before).
    void Attach(void* handle);
    virtual void ReleaseHandle(void* handle) = 0;
    void* m_handle = nullptr;
};

class CBitmap : public CGdiObject {
    DECLARE_DYNCREATE(CBitmap)
public:
    CBitmap() = default;
    ~CBitmap() override;

    // Decodes "<id>.png" (id in decimal, no leading zeros) from the resource
    // folder (AfxGetResourceFolder). False, and empty, when it is missing or
    // not a PNG.
    BOOL LoadBitmap(UINT id);
    // The picture drawn for scale: "<id>@2x.png", "<id>@1.5x.png" (see
    // ScaledResourceName), else "<id>.png" at scale 1.
    BOOL LoadBitmap(UINT id, double scale);
    BOOL LoadBitmap(LPCTSTR resourceName);  // MAKEINTRESOURCE(id) or a name
    BOOL LoadFromFile(const char* path);
    // A new blank (black) RGB24 bitmap of width x height logical pixels at
    // scale (non-positive: empty).
    BOOL CreateBitmap(int width, int height, double scale = 1.0);
    // Takes ownership of a cairo image surface (RGB24 or ARGB32).
    void AttachSurface(cairo_surface_t* surface);

    cairo_surface_t* GetSurface() const { return static_cast<cairo_surface_t*>(m_handle); }
    // Device pixels per logical pixel of the image (1 unless loaded or made
    // for another scale).
    double GetScale() const { return m_scale; }
    void SetScale(double scale) { m_scale = scale > 0.0 ? scale : 1.0; }
    // Size in logical pixels; 0 x 0 when empty. Rows are DeviceWidth() x 4 bytes.
    int Width() const;
    int Height() const;
    int DeviceWidth() const;
    int DeviceHeight() const;
    CSize GetBitmapDimension() const { return CSize(Width(), Height()); }

protected:
    void ReleaseHandle(void* handle) override;

private:
    double m_scale = 1.0;
};

// "3005.png" at scale 1, "3005@1.5x.png", "3005@2x.png".
std::string ScaledResourceName(UINT id, double scale);

class CFont : public CGdiObject {
    DECLARE_DYNCREATE(CFont)
public:
    CFont() = default;
    ~CFont() override;

    // face at pointSize points, one point a pixel. fontconfig picks the face,
    // or a clean sans when it is not installed; always returns TRUE.
    BOOL CreatePointFont(int pointSize, LPCTSTR faceName, CDC* dc = nullptr);

    cairo_font_face_t* GetFace() const { return static_cast<cairo_font_face_t*>(m_handle); }
    int GetPointSize() const { return m_pointSize; }
    // Line height: the face's bounding-box height / units per em x size;
    // ascent: the face's ascent / units per em x size - 2; both truncated.
    int GetLineHeight() const { return m_lineHeight; }
    int GetAscent() const { return m_ascent; }
    const std::string& GetFaceName() const { return m_faceName; }      // as asked
    const std::string& GetFamilyUsed() const { return m_familyUsed; }  // as found

protected:
    void ReleaseHandle(void* handle) override;

private:
    int m_pointSize = 0;
    int m_lineHeight = 0;
    int m_ascent = 0;
    std::string m_faceName;
    std::string m_familyUsed;
};
