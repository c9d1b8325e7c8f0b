// The host's timers as the library uses them.
#pragma once

#include "qor_host.h"  // IWYU pragma: export

namespace qor {

inline constexpr uint32_t kTimerArg = 10;  // the host wants it with every timer

inline uint64_t ArmOnce(uint64_t owner, uint32_t interval, uint32_t type, uint64_t param) {
    return HOST_TimerCreateOnce(owner, interval, type, param, kTimerArg);
}

inline uint64_t ArmPeriodic(uint64_t owner, uint32_t interval, uint32_t type) {
    return HOST_TimerCreatePeriod(owner, interval, type, 0, kTimerArg);
}

}  // namespace qor
