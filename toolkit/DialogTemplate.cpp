#include "toolkit/DialogTemplate.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "toolkit/ResourceFolder.h"

namespace {

constexpr long kMaxSize = 4096;
constexpr long kMaxCoordinate = 4096;
constexpr size_t kMaxTemplateBytes = 64 * 1024;

// Splits a line into words; "quoted text" is one word (\" and \\ escape).
// False on an unterminated quote.
bool SplitWords(const std::string& line, std::vector<std::string>& words) {
    size_t i = 0;
    while (i < line.size()) {
        const char c = line[i];
        if (c == ' ' || c == '\t' || c == '\r') {
            i++;
            continue;
        }
        std::string word;
        if (c == '"') {
            i++;
            bool closed = false;
            while (i < line.size()) {
                char q = line[i++];
                if (q == '\\' && i < line.size()) {
                    word += line[i++];
                } else if (q == '"') {
                    closed = true;
                    break;
                } else {
                    word += q;
                }
            }
            if (!closed) return false;
        } else {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r')
                word += line[i++];
        }
        words.push_back(word);
    }
    return true;
}

bool ToNumber(const std::string& word, long low, long high, int& out) {
    if (word.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(word.c_str(), &end, 10);
    if (errno != 0 || *end != 0) return false;
    out = static_cast<int>(std::clamp(value, low, high));
    return true;
}

bool ToKind(const std::string& word, DialogControlKind& kind) {
    static const struct {
        const char* name;
        DialogControlKind kind;
    } kinds[] = {{"static", DialogControlKind::Static},
                 {"edit", DialogControlKind::Edit},
                 {"combo", DialogControlKind::Combo},
                 {"button", DialogControlKind::Button},
                 {"defbutton", DialogControlKind::DefButton}};
    for (const auto& k : kinds) {
        if (word == k.name) {
            kind = k.kind;
            return true;
        }
    }
    return false;
}

bool ParseControl(const std::vector<std::string>& words, DialogControlTemplate& control) {
    if (words.size() < 6 || words.size() > 7) return false;
    if (!ToKind(words[0], control.kind)) return false;
    int edges[4];
    // -1 marks a control nobody addresses (Win32's IDC_STATIC).
    if (!ToNumber(words[1], -1, 0xFFFF, control.id)) return false;
    if (control.id < 0) control.id = 0xFFFF;
    for (int e = 0; e < 4; e++) {
        if (!ToNumber(words[2 + e], -kMaxCoordinate, kMaxCoordinate, edges[e])) return false;
    }
    control.rect = CRect(edges[0], edges[1], std::max(edges[0], edges[2]),
                         std::max(edges[1], edges[3]));
    control.caption = words.size() == 7 ? words[6] : std::string();
    return true;
}

}  // namespace

const DialogControlTemplate* DialogTemplate::Find(int id) const {
    for (const auto& control : controls) {
        if (control.id == id) return &control;
    }
    return nullptr;
}

bool ParseDialogTemplate(const std::string& text, DialogTemplate& out) {
    DialogTemplate parsed;
    bool haveHeader = false;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const size_t first = line.find_first_not_of(" \t\r");
        if (first == std::string::npos || line[first] == '#') continue;
        std::vector<std::string> words;
        if (!SplitWords(line, words) || words.empty()) continue;
        if (!haveHeader) {
            if (words[0] != "dialog" || words.size() < 3 || words.size() > 4) return false;
            if (!ToNumber(words[1], 1, kMaxSize, parsed.width)) return false;
            if (!ToNumber(words[2], 1, kMaxSize, parsed.height)) return false;
            parsed.title = words.size() == 4 ? words[3] : std::string();
            haveHeader = true;
            continue;
        }
        DialogControlTemplate control;
        if (ParseControl(words, control)) parsed.controls.push_back(control);
    }
    if (!haveHeader) return false;
    out = parsed;
    return true;
}

bool LoadDialogTemplate(unsigned id, DialogTemplate& out) {
    std::string path = AfxGetResourceFolder();
    if (path.empty()) return false;
    path += std::to_string(id) + ".dlg";
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return false;
    std::string text;
    char buffer[4096];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0 && text.size() < kMaxTemplateBytes)
        text.append(buffer, got);
    std::fclose(file);
    if (text.size() > kMaxTemplateBytes) return false;
    return ParseDialogTemplate(text, out);
}
