// vsthost edit: a plug-in's editor in a window, with audio playing through
// the plug-in so that its meters move.
#include "tools/vsthost/CommandSupport.h"
#include "tools/vsthost/EditorSession.h"
#include "tools/vsthost/EditorWindow.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/PluginSetup.h"
#include "tools/vsthost/WavIO.h"
#include "tools/vsthost/XServer.h"

#include <cstdio>
#include <memory>

namespace vsthost {

int runEdit(const Args& args) {
    ArgParser parser;
    addPluginOptions(parser);
    parser.option("audio", 'a', "FILE", "sound file played through the plug-in in a loop (default silence)")
        .option("screenshot", 's', "FILE.png", "write a picture of the editor and exit")
        .option("after", 0, "SECONDS", "when to take the picture (default 1)")
        .option("scale", 0, "FACTOR", "ask the editor to draw at 1, 1.5 or 2 times its size, as HiDPI hosts do");
    ParsedArgs parsed;
    if (!parseCommandLine(parser, args, "vsthost edit [PLUGIN.so] [options]", parsed))
        return 0;
    takePluginArgument(parsed);
    if (!parsed.positional.empty())
        throw ArgError("unexpected argument \"" + parsed.positional[0] + "\"");
    const PluginSetup setup = pluginSetupFrom(parsed);
    EditorSessionOptions options;
    options.screenshot = parsed.get("screenshot", "");
    if (parsed.has("after"))
        options.after = parseDoubleArg(parsed.get("after", "1"), "--after", 0.0, 3600.0);
    if (parsed.has("scale"))
        options.scale = (float)parseDoubleArg(parsed.get("scale", "1"), "--scale", 0.25, 4.0);

    const XServer server(false);
    if (!server.display()) {
        fprintf(stderr, "vsthost edit: %s\n", noDisplayHint("vsthost edit [PLUGIN.so] --screenshot editor.png").c_str());
        return 1;
    }
    std::unique_ptr<AudioBuffer> audio;
    if (parsed.has("audio"))
        audio = std::make_unique<AudioBuffer>(readAudioFile(parsed.get("audio", "")));
    options.audio = audio.get();

    AppliedSetup applied;
    std::unique_ptr<PluginHost> host = startPlugin(setup, audio ? audio->sampleRate : 48000.0, &applied);
    printf("plug-in   %s\n", describePlugin(*host).c_str());
    printf("program   %d \"%s\"\n", applied.program, applied.programName.c_str());
    for (const AppliedParam& p : applied.params)
        printf("param     %s = %s\n", p.name.c_str(), p.display.c_str());
    printf("audio     %s\n", audio ? parsed.get("audio", "").c_str() : "silence");
    fflush(stdout);
    runEditorSession(*host, server.display(), options);
    host->close();
    if (!options.screenshot.empty())
        printf("picture   %s\n", options.screenshot.c_str());
    return 0;
}

}  // namespace vsthost
