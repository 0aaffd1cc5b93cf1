#include "tools/artwork/Preview.h"

#include <cairo-ft.h>

#include <cmath>
#include <map>

#include "tools/artwork/Layout.h"
#include "tools/artwork/Metrics.h"
#include "tools/artwork/Picture.h"

namespace artwork {
namespace {

using namespace layout;
using namespace metrics;

constexpr double kValueTextSize = 9.0;

class Composer {
public:
    explicit Composer(int scale) : m_scale(scale)
    {
        for (const Picture& picture : AllPictures())
            m_pictures[picture.id] = RenderPicture(picture, scale);
        m_face = RenderPicture(*FindPicture(3005), scale);
        m_cr = cairo_create(m_face);
    }
    ~Composer()
    {
        cairo_destroy(m_cr);
        cairo_surface_destroy(m_face);
        for (auto& [id, surface] : m_pictures)
            cairo_surface_destroy(surface);
    }
    Composer(const Composer&) = delete;
    Composer& operator=(const Composer&) = delete;

    // Copies w x h from (sx, sy) of picture id to (x, y), all in 1x units.
    void Copy(int id, int sx, int sy, int w, int h, int x, int y)
    {
        const int s = m_scale;
        cairo_save(m_cr);
        cairo_set_operator(m_cr, CAIRO_OPERATOR_SOURCE);
        cairo_rectangle(m_cr, x * s, y * s, w * s, h * s);
        cairo_clip(m_cr);
        cairo_set_source_surface(m_cr, m_pictures.at(id), (x - sx) * s, (y - sy) * s);
        cairo_paint(m_cr);
        cairo_restore(m_cr);
    }

    // Value text the way the editor draws it: 9-point DejaVu Sans in black,
    // centred by integer arithmetic with the +3 offset, clipped to the box.
    // The toolkit's line height is the face's bounding-box height and its
    // ascent the face's ascent less 2, both truncated.
    void ValueText(const Box& box, const char* text)
    {
        cairo_save(m_cr);
        cairo_scale(m_cr, m_scale, m_scale);
        cairo_rectangle(m_cr, box.left, box.top, box.Width(), box.Height());
        cairo_clip(m_cr);
        cairo_select_font_face(m_cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(m_cr, kValueTextSize);
        int lineHeight = 0, ascent = 0;
        if (FT_Face face = cairo_ft_scaled_font_lock_face(cairo_get_scaled_font(m_cr))) {
            const double perUnit = kValueTextSize / face->units_per_EM;
            lineHeight = static_cast<int>((face->bbox.yMax - face->bbox.yMin) * perUnit);
            ascent = static_cast<int>(face->ascender * perUnit - 2);
            cairo_ft_scaled_font_unlock_face(cairo_get_scaled_font(m_cr));
        }
        cairo_text_extents_t extents;
        cairo_text_extents(m_cr, text, &extents);
        const int width = static_cast<int>(std::lround(extents.x_advance));
        const int x = box.left + (box.Width() - width) / 2;
        const int y = box.top + (box.Height() - lineHeight) / 2 + 3;
        cairo_set_source_rgb(m_cr, 0, 0, 0);
        cairo_move_to(m_cr, x, y + ascent);
        cairo_show_text(m_cr, text);
        cairo_restore(m_cr);
    }

    bool Write(const std::string& path)
    {
        cairo_surface_flush(m_face);
        return cairo_surface_write_to_png(m_face, path.c_str()) == CAIRO_STATUS_SUCCESS;
    }

private:
    int m_scale;
    std::map<int, cairo_surface_t*> m_pictures;
    cairo_surface_t* m_face;
    cairo_t* m_cr;
};

void HorizontalSlider(Composer& face, const Box& box, double value)
{
    const int a = kHorizontalHandleWidth / 2, b = kHorizontalTrackWidth - kHorizontalHandleWidth / 2;
    const int x = static_cast<int>(a + value * (b - a) - 0.5 * kHorizontalHandleWidth);
    face.Copy(3006, 0, 0, kHorizontalTrackWidth, kHorizontalTrackHeight, box.left, box.top);
    face.Copy(3015, 0, 0, kHorizontalHandleWidth, kHorizontalHandleHeight, box.left + x, box.top + 1);
}

void LevelSlider(Composer& face, const Box& box, double value)
{
    const int a = kVerticalTrackHeight - kVerticalHandleHeight / 2, b = kVerticalHandleHeight / 2;
    const int y = static_cast<int>(a + (b - a) * std::log10(value * 9 + 1) + 0.5) - kVerticalHandleHeight / 2;
    face.Copy(3016, 0, 0, kVerticalTrackWidth, kVerticalTrackHeight, box.left, box.top);
    face.Copy(3007, 0, 0, kVerticalHandleWidth, kVerticalHandleHeight, box.left + 1, box.top + y);
}

void Switch(Composer& face, int offId, int onId, bool on, const Box& box)
{
    face.Copy(on ? onId : offId, 0, 0, box.Width(), box.Height(), box.left, box.top);
}

void Meter(Composer& face, int left, double dB)
{
    const int lit = static_cast<int>(std::fmax(-38.0, std::fmin(6.0, dB)) * -3 + 19);
    face.Copy(3008, 0, 0, kMeterWidth, kMeterHeight, left, kMeterTop);
    face.Copy(3008, kMeterWidth, lit, kMeterWidth, kMeterHeight - lit, left, kMeterTop + lit);
}

}  // namespace

bool WritePreview(const std::string& path, int scale)
{
    Composer face(scale);
    const int middleKnobFrame = kKnobFrames / 2;
    for (int tap = 0; tap < kTaps; tap++) {
        const bool on = tap == 0;
        Switch(face, 3010, 3009, on, InRow(kDelaySwitch, tap));
        Switch(face, 3018, 3017, on, InRow(kFilterSwitch, tap));
        HorizontalSlider(face, InRow(kTimeSlider, tap), 0.25 * tap / 2);
        for (Span knob : kRowKnobs)
            face.Copy(3004, 0, middleKnobFrame * kKnobSize, kKnobSize, kKnobSize, knob.left, KnobTop(tap));
        const char* samples[] = {"250.0", "-6.0", "50.0", "PK", "1000.0", "1.0", "0.0"};
        for (int column = 0; column < 7; column++)
            face.ValueText(InRow(kRowTexts[column], tap), samples[column]);
    }
    HorizontalSlider(face, kFeedbackSlider, 0.35);
    HorizontalSlider(face, kMixSlider, 0.5);
    LevelSlider(face, kInputSlider, 1.0);
    LevelSlider(face, kOutputSlider, 0.5);
    Switch(face, 3002, 3003, true, kPowerSwitch);
    Switch(face, 3012, 3011, false, kCopyButton);
    Switch(face, 3020, 3019, true, kFeedbackSwitch);
    Switch(face, 3020, 3019, false, kSyncSwitch);
    face.Copy(5016, 0, 0, kSaveWidth, kSaveHeight, kSaveButton.left, kSaveButton.top);
    face.Copy(5017, 0, kModifiedHeight, kModifiedWidth, kModifiedHeight, kModifiedLamp.left, kModifiedLamp.top);
    const double levels[] = {-6.0, -9.0, -2.5, 2.0};
    for (int meter = 0; meter < 4; meter++)
        Meter(face, kMeterLefts[meter], levels[meter]);
    face.ValueText(kInputText, "0.0");
    face.ValueText(kOutputText, "-0.5");
    face.ValueText(kNoteText, "Quarter");
    face.ValueText(kFeedbackText, "35.0");
    face.ValueText(kMixText, "50.0");
    return face.Write(path);
}

}  // namespace artwork
