// Label Mapping, Request, Withdraw and Release (RFC 5036 sections 3.5.7 to 3.5.11).
#include <span>

#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::kDecode;
using qor::pkt::kEncode;
using qor::pkt::Tlv;
using qor::pkt::Walk;
namespace wire = qor::wire;
namespace pkt = qor::pkt;

// ---- TLVs

uint32_t DecodeLabel(Walk &walk, const Tlv &tlv) {
    walk.rec->ulLabel = wire::Get32(tlv.value);
    walk.seen |= pkt::kSeenLabel;
    return QOR_OK;
}

uint32_t DecodeReqMsgId(Walk &walk, const Tlv &tlv) {
    walk.rec->ulLabelReqMsgId = wire::Get32(tlv.value);
    walk.rec->usMappingFlags |= QOR_LDP_MAPPING_REQ_ID;
    return QOR_OK;
}

uint32_t DecodePwStatus(Walk &walk, const Tlv &tlv) {
    walk.rec->ulPwStatus = wire::Get32(tlv.value);
    return QOR_OK;
}

uint32_t DecodeIntfPara(Walk &walk, const Tlv &tlv) {
    return QOR_LDP_PKT_DecodeIntfParaTlv(tlv.value, tlv.header.usLength, walk.rec, &walk.log,
                                         walk.ctx);
}

// A bad list does not fail the message: the pseudowire comes up without it.
uint32_t DecodeSpe(Walk &walk, const Tlv &tlv) {
    QOR_LDP_PKT_DecodeSPE(tlv.value, tlv.header.usLength, &walk.log, &walk.rec->ucSpeCount,
                          walk.rec->astSpe);
    return QOR_OK;
}

// Remembered even when the message then fails, for want of a U bit.
uint32_t DecodeMarker(Walk &walk, const Tlv &tlv) {
    walk.rec->usFlags |= QOR_LDP_FLAG_MARKER;
    return pkt::HandleUnknown(walk, tlv, walk.rule.unknown);
}

uint32_t DecodeAddrWord(Walk &walk, const Tlv &tlv) {
    walk.rec->ulAddrListWord = wire::Get32(tlv.value) & pkt::kLabelAddrMask;
    return QOR_OK;
}

// ---- Messages

constexpr pkt::TlvRule kMappingTlvs[] = {
    {pkt::kTlvGenericLabel, pkt::kWordLen, QOR_LDP_ERR_LABEL_LEN, DecodeLabel},
    {pkt::kTlvLabelReqMsgId, pkt::kWordLen, QOR_LDP_ERR_REQ_ID_LEN, DecodeReqMsgId},
    {pkt::kTlvPwStatus, pkt::kWordLen, QOR_LDP_ERR_WORD_LEN, DecodePwStatus},
    {pkt::kTlvIntfPara, pkt::kAnyLength, 0, DecodeIntfPara},
    {pkt::kTlvGroupId, pkt::kWordLen, QOR_LDP_ERR_WORD_LEN, pkt::DecodeGroupId},
    {pkt::kTlvSpe, pkt::kAnyLength, 0, DecodeSpe},
    {pkt::kTlvMarker, pkt::kAnyLength, 0, DecodeMarker},
};

constexpr pkt::TlvRule kWithdrawTlvs[] = {
    {pkt::kTlvGenericLabel, pkt::kWordLen, QOR_LDP_ERR_LABEL_LEN, DecodeLabel},
    {pkt::kTlvLabelAddr, pkt::kLabelAddrLen, QOR_LDP_ERR_STATUS_LEN, DecodeAddrWord},
    {pkt::kTlvGroupId, pkt::kWordLen, QOR_LDP_ERR_WORD_LEN, pkt::DecodeGroupId},
};

constexpr pkt::TlvRule kReleaseTlvs[] = {
    {pkt::kTlvGenericLabel, pkt::kWordLen, QOR_LDP_ERR_LABEL_LEN, DecodeLabel},
    {pkt::kTlvLabelAddr, pkt::kLabelAddrLen, QOR_LDP_ERR_REL_ADDR_LEN, DecodeAddrWord},
    {pkt::kTlvGroupId, pkt::kWordLen, QOR_LDP_ERR_WORD_LEN, pkt::DecodeGroupId},
};

constexpr pkt::MessageRule kMapping = {
    .name = "Label Mapping Message",
    .decoder = "Mapping",
    .unknownLog = "mapping",
    .fecLog = "QOR PKT: Decode mapping FEC failed, retcode: 0x%x, peerip:0x%8.8x",
    .unknown = pkt::Unknown::kReject,
    .rejectLaterFec = false,
    .tlvs = kMappingTlvs,
};

constexpr pkt::MessageRule kRequest = {
    .name = "Label Request Message",
    .decoder = "Request",
    .unknownLog = "request",
    .fecLog = "LDP PKT: Decode request Fec failed retcode: 0x%x",
    .unknown = pkt::Unknown::kReject,
    .rejectLaterFec = true,
    .tlvs = {},
};

