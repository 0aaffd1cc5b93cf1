#include "tests/editor/EditorFixture.h"

#include <cstdlib>
#include <cstring>

#include "toolkit/ResourceFolder.h"

EditorFixture::EditorFixture(float hostScale) {
    setenv("XDG_CONFIG_HOME", m_preferences.path().c_str(), 1);
    AfxSetResourceFolder(TAPDELAY_PLUGIN_DIR);
    m_env = MakeHeadlessEnvironment();
    m_env->Install();
    m_effect.reset(new EffectUnderTest(TAPDELAY_PLUGIN_DIR));
    m_editor = static_cast<CDelayEditor*>(effect().getEditor());
    // The fixture's recording view stands in for the editor by default.
    effect().SetEditorView(m_editor);
    if (hostScale) m_editor->SetScale(hostScale);
    ERect* rect = nullptr;
    m_editor->getRect(&rect);
    m_hostWindow = m_env->CreateHostWindow(CRect(kLeft, kTop, kLeft + rect->right, kTop + rect->bottom));
    m_editor->open(reinterpret_cast<void*>(m_hostWindow));
    m_viewer = AfxOpenNativeDisplay();
    Idle();
}

EditorFixture::~EditorFixture() {
    m_editor->close();
    m_effect.reset();
    m_env->DestroyHostWindow(m_hostWindow);
    AfxSetResourceFolder(nullptr);
}

cairo_surface_t* EditorFixture::Capture() {
    Idle();
    return m_viewer->CaptureWindow(m_hostWindow);
}

void EditorFixture::Click(int x, int y) {
    CPoint p = Screen(x, y);
    m_env->Click(p.x, p.y);
    Idle();
}

uint32_t PixelAt(cairo_surface_t* surface, int x, int y) {
    cairo_surface_flush(surface);
    const unsigned char* row = cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
    uint32_t pixel;
    std::memcpy(&pixel, row + 4 * x, 4);
    return pixel & 0xFFFFFF;
}
