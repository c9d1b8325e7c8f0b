/** @file
 * The records of the LDP pseudowire codec: what a decoded message looks like,
 * what identifies a pseudowire, and the codes that decoders return
 * (QOR_LDP_PKT_ErrCode2StatusCode gives the LDP status to send for each).
 *
 * A record filled with zeros is the valid empty record. All values are in host
 * order.
 */
#ifndef QOR_PKT_RECORD_H
#define QOR_PKT_RECORD_H

#include "qor_base.h"    /* IWYU pragma: export */
#include "qor_host.h"    /* IWYU pragma: export */
#include "qor_pkt_bgp.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** @name Result codes of the decoders
 * @{ */
#define QOR_LDP_ERR_MSG_TYPE UINT32_C(0x80050001)     /**< message type not handled */
#define QOR_LDP_ERR_TLV_LEN UINT32_C(0x80050002)      /**< TLV or message length */
#define QOR_LDP_ERR_NO_FEC UINT32_C(0x80050003)       /**< PW status without a FEC TLV */
#define QOR_LDP_ERR_FIRST_TLV UINT32_C(0x80050005)    /**< Notification without Status TLV */
#define QOR_LDP_ERR_NOTIFY_LEN UINT32_C(0x80050006)   /**< Notification too short */
#define QOR_LDP_ERR_NO_LABEL UINT32_C(0x80050007)     /**< Label Mapping without a label */
#define QOR_LDP_ERR_LABEL_LEN UINT32_C(0x80050008)    /**< Generic Label TLV length */
#define QOR_LDP_ERR_SPE_PWID_LEN UINT32_C(0x80050009) /**< switching point: PW ID length */
#define QOR_LDP_ERR_SPE_PEER_LEN UINT32_C(0x8005000A) /**< switching point: peer length */
#define QOR_LDP_ERR_SUB_TLV UINT32_C(0x8005000C)      /**< sub-TLV, or FEC 129 cut at a type */
#define QOR_LDP_ERR_NO_PW_STATUS UINT32_C(0x8005000D) /**< PW status without the PW Status TLV */
#define QOR_LDP_ERR_UNKNOWN_FEC UINT32_C(0x8005000E)  /**< no or unknown FEC element */
#define QOR_LDP_ERR_PW_FEC UINT32_C(0x8005000F)       /**< PW FEC element truncated */
#define QOR_LDP_ERR_UNKNOWN_TLV UINT32_C(0x80050010)  /**< unknown TLV, U bit clear */
#define QOR_LDP_ERR_MAC_LIST_LEN UINT32_C(0x80050012) /**< MAC list not a multiple of 6 */
#define QOR_LDP_ERR_STATUS_LEN UINT32_C(0x80050013)   /**< Status or Withdraw Address List length */
#define QOR_LDP_ERR_WORD_LEN UINT32_C(0x80050014)     /**< PW Status or PW Group ID length */
#define QOR_LDP_ERR_ADDR_FEC UINT32_C(0x80050015)     /**< address FEC element truncated */
#define QOR_LDP_ERR_FAMILY UINT32_C(0x80050016)       /**< address family */
#define QOR_LDP_ERR_ADDR_LIST UINT32_C(0x80050017)    /**< Address List length */
#define QOR_LDP_ERR_OUI UINT32_C(0x80050018)          /**< vendor TLV: fixed octets */
#define QOR_LDP_ERR_MAC_LEN UINT32_C(0x80050019)      /**< MAC TLV length; FEC 129 list cut */
#define QOR_LDP_ERR_AGI_TYPE UINT32_C(0x8005001A)     /**< AGI type not 1 */
#define QOR_LDP_ERR_AGI_LEN UINT32_C(0x8005001B)      /**< AGI length not 8, or cut */
#define QOR_LDP_ERR_AII_TYPE UINT32_C(0x8005001C)     /**< SAII or TAII type not 1 */
#define QOR_LDP_ERR_AII_LEN UINT32_C(0x8005001D)      /**< SAII or TAII length not 4, or cut */
#define QOR_LDP_ERR_AGI_SUBTYPE UINT32_C(0x8005001E)  /**< AGI subtype not 0x0A */
#define QOR_LDP_ERR_NO_PW_ID UINT32_C(0x8005001F)     /**< neither PW ID nor group ID */
#define QOR_LDP_ERR_REQ_ID_LEN UINT32_C(0x80050020)   /**< Label Request Message ID length */
#define QOR_LDP_ERR_REL_ADDR_LEN UINT32_C(0x80050021) /**< Release Address List length */
/** @} */

/* ---- Wire constants ------------------------------------------------------ */

/** Message types (RFC 5036 section 3.7), U bit removed. @{ */
#define QOR_LDP_MSG_NOTIFICATION UINT32_C(0x0001)
#define QOR_LDP_MSG_MAC_WITHDRAW UINT32_C(0x0301) /**< Address Withdraw, RFC 4762 section 6.2 */
#define QOR_LDP_MSG_MAPPING UINT32_C(0x0400)
#define QOR_LDP_MSG_REQUEST UINT32_C(0x0401)
#define QOR_LDP_MSG_WITHDRAW UINT32_C(0x0402)
#define QOR_LDP_MSG_RELEASE UINT32_C(0x0403)
/** @} */

/** The longest message length field that is decoded. */
#define QOR_LDP_PKT_MAX_MSG_LEN UINT32_C(4096)

/** What the buffer of every message encoder must hold, in octets. No encoder
 * takes a length: a record can ask for up to 12,600 octets. */
#define QOR_LDP_PKT_ENC_BUF_LEN UINT32_C(16384)

/** LDP status codes (RFC 5036 section 3.9, RFC 8077 section 8.2). @{ */
#define QOR_LDP_STATUS_UNKNOWN_TLV UINT32_C(0x06)
#define QOR_LDP_STATUS_BAD_TLV_LEN UINT32_C(0x07)
#define QOR_LDP_STATUS_MALFORMED_TLV UINT32_C(0x08)
#define QOR_LDP_STATUS_UNKNOWN_FEC UINT32_C(0x0C)
#define QOR_LDP_STATUS_MISSING_PARAM UINT32_C(0x16)
#define QOR_LDP_STATUS_BAD_FAMILY UINT32_C(0x17)
#define QOR_LDP_STATUS_PW_STATUS UINT32_C(0x28)
/** @} */

/** "Not there" in ulPwStatus, ulStatus and ulLabel. */
#define QOR_LDP_PKT_NONE UINT32_C(0xFFFFFFFF)

/* ---- Records ------------------------------------------------------------- */

/** Gets the text of a decode error and ulErrOutputArg. The text is only valid
 * during the call. */
typedef void (*QOR_PKT_ERR_OUTPUT_PF)(const char *text, uint64_t ulErrOutputArg);

#pragma pack(push, 4)

/** The codec context. The caller fills the fields in front of szFecText. */
typedef struct QOR_PKT_CTX_S {
    uint64_t ulErrOutputArg;            /**< handed to pfnErrOutput */
    uint64_t ulSid;                     /**< module id of every allocation */
    uint64_t ulLogHandle;               /**< a QOR_LOG_S *, as a number */
    uint32_t ulDebugSwitch;             /**< exactly 1: one trace line per message and more */
    QOR_PKT_ERR_OUTPUT_PF pfnErrOutput; /**< gets decode errors as text, or NULL */
    char szFecText[128];                /**< scratch text of the encoder's trace line */
} QOR_PKT_CTX_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_PKT_CTX_S, 164);
QOR_ASSERT_OFFSET(QOR_PKT_CTX_S, pfnErrOutput, 28);
QOR_ASSERT_OFFSET(QOR_PKT_CTX_S, szFecText, 36);

