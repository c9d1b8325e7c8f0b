// MAC Withdraw: an Address Withdraw message for a pseudowire (RFC 4762 section 6.2), with the MAC
// list (0x0404), PE-ID list (0x0405), flush (0x0406) and vendor TLVs.
#include <cstring>
#include <span>

#include "base/qor_links.hpp"
#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::kDecode;
using qor::pkt::kEncode;
using qor::pkt::LogOf;
using qor::pkt::Tlv;
using qor::pkt::Walk;
namespace wire = qor::wire;
namespace pkt = qor::pkt;

constexpr uint32_t kMacLen = 6;
constexpr uint32_t kFlagsLen = 1;

constexpr uint8_t kVendorFlushOctets[] = {0x00, 0x03, 0xFA, 0x00};

// The MAC TLVs of a message share one place in the record.
void StoreMac(const QOR_LDP_TLV_HDR_S *header, const uint8_t *data, uint32_t length,
              QOR_LDP_SIGNAL_MSG_S *msg) {
    msg->ulMacTlvType = header->usTypeWord & pkt::kTlvTypeMask;
    msg->ulMacLen = length;
    msg->pucMacList = pkt::Borrow(data, length);
}

// ---- Which of several MAC TLVs stays. The last one, but PE-IDs do not displace a list with
// addresses, and an empty list displaces nothing but lists.

uint32_t DecodeMacList(Walk &walk, const Tlv &tlv) {
    if (tlv.header.usLength == 0) {
        if ((walk.seen & pkt::kSeenMacOther) != 0) {
            return QOR_OK;
        }
    } else {
        walk.seen |= pkt::kSeenMacList;
        walk.seen &= ~uint32_t{pkt::kSeenMacOther};
    }
    return QOR_LDP_PKT_DecodeMacTlv(tlv.value, &tlv.header, walk.rec, walk.ctx);
}

uint32_t DecodePeId(Walk &walk, const Tlv &tlv) {
    if ((walk.seen & pkt::kSeenMacList) != 0) {
        return QOR_OK;
    }
    walk.seen |= pkt::kSeenMacOther;
    return QOR_LDP_PKT_DecodeMacTlv(tlv.value, &tlv.header, walk.rec, walk.ctx);
}

template <auto kDecoder>
uint32_t DecodeOther(Walk &walk, const Tlv &tlv) {
    walk.seen |= pkt::kSeenMacOther;
    return kDecoder(tlv.value, &tlv.header, walk.rec, walk.ctx);
}

template <auto kDecoder>
uint32_t Decode(Walk &walk, const Tlv &tlv) {
    return kDecoder(tlv.value, &tlv.header, walk.rec, walk.ctx);
}

uint32_t DecodeAddrList(Walk &walk, const Tlv &tlv) {
    return QOR_LDP_PKT_DecodeAddrListTlv(tlv.value, &tlv.header, walk.ctx);
}

constexpr pkt::TlvRule kTlvs[] = {
    {pkt::kTlvAddrList, pkt::kAnyLength, 0, DecodeAddrList},
    {pkt::kTlvPathVector, pkt::kAnyLength, 0, Decode<QOR_LDP_PKT_DecodePathVectorTlv>},
    {QOR_LDP_TLV_MAC_LIST, pkt::kAnyLength, 0, DecodeMacList},
    {QOR_LDP_TLV_MAC_PE_ID, pkt::kAnyLength, 0, DecodePeId},
    {QOR_LDP_TLV_MAC_FLUSH, pkt::kAnyLength, 0, DecodeOther<QOR_LDP_PKT_DecodeMacFlushTlv>},
    {QOR_LDP_TLV_VENDOR_FLUSH, pkt::kAnyLength, 0,
     DecodeOther<QOR_LDP_PKT_DecodeMacVendorFlushTlv>},
    {QOR_LDP_TLV_MAC_FLAP, pkt::kAnyLength, 0, DecodeOther<QOR_LDP_PKT_DecodeMacFlapTlv>},
    {QOR_LDP_TLV_MAC_FLAP_FLAGS, pkt::kAnyLength, 0, DecodeOther<QOR_LDP_PKT_DecodeMacFlapTlv>},
    {QOR_LDP_TLV_PW_TAG, pkt::kAnyLength, 0, Decode<QOR_LDP_PKT_DecodePwTagTlv>},
};

