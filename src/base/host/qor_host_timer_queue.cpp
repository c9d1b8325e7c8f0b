#include "base/host/qor_host_timer_queue.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>

namespace qor::host {
namespace {

constexpr uint32_t kFirstCapacity = 16;
constexpr uint32_t kMaxCapacity = UINT32_C(1) << 30;

// A handle is the generation and the slot's number counted from 1, so it is never 0.
constexpr uint64_t HandleOf(uint32_t index, uint32_t generation) {
    return static_cast<uint64_t>(generation) << 32 | (index + 1);
}

}  // namespace

TimerQueue::~TimerQueue() {
    free(slots_);
}

// Makes sure that a slot is free.
bool TimerQueue::Reserve() {
    if (free_ != kNone) {
        return true;
    }
    const uint32_t grown = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
    void *table = grown > kMaxCapacity ? nullptr : realloc(slots_, grown * sizeof(Slot));
    if (!table) {
        return false;
    }
    slots_ = static_cast<Slot *>(table);
    for (uint32_t i = grown; i-- > capacity_;) {
        slots_[i] = Slot{};
        slots_[i].bucket = kNone;
        slots_[i].next = free_;
        free_ = i;
    }
    capacity_ = grown;
    return true;
}

// Appends a timer to the bucket of its deadline.
void TimerQueue::Link(uint32_t index) {
    Slot &slot = slots_[index];
    const uint64_t at = std::max(slot.deadline, elapsed_);
    const auto level = static_cast<uint32_t>(std::bit_width((at ^ elapsed_) | 1) - 1) / kDigitBits;
    const auto digit = static_cast<uint32_t>(at >> (level * kDigitBits)) % kDigits;
    Bucket &bucket = buckets_[level * kDigits + digit];
    slot.bucket = level * kDigits + digit;
    slot.previous = bucket.last;
    slot.next = kNone;
    (bucket.last == kNone ? bucket.first : slots_[bucket.last].next) = index;
    bucket.last = index;
    occupied_[level] |= UINT64_C(1) << digit;
}

void TimerQueue::Unlink(uint32_t index) {
    const Slot &slot = slots_[index];
    Bucket &bucket = buckets_[slot.bucket];
    (slot.previous == kNone ? bucket.first : slots_[slot.previous].next) = slot.next;
    (slot.next == kNone ? bucket.last : slots_[slot.next].previous) = slot.previous;
    if (bucket.first == kNone) {
        occupied_[slot.bucket / kDigits] &= ~(UINT64_C(1) << (slot.bucket % kDigits));
    }
}

void TimerQueue::ReleaseSlot(uint32_t index) {
    Slot &slot = slots_[index];
    slot.generation++;
    slot.bucket = kNone;
    slot.next = free_;
    free_ = index;
    count_--;
}

uint64_t TimerQueue::Arm(uint64_t now, uint64_t deadline, uint64_t period, uint32_t type,
                         uint64_t param) {
    if (!Reserve()) {
        return 0;
    }
    if (count_ == 0) {
        elapsed_ = now;  // nobody ran an empty queue
    }
    const uint32_t index = free_;
    Slot &slot = slots_[index];
    free_ = slot.next;
    count_++;
    slot.param = param;
    slot.period = period;
    slot.type = type;
    // Otherwise a callback that arms a timer of no delay would keep the run from ending.
    slot.deadline = running_ ? std::max(deadline, runAt_ + 1) : deadline;
    Link(index);
    return HandleOf(index, slot.generation);
}

bool TimerQueue::Cancel(uint64_t handle) {
    const uint32_t index = static_cast<uint32_t>(handle) - 1;
    if (index >= capacity_ || slots_[index].bucket == kNone ||
        HandleOf(index, slots_[index].generation) != handle) {
        return false;
    }
    Unlink(index);
    ReleaseSlot(index);
    return true;
}

// The occupied bucket that comes first; kNone without a timer.
uint32_t TimerQueue::FirstBucket() const {
    for (uint32_t level = 0; level < kLevels; level++) {
        if (occupied_[level] != 0) {
            return level * kDigits + static_cast<uint32_t>(std::countr_zero(occupied_[level]));
        }
    }
    return kNone;
}

// The first tick of a bucket.
uint64_t TimerQueue::StartOf(uint32_t bucket) const {
    const uint32_t shift = bucket / kDigits * kDigitBits;
    const uint64_t above = elapsed_ >> shift >> kDigitBits << kDigitBits;
    return (above | bucket % kDigits) << shift;
}

uint64_t TimerQueue::NextRun() const {
    const uint32_t bucket = FirstBucket();
    if (bucket == kNone) {
        return kNever;
    }
    // A timer alone in its bucket need not be moved before its time.
    const Bucket &timers = buckets_[bucket];
    return timers.first == timers.last ? slots_[timers.first].deadline : StartOf(bucket);
}

void TimerQueue::Fire(uint32_t index, uint64_t now) {
    Unlink(index);
    Slot &slot = slots_[index];
    const uint32_t type = slot.type;  // the callback may arm, and so move the slots
    const uint64_t param = slot.param;
    if (slot.period != 0) {
        slot.deadline += ((now - slot.deadline) / slot.period + 1) * slot.period;
        Link(index);
    } else {
        ReleaseSlot(index);
    }
    expire_(user_, type, param);
}

uint32_t TimerQueue::Run(uint64_t now) {
    running_ = true;
    runAt_ = now;
    uint32_t fired = 0;
    for (uint32_t bucket; (bucket = FirstBucket()) != kNone && StartOf(bucket) <= now;) {
        elapsed_ = StartOf(bucket);
        if (bucket < kDigits) {
            Fire(buckets_[bucket].first, now);
            fired++;
            continue;
        }
        // Its timers go to the levels below.
        uint32_t index = buckets_[bucket].first;
        buckets_[bucket] = {};
        occupied_[bucket / kDigits] &= ~(UINT64_C(1) << (bucket % kDigits));
        while (index != kNone) {
            const uint32_t next = slots_[index].next;
            Link(index);
            index = next;
        }
    }
    elapsed_ = std::max(elapsed_, now);
    running_ = false;
    return fired;
}

}  // namespace qor::host
