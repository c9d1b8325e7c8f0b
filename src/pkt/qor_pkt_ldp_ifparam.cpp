// Interface parameters (RFC 4446 section 3.3, RFC 8077 section 6.4): the sub-TLV list of a PWid
// element and of the Interface Parameters TLV, and the description that comes with it.
#include <cstring>

#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::DuplicateText;
using qor::pkt::kDecode;
using qor::pkt::kEncode;
using qor::pkt::LogOf;
namespace wire = qor::wire;

using Para = QOR_LDP_INTF_PARA_S;

enum AllocTag : uint32_t {
    kTagRawTlv = 21,
    kTagMessageDesc = 26,
    kTagDecodedDesc = 39,
    kTagEncodedDesc = 13,
};

constexpr uint32_t kSubHeaderLen = 2;  // counted by the length octet
constexpr uint8_t kSubDescription = 0x03;
constexpr uint8_t kSubCepOptions = 0x05;
constexpr uint8_t kSubTdmOptions = 0x0B;
constexpr uint8_t kLen16 = kSubHeaderLen + 2;
constexpr uint8_t kLen32 = kSubHeaderLen + 4;

constexpr uint8_t kRtpMode1 = 1;
constexpr uint8_t kRtpMode2 = 2;

// An element's PW info length is one octet and counts the PW ID before the list.
constexpr uint32_t kListMax = 255 - 4;
// A description's length octet counts the header and the NUL.
constexpr uint32_t kDescriptionOverhead = kSubHeaderLen + 1;
constexpr uint32_t kDescriptionMax = 255 - kDescriptionOverhead;

// Both options words tell the use of RTP by two bits, of which the first wins.
uint8_t RtpMode(bool mode2, bool mode1) {
    return mode2 ? kRtpMode2 : mode1 ? kRtpMode1 : 0;
}

// A sub-TLV of one number; the length says whether it has 16 or 32 bits. Rows stand in the order
// in which the encoder writes them.
struct NumberRule {
    uint8_t type;
    uint8_t length;
    const char *log;
    void (*report)(const QOR_LDP_PKT_LOG_S *log, uint32_t length);
    uint32_t (*get)(const Para &para);
    void (*set)(Para &para, uint32_t value);
};

#define QOR_PKT_NUMBER(field)                          \
    [](const Para &p) -> uint32_t { return p.field; }, \
        [](Para &p, uint32_t v) { p.field = static_cast<decltype(p.field)>(v); }

constexpr NumberRule kNumbers[] = {
    {0x01, kLen16, "QOR_PKT: Invalid intf para mtu length %u", QOR_LDP_PKT_LogInvalidMtuLen,
     QOR_PKT_NUMBER(usMtu)},
    {0x02, kLen16, "QOR_PKT: Invalid intf para max atm cells length %u",
     QOR_LDP_PKT_LogInvalidConcatAtmCellsLen, QOR_PKT_NUMBER(usMaxAtmCells)},
    {0x07, kLen32, "QOR_PKT: Invalid intf para bitrate length %u",
     QOR_LDP_PKT_LogInvalidCemBitrateLen, QOR_PKT_NUMBER(ulBitRate)},
    {0x04, kLen16, "QOR_PKT: Invalid intf para payload length %u",
     QOR_LDP_PKT_LogInvalidCemPayloadLen, QOR_PKT_NUMBER(usPayloadBytes)},
    {kSubCepOptions, kLen16, "QOR_PKT: Invalid intf para cem option length %u",
     QOR_LDP_PKT_LogInvalidCemOptionLen, [](const Para &p) -> uint32_t { return p.usCepOptions; },
     [](Para &p, uint32_t v) {
         p.usCepOptions = static_cast<uint16_t>(v);
         p.ucRtpMode = RtpMode((v & 0x0020) != 0, (v & 0x2000) != 0);
     }},
    {0x0C, kLen16, "QOR_PKT: Invalid intf para vccv length %u", QOR_LDP_PKT_LogInvalidVccvLen,
     QOR_PKT_NUMBER(usVccv)},
    {0x09, kLen16, "QOR_PKT: Invalid intf para frag length %u", QOR_LDP_PKT_LogInvalidFragmentLen,
     QOR_PKT_NUMBER(ucFragment)},
    {0x17, kLen16, "QOR_PKT: Invalid intf para flow label length %u",
     QOR_LDP_PKT_LogInvalidFlowLabelLen, QOR_PKT_NUMBER(usFlowLabel)},
};

#undef QOR_PKT_NUMBER

uint32_t DecodeNumber(const NumberRule &rule, const uint8_t *sub, Para *para,
                      const QOR_LDP_PKT_LOG_S *log) {
    const uint8_t length = sub[1];
    if (length != rule.length) {
        rule.report(log, length);
        QOR_LOG_DevLog(LogOf(log->pstCtx), rule.log, unsigned{length});
        return QOR_LDP_ERR_SUB_TLV;
    }
    const uint8_t *value = sub + kSubHeaderLen;
    rule.set(*para, length == kLen16 ? wire::Get16(value) : wire::Get32(value));
    return QOR_OK;
}

