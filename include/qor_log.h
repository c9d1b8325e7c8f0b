/** @file
 * Developer log: one context per user module, one stamped line per call, to the
 * module's black box, the console and the host's log. Also the names of the
 * pseudowire encapsulations.
 */
#ifndef QOR_LOG_H
#define QOR_LOG_H

#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

struct QOR_MAM_S;

/** Marks a live context; every operation refuses a context without it. */
#define QOR_LOG_MAGIC UINT32_C(0xABCDDCBA)

/** Octets of the line buffer: a line has at most one character less. */
#define QOR_LOG_LINE_LEN UINT32_C(1024)

/** Entries of g_apcQorEncap. */
#define QOR_LOG_ENCAP_NUM UINT32_C(26)

/** Encapsulation names by PW type (RFC 4446 section 3.2); entry 0 stands for
 * every other type. */
QOR_EXPORT extern const char *const g_apcQorEncap[26];

#pragma pack(push, 4)

/** The caller's configuration, copied whole by QOR_LOG_Init. The texts and the
 * black-box context must outlive the log context. */
typedef struct QOR_LOG_CFG_S {
    uint64_t ulReserved;
    uint64_t ulSid;           /**< module id of the context and its line buffer */
    struct QOR_MAM_S *pstMam; /**< black boxes, or NULL for none */
    uint32_t ulBlackBoxId;    /**< the box in pstMam that gets every line */
    uint32_t ulCid;           /**< component id, printed in every line */
    const char *szTag;        /**< printed in square brackets */
    const char *szModName;    /**< printed behind the tag */
    uint32_t ulConsoleOn;     /**< 1: also print on the console */
    uint32_t ulDevLogOn;      /**< 1: HOST_DevLogLimit, else HOST_Syslog */
    uint32_t ulEventPara;     /**< event-log setting that the LDP codec reads from here */
    uint64_t ulEventId;       /**< likewise; 0: no event log */
} QOR_LOG_CFG_S;

/** A log context: the handle that other modules store. */
typedef struct QOR_LOG_S {
    uint32_t ulMagic;
    QOR_LOG_CFG_S stCfg;
    char *pcLineBuf;
    uint32_t ulSpare;
} QOR_LOG_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_LOG_CFG_S, 68);
QOR_ASSERT_OFFSET(QOR_LOG_CFG_S, ulEventId, 60);
QOR_ASSERT_SIZE(QOR_LOG_S, 84);
QOR_ASSERT_OFFSET(QOR_LOG_S, pcLineBuf, 72);

/** Creates a log context from *cfg. p2 must not be NULL and is not used
 * otherwise. Returns the context, released by QOR_LOG_DeInit; NULL for a NULL
 * argument or when memory is short. */
QOR_EXPORT QOR_LOG_S *QOR_LOG_Init(const QOR_LOG_CFG_S *cfg, const void *p2);

/** Releases ctx. A context without QOR_LOG_MAGIC is reported and left alone. */
QOR_EXPORT void QOR_LOG_DeInit(QOR_LOG_S *ctx);

/** Writes "[tag]module-CID=0x%x: " and the formatted message, without fmt's
 * leading line break, cut to QOR_LOG_LINE_LEN - 1 characters in all. */
QOR_EXPORT void QOR_LOG_DevLog(QOR_LOG_S *ctx, const char *fmt, ...) QOR_PRINTF(2, 3);

/** Returns str behind at most two leading CR or LF characters; NULL for NULL. */
QOR_EXPORT const char *QOR_LOG_StrTrimRN(const char *str);

/** Returns the encapsulation name of PW type type; "unsupport" for an unknown
 * one. The text is the library's. */
QOR_EXPORT const char *QOR_LOG_ChangeEncap2Str(uint32_t type);

/** Accepts a format and its arguments and does nothing: a sink for test builds. */
QOR_EXPORT void QOR_LOG_CompTestLog(const char *fmt, ...) QOR_PRINTF(1, 2);

QOR_END_DECLS

#endif
