// vsthost: a command-line host for Linux VST 2.4 plug-ins, TapDelay by
// default. See `vsthost help`. Called as `tapdelay` (a link to it), it is
// TapDelay's standalone JACK application: `vsthost jack` with TapDelay.
#include "tools/vsthost/ArgParse.h"
#include "tools/vsthost/Commands.h"
#include "tools/vsthost/PluginSetup.h"

#include "TapDelayVersion.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace {

void printUsage(FILE* out) {
    fputs("Usage: vsthost COMMAND [options] [arguments]\n"
          "\n"
          "Hosts a Linux VST 2.4 plug-in; without --plugin it hosts TapDelay, the\n"
          "first TapDelay/TapDelay.so found in the build vsthost belongs to, in\n"
          "PREFIX/lib/vst/ when vsthost is installed in PREFIX/bin/, in ~/.vst/ and\n"
          "in /usr/lib/vst/ (`vsthost info` names the one it finds).\n"
          "\n"
          "Commands:\n"
          "  info [PLUGIN.so]          identity, channels, flags, canDo answers, programs\n"
          "                            and every parameter\n"
          "  render IN.wav OUT.wav     process a sound file at its own rate\n"
          "  demo [--out DIR]          render a synthesised phrase through several presets,\n"
          "                            with WAV files and a PNG picture per preset\n"
          "  validate [PLUGIN.so]      run the validation battery (non-zero exit on failure)\n"
          "  bench [PLUGIN.so] [--vs OTHER.so ...]\n"
          "                            realtime factor and nanoseconds per frame\n"
          "  edit [PLUGIN.so] [--audio FILE] [--screenshot FILE.png [--after SECONDS]]\n"
          "                            the plug-in's editor in a window (needs an X display),\n"
          "                            with the file (or silence) playing through it\n"
          "  jack [PLUGIN.so] [--no-gui] [--connect] [--name CLIENT] [--program N|NAME]\n"
          "                            the plug-in as a JACK client with its editor in a\n"
          "                            window; `tapdelay` is this with TapDelay\n"
          "  help [COMMAND]            this text, or a command's options\n"
          "  --version                 vsthost's version (TapDelay's)\n"
          "\n"
          "Examples:\n"
          "  vsthost render in.wav out.wav --program 2 -p DelayTime0=250ms -p FeedBack=40%\n"
          "\n"
          "  vsthost demo --out demo\n"
          "\n"
          "  vsthost validate /usr/lib/vst/lsp-plugins/slap-delay-stereo.so\n"
          "\n"
          "  vsthost jack --connect --program \"Slapback\"    (pw-jack vsthost jack ... on PipeWire)\n",
          out);
}

}  // namespace


int runCommand(const std::string& command, const vsthost::Args& args) {
    if (command == "info")
        return vsthost::runInfo(args);
    if (command == "render")
        return vsthost::runRender(args);
    if (command == "demo")
        return vsthost::runDemo(args);
    if (command == "validate")
        return vsthost::runValidate(args);
    if (command == "bench")
        return vsthost::runBench(args);
    if (command == "edit")
        return vsthost::runEdit(args);
    if (command == "jack")
        return vsthost::runJack(args, "vsthost jack");
    fprintf(stderr, "vsthost: unknown command \"%s\"\n\n", command.c_str());
    printUsage(stderr);
    return 2;
}

// tapdelay [options]: errors name the program as the user called it.
int runTapDelay(const vsthost::Args& args) {
    try {
        return vsthost::runJack(args, "tapdelay");
    } catch (const vsthost::ArgError& e) {
        fprintf(stderr, "tapdelay: %s (see tapdelay --help)\n", e.what());
        return 2;
    } catch (const std::exception& e) {
        fprintf(stderr, "tapdelay: %s\n", e.what());
        return 1;
    }
}

int main(int argc, char** argv) {
    const char* slash = strrchr(argv[0], '/');
    if (strcmp(slash ? slash + 1 : argv[0], "tapdelay") == 0)
        return runTapDelay(vsthost::Args(argv + 1, argv + argc));
    if (argc < 2) {
        printUsage(stderr);
        return 2;
    }
    std::string command = argv[1];
    vsthost::Args args(argv + 2, argv + argc);
    if (command == "--version") {
        printf("vsthost %s\n", TAPDELAY_VERSION);
        return 0;
    }
    if (command == "help" || command == "--help" || command == "-h") {
        if (args.empty()) {
            printUsage(stdout);
            return 0;
        }
        command = args[0];
        args = {"--help"};
    }
    try {
        return runCommand(command, args);
    } catch (const vsthost::ArgError& e) {
        fprintf(stderr, "vsthost %s: %s (see vsthost help %s)\n", command.c_str(), e.what(),
                command.c_str());
        return 2;
    } catch (const std::exception& e) {
        fprintf(stderr, "vsthost %s: %s\n", command.c_str(), e.what());
        return 1;
    }
}
