/** @file
 * Walker: goes through a container entry by entry and may be paused while the
 * container changes. Between calls it remembers the key of where it stands and
 * goes on at the entry with that key or, when that is gone, the next greater
 * one. It knows the container through callbacks only, which must not release it.
 *
 * Two ways to use one:
 *
 * - In slices: QOR_WALK_WalkNode once, then QOR_WALK_WalkNext until it returns
 *   NULL or the slice is over. The next slice begins with the entry that the
 *   last one ended with, so an entry that was fetched but not processed is not
 *   lost. Entries must not be deleted inside a slice.
 * - In steps: QOR_WALK_WalkNextNode once per entry. Any entry may be deleted
 *   between the calls. At the last entry pCurNode is NULL after the call; a
 *   further call returns that entry again.
 */
#ifndef QOR_WALK_H
#define QOR_WALK_H

#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

typedef struct QOR_WALK_S QOR_WALK_S;

/** Returns the first entry of the container, or NULL. */
typedef void *(*QOR_WALK_FIRST_PF)(QOR_WALK_S *walker);
/** Returns the entry behind walker->pCurNode, or NULL. */
typedef void *(*QOR_WALK_NEXT_PF)(QOR_WALK_S *walker);
/** Returns the entry whose key equals walker->aucKey or else the next greater
 * one, or NULL. aucKey is all zero when the key it held was released. */
typedef void *(*QOR_WALK_FIND_PF)(QOR_WALK_S *walker);
/** Writes a deep copy of *key into walker->aucKey. */
typedef void (*QOR_WALK_COPYKEY_PF)(QOR_WALK_S *walker, const void *key);
/** Releases what QOR_WALK_COPYKEY_PF made; walkerKey is walker->aucKey. The key of
 * a walker that is created with QOR_WALK_FLAG_DEEP_KEY is all zero. */
typedef void (*QOR_WALK_FREEKEY_PF)(void *walkerKey);

/** Bit 0 of ucFlag: aucKey holds a deep copy. */
#define QOR_WALK_FLAG_DEEP_KEY 0x01

/** Octets of aucKey at least. */
#define QOR_WALK_KEY_MIN 8

#pragma pack(push, 4)

/** What a walker is created from. */
typedef struct QOR_WALK_PARA_S {
    uint64_t ulSid; /**< module id of the walker's memory */
    QOR_WALK_FIRST_PF pfnFirst;
    QOR_WALK_NEXT_PF pfnNext;
    QOR_WALK_FIND_PF pfnFindOrFindNext;
    void *pContainer;               /**< for the callbacks */
    uint8_t ucKeyLen;               /**< octets of a key, a multiple of 4 or 0 */
    uint8_t ucFlag;                 /**< QOR_WALK_FLAG_DEEP_KEY, kept by the walker */
    uint16_t usKeyOffset;           /**< octets from an entry to its key */
    QOR_WALK_COPYKEY_PF pfnCopyKey; /**< for keys that hold pointers, or NULL */
    QOR_WALK_FREEKEY_PF pfnFreeKey; /**< its counterpart, or NULL */
} QOR_WALK_PARA_S;

/** A walker. Callers read it and leave the writing to the operations. */
struct QOR_WALK_S {
    QOR_WALK_PARA_S stPara;
    void *pCurNode;                   /**< the entry that QOR_WALK_WalkNext returns next */
    uint32_t ulRestart;               /**< 1: the next (re)positioning starts at the first entry */
    uint8_t aucKey[QOR_WALK_KEY_MIN]; /**< the saved key; really ucKeyLen octets if that is more */
};

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_WALK_PARA_S, 60);
QOR_ASSERT_OFFSET(QOR_WALK_PARA_S, pfnCopyKey, 44);
QOR_ASSERT_OFFSET(QOR_WALK_S, pCurNode, 60);
QOR_ASSERT_OFFSET(QOR_WALK_S, aucKey, 72);

/** Creates a walker in front of the first entry from a copy of *para. The
 * container must outlive it. Returns the walker, released by QOR_WALK_Destroy;
 * NULL for a NULL para, pContainer or one of the first three callbacks, a
 * ucKeyLen that is no multiple of 4, and when memory is short. */
QOR_EXPORT QOR_WALK_S *QOR_WALK_Create(const QOR_WALK_PARA_S *para);

/** Begins a slice: goes to the first entry, or to where the walk was left, and
 * goes on as QOR_WALK_WalkNext. Returns the entry there, or NULL at the end and
 * for NULL. After a finished walk that is the last entry once more. */
QOR_EXPORT void *QOR_WALK_WalkNode(QOR_WALK_S *walker);

/** Returns the current entry, saves its key and moves to the next one; NULL at
 * the end, before any QOR_WALK_WalkNode, and for NULL. */
QOR_EXPORT void *QOR_WALK_WalkNext(QOR_WALK_S *walker);

/** One step: returns the entry at the saved key (or the next greater, or the
 * first one) and saves the key of the entry behind it; NULL when there is none
 * and for NULL. Behind the last entry the saved key is left as it was. */
QOR_EXPORT void *QOR_WALK_WalkNextNode(QOR_WALK_S *walker);

/** Replaces the saved key by a deep copy of entry's key, for keys that hold
 * pointers: to be called for the entry just returned, before a pause. Does
 * nothing without pfnCopyKey, and then entry may be NULL. */
QOR_EXPORT void QOR_WALK_CopyKey(QOR_WALK_S *walker, const void *entry);

/** Goes back in front of the first entry and zeroes the saved key. */
QOR_EXPORT void QOR_WALK_Reset(QOR_WALK_S *walker);

/** Releases *walker, which may be NULL, and clears it. */
QOR_EXPORT void QOR_WALK_Destroy(QOR_WALK_S **walker);

QOR_END_DECLS

#endif
