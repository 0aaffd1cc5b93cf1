// The toolkit's X11 backend. Nothing of Xlib shows through this header: the
// toolkit holds the connection only as a NativeDisplay.
#pragma once

#include <memory>

#include "toolkit/NativeDisplay.h"

// Opens a new connection to the X server named by $DISPLAY; null when there
// is no server to reach. Each call is a connection of its own.
std::unique_ptr<NativeDisplay> OpenX11Display();
