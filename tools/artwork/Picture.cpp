#include "tools/artwork/Picture.h"

#include "tools/artwork/Metrics.h"

#include <cmath>

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
    return surface;
}

}  // namespace artwork
