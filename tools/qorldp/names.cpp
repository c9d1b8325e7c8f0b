#include "names.hpp"

#include <algorithm>

#include "qor_log.h"
#include "qor_pkt.h"

namespace qorldp {
namespace {

struct Name {
    uint32_t value;
    const char *text;
};

constexpr Name kMessages[] = {
    {0x0001, "Notification"},        {0x0100, "Hello"},         {0x0200, "Initialization"},
    {0x0201, "KeepAlive"},           {0x0202, "Capability"},    {0x0300, "Address"},
    {0x0301, "Address Withdraw"},    {0x0400, "Label Mapping"}, {0x0401, "Label Request"},
    {0x0402, "Label Withdraw"},      {0x0403, "Label Release"}, {0x0404, "Label Abort Request"},
    {0x0700, "RG Connect"},          {0x0701, "RG Disconnect"}, {0x0702, "RG Notification"},
    {0x0703, "RG Application Data"},
};

constexpr Name kStatuses[] = {
    {0x00, "Success"},
    {0x01, "Bad LDP Identifier"},
    {0x02, "Bad Protocol Version"},
    {0x03, "Bad PDU Length"},
    {0x04, "Unknown Message Type"},
    {0x05, "Bad Message Length"},
    {0x06, "Unknown TLV"},
    {0x07, "Bad TLV Length"},
    {0x08, "Malformed TLV Value"},
    {0x09, "Hold Timer Expired"},
    {0x0A, "Shutdown"},
    {0x0B, "Loop Detected"},
    {0x0C, "Unknown FEC"},
    {0x0D, "No Route"},
    {0x0E, "No Label Resources"},
    {0x0F, "Label Resources Available"},
    {0x10, "Session Rejected/No Hello"},
    {0x11, "Session Rejected/Parameters Advertisement Mode"},
    {0x12, "Session Rejected/Parameters Max PDU Length"},
    {0x13, "Session Rejected/Parameters Label Range"},
    {0x14, "KeepAlive Timer Expired"},
    {0x15, "Label Request Aborted"},
    {0x16, "Missing Message Parameters"},
    {0x17, "Unsupported Address Family"},
    {0x18, "Session Rejected/Bad KeepAlive Time"},
    {0x19, "Internal Error"},
    {0x20, "Temporary Shutdown"},
    {0x24, "Illegal C-Bit"},
    {0x25, "Wrong C-Bit"},
    {0x26, "Incompatible bit-rate"},
    {0x27, "CEP-TDM mis-configuration"},
    {0x28, "PW Status"},
    {0x29, "Unassigned/Unrecognized TAI"},
    {0x2A, "Generic Misconfiguration Error"},
    {0x2B, "Label Withdraw PW Status Method"},
    {0x2E, "Unsupported Capability"},
    {0x2F, "End-of-LIB"},
    {0x38, "Resources Unavailable"},
    {0x39, "AII Unreachable"},
    {0x3A, "PW Loop Detected"},
    {0x40, "LDP MP Status"},
    {0x4A, "IP Address Type Mismatch"},
    {0x4B, "Wrong IP Address Type"},
};

constexpr Name kMacTlvs[] = {
    {QOR_LDP_TLV_MAC_LIST, "MAC list"},   {QOR_LDP_TLV_MAC_PE_ID, "PE-ID list"},
    {QOR_LDP_TLV_MAC_FLUSH, "MAC flush"}, {QOR_LDP_TLV_VENDOR_FLUSH, "vendor MAC flush"},
    {QOR_LDP_TLV_MAC_FLAP, "MAC flap"},   {QOR_LDP_TLV_MAC_FLAP_FLAGS, "MAC flap with flags"},
};

constexpr Name kErrors[] = {
    {QOR_FAIL, "not decoded"},
    {QOR_ERR_NO_MEM, "out of memory"},
    {QOR_LDP_ERR_MSG_TYPE, "message type not handled"},
    {QOR_LDP_ERR_TLV_LEN, "bad message or TLV length"},
    {QOR_LDP_ERR_NO_FEC, "PW status without a FEC TLV"},
    {QOR_LDP_ERR_FIRST_TLV, "Notification does not start with a Status TLV"},
    {QOR_LDP_ERR_NOTIFY_LEN, "Notification too short"},
    {QOR_LDP_ERR_NO_LABEL, "no label"},
    {QOR_LDP_ERR_LABEL_LEN, "bad length of the Generic Label TLV"},
    {QOR_LDP_ERR_SPE_PWID_LEN, "bad length of a switching point's PW ID"},
    {QOR_LDP_ERR_SPE_PEER_LEN, "bad length of a switching point's peer address"},
    {QOR_LDP_ERR_SUB_TLV, "bad interface parameter or cut FEC element"},
    {QOR_LDP_ERR_NO_PW_STATUS, "PW status without a PW Status TLV"},
    {QOR_LDP_ERR_UNKNOWN_FEC, "no or unknown FEC element"},
    {QOR_LDP_ERR_PW_FEC, "pseudowire FEC element cut"},
    {QOR_LDP_ERR_UNKNOWN_TLV, "unknown TLV"},
    {QOR_LDP_ERR_MAC_LIST_LEN, "MAC list length not a multiple of 6"},
    {QOR_LDP_ERR_STATUS_LEN, "bad length of a Status or Address List TLV"},
    {QOR_LDP_ERR_WORD_LEN, "bad length of a PW Status or PW Group ID TLV"},
    {QOR_LDP_ERR_ADDR_FEC, "address FEC element cut"},
    {QOR_LDP_ERR_FAMILY, "unknown address family"},
    {QOR_LDP_ERR_ADDR_LIST, "bad length of an Address List TLV"},
    {QOR_LDP_ERR_OUI, "vendor TLV of another vendor"},
    {QOR_LDP_ERR_MAC_LEN, "bad length of a MAC TLV"},
    {QOR_LDP_ERR_AGI_TYPE, "unknown AGI type"},
    {QOR_LDP_ERR_AGI_LEN, "bad AGI length"},
    {QOR_LDP_ERR_AII_TYPE, "unknown AII type"},
    {QOR_LDP_ERR_AII_LEN, "bad AII length"},
    {QOR_LDP_ERR_AGI_SUBTYPE, "AGI is no layer 2 VPN identifier"},
    {QOR_LDP_ERR_NO_PW_ID, "neither PW ID nor group ID"},
    {QOR_LDP_ERR_REQ_ID_LEN, "bad length of the Label Request Message ID TLV"},
    {QOR_LDP_ERR_REL_ADDR_LEN, "bad length of the Address List TLV"},
};

template <size_t N>
constexpr bool Sorted(const Name (&table)[N]) {
    return std::ranges::is_sorted(table, std::ranges::less{}, &Name::value);
}

static_assert(Sorted(kMessages) && Sorted(kStatuses) && Sorted(kMacTlvs) && Sorted(kErrors),
              "the tables are searched by halves");

template <size_t N>
const char *Find(const Name (&table)[N], uint32_t value) {
    const auto *const row = std::ranges::lower_bound(table, value, {}, &Name::value);
    return row != std::end(table) && row->value == value ? row->text : nullptr;
}

template <size_t N>
std::string_view FindOrUnknown(const Name (&table)[N], uint32_t value) {
    const char *const text = Find(table, value);
    return text != nullptr ? text : "unknown";
}

// RFC 4446 section 3.5, standby RFC 6870 section 5.
constexpr FlagName kPwStatusRows[] = {
    {0x01, "not forwarding"},
    {0x02, "attachment circuit receive fault"},
    {0x04, "attachment circuit transmit fault"},
    {0x08, "PSN-facing receive fault"},
    {0x10, "PSN-facing transmit fault"},
    {0x20, "forwarding standby"},
};

constexpr FlagName kControlChannelRows[] = {
    {0x01, "control word"},
    {0x02, "router alert label"},
    {0x04, "TTL expiry"},
};

constexpr FlagName kConnectivityRows[] = {
    {0x01, "ICMP ping"},
    {0x02, "LSP ping"},
    {0x04, "BFD over IP, detection"},
    {0x08, "BFD over IP, detection and signalling"},
    {0x10, "BFD, detection"},
    {0x20, "BFD, detection and signalling"},
};

constexpr FlagName kFlowLabelRows[] = {{0x8000, "transmit"}, {0x4000, "receive"}};

}  // namespace

const std::span<const FlagName> kPwStatusFlags = kPwStatusRows;
const std::span<const FlagName> kControlChannelFlags = kControlChannelRows;
const std::span<const FlagName> kConnectivityFlags = kConnectivityRows;
const std::span<const FlagName> kFlowLabelFlags = kFlowLabelRows;

const char *MessageName(uint32_t type) {
    return Find(kMessages, type);
}

std::string_view StatusName(uint32_t status) {
    return FindOrUnknown(kStatuses, status);
}

std::string_view MacTlvName(uint32_t type) {
    return FindOrUnknown(kMacTlvs, type);
}

std::string_view ErrorName(uint32_t code) {
    return FindOrUnknown(kErrors, code);
}

std::string_view PwTypeName(uint32_t type) {
    return QOR_LOG_ChangeEncap2Str(type);
}

}  // namespace qorldp
