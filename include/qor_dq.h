/** @file
 * Timed key queue: entries that age out. Each instance of a context holds nodes
 * with a key of up to 32 octets, found by key and kept in the order of their
 * time stamps. While it has nodes, a periodic timer of the host runs, for which
 * the timer owner calls QOR_DQ_ProcTimer: the oldest nodes that have reached
 * the instance's age are handed to the user, who drops or renews them, a
 * bounded number per tick.
 *
 * Finding, adding and deleting a node is O(log n). Ages are differences of
 * unsigned 32-bit seconds and so survive a wrap of the clock.
 *
 * pfnTimeOut and pfnDelNode may add, delete, renew and flush nodes and register
 * and unregister instances, their own included; they must not de-initialise the
 * context. One
 * that adds a node for every one deleted, or registers an instance for every one
 * unregistered, keeps a deletion of all from ending.
 */
#ifndef QOR_DQ_H
#define QOR_DQ_H

#include "qor_host.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

#define QOR_DQ_ERR_EXIST UINT32_C(0x80060002) /**< the key is queued already */
#define QOR_DQ_RENEW UINT32_C(0x80060003)     /**< answer of pfnTimeOut: keep the node */

/** The longest key, in octets. */
#define QOR_DQ_KEY_MAX 32

/** Called for a node that timed out or is flushed; key is a copy. QOR_DQ_RENEW
 * keeps a timed-out node, with a new time stamp; any other result drops it. */
typedef uint32_t (*QOR_DQ_TIMEOUT_PF)(const void *key, uint64_t userValue, uint64_t cbHandle);
/** Orders two keys: negative, 0 or positive. Must not read beyond ulKeyLen. */
typedef int (*QOR_DQ_CMP_PF)(const void *keyA, const void *keyB);
/** Called for a node that is unlinked already and released next: it cannot be
 * renewed any more. key and *userValue, a copy, are valid during the call. */
typedef void (*QOR_DQ_DEL_PF)(const void *key, uint64_t *userValue, uint64_t cbHandle);
/** Writes a key as text of less than bufLen characters and a NUL. Returns the
 * characters, or a negative value. Must not change the queue. */
typedef int32_t (*QOR_DQ_FMT_PF)(const void *key, uint32_t keyLen, char *buf, uint32_t bufLen);

/** The caller's configuration. */
typedef struct QOR_DQ_CFG_S {
    uint64_t ulSid;        /**< module id of all memory of the queue */
    uint64_t ulTimerOwner; /**< host's owner of the periodic timers */
    uint64_t ulCbHandle;   /**< handed to pfnTimeOut and pfnDelNode */
} QOR_DQ_CFG_S;

/** A context; the library's own. */
typedef struct QOR_DQ_S {
    QOR_DQ_CFG_S stCfg;
    HOST_AVL_TREE_S stInstTree; /**< instances by timer type */
    HOST_AVL_INFO_S stInstInfo;
} QOR_DQ_S;

#pragma pack(push, 4)

/** What an instance is registered with. */
typedef struct QOR_DQ_REG_INFO_S {
    uint32_t ulKeyLen;       /**< octets of a key, at most QOR_DQ_KEY_MAX; 0: one node at most */
    uint32_t ulTimerType;    /**< names the instance and its timer */
    uint32_t ulCycleTime;    /**< period of the timer in seconds, not 0 */
    uint32_t ulCycleMaxNum;  /**< most nodes handled per tick, not 0 */
    uint32_t ulTimeInterval; /**< age in seconds at which a node times out, not 0 */
    QOR_DQ_TIMEOUT_PF pfnTimeOut;
    QOR_DQ_CMP_PF pfnCmpKey;
    QOR_DQ_DEL_PF pfnDelNode;   /**< or NULL */
    QOR_DQ_FMT_PF pfnFormatKey; /**< NULL: QOR_DQ_FormatKey */
} QOR_DQ_REG_INFO_S;

