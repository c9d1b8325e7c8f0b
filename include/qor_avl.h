/** @file
 * Counted tree: the host's intrusive AVL tree with its description and a count
 * in one record, and walks over it that survive deletion (see qor_walk.h).
 * All operations are O(log n) or better.
 *
 * An entry is a record of the caller with a HOST_AVL_NODE_S and a key inside.
 * Operations take the node and return the entry. The node of an entry that is
 * in no tree has NULL pointers and both heights -1; set it so before the first
 * QOR_AVL_InsertNode.
 */
#ifndef QOR_AVL_H
#define QOR_AVL_H

#include "qor_host.h" /* IWYU pragma: export */
#include "qor_walk.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

#pragma pack(push, 4)

/** A counted tree, owned and set up by the caller: stTree and ulNodeNum zero,
 * the rest filled. */
typedef struct QOR_AVL_TREE_S {
    HOST_AVL_TREE_S stTree;
    HOST_AVL_INFO_S stTreeInfo; /**< compare callback, offsets of key and node in an entry */
    uint32_t ulNodeNum;         /**< entries in the tree */
    uint8_t ucKeyLen;           /**< octets of a key, for walks: a multiple of 4 */
} QOR_AVL_TREE_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_AVL_TREE_S, 44);
QOR_ASSERT_OFFSET(QOR_AVL_TREE_S, ulNodeNum, 36);

/** Inserts the entry that node is part of. Returns NULL, or the entry that
 * already holds an equal key; then nothing is inserted. NULL too for NULL
 * arguments, which are reported. */
QOR_EXPORT void *QOR_AVL_InsertNode(QOR_AVL_TREE_S *tree, HOST_AVL_NODE_S *node);

/** Takes the entry that node is part of out of the tree and resets the node. A
 * node with a height of -1 is in no tree and left alone; one that was never set
 * up so upsets the count. The entry remains the caller's. */
QOR_EXPORT void QOR_AVL_DeleteNode(QOR_AVL_TREE_S *tree, HOST_AVL_NODE_S *node);

/** The callbacks of a walker whose pContainer is a QOR_AVL_TREE_S: the first
 * entry, the one behind pCurNode, and the one at the saved key or behind it.
 * Return the entry; NULL when there is none, for a NULL walker or pContainer
 * and, in QOR_AVL_GetNext, for a NULL pCurNode. @{ */
QOR_EXPORT void *QOR_AVL_GetFirst(QOR_WALK_S *walker);
QOR_EXPORT void *QOR_AVL_GetNext(QOR_WALK_S *walker);
QOR_EXPORT void *QOR_AVL_FindOrFindNext(QOR_WALK_S *walker);
/** @} */

/** Creates a walker over tree with memory of module sid. Returns the walker,
 * released by QOR_WALK_Destroy; NULL for a NULL tree, sid 0, a ucKeyLen that is
 * no multiple of 4, and when memory is short. */
QOR_EXPORT QOR_WALK_S *QOR_AVL_CreateWalk(QOR_AVL_TREE_S *tree, uint64_t sid);

QOR_END_DECLS

#endif
