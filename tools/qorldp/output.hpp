// The tool's standard output: text is appended to one large buffer and leaves it in large pieces.
#pragma once

#include <algorithm>  // IWYU pragma: keep
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "packet.hpp"
#include "parts.hpp"

namespace qorldp {

class Output {
  public:
    // Writes to the descriptor; -1 keeps everything in memory, see Text().
    explicit Output(int fd) : fd_(fd), buffer_(kSize) {}
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    // Appends the parts: text, and what parts.hpp names.
    template <class... Parts>
    void Put(const Parts &...parts) {
        char *at = Reserve((Room(parts) + ...));
        ((at = Write(at, parts)), ...);
        end_ = at;
    }

    // UTC with microseconds; separator stands between date and time.
    void Time(const Timestamp &time, char separator);

    // Writes what the buffer holds.
    void Flush();

    // Forgets what the buffer holds.
    void Clear() { end_ = buffer_.data(); }

    // errno of the write that failed, 0: none did. Nothing is written behind a failure.
    int Error() const { return error_; }
    std::string_view Text() const { return {buffer_.data(), Used()}; }

  private:
    static constexpr size_t kSize = 256 << 10;

    size_t Used() const { return static_cast<size_t>(end_ - buffer_.data()); }

    // Returns the end of what the buffer holds, with room for so many octets behind it.
    char *Reserve(size_t octets) {
        if (static_cast<size_t>(limit_ - end_) < octets) {
            MakeRoom(octets);
        }
        return end_;
    }
    void MakeRoom(size_t octets);

    int fd_;
    int error_ = 0;
    std::vector<char> buffer_;
    char *end_ = buffer_.data();  // of what it holds
    char *limit_ = end_ + kSize;
    int64_t date_sec_ = -1;  // second that date_ shows
    char date_[19] = {};
};

}  // namespace qorldp
