// boost::msm on the machine of fsm.cpp; it keeps no record. C++17: the library is older than C++20.
#include <boost/msm/back/state_machine.hpp>
#include <boost/msm/front/functor_row.hpp>
#include <boost/msm/front/state_machine_def.hpp>

#include "bench.hpp"

namespace {

namespace msm = boost::msm;

uint64_t handled;

struct Go {
    uint64_t data;
};
struct Act {
    template <class Event, class Machine, class Source, class Target>
    void operator()(const Event &event, Machine &, Source &, Target &) const {
        handled += event.data;
        benchmark::DoNotOptimize(handled);
    }
};
template <bool kMoves>
struct Front : msm::front::state_machine_def<Front<kMoves>> {
    struct Down : msm::front::state<> {};
    struct Sent : msm::front::state<> {};
    struct Up : msm::front::state<> {};
    using initial_state = Down;
    template <class A, class B>
    using Row = msm::front::Row<A, Go, std::conditional_t<kMoves, B, msm::front::none>, Act,
                                msm::front::none>;
    struct transition_table : boost::mpl::vector<Row<Down, Sent>, Row<Sent, Up>, Row<Up, Down>> {};
};

template <bool kMoves>
void Msm(benchmark::State &state) {
    msm::back::state_machine<Front<kMoves>> machine;
    machine.start();
    for (auto _ : state)
        machine.process_event(Go{2});
}

BENCHMARK(Msm<true>)->Name("fsm event to another state/msm");
BENCHMARK(Msm<false>)->Name("fsm event in the same state/msm");

}  // namespace
