#include "qor_mam.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "base/qor_check.hpp"
#include "base/qor_links.hpp"

namespace {

using qor::AllocContext;
using qor::FormatChecked;
using qor::RefuseNull;

constexpr char kSource[] = "qor_mam";

constexpr uint32_t kTextLen = 1000;  // one record's text, NUL included
constexpr uint32_t kStampLen = 12;   // one stamp, NUL included

QOR_MAM_BLACKBOX_S *FindBox(QOR_MAM_S *mam, uint32_t id) {
    return static_cast<QOR_MAM_BLACKBOX_S *>(HOST_AvlFind(&mam->stTree, &id, &mam->stTreeInfo));
}

void FreeBox(QOR_MAM_S *mam, QOR_MAM_BLACKBOX_S *box) {
    HOST_AvlDelete(&mam->stTree, &box->stNode);
    HOST_MemFree(box->pucStart, kSource, __LINE__);
    HOST_MemFree(box, kSource, __LINE__);
}

// Appends text, in the two pieces that the end of the ring makes of it. One place is left between
// the newest and the oldest character, and so the oldest ones go when more are needed.
void PutText(QOR_MAM_BLACKBOX_S *box, const char *text, size_t length) {
    const auto size = static_cast<size_t>(box->pucEnd - box->pucStart);
    auto kept = static_cast<size_t>(box->pucWrite - box->pucOldest);
    if (box->pucWrite < box->pucOldest) {
        kept += size;
    }
    kept = std::min(kept + length, size - 1);

    auto at = static_cast<size_t>(box->pucWrite - box->pucStart);
    while (length != 0) {
        const size_t piece = std::min(length, size - at);
        std::memcpy(box->pucStart + at, text, piece);
        text += piece;
        length -= piece;
        at = at + piece == size ? 0 : at + piece;
    }
    box->pucWrite = box->pucStart + at;
    box->pucOldest = box->pucStart + (at >= kept ? at - kept : at + size - kept);
}

// Prints one stamp and puts it into the ring; a stamp that does not print is left out.
template <class... Args>
void PutStamp(QOR_MAM_BLACKBOX_S *box, const char *fmt, Args... args) {
    char stamp[kStampLen] = "";
    if (FormatChecked(kSource, snprintf_s(stamp, kStampLen, kStampLen - 1, fmt, args...)) < 0) {
        stamp[0] = '\0';
    }
    PutText(box, stamp, std::strlen(stamp));
}

void PutStamps(QOR_MAM_S *mam, QOR_MAM_BLACKBOX_S *box) {
    if ((box->ulMode & QOR_MAM_MODE_SEQ) != 0) {
        if ((box->ulMode & QOR_MAM_MODE_GLOBAL_SEQ) != 0) {
            PutStamp(box, "<%04X>", mam->ulGlobalSeq++);
        } else {
            PutStamp(box, "<%02X>", box->ulBoxSeq++);
        }
    }
    // Each stamp reads the clock itself; a clock that fails leaves zeros.
    if ((box->ulMode & QOR_MAM_MODE_DATE) != 0) {
        HOST_SYSTIME_S now{};
        HOST_SystimeGet(&now);
        PutStamp(box, "%02d%02d-", now.ucMonth, now.ucDay);
    }
    if ((box->ulMode & QOR_MAM_MODE_TIME) != 0) {
        HOST_SYSTIME_S now{};
        HOST_SystimeGet(&now);
        PutStamp(box, "%02d%02d%02d%03d", now.ucHour, now.ucMinute, now.ucSecond,
                 static_cast<int>(now.ulMilliSec));
    }
}

}  // namespace

QOR_MAM_S *QOR_MAM_Init(uint64_t sid, const void *p2) {
    if (sid == 0 || p2 == nullptr) {
        qor::Report(kSource);
        return nullptr;
    }
    auto *mam = static_cast<QOR_MAM_S *>(AllocContext(kSource, sid, sizeof(QOR_MAM_S)));
    if (RefuseNull(kSource, mam)) {
        return nullptr;
    }
    *mam = {.ulGlobalSeq = 0,
            .ulUserPara = reinterpret_cast<uintptr_t>(p2),
            .ulSid = sid,
            .stTree = {},
            .stTreeInfo = {.pfnCompare = QOR_MAM_CompareUlong,
                           .usKeyOffset = offsetof(QOR_MAM_BLACKBOX_S, ulBoxId),
                           .usNodeOffset = offsetof(QOR_MAM_BLACKBOX_S, stNode)}};
    return mam;
}

