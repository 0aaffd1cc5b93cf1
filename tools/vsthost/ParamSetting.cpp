#include "tools/vsthost/ParamSetting.h"

#include "tools/vsthost/PluginHost.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <strings.h>

namespace vsthost {

int PluginParams::count() { return host_.numParams(); }
std::string PluginParams::name(int index) { return host_.paramName(index); }
std::string PluginParams::label(int index) { return host_.paramLabel(index); }
std::string PluginParams::display(int index) { return host_.paramDisplay(index); }
float PluginParams::get(int index) { return host_.getParam(index); }
void PluginParams::set(int index, float value) { host_.setParam(index, value); }

namespace {

std::string trim(const std::string& text) {
    size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return "";
    size_t last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

bool equalsIgnoringCase(const std::string& a, const std::string& b) {
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

// Grid points for the first look at a parameter, endpoints included.
constexpr int kGridSteps = 256;
constexpr int kTextGridSteps = 1000;
constexpr int kBisections = 48;

class DisplayProbe {
public:
    DisplayProbe(ParamAccess& params, int index) : params_(params), index_(index) {}

    std::string text(double x) {
        params_.set(index_, (float)x);
        return trim(params_.display(index_));
    }
    // NaN when the display is not a number.
    double number(double x) {
        double value;
        std::string suffix;
        if (!parseDisplayNumber(text(x), value, suffix))
            return std::numeric_limits<double>::quiet_NaN();
        return value;
    }

private:
    ParamAccess& params_;
    int index_;
};

// Smallest x in [lo, hi] where pred(x) holds, pred being false at lo and true
// at hi (the display is taken as monotonic between the two).
template <typename Pred>
double firstTrue(double lo, double hi, Pred pred) {
    for (int i = 0; i < kBisections && (float)lo != (float)hi; ++i) {
        double mid = 0.5 * (lo + hi);
        if ((float)mid == (float)lo || (float)mid == (float)hi)
            break;
        if (pred(mid))
            hi = mid;
        else
            lo = mid;
    }
    return hi;
}

// A short decimal inside [lo, hi) near its middle: what a person would type,
// and what lands on the intended step after the plug-in's own rounding.
double roundedInside(double lo, double hi) {
    const double mid = 0.5 * (lo + hi);
    const double slack = 0.05 * (hi - lo);
    for (int digits = 0; digits <= 9; ++digits) {
        const double scale = std::pow(10.0, digits);
        const double r = std::round(mid * scale) / scale;
        if (std::fabs(r - mid) <= slack)
            return r;
    }
    return mid;
}

std::string formatNumber(double value) {
    char text[48];
    snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string describeRange(double a, double b) {
    char text[96];
    snprintf(text, sizeof text, "%g to %g", std::min(a, b), std::max(a, b));
    return text;
}

float searchText(ParamAccess& params, int index, const std::string& wanted) {
    DisplayProbe probe(params, index);
    int runStart = -1, runEnd = -1;
    std::vector<std::string> seen;
    for (int k = 0; k <= kTextGridSteps; ++k) {
        const std::string shown = probe.text((double)k / kTextGridSteps);
        if (equalsIgnoringCase(shown, wanted)) {
            if (runStart < 0)
                runStart = k;
            runEnd = k;
        } else if (runStart >= 0) {
            break;
        }
        if (seen.size() < 12 && std::find(seen.begin(), seen.end(), shown) == seen.end())
            seen.push_back(shown);
    }
    if (runStart < 0) {
        std::string list;
        for (const std::string& s : seen)
            list += (list.empty() ? "\"" : ", \"") + s + "\"";
        throw ParamError("parameter " + params.name(index) + " never shows \"" + wanted +
                         "\" (it shows " + list + ")");
    }
    // An end of the range when the text is shown there: switches are often
    // exactly 0 or 1 inside, whatever their display says in between.
    // Otherwise the middle of the values that show it, its edges found
    // between the grid points.
    auto shows = [&](double x) { return equalsIgnoringCase(probe.text(x), wanted); };
    float value;
    if (runStart == 0) {
        value = 0.0f;
    } else if (runEnd == kTextGridSteps) {
        value = 1.0f;
    } else {
        const double from = firstTrue((double)(runStart - 1) / kTextGridSteps,
                                      (double)runStart / kTextGridSteps, shows);
        const double to = firstTrue((double)runEnd / kTextGridSteps,
                                    (double)(runEnd + 1) / kTextGridSteps,
                                    [&](double x) { return !shows(x); });
        value = (float)roundedInside(from, to);
    }
    if (!shows(value))
        value = (float)runStart / kTextGridSteps;
    params.set(index, value);
    return value;
}

float searchNumber(ParamAccess& params, int index, double target) {
    DisplayProbe probe(params, index);
    std::vector<double> grid(kGridSteps + 1);
    double lowest = INFINITY, highest = -INFINITY;
    for (int k = 0; k <= kGridSteps; ++k) {
        grid[k] = probe.number((double)k / kGridSteps);
        if (!std::isnan(grid[k])) {
            lowest = std::min(lowest, grid[k]);
            highest = std::max(highest, grid[k]);
        }
    }
    if (lowest > highest)
        throw ParamError("parameter " + params.name(index) + " does not show numbers");

    // First grid segment whose displays enclose the target.
    int segment = -1;
    for (int k = 0; k < kGridSteps && segment < 0; ++k) {
        const double a = grid[k], b = grid[k + 1];
        if (std::isnan(a) || std::isnan(b))
            continue;
        if ((a <= target && target <= b) || (b <= target && target <= a))
            segment = k;
    }
    if (segment < 0) {
        // Only a little outside the range still counts: the display rounds.
        const double tolerance = 1e-6 * std::max(1.0, std::fabs(target));
        for (int k = 0; k <= kGridSteps && segment < 0; ++k)
            if (std::fabs(grid[k] - target) <= tolerance)
                segment = std::min(k, kGridSteps - 1);
        if (segment < 0)
            throw ParamError("parameter " + params.name(index) + " runs from " +
                             describeRange(lowest, highest) + ", not " +
                             formatNumber(target));
    }

    double lo = (double)segment / kGridSteps, hi = (double)(segment + 1) / kGridSteps;
    const double sign = grid[segment + 1] >= grid[segment] ? 1.0 : -1.0;
    auto reaches = [&](double value) {
        return [&, value](double x) { return sign * (probe.number(x) - value) >= 0; };
    };
    auto passes = [&](double value) {
        return [&, value](double x) { return sign * (probe.number(x) - value) > 0; };
    };

    // The display step nearest to the target: the first one at or past it,
    // or the one just before.
    double shown = target;
    if (grid[segment] != target) {
        const double edge = firstTrue(lo, hi, reaches(target));
        const double after = probe.number(edge);
        const double before = probe.number(std::nextafter((float)edge, -1.0f));
        shown = (!std::isnan(before) && std::fabs(before - target) < std::fabs(after - target))
                    ? before
                    : after;
    }
    // Every normalised value that shows `shown`, which may reach into the
    // grid cells around this one.
    auto at = [](int k) { return (double)k / kGridSteps; };
    int below = segment;
    while (below > 0 && !std::isnan(grid[below]) && sign * (grid[below] - shown) >= 0)
        --below;
    int above = segment + 1;
    while (above < kGridSteps && !std::isnan(grid[above]) && sign * (grid[above] - shown) <= 0)
        ++above;
    const bool fromStart = sign * (grid[below] - shown) >= 0;
    const bool toEnd = sign * (grid[above] - shown) <= 0;
    const double from = fromStart ? at(below) : firstTrue(at(below), at(below + 1), reaches(shown));
    const double to = toEnd ? at(above) : firstTrue(at(above - 1), at(above), passes(shown));
    // An end of the range when it shows the value (the extremes are what
    // people mean by them); else a round value near the middle, so that the
    // plug-in's own rounding lands on the same step.
    float value = fromStart && below == 0       ? 0.0f
                  : toEnd && above == kGridSteps ? 1.0f
                                                 : (float)roundedInside(from, to);
    if (probe.number(value) != shown)
        value = (float)from;
    params.set(index, value);
    return value;
}

}  // namespace

bool parseDisplayNumber(const std::string& text, double& number, std::string& suffix) {
    const std::string t = trim(text);
    for (const char* minusInfinity : {"-oo", "-inf"}) {
        if (strncasecmp(t.c_str(), minusInfinity, strlen(minusInfinity)) == 0) {
            number = -INFINITY;
            suffix = trim(t.substr(strlen(minusInfinity)));
            return true;
        }
    }
    const char* begin = t.c_str();
    char* end = nullptr;
    number = strtod(begin, &end);
    // strtod would take "inf" and "nan" words: only digits count here.
    if (end == begin || !std::isfinite(number))
        return false;
    suffix = trim(std::string(end));
    return true;
}

double unitFactor(const std::string& from, const std::string& to) {
    if (equalsIgnoringCase(from, to))
        return 1.0;
    struct Unit {
        const char* name;
        int dimension;
        double scale;
    };
    static const Unit units[] = {{"s", 1, 1.0},   {"sec", 1, 1.0}, {"ms", 1, 1e-3},
                                 {"us", 1, 1e-6}, {"hz", 2, 1.0},  {"khz", 2, 1e3}};
    const Unit* a = nullptr;
    const Unit* b = nullptr;
    for (const Unit& u : units) {
        if (equalsIgnoringCase(from, u.name))
            a = &u;
        if (equalsIgnoringCase(to, u.name))
            b = &u;
    }
    if (!a || !b || a->dimension != b->dimension)
        return 0.0;
    return a->scale / b->scale;
}

ParamAssignment parseParamAssignment(const std::string& text) {
    const size_t eq = text.find('=');
    if (eq == std::string::npos || eq == 0)
        throw ParamError("\"" + text + "\" is not NAME=VALUE");
    ParamAssignment a;
    const bool display = text[eq - 1] == ':';
    a.target = trim(text.substr(0, display ? eq - 1 : eq));
    a.value = trim(text.substr(eq + 1));
    if (a.target.empty() || a.value.empty())
        throw ParamError("\"" + text + "\" is not NAME=VALUE");

    // "-oo" reads as a number too, but as a value to set it is a display text.
    a.numeric = parseDisplayNumber(a.value, a.number, a.unit) &&
                a.value.find_first_of("0123456789") != std::string::npos;
    if (!a.numeric) {
        a.number = 0.0;
        a.unit.clear();
    }
    if (display || !a.numeric || !a.unit.empty()) {
        a.mode = ParamAssignment::Mode::Display;
        return a;
    }
    a.mode = ParamAssignment::Mode::Normalised;
    if (a.number < 0.0 || a.number > 1.0)
        throw ParamError("\"" + text + "\": normalised values run from 0 to 1; give display units as " +
                         a.target + ":=" + a.value + " or with a unit");
    return a;
}

int resolveParam(ParamAccess& params, const std::string& target) {
    const int count = params.count();
    int folded = -1;
    for (int i = 0; i < count; ++i) {
        const std::string name = params.name(i);
        if (name == target)
            return i;
        if (folded < 0 && equalsIgnoringCase(trim(name), target))
            folded = i;
    }
    if (folded >= 0)
        return folded;
    char* end = nullptr;
    const long number = strtol(target.c_str(), &end, 10);
    if (end != target.c_str() && *end == 0 && number >= 0 && number < count)
        return (int)number;
    std::string list;
    for (int i = 0; i < count && i < 80; ++i)
        list += (i ? ", " : "") + params.name(i);
    throw ParamError("no parameter \"" + target + "\"; there are: " + list);
}

float searchDisplayValue(ParamAccess& params, int index, const ParamAssignment& assignment) {
    if (!assignment.numeric)
        return searchText(params, index, assignment.value);
    try {
        // Work in the parameter's own unit: its label, or what its display
        // shows after the number.
        std::string unit = trim(params.label(index));
        if (unit.empty()) {
            double ignored;
            std::string suffix;
            if (parseDisplayNumber(params.display(index), ignored, suffix))
                unit = suffix;
        }
        double target = assignment.number;
        if (!assignment.unit.empty()) {
            const double factor = unitFactor(assignment.unit, unit);
            if (factor == 0.0 && unit.empty())
                throw ParamError("parameter " + params.name(index) + " has no unit; write " +
                                 assignment.target + ":=" + formatNumber(assignment.number));
            if (factor == 0.0)
                throw ParamError("parameter " + params.name(index) + " is in \"" + unit +
                                 "\", not \"" + assignment.unit + "\"");
            target *= factor;
        }
        return searchNumber(params, index, target);
    } catch (const ParamError& numericError) {
        // Words that start with a digit ("8th", "2x") are display texts.
        try {
            return searchText(params, index, assignment.value);
        } catch (const ParamError&) {
            throw numericError;
        }
    }
}

AppliedParam applyParamAssignment(ParamAccess& params, const ParamAssignment& assignment) {
    AppliedParam applied;
    applied.index = resolveParam(params, assignment.target);
    applied.name = params.name(applied.index);
    if (assignment.mode == ParamAssignment::Mode::Normalised) {
        applied.normalised = (float)assignment.number;
        params.set(applied.index, applied.normalised);
    } else {
        applied.normalised = searchDisplayValue(params, applied.index, assignment);
    }
    applied.display = trim(params.display(applied.index));
    const std::string label = trim(params.label(applied.index));
    if (!label.empty())
        applied.display += " " + label;
    return applied;
}

}  // namespace vsthost
