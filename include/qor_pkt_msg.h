/** @file
 * The codecs of single messages. QOR_LDP_PKT_DecodeMsg and QOR_LDP_PKT_EncodeMsg
 * choose among them by message type and are what most callers want.
 *
 * Decoders take the whole message, header included, under the contract of
 * QOR_LDP_PKT_DecodeMsg; called directly they read ulMsgType of the record (which
 * FEC fields are stored, what is released) and do not set it, nor clear usFlags.
 * A length field below 5 is a message without TLVs: QOR_OK, nothing decoded.
 * All of them can return QOR_FAIL for NULL, QOR_LDP_ERR_TLV_LEN for a TLV that runs
 * past the message, QOR_LDP_ERR_UNKNOWN_TLV for an unknown TLV with a clear U bit
 * where the message does not skip those, and the codes of QOR_LDP_PKT_DecodeFecTlv.
 *
 * Encoders return the octets written, header included, and 0 for NULL; the buffer
 * is that of QOR_LDP_PKT_EncodeMsg.
 */
#ifndef QOR_PKT_MSG_H
#define QOR_PKT_MSG_H

#include "qor_pkt_record.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** Label Mapping (RFC 5036 section 3.5.7, RFC 8077 section 6). Also returns
 * QOR_LDP_ERR_NO_PW_ID, QOR_LDP_ERR_NO_LABEL, QOR_LDP_ERR_LABEL_LEN,
 * QOR_LDP_ERR_REQ_ID_LEN, QOR_LDP_ERR_WORD_LEN and the codes of
 * QOR_LDP_PKT_DecodeIntfParaTlv. On failure the record's two buffers are
 * released. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMappingMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                                 const QOR_PKT_CTX_S *ctx);

/** Label Request (RFC 5036 section 3.5.8): accepts the FEC TLV only. Also returns
 * QOR_LDP_ERR_NO_PW_ID. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeRequestMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                                 const QOR_PKT_CTX_S *ctx);

/** Label Withdraw (RFC 5036 section 3.5.10). Also returns QOR_LDP_ERR_LABEL_LEN,
 * QOR_LDP_ERR_STATUS_LEN (Address List), QOR_LDP_ERR_WORD_LEN, QOR_LDP_ERR_NO_PW_ID
 * (FEC 129 with neither a PW ID nor a group ID). */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeWithdrawMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                                  const QOR_PKT_CTX_S *ctx);

/** Label Release (RFC 5036 section 3.5.11): as Label Withdraw, but unknown TLVs are
 * skipped and a bad Address List is QOR_LDP_ERR_REL_ADDR_LEN. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeReleaseMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                                 const QOR_PKT_CTX_S *ctx);

/** Notification (RFC 5036 section 3.5.1, PW status RFC 8077 section 6.3). Sets
 * QOR_LDP_FLAG_ERR_NOTIFY and clears the FEC key when the status is not 0x28. Also
 * returns QOR_LDP_ERR_NOTIFY_LEN, QOR_LDP_ERR_FIRST_TLV, QOR_LDP_ERR_STATUS_LEN,
 * QOR_LDP_ERR_WORD_LEN, QOR_LDP_ERR_NO_PW_STATUS, QOR_LDP_ERR_NO_FEC,
 * QOR_LDP_ERR_NO_PW_ID. Unknown TLVs are skipped. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeNotificationMsg(const uint8_t *msg,
                                                      QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                      const QOR_PKT_CTX_S *ctx);

/** MAC Withdraw, an Address Withdraw message (RFC 4762 section 6.2). signalMsg then
 * points into msg. Unknown TLVs with U and F bit set are kept in stUnknownTlvList.
 * Also returns QOR_ERR_NO_MEM and the codes of the TLV decoders; on failure the
 * list is empty. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMacwithdrawMsg(const uint8_t *msg,
                                                     QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                     const QOR_PKT_CTX_S *ctx);

/** Writes a Label Mapping: FEC, label, then what the record has. At most 4,793
 * octets. The type written is ulMsgType. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeMappingMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                                 QOR_PKT_CTX_S *ctx);

/** Writes a Label Request: FEC and, for FEC 129 without a PW ID, the group ID. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeRequestMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                                 QOR_PKT_CTX_S *ctx);

/** Write a Label Withdraw and a Label Release: FEC, group ID as in a Request, label
 * and address list when the record has them. @{ */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeWithdrawMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                                  QOR_PKT_CTX_S *ctx);
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeReleaseMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                                 QOR_PKT_CTX_S *ctx);
/** @} */

/** Writes an error Notification when rec has QOR_LDP_FLAG_ERR_NOTIFY, else a PW
 * status Notification. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeNotificationMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                                      QOR_PKT_CTX_S *ctx);

/** Writes an error Notification: Status TLV from ulStatus, ulStatusMsgId and
 * usStatusMsgType, and pucNotifyData as a Returned Message TLV. Also 0 when that
 * would exceed 4096 octets. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeErrNotificationMsg(uint8_t *out,
                                                         const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                         QOR_PKT_CTX_S *ctx);

/** Writes a PW status Notification: Status and PW Status TLV unless ulStatus is
 * QOR_LDP_PKT_NONE, FEC, and the group ID for FEC 129 without a PW ID. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodePwNotificationMsg(uint8_t *out,
                                                        const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                        QOR_PKT_CTX_S *ctx);

/** Writes a MAC Withdraw: Address List, FEC, the MAC TLVs by ulMacTlvType, PW tag,
 * path vector, unknown TLVs. Also 0, reported, for a MAC flap or PE-ID type without
 * data. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeMacwithdrawMsg(uint8_t *out,
                                                     const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                     QOR_PKT_CTX_S *ctx);

/** Writes a 14-octet Status TLV (RFC 5036 section 3.4.6); bits 31 and 30 of
 * statusCode are replaced by the E and F bits. Returns the E bit, 0 or 1; 0 for
 * NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeLdpStatusCode(uint8_t *out, uint32_t statusCode,
                                                    uint32_t msgId, uint16_t msgType);

/** Tell whether the Status TLV of a code carries the E bit (codes 7 and 8: 1, else
 * 0) and the F bit (never: 0). @{ */
QOR_EXPORT uint32_t QOR_LDP_PKT_IsNotifySetEBit(uint32_t statusCode);
QOR_EXPORT uint32_t QOR_LDP_PKT_IsNotifySetFBit(uint32_t statusCode);
/** @} */

QOR_END_DECLS

#endif
