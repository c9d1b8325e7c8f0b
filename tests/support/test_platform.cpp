#include "test_platform.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

#include "base/host/qor_host_calendar.hpp"

namespace qor::test {
namespace {

// Formats into a line of a sink.
void Record(Sink sink, uint32_t key, const char *fmt, va_list ap) {
    char text[8192];
    const int length = vsnprintf(text, sizeof text, fmt, ap);
    EXPECT_TRUE(length >= 0 && length < static_cast<int>(sizeof text)) << fmt;
    Platform::Get().lines.push_back({.sink = sink, .key = key, .text = length < 0 ? "" : text});
}

uint64_t Arm(Timer timer) {
    static uint64_t lastHandle = 0x700000000;  // more than 32 bits: a cut handle shows
    Platform &host = Platform::Get();
    if (host.Fails(Call::kTimerCreate) || host.failTimers) return 0;
    timer.handle = ++lastHandle;
    host.timers.push_back(timer);
    return timer.handle;
}

// The result of a clock operation.
uint32_t ClockResult() {
    Platform &host = Platform::Get();
    return host.Fails(Call::kClock) ? 1 : host.clockResult;
}

// Fills a reading of two words, or nothing when clocks fail.
uint32_t Fill(uint32_t result, uint64_t value, uint32_t *high, uint32_t *low) {
    if (result == 0) {
        *high = static_cast<uint32_t>(value >> 32);
        *low = static_cast<uint32_t>(value);
    }
    return result;
}

// Reads a clock, behind what happens to it just now.
uint32_t Read(const uint64_t &clock, uint32_t *high, uint32_t *low) {
    const uint32_t result = ClockResult();
    return Fill(result, clock, high, low);
}

uint32_t ReadTime(HOST_SYSTIME_S *t) {
    const uint32_t result = ClockResult();
    if (result == 0) *t = Platform::Get().time;
    return result;
}

constexpr uint64_t Pair(uint32_t high, uint32_t low) { return uint64_t{high} << 32 | low; }

}  // namespace

Platform &Platform::Get() {
    static Platform platform = [] {
        Platform fresh;
        fresh.Reset();
        return fresh;
    }();
    return platform;
}

void Platform::Reset() {
    FreeReleased();
    auto live = std::move(live_);
    *this = Platform{};
    live_ = std::move(live);
    time = HOST_SYSTIME_S{2026, 3, 5, 14, 7, 9, 4, 42};
}

void Platform::FreeReleased() {
    for (auto &[size, blocks] : released_)
        for (void *p : blocks) free(p);
    released_.clear();
}

void Platform::FailCall(Call call, uint32_t nth, bool onward, void (*event)(Platform &)) {
    failures_[static_cast<size_t>(call)] = {nth, onward, event};
}

bool Platform::Fails(Call call) {
    Failure &failure = failures_[static_cast<size_t>(call)];
    if (failure.in == 0 || --failure.in != 0) return false;
    failure.in = failure.onward ? 1 : 0;
    faults++;
    if (failure.event) failure.event(*this);
    return !failure.event;
}

size_t Platform::LiveBlocks() const { return live_.size(); }

std::vector<std::string> Platform::Texts(Sink sink) const {
    std::vector<std::string> texts;
    for (const Line &line : lines)
        if (line.sink == sink) texts.push_back(line.text);
    return texts;
}

void *Platform::Allocate(Allocation allocation) {
    allocationCalls++;
    if (Fails(Call::kAllocate)) return nullptr;
    std::vector<void *> &again = released_[allocation.size];
    void *p = again.empty() ? malloc(allocation.size) : again.back();
    if (!again.empty()) again.pop_back();
    if (!p) {
        ADD_FAILURE() << "no memory for " << allocation.size << " octets";
        return nullptr;
    }
    memset(p, 0xA5, allocation.size);
    allocations.push_back(allocation);
    live_.emplace(p, std::move(allocation));
    return p;
}

void Platform::Release(void *p) {
    if (!p) return;
    const auto found = live_.find(p);
    if (found == live_.end()) {
        ADD_FAILURE() << "freed what is no live block: " << p;
        return;
    }
    if (reuse)
        released_[found->second.size].push_back(p);
    else
        free(p);
    live_.erase(found);
}

void PlatformTest::SetUp() {
    host.Reset();
    liveBefore_ = host.LiveBlocks();
}

void PlatformTest::TearDown() {
    host.FreeReleased();
    std::string list;
    for (const auto &[p, block] : host.live_)
        list += " " + std::to_string(block.size) + " octets tag " + std::to_string(block.tag) + ",";
    EXPECT_EQ(host.LiveBlocks(), liveBefore_) << "live blocks after and before:" << list;
}

}  // namespace qor::test

using qor::test::Call;
using qor::test::ClockResult;
using qor::test::Fill;
using qor::test::Pair;
using qor::test::Platform;
using qor::test::Read;
using qor::test::ReadTime;
using qor::test::Sink;

const uint8_t g_aucHostMemPt[] = {0x11, 0x22, 0x33, 0x44};

void *HOST_MemAlloc(uint64_t moduleId, uint8_t partition, uint32_t size, const char *file,
                    uint32_t /*line*/) {
    return Platform::Get().Allocate({moduleId, size, partition, -1, file});
}

void *HOST_MemAllocBySid(uint64_t moduleId, uint32_t size, uint32_t tag) {
    return Platform::Get().Allocate({moduleId, size, -1, tag, {}});
}

