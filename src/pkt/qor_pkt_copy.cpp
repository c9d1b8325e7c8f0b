// Copies of message records, and their release.
#include "base/qor_links.hpp"
#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::RefuseNull;
using qor::Where;
using qor::pkt::Duplicate;
using qor::pkt::DuplicateText;
using qor::pkt::ForEachNode;
using qor::pkt::kModel;

// One number per allocation site, for the host's bookkeeping.
enum AllocTag : uint32_t {
    kTagNotify = 42,
    kTagIntfPara = 51,
    kTagIntfDesc = 69,
    kTagMacList = 87,
    kTagPwTag = 7,
    kTagPathVector = 17,
    kTagNode = 20,
    kTagNodeData = 22,
};

// As Duplicate, for a buffer and its length field: nothing to copy makes both empty. False when
// memory is short.
template <class Length>
bool DuplicateBuffer(Where where, const QOR_PKT_CTX_S *ctx, AllocTag tag, const uint8_t *from,
                     uint8_t **data, Length *length) {
    *data = nullptr;
    if (from == nullptr || *length == 0) {
        *length = 0;
        return true;
    }
    *data = Duplicate(where, ctx, tag, from, *length);
    return *data != nullptr;
}

template <class Length>
void FreeBuffer(Where where, uint8_t **data, Length *length) {
    qor::FreeAndClear(where, data);
    *length = 0;
}

bool CopyNodes(QOR_LDP_SIGNAL_MSG_S *dst, const QOR_LDP_SIGNAL_MSG_S *src,
               const QOR_PKT_CTX_S *ctx) {
    return ForEachNode(src->stUnknownTlvList, [&](const QOR_LDP_UNKNOWN_TLV_S *from) {
        if (from->ulTlvLen == 0 || from->pucTlv == nullptr) {
            return true;
        }
        auto *node = static_cast<QOR_LDP_UNKNOWN_TLV_S *>(
            HOST_MemAllocBySid(ctx->ulSid, sizeof(QOR_LDP_UNKNOWN_TLV_S), kTagNode));
        if (RefuseNull(kModel, node)) {
            return false;
        }
        // Zeroed whole: the release after a failure below looks at the data pointer.
        *node = {};
        qor::Append(&dst->stUnknownTlvList, reinterpret_cast<HOST_DLL_NODE_S *>(node));
        node->pucTlv = Duplicate(kModel, ctx, kTagNodeData, from->pucTlv, from->ulTlvLen);
        node->ulTlvLen = from->ulTlvLen;
        return node->pucTlv != nullptr;
    });
}

bool CopyNotification(QOR_LDP_SIGNAL_MSG_S *dst, const QOR_LDP_SIGNAL_MSG_S *src,
                      const QOR_PKT_CTX_S *ctx) {
    dst->pucNotifyData = nullptr;
    if ((src->usFlags & QOR_LDP_FLAG_ERR_NOTIFY) == 0) {
        return true;
    }
    return DuplicateBuffer(kModel, ctx, kTagNotify, src->pucNotifyData, &dst->pucNotifyData,
                           &dst->usNotifyDataLen);
}

bool CopyMacWithdraw(QOR_LDP_SIGNAL_MSG_S *dst, const QOR_LDP_SIGNAL_MSG_S *src,
                     const QOR_PKT_CTX_S *ctx) {
    dst->pucMacList = nullptr;
    dst->pucPwTag = nullptr;
    dst->pucPathVector = nullptr;
    qor::InitList(&dst->stUnknownTlvList);
    return DuplicateBuffer(kModel, ctx, kTagMacList, src->pucMacList, &dst->pucMacList,
                           &dst->ulMacLen) &&
           DuplicateBuffer(kModel, ctx, kTagPwTag, src->pucPwTag, &dst->pucPwTag,
                           &dst->ulPwTagLen) &&
           DuplicateBuffer(kModel, ctx, kTagPathVector, src->pucPathVector, &dst->pucPathVector,
                           &dst->ulPathVectorLen) &&
           CopyNodes(dst, src, ctx);
}

bool CopyOwned(QOR_LDP_SIGNAL_MSG_S *dst, const QOR_LDP_SIGNAL_MSG_S *src,
               const QOR_PKT_CTX_S *ctx) {
    switch (src->ulMsgType) {
        case QOR_LDP_MSG_NOTIFICATION:
            return CopyNotification(dst, src, ctx);
        case QOR_LDP_MSG_MAPPING:
            return QOR_LDP_PKT_CopySignalMappingMsg(dst, src, ctx) == QOR_OK;
        case QOR_LDP_MSG_MAC_WITHDRAW:
            return CopyMacWithdraw(dst, src, ctx);
        default:
            return true;
    }
}

void FreeMacWithdraw(QOR_LDP_SIGNAL_MSG_S *msg, const QOR_PKT_CTX_S *ctx) {
    QOR_LDP_PKT_FreeUnknowTlvList(msg, ctx);
    if (msg->ucBorrowed != 0) {
        msg->pucMacList = nullptr;
        msg->pucPathVector = nullptr;
        msg->pucPwTag = nullptr;
        msg->ucBorrowed = 0;
    }
    FreeBuffer(kModel, &msg->pucMacList, &msg->ulMacLen);
    FreeBuffer(kModel, &msg->pucPathVector, &msg->ulPathVectorLen);
    FreeBuffer(kModel, &msg->pucPwTag, &msg->ulPwTagLen);
}

}  // namespace

