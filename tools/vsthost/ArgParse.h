// A small command-line parser: long options ("--block 512", "--block=512"),
// short ones ("-b 512"), flags, repeatable options and positional arguments.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace vsthost {

class ArgError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct ParsedArgs {
    std::map<std::string, std::vector<std::string>> values;  // by long name
    std::vector<std::string> positional;

    bool has(const std::string& name) const { return values.count(name) != 0; }
    // The last value given, or `fallback`.
    std::string get(const std::string& name, const std::string& fallback = "") const;
    std::vector<std::string> all(const std::string& name) const;
};

class ArgParser {
public:
    // `name` is the long name without dashes; `shortName` 0 for none.
    ArgParser& flag(const std::string& name, char shortName, const std::string& help);
    ArgParser& option(const std::string& name, char shortName, const std::string& valueName,
                      const std::string& help);
    // Like option, but every occurrence is kept.
    ArgParser& list(const std::string& name, char shortName, const std::string& valueName,
                    const std::string& help);

    // Throws ArgError for unknown options, missing values, a repeated single
    // option, or a value given to a flag. "--" ends the options.
    ParsedArgs parse(const std::vector<std::string>& args) const;
    std::string help() const;

private:
    struct Option {
        std::string name;
        char shortName;
        std::string valueName;  // empty for flags
        std::string help;
        bool repeatable;
    };
    ArgParser& add(Option option);
    const Option* findLong(const std::string& name) const;
    const Option* findShort(char name) const;
    std::vector<Option> options_;
};

// Number conversions that name the option in their errors.
int parseIntArg(const std::string& text, const std::string& what, int min, int max);
double parseDoubleArg(const std::string& text, const std::string& what, double min, double max);

}  // namespace vsthost
