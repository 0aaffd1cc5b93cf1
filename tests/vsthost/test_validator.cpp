// The validator against a plug-in with faults to order: a well-behaved one
// passes every check, and each fault fails the check meant to find it.
#include "tools/vsthost/Validator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <algorithm>
#include <map>
#include <vector>
#include <sys/wait.h>

using namespace vsthost;

namespace {

std::map<std::string, CheckOutcome> validate(const std::string& fault, const std::string& only = "") {
    setenv("VSTHOST_FAULT", fault.c_str(), 1);
    ValidateOptions options;
    options.setup.pluginPath = FAULTY_PLUGIN_PATH;
    options.timeout = 60;
    options.only = only;
    std::map<std::string, CheckOutcome> outcomes;
    for (const CheckReport& r : Validator(options).run(nullptr))
        outcomes[r.name] = r.outcome;
    unsetenv("VSTHOST_FAULT");
    return outcomes;
}

// The check fails, and one of `why` is a part of its detail.
void expectFailure(const std::string& fault, const std::string& check, const std::vector<std::string>& why) {
    SCOPED_TRACE("fault " + fault);
    const auto outcomes = validate(fault, check);
    ASSERT_EQ(outcomes.size(), 1u) << "no check named " << check;
    const CheckOutcome& o = outcomes.begin()->second;
    EXPECT_EQ(o.status, CheckOutcome::Status::Fail) << o.detail;
    EXPECT_TRUE(std::any_of(why.begin(), why.end(),
                            [&](const std::string& w) { return o.detail.find(w) != std::string::npos; }))
        << o.detail;
}

}  // namespace

TEST(Validator, AWellBehavedPlugInPassesEveryCheck) {
    const auto outcomes = validate("");
    EXPECT_EQ(outcomes.size(), Validator::checkNames().size());
    for (const auto& [name, o] : outcomes)
        EXPECT_EQ(o.status, CheckOutcome::Status::Pass) << name << ": " << o.detail;
}

TEST(Validator, EachFaultIsFoundByItsCheck) {
    expectFailure("nan", "finite output for finite input", {"non-finite output"});
    // A sanitizer turns the crash into an exit with a report.
    expectFailure("crash", "out-of-range indices and sizes", {"crashed", "ended without a result"});
    expectFailure("leak", "no leaks", {"the heap grows"});
    expectFailure("hum", "tail ends in exact silence", {"silence in gives"});
    expectFailure("chunk", "chunks round-trip bit for bit", {"differs"});
    expectFailure("text", "texts terminated and in bounds", {"no terminating zero"});
    expectFailure("intrange", "parameters set as their properties announce",
                  {"parameter 0 (properties flags 10, integers 0 to 2) shows \"4.00\" instead of \"2.00\""});
}

TEST(Validator, CommandLineExitStatus) {
    auto exitStatus = [](const std::string& command) {
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    const std::string base =
        std::string(VSTHOST_EXE) + " validate " + FAULTY_PLUGIN_PATH + " --only finite > /dev/null";
    EXPECT_EQ(exitStatus(base), 0);
    EXPECT_EQ(exitStatus("VSTHOST_FAULT=nan " + base), 1);
    // A plug-in that cannot be loaded at all is an error too.
    EXPECT_EQ(exitStatus(std::string(VSTHOST_EXE) + " validate /nonexistent/x.so 2> /dev/null"), 1);
}
