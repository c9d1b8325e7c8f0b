// Finding LDP in frames of every link type and encapsulation.
#include "link_layer.hpp"

#include <gtest/gtest.h>
#include <pcap/dlt.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "wire.hpp"

using namespace qorldp;
using namespace wire;
using enum FrameKind;

namespace {

Octets Ipv6(uint8_t next, const Octets &data) {
    const Octets address = Octets{0x20, 1, 0xD, 0xB8} + Octets(11);
    return U32(0x60000000) + U16(data.size()) + Octets{next, 64} + address + Octets{1} + address +
           Octets{2} + data;
}

const Octets kData = {'l', 'd', 'p', '!'};
const Octets kTcp4 = Ipv4(6, Tcp(77, 0x18, kData));
const Octets kUdp = U16(646) + U16(646) + U16(12) + U16(0) + kData;
const Octets kUdp6 = Ipv6(17, kUdp);
const Octets kMacs(12);
const Octets kChain = U16(0x2B00) + Octets(6) + U16(0x3C01) + Octets(14) + U16(0x1100) + Octets(6);
const Octets kBottom = U32(0x000101FF);

const struct {
    const char *name;
    int link;
    Octets frame;
    FrameKind kind;
    int flags = 0;  // FIN, SYN, RST as in the TCP header
} kCases[] = {
    {"Ethernet, padded", DLT_EN10MB, kMacs + U16(0x0800) + kTcp4 + Octets(6), kLdp},
    {"VLANs", DLT_EN10MB, kMacs + U32(0x88A80005) + U32(0x81000006) + U16(0x86DD) + kUdp6, kLdp},
    {"labels", DLT_EN10MB, kMacs + U16(0x8847) + U32(0x000100FF) + kBottom + kUdp6, kLdp},
    {"pseudowire", DLT_EN10MB, kMacs + U16(0x8847) + kBottom + U32(0) + kTcp4, kOther},
    {"ARP", DLT_EN10MB, kMacs + U16(0x0806) + Octets(28), kOther},
    {"cooked", DLT_LINUX_SLL, Octets(14) + U16(0x0800) + kTcp4, kLdp},
    {"cooked v2", DLT_LINUX_SLL2, U16(0x86DD) + Octets(18) + kUdp6, kLdp},
    {"loopback, host order", DLT_NULL, Octets{2, 0, 0, 0} + kTcp4, kLdp},
    {"loopback, network order", DLT_LOOP, U32(24) + kUdp6, kLdp},
    {"PPP", DLT_PPP, U16(0xFF03) + U16(0x0021) + kTcp4, kLdp},
    {"PPP, compressed header", DLT_PPP, U16(0x0281) + kBottom + kTcp4, kLdp},
    {"HDLC", DLT_C_HDLC, U16(0x0F00) + U16(0x0800) + kTcp4, kLdp},
    {"unknown link type", DLT_IEEE802_11, kTcp4, kOther},
    {"FIN and SYN", DLT_RAW, Ipv4(6, Tcp(77, 0x03, kData)), kLdp, 3},
    {"SYN and RST", DLT_RAW, Ipv4(6, Tcp(77, 0x06, kData)), kLdp, 6},
    {"IPv6 options", DLT_RAW, Ipv6(0, kChain + kUdp), kLdp},
    {"IPv6 authentication", DLT_RAW, Ipv6(51, Octets{17, 4} + Octets(22) + kUdp), kLdp},
    {"IPv6 in one piece", DLT_RAW, Ipv6(44, Octets{17, 0, 0, 0} + U32(9) + kUdp), kLdp},
    {"IPv6 first", DLT_RAW, Ipv6(44, Octets{17, 0, 0, 1} + U32(9) + kUdp), kFragment},
    {"IPv6 later", DLT_RAW, Ipv6(44, Octets{6, 0, 0, 8} + U32(9) + kData), kFragment},
    {"IPv4 first", DLT_RAW, Ipv4(17, kUdp, 0x2000), kFragment},
    {"IPv4 later", DLT_RAW, Ipv4(17, kData, 0x0002), kFragment},
    {"fragment of OSPF", DLT_RAW, Ipv4(89, kData, 0x0002), kOther},
    {"DNS", DLT_RAW, Ipv4(17, U16(53) + U16(53) + U16(12) + U16(0) + kData), kOther},
    {"TCP header short", DLT_RAW, Ipv4(6, U16(646) + Octets(10) + U16(0x4000) + Octets(6)), kCut},
    {"UDP length short", DLT_RAW, Ipv4(17, U16(646) + U16(646) + U16(7) + U16(0)), kCut},
    {"IPv4 header short", DLT_RAW, Octets{0x44} + Part(kTcp4, 1, kTcp4.size()), kCut},
};

// The payload that is left and the part that is missing always add up.
TEST(LinkLayerTest, LdpIsFoundBehindEveryHeaderAndFramesMayBeCutAnywhere) {
    for (const auto &row : kCases) {
        SCOPED_TRACE(row.name);
        for (size_t length = 0; length <= row.frame.size(); ++length) {
            const Octets frame = Part(row.frame, 0, length);
            Packet packet;
            const FrameKind kind = ParseFrame(row.link, frame, packet);
            ASSERT_TRUE(length < row.frame.size() || (kind == row.kind && packet.missing == 0));
            if (kind == kLdp) {
                ASSERT_EQ(row.kind, kLdp);
                const Octets payload(packet.payload.begin(), packet.payload.end());
                EXPECT_EQ(payload, Part(kData, 0, kData.size() - packet.missing));
                EXPECT_EQ(packet.flow.dst_port, kLdpPort);
                EXPECT_EQ(packet.flow.src_port, packet.tcp ? 50000 : kLdpPort);
                EXPECT_EQ(packet.seq, packet.tcp ? 77U : 0U);
                EXPECT_EQ(packet.fin + 2 * packet.syn + 4 * packet.rst, row.flags);
                EXPECT_EQ(packet.flow.src.octets[packet.flow.src.v6 ? 15 : 3], 1);
                EXPECT_EQ(packet.flow.dst.octets[packet.flow.dst.v6 ? 15 : 3], 2);
            }
        }
    }
}

}  // namespace
