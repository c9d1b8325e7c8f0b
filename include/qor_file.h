/** @file
 * File sink: the second sink of the state machine engine's diagnostics. It is
 * inert. It owns a context, checks its arguments and keeps a work mode, but no
 * operation touches a file: what is written to it is dropped.
 *
 * A NULL context is reported by every operation except QOR_FILE_PutFile.
 */
#ifndef QOR_FILE_H
#define QOR_FILE_H

#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

#pragma pack(push, 4)

/** The caller's configuration, copied whole by QOR_FILE_Init. */
typedef struct QOR_FILE_CFG_S {
    uint64_t ulSid; /**< module id of the context's memory */
    uint32_t ulReserved;
    uint64_t ulWorkMode; /**< see QOR_FILE_SetWorkMode */
    uint64_t ulReserved64;
} QOR_FILE_CFG_S;

/** A context: the handle that other modules store. */
typedef struct QOR_FILE_S {
    QOR_FILE_CFG_S stCfg;
    char *pcFileBuf; /**< 512 octets, not used */
    uint64_t aulReserved[4];
} QOR_FILE_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_FILE_CFG_S, 28);
QOR_ASSERT_OFFSET(QOR_FILE_CFG_S, ulWorkMode, 12);
QOR_ASSERT_OFFSET(QOR_FILE_S, pcFileBuf, 28);

/** Creates a context from *cfg. Returns it, released by QOR_FILE_DeInit; NULL
 * for NULL and when memory is short. */
QOR_EXPORT QOR_FILE_S *QOR_FILE_Init(const QOR_FILE_CFG_S *cfg);

/** Closes the file and releases ctx. */
QOR_EXPORT void QOR_FILE_DeInit(QOR_FILE_S *ctx);

/** Looks for a file of an earlier run: there is none. */
QOR_EXPORT void QOR_FILE_GetExistFileName(QOR_FILE_S *ctx);

/** Do nothing. Return QOR_OK; QOR_ERR_ARG for NULL. @{ */
QOR_EXPORT uint32_t QOR_FILE_CloseFile(QOR_FILE_S *ctx);
QOR_EXPORT uint32_t QOR_FILE_CreateNewFile(QOR_FILE_S *ctx);
QOR_EXPORT uint32_t QOR_FILE_OpenFile(QOR_FILE_S *ctx);
/** @} */

/** Ignores name, which may be NULL. */
QOR_EXPORT void QOR_FILE_SetFileName(QOR_FILE_S *ctx, const char *name);

/** Sets ulWorkMode. mode 0 is reported and changes nothing. */
QOR_EXPORT void QOR_FILE_SetWorkMode(QOR_FILE_S *ctx, uint64_t mode);

/** Accepts a format, which may be NULL, and its arguments, and drops them. */
QOR_EXPORT void QOR_FILE_Output(QOR_FILE_S *ctx, const char *fmt, ...) QOR_PRINTF(2, 3);

/** Accepts data and drops it. A NULL data is reported; ctx may be NULL. */
QOR_EXPORT void QOR_FILE_PutFile(QOR_FILE_S *ctx, const void *data);

QOR_END_DECLS

#endif
