#include "qor_avl.h"

#include "base/qor_check.hpp"
#include "base/qor_links.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;

constexpr char kSource[] = "qor_avl";

// The tree that walker goes through; NULL, which is reported, without one.
QOR_AVL_TREE_S *TreeOf(qor::Where where, const QOR_WALK_S *walker) {
    if (walker == nullptr || walker->stPara.pContainer == nullptr) {
        Report(where);
        return nullptr;
    }
    return static_cast<QOR_AVL_TREE_S *>(walker->stPara.pContainer);
}

}  // namespace

void *QOR_AVL_InsertNode(QOR_AVL_TREE_S *tree, HOST_AVL_NODE_S *node) {
    if (RefuseNull(kSource, tree, node)) {
        return nullptr;
    }
    void *present = HOST_AvlInsertOrFind(&tree->stTree, node, &tree->stTreeInfo);
    if (present == nullptr) {
        tree->ulNodeNum++;
    }
    return present;
}

void QOR_AVL_DeleteNode(QOR_AVL_TREE_S *tree, HOST_AVL_NODE_S *node) {
    if (RefuseNull(kSource, tree, node)) {
        return;
    }
    if (node->sLeftHeight == -1 || node->sRightHeight == -1) {
        return;
    }
    HOST_AvlDelete(&tree->stTree, node);
    if (tree->ulNodeNum == 0) {
        Report(kSource);
        return;
    }
    tree->ulNodeNum--;
}

void *QOR_AVL_GetFirst(QOR_WALK_S *walker) {
    QOR_AVL_TREE_S *tree = TreeOf(kSource, walker);
    return tree == nullptr ? nullptr : qor::FirstEntry<void>(&tree->stTree, &tree->stTreeInfo);
}

void *QOR_AVL_GetNext(QOR_WALK_S *walker) {
    const QOR_AVL_TREE_S *tree = TreeOf(kSource, walker);
    if (tree == nullptr) {
        return nullptr;
    }
    char *entry = static_cast<char *>(walker->pCurNode);
    if (RefuseNull(kSource, entry)) {
        return nullptr;
    }
    return HOST_AvlNext(reinterpret_cast<HOST_AVL_NODE_S *>(entry + tree->stTreeInfo.usNodeOffset),
                        &tree->stTreeInfo);
}

void *QOR_AVL_FindOrFindNext(QOR_WALK_S *walker) {
    QOR_AVL_TREE_S *tree = TreeOf(kSource, walker);
    if (tree == nullptr || tree->stTree.pstRoot == nullptr) {
        return nullptr;
    }
    return HOST_AvlFindOrFindNext(&tree->stTree, walker->aucKey, 0, &tree->stTreeInfo);
}

QOR_WALK_S *QOR_AVL_CreateWalk(QOR_AVL_TREE_S *tree, uint64_t sid) {
    if (tree == nullptr || sid == 0) {
        Report(kSource);
        return nullptr;
    }
    const QOR_WALK_PARA_S para{.ulSid = sid,
                               .pfnFirst = QOR_AVL_GetFirst,
                               .pfnNext = QOR_AVL_GetNext,
                               .pfnFindOrFindNext = QOR_AVL_FindOrFindNext,
                               .pContainer = tree,
                               .ucKeyLen = tree->ucKeyLen,
                               .ucFlag = 0,
                               .usKeyOffset = tree->stTreeInfo.usKeyOffset,
                               .pfnCopyKey = nullptr,
                               .pfnFreeKey = nullptr};
    return QOR_WALK_Create(&para);
}