/** The identifiers of a Generalized PWid FEC element (RFC 8077 section 6.2). */
typedef struct QOR_LDP_FEC129_S {
    uint8_t ucAgiType;  /**< 1 */
    uint8_t ucAgiLen;   /**< 8 */
    uint8_t ucSaiiType; /**< 1 */
    uint8_t ucSaiiLen;  /**< 4 */
    QOR_EXTCOMM_S stAgi;
    uint32_t ulSaii;
    uint8_t ucTaiiType; /**< 1 */
    uint8_t ucTaiiLen;  /**< 4 */
    uint32_t ulTaii;
} QOR_LDP_FEC129_S;

QOR_ASSERT_SIZE(QOR_LDP_FEC129_S, 24);
QOR_ASSERT_OFFSET(QOR_LDP_FEC129_S, stAgi, 4);
QOR_ASSERT_OFFSET(QOR_LDP_FEC129_S, ulTaii, 20);

/** The value of a QOR_LDP_KEY_INST key. */
typedef struct QOR_LDP_INST_KEY_S {
    uint32_t ulInstId;
    uint16_t usVeId;
    uint16_t usCeOffset;
} QOR_LDP_INST_KEY_S;

/** The value of a QOR_LDP_KEY_PAIR key. */
typedef struct QOR_LDP_PAIR_KEY_S {
    uint32_t ulKey1;
    uint32_t ulKey2;
} QOR_LDP_PAIR_KEY_S;