constexpr pkt::MessageRule kMacWithdraw = {
    .name = "Mac Withdraw Message",
    .decoder = "Macwithdraw",
    .unknownLog = "macwithdraw",
    .fecLog = nullptr,
    .unknown = pkt::Unknown::kKeep,
    .rejectLaterFec = false,
    .tlvs = kTlvs,
};

// ---- Encoding

struct MacEncoder {
    uint32_t type;
    bool needsData;
    uint32_t (*encode)(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *msg, QOR_PKT_CTX_S *ctx);
};

constexpr MacEncoder kEncoders[] = {
    {QOR_LDP_TLV_MAC_FLAP, true, QOR_LDP_PKT_EncodeMacFlapTlv},
    {QOR_LDP_TLV_MAC_FLAP_FLAGS, true, QOR_LDP_PKT_EncodeMacFlapTlv},
    {QOR_LDP_TLV_MAC_PE_ID, true, QOR_LDP_PKT_EncodeMacPeIdTlv},
    {QOR_LDP_TLV_MAC_FLUSH, false, QOR_LDP_PKT_EncodeMacFlushTlv},
    {QOR_LDP_TLV_VENDOR_FLUSH, false, QOR_LDP_PKT_EncodeMacVendorFlushTlv},
};

bool HasMacData(const QOR_LDP_SIGNAL_MSG_S *msg) {
    return msg->ulMacLen != 0 && msg->pucMacList != nullptr;
}

// The addresses themselves are not written: an empty list makes the receiver forget all that it has
// not learnt from the sender (RFC 4762 section 6.2), six octets are the caller's to fill in.
void PutMacList(wire::Writer &out, const QOR_LDP_SIGNAL_MSG_S *msg) {
    if ((msg->usFlags & QOR_LDP_FLAG_REPEAT_FEC) != 0) {
        pkt::PutTlvHeader(out, pkt::kUBit | QOR_LDP_TLV_MAC_LIST, kMacLen);
        out.Skip(kMacLen);
    } else if (msg->ulMacTlvType != QOR_LDP_TLV_VENDOR_FLUSH) {
        pkt::PutTlvHeader(out, pkt::kUBit | QOR_LDP_TLV_MAC_LIST, 0);
    }
}

}  // namespace

namespace qor::pkt {

uint32_t CheckVendorTlv(const uint8_t *value, uint32_t length, VendorOctets octets, uint32_t max) {
    if (length < kVendorLen || length > max) {
        return QOR_LDP_ERR_MAC_LEN;
    }
    return std::memcmp(value, octets.data(), kVendorLen) == 0 ? QOR_OK : QOR_LDP_ERR_OUI;
}

void PutDataTlv(uint8_t **cursor, uint32_t typeWord, std::span<const uint8_t> prefix,
                const uint8_t *data, uint32_t length) {
    const uint32_t dataLen = data == nullptr ? 0 : length;
    if (dataLen > QOR_LDP_PKT_TLV_DATA_MAX) {
        return;
    }
    const auto prefixLen = static_cast<uint32_t>(prefix.size());
    wire::Writer out(*cursor);
    PutTlvHeader(out, typeWord, prefixLen + dataLen);
    out.Octets(prefix.data(), prefixLen);
    out.Octets(data, dataLen);
    *cursor = out.At();
}

}  // namespace qor::pkt

// ---- MAC list and PE-ID list

