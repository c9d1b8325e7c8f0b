// Address values.
#include <array>
#include <cstring>
#include <tuple>

#include "qor_base.h"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

using AddressTest = PlatformTest;
using Octets = std::array<uint8_t, 16>;

QOR_IP_ADDR_S V4(uint32_t addr, uint32_t family = QOR_IP_FAMILY_V4) { return {family, {{addr}}}; }

QOR_IP_ADDR_S V6(const Octets &octets) {
    QOR_IP_ADDR_S addr{QOR_IP_FAMILY_V6, {}};
    memcpy(addr.aucAddr, octets.data(), octets.size());
    return addr;
}

constexpr Octets kDoc = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

TEST_F(AddressTest, Validity) {
    QOR_IP_ADDR_S stale = V4(0);
    stale.aulAddr[1] = 5;
    const std::tuple<QOR_IP_ADDR_S, uint32_t, uint32_t> rows[] = {
        {V4(1), 1, 1}, {V4(1, 7), 1, 1}, {stale, 0, 0}, {V6(kDoc), 1, 0}, {V6({}), 0, 0}};
    for (const auto &[addr, valid, validV4] : rows) {
        EXPECT_EQ(QOR_IP_IsValidAddr(&addr), valid) << addr.aulAddr[0];
        EXPECT_EQ(QOR_IP_IsValidIpv4Addr(&addr), validV4) << addr.aulAddr[0];
    }
}

TEST_F(AddressTest, Order) {
    QOR_IP_ADDR_S stale = V4(1);
    stale.aucAddr[15] = 1;
    // An IPv4 word ranks by its octets in memory.
    const uint32_t small = 0x02000001, large = 0x01000002;
    const int32_t asStored = memcmp(&small, &large, 4) < 0 ? -1 : 1;
    const std::tuple<QOR_IP_ADDR_S, QOR_IP_ADDR_S, int32_t> rows[] = {
        {V4(0xFFFFFFFF), V6({}), -1}, {V4(small), V4(large), asStored}, {stale, V4(1), 1},
        {V4(1, 0x100), V4(1), 0},     {V4(0, 0x102), V6(kDoc), 1},      {V6(kDoc), V6({0x20}), 1}};
    for (const auto &[a, b, order] : rows) {
        EXPECT_EQ(QOR_IP_CompareAddr(&a, &b), order) << a.aulAddr[0] << ' ' << b.aulAddr[0];
        EXPECT_EQ(QOR_IP_CompareAddr(&b, &a), -order) << a.aulAddr[0] << ' ' << b.aulAddr[0];
    }
}

TEST_F(AddressTest, Construct) {
    QOR_IP_ADDR_S out;
    memset(&out, 0xEE, sizeof out);
    EXPECT_EQ(QOR_IP_ConstructAddr(0x0A000001, kDoc.data(), &out), QOR_OK);
    EXPECT_TRUE(out.ulFamily == QOR_IP_FAMILY_V4 && out.aulAddr[0] == 0x0A000001);
    EXPECT_EQ(out.aulAddr[1], 0xEEEEEEEEu) << "left as it was";
    EXPECT_EQ(QOR_IP_ConstructAddr(0, kDoc.data(), &out), QOR_OK);
    const QOR_IP_ADDR_S doc = V6(kDoc), none = V6({});
    EXPECT_EQ(memcmp(&out, &doc, sizeof out), 0);
    EXPECT_EQ(QOR_IP_ConstructAddr(0, none.aucAddr, &out), QOR_ERR_ARG);
    EXPECT_EQ(memcmp(&out, &none, sizeof out), 0) << "refused, but stored";
    EXPECT_TRUE(host.asserts.empty());
}

TEST_F(AddressTest, Text) {
    const std::tuple<QOR_IP_ADDR_S, uint32_t, const char *> rows[] = {
        {V4(0x0A0102FF), QOR_OK, "10.1.2.255"},
        {V6({0xfe, 0x80, 0, 1, 0, 2, 0, 3, 0, 4, 0xa, 0xb, 0, 0, 0xff, 0xff}), QOR_OK,
         "fe80:1:2:3:4:a0b:0:ffff"},
        {V4(1, 7), QOR_FAIL, ""}};
    char text[QOR_IP_TEXT_LEN] = "untouched";
    for (const auto &[addr, result, told] : rows) {
        EXPECT_EQ(QOR_IP_ToString(&addr, text, sizeof text), result) << told;
        EXPECT_STREQ(text, told);
    }
    const uint32_t sid[4] = {0x20010db8, 0x00010002, 0, 0x00030004};
    EXPECT_EQ(QOR_IP_SidToString(sid, text, sizeof text), 0u);
    EXPECT_STREQ(text, "2001:db8:1:2::3:4");
    EXPECT_NE(QOR_IP_SidToString(sid, text, 4), 0u);
}

TEST_F(AddressTest, HostForm) {
    QOR_SYS_IP_ADDR_S sys;
    memset(&sys, 0xEE, sizeof sys);
    const QOR_IP_ADDR_S v4 = V4(7, 9), v6 = V6(kDoc);
    QOR_IP_QorIpToSysIp(&v4, &sys);
    EXPECT_TRUE(sys.ulIpv4 == 7 && sys.ulFamily == 0 && sys.aucIpv6[0] == 0xEE);
    QOR_IP_QorIpToSysIp(&v6, &sys);
    EXPECT_TRUE(sys.ulIpv4 == 7 && sys.ulFamily == 1);
    QOR_IP_ADDR_S back;
    memset(&back, 0xEE, sizeof back);
    QOR_IP_SysIpToQorIp(&sys, &back);
    EXPECT_EQ(memcmp(&back, &v6, sizeof back), 0);
    sys.ulFamily = 2;
    QOR_IP_SysIpToQorIp(&sys, &back);
    EXPECT_TRUE(back.ulFamily == QOR_IP_FAMILY_V4 && back.aulAddr[0] == 7);
    EXPECT_EQ(back.aucAddr[15], kDoc[15]) << "left as it was";
}

// Every length, against a mask built bit by bit.
TEST_F(AddressTest, Masks) {
    for (unsigned length = 0; length <= 255; ++length) {
        uint32_t expected[4] = {}, mask[4], net[4];
        for (unsigned bit = 0; bit < length && bit < 128; ++bit)
            expected[bit / 32] |= 0x80000000u >> bit % 32;
        QOR_IP_MaskLen2Mask6(static_cast<uint8_t>(length), mask);
        EXPECT_EQ(memcmp(mask, expected, sizeof mask), 0) << length;
        const uint32_t addr[4] = {0x20010db8, 0xFFFFFFFF, 0x12345678, 0x9ABCDEF0};
        memcpy(net, addr, sizeof net);
        QOR_IP_GetIPv6NetAddr(net, static_cast<uint8_t>(length), net);
        for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(net[i], addr[i] & expected[i]) << length;
    }
}

}  // namespace