uint32_t DecodeTdmOptions(const uint8_t *sub, Para *para, const QOR_LDP_PKT_LOG_S *log) {
    const uint8_t length = sub[1];
    if (length != 4 && length != 8 && length != 12) {
        QOR_LOG_DevLog(LogOf(log->pstCtx), "QOR_PKT: Invalid intf para tdm option length %u",
                       unsigned{length});
        return QOR_LDP_ERR_SUB_TLV;
    }
    para->ucRtpMode = RtpMode((sub[3] & 0x01) != 0, (sub[2] & 0x80) != 0);
    return QOR_OK;
}

uint32_t DecodeSubTlv(const uint8_t *sub, Para *para, QOR_LDP_PKT_LOG_S *log) {
    const uint8_t type = sub[0];
    if (type == kSubDescription) {
        return QOR_LDP_PKT_DecodeIntfDescSubTlv(sub, para, log);
    }
    if (type == kSubTdmOptions) {
        return DecodeTdmOptions(sub, para, log);
    }
    for (const NumberRule &rule : kNumbers) {
        if (rule.type == type) {
            return DecodeNumber(rule, sub, para, log);
        }
    }
    QOR_LOG_DevLog(LogOf(log->pstCtx),
                   "QOR PKT: DecodePWidFec() <Unknown Interface Parameter Sub-TLV, Type = %u, "
                   "PeerIp = 0x%x>",
                   unsigned{type}, log->ulPeerIp);
    return QOR_OK;
}

void PutTdmOptions(wire::Writer &out, uint8_t rtpMode) {
    if (rtpMode > kRtpMode2) {
        return;
    }
    const uint8_t length = rtpMode == QOR_LDP_RTP_NONE ? 4 : 8;
    out.U8(kSubTdmOptions);
    out.U8(length);
    out.U8(rtpMode == kRtpMode1 ? 0x80 : 0);
    out.U8(rtpMode == kRtpMode2 ? 0x01 : 0);
    out.Zeros(length - kLen16);
}

// Writes the description, cut to max characters.
void PutDescription(wire::Writer &out, const char *text, uint32_t max) {
    if (text == nullptr || text[0] == '\0') {
        return;
    }
    const auto n = static_cast<uint32_t>(strnlen(text, max));
    out.U8(kSubDescription);
    out.U8(static_cast<uint8_t>(n + kDescriptionOverhead));
    out.Octets(text, n);
    out.U8('\0');
}

uint32_t KeepRawTlv(const uint8_t *value, uint32_t length, QOR_LDP_SIGNAL_MSG_S *msg,
                    const QOR_PKT_CTX_S *ctx) {
    qor::FreeAndClear(kDecode, &msg->pucIntfPara);
    msg->usIntfParaLen = 0;
    msg->pucIntfPara = qor::pkt::Duplicate(kDecode, ctx, kTagRawTlv, value, length);
    if (msg->pucIntfPara == nullptr) {
        return QOR_ERR_NO_MEM;
    }
    msg->usIntfParaLen = static_cast<uint16_t>(length);
    return QOR_OK;
}

}  // namespace

namespace qor::pkt {

void StoreParameters(const QOR_LDP_INTF_PARA_S &para, QOR_LDP_SIGNAL_MSG_S *msg) {
    msg->usMtu = para.usMtu;
    msg->usMaxAtmCells = para.usMaxAtmCells;
    msg->usPayloadBytes = para.usPayloadBytes;
    msg->ulBitRate = para.ulBitRate;
    msg->ucFragment = para.ucFragment;
    msg->ucRtpMode = para.ucRtpMode;
    msg->usVccv = para.usVccv;
    msg->usFlowLabel = para.usFlowLabel;
}

void LoadParameters(const QOR_LDP_SIGNAL_MSG_S *msg, QOR_LDP_INTF_PARA_S *para) {
    para->usMtu = msg->usMtu;
    para->usMaxAtmCells = msg->usMaxAtmCells;
    para->usPayloadBytes = msg->usPayloadBytes;
    para->ulBitRate = msg->ulBitRate;
    para->ucFragment = msg->ucFragment;
    para->ucRtpMode = msg->ucRtpMode;
    para->usVccv = msg->usVccv;
    para->usFlowLabel = msg->usFlowLabel;
}

}  // namespace qor::pkt

// ---- Sub-TLV list

