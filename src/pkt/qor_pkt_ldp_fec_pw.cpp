// The two pseudowire elements of a FEC TLV: PWid (RFC 8077 section 6.1) and Generalized PWid (RFC
// 8077 section 6.2).
#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::kAgiLen;
using qor::pkt::kAiiLen;
using qor::pkt::kDecode;
using qor::pkt::kElementGenPwId;
using qor::pkt::kElementPwId;
using qor::pkt::kEncode;
using qor::pkt::kIdType;
using qor::pkt::LogOf;
using qor::pkt::Tracing;
namespace wire = qor::wire;

constexpr uint8_t kCBit = 0x80;

constexpr uint32_t kElementHeaderLen = 4;  // type, C bit and PW type, PW info length
constexpr uint32_t kPwIdFixedLen = 8;      // header and group ID, not counted by the PW info length
constexpr uint32_t kPwIdLen = 4;
constexpr uint32_t kIdHeadersLen = 6;  // type and length of the three

// C bit and PW type of either PW element. Only the low octet of the 15-bit type is kept.
void ReadPwWord(const uint8_t *element, QOR_LDP_PWID_FEC_INFO_S *info) {
    info->ucCBit = (element[1] & kCBit) != 0;
    info->stKey.ucPwType = element[2];
}

void PutPwWord(uint8_t *out, uint8_t type, const QOR_LDP_PWID_FEC_INFO_S *info, uint8_t infoLen) {
    out[0] = type;
    out[1] = info->ucCBit != 0 ? kCBit : 0;
    out[2] = info->stKey.ucPwType;
    out[3] = infoLen;
}

// One attachment individual identifier of a FEC 129 element at offset at; length is that of the
// element. The codes differ by where the element ends: see DecodeVcFec129.
uint32_t ReadAii(const uint8_t *element, uint32_t at, uint32_t length, uint8_t *type,
                 uint8_t *aiiLen, uint32_t *value) {
    if (at + 1 > length) {
        return QOR_LDP_ERR_SUB_TLV;
    }
    *type = element[at];
    if (*type != kIdType) {
        return QOR_LDP_ERR_AII_TYPE;
    }
    if (at + 2 > length) {
        return QOR_LDP_ERR_PW_FEC;
    }
    *aiiLen = element[at + 1];
    if (*aiiLen != kAiiLen || at + 2 + kAiiLen > length) {
        return QOR_LDP_ERR_AII_LEN;
    }
    *value = wire::Get32(element + at + 2);
    return QOR_OK;
}

void PutId(wire::Writer &out, uint8_t type, uint8_t length) {
    out.U8(type);
    out.U8(length);
}

}  // namespace

// ---- PWid element, FEC 128
//
//   0x80 | C, PW type (15) | PW info length | group ID (32) | PW ID (32) | sub-TLVs
//
// The PW info length counts from the PW ID on; 0 means that there is none.

uint32_t QOR_LDP_PKT_DecodeVcFec128(const uint8_t *element, uint32_t remaining,
                                    QOR_LDP_PKT_LOG_S *logCtx, QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                    uint32_t *outLen) {
    if (RefuseNull(kDecode, element, logCtx, fecInfo, outLen)) {
        return QOR_FAIL;
    }
    const QOR_PKT_CTX_S *ctx = logCtx->pstCtx;
    fecInfo->stKey.ucKeyType = QOR_LDP_KEY_PWID;
    if (remaining < kElementHeaderLen) {
        QOR_LDP_PKT_LogInvalidFecLen(logCtx, remaining);
        QOR_LOG_DevLog(LogOf(ctx), "QOR_PKT: Invalid fec buflen %u", remaining);
        return QOR_LDP_ERR_PW_FEC;
    }
    ReadPwWord(element, fecInfo);
    const uint32_t infoLen = element[3];
    const uint32_t length = infoLen + kPwIdFixedLen;
    if (length > remaining) {
        QOR_LDP_PKT_LogInvalidFecLen(logCtx, infoLen);
        QOR_LOG_DevLog(LogOf(ctx), "QOR_PKT: Invalid fec buflen %u, pwinfolen %u", remaining,
                       infoLen);
        return QOR_LDP_ERR_PW_FEC;
    }
    *outLen = length;
    if (Tracing(ctx)) {
        QOR_LOG_DevLog(LogOf(ctx), "QOR_PKT: DecodeVcFec128, FecLen:%u, PWInfoLength:%u", length,
                       infoLen);
    }
    fecInfo->ulGroupId = wire::Get32(element + kElementHeaderLen);
    if (infoLen == 0) {
        fecInfo->ucPwIdPresent = 0;
        return QOR_OK;
    }
    if (infoLen < kPwIdLen) {
        // Names the octets left, not the length: that is what its readers know.
        QOR_LOG_DevLog(LogOf(ctx), "QOR_PKT: Invalid PWInfoLength %u", remaining);
        return QOR_LDP_ERR_PW_FEC;
    }
    fecInfo->stKey.ulPwId = wire::Get32(element + kPwIdFixedLen);
    fecInfo->ucPwIdPresent = 1;
    constexpr uint32_t kFixedLen = kPwIdFixedLen + kPwIdLen;
    if (length == kFixedLen) {
        return QOR_OK;
    }
    logCtx->ulPwType = fecInfo->stKey.ucPwType;
    logCtx->ulPwId = fecInfo->stKey.ulPwId;
    return QOR_LDP_PKT_DecodeIntfParaSubTlv(element + kFixedLen, length - kFixedLen,
                                            &fecInfo->stIntfPara, logCtx);
}

