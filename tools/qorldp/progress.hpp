// A progress bar on standard error for large files, for a person who waits: only when standard
// error is a terminal, and standard output is not, where the bar would stand between the lines.
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace qorldp {

class Progress {
  public:
    // size: octets to read, 0 when not known.
    Progress(const std::string &name, uint64_t size)
        : name_(name),
          size_(size),
          shown_(size >= kLarge && isatty(STDERR_FILENO) != 0 && isatty(STDOUT_FILENO) == 0) {}
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    ~Progress() {
        if (shown_) {
            std::fputs("\r\033[K", stderr);
        }
    }

    // To be called for each packet; position is asked for rarely.
    template <class Position>
    void Tick(const Position &position) {
        if (shown_ && ++ticks_ % kTicks == 0) {
            Show(position());
        }
    }

  private:
    static constexpr uint64_t kLarge = 8 << 20;
    static constexpr uint32_t kTicks = 4096;
    static constexpr int kWidth = 40;

    void Show(uint64_t at) {
        const auto now = std::chrono::steady_clock::now();
        if (now - last_ < std::chrono::milliseconds(100)) {
            return;
        }
        last_ = now;
        const double part = static_cast<double>(at) / static_cast<double>(size_);
        const int filled = part >= 1 ? kWidth : static_cast<int>(part * kWidth);
        const std::string bar(static_cast<size_t>(filled), '#');
        std::fprintf(stderr, "\r%s [%-*s] %3.0f %%\033[K", name_.c_str(), kWidth, bar.c_str(),
                     part >= 1 ? 100.0 : part * 100);
    }

    std::string name_;
    uint64_t size_;
    bool shown_;
    uint32_t ticks_ = 0;
    std::chrono::steady_clock::time_point last_{};
};

}  // namespace qorldp
