// A one-line progress bar on the terminal for long jobs; silent when the
// error stream is not a terminal, and for jobs that end quickly.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace vsthost {

class ProgressBar {
public:
    explicit ProgressBar(std::string label);
    ~ProgressBar();
    void update(size_t done, size_t total);
    void finish();

private:
    std::string label_;
    bool enabled_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point start_, lastDraw_;
};

}  // namespace vsthost
