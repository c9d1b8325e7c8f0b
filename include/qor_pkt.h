/** @file
 * The LDP pseudowire codec: octets of one received message in, a
 * QOR_LDP_SIGNAL_MSG_S out, and back.
 *
 * This header has what most users need: the context, whole messages, copies,
 * keys and texts. It includes the codecs of single messages, elements and TLVs
 * and the error reports.
 */
#ifndef QOR_PKT_H
#define QOR_PKT_H

#include "qor_pkt_bgp.h"    /* IWYU pragma: export */
#include "qor_pkt_fec.h"    /* IWYU pragma: export */
#include "qor_pkt_msg.h"    /* IWYU pragma: export */
#include "qor_pkt_record.h" /* IWYU pragma: export */
#include "qor_pkt_report.h" /* IWYU pragma: export */
#include "qor_pkt_tlv.h"    /* IWYU pragma: export */

QOR_BEGIN_DECLS

/* ---- Context ------------------------------------------------------------- */

/** Creates a codec context from the fields of *cfg in front of szFecText (36
 * octets). Returns the context, released by QOR_PKT_DeInit; NULL for NULL or
 * when memory is short. */
QOR_EXPORT QOR_PKT_CTX_S *QOR_PKT_Init(const QOR_PKT_CTX_S *cfg);

/** Releases ctx. */
QOR_EXPORT void QOR_PKT_DeInit(QOR_PKT_CTX_S *ctx);

/* ---- Whole messages ------------------------------------------------------ */

/** Reads the header of a message (RFC 5036 section 3.5): *type gets the message
 * type without the U bit, *totalLen the octets of the whole message (length
 * field + 4, modulo 65536: refuse a length field above QOR_LDP_PKT_MAX_MSG_LEN
 * first). msg has at least 8 octets. Returns QOR_OK; QOR_FAIL for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMsgHeader(const uint8_t *msg, uint16_t *type,
                                                uint16_t *totalLen);

/** Decodes one message into *rec, which the caller has zeroed and given ulPeerIp.
 *
 * msg: at least 8 octets, and 4 + its length field octets, must be readable;
 * they must also be writable when the message may carry a PW tag TLV (0x3E0A),
 * whose two words are brought to host order in place. Any alignment will do.
 * MAC Withdraw records point into msg: keep it until the record is released.
 *
 * Returns QOR_OK; QOR_FAIL for NULL, and without memory for an interface
 * description; QOR_ERR_NO_MEM; QOR_LDP_ERR_TLV_LEN for a length field above
 * QOR_LDP_PKT_MAX_MSG_LEN (*rec untouched); QOR_LDP_ERR_MSG_TYPE for a type that
 * is not handled; else the code of the message's decoder. After a failure the
 * record holds no allocation of the decode; a release is allowed and needed for
 * none. */
QOR_EXPORT uint32_t QOR_LDP_PKT_DecodeMsg(const uint8_t *msg, QOR_LDP_SIGNAL_MSG_S *rec,
                                          const QOR_PKT_CTX_S *ctx);

/** Encodes *rec by its ulMsgType into buf of at least QOR_LDP_PKT_ENC_BUF_LEN
 * octets, zeroed by the caller: three TLVs count value octets that the caller
 * may fill in and that are left alone here (0x3FED four, the MAC Withdraw
 * address list four, its MAC list under QOR_LDP_FLAG_REPEAT_FEC six). The message
 * ID written is ulBodyMsgId.
 *
 * QOR_LDP_FLAG_REPEAT_FEC: a FEC 128 element with a PW ID stands twice in a label
 * message, Withdraw and Release get a second Address List TLV, and a MAC Withdraw
 * gets a MAC list header of length 6.
 *
 * A record decoded from a message of the maximum length can encode to a few
 * octets more than QOR_LDP_PKT_MAX_MSG_LEN + 4: check before sending. Not const:
 * ctx->szFecText is used when tracing, and the PW tag's words are swapped in the
 * record's data.
 *
 * Returns the octets written, header included; 0 for NULL, an unknown type, or
 * when the message's encoder refuses. */
QOR_EXPORT uint32_t QOR_LDP_PKT_EncodeMsg(uint8_t *buf, const QOR_LDP_SIGNAL_MSG_S *rec,
                                          QOR_PKT_CTX_S *ctx);

/* ---- Copies and release -------------------------------------------------- */

/** Makes *dst a copy of *src that owns all its buffers. What *dst held before is
 * overwritten, not released. Interface parameters of 4096 octets or more are
 * dropped. Returns QOR_OK; QOR_ERR_ARG for NULL or dst == src; QOR_ERR_NO_MEM
 * when memory was short (*dst then owns nothing). */
QOR_EXPORT uint32_t QOR_LDP_PKT_CopySignalMsg(QOR_LDP_SIGNAL_MSG_S *dst,
                                              const QOR_LDP_SIGNAL_MSG_S *src,
                                              const QOR_PKT_CTX_S *ctx);

