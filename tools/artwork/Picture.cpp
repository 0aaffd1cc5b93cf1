#include "tools/artwork/Picture.h"

#include "tools/artwork/Metrics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace artwork {

const std::vector<Picture>& AllPictures()
{
    using namespace metrics;
    static const std::vector<Picture> pictures = {
        {3005, kBackgroundWidth, kBackgroundHeight, DrawBackground},
        {3004, kKnobSize, kKnobSize * kKnobFrames, DrawKnobStrip},
        {3006, kHorizontalTrackWidth, kHorizontalTrackHeight, DrawHorizontalTrack},
        {3015, kHorizontalHandleWidth, kHorizontalHandleHeight, DrawHorizontalHandle},
        {3016, kVerticalTrackWidth, kVerticalTrackHeight, DrawVerticalTrack},
        {3007, kVerticalHandleWidth, kVerticalHandleHeight, DrawVerticalHandle},
        {3008, 2 * kMeterWidth, kMeterHeight, DrawMeter},
        {3002, kPowerWidth, 2 * kPowerHeight, DrawPowerOff},
        {3003, kPowerWidth, 2 * kPowerHeight, DrawPowerOn},
        {3010, kTapSwitchWidth, 2 * kTapSwitchHeight, DrawTapSwitchOff},
        {3009, kTapSwitchWidth, 2 * kTapSwitchHeight, DrawTapSwitchOn},
        {3018, kTapSwitchWidth, 2 * kTapSwitchHeight, DrawFilterSwitchOff},
        {3017, kTapSwitchWidth, 2 * kTapSwitchHeight, DrawFilterSwitchOn},
        {3020, kSmallSwitchWidth, 2 * kSmallSwitchHeight, DrawSmallSwitchOff},
        {3019, kSmallSwitchWidth, 2 * kSmallSwitchHeight, DrawSmallSwitchOn},
        {3012, kCopyWidth, 2 * kCopyHeight, DrawCopyButtonOff},
        {3011, kCopyWidth, 2 * kCopyHeight, DrawCopyButtonOn},
        {5016, kSaveWidth, kSaveHeight, DrawSaveButton},
        {5017, kModifiedWidth, 2 * kModifiedHeight, DrawModifiedLamp},
        {3001, kLogoWidth, kLogoHeight, DrawLogo},
    };
    return pictures;
}

const Picture* FindPicture(int id)
{
    for (const Picture& picture : AllPictures())
        if (picture.id == id)
            return &picture;
    return nullptr;
}

cairo_surface_t* RenderPicture(const Picture& picture, double scale)
{
    const int width = static_cast<int>(std::lround(picture.width * scale));
    const int height = static_cast<int>(std::lround(picture.height * scale));
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
    cairo_t* cr = cairo_create(surface);
    cairo_scale(cr, double(width) / picture.width, double(height) / picture.height);
    picture.draw(cr);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    // At 1.5x a seam between two parts can fall inside a pixel, which each
    // part then covers only partly: the editor copies pixels without
    // blending, so such pixels take their colour at full opacity.
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < height; y++) {
        auto* row = reinterpret_cast<uint32_t*>(data + static_cast<size_t>(y) * stride);
        for (int x = 0; x < width; x++) {
            const uint32_t alpha = row[x] >> 24;
            if (alpha == 0 || alpha == 255) continue;
            uint32_t pixel = 0xFF000000u;
            for (int shift = 0; shift < 24; shift += 8)
                pixel |= std::min<uint32_t>(255, ((row[x] >> shift) & 0xFF) * 255 / alpha) << shift;
            row[x] = pixel;
        }
    }
    cairo_surface_mark_dirty(surface);
    return surface;
}

}  // namespace artwork
