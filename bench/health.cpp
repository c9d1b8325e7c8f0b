// The health service: a report for one of n users, a tick over n waiting users, and a report with n
// earlier ones in the window.
#include "bench.hpp"

namespace {

using namespace qor::bench;

constexpr uint32_t kStat = 1, kExpire = 2;
constexpr uint32_t kMinuteTimer = 7, kSecondTimer = 8;

// A service with one index of either type, of which the windows do not end.
class Health {
  public:
    Health() {
        owner_ = HOST_POSIX_TimerOwnerCreate([](void *, uint32_t, uint64_t) {}, nullptr);
        const QOR_PADS_S cfg{1, kSid, 1, owner_, nullptr};
        pads_ = QOR_PADS_InitPads(&cfg);
        const uint32_t types[] = {kMinuteTimer, kSecondTimer};
        QOR_PADS_InitHealth(types, pads_);
        const QOR_PADS_STAT_REG_S stat{"stat",  UINT32_MAX, UINT32_MAX, 0, QOR_PADS_UNIT_SEC,
                                       nullptr, nullptr};
        const QOR_PADS_EXPIRE_REG_S expire{"expire", UINT16_MAX, QOR_PADS_UNIT_SEC, nullptr,
                                           nullptr};
        QOR_PADS_RegStatExcp(kStat, &stat, pads_);
        QOR_PADS_RegExpireExcp(kExpire, &expire, pads_);
    }
    ~Health() {
        QOR_PADS_DeInitPads(pads_);
        HOST_POSIX_TimerOwnerDestroy(owner_);
    }
    void AddUsers(uint32_t index, size_t n) {
        for (const uint32_t user : Shuffled(n))
            QOR_PADS_AddExcpUser(index, user, 0, pads_);
    }
    void DeleteUser(uint32_t user) { QOR_PADS_DelExcpUser(kStat, user, pads_); }
    uint32_t Report(uint32_t user) { return QOR_PADS_AddStatNode(kStat, user, 1, pads_); }
    uint32_t Tick() { return QOR_PADS_HealthSchedule(kSecondTimer, pads_); }

  private:
    uint64_t owner_;
    QOR_PADS_S *pads_;
};

// Each user in turn gets one report; the users are new whenever all have one.
void Reports(benchmark::State &state) {
    const auto n = static_cast<size_t>(state.range(0));
    Health health;
    health.AddUsers(kStat, n);
    const auto order = Shuffled(n, 2);
    for (auto _ : state) {
        for (const uint32_t user : order)
            if (health.Report(user) != QOR_OK)
                state.SkipWithError("refused");
        state.PauseTiming();
        for (const uint32_t user : order)
            health.DeleteUser(user);
        health.AddUsers(kStat, n);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Tick(benchmark::State &state) {
    Health health;
    health.AddUsers(kExpire, static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        if (health.Tick() != QOR_OK)
            state.SkipWithError("failed");
}

// n reports of one user: each goes through all earlier ones.
void Window(benchmark::State &state) {
    Health health;
    for (auto _ : state) {
        state.PauseTiming();
        health.DeleteUser(0);
        health.AddUsers(kStat, 1);
        state.ResumeTiming();
        for (int64_t i = 0; i < state.range(0); ++i)
            if (health.Report(0) != QOR_OK)
                state.SkipWithError("refused");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(Reports)->Name("health report/qor")->Apply(Sizes);
BENCHMARK(Tick)->Name("health tick/qor")->Apply(Sizes);
BENCHMARK(Window)
    ->Name("health report, so many in the window/qor")
    ->RangeMultiplier(10)
    ->Range(1, 1000);

}  // namespace
