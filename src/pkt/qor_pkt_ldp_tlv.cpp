// TLVs that several messages share or that are not of a MAC kind: address list, path vector, PW
// tag, PW Group ID, switching points, unknown TLVs.
#include <algorithm>
#include <cstring>

#include "base/qor_links.hpp"
#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::kDecode;
using qor::pkt::kEncode;
using qor::pkt::kFamilyIpv4;
using qor::pkt::LogOf;
namespace wire = qor::wire;
namespace pkt = qor::pkt;

constexpr uint32_t kUnknownNodeTag = 57;

constexpr uint32_t kFamilyLen = 2;
constexpr uint32_t kIpv4Len = 4;

constexpr uint32_t kPwTagWordsLen = 8;  // the two words whose order is changed

// Sub-TLVs of the switching-point TLV (RFC 6073 section 7.4.1); their length counts the value only.
constexpr uint8_t kSpePwId = 1;
constexpr uint8_t kSpePeer = 4;
constexpr uint32_t kSpeHeaderLen = 2;
constexpr uint8_t kSpeWordLen = 4;
constexpr uint32_t kSpeMinLen = 2;

// One sub-TLV header and value at value + offset, 0 when it is not all there.
uint32_t SpeSubLen(const uint8_t *value, uint32_t length, uint32_t offset) {
    if (length - offset < kSpeHeaderLen) {
        return 0;
    }
    const uint32_t subLen = value[offset + 1];
    return subLen >= kSpeMinLen && subLen <= length - offset - kSpeHeaderLen
               ? kSpeHeaderLen + subLen
               : 0;
}

// Brings both words of a tag from network to host order or back, where they stand: whoever reads
// the tag of a record finds them in host order.
void SwapPwTag(uint8_t *tag) {
    for (uint32_t at = 0; at < kPwTagWordsLen; at += sizeof(uint32_t)) {
        const uint32_t word = wire::Get32(tag + at);
        std::memcpy(tag + at, &word, sizeof word);
    }
}

}  // namespace

// ---- Address List, RFC 5036 section 3.4.3

uint32_t QOR_LDP_PKT_DecodeAddrListTlv(const uint8_t *value, const QOR_LDP_TLV_HDR_S *tlvHeader,
                                       const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, ctx)) {
        return QOR_FAIL;
    }
    const uint32_t length = tlvHeader->usLength;
    if (length == 0) {
        return QOR_OK;
    }
    if (length < kFamilyLen) {
        return QOR_LDP_ERR_ADDR_LIST;
    }
    if (wire::Get16(value) != kFamilyIpv4) {
        return QOR_LDP_ERR_FAMILY;
    }
    return length % kIpv4Len == kFamilyLen % kIpv4Len ? QOR_OK : QOR_LDP_ERR_ADDR_LIST;
}

uint32_t QOR_LDP_PKT_EncodeAddrListTlv(uint8_t **cursor) {
    if (RefuseNull(kEncode, cursor)) {
        return QOR_ERR_ARG;
    }
    wire::Writer out(*cursor);
    pkt::PutTlvHeader(out, pkt::kTlvAddrList, kFamilyLen + kIpv4Len);
    out.U16(kFamilyIpv4);
    out.Skip(kIpv4Len);
    *cursor = out.At();
    return QOR_OK;
}

// ---- Path Vector, RFC 5036 section 3.4.5

uint32_t QOR_LDP_PKT_DecodePathVectorTlv(const uint8_t *value, const QOR_LDP_TLV_HDR_S *tlvHeader,
                                         QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                         const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    signalMsg->ulPathVectorLen = tlvHeader->usLength;
    signalMsg->pucPathVector = pkt::Borrow(value, tlvHeader->usLength);
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodePathVectorTlv(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                         QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, cursor, signalMsg, ctx)) {
        return QOR_ERR_ARG;
    }
    pkt::PutDataTlv(cursor, pkt::kUBit | pkt::kFBit | pkt::kTlvPathVector, {},
                    signalMsg->pucPathVector, signalMsg->ulPathVectorLen);
    return QOR_OK;
}

// ---- PW tag, a vendor TLV: fixed octets, then nothing or two words and more

uint32_t QOR_LDP_PKT_DecodePwTagTlv(const uint8_t *value, const QOR_LDP_TLV_HDR_S *tlvHeader,
                                    QOR_LDP_SIGNAL_MSG_S *signalMsg, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    const uint32_t length = tlvHeader->usLength;
    if (const uint32_t result = pkt::CheckVendorTlv(value, length, pkt::kVendorOctets);
        result != QOR_OK) {
        return result;
    }
    const uint32_t tagLen = length - pkt::kVendorLen;
    if (tagLen != 0 && tagLen < kPwTagWordsLen) {
        return QOR_LDP_ERR_MAC_LEN;
    }
    signalMsg->ulPwTagType = QOR_LDP_TLV_PW_TAG;
    signalMsg->ulPwTagLen = tagLen;
    signalMsg->pucPwTag = pkt::Borrow(value + pkt::kVendorLen, tagLen);
    if (tagLen != 0) {
        SwapPwTag(signalMsg->pucPwTag);
    }
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodePwTagTlv(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                    QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, cursor, signalMsg, ctx)) {
        return QOR_ERR_ARG;
    }
    if (signalMsg->pucPwTag != nullptr && signalMsg->ulPwTagLen >= kPwTagWordsLen &&
        signalMsg->ulPwTagLen <= QOR_LDP_PKT_TLV_DATA_MAX) {
        SwapPwTag(signalMsg->pucPwTag);
    }
    pkt::PutDataTlv(cursor, pkt::kUBit | QOR_LDP_TLV_PW_TAG, pkt::kVendorOctets,
                    signalMsg->pucPwTag, signalMsg->ulPwTagLen);
    return QOR_OK;
}

