// A great many state machines, each with a fall-back timer of the default platform.
#include <gtest/gtest.h>
#include <poll.h>

#include <vector>

#include "qor_file.h"
#include "qor_fsm.h"
#include "qor_host_posix.h"
#include "qor_log.h"

namespace {

constexpr uint32_t kMachines = 1'000'000;
constexpr uint64_t kSid = HOST_POSIX_MEM_OTHERS;  // has an account in any case

uint64_t Handle(const void *p) { return reinterpret_cast<uintptr_t>(p); }

// The events are the states to enter: without a timer, with one of an hour and one of a second.
enum : uint32_t { kIdle, kLong, kShort, kStates };
uint32_t Feed(QOR_FSM_INST_S *m, uint32_t to) { return QOR_FSM_Execute(m, to, Handle(m), 0); }

void Expire(void * /*user*/, uint32_t type, uint64_t param) {
    EXPECT_EQ(Feed(reinterpret_cast<QOR_FSM_INST_S *>(param), type == 22 ? kIdle : kLong), QOR_OK);
}

TEST(FsmTimer, ManyMachines) {
    const uint64_t reports = HOST_POSIX_AssertCount();
    std::string lines;
    const auto note = [](void *user, const HOST_POSIX_LINE_S *told) {
        *static_cast<std::string *>(user) += told->szText;
    };
    HOST_POSIX_LineSink(HOST_POSIX_SINK_DEVLOG, note, &lines);
    std::vector<QOR_FSM_INST_S> machines(kMachines);
    QOR_FSM_INST_S &one = machines[kMachines / 2];
    char line[QOR_LOG_LINE_LEN];
    QOR_LOG_S log{QOR_LOG_MAGIC, {0, 0, nullptr, 0, 1, "t", "m", 0, 1, 0, 0}, line, 0};
    QOR_FILE_S file{};
    const uint64_t owner = HOST_POSIX_TimerOwnerCreate(Expire, nullptr);
    const QOR_FSM_LIB_S cfg{kSid, owner, Handle(&log), Handle(&file)};
    QOR_FSM_LIB_S *lib = QOR_FSM_InitLib(&cfg, &lines);
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
    EXPECT_TRUE(HOST_POSIX_TimerCount(owner) == 0 && HOST_POSIX_AssertCount() == reports);
    // Deleted when it was gone already:
    EXPECT_EQ(lines, "[t]m-CID=0x1: FSM pw: Failed to stop fall back timer 0x1 leaving state 2");

    QOR_FSM_DeInitLib(lib, &lines);
    HOST_POSIX_TimerOwnerDestroy(owner);
    HOST_POSIX_LineSink(HOST_POSIX_SINK_DEVLOG, nullptr, nullptr);
    HOST_POSIX_MEM_STAT_S stat{};
    EXPECT_TRUE(!HOST_POSIX_MemStat(kSid, &stat) && stat.ullAllocations && !stat.ullLiveBlocks);
}

}  // namespace
