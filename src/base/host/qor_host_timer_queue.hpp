// The timers of one owner: a hierarchical timing wheel over a table of slots, after Varghese and
// Lauck. Arming and cancelling cost O(1); a timer is moved once per level at most until it expires.
// Times are ticks of a clock that the caller reads, below 2^48.
#pragma once

#include "base/host/qor_host_api.hpp"  // IWYU pragma: keep
#include "qor_host_posix.h"

namespace qor::host {

class TimerQueue {
  public:
    static constexpr uint64_t kNever = UINT64_MAX;

    TimerQueue(HOST_POSIX_TIMER_PF expire, void *user) : expire_(expire), user_(user) {}
    ~TimerQueue();
    TimerQueue(const TimerQueue &) = delete;
    TimerQueue &operator=(const TimerQueue &) = delete;

    // Arms a timer that expires at deadline, then every period unless that is 0. Returns its
    // handle, 0 without memory.
    uint64_t Arm(uint64_t now, uint64_t deadline, uint64_t period, uint32_t type, uint64_t param);

    // False when handle names no armed timer.
    bool Cancel(uint64_t handle);

    // Fires what is due at now, earliest first, except what is armed meanwhile; returns the number
    // of expiries.
    uint32_t Run(uint64_t now);

    // When Run is to be called next: when the earliest timer expires, or before that if timers are
    // to be moved. kNever without a timer.
    uint64_t NextRun() const;

    uint32_t Count() const { return count_; }
    bool IsRunning() const { return running_; }

  private:
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Slot {
        uint64_t param;
        uint64_t deadline;
        uint64_t period;
        uint32_t type;
        uint32_t generation;  // how often the slot was released; makes old handles invalid
        uint32_t next;        // of the bucket, or of the free slots
        uint32_t previous;    // of the bucket
        uint32_t bucket;      // kNone while the slot is free
    };
    struct Bucket {
        uint32_t first = kNone;
        uint32_t last = kNone;
    };

    bool Reserve();
    void Link(uint32_t index);
    void Unlink(uint32_t index);
    void ReleaseSlot(uint32_t index);
    void Fire(uint32_t index, uint64_t now);
    uint32_t FirstBucket() const;
    uint64_t StartOf(uint32_t bucket) const;

    // A timer's bucket is of the level of the highest digit in which its deadline differs from
    // elapsed_, and is that digit of the deadline. So all of a level's deadlines come before those
    // of the next level, and the bucket that elapsed_ stands in is empty but at level 0.
    static constexpr uint32_t kDigitBits = 6;
    static constexpr uint32_t kDigits = 1 << kDigitBits;  // one bit each of an occupied_
    static constexpr uint32_t kLevels = 8;

    HOST_POSIX_TIMER_PF expire_;
    void *user_;
    Slot *slots_ = nullptr;
    uint32_t capacity_ = 0;
    uint32_t count_ = 0;  // armed timers
    uint32_t free_ = kNone;
    bool running_ = false;
    uint64_t runAt_ = 0;
    uint64_t elapsed_ = 0;  // nothing is due before
    uint64_t occupied_[kLevels] = {};
    Bucket buckets_[kLevels * kDigits];
};

}  // namespace qor::host
