#include "tools/vsthost/Progress.h"

#include <unistd.h>

#include <cstdio>

namespace vsthost {

namespace {
constexpr auto kQuietStart = std::chrono::milliseconds(300);
constexpr auto kRedraw = std::chrono::milliseconds(100);
constexpr int kWidth = 30;
}  // namespace

ProgressBar::ProgressBar(std::string label)
    : label_(std::move(label)),
      enabled_(isatty(STDERR_FILENO) == 1),
      start_(std::chrono::steady_clock::now()),
      lastDraw_(start_) {}

ProgressBar::~ProgressBar() {
    finish();
}

void ProgressBar::update(size_t done, size_t total) {
    if (!enabled_ || total == 0)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - start_ < kQuietStart || (shown_ && now - lastDraw_ < kRedraw))
        return;
    lastDraw_ = now;
    shown_ = true;
    const double fraction = done >= total ? 1.0 : (double)done / total;
    const int filled = (int)(fraction * kWidth);
    fprintf(stderr, "\r%s [%.*s%*s] %3d%%", label_.c_str(), filled,
            "##############################", kWidth - filled, "", (int)(fraction * 100));
    fflush(stderr);
}

void ProgressBar::finish() {
    if (shown_) {
        fprintf(stderr, "\r%*s\r", (int)label_.size() + kWidth + 8, "");
        fflush(stderr);
        shown_ = false;
    }
}

}  // namespace vsthost
