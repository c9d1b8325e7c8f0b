// Notification (RFC 5036 section 3.5.1): LDP errors, and the status of a pseudowire (RFC 8077
// section 6.3).
//
//   message header (8) | Status TLV: 0x0300, 10, code (32), message ID (32), message type (16) |
//   TLVs
#include <span>

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

constexpr uint16_t kStatusLen = 10;
constexpr uint32_t kStatusTlvLen = pkt::kTlvHeaderLen + kStatusLen;
constexpr uint32_t kMinLength = pkt::kMsgIdLen + kStatusTlvLen;

constexpr uint32_t kEBit = 0x80000000;
constexpr uint32_t kStatusFBit = 0x40000000;
constexpr uint32_t kStatusMask = 0x3FFFFFFF;

// The longest error Notification, header included.
constexpr uint32_t kErrNotifyMax = 4096;

uint32_t DecodePwStatus(Walk &walk, const Tlv &tlv) {
    walk.rec->ulStatus = wire::Get32(tlv.value);
    walk.seen |= pkt::kSeenPwStatus;
    return QOR_OK;
}

constexpr pkt::TlvRule kTlvs[] = {
    {pkt::kTlvGroupId, pkt::kWordLen, QOR_LDP_ERR_WORD_LEN, pkt::DecodeGroupId},
    {pkt::kTlvPwStatus, pkt::kWordLen, QOR_LDP_ERR_WORD_LEN, DecodePwStatus},
    {pkt::kTlvExtStatus, pkt::kAnyLength, 0, pkt::IgnoreTlv},
    {pkt::kTlvReturnedPdu, pkt::kAnyLength, 0, pkt::IgnoreTlv},
    {pkt::kTlvReturnedMsg, pkt::kAnyLength, 0, pkt::IgnoreTlv},
    {pkt::kTlvLabelReqMsgId, pkt::kAnyLength, 0, pkt::IgnoreTlv},
};

constexpr pkt::MessageRule kNotification = {
    .name = "Label Notification Message",
    .decoder = "Notification",
    .unknownLog = "notification",
    .fecLog = "LDP PKT: Decode notification Fec failed retcod: 0x%x",
    .unknown = pkt::Unknown::kSkip,
    .rejectLaterFec = false,
    .tlvs = kTlvs,
};

uint32_t DecodeStatus(Walk &walk) {
    const uint8_t *header = walk.msg + pkt::kMsgHeaderLen;
    const auto type = static_cast<uint16_t>(wire::Get16(header) & pkt::kTlvTypeMask);
    if (type != pkt::kTlvStatus) {
        QOR_LOG_DevLog(LogOf(walk.ctx),
                       "QOR PKT: DecodeNotificationMsg()TLV Type Invalid <TlvType = %u "
                       "DecodedLen = %u TotalLen = %u>",
                       unsigned{type}, pkt::kMsgHeaderLen, walk.length);
        return QOR_LDP_ERR_FIRST_TLV;
    }
    if (wire::Get16(header + 2) != kStatusLen) {
        return QOR_LDP_ERR_STATUS_LEN;
    }
    const uint8_t *value = header + pkt::kTlvHeaderLen;
    walk.status = wire::Get32(value) & kStatusMask;
    walk.rec->ulStatusMsgId = wire::Get32(value + 4);
    walk.rec->usStatusMsgType = wire::Get16(value + 8);
    return QOR_OK;
}

// A PW status needs the status and the pseudowire; anything else is an LDP error, whatever FEC
// came with it.
uint32_t FinishNotification(const Walk &walk) {
    QOR_LDP_SIGNAL_MSG_S *rec = walk.rec;
    if (walk.status != QOR_LDP_STATUS_PW_STATUS) {
        rec->stFecKey = {};
        rec->usFlags |= QOR_LDP_FLAG_ERR_NOTIFY;
        return QOR_OK;
    }
    if ((walk.seen & pkt::kSeenPwStatus) == 0) {
        return QOR_LDP_ERR_NO_PW_STATUS;
    }
    if ((walk.seen & pkt::kSeenFec) == 0) {
        return QOR_LDP_ERR_NO_FEC;
    }
    const bool grouped = (walk.seen & pkt::kSeenGroupId) != 0;
    return pkt::NeedsGroupId(rec) && !grouped ? QOR_LDP_ERR_NO_PW_ID : QOR_OK;
}

}  // namespace

