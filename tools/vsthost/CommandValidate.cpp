// vsthost validate: the validation battery, one line per check.
#include "tools/vsthost/CommandSupport.h"
#include "tools/vsthost/PluginHost.h"
#include "tools/vsthost/Validator.h"

#include <chrono>
#include <cstdio>
#include <vector>

namespace vsthost {

int runValidate(const Args& args) {
    ArgParser parser;
    addPluginOptions(parser);
    parser.option("seed", 0, "N", "seed for the random choices (default 1)")
        .option("only", 0, "TEXT", "run only the checks whose name contains TEXT")
        .option("timeout", 0, "SECONDS", "time allowed per check (default 120)")
        .flag("verbose", 'v', "show what the plug-in prints while it is checked")
        .flag("no-fork", 0, "run every check in this process (for debuggers and valgrind)")
        .flag("list", 0, "list the checks and stop");
    ParsedArgs parsed;
    if (!parseCommandLine(parser, args, "vsthost validate [PLUGIN.so] [options]", parsed))
        return 0;
    if (parsed.has("list")) {
        for (const std::string& name : Validator::checkNames())
            printf("%s\n", name.c_str());
        return 0;
    }
    takePluginArgument(parsed);
    if (!parsed.positional.empty())
        throw ArgError("unexpected argument " + parsed.positional[0]);

    ValidateOptions options;
    options.setup = pluginSetupFrom(parsed);
    options.seed = (uint32_t)parseIntArg(parsed.get("seed", "1"), "--seed", 0, 0x7fffffff);
    options.only = parsed.get("only");
    options.isolate = !parsed.has("no-fork");
    options.verbose = parsed.has("verbose");
    options.timeout = parseDoubleArg(parsed.get("timeout", "120"), "--timeout", 1, 86400);

    {
        // Named before the checks start; any failure to load shows here.
        auto host = PluginHost::create(options.setup.pluginPath);
        printf("validating %s\n", describePlugin(*host).c_str());
        host->close();
    }
    fflush(stdout);

    const auto start = std::chrono::steady_clock::now();
    int passed = 0, failed = 0, skipped = 0, warnings = 0;
    Validator validator(options);
    validator.run([&](const CheckReport& r) {
        const char* word = "FAIL";
        switch (r.outcome.status) {
        case CheckOutcome::Status::Pass: word = "PASS"; ++passed; break;
        case CheckOutcome::Status::Skip: word = "SKIP"; ++skipped; break;
        case CheckOutcome::Status::Warn: word = "WARN"; ++warnings; break;
        case CheckOutcome::Status::Fail: word = "FAIL"; ++failed; break;
        }
        printf("%s  %-34s %s (%.2f s)\n", word, r.name.c_str(), r.outcome.detail.c_str(),
               r.outcome.seconds);
        if (r.outcome.status == CheckOutcome::Status::Fail && !r.outcome.printed.empty()) {
            // The last lines the plug-in printed, for the story behind a failure.
            std::vector<std::string> lines;
            size_t from = 0;
            for (size_t nl; (nl = r.outcome.printed.find('\n', from)) != std::string::npos;
                 from = nl + 1)
                lines.push_back(r.outcome.printed.substr(from, nl - from));
            if (from < r.outcome.printed.size())
                lines.push_back(r.outcome.printed.substr(from));
            for (size_t i = lines.size() > 20 ? lines.size() - 20 : 0; i < lines.size(); ++i)
                printf("      | %s\n", lines[i].c_str());
        }
        fflush(stdout);
    });
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    printf("validate: %d passed, %d failed, %d skipped, %d warnings in %.1f s\n", passed, failed,
           skipped, warnings, seconds);
    return failed == 0 && passed > 0 ? 0 : 1;
}

}  // namespace vsthost
