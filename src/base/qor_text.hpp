// Texts: put together in a caller's buffer, and their line breaks.
#pragma once

#include "qor_host.h"  // IWYU pragma: export

namespace qor {

// Fills a buffer print by print, each of which continues where the one before ended.
class TextWriter {
  public:
    TextWriter(char *buffer, uint32_t size) : buffer_(buffer), size_(size) {}

    char *At() const { return buffer_ + used_; }
    uint32_t Room() const { return size_ - used_; }
    uint32_t Used() const { return used_; }

    // Returns the characters stored, or a negative value when the text did not fit. There must be
    // room.
    template <class... Args>
    int Print(const char *fmt, Args... args) {
        const int stored = snprintf_s(At(), Room(), Room() - 1, fmt, args...);
        if (stored > 0) {
            used_ += static_cast<uint32_t>(stored);
        }
        return stored;
    }

  private:
    char *buffer_;
    uint32_t size_;
    uint32_t used_ = 0;
};

// Returns text behind at most two leading CR or LF characters: CR LF and its like are one break.
inline const char *SkipLineBreak(const char *text) {
    for (int i = 0; i < 2 && (*text == '\r' || *text == '\n'); ++i) {
        ++text;
    }
    return text;
}

}  // namespace qor
