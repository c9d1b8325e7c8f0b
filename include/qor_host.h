/** @file
 * The host platform: every service that libqor takes from the system.
 *
 * The library calls these operations and never implements them. The default
 * platform (qor::host) does, see qor_host_posix.h; a router that has its own
 * memory, timers and logs defines the same symbols and links them instead.
 * docs/conventions.md says what the library relies on beyond what stands here.
 *
 * Unless an operation says otherwise, pointers passed by the library are
 * valid and non-NULL. Clock readings of 64 bits travel as a high and a low word,
 * and the result 0 of a clock operation is success. Every formatter prints a NULL
 * string argument as "(null)".
 */
#ifndef QOR_HOST_H
#define QOR_HOST_H

#include <stdarg.h>

#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/* ---- Containers ------------------------------------------------------- */

/* The nodes and heads are embedded in records that are packed to 4 octets,
 * so they are declared with that alignment themselves: a pointer to one is
 * then valid wherever it stands. List nodes also overlay the first two words
 * of records that name the links with their own type. */
#pragma pack(push, 4)

/** One node of an AVL tree, embedded in the user's record. A node that is in
 * no tree has NULL pointers and both heights -1; a leaf has heights 0. */
typedef struct HOST_AVL_NODE_S {
    struct HOST_AVL_NODE_S *pstParent;
    struct HOST_AVL_NODE_S *pstLeft;
    struct HOST_AVL_NODE_S *pstRight;
    int16_t sLeftHeight;  /**< height of the left subtree; -1: not in a tree */
    int16_t sRightHeight; /**< height of the right subtree; -1: not in a tree */
} HOST_AVL_NODE_S;

/** The root of a tree; all NULL is the empty tree. */
typedef struct HOST_AVL_TREE_S {
    HOST_AVL_NODE_S *pstRoot;
    HOST_AVL_NODE_S *pstFirst; /**< smallest key */
    HOST_AVL_NODE_S *pstLast;  /**< greatest key */
} HOST_AVL_TREE_S;

/** Orders two keys: negative, 0 or positive. */
typedef int (*HOST_AVL_CMP_PF)(const void *pKeyA, const void *pKeyB);

/** How the records of a tree are laid out. An "entry" is the start of such a
 * record: node address - usNodeOffset. */
typedef struct HOST_AVL_INFO_S {
    HOST_AVL_CMP_PF pfnCompare;
    uint16_t usKeyOffset;  /**< octets from the entry to its key */
    uint16_t usNodeOffset; /**< octets from the entry to its node */
} HOST_AVL_INFO_S;

/** One node of a doubly linked list; in no list both links are NULL. */
typedef struct __attribute__((__may_alias__)) HOST_DLL_NODE_S {
    struct HOST_DLL_NODE_S *pstNext;
    struct HOST_DLL_NODE_S *pstPrev;
} HOST_DLL_NODE_S;

/** The head of a circular list: an empty list points at its own stNode. The
 * operations use the links and the count, never the third word. */
typedef struct HOST_DLL_S {
    HOST_DLL_NODE_S stNode;
    void *pThird;
    uint32_t ulCount;
} HOST_DLL_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(HOST_AVL_NODE_S, 28);
QOR_ASSERT_SIZE(HOST_AVL_TREE_S, 24);
QOR_ASSERT_SIZE(HOST_AVL_INFO_S, 12);
QOR_ASSERT_SIZE(HOST_DLL_NODE_S, 16);
QOR_ASSERT_SIZE(HOST_DLL_S, 28);
QOR_ASSERT_OFFSET(HOST_DLL_S, ulCount, 24);

/** Compares a list node with a key; 0 is a match. */
typedef int (*HOST_DLL_CMP_PF)(const void *pNode, const void *pKey);

/** Inserts node and returns NULL, or returns the entry that already holds an
 * equal key and inserts nothing. */
void *HOST_AvlInsertOrFind(HOST_AVL_TREE_S *root, HOST_AVL_NODE_S *node,
                           const HOST_AVL_INFO_S *info);

/** Unlinks node and resets it to "in no tree". A node without a parent that is
 * not the root of this tree is left alone. */
void HOST_AvlDelete(HOST_AVL_TREE_S *root, HOST_AVL_NODE_S *node);

/** Returns the entry whose key equals *key, or NULL. */
void *HOST_AvlFind(HOST_AVL_TREE_S *root, const void *key, const HOST_AVL_INFO_S *info);

/** Returns the entry with the smallest key; called with a non-NULL pstRoot only. */
void *HOST_AvlFirst(HOST_AVL_TREE_S *root, const HOST_AVL_INFO_S *info);

/** Returns the entry that follows node in key order, or NULL at the end. */
void *HOST_AvlNext(HOST_AVL_NODE_S *node, const HOST_AVL_INFO_S *info);

