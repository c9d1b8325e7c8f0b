/** @file
 * Verification request handles: what a pseudowire verification request is
 * about, as a record and as a TLV. A handle names one session, one pseudowire
 * by its signature key, all of them, or an acknowledgement.
 *
 * Zero a handle and a signature key before the first use.
 */
#ifndef QOR_PDPWE3I_H
#define QOR_PDPWE3I_H

#include "qor_pkt_record.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** @name ulKind of a handle
 * @{ */
#define QOR_VERIFY_KIND_SPECIFIC UINT32_C(0) /**< one object: the data */
#define QOR_VERIFY_KIND_ALL UINT32_C(1)      /**< all objects, no data */
#define QOR_VERIFY_KIND_ACK UINT32_C(2)      /**< acknowledgement, no data */
/** @} */

/** @name ucForm of a signature key
 * @{ */
#define QOR_VERIFY_FORM_PWID 0     /**< FEC 128; 12 octets are sent */
#define QOR_VERIFY_FORM_GEN_PWID 1 /**< FEC 129; 32 octets are sent */
/** @} */

/** usDataLen of the data forms that are converted to network order. @{ */
#define QOR_VERIFY_SSN_LEN UINT16_C(4)
#define QOR_VERIFY_SIG_PWID_LEN UINT16_C(12)
#define QOR_VERIFY_SIG_GEN_LEN UINT16_C(32)
/** @} */

/** A session. */
typedef struct QOR_VERIFY_SSN_S {
    uint32_t ulSession; /**< 0: all */
} QOR_VERIFY_SSN_S;

/** A signature key: identifies a pseudowire, nothing to do with cryptography. */
typedef struct QOR_VERIFY_SIG_KEY_S {
    uint32_t ulPeerIp; /**< 0: all */
    uint32_t ulPwId;   /**< form 0 */
    uint32_t ulPwType;
    uint8_t ucForm;
    uint8_t ucReserved;
    uint16_t usReserved;
    uint8_t aucAgi[8]; /**< form 1: the octets of a QOR_EXTCOMM_S */
    uint32_t ulSaii;   /**< form 1 */
    uint32_t ulTaii;   /**< form 1 */
} QOR_VERIFY_SIG_KEY_S;

/** A handle. It refers to its data and does not own it. */
typedef struct QOR_VERIFY_HANDLE_S {
    uint32_t ulKind;
    uint16_t usDataLen; /**< octets of the data; 0 without data */
    void *pData;        /**< or NULL */
} QOR_VERIFY_HANDLE_S;

QOR_ASSERT_SIZE(QOR_VERIFY_SIG_KEY_S, 32);
QOR_ASSERT_OFFSET(QOR_VERIFY_SIG_KEY_S, ucForm, 12);
QOR_ASSERT_OFFSET(QOR_VERIFY_SIG_KEY_S, aucAgi, 16);
QOR_ASSERT_SIZE(QOR_VERIFY_HANDLE_S, 16);

/** Make *handle stand for *session or *signature, which must outlive it, or for
 * all of them when its first word is 0. A signature with a form other than 0
 * and 1 leaves usDataLen as it was. Return the first argument; NULL for NULL. @{ */
QOR_EXPORT QOR_VERIFY_SSN_S *QOR_PDPWE3I_ConstructSsnVerifyRequestHandle(
    QOR_VERIFY_SSN_S *session, QOR_VERIFY_HANDLE_S *handle);
QOR_EXPORT QOR_VERIFY_SIG_KEY_S *QOR_PDPWE3I_ConstructSigVerifyRequestHandle(
    QOR_VERIFY_SIG_KEY_S *signature, QOR_VERIFY_HANDLE_S *handle);
/** @} */

/** Makes *handle an acknowledgement. */
QOR_EXPORT void QOR_PDPWE3I_ConstructVerifyRequestAckHandle(QOR_VERIFY_HANDLE_S *handle);

/** Tell whether handle can be a session, a signature or an acknowledgement
 * handle: the first two have data of at least 4 or 12 octets, or no data, length
 * 0 and kind 1; the last one no data, length 0 and kind 2. Return 1 or 0; 0 for
 * NULL. @{ */
QOR_EXPORT uint32_t QOR_PDPWE3I_CheckSsnVerifyRequestHandleValid(const QOR_VERIFY_HANDLE_S *handle);
QOR_EXPORT uint32_t QOR_PDPWE3I_CheckSigVerifyRequestHandleValid(const QOR_VERIFY_HANDLE_S *handle);
QOR_EXPORT uint32_t QOR_PDPWE3I_CheckVerifyRequestAckHandleValid(const QOR_VERIFY_HANDLE_S *handle);
/** @} */

/** Writes a TLV (RFC 5036 section 3.3: type, length, value) with the kind and
 * the data at *cursor and advances it by 8 + usDataLen, by 8 without data; so
 * many octets must be there, at any alignment. Data of 4, 12 and 32 octets is
 * converted to network order, other data is copied. The length in the TLV is
 * usDataLen + 4 whether there is data or not, and keeps 16 bits only: give valid
 * handles. When the copy fails, that is reported and the cursor stays. */
QOR_EXPORT void QOR_PDPWE3I_BuildVerifyHandleTlv(uint8_t **cursor, uint16_t tlvType,
                                                 const QOR_VERIFY_HANDLE_S *handle);

/** Fills *sigKey from a PWid or Generalized PWid key; other keys, and the members
 * that a form does not use, leave it as it is. */
QOR_EXPORT void QOR_PDPWE3I_SetVerifySigKey(const QOR_LDP_PW_FEC_KEY_S *fecKey,
                                            QOR_VERIFY_SIG_KEY_S *sigKey);

QOR_END_DECLS

#endif
