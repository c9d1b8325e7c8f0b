#include "qor_fsm.h"

#include <cstring>

#include "base/qor_check.hpp"
#include "base/qor_timer.hpp"
#include "qor_file.h"
#include "qor_log.h"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::Where;

constexpr char kSource[] = "qor_fsm";

constexpr uint32_t kContextTag = 71;

// Writes one diagnostic, which begins with the instance's name, to both sinks.
template <class... Args>
void Tell(const QOR_FSM_INST_S *inst, const char *fmt, Args... args) {
    char name[QOR_FSM_NAME_LEN + 1] = "";  // ends even when the instance's own one does not
    std::memcpy(name, inst->szName, QOR_FSM_NAME_LEN);
    const QOR_FSM_LIB_S *lib = inst->pstLib;
    QOR_FILE_Output(reinterpret_cast<QOR_FILE_S *>(static_cast<uintptr_t>(lib->ulFileHandle)), fmt,
                    name, args...);
    QOR_LOG_DevLog(reinterpret_cast<QOR_LOG_S *>(static_cast<uintptr_t>(lib->ulLogHandle)), fmt,
                   name, args...);
}

// The description of inst; NULL, which is reported, without one.
const QOR_FSM_DESC_S *DescriptionOf(Where where, const QOR_FSM_INST_S *inst) {
    const QOR_FSM_DESC_S *desc = inst == nullptr ? nullptr : inst->pstFsmDesc;
    RefuseNull(where, desc);
    return desc;
}

// Tells whether inst is NULL or lacks what it cannot run without, and then reports it.
bool RefuseInstance(Where where, const QOR_FSM_INST_S *inst) {
    if (inst != nullptr && inst->pstFsmDesc != nullptr && inst->pstLib != nullptr) {
        return false;
    }
    Report(where);
    return true;
}

// The current state's row of the fall-back table; NULL without one.
const QOR_FSM_FALLBACK_S *FallBackOf(const QOR_FSM_INST_S *inst) {
    const uint32_t state = inst->ulCurState;
    const bool known = inst->pstFallBackTbl != nullptr && state < inst->pstFsmDesc->ulStateNum;
    return known ? inst->pstFallBackTbl + state : nullptr;
}

const char *FindName(const QOR_FSM_NAME_S *table, uint32_t rows, uint32_t id) {
    if (table == nullptr || id >= rows) {
        return nullptr;
    }
    for (uint32_t i = 0; i < rows; ++i) {
        if (table[i].ulId == id) {
            return table[i].szName;
        }
    }
    return nullptr;
}

// The first ten failures are logged, and then one per power of ten.
bool IsLoggedCount(uint32_t count) {
    return count <= 10 || count == 100 || count == 1000 || count == 10000 || count == 100000;
}

// Counts and logs a failure of the handler in cell.
void NoteFailure(QOR_FSM_INST_S *inst, uint32_t event, const QOR_FSM_ENTRY_S &cell,
                 uint32_t result) {
    if (inst->ulErrEvent == event && inst->ulErrState == cell.ulState) {
        return;
    }
    inst->ulErrEvent = event;
    inst->ulErrState = cell.ulState;
    if (IsLoggedCount(inst->ulErrCnt)) {
        Tell(inst, "FSM %s: Execute failed, State:%s, Event:%s, RetCode:0x%x, ErrCnt:%u",
             QOR_FSM_GetStateName(inst, cell.ulState), QOR_FSM_GetEventName(inst, event), result,
             inst->ulErrCnt);
    }
}

}  // namespace

QOR_FSM_LIB_S *QOR_FSM_InitLib(const QOR_FSM_LIB_S *cfg, const void *p2) {
    if (RefuseNull(kSource, cfg, p2)) {
        return nullptr;
    }
    if (cfg->ulSid == 0 || cfg->ulLogHandle == 0 || cfg->ulTimerOwner == 0) {
        Report(kSource);
        return nullptr;
    }
    auto *lib = qor::AllocZeroed<QOR_FSM_LIB_S>(kSource, cfg->ulSid, kContextTag);
    if (RefuseNull(kSource, lib)) {
        return nullptr;
    }
    qor::CopyChecked(kSource, lib, sizeof *lib, cfg, sizeof *cfg);
    return lib;
}

void QOR_FSM_DeInitLib(QOR_FSM_LIB_S *lib, const void *p2) {
    if (!RefuseNull(kSource, lib, p2)) {
        HOST_MemFree(lib, kSource, __LINE__);
    }
}