void QOR_MAM_DeInit(QOR_MAM_S *mam) {
    if (RefuseNull(kSource, mam)) {
        return;
    }
    while (mam->stTree.pstRoot != nullptr) {
        FreeBox(mam,
                static_cast<QOR_MAM_BLACKBOX_S *>(HOST_AvlFirst(&mam->stTree, &mam->stTreeInfo)));
    }
    HOST_MemFree(mam, kSource, __LINE__);
}

int32_t QOR_MAM_CompareUlong(const void *a, const void *b) {
    if (RefuseNull(kSource, a, b)) {
        return 0;
    }
    return qor::Compare(*static_cast<const uint32_t *>(a), *static_cast<const uint32_t *>(b));
}

QOR_MAM_BLACKBOX_S *QOR_MAM_BlackBoxCreate(QOR_MAM_S *mam, uint32_t id, uint32_t size,
                                           uint32_t mode) {
    if (mam == nullptr || size == 0) {
        qor::Report(kSource);
        return nullptr;
    }
    if (size > QOR_MAM_BOX_MAX) {
        return nullptr;
    }
    if (QOR_MAM_BLACKBOX_S *present = FindBox(mam, id)) {
        return present;
    }
    auto *box = static_cast<QOR_MAM_BLACKBOX_S *>(
        AllocContext(kSource, mam->ulSid, sizeof(QOR_MAM_BLACKBOX_S)));
    if (box == nullptr) {
        return nullptr;
    }
    auto *ring = static_cast<uint8_t *>(AllocContext(kSource, mam->ulSid, size));
    if (ring == nullptr) {
        HOST_MemFree(box, kSource, __LINE__);
        return nullptr;
    }
    qor::ZeroChecked(kSource, ring, size);
    *box = {.stNode = qor::kUnlinked,
            .ulBoxId = id,
            .ulMode = mode,
            .ulBoxSeq = 0,
            .pucStart = ring,
            .pucEnd = ring + size,
            .pucWrite = ring,
            .pucOldest = ring};
    HOST_AvlInsertOrFind(&mam->stTree, &box->stNode, &mam->stTreeInfo);
    return box;
}

uint32_t QOR_MAM_BlackBoxDelete(QOR_MAM_S *mam, uint32_t id) {
    if (RefuseNull(kSource, mam)) {
        return QOR_ERR_ARG;
    }
    if (QOR_MAM_BLACKBOX_S *box = FindBox(mam, id)) {
        FreeBox(mam, box);
    }
    return QOR_OK;
}

uint32_t QOR_MAM_BlackBoxWriteString(QOR_MAM_S *mam, uint32_t id, const char *fmt, ...) {
    if (RefuseNull(kSource, mam, fmt)) {
        return QOR_ERR_ARG;
    }
    char text[kTextLen + 2] = "";  // with its line end
    va_list args;
    va_start(args, fmt);
    FormatChecked(kSource, HOST_VsnprintfTruncated(text, kTextLen, fmt, args));
    va_end(args);
    // The text ends at its first NUL, and what a failed formatter left behind is recorded too.
    const size_t length = std::strlen(text);
    text[length] = '\r';
    text[length + 1] = '\n';

    QOR_MAM_BLACKBOX_S *box = FindBox(mam, id);
    if (box == nullptr || box->pucStart == nullptr) {
        return QOR_MAM_ERR_NO_BOX;
    }
    PutStamps(mam, box);
    PutText(box, text, length + 2);
    return QOR_OK;
}

uint8_t *QOR_MAM_BlackBoxGetBuffer(QOR_MAM_S *mam, uint32_t id) {
    if (RefuseNull(kSource, mam)) {
        return nullptr;
    }
    const QOR_MAM_BLACKBOX_S *box = FindBox(mam, id);
    return box == nullptr ? nullptr : box->pucStart;
}

uint32_t QOR_MAM_BlackBoxGetSize(QOR_MAM_S *mam, uint32_t id) {
    if (RefuseNull(kSource, mam)) {
        return 0;
    }
    const QOR_MAM_BLACKBOX_S *box = FindBox(mam, id);
    return box == nullptr ? 0 : static_cast<uint32_t>(box->pucEnd - box->pucStart);
}
