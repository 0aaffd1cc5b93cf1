#include "formats/vst3/TapDelayView.h"

#include <cstring>

#include "formats/vst3/TapDelayVst3.h"

using namespace vst3;

TapDelayView::TapDelayView(TapDelayVst3& plugin) : plugin(plugin), editor(new EmbeddedEditor(*plugin.Host())) {
    plugin.addRef();
}

TapDelayView::~TapDelayView() {
    removed();
    setFrame(nullptr);
    editor.reset();
    plugin.release();
}

tresult TapDelayView::queryInterface(const TUID iid, void** object) {
    return QueryInterfaces<IPlugView, IPlugViewContentScaleSupport, IEventHandler, ITimerHandler>(this, iid, object);
}

tresult TapDelayView::isPlatformTypeSupported(FIDString type) {
    return type && std::strcmp(type, kPlatformTypeX11EmbedWindowID) == 0 ? kResultTrue : kResultFalse;
}

// Without the host's run loop nothing would idle the editor (it has no
// thread of its own), so a frame without one gets no editor.
tresult TapDelayView::attached(void* parent, FIDString type) {
    if (open) return kResultFalse;
    if (!parent || isPlatformTypeSupported(type) != kResultTrue) return kInvalidArgument;
    if (!runLoop || !plugin.AttachView(this)) return kResultFalse;
    const ViewRect before = EditorRect();
    if (!editor->Open(reinterpret_cast<uintptr_t>(parent))) {
        plugin.DetachView(this);
        return kResultFalse;
    }
    open = true;
    const int fd = editor->EventFd();
    if (fd >= 0) runLoop->registerEventHandler(this, fd);
    runLoop->registerTimer(this, EmbeddedEditor::kIdleIntervalMs);
    // Opening reads the user's saved size and the desktop's scale again.
    ViewRect after = EditorRect();
    if (frame && (after.right != before.right || after.bottom != before.bottom)) frame->resizeView(this, &after);
    return kResultOk;
}

tresult TapDelayView::removed() {
    if (!open) return kResultFalse;
    runLoop->unregisterEventHandler(this);
    runLoop->unregisterTimer(this);
    editor->Close();
    plugin.DetachView(this);
    open = false;
    return kResultOk;
}

ViewRect TapDelayView::EditorRect() {
    int width = 0, height = 0;
    editor->GetSize(&width, &height);
    return {0, 0, width, height};
}

tresult TapDelayView::getSize(ViewRect* size) {
    if (!size) return kInvalidArgument;
    *size = EditorRect();
    return kResultOk;
}

// The editor has a fixed size at each scale: only that size is right.
tresult TapDelayView::onSize(ViewRect* newSize) {
    if (!newSize) return kInvalidArgument;
    const ViewRect rect = EditorRect();
    const bool same = newSize->right - newSize->left == rect.right && newSize->bottom - newSize->top == rect.bottom;
    return same ? kResultTrue : kResultFalse;
}

tresult TapDelayView::checkSizeConstraint(ViewRect* rect) {
    if (!rect) return kInvalidArgument;
    const ViewRect size = EditorRect();
    rect->right = rect->left + size.right;
    rect->bottom = rect->top + size.bottom;
    return kResultTrue;
}

tresult TapDelayView::setFrame(IPlugFrame* newFrame) {
    if (open && newFrame != frame) removed();
    if (newFrame) newFrame->addRef();
    if (runLoop) runLoop->release();
    if (frame) frame->release();
    frame = newFrame;
    runLoop = nullptr;
    if (frame && frame->queryInterface(AsTuid(IRunLoop::iid), (void**)&runLoop) != kResultOk) runLoop = nullptr;
    return kResultOk;
}

// The host's scale picks the nearest of the editor's sizes; an open editor
// asks the frame for its new size.
tresult TapDelayView::setContentScaleFactor(float factor) {
    const ViewRect before = EditorRect();
    if (!editor->SetScale(factor)) return kResultFalse;
    ViewRect after = EditorRect();
    if (open && frame && (after.right != before.right || after.bottom != before.bottom))
        frame->resizeView(this, &after);
    return kResultOk;
}

bool TapDelayView::AskFrameForSize(int width, int height) {
    if (!frame) return false;
    ViewRect rect{0, 0, width, height};
    return frame->resizeView(this, &rect) == kResultTrue;
}
