#include "editor/CVMQBitmap.h"

#include <cstdint>

#include "toolkit/ResourceFolder.h"

BOOL CVMQBitmap::LoadResourceBitmap(LPCTSTR id, double scale) {
    const unsigned number = static_cast<unsigned>(reinterpret_cast<uintptr_t>(id) & 0xFFFF);
    return LoadBitmap(number, scale);
}

CString getResourcePath(int id) {
    CString path;
    path.Format("%sbmp%05d.png", AfxGetResourceFolder(), id);
    return path;
}
