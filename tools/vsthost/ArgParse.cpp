#include "tools/vsthost/ArgParse.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace vsthost {

std::string ParsedArgs::get(const std::string& name, const std::string& fallback) const {
    auto it = values.find(name);
    return it == values.end() || it->second.empty() ? fallback : it->second.back();
}

std::vector<std::string> ParsedArgs::all(const std::string& name) const {
    auto it = values.find(name);
    return it == values.end() ? std::vector<std::string>() : it->second;
}

ArgParser& ArgParser::add(Option option) {
    if (findLong(option.name) || (option.shortName && findShort(option.shortName)))
        throw std::logic_error("option defined twice: " + option.name);
    options_.push_back(std::move(option));
    return *this;
}

ArgParser& ArgParser::flag(const std::string& name, char shortName, const std::string& help) {
    return add({name, shortName, "", help, false});
}

ArgParser& ArgParser::option(const std::string& name, char shortName,
                             const std::string& valueName, const std::string& help) {
    return add({name, shortName, valueName, help, false});
}

ArgParser& ArgParser::list(const std::string& name, char shortName,
                           const std::string& valueName, const std::string& help) {
    return add({name, shortName, valueName, help, true});
}

const ArgParser::Option* ArgParser::findLong(const std::string& name) const {
    for (const Option& s : options_)
        if (s.name == name)
            return &s;
    return nullptr;
}

const ArgParser::Option* ArgParser::findShort(char name) const {
    for (const Option& s : options_)
        if (s.shortName == name)
            return &s;
    return nullptr;
}

ParsedArgs ArgParser::parse(const std::vector<std::string>& args) const {
    ParsedArgs parsed;
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        // "-" alone and negative numbers are arguments, not options.
        const bool looksLikeOption = arg.size() > 1 && arg[0] == '-' &&
                                     !(std::isdigit((unsigned char)arg[1]) || arg[1] == '.');
        if (optionsEnded || !looksLikeOption) {
            parsed.positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        const Option* option = nullptr;
        std::string inlineValue;
        bool hasInlineValue = false;
        if (arg.compare(0, 2, "--") == 0) {
            std::string name = arg.substr(2);
            const size_t eq = name.find('=');
            if (eq != std::string::npos) {
                inlineValue = name.substr(eq + 1);
                hasInlineValue = true;
                name = name.substr(0, eq);
            }
            option = findLong(name);
        } else {
            option = findShort(arg[1]);
            if (arg.size() > 2) {
                inlineValue = arg.substr(2);
                hasInlineValue = true;
            }
        }
        if (!option)
            throw ArgError("unknown option " + arg);
        std::vector<std::string>& slot = parsed.values[option->name];
        if (!slot.empty() && !option->repeatable)
            throw ArgError("--" + option->name + " given twice");
        if (option->valueName.empty()) {
            if (hasInlineValue)
                throw ArgError("--" + option->name + " takes no value");
            slot.push_back("");
            continue;
        }
        if (hasInlineValue) {
            slot.push_back(inlineValue);
        } else if (i + 1 < args.size()) {
            slot.push_back(args[++i]);
        } else {
            throw ArgError("--" + option->name + " needs a value (" + option->valueName + ")");
        }
    }
    return parsed;
}

std::string ArgParser::help() const {
    std::ostringstream out;
    for (const Option& s : options_) {
        std::string left = "  ";
        left += s.shortName ? std::string("-") + s.shortName + ", " : "    ";
        left += "--" + s.name;
        if (!s.valueName.empty())
            left += " " + s.valueName;
        out << left;
        if (left.size() < 30)
            out << std::string(30 - left.size(), ' ');
        else
            out << "\n" << std::string(30, ' ');
        // The description wrapped to the right of the option names.
        std::istringstream words(s.help + (s.repeatable ? " (repeatable)" : ""));
        std::string word;
        size_t column = 30;
        bool first = true;
        while (words >> word) {
            if (!first && column + 1 + word.size() > 100) {
                out << "\n" << std::string(30, ' ');
                column = 30;
                first = true;
            }
            out << (first ? "" : " ") << word;
            column += word.size() + (first ? 0 : 1);
            first = false;
        }
        out << "\n";
    }
    return out.str();
}

int parseIntArg(const std::string& text, const std::string& what, int min, int max) {
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != 0 || errno == ERANGE)
        throw ArgError(what + ": \"" + text + "\" is not a whole number");
    if (value < min || value > max)
        throw ArgError(what + ": " + text + " is outside " + std::to_string(min) + " to " +
                       std::to_string(max));
    return (int)value;
}

double parseDoubleArg(const std::string& text, const std::string& what, double min, double max) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != 0 || !std::isfinite(value))
        throw ArgError(what + ": \"" + text + "\" is not a number");
    if (value < min || value > max) {
        std::ostringstream range;
        range << min << " to " << max;
        throw ArgError(what + ": " + text + " is outside " + range.str());
    }
    return value;
}

}  // namespace vsthost
