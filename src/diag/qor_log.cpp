#include "qor_log.h"

#include <cstdarg>

#include "base/qor_check.hpp"
#include "base/qor_text.hpp"
#include "qor_mam.h"

namespace {

using qor::RefuseNull;

constexpr char kSource[] = "qor_log";

constexpr uint32_t kContextTag = 31;
constexpr uint32_t kLineTag = 32;
constexpr uint32_t kSeverityInfo = 6;  // RFC 5424

// The black box takes a finished line as its format and turns "%%" into "%". Any other "%" in the
// line would make it read arguments that are not there, so it is doubled here.
void EscapePercents(const char *line, char *out) {
    for (; *line != '\0'; ++line) {
        *out++ = *line;
        if (*line == '%') {
            *out++ = '%';
            if (line[1] == '%') {
                ++line;
            }
        }
    }
    *out = '\0';
}

void WriteToBlackBox(QOR_MAM_S *mam, uint32_t box, const char *line) {
    char escaped[2 * QOR_LOG_LINE_LEN];
    const char *format = line;
    if (HOST_StrRChr(line, '%') != nullptr) {
        EscapePercents(line, escaped);
        format = escaped;
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    QOR_MAM_BlackBoxWriteString(mam, box, format);
#pragma GCC diagnostic pop
}

}  // namespace

const char *const g_apcQorEncap[QOR_LOG_ENCAP_NUM] = {
    "unsupport",
    "Frame Relay DLCI ( Martini Mode )",
    "ATM AAL5 SDU VCC transport",
    "ATM transparent cell transport",
    "Ethernet Tagged Mode",
    "Ethernet",
    "HDLC",
    "PPP",
    "SONET/SDH Circuit Emulation Service Over MPLS",
    "ATM n-to-one VCC cell transport",
    "ATM n-to-one VPC cell transport",
    "IP Layer2 Transport",
    "ATM one-to-one VCC Cell Mode",
    "ATM one-to-one VPC Cell Mode",
    "ATM AAL5 PDU VCC transport",
    "Frame-Relay Port mode",
    "SONET/SDH Circuit Emulation over Packet",
    "Structure-agnostic E1 over Packet",
    "Structure-agnostic T1 (DS1) over Packet",
    "Structure-agnostic E3 over Packet",
    "Structure-agnostic T3 (DS3) over Packet",
    "CESoPSN basic mode",
    "TDMoIP AAL1 Mode",
    "CESoPSN TDM with CAS",
    "TDMoIP AAL2 Mode",
    "Frame Relay DLCI",
};

QOR_LOG_S *QOR_LOG_Init(const QOR_LOG_CFG_S *cfg, const void *p2) {
    if (RefuseNull(kSource, p2, cfg)) {
        return nullptr;
    }
    auto *ctx =
        static_cast<QOR_LOG_S *>(HOST_MemAllocBySid(cfg->ulSid, sizeof(QOR_LOG_S), kContextTag));
    if (RefuseNull(kSource, ctx)) {
        return nullptr;
    }
    auto *line = static_cast<char *>(HOST_MemAllocBySid(cfg->ulSid, QOR_LOG_LINE_LEN, kLineTag));
    if (line == nullptr) {
        HOST_MemFree(ctx, kSource, __LINE__);
        qor::Report(kSource);
        return nullptr;
    }
    line[0] = '\0';
    ctx->pcLineBuf = line;
    ctx->ulSpare = 0;
    ctx->ulMagic = QOR_LOG_MAGIC;
    qor::CopyChecked(kSource, &ctx->stCfg, sizeof ctx->stCfg, cfg, sizeof *cfg);
    return ctx;
}

void QOR_LOG_DeInit(QOR_LOG_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return;
    }
    if (ctx->ulMagic != QOR_LOG_MAGIC) {
        qor::Report(kSource);
        return;
    }
    HOST_MemFree(ctx->pcLineBuf, kSource, __LINE__);
    ctx->pcLineBuf = nullptr;
    HOST_MemFree(ctx, kSource, __LINE__);
}

void QOR_LOG_DevLog(QOR_LOG_S *ctx, const char *fmt, ...) {
    if (RefuseNull(kSource, ctx, fmt)) {
        return;
    }
    if (ctx->ulMagic != QOR_LOG_MAGIC) {
        qor::Report(kSource);
        return;
    }
    char *const line = ctx->pcLineBuf;
    const QOR_LOG_CFG_S &cfg = ctx->stCfg;
    int prefix = qor::FormatChecked(
        kSource, snprintf_s(line, QOR_LOG_LINE_LEN, QOR_LOG_LINE_LEN - 1,
                            "[%s]%s-CID=0x%x: ", cfg.szTag, cfg.szModName, cfg.ulCid));
    if (prefix < 0) {
        prefix = static_cast<int>(HOST_StrLen(line));
    }
    va_list args;
    va_start(args, fmt);
    const int32_t stored =
        HOST_VsnprintfTruncated(line + prefix, QOR_LOG_LINE_LEN - static_cast<uint32_t>(prefix),
                                QOR_LOG_StrTrimRN(fmt), args);
    va_end(args);
    if (qor::FormatChecked(kSource, stored) < 0) {
        return;
    }
    // The black box first: it keeps the lines that the host's rate limit suppresses.
    if (cfg.pstMam != nullptr) {
        WriteToBlackBox(cfg.pstMam, cfg.ulBlackBoxId, line);
    }
    if (cfg.ulConsoleOn == 1) {
        HOST_Printf("\r\n%s", line);
    }
    if (cfg.ulDevLogOn == 1) {
        HOST_DevLogLimit(cfg.ulCid, "%s", line);
    } else {
        HOST_Syslog(kSeverityInfo, "%s", line);
    }
}

const char *QOR_LOG_StrTrimRN(const char *str) {
    if (RefuseNull(kSource, str)) {
        return nullptr;
    }
    return qor::SkipLineBreak(str);
}

const char *QOR_LOG_ChangeEncap2Str(uint32_t type) {
    return g_apcQorEncap[type < QOR_LOG_ENCAP_NUM ? type : 0];
}

void QOR_LOG_CompTestLog(const char *, ...) {}
