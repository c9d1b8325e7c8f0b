/** @file
 * Extended communities: eight octets of type, subtype and value (RFC 4360, four
 * octet AS form RFC 5668) as they stand in the attachment group identifiers of
 * pseudowires.
 */
#ifndef QOR_PKT_BGP_H
#define QOR_PKT_BGP_H

#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** Values of ucType and, the last one, of ucSubType. @{ */
#define QOR_EXTCOMM_TYPE_AS2 0x00
#define QOR_EXTCOMM_TYPE_IPV4 0x01
#define QOR_EXTCOMM_TYPE_AS4 0x02
#define QOR_EXTCOMM_TYPE_KETU 0x80 /**< with QOR_EXTCOMM_SUBTYPE_KETU: octet, octet, word, word */
#define QOR_EXTCOMM_SUBTYPE_KETU 0x0A
/** @} */

#pragma pack(push, 2)

/** The value of type 0. */
typedef struct QOR_EXTCOMM_AS2_S {
    uint16_t usGlobalAdmin;
    uint32_t ulLocalAdmin;
} QOR_EXTCOMM_AS2_S;

/** The value of types 1, 2, 3 and unknown ones. */
typedef struct QOR_EXTCOMM_AS4_S {
    uint32_t ulGlobalAdmin;
    uint16_t usLocalAdmin;
} QOR_EXTCOMM_AS4_S;

/** The value of type 0x80, subtype 0x0A. */
typedef struct QOR_EXTCOMM_KETU_S {
    uint8_t ucOctet1;
    uint8_t ucOctet2;
    uint16_t usWord1;
    uint16_t usWord2;
} QOR_EXTCOMM_KETU_S;

/** One extended community, values in host order. The subtype stands first here
 * and second on the wire. */
typedef struct QOR_EXTCOMM_S {
    uint8_t ucSubType;
    uint8_t ucType;
    union {
        QOR_EXTCOMM_AS2_S stAs2;   /**< type 0 */
        QOR_EXTCOMM_AS4_S stAs4;   /**< types 1, 2, 3 and unknown */
        QOR_EXTCOMM_KETU_S stKetu; /**< type 0x80, subtype 0x0A */
        uint8_t aucValue[6];
    };
} QOR_EXTCOMM_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_EXTCOMM_S, 8);
QOR_ASSERT_OFFSET(QOR_EXTCOMM_S, aucValue, 2);

/** Write ext at *cursor and advance it. Net: network order, 8 octets. Host:
 * values in memory order. NetKetu: network order. For type 0x80, subtype 0x0A
 * Host and NetKetu write only 6 octets (no second word). A type of 3 goes out as
 * 2; subtype 0 makes the type word 00, type. A NULL argument writes nothing. @{ */
QOR_EXPORT void QOR_PKT_PutExtcommNet(const QOR_EXTCOMM_S *ext, uint8_t **cursor);
QOR_EXPORT void QOR_PKT_PutExtcommHost(const QOR_EXTCOMM_S *ext, uint8_t **cursor);
QOR_EXPORT void QOR_PKT_PutExtcommNetKetu(const QOR_EXTCOMM_S *ext, uint8_t **cursor);
/** @} */

/** Read *ext at *cursor and advance it; the counterparts of Put, with the same
 * lengths. mode 1: subtype octet first; any other mode: type octet first. *ext
 * is zeroed beforehand. A NULL argument reads nothing. @{ */
QOR_EXPORT void QOR_PKT_GetExtcommNet(uint32_t mode, QOR_EXTCOMM_S *ext, const uint8_t **cursor);
QOR_EXPORT void QOR_PKT_GetExtcommHost(uint32_t mode, QOR_EXTCOMM_S *ext, const uint8_t **cursor);
QOR_EXPORT void QOR_PKT_GetExtcommNetKetu(uint32_t mode, QOR_EXTCOMM_S *ext,
                                          const uint8_t **cursor);
/** @} */

/** Orders two communities by subtype, type (3 counts as 2), global and local
 * part. Returns 1, 0 or -1; -1 for NULL. */
QOR_EXPORT int32_t QOR_LDP_PKT_CmpExtComm(const QOR_EXTCOMM_S *a, const QOR_EXTCOMM_S *b);

/** Writes the text of ext into buf of size octets: type 2 "1.2 : 3", type 1
 * "0x00000001:2", others "1:2". *outLen (may be NULL) gets the characters
 * stored, -1 when the text was cut. Returns buf; NULL for a NULL ext or buf or a
 * size below 1. */
QOR_EXPORT char *QOR_LDP_PKT_FmtExtComm2Str(const QOR_EXTCOMM_S *ext, char *buf, int size,
                                            int *outLen);

QOR_END_DECLS

#endif
