// The tool's standard output: text is appended to one large buffer and leaves it in large pieces.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "packet.hpp"

namespace qorldp {

class Output {
  public:
    // Writes to the descriptor; -1 keeps everything in memory, see Text().
    explicit Output(int fd) : fd_(fd), buffer_(kSize) {}

    void Put(char c) { *Room(1) = c, ++used_; }

    void Put(std::string_view text) {
        std::memcpy(Room(text.size()), text.data(), text.size());
        used_ += text.size();
    }

    void Pad(size_t spaces) {
        std::memset(Room(spaces), ' ', spaces);
        used_ += spaces;
    }

    void Dec(uint64_t value) {
        char *const at = Room(20);
        used_ += static_cast<size_t>(std::to_chars(at, at + 20, value).ptr - at);
    }

    // digits: how many at least.
    void Hex(uint64_t value, size_t digits) {
        while (digits < 16 && value >> (4 * digits) != 0) {
            ++digits;
        }
        char *const at = Room(digits);
        for (size_t i = 0; i < digits; ++i) {
            at[i] = kDigits[value >> (4 * (digits - 1 - i)) & 0xF];
        }
        used_ += digits;
    }

    void HexOctets(Bytes octets) {
        for (const uint8_t octet : octets) {
            Hex(octet, 2);
        }
    }

    void Ip4(uint32_t ip) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            Dec(ip >> shift & 0xFF);
            if (shift != 0) {
                Put('.');
            }
        }
    }

    // Octets of a peer: printable ASCII as it is, the rest, the backslash included, as \xNN.
    void Escaped(std::string_view text) {
        for (const char c : text) {
            if (c >= ' ' && c <= '~' && c != '\\') {
                Put(c);
            } else {
                Put("\\x");
                Hex(static_cast<uint8_t>(c), 2);
            }
        }
    }

    // UTC with microseconds; separator stands between date and time.
    void Time(const Timestamp &time, char separator);

    // Writes what the buffer holds.
    void Flush();

    // Forgets what the buffer holds.
    void Clear() { used_ = 0; }

    // errno of the write that failed, 0: none did. Nothing is written behind a failure.
    int Error() const { return error_; }
    std::string_view Text() const { return {buffer_.data(), used_}; }

  private:
    static constexpr size_t kSize = 256 << 10;
    static constexpr char kDigits[] = "0123456789ABCDEF";

    char *Room(size_t octets) {
        if (buffer_.size() - used_ < octets) {
            MakeRoom(octets);
        }
        return buffer_.data() + used_;
    }
    void MakeRoom(size_t octets);

    int fd_;
    int error_ = 0;
    size_t used_ = 0;
    std::vector<char> buffer_;
    int64_t date_sec_ = -1;  // second that date_ shows
    char date_[19] = {};
};

}  // namespace qorldp