uint32_t QOR_LDP_PKT_DecodeIntfParaSubTlv(const uint8_t *subTlvs, uint32_t length,
                                          QOR_LDP_INTF_PARA_S *intfPara,
                                          QOR_LDP_PKT_LOG_S *logCtx) {
    if (RefuseNull(kDecode, subTlvs, intfPara, logCtx)) {
        return QOR_FAIL;
    }
    intfPara->ucRtpMode = QOR_LDP_RTP_NOT_GIVEN;
    for (uint32_t offset = 0; offset < length;) {
        if (length - offset < kSubHeaderLen) {
            return QOR_LDP_ERR_SUB_TLV;
        }
        const uint8_t *sub = subTlvs + offset;
        const uint32_t subLen = sub[1];
        if (subLen < kSubHeaderLen || subLen > length - offset) {
            QOR_LDP_PKT_LogInvalidSubTlv(logCtx, sub[0], subLen);
            QOR_LOG_DevLog(LogOf(logCtx->pstCtx),
                           "QOR_PKT: Invalid intf para sub tlv length %u, subtype %u, buflen %u, "
                           "decodelen %u",
                           subLen, unsigned{sub[0]}, length, offset);
            return QOR_LDP_ERR_SUB_TLV;
        }
        if (const uint32_t result = DecodeSubTlv(sub, intfPara, logCtx); result != QOR_OK) {
            return result;
        }
        offset += subLen;
    }
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_EncodeIntfParaSubTlv(uint8_t *out, const QOR_LDP_INTF_PARA_S *intfPara,
                                          const QOR_PKT_CTX_S *logCtx) {
    if (RefuseNull(kEncode, out, intfPara, logCtx)) {
        return 0;
    }
    wire::Writer writer(out);
#pragma GCC unroll 8  // the rows' functions are inlined then
    for (const NumberRule &rule : kNumbers) {
        const uint32_t value = rule.get(*intfPara);
        if (value != 0) {
            writer.U8(rule.type);
            writer.U8(rule.length);
            if (rule.length == kLen16) {
                writer.U16(static_cast<uint16_t>(value));
            } else {
                writer.U32(value);
            }
        } else if (rule.type == kSubCepOptions) {
            // Without CEP options the TDM options, in the same place, tell the use of RTP.
            PutTdmOptions(writer, intfPara->ucRtpMode);
        }
    }
    PutDescription(writer, intfPara->szIntfDesc,
                   kListMax - kDescriptionOverhead - writer.Written());
    if (qor::pkt::Tracing(logCtx)) {
        QOR_LOG_DevLog(LogOf(logCtx),
                       "QOR_PKT: EncodeIntfParaSubTlv, EncodeLen:%u, MTU:%u, MaxAtmCells:%u, "
                       "PayloadBytes:%u, CepOptions:0x%x, BitRate:%u, Fragment:%u, RtpHeader:%u, "
                       "VCCV:0x%x",
                       writer.Written(), unsigned{intfPara->usMtu},
                       unsigned{intfPara->usMaxAtmCells}, unsigned{intfPara->usPayloadBytes},
                       unsigned{intfPara->usCepOptions}, intfPara->ulBitRate,
                       unsigned{intfPara->ucFragment}, unsigned{intfPara->ucRtpMode},
                       unsigned{intfPara->usVccv});
    }
    return writer.Written();
}

// ---- Description

uint32_t QOR_LDP_PKT_DecodeIntfDescSubTlv(const uint8_t *subTlv, QOR_LDP_INTF_PARA_S *intfPara,
                                          QOR_LDP_PKT_LOG_S *logCtx) {
    if (RefuseNull(kDecode, subTlv, intfPara, logCtx)) {
        return QOR_FAIL;
    }
    const uint32_t length = subTlv[1];
    if (length <= kSubHeaderLen) {
        return QOR_OK;
    }
    qor::FreeAndClear(kDecode, &intfPara->szIntfDesc);
    uint32_t textLength = length - kSubHeaderLen;
    if (textLength > QOR_LDP_PKT_DESC_MAX) {
        QOR_LOG_DevLog(LogOf(logCtx->pstCtx),
                       "QOR_PKT: The length of interface description string (%u) exceeds the "
                       "maximum length (%u)",
                       length, QOR_LDP_PKT_DESC_MAX);
        textLength = QOR_LDP_PKT_DESC_MAX;
    }
    return QOR_LDP_PKT_SetIntfDesc(intfPara, logCtx, subTlv, textLength);
}

uint32_t QOR_LDP_PKT_SetIntfDesc(QOR_LDP_INTF_PARA_S *intfPara, QOR_LDP_PKT_LOG_S *logCtx,
                                 const uint8_t *subTlv, uint32_t textLength) {
    if (RefuseNull(kDecode, intfPara, logCtx, subTlv) || RefuseNull(kDecode, logCtx->pstCtx)) {
        return QOR_FAIL;
    }
    char *text = nullptr;
    if (textLength != UINT32_MAX) {  // no room for the NUL: as good as no memory
        text = static_cast<char *>(
            HOST_MemAllocBySid(logCtx->pstCtx->ulSid, textLength + 1, kTagDecodedDesc));
    }
    if (RefuseNull(kDecode, text)) {
        return QOR_FAIL;
    }
    qor::CopyChecked(kDecode, text, textLength, subTlv + kSubHeaderLen, textLength);
    text[textLength] = '\0';
    intfPara->szIntfDesc = text;
    return QOR_OK;
}

void QOR_LDP_PKT_FreeIntfDesc(QOR_LDP_PWID_FEC_INFO_S *fecInfo) {
    if (!RefuseNull(kDecode, fecInfo)) {
        qor::FreeAndClear(kDecode, &fecInfo->stIntfPara.szIntfDesc);
    }
}

void QOR_LDP_PKT_FillMappingIntfDesc(QOR_LDP_PWID_FEC_INFO_S *fecInfo, QOR_LDP_PKT_LOG_S *logCtx,
                                     QOR_LDP_SIGNAL_MSG_S *signalMsg) {
    if (RefuseNull(kDecode, fecInfo, logCtx, signalMsg) || RefuseNull(kDecode, logCtx->pstCtx)) {
        return;
    }
    const char *text = fecInfo->stIntfPara.szIntfDesc;
    if (text == nullptr) {
        return;
    }
    qor::FreeAndClear(kDecode, &signalMsg->szIntfDesc);
    signalMsg->szIntfDesc = DuplicateText(kDecode, logCtx->pstCtx, kTagMessageDesc, text);
    if (signalMsg->szIntfDesc != nullptr) {
        QOR_LDP_PKT_FreeIntfDesc(fecInfo);
    }
}

void QOR_LDP_PKT_EncodeMappingMsgIntfDesc(QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                          const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                          const QOR_PKT_CTX_S *logCtx) {
    if (RefuseNull(kEncode, fecInfo, signalMsg, logCtx)) {
        return;
    }
    const char *text = signalMsg->szIntfDesc;
    if (text != nullptr && text[0] != '\0') {
        fecInfo->stIntfPara.szIntfDesc = DuplicateText(kEncode, logCtx, kTagEncodedDesc, text);
    }
}

void QOR_LDP_PKT_EncodeIntfDescSubTlv(uint8_t **cursor, uint32_t *runningLength,
                                      const QOR_LDP_INTF_PARA_S *intfPara) {
    if (RefuseNull(kEncode, cursor, runningLength, intfPara)) {
        return;
    }
    wire::Writer out(*cursor);
    PutDescription(out, intfPara->szIntfDesc, kDescriptionMax);
    *cursor = out.At();
    *runningLength += out.Written();
}

// ---- Interface Parameters TLV

uint32_t QOR_LDP_PKT_DecodeIntfParaTlv(const uint8_t *value, uint32_t length,
                                       QOR_LDP_SIGNAL_MSG_S *signalMsg, QOR_LDP_PKT_LOG_S *logCtx,
                                       const QOR_PKT_CTX_S *moduleCtx) {
    if (RefuseNull(kDecode, value, signalMsg, logCtx, moduleCtx)) {
        return QOR_FAIL;
    }
    if (signalMsg->stFecKey.ucKeyType == QOR_LDP_KEY_PWID && length != 0) {
        return KeepRawTlv(value, length, signalMsg, moduleCtx);
    }
    if (signalMsg->stFecKey.ucKeyType != QOR_LDP_KEY_GEN_PWID) {
        return QOR_OK;
    }
    QOR_LDP_PWID_FEC_INFO_S info{};
    const uint32_t result =
        QOR_LDP_PKT_DecodeIntfParaSubTlv(value, length, &info.stIntfPara, logCtx);
    QOR_LDP_PKT_FreeIntfDesc(&info);
    if (result == QOR_OK && signalMsg->ulMsgType == QOR_LDP_MSG_MAPPING) {
        qor::pkt::StoreParameters(info.stIntfPara, signalMsg);
    }
    return result;
}

uint32_t QOR_LDP_PKT_EncodeIntfParaTlv(uint8_t **cursor, const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                       const QOR_PKT_CTX_S *logCtx) {
    if (RefuseNull(kEncode, cursor, signalMsg, logCtx)) {
        return QOR_ERR_ARG;
    }
    Para para{};
    qor::pkt::LoadParameters(signalMsg, &para);
    wire::Writer out(*cursor);
    out.Skip(qor::pkt::kTlvHeaderLen);
    const uint32_t length = QOR_LDP_PKT_EncodeIntfParaSubTlv(out.At(), &para, logCtx);
    out.MoveTo(*cursor);
    qor::pkt::PutTlvHeader(out, qor::pkt::kTlvIntfPara, length);
    *cursor = out.At() + length;
    return QOR_OK;
}