// ---- Unknown TLVs that are forwarded (RFC 5036 section 3.3: U and F bit set)

uint32_t QOR_LDP_PKT_DecodeUnknownTlv(const uint8_t *value, const QOR_LDP_TLV_HDR_S *tlvHeader,
                                      HOST_DLL_S *list, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, list, ctx)) {
        return QOR_FAIL;
    }
    auto *node = static_cast<QOR_LDP_UNKNOWN_TLV_S *>(
        HOST_MemAllocBySid(ctx->ulSid, sizeof(QOR_LDP_UNKNOWN_TLV_S), kUnknownNodeTag));
    if (RefuseNull(kDecode, node)) {
        return QOR_ERR_NO_MEM;
    }
    const uint32_t length = tlvHeader->usLength + pkt::kTlvHeaderLen;
    *node = {nullptr, nullptr, length, pkt::Borrow(value - pkt::kTlvHeaderLen, length)};
    qor::Append(list, reinterpret_cast<HOST_DLL_NODE_S *>(node));
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodeUnknownTlv(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                      const uint8_t *bufferEnd, QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, cursor, signalMsg, bufferEnd, ctx)) {
        return QOR_ERR_ARG;
    }
    wire::Writer out(*cursor);
    pkt::ForEachNode(signalMsg->stUnknownTlvList, [&](const QOR_LDP_UNKNOWN_TLV_S *node) {
        if (node->ulTlvLen == 0 || node->pucTlv == nullptr) {
            return true;
        }
        if (out.At() >= bufferEnd || node->ulTlvLen >= static_cast<size_t>(bufferEnd - out.At())) {
            QOR_LOG_DevLog(LogOf(ctx),
                           "LDP PKT: The buffer is not enough when encode macwithdraw unknwon tlv");
            return false;
        }
        out.Octets(node->pucTlv, node->ulTlvLen);
        return true;
    });
    *cursor = out.At();
    return QOR_OK;
}

// ---- PW Group ID, RFC 8077 section 6.2.2.2

uint32_t QOR_LDP_PKT_EncodeGroupIdTlv(uint8_t **cursor, uint32_t groupId) {
    if (RefuseNull(kEncode, cursor)) {
        return QOR_ERR_ARG;
    }
    wire::Writer out(*cursor);
    pkt::PutGroupIdTlv(out, groupId);
    *cursor = out.At();
    return QOR_OK;
}

// ---- Switching points, RFC 6073 section 7.4

uint32_t QOR_LDP_PKT_DecodeSPE(const uint8_t *value, uint32_t length, QOR_LDP_PKT_LOG_S *logCtx,
                               uint8_t *outCount, QOR_LDP_SPE_S *outEntries) {
    if (RefuseNull(kDecode, value, logCtx, outCount, outEntries)) {
        return QOR_FAIL;
    }
    QOR_LOG_S *const devLog = LogOf(logCtx->pstCtx);
    *outCount = 0;
    // Peers and PW IDs fill the entries independently of each other.
    uint32_t peers = 0;
    uint32_t pwIds = 0;
    for (uint32_t offset = 0; offset < length;) {
        const uint32_t subLen = SpeSubLen(value, length, offset);
        if (subLen == 0) {
            return QOR_LDP_ERR_SUB_TLV;
        }
        const uint8_t *sub = value + offset;
        const uint8_t *data = sub + kSpeHeaderLen;
        offset += subLen;
        if (sub[0] == kSpePeer) {
            if (sub[1] != kSpeWordLen) {
                QOR_LOG_DevLog(devLog, "QOR_PKT: Invalid spe tlv peer ip length %u",
                               unsigned{sub[1]});
                return QOR_LDP_ERR_SPE_PEER_LEN;
            }
            if (peers < QOR_LDP_PKT_SPE_MAX) {
                outEntries[peers].ulPeerIp = wire::Get32(data);
            }
            ++peers;
        } else if (sub[0] == kSpePwId) {
            if (sub[1] != kSpeWordLen) {
                QOR_LOG_DevLog(devLog, "QOR_PKT: Invalid spe tlv pw id length %u",
                               unsigned{sub[1]});
                return QOR_LDP_ERR_SPE_PWID_LEN;
            }
            if (pwIds < QOR_LDP_PKT_SPE_MAX) {
                outEntries[pwIds].ulPwId = wire::Get32(data);
                ++pwIds;
            }
        } else {
            QOR_LOG_DevLog(devLog,
                           "QOR PKT: DecodeSPE() <Unknown TLV, TLV Type = %u, PeerIp = 0x%x>.\r\n",
                           unsigned{sub[0]}, logCtx->ulPeerIp);
        }
    }
    *outCount = static_cast<uint8_t>(peers);
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodeSPE(uint8_t *out, uint32_t count, const QOR_LDP_SPE_S *entries) {
    if (RefuseNull(kEncode, out, entries)) {
        return 0;
    }
    wire::Writer writer(out);
    const uint32_t n = std::min<uint32_t>(count, QOR_LDP_PKT_SPE_MAX);
    for (uint32_t i = 0; i < n; ++i) {
        writer.U8(kSpePwId);
        writer.U8(kSpeWordLen);
        writer.U32(entries[i].ulPwId);
        writer.U8(kSpePeer);
        writer.U8(kSpeWordLen);
        writer.U32(entries[i].ulPeerIp);
    }
    return writer.Written();
}

uint32_t QOR_LDP_PKT_TlvLenValid(uint32_t length) {
    const uint32_t low = length & 0xFFFF;
    return low > 0 && low < QOR_LDP_PKT_TLV_DATA_MAX;
}
