// The codec context, keys of pseudowires and their texts, and the codes on the wire.
#include "qor_pkt.h"

#include <algorithm>

#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::Compare;
using qor::RefuseNull;
using qor::pkt::kAgiLen;
using qor::pkt::kAiiLen;
using qor::pkt::kIdType;
using qor::pkt::kModel;
namespace wire = qor::wire;

struct StatusRule {
    uint32_t errCode;
    uint32_t status;
    uint32_t fatal;
};

constexpr StatusRule kStatusRules[] = {
    {QOR_LDP_ERR_TLV_LEN, QOR_LDP_STATUS_BAD_TLV_LEN, 1},
    {0x80050004, QOR_LDP_STATUS_BAD_TLV_LEN, 1},  // no decoder's, but callers use it
    {QOR_LDP_ERR_NOTIFY_LEN, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_LABEL_LEN, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_SPE_PWID_LEN, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_SPE_PEER_LEN, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_SUB_TLV, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_PW_FEC, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_MAC_LIST_LEN, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_STATUS_LEN, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_WORD_LEN, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_ADDR_FEC, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_ADDR_LIST, QOR_LDP_STATUS_MALFORMED_TLV, 1},
    {QOR_LDP_ERR_NO_LABEL, QOR_LDP_STATUS_MISSING_PARAM, 0},
    {QOR_LDP_ERR_NO_PW_ID, QOR_LDP_STATUS_MISSING_PARAM, 0},
    {QOR_LDP_ERR_UNKNOWN_FEC, QOR_LDP_STATUS_UNKNOWN_FEC, 0},
    {QOR_LDP_ERR_UNKNOWN_TLV, QOR_LDP_STATUS_UNKNOWN_TLV, 0},
    {QOR_LDP_ERR_FAMILY, QOR_LDP_STATUS_BAD_FAMILY, 0},
};

int32_t CompareOctets(const void *a, const void *b, size_t n) {
    return HOST_MemCmp(a, b, static_cast<uint32_t>(n));
}

// The target identifier ranks before the source identifier, and identifiers rank by their stored
// octets, not as numbers.
int32_t CompareFec129(const QOR_LDP_FEC129_S &a, const QOR_LDP_FEC129_S &b) {
    int32_t order = Compare(a.ucAgiType, b.ucAgiType);
    order = order != 0 ? order : CompareOctets(&a.stAgi, &b.stAgi, sizeof a.stAgi);
    order = order != 0 ? order : Compare(a.ucTaiiType, b.ucTaiiType);
    order = order != 0 ? order : CompareOctets(&a.ulTaii, &b.ulTaii, sizeof a.ulTaii);
    order = order != 0 ? order : Compare(a.ucSaiiType, b.ucSaiiType);
    return order != 0 ? order : CompareOctets(&a.ulSaii, &b.ulSaii, sizeof a.ulSaii);
}

int32_t CompareValue(const QOR_LDP_PW_FEC_KEY_S *a, const QOR_LDP_PW_FEC_KEY_S *b) {
    int32_t order = 0;
    switch (a->ucKeyType) {
        case QOR_LDP_KEY_PWID:
        case QOR_LDP_KEY_SVC:
            return Compare(a->aulValue[0], b->aulValue[0]);
        case QOR_LDP_KEY_GEN_PWID:
            return CompareFec129(a->stFec129, b->stFec129);
        case QOR_LDP_KEY_PAIR:
            order = Compare(a->stPair.ulKey1, b->stPair.ulKey1);
            return order != 0 ? order : Compare(a->stPair.ulKey2, b->stPair.ulKey2);
        case QOR_LDP_KEY_INST:
            order = CompareOctets(a->aulValue, b->aulValue, sizeof a->aulValue);
            return order != 0 ? order : Compare(a->stPeerAddr.aulAddr[0], b->stPeerAddr.aulAddr[0]);
        default:
            return CompareOctets(a->aulValue, b->aulValue, sizeof a->aulValue);
    }
}

// Reads the type and length of one identifier and checks, in this order, that its value is there
// and that type and length are the only ones known.
uint32_t ParseIdHeader(const uint8_t **cursor, const uint8_t *end, uint8_t *type, uint8_t *length,
                       uint8_t wantLen, uint32_t typeCode, uint32_t lengthCode) {
    if (end - *cursor < 2) {
        return QOR_LDP_ERR_MAC_LEN;
    }
    *type = *(*cursor)++;
    *length = *(*cursor)++;
    if (end - *cursor < *length) {
        return lengthCode;
    }
    if (*type != kIdType) {
        return typeCode;
    }
    return *length == wantLen ? QOR_OK : lengthCode;
}

uint32_t ParseAii(const uint8_t **cursor, const uint8_t *end, uint8_t *type, uint8_t *length,
                  uint32_t *value) {
    const uint32_t result = ParseIdHeader(cursor, end, type, length, kAiiLen, QOR_LDP_ERR_AII_TYPE,
                                          QOR_LDP_ERR_AII_LEN);
    if (result == QOR_OK) {
        *value = wire::Get32(*cursor);
        *cursor += kAiiLen;
    }
    return result;
}

}  // namespace

QOR_PKT_CTX_S *QOR_PKT_Init(const QOR_PKT_CTX_S *cfg) {
    if (RefuseNull(kModel, cfg)) {
        return nullptr;
    }
    void *ctx = qor::AllocContext(kModel, cfg->ulSid, sizeof(QOR_PKT_CTX_S));
    if (RefuseNull(kModel, ctx)) {
        return nullptr;
    }
    // The caller's record may end in front of the scratch text.
    constexpr size_t kConfigLen = offsetof(QOR_PKT_CTX_S, szFecText);
    qor::CopyChecked(kModel, ctx, sizeof(QOR_PKT_CTX_S), cfg, kConfigLen);
    return static_cast<QOR_PKT_CTX_S *>(ctx);
}

