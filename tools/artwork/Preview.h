// A picture of the whole editor face as the editor would compose it: the
// background, every control at a typical setting, meters partly lit and
// sample value texts. For judging the artwork by eye.
#pragma once

#include <string>

namespace artwork {

bool WritePreview(const std::string& path, int scale);

}  // namespace artwork
