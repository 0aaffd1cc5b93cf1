#include "toolkit/DesktopScale.h"

#include <cstdlib>
#include <cstring>

namespace {

// The value of "Xft.dpi:" at the start of a line, 0 when absent or not a number.
double XftDpi(const char* resources) {
    static const char kName[] = "Xft.dpi:";
    for (const char* line = resources; line && *line;) {
        if (std::strncmp(line, kName, sizeof kName - 1) == 0) {
            char* end = nullptr;
            const double dpi = std::strtod(line + sizeof kName - 1, &end);
            return end != line + sizeof kName - 1 && dpi > 0.0 ? dpi : 0.0;
        }
        line = std::strchr(line, '\n');
        if (line) ++line;
    }
    return 0.0;
}

}  // namespace

double DesktopScaleOf(const char* resources, const char* gdkScale) {
    const double dpi = XftDpi(resources);
    if (dpi >= 24.0 && dpi <= 960.0) return dpi / 96.0;
    if (gdkScale && *gdkScale) {
        const double scale = std::atof(gdkScale);
        if (scale >= 0.25 && scale <= 10.0) return scale;
    }
    return 0.0;
}