/** Copies the two buffers of a Label Mapping, interface parameters and
 * description, after the flat part was copied. Returns QOR_OK; QOR_FAIL for NULL,
 * for dst == src or when memory was short (what was made stays in *dst, and a
 * length may stand there without its buffer: release *dst). */
QOR_EXPORT uint32_t QOR_LDP_PKT_CopySignalMappingMsg(QOR_LDP_SIGNAL_MSG_S *dst,
                                                     const QOR_LDP_SIGNAL_MSG_S *src,
                                                     const QOR_PKT_CTX_S *ctx);

/** Releases what *msg owns by its ulMsgType and clears those pointers and
 * lengths. Right for decoded records, copies, and records that were zeroed and
 * then filled by hand; may be called again. */
QOR_EXPORT void QOR_LDP_PKT_FreeSignalMsg(QOR_LDP_SIGNAL_MSG_S *msg, const QOR_PKT_CTX_S *ctx);

/** Releases the unknown-TLV list, nodes and data, and empties it; of a decoded
 * record the nodes only. */
QOR_EXPORT void QOR_LDP_PKT_FreeUnknowTlvList(QOR_LDP_SIGNAL_MSG_S *msg, const QOR_PKT_CTX_S *ctx);

/** Releases the nodes of the unknown-TLV list, not their data. Does nothing unless
 * ulMsgType is QOR_LDP_MSG_MAC_WITHDRAW. */
QOR_EXPORT void QOR_LDP_PKT_FreeUnknowTlvNode(QOR_LDP_SIGNAL_MSG_S *msg, const QOR_PKT_CTX_S *ctx);

/** Releases every node of a host list and empties it. */
QOR_EXPORT void QOR_LDP_PKT_FreeListNode(HOST_DLL_S *list, const QOR_PKT_CTX_S *ctx);

/** Tells whether a buffer of len octets is copied with a record: 1 for 1 to 4095,
 * else 0. */
QOR_EXPORT uint32_t QOR_LDP_PKT_CopyTlvLenValid(uint16_t len);

/* ---- Keys, texts, codes -------------------------------------------------- */

/** Returns the LDP status code (RFC 5036 section 3.9) to send for a decode error,
 * 0 for none; *fatal := 1 when the Notification is to carry the E bit, else 0.
 * 0 for a NULL fatal. */
QOR_EXPORT uint32_t QOR_LDP_PKT_ErrCode2StatusCode(uint32_t errCode, uint32_t *fatal);

/** Orders two keys: key type, peer address (for QOR_LDP_KEY_INST only as the last
 * tie-break), PW type, value. In a FEC 129 key TAII ranks before SAII and both
 * compare as stored octets; identifier lengths do not count. Returns 1, 0 or -1;
 * -1 for NULL. */
QOR_EXPORT int32_t QOR_LDP_PKT_CmpPwFecKey(const QOR_LDP_PW_FEC_KEY_S *a,
                                           const QOR_LDP_PW_FEC_KEY_S *b);

/** Writes the text of a key into buf of size octets: the PW ID, or the AGI and
 * twice the SAII in dotted form, or "instID:..." or "svc_...", else nothing.
 * Returns buf; NULL for a NULL key or buf or a size below 1. */
QOR_EXPORT char *QOR_LDP_PKT_FmtPwFec2Str(const QOR_LDP_PW_FEC_KEY_S *key, char *buf, int size);

/** Reads AGI, SAII and TAII, each as type, length and value, from len octets at
 * buf. The AGI has 6 octets when it is of type 0x80, subtype 0x0A, else 8.
 * Returns QOR_OK; QOR_FAIL for NULL; QOR_LDP_ERR_MAC_LEN when a type and length
 * are cut; QOR_LDP_ERR_AGI_LEN, _AGI_TYPE, _AII_LEN or _AII_TYPE. */
QOR_EXPORT uint32_t QOR_LDP_PKT_ParseFec129(QOR_LDP_FEC129_S *out, const uint8_t *buf,
                                            uint16_t len);

/** Writes the form that QOR_LDP_PKT_ParseFec129 reads; buf has at least 22 octets.
 * All three values depend on ucAgiType being 1. Returns the octets written: 22,
 * 20 for an AGI of type 0x80, subtype 0x0A, 6 for another ucAgiType; 0 for NULL. */
QOR_EXPORT uint32_t QOR_LDP_PKT_FormatFec129(const QOR_LDP_FEC129_S *in, uint8_t *buf);

/** Tells whether addr holds a non-zero address of its family: 1 or 0; 0 for NULL,
 * which is not reported. */
QOR_EXPORT uint32_t QOR_LDP_PKT_IsSysIpValid(const QOR_SYS_IP_ADDR_S *addr);

QOR_END_DECLS

#endif
