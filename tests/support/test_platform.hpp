// The platform that tests link instead of the default one: it records every report and every
// line, has clocks that a test sets, timers that a test fires, and operations that fail where a
// test wants them to. The containers and text routines are those of the default platform.
#pragma once

#include <gtest/gtest.h>  // IWYU pragma: export

#include <cstdint>  // IWYU pragma: export
#include <string>   // IWYU pragma: export
#include <unordered_map>
#include <vector>  // IWYU pragma: export

#include "qor_host.h"  // IWYU pragma: export

namespace qor::test {

struct AssertReport {
    std::string file;
    uint32_t line, zero;
};

enum class Sink { kDevLog, kSyslog, kDebug, kConsole };

struct Line {
    Sink sink;
    uint32_t key;  // component id (kDevLog, kDebug) or severity (kSyslog), 0 for kConsole
    std::string text;
    uint32_t dbgType = 0, arg = 0;  // of kDebug
    uint64_t arg64 = 0;             // of kDebug
};

struct Event {
    uint32_t cid, para;
    uint64_t id;
    std::string message;
    uint32_t peer;
    std::string reason;
};

struct Allocation {
    uint64_t sid;
    uint32_t size;
    int partition;     // of HOST_MemAlloc, -1 for HOST_MemAllocBySid
    int64_t tag;       // of HOST_MemAllocBySid, -1 for HOST_MemAlloc
    std::string file;  // of HOST_MemAlloc
};

struct Timer {
    uint64_t handle;
    uint64_t owner;
    uint32_t interval;
    uint32_t type;
    uint64_t param;
    uint32_t ten;
    bool periodic;
};

// The kinds of operations that can be made to fail, and how: no memory, no timer, a timer that is
// gone, a clock or its conversion that leaves its results alone, a bounded routine that leaves the
// destination zeroed, a formatter that leaves it empty. The last two kinds, and divisions, only in
// tests that link qor_test_failing.
enum class Call { kAllocate, kTimerCreate, kTimerDelete, kClock, kBounded, kFormat };

// All state of the platform. The HOST_* operations work on Platform::Get().
class Platform {
  public:
    static Platform &Get();

    // Forgets everything that was recorded and goes back to the initial clocks; live blocks stay
    // known, so that a leak of an earlier test is not hidden.
    void Reset();

    // Makes the nth call of a kind from now on fail (1 is the next one; 0 none), and only that one
    // unless all behind it are to fail as well. Given an event, the call makes that happen instead.
    void FailCall(Call call, uint32_t nth, bool onward = false,
                  void (*event)(Platform &) = nullptr);
    void FailAllocation(uint32_t nth) { FailCall(Call::kAllocate, nth); }

    // For the operations: counts a call and tells whether it must fail.
    bool Fails(Call call);
    uint32_t faults = 0;  // calls that failed, or made an event happen, because of FailCall

    size_t LiveBlocks() const;

    // Texts of all lines of one sink, in order.
    std::vector<std::string> Texts(Sink sink) const;

    std::vector<AssertReport> asserts;
    std::vector<Line> lines;
    std::vector<Event> events;
    std::vector<Allocation> allocations;  // every successful one, freed or not
    uint32_t allocationCalls = 0;         // failed ones included
    bool reuse = false;  // a released block is handed out again at once, to the next of its size
    std::vector<Timer> timers;     // armed ones
    bool failTimers = false;       // none can be created
    bool failTimerDelete = false;  // the timer goes, but HOST_TimerDelete returns 1

    // Broken-down time, returned as local and as GMT: 2026-03-05 14:07:09.042 after Reset().
    HOST_SYSTIME_S time{};
    // Result of every clock operation that reads or converts; when not 0, nothing is filled.
    uint32_t clockResult = 0;
    uint64_t systemSeconds = 0;
    uint64_t uptimeSeconds = 0;
    uint64_t ticks = 0;  // scheduler and CPU ticks, one per millisecond

    // What the allocators of the platform do. Blocks have exactly the size that was asked for and
    // hold 0xA5 octets, so that an octet too far and a read of fresh memory both show.
    void *Allocate(Allocation allocation);
    void Release(void *p);

  private:
    friend class PlatformTest;

    void FreeReleased();

    struct Failure {
        uint32_t in = 0;
        bool onward = false;
        void (*event)(Platform &) = nullptr;
    };
    Failure failures_[6];  // by Call
    std::unordered_map<void *, Allocation> live_;
    std::unordered_map<uint32_t, std::vector<void *>> released_;  // by size, when reuse is set
};

// Base of test fixtures: a fresh platform before, no live block after each test.
class PlatformTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
    Platform &host = Platform::Get();

  private:
    size_t liveBefore_ = 0;  // leaked by earlier tests, which have told so
};

}  // namespace qor::test
