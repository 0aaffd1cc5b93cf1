#include "tools/make_fxb/PresetParser.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>

namespace {

// How a parameter's value is written in the text.
enum class ValueKind { Switch, Gain, Time, Pan, Cutoff, FilterType, FilterGain, Q, Percent, SyncNote };

const char* const kFilterTypeNames[] = {"L-SH", "PK", "H-SH"};

ValueKind KindOf(int index) {
    auto in = [index](int first) { return index >= first && index < first + kNumTaps; };
    if (IsSwitchParam(index)) return ValueKind::Switch;
    if (IsGainParam(index)) return ValueKind::Gain;
    if (in(kParamDelayTime)) return ValueKind::Time;
    if (in(kParamDelayPan)) return ValueKind::Pan;
    if (in(kParamFilterCutoff)) return ValueKind::Cutoff;
    if (in(kParamFilterType)) return ValueKind::FilterType;
    if (in(kParamFilterGain)) return ValueKind::FilterGain;
    if (in(kParamFilterQ)) return ValueKind::Q;
    if (index == kParamSyncNote) return ValueKind::SyncNote;
    return ValueKind::Percent;  // FeedBack, Balance
}

const char* UnitOf(ValueKind kind) {
    switch (kind) {
        case ValueKind::Gain:
        case ValueKind::FilterGain: return "dB";
        case ValueKind::Time: return "ms";
        case ValueKind::Cutoff: return "Hz";
        case ValueKind::Percent: return "%";
        default: return "";
    }
}

std::string Trim(const std::string& text) {
    size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return "";
    size_t last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

// A plain decimal number ("110", "-3.5", ".7") at the start of `text`; the
// rest (the unit) goes to `rest`. Exponents, hex, "inf" and "nan" are refused.
bool ReadNumber(const std::string& text, double* value, std::string* rest) {
    size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) i++;
    size_t digits = 0;
    while (i < text.size() && std::isdigit((unsigned char)text[i])) i++, digits++;
    if (i < text.size() && text[i] == '.') {
        i++;
        while (i < text.size() && std::isdigit((unsigned char)text[i])) i++, digits++;
    }
    if (digits == 0) return false;
    *value = std::strtod(text.substr(0, i).c_str(), nullptr);
    *rest = Trim(text.substr(i));
    return true;
}

std::string FormatNumber(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string WithUnit(double value, const char* unit) {
    return *unit ? FormatNumber(value) + " " + unit : FormatNumber(value);
}

// The index of `text` in a list of names, or -1.
int IndexOfName(const std::string& text, const char* const* names, int count) {
    for (int i = 0; i < count; i++)
        if (text == names[i]) return i;
    return -1;
}

std::string Choices(const char* const* names, int count) {
    std::string list;
    for (int i = 0; i < count; i++) list += (i ? ", " : "") + std::string(names[i]);
    return list;
}

bool ParseSelector(int index, const std::string& text, const char* const* names, int count,
                   float* normalised, std::string* error) {
    int selected = IndexOfName(text, names, count);
    if (selected < 0) {
        *error = "\"" + text + "\" is not one of " + Choices(names, count);
        return false;
    }
    *normalised = ValToNormalizeValue(index, (float)selected);
    return true;
}

// Gains are written in dB by the plug-in's own rule, 6 dB per doubling. The
// lowest accepted text is the one-decimal display of the range's minimum.
bool ParseGain(int index, double dB, float* normalised, std::string* error) {
    const ParamMinMax& range = AutomateParamMinMax_Tbl[index];
    double lowest = std::floor(6.0 * std::log2(range.min) * 10.0) / 10.0;
    double highest = 6.0 * std::log2(range.max);
    if (dB < lowest - 1e-9 || dB > highest + 1e-9) {
        *error = WithUnit(dB, "dB") + " is out of range (" + WithUnit(lowest, "dB") + " to " +
                 WithUnit(highest, "dB") + ")";
        return false;
    }
    float linear = DbToLinear((float)dB, (float)range.min, (float)range.max);
    *normalised = ValToNormalizeValue(index, linear);
    return true;
}

std::string ParamName(int index) {
    char text[32];
    GetParamName(index, text);
    return text;
}

void SetName(ATapDelayProgram& record, const std::string& name) {
    std::memset(record.name, 0, sizeof record.name);
    std::strncpy(record.name, name.c_str(), kMaxPresetNameLength);
}

// What is wrong with a preset name, or "" when it is fine.
std::string NameProblem(const std::string& name) {
    if (name.empty()) return "empty preset name";
    if ((int)name.size() > kMaxPresetNameLength)
        return "preset name \"" + name + "\" is longer than " +
               std::to_string(kMaxPresetNameLength) + " characters";
    for (unsigned char c : name)
        if (c < 0x20 || c > 0x7E) return "preset name \"" + name + "\" has a non-ASCII character";
    return "";
}

class PresetReader {
public:
    explicit PresetReader(const std::string& fileName) : m_fileName(fileName) {}

    void ReadLine(const std::string& raw, int line) {
        std::string text = Trim(raw.substr(0, raw.find('#')));
        if (text.empty()) return;
        if (text.front() == '[') {
            ReadHeader(text, line);
            return;
        }
        size_t equals = text.find('=');
        if (equals == std::string::npos) {
            Fail(line, "expected \"[Preset Name]\" or \"Parameter = value\", found \"" + text + "\"");
            return;
        }
        ReadSetting(Trim(text.substr(0, equals)), Trim(text.substr(equals + 1)), line);
    }

    PresetParseResult Finish() {
        if (m_result.presets.empty() && m_result.errors.empty()) Fail(1, "no presets in the file");
        return std::move(m_result);
    }

private:
    void ReadHeader(const std::string& text, int line) {
        m_current = nullptr;
        m_seenHeader = true;
        m_setOnLine.clear();
        if (text.back() != ']') {
            Fail(line, "a preset header must end with \"]\"");
            return;
        }
        std::string name = Trim(text.substr(1, text.size() - 2));
        std::string problem = NameProblem(name);
        if (!problem.empty()) {
            Fail(line, problem);
            return;
        }
        for (const FactoryPreset& other : m_result.presets) {
            if (other.name == name) {
                Fail(line, "preset \"" + name + "\" is already defined on line " +
                               std::to_string(other.line));
                return;
            }
        }
        if ((int)m_result.presets.size() == kNumPrograms) {
            Fail(line, "more than " + std::to_string(kNumPrograms) + " presets");
            return;
        }
        m_result.presets.emplace_back();
        m_current = &m_result.presets.back();
        m_current->name = name;
        m_current->line = line;
        SetName(m_current->record, name);
    }

    void ReadSetting(const std::string& key, const std::string& value, int line) {
        int index = ParamIndexByName(key);
        if (index < 0) {
            Fail(line, "unknown parameter \"" + key + "\"");
            return;
        }
        if (!m_seenHeader) {
            Fail(line, "\"" + key + "\" stands before the first \"[Preset Name]\"");
            return;
        }
        auto earlier = m_setOnLine.find(index);
        if (earlier != m_setOnLine.end()) {
            Fail(line, key + " is already set on line " + std::to_string(earlier->second));
            return;
        }
        m_setOnLine[index] = line;
        float normalised = 0.0f;
        std::string error;
        if (!ParseParamValue(index, value, &normalised, &error)) {
            Fail(line, key + ": " + error);
            return;
        }
        // Under a refused header the values are still checked, but kept nowhere.
        if (m_current) m_current->record.values[SlotOfParam(index)] = normalised;
    }

    void Fail(int line, const std::string& message) {
        m_result.errors.push_back(m_fileName + ":" + std::to_string(line) + ": " + message);
    }

    std::string m_fileName;
    PresetParseResult m_result;
    FactoryPreset* m_current = nullptr;  // the preset being read; null after a refused header
    bool m_seenHeader = false;
    std::map<int, int> m_setOnLine;      // parameter index -> line, within the current preset
};

}  // namespace

int ParamIndexByName(const std::string& name) {
    for (int index = 0; index < kNumParams; index++)
        if (ParamName(index) == name) return index;
    return -1;
}

bool ParseParamValue(int index, const std::string& text, float* normalised, std::string* error) {
    if (!IsValidParam(index)) {
        *error = "no such parameter";
        return false;
    }
    ValueKind kind = KindOf(index);
    if (kind == ValueKind::Switch) {
        static const char* const kSwitchNames[] = {"OFF", "ON"};
        return ParseSelector(index, text, kSwitchNames, 2, normalised, error);
    }
    if (kind == ValueKind::FilterType) return ParseSelector(index, text, kFilterTypeNames, 3, normalised, error);
    if (kind == ValueKind::SyncNote) return ParseSelector(index, text, szNote, 4, normalised, error);

    double value = 0.0;
    std::string unit;
    if (!ReadNumber(text, &value, &unit)) {
        *error = "\"" + text + "\" is not a number";
        return false;
    }
    const char* wanted = UnitOf(kind);
    if (unit != wanted) {
        *error = *wanted ? "\"" + text + "\" needs the unit \"" + wanted + "\""
                         : "\"" + text + "\" takes no unit";
        return false;
    }
    if (kind == ValueKind::Gain) return ParseGain(index, value, normalised, error);

    const ParamMinMax& range = AutomateParamMinMax_Tbl[index];
    if (value < range.min || value > range.max) {
        *error = WithUnit(value, wanted) + " is out of range (" + WithUnit(range.min, wanted) +
                 " to " + WithUnit(range.max, wanted) + ")";
        return false;
    }
    *normalised = ValToNormalizeValue(index, (float)value);
    return true;
}

PresetParseResult ParsePresets(std::istream& text, const std::string& fileName) {
    PresetReader reader(fileName);
    std::string raw;
    for (int line = 1; std::getline(text, raw); line++) reader.ReadLine(raw, line);
    return reader.Finish();
}

bool MakeFactoryBank(const std::vector<FactoryPreset>& presets, ATapDelayProgram* bank,
                     std::string* error) {
    if ((int)presets.size() > kNumPrograms) {
        *error = "more than " + std::to_string(kNumPrograms) + " presets";
        return false;
    }
    for (int program = 0; program < kNumPrograms; program++) {
        bank[program] = program < (int)presets.size() ? presets[program].record : ATapDelayProgram();
        bank[program].currentProgram = 0;
    }
    return true;
}
