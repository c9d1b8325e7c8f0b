/** @file
 * Debug output: messages of a protocol module, free or from a table of formats,
 * gathered in a buffer and put out in pieces that the host's debug channel or
 * console takes, cut at line ends where that is possible.
 *
 * ulDbgType is always the second argument of HOST_Debug. A NULL argument, an index outside the
 * table and a formatter's error are reported, and the message is not printed.
 */
#ifndef QOR_DBG_H
#define QOR_DBG_H

#include <stdarg.h>

#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** Octets of the message buffer: it holds one character less. */
#define QOR_DBG_MSG_LEN UINT32_C(1500)

/** The most characters that are put out at once. */
#define QOR_DBG_PIECE_MAX UINT32_C(512)

/** ulOutMode: HOST_Debug. Any other value: HOST_Printf. */
#define QOR_DBG_OUT_DEBUG UINT32_C(1)

#pragma pack(push, 4)

/** The caller's configuration, copied whole by QOR_DBG_Init. The name, the table
 * and its formats must outlive the context. */
typedef struct QOR_DBG_CFG_S {
    uint64_t ulReserved;
    uint64_t ulSid;               /**< module id of the context's memory */
    const char *szModName;        /**< printed in front of each piece on the console */
    const char *const *ppcFmtTbl; /**< formats of the messages, by index */
    uint32_t ulFmtNum;            /**< formats in the table */
    uint32_t ulCid;               /**< component id */
    uint32_t ulHostDbgArg;        /**< handed to HOST_Debug as it is */
    uint64_t ulHostDbgArg64;      /**< likewise */
    uint32_t ulOutMode;           /**< QOR_DBG_OUT_DEBUG or the console */
} QOR_DBG_CFG_S;

/** A context; the library's own. */
typedef struct QOR_DBG_S {
    QOR_DBG_CFG_S stCfg;
    char *pcPieceBuf; /**< QOR_DBG_PIECE_MAX + 1 octets */
    char *pcMsgBuf;   /**< QOR_DBG_MSG_LEN octets */
    uint32_t ulMsgLen;
    char *pcScratchBuf; /**< 1,024 octets, not used */
} QOR_DBG_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_DBG_CFG_S, 56);
QOR_ASSERT_OFFSET(QOR_DBG_CFG_S, ulHostDbgArg64, 44);
QOR_ASSERT_SIZE(QOR_DBG_S, 84);

/** Creates a context from *cfg. p2 must not be NULL and is not used otherwise.
 * Returns the context, released by QOR_DBG_DeInit; NULL for a NULL argument and
 * when memory is short. */
QOR_EXPORT QOR_DBG_S *QOR_DBG_Init(const QOR_DBG_CFG_S *cfg, const void *p2);

/** Releases ctx. Text that was not put out is lost. */
QOR_EXPORT void QOR_DBG_DeInit(QOR_DBG_S *ctx);

/** Puts out what is in the buffer, then the formatted text, cut to
 * QOR_DBG_MSG_LEN - 1 characters. With ulDbgType 0 does nothing. */
QOR_EXPORT void QOR_DBG_Output(QOR_DBG_S *ctx, uint32_t ulDbgType, const char *fmt, ...)
    QOR_PRINTF(3, 4);

/** As QOR_DBG_Output with the table's format index, behind its line break (see
 * QOR_DBG_StrTrimRN). @{ */
QOR_EXPORT void QOR_DBG_WriteAndOutputBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType, uint32_t index,
                                             ...);
QOR_EXPORT void QOR_DBG_VaWriteAndOutputBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType, uint32_t index,
                                               va_list args);
/** @} */

/** Adds the table's message index to the buffer. When the buffer would be full,
 * puts out what was there before; a message that fills the buffer alone is cut,
 * marked with "......" and put out at once. ulDbgType 0 is a type as any. */
QOR_EXPORT void QOR_DBG_WriteBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType, uint32_t index, ...);

/** Puts out what is in the buffer and empties it. */
QOR_EXPORT void QOR_DBG_OutputBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType);

/** Adds str to the buffer. A text that does not fit is cut and reported, and the
 * length of the buffer falls by one; below 0 it counts as full, and nothing more
 * is added until it is put out. */
QOR_EXPORT void QOR_DBG_AppendStr2Buffer_H(QOR_DBG_S *ctx, const char *str);

/** Returns str behind at most two leading CR or LF characters; NULL for NULL. */
QOR_EXPORT const char *QOR_DBG_StrTrimRN(const char *str);

/** Hands str to HOST_Debug as it is, or to HOST_Printf on a line of its own with
 * module name and component id. */
QOR_EXPORT void QOR_DBG_OutputDbgString(QOR_DBG_S *ctx, uint32_t ulDbgType, const char *str);

/** Copies the next piece of src into piece (QOR_DBG_PIECE_MAX + 1 octets): all
 * of it, or QOR_DBG_PIECE_MAX characters. When those hold a CR behind the first
 * character and none follows them, the piece ends in front of their last CR,
 * which begins the next piece. Sets *rest to what follows. Returns 0 when
 * there is more; 1 for the last piece and for NULL, with *rest NULL. */
QOR_EXPORT uint32_t QOR_DBG_GetSmpDbgString(const char *src, char *piece, const char **rest);

QOR_END_DECLS

#endif
