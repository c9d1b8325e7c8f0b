#include "qor_base.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/qor_check.hpp"

namespace {

using qor::CopyChecked;
using qor::RefuseNull;

constexpr char kSource[] = "qor_base";

constexpr uint8_t kMaxPrefixLen = 128;

// Entry n has the top n bits set.
constexpr std::array<uint32_t, 33> MakeIpv4Masks() {
    std::array<uint32_t, 33> mask{};
    for (unsigned n = 1; n < mask.size(); ++n) {
        mask[n] = ~uint32_t{0} << (32 - n);
    }
    return mask;
}

constexpr std::array<uint32_t, 33> kIpv4Mask = MakeIpv4Masks();

// The host takes an address as two words of four 16-bit groups, the first group lowest.
struct Groups {
    uint64_t half[2] = {0, 0};
    void Set(unsigned group, uint32_t value) {
        half[group / 4] |= uint64_t{value & 0xFFFF} << (16 * (group % 4));
    }
};

}  // namespace

uint32_t QOR_IP_IsValidAddr(const QOR_IP_ADDR_S *addr) {
    if (RefuseNull(kSource, addr)) {
        return 0;
    }
    if (addr->ulFamily != QOR_IP_FAMILY_V6) {
        return addr->aulAddr[0] != 0;
    }
    return std::any_of(addr->aulAddr, addr->aulAddr + 4, [](uint32_t word) { return word != 0; });
}

uint32_t QOR_IP_IsValidIpv4Addr(const QOR_IP_ADDR_S *addr) {
    if (RefuseNull(kSource, addr)) {
        return 0;
    }
    return addr->ulFamily != QOR_IP_FAMILY_V6 && addr->aulAddr[0] != 0;
}

int32_t QOR_IP_CompareAddr(const QOR_IP_ADDR_S *a, const QOR_IP_ADDR_S *b) {
    if (RefuseNull(kSource, a, b)) {
        return -1;
    }
    const uint32_t familyA = a->ulFamily & 0xFF;
    const uint32_t familyB = b->ulFamily & 0xFF;
    if (familyA != familyB) {
        return familyA > familyB ? 1 : -1;
    }
    return HOST_MemCmp(a->aucAddr, b->aucAddr, sizeof a->aucAddr);
}

uint32_t QOR_IP_ConstructAddr(uint32_t ipv4, const uint8_t *ipv6, QOR_IP_ADDR_S *out) {
    if (RefuseNull(kSource, out)) {
        return QOR_ERR_ARG;
    }
    if (ipv4 != 0) {
        out->ulFamily = QOR_IP_FAMILY_V4;
        out->aulAddr[0] = ipv4;
    } else {
        if (ipv6 == nullptr) {
            return QOR_ERR_ARG;
        }
        out->ulFamily = QOR_IP_FAMILY_V6;
        if (CopyChecked(kSource, out->aucAddr, sizeof out->aucAddr, ipv6, sizeof out->aucAddr) !=
            0) {
            return QOR_FAIL;
        }
    }
    return QOR_IP_IsValidAddr(out) ? QOR_OK : QOR_ERR_ARG;
}

uint32_t QOR_IP_ToString(const QOR_IP_ADDR_S *addr, char *buf, uint32_t size) {
    if (RefuseNull(kSource, addr, buf)) {
        return QOR_ERR_ARG;
    }
    if (size < QOR_IP_TEXT_LEN) {
        qor::Report(kSource);
        return QOR_ERR_ARG;
    }
    buf[0] = '\0';
    if (addr->ulFamily == QOR_IP_FAMILY_V4) {
        HOST_IpAddrToStrEx(addr->aulAddr[0], buf, size);
        return QOR_OK;
    }
    if (addr->ulFamily != QOR_IP_FAMILY_V6) {
        return QOR_FAIL;
    }
    Groups groups;
    for (unsigned i = 0; i < 8; ++i) {
        groups.Set(i, uint32_t{addr->aucAddr[2 * i]} << 8 | addr->aucAddr[2 * i + 1]);
    }
    return HOST_Inet6Ntoa(groups.half[0], groups.half[1], buf, size) == 0 ? QOR_OK : QOR_FAIL;
}

uint32_t QOR_IP_SidToString(const uint32_t sid[4], char *buf, uint32_t size) {
    if (RefuseNull(kSource, sid, buf)) {
        return QOR_FAIL;
    }
    Groups groups;
    for (unsigned i = 0; i < 8; ++i) {
        groups.Set(i, i % 2 == 0 ? sid[i / 2] >> 16 : sid[i / 2]);
    }
    return HOST_Inet6Ntoa(groups.half[0], groups.half[1], buf, size);
}

void QOR_IP_QorIpToSysIp(const QOR_IP_ADDR_S *in, QOR_SYS_IP_ADDR_S *out) {
    if (RefuseNull(kSource, in, out)) {
        return;
    }
    if (in->ulFamily != QOR_IP_FAMILY_V6) {
        out->ulIpv4 = in->aulAddr[0];
        out->ulFamily = QOR_IP_FAMILY_V4;
        return;
    }
    CopyChecked(kSource, out->aucIpv6, sizeof out->aucIpv6, in->aucAddr, sizeof in->aucAddr);
    out->ulFamily = QOR_IP_FAMILY_V6;
}

void QOR_IP_SysIpToQorIp(const QOR_SYS_IP_ADDR_S *in, QOR_IP_ADDR_S *out) {
    if (RefuseNull(kSource, in, out)) {
        return;
    }
    if (in->ulFamily != QOR_IP_FAMILY_V6) {
        out->aulAddr[0] = in->ulIpv4;
        out->ulFamily = QOR_IP_FAMILY_V4;
        return;
    }
    CopyChecked(kSource, out->aucAddr, sizeof out->aucAddr, in->aucIpv6, sizeof in->aucIpv6);
    out->ulFamily = QOR_IP_FAMILY_V6;
}

void QOR_IP_MaskLen2Mask6(uint8_t prefixLen, uint32_t mask[4]) {
    if (RefuseNull(kSource, mask)) {
        return;
    }
    int left = std::min(prefixLen, kMaxPrefixLen);
    for (unsigned i = 0; i < 4; ++i, left -= 32) {
        mask[i] = kIpv4Mask[static_cast<unsigned>(std::clamp(left, 0, 32))];
    }
}

void QOR_IP_GetIPv6NetAddr(const uint32_t addr[4], uint8_t prefixLen, uint32_t net[4]) {
    if (RefuseNull(kSource, addr, net)) {
        return;
    }
    uint32_t mask[4];
    QOR_IP_MaskLen2Mask6(prefixLen, mask);
    for (unsigned i = 0; i < 4; ++i) {
        net[i] = addr[i] & mask[i];
    }
}
