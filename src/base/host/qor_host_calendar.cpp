#include "base/host/qor_host_calendar.hpp"

#include <chrono>

namespace qor::host {
namespace {

using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::year;

}  // namespace

bool ToMilliseconds(const HOST_SYSTIME_S &t, int64_t *ms) {
    const std::chrono::year_month_day date{year{t.usYear}, std::chrono::month{t.ucMonth},
                                           std::chrono::day{t.ucDay}};
    if (t.usYear == 0 || !date.ok() || t.ucHour > 23 || t.ucMinute > 59 || t.ucSecond > 60 ||
        t.ulMilliSec > 999) {
        return false;
    }
    const int64_t days = sys_days{date}.time_since_epoch().count();
    *ms = (((days * 24 + t.ucHour) * 60 + t.ucMinute) * 60 + t.ucSecond) * 1000 + t.ulMilliSec;
    return true;
}

bool FromSeconds(int64_t seconds, uint32_t ms, HOST_SYSTIME_S *t) {
    constexpr sys_seconds kFirst = sys_days{year{1} / 1 / 1};
    constexpr sys_seconds kEnd = sys_days{year{10000} / 1 / 1};
    const sys_seconds at{std::chrono::seconds{seconds}};
    if (at < kFirst || at >= kEnd) {
        return false;
    }
    const auto day = std::chrono::floor<std::chrono::days>(at);
    const std::chrono::year_month_day date{day};
    const auto within = static_cast<uint32_t>((at - day).count());
    *t = HOST_SYSTIME_S{.usYear = static_cast<uint16_t>(static_cast<int>(date.year())),
                        .ucMonth = static_cast<uint8_t>(static_cast<unsigned>(date.month())),
                        .ucDay = static_cast<uint8_t>(static_cast<unsigned>(date.day())),
                        .ucHour = static_cast<uint8_t>(within / 3600),
                        .ucMinute = static_cast<uint8_t>(within / 60 % 60),
                        .ucSecond = static_cast<uint8_t>(within % 60),
                        .ucWeekDay = static_cast<uint8_t>(std::chrono::weekday{day}.c_encoding()),
                        .ulMilliSec = ms};
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
