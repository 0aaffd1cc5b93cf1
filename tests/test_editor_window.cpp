// The editor window as a whole, through the real CUIWindow on the headless
// backend: what it shows, how it follows the host, how its meters move.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/editor/EditorFixture.h"

namespace {

// Runs one block of constant input through the effect.
void ProcessConstant(ATapDelay& effect, float level, int frames = 512) {
    std::vector<float> inL(frames, level), inR(frames, level), outL(frames), outR(frames);
    float* in[2] = {inL.data(), inR.data()};
    float* out[2] = {outL.data(), outR.data()};
    effect.processReplacing(in, out, frames);
}

}  // namespace

TEST(EditorWindow, RendersTheDefaultProgramAndAFactoryPreset) {
    EditorFixture fixture;
    fixture.WritePng("editor-program-0.png");
    cairo_surface_t* first = fixture.Capture();
    EXPECT_EQ(800, cairo_image_surface_get_width(first));
    EXPECT_EQ(360, cairo_image_surface_get_height(first));

    fixture.effect().setProgram(8);
    fixture.WritePng("editor-program-8.png");
    cairo_surface_t* second = fixture.Capture();
    CRect changed = DifferenceBounds(first, second);
    EXPECT_FALSE(changed.IsRectEmpty()) << "a different program shows different values";
    cairo_surface_destroy(first);
    cairo_surface_destroy(second);
}

// A host change after the first paint redraws that control and its value
// text, and nothing far from them (the modified indicator aside).
TEST(EditorWindow, HostAutomationRedrawsOnlyThatControl) {
    EditorFixture fixture;
    struct Case {
        int parameter;
        CRect allowed;  // the control and its text
    };
    const Case cases[] = {
        {9 + 2, CRect(242, 71 + 78, 325, 105 + 78)},   // gain knob and text, tap 2
        {3 + 4, CRect(88, 80 + 156, 236, 96 + 156)},   // delay time slider and text, tap 4
        {58, CRect(340, 333, 488, 349)},               // feedback slider and text
        {51 + 0, CRect(419, 80, 429, 96)},             // filter switch, tap 0
        {33 + 5, CRect(433, 80 + 195, 469, 96 + 195)}, // filter type text, tap 5
    };
    const CRect indicator(216, 10, 259, 26);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.parameter);
        cairo_surface_t* before = fixture.Capture();
        const float value = fixture.effect().getParameter(c.parameter);
        fixture.effect().setParameter(c.parameter, value > 0.5f ? 0.0f : 1.0f);
        cairo_surface_t* after = fixture.Capture();
        const CRect changed = DifferenceBounds(before, after, indicator);
        EXPECT_FALSE(changed.IsRectEmpty());
        EXPECT_TRUE(changed.left >= c.allowed.left && changed.top >= c.allowed.top &&
                    changed.right <= c.allowed.right && changed.bottom <= c.allowed.bottom)
            << "changed (" << changed.left << "," << changed.top << "," << changed.right << ","
            << changed.bottom << ")";
        cairo_surface_destroy(before);
        cairo_surface_destroy(after);
    }
}

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
