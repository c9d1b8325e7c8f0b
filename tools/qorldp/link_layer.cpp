#include "link_layer.hpp"

#include <pcap/dlt.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <algorithm>

namespace qorldp {
namespace {

constexpr uint16_t kEtherIpv4 = 0x0800;
constexpr uint16_t kEtherIpv6 = 0x86DD;
constexpr uint16_t kEtherMpls = 0x8847;
constexpr uint16_t kEtherMplsMulticast = 0x8848;
constexpr uint16_t kEtherVlan = 0x8100;
constexpr uint16_t kEtherProviderVlan = 0x88A8;
constexpr uint16_t kEtherOldQinQ = 0x9100;

constexpr uint16_t kPppFraming = 0xFF03;
constexpr uint16_t kPppIpv4 = 0x0021;
constexpr uint16_t kPppIpv6 = 0x0057;
constexpr uint16_t kPppMpls = 0x0281;

constexpr uint8_t kProtoTcp = 6;
constexpr uint8_t kProtoUdp = 17;

// Headers in front of the network protocol: octets to skip, then where the protocol stands. Link
// types without a protocol field hold IP and are told apart by its version.
struct LinkLayout {
    int type;
    size_t header;
    int protocol_at;  // offset of the EtherType, -1: none
};

constexpr LinkLayout kLinks[] = {
    {DLT_EN10MB, 14, 12}, {DLT_LINUX_SLL, 16, 14}, {DLT_LINUX_SLL2, 20, 0}, {DLT_C_HDLC, 4, 2},
    {DLT_PPP, 2, 0},      {DLT_RAW, 0, -1},        {DLT_IPV4, 0, -1},       {DLT_IPV6, 0, -1},
    {DLT_NULL, 4, -1},    {DLT_LOOP, 4, -1},
};

const LinkLayout *FindLink(int type) {
    const auto *const row = std::ranges::find(kLinks, type, &LinkLayout::type);
    return row == std::end(kLinks) ? nullptr : row;
}

uint16_t EtherTypeOfPpp(uint16_t protocol) {
    switch (protocol) {
        case kPppIpv4:
            return kEtherIpv4;
        case kPppIpv6:
            return kEtherIpv6;
        case kPppMpls:
            return kEtherMpls;
        default:
            return 0;
    }
}

bool IsVlan(uint16_t ether_type) {
    return ether_type == kEtherVlan || ether_type == kEtherProviderVlan ||
           ether_type == kEtherOldQinQ;
}

// The octets of an IP payload: what was captured and how many were sent.
struct Segment {
    Bytes octets;
    size_t sent;
};

FrameKind ParseTcp(Segment segment, Packet &packet) {
    Reader in(segment.octets);
    packet.flow.src_port = in.U16();
    packet.flow.dst_port = in.U16();
    packet.seq = in.U32();
    in.Skip(4);
    const size_t header = static_cast<size_t>(in.U8() >> 4) * 4;
    const uint8_t flags = in.U8();
    if (!in.Ok()) {
        return FrameKind::kCut;
    }
    if (packet.flow.src_port != kLdpPort && packet.flow.dst_port != kLdpPort) {
        return FrameKind::kOther;
    }
    if (header < 20 || header > segment.octets.size()) {
        return FrameKind::kCut;
    }
    packet.tcp = true;
    packet.fin = (flags & 0x01) != 0;
    packet.syn = (flags & 0x02) != 0;
    packet.rst = (flags & 0x04) != 0;
    packet.payload = segment.octets.subspan(header);
    packet.missing = static_cast<uint32_t>(segment.sent - segment.octets.size());
    return FrameKind::kLdp;
}

FrameKind ParseUdp(Segment segment, Packet &packet) {
    Reader in(segment.octets);
    packet.flow.src_port = in.U16();
    packet.flow.dst_port = in.U16();
    const size_t length = in.U16();
    in.Skip(2);
    if (!in.Ok()) {
        return FrameKind::kCut;
    }
    if (packet.flow.src_port != kLdpPort && packet.flow.dst_port != kLdpPort) {
        return FrameKind::kOther;
    }
    if (length < 8) {
        return FrameKind::kCut;
    }
    const size_t sent = std::min(length, segment.sent) - 8;
    packet.tcp = packet.syn = packet.fin = packet.rst = false;
    packet.seq = 0;
    packet.payload = in.Rest().first(std::min(in.Left(), sent));
    packet.missing = static_cast<uint32_t>(sent - packet.payload.size());
    return FrameKind::kLdp;
}

FrameKind ParseTransport(uint8_t protocol, Segment segment, Packet &packet) {
    switch (protocol) {
        case kProtoTcp:
            return ParseTcp(segment, packet);
        case kProtoUdp:
            return ParseUdp(segment, packet);
        default:
            return FrameKind::kOther;
    }
}

// A piece of an IP packet is worth telling when LDP may be in it: only the first has the ports.
FrameKind Fragment(uint8_t protocol, bool first, Segment segment, Packet &packet) {
    if (protocol != kProtoTcp && protocol != kProtoUdp) {
        return FrameKind::kOther;
    }
    if (first && ParseTransport(protocol, segment, packet) == FrameKind::kOther) {
        return FrameKind::kOther;
    }
    return FrameKind::kFragment;
}

FrameKind ParseIpv4(Bytes data, Packet &packet) {
    Reader in(data);
    const size_t header = static_cast<size_t>(in.U8() & 0x0F) * 4;
    in.Skip(1);
    size_t total = in.U16();
    in.Skip(2);
    const uint16_t fragment = in.U16();
    in.Skip(1);
    const uint8_t protocol = in.U8();
    in.Skip(2);
    packet.flow.src = packet.flow.dst = IpAddress{};
    std::ranges::copy(in.Take(4), packet.flow.src.octets.begin());
    std::ranges::copy(in.Take(4), packet.flow.dst.octets.begin());
    if (!in.Ok() || header < 20 || header > data.size()) {
        return FrameKind::kCut;
    }
    if (total == 0) {
        total = data.size();  // segmentation offload leaves the length to the network card
    }
    if (total < header) {
        return FrameKind::kCut;
    }
    // A short frame is padded behind the packet.
    const Segment segment{data.first(std::min(total, data.size())).subspan(header), total - header};
    const bool more = (fragment & 0x2000) != 0;
    const bool first = (fragment & 0x1FFF) == 0;
    return more || !first ? Fragment(protocol, first, segment, packet)
                          : ParseTransport(protocol, segment, packet);
}

FrameKind ParseIpv6(Bytes data, Packet &packet) {
    Reader in(data);
    in.Skip(4);
    size_t length = in.U16();
    uint8_t next = in.U8();
    in.Skip(1);
    packet.flow.src.v6 = packet.flow.dst.v6 = true;
    std::ranges::copy(in.Take(16), packet.flow.src.octets.begin());
    std::ranges::copy(in.Take(16), packet.flow.dst.octets.begin());
    if (!in.Ok()) {
        return FrameKind::kCut;
    }
    if (length == 0) {
        length = in.Left();
    }
    const size_t end = in.Position() + length;
    bool piece = false;
    bool first = true;
    for (;;) {
        size_t octets = 0;
        const uint8_t header = next;
        switch (header) {
            case 0:    // hop-by-hop options
            case 43:   // routing
            case 60:   // destination options
            case 135:  // mobility
                next = in.U8();
                octets = (static_cast<size_t>(in.U8()) + 1) * 8 - 2;
                break;
            case 51:  // authentication
                next = in.U8();
                octets = (static_cast<size_t>(in.U8()) + 2) * 4 - 2;
                break;
            case 44: {  // fragment
                next = in.U8();
                in.Skip(1);
                const uint16_t fragment = in.U16();
                octets = 4;
                first = fragment >> 3 == 0;
                piece = !first || (fragment & 1) != 0;
                break;
            }
            default: {
                if (in.Position() > end) {
                    return FrameKind::kCut;
                }
                const size_t sent = end - in.Position();
                const Segment segment{in.Rest().first(std::min(sent, in.Left())), sent};
                return piece ? Fragment(next, first, segment, packet)
                             : ParseTransport(next, segment, packet);
            }
        }
        if (!in.Skip(octets)) {
            return FrameKind::kCut;
        }
        if (piece && !first) {
            return Fragment(next, first, {}, packet);
        }
    }
}

FrameKind ParseIp(Bytes data, Packet &packet) {
    if (data.empty()) {
        return FrameKind::kCut;
    }
    switch (data[0] >> 4) {
        case 4:
            return ParseIpv4(data, packet);
        case 6:
            return ParseIpv6(data, packet);
        default:
            return FrameKind::kOther;
    }
}

FrameKind ParseEtherType(uint16_t ether_type, Reader in, Packet &packet) {
    while (IsVlan(ether_type)) {
        in.Skip(2);
        ether_type = in.U16();
    }
    if (ether_type == kEtherMpls || ether_type == kEtherMplsMulticast) {
        // What follows the label with the bottom-of-stack bit is not named: IP shows its version.
        while (in.Ok() && (in.U32() & 0x100) == 0) {
        }
    } else if (ether_type != kEtherIpv4 && ether_type != kEtherIpv6) {
        return in.Ok() ? FrameKind::kOther : FrameKind::kCut;
    }
    return in.Ok() ? ParseIp(in.Rest(), packet) : FrameKind::kCut;
}

}  // namespace

bool LinkTypeKnown(int link_type) {
    return FindLink(link_type) != nullptr;
}

FrameKind ParseFrame(int link_type, Bytes frame, Packet &packet) {
    const LinkLayout *const link = FindLink(link_type);
    if (link == nullptr) {
        return FrameKind::kOther;
    }
    Reader in(frame);
    const Bytes header = in.Take(link->header);
    if (!in.Ok()) {
        return FrameKind::kCut;
    }
    if (link->protocol_at < 0) {
        return ParseIp(in.Rest(), packet);
    }
    uint16_t protocol = Reader(header.subspan(static_cast<size_t>(link->protocol_at))).U16();
    if (link_type == DLT_PPP) {
        protocol = EtherTypeOfPpp(protocol == kPppFraming ? in.U16() : protocol);
    }
    return ParseEtherType(protocol, in, packet);
}

}  // namespace qorldp
