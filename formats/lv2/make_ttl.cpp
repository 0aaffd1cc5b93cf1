// make_ttl: writes the bundle's manifest.ttl, TapDelay.ttl (ports from the
// parameter table, defaults from program 0 of the factory bank) and
// presets.ttl (the factory programs) from the presets text.
//   make_ttl <presets.txt> <bundle folder> <binary name>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "formats/shared/DisplayUnits.h"
#include "formats/lv2/TapDelayLv2.h"
#include "tools/make_fxb/PresetParser.h"

using namespace DisplayUnits;
using namespace PortLayout;

namespace {

const char* kPrefixes =
    "@prefix atom: <http://lv2plug.in/ns/ext/atom#> .\n"
    "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
    "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
    "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
    "@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .\n"
    "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
    "@prefix state: <http://lv2plug.in/ns/ext/state#> .\n"
    "@prefix time: <http://lv2plug.in/ns/ext/time#> .\n"
    "@prefix ui: <http://lv2plug.in/ns/extensions/ui#> .\n"
    "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n"
    "@prefix urid: <http://lv2plug.in/ns/ext/urid#> .\n\n";

// Every digit a float needs, so the text reads back as the same float.
std::string Number(float value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", (double)value);
    std::string s = text;
    if (s.find_first_of(".e") == std::string::npos) s += ".0";
    return s;
}

std::string PresetUri(size_t number) { return std::string(TAPDELAY_LV2_URI "#preset") + std::to_string(number); }

// A record's value as a port value that converts back to exactly that record value.
bool PortValue(const ATapDelayProgram& record, int index, float* value) {
    float normalised = record.values[SlotOfParam(index)];
    if (ExactDisplayValue(index, normalised, value)) return true;
    char name[32];
    GetParamName(index, name);
    std::fprintf(stderr, "make_ttl: %s of \"%s\" has no exact port value\n", name, record.name);
    return false;
}

const char* UnitUri(int index) {
    std::string unit = Unit(index);
    if (unit == "ms") return "units:ms";
    if (unit == "dB") return "units:db";
    if (unit == "Hz") return "units:hz";
    if (unit == "%") return "units:pc";
    return nullptr;
}

bool WritePlugin(std::ostream& out, const ATapDelayProgram& defaults, const std::string& binary) {
    out << kPrefixes;
    out << "<" TAPDELAY_LV2_URI ">\n  a lv2:Plugin, lv2:DelayPlugin ;\n  doap:name \"TapDelay\" ;\n"
        << "  lv2:binary <" << binary << "> ;\n"
        << "  lv2:optionalFeature urid:map, <http://lv2plug.in/ns/ext/options#options> ;\n"
        << "  lv2:extensionData state:interface ;\n"
        << "  ui:ui <" TAPDELAY_LV2_UI_URI "> ;\n";
    const char* audio[4][3] = {{"InputPort", "in_l", "Input L"}, {"InputPort", "in_r", "Input R"},
                               {"OutputPort", "out_l", "Output L"}, {"OutputPort", "out_r", "Output R"}};
    out << "  lv2:port";
    for (int port = 0; port < 4; port++)
        out << (port ? " , " : " ") << "[\n    a lv2:AudioPort, lv2:" << audio[port][0]
            << " ;\n    lv2:index " << port << " ;\n    lv2:symbol \"" << audio[port][1]
            << "\" ;\n    lv2:name \"" << audio[port][2] << "\"\n  ]";
    bool ok = true;
    for (int index = 0; index < kNumParams; index++) {
        char name[32];
        GetParamName(index, name);
        float minimum, maximum, value;
        Range(index, &minimum, &maximum);
        ok = PortValue(defaults, index, &value) && ok;
        out << " , [\n    a lv2:InputPort, lv2:ControlPort ;\n    lv2:index " << kFirstParam + index
            << " ;\n    lv2:symbol \"" << Symbol(index) << "\" ;\n    lv2:name \"" << name
            << "\" ;\n    lv2:default " << Number(value) << " ;\n    lv2:minimum " << Number(minimum)
            << " ;\n    lv2:maximum " << Number(maximum);
        if (IsSwitchParam(index)) out << " ;\n    lv2:portProperty lv2:toggled";
        if (IsEnumeration(index)) {
            out << " ;\n    lv2:portProperty lv2:integer, lv2:enumeration";
            static const char* const kTypes[3] = {"L-SH", "PK", "H-SH"};
            bool note = index == kParamSyncNote;
            for (int point = 0; point <= (note ? 3 : 2); point++)
                out << " ;\n    lv2:scalePoint [ rdfs:label \"" << (note ? szNote[point] : kTypes[point])
                    << "\" ; rdf:value " << point << ".0 ]";
        }
        if (const char* unit = UnitUri(index)) out << " ;\n    units:unit " << unit;
        out << "\n  ]";
    }
    const char* meters[kNumMeters][2] = {
        {"meter_in_l", "Input level L"}, {"meter_in_r", "Input level R"},
        {"meter_out_l", "Output level L"}, {"meter_out_r", "Output level R"}};
    for (int m = 0; m < kNumMeters; m++)
        out << " , [\n    a lv2:OutputPort, lv2:ControlPort ;\n    lv2:index " << kFirstMeter + m
            << " ;\n    lv2:symbol \"" << meters[m][0] << "\" ;\n    lv2:name \"" << meters[m][1]
            << "\" ;\n    lv2:minimum 0.0 ;\n    lv2:maximum 4.0 ;\n    lv2:default 0.0\n  ]";
    out << " , [\n    a lv2:InputPort, atom:AtomPort ;\n    lv2:index " << kTimeIn
        << " ;\n    lv2:symbol \"time\" ;\n    lv2:name \"Time\" ;\n"
        << "    atom:bufferType atom:Sequence ;\n    atom:supports time:Position ;\n"
        << "    lv2:designation lv2:control ;\n    lv2:portProperty lv2:connectionOptional\n  ] .\n\n";

    out << "<" TAPDELAY_LV2_UI_URI ">\n  a ui:X11UI ;\n  ui:binary <" << binary << "> ;\n"
        << "  lv2:requiredFeature ui:parent, <http://lv2plug.in/ns/ext/instance-access>, "
           "ui:idleInterface ;\n"
        << "  lv2:optionalFeature ui:resize, ui:noUserResize, "
           "<http://lv2plug.in/ns/ext/options#options> ;\n"
        << "  <http://lv2plug.in/ns/ext/options#supportedOption> ui:scaleFactor ;\n"
        << "  lv2:extensionData ui:idleInterface .\n";
    return ok;
}

bool WritePresets(std::ostream& out, const std::vector<FactoryPreset>& presets) {
    out << kPrefixes;
    bool ok = true;
    for (size_t p = 0; p < presets.size(); p++) {
        out << "<" << PresetUri(p) << ">\n  a pset:Preset ;\n  lv2:appliesTo <" TAPDELAY_LV2_URI
            << "> ;\n  rdfs:label \"" << presets[p].name << "\" ;\n  lv2:port";
        for (int index = 0; index < kNumParams; index++) {
            float value;
            ok = PortValue(presets[p].record, index, &value) && ok;
            out << (index ? " ,\n    " : "\n    ") << "[ lv2:symbol \"" << Symbol(index)
                << "\" ; pset:value " << Number(value) << " ]";
        }
        out << " .\n\n";
    }
    return ok;
}

void WriteManifest(std::ostream& out, const std::vector<FactoryPreset>& presets,
                   const std::string& binary) {
    out << kPrefixes;
    out << "<" TAPDELAY_LV2_URI ">\n  a lv2:Plugin ;\n  lv2:binary <" << binary
        << "> ;\n  rdfs:seeAlso <TapDelay.ttl> .\n\n";
    out << "<" TAPDELAY_LV2_UI_URI ">\n  a ui:X11UI ;\n  ui:binary <" << binary
        << "> ;\n  rdfs:seeAlso <TapDelay.ttl> .\n\n";
    for (size_t p = 0; p < presets.size(); p++)
        out << "<" << PresetUri(p) << ">\n  a pset:Preset ;\n  lv2:appliesTo <" TAPDELAY_LV2_URI
            << "> ;\n  rdfs:seeAlso <presets.ttl> .\n\n";
}

bool WriteFile(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    return (bool)file;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: make_ttl <presets.txt> <bundle folder> <binary name>\n");
        return 2;
    }
    std::ifstream text(argv[1]);
    if (!text) {
        std::fprintf(stderr, "%s: cannot be read\n", argv[1]);
        return 1;
    }
    PresetParseResult parsed = ParsePresets(text, argv[1]);
    for (const std::string& error : parsed.errors) std::fprintf(stderr, "%s\n", error.c_str());
    if (!parsed.ok()) return 1;
    static ATapDelayProgram bank[kNumPrograms];
    std::string error;
    if (!MakeFactoryBank(parsed.presets, bank, &error)) {
        std::fprintf(stderr, "%s: %s\n", argv[1], error.c_str());
        return 1;
    }
    std::string folder = std::string(argv[2]) + "/";
    std::ostringstream plugin, presets, manifest;
    bool ok = WritePlugin(plugin, bank[0], argv[3]) & WritePresets(presets, parsed.presets);
    WriteManifest(manifest, parsed.presets, argv[3]);
    if (!ok) return 1;
    if (!WriteFile(folder + "TapDelay.ttl", plugin.str()) ||
        !WriteFile(folder + "presets.ttl", presets.str()) ||
        !WriteFile(folder + "manifest.ttl", manifest.str())) {
        std::fprintf(stderr, "make_ttl: cannot write into %s\n", argv[2]);
        return 1;
    }
    return 0;
}