namespace qor::pkt {

uint8_t *Duplicate(Where where, const QOR_PKT_CTX_S *ctx, uint32_t tag, const uint8_t *from,
                   uint32_t n) {
    auto *copy = static_cast<uint8_t *>(HOST_MemAllocBySid(ctx->ulSid, n, tag));
    if (!RefuseNull(where, copy)) {
        CopyChecked(where, copy, n, from, n);
    }
    return copy;
}

char *DuplicateText(Where where, const QOR_PKT_CTX_S *ctx, uint32_t tag, const char *text) {
    const uint32_t room = HOST_StrLen(text) + 1;
    auto *copy = static_cast<char *>(HOST_MemAllocBySid(ctx->ulSid, room, tag));
    if (!RefuseNull(where, copy)) {
        CopyTextChecked(where, copy, room, text);
    }
    return copy;
}

void FreeMappingBuffers(Where where, QOR_LDP_SIGNAL_MSG_S *msg) {
    FreeBuffer(where, &msg->pucIntfPara, &msg->usIntfParaLen);
    FreeAndClear(where, &msg->szIntfDesc);
}

}  // namespace qor::pkt

uint32_t QOR_LDP_PKT_CopyTlvLenValid(uint16_t len) {
    return QOR_LDP_PKT_TlvLenValid(len);
}

uint32_t QOR_LDP_PKT_CopySignalMsg(QOR_LDP_SIGNAL_MSG_S *dst, const QOR_LDP_SIGNAL_MSG_S *src,
                                   const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kModel, dst, src, ctx)) {
        return QOR_ERR_ARG;
    }
    if (dst == src) {
        qor::Report(kModel);
        return QOR_ERR_ARG;
    }
    qor::CopyChecked(kModel, dst, sizeof *dst, src, sizeof *src);
    dst->ucBorrowed = 0;
    if (!CopyOwned(dst, src, ctx)) {
        QOR_LDP_PKT_FreeSignalMsg(dst, ctx);
        return QOR_ERR_NO_MEM;
    }
    return QOR_OK;
}

uint32_t QOR_LDP_PKT_CopySignalMappingMsg(QOR_LDP_SIGNAL_MSG_S *dst,
                                          const QOR_LDP_SIGNAL_MSG_S *src,
                                          const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kModel, dst, src, ctx)) {
        return QOR_FAIL;
    }
    if (dst == src) {
        qor::Report(kModel);
        return QOR_FAIL;
    }
    // Both first: when memory is short, dst must not be left with a pointer of src.
    dst->pucIntfPara = nullptr;
    dst->szIntfDesc = nullptr;
    dst->usIntfParaLen =
        QOR_LDP_PKT_CopyTlvLenValid(src->usIntfParaLen) ? src->usIntfParaLen : uint16_t{0};
    if (!DuplicateBuffer(kModel, ctx, kTagIntfPara, src->pucIntfPara, &dst->pucIntfPara,
                         &dst->usIntfParaLen)) {
        return QOR_FAIL;
    }
    if (src->szIntfDesc != nullptr) {
        dst->szIntfDesc = DuplicateText(kModel, ctx, kTagIntfDesc, src->szIntfDesc);
        return dst->szIntfDesc != nullptr ? QOR_OK : QOR_FAIL;
    }
    return QOR_OK;
}

void QOR_LDP_PKT_FreeSignalMsg(QOR_LDP_SIGNAL_MSG_S *msg, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kModel, msg, ctx)) {
        return;
    }
    switch (msg->ulMsgType) {
        case QOR_LDP_MSG_NOTIFICATION:
            FreeBuffer(kModel, &msg->pucNotifyData, &msg->usNotifyDataLen);
            break;
        case QOR_LDP_MSG_MAPPING:
            qor::pkt::FreeMappingBuffers(kModel, msg);
            break;
        case QOR_LDP_MSG_MAC_WITHDRAW:
            FreeMacWithdraw(msg, ctx);
            break;
        default:
            break;
    }
}

void QOR_LDP_PKT_FreeUnknowTlvList(QOR_LDP_SIGNAL_MSG_S *msg, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kModel, msg, ctx)) {
        return;
    }
    if (msg->ucBorrowed == 0) {
        ForEachNode(msg->stUnknownTlvList, [](QOR_LDP_UNKNOWN_TLV_S *node) {
            qor::FreeAndClear(kModel, &node->pucTlv);
            return true;
        });
    }
    QOR_LDP_PKT_FreeListNode(&msg->stUnknownTlvList, ctx);
}

void QOR_LDP_PKT_FreeUnknowTlvNode(QOR_LDP_SIGNAL_MSG_S *msg, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kModel, msg, ctx)) {
        return;
    }
    if (msg->ulMsgType == QOR_LDP_MSG_MAC_WITHDRAW) {
        QOR_LDP_PKT_FreeListNode(&msg->stUnknownTlvList, ctx);
    }
}

void QOR_LDP_PKT_FreeListNode(HOST_DLL_S *list, const QOR_PKT_CTX_S *ctx) {
    if (RefuseNull(kModel, list, ctx)) {
        return;
    }
    ForEachNode(*list, [](QOR_LDP_UNKNOWN_TLV_S *node) {
        HOST_MemFree(node, kModel, __LINE__);
        return true;
    });
    qor::InitList(list);
}
