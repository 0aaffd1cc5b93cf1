// vsthost jack (and tapdelay, which is this with TapDelay): a plug-in as a
// JACK client with its editor in a window of its own, its bank kept between
// runs. The main thread opens everything, idles the editor and saves; JACK's
// thread only processes (JackClient).
#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/CommandSupport.h"
#include "tools/vsthost/EditorSession.h"
#include "tools/vsthost/JackClient.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/PluginSetup.h"
#include "tools/vsthost/Renderer.h"
#include "tools/vsthost/StateFile.h"
#include "tools/vsthost/StopSignals.h"
#include "tools/vsthost/XServer.h"

#include "TapDelayVersion.h"

#include <X11/Xlib.h>
#include <poll.h>

#include <chrono>
#include <cstdio>
#include <memory>

namespace vsthost {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kDefaultTempo = 120.0;

std::string noServerHelp(const std::string& self) {
    return self + ": no JACK server is running. Start one first, for example\n"
                  "  jackd -d alsa -d hw:0     (the first sound card, through ALSA)\n"
                  "  jackd -d dummy            (no sound card, to try it out)\n"
                  "or, on a desktop where PipeWire plays the sound, run it through\n"
                  "PipeWire's JACK service (Debian package pipewire-jack):\n"
                  "  pw-jack " + self + "\n";
}

// The plug-in's own name, else its file's.
std::string pluginName(PluginHost& host) {
    std::string name = host.effectName();
    if (name.empty())
        name = host.productString();
    if (name.empty()) {
        name = host.module().path().substr(host.module().folder().size());
        name = name.substr(0, name.rfind(".so"));
    }
    return name;
}

// Why the main loop ended.
enum class Quit { Signal, WindowClosed, Screenshot, ServerGone };

struct LoopOptions {
    std::string screenshot;
    double after = 1.0;
};

class StandaloneLoop {
public:
    StandaloneLoop(PluginHost& host, JackClient& jack, StateFile& state, StopSignals& signals,
                   EditorSession* editor, Display* display, const LoopOptions& options)
        : host_(host), jack_(jack), state_(state), signals_(signals), editor_(editor),
          display_(display), options_(options) {}

    // Until a signal, the window's close button, the picture, or the server
    // going away.
    Quit run() {
        // The editor is idled as hosts do (30 times a second); without one
        // the loop only keeps the callback log short and saves.
        const auto interval = std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(editor_ ? 1.0 / 30.0 : 0.5));
        const auto start = Clock::now();
        auto next = start;
        while (true) {
            pollfd fds[3] = {{signals_.fd(), POLLIN, 0}, {jack_.shutdownFd(), POLLIN, 0},
                             {display_ ? ConnectionNumber(display_) : -1, POLLIN, 0}};
            const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now());
            poll(fds, editor_ ? 3 : 2, (int)std::max<long>(0, wait.count()));
            if (const char* name = signals_.take()) {
                signal_ = name;
                return Quit::Signal;
            }
            if (jack_.serverGone())
                return Quit::ServerGone;
            if (Clock::now() < next && !(fds[2].revents & POLLIN))
                continue;
            if (editor_ && !editor_->idle())
                return Quit::WindowClosed;
            const CallbackLog log = host_.takeCallbackLog();
            if (editor_)
                editor_->followSizeRequest(log);
            // A program saved or chosen in the editor: the plug-in tells by
            // updateDisplay.
            if (log.updateDisplay > 0)
                saveQuietly();
            if (editor_ && !options_.screenshot.empty() &&
                Clock::now() - start >= std::chrono::duration<double>(options_.after)) {
                editor_->writePng(options_.screenshot);
                return Quit::Screenshot;
            }
            if (Clock::now() >= next)
                next += interval;
        }
    }

    const std::string& signal() const { return signal_; }

private:
    void saveQuietly() {
        try {
            if (state_.save(host_, true))
                printf("state     saved to %s\n", state_.path().c_str());
        } catch (const BankFileError& e) {
            fprintf(stderr, "state     not saved: %s\n", e.what());
        }
        fflush(stdout);
    }

    PluginHost& host_;
    JackClient& jack_;
    StateFile& state_;
    StopSignals& signals_;
    EditorSession* editor_;
    Display* display_;
    LoopOptions options_;
    std::string signal_;
};

void reportRestore(const StateFile& state, const StateFile::Restored& restored, const std::string& self) {
    switch (restored.outcome) {
    case StateFile::Restored::Outcome::Missing:
        printf("state     none yet (%s)\n", state.path().c_str());
        break;
    case StateFile::Restored::Outcome::Restored:
        printf("state     restored from %s\n", state.path().c_str());
        break;
    case StateFile::Restored::Outcome::Damaged:
        fflush(stdout);
        fprintf(stderr, "%s: the saved state %s is damaged (%s); %s, and the plug-in starts from its defaults\n",
                self.c_str(), state.path().c_str(), restored.problem.c_str(),
                restored.keptAs.empty() ? "it could not be moved aside"
                                        : ("it is kept as " + restored.keptAs).c_str());
        printf("state     damaged, defaults loaded\n");
        break;
    }
}

}  // namespace

