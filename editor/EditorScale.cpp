#include "editor/EditorScale.h"

#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace {

constexpr float kSizes[] = {1.0f, 1.5f, 2.0f};
constexpr char kChoiceFile[] = "EditorSize.txt";

std::string ChoicePath(const char* folder) {
    if (!folder || !*folder) return std::string();
    std::string path = folder;
    if (path.back() != '/') path += '/';
    return path + kChoiceFile;
}

}  // namespace

float NearestEditorScale(double factor) {
    if (!(factor > 0.0) || !std::isfinite(factor)) return 0.0f;
    float best = kSizes[0];
    for (float size : kSizes)
        if (std::fabs(factor - size) < std::fabs(factor - best)) best = size;
    return best;
}

float EditorScaleSources::Choose() const {
    for (float source : {host, user, desktop})
        if (float size = NearestEditorScale(source)) return size;
    return 1.0f;
}

float LoadEditorScaleChoice(const char* preferencesFolder) {
    const std::string path = ChoicePath(preferencesFolder);
    FILE* file = path.empty() ? nullptr : std::fopen(path.c_str(), "r");
    if (!file) return 0.0f;
    double factor = 0.0;
    if (std::fscanf(file, "%lf", &factor) != 1) factor = 0.0;
    std::fclose(file);
    return NearestEditorScale(factor);
}

bool SaveEditorScaleChoice(const char* preferencesFolder, float scale) {
    const std::string path = ChoicePath(preferencesFolder);
    if (path.empty()) return false;
    if (!NearestEditorScale(scale)) return std::remove(path.c_str()) == 0;
    // The folder and any missing parents (a fresh $XDG_CONFIG_HOME).
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        ::mkdir(path.substr(0, slash).c_str(), 0755);
    FILE* file = std::fopen(path.c_str(), "w");
    if (!file) return false;
    const bool written = std::fprintf(file, "%g\n", NearestEditorScale(scale)) > 0;
    return std::fclose(file) == 0 && written;
}
