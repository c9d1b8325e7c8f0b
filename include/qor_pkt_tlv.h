/** @file
 * The TLVs of MAC withdrawal (RFC 4762, RFC 7361 for flush; vendor TLVs 0x3E00 to
 * 0x3E0A), the PW Group ID and the switching-point TLV.
 *
 * TLV decoders take the value (tlvHeader->usLength octets at value), the header in
 * host order and the record. Records keep pointers into the message. All return
 * QOR_OK, QOR_FAIL for NULL, or the codes named.
 *
 * TLV encoders write at *cursor and advance it. They write nothing when the data
 * is longer than 4096 octets, and treat data without a pointer as empty. They
 * return QOR_OK, or QOR_ERR_ARG for NULL.
 */
#ifndef QOR_PKT_TLV_H
#define QOR_PKT_TLV_H

#include "qor_pkt_record.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** Types of TLVs, without U and F bit. @{ */
#define QOR_LDP_TLV_MAC_LIST UINT32_C(0x0404)
#define QOR_LDP_TLV_MAC_PE_ID UINT32_C(0x0405)
#define QOR_LDP_TLV_MAC_FLUSH UINT32_C(0x0406)
#define QOR_LDP_TLV_VENDOR_FLUSH UINT32_C(0x3E00)
#define QOR_LDP_TLV_MAC_FLAP UINT32_C(0x3E08)
#define QOR_LDP_TLV_MAC_FLAP_FLAGS UINT32_C(0x3E09)
#define QOR_LDP_TLV_PW_TAG UINT32_C(0x3E0A)
/** @} */

/** The most data a MAC, flap or tag TLV may hold, in octets. */
#define QOR_LDP_PKT_TLV_DATA_MAX UINT32_C(4096)

/* ---- Decoders ------------------------------------------------------------ */

/** MAC list 0x0404 (a multiple of 6 octets, else QOR_LDP_ERR_MAC_LIST_LEN) and PE-ID
 * list 0x0405; more than 4096 octets: QOR_LDP_ERR_MAC_LEN. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMacTlv(const uint8_t *value,
                                             const QOR_LDP_TLV_HDR_S *tlvHeader,
                                             QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                             const QOR_PKT_CTX_S *ctx);

/** MAC flap 0x3E08, and 0x3E09 with a flags octet: QOR_LDP_ERR_MAC_LEN,
 * QOR_LDP_ERR_OUI. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMacFlapTlv(const uint8_t *value,
                                                 const QOR_LDP_TLV_HDR_S *tlvHeader,
                                                 QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                 const QOR_PKT_CTX_S *ctx);

/** MAC flush 0x0406, flags octet and data: QOR_LDP_ERR_MAC_LEN. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMacFlushTlv(const uint8_t *value,
                                                  const QOR_LDP_TLV_HDR_S *tlvHeader,
                                                  QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                  const QOR_PKT_CTX_S *ctx);

/** Vendor flush 0x3E00: QOR_LDP_ERR_MAC_LEN, QOR_LDP_ERR_OUI. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMacVendorFlushTlv(const uint8_t *value,
                                                        const QOR_LDP_TLV_HDR_S *tlvHeader,
                                                        QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                        const QOR_PKT_CTX_S *ctx);

/** PW tag 0x3E0A: QOR_LDP_ERR_MAC_LEN, QOR_LDP_ERR_OUI. The first two words of a
 * non-empty tag are brought to host order inside the message, so its octets must be
 * writable and decoding it twice brings them back. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodePwTagTlv(const uint8_t *value,
                                               const QOR_LDP_TLV_HDR_S *tlvHeader,
                                               QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                               const QOR_PKT_CTX_S *ctx);

/** Path Vector 0x0104 (RFC 5036 section 3.4.5), kept as it is. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodePathVectorTlv(const uint8_t *value,
                                                    const QOR_LDP_TLV_HDR_S *tlvHeader,
                                                    QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                    const QOR_PKT_CTX_S *ctx);

/** Address List 0x0101 (RFC 5036 section 3.4.3), checked and not kept:
 * QOR_LDP_ERR_ADDR_LIST, QOR_LDP_ERR_FAMILY. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeAddrListTlv(const uint8_t *value,
                                                  const QOR_LDP_TLV_HDR_S *tlvHeader,
                                                  const QOR_PKT_CTX_S *ctx);

/** Appends an unknown TLV to list; value must be preceded by its 4 header octets.
 * The node is allocated, the TLV stays where it is. QOR_ERR_NO_MEM. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeUnknownTlv(const uint8_t *value,
                                                 const QOR_LDP_TLV_HDR_S *tlvHeader,
                                                 HOST_DLL_S *list, const QOR_PKT_CTX_S *ctx);

/** Decodes the value of a switching-point TLV (0x096D), length octets, into
 * outEntries, an array of QOR_LDP_PKT_SPE_MAX; *outCount := the number of peer
 * sub-TLVs modulo 256, which may exceed the array; 0 on failure. Returns QOR_OK;
 * QOR_FAIL for NULL; QOR_LDP_ERR_SUB_TLV, QOR_LDP_ERR_SPE_PEER_LEN,
 * QOR_LDP_ERR_SPE_PWID_LEN. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeSPE(const uint8_t *value, uint32_t length,
                                          QOR_LDP_PKT_LOG_S *logCtx, uint8_t *outCount,
                                          QOR_LDP_SPE_S *outEntries);

/* ---- Encoders ------------------------------------------------------------ */

