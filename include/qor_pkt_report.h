/** @file
 * Error reports of the LDP codec: a malformed field as one line of text, to the
 * event log (when the log context has an event id) and to the caller's
 * pfnErrOutput.
 */
#ifndef QOR_PKT_REPORT_H
#define QOR_PKT_REPORT_H

#include "qor_pkt_record.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** Hands "MessageType=%s, PeerIpAddress=%s, ErrorReason=%s" with the message
 * name, the peer and the text at reason (up to its NUL, at most len octets) to
 * pfnErrOutput. A len above 127 is ignored. */
QOR_EXPORT void QOR_LDP_PKT_OutputErrMsg(const QOR_LDP_PKT_LOG_S *log, const char *reason,
                                         uint32_t len);

/** Reports "Unknown FEC Element type 0x%02x". */
QOR_EXPORT void QOR_LDP_PKT_LogUnknownFecType(const QOR_LDP_PKT_LOG_S *log, uint8_t fecType);

/** Reports "Invalid FEC length %u", in octets. */
QOR_EXPORT void QOR_LDP_PKT_LogInvalidFecLen(const QOR_LDP_PKT_LOG_S *log, uint32_t fecLen);

/** Reports
 * "Invalid length %u of Interface Parameter Sub-TLV %u, PW Type %u, PW ID %u". */
QOR_EXPORT void QOR_LDP_PKT_LogInvalidSubTlv(const QOR_LDP_PKT_LOG_S *log, uint32_t subTlvType,
                                             uint32_t subTlvLen);

/** Report "Invalid length of FIELD %u, PW Type %u, PW ID %u", FIELD being what the
 * function's name says; len is the length octet of
 * the sub-TLV. @{ */
QOR_EXPORT void QOR_LDP_PKT_LogInvalidMtuLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
QOR_EXPORT void QOR_LDP_PKT_LogInvalidVccvLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
QOR_EXPORT void QOR_LDP_PKT_LogInvalidFragmentLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
QOR_EXPORT void QOR_LDP_PKT_LogInvalidConcatAtmCellsLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
QOR_EXPORT void QOR_LDP_PKT_LogInvalidCemPayloadLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
QOR_EXPORT void QOR_LDP_PKT_LogInvalidCemOptionLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
QOR_EXPORT void QOR_LDP_PKT_LogInvalidCemBitrateLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
QOR_EXPORT void QOR_LDP_PKT_LogInvalidFlowLabelLen(const QOR_LDP_PKT_LOG_S *log, uint32_t len);
/** @} */

QOR_END_DECLS

#endif