/** Values of ucKeyType. @{ */
#define QOR_LDP_KEY_PWID 0     /**< PWid FEC element (FEC 128) */
#define QOR_LDP_KEY_GEN_PWID 1 /**< Generalized PWid FEC element (FEC 129) */
#define QOR_LDP_KEY_INST 2
#define QOR_LDP_KEY_SVC 3
#define QOR_LDP_KEY_PAIR 6
/** @} */

/** The identity of a pseudowire FEC. Zero it before filling it: unused words of
 * the value count in comparisons. */
typedef struct QOR_LDP_PW_FEC_KEY_S {
    uint8_t ucKeyType;        /**< QOR_LDP_KEY_* */
    uint8_t ucPwType;         /**< low octet of the 15-bit PW type */
    QOR_IP_ADDR_S stPeerAddr; /**< decoders store ulPeerIp as IPv4 */
    union {
        uint32_t ulPwId;           /**< QOR_LDP_KEY_PWID */
        QOR_LDP_FEC129_S stFec129; /**< QOR_LDP_KEY_GEN_PWID */
        QOR_LDP_INST_KEY_S stInst; /**< QOR_LDP_KEY_INST */
        uint32_t ulSvcId;          /**< QOR_LDP_KEY_SVC */
        QOR_LDP_PAIR_KEY_S stPair; /**< QOR_LDP_KEY_PAIR */
        uint32_t aulValue[6];
    };
} QOR_LDP_PW_FEC_KEY_S;

QOR_ASSERT_SIZE(QOR_LDP_PW_FEC_KEY_S, 48);
QOR_ASSERT_OFFSET(QOR_LDP_PW_FEC_KEY_S, stPeerAddr, 4);
QOR_ASSERT_OFFSET(QOR_LDP_PW_FEC_KEY_S, aulValue, 24);

/** Values of ucRtpMode. @{ */
#define QOR_LDP_RTP_NONE 0
#define QOR_LDP_RTP_NOT_GIVEN 0xFF
/** @} */

/** The interface parameters of one pseudowire (RFC 4446 section 3.3). 0 and NULL
 * mean "not given", but for ucRtpMode. */
typedef struct QOR_LDP_INTF_PARA_S {
    uint16_t usMtu;          /**< 0x01, octets */
    uint16_t usMaxAtmCells;  /**< 0x02 */
    uint16_t usPayloadBytes; /**< 0x04, octets */
    uint16_t usCepOptions;   /**< 0x05, the word as received */
    uint32_t ulBitRate;      /**< 0x07, units of 64 kbit/s */
    uint8_t ucFragment;      /**< 0x09 */
    uint8_t ucRtpMode;       /**< 0x05, 0x0B: 0xFF not given, 0 none, 1 or 2 */
    uint16_t usVccv;         /**< 0x0C, CC types octet, CV types octet */
    uint16_t usFlowLabel;    /**< 0x17 (RFC 6391) */
    char *szIntfDesc;        /**< 0x03, NUL-terminated, owned by the record */
} QOR_LDP_INTF_PARA_S;

