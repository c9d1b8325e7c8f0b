// Clocks: the realtime clock tells dates, the monotonic one ages, the boot time clock the uptime.
#include "base/host/qor_host_clock.hpp"

#include <ctime>

#include "base/host/qor_host_api.hpp"
#include "base/host/qor_host_calendar.hpp"

namespace {

// A scheduler tick is a millisecond, a CPU tick a nanosecond of the monotonic clock.
constexpr uint64_t kCpuTicksPerMs = qor::host::kNsPerMs;

void Split(uint64_t value, uint32_t *high, uint32_t *low) {
    *high = static_cast<uint32_t>(value >> 32);
    *low = static_cast<uint32_t>(value);
}

constexpr uint64_t Join(uint32_t high, uint32_t low) {
    return static_cast<uint64_t>(high) << 32 | low;
}

uint32_t Milliseconds(const timespec &t) {
    return static_cast<uint32_t>(t.tv_nsec / 1'000'000);
}

uint32_t ReadSeconds(clockid_t clock, uint32_t *secHigh, uint32_t *secLow) {
    timespec now{};
    if (clock_gettime(clock, &now) != 0) {
        return 1;
    }
    Split(static_cast<uint64_t>(now.tv_sec), secHigh, secLow);
    return 0;
}

}  // namespace

uint64_t qor::host::MonotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * kNsPerSecond + static_cast<uint64_t>(now.tv_nsec);
}

uint32_t HOST_SystimeGet(HOST_SYSTIME_S *t) {
    timespec now{};
    tm broken{};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0 || !localtime_r(&now.tv_sec, &broken)) {
        return 1;
    }
    qor::host::FromTm(broken, Milliseconds(now), t);
    return 0;
}

uint32_t HOST_GmtSystimeGet(HOST_SYSTIME_S *t) {
    timespec now{};
    // Not gmtime_r, which takes a lock and looks for changes of the zone.
    if (clock_gettime(CLOCK_REALTIME, &now) != 0 ||
        !qor::host::FromSeconds(now.tv_sec, Milliseconds(now), t)) {
        return 1;
    }
    return 0;
}

uint32_t HOST_GetSystemTime(uint32_t *secHigh, uint32_t *secLow) {
    return ReadSeconds(CLOCK_REALTIME, secHigh, secLow);
}

uint32_t HOST_GetUptimeSec(uint32_t *secHigh, uint32_t *secLow) {
    return ReadSeconds(CLOCK_BOOTTIME, secHigh, secLow);
}

uint32_t HOST_SecondNow(uint32_t *sec, uint32_t *subSec) {
    const uint64_t now = qor::host::MonotonicNs();
    *sec = static_cast<uint32_t>(now / qor::host::kNsPerSecond);
    *subSec = static_cast<uint32_t>(now % qor::host::kNsPerSecond / 1000);
    return 0;
}

uint32_t HOST_TickGet(uint32_t *tickHigh, uint32_t *tickLow) {
    Split(qor::host::MonotonicNs() / qor::host::kNsPerMs, tickHigh, tickLow);
    return 0;
}

uint32_t HOST_TickMs2Tick(uint32_t msHigh, uint32_t msLow, uint32_t *tickHigh, uint32_t *tickLow) {
    Split(Join(msHigh, msLow), tickHigh, tickLow);
    return 0;
}

void HOST_GetCpuTick(uint32_t *tickHigh, uint32_t *tickLow) {
    Split(qor::host::MonotonicNs(), tickHigh, tickLow);
}

uint32_t HOST_CpuTick2Ms(uint32_t tickHigh, uint32_t tickLow, uint32_t *msHigh, uint32_t *msLow) {
    Split(Join(tickHigh, tickLow) / kCpuTicksPerMs, msHigh, msLow);
    return 0;
}

uint32_t HOST_SystimeRelSecCal(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                               uint32_t *seconds) {
    return qor::host::RelativeSeconds(*t1, *t2, seconds);
}

uint32_t HOST_SystimeSec2Time(uint32_t sec, HOST_SYSTIME_S *t) {
    const time_t seconds = sec;
    tm broken{};
    if (!localtime_r(&seconds, &broken)) {
        return 1;
    }
    qor::host::FromTm(broken, 0, t);
    return 0;
}

uint32_t HOST_SystimeSecSince1970(const HOST_SYSTIME_S *t, uint32_t *secHigh, uint32_t *secLow) {
    int64_t ms = 0;
    if (!qor::host::ToMilliseconds(*t, &ms)) {
        return 1;
    }
    tm broken{};
    broken.tm_year = t->usYear - 1900;
    broken.tm_mon = t->ucMonth - 1;
    broken.tm_mday = t->ucDay;
    broken.tm_hour = t->ucHour;
    broken.tm_min = t->ucMinute;
    broken.tm_sec = t->ucSecond;
    broken.tm_isdst = -1;  // the zone's rules decide
    const time_t seconds = mktime(&broken);
    if (seconds < 0) {
        return 1;
    }
    Split(static_cast<uint64_t>(seconds), secHigh, secLow);
    return 0;
}
