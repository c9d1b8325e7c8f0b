/** @file
 * FEC elements and interface parameters of pseudowires (RFC 8077 sections 6.1,
 * 6.2, 6.4; RFC 4446 section 3.3).
 *
 * Decoders take the octets of one element or list and the number of octets that
 * are left of the TLV; they never read behind those. Encoders take no buffer
 * length: each says how many octets it may write.
 */
#ifndef QOR_PKT_FEC_H
#define QOR_PKT_FEC_H

#include "qor_pkt_record.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/* ---- FEC TLV and its elements -------------------------------------------- */

/** Decodes the value of a FEC TLV, length octets at value, into signalMsg by its
 * ulMsgType: ucNoPwId and stFecKey always, C bit, group ID and interface
 * parameters as the message type has them. Of several PW FEC elements the last
 * one counts. On failure the FEC fields of signalMsg are untouched.
 * Returns QOR_OK; QOR_FAIL for NULL; QOR_LDP_ERR_UNKNOWN_FEC for an empty list,
 * an unknown element type or a list without a PW FEC element; else the code of
 * the element's decoder. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeFecTlv(const uint8_t *value, uint32_t length,
                                             QOR_LDP_PKT_LOG_S *logCtx,
                                             QOR_LDP_SIGNAL_MSG_S *signalMsg);

/** Wildcard element (RFC 5036 section 3.4.1): *outLen := 1. Returns QOR_OK;
 * QOR_FAIL for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeWcFec(const uint8_t *element, uint32_t remaining,
                                            QOR_LDP_PKT_LOG_S *logCtx, uint32_t *outLen);

/** Address prefix element (RFC 5036 section 3.4.1): *outLen := its octets. The
 * prefix length is not checked against the family. Returns QOR_OK; QOR_FAIL for
 * NULL; QOR_LDP_ERR_ADDR_FEC when cut; QOR_LDP_ERR_FAMILY. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeAddrFec(const uint8_t *element, uint32_t remaining,
                                              QOR_LDP_PKT_LOG_S *logCtx, uint32_t *outLen);

/** Host address element: *outLen := address octets + 3. A FEC TLV's elements of
 * this type are walked as prefixes and do not come here. Results as for the
 * prefix; QOR_LDP_ERR_ADDR_FEC also for an address length that is not the
 * family's. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeHostFec(const uint8_t *element, uint32_t remaining,
                                              QOR_LDP_PKT_LOG_S *logCtx, uint32_t *outLen);

/** PWid element (FEC 128, RFC 8077 section 6.1) into fecInfo; *outLen := its octets.
 * Allocates a description that fecInfo owns (QOR_LDP_PKT_ClearPwIdFecInfo).
 * Returns QOR_OK; QOR_FAIL for NULL or when a description could not be
 * allocated; QOR_LDP_ERR_PW_FEC when cut or with a PW info length of 1 to 3;
 * QOR_LDP_ERR_SUB_TLV for a bad interface parameter. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeVcFec128(const uint8_t *element, uint32_t remaining,
                                               QOR_LDP_PKT_LOG_S *logCtx,
                                               QOR_LDP_PWID_FEC_INFO_S *fecInfo, uint32_t *outLen);

/** Generalized PWid element (FEC 129, RFC 8077 section 6.2) into fecInfo; *outLen :=
 * PW info length + 4, at most remaining. Returns QOR_OK; QOR_FAIL for NULL;
 * QOR_LDP_ERR_AGI_TYPE, _AGI_LEN, _AGI_SUBTYPE, _AII_TYPE, _AII_LEN; when cut
 * QOR_LDP_ERR_PW_FEC, _SUB_TLV, _AGI_LEN or _AII_LEN by the place of the cut. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeVcFec129(const uint8_t *element, uint32_t remaining,
                                               QOR_LDP_PKT_LOG_S *logCtx,
                                               QOR_LDP_PWID_FEC_INFO_S *fecInfo, uint32_t *outLen);

/** Writes a PWid element with the interface parameters of fecInfo, twice when
 * signalMsg has QOR_LDP_FLAG_REPEAT_FEC: at most 526 octets. Without a PW ID
 * it writes 8. Returns the octets written; 0 for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodePWidFecWithIntfPara(uint8_t *out,
                                                          const QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                                          const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                          const QOR_PKT_CTX_S *logCtx);

/** Writes a PWid element without interface parameters. Returns the octets written,
 * 12 or without a PW ID 8; 0 for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodePWidFecWithoutIntfPara(uint8_t *out,
                                                             const QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                                             const QOR_PKT_CTX_S *logCtx);

/** Writes a Generalized PWid element; at most 259 octets. The PW info length counts
 * the identifier lengths of fecInfo; a value is written only when its type is 1,
 * counted octets without a value are zero. Returns PW info length + 4; 0 for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeGenPwId(uint8_t *out, const QOR_LDP_PWID_FEC_INFO_S *fecInfo);

/** Zeroes fecInfo and sets its ucRtpMode to QOR_LDP_RTP_NOT_GIVEN; frees nothing. */
QOR_EXPORT void QOR_LDP_PKT_InitPwIdFecInfo(QOR_LDP_PWID_FEC_INFO_S *fecInfo);

