// A battery of checks for any VST 2.4 plug-in, in the spirit of the
// validators hosts and plug-in makers use: lifecycle, every opcode, sample
// rates, block sizes, threads, chunks, finite output, silent tails, leaks.
// Each check runs in a child process of its own, so a crash or a hang is
// reported as that check's failure and the others still run.
#pragma once

#include "tools/vsthost/PluginSetup.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vsthost {

struct ValidateOptions {
    PluginSetup setup;      // plug-in and the settings fresh instances get
    uint32_t seed = 1;      // for every random choice
    bool isolate = true;    // one child process per check
    double timeout = 120.0; // seconds per check
    std::string only;       // run only the checks whose name contains this
    bool verbose = false;   // let the plug-in's own messages through
};

struct CheckOutcome {
    // Warn: worth knowing, but no fault of the interface (the run still passes).
    enum class Status { Pass, Fail, Skip, Warn };
    Status status = Status::Pass;
    std::string detail;
    double seconds = 0.0;
    std::string printed;  // what the plug-in wrote to stdout and stderr meanwhile
};

struct CheckReport {
    std::string name;
    CheckOutcome outcome;
};

class Validator {
public:
    explicit Validator(ValidateOptions options);

    // Names of all checks, in the order they run.
    static std::vector<std::string> checkNames();

    // Runs the checks; `line` is called once per finished check.
    std::vector<CheckReport> run(const std::function<void(const CheckReport&)>& line);

private:
    CheckOutcome runOne(size_t index);
    CheckOutcome runIsolated(size_t index);
    ValidateOptions options_;
};

}  // namespace vsthost