/** Returns the entry whose key equals *key or else the next greater one, or
 * NULL. The third argument is always 0. */
void *HOST_AvlFindOrFindNext(HOST_AVL_TREE_S *root, const void *key, uint32_t zero,
                             const HOST_AVL_INFO_S *info);

/** Links node between prev and next, which are neighbours in head's list (or
 * head's own node), and counts it. */
void HOST_DllInsertInMiddle(HOST_DLL_S *head, HOST_DLL_NODE_S *prev, HOST_DLL_NODE_S *node,
                            HOST_DLL_NODE_S *next);

/** Unlinks node, uncounts it and sets its links to NULL. A node with a NULL
 * link is in no list: nothing happens. */
void HOST_DllDelete(HOST_DLL_S *head, HOST_DLL_NODE_S *node);

/** Returns the first node for which compare(node, key) is 0, or NULL. */
void *HOST_DllFind(HOST_DLL_S *head, const void *key, HOST_DLL_CMP_PF compare);

/* ---- Memory and assertion reports ------------------------------------- */

/** The platform's partition table, at least 3 octets. The library passes octet
 * 2 to HOST_MemAlloc. */
extern const uint8_t g_aucHostMemPt[];

/** Allocates size octets for module moduleId, aligned for any object, or
 * returns NULL. Used for module contexts and black boxes; file and line name the
 * call. */
void *HOST_MemAlloc(uint64_t moduleId, uint8_t partition, uint32_t size, const char *file,
                    uint32_t line);

/** Allocates as HOST_MemAlloc does; tag is a small number that differs per
 * allocation site. Used for most records and for what is allocated on behalf of callers. */
void *HOST_MemAllocBySid(uint64_t moduleId, uint32_t size, uint32_t tag);

/** Releases memory of either allocator; NULL is ignored. */
void HOST_MemFree(void *p, const char *file, uint32_t line);

/** Reports a broken precondition and returns. file is a bare module name such
 * as "qor_pkt_ldp_decode"; the third argument is always 0. */
void HOST_Assert(const char *file, uint32_t line, uint32_t zero);

/* ---- Timers ------------------------------------------------------------ */

/** Arm a timer that expires once, or every interval seconds. owner is the
 * handle from the caller's configuration; timerType and param come back with
 * each expiry. The last argument is always 10. Return a handle, 0 on failure. @{ */
uint64_t HOST_TimerCreateOnce(uint64_t owner, uint32_t interval, uint32_t timerType, uint64_t param,
                              uint32_t ten);
uint64_t HOST_TimerCreatePeriod(uint64_t owner, uint32_t interval, uint32_t timerType,
                                uint64_t param, uint32_t ten);
/** @} */

/** Cancels a timer. Returns 0 on success. */
uint32_t HOST_TimerDelete(uint64_t owner, uint64_t handle);

/* ---- Clocks ------------------------------------------------------------- */

/** Broken-down time of day. No member is wider than 4 octets: it stands at
 * 4-octet offsets of packed records. */
typedef struct HOST_SYSTIME_S {
    uint16_t usYear;
    uint8_t ucMonth;     /**< 1 to 12 */
    uint8_t ucDay;       /**< 1 to 31 */
    uint8_t ucHour;      /**< 0 to 23 */
    uint8_t ucMinute;    /**< 0 to 59 */
    uint8_t ucSecond;    /**< 0 to 60 */
    uint8_t ucWeekDay;   /**< 0 = Sunday */
    uint32_t ulMilliSec; /**< 0 to 999 */
} HOST_SYSTIME_S;

QOR_ASSERT_SIZE(HOST_SYSTIME_S, 12);

/** Local time. */
uint32_t HOST_SystimeGet(HOST_SYSTIME_S *t);

/** GMT. */
uint32_t HOST_GmtSystimeGet(HOST_SYSTIME_S *t);

/** Seconds since 1970. */
uint32_t HOST_GetSystemTime(uint32_t *secHigh, uint32_t *secLow);

/** Seconds since the system started. */
uint32_t HOST_GetUptimeSec(uint32_t *secHigh, uint32_t *secLow);

/** A steady second counter and its sub-second part in microseconds. */
uint32_t HOST_SecondNow(uint32_t *sec, uint32_t *subSec);

/** Scheduler ticks. */
uint32_t HOST_TickGet(uint32_t *tickHigh, uint32_t *tickLow);

/** How many scheduler ticks a span of milliseconds is. */
uint32_t HOST_TickMs2Tick(uint32_t msHigh, uint32_t msLow, uint32_t *tickHigh, uint32_t *tickLow);

/** The CPU tick counter. */
void HOST_GetCpuTick(uint32_t *tickHigh, uint32_t *tickLow);

/** The milliseconds that a reading of the CPU tick counter stands for. */
uint32_t HOST_CpuTick2Ms(uint32_t tickHigh, uint32_t tickLow, uint32_t *msHigh, uint32_t *msLow);