int runJack(const Args& args, const std::string& self) {
    ArgParser parser;
    parser.option("plugin", 'P', "PATH", "plug-in to host (default: TapDelay.so)")
        .option("program", 0, "N|NAME", "select a program by number or by name")
        .option("load", 0, "FILE", "load a bank (.fxb) or program (.fxp) file")
        .list("param", 'p', "NAME=VALUE", "set a parameter, as vsthost render -p does")
        .option("name", 'n', "CLIENT", "JACK client name (default: the plug-in's name)")
        .flag("connect", 'c', "connect to the first physical capture and playback ports")
        .option("tempo", 0, "BPM", "hold the tempo (default: the JACK transport's, else 120)")
        .flag("no-gui", 0, "no editor window; quit with Ctrl-C or SIGTERM")
        .option("screenshot", 0, "FILE.png", "write a picture of the window and quit")
        .option("after", 0, "SECONDS", "when to take the picture (default 1)")
        .flag("version", 'V', "print the version and quit");
    ParsedArgs parsed;
    const std::string usage = self + " [PLUGIN.so] [options]";
    if (!parseCommandLine(parser, args, usage, parsed))
        return 0;
    if (parsed.has("version")) {
        printf("%s %s\n", self.c_str(), TAPDELAY_VERSION);
        return 0;
    }
    takePluginArgument(parsed);
    if (!parsed.positional.empty())
        throw ArgError("unexpected argument \"" + parsed.positional[0] + "\"");
    PluginSetup setup = pluginSetupFrom(parsed);
    const double fixedTempo = parsed.has("tempo") ? setup.tempo : 0.0;
    const bool gui = !parsed.has("no-gui");
    LoopOptions loopOptions;
    loopOptions.screenshot = parsed.get("screenshot");
    if (parsed.has("after"))
        loopOptions.after = parseDoubleArg(parsed.get("after"), "--after", 0.0, 3600.0);
    if (!gui && !loopOptions.screenshot.empty())
        throw ArgError("--screenshot needs the window (leave out --no-gui)");

    // It runs for hours, its output read as it comes (session managers, logs).
    setvbuf(stdout, nullptr, _IOLBF, 0);
    // Before any thread exists, so that every thread inherits the blocked set.
    StopSignals signals;
    std::unique_ptr<XServer> x;
    if (gui) {
        x = std::make_unique<XServer>(false);
        if (!x->display()) {
            fprintf(stderr, "%s: %s\nOr run it without the editor: %s --no-gui\n", self.c_str(),
                    noDisplayHint(self).c_str(), self.c_str());
            return 1;
        }
    }

    std::unique_ptr<PluginHost> host = PluginHost::create(setup.pluginPath);
    host->open();
    const std::string name = pluginName(*host);
    std::unique_ptr<JackClient> jack;
    try {
        jack = std::make_unique<JackClient>(parsed.get("name", name));
    } catch (const NoJackServer&) {
        fputs(noServerHelp(self).c_str(), stderr);
        return 1;
    }
    const std::string client = jack->name();
    const double rate = jack->sampleRate();
    const int period = jack->bufferSize();
    prepareForProcessing(*host, rate, period, false);
    printf("plug-in   %s\n", describePlugin(*host).c_str());
    printf("jack      client \"%s\", %.0f Hz, period %d frames\n", client.c_str(), rate, period);

    StateFile state(StateFile::defaultPath(name));
    reportRestore(state, state.restore(*host), self);
    setup.tempo = fixedTempo > 0.0 ? fixedTempo : kDefaultTempo;
    const AppliedSetup applied = applySetup(*host, setup);
    printf("program   %d \"%s\"\n", applied.program, applied.programName.c_str());
    for (const AppliedParam& p : applied.params)
        printf("param     %s = %s\n", p.name.c_str(), p.display.c_str());
    if (fixedTempo > 0.0)
        printf("tempo     %g BPM (--tempo)\n", fixedTempo);
    else
        printf("tempo     the JACK transport's when a timebase master gives one, else %g BPM\n", kDefaultTempo);

    host->resume();
    jack->activate(*host, fixedTempo, kDefaultTempo);
    if (parsed.has("connect"))
        for (const std::string& connection : jack->connectPhysical())
            printf("connect   %s\n", connection.c_str());

    std::unique_ptr<EditorSession> editor;
    if (gui && !host->hasFlag(effFlagsHasEditor)) {
        printf("editor    none: the plug-in has no editor (Ctrl-C quits)\n");
        if (!loopOptions.screenshot.empty())
            throw HostError("no window to photograph: the plug-in has no editor");
    } else if (gui) {
        editor = std::make_unique<EditorSession>(*host, x->display(), client);
        printf("editor    open in the window \"%s\" (closing it quits)\n", client.c_str());
    } else {
        printf("editor    none (--no-gui): Ctrl-C or SIGTERM quits\n");
    }
    fflush(stdout);

    StandaloneLoop loop(*host, *jack, state, signals, editor.get(), x ? x->display() : nullptr, loopOptions);
    const Quit quit = loop.run();
    switch (quit) {
    case Quit::Signal: printf("quit      %s\n", loop.signal().c_str()); break;
    case Quit::WindowClosed: printf("quit      the window was closed\n"); break;
    case Quit::Screenshot: printf("picture   %s\n", loopOptions.screenshot.c_str()); break;
    case Quit::ServerGone: fprintf(stderr, "%s: the JACK server went away; saving and quitting\n", self.c_str()); break;
    }
    editor.reset();
    jack->deactivate();
    int status = quit == Quit::ServerGone ? 1 : 0;
    try {
        printf("state     %s %s\n", state.save(*host) ? "saved to" : "unchanged in", state.path().c_str());
    } catch (const BankFileError& e) {
        fprintf(stderr, "%s: the state was not saved: %s\n", self.c_str(), e.what());
        status = 1;
    }
    printf("xruns     %ld\n", jack->xruns());
    printf("cycles    %ld, the longest %.0f us of a %.0f us period\n", jack->cycles(), jack->longestCycleMicros(),
           1e6 * period / rate);
    if (host->refusedAudioThreadCalls() > 0)
        printf("refused   %d host calls from the audio thread (only the time query is answered there)\n",
               host->refusedAudioThreadCalls());
    jack.reset();
    host->close();
    return status;
}

}  // namespace vsthost
