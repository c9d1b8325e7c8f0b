// The FEC TLV (RFC 5036 section 3.4.1), its wildcard, prefix and host elements, and FEC records and
// keys.
#include <cstring>

#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::pkt::kDecode;
using qor::pkt::kEncode;
using qor::pkt::kFamilyIpv4;
using qor::pkt::kFamilyIpv6;
namespace wire = qor::wire;

constexpr uint8_t kWildcard = 0x01;
constexpr uint8_t kPrefix = 0x02;
constexpr uint8_t kHost = 0x03;

constexpr uint32_t kElementHeaderLen = 4;  // type, family, length octet

// Type octet and family of an address element, of which at least the header must be left.
uint32_t CheckAddressElement(const uint8_t *element, uint32_t remaining) {
    if (remaining < kElementHeaderLen) {
        return QOR_LDP_ERR_ADDR_FEC;
    }
    const uint16_t family = wire::Get16(element + 1);
    return family == kFamilyIpv4 || family == kFamilyIpv6 ? QOR_OK : QOR_LDP_ERR_FAMILY;
}

// The record is clear for the first PW element; a later one replaces what was decoded.
void BeginPwElement(QOR_LDP_PWID_FEC_INFO_S *info, bool *pwSeen) {
    if (*pwSeen) {
        QOR_LDP_PKT_ClearPwIdFecInfo(info);
    }
    *pwSeen = true;
}

uint32_t DecodeElement(const uint8_t *element, uint32_t remaining, QOR_LDP_PKT_LOG_S *log,
                       QOR_LDP_PWID_FEC_INFO_S *info, bool *pwSeen, uint32_t *length) {
    switch (element[0]) {
        case kWildcard:
            return QOR_LDP_PKT_DecodeWcFec(element, remaining, log, length);
        case kPrefix:
        case kHost:  // walked as a prefix: its last octet counts bits
            return QOR_LDP_PKT_DecodeAddrFec(element, remaining, log, length);
        case qor::pkt::kElementPwId:
            BeginPwElement(info, pwSeen);
            return QOR_LDP_PKT_DecodeVcFec128(element, remaining, log, info, length);
        case qor::pkt::kElementGenPwId:
            BeginPwElement(info, pwSeen);
            return QOR_LDP_PKT_DecodeVcFec129(element, remaining, log, info, length);
        default:
            QOR_LDP_PKT_LogUnknownFecType(log, element[0]);
            return QOR_LDP_ERR_UNKNOWN_FEC;
    }
}

uint32_t DecodeElements(const uint8_t *value, uint32_t length, QOR_LDP_PKT_LOG_S *log,
                        QOR_LDP_PWID_FEC_INFO_S *info) {
    bool pwSeen = false;
    uint32_t elementLen = 0;
    for (uint32_t offset = 0; offset < length; offset += elementLen) {
        const uint32_t result =
            DecodeElement(value + offset, length - offset, log, info, &pwSeen, &elementLen);
        if (result != QOR_OK) {
            return result;
        }
    }
    return pwSeen ? QOR_OK : QOR_LDP_ERR_UNKNOWN_FEC;
}

// Copies what the message type has a place for. A Request and a MAC Withdraw get the key only, and
// a FEC 129 element has neither group ID nor interface parameters.
void StoreFec(QOR_LDP_PWID_FEC_INFO_S *info, QOR_LDP_PKT_LOG_S *log, QOR_LDP_SIGNAL_MSG_S *msg) {
    msg->ucNoPwId = info->ucPwIdPresent == 0;
    qor::CopyChecked(kDecode, &msg->stFecKey, sizeof msg->stFecKey, &info->stKey,
                     sizeof info->stKey);
    if (msg->ulMsgType != QOR_LDP_MSG_NOTIFICATION && msg->ulMsgType != QOR_LDP_MSG_MAPPING &&
        msg->ulMsgType != QOR_LDP_MSG_WITHDRAW && msg->ulMsgType != QOR_LDP_MSG_RELEASE) {
        return;
    }
    msg->ucCBit = info->ucCBit;
    if (info->stKey.ucKeyType != QOR_LDP_KEY_PWID) {
        return;
    }
    msg->ulGroupId = info->ulGroupId;
    if (msg->ulMsgType == QOR_LDP_MSG_MAPPING) {
        qor::pkt::StoreParameters(info->stIntfPara, msg);
        msg->usCepOptions = info->stIntfPara.usCepOptions;
        if (info->stIntfPara.szIntfDesc != nullptr) {  // rare
            QOR_LDP_PKT_FillMappingIntfDesc(info, log, msg);
        }
    }
}

}  // namespace

// ---- FEC TLV

