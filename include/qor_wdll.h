/** @file
 * Walkable list: the host's doubly linked list with navigation from entry to
 * entry, and walkers that it knows. Deleting an entry moves the walkers that
 * stand on it to the next one. Operations cost O(1), QOR_WDLL_FindNode_X O(n),
 * QOR_WDLL_DelNode_X O(number of walkers).
 *
 * An entry is a record of the caller with a HOST_DLL_NODE_S inside. Operations
 * take the node and return the entry, that is, node - usNodeOffset. Entries are
 * linked with HOST_DllInsertInMiddle; the neighbours of the only one are the
 * head's own stNode twice.
 */
#ifndef QOR_WDLL_H
#define QOR_WDLL_H

#include "qor_host.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** ulMagic of a walker that lives, and of one that was released. @{ */
#define QOR_WDLL_WALK_MAGIC UINT32_C(0xDEADEEEE)
#define QOR_WDLL_WALK_DEAD UINT32_C(0xDEADDEAD)
/** @} */

#pragma pack(push, 4)

/** A list, owned and set up by the caller: two empty heads, each all zero or
 * with the links pointing at its own stNode. Its walkers are deleted before it is
 * given up. */
typedef struct QOR_WDLL_S {
    HOST_DLL_S stList;     /**< the entries */
    HOST_DLL_S stWalkList; /**< the walkers */
    uint16_t usNodeOffset; /**< octets from an entry to its node */
} QOR_WDLL_S;

/** A walker; the library's own. */
typedef struct QOR_WDLL_WALK_S {
    HOST_DLL_NODE_S stNode; /**< in stWalkList */
    QOR_WDLL_S *pstList;
    uint32_t ulRestart;        /**< 1: QOR_WDLL_WalkNode_X goes to the first entry */
    HOST_DLL_NODE_S *pCurNode; /**< where it stands, or NULL: not begun, or ended */
    uint32_t ulMagic;
} QOR_WDLL_WALK_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_WDLL_S, 60);
QOR_ASSERT_SIZE(QOR_WDLL_WALK_S, 40);
QOR_ASSERT_OFFSET(QOR_WDLL_WALK_S, pCurNode, 28);

/** Returns the first entry for whose node compare(node, key) is 0, or NULL; NULL
 * for a NULL list or compare. key is handed to compare as it is. */
QOR_EXPORT void *QOR_WDLL_FindNode_X(QOR_WDLL_S *list, const void *key, HOST_DLL_CMP_PF compare);

/** Return the first and the last entry; NULL for an empty list and for NULL. @{ */
QOR_EXPORT void *QOR_WDLL_FirstNode_X(QOR_WDLL_S *list);
QOR_EXPORT void *QOR_WDLL_LastNode_X(QOR_WDLL_S *list);
/** @} */

/** Return the entry behind and in front of the one that node is part of; NULL at
 * the end of the list and for NULL. @{ */
QOR_EXPORT void *QOR_WDLL_NextNode_X(QOR_WDLL_S *list, HOST_DLL_NODE_S *node);
QOR_EXPORT void *QOR_WDLL_PrevNode_X(QOR_WDLL_S *list, HOST_DLL_NODE_S *node);
/** @} */

/** Takes node out of the list. Walkers on it move to the next node, or end when
 * it was the last. A walker without QOR_WDLL_WALK_MAGIC is reported and left
 * alone. The entry remains the caller's. */
QOR_EXPORT void QOR_WDLL_DelNode_X(QOR_WDLL_S *list, HOST_DLL_NODE_S *node);

/** Creates a walker on list with memory of module sid. Returns it, released by
 * QOR_WDLL_DeleteWalk_X; NULL for a NULL list, sid 0 and when memory is
 * short. */
QOR_EXPORT QOR_WDLL_WALK_S *QOR_WDLL_CreateWalk_X(QOR_WDLL_S *list, uint64_t sid);

/** Releases *walker, which may be NULL, and clears it. A walker without
 * QOR_WDLL_WALK_MAGIC is reported and released nevertheless. */
QOR_EXPORT void QOR_WDLL_DeleteWalk_X(QOR_WDLL_WALK_S **walker);

/** Puts walker back to the state after its creation. */
QOR_EXPORT void QOR_WDLL_ResetWalk_X(QOR_WDLL_WALK_S *walker);

/** Returns the entry where walker stands, and does not move; on the first call
 * after creation or reset, goes to the first entry. NULL at the end, for an
 * empty list, for NULL and without QOR_WDLL_WALK_MAGIC. */
QOR_EXPORT void *QOR_WDLL_WalkNode_X(QOR_WDLL_WALK_S *walker);

/** Moves walker to the next entry and returns it; NULL behind the last one, for
 * an empty list, for NULL and without QOR_WDLL_WALK_MAGIC. A walker that has
 * not begun or has ended goes to the first entry. After QOR_WDLL_DelNode_X of
 * the entry where it stood, it already stands on the next one: ask
 * QOR_WDLL_WalkNode_X for that. */
QOR_EXPORT void *QOR_WDLL_WalkNext_X(QOR_WDLL_WALK_S *walker);

QOR_END_DECLS

#endif
