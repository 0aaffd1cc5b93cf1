// Setting parameters by name or index, either as normalised values or in the
// plug-in's own display units ("DelayTime0=250ms", "FilterType0=PK",
// "DelayPan0:=25"). The display form works for any plug-in: it searches the
// normalised value whose display text reads as asked.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace vsthost {

class PluginHost;

class ParamError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The few parameter calls the search needs; PluginParams answers them from a
// live plug-in, tests answer them from models.
class ParamAccess {
public:
    virtual ~ParamAccess() = default;
    virtual int count() = 0;
    virtual std::string name(int index) = 0;
    virtual std::string label(int index) = 0;
    virtual std::string display(int index) = 0;
    virtual float get(int index) = 0;
    virtual void set(int index, float value) = 0;
};

class PluginParams : public ParamAccess {
public:
    explicit PluginParams(PluginHost& host) : host_(host) {}
    int count() override;
    std::string name(int index) override;
    std::string label(int index) override;
    std::string display(int index) override;
    float get(int index) override;
    void set(int index, float value) override;

private:
    PluginHost& host_;
};

// One "NAME=VALUE" or "NAME:=VALUE" as written on the command line.
struct ParamAssignment {
    enum class Mode { Normalised, Display };
    std::string target;  // parameter name or index
    Mode mode = Mode::Normalised;
    std::string value;   // the text after the '=' (trimmed)
    bool numeric = false;
    double number = 0.0;  // when numeric
    std::string unit;     // text after the number ("ms", "dB", "%"), may be empty
};

// Throws ParamError with a message for the user.
ParamAssignment parseParamAssignment(const std::string& text);

// A display text read as a number with the text that follows it
// ("-6.0 dB" gives -6 and "dB"; "-oo" and "-inf" give minus infinity).
// False when the text does not start with a number.
bool parseDisplayNumber(const std::string& text, double& number, std::string& suffix);

// Factor that turns `from` units into `to` units (ms into s, kHz into Hz);
// 1 for equal units (ignoring case), 0 when they cannot be converted.
double unitFactor(const std::string& from, const std::string& to);

// Index of the parameter named (exact, then ignoring case) or numbered by
// `target`. Throws ParamError naming the parameters there are.
int resolveParam(ParamAccess& params, const std::string& target);

// The normalised value whose display matches the assignment; leaves the
// parameter at that value. Throws ParamError when nothing matches.
float searchDisplayValue(ParamAccess& params, int index, const ParamAssignment& assignment);

struct AppliedParam {
    int index = -1;
    std::string name;
    float normalised = 0.0f;
    std::string display;  // the display text after setting, with the label
};

AppliedParam applyParamAssignment(ParamAccess& params, const ParamAssignment& assignment);

}  // namespace vsthost