/** Address List of one IPv4 address whose four octets are left as they are: 10
 * octets. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeAddrListTlv(uint8_t **cursor);

/** MAC PE-ID, MAC flap, MAC flush and vendor flush TLV from ulMacTlvType, ucMacFlags
 * and the MAC data: at most 4,105 octets. @{ */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeMacPeIdTlv(uint8_t **cursor,
                                                 const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                 QOR_PKT_CTX_S *ctx);
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeMacFlapTlv(uint8_t **cursor,
                                                 const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                 QOR_PKT_CTX_S *ctx);
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeMacFlushTlv(uint8_t **cursor,
                                                  const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                  QOR_PKT_CTX_S *ctx);
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeMacVendorFlushTlv(uint8_t **cursor,
                                                        const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                        QOR_PKT_CTX_S *ctx);
/** @} */

/** PW tag TLV: at most 4,104 octets. The first two words of a tag of 8 octets or
 * more are brought to network order in the record's data before they are copied. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodePwTagTlv(uint8_t **cursor,
                                               const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                               QOR_PKT_CTX_S *ctx);

/** Path Vector TLV: at most 4,100 octets. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodePathVectorTlv(uint8_t **cursor,
                                                    const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                    QOR_PKT_CTX_S *ctx);

/** Writes the unknown TLVs in order while they end before bufferEnd; the first that
 * does not ends the list and is logged. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeUnknownTlv(uint8_t **cursor,
                                                 const QOR_LDP_SIGNAL_MSG_S *signalMsg,
                                                 const uint8_t *bufferEnd, QOR_PKT_CTX_S *ctx);

/** PW Group ID TLV 0x096C (RFC 8077 section 6.2.2.2): 8 octets. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeGroupIdTlv(uint8_t **cursor, uint32_t groupId);

/** Writes the value of a switching-point TLV for min(count, QOR_LDP_PKT_SPE_MAX)
 * entries, 12 octets each. Returns the octets written; 0 for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeSPE(uint8_t *out, uint32_t count,
                                          const QOR_LDP_SPE_S *entries);

/** Tells whether the low 16 bits of length are 1 to 4095: 1 or 0. */
QOR_EXPORT uint32_t QOR_LDP_PKT_TlvLenValid(uint32_t length);

QOR_END_DECLS

#endif
