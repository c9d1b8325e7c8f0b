#include "qor_dbg.h"

#include "base/qor_check.hpp"
#include "base/qor_text.hpp"

namespace {

using qor::FormatChecked;
using qor::RefuseNull;
using qor::Report;
using qor::Where;

constexpr char kSource[] = "qor_dbg";

constexpr uint32_t kContextTag = 61;
constexpr uint32_t kPieceTag = 62;
constexpr uint32_t kMessageTag = 63;
constexpr uint32_t kScratchTag = 64;
constexpr uint32_t kScratchLen = 1024;

constexpr uint32_t kMsgMax = QOR_DBG_MSG_LEN - 1;  // characters that the message buffer holds
constexpr char kCutMark[] = "......";
constexpr uint32_t kCutMarkLen = sizeof kCutMark - 1;

void FreeText(char *text) {
    if (text != nullptr) {
        HOST_MemFree(text, kSource, __LINE__);
    }
}

// Tells whether message index cannot be printed with ctx, and then reports it.
bool RefuseIndex(Where where, const QOR_DBG_S *ctx, uint32_t index) {
    if (ctx != nullptr && index < ctx->stCfg.ulFmtNum) {
        return false;
    }
    Report(where);
    return true;
}

// The format of a message in the table, without its line break; NULL, which is reported, when the
// table has none.
const char *FormatOf(Where where, const QOR_DBG_S *ctx, uint32_t index) {
    const char *const *table = ctx->stCfg.ppcFmtTbl;
    const char *fmt = table == nullptr ? nullptr : table[index];
    return RefuseNull(where, fmt) ? nullptr : qor::SkipLineBreak(fmt);
}

// A length that failed appends took below 0 counts as a full buffer.
bool IsOverfull(const QOR_DBG_S *ctx) {
    return ctx->ulMsgLen > kMsgMax;
}

// Formats behind the text in the buffer, as far as there is room, and returns the characters;
// negative, which is reported, on error. The length of the buffer is the caller's to move.
int32_t FormatAtEnd(Where where, QOR_DBG_S *ctx, const char *fmt, va_list args) {
    const int32_t stored =
        IsOverfull(ctx) ? -1
                        : HOST_VsnprintfTruncated(ctx->pcMsgBuf + ctx->ulMsgLen,
                                                  QOR_DBG_MSG_LEN - ctx->ulMsgLen, fmt, args);
    return FormatChecked(where, stored);
}

// Puts out what was there before and then the formatted text.
void FormatAndOutput(Where where, QOR_DBG_S *ctx, uint32_t ulDbgType, const char *fmt,
                     va_list args) {
    QOR_DBG_OutputBuffer(ctx, ulDbgType);
    const int32_t stored = FormatAtEnd(where, ctx, fmt, args);
    if (stored >= 0) {
        ctx->ulMsgLen += static_cast<uint32_t>(stored);
        QOR_DBG_OutputBuffer(ctx, ulDbgType);
    }
}

// Adds a message to the buffer. again is a second copy of args.
void Write(QOR_DBG_S *ctx, uint32_t ulDbgType, const char *fmt, va_list args, va_list again) {
    if (IsOverfull(ctx)) {
        Report(kSource);
        QOR_DBG_OutputBuffer(ctx, ulDbgType);
        ctx->ulMsgLen = 0;
    }
    int32_t stored = FormatAtEnd(kSource, ctx, fmt, args);
    if (stored < 0) {
        return;
    }
    if (ctx->ulMsgLen + static_cast<uint32_t>(stored) > kMsgMax) {
        Report(kSource);  // a formatter that does not cut; the next message finds the buffer full
    }
    if (ctx->ulMsgLen + static_cast<uint32_t>(stored) == kMsgMax) {
        // A full buffer counts as a message that did not fit: it begins the next one.
        ctx->pcMsgBuf[ctx->ulMsgLen] = '\0';
        QOR_DBG_OutputBuffer(ctx, ulDbgType);
        ctx->ulMsgLen = 0;  // also when the lack of a piece buffer kept the text
        stored = FormatAtEnd(kSource, ctx, fmt, again);
        if (stored < 0) {
            return;
        }
        if (static_cast<uint32_t>(stored) == kMsgMax) {
            ctx->ulMsgLen = kMsgMax - kCutMarkLen;
            ctx->pcMsgBuf[ctx->ulMsgLen] = '\0';
            QOR_DBG_AppendStr2Buffer_H(ctx, kCutMark);
            QOR_DBG_OutputBuffer(ctx, ulDbgType);
            return;
        }
    }
    ctx->ulMsgLen += static_cast<uint32_t>(stored);
}

}  // namespace

QOR_DBG_S *QOR_DBG_Init(const QOR_DBG_CFG_S *cfg, const void *p2) {
    if (RefuseNull(kSource, cfg, p2)) {
        return nullptr;
    }
    const uint64_t sid = cfg->ulSid;
    auto *ctx = qor::AllocZeroed<QOR_DBG_S>(kSource, sid, kContextTag);
    if (RefuseNull(kSource, ctx)) {
        return nullptr;
    }
    const auto alloc = [sid](uint32_t size, uint32_t tag) {
        return qor::AllocZeroed<char>(kSource, sid, tag, size);
    };
    if ((ctx->pcPieceBuf = alloc(QOR_DBG_PIECE_MAX + 1, kPieceTag)) == nullptr ||
        (ctx->pcMsgBuf = alloc(QOR_DBG_MSG_LEN, kMessageTag)) == nullptr ||
        (ctx->pcScratchBuf = alloc(kScratchLen, kScratchTag)) == nullptr) {
        QOR_DBG_DeInit(ctx);
        Report(kSource);
        return nullptr;
    }
    qor::CopyChecked(kSource, &ctx->stCfg, sizeof ctx->stCfg, cfg, sizeof *cfg);
    return ctx;
}