void QOR_PKT_DeInit(QOR_PKT_CTX_S *ctx) {
    if (!RefuseNull(kModel, ctx)) {
        HOST_MemFree(ctx, kModel, __LINE__);
    }
}

uint32_t QOR_LDP_PKT_ErrCode2StatusCode(uint32_t errCode, uint32_t *fatal) {
    if (RefuseNull(kModel, fatal)) {
        return 0;
    }
    *fatal = 0;
    for (const StatusRule &rule : kStatusRules) {
        if (rule.errCode == errCode) {
            *fatal = rule.fatal;
            return rule.status;
        }
    }
    return 0;
}

int32_t QOR_LDP_PKT_CmpPwFecKey(const QOR_LDP_PW_FEC_KEY_S *a, const QOR_LDP_PW_FEC_KEY_S *b) {
    if (RefuseNull(kModel, a, b)) {
        return -1;
    }
    int32_t order = Compare(a->ucKeyType, b->ucKeyType);
    if (order == 0 && a->ucKeyType != QOR_LDP_KEY_INST) {
        order = QOR_IP_CompareAddr(&a->stPeerAddr, &b->stPeerAddr);
    }
    if (order == 0) {
        order = Compare(a->ucPwType, b->ucPwType);
    }
    return order != 0 ? order : CompareValue(a, b);
}

char *QOR_LDP_PKT_FmtPwFec2Str(const QOR_LDP_PW_FEC_KEY_S *key, char *buf, int size) {
    if (RefuseNull(kModel, key, buf)) {
        return nullptr;
    }
    if (size < 1) {
        qor::Report(kModel);
        return nullptr;
    }
    buf[0] = '\0';
    const size_t room = static_cast<size_t>(size);
    int stored = 0;
    if (key->ucKeyType == QOR_LDP_KEY_PWID) {
        stored = snprintf_s(buf, room, room - 1, "%u", key->ulPwId);
    } else if (key->ucKeyType == QOR_LDP_KEY_GEN_PWID) {
        char saii[16];
        HOST_IpAddrToStr(key->stFec129.ulSaii, saii);
        QOR_LDP_PKT_FmtExtComm2Str(&key->stFec129.stAgi, buf, size, nullptr);
        const size_t used = HOST_StrLen(buf);
        // Both places show the source identifier: readers of these lines know them so.
        stored = snprintf_s(buf + used, room - used, room - used - 1, ":%s:%s", saii, saii);
    } else if (key->ucKeyType == QOR_LDP_KEY_INST) {
        stored =
            snprintf_s(buf, room, room - 1, "instID:%u, veId:%u, ceOffset:%u", key->stInst.ulInstId,
                       unsigned{key->stInst.usVeId}, unsigned{key->stInst.usCeOffset});
    } else if (key->ucKeyType == QOR_LDP_KEY_SVC) {
        stored = snprintf_s(buf, room, room - 1, "svc_%u", key->ulSvcId);
    }
    qor::FormatChecked(kModel, stored);
    return buf;
}

uint32_t QOR_LDP_PKT_ParseFec129(QOR_LDP_FEC129_S *out, const uint8_t *buf, uint16_t len) {
    if (RefuseNull(kModel, out, buf)) {
        return QOR_FAIL;
    }
    const uint8_t *cursor = buf;
    const uint8_t *const end = buf + len;
    uint32_t result = ParseIdHeader(&cursor, end, &out->ucAgiType, &out->ucAgiLen, kAgiLen,
                                    QOR_LDP_ERR_AGI_TYPE, QOR_LDP_ERR_AGI_LEN);
    if (result == QOR_OK) {
        QOR_PKT_GetExtcommNetKetu(0, &out->stAgi, &cursor);
        result = ParseAii(&cursor, end, &out->ucSaiiType, &out->ucSaiiLen, &out->ulSaii);
    }
    if (result == QOR_OK) {
        result = ParseAii(&cursor, end, &out->ucTaiiType, &out->ucTaiiLen, &out->ulTaii);
    }
    return result;
}

uint32_t QOR_LDP_PKT_FormatFec129(const QOR_LDP_FEC129_S *in, uint8_t *buf) {
    if (RefuseNull(kModel, in, buf)) {
        return 0;
    }
    const bool values = in->ucAgiType == kIdType;
    wire::Writer out(buf);
    out.U8(in->ucAgiType);
    out.U8(in->ucAgiLen);
    if (values) {
        uint8_t *cursor = out.At();
        QOR_PKT_PutExtcommNetKetu(&in->stAgi, &cursor);
        out.MoveTo(cursor);
    }
    out.U8(in->ucSaiiType);
    out.U8(in->ucSaiiLen);
    if (values) {
        out.U32(in->ulSaii);
    }
    out.U8(in->ucTaiiType);
    out.U8(in->ucTaiiLen);
    if (values) {
        out.U32(in->ulTaii);
    }
    return out.Written();
}

uint32_t QOR_LDP_PKT_IsSysIpValid(const QOR_SYS_IP_ADDR_S *addr) {
    if (addr == nullptr) {
        return 0;
    }
    if (addr->ulFamily != QOR_IP_FAMILY_V6) {
        return addr->ulIpv4 != 0;
    }
    return std::any_of(addr->aucIpv6, addr->aucIpv6 + sizeof addr->aucIpv6,
                       [](uint8_t octet) { return octet != 0; });
}
