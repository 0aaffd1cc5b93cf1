// A picture of the plug-in's resources, named by number ("3005.png", and
// "3005@1.5x.png", "3005@2x.png" drawn for larger editors). Controls draw
// from these but never own them: the editor window does. Sizes are logical
// pixels at every scale.
#pragma once

#include "toolkit/CString.h"
#include "toolkit/Gdi.h"

class CVMQBitmap : public CBitmap {
public:
    // id as MAKEINTRESOURCE(number): the low 16 bits count. False (and
    // empty, drawing nothing) when the picture is missing.
    BOOL LoadResourceBitmap(LPCTSTR id, double scale = 1.0);
    unsigned Width() const { return static_cast<unsigned>(CBitmap::Width()); }
    unsigned Height() const { return static_cast<unsigned>(CBitmap::Height()); }
};

// The path of resource "bmp%05d.png" (bmp03001.png for 3001) in the resource
// folder; kept for pictures named that way, unused by the editor.
CString getResourcePath(int id);
