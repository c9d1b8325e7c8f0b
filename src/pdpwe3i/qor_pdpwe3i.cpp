#include "qor_pdpwe3i.h"

#include <cstring>

#include "base/qor_check.hpp"
#include "pkt/qor_pkt_wire.hpp"

namespace {

using qor::RefuseNull;
namespace wire = qor::wire;

constexpr char kSource[] = "qor_pdpwe3i";

constexpr uint32_t kKindLen = 4;

constexpr QOR_VERIFY_HANDLE_S kAll{QOR_VERIFY_KIND_ALL, 0, nullptr};

// The octets that are sent of a signature key; for a form that is none, what the handle says.
uint16_t SignatureLen(uint8_t form, uint16_t otherwise) {
    switch (form) {
        case QOR_VERIFY_FORM_PWID:
            return QOR_VERIFY_SIG_PWID_LEN;
        case QOR_VERIFY_FORM_GEN_PWID:
            return QOR_VERIFY_SIG_GEN_LEN;
        default:
            return otherwise;
    }
}

// A handle of one object with enough data, or of all objects.
uint32_t CheckObject(const QOR_VERIFY_HANDLE_S *handle, uint16_t minLen) {
    if (handle->pData != nullptr) {
        return handle->usDataLen >= minLen ? 1 : 0;
    }
    return handle->ulKind == QOR_VERIFY_KIND_ALL && handle->usDataLen == 0 ? 1 : 0;
}

// Turn host order, as it was copied, to network order in place.
void ToNetwork16(uint8_t *at) {
    uint16_t value = 0;
    std::memcpy(&value, at, sizeof value);
    wire::Put16(at, value);
}

void ToNetwork32(uint8_t *at, uint32_t words) {
    for (; words != 0; --words, at += 4) {
        uint32_t value = 0;
        std::memcpy(&value, at, sizeof value);
        wire::Put32(at, value);
    }
}

// The whole signature key. Its form and the octet behind it are octets.
void ToNetworkSignature(uint8_t *at) {
    ToNetwork32(at, 3);
    ToNetwork16(at + offsetof(QOR_VERIFY_SIG_KEY_S, usReserved));
    uint8_t *agi = at + offsetof(QOR_VERIFY_SIG_KEY_S, aucAgi);
    QOR_EXTCOMM_S ext;
    std::memcpy(&ext, agi, sizeof ext);
    QOR_PKT_PutExtcommNet(&ext, &agi);
    ToNetwork32(at + offsetof(QOR_VERIFY_SIG_KEY_S, ulSaii), 2);
}

}  // namespace

QOR_VERIFY_SSN_S *QOR_PDPWE3I_ConstructSsnVerifyRequestHandle(QOR_VERIFY_SSN_S *session,
                                                              QOR_VERIFY_HANDLE_S *handle) {
    if (RefuseNull(kSource, session, handle)) {
        return nullptr;
    }
    if (session->ulSession == 0) {
        *handle = kAll;
    } else {
        *handle = {QOR_VERIFY_KIND_SPECIFIC, QOR_VERIFY_SSN_LEN, session};
    }
    return session;
}

QOR_VERIFY_SIG_KEY_S *QOR_PDPWE3I_ConstructSigVerifyRequestHandle(QOR_VERIFY_SIG_KEY_S *signature,
                                                                  QOR_VERIFY_HANDLE_S *handle) {
    if (RefuseNull(kSource, signature, handle)) {
        return nullptr;
    }
    if (signature->ulPeerIp == 0) {
        *handle = kAll;
    } else {
        const uint16_t length = SignatureLen(signature->ucForm, handle->usDataLen);
        *handle = {QOR_VERIFY_KIND_SPECIFIC, length, signature};
    }
    return signature;
}

void QOR_PDPWE3I_ConstructVerifyRequestAckHandle(QOR_VERIFY_HANDLE_S *handle) {
    if (!RefuseNull(kSource, handle)) {
        *handle = {QOR_VERIFY_KIND_ACK, 0, nullptr};
    }
}

uint32_t QOR_PDPWE3I_CheckSsnVerifyRequestHandleValid(const QOR_VERIFY_HANDLE_S *handle) {
    return RefuseNull(kSource, handle) ? 0 : CheckObject(handle, QOR_VERIFY_SSN_LEN);
}

uint32_t QOR_PDPWE3I_CheckSigVerifyRequestHandleValid(const QOR_VERIFY_HANDLE_S *handle) {
    return RefuseNull(kSource, handle) ? 0 : CheckObject(handle, QOR_VERIFY_SIG_PWID_LEN);
}

uint32_t QOR_PDPWE3I_CheckVerifyRequestAckHandleValid(const QOR_VERIFY_HANDLE_S *handle) {
    if (RefuseNull(kSource, handle)) {
        return 0;
    }
    return handle->pData == nullptr && handle->usDataLen == 0 &&
                   handle->ulKind == QOR_VERIFY_KIND_ACK
               ? 1
               : 0;
}

void QOR_PDPWE3I_BuildVerifyHandleTlv(uint8_t **cursor, uint16_t tlvType,
                                      const QOR_VERIFY_HANDLE_S *handle) {
    if (RefuseNull(kSource, cursor, handle)) {
        return;
    }
    const uint16_t length = handle->usDataLen;
    wire::Writer out(*cursor);
    out.U16(tlvType);
    out.U16(static_cast<uint16_t>(length + kKindLen));
    out.U32(handle->ulKind);
    if (handle->pData != nullptr) {
        uint8_t *data = out.At();
        if (qor::CopyChecked(kSource, data, length, handle->pData, length) != 0) {
            return;
        }
        switch (length) {
            case QOR_VERIFY_SSN_LEN:
            case QOR_VERIFY_SIG_PWID_LEN:
                ToNetwork32(data, length / 4U);
                break;
            case QOR_VERIFY_SIG_GEN_LEN:
                ToNetworkSignature(data);
                break;
            default:
                break;
        }
        out.Skip(length);
    }
    *cursor = out.At();
}

void QOR_PDPWE3I_SetVerifySigKey(const QOR_LDP_PW_FEC_KEY_S *fecKey, QOR_VERIFY_SIG_KEY_S *sigKey) {
    if (RefuseNull(kSource, fecKey, sigKey)) {
        return;
    }
    if (fecKey->ucKeyType == QOR_LDP_KEY_GEN_PWID) {
        sigKey->ucForm = QOR_VERIFY_FORM_GEN_PWID;
        qor::CopyChecked(kSource, sigKey->aucAgi, sizeof sigKey->aucAgi, &fecKey->stFec129.stAgi,
                         sizeof fecKey->stFec129.stAgi);
        sigKey->ulSaii = fecKey->stFec129.ulSaii;
        sigKey->ulTaii = fecKey->stFec129.ulTaii;
    } else if (fecKey->ucKeyType == QOR_LDP_KEY_PWID) {
        sigKey->ucForm = QOR_VERIFY_FORM_PWID;
        sigKey->ulPwId = fecKey->ulPwId;
    } else {
        return;
    }
    sigKey->ulPeerIp = fecKey->stPeerAddr.aulAddr[0];
    sigKey->ulPwType = fecKey->ucPwType;
}
