/** @file
 * Black box: a flight recorder for text. A module context holds any number of
 * boxes, each a ring of characters found by a 32-bit id; a full ring loses its
 * oldest characters one by one.
 */
#ifndef QOR_MAM_H
#define QOR_MAM_H

#include "qor_host.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** No box has that id. */
#define QOR_MAM_ERR_NO_BOX UINT32_C(0x80020002)

/** The largest ring, in octets. */
#define QOR_MAM_BOX_MAX UINT32_C(49152)

/** @name What a box writes in front of each record, in this order
 * @{ */
#define QOR_MAM_MODE_SEQ UINT32_C(0x1)        /**< "<0A>", the box's own counter */
#define QOR_MAM_MODE_GLOBAL_SEQ UINT32_C(0x8) /**< with SEQ: "<000A>", the module's one */
#define QOR_MAM_MODE_DATE UINT32_C(0x4)       /**< "0305-", month and day */
#define QOR_MAM_MODE_TIME UINT32_C(0x2)       /**< "140709042", to the millisecond */
/** @} */

/** The module context. */
typedef struct QOR_MAM_S {
    uint32_t ulGlobalSeq; /**< records of all QOR_MAM_MODE_GLOBAL_SEQ boxes */
    uint64_t ulUserPara;  /**< the second argument of QOR_MAM_Init */
    uint64_t ulSid;       /**< module id of every allocation */
    HOST_AVL_TREE_S stTree;
    HOST_AVL_INFO_S stTreeInfo;
} QOR_MAM_S;

/** One box. The ring is [pucStart, pucEnd); it keeps size - 1 characters, the
 * newest just before pucWrite, without a terminating NUL. */
typedef struct QOR_MAM_BLACKBOX_S {
    HOST_AVL_NODE_S stNode;
    uint32_t ulBoxId;
    uint32_t ulMode; /**< QOR_MAM_MODE_* bits, fixed at creation */
    uint32_t ulBoxSeq;
    uint8_t *pucStart;
    uint8_t *pucEnd;
    uint8_t *pucWrite;
    uint8_t *pucOldest;
} QOR_MAM_BLACKBOX_S;

QOR_ASSERT_SIZE(QOR_MAM_S, 64);
QOR_ASSERT_OFFSET(QOR_MAM_S, stTreeInfo, 48);
QOR_ASSERT_SIZE(QOR_MAM_BLACKBOX_S, 72);
QOR_ASSERT_OFFSET(QOR_MAM_BLACKBOX_S, ulBoxId, 28);
QOR_ASSERT_OFFSET(QOR_MAM_BLACKBOX_S, pucStart, 40);

/** Creates a module context that allocates as module sid. p2 is kept and never
 * read. Returns the context, released by QOR_MAM_DeInit, or NULL when sid is 0,
 * p2 is NULL or memory is short. */
QOR_EXPORT QOR_MAM_S *QOR_MAM_Init(uint64_t sid, const void *p2);

/** Deletes every box and the context. */
QOR_EXPORT void QOR_MAM_DeInit(QOR_MAM_S *mam);

/** Orders two uint32_t: 1, 0 or -1; 0 for NULL. The compare callback of the
 * tree of boxes. */
QOR_EXPORT int32_t QOR_MAM_CompareUlong(const void *a, const void *b);

/** Creates box id with a ring of size octets (1 to QOR_MAM_BOX_MAX) and
 * QOR_MAM_MODE_* bits, or finds it: an existing box keeps its size and mode.
 * Returns the box, owned by mam; NULL for a NULL mam or size 0, which are
 * reported, and for a size that is too large or when memory is short, which are
 * not. */
QOR_EXPORT QOR_MAM_BLACKBOX_S *QOR_MAM_BlackBoxCreate(QOR_MAM_S *mam, uint32_t id, uint32_t size,
                                                      uint32_t mode);

/** Deletes box id. Returns QOR_OK, also when there is none; QOR_ERR_ARG for
 * NULL. */
QOR_EXPORT uint32_t QOR_MAM_BlackBoxDelete(QOR_MAM_S *mam, uint32_t id);

/** Records one formatted text, cut to 999 characters, behind the box's stamps and
 * with CR LF. A caller with a finished line passes it as fmt: a "%" in it is
 * interpreted. Allocates nothing. Returns QOR_OK; QOR_ERR_ARG for NULL;
 * QOR_MAM_ERR_NO_BOX. */
QOR_EXPORT uint32_t QOR_MAM_BlackBoxWriteString(QOR_MAM_S *mam, uint32_t id, const char *fmt, ...)
    QOR_PRINTF(3, 4);

/** Returns the start of box id's ring, owned by the box; NULL when there is no
 * such box. */
QOR_EXPORT uint8_t *QOR_MAM_BlackBoxGetBuffer(QOR_MAM_S *mam, uint32_t id);

/** Returns the octets of box id's ring; 0 when there is no such box. */
QOR_EXPORT uint32_t QOR_MAM_BlackBoxGetSize(QOR_MAM_S *mam, uint32_t id);

QOR_END_DECLS

#endif