uint32_t QOR_LDP_PKT_DecodeNotificationMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                           const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, msg, signalMsg, ctx)) {
        return QOR_FAIL;
    }
    Walk walk(kNotification, msg, signalMsg, ctx);
    if (walk.length <= pkt::kMsgIdLen) {
        return QOR_OK;
    }
    if (walk.length < kMinLength) {
        QOR_LOG_DevLog(LogOf(ctx),
                       "QOR PKT: DecodeNotificationMsg()<TlvType = %u DecodedLen = %u "
                       "TotalLen = %u>",
                       0u, pkt::kMsgIdLen, walk.length);
        return QOR_LDP_ERR_NOTIFY_LEN;
    }
    uint32_t result = DecodeStatus(walk);
    if (result == QOR_OK) {
        result = pkt::WalkTlvs(walk, kMinLength);
    }
    return result == QOR_OK ? FinishNotification(walk) : result;
}

uint32_t QOR_LDP_PKT_EncodeNotificationMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                           QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, buf, rec, ctx)) {
        return 0;
    }
    return (rec->usFlags & QOR_LDP_FLAG_ERR_NOTIFY) != 0
               ? QOR_LDP_PKT_EncodeErrNotificationMsg(buf, rec, ctx)
               : QOR_LDP_PKT_EncodePwNotificationMsg(buf, rec, ctx);
}

uint32_t QOR_LDP_PKT_EncodeErrNotificationMsg(uint8_t *out, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                              QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, out, signalMsg, ctx)) {
        return 0;
    }
    wire::Writer writer = pkt::BeginMessage(out, QOR_LDP_MSG_NOTIFICATION, signalMsg);
    QOR_LDP_PKT_EncodeLdpStatusCode(writer.At(), signalMsg->ulStatus, signalMsg->ulStatusMsgId,
                                    signalMsg->usStatusMsgType);
    writer.Skip(kStatusTlvLen);
    if (signalMsg->pucNotifyData != nullptr) {
        const uint32_t length = signalMsg->usNotifyDataLen;
        if (writer.Written() + pkt::kTlvHeaderLen + length > kErrNotifyMax) {
            return 0;
        }
        pkt::PutTlvHeader(writer, pkt::kTlvReturnedMsg, length);
        writer.Octets(signalMsg->pucNotifyData, length);
    }
    return pkt::EndMessage(out, writer);
}

uint32_t QOR_LDP_PKT_EncodePwNotificationMsg(uint8_t *out, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                             QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, out, signalMsg, ctx)) {
        return 0;
    }
    wire::Writer writer = pkt::BeginMessage(out, QOR_LDP_MSG_NOTIFICATION, signalMsg);
    if (signalMsg->ulStatus != QOR_LDP_PKT_NONE) {
        const bool status6 = (signalMsg->usFlags & QOR_LDP_FLAG_STATUS_6) != 0;
        QOR_LDP_PKT_EncodeLdpStatusCode(
            writer.At(), status6 ? QOR_LDP_STATUS_UNKNOWN_TLV : QOR_LDP_STATUS_PW_STATUS,
            signalMsg->ulBodyMsgId, 0);
        writer.Skip(kStatusTlvLen);
        pkt::PutWordTlv(writer, pkt::kUBit | pkt::kTlvPwStatus, signalMsg->ulStatus);
    }
    pkt::PutFecTlv(writer, signalMsg, ctx,
                   {.interfaceParameters = false, .groupId = true, .mapping = false});
    if (pkt::NeedsGroupId(signalMsg)) {
        pkt::PutGroupIdTlv(writer, signalMsg->ulGroupId);
    }
    return pkt::EndMessage(out, writer);
}

uint32_t QOR_LDP_PKT_EncodeLdpStatusCode(uint8_t *out, uint32_t statusCode, uint32_t msgId,
                                         uint16_t msgType) {
    if (RefuseNull(kEncode, out)) {
        return 0;
    }
    const uint32_t eBit = QOR_LDP_PKT_IsNotifySetEBit(statusCode);
    const uint32_t fBit = QOR_LDP_PKT_IsNotifySetFBit(statusCode);
    wire::Writer writer(out);
    pkt::PutTlvHeader(writer, fBit != 0 ? pkt::kFBit | pkt::kTlvStatus : pkt::kTlvStatus,
                      kStatusLen);
    writer.U32((statusCode & kStatusMask) | (eBit != 0 ? kEBit : 0) |
               (fBit != 0 ? kStatusFBit : 0));
    writer.U32(msgId);
    writer.U16(msgType);
    return eBit;
}

// A narrower choice than RFC 5036 section 3.9 would allow: only these two end the session.
uint32_t QOR_LDP_PKT_IsNotifySetEBit(uint32_t statusCode) {
    return statusCode == QOR_LDP_STATUS_BAD_TLV_LEN || statusCode == QOR_LDP_STATUS_MALFORMED_TLV;
}

uint32_t QOR_LDP_PKT_IsNotifySetFBit(uint32_t /*statusCode*/) {
    return 0;
}
