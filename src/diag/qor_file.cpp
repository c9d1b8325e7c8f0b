#include "qor_file.h"

#include "base/qor_check.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;

constexpr char kSource[] = "qor_file";

constexpr uint32_t kContextTag = 51;
constexpr uint32_t kBufferTag = 52;
constexpr uint32_t kBufferLen = 512;

// What every operation on a file comes to.
uint32_t Succeed(qor::Where where, const QOR_FILE_S *ctx) {
    return RefuseNull(where, ctx) ? QOR_ERR_ARG : QOR_OK;
}

}  // namespace

QOR_FILE_S *QOR_FILE_Init(const QOR_FILE_CFG_S *cfg) {
    if (RefuseNull(kSource, cfg)) {
        return nullptr;
    }
    auto *ctx = qor::AllocZeroed<QOR_FILE_S>(kSource, cfg->ulSid, kContextTag);
    if (RefuseNull(kSource, ctx)) {
        return nullptr;
    }
    ctx->pcFileBuf = qor::AllocZeroed<char>(kSource, cfg->ulSid, kBufferTag, kBufferLen);
    if (ctx->pcFileBuf == nullptr) {
        HOST_MemFree(ctx, kSource, __LINE__);
        Report(kSource);
        return nullptr;
    }
    qor::CopyChecked(kSource, &ctx->stCfg, sizeof ctx->stCfg, cfg, sizeof *cfg);
    QOR_FILE_GetExistFileName(ctx);
    return ctx;
}

void QOR_FILE_DeInit(QOR_FILE_S *ctx) {
    if (QOR_FILE_CloseFile(ctx) != QOR_OK) {
        return;
    }
    HOST_MemFree(ctx->pcFileBuf, kSource, __LINE__);
    ctx->pcFileBuf = nullptr;
    HOST_MemFree(ctx, kSource, __LINE__);
}

void QOR_FILE_GetExistFileName(QOR_FILE_S *ctx) {
    RefuseNull(kSource, ctx);
}

uint32_t QOR_FILE_CloseFile(QOR_FILE_S *ctx) {
    return Succeed(kSource, ctx);
}

uint32_t QOR_FILE_CreateNewFile(QOR_FILE_S *ctx) {
    return Succeed(kSource, ctx);
}

uint32_t QOR_FILE_OpenFile(QOR_FILE_S *ctx) {
    return Succeed(kSource, ctx);
}

void QOR_FILE_SetFileName(QOR_FILE_S *ctx, const char * /*name*/) {
    RefuseNull(kSource, ctx);
}

void QOR_FILE_SetWorkMode(QOR_FILE_S *ctx, uint64_t mode) {
    if (ctx == nullptr || mode == 0) {
        Report(kSource);
        return;
    }
    ctx->stCfg.ulWorkMode = mode;
}

void QOR_FILE_Output(QOR_FILE_S *ctx, const char * /*fmt*/, ...) {
    RefuseNull(kSource, ctx);
}

void QOR_FILE_PutFile(QOR_FILE_S * /*ctx*/, const void *data) {
    RefuseNull(kSource, data);
}