constexpr pkt::MessageRule kWithdraw = {
    .name = "Label Withdraw Message",
    .decoder = "Withdraw",
    .unknownLog = "withdraw",
    .fecLog = "QOR PKT: Decode withdraw Fec failed retcod: 0x%x",
    .unknown = pkt::Unknown::kReject,
    .rejectLaterFec = true,
    .tlvs = kWithdrawTlvs,
};

// Lenient on purpose: a label that is released is gone whatever else the peer sent.
constexpr pkt::MessageRule kRelease = {
    .name = "Label Release Message",
    .decoder = "Release",
    .unknownLog = nullptr,
    .fecLog = "LDP PKT: Decode release Fec failed retcode: 0x%x",
    .unknown = pkt::Unknown::kSkip,
    .rejectLaterFec = true,
    .tlvs = kReleaseTlvs,
};

bool HasTlvs(const Walk &walk) {
    return walk.length > pkt::kMsgIdLen;
}

// Withdraw and Release may name all pseudowires of a group. For FEC 128 the element itself has the
// group ID.
uint32_t DecodeWithdrawLike(const pkt::MessageRule &rule, const uint8_t *msg,
                            QOR_LDP_SIGNAL_MSG_S *rec, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, msg, rec, ctx)) {
        return QOR_FAIL;
    }
    Walk walk(rule, msg, rec, ctx);
    if (!HasTlvs(walk)) {
        return QOR_OK;
    }
    rec->ulLabel = QOR_LDP_PKT_NONE;
    rec->ulAddrListWord = 0;
    const uint32_t result = pkt::WalkTlvs(walk, pkt::kMsgIdLen);
    if (result != QOR_OK) {
        return result;
    }
    const bool grouped = (walk.seen & pkt::kSeenGroupId) != 0;
    return pkt::NeedsGroupId(rec) && !grouped ? QOR_LDP_ERR_NO_PW_ID : QOR_OK;
}

uint32_t DecodeMapping(Walk &walk) {
    if (const uint32_t result = pkt::WalkTlvs(walk, pkt::kMsgIdLen); result != QOR_OK) {
        return result;
    }
    if (walk.rec->ucNoPwId == 1) {
        return QOR_LDP_ERR_NO_PW_ID;
    }
    return (walk.seen & pkt::kSeenLabel) != 0 ? QOR_OK : QOR_LDP_ERR_NO_LABEL;
}

// The ten octets of the address list are the word and six more that are zero.
void PutLabelAddr(wire::Writer &out, uint16_t typeWord, uint32_t word) {
    pkt::PutTlvHeader(out, typeWord, pkt::kLabelAddrLen);
    out.U32(word & pkt::kLabelAddrMask);
    out.Zeros(pkt::kLabelAddrLen - sizeof word);
}

uint32_t EncodeWithdrawLike(uint32_t type, bool withAddr, uint8_t *buf,
                            const QOR_LDP_SIGNAL_MSG_S *rec, const QOR_PKT_CTX_S *ctx) {
    wire::Writer out = pkt::BeginMessage(buf, type, rec);
    pkt::PutFecTlv(out, rec, ctx, {.interfaceParameters = true, .groupId = true, .mapping = false});
    if (pkt::NeedsGroupId(rec)) {
        pkt::PutGroupIdTlv(out, rec->ulGroupId);
    }
    if (rec->ulLabel != QOR_LDP_PKT_NONE) {
        pkt::PutWordTlv(out, pkt::kTlvGenericLabel, rec->ulLabel);
    }
    if (withAddr) {
        PutLabelAddr(out, pkt::kUBit | pkt::kTlvLabelAddr, rec->ulAddrListWord);
    }
    if ((rec->usFlags & QOR_LDP_FLAG_REPEAT_FEC) != 0) {
        PutLabelAddr(out, pkt::kTlvLabelAddr, rec->ulAddrListWord);
    }
    return pkt::EndMessage(buf, out);
}

void PutIntfParaTlv(wire::Writer &out, const QOR_LDP_SIGNAL_MSG_S *rec, const QOR_PKT_CTX_S *ctx) {
    uint8_t *cursor = out.At();
    QOR_LDP_PKT_EncodeIntfParaTlv(&cursor, rec, ctx);
    out.MoveTo(cursor);
}

void PutSpeTlv(wire::Writer &out, const QOR_LDP_SIGNAL_MSG_S *rec) {
    const uint32_t length =
        QOR_LDP_PKT_EncodeSPE(out.At() + pkt::kTlvHeaderLen, rec->ucSpeCount, rec->astSpe);
    pkt::PutTlvHeader(out, pkt::kUBit | pkt::kTlvSpe, length);
    out.Skip(length);
}

}  // namespace

// ---- Decoders