uint32_t QOR_LDP_PKT_EncodePWidFecWithoutIntfPara(uint8_t *out,
                                                  const QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                                  const QOR_PKT_CTX_S *logCtx) {
    if (RefuseNull(kEncode, out, fecInfo, logCtx)) {
        return 0;
    }
    uint8_t infoLen = 0;
    wire::Put32(out + kElementHeaderLen, fecInfo->ulGroupId);
    if (fecInfo->ucPwIdPresent == 1) {
        wire::Put32(out + kPwIdFixedLen, fecInfo->stKey.ulPwId);
        infoLen = kPwIdLen;
    }
    PutPwWord(out, kElementPwId, fecInfo, infoLen);
    if (Tracing(logCtx)) {
        QOR_LOG_DevLog(LogOf(logCtx), "QOR_PKT: EncodePWidFecWithoutIntfPara, PWInfoLength:%u",
                       unsigned{infoLen});
    }
    return infoLen + kPwIdFixedLen;
}

uint32_t QOR_LDP_PKT_EncodePWidFecWithIntfPara(uint8_t *out, const QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                               const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                               const QOR_PKT_CTX_S *logCtx) {
    if (RefuseNull(kEncode, out, fecInfo, signalMsg, logCtx)) {
        return 0;
    }
    wire::Put32(out + kElementHeaderLen, fecInfo->ulGroupId);
    if (fecInfo->ucPwIdPresent == 0) {
        PutPwWord(out, kElementPwId, fecInfo, 0);
        return kPwIdFixedLen;
    }
    wire::Put32(out + kPwIdFixedLen, fecInfo->stKey.ulPwId);
    const uint32_t paraLen = QOR_LDP_PKT_EncodeIntfParaSubTlv(out + kPwIdFixedLen + kPwIdLen,
                                                              &fecInfo->stIntfPara, logCtx);
    const uint32_t infoLen = paraLen + kPwIdLen;
    PutPwWord(out, kElementPwId, fecInfo, static_cast<uint8_t>(infoLen));
    uint32_t length = infoLen + kPwIdFixedLen;
    if ((signalMsg->usFlags & QOR_LDP_FLAG_REPEAT_FEC) != 0) {
        qor::CopyChecked(kEncode, out + length, length, out, length);
        length *= 2;
    }
    if (Tracing(logCtx)) {
        QOR_LOG_DevLog(LogOf(logCtx),
                       "QOR_PKT: EncodePWidFecWithIntfPara, IntfParaLen:%u, PWInfoLength:%u",
                       paraLen, infoLen);
    }
    return length;
}

// ---- Generalized PWid element, FEC 129
//
//   0x81 | C, PW type (15) | PW info length | AGI | SAII | TAII
//
// The PW info length counts everything behind it; 0 means that there are no identifiers.

