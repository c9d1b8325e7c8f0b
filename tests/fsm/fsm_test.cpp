// State machine engine.
#include "qor_fsm.h"

#include <cstring>
#include <functional>
#include <sstream>
#include <utility>

#include "qor_file.h"
#include "qor_log.h"
#include "test_platform.hpp"

using namespace qor::test;

namespace {

constexpr uint64_t kOwner = 0x1234567890, kData = 0xDA7ADA7A00000000;
constexpr char kLine[] = " [fsm]pw-CID=0x2f: FSM pw%d%n: ";
enum : uint32_t { kGo, kBack, kIdle, kEvents };

uint64_t Handle(const void *p) { return reinterpret_cast<uintptr_t>(p); }

class FsmTest : public PlatformTest {
  protected:
    void SetUp() override { PlatformTest::SetUp(), Renew(0, 0, 0, 0); }

    void Renew(uint32_t old, uint32_t cur, uint32_t event, uint64_t timer) {
        host.Reset();
        step = 0;
        inst = {old,      cur, &desc, "pw%d%n", &lib, Handle(this), timer, event,
                &rows[0], 0,   0,     0,        0,    {},           {}};
    }

    // Feeds an event; proc is what the handler returns, step numbers the calls.
    uint32_t Execute(uint32_t event, uint32_t proc = 0) {
        host.time.ulMilliSec = ++step;
        return QOR_FSM_Execute(&inst, event, step, kData | proc);
    }
    std::string Feed(uint32_t event, uint32_t proc = 0) { return Outcome(Execute(event, proc)); }

    static uint32_t Proc(uint64_t param, uint64_t data, uint64_t user) {
        auto &self = *reinterpret_cast<FsmTest *>(user);
        EXPECT_TRUE(param == self.step && data >> 32 == kData >> 32);
        for (const Timer &timer : self.host.timers) EXPECT_EQ(timer.param, param);
        self.calls += " in " + std::to_string(self.inst.ulCurState);
        if (self.then) std::exchange(self.then, nullptr)();
        return static_cast<uint32_t>(data);
    }

    // Result; old state, state and old event; time-out, type and parameter of timers; failures and
    // changes so far; states that the handler saw; reports; lines.
    std::string Outcome(uint32_t code) {
        std::ostringstream out;
        out << std::hex << code << std::dec << ": " << inst.ulOldState << ' ' << inst.ulCurState
            << ' ' << inst.ulOldEvent;
        for (const Timer &timer : host.timers)
            out << " [" << timer.interval << ' ' << timer.type << ' ' << timer.param
                << (timer.owner == kOwner && timer.ten == 10 && !timer.periodic &&
                            timer.handle == inst.ulFallBackTimer
                        ? "]"
                        : "?");
        if (inst.ulFallBackTimer && host.timers.empty()) out << " stale";
        if (inst.ulErrCnt)
            out << ", failed " << inst.ulErrCnt << ' ' << inst.ulErrEvent << ' ' << inst.ulErrState
                << " @" << inst.stErrTime.ulMilliSec;
        if (inst.ulStateChgCnt)
            out << ", changed " << inst.ulStateChgCnt << " @" << inst.stStateChgTime.ulMilliSec;
        out << std::exchange(calls, "");
        for (const auto &report : std::exchange(host.asserts, {})) out << ' ' << report.file;
        for (const auto &entry : std::exchange(host.lines, {})) out << ' ' << entry.text;
        return out.str();
    }

