// Timer owners: a queue of timers and a timerfd that wakes the user's poll loop.
#include <sys/timerfd.h>
#include <unistd.h>

#include <cstdlib>
#include <new>

#include "base/host/qor_host_api.hpp"  // IWYU pragma: keep
#include "base/host/qor_host_clock.hpp"
#include "base/host/qor_host_timer_queue.hpp"
#include "qor_host_posix.h"

namespace {

using qor::host::kMsPerSecond;
using qor::host::kNsPerMs;
using qor::host::TimerQueue;

struct Owner {
    TimerQueue queue;
    int fd;
    uint64_t wakeAt;  // the tick, a millisecond, that fd is set to
};

Owner *FromHandle(uint64_t owner) {
    return reinterpret_cast<Owner *>(static_cast<uintptr_t>(owner));
}

uint64_t Now() {
    return qor::host::MonotonicNs() / kNsPerMs;
}

void SetWake(Owner *owner, uint64_t at) {
    itimerspec spec{};  // all zero disarms
    if (at != TimerQueue::kNever) {
        spec.it_value.tv_sec = static_cast<time_t>(at / kMsPerSecond);
        spec.it_value.tv_nsec = static_cast<long>(at % kMsPerSecond * kNsPerMs);
    }
    timerfd_settime(owner->fd, TFD_TIMER_ABSTIME, &spec, nullptr);
    owner->wakeAt = at;
}

uint64_t Arm(uint64_t handle, uint64_t seconds, bool periodic, uint32_t type, uint64_t param) {
    Owner *owner = FromHandle(handle);
    if (!owner) {
        return 0;
    }
    const uint64_t delay = seconds * kMsPerSecond;
    const uint64_t now = Now();
    // The tick has begun already, so an interval ends in the one after.
    const uint64_t deadline = delay == 0 ? now : now + delay + 1;
    const uint64_t timer = owner->queue.Arm(now, deadline, periodic ? delay : 0, type, param);
    // Waking too early is harmless, so a cancellation leaves the descriptor alone; and a run sets
    // it once at its end.
    if (deadline < owner->wakeAt && !owner->queue.IsRunning()) {
        SetWake(owner, deadline);
    }
    return timer;
}

}  // namespace

uint64_t HOST_TimerCreateOnce(uint64_t owner, uint32_t interval, uint32_t timerType, uint64_t param,
                              uint32_t /*ten*/) {
    return Arm(owner, interval, false, timerType, param);
}

uint64_t HOST_TimerCreatePeriod(uint64_t owner, uint32_t interval, uint32_t timerType,
                                uint64_t param, uint32_t /*ten*/) {
    return interval == 0 ? 0 : Arm(owner, interval, true, timerType, param);
}

uint32_t HOST_TimerDelete(uint64_t owner, uint64_t handle) {
    return owner != 0 && FromHandle(owner)->queue.Cancel(handle) ? 0 : 1;
}

uint64_t HOST_POSIX_TimerOwnerCreate(HOST_POSIX_TIMER_PF expire, void *user) {
    if (!expire) {
        return 0;
    }
    void *place = malloc(sizeof(Owner));
    const int fd = place ? timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK) : -1;
    if (fd < 0) {
        free(place);
        return 0;
    }
    return reinterpret_cast<uintptr_t>(new (place)
                                           Owner{TimerQueue(expire, user), fd, TimerQueue::kNever});
}

void HOST_POSIX_TimerOwnerDestroy(uint64_t owner) {
    if (Owner *gone = FromHandle(owner)) {
        close(gone->fd);
        gone->~Owner();
        free(gone);
    }
}

int HOST_POSIX_TimerFd(uint64_t owner) {
    return FromHandle(owner)->fd;
}

uint32_t HOST_POSIX_TimerRun(uint64_t handle) {
    Owner *owner = FromHandle(handle);
    if (owner->queue.IsRunning()) {
        return 0;
    }
    const uint32_t fired = owner->queue.Run(Now());
    // Setting the descriptor also makes it unreadable until then.
    SetWake(owner, owner->queue.NextRun());
    return fired;
}

uint32_t HOST_POSIX_TimerCount(uint64_t owner) {
    return FromHandle(owner)->queue.Count();
}
