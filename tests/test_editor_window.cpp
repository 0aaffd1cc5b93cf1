// The editor window as a whole, through the real CUIWindow on the headless
// backend: what it shows, how it follows the host, how its meters move.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "editor/EditorScale.h"
#include "tests/editor/EditorFixture.h"
#include "toolkit/DesktopScale.h"
#include "toolkit/headless/HeadlessDisplay.h"

namespace {

// Runs one block of constant input through the effect.
void ProcessConstant(ATapDelay& effect, float level, int frames = 512) {
    std::vector<float> inL(frames, level), inR(frames, level), outL(frames), outR(frames);
    float* in[2] = {inL.data(), inR.data()};
    float* out[2] = {outL.data(), outR.data()};
    effect.processReplacing(in, out, frames);
}

}  // namespace

// Meters: -38 dB lights nothing above row 133, 0 dB lights from row 19,
// +6 dB from row 1 (rows of the meter picture, drawn at y 50).
TEST(EditorWindow, MetersLightFromTheRowOfTheirReading) {
    EditorFixture fixture;
    fixture.effect().setSampleRate(44100.0f);
    fixture.effect().setBlockSize(512);
    CVMQBitmap meter;
    ASSERT_TRUE(meter.LoadResourceBitmap(MAKEINTRESOURCE(3008)));
    const int half = meter.Width() / 2;
    struct Case {
        float level;
        int firstLitRow;
    };
    const Case cases[] = {{1.0f, 19}, {2.0f, 1}, {0.0f, 133}};
    for (const Case& c : cases) {
        ProcessConstant(fixture.effect(), c.level);
        cairo_surface_t* shown = fixture.Capture();
        // Input left meter at (32, 50): each row matches the lit or the unlit half.
        for (int row = 0; row < static_cast<int>(meter.Height()); row++) {
            bool lit = row >= c.firstLitRow;
            for (int x = 0; x < half; x++) {
                uint32_t expected = PixelAt(meter.GetSurface(), lit ? half + x : x, row);
                ASSERT_EQ(expected, PixelAt(shown, 32 + x, 50 + row))
                    << "level " << c.level << " row " << row << " x " << x;
            }
        }
        cairo_surface_destroy(shown);
        // Without new audio the reading falls 0.25 dB per idle call.
        float reading = fixture.window().GetMeterReading(0);
        fixture.Idle();
        EXPECT_FLOAT_EQ(std::max(-38.0f, reading - 0.25f), fixture.window().GetMeterReading(0));
    }
}

// --- sizes ---------------------------------------------------------------------------

// The size comes from the first source that says something: the host, the
// user's choice, the desktop; as the nearest of 100, 150 and 200 %.
TEST(EditorScale, TheFirstSourceThatSaysSomethingGivesTheNearestSize) {
    const struct {
        float host, user, desktop, size;
    } cases[] = {
        {0, 0, 0, 1},      {0, 0, 2, 2},        {0, 1.5f, 2, 1.5f},  {2, 1, 1.5f, 2},
        {1, 2, 2, 1},      {0, 0, 1.24f, 1},    {0, 0, 1.26f, 1.5f}, {0, 0, 1.76f, 2},
        {0, 0, 3, 2},      {0, 0, 0.5f, 1},     {-1, 0, 2, 2},       {NAN, 0, 1.5f, 1.5f},
    };
    for (const auto& c : cases) {
        EditorScaleSources sources;
        sources.host = c.host;
        sources.user = c.user;
        sources.desktop = c.desktop;
        EXPECT_EQ(sources.Choose(), c.size) << c.host << " " << c.user << " " << c.desktop;
    }
}