/** Compares two times of one kind: 0 equal, 1 one of them is no valid time,
 * 2 t1 is later, 3 t1 is earlier (HOST_SystimeRelSecCal gives the distance).
 * *seconds is scratch. */
uint32_t HOST_SystimeCompare(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2, uint32_t *seconds);

/** *seconds := whole seconds from t1 to t2; non-zero when t2 is earlier. */
uint32_t HOST_SystimeRelSecCal(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                               uint32_t *seconds);

/** Converts seconds since 1970 to broken-down local time. */
uint32_t HOST_SystimeSec2Time(uint32_t sec, HOST_SYSTIME_S *t);

/** Converts broken-down local time to seconds since 1970. */
uint32_t HOST_SystimeSecSince1970(const HOST_SYSTIME_S *t, uint32_t *secHigh, uint32_t *secLow);

/** Divides high:low by divisor, rounding up. Non-zero when divisor is 0. */
uint32_t HOST_Div64By32RoundUp(uint32_t high, uint32_t low, uint32_t divisor, uint32_t *quotHigh,
                               uint32_t *quotLow);

/* ---- Sinks -------------------------------------------------------------- */

/** What the event log gets beside the texts. */
typedef struct HOST_EVENT_REC_S {
    uint32_t ulPeerIp; /**< host order */
} HOST_EVENT_REC_S;

/** The structured event log of decode errors. */
void HOST_EventLog(uint32_t cid, uint32_t eventPara, uint64_t eventId, const char *msgName,
                   const HOST_EVENT_REC_S *rec, const char *reason);

/** The developer log; the platform limits its rate per component id. */
void HOST_DevLogLimit(uint32_t cid, const char *fmt, ...) QOR_PRINTF(2, 3);

/** The system log. severity as in RFC 5424: 6 is informational. */
void HOST_Syslog(uint32_t severity, const char *fmt, ...) QOR_PRINTF(2, 3);

/** The debug channel; arg64 and arg come from the caller's configuration. */
void HOST_Debug(uint32_t cid, uint32_t dbgType, uint64_t arg64, uint32_t arg, const char *fmt, ...)
    QOR_PRINTF(5, 6);

/** The console. */
void HOST_Printf(const char *fmt, ...) QOR_PRINTF(1, 2);

/* ---- Text and octets ----------------------------------------------------- */

/** Format at most room - 1 characters and a NUL into out. Return the characters
 * stored, -1 on a format error or when room is 0 (then nothing is stored). @{ */
int32_t HOST_SnprintfTruncated(char *out, uint32_t room, const char *fmt, ...) QOR_PRINTF(3, 4);
int32_t HOST_VsnprintfTruncated(char *out, uint32_t room, const char *fmt, va_list ap)
    QOR_PRINTF(3, 0);
/** @} */

/** Writes the dotted form of ip (host order); out holds at least 16 characters. */
void HOST_IpAddrToStr(uint32_t ip, char *out);

/** As HOST_IpAddrToStr, cut to size - 1 characters. */
void HOST_IpAddrToStrEx(uint32_t ip, char *out, uint32_t size);

/** Writes the text of an IPv6 address, compressed as inet_ntop(3) does. Group i of
 * the address is bits 16*i to 16*i+15 of the first word for i 0 to 3, and of the
 * second for 4 to 7. Returns 0, non-zero when size is too small. */
uint32_t HOST_Inet6Ntoa(uint64_t groups0to3, uint64_t groups4to7, char *out, uint32_t size);

/** Returns the characters of s in front of its NUL. */
uint32_t HOST_StrLen(const char *s);

/** Returns the last c in s, or NULL. */
char *HOST_StrRChr(const char *s, int c);

/** Compares n octets as unsigned: -1, 0 or 1. */
int32_t HOST_MemCmp(const void *a, const void *b, uint32_t n);

/** Bounded routines in the manner of C11 Annex K. They return 0 on success; on
 * a NULL pointer or too small a destination they return non-zero and, where
 * the destination is usable, leave it zeroed (memcpy_s, memset_s: not
 * written beyond dstMax) or empty (strcpy_s). strcpy_s looks at no more than
 * dstMax octets of src. @{ */
int memcpy_s(void *dst, size_t dstMax, const void *src, size_t n);
int memset_s(void *dst, size_t dstMax, int c, size_t n);
int strcpy_s(char *dst, size_t dstMax, const char *src);
/** @} */

/** Stores at most min(count, dstMax - 1) characters and a NUL and returns the
 * stored length; -1 when text was cut (the cut text is kept), on a format
 * error, and for a NULL or empty dst (nothing is stored). */
int snprintf_s(char *dst, size_t dstMax, size_t count, const char *fmt, ...) QOR_PRINTF(4, 5);

QOR_END_DECLS

#endif
