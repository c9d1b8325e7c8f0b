// The state machine engine beside a switch written by hand that keeps the same record; fsm_msm.cpp
// has boost::msm.
#include "bench.hpp"

namespace {

using namespace qor::bench;

// A pseudowire: down, label sent, up. Each event moves on to the next state, so each call changes
// the state.
enum : uint32_t { kDown, kSent, kUp, kStates };

uint64_t handled;

// Real handlers are too long to be inlined, and may fail.
__attribute__((noipa)) uint32_t Handle(uint64_t, uint64_t data, uint64_t) {
    handled += data;
    benchmark::DoNotOptimize(handled);
    return 0;
}

constexpr QOR_FSM_ENTRY_S kMoving[] = {
    {kDown, kSent, Handle}, {kSent, kUp, Handle}, {kUp, kDown, Handle}};
constexpr QOR_FSM_ENTRY_S kStaying[] = {
    {kDown, kDown, Handle}, {kSent, kSent, Handle}, {kUp, kUp, Handle}};
constexpr QOR_FSM_DESC_S kMover = {1, kStates, kMoving, nullptr, nullptr};
constexpr QOR_FSM_DESC_S kStayer = {1, kStates, kStaying, nullptr, nullptr};
constexpr QOR_FSM_FALLBACK_S kFallBack[] = {{kDown, 1, 3600}, {kSent, 2, 1800}, {kUp, 3, 7200}};

uint64_t Owner() {
    static const uint64_t owner =
        HOST_POSIX_TimerOwnerCreate([](void *, uint32_t, uint64_t) {}, nullptr);
    return owner;
}

QOR_FSM_LIB_S *Library() {
    static const QOR_LOG_CFG_S log{0, kSid, nullptr, 0, 1, "B", "fsm", 0, 1, 0, 0};
    static const QOR_FSM_LIB_S cfg{kSid, Owner(),
                                   reinterpret_cast<uintptr_t>(QOR_LOG_Init(&log, &log)), 0};
    static QOR_FSM_LIB_S *lib = QOR_FSM_InitLib(&cfg, &cfg);
    return lib;
}

QOR_FSM_INST_S Machine(const QOR_FSM_DESC_S &desc, const QOR_FSM_FALLBACK_S *fallBack) {
    QOR_FSM_INST_S inst{};
    inst.pstFsmDesc = &desc;
    inst.pstLib = Library();
    inst.pstFallBackTbl = fallBack;
    return inst;
}

// The same work without a table.
__attribute__((noipa)) uint32_t ByHand(QOR_FSM_INST_S *inst, uint32_t event, bool moving,
                                       uint64_t param, uint64_t data) {
    if (event != 0)
        return 1;
    uint32_t next = 0;
    uint32_t (*handler)(uint64_t, uint64_t, uint64_t) = nullptr;
    switch (inst->ulCurState) {
        case kDown:
            next = moving ? kSent : kDown;
            handler = Handle;
            break;
        case kSent:
            next = moving ? kUp : kSent;
            handler = Handle;
            break;
        case kUp:
            next = moving ? kDown : kUp;
            handler = Handle;
            break;
        default:
            return 1;
    }
    const uint32_t old = inst->ulOldState, current = inst->ulCurState;
    inst->ulOldEvent = event;
    inst->ulOldState = current;
    inst->ulCurState = next;
    if (current != next) {
        inst->ulStateChgCnt++;
        HOST_GmtSystimeGet(&inst->stStateChgTime);
    }
    const uint32_t result = handler(param, data, inst->ulUserData);
    if (result != 0) {
        inst->ulErrCnt++;
        inst->ulOldState = old;
        inst->ulCurState = current;
    }
    return result;
}

void Engine(benchmark::State &state, const QOR_FSM_DESC_S &desc) {
    QOR_FSM_INST_S inst = Machine(desc, nullptr);
    for (auto _ : state)
        benchmark::DoNotOptimize(QOR_FSM_Execute(&inst, 0, 1, 2));
}

void Switch(benchmark::State &state, const QOR_FSM_DESC_S &desc) {
    QOR_FSM_INST_S inst = Machine(desc, nullptr);
    const bool moving = &desc == &kMover;
    for (auto _ : state)
        benchmark::DoNotOptimize(ByHand(&inst, 0, moving, 1, 2));
}

// ---- With a timer that every event arms anew, among n machines that have one

void Rearm(benchmark::State &state) {
    const auto n = static_cast<size_t>(state.range(0));
    std::vector<QOR_FSM_INST_S> machines(n, Machine(kMover, kFallBack));
    for (auto &machine : machines)
        QOR_FSM_Execute(&machine, 0, 1, 2);
    const auto order = Shuffled(n);
    Ring ring(n);
    for (auto _ : state)
        benchmark::DoNotOptimize(QOR_FSM_Execute(&machines[order[ring.Next()]], 0, 1, 2));
    for (auto &machine : machines)
        QOR_FSM_MrDeleteFallBackTimer(&machine);
}

// What the same walk over machines costs without timers: the cache's share.
void WithoutTimer(benchmark::State &state) {
    const auto n = static_cast<size_t>(state.range(0));
    std::vector<QOR_FSM_INST_S> machines(n, Machine(kMover, nullptr));
    const auto order = Shuffled(n);
    Ring ring(n);
    for (auto _ : state)
        benchmark::DoNotOptimize(QOR_FSM_Execute(&machines[order[ring.Next()]], 0, 1, 2));
}

BENCHMARK_CAPTURE(Engine, moving, kMover)->Name("fsm event to another state/qor");
BENCHMARK_CAPTURE(Switch, moving, kMover)->Name("fsm event to another state/switch");
BENCHMARK_CAPTURE(Engine, staying, kStayer)->Name("fsm event in the same state/qor");
BENCHMARK_CAPTURE(Switch, staying, kStayer)->Name("fsm event in the same state/switch");
BENCHMARK(Rearm)->Name("fsm event that arms a timer anew/qor")->Apply(Sizes);
BENCHMARK(WithoutTimer)->Name("fsm event that arms a timer anew/without timer")->Apply(Sizes);

}  // namespace