QOR_ASSERT_SIZE(QOR_LDP_INTF_PARA_S, 32);
QOR_ASSERT_OFFSET(QOR_LDP_INTF_PARA_S, szIntfDesc, 24);

/** The longest description a decoder keeps, in characters. */
#define QOR_LDP_PKT_DESC_MAX UINT32_C(79)

/** One decoded PW FEC element. */
typedef struct QOR_LDP_PWID_FEC_INFO_S {
    uint8_t ucCBit;        /**< control word wanted */
    uint8_t ucPwIdPresent; /**< 0: PW info length was 0 */
    uint32_t ulGroupId;    /**< FEC 128 only */
    QOR_LDP_PW_FEC_KEY_S stKey;
    QOR_LDP_INTF_PARA_S stIntfPara;
} QOR_LDP_PWID_FEC_INFO_S;

QOR_ASSERT_SIZE(QOR_LDP_PWID_FEC_INFO_S, 88);
QOR_ASSERT_OFFSET(QOR_LDP_PWID_FEC_INFO_S, stIntfPara, 56);

/** One TLV that is not understood and is to be forwarded. The first two words
 * are the list node. */
typedef struct QOR_LDP_UNKNOWN_TLV_S {
    struct QOR_LDP_UNKNOWN_TLV_S *pstNext;
    struct QOR_LDP_UNKNOWN_TLV_S *pstPrev;
    uint32_t ulTlvLen; /**< octets, the 4-octet header included */
    uint8_t *pucTlv;   /**< the header; in a decoded record it lies in the message */
} QOR_LDP_UNKNOWN_TLV_S;

QOR_ASSERT_SIZE(QOR_LDP_UNKNOWN_TLV_S, 32);

/** One switching point of a multi-segment pseudowire (RFC 6073 section 7.4). */
typedef struct QOR_LDP_SPE_S {
    uint32_t ulPeerIp;
    uint32_t ulPwId;
} QOR_LDP_SPE_S;

/** Switching points that a record keeps. */
#define QOR_LDP_PKT_SPE_MAX 10

/** A TLV header in host order. */
typedef struct QOR_LDP_TLV_HDR_S {
    uint16_t usTypeWord; /**< bit 15 U, bit 14 F, low 14 bits the type */
    uint16_t usLength;   /**< octets of the value */
} QOR_LDP_TLV_HDR_S;

/** @name Bits of usFlags
 * TLV 0x3FED is written without U bit: a peer that does not know it, this library
 * included, refuses the message.
 * @{ */
#define QOR_LDP_FLAG_ERR_NOTIFY 0x0001 /**< Notification: an LDP error, not a PW status */
#define QOR_LDP_FLAG_MARKER 0x1000     /**< Label Mapping: TLV 0x3FED was met, is written */
#define QOR_LDP_FLAG_REPEAT_FEC 0x2000 /**< encoders: see QOR_LDP_PKT_EncodeMsg */
#define QOR_LDP_FLAG_STATUS_6 0x4000   /**< PW status Notification: status code 6 */
/** @} */

/** Bit of usMappingFlags: ulLabelReqMsgId is present. */
#define QOR_LDP_MAPPING_REQ_ID 0x0001

/** One signalling message. The caller zeroes it and sets ulPeerIp before a
 * decode; docs/conventions.md tells who owns which pointer. */