uint32_t QOR_FSM_Execute(QOR_FSM_INST_S *inst, uint32_t event, uint64_t param, uint64_t data) {
    if (RefuseInstance(kSource, inst)) {
        return QOR_ERR_ARG;
    }
    const QOR_FSM_DESC_S *desc = inst->pstFsmDesc;
    if (event >= desc->ulEventNum) {
        Tell(inst, "FSM %s: Invalid event %s", "(null)");  // it has no name
        return QOR_FSM_ERR_EVENT;
    }
    const uint32_t oldState = inst->ulOldState;
    const uint32_t curState = inst->ulCurState;
    const QOR_FSM_ENTRY_S *table = desc->pstEntryTbl;
    // A state outside the range reaches into the cells of a later event.
    const uint64_t index = uint64_t{event} * desc->ulStateNum + curState;
    const uint64_t cells = uint64_t{desc->ulEventNum} * desc->ulStateNum;
    if (curState >= desc->ulStateNum) {
        Report(kSource);
    }
    if (RefuseNull(kSource, table)) {
        Tell(inst, "FSM %s: FsmEntry is NULL, OldState :%u, CurState:%u, OldEvent:%u", oldState,
             curState, inst->ulOldEvent);
        return QOR_FAIL;
    }
    if (index >= cells || table[index].pfnProc == nullptr) {
        return QOR_FSM_ERR_NO_PROC;
    }
    const QOR_FSM_ENTRY_S cell = table[index];

    inst->ulOldEvent = event;
    inst->ulOldState = curState;
    if (curState != cell.ulNextState) {
        inst->ulCurState = cell.ulNextState;
        inst->ulStateChgCnt++;
        HOST_GmtSystimeGet(&inst->stStateChgTime);
    }
    if (inst->ulFallBackTimer != 0) {
        QOR_FSM_MrDeleteFallBackTimer(inst);
    }
    if (inst->pstFallBackTbl != nullptr) {
        QOR_FSM_MrCreateFallBackTimer(param, inst);
    }

    const uint32_t result = cell.pfnProc(param, data, inst->ulUserData);
    if (result == 0) {
        return 0;  // the handler may have released the instance
    }
    inst->ulErrCnt++;
    HOST_GmtSystimeGet(&inst->stErrTime);
    inst->ulCurState = curState;
    inst->ulOldState = oldState;
    NoteFailure(inst, event, cell, result);
    return result;
}

uint32_t QOR_FSM_MrCreateFallBackTimer(uint64_t param, QOR_FSM_INST_S *inst) {
    if (RefuseNull(kSource, inst)) {
        return QOR_ERR_ARG;
    }
    if (inst->pstFallBackTbl != nullptr && RefuseInstance(kSource, inst)) {
        return QOR_ERR_ARG;
    }
    uint64_t timer = 0;
    const QOR_FSM_FALLBACK_S *row = FallBackOf(inst);
    if (row != nullptr && row->ulTimeOut != 0) {
        timer = qor::ArmOnce(inst->pstLib->ulTimerOwner, row->ulTimeOut, row->ulTimerType, param);
        if (timer == 0) {
            Tell(inst, "FSM %s: Failed to create fall back timer %u leaving state %u",
                 inst->ulFallBackTimer != 0 ? 1U : 0U, inst->ulOldState);
            return QOR_FSM_ERR_TIMER;
        }
    }
    if (inst->ulFallBackTimer != 0) {
        Report(kSource);  // that one runs on, and nobody can stop it any more
    }
    inst->ulFallBackTimer = timer;
    return QOR_OK;
}

uint32_t QOR_FSM_MrDeleteFallBackTimer(QOR_FSM_INST_S *inst) {
    if (RefuseNull(kSource, inst)) {
        return QOR_ERR_ARG;
    }
    if (inst->ulFallBackTimer == 0) {
        return QOR_OK;
    }
    const QOR_FSM_LIB_S *lib = inst->pstLib;
    if (RefuseNull(kSource, lib)) {
        return QOR_ERR_ARG;
    }
    if (HOST_TimerDelete(lib->ulTimerOwner, inst->ulFallBackTimer) != 0) {
        Tell(inst, "FSM %s: Failed to stop fall back timer 0x%u leaving state %u", 1U,
             inst->ulOldState);
    }
    inst->ulFallBackTimer = 0;
    return QOR_OK;
}

const char *QOR_FSM_GetStateName(const QOR_FSM_INST_S *inst, uint32_t state) {
    const QOR_FSM_DESC_S *desc = DescriptionOf(kSource, inst);
    return desc == nullptr ? nullptr : FindName(desc->pstStateNameTbl, desc->ulStateNum, state);
}

const char *QOR_FSM_GetEventName(const QOR_FSM_INST_S *inst, uint32_t event) {
    const QOR_FSM_DESC_S *desc = DescriptionOf(kSource, inst);
    return desc == nullptr ? nullptr : FindName(desc->pstEventNameTbl, desc->ulEventNum, event);
}

uint32_t QOR_FSM_ProcInvalidEvent(uint64_t /*param*/, uint64_t /*data*/, uint64_t /*ulUserData*/) {
    return QOR_FSM_ERR_EVENT;
}

uint32_t QOR_FSM_ProcDummyEvent(uint64_t /*param*/, uint64_t /*data*/, uint64_t /*ulUserData*/) {
    return QOR_OK;
}
