/** @file
 * Time helpers: the host's clocks in the forms that protocol code asks for.
 *
 * 64-bit readings travel as a high and a low word. A host operation that fails is reported,
 * unless the comment says otherwise, which also tells what is returned then.
 */
#ifndef QOR_SYSTIME_H
#define QOR_SYSTIME_H

#include "qor_host.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/** No time, no interval. It is also a valid interval of 2^32 - 1. */
#define QOR_TIME_INVALID UINT32_MAX

/** Returns the seconds since 1970 (low word) of the current local time; 0 when
 * the host cannot tell. */
QOR_EXPORT uint32_t QOR_TIME_GetSysTime(void);

/** Stores the CPU tick counter as milliseconds. Returns QOR_OK; QOR_ERR_ARG for
 * NULL; else the host's failure, and the words are what the host left. */
QOR_EXPORT uint32_t QOR_TIME_GetCpuTickTimeMs(uint32_t *msHigh, uint32_t *msLow);

/** Returns the CPU tick counter in seconds, rounded up (low word); 0 when the
 * counter cannot be converted, QOR_TIME_INVALID when it cannot be divided. */
QOR_EXPORT uint32_t QOR_TIME_GetCpuTickTimeSec(void);

/** Returns the distance from a start to an end reading of any one unit.
 * QOR_TIME_INVALID and a report when the end is earlier; QOR_TIME_INVALID alone
 * when the high words differ and the distance is not one wrap of the low word,
 * that is, for 2^32 and more. */
QOR_EXPORT uint32_t QOR_TIME_CalcTimeInterval(uint32_t startHigh, uint32_t startLow,
                                              uint32_t endHigh, uint32_t endLow);

/** Stores the scheduler ticks. Results as QOR_TIME_GetCpuTickTimeMs. */
QOR_EXPORT uint32_t QOR_TIME_GetTickTime(uint32_t *tickHigh, uint32_t *tickLow);

/** Stores how many scheduler ticks a span of milliseconds is. Returns the host's
 * result, 0 for success, without a report of its own; QOR_ERR_ARG for NULL. */
QOR_EXPORT uint32_t QOR_TIME_GetMs2TickTime(uint32_t msHigh, uint32_t msLow, uint32_t *tickHigh,
                                            uint32_t *tickLow);

/** Stores the seconds from t1 to t2 when HOST_SystimeCompare answers 3 (t1 is
 * earlier), and returns the result of HOST_SystimeRelSecCal. For any other
 * answer stores 0 and returns the answer, 0 for equal times included.
 * QOR_ERR_ARG for NULL. Nothing else is reported. */
QOR_EXPORT uint32_t QOR_TIME_GetSystimeRelSecCal(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                                                 uint32_t *seconds);

QOR_END_DECLS

#endif
