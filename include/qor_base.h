/** @file
 * Address values: one type for an IPv4 or IPv6 address, with validity tests,
 * construction, ordering, text, and the conversion to and from the form that
 * the host platform uses.
 */
#ifndef QOR_BASE_H
#define QOR_BASE_H

#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** Values of ulFamily. @{ */
#define QOR_IP_FAMILY_V4 UINT32_C(0)
#define QOR_IP_FAMILY_V6 UINT32_C(1)
/** @} */

/** Octets that QOR_IP_ToString needs, the NUL included. */
#define QOR_IP_TEXT_LEN UINT32_C(46)

/** An address. IPv4: aulAddr[0] in host order, the rest zero. IPv6: aucAddr in
 * network order. */
typedef struct QOR_IP_ADDR_S {
    uint32_t ulFamily; /**< QOR_IP_FAMILY_V4 or QOR_IP_FAMILY_V6 */
    union {
        uint32_t aulAddr[4];
        uint8_t aucAddr[16];
    };
} QOR_IP_ADDR_S;

/** The host platform's form of an address. */
typedef struct QOR_SYS_IP_ADDR_S {
    uint32_t ulIpv4;     /**< host order */
    uint8_t aucIpv6[16]; /**< network order */
    uint32_t ulFamily;   /**< 1 is IPv6, anything else IPv4 */
} QOR_SYS_IP_ADDR_S;

QOR_ASSERT_SIZE(QOR_IP_ADDR_S, 20);
QOR_ASSERT_OFFSET(QOR_IP_ADDR_S, aucAddr, 4);
QOR_ASSERT_SIZE(QOR_SYS_IP_ADDR_S, 24);
QOR_ASSERT_OFFSET(QOR_SYS_IP_ADDR_S, ulFamily, 20);

/** Tells whether addr is a usable address: for IPv6 any address octet is
 * non-zero, for any other family the first address word is. Returns 1 or 0;
 * 0 for NULL. */
QOR_EXPORT uint32_t QOR_IP_IsValidAddr(const QOR_IP_ADDR_S *addr);

/** As QOR_IP_IsValidAddr, but an IPv6 value is refused. Returns 1 or 0. */
QOR_EXPORT uint32_t QOR_IP_IsValidIpv4Addr(const QOR_IP_ADDR_S *addr);

/** Orders two addresses by the low octet of the family, then by the 16 stored
 * octets (so IPv4 values order by the octets of the host-order word, and stale
 * octets behind it count). Returns 1, 0 or -1; -1 for NULL. */
QOR_EXPORT int32_t QOR_IP_CompareAddr(const QOR_IP_ADDR_S *a, const QOR_IP_ADDR_S *b);

/** Builds *out from an IPv4 address (host order) or, when ipv4 is 0, from the
 * 16 network-order octets at ipv6 (may be NULL). Octets of *out that the family
 * does not use are left as they were. Returns QOR_OK; QOR_ERR_ARG for a NULL
 * out, for no address at all, and for an all-zero IPv6 address (then already
 * stored); QOR_FAIL when the copy failed. */
QOR_EXPORT uint32_t QOR_IP_ConstructAddr(uint32_t ipv4, const uint8_t *ipv6, QOR_IP_ADDR_S *out);

/** Writes the text of addr into buf of size octets (at least QOR_IP_TEXT_LEN).
 * IPv6 is compressed. Returns QOR_OK; QOR_ERR_ARG for a NULL argument or too
 * small a buffer; QOR_FAIL for an unknown family or when the host refuses. */
QOR_EXPORT uint32_t QOR_IP_ToString(const QOR_IP_ADDR_S *addr, char *buf, uint32_t size);

/** Writes the text of a segment identifier: four host-order words, most
 * significant first. Returns the host's result, 0 on success; 1 for NULL. */
QOR_EXPORT uint32_t QOR_IP_SidToString(const uint32_t sid[4], char *buf, uint32_t size);

/** Convert between the library's and the host's form. The part of *out that the
 * family does not use is left as it was; an unknown family becomes IPv4. @{ */
QOR_EXPORT void QOR_IP_QorIpToSysIp(const QOR_IP_ADDR_S *in, QOR_SYS_IP_ADDR_S *out);
QOR_EXPORT void QOR_IP_SysIpToQorIp(const QOR_SYS_IP_ADDR_S *in, QOR_IP_ADDR_S *out);
/** @} */

/** mask := the IPv6 mask of prefixLen bits, four host-order words, most
 * significant first. Lengths above 128 count as 128. */
QOR_EXPORT void QOR_IP_MaskLen2Mask6(uint8_t prefixLen, uint32_t mask[4]);

/** net := addr with all bits behind prefixLen cleared; words as above. addr and
 * net may be the same array. */
QOR_EXPORT void QOR_IP_GetIPv6NetAddr(const uint32_t addr[4], uint8_t prefixLen, uint32_t net[4]);

QOR_END_DECLS

#endif