// Each check also guards the reads behind it up to the next one, and peers know the codes: neither
// the order nor the mix of codes may change.
uint32_t QOR_LDP_PKT_DecodeVcFec129(const uint8_t *element, uint32_t remaining,
                                    QOR_LDP_PKT_LOG_S *logCtx, QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                    uint32_t *outLen) {
    if (RefuseNull(kDecode, element, logCtx, fecInfo, outLen)) {
        return QOR_FAIL;
    }
    if (remaining < kElementHeaderLen) {
        return QOR_LDP_ERR_PW_FEC;
    }
    QOR_LDP_FEC129_S &id = fecInfo->stKey.stFec129;
    fecInfo->stKey.ucKeyType = QOR_LDP_KEY_GEN_PWID;
    const uint32_t infoLen = element[3];
    // An element that claims more than there is ends with the TLV.
    uint32_t length = infoLen + kElementHeaderLen;
    length = length < remaining ? length : remaining;
    *outLen = length;
    ReadPwWord(element, fecInfo);
    if (infoLen == 0) {
        fecInfo->ucPwIdPresent = 0;
        id = {};
        id.ucAgiType = id.ucSaiiType = id.ucTaiiType = kIdType;
        id.ucAgiLen = kAgiLen;
        id.ucSaiiLen = id.ucTaiiLen = kAiiLen;
        return QOR_OK;
    }
    fecInfo->ucPwIdPresent = 1;
    if (length < 5) {
        return QOR_LDP_ERR_PW_FEC;
    }
    id.ucAgiType = element[4];
    if (id.ucAgiType != kIdType) {
        return QOR_LDP_ERR_AGI_TYPE;
    }
    if (length < 6) {
        return QOR_LDP_ERR_PW_FEC;
    }
    id.ucAgiLen = element[5];
    if (id.ucAgiLen != kAgiLen || length < 6 + kAgiLen) {
        return QOR_LDP_ERR_AGI_LEN;
    }
    const uint8_t *cursor = element + 6;
    QOR_PKT_GetExtcommNet(0, &id.stAgi, &cursor);
    if (id.stAgi.ucSubType != QOR_EXTCOMM_SUBTYPE_KETU) {
        return QOR_LDP_ERR_AGI_SUBTYPE;
    }
    constexpr uint32_t kSaiiAt = 6 + kAgiLen;
    constexpr uint32_t kTaiiAt = kSaiiAt + 2 + kAiiLen;
    if (const uint32_t result =
            ReadAii(element, kSaiiAt, length, &id.ucSaiiType, &id.ucSaiiLen, &id.ulSaii);
        result != QOR_OK) {
        return result;
    }
    return ReadAii(element, kTaiiAt, length, &id.ucTaiiType, &id.ucTaiiLen, &id.ulTaii);
}

uint32_t QOR_LDP_PKT_EncodeGenPwId(uint8_t *out, const QOR_LDP_PWID_FEC_INFO_S *fecInfo) {
    if (RefuseNull(kEncode, out, fecInfo)) {
        return 0;
    }
    if (fecInfo->ucPwIdPresent == 0) {
        PutPwWord(out, kElementGenPwId, fecInfo, 0);
        return kElementHeaderLen;
    }
    const QOR_LDP_FEC129_S &id = fecInfo->stKey.stFec129;
    // The lengths count as the record has them, whether the values are written or not.
    const auto infoLen =
        static_cast<uint8_t>(uint32_t{id.ucAgiLen} + id.ucSaiiLen + id.ucTaiiLen + kIdHeadersLen);
    PutPwWord(out, kElementGenPwId, fecInfo, infoLen);
    wire::Writer body(out + kElementHeaderLen);
    PutId(body, id.ucAgiType, id.ucAgiLen);
    if (id.ucAgiType == kIdType) {
        uint8_t *cursor = body.At();
        QOR_PKT_PutExtcommNet(&id.stAgi, &cursor);
        body.MoveTo(cursor);
    }
    PutId(body, id.ucSaiiType, id.ucSaiiLen);
    if (id.ucSaiiType == kIdType) {
        body.U32(id.ulSaii);
    }
    PutId(body, id.ucTaiiType, id.ucTaiiLen);
    if (id.ucTaiiType == kIdType) {
        body.U32(id.ulTaii);
    }
    // No stale octet of the buffer may go out where a length counts more than was written.
    if (body.Written() < infoLen) {
        body.Zeros(infoLen - body.Written());
    }
    return infoLen + kElementHeaderLen;
}
