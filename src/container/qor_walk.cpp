#include "qor_walk.h"

#include <algorithm>

#include "base/qor_check.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;

constexpr char kSource[] = "qor_walk";

constexpr uint32_t kWalkerTag = 41;
constexpr uint32_t kKeyUnit = 4;  // octets that a key's length is a multiple of

void ZeroKey(QOR_WALK_S *walker) {
    qor::ZeroChecked(kSource, walker->aucKey, walker->stPara.ucKeyLen);
}

// Saves the octets of entry's key.
void SaveKey(QOR_WALK_S *walker, const void *entry) {
    const size_t length = walker->stPara.ucKeyLen;
    qor::CopyChecked(kSource, walker->aucKey, length,
                     static_cast<const char *>(entry) + walker->stPara.usKeyOffset, length);
}

// Releases a deep copy and leaves no pointer to it behind. Tells whether there was one.
bool ReleaseKey(QOR_WALK_S *walker) {
    QOR_WALK_PARA_S &para = walker->stPara;
    if ((para.ucFlag & QOR_WALK_FLAG_DEEP_KEY) == 0 || para.pfnFreeKey == nullptr) {
        return false;
    }
    para.pfnFreeKey(walker->aucKey);
    para.ucFlag = static_cast<uint8_t>(para.ucFlag & ~QOR_WALK_FLAG_DEEP_KEY);
    ZeroKey(walker);
    return true;
}

// The entry where the walk begins or goes on, or NULL.
void *Position(QOR_WALK_S *walker) {
    if (walker->ulRestart == 1) {
        walker->ulRestart = 0;
        return walker->stPara.pfnFirst(walker);
    }
    return walker->stPara.pfnFindOrFindNext(walker);
}

}  // namespace

QOR_WALK_S *QOR_WALK_Create(const QOR_WALK_PARA_S *para) {
    if (para == nullptr || para->pContainer == nullptr || para->pfnFirst == nullptr ||
        para->pfnNext == nullptr || para->pfnFindOrFindNext == nullptr ||
        para->ucKeyLen % kKeyUnit != 0) {
        Report(kSource);
        return nullptr;
    }
    const uint32_t size = static_cast<uint32_t>(offsetof(QOR_WALK_S, aucKey)) +
                          std::max<uint32_t>(para->ucKeyLen, QOR_WALK_KEY_MIN);
    auto *walker = qor::AllocZeroed<QOR_WALK_S>(kSource, para->ulSid, kWalkerTag, size);
    if (RefuseNull(kSource, walker)) {
        return nullptr;
    }
    qor::CopyChecked(kSource, &walker->stPara, sizeof walker->stPara, para, sizeof *para);
    walker->ulRestart = 1;
    return walker;
}

void *QOR_WALK_WalkNode(QOR_WALK_S *walker) {
    if (RefuseNull(kSource, walker)) {
        return nullptr;
    }
    walker->pCurNode = Position(walker);
    ReleaseKey(walker);  // not before it has served the lookup
    return QOR_WALK_WalkNext(walker);
}

void *QOR_WALK_WalkNext(QOR_WALK_S *walker) {
    if (RefuseNull(kSource, walker)) {
        return nullptr;
    }
    void *entry = walker->pCurNode;
    if (entry == nullptr) {
        return nullptr;
    }
    walker->pCurNode = walker->stPara.pfnNext(walker);
    ReleaseKey(walker);  // or it would be taken for the copy that it is overwritten with
    SaveKey(walker, entry);
    return entry;
}

void *QOR_WALK_WalkNextNode(QOR_WALK_S *walker) {
    if (RefuseNull(kSource, walker)) {
        return nullptr;
    }
    void *entry = Position(walker);
    const bool released = ReleaseKey(walker);
    walker->pCurNode = entry;
    if (entry == nullptr) {
        return nullptr;
    }
    void *next = walker->stPara.pfnNext(walker);
    walker->pCurNode = next;
    if (next != nullptr) {
        SaveKey(walker, next);
    } else if (released) {
        SaveKey(walker, entry);  // the same place in the walk as the key that is gone
    }
    return entry;
}

void QOR_WALK_CopyKey(QOR_WALK_S *walker, const void *entry) {
    if (RefuseNull(kSource, walker)) {
        return;
    }
    QOR_WALK_PARA_S &para = walker->stPara;
    if (para.pfnCopyKey == nullptr || RefuseNull(kSource, entry)) {
        return;
    }
    ReleaseKey(walker);
    para.pfnCopyKey(walker, static_cast<const char *>(entry) + para.usKeyOffset);
    para.ucFlag |= QOR_WALK_FLAG_DEEP_KEY;
}

void QOR_WALK_Reset(QOR_WALK_S *walker) {
    if (RefuseNull(kSource, walker)) {
        return;
    }
    walker->ulRestart = 1;
    walker->pCurNode = nullptr;
    ReleaseKey(walker);
    ZeroKey(walker);
}

void QOR_WALK_Destroy(QOR_WALK_S **walker) {
    if (walker == nullptr) {
        Report(kSource);
        return;
    }
    if (*walker != nullptr) {
        ReleaseKey(*walker);
        qor::FreeAndClear(kSource, walker);
    }
}