/** Releases the description of fecInfo and zeroes it whole. */
QOR_EXPORT void QOR_LDP_PKT_ClearPwIdFecInfo(QOR_LDP_PWID_FEC_INFO_S *fecInfo);

/** Makes key a FEC 128 key. peerAddr may lie in key. Returns QOR_OK; QOR_FAIL for
 * NULL; the result of the copy when that failed. */
QOR_EXPORT uint32_t QOR_LDP_PKT_SetPwFec128(QOR_LDP_PW_FEC_KEY_S *key,
                                            const QOR_IP_ADDR_S *peerAddr, uint8_t pwType,
                                            uint32_t pwId);

/** Takes a FEC 128 key apart. Returns QOR_OK; QOR_FAIL for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_GetPwFec128(const QOR_LDP_PW_FEC_KEY_S *key,
                                            QOR_IP_ADDR_S *outPeerAddr, uint8_t *outPwType,
                                            uint32_t *outPwId);

/* ---- Interface parameters ------------------------------------------------ */

/** Decodes a list of interface parameter sub-TLVs, length octets, into intfPara.
 * A later sub-TLV of a type replaces an earlier one; unknown types are logged and
 * skipped. Returns QOR_OK; QOR_FAIL for NULL or when the description could not be
 * allocated; QOR_LDP_ERR_SUB_TLV (what was read before stays in intfPara). */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeIntfParaSubTlv(const uint8_t *subTlvs, uint32_t length,
                                                     QOR_LDP_INTF_PARA_S *intfPara,
                                                     QOR_LDP_PKT_LOG_S *logCtx);

/** Decodes one interface description sub-TLV, whose length octet must be 2 or more
 * and be covered by the caller's octets; text beyond QOR_LDP_PKT_DESC_MAX is cut.
 * A length of 2 keeps the description already held. Returns QOR_OK; QOR_FAIL for
 * NULL or when memory is short. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeIntfDescSubTlv(const uint8_t *subTlv,
                                                     QOR_LDP_INTF_PARA_S *intfPara,
                                                     QOR_LDP_PKT_LOG_S *logCtx);

/** Stores textLength octets behind the two header octets at subTlv as the
 * description of intfPara; a description already held is not released. Returns
 * QOR_OK; QOR_FAIL for NULL or when memory is short. */
QOR_EXPORT uint32_t QOR_LDP_PKT_SetIntfDesc(QOR_LDP_INTF_PARA_S *intfPara,
                                            QOR_LDP_PKT_LOG_S *logCtx, const uint8_t *subTlv,
                                            uint32_t textLength);

/** Decodes the value of an Interface Parameters TLV (0x096B), length octets, by the
 * key type in signalMsg: FEC 129 into the fields (no CEP options, no description),
 * FEC 128 as a raw copy that signalMsg owns. Returns QOR_OK; QOR_FAIL for NULL;
 * QOR_ERR_NO_MEM; QOR_LDP_ERR_SUB_TLV. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeIntfParaTlv(const uint8_t *value, uint32_t length,
                                                  QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                  QOR_LDP_PKT_LOG_S *logCtx,
                                                  const QOR_PKT_CTX_S *moduleCtx);

/** Moves the description of fecInfo, if any, to signalMsg. When memory is short
 * signalMsg is left without one and fecInfo keeps its own. */
QOR_EXPORT void QOR_LDP_PKT_FillMappingIntfDesc(QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                                QOR_LDP_PKT_LOG_S *logCtx,
                                                QOR_LDP_SIGNAL_MSG_S *signalMsg);

/** Releases the description of fecInfo and clears the pointer. */
QOR_EXPORT void QOR_LDP_PKT_FreeIntfDesc(QOR_LDP_PWID_FEC_INFO_S *fecInfo);

/** Writes the sub-TLVs of every field that is given: at most 251 octets, a long
 * description is cut. Returns the octets written; 0 for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeIntfParaSubTlv(uint8_t *out,
                                                     const QOR_LDP_INTF_PARA_S *intfPara,
                                                     const QOR_PKT_CTX_S *logCtx);

/** Appends the description sub-TLV at *cursor, its terminating NUL included, and
 * advances *cursor and *runningLength: at most 255 octets. Writes nothing without
 * a description. */
QOR_EXPORT void QOR_LDP_PKT_EncodeIntfDescSubTlv(uint8_t **cursor, uint32_t *runningLength,
                                                 const QOR_LDP_INTF_PARA_S *intfPara);

/** Writes the Interface Parameters TLV (0x096B) from the fields of signalMsg, no
 * CEP options and no description, at *cursor and advances it: at most 42 octets.
 * Returns QOR_OK; QOR_ERR_ARG for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeIntfParaTlv(uint8_t **cursor,
                                                  const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                  const QOR_PKT_CTX_S *logCtx);

/** Gives fecInfo a copy of signalMsg's description, if that is not empty; release
 * it with QOR_LDP_PKT_FreeIntfDesc. One that it holds is overwritten, not released.
 * When memory is short fecInfo has none. */
QOR_EXPORT void QOR_LDP_PKT_EncodeMappingMsgIntfDesc(QOR_LDP_PWID_FEC_INFO_S *fecInfo,
                                                     const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                     const QOR_PKT_CTX_S *logCtx);

QOR_END_DECLS

#endif
