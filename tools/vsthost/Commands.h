// The sub-commands of vsthost. Each takes the arguments after its name and
// returns the process exit code.
#pragma once

#include <string>
#include <vector>

namespace vsthost {

using Args = std::vector<std::string>;

int runInfo(const Args& args);
int runRender(const Args& args);
int runDemo(const Args& args);
int runValidate(const Args& args);
int runBench(const Args& args);
int runEdit(const Args& args);
// `self` is the name the program was called by: "vsthost jack" or "tapdelay".
int runJack(const Args& args, const std::string& self);

}  // namespace vsthost