typedef struct QOR_LDP_SIGNAL_MSG_S {
    uint32_t ulPeerIp; /**< the peer, host order */
    uint8_t ucNoPwId;  /**< 1: the FEC element has no PW ID */
    QOR_LDP_PW_FEC_KEY_S stFecKey;
    uint32_t ulMsgType;   /**< QOR_LDP_MSG_* */
    uint16_t usMsgLen;    /**< length field of the header */
    uint16_t usFlags;     /**< QOR_LDP_FLAG_* */
    uint32_t ulMsgId;     /**< message ID as decoded */
    uint32_t ulBodyMsgId; /**< message ID, what the encoders write */

    /* Label messages; ulGroupId and ucCBit serve every message. */
    uint32_t ulGroupId;
    uint32_t ulLabel;         /**< Withdraw, Release: QOR_LDP_PKT_NONE is none */
    uint32_t ulLabelReqMsgId; /**< valid with QOR_LDP_MAPPING_REQ_ID */
    uint32_t ulPwStatus;      /**< QOR_LDP_PKT_NONE is none */
    uint16_t usMtu;           /**< this and the next eight as in QOR_LDP_INTF_PARA_S */
    uint16_t usMaxAtmCells;
    uint16_t usPayloadBytes;
    uint16_t usCepOptions;
    uint32_t ulBitRate;
    uint8_t ucFragment;
    uint8_t ucRtpMode;
    uint16_t usVccv;
    uint16_t usFlowLabel;
    uint8_t ucCBit;
    uint16_t usMappingFlags; /**< QOR_LDP_MAPPING_* */
    uint8_t ucSpeCount;      /**< peers announced: cap it, it may exceed the array */
    QOR_LDP_SPE_S astSpe[QOR_LDP_PKT_SPE_MAX]; /**< the first of them */
    uint16_t usIntfParaLen;                    /**< octets at pucIntfPara */
    uint8_t *pucIntfPara;                      /**< raw value of TLV 0x096B of a FEC 128 Mapping */
    char *szIntfDesc;                          /**< NUL-terminated */
    uint32_t ulAddrListWord;                   /**< Withdraw, Release: TLV 0x0300; 0 is none */

    /* Notification */
    uint32_t ulStatus; /**< PW status, or status code when encoding an error */
    uint32_t ulStatusMsgId;
    uint16_t usStatusMsgType;
    uint16_t usNotifyDataLen; /**< octets at pucNotifyData */
    uint8_t *pucNotifyData;   /**< returned message, encoders only */

    /* MAC Withdraw */
    uint8_t ucMacFlags;
    uint32_t ulMacTlvType; /**< 0x0404, 0x0405, 0x0406, 0x3E00, 0x3E08, 0x3E09 */
    uint32_t ulMacLen;     /**< octets at pucMacList */
    uint8_t *pucMacList;
    uint32_t ulPathVectorLen; /**< octets at pucPathVector */
    uint8_t *pucPathVector;
    HOST_DLL_S stUnknownTlvList; /**< of QOR_LDP_UNKNOWN_TLV_S */
    uint32_t ulPwTagType;        /**< 0x3E0A, or 0 for none */
    uint32_t ulPwTagLen;         /**< octets at pucPwTag */
    uint8_t *pucPwTag;

    uint8_t ucBorrowed; /**< private: 1 while the MAC Withdraw pointers lie in the message */
} QOR_LDP_SIGNAL_MSG_S;

QOR_ASSERT_OFFSET(QOR_LDP_SIGNAL_MSG_S, stFecKey, 8);
QOR_ASSERT_OFFSET(QOR_LDP_SIGNAL_MSG_S, ulMsgType, 56);
QOR_ASSERT_OFFSET(QOR_LDP_SIGNAL_MSG_S, ulMsgId, 64);
QOR_ASSERT_OFFSET(QOR_LDP_SIGNAL_MSG_S, ulBodyMsgId, 68);

/** The reporting context that element decoders write to: which message, which
 * peer, and the PW being decoded. */
typedef struct QOR_LDP_PKT_LOG_S {
    const QOR_PKT_CTX_S *pstCtx;
    const char *szMsgName;
    uint32_t ulPeerIp;
    uint32_t ulPwType; /**< known once a FEC 128 element with interface parameters was read */
    uint32_t ulPwId;   /**< likewise */
} QOR_LDP_PKT_LOG_S;

QOR_ASSERT_SIZE(QOR_LDP_PKT_LOG_S, 32);

QOR_END_DECLS

#endif
