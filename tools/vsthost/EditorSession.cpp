#include "tools/vsthost/EditorSession.h"

#include "tools/vsthost/EditorWindow.h"
#include "tools/vsthost/PluginHost.h"

#include <atomic>
#include <cstdio>
#include <chrono>
#include <thread>
#include <vector>

namespace vsthost {

namespace {

using Clock = std::chrono::steady_clock;

// Processes the audio (looped) or silence block by block at the sample
// rate's pace, so that meters move as they would in a host.
class AudioThread {
public:
    AudioThread(PluginHost& host, const AudioBuffer* audio) : host_(host), audio_(audio) {
        thread_ = std::thread([this] { run(); });
    }
    ~AudioThread() {
        stop_ = true;
        thread_.join();
    }

private:
    void run() {
        const int frames = host_.transport().blockSize;
        const double rate = host_.transport().sampleRate;
        std::vector<std::vector<float>> in(std::max(1, host_.numInputs()), std::vector<float>(frames));
        std::vector<std::vector<float>> out(std::max(1, host_.numOutputs()), std::vector<float>(frames));
        std::vector<float*> inPointers, outPointers;
        for (auto& c : in)
            inPointers.push_back(c.data());
        for (auto& c : out)
            outPointers.push_back(c.data());
        size_t position = 0;
        const auto start = Clock::now();
        for (long block = 0; !stop_; ++block) {
            const size_t length = audio_ ? audio_->frames() : 0;
            for (size_t c = 0; c < in.size(); ++c)
                for (int i = 0; i < frames; ++i)
                    in[c][i] = length ? audio_->channels[c % audio_->channelCount()][(position + i) % length]
                                      : 0.0f;
            if (length)
                position = (position + frames) % length;
            host_.processFloat(inPointers.data(), outPointers.data(), frames);
            std::this_thread::sleep_until(start + std::chrono::duration<double>((block + 1) * frames / rate));
        }
    }

    PluginHost& host_;
    const AudioBuffer* audio_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

// The editor's size as the plug-in reports it; 0 x 0 when it does not.
bool editorSize(PluginHost& host, int& width, int& height) {
    ERect* rect = nullptr;
    host.dispatch(effEditGetRect, 0, 0, &rect);
    if (!rect)
        return false;
    width = rect->right - rect->left;
    height = rect->bottom - rect->top;
    return width > 0 && height > 0;
}

// Asks for the content scale before the size: the editor's size follows it.
void sendScale(PluginHost& host, float scale) {
    if (scale <= 0.0f)
        return;
    constexpr VstInt32 kContentScale = ('P' << 24) | ('r' << 16) | ('e' << 8) | 'S';
    constexpr VstIntPtr kScaleFactor = ('A' << 24) | ('e' << 16) | ('C' << 8) | 's';
    if (!host.dispatch(effVendorSpecific, kContentScale, kScaleFactor, nullptr, scale))
        fprintf(stderr, "vsthost: the plug-in did not take the scale %g\n", scale);
}

// The window at the editor's size, or at a guess for editors that know their
// size only once open.
EditorWindow makeWindow(PluginHost& host, Display* display, const std::string& title, float scale,
                        int& width, int& height) {
    if (!host.hasFlag(effFlagsHasEditor))
        throw HostError("the plug-in has no editor");
    sendScale(host, scale);
    if (!editorSize(host, width, height))
        width = 400, height = 300;
    return EditorWindow(display, title, width, height);
}

}  // namespace

EditorSession::EditorSession(PluginHost& host, Display* display, const std::string& title, float scale)
    : host_(host), window_(makeWindow(host, display, title, scale, width_, height_)) {
    if (!host.dispatch(effEditOpen, 0, 0, window_.parentHandle()))
        throw HostError("the plug-in could not open its editor");
    int openWidth = width_, openHeight = height_;
    if (editorSize(host, openWidth, openHeight) && (openWidth != width_ || openHeight != height_)) {
        width_ = openWidth;
        height_ = openHeight;
        window_.resize(width_, height_);
    }
    window_.show();
}

EditorSession::~EditorSession() {
    host_.dispatch(effEditClose);
}

bool EditorSession::idle() {
    if (!window_.handleEvents())
        return false;
    host_.dispatch(effEditIdle);
    return true;
}

void EditorSession::followSizeRequest(const CallbackLog& log) {
    if (log.sizeWindowWidth <= 0 || (log.sizeWindowWidth == width_ && log.sizeWindowHeight == height_))
        return;
    width_ = log.sizeWindowWidth;
    height_ = log.sizeWindowHeight;
    window_.resize(width_, height_);
    printf("resized   %d x %d\n", width_, height_);
    fflush(stdout);
}

void runEditorSession(PluginHost& host, Display* display, const EditorSessionOptions& options) {
    EditorSession editor(host, display, host.effectName(), options.scale);
    AudioThread audio(host, options.audio);
    const auto start = Clock::now();
    const auto period = std::chrono::duration<double>(1.0 / options.idleRate);
    for (long tick = 1; editor.idle(); ++tick) {
        editor.followSizeRequest(host.callbackLog());
        if (!options.screenshot.empty() &&
            Clock::now() - start >= std::chrono::duration<double>(options.after)) {
            editor.writePng(options.screenshot);
            break;
        }
        std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(period * tick));
    }
}

}  // namespace vsthost
