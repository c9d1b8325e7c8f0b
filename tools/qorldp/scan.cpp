#include "scan.hpp"

#include <algorithm>
#include <cstdint>

#include "qor_pkt.h"

namespace qorldp {
namespace {

constexpr size_t kMessageHeader = 8;

constexpr uint16_t kTlvFec = 0x0100;
constexpr uint16_t kTlvStatus = 0x0300;

// MAC withdrawal (RFC 4762, RFC 7361), PW status to switching point (RFC 8077, RFC 6073).
constexpr uint16_t kPwTlvs[] = {0x0404, 0x0405, 0x0406, 0x096A, 0x096B, 0x096C, 0x096D};

bool IsPwElement(uint8_t type) {
    return type == 0x80 || type == 0x81;
}

// Steps over one element that has nothing to do with pseudowires. False when it is unknown or cut.
bool SkipForeignElement(uint8_t type, Reader &in, Scan &scan) {
    switch (type) {
        case 0x01:  // wildcard
            break;
        case 0x02: {  // prefix, length in bits
            const uint16_t family = in.U16();
            in.Skip((in.U8() + size_t{7}) / 8);
            return in.Ok() && (family == 1 || family == 2);
        }
        case 0x03: {  // host address, length in octets
            const uint16_t family = in.U16();
            in.Skip(in.U8());
            return in.Ok() && (family == 1 || family == 2);
        }
        case 0x05: {  // typed wildcard (RFC 5918): element type, length
            scan.pw_wildcard |= IsPwElement(in.U8());
            in.Skip(in.U8());
            break;
        }
        case 0x06:  // multipoint LSPs (RFC 6388): family, root address, opaque value
        case 0x07:
        case 0x08:
            in.Skip(2);
            in.Skip(in.U8());
            in.Skip(in.U16());
            break;
        default:
            return false;
    }
    return in.Ok();
}

void ScanFec(Bytes value, Scan &scan) {
    Reader in(value);
    do {
        const uint8_t type = in.U8();
        if (in.Ok() && IsPwElement(type)) {
            scan.pw_element = true;  // the rest is the codec's
            return;
        }
        if (!in.Ok() || !SkipForeignElement(type, in, scan)) {
            scan.odd_element = true;
            return;
        }
    } while (in.Left() != 0);
}

std::optional<StatusTlv> ReadStatus(Bytes value) {
    Reader in(value);
    const uint32_t word = in.U32();
    StatusTlv status{word & 0x3FFFFFFF, (word & 0x80000000) != 0, (word & 0x40000000) != 0,
                     in.U32(), in.U16()};
    return in.Ok() && in.Left() == 0 ? std::optional(status) : std::nullopt;
}

}  // namespace

Scan ScanMessage(Bytes message) {
    Scan scan;
    Reader in(message);
    const bool notification = (in.U16() & 0x7FFF) == QOR_LDP_MSG_NOTIFICATION;
    in.Skip(kMessageHeader - 2);
    for (bool first = true; in.Left() != 0; first = false) {
        const uint16_t type = in.U16() & 0x3FFF;
        const Bytes value = in.Take(in.U16());
        if (!in.Ok()) {
            scan.broken = true;
            break;
        }
        if (type == kTlvFec) {
            if (!scan.fec_tlv) {
                scan.fec_tlv = true;
                scan.first_fec = value;
            }
            ScanFec(value, scan);
        } else if (type == kTlvStatus && first && notification) {
            scan.status = ReadStatus(value);
        } else if (std::ranges::find(kPwTlvs, type) != std::end(kPwTlvs)) {
            scan.pw_tlv = true;
        }
    }
    return scan;
}

Treatment Classify(uint32_t type, const Scan &scan) {
    const bool sound = !scan.broken && !scan.odd_element;
    switch (type) {
        case QOR_LDP_MSG_NOTIFICATION:
            // Only a PW status must name a pseudowire. Any FEC may come with other statuses.
            return sound && scan.fec_tlv && !scan.pw_element && scan.status &&
                           scan.status->code != QOR_LDP_STATUS_PW_STATUS
                       ? Treatment::kNotification
                       : Treatment::kDecode;
        case QOR_LDP_MSG_MAC_WITHDRAW:
        case QOR_LDP_MSG_MAPPING:
        case QOR_LDP_MSG_REQUEST:
        case QOR_LDP_MSG_WITHDRAW:
        case QOR_LDP_MSG_RELEASE:
            return sound && !scan.pw_element && !scan.pw_wildcard && !scan.pw_tlv
                       ? Treatment::kForeign
                       : Treatment::kDecode;
        default:
            return scan.pw_element ? Treatment::kUndecoded : Treatment::kForeign;
    }
}

}  // namespace qorldp
