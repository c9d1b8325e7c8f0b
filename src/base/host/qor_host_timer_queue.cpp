#include "base/host/qor_host_timer_queue.hpp"

#include <algorithm>
#include <cstdlib>

namespace qor::host {
namespace {

constexpr uint32_t kFirstCapacity = 16;
constexpr uint32_t kMaxCapacity = UINT32_C(1) << 30;

// A handle is the generation and the slot's number counted from 1, so it is never 0.
constexpr uint64_t HandleOf(uint32_t index, uint32_t generation) {
    return static_cast<uint64_t>(generation) << 32 | (index + 1);
}

template <class T>
bool Resize(T *&table, uint32_t capacity) {
    void *grown = realloc(table, capacity * sizeof(T));
    if (grown) {
        table = static_cast<T *>(grown);
    }
    return grown != nullptr;
}

}  // namespace

TimerQueue::~TimerQueue() {
    free(slots_);
    free(heap_);
}

// Makes sure that a slot is free.
bool TimerQueue::Reserve() {
    if (free_ != kNoSlot) {
        return true;
    }
    const uint32_t grown = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
    if (grown > kMaxCapacity || !Resize(slots_, grown) || !Resize(heap_, grown)) {
        return false;
    }
    for (uint32_t i = grown; i-- > capacity_;) {
        slots_[i] = Slot{};
        slots_[i].place = free_;
        free_ = i;
    }
    capacity_ = grown;
    return true;
}

void TimerQueue::Put(uint32_t place, Entry entry) {
    heap_[place] = entry;
    slots_[entry.slot].place = place;
}

// Puts entry where it belongs; place is free, and the rest of the heap is in order.
void TimerQueue::Sift(uint32_t place, Entry entry) {
    while (place > 0) {
        const uint32_t parent = (place - 1) / 2;
        if (heap_[parent].deadline <= entry.deadline) {
            break;
        }
        Put(place, heap_[parent]);
        place = parent;
    }
    while (place < count_ / 2) {
        uint32_t child = 2 * place + 1;
        if (child + 1 < count_ && heap_[child + 1].deadline < heap_[child].deadline) {
            child++;
        }
        if (entry.deadline <= heap_[child].deadline) {
            break;
        }
        Put(place, heap_[child]);
        place = child;
    }
    Put(place, entry);
}

void TimerQueue::Remove(uint32_t place) {
    count_--;
    if (place != count_) {
        Sift(place, heap_[count_]);
    }
}

void TimerQueue::ReleaseSlot(uint32_t index) {
    Slot &slot = slots_[index];
    slot.armed = false;
    slot.generation++;
    slot.place = free_;
    free_ = index;
}

uint64_t TimerQueue::Arm(uint64_t now, uint64_t delay, uint64_t period, uint32_t type,
                         uint64_t param) {
    if (!Reserve()) {
        return 0;
    }
    const uint32_t index = free_;
    Slot &slot = slots_[index];
    free_ = slot.place;
    slot.param = param;
    slot.period = period;
    slot.type = type;
    slot.armed = true;
    uint64_t deadline = now + delay;
    if (running_) {
        // Otherwise a callback that arms a timer of no delay would keep the run from ending.
        deadline = std::max(deadline, runAt_ + 1);
    }
    Sift(count_++, Entry{deadline, index});
    return HandleOf(index, slot.generation);
}

bool TimerQueue::Cancel(uint64_t handle) {
    const uint32_t index = static_cast<uint32_t>(handle) - 1;
    if (index >= capacity_ || !slots_[index].armed ||
        HandleOf(index, slots_[index].generation) != handle) {
        return false;
    }
    Remove(slots_[index].place);
    ReleaseSlot(index);
    return true;
}

uint32_t TimerQueue::Run(uint64_t now) {
    running_ = true;
    runAt_ = now;
    uint32_t fired = 0;
    while (NextDeadline() <= now) {
        const Entry due = heap_[0];
        const Slot &slot = slots_[due.slot];  // not to be used after the callback, which may arm
        if (slot.period != 0) {
            const uint64_t periods = (now - due.deadline) / slot.period + 1;
            Sift(0, Entry{due.deadline + periods * slot.period, due.slot});
        } else {
            Remove(0);
            ReleaseSlot(due.slot);
        }
        expire_(user_, slot.type, slot.param);
        fired++;
    }
    running_ = false;
    return fired;
}

}  // namespace qor::host