uint32_t QOR_LDP_PKT_DecodeMacTlv(const uint8_t *value, const QOR_LDP_TLV_HDR_S *tlvHeader,
                                  QOR_LDP_SIGNAL_MSG_S *signalMsg, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    const uint32_t length = tlvHeader->usLength;
    if ((tlvHeader->usTypeWord & pkt::kTlvTypeMask) == QOR_LDP_TLV_MAC_LIST &&
        length % kMacLen != 0) {
        return QOR_LDP_ERR_MAC_LIST_LEN;
    }
    if (length > QOR_LDP_PKT_TLV_DATA_MAX) {
        return QOR_LDP_ERR_MAC_LEN;
    }
    StoreMac(tlvHeader, value, length, signalMsg);
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodeMacPeIdTlv(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                      QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, cursor, signalMsg, ctx)) {
        return QOR_ERR_ARG;
    }
    pkt::PutDataTlv(cursor, pkt::kUBit | QOR_LDP_TLV_MAC_PE_ID, {}, signalMsg->pucMacList,
                    signalMsg->ulMacLen);
    return QOR_OK;
}

// ---- MAC flush: a flags octet and data

uint32_t QOR_LDP_PKT_DecodeMacFlushTlv(const uint8_t *value, const QOR_LDP_TLV_HDR_S *tlvHeader,
                                       QOR_LDP_SIGNAL_MSG_S *signalMsg, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    const uint32_t length = tlvHeader->usLength;
    if (length < kFlagsLen || length > QOR_LDP_PKT_TLV_DATA_MAX) {
        return QOR_LDP_ERR_MAC_LEN;
    }
    signalMsg->ucMacFlags = value[0];
    StoreMac(tlvHeader, value + kFlagsLen, length - kFlagsLen, signalMsg);
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodeMacFlushTlv(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                       QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, cursor, signalMsg, ctx)) {
        return QOR_ERR_ARG;
    }
    const uint8_t flags[] = {signalMsg->ucMacFlags};
    pkt::PutDataTlv(cursor, pkt::kUBit | pkt::kFBit | QOR_LDP_TLV_MAC_FLUSH, flags,
                    signalMsg->pucMacList, signalMsg->ulMacLen);
    return QOR_OK;
}

// ---- Vendor flush: fixed octets and data

uint32_t QOR_LDP_PKT_DecodeMacVendorFlushTlv(const uint8_t *value,
                                             const QOR_LDP_TLV_HDR_S *tlvHeader,
                                             QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                             const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    const uint32_t length = tlvHeader->usLength;
    if (const uint32_t result = pkt::CheckVendorTlv(value, length, kVendorFlushOctets, UINT16_MAX);
        result != QOR_OK) {
        return result;
    }
    StoreMac(tlvHeader, value + pkt::kVendorLen, length - pkt::kVendorLen, signalMsg);
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodeMacVendorFlushTlv(uint8_t **cursor,
                                             const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                             QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, cursor, signalMsg, ctx)) {
        return QOR_ERR_ARG;
    }
    pkt::PutDataTlv(cursor, pkt::kUBit | QOR_LDP_TLV_VENDOR_FLUSH, kVendorFlushOctets,
                    signalMsg->pucMacList, signalMsg->ulMacLen);
    return QOR_OK;
}

// ---- MAC flap: fixed octets, in the second form a flags octet, and data

