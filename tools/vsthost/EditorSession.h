// A plug-in's editor shown in a window of its own, as in a host: the open
// editor (EditorSession), and `vsthost edit`'s run of it with audio playing
// through the plug-in on a thread of its own (runEditorSession).
#pragma once

#include "tools/vsthost/AudioBuffer.h"
#include "tools/vsthost/EditorWindow.h"

#include <string>

typedef struct _XDisplay Display;

namespace vsthost {

class PluginHost;
struct CallbackLog;

// The editor of a started plug-in (opened, resumed) open in a new top-level
// window, idled by the caller's loop on the caller's thread.
class EditorSession {
public:
    // Throws HostError when the plug-in has no editor or the editor cannot be
    // shown. `scale` is sent as the host's content scale ('PreS') unless 0.
    EditorSession(PluginHost& host, Display* display, const std::string& title, float scale = 0.0f);
    // Closes the editor (effEditClose), then the window.
    ~EditorSession();
    EditorSession(const EditorSession&) = delete;
    EditorSession& operator=(const EditorSession&) = delete;

    // Handles the window's events and idles the editor; false once the user
    // closed the window.
    bool idle();
    // Follows the editor's latest audioMasterSizeWindow request in the log.
    void followSizeRequest(const CallbackLog& log);
    void writePng(const std::string& path) const { window_.writePng(path); }

private:
    PluginHost& host_;
    EditorWindow window_;
    int width_ = 0, height_ = 0;
};

struct EditorSessionOptions {
    const AudioBuffer* audio = nullptr;  // played in a loop; null plays silence
    std::string screenshot;              // PNG written after `after` seconds, then the session ends
    double after = 1.0;
    double idleRate = 30.0;              // effEditIdle calls per second
    float scale = 0.0f;                  // sent as the host's content scale ('PreS') unless 0
};

// Opens the editor of a started plug-in in a new window on display, idles it
// on this thread while the audio thread processes, until the window is
// closed or the screenshot is written; then closes the editor and stops the
// audio. Throws HostError as EditorSession does.
void runEditorSession(PluginHost& host, Display* display, const EditorSessionOptions& options);

}  // namespace vsthost
