// The timers of one owner: a heap ordered by deadline over a table of slots. Arming and cancelling
// cost O(log n). Times are nanoseconds of a clock that the caller reads.
#pragma once

#include <cstdint>

#include "base/host/qor_host_api.hpp"
#include "qor_host_posix.h"

namespace qor::host {

class TimerQueue {
  public:
    static constexpr uint64_t kNever = UINT64_MAX;

    TimerQueue(HOST_POSIX_TIMER_PF expire, void *user) : expire_(expire), user_(user) {}
    ~TimerQueue();
    TimerQueue(const TimerQueue &) = delete;
    TimerQueue &operator=(const TimerQueue &) = delete;

    // Arms a timer that expires after delay, then every period unless that is 0. Returns its
    // handle, 0 without memory.
    uint64_t Arm(uint64_t now, uint64_t delay, uint64_t period, uint32_t type, uint64_t param);

    // False when handle names no armed timer.
    bool Cancel(uint64_t handle);

    // Fires what is due at now, except what is armed meanwhile; returns the number of expiries.
    uint32_t Run(uint64_t now);

    // When the earliest timer expires, kNever without one.
    uint64_t NextDeadline() const { return count_ == 0 ? kNever : heap_[0].deadline; }

    uint32_t Count() const { return count_; }
    bool IsRunning() const { return running_; }

  private:
    struct Slot {
        uint64_t param;
        uint64_t period;
        uint32_t type;
        uint32_t generation;  // how often the slot was released; makes old handles invalid
        uint32_t place;       // in the heap, or the next free slot
        bool armed;
    };
    struct Entry {
        uint64_t deadline;
        uint32_t slot;
    };

    bool Reserve();
    void Put(uint32_t place, Entry entry);
    void Sift(uint32_t place, Entry entry);
    void Remove(uint32_t place);
    void ReleaseSlot(uint32_t index);

    HOST_POSIX_TIMER_PF expire_;
    void *user_;
    Slot *slots_ = nullptr;
    Entry *heap_ = nullptr;
    uint32_t capacity_ = 0;  // of both tables
    uint32_t count_ = 0;     // entries of the heap
    uint32_t free_ = kNoSlot;
    uint64_t runAt_ = 0;
    bool running_ = false;

    static constexpr uint32_t kNoSlot = UINT32_MAX;
};

}  // namespace qor::host
