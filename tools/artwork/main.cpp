// artwork [--scale N] [--out DIR] [--preview FILE]
// Draws the editor's pictures at N times their size (1 by default, 1.5 and
// 2 for high-density screens) and writes them to DIR as <resource
// number>.png at 1x, <number>@<N>x.png otherwise ("3005@1.5x.png"), the
// names the editor loads; --preview writes the whole face composed as the
// editor shows it (whole N only).
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "tools/artwork/Picture.h"
#include "tools/artwork/Preview.h"

namespace {

int Usage()
{
    std::fprintf(stderr, "usage: artwork [--scale N] [--out DIR] [--preview FILE]\n"
                         "  writes <id>.png (<id>@<N>x.png when N is not 1) for every editor\n"
                         "  picture into DIR, and/or a composed preview of the editor face;\n"
                         "  N is 1 to 4 (default 1), whole for a preview\n");
    return 2;
}

std::string FileName(int id, double scale)
{
    if (scale == 1.0)
        return std::to_string(id) + ".png";
    char factor[32];
    std::snprintf(factor, sizeof factor, "%g", scale);
    return std::to_string(id) + "@" + factor + "x.png";
}

bool WriteAll(const std::string& folder, double scale)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        std::fprintf(stderr, "artwork: cannot create %s: %s\n", folder.c_str(), error.message().c_str());
        return false;
    }
    for (const artwork::Picture& picture : artwork::AllPictures()) {
        const std::string path = folder + "/" + FileName(picture.id, scale);
        cairo_surface_t* surface = artwork::RenderPicture(picture, scale);
        const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
        cairo_surface_destroy(surface);
        if (status != CAIRO_STATUS_SUCCESS) {
            std::fprintf(stderr, "artwork: cannot write %s: %s\n", path.c_str(), cairo_status_to_string(status));
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    double scale = 1.0;
    std::string folder, preview;
    for (int i = 1; i < argc; i++) {
        const bool hasValue = i + 1 < argc;
        if (!std::strcmp(argv[i], "--scale") && hasValue)
            scale = std::atof(argv[++i]);
        else if (!std::strcmp(argv[i], "--out") && hasValue)
            folder = argv[++i];
        else if (!std::strcmp(argv[i], "--preview") && hasValue)
            preview = argv[++i];
        else
            return Usage();
    }
    if (!(scale >= 1.0 && scale <= 4.0) || (folder.empty() && preview.empty()) ||
        (!preview.empty() && scale != static_cast<int>(scale)))
        return Usage();

    bool ok = true;
    if (!folder.empty())
        ok = WriteAll(folder, scale);
    if (ok && !preview.empty()) {
        ok = artwork::WritePreview(preview, static_cast<int>(scale));
        if (!ok)
            std::fprintf(stderr, "artwork: cannot write %s\n", preview.c_str());
    }
    // Drop cairo's and fontconfig's caches, so a leak checker sees a clean exit.
    cairo_debug_reset_static_data();
    FcFini();
    return ok ? 0 : 1;
}
