// A pseudowire as a state machine: events, a fall-back timer of the default platform in a poll
// loop, and a handler that fails once. The engine's log lines go to the standard output.
#include <poll.h>

#include <array>
#include <cstdio>

#include "check.h"
#include "qor.h"

namespace {

constexpr uint64_t kModule = 1;  // what all memory is accounted to

enum State : uint32_t { kIdle, kRequested, kMapped, kUp };
enum Event : uint32_t { kRequest, kMapping, kStatusUp, kWithdraw, kTimeOut };
constexpr uint32_t kStates = kUp + 1;
constexpr uint32_t kEvents = kTimeOut + 1;

struct Pseudowire {
    QOR_FSM_INST_S fsm{};
    uint32_t requests = 0;
    bool tableFull = true;  // what makes the forwarding table refuse, once
};

template <class T>
uint64_t ToHandle(T *p) {
    return reinterpret_cast<uintptr_t>(p);
}

Pseudowire &FromHandle(uint64_t handle) {
    return *reinterpret_cast<Pseudowire *>(static_cast<uintptr_t>(handle));
}

// The handlers. param is the pseudowire too, because it comes back with the timer.
uint32_t SendRequest(uint64_t /*param*/, uint64_t /*data*/, uint64_t userData) {
    std::printf("    label request %u sent\n", ++FromHandle(userData).requests);
    return QOR_OK;
}

uint32_t TakeLabel(uint64_t /*param*/, uint64_t label, uint64_t /*userData*/) {
    std::printf("    label %u taken\n", static_cast<unsigned>(label));
    return QOR_OK;
}

uint32_t OpenForwarding(uint64_t /*param*/, uint64_t /*data*/, uint64_t userData) {
    Pseudowire &pw = FromHandle(userData);
    std::printf("    forwarding table %s\n", pw.tableFull ? "is full" : "filled");
    const uint32_t result = pw.tableFull ? QOR_FAIL : QOR_OK;
    pw.tableFull = false;
    return result;
}

uint32_t Release(uint64_t /*param*/, uint64_t /*data*/, uint64_t /*userData*/) {
    std::printf("    label released\n");
    return QOR_OK;
}

struct Transition {
    uint32_t event, state, next;
    QOR_FSM_PROC_PF handler;
};

constexpr Transition kTransitions[] = {
    {kRequest, kIdle, kRequested, SendRequest},
    {kRequest, kUp, kUp, nullptr},  // refused silently
    {kMapping, kRequested, kMapped, TakeLabel},
    {kStatusUp, kMapped, kUp, OpenForwarding},
    {kWithdraw, kIdle, kIdle, QOR_FSM_ProcDummyEvent},  // nothing to do
    {kWithdraw, kMapped, kIdle, Release},
    {kWithdraw, kUp, kIdle, Release},
    {kTimeOut, kRequested, kRequested, SendRequest},  // entered again, its timer begins anew
    {kTimeOut, kMapped, kIdle, Release},
};

// The engine wants a cell for each event in each state. In all others the event is a failure.
constexpr auto kCells = [] {
    std::array<QOR_FSM_ENTRY_S, kEvents * kStates> cells{};
    for (uint32_t i = 0; i < cells.size(); ++i) {
        cells[i] = {i % kStates, i % kStates, QOR_FSM_ProcInvalidEvent};
    }
    for (const Transition &t : kTransitions) {
        cells[t.event * kStates + t.state] = {t.state, t.next, t.handler};
    }
    return cells;
}();

constexpr QOR_FSM_NAME_S kStateNames[kStates] = {
    {kIdle, "idle"}, {kRequested, "requested"}, {kMapped, "mapped"}, {kUp, "up"}};
constexpr QOR_FSM_NAME_S kEventNames[kEvents] = {{kRequest, "request"},
                                                 {kMapping, "mapping"},
                                                 {kStatusUp, "status up"},
                                                 {kWithdraw, "withdraw"},
                                                 {kTimeOut, "time-out"}};
constexpr QOR_FSM_DESC_S kMachine = {kEvents, kStates, kCells.data(), kEventNames, kStateNames};

// State, timer type, seconds. The type is the event that the expiry becomes.
constexpr QOR_FSM_FALLBACK_S kFallBack[kStates] = {
    {kIdle, 0, 0}, {kRequested, kTimeOut, 1}, {kMapped, kTimeOut, 1}, {kUp, 0, 0}};

// Feeds an event and tells what becomes of it.
uint32_t Feed(Pseudowire &pw, uint32_t event, uint64_t data = 0) {
    std::printf("%s\n", QOR_FSM_GetEventName(&pw.fsm, event));
    const uint32_t result = QOR_FSM_Execute(&pw.fsm, event, ToHandle(&pw), data);
    if (result != QOR_OK) {
        std::printf("    refused: 0x%08x\n", static_cast<unsigned>(result));
    }
    std::printf("    -> %s\n", QOR_FSM_GetStateName(&pw.fsm, pw.fsm.ulCurState));
    return result;
}

// The timer owner: makes an event of an expiry.
void OnExpiry(void * /*user*/, uint32_t timerType, uint64_t param) {
    Pseudowire &pw = FromHandle(param);
    pw.fsm.ulFallBackTimer = 0;  // it has fired: there is nothing to delete any more
    Feed(pw, timerType);
}

void PrintLine(void * /*user*/, const HOST_POSIX_LINE_S *line) {
    std::printf("    log: %s\n", line->szText);
}

// The poll loop of a program that has nothing to do but to wait for the second request.
void WaitForSecondRequest(const Pseudowire &pw, uint64_t owner) {
    pollfd timer{HOST_POSIX_TimerFd(owner), POLLIN, 0};
    while (pw.requests < 2 && CHECK(poll(&timer, 1, 10'000) == 1)) {
        HOST_POSIX_TimerRun(owner);
    }
}

void Run(Pseudowire &pw, uint64_t owner) {
    CHECK(Feed(pw, kRequest) == QOR_OK);
    WaitForSecondRequest(pw, owner);
    CHECK(Feed(pw, kMapping, 1000) == QOR_OK);

    CHECK(Feed(pw, kStatusUp) == QOR_FAIL);
    CHECK(pw.fsm.ulCurState == kMapped && pw.fsm.ulErrCnt == 1);
    // The state is back; its timer is not until it is armed again.
    CHECK(HOST_POSIX_TimerCount(owner) == 0);
    CHECK(QOR_FSM_MrCreateFallBackTimer(ToHandle(&pw), &pw.fsm) == QOR_OK);
    CHECK(HOST_POSIX_TimerCount(owner) == 1);

    CHECK(Feed(pw, kStatusUp) == QOR_OK);
    CHECK(Feed(pw, kRequest) == QOR_FSM_ERR_NO_PROC);
    CHECK(Feed(pw, kWithdraw) == QOR_OK);
    CHECK(Feed(pw, kMapping, 1001) == QOR_FSM_ERR_EVENT);
    std::printf("%u changes of the state, %u failures\n", pw.fsm.ulStateChgCnt, pw.fsm.ulErrCnt);
    CHECK(QOR_FSM_MrDeleteFallBackTimer(&pw.fsm) == QOR_OK);
}

}  // namespace

int main() {
    HOST_POSIX_LineSink(HOST_POSIX_SINK_DEVLOG, PrintLine, nullptr);
    const uint64_t owner = HOST_POSIX_TimerOwnerCreate(OnExpiry, nullptr);

    QOR_LOG_CFG_S logCfg{};
    logCfg.ulSid = kModule;
    logCfg.ulCid = 0x64;
    logCfg.szTag = "PE1";
    logCfg.szModName = "PW";
    logCfg.ulDevLogOn = 1;
    QOR_LOG_S *log = QOR_LOG_Init(&logCfg, &logCfg);  // the second argument only must not be NULL
    QOR_FILE_CFG_S fileCfg{};
    fileCfg.ulSid = kModule;
    QOR_FILE_S *file = QOR_FILE_Init(&fileCfg);
    const QOR_FSM_LIB_S cfg{kModule, owner, ToHandle(log), ToHandle(file)};
    QOR_FSM_LIB_S *lib = QOR_FSM_InitLib(&cfg, &cfg);

    if (CHECK(log != nullptr && file != nullptr && lib != nullptr)) {
        Pseudowire pw;
        pw.fsm.pstFsmDesc = &kMachine;
        pw.fsm.pstFallBackTbl = kFallBack;
        pw.fsm.pstLib = lib;
        pw.fsm.ulUserData = ToHandle(&pw);
        std::snprintf(pw.fsm.szName, sizeof pw.fsm.szName, "PW %u", 100U);
        Run(pw, owner);

        QOR_FSM_DeInitLib(lib, lib);
        QOR_FILE_DeInit(file);
        QOR_LOG_DeInit(log);
    }
    HOST_POSIX_TimerOwnerDestroy(owner);
    return finish();
}
