#include "qor_systime.h"

#include "base/qor_check.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::Where;

constexpr char kSource[] = "qor_systime";

constexpr uint32_t kEarlier = 3;  // HOST_SystimeCompare: t1 is earlier
constexpr uint32_t kMsPerSecond = 1000;

// Passes a host operation's result on; a failure is reported.
uint32_t Told(Where where, uint32_t result) {
    if (result != 0) {
        Report(where);
    }
    return result;
}

}  // namespace

uint32_t QOR_TIME_GetSysTime() {
    HOST_SYSTIME_S now{};
    uint32_t high = 0;
    uint32_t low = 0;
    if (Told(kSource, HOST_SystimeGet(&now)) == 0) {
        Told(kSource, HOST_SystimeSecSince1970(&now, &high, &low));
    }
    return low;
}

uint32_t QOR_TIME_GetCpuTickTimeMs(uint32_t *msHigh, uint32_t *msLow) {
    if (RefuseNull(kSource, msHigh, msLow)) {
        return QOR_ERR_ARG;
    }
    uint32_t tickHigh = 0;
    uint32_t tickLow = 0;
    HOST_GetCpuTick(&tickHigh, &tickLow);
    return Told(kSource, HOST_CpuTick2Ms(tickHigh, tickLow, msHigh, msLow));
}

uint32_t QOR_TIME_GetCpuTickTimeSec() {
    uint32_t msHigh = 0;
    uint32_t msLow = 0;
    QOR_TIME_GetCpuTickTimeMs(&msHigh, &msLow);
    uint32_t secHigh = 0;
    uint32_t secLow = 0;
    if (Told(kSource, HOST_Div64By32RoundUp(msHigh, msLow, kMsPerSecond, &secHigh, &secLow)) != 0) {
        return QOR_TIME_INVALID;
    }
    return secLow;
}

uint32_t QOR_TIME_CalcTimeInterval(uint32_t startHigh, uint32_t startLow, uint32_t endHigh,
                                   uint32_t endLow) {
    if (startHigh > endHigh || (startHigh == endHigh && startLow > endLow)) {
        Report(kSource);
        return QOR_TIME_INVALID;
    }
    const bool wrappedOnce = endHigh - startHigh == 1 && endLow < startLow;
    return startHigh == endHigh || wrappedOnce ? endLow - startLow : QOR_TIME_INVALID;
}

uint32_t QOR_TIME_GetTickTime(uint32_t *tickHigh, uint32_t *tickLow) {
    if (RefuseNull(kSource, tickHigh, tickLow)) {
        return QOR_ERR_ARG;
    }
    return Told(kSource, HOST_TickGet(tickHigh, tickLow));
}

uint32_t QOR_TIME_GetMs2TickTime(uint32_t msHigh, uint32_t msLow, uint32_t *tickHigh,
                                 uint32_t *tickLow) {
    if (RefuseNull(kSource, tickHigh, tickLow)) {
        return QOR_ERR_ARG;
    }
    return HOST_TickMs2Tick(msHigh, msLow, tickHigh, tickLow);
}

uint32_t QOR_TIME_GetSystimeRelSecCal(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                                      uint32_t *seconds) {
    if (RefuseNull(kSource, t1, t2, seconds)) {
        return QOR_ERR_ARG;
    }
    const uint32_t order = HOST_SystimeCompare(t1, t2, seconds);
    if (order == kEarlier) {
        return HOST_SystimeRelSecCal(t1, t2, seconds);
    }
    *seconds = 0;
    return order;
}