uint32_t QOR_LDP_PKT_DecodeMacFlapTlv(const uint8_t *value, const QOR_LDP_TLV_HDR_S *tlvHeader,
                                      QOR_LDP_SIGNAL_MSG_S *signalMsg, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, value, tlvHeader, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    const uint32_t length = tlvHeader->usLength;
    if (const uint32_t result = pkt::CheckVendorTlv(value, length, pkt::kVendorOctets);
        result != QOR_OK) {
        return result;
    }
    uint32_t dataAt = pkt::kVendorLen;
    if ((tlvHeader->usTypeWord & pkt::kTlvTypeMask) == QOR_LDP_TLV_MAC_FLAP_FLAGS) {
        // The form with flags has data.
        if (length < pkt::kVendorLen + kFlagsLen + 1) {
            return QOR_LDP_ERR_MAC_LEN;
        }
        signalMsg->ucMacFlags = value[pkt::kVendorLen];
        dataAt += kFlagsLen;
    }
    StoreMac(tlvHeader, value + dataAt, length - dataAt, signalMsg);
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodeMacFlapTlv(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                      QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, cursor, signalMsg, ctx)) {
        return QOR_ERR_ARG;
    }
    uint8_t prefix[pkt::kVendorLen + kFlagsLen];
    std::memcpy(prefix, pkt::kVendorOctets, pkt::kVendorLen);
    prefix[pkt::kVendorLen] = signalMsg->ucMacFlags;
    const bool flags = signalMsg->ulMacTlvType == QOR_LDP_TLV_MAC_FLAP_FLAGS;
    const uint32_t type = flags ? QOR_LDP_TLV_MAC_FLAP_FLAGS : QOR_LDP_TLV_MAC_FLAP;
    const size_t prefixLen = flags ? sizeof prefix : pkt::kVendorLen;
    pkt::PutDataTlv(cursor, pkt::kUBit | type, std::span(prefix, prefixLen), signalMsg->pucMacList,
                    signalMsg->ulMacLen);
    return QOR_OK;
}

// ---- The message

uint32_t QOR_LDP_PKT_DecodeMacwithdrawMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                          const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, msg, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    signalMsg->ulMacTlvType = 0;
    signalMsg->ulMacLen = 0;
    signalMsg->pucMacList = nullptr;
    signalMsg->ulPathVectorLen = 0;
    signalMsg->pucPathVector = nullptr;
    signalMsg->ulPwTagType = 0;
    signalMsg->ulPwTagLen = 0;
    signalMsg->pucPwTag = nullptr;
    signalMsg->ucBorrowed = 1;
    qor::InitList(&signalMsg->stUnknownTlvList);

    Walk walk(kMacWithdraw, msg, signalMsg, ctx);
    const uint32_t result = pkt::WalkTlvs(walk, pkt::kMsgIdLen);
    if (result != QOR_OK) {
        QOR_LOG_DevLog(LogOf(ctx), "LDP PKT: Decode DecodeMacwithdrawMsg TLV %u failed retcod: %u",
                       unsigned{walk.lastType}, result);
        // Not by ulMsgType, which a direct caller need not have set.
        QOR_LDP_PKT_FreeListNode(&signalMsg->stUnknownTlvList, ctx);
    }
    return result;
}

uint32_t QOR_LDP_PKT_EncodeMacwithdrawMsg(uint8_t *out, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                          QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, out, signalMsg, ctx)) {
        return 0;
    }
    const MacEncoder *encoder = pkt::FindRow(kEncoders, signalMsg->ulMacTlvType);
    if (encoder != nullptr && encoder->needsData && !HasMacData(signalMsg)) {
        qor::Report(kEncode);
        return 0;
    }
    wire::Writer writer = pkt::BeginMessage(out, QOR_LDP_MSG_MAC_WITHDRAW, signalMsg);
    uint8_t *cursor = writer.At();
    QOR_LDP_PKT_EncodeAddrListTlv(&cursor);
    writer.MoveTo(cursor);
    pkt::PutFecTlv(writer, signalMsg, ctx,
                   {.interfaceParameters = false, .groupId = true, .mapping = false});
    PutMacList(writer, signalMsg);

    cursor = writer.At();
    if (encoder != nullptr) {
        encoder->encode(&cursor, signalMsg, ctx);
    }
    if (signalMsg->ulPwTagType == QOR_LDP_TLV_PW_TAG) {
        QOR_LDP_PKT_EncodePwTagTlv(&cursor, signalMsg, ctx);
    }
    if (signalMsg->ulPathVectorLen != 0) {
        QOR_LDP_PKT_EncodePathVectorTlv(&cursor, signalMsg, ctx);
    }
    if (signalMsg->stUnknownTlvList.ulCount != 0) {
        QOR_LDP_PKT_EncodeUnknownTlv(&cursor, signalMsg, out + QOR_LDP_PKT_MAX_MSG_LEN, ctx);
    }
    writer.MoveTo(cursor);
    return pkt::EndMessage(out, writer);
}
