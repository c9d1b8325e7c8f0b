// Octets on the wire: big-endian, any alignment.
#pragma once

#include <cstdint>
#include <cstring>

namespace qor::wire {

inline uint16_t Get16(const uint8_t *p) {
    return static_cast<uint16_t>(p[0] << 8 | p[1]);
}

inline uint32_t Get32(const uint8_t *p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

inline void Put16(uint8_t *p, uint16_t value) {
    p[0] = static_cast<uint8_t>(value >> 8);
    p[1] = static_cast<uint8_t>(value);
}

inline void Put32(uint8_t *p, uint32_t value) {
    Put16(p, static_cast<uint16_t>(value >> 16));
    Put16(p + 2, static_cast<uint16_t>(value));
}

// Writes forward from one place. The encoders are given no buffer length; what each can write at
// most is stated in the public headers, and QOR_LDP_PKT_ENC_BUF_LEN covers the largest.
class Writer {
  public:
    explicit Writer(uint8_t *start) : start_(start), at_(start) {}

    uint8_t *At() const { return at_; }
    uint32_t Written() const { return static_cast<uint32_t>(at_ - start_); }

    void U8(uint8_t value) { *at_++ = value; }
    void U16(uint16_t value) {
        Put16(at_, value);
        at_ += 2;
    }
    void U32(uint32_t value) {
        Put32(at_, value);
        at_ += 4;
    }
    void Octets(const void *data, uint32_t n) {
        if (n != 0) {
            std::memcpy(at_, data, n);
            at_ += n;
        }
    }
    void Zeros(uint32_t n) {
        std::memset(at_, 0, n);
        at_ += n;
    }
    // Counts octets that are the caller's to fill.
    void Skip(uint32_t n) { at_ += n; }
    // Goes on where an encoder with a cursor of its own stopped.
    void MoveTo(uint8_t *at) { at_ = at; }

  private:
    uint8_t *start_;
    uint8_t *at_;
};

}  // namespace qor::wire