/** An instance; the library's own. */
typedef struct QOR_DQ_INST_S {
    HOST_AVL_NODE_S stNode; /**< in stInstTree */
    QOR_DQ_S *pstCtx;       /**< NULL once it is being unregistered */
    QOR_DQ_REG_INFO_S stReg;
    HOST_AVL_TREE_S stNodeTree; /**< nodes by key */
    HOST_AVL_INFO_S stNodeInfo;
    HOST_DLL_S stNodeList;  /**< the same nodes, oldest first; ulCount is the number of nodes */
    uint64_t ulTimer;       /**< handle of the periodic timer, or 0 */
    uint32_t ulHandleCount; /**< nodes that QOR_DQ_ProcTimer handled, renewed or dropped */
} QOR_DQ_INST_S;

/** A node; the library's own. */
typedef struct QOR_DQ_NODE_S {
    HOST_AVL_NODE_S stNode;
    HOST_DLL_NODE_S stLink;
    uint64_t ulUserValue;
    uint8_t aucKey[QOR_DQ_KEY_MAX]; /**< the octets behind ulKeyLen are 0 */
    uint32_t ulTimeStamp;           /**< when added or renewed, in seconds of HOST_SecondNow */
    QOR_DQ_INST_S *pstInst;
} QOR_DQ_NODE_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_DQ_S, 64);
QOR_ASSERT_SIZE(QOR_DQ_REG_INFO_S, 52);
QOR_ASSERT_OFFSET(QOR_DQ_REG_INFO_S, pfnTimeOut, 20);
QOR_ASSERT_SIZE(QOR_DQ_INST_S, 164);
QOR_ASSERT_OFFSET(QOR_DQ_INST_S, stReg, 36);
QOR_ASSERT_OFFSET(QOR_DQ_INST_S, ulTimer, 152);
QOR_ASSERT_SIZE(QOR_DQ_NODE_S, 96);
QOR_ASSERT_OFFSET(QOR_DQ_NODE_S, aucKey, 52);

/** Creates a context without instances from *cfg. Returns it, released by
 * QOR_DQ_DeInit; NULL for NULL and when memory is short. */
QOR_EXPORT QOR_DQ_S *QOR_DQ_Init(const QOR_DQ_CFG_S *cfg);

/** Unregisters all instances, one by one until none is left, and releases ctx. */
QOR_EXPORT void QOR_DQ_DeInit(QOR_DQ_S *ctx);

/** Registers an instance with a copy of *reg, or finds the one that has its
 * timer type, which stays as it is. Returns the instance, owned by ctx; NULL for
 * a NULL argument, a member of *reg that is out of its range, and when memory
 * is short. */
QOR_EXPORT QOR_DQ_INST_S *QOR_DQ_RegInst(QOR_DQ_S *ctx, const QOR_DQ_REG_INFO_S *reg);

/** Deletes the nodes of inst as QOR_DQ_DelAllNode does, stops its timer and
 * releases it. From the beginning of the call inst is
 * not found by its timer type, and nothing can be added to it. */
QOR_EXPORT void QOR_DQ_UnRegInst(QOR_DQ_INST_S *inst);

/** Queues a copy of key (ulKeyLen octets) with userValue, stamped with the
 * present second, and starts the timer if none runs. Returns QOR_OK;
 * QOR_ERR_ARG for NULL; QOR_DQ_ERR_EXIST when the key is queued, which does not
 * renew it; QOR_FAIL when memory is short, or when the timer could not be
 * started: then the node is queued, and the next new key tries again. */
QOR_EXPORT uint32_t QOR_DQ_AddNode(QOR_DQ_INST_S *inst, const void *key, uint64_t userValue);

/** Deletes the node of key, if there is one; the last one stops the timer. Calls
 * pfnDelNode, not pfnTimeOut. Returns QOR_OK; QOR_ERR_ARG for NULL. */
QOR_EXPORT uint32_t QOR_DQ_DelNode(QOR_DQ_INST_S *inst, const void *key);

