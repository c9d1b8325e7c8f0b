// Calendar arithmetic on broken-down times, free of time zones.
#pragma once

#include <ctime>

#include "base/host/qor_host_api.hpp"

namespace qor::host {

// *ms := milliseconds from 1970-01-01 00:00:00 to t, read as GMT. False when t is no valid time;
// the weekday is not looked at.
bool ToMilliseconds(const HOST_SYSTIME_S &t, int64_t *ms);

// The other way round, from whole seconds and ms; false outside the years 1 to 9999.
bool FromSeconds(int64_t seconds, uint32_t ms, HOST_SYSTIME_S *t);

// What HOST_SystimeRelSecCal returns.
uint32_t RelativeSeconds(const HOST_SYSTIME_S &from, const HOST_SYSTIME_S &to, uint32_t *seconds);

// Turns what the C library's calendar gives into the platform's form.
void FromTm(const std::tm &broken, uint32_t ms, HOST_SYSTIME_S *t);

}  // namespace qor::host
