#include "qor_wdll.h"

#include "base/qor_check.hpp"
#include "base/qor_links.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;

constexpr char kSource[] = "qor_wdll";

constexpr uint32_t kWalkerTag = 42;

// The entry that node, which may be NULL, is part of.
void *EntryOf(const QOR_WDLL_S *list, HOST_DLL_NODE_S *node) {
    return node == nullptr ? nullptr : qor::EntryAt<void>(node, list->usNodeOffset);
}

// Tells whether walker is NULL or does not live, and then reports it.
bool RefuseWalker(qor::Where where, const QOR_WDLL_WALK_S *walker) {
    if (walker != nullptr && walker->ulMagic == QOR_WDLL_WALK_MAGIC) {
        return false;
    }
    Report(where);
    return true;
}

}  // namespace

void *QOR_WDLL_FindNode_X(QOR_WDLL_S *list, const void *key, HOST_DLL_CMP_PF compare) {
    if (RefuseNull(kSource, list, compare)) {
        return nullptr;
    }
    // An empty head may be all zero, which the host need not understand.
    return list->stList.ulCount == 0
               ? nullptr
               : EntryOf(list,
                         static_cast<HOST_DLL_NODE_S *>(HOST_DllFind(&list->stList, key, compare)));
}

void *QOR_WDLL_FirstNode_X(QOR_WDLL_S *list) {
    if (RefuseNull(kSource, list)) {
        return nullptr;
    }
    return EntryOf(list, qor::First(list->stList));
}

void *QOR_WDLL_LastNode_X(QOR_WDLL_S *list) {
    if (RefuseNull(kSource, list)) {
        return nullptr;
    }
    return list->stList.ulCount == 0 ? nullptr : EntryOf(list, list->stList.stNode.pstPrev);
}

void *QOR_WDLL_NextNode_X(QOR_WDLL_S *list, HOST_DLL_NODE_S *node) {
    if (RefuseNull(kSource, list, node)) {
        return nullptr;
    }
    return EntryOf(list, qor::UnlessHead(list->stList, node->pstNext));
}

void *QOR_WDLL_PrevNode_X(QOR_WDLL_S *list, HOST_DLL_NODE_S *node) {
    if (RefuseNull(kSource, list, node)) {
        return nullptr;
    }
    return EntryOf(list, qor::UnlessHead(list->stList, node->pstPrev));
}

void QOR_WDLL_DelNode_X(QOR_WDLL_S *list, HOST_DLL_NODE_S *node) {
    if (RefuseNull(kSource, list, node)) {
        return;
    }
    HOST_DLL_NODE_S *next = nullptr;
    for (HOST_DLL_NODE_S *at = qor::First(list->stWalkList); at != nullptr; at = next) {
        next = qor::Next(list->stWalkList, at);
        auto *walker = qor::EntryAt<QOR_WDLL_WALK_S>(at, offsetof(QOR_WDLL_WALK_S, stNode));
        if (RefuseWalker(kSource, walker)) {
            continue;
        }
        if (walker->pCurNode == node) {
            walker->pCurNode = qor::Next(list->stList, node);
        }
    }
    HOST_DllDelete(&list->stList, node);
}

QOR_WDLL_WALK_S *QOR_WDLL_CreateWalk_X(QOR_WDLL_S *list, uint64_t sid) {
    if (list == nullptr || sid == 0) {
        Report(kSource);
        return nullptr;
    }
    auto *walker = qor::AllocZeroed<QOR_WDLL_WALK_S>(kSource, sid, kWalkerTag);
    if (RefuseNull(kSource, walker)) {
        return nullptr;
    }
    walker->ulMagic = QOR_WDLL_WALK_MAGIC;
    walker->pstList = list;
    walker->ulRestart = 1;
    qor::Append(&list->stWalkList, &walker->stNode);
    return walker;
}

void QOR_WDLL_DeleteWalk_X(QOR_WDLL_WALK_S **walker) {
    if (walker == nullptr) {
        Report(kSource);
        return;
    }
    if (*walker == nullptr) {
        return;
    }
    RefuseWalker(kSource, *walker);
    HOST_DllDelete(&(*walker)->pstList->stWalkList, &(*walker)->stNode);
    (*walker)->ulMagic = QOR_WDLL_WALK_DEAD;  // for those who still hold it
    qor::FreeAndClear(kSource, walker);
}

void QOR_WDLL_ResetWalk_X(QOR_WDLL_WALK_S *walker) {
    if (RefuseWalker(kSource, walker)) {
        return;
    }
    walker->ulRestart = 1;
    walker->pCurNode = nullptr;
}

void *QOR_WDLL_WalkNode_X(QOR_WDLL_WALK_S *walker) {
    if (RefuseWalker(kSource, walker)) {
        return nullptr;
    }
    if (walker->ulRestart == 1) {
        walker->ulRestart = 0;
        walker->pCurNode = qor::First(walker->pstList->stList);
    }
    return EntryOf(walker->pstList, walker->pCurNode);
}

void *QOR_WDLL_WalkNext_X(QOR_WDLL_WALK_S *walker) {
    if (RefuseWalker(kSource, walker)) {
        return nullptr;
    }
    const HOST_DLL_S &list = walker->pstList->stList;
    const HOST_DLL_NODE_S *at = walker->pCurNode;
    walker->pCurNode = at == nullptr ? qor::First(list) : qor::Next(list, at);
    return EntryOf(walker->pstList, walker->pCurNode);
}
