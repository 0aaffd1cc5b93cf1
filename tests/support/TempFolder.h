// A fresh, empty folder under /tmp, removed with its contents at destruction.
#pragma once

#include <cstdlib>
#include <string>

class TempFolder {
public:
    TempFolder() {
        char pattern[] = "/tmp/tapdelay-test-XXXXXX";
        const char* made = mkdtemp(pattern);
        m_path = std::string(made ? made : "/tmp") + "/";
    }
    ~TempFolder() {
        if (m_path.size() > 5) std::system(("rm -rf '" + m_path + "'").c_str());
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return m_path; }  // ends in "/"
    std::string file(const std::string& name) const { return m_path + name; }

private:
    std::string m_path;
};
