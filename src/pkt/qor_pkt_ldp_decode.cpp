// Message headers, dispatch by type, and the one walk over the TLVs of a message.
#include <span>

#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::kDecode;
using qor::pkt::LogOf;
namespace wire = qor::wire;
namespace pkt = qor::pkt;

struct Decoder {
    uint32_t type;
    uint32_t (*decode)(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec, const QOR_PKT_CTX_S *ctx);
};

constexpr Decoder kDecoders[] = {
    {QOR_LDP_MSG_NOTIFICATION, QOR_LDP_PKT_DecodeNotificationMsg},
    {QOR_LDP_MSG_MAC_WITHDRAW, QOR_LDP_PKT_DecodeMacwithdrawMsg},
    {QOR_LDP_MSG_MAPPING, QOR_LDP_PKT_DecodeMappingMsg},
    {QOR_LDP_MSG_REQUEST, QOR_LDP_PKT_DecodeRequestMsg},
    {QOR_LDP_MSG_WITHDRAW, QOR_LDP_PKT_DecodeWithdrawMsg},
    {QOR_LDP_MSG_RELEASE, QOR_LDP_PKT_DecodeReleaseMsg},
};

uint32_t DecodeFec(pkt::Walk &walk, const pkt::Tlv &tlv) {
    if ((walk.seen & pkt::kSeenFec) != 0) {
        return walk.rule.rejectLaterFec ? pkt::HandleUnknown(walk, tlv, pkt::Unknown::kReject)
                                        : QOR_OK;
    }
    walk.seen |= pkt::kSeenFec;
    const uint32_t result =
        QOR_LDP_PKT_DecodeFecTlv(tlv.value, tlv.header.usLength, &walk.log, walk.rec);
    if (result != QOR_OK && walk.rule.fecLog != nullptr) {
        QOR_LOG_DevLog(LogOf(walk.ctx), walk.rule.fecLog, result, walk.rec->ulPeerIp);
    }
    return result;
}

uint32_t DecodeTlv(pkt::Walk &walk, const pkt::Tlv &tlv) {
    const uint16_t type = tlv.Type();
    if (type == pkt::kTlvFec) {
        return DecodeFec(walk, tlv);
    }
    for (const pkt::TlvRule &rule : walk.rule.tlvs) {
        if (rule.type == type) {
            if (rule.length != pkt::kAnyLength && rule.length != tlv.header.usLength) {
                return rule.lengthCode;
            }
            return rule.decode(walk, tlv);
        }
    }
    return pkt::HandleUnknown(walk, tlv, walk.rule.unknown);
}

}  // namespace

namespace qor::pkt {

uint32_t HandleUnknown(const Walk &walk, const Tlv &tlv, Unknown policy) {
    if (walk.rule.unknownLog != nullptr) {
        QOR_LOG_DevLog(LogOf(walk.ctx), "LDP PKT: Decode %s unknwon tlv: Type:%u, UBit:%u, FBit:%u",
                       walk.rule.unknownLog, unsigned{tlv.Type()}, unsigned{tlv.U()},
                       unsigned{tlv.F()});
    }
    if (policy == Unknown::kSkip) {
        return QOR_OK;
    }
    if (!tlv.U()) {
        return QOR_LDP_ERR_UNKNOWN_TLV;
    }
    if (policy == Unknown::kKeep && tlv.F()) {
        return QOR_LDP_PKT_DecodeUnknownTlv(tlv.value, &tlv.header, &walk.rec->stUnknownTlvList,
                                            walk.ctx);
    }
    return QOR_OK;
}

uint32_t WalkTlvs(Walk &walk, uint32_t position) {
    while (position < walk.length) {
        if (walk.length - position < kTlvHeaderLen) {
            return QOR_LDP_ERR_TLV_LEN;
        }
        const uint8_t *header = walk.msg + kLengthOffset + position;
        const Tlv tlv{header + kTlvHeaderLen, {wire::Get16(header), wire::Get16(header + 2)}};
        walk.lastType = tlv.Type();
        position += kTlvHeaderLen;
        if (tlv.header.usLength > walk.length - position) {
            QOR_LOG_DevLog(LogOf(walk.ctx),
                           "QOR PKT: Decode%sMsg() ==> TLV length is invalid <TlvLen = %u, "
                           "DecodedLen = %u TotalLen = %u>.",
                           walk.rule.decoder, unsigned{tlv.header.usLength}, position, walk.length);
            return QOR_LDP_ERR_TLV_LEN;
        }
        if (const uint32_t result = DecodeTlv(walk, tlv); result != QOR_OK) {
            return result;
        }
        position += tlv.header.usLength;
    }
    return QOR_OK;
}

uint32_t DecodeGroupId(Walk &walk, const Tlv &tlv) {
    walk.rec->ulGroupId = wire::Get32(tlv.value);
    walk.seen |= kSeenGroupId;
    return QOR_OK;
}

}  // namespace qor::pkt

uint32_t QOR_LDP_PKT_DecodeMsgHeader(const uint8_t *msg, uint16_t *type, uint16_t *totalLen) {
    if (RefuseNull(kDecode, msg, type, totalLen)) {
        return QOR_FAIL;
    }
    *type = wire::Get16(msg) & pkt::kMsgTypeMask;
    *totalLen = static_cast<uint16_t>(wire::Get16(msg + 2) + pkt::kLengthOffset);
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_DecodeMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                               const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, msg, rec, ctx)) {
        return QOR_FAIL;
    }
    const uint16_t length = wire::Get16(msg + 2);
    if (length > QOR_LDP_PKT_MAX_MSG_LEN) {
        return QOR_LDP_ERR_TLV_LEN;
    }
    rec->ulMsgType = wire::Get16(msg) & pkt::kMsgTypeMask;
    rec->usMsgLen = length;
    rec->usFlags = 0;
    rec->ulMsgId = wire::Get32(msg + pkt::kLengthOffset);
    if (pkt::Tracing(ctx)) {
        QOR_LOG_DevLog(LogOf(ctx),
                       "QOR_PKT: DecodeMsg, PeerIp:0x%8.8x, MessageType:0x%x, MessageLen:%u",
                       rec->ulPeerIp, rec->ulMsgType, unsigned{length});
    }
    uint32_t result = QOR_LDP_ERR_MSG_TYPE;
    if (const Decoder *row = pkt::FindRow(kDecoders, rec->ulMsgType); row != nullptr) {
        result = row->decode(msg, rec, ctx);
    } else {
        QOR_LOG_DevLog(LogOf(ctx), "QOR PKT: DecodeMsg unknwon msg type: %u", rec->ulMsgType);
    }
    rec->stFecKey.stPeerAddr.aulAddr[0] = rec->ulPeerIp;
    return result;
}
