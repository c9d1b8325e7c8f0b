/** @file
 * Types shared by every libqor header: the export mark, result codes and
 * small helpers for the packed records.
 *
 * Result codes 0x80MM00NN carry the number of the module that defines them: 00
 * all modules, 02 black box, 04 state machine, 05 LDP codec, 06 timed queue.
 */
#ifndef QOR_TYPES_H
#define QOR_TYPES_H

#include <stddef.h> /* IWYU pragma: export */
#include <stdint.h> /* IWYU pragma: export */

/** The version of these headers; CONTRIBUTING.md tells what its numbers mean. @{ */
#define QOR_VERSION_MAJOR 1
#define QOR_VERSION_MINOR 0
#define QOR_VERSION_PATCH 0
/** @} */

/** For C and C++: C linkage around declarations, an assertion at compile time. @{ */
#ifdef __cplusplus
#define QOR_BEGIN_DECLS extern "C" {
#define QOR_END_DECLS }
#define QOR_STATIC_ASSERT(cond, text) static_assert(cond, text)
#else
#define QOR_BEGIN_DECLS
#define QOR_END_DECLS
#define QOR_STATIC_ASSERT(cond, text) _Static_assert(cond, text)
#endif
/** @} */

/** The library is built with hidden visibility; only declarations that carry
 * this mark leave it. */
#define QOR_EXPORT __attribute__((visibility("default")))

/** Lets the compiler check printf-style arguments: fmt and first are the
 * 1-based positions of the format and of its first argument. */
#define QOR_PRINTF(fmt, first) __attribute__((format(printf, fmt, first)))

/** Check one offset, or the size, of a public record. The layouts are fixed for
 * 64-bit platforms; elsewhere only the order of the fields is. @{ */
#define QOR_ASSERT_OFFSET(type, member, octets)                                  \
    QOR_STATIC_ASSERT(sizeof(void *) != 8 || offsetof(type, member) == (octets), \
                      #type "." #member " moved")
#define QOR_ASSERT_SIZE(type, octets) \
    QOR_STATIC_ASSERT(sizeof(void *) != 8 || sizeof(type) == (octets), #type " changed its size")
/** @} */

/** @name Result codes common to all modules
 * @{ */
#define QOR_OK UINT32_C(0)                  /**< success */
#define QOR_FAIL UINT32_C(1)                /**< refused: NULL argument or precondition */
#define QOR_ERR_ARG UINT32_C(0x80000001)    /**< invalid argument */
#define QOR_ERR_NO_MEM UINT32_C(0x80000002) /**< the host could not allocate */
/** @} */

#endif