/** Deletes all nodes as QOR_DQ_DelNode does, in key order, until none is
 * left. */
QOR_EXPORT void QOR_DQ_DelAllNode(QOR_DQ_INST_S *inst);

/** Calls pfnTimeOut for up to count nodes, the oldest first and whatever their
 * age, and deletes each of them, whatever the answer. */
QOR_EXPORT void QOR_DQ_FlushNode(QOR_DQ_INST_S *inst, uint32_t count);

/** Tells whether key is queued. Returns 1 or 0; 0 for NULL. */
QOR_EXPORT uint32_t QOR_DQ_IsNodeExist(QOR_DQ_INST_S *inst, const void *key);

/** Returns the node of key, owned by the queue; NULL when there is none and for
 * NULL. */
QOR_EXPORT QOR_DQ_NODE_S *QOR_DQ_GetNode(QOR_DQ_INST_S *inst, const void *key);

/** Sets the age in seconds at which nodes time out, from the next tick on; 0:
 * at once. Returns QOR_OK; QOR_ERR_ARG for NULL. */
QOR_EXPORT uint32_t QOR_DQ_SetTimeOutValue(QOR_DQ_INST_S *inst, uint32_t value);

/** To be called by the timer owner when the timer of timerType fires: handles up
 * to ulCycleMaxNum nodes whose age is ulTimeInterval or more. Returns QOR_OK,
 * also when no instance has that type; QOR_ERR_ARG for NULL. */
QOR_EXPORT uint32_t QOR_DQ_ProcTimer(uint32_t timerType, QOR_DQ_S *ctx);

/** Write an instance with its nodes, oldest first; an instance alone; a node of
 * inst alone; a key as "0A FF " and a line feed. len and bufLen are the octets of
 * the buffer.
 * Return the characters in front of the NUL; a negative value for NULL and,
 * without a report, for a buffer that is too small and as a pfnFormatKey
 * returned it. QOR_DQ_Serialize
 * leaves an empty text then, and refuses len 0; QOR_DQ_FormatKey returns 0 for
 * bufLen 0. @{ */
QOR_EXPORT int32_t QOR_DQ_Serialize(QOR_DQ_INST_S *inst, char *buf, uint32_t len);
QOR_EXPORT int32_t QOR_DQ_FormatInst(QOR_DQ_INST_S *inst, char *buf, uint32_t len);
QOR_EXPORT int32_t QOR_DQ_FormatNode(QOR_DQ_INST_S *inst, QOR_DQ_NODE_S *node, char *buf,
                                     uint32_t len);
QOR_EXPORT int32_t QOR_DQ_FormatKey(const void *key, uint32_t keyLen, char *buf, uint32_t bufLen);
/** @} */

/** Start and stop the periodic timer; no-ops when it runs, or does not. The
 * queue does both by itself. Return QOR_OK; QOR_ERR_ARG for NULL; QOR_FAIL when
 * the host did not create the timer. @{ */
QOR_EXPORT uint32_t QOR_DQ_StartCycleTimer(QOR_DQ_INST_S *inst);
QOR_EXPORT uint32_t QOR_DQ_StopCycleTimer(QOR_DQ_INST_S *inst);
/** @} */

/** Renews node of inst: stamps it with the present second and makes it the
 * newest. A node of another instance, or one that is being released, is
 * refused. */
QOR_EXPORT void QOR_DQ_UpdateTimeStamp(QOR_DQ_NODE_S *node, QOR_DQ_INST_S *inst);

/** Returns the present second of #HOST_SecondNow; 0 when the host cannot tell, and
 * then the ages of all nodes are wrong. */
QOR_EXPORT uint32_t QOR_DQ_GetTimeStamp(void);

/** Orders two uint32_t: 1, 0 or -1; 0 for NULL. The compare callback of the tree
 * of instances. */
QOR_EXPORT int32_t QOR_DQ_CmpInstCallback(const void *a, const void *b);

QOR_END_DECLS

#endif