uint32_t QOR_LDP_PKT_DecodeFecTlv(const uint8_t *value, uint32_t length, QOR_LDP_PKT_LOG_S *logCtx,
                                  QOR_LDP_SIGNAL_MSG_S *signalMsg) {
    if (RefuseNull(kDecode, value, logCtx, signalMsg)) {
        return QOR_FAIL;
    }
    QOR_LDP_PWID_FEC_INFO_S info{};
    const uint32_t result = DecodeElements(value, length, logCtx, &info);
    if (result == QOR_OK) {
        StoreFec(&info, logCtx, signalMsg);
    }
    qor::FreeAndClear(kDecode, &info.stIntfPara.szIntfDesc);
    return result;
}

// ---- Wildcard, prefix and host elements

uint32_t QOR_LDP_PKT_DecodeWcFec(const uint8_t *element, uint32_t /*remaining*/,
                                 QOR_LDP_PKT_LOG_S *logCtx, uint32_t *outLen) {
    if (RefuseNull(kDecode, element, logCtx, outLen)) {
        return QOR_FAIL;
    }
    *outLen = 1;
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_DecodeAddrFec(const uint8_t *element, uint32_t remaining,
                                   QOR_LDP_PKT_LOG_S *logCtx, uint32_t *outLen) {
    if (RefuseNull(kDecode, element, logCtx, outLen)) {
        return QOR_FAIL;
    }
    if (const uint32_t result = CheckAddressElement(element, remaining); result != QOR_OK) {
        return result;
    }
    *outLen = kElementHeaderLen;
    const uint32_t prefixOctets = (element[3] + 7u) / 8;
    if (prefixOctets > remaining - kElementHeaderLen) {
        return QOR_LDP_ERR_ADDR_FEC;
    }
    *outLen += prefixOctets;
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_DecodeHostFec(const uint8_t *element, uint32_t remaining,
                                   QOR_LDP_PKT_LOG_S *logCtx, uint32_t *outLen) {
    if (RefuseNull(kDecode, element, logCtx, outLen)) {
        return QOR_FAIL;
    }
    if (const uint32_t result = CheckAddressElement(element, remaining); result != QOR_OK) {
        return result;
    }
    const uint32_t addressLen = element[3];
    const uint32_t familyLen = wire::Get16(element + 1) == kFamilyIpv4 ? 4 : 16;
    // One less than the element's octets: callers of this operation count so.
    const uint32_t length = addressLen + 3;
    if (length > remaining || addressLen != familyLen) {
        return QOR_LDP_ERR_ADDR_FEC;
    }
    *outLen = length;
    return QOR_OK;
}

// ---- FEC records and keys

void QOR_LDP_PKT_InitPwIdFecInfo(QOR_LDP_PWID_FEC_INFO_S *fecInfo) {
    if (RefuseNull(kDecode, fecInfo)) {
        return;
    }
    *fecInfo = {};
    fecInfo->stIntfPara.ucRtpMode = QOR_LDP_RTP_NOT_GIVEN;
}

void QOR_LDP_PKT_ClearPwIdFecInfo(QOR_LDP_PWID_FEC_INFO_S *fecInfo) {
    if (RefuseNull(kDecode, fecInfo)) {
        return;
    }
    QOR_LDP_PKT_FreeIntfDesc(fecInfo);
    *fecInfo = {};
}

uint32_t QOR_LDP_PKT_SetPwFec128(QOR_LDP_PW_FEC_KEY_S *key, const QOR_IP_ADDR_S *peerAddr,
                                 uint8_t pwType, uint32_t pwId) {
    if (RefuseNull(kEncode, key, peerAddr)) {
        return QOR_FAIL;
    }
    const QOR_IP_ADDR_S peer = *peerAddr;  // may lie in *key
    std::memset(key, 0, sizeof *key);
    key->ucKeyType = QOR_LDP_KEY_PWID;
    const int copied =
        qor::CopyChecked(kEncode, &key->stPeerAddr, sizeof key->stPeerAddr, &peer, sizeof peer);
    if (copied != 0) {
        return static_cast<uint32_t>(copied);
    }
    key->ucPwType = pwType;
    key->ulPwId = pwId;
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_GetPwFec128(const QOR_LDP_PW_FEC_KEY_S *key, QOR_IP_ADDR_S *outPeerAddr,
                                 uint8_t *outPwType, uint32_t *outPwId) {
    if (RefuseNull(kDecode, key, outPeerAddr, outPwType, outPwId)) {
        return QOR_FAIL;
    }
    qor::CopyChecked(kDecode, outPeerAddr, sizeof *outPeerAddr, &key->stPeerAddr,
                     sizeof key->stPeerAddr);
    *outPwType = key->ucPwType;
    *outPwId = key->ulPwId;
    return QOR_OK;
}