void QOR_DBG_DeInit(QOR_DBG_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return;
    }
    FreeText(ctx->pcMsgBuf);
    FreeText(ctx->pcPieceBuf);
    FreeText(ctx->pcScratchBuf);
    HOST_MemFree(ctx, kSource, __LINE__);
}

void QOR_DBG_Output(QOR_DBG_S *ctx, uint32_t ulDbgType, const char *fmt, ...) {
    if (RefuseNull(kSource, ctx, fmt) || ulDbgType == 0) {
        return;
    }
    va_list args;
    va_start(args, fmt);
    FormatAndOutput(kSource, ctx, ulDbgType, fmt, args);
    va_end(args);
}

void QOR_DBG_WriteAndOutputBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType, uint32_t index, ...) {
    va_list args;
    va_start(args, index);
    QOR_DBG_VaWriteAndOutputBuffer(ctx, ulDbgType, index, args);
    va_end(args);
}

void QOR_DBG_VaWriteAndOutputBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType, uint32_t index,
                                    va_list args) {
    if (RefuseIndex(kSource, ctx, index) || ulDbgType == 0) {
        return;
    }
    if (const char *fmt = FormatOf(kSource, ctx, index)) {
        FormatAndOutput(kSource, ctx, ulDbgType, fmt, args);
    }
}

void QOR_DBG_WriteBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType, uint32_t index, ...) {
    if (RefuseIndex(kSource, ctx, index)) {
        return;
    }
    const char *fmt = FormatOf(kSource, ctx, index);
    if (fmt == nullptr) {
        return;
    }
    va_list args;
    va_list again;
    va_start(args, index);
    va_copy(again, args);
    Write(ctx, ulDbgType, fmt, args, again);
    va_end(again);
    va_end(args);
}

void QOR_DBG_OutputBuffer(QOR_DBG_S *ctx, uint32_t ulDbgType) {
    if (RefuseNull(kSource, ctx) || ctx->ulMsgLen == 0) {
        return;
    }
    if (ctx->ulMsgLen <= QOR_DBG_PIECE_MAX) {
        QOR_DBG_OutputDbgString(ctx, ulDbgType, ctx->pcMsgBuf);
    } else {
        char *piece = ctx->pcPieceBuf;
        if (RefuseNull(kSource, piece)) {
            return;
        }
        const char *rest = ctx->pcMsgBuf;
        bool last = false;
        while (!last) {
            last = QOR_DBG_GetSmpDbgString(rest, piece, &rest) != 0;
            QOR_DBG_OutputDbgString(ctx, ulDbgType, piece);
        }
    }
    ctx->ulMsgLen = 0;
    ctx->pcMsgBuf[0] = '\0';
}

void QOR_DBG_AppendStr2Buffer_H(QOR_DBG_S *ctx, const char *str) {
    if (RefuseNull(kSource, ctx, str)) {
        return;
    }
    if (IsOverfull(ctx)) {
        Report(kSource);
        return;
    }
    const int stored = FormatChecked(
        kSource, snprintf_s(ctx->pcMsgBuf + ctx->ulMsgLen, QOR_DBG_MSG_LEN - ctx->ulMsgLen,
                            kMsgMax - ctx->ulMsgLen, "%s", str));
    ctx->ulMsgLen += static_cast<uint32_t>(stored);  // a failure, -1, is added as well
}

const char *QOR_DBG_StrTrimRN(const char *str) {
    return RefuseNull(kSource, str) ? nullptr : qor::SkipLineBreak(str);
}

void QOR_DBG_OutputDbgString(QOR_DBG_S *ctx, uint32_t ulDbgType, const char *str) {
    if (RefuseNull(kSource, ctx, str)) {
        return;
    }
    const QOR_DBG_CFG_S &cfg = ctx->stCfg;
    if (cfg.ulOutMode == QOR_DBG_OUT_DEBUG) {
        HOST_Debug(cfg.ulCid, ulDbgType, cfg.ulHostDbgArg64, cfg.ulHostDbgArg, "%s", str);
    } else {
        HOST_Printf("\r\n%s-CID=0x%x: %s", cfg.szModName, cfg.ulCid, str);
    }
}

uint32_t QOR_DBG_GetSmpDbgString(const char *src, char *piece, const char **rest) {
    constexpr uint32_t kRoom = QOR_DBG_PIECE_MAX + 1;
    if (src == nullptr || piece == nullptr || rest == nullptr) {
        Report(kSource);
        if (rest != nullptr) {
            *rest = nullptr;
        }
        return 1;
    }
    if (HOST_StrLen(src) <= QOR_DBG_PIECE_MAX) {
        FormatChecked(kSource, snprintf_s(piece, kRoom, kRoom - 1, "%s", src));
        *rest = nullptr;
        return 1;
    }
    FormatChecked(kSource, HOST_SnprintfTruncated(piece, kRoom, "%s", src));
    uint32_t cut = QOR_DBG_PIECE_MAX;
    if (src[cut] != '\r') {
        char *lineEnd = HOST_StrRChr(piece, '\r');
        if (lineEnd != nullptr && lineEnd != piece) {
            *lineEnd = '\0';
            cut = static_cast<uint32_t>(lineEnd - piece);
        }
    }
    *rest = src + cut;
    return 0;
}
