#include "decoded.hpp"

#include <cstring>
#include <initializer_list>
#include <set>
#include <string_view>

namespace qor::test {
namespace {

using Record = QOR_LDP_SIGNAL_MSG_S;

bool IsMapping(const Record &r) { return r.ulMsgType == QOR_LDP_MSG_MAPPING; }
bool IsNotification(const Record &r) { return r.ulMsgType == QOR_LDP_MSG_NOTIFICATION; }
bool IsMacWithdraw(const Record &r) { return r.ulMsgType == QOR_LDP_MSG_MAC_WITHDRAW; }
bool IsGeneral(const Record &r) { return r.stFecKey.ucKeyType == QOR_LDP_KEY_GEN_PWID; }
bool IsError(const Record &r) {
    return IsNotification(r) && (r.usFlags & QOR_LDP_FLAG_ERR_NOTIFY) != 0;
}
bool HasMacType(const Record &r, std::initializer_list<uint32_t> types) {
    return IsMacWithdraw(r) && std::ranges::find(types, r.ulMacTlvType) != types.end();
}

// What a record loses by design on its way through the encoder.
constexpr struct {
    const char *why;
    bool (*applies)(const Record &);
    void (*drop)(Record &);
} kLost[] = {
    {"the length is the encoder's own", [](const Record &) { return true; },
     [](Record &r) { r.usMsgLen = 0; }},
    {"AGI type 3 is written as 2",
     [](const Record &r) { return IsGeneral(r) && r.stFecKey.stFec129.stAgi.ucType == 3; },
     [](Record &r) { r.stFecKey.stFec129.stAgi.ucType = 2; }},
    {"no RTP mode reads 0 without any parameter, CEP options replace the mode",
     [](const Record &r) {
         return IsMapping(r) && (r.ucRtpMode == QOR_LDP_RTP_NOT_GIVEN || r.usCepOptions != 0);
     },
     [](Record &r) { r.ucRtpMode = 0; }},
    {"an empty description is not written",
     [](const Record &r) { return IsMapping(r) && r.szIntfDesc != nullptr && *r.szIntfDesc == 0; },
     [](Record &r) { r.szIntfDesc = nullptr; }},
    {"PW IDs of switching points without a peer, and points beyond the array", IsMapping,
     [](Record &r) {
         r.ucSpeCount = std::min<uint8_t>(r.ucSpeCount, QOR_LDP_PKT_SPE_MAX);
         std::fill(r.astSpe + r.ucSpeCount, std::end(r.astSpe), QOR_LDP_SPE_S{});
     }},
    {"the group of a FEC 129 is written instead of a PW ID only",
     [](const Record &r) { return !IsMapping(r) && IsGeneral(r) && r.ucNoPwId == 0; },
     [](Record &r) { r.ulGroupId = 0; }},
    {"a PW status refers to its own message",
     [](const Record &r) { return IsNotification(r) && !IsError(r); },
     [](Record &r) { r.ulStatusMsgId = r.usStatusMsgType = 0; }},
    {"FEC and code of an error are not kept", IsError,
     [](Record &r) { r.ulStatus = r.ulGroupId = r.ucCBit = r.ucNoPwId = 0; }},
    {"a MAC list is written empty",
     [](const Record &r) {
         return HasMacType(r, {0, QOR_LDP_TLV_MAC_LIST});
     },
     [](Record &r) {
         r.ulMacTlvType = QOR_LDP_TLV_MAC_LIST;
         r.ulMacLen = 0;
         r.pucMacList = nullptr;
     }},
    {"flags of a MAC TLV that a later one replaced",
     [](const Record &r) {
         return IsMacWithdraw(r) &&
                !HasMacType(r, {QOR_LDP_TLV_MAC_FLUSH, QOR_LDP_TLV_MAC_FLAP_FLAGS});
     },
     [](Record &r) { r.ucMacFlags = 0; }},
};

// Records that do not come back as they are. The first row that applies counts.
constexpr struct {
    const char *why;
    bool (*applies)(const Record &);
    RoundTrip result;
} kQuirks[] = {
    {"a message without any TLV: nothing was decoded",
     [](const Record &r) { return r.usMsgLen < 5; },
     {RoundTrip::Encoding::kUnclear, 0}},
    {"these TLVs are not written without data",
     [](const Record &r) {
         return r.ulMacLen == 0 && HasMacType(r, {QOR_LDP_TLV_MAC_PE_ID, QOR_LDP_TLV_MAC_FLAP,
                                                  QOR_LDP_TLV_MAC_FLAP_FLAGS});
     },
     {RoundTrip::Encoding::kRefused, 0}},
    {"parameters that stood in front of a FEC 129, which puts its own in place of them",
     [](const Record &r) { return IsGeneral(r) && r.pucIntfPara != nullptr; },
     {RoundTrip::Encoding::kUnclear, 0}},
    {"the marker TLV is written without the U bit that its decoder wants",
     [](const Record &r) { return (r.usFlags & QOR_LDP_FLAG_MARKER) != 0; },
     {RoundTrip::Encoding::kOther, QOR_LDP_ERR_UNKNOWN_TLV}},
    {"unknown TLVs that no longer fit behind what the encoder adds",
     [](const Record &r) {
         constexpr uint32_t kAdded = 64;  // address list, FEC TLV, MAC list
         return IsMacWithdraw(r) && r.stUnknownTlvList.ulCount != 0 &&
                r.usMsgLen + kAdded > QOR_LDP_PKT_MAX_MSG_LEN;
     },
     {RoundTrip::Encoding::kUnclear, 0}},
    {"an error with the code of a PW status",
     [](const Record &r) {
         return IsError(r) && (r.ulStatus & 0x3FFFFFFF) == QOR_LDP_STATUS_PW_STATUS;
     },
     {RoundTrip::Encoding::kUnclear, 0}},
    {"without a status and a PW ID what is left is too short for a Notification",
     [](const Record &r) {
         return IsNotification(r) && !IsError(r) && r.ulStatus == QOR_LDP_PKT_NONE &&
                !IsGeneral(r) && r.ucNoPwId == 1;
     },
     {RoundTrip::Encoding::kOther, QOR_LDP_ERR_NOTIFY_LEN}},
    {"without a status the Status TLV, which must be the first, is left out",
     [](const Record &r) {
         return IsNotification(r) && !IsError(r) && r.ulStatus == QOR_LDP_PKT_NONE;
     },
     {RoundTrip::Encoding::kOther, QOR_LDP_ERR_FIRST_TLV}},
};

// The rows that changed a record or told what becomes of one.
std::set<std::string_view> &Met() {
    static std::set<std::string_view> met;
    return met;
}

}  // namespace

bool IsTold(uint32_t code) {
    // The codes of the switching-point TLV: its faults do not refuse a message.
    const auto never = {0x04U, 0x09U, 0x0AU, 0x0BU, 0x11U};
    return code == QOR_OK || (code >= QOR_LDP_ERR_MSG_TYPE && code <= QOR_LDP_ERR_REL_ADDR_LEN &&
                              std::ranges::find(never, code & 0xFF) == never.end());
}

std::string Carried(QOR_LDP_SIGNAL_MSG_S rec) {
    for (const auto &row : kLost) {
        if (!row.applies(rec)) continue;
        Record before;
        memcpy(static_cast<void *>(&before), &rec, sizeof rec);
        row.drop(rec);
        if (memcmp(&before, &rec, sizeof rec) != 0) Met().insert(row.why);
    }
    return Describe(rec);
}

RoundTrip Expectation(const QOR_LDP_SIGNAL_MSG_S &rec) {
    for (const auto &row : kQuirks)
        if (row.applies(rec)) {
            Met().insert(row.why);
            return row.result;
        }
    return {RoundTrip::Encoding::kSame, QOR_OK};
}

std::string NeverMet() {
    std::string rows;
    const auto add = [&](const auto &table) {
        for (const auto &row : table)
            if (!Met().contains(row.why)) rows += std::string(row.why) + '\n';
    };
    add(kLost), add(kQuirks);
    return rows;
}

}  // namespace qor::test