uint32_t QOR_LDP_PKT_DecodeMappingMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                      const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, msg, rec, ctx)) {
        return QOR_FAIL;
    }
    Walk walk(kMapping, msg, rec, ctx);
    if (!HasTlvs(walk)) {
        return QOR_OK;
    }
    rec->ulPwStatus = QOR_LDP_PKT_NONE;
    rec->usMappingFlags = 0;
    rec->ucSpeCount = 0;
    const uint32_t result = DecodeMapping(walk);
    if (result != QOR_OK) {
        // Not by ulMsgType, which a direct caller need not have set.
        pkt::FreeMappingBuffers(kDecode, rec);
    }
    return result;
}

uint32_t QOR_LDP_PKT_DecodeRequestMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                      const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kDecode, msg, rec, ctx)) {
        return QOR_FAIL;
    }
    Walk walk(kRequest, msg, rec, ctx);
    if (!HasTlvs(walk)) {
        return QOR_OK;
    }
    rec->ulPwStatus = QOR_LDP_PKT_NONE;
    const uint32_t result = pkt::WalkTlvs(walk, pkt::kMsgIdLen);
    if (result != QOR_OK) {
        return result;
    }
    return rec->ucNoPwId == 1 ? QOR_LDP_ERR_NO_PW_ID : QOR_OK;
}

uint32_t QOR_LDP_PKT_DecodeWithdrawMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                       const QOR_PKT_CTX_S *ctx) {
    return DecodeWithdrawLike(kWithdraw, msg, rec, ctx);
}

uint32_t QOR_LDP_PKT_DecodeReleaseMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                      const QOR_PKT_CTX_S *ctx) {
    return DecodeWithdrawLike(kRelease, msg, rec, ctx);
}

// ---- Encoders

uint32_t QOR_LDP_PKT_EncodeMappingMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                      QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, buf, rec, ctx)) {
        return 0;
    }
    wire::Writer out = pkt::BeginMessage(buf, rec->ulMsgType, rec);
    pkt::PutFecTlv(out, rec, ctx, {.interfaceParameters = true, .groupId = true, .mapping = true});
    pkt::PutWordTlv(out, pkt::kTlvGenericLabel, rec->ulLabel);
    if ((rec->usMappingFlags & QOR_LDP_MAPPING_REQ_ID) != 0) {
        pkt::PutWordTlv(out, pkt::kTlvLabelReqMsgId, rec->ulLabelReqMsgId);
    }
    if (rec->ulPwStatus != QOR_LDP_PKT_NONE) {
        pkt::PutWordTlv(out, pkt::kUBit | pkt::kTlvPwStatus, rec->ulPwStatus);
    }
    if (rec->stFecKey.ucKeyType == QOR_LDP_KEY_GEN_PWID) {
        PutIntfParaTlv(out, rec, ctx);
        if (rec->ulGroupId != 0) {
            pkt::PutGroupIdTlv(out, rec->ulGroupId);
        }
    }
    if (rec->ucSpeCount != 0) {
        PutSpeTlv(out, rec);
    }
    if (QOR_LDP_PKT_TlvLenValid(rec->usIntfParaLen) && rec->pucIntfPara != nullptr) {
        pkt::PutTlvHeader(out, pkt::kUBit | pkt::kTlvIntfPara, rec->usIntfParaLen);
        out.Octets(rec->pucIntfPara, rec->usIntfParaLen);
    }
    if ((rec->usFlags & QOR_LDP_FLAG_MARKER) != 0) {
        pkt::PutTlvHeader(out, pkt::kTlvMarker, pkt::kWordLen);
        out.Skip(pkt::kWordLen);
    }
    return pkt::EndMessage(buf, out);
}

uint32_t QOR_LDP_PKT_EncodeRequestMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                      QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, buf, rec, ctx)) {
        return 0;
    }
    wire::Writer out = pkt::BeginMessage(buf, QOR_LDP_MSG_REQUEST, rec);
    pkt::PutFecTlv(out, rec, ctx,
                   {.interfaceParameters = true, .groupId = false, .mapping = false});
    if (pkt::NeedsGroupId(rec)) {
        pkt::PutGroupIdTlv(out, rec->ulGroupId);
    }
    return pkt::EndMessage(buf, out);
}

uint32_t QOR_LDP_PKT_EncodeWithdrawMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                       QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, buf, rec, ctx)) {
        return 0;
    }
    return EncodeWithdrawLike(QOR_LDP_MSG_WITHDRAW, rec->ulAddrListWord != 0, buf, rec, ctx);
}

uint32_t QOR_LDP_PKT_EncodeReleaseMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                      QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kEncode, buf, rec, ctx)) {
        return 0;
    }
    const bool withAddr = rec->ulAddrListWord != 0 && rec->ulAddrListWord != QOR_LDP_PKT_NONE;
    return EncodeWithdrawLike(QOR_LDP_MSG_RELEASE, withAddr, buf, rec, ctx);
}
