// What the tool keeps of one captured packet: who sent it to whom and the LDP octets in it.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "bytes.hpp"

namespace qorldp {

// TCP and UDP port of LDP (RFC 5036 section 3.10).
inline constexpr uint16_t kLdpPort = 646;

// Seconds since 1970 and microseconds.
struct Timestamp {
    int64_t sec = 0;
    int32_t usec = 0;
};

struct IpAddress {
    std::array<uint8_t, 16> octets{};  // IPv4: the first four
    bool v6 = false;

    uint32_t V4() const {
        return static_cast<uint32_t>(octets[0]) << 24 | static_cast<uint32_t>(octets[1]) << 16 |
               static_cast<uint32_t>(octets[2]) << 8 | octets[3];
    }
    bool operator==(const IpAddress &) const = default;
};

// One direction of a conversation.
struct Flow {
    IpAddress src;
    IpAddress dst;
    uint16_t src_port = 0;
    uint16_t dst_port = 0;

    bool operator==(const Flow &) const = default;
};

struct FlowHash {
    size_t operator()(const Flow &flow) const {
        uint64_t words[4];
        std::memcpy(words, flow.src.octets.data(), 16);
        std::memcpy(words + 2, flow.dst.octets.data(), 16);
        uint64_t hash = static_cast<uint64_t>(flow.src_port) << 16 | flow.dst_port;
        for (const uint64_t word : words) {
            hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 29;
        }
        return hash;
    }
};

struct Packet {
    Timestamp time;
    Flow flow;
    bool tcp = false;
    bool syn = false;
    bool fin = false;
    bool rst = false;
    uint32_t seq = 0;
    Bytes payload;
    uint32_t missing = 0;  // payload octets sent but not captured (snapshot length)
};

}  // namespace qorldp