void HOST_MemFree(void *p, const char * /*file*/, uint32_t /*line*/) { Platform::Get().Release(p); }

void HOST_Assert(const char *file, uint32_t line, uint32_t zero) {
    Platform::Get().asserts.push_back({file, line, zero});
}

uint64_t HOST_TimerCreateOnce(uint64_t owner, uint32_t interval, uint32_t timerType, uint64_t param,
                              uint32_t ten) {
    return qor::test::Arm({0, owner, interval, timerType, param, ten, false});
}

uint64_t HOST_TimerCreatePeriod(uint64_t owner, uint32_t interval, uint32_t timerType,
                                uint64_t param, uint32_t ten) {
    return qor::test::Arm({0, owner, interval, timerType, param, ten, true});
}

uint32_t HOST_TimerDelete(uint64_t owner, uint64_t handle) {
    const auto isIt = [&](const qor::test::Timer &timer) {
        return timer.owner == owner && timer.handle == handle;
    };
    Platform &host = Platform::Get();
    const bool refuses = host.Fails(Call::kTimerDelete) || host.failTimerDelete;
    return std::erase_if(host.timers, isIt) == 1 && !refuses ? 0 : 1;
}

uint32_t HOST_SystimeGet(HOST_SYSTIME_S *t) { return ReadTime(t); }

uint32_t HOST_GmtSystimeGet(HOST_SYSTIME_S *t) { return ReadTime(t); }

uint32_t HOST_GetSystemTime(uint32_t *secHigh, uint32_t *secLow) {
    return Read(Platform::Get().systemSeconds, secHigh, secLow);
}

uint32_t HOST_GetUptimeSec(uint32_t *secHigh, uint32_t *secLow) {
    return Read(Platform::Get().uptimeSeconds, secHigh, secLow);
}

uint32_t HOST_SecondNow(uint32_t *sec, uint32_t *subSec) {
    const uint32_t result = ClockResult();
    const uint64_t ticks = Platform::Get().ticks;
    return Fill(result, (ticks / 1000) << 32 | ticks % 1000 * 1000, sec, subSec);
}

uint32_t HOST_TickGet(uint32_t *tickHigh, uint32_t *tickLow) {
    return Read(Platform::Get().ticks, tickHigh, tickLow);
}

uint32_t HOST_TickMs2Tick(uint32_t msHigh, uint32_t msLow, uint32_t *tickHigh, uint32_t *tickLow) {
    return Fill(ClockResult(), Pair(msHigh, msLow), tickHigh, tickLow);
}

void HOST_GetCpuTick(uint32_t *tickHigh, uint32_t *tickLow) {
    const uint64_t ticks = Platform::Get().ticks;
    *tickHigh = static_cast<uint32_t>(ticks >> 32);
    *tickLow = static_cast<uint32_t>(ticks);
}

uint32_t HOST_CpuTick2Ms(uint32_t tickHigh, uint32_t tickLow, uint32_t *msHigh, uint32_t *msLow) {
    return Fill(ClockResult(), Pair(tickHigh, tickLow), msHigh, msLow);
}

uint32_t HOST_SystimeRelSecCal(const HOST_SYSTIME_S *t1, const HOST_SYSTIME_S *t2,
                               uint32_t *seconds) {
    const uint32_t result = ClockResult();
    return result != 0 ? result : qor::host::RelativeSeconds(*t1, *t2, seconds);
}

// Local time is GMT here.
uint32_t HOST_SystimeSec2Time(uint32_t sec, HOST_SYSTIME_S *t) {
    const uint32_t result = ClockResult();
    if (result == 0) {
        const time_t seconds = sec;
        tm broken{};
        gmtime_r(&seconds, &broken);
        qor::host::FromTm(broken, 0, t);
    }
    return result;
}

uint32_t HOST_SystimeSecSince1970(const HOST_SYSTIME_S *t, uint32_t *secHigh, uint32_t *secLow) {
    int64_t ms = 0;
    if (!qor::host::ToMilliseconds(*t, &ms) || ms < 0) return 1;
    return Fill(ClockResult(), static_cast<uint64_t>(ms) / 1000, secHigh, secLow);
}

void HOST_EventLog(uint32_t cid, uint32_t eventPara, uint64_t eventId, const char *msgName,
                   const HOST_EVENT_REC_S *rec, const char *reason) {
    const auto text = [](const char *s) { return std::string(s ? s : "(null)"); };
    Platform::Get().events.push_back(
        {cid, eventPara, eventId, text(msgName), rec ? rec->ulPeerIp : 0, text(reason)});
}

#define RECORD(sink, key)                  \
    va_list ap;                            \
    va_start(ap, fmt);                     \
    qor::test::Record(sink, key, fmt, ap); \
    va_end(ap)

void HOST_DevLogLimit(uint32_t cid, const char *fmt, ...) { RECORD(Sink::kDevLog, cid); }

void HOST_Syslog(uint32_t severity, const char *fmt, ...) { RECORD(Sink::kSyslog, severity); }

void HOST_Debug(uint32_t cid, uint32_t dbgType, uint64_t arg64, uint32_t arg, const char *fmt,
                ...) {
    RECORD(Sink::kDebug, cid);
    qor::test::Line &line = Platform::Get().lines.back();
    line.dbgType = dbgType;
    line.arg64 = arg64;
    line.arg = arg;
}

void HOST_Printf(const char *fmt, ...) { RECORD(Sink::kConsole, 0); }
