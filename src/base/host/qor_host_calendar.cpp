#include "base/host/qor_host_calendar.hpp"

namespace qor::host {
namespace {

constexpr bool IsLeap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Days before the first of each month of a common year.
constexpr int kDaysBefore[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

constexpr int DaysIn(int year, int month) {
    return kDaysBefore[month] - kDaysBefore[month - 1] + (month == 2 && IsLeap(year) ? 1 : 0);
}

// Days from 0001-01-01 to the first of January of year.
constexpr int64_t DaysBeforeYear(int64_t year) {
    const int64_t full = year - 1;
    return full * 365 + full / 4 - full / 100 + full / 400;
}

constexpr int64_t kEpochDay = DaysBeforeYear(1970);
static_assert(kEpochDay == 719162);

}  // namespace

bool ToMilliseconds(const HOST_SYSTIME_S &t, int64_t *ms) {
    if (t.usYear == 0 || t.ucMonth < 1 || t.ucMonth > 12 || t.ucDay < 1 ||
        t.ucDay > DaysIn(t.usYear, t.ucMonth) || t.ucHour > 23 || t.ucMinute > 59 ||
        t.ucSecond > 60 || t.ulMilliSec > 999) {
        return false;
    }
    const int64_t days = DaysBeforeYear(t.usYear) - kEpochDay + kDaysBefore[t.ucMonth - 1] +
                         (t.ucMonth > 2 && IsLeap(t.usYear) ? 1 : 0) + t.ucDay - 1;
    const int64_t seconds = ((days * 24 + t.ucHour) * 60 + t.ucMinute) * 60 + t.ucSecond;
    *ms = seconds * 1000 + t.ulMilliSec;
    return true;
}

uint32_t RelativeSeconds(const HOST_SYSTIME_S &from, const HOST_SYSTIME_S &to, uint32_t *seconds) {
    int64_t start = 0;
    int64_t end = 0;
    if (!ToMilliseconds(from, &start) || !ToMilliseconds(to, &end) || end < start ||
        (end - start) / 1000 > UINT32_MAX) {
        return 1;
    }
    *seconds = static_cast<uint32_t>((end - start) / 1000);
    return 0;
}

void FromTm(const std::tm &broken, uint32_t ms, HOST_SYSTIME_S *t) {
    const auto octet = [](int value) { return static_cast<uint8_t>(value); };
    *t = HOST_SYSTIME_S{.usYear = static_cast<uint16_t>(broken.tm_year + 1900),
                        .ucMonth = octet(broken.tm_mon + 1),
                        .ucDay = octet(broken.tm_mday),
                        .ucHour = octet(broken.tm_hour),
                        .ucMinute = octet(broken.tm_min),
                        .ucSecond = octet(broken.tm_sec),
                        .ucWeekDay = octet(broken.tm_wday),
                        .ulMilliSec = ms};
}

}  // namespace qor::host

uint32_t HOST_SystimeCompare(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                             uint32_t * /*seconds*/) {
    int64_t first = 0;
    int64_t second = 0;
    if (!qor::host::ToMilliseconds(*t1, &first) || !qor::host::ToMilliseconds(*t2, &second)) {
        return 1;
    }
    return first == second ? 0 : first > second ? 2 : 3;
}

uint32_t HOST_Div64By32RoundUp(uint32_t high, uint32_t low, uint32_t divisor, uint32_t *quotHigh,
                               uint32_t *quotLow) {
    if (divisor == 0) {
        return 1;
    }
    const uint64_t value = static_cast<uint64_t>(high) << 32 | low;
    const uint64_t quotient = value / divisor + (value % divisor != 0 ? 1 : 0);
    *quotHigh = static_cast<uint32_t>(quotient >> 32);
    *quotLow = static_cast<uint32_t>(quotient);
    return 0;
}