// Xft.dpi from the resource database first (96 dpi is 1), else GDK_SCALE.
TEST(EditorScale, TheDesktopSaysItWithXftDpiElseGdkScale) {
    const struct {
        const char* resources;
        const char* gdkScale;
        double scale;
    } cases[] = {
        {"Xft.dpi:\t96\n", nullptr, 1.0},
        {"Xft.antialias:\t1\nXft.dpi:\t192\nXft.hinting:\t1\n", "1", 2.0},
        {"Xft.dpi: 144", nullptr, 1.5},
        {"Xft.antialias:\t1\n", "2", 2.0},
        {"Xft.dpi:\tbig\n", "1.5", 1.5},
        {"xXft.dpi:\t192\n", nullptr, 0.0},
        {"", "", 0.0},
        {nullptr, nullptr, 0.0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DesktopScaleOf(c.resources, c.gdkScale), c.scale) << (c.resources ? c.resources : "null");
}

// Through the editor: the desktop's 144 dpi, then the host's word above the
// user's choice (the choice's saving and resize request are checked on X11).
TEST(EditorScale, TheEditorTakesTheHostThenTheUserThenTheDesktop) {
    headless::SetResourceDatabase("Xft.dpi:\t144\n");
    {
        EditorFixture fixture;
        auto size = [&] {
            ERect* rect = nullptr;
            fixture.editor().getRect(&rect);
            return CSize(rect->right - rect->left, rect->bottom - rect->top);
        };
        EXPECT_EQ(size(), CSize(1200, 540));
        fixture.editor().ChooseScale(1.0f);
        EXPECT_TRUE(fixture.editor().SetScale(2.0f));
        EXPECT_FALSE(fixture.editor().SetScale(0.0f));
        fixture.Reopen();
        EXPECT_EQ(size(), CSize(1600, 720)) << "the host's word wins";
        fixture.editor().ChooseScale(0.0f);
    }
    headless::SetResourceDatabase("");
}

// At each size the window is the layout times the scale, pictures are those
// drawn for the scale and copied pixel for pixel, text is drawn at the
// device size (at 2x its pixels do not come in 2 x 2 blocks), and a click
// at a layout point opens the field at the layout's place (the X11 test
// clicks the other kinds of control at each size).
TEST(EditorScale, EachSizeDrawsItsOwnPicturesAndTakesLogicalPoints) {
    for (float scale : {1.0f, 1.5f, 2.0f}) {
        SCOPED_TRACE(scale);
        EditorFixture fixture(scale);
        const auto device = [scale](int logical) { return int(std::lround(logical * scale)); };
        fixture.effect().setParameter(9, 0.0f);  // gain knob of tap 0 on its first frame
        cairo_surface_t* shown = fixture.Capture();
        ASSERT_EQ(cairo_image_surface_get_width(shown), device(800));
        ASSERT_EQ(cairo_image_surface_get_height(shown), device(360));

        CVMQBitmap background, knob;
        ASSERT_TRUE(background.LoadResourceBitmap(MAKEINTRESOURCE(3005), scale));
        ASSERT_TRUE(knob.LoadResourceBitmap(MAKEINTRESOURCE(3004), scale));
        // Plain background: the title strip, the tap labels' column, a corner.
        for (const CRect& area : {CRect(330, 8, 560, 30), CRect(60, 110, 70, 300), CRect(790, 350, 800, 360)})
            for (int y = device(area.top); y < device(area.bottom); y++)
                for (int x = device(area.left); x < device(area.right); x++)
                    ASSERT_EQ(PixelAt(shown, x, y), PixelAt(background.GetSurface(), x, y)) << x << "," << y;
        // The knob's first frame at the knob's place (291, 71).
        for (int y = 0; y < device(34); y++)
            for (int x = 0; x < device(34); x++)
                ASSERT_EQ(PixelAt(shown, device(291) + x, device(71) + y), PixelAt(knob.GetSurface(), x, y))
                    << x << "," << y;
        if (scale == 2.0f) {
            int blocksWithDetail = 0;
            for (int y = device(80); y < device(96); y += 2)
                for (int x = device(242); x < device(290); x += 2) {
                    const uint32_t p = PixelAt(shown, x, y);
                    blocksWithDetail += PixelAt(shown, x + 1, y) != p || PixelAt(shown, x, y + 1) != p ||
                                        PixelAt(shown, x + 1, y + 1) != p;
                }
            EXPECT_GT(blocksWithDetail, 30) << "the value text looks upscaled";
        }
        cairo_surface_destroy(shown);

        fixture.Click(266, 88);  // the gain text of tap 0 opens the entry field over it
        EXPECT_EQ(fixture.window().GetEntryTarget(), 230);
        RECT field;
        fixture.window().GetEntryWindow().GetWindowRect(&field);
        CPoint origin(0, 0);
        fixture.window().ClientToScreen(&origin);
        EXPECT_EQ(field.left - origin.x, 243);
        EXPECT_EQ(field.top - origin.y, 80);
    }
}

// The tempo-sync switch shows the effect's state after every change from
// outside the editor (programs that turn it on or off, the host) exactly as
// an editor opened on that state shows it.
TEST(EditorWindow, TheTempoSyncSwitchShowsTheEffectsState) {
    EditorFixture fixture;
    const CRect tempoSync(149, 336, 163, 348);
    auto switchPixels = [&] {
        cairo_surface_t* shown = fixture.Capture();
        std::vector<uint32_t> pixels;
        for (int y = tempoSync.top; y < tempoSync.bottom; y++)
            for (int x = tempoSync.left; x < tempoSync.right; x++) pixels.push_back(PixelAt(shown, x, y));
        cairo_surface_destroy(shown);
        return pixels;
    };
    struct Step {
        const char* what;
        int program;  // -1: the host sets TempoSync instead
        float tempoSync;
    };
    const Step steps[] = {{"host: off", -1, 0.0f},
                          {"program 5, \"8th Note Echo\": on", 5, 1.0f},
                          {"program 1, \"Slapback\": off", 1, 0.0f},
                          {"host: on", -1, 1.0f}};
    std::vector<uint32_t> shownFor[2];
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        if (s.program >= 0)
            fixture.effect().setProgram(s.program);
        else
            fixture.effect().setParameter(60, s.tempoSync);
        ASSERT_EQ(fixture.effect().getParameter(60), s.tempoSync);
        const std::vector<uint32_t> followed = switchPixels();
        fixture.Reopen();
        EXPECT_EQ(followed, switchPixels()) << "differs from a freshly opened editor";
        shownFor[s.tempoSync == 1.0f] = followed;
    }
    EXPECT_NE(shownFor[0], shownFor[1]) << "on and off look different";
}
