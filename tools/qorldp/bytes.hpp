// Reading octets that nobody has checked: every read of capture, packet and message data that is
// not left to the codec goes through Reader and its one bounds check.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qorldp {

using Bytes = std::span<const uint8_t>;

// A cursor over big-endian octets. A read behind the end gives 0 (or no octets) and makes the
// reader fail for good, so that a run of reads needs one test at its end.
class Reader {
  public:
    explicit Reader(Bytes data) : data_(data) {}

    size_t Left() const { return data_.size() - pos_; }
    size_t Position() const { return pos_; }
    bool Ok() const { return ok_; }
    Bytes Rest() const { return data_.subspan(pos_); }

    Bytes Take(size_t n) {
        if (n > Left()) {
            ok_ = false;
            pos_ = data_.size();
            return {};
        }
        pos_ += n;
        return data_.subspan(pos_ - n, n);
    }

    bool Skip(size_t n) {
        Take(n);
        return ok_;
    }

    uint8_t U8() { return static_cast<uint8_t>(Number(1)); }
    uint16_t U16() { return static_cast<uint16_t>(Number(2)); }
    uint32_t U32() { return Number(4); }

  private:
    uint32_t Number(size_t octets) {
        uint32_t value = 0;
        for (const uint8_t octet : Take(octets)) {
            value = value << 8 | octet;
        }
        return value;
    }

    Bytes data_;
    size_t pos_ = 0;
    bool ok_ = true;
};

}  // namespace qorldp
