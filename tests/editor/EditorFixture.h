// An ATapDelay linked into the test with its editor open in a host window of
// the headless backend, and ways to look at what the editor shows.
#pragma once

#include <cairo.h>

#include <cmath>
#include <memory>
#include <string>

#include "editor/CDelayEditor.h"
#include "editor/CUIWindow.h"
#include "tests/support/EffectUnderTest.h"
#include "tests/support/TempFolder.h"
#include "tests/toolkit/TestEnvironment.h"

class EditorFixture {
public:
    // hostScale: the content scale a host gives before opening (0: none).
    explicit EditorFixture(float hostScale = 0.0f);
    ~EditorFixture();

    ATapDelay& effect() { return **m_effect; }
    EffectUnderTest& host() { return *m_effect; }
    CDelayEditor& editor() { return *m_editor; }
    CUIWindow& window() { return *m_editor->GetWindow(); }
    TestEnvironment& env() { return *m_env; }

    // Closes the editor and opens it again in the same host window.
    void Reopen() {
        m_editor->close();
        m_editor->open(reinterpret_cast<void*>(m_hostWindow));
    }
    // One host idle call (meters, recorded changes, painting).
    void Idle() { m_editor->idle(); }
    // The host window's pixels now; the caller destroys the surface.
    cairo_surface_t* Capture();
    // Screen point of a client point (logical) of the editor window.
    CPoint Screen(int x, int y) const {
        const double s = m_editor->GetScale();
        return CPoint(kLeft + int(std::lround(x * s)), kTop + int(std::lround(y * s)));
    }
    void Click(int x, int y);

    static constexpr int kLeft = 40, kTop = 30;

private:
    TempFolder m_preferences;
    std::unique_ptr<TestEnvironment> m_env;
    std::unique_ptr<EffectUnderTest> m_effect;
    CDelayEditor* m_editor = nullptr;
    NativeWindow m_hostWindow = 0;
    std::unique_ptr<NativeDisplay> m_viewer;
};

// Pixel of an RGB24 surface as 0xRRGGBB.
uint32_t PixelAt(cairo_surface_t* surface, int x, int y);
