// Private to the LDP codec: wire constants, the TLV walk that all six messages share, and the
// pieces that several families of TLVs use.
//
// The code of one TLV family stands together, decoder and encoder, but reports under the name of
// its direction: kDecode or kEncode.
#pragma once

#include <span>

#include "base/qor_check.hpp"    // IWYU pragma: export
#include "pkt/qor_pkt_wire.hpp"  // IWYU pragma: export
#include "qor_log.h"             // IWYU pragma: export
#include "qor_pkt.h"             // IWYU pragma: export

namespace qor::pkt {

inline constexpr char kModel[] = "qor_pkt";
inline constexpr char kDecode[] = "qor_pkt_ldp_decode";
inline constexpr char kEncode[] = "qor_pkt_ldp_encode";

// ---- Wire constants

inline constexpr uint32_t kMsgHeaderLen = 8;  // type, length, message ID
inline constexpr uint32_t kLengthOffset = 4;  // the length field counts what stands behind it
inline constexpr uint32_t kMsgIdLen = 4;
inline constexpr uint32_t kTlvHeaderLen = 4;

inline constexpr uint16_t kUBit = 0x8000;
inline constexpr uint16_t kFBit = 0x4000;
inline constexpr uint16_t kTlvTypeMask = 0x3FFF;
inline constexpr uint16_t kMsgTypeMask = 0x7FFF;

// TLV types, U and F bits removed: RFC 5036 section 3.4, RFC 8077 section 8.1, RFC 6073
// section 7.4.
inline constexpr uint16_t kTlvFec = 0x0100;
inline constexpr uint16_t kTlvAddrList = 0x0101;
inline constexpr uint16_t kTlvPathVector = 0x0104;
inline constexpr uint16_t kTlvGenericLabel = 0x0200;
inline constexpr uint16_t kTlvStatus = 0x0300;     // in a Notification
inline constexpr uint16_t kTlvLabelAddr = 0x0300;  // address list of Label Withdraw and Release
inline constexpr uint16_t kTlvExtStatus = 0x0301;
inline constexpr uint16_t kTlvReturnedPdu = 0x0302;
inline constexpr uint16_t kTlvReturnedMsg = 0x0303;
inline constexpr uint16_t kTlvLabelReqMsgId = 0x0600;
inline constexpr uint16_t kTlvPwStatus = 0x096A;
inline constexpr uint16_t kTlvIntfPara = 0x096B;
inline constexpr uint16_t kTlvGroupId = 0x096C;
inline constexpr uint16_t kTlvSpe = 0x096D;
inline constexpr uint16_t kTlvMarker = 0x3FED;  // a vendor's

inline constexpr uint8_t kElementPwId = 0x80;     // FEC 128
inline constexpr uint8_t kElementGenPwId = 0x81;  // FEC 129

inline constexpr uint8_t kIdType = 1;  // of AGI, SAII and TAII: no other is known
inline constexpr uint8_t kAgiLen = 8;
inline constexpr uint8_t kAiiLen = 4;

inline constexpr uint16_t kFamilyIpv4 = 1;
inline constexpr uint16_t kFamilyIpv6 = 2;

inline constexpr uint16_t kWordLen = 4;  // of the many TLVs that hold one word
inline constexpr uint16_t kLabelAddrLen = 10;
inline constexpr uint32_t kLabelAddrMask = 0x3FFFFFFF;

// ---- Reporting
// A reporting context may lack its codec context: then nothing is traced, and a line that cannot be
// written is the log's to report.

inline QOR_LOG_S *LogOf(const QOR_PKT_CTX_S *ctx) {
    if (ctx == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<QOR_LOG_S *>(static_cast<uintptr_t>(ctx->ulLogHandle));
}

// Only exactly 1 traces.
inline bool Tracing(const QOR_PKT_CTX_S *ctx) {
    return ctx != nullptr && ctx->ulDebugSwitch == 1;
}

// ---- Tables

// The row of a table that has the type, or nullptr.
template <class Row, size_t kRows>
constexpr const Row *FindRow(const Row (&rows)[kRows], uint32_t type) {
    for (const Row &row : rows) {
        if (row.type == type) {
            return &row;
        }
    }
    return nullptr;
}

// ---- Decoding messages

struct Tlv {
    const uint8_t *value;  // header.usLength octets, behind the four header octets
    QOR_LDP_TLV_HDR_S header;
    uint16_t Type() const { return header.usTypeWord & kTlvTypeMask; }
    bool U() const { return (header.usTypeWord & kUBit) != 0; }
    bool F() const { return (header.usTypeWord & kFBit) != 0; }
};

struct MessageRule;

// One message being decoded.
struct Walk {
    const MessageRule &rule;
    const uint8_t *msg;
    QOR_LDP_SIGNAL_MSG_S *rec;
    const QOR_PKT_CTX_S *ctx;
    QOR_LDP_PKT_LOG_S log;
    uint32_t length;        // the length field; positions count from the message ID
    uint32_t seen = 0;      // Seen bits
    uint16_t lastType = 0;  // of the last TLV header read
    uint32_t status = 0;    // Notification: status code without E and F bit

    inline Walk(const MessageRule &rule, const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                const QOR_PKT_CTX_S *ctx);
};

enum Seen : uint32_t {
    kSeenFec = 1u << 0,
    kSeenLabel = 1u << 1,
    kSeenGroupId = 1u << 2,
    kSeenPwStatus = 1u << 3,
    kSeenMacList = 1u << 4,   // a MAC list with addresses
    kSeenMacOther = 1u << 5,  // another MAC TLV, and no MAC list with addresses since
};

// The value length is checked before decode is called; kAnyLength leaves it to decode.
inline constexpr uint16_t kAnyLength = 0xFFFF;

struct TlvRule {
    uint16_t type;
    uint16_t length;
    uint32_t lengthCode;  // result for any other length
    uint32_t (*decode)(Walk &walk, const Tlv &tlv);
};

// What becomes of a TLV that a message has no rule for.
enum class Unknown : uint8_t {
    kSkip,    // skipped
    kReject,  // skipped when its U bit is set, else the message fails (RFC 5036 section 3.3)
    kKeep,    // as kReject, but kept for forwarding when U and F bit are set
};

// How a message differs from the others in the one walk over its TLVs.
struct MessageRule {
    const char *name;        // in error reports
    const char *decoder;     // "Mapping" of DecodeMappingMsg, in the log of a TLV that overruns
    const char *unknownLog;  // the message in the log of an unknown TLV, nullptr for no log
    const char *fecLog;      // format of a FEC failure (result, peer), nullptr for no log
    Unknown unknown;
    bool rejectLaterFec;  // a second FEC TLV is an unknown one with kReject; else ignored
    std::span<const TlvRule> tlvs;
};

Walk::Walk(const MessageRule &rule_, const uint8_t *msg_, QOR_LDP_SIGNAL_MSG_S *rec_,
           const QOR_PKT_CTX_S *ctx_)
    : rule(rule_),
      msg(msg_),
      rec(rec_),
      ctx(ctx_),
      log{ctx_, rule_.name, rec_->ulPeerIp, 0, 0},
      length(wire::Get16(msg_ + 2)) {
    rec->ulBodyMsgId = wire::Get32(msg + kLengthOffset);
}

// Walks the TLVs from position, octets behind the length field, to the end of the message.
uint32_t WalkTlvs(Walk &walk, uint32_t position);

// Logs tlv as unknown and tells whether the message survives it.
uint32_t HandleUnknown(const Walk &walk, const Tlv &tlv, Unknown policy);

// A rule's decode function that leaves the TLV alone.
inline uint32_t IgnoreTlv(Walk &, const Tlv &) {
    return QOR_OK;
}

uint32_t DecodeGroupId(Walk &walk, const Tlv &tlv);

// ---- Encoding messages

// What goes with a FEC TLV, by message.
struct FecPolicy {
    bool interfaceParameters;  // the FEC 128 element may have them, and may stand twice
    bool groupId;              // the FEC 128 element carries ulGroupId
    bool mapping;              // copy the interface parameters of the record
};

// Begins a message; EndMessage fills in its length and returns its octets.
inline wire::Writer BeginMessage(uint8_t *buf, uint32_t type, const QOR_LDP_SIGNAL_MSG_S *rec) {
    wire::Writer out(buf);
    out.U16(static_cast<uint16_t>(type & kMsgTypeMask));
    out.U16(0);
    out.U32(rec->ulBodyMsgId);
    return out;
}

inline uint32_t EndMessage(uint8_t *buf, const wire::Writer &out) {
    wire::Put16(buf + 2, static_cast<uint16_t>(out.Written() - kLengthOffset));
    return out.Written();
}

inline void PutTlvHeader(wire::Writer &out, uint32_t typeWord, uint32_t length) {
    out.U16(static_cast<uint16_t>(typeWord));
    out.U16(static_cast<uint16_t>(length));
}

inline void PutWordTlv(wire::Writer &out, uint16_t typeWord, uint32_t value) {
    PutTlvHeader(out, typeWord, kWordLen);
    out.U32(value);
}

void PutGroupIdTlv(wire::Writer &out, uint32_t groupId);
void PutFecTlv(wire::Writer &out, const QOR_LDP_SIGNAL_MSG_S *rec, const QOR_PKT_CTX_S *ctx,
               FecPolicy policy);

// A FEC 129 element without a PW ID names the pseudowires by their group.
bool NeedsGroupId(const QOR_LDP_SIGNAL_MSG_S *rec);

// ---- MAC and vendor TLVs

using VendorOctets = std::span<const uint8_t>;

inline constexpr uint8_t kVendorOctets[] = {0x00, 0x00, 0x1E, 0x10};  // MAC flap and PW tag
inline constexpr uint32_t kVendorLen = sizeof kVendorOctets;

// Checks that a vendor TLV has its fixed octets and no more than max.
uint32_t CheckVendorTlv(const uint8_t *value, uint32_t length, VendorOctets octets,
                        uint32_t max = QOR_LDP_PKT_TLV_DATA_MAX);

// A pointer for the record to length octets of the message; NULL for none. Records hold plain
// pointers because copies own what they point at.
inline uint8_t *Borrow(const uint8_t *data, uint32_t length) {
    return length == 0 ? nullptr : const_cast<uint8_t *>(data);
}

// Writes a TLV of prefix and data at *cursor and advances it; nothing when there is more data than
// QOR_LDP_PKT_TLV_DATA_MAX.
void PutDataTlv(uint8_t **cursor, uint32_t typeWord, std::span<const uint8_t> prefix,
                const uint8_t *data, uint32_t length);

// ---- Interface parameters of a message
// All values but the CEP options and the description, which the Interface Parameters TLV leaves
// out.

void StoreParameters(const QOR_LDP_INTF_PARA_S &para, QOR_LDP_SIGNAL_MSG_S *msg);
void LoadParameters(const QOR_LDP_SIGNAL_MSG_S *msg, QOR_LDP_INTF_PARA_S *para);

// ---- Pieces shared by model and decoders

// Copies for another owner, allocated by the codec context; nullptr, reported, when memory is
// short. tag: one number per place, for the host's bookkeeping.
uint8_t *Duplicate(Where where, const QOR_PKT_CTX_S *ctx, uint32_t tag, const uint8_t *from,
                   uint32_t n);
char *DuplicateText(Where where, const QOR_PKT_CTX_S *ctx, uint32_t tag, const char *text);

// Releases the two buffers that a Label Mapping owns.
void FreeMappingBuffers(Where where, QOR_LDP_SIGNAL_MSG_S *msg);

// Calls visit for the nodes of list until it returns false, and tells whether it never did. Counts,
// and stops at a NULL link, instead of looking for the head: a record that was moved has links to
// its old place. visit may release the node.
template <class Visit>
bool ForEachNode(const HOST_DLL_S &list, Visit visit) {
    HOST_DLL_NODE_S *link = list.stNode.pstNext;
    for (uint32_t left = list.ulCount; left != 0 && link != nullptr; --left) {
        HOST_DLL_NODE_S *const next = link->pstNext;
        if (!visit(reinterpret_cast<QOR_LDP_UNKNOWN_TLV_S *>(link))) {
            return false;
        }
        link = next;
    }
    return true;
}

}  // namespace qor::pkt
