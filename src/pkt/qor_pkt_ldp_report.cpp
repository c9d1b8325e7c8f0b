// Error reports: one reason as text, to the event log and to the caller.
#include <cstring>

#include "pkt/qor_pkt_ldp.hpp"

namespace {

using qor::FormatChecked;
using qor::RefuseNull;
using qor::pkt::kDecode;

constexpr size_t kReasonLen = 128;  // NUL included
constexpr size_t kTextLen = 200;

void WriteEventLog(const QOR_LDP_PKT_LOG_S *log, const char *reason) {
    const QOR_LOG_S *handle = qor::pkt::LogOf(log->pstCtx);
    if (handle == nullptr || handle->ulMagic != QOR_LOG_MAGIC || handle->stCfg.ulEventId == 0) {
        return;
    }
    const HOST_EVENT_REC_S record{.ulPeerIp = log->ulPeerIp};
    HOST_EventLog(handle->stCfg.ulCid, handle->stCfg.ulEventPara, handle->stCfg.ulEventId,
                  log->szMsgName, &record, reason);
}

template <class... Args>
void ReportReason(qor::Where where, const QOR_LDP_PKT_LOG_S *log, const char *fmt, Args... args) {
    if (RefuseNull(where, log)) {
        return;
    }
    char reason[kReasonLen] = "";
    FormatChecked(where, snprintf_s(reason, kReasonLen, kReasonLen - 1, fmt, args...));
    WriteEventLog(log, reason);
    QOR_LDP_PKT_OutputErrMsg(log, reason, kReasonLen - 1);
}

void ReportBadLength(qor::Where where, const QOR_LDP_PKT_LOG_S *log, const char *field,
                     uint32_t len) {
    if (RefuseNull(where, log)) {
        return;
    }
    ReportReason(where, log, "Invalid length of %s %u, PW Type %u, PW ID %u", field, len,
                 log->ulPwType, log->ulPwId);
}

}  // namespace

void QOR_LDP_PKT_OutputErrMsg(const QOR_LDP_PKT_LOG_S *log, const char *reason, uint32_t len) {
    if (RefuseNull(kDecode, log, reason) || len >= kReasonLen) {
        return;
    }
    // Callers may pass a length beyond the end of their text.
    char copy[kReasonLen] = "";
    qor::CopyChecked(kDecode, copy, sizeof copy, reason, strnlen(reason, len));
    if (log->pstCtx == nullptr || log->pstCtx->pfnErrOutput == nullptr) {
        return;
    }
    char peer[16];
    HOST_IpAddrToStr(log->ulPeerIp, peer);
    char text[kTextLen] = "";
    FormatChecked(kDecode, snprintf_s(text, kTextLen, kTextLen - 1,
                                      "MessageType=%s, PeerIpAddress=%s, ErrorReason=%s",
                                      log->szMsgName, peer, copy));
    log->pstCtx->pfnErrOutput(text, log->pstCtx->ulErrOutputArg);
}

void QOR_LDP_PKT_LogUnknownFecType(const QOR_LDP_PKT_LOG_S *log, uint8_t fecType) {
    ReportReason(kDecode, log, "Unknown FEC Element type 0x%02x", unsigned{fecType});
}

void QOR_LDP_PKT_LogInvalidFecLen(const QOR_LDP_PKT_LOG_S *log, uint32_t fecLen) {
    ReportReason(kDecode, log, "Invalid FEC length %u", fecLen);
}

void QOR_LDP_PKT_LogInvalidSubTlv(const QOR_LDP_PKT_LOG_S *log, uint32_t subTlvType,
                                  uint32_t subTlvLen) {
    if (RefuseNull(kDecode, log)) {
        return;
    }
    ReportReason(kDecode, log,
                 "Invalid length %u of Interface Parameter Sub-TLV %u, PW Type %u, PW ID %u",
                 subTlvLen, subTlvType, log->ulPwType, log->ulPwId);
}

void QOR_LDP_PKT_LogInvalidMtuLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "MTU", len);
}

void QOR_LDP_PKT_LogInvalidVccvLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "VCCV", len);
}

void QOR_LDP_PKT_LogInvalidFragmentLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "fragment", len);
}

void QOR_LDP_PKT_LogInvalidConcatAtmCellsLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "Concat ATM Cells", len);
}

void QOR_LDP_PKT_LogInvalidCemPayloadLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "CEM Payload", len);
}

void QOR_LDP_PKT_LogInvalidCemOptionLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "CEM Option", len);
}

void QOR_LDP_PKT_LogInvalidCemBitrateLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "CEM BitRate", len);
}

void QOR_LDP_PKT_LogInvalidFlowLabelLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len) {
    ReportBadLength(kDecode, log, "FlowLabel", len);
}
