// The editor as a VST 3 plug view inside the host's X window
// ("X11EmbedWindowID"), run by the host's IRunLoop: an event handler on the
// editor's X connection and a timer every EmbeddedEditor::kIdleIntervalMs.
// The size is fixed at each of the editor's scales (100, 150, 200 %), which
// the host's content scale or the user's Size menu picks; a size picked in
// the menu asks the host's frame to resize.
#pragma once

#include <memory>

#include "formats/shared/EmbeddedEditor.h"
#include "formats/vst3/Interfaces.h"

class TapDelayVst3;

class TapDelayView final : public vst3::IPlugView,
                           public vst3::IPlugViewContentScaleSupport,
                           public vst3::IEventHandler,
                           public vst3::ITimerHandler {
public:
    explicit TapDelayView(TapDelayVst3& plugin);
    TapDelayView(const TapDelayView&) = delete;
    TapDelayView& operator=(const TapDelayView&) = delete;

    vst3::tresult queryInterface(const vst3::TUID iid, void** object) override;
    uint32_t addRef() override { return references.Add(); }
    uint32_t release() override { return references.Release(this); }

    vst3::tresult isPlatformTypeSupported(vst3::FIDString type) override;
    vst3::tresult attached(void* parent, vst3::FIDString type) override;
    vst3::tresult removed() override;
    vst3::tresult onWheel(float) override { return vst3::kResultFalse; }
    // Keys reach the editor's entry field through the X keyboard focus it
    // takes while shown.
    vst3::tresult onKeyDown(vst3::char16, int16_t, int16_t) override { return vst3::kResultFalse; }
    vst3::tresult onKeyUp(vst3::char16, int16_t, int16_t) override { return vst3::kResultFalse; }
    vst3::tresult getSize(vst3::ViewRect* size) override;
    vst3::tresult onSize(vst3::ViewRect* newSize) override;
    vst3::tresult onFocus(vst3::TBool) override { return vst3::kResultOk; }
    vst3::tresult setFrame(vst3::IPlugFrame* frame) override;
    vst3::tresult canResize() override { return vst3::kResultFalse; }
    vst3::tresult checkSizeConstraint(vst3::ViewRect* rect) override;

    vst3::tresult setContentScaleFactor(float factor) override;

    void onFDIsSet(int) override { editor->Idle(); }
    void onTimer() override { editor->Idle(); }

    // The editor's Size menu chose a new size: true when the frame took it.
    bool AskFrameForSize(int width, int height);

private:
    friend class vst3::ReferenceCount;
    ~TapDelayView();
    vst3::ViewRect EditorRect();

    vst3::ReferenceCount references;
    TapDelayVst3& plugin;
    // Closed and gone before the plug-in (and its editor) may go.
    std::unique_ptr<EmbeddedEditor> editor;
    vst3::IPlugFrame* frame = nullptr;
    vst3::IRunLoop* runLoop = nullptr;
    bool open = false;
};
