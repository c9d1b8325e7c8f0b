// A first look at a message: whether it belongs to pseudowires at all. The codec refuses messages
// about address prefixes as it refuses unknown FECs; for the tool they are another protocol's.
#pragma once

#include <cstdint>
#include <optional>

#include "bytes.hpp"

namespace qorldp {

// The Status TLV of a Notification (RFC 5036 section 3.4.6).
struct StatusTlv {
    uint32_t code;  // without the two bits
    bool fatal;     // E
    bool forward;   // F
    uint32_t message_id;
    uint16_t message_type;
};

struct Scan {
    bool broken = false;       // a TLV runs past the message
    bool pw_element = false;   // some FEC element is a PWid or Generalized PWid one
    bool pw_wildcard = false;  // or a typed wildcard for those (RFC 6667)
    bool odd_element = false;  // or of an unknown type, or cannot be told from the next one
    bool pw_tlv = false;       // a TLV that only pseudowires use
    bool fec_tlv = false;
    Bytes first_fec;  // value of the first FEC TLV
    std::optional<StatusTlv> status;
};

// message: header and as many octets as its length field counts.
Scan ScanMessage(Bytes message);

enum class Treatment {
    kForeign,       // no pseudowire signalling, not for the codec
    kNotification,  // a Notification about something else, not for the codec
    kUndecoded,     // about a pseudowire, but of a type that the codec has no decoder for
    kDecode,
};

// type: message type without U bit.
Treatment Classify(uint32_t type, const Scan &scan);

}  // namespace qorldp
