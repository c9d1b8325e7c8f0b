// Encode dispatch, and what the encoders of several messages share.
#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::kEncode;
using qor::pkt::LogOf;
namespace pkt = qor::pkt;

struct Encoder {
    uint32_t type;
    uint32_t (*encode)(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec, QOR_PKT_CTX_S *ctx);
};

constexpr Encoder kEncoders[] = {
    {QOR_LDP_MSG_NOTIFICATION, QOR_LDP_PKT_EncodeNotificationMsg},
    {QOR_LDP_MSG_MAC_WITHDRAW, QOR_LDP_PKT_EncodeMacwithdrawMsg},
    {QOR_LDP_MSG_MAPPING, QOR_LDP_PKT_EncodeMappingMsg},
    {QOR_LDP_MSG_REQUEST, QOR_LDP_PKT_EncodeRequestMsg},
    {QOR_LDP_MSG_WITHDRAW, QOR_LDP_PKT_EncodeWithdrawMsg},
    {QOR_LDP_MSG_RELEASE, QOR_LDP_PKT_EncodeReleaseMsg},
};

uint32_t EncodePwId(uint8_t *out, const QOR_LDP_SIGNAL_MSG_S *rec, const QOR_PKT_CTX_S *ctx,
                    pkt::FecPolicy policy, QOR_LDP_PWID_FEC_INFO_S *info) {
    if (policy.groupId) {
        info->ulGroupId = rec->ulGroupId;
    }
    if (!policy.interfaceParameters) {
        return QOR_LDP_PKT_EncodePWidFecWithoutIntfPara(out, info, ctx);
    }
    if (policy.mapping) {
        pkt::LoadParameters(rec, &info->stIntfPara);
        info->stIntfPara.usCepOptions = rec->usCepOptions;
        QOR_LDP_PKT_EncodeMappingMsgIntfDesc(info, rec, ctx);
    }
    const uint32_t length = QOR_LDP_PKT_EncodePWidFecWithIntfPara(out, info, rec, ctx);
    qor::FreeAndClear(kEncode, &info->stIntfPara.szIntfDesc);
    return length;
}

}  // namespace

namespace qor::pkt {

void PutGroupIdTlv(wire::Writer &out, uint32_t groupId) {
    PutWordTlv(out, kTlvGroupId, groupId);
}

void PutFecTlv(wire::Writer &out, const QOR_LDP_SIGNAL_MSG_S *rec, const QOR_PKT_CTX_S *ctx,
               FecPolicy policy) {
    QOR_LDP_PWID_FEC_INFO_S info;
    QOR_LDP_PKT_InitPwIdFecInfo(&info);
    info.ucPwIdPresent = rec->ucNoPwId == 0;
    info.ucCBit = rec->ucCBit;
    info.stKey = rec->stFecKey;

    uint8_t *element = out.At() + kTlvHeaderLen;
    uint32_t length = 0;
    if (info.stKey.ucKeyType == QOR_LDP_KEY_GEN_PWID) {
        length = QOR_LDP_PKT_EncodeGenPwId(element, &info);
    } else if (info.stKey.ucKeyType == QOR_LDP_KEY_PWID) {
        length = EncodePwId(element, rec, ctx, policy, &info);
    }
    PutTlvHeader(out, kTlvFec, length);
    out.Skip(length);
}

bool NeedsGroupId(const QOR_LDP_SIGNAL_MSG_S *rec) {
    return rec->stFecKey.ucKeyType == QOR_LDP_KEY_GEN_PWID && rec->ucNoPwId == 1;
}

}  // namespace qor::pkt

uint32_t QOR_LDP_PKT_EncodeMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec, QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, buf, rec, ctx)) {
        return 0;
    }
    uint32_t length = 0;
    if (const Encoder *row = pkt::FindRow(kEncoders, rec->ulMsgType); row != nullptr) {
        length = row->encode(buf, rec, ctx);
    } else {
        qor::Report(kEncode);
        QOR_LOG_DevLog(LogOf(ctx), "QOR PKT: Encode msg unknwon msg type: %u", rec->ulMsgType);
    }
    if (pkt::Tracing(ctx)) {
        QOR_LDP_PKT_FmtPwFec2Str(&rec->stFecKey, ctx->szFecText, sizeof ctx->szFecText);
        QOR_LOG_DevLog(LogOf(ctx),
                       "QOR_PKT: EncodeMsg, PeerIp:0x%8.8x, MessageType:0x%x, PwID:%s, "
                       "MsgLength:%u",
                       rec->ulPeerIp, rec->ulMsgType, ctx->szFecText, length);
    }
    return length;
}
