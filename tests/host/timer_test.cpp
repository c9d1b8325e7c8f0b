// The timer queue against a model with a clock of its own, then the owner with the real one.
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "base/host/qor_host_timer_queue.hpp"
#include "qor_file.h"
#include "qor_fsm.h"
#include "qor_host_posix.h"
#include "qor_log.h"

namespace {

using qor::host::TimerQueue;
using Params = std::vector<uint64_t>;

// The expiries of a queue or an owner, and what else is to happen at one.
struct Expiries {
    Params params;
    std::function<void(uint32_t type)> then;

    static void Note(void *user, uint32_t type, uint64_t param) {
        auto *self = static_cast<Expiries *>(user);
        self->params.push_back(param);
        if (self->then) self->then(type);
    }
};

TEST(TimerQueue, KeepsWithModel) {
    struct Armed {
        uint64_t deadline, period, param;
    };
    Expiries expiries;
    TimerQueue queue(Expiries::Note, &expiries);
    std::map<uint64_t, Armed> model;  // by handle
    std::vector<uint64_t> handles;    // by parameter; of any age
    std::mt19937_64 random(11);
    uint64_t now = 1000;
    for (int i = 0; i < 200'000; i++) {
        const uint64_t dice = random() % 1000;
        if (dice < 600) {
            // Most within reach, some of each length up to 136 years of milliseconds.
            const uint64_t delay = dice < 500 ? random() % 400'000 : random() >> (22 + dice % 42);
            const uint64_t period = dice < 6 ? delay / 20 + 1 : 0;
            const uint64_t deadline = dice == 7 ? now - delay % now : now + delay;
            const uint64_t handle = queue.Arm(now, deadline, period, 0, handles.size());
            ASSERT_NE(handle, 0u);
            // What is overdue counts from now, which is the time of the last run.
            const uint64_t due = std::max(deadline, now);
            ASSERT_TRUE(model.emplace(handle, Armed{due, period, handles.size()}).second);
            handles.push_back(handle);
        } else if (dice < 999) {
            const uint64_t handle = handles.empty() ? 12345 : handles[random() % handles.size()];
            ASSERT_EQ(queue.Cancel(handle), model.erase(handle) == 1) << "stale handles included";
        } else {
            now += random() >> (43 + random() % 21);
            expiries.params.clear();
            const uint32_t fired = queue.Run(now);
            ASSERT_EQ(fired, expiries.params.size());
            uint64_t last = 0;
            for (const uint64_t param : expiries.params) {
                const auto armed = model.find(handles[param]);
                ASSERT_TRUE(armed != model.end() && armed->second.param == param);
                ASSERT_LE(last, armed->second.deadline) << "earliest first";
                last = armed->second.deadline;
                ASSERT_LE(last, now);
                if (armed->second.period == 0) {
                    model.erase(armed);
                    continue;
                }
                while (armed->second.deadline <= now)  // missed periods are skipped, in phase
                    armed->second.deadline += armed->second.period;
            }
            for (const auto &[handle, armed] : model) {
                ASSERT_GT(armed.deadline, now) << "missed";
                ASSERT_GE(armed.deadline, queue.NextRun()) << "woken too late";
            }
            ASSERT_GT(queue.NextRun(), now) << "woken for nothing";
        }
        ASSERT_EQ(queue.Count(), model.size());
    }
    ASSERT_GT(handles.size(), 100'000u);
    ASSERT_GT(model.size(), 5000u);
}

TEST(TimerQueue, CallbacksArmAndCancel) {
    Expiries expiries;
    TimerQueue queue(Expiries::Note, &expiries);
    enum : uint32_t { kCancelsItself, kCancelsOther, kArms, kIsStale };
    const uint64_t itself = queue.Arm(0, 1, 5, kCancelsItself, 1);
    const uint64_t other = queue.Arm(0, 4, 0, kArms, 2);
    queue.Arm(0, 2, 0, kCancelsOther, 3);
    queue.Arm(0, 3, 0, kArms, 4);
    const uint64_t once = queue.Arm(0, 5, 0, kIsStale, 5);
    expiries.then = [&](uint32_t type) {
        if (type == kCancelsItself)
            EXPECT_TRUE(queue.Cancel(itself));
        else if (type == kCancelsOther)
            EXPECT_TRUE(queue.Cancel(other));
        else if (type == kIsStale)
            EXPECT_FALSE(queue.Cancel(once));
        else if (expiries.params.size() < 10)
            for (int i = 0; i < 100; i++)  // so many that the tables move
                queue.Arm(0, 0, 0, kArms, 6);
    };
    EXPECT_EQ(queue.Run(10), 4u);
    EXPECT_EQ(expiries.params, (Params{1, 3, 4, 5}));
    expiries.then = nullptr;
    EXPECT_EQ(queue.Run(11), 100u) << "what a run arms is due at the next one";
    EXPECT_EQ(queue.NextRun(), TimerQueue::kNever);
    for (uint64_t generation = 0; generation < 4; generation++)
        EXPECT_FALSE(queue.Cancel(once + (generation << 32))) << "nor what was not given out yet";
}

bool Readable(uint64_t owner, int timeoutMs) {
    pollfd fd{HOST_POSIX_TimerFd(owner), POLLIN, 0};
    return poll(&fd, 1, timeoutMs) == 1;
}

TEST(TimerOwner, WakesThePollLoop) {
    EXPECT_EQ(HOST_POSIX_TimerOwnerCreate(nullptr, nullptr), 0u);
    Expiries expiries;
    const uint64_t owner = HOST_POSIX_TimerOwnerCreate(Expiries::Note, &expiries);
    ASSERT_NE(owner, 0u);
    EXPECT_EQ(HOST_TimerCreatePeriod(owner, 0, 0, 0, 10), 0u);
    EXPECT_EQ(HOST_TimerCreateOnce(0, 1, 0, 0, 10), 0u);
    EXPECT_NE(HOST_TimerDelete(0, 1), 0u);
    EXPECT_FALSE(Readable(owner, 0));

    const uint64_t longest = HOST_TimerCreateOnce(owner, UINT32_MAX, 1, 11, 10);
    const uint64_t cancelled = HOST_TimerCreateOnce(owner, 1, 1, 12, 10);
    HOST_TimerCreatePeriod(owner, 1, 1, 13, 10);
    HOST_TimerCreateOnce(owner, 0, 1, 14, 10);
    EXPECT_EQ(HOST_TimerDelete(owner, cancelled), 0u);
    EXPECT_NE(HOST_TimerDelete(owner, cancelled), 0u);
    EXPECT_TRUE(Readable(owner, 500));
    expiries.then = [&](uint32_t) {
        EXPECT_EQ(HOST_POSIX_TimerRun(owner), 0u) << "no run within a run";
        HOST_TimerCreateOnce(owner, 0, 2, 15, 10);
        expiries.then = nullptr;
    };
    EXPECT_EQ(HOST_POSIX_TimerRun(owner), 1u);
    EXPECT_TRUE(Readable(owner, 500)) << "for what the callback armed";
    EXPECT_EQ(HOST_POSIX_TimerRun(owner), 1u);
    EXPECT_FALSE(Readable(owner, 500));
    EXPECT_EQ(HOST_POSIX_TimerRun(owner), 0u);
    EXPECT_TRUE(Readable(owner, 700));
    EXPECT_EQ(HOST_POSIX_TimerRun(owner), 1u);
    EXPECT_EQ(expiries.params, (Params{14, 15, 13}));
    EXPECT_EQ(HOST_POSIX_TimerCount(owner), 2u);
    EXPECT_EQ(HOST_TimerDelete(owner, longest), 0u);
    HOST_POSIX_TimerOwnerDestroy(owner);
}

// A great many state machines, each with a fall-back timer.

constexpr uint32_t kMachines = 1'000'000;
constexpr uint64_t kSid = HOST_POSIX_MEM_OTHERS;  // has an account in any case

// The events are the states to enter: without a timer, with one of an hour and one of a second.
enum : uint32_t { kIdle, kLong, kShort, kStates };
uint32_t Feed(QOR_FSM_INST_S *m, uint32_t to) {
    return QOR_FSM_Execute(m, to, reinterpret_cast<uintptr_t>(m), 0);
}

void Expire(void * /*user*/, uint32_t type, uint64_t param) {
    EXPECT_EQ(Feed(reinterpret_cast<QOR_FSM_INST_S *>(param), type == 22 ? kIdle : kLong), QOR_OK);
}

TEST(FsmTimer, ManyMachines) {
    const uint64_t reports = HOST_POSIX_AssertCount();
    std::vector<QOR_FSM_INST_S> machines(kMachines);
    QOR_FSM_INST_S &one = machines[kMachines / 2];
    const uint64_t owner = HOST_POSIX_TimerOwnerCreate(Expire, nullptr);
    char line[QOR_LOG_LINE_LEN];
    const QOR_LOG_S log{QOR_LOG_MAGIC, {0, 0, nullptr, 0, 1, "t", "m", 0, 1, 0, 0}, line, 0};
    const QOR_FILE_S file{};
    const QOR_FSM_LIB_S cfg{kSid, owner, reinterpret_cast<uintptr_t>(&log),
                            reinterpret_cast<uintptr_t>(&file)};
    QOR_FSM_LIB_S *lib = QOR_FSM_InitLib(&cfg, &machines);
    std::vector<QOR_FSM_ENTRY_S> cells;
    for (uint32_t i = 0; i < 9; ++i) cells.push_back({i % 3, i / 3, QOR_FSM_ProcDummyEvent});
    const QOR_FSM_DESC_S desc{kStates, kStates, &cells[0], nullptr, nullptr};
    const QOR_FSM_FALLBACK_S timers[] = {{0, 20, 0}, {1, 21, 3600}, {2, 22, 1}};
    for (auto &m : machines) m = {0, 0, &desc, "pw", lib, 0, 0, 0, timers, 0, 0, 0, 0, {}, {}};

    for (int round = 0; round < 2; ++round) {  // arms them, and arms them anew
        const uint64_t handle = one.ulFallBackTimer;
        for (auto &m : machines) EXPECT_EQ(Feed(&m, kLong), QOR_OK);
        EXPECT_TRUE(HOST_POSIX_TimerCount(owner) == kMachines && one.ulFallBackTimer != handle);
    }
    EXPECT_EQ(Feed(&one, kShort), QOR_OK);
    pollfd fd{HOST_POSIX_TimerFd(owner), POLLIN, 0};
    uint32_t fired = 0;
    while (fired == 0 && poll(&fd, 1, 5000) == 1) fired = HOST_POSIX_TimerRun(owner);
    EXPECT_TRUE(fired == 1 && one.ulCurState == kIdle && one.ulFallBackTimer == 0);
    EXPECT_EQ(HOST_POSIX_TimerCount(owner), kMachines - 1);
    for (auto &m : machines) EXPECT_EQ(QOR_FSM_MrDeleteFallBackTimer(&m), QOR_OK);
    EXPECT_EQ(HOST_POSIX_TimerCount(owner), 0u);

    QOR_FSM_DeInitLib(lib, &machines);
    HOST_POSIX_TimerOwnerDestroy(owner);
    EXPECT_EQ(HOST_POSIX_AssertCount(), reports);
    HOST_POSIX_MEM_STAT_S stat{};
    EXPECT_TRUE(!HOST_POSIX_MemStat(kSid, &stat) && stat.ullAllocations && !stat.ullLiveBlocks);
}

}  // namespace
