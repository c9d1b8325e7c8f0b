// LDP messages and the packets they travel in, written octet by octet.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace wire {

using Octets = std::vector<uint8_t>;

inline Octets operator+(Octets a, const Octets &b) {
    std::ranges::for_each(b, [&](uint8_t octet) { a.push_back(octet); });
    return a;
}
// A copy in a block of its own, so that the sanitizer finds a read before or behind it.
inline Octets Part(const Octets &octets, size_t from, size_t to) {
    return {octets.data() + from, octets.data() + to};
}

inline Octets U16(size_t v) { return {static_cast<uint8_t>(v >> 8), static_cast<uint8_t>(v)}; }
inline Octets U32(size_t v) { return U16(v >> 16 & 0xFFFF) + U16(v & 0xFFFF); }

inline Octets PduOf(const Octets &messages) {
    return U16(1) + U16(messages.size() + 6) + U32(0x0A000001) + U16(0) + messages;
}

inline Octets Tcp(uint32_t seq, uint8_t flags, const Octets &data) {
    return U16(50000) + U16(646) + U32(seq) + U32(0) + Octets{0x50, flags} + U16(0xFFFF) + U32(0) +
           data;
}
inline Octets Ipv4(uint8_t protocol, const Octets &data, size_t flags_and_offset = 0) {
    return Octets{0x45, 0} + U16(20 + data.size()) + U16(1) + U16(flags_and_offset) +
           Octets{64, protocol, 0, 0, 10, 0, 0, 1, 10, 0, 0, 2} + data;
}

}  // namespace wire