    // Tables as large as they must be and no larger, so that a read outside shows.
    std::vector<QOR_FSM_ENTRY_S> cells{
        {0, 1, Proc}, {1, 1, Proc},    {1, 0, Proc},  // the third stands for the state before it
        {0, 2, Proc}, {1, 1, nullptr}, {2, 1, QOR_FSM_ProcInvalidEvent},
        {0, 0, Proc}, {1, 2, Proc},    {2, 5, QOR_FSM_ProcDummyEvent}};
    std::vector<QOR_FSM_NAME_S> events{{kIdle, "idle"}, {kGo, "go"}, {kBack, "back"}};
    std::vector<QOR_FSM_NAME_S> states{{2, "far"}, {1, "up"}, {1, "down"}};  // "up" it is
    std::vector<QOR_FSM_FALLBACK_S> rows{{9, 20, 0}, {9, 21, 5}, {9, 22, 8}};
    char line[QOR_LOG_LINE_LEN] = "";
    QOR_LOG_S log{QOR_LOG_MAGIC, {0, 1, nullptr, 0, 0x2F, "fsm", "pw", 0, 1, 0, 0}, line, 0};
    QOR_FILE_S file{};
    QOR_FSM_LIB_S lib{52, kOwner, Handle(&log), Handle(&file)};
    QOR_FSM_DESC_S desc{kEvents, 3, cells.data(), events.data(), states.data()};
    QOR_FSM_INST_S inst{};
    uint32_t step = 0;
    std::string calls;
    std::function<void()> then;  // what the next call of the handler does besides
};

TEST_F(FsmTest, InitLib) {
    QOR_FSM_LIB_S *made = QOR_FSM_InitLib(&lib, this);
    ASSERT_TRUE(made && host.asserts.empty() && host.allocations.at(0).sid == 52);
    EXPECT_TRUE(memcmp(made, &lib, sizeof lib) == 0 && host.allocations[0].partition == -1);
    QOR_FSM_DeInitLib(made, this);
    const QOR_FSM_LIB_S refused[] = {{0, 1, 1, 1}, {1, 0, 1, 1}, {1, 1, 0, 1}};
    for (const auto &cfg : refused) EXPECT_EQ(QOR_FSM_InitLib(&cfg, this), nullptr);
    lib.ulFileHandle = 0;  // is no refusal
    QOR_FSM_DeInitLib(QOR_FSM_InitLib(&lib, this), this);
    EXPECT_EQ(host.asserts.size(), 3u);
}

TEST_F(FsmTest, Steps) {
    log.ulMagic = 0;  // a report takes the place of a line
    EXPECT_EQ(Feed(kIdle), "0: 0 0 2 in 0");
    EXPECT_EQ(Feed(kGo), "0: 0 1 0 [5 21 2], changed 1 @2 in 1");
    EXPECT_EQ(Feed(kGo), "0: 1 1 0 [5 21 3], changed 1 @2 in 1");
    EXPECT_EQ(Feed(kBack), "80040003: 1 1 0 [5 21 3], changed 1 @2");
    EXPECT_EQ(Feed(kIdle, 77), "4d: 1 1 2 [8 22 5], failed 1 2 1 @5, changed 2 @5 in 2 qor_log");
    EXPECT_EQ(Feed(kIdle), "0: 1 2 2 [8 22 6], failed 1 2 1 @5, changed 3 @6 in 2");
    EXPECT_EQ(Feed(kBack), "80040001: 1 2 1 [5 21 7], failed 2 1 2 @7, changed 4 @7 qor_log");
    EXPECT_EQ(Feed(kIdle), "0: 2 5 2, failed 2 1 2 @7, changed 5 @8");  // state 5 has no timer
}

// With both sinks; without a file; and with a log that refuses, so that reports show the order.
TEST_F(FsmTest, Calls) {
    const auto check = [this](auto run, std::string outcome, std::string text = "",
                              uint32_t state = 1, uint64_t timer = 7) {
        for (const std::string sinks : {" qor_file qor_log", " qor_file", ""}) {
            Renew(4, state, 6, timer);  // 7 is no timer
            lib.ulFileHandle = sinks.empty() ? Handle(&file) : 0;
            log.ulMagic = sinks.size() > 9 ? 0 : QOR_LOG_MAGIC;
            const std::string told = log.ulMagic ? sinks + kLine + text : sinks;
            EXPECT_EQ(Outcome(run()), outcome + (text.empty() ? "" : told));
        }
    };
    const auto feed = [this](auto... a) { return [=, this] { return Execute(a...); }; };
    const auto go = feed(kGo);
    const auto arm = [this] { return QOR_FSM_MrCreateFallBackTimer(3, &inst); };
    const auto stop = [this] { return QOR_FSM_MrDeleteFallBackTimer(&inst); };
    const auto deny = [&](auto f) { return [=, this] { return host.failTimers = true, f(); }; };
    const auto noLib = [&](auto f) { return [=, this] { return inst.pstLib = nullptr, f(); }; };
    const auto noFsm = [&](auto f) { return [=, this] { return inst.pstFsmDesc = nullptr, f(); }; };
    const auto noTable = [=, this] { return desc.pstEntryTbl = nullptr, go(); };
    const auto nested = [&](auto f) { return [=, this] { return then = feed(kIdle), f(); }; };
    check(nested(go), "0: 1 2 2 [8 22 2], changed 1 @2 in 1 in 2", "", 1, 0);
    check(nested(feed(kGo, ~9u)), "fffffff6: 4 2 2, failed 1 0 1 @2, changed 1 @1 in 0 in 0",
          "Execute failed, State:up, Event:go, RetCode:0xfffffff6, ErrCnt:1", 2, 0);
    check(feed(kEvents), "80040001: 4 99 6 stale", "Invalid event (null)", 99);
    check(stop, "0: 4 1 6", "Failed to stop fall back timer 0x1 leaving state 4");
    check(go, "0: 1 1 0 [5 21 1] in 1", "Failed to stop fall back timer 0x1 leaving state 1");
    check(deny(go), "0: 1 1 0 in 1", "Failed to create fall back timer 0 leaving state 1", 1, 0);
    check(deny(arm), "80040004: 4 1 6 stale", "Failed to create fall back timer 1 leaving state 4");
    check(arm, "0: 4 1 6 [5 21 3] qor_fsm");
    check([&] { return inst.pstFallBackTbl = nullptr, arm(); }, "0: 4 1 6 qor_fsm");
    check([&] { return inst.pstFallBackTbl = nullptr, go(); }, "0: 1 1 0 in 1", "", 1, 0);
    check(noLib(arm), "80000001: 4 1 6 stale qor_fsm");
    check(noLib(stop), "80000001: 4 1 6 stale qor_fsm");
    check(noLib(go), "80000001: 4 1 6 stale qor_fsm");
    check(noFsm(arm), "80000001: 4 1 6 stale qor_fsm");
    check(noFsm(go), "80000001: 4 1 6 stale qor_fsm");
    // States out of range: where the table goes on, the cell of a later event; else none.
    check(go, "0: 3 2 0 [8 22 1], changed 1 @1 in 2 qor_fsm", "", 3, 0);
    check(go, "0: 8 5 0, changed 1 @1 qor_fsm", "", 8, 0);
    check(go, "80040003: 4 9 6 stale qor_fsm", "", 9);
    check(go, "80040003: 4 4 6 stale qor_fsm", "", 4);
    check(feed(kBack), "80040003: 4 4294967293 6 stale qor_fsm", "", ~2u);
    check(arm, "0: 4 3 6", "", 3, 0);
    memset(inst.szName, 'n', sizeof inst.szName);  // no NUL
    EXPECT_TRUE(Feed(kEvents).ends_with(std::string(96, 'n') + ": Invalid event (null)"));
    check(noTable, "1: 4 3 6 stale qor_fsm qor_fsm",
          "FsmEntry is NULL, OldState :4, CurState:3, OldEvent:6", 3);
    for (const uint32_t n : {0x10000u, 0x20000u}) {  // only the last cell of the table is real
        Renew(0, n - 1, 0, 0);
        const uint64_t table = Handle(cells.data()) - (uint64_t{n} * n - 1) * sizeof cells[0];
        desc = {n, n, reinterpret_cast<const QOR_FSM_ENTRY_S *>(table), nullptr, nullptr};
        EXPECT_TRUE(Execute(n - 1) == QOR_OK && inst.ulCurState == 1);
    }
}

TEST_F(FsmTest, LoggedFailures) {
    const auto logged = [this](auto event, uint32_t failures) {
        Renew(0, 0, 0, 0);
        for (uint32_t i = 0; i < failures; ++i) Execute(event(i), 9);
        std::string counts;
        for (const auto &text : host.Texts(Sink::kDevLog)) counts += text.substr(text.rfind(':'));
        return counts;
    };
    const auto byEvent = [](uint32_t i) { return 1 - i % 2; };
    const auto byState = [this](uint32_t i) { return inst.ulCurState = 1 - i % 2, kGo; };
    const auto oneCell = [this](uint32_t i) { return inst.ulCurState = 1 + i % 2, kGo; };
    const auto pattern = [](uint32_t i) { return 0b100110u >> i & 1; };
    const auto idle = [this](uint32_t) { return inst.ulErrCnt = 999'999, kIdle; };
    const std::string all = ":1:2:3:4:5:6:7:8:9:10:100:1000:10000:100000";
    EXPECT_TRUE(logged(byEvent, 100'001) == all && logged(byState, 100'001) == all);
    EXPECT_EQ(logged(oneCell, 4) + logged(idle, 1), ":1");
    EXPECT_EQ(logged(pattern, 6), ":2:4:6");  // the first is what a zeroed instance remembers
}

TEST_F(FsmTest, Names) {
    desc.ulStateNum = 2;
    const auto event = [&](uint32_t id) { return QOR_FSM_GetEventName(&inst, id); };
    const auto state = [&](uint32_t id) { return QOR_FSM_GetStateName(&inst, id); };
    EXPECT_EQ(event(kGo) + std::string(event(kBack)) + event(kIdle) + state(1), "gobackidleup");
    EXPECT_TRUE(!state(0) && !state(2) && !state(3) && !event(kEvents));
    desc.pstEventNameTbl = desc.pstStateNameTbl = nullptr;
    EXPECT_TRUE(!event(kGo) && !state(1) && host.asserts.empty());
    inst.pstFsmDesc = nullptr;
    EXPECT_TRUE(!event(kGo) && !state(1) && host.asserts.size() == 2);
}

TEST_F(FsmTest, HandlerReleasesItsInstance) {
    const auto own = new QOR_FSM_INST_S(inst);
    then = [&] { QOR_FSM_MrDeleteFallBackTimer(own), delete own; };
    EXPECT_TRUE(QOR_FSM_Execute(own, kGo, 0, kData) == 0 && !then && host.timers.empty());
}

}  // namespace
