// A plug-in's editor shown in a window of its own while audio plays through
// the plug-in on a thread of its own, as in a host: `vsthost edit`, and the
// editor picture of `vsthost demo`.
#pragma once

#include "tools/vsthost/AudioBuffer.h"

#include <string>

typedef struct _XDisplay Display;

namespace vsthost {

class PluginHost;

struct EditorSessionOptions {
    const AudioBuffer* audio = nullptr;  // played in a loop; null plays silence
    std::string screenshot;              // PNG written after `after` seconds, then the session ends
    double after = 1.0;
    double idleRate = 30.0;              // effEditIdle calls per second
    float scale = 0.0f;                  // sent as the host's content scale ('PreS') unless 0
};

// Opens the editor of a started plug-in (opened, resumed) in a new window on
// display, idles it on this thread while the audio thread processes, until
// the window is closed or the screenshot is written; then closes the editor
// and stops the audio. The window follows the editor's audioMasterSizeWindow
// requests. Throws HostError when the plug-in has no editor or the
// editor cannot be shown.
void runEditorSession(PluginHost& host, Display* display, const EditorSessionOptions& options);

}  // namespace vsthost
