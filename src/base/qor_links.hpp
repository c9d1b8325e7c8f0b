// What users of the host's containers need beside its operations.
#pragma once

#include "qor_host.h"  // IWYU pragma: export

namespace qor {

// A tree node that is in no tree.
inline constexpr HOST_AVL_NODE_S kUnlinked{nullptr, nullptr, nullptr, -1, -1};

inline void InitList(HOST_DLL_S *list) {
    list->stNode.pstNext = &list->stNode;
    list->stNode.pstPrev = &list->stNode;
    list->ulCount = 0;
}

// An empty list is initialised first, so that a zero-filled or moved head will do.
inline void Append(HOST_DLL_S *list, HOST_DLL_NODE_S *node) {
    if (list->ulCount == 0) {
        InitList(list);
    }
    HOST_DllInsertInMiddle(list, list->stNode.pstPrev, node, &list->stNode);
}

// Turns the head of the list, where the links of its ends lead, into NULL.
inline HOST_DLL_NODE_S *UnlessHead(const HOST_DLL_S &list, HOST_DLL_NODE_S *node) {
    return node == &list.stNode ? nullptr : node;
}

inline HOST_DLL_NODE_S *First(const HOST_DLL_S &list) {
    return list.ulCount == 0 ? nullptr : UnlessHead(list, list.stNode.pstNext);
}

// The node behind node, or NULL.
inline HOST_DLL_NODE_S *Next(const HOST_DLL_S &list, const HOST_DLL_NODE_S *node) {
    return UnlessHead(list, node->pstNext);
}

// The record that a list node stands in.
template <class T>
T *EntryAt(HOST_DLL_NODE_S *node, size_t offset) {
    return reinterpret_cast<T *>(reinterpret_cast<char *>(node) - offset);
}

// The entry with the smallest key, or NULL: the host must not be asked about an empty tree.
template <class T>
T *FirstEntry(HOST_AVL_TREE_S *tree, const HOST_AVL_INFO_S *info) {
    return tree->pstRoot == nullptr ? nullptr : static_cast<T *>(HOST_AvlFirst(tree, info));
}

}  // namespace qor
