// The timers of the default platform beside a std::priority_queue that leaves cancelled timers in
// place until they come up, and beside libevent.
#include <event2/event.h>

#include <chrono>
#include <queue>

#include "bench.hpp"

namespace {

using namespace qor::bench;

uint64_t fired;

class QorTimers {
  public:
    explicit QorTimers(size_t n) : handles_(n) {}
    ~QorTimers() { HOST_POSIX_TimerOwnerDestroy(owner_); }
    void Arm(uint32_t i, uint32_t seconds) {
        handles_[i] = HOST_TimerCreateOnce(owner_, seconds, 1, i, 10);
    }
    void Cancel(uint32_t i) { HOST_TimerDelete(owner_, handles_[i]); }
    void Run() { HOST_POSIX_TimerRun(owner_); }

  private:
    uint64_t owner_ =
        HOST_POSIX_TimerOwnerCreate([](void *, uint32_t, uint64_t) { ++fired; }, nullptr);
    std::vector<uint64_t> handles_;
};

class PriorityQueue {
  public:
    explicit PriorityQueue(size_t n) : live_(n) {}
    void Arm(uint32_t i, uint32_t seconds) {
        queue_.push({Now() + std::chrono::seconds(seconds), i, ++live_[i]});
    }
    void Cancel(uint32_t i) { ++live_[i]; }
    void Run() {
        const auto now = Now();
        for (; !queue_.empty() && queue_.top().deadline <= now; queue_.pop())
            fired += queue_.top().generation == live_[queue_.top().timer];
    }

  private:
    using Clock = std::chrono::steady_clock;
    struct Entry {
        Clock::time_point deadline;
        uint32_t timer, generation;
        bool operator<(const Entry &other) const { return deadline > other.deadline; }
    };
    static Clock::time_point Now() { return Clock::now(); }

    std::priority_queue<Entry> queue_;
    std::vector<uint32_t> live_;
};

class Libevent {
  public:
    explicit Libevent(size_t n) {
        for (size_t i = 0; i < n; ++i)
            events_.push_back(event_new(
                base_, -1, 0, [](evutil_socket_t, short, void *) { ++fired; }, nullptr));
    }
    ~Libevent() {
        for (event *e : events_)
            event_free(e);
        event_base_free(base_);
    }
    void Arm(uint32_t i, uint32_t seconds) {
        const timeval delay{seconds, 0};
        event_add(events_[i], &delay);
    }
    void Cancel(uint32_t i) { event_del(events_[i]); }
    void Run() { event_base_loop(base_, EVLOOP_NONBLOCK | EVLOOP_ONCE); }

  private:
    event_base *base_ = event_base_new();
    std::vector<event *> events_;
};

// n timers of different lengths; one after another, in random order, is cancelled and armed anew.
template <class Timers>
void Rearm(benchmark::State &state) {
    const auto n = static_cast<size_t>(state.range(0));
    Timers timers(n);
    const auto order = Shuffled(n);
    for (const uint32_t i : order)
        timers.Arm(i, 3600 + i % 600);
    Ring ring(n);
    for (auto _ : state) {
        const uint32_t i = order[ring.Next()];
        timers.Cancel(i);
        timers.Arm(i, 3600 + i % 600);
    }
}

// n timers that are due at once.
template <class Timers>
void Expire(benchmark::State &state) {
    const auto n = static_cast<size_t>(state.range(0));
    Timers timers(n);
    const auto order = Shuffled(n);
    for (auto _ : state) {
        state.PauseTiming();
        for (const uint32_t i : order)
            timers.Arm(i, 0);
        const uint64_t before = fired;
        state.ResumeTiming();
        timers.Run();
        if (fired != before + n)
            state.SkipWithError("timers are missing");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(Rearm<QorTimers>)->Name("timer cancel and arm/qor")->Apply(Sizes);
BENCHMARK(Rearm<PriorityQueue>)->Name("timer cancel and arm/priority_queue")->Apply(Sizes);
BENCHMARK(Rearm<Libevent>)->Name("timer cancel and arm/libevent")->Apply(Sizes);
BENCHMARK(Expire<QorTimers>)->Name("timer expire/qor")->Apply(Sizes);
BENCHMARK(Expire<PriorityQueue>)->Name("timer expire/priority_queue")->Apply(Sizes);
BENCHMARK(Expire<Libevent>)->Name("timer expire/libevent")->Apply(Sizes);

}  // namespace
