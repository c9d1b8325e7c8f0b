// Every scenario with every fault of the host, at every call where it can happen: what is told is
// what the headers say, nothing leaks, no timer is left, and what is there works again at once.
#include <cstdio>
#include <map>
#include <sstream>

#include "fault_run.hpp"

namespace qor::test {
namespace {

constexpr uint64_t kDay = 86400;

void SetClocks(Platform &host, uint64_t uptime) {
    host.time = {2026, 3, static_cast<uint8_t>(3 + uptime / kDay), 14, 7, 9, 4, 42};
    host.systemSeconds = 1772500000 + uptime;
    host.uptimeSeconds = uptime;
    host.ticks = uptime * 1000;
}

void GoBack(Platform &host) { SetClocks(host, kDay); }

void GoToTheEnd(Platform &host) {
    host.time = {UINT16_MAX, 12, 31, 23, 59, 59, 0, 999};
    host.systemSeconds = host.uptimeSeconds = host.ticks = UINT64_MAX;
}

constexpr Fault kFaults[] = {
    {'a', "allocation", Call::kAllocate},
    {'a', "allocations", Call::kAllocate, true},
    {'t', "timer creation", Call::kTimerCreate},
    {'t', "timer creations", Call::kTimerCreate, true},
    {'d', "timer deletion", Call::kTimerDelete},
    {'d', "timer deletions", Call::kTimerDelete, true},
    {'c', "clock", Call::kClock},
    {'c', "clocks", Call::kClock, true},
    {'k', "clocks back by a day", Call::kClock, false, GoBack},
    {'e', "clocks at their end", Call::kClock, false, GoToTheEnd},
    {'b', "bounded routine", Call::kBounded},
    {'b', "bounded routines", Call::kBounded, true, nullptr, true},
    {'f', "formatter", Call::kFormat},
    {'f', "formatters", Call::kFormat, true},
};

}  // namespace

std::map<std::string, bool> FaultRun::needed;

FaultRun::FaultRun(const Trace *expected, const Fault *fault, uint32_t nth)
    : expected_(expected), fault_(fault) {
    host.Reset();
    if (fault) host.FailCall(fault->call, nth, fault->onward, fault->event);
}

std::string FaultRun::Text(uint32_t number) {
    std::ostringstream out;
    out << std::hex << number;
    return out.str();
}

void FaultRun::Judge(const std::string &rule, const std::string &told, bool now) {
    Note(told);
    std::istringstream words(rule);
    std::string word;
    words >> word;
    bool allowed = word == "*" || word == told;
    for (const bool faulty = host.faults != faultsBefore_; words >> word;) {
        if (word == "quiet") {
            if (now) reports_--;
            continue;
        }
        const bool kind = fault_ && word[0] == fault_->letter;
        const bool applies = faulty && (kind || (word[0] == 'x' && !now));
        bool listed = false;
        std::istringstream alternatives(word.substr(2));
        for (std::string one; getline(alternatives, one, '|');) {
            const bool met = applies && one == told;
            needed[rule + ", " + word[0] + ':' + one] |= met && (now || !allowed) && !goesOn_;
            listed |= met;
        }
        if (applies) allowed = (!(kind && now) && allowed) || listed;
    }
    EXPECT_TRUE(allowed || goesOn_) << told << " instead of " << rule;
}

// Does a step, and tells whether it went as expected, if anything is.
bool FaultRun::Try(const Act &act) {
    SetClocks(host, 2 * kDay);
    host.lines.clear(), host.events.clear(), host.asserts.clear();
    record_.clear();
    reports_ = 0;
    faultsBefore_ = host.faults;
    const size_t blocks = host.LiveBlocks();
    act();
    // Short memory and failed helpers are reported wherever they happen.
    if (fault_ && (fault_->letter == 'a' || fault_->letter == 'b'))
        reports_ += host.faults - faultsBefore_;
    EXPECT_GE(host.asserts.size(), reports_) << record_;
    for (const Line &line : host.lines) Note(line.text);
    for (const Event &event : host.events) Note(event.message + ' ' + event.reason);
    for (const Timer &t : host.timers) Note(Text(t.type) + '/' + Text(t.interval));
    for (const AssertReport &report : host.asserts) Note("!" + report.file);
    Note("blocks " + std::to_string(host.LiveBlocks() - blocks));
    return !expected_ || goesOn_ || record_ == expected_->at(trace.size());
}

void FaultRun::Attempt(const Act &undo, const Act &act, bool keep) {
    const size_t blocks = host.LiveBlocks(), timers = host.timers.size();
    const auto takeBack = [&] {
        undo();
        EXPECT_EQ(host.LiveBlocks(), blocks) << record_;
        EXPECT_EQ(host.timers.size(), timers) << record_;
    };
    if (!Try(act) && !(goesOn_ = fault_ && fault_->goesOn)) {
        EXPECT_NE(host.faults, faultsBefore_) << "no fault, but " << record_;
        if (fault_) host.FailCall(fault_->call, 0);
        takeBack();
        EXPECT_TRUE(Try(act)) << record_ << "\ninstead of " << expected_->at(trace.size());
    }
    trace.push_back(record_);
    if (!keep) takeBack();
}

void FaultRun::End() {
    for (; !releases_.empty(); releases_.pop_back()) releases_.back()();
    EXPECT_EQ(host.LiveBlocks(), blocks_);
    EXPECT_TRUE(host.timers.empty());
}

namespace {

using HostFaultTest = PlatformTest;

TEST_F(HostFaultTest, Sweep) {
    const auto trace = [](const Scenario &scenario, const Trace *expected,
                          const Fault *fault = nullptr, uint32_t nth = 0) {
        FaultRun run(expected, fault, nth);
        scenario.drive(run);
        run.End();
        return run.trace;
    };
    const auto *result = testing::UnitTest::GetInstance()->current_test_info()->result();
    std::map<std::string, uint32_t> counts;
    for (const Scenario &scenario : Scenarios()) {
        const Trace expected = trace(scenario, nullptr);
        for (const auto &record : expected) EXPECT_EQ(record.find('!'), record.npos) << record;
        for (const Fault &fault : kFaults) {
            // What fails once may fail often: the first time will do.
            const int failures = result->total_part_count();
            for (uint32_t n = 1; result->total_part_count() == failures; ++n) {
                SCOPED_TRACE(std::string(scenario.name) + ", " + fault.name + " from call " +
                             std::to_string(n));
                trace(scenario, &expected, &fault, n);
                if (host.faults == 0) break;
                counts[fault.name]++;
                EXPECT_EQ(trace(scenario, &expected), expected);
            }
        }
    }
    for (const auto &[alternative, met] : FaultRun::needed) EXPECT_TRUE(met) << alternative;
    for (const Fault &fault : kFaults) {
        printf("%5u %s\n", counts[fault.name], fault.name);
        EXPECT_NE(counts[fault.name], 0u) << fault.name;
    }
}

}  // namespace
}  // namespace qor::test
