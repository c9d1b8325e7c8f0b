/** @file
 * State machine engine. The user describes a machine once, as a table of one
 * cell per event and state, and keeps one instance record per running machine.
 * QOR_FSM_Execute feeds an event to an instance: it moves the instance to the
 * cell's next state, arms that state's fall-back timer and calls the cell's
 * handler. When the handler fails, the states are restored, the failure is
 * counted and, at a falling rate, logged.
 *
 * Every diagnostic goes to the file sink first and to the developer log then.
 * Descriptions, tables and instances belong to the caller; the engine keeps
 * pointers to none of them.
 */
#ifndef QOR_FSM_H
#define QOR_FSM_H

#include "qor_host.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

#define QOR_FSM_ERR_EVENT UINT32_C(0x80040001)   /**< no such event, or not allowed here */
#define QOR_FSM_ERR_NO_PROC UINT32_C(0x80040003) /**< the cell has no handler */
#define QOR_FSM_ERR_TIMER UINT32_C(0x80040004)   /**< fall-back timer not created */

/** Octets of an instance's name, the NUL included. */
#define QOR_FSM_NAME_LEN 96

/** A handler: param and data are those of QOR_FSM_Execute. Returns 0, or a
 * failure that QOR_FSM_Execute passes on. It sees the instance in its new state
 * and may feed it further events. It may release the instance, if it then
 * returns 0. */
typedef uint32_t (*QOR_FSM_PROC_PF)(uint64_t param, uint64_t data, uint64_t ulUserData);

/** What all instances of one user share. QOR_FSM_InitLib makes the engine's own
 * copy of the caller's record. */
typedef struct QOR_FSM_LIB_S {
    uint64_t ulSid;        /**< module id of the context's memory, not 0 */
    uint64_t ulTimerOwner; /**< host's owner of the fall-back timers, not 0 */
    uint64_t ulLogHandle;  /**< a QOR_LOG_S, not 0 */
    uint64_t ulFileHandle; /**< a QOR_FILE_S; when 0, each diagnostic is also an assertion report */
} QOR_FSM_LIB_S;

/** One cell: what an event does in a state. */
typedef struct QOR_FSM_ENTRY_S {
    uint32_t ulState;        /**< the state that the cell stands for, told in the failure log */
    uint32_t ulNextState;    /**< the state that the instance enters */
    QOR_FSM_PROC_PF pfnProc; /**< NULL: the event is refused */
} QOR_FSM_ENTRY_S;

#pragma pack(push, 4)

/** The name of one event or state. */
typedef struct QOR_FSM_NAME_S {
    uint32_t ulId;
    const char *szName;
} QOR_FSM_NAME_S;

#pragma pack(pop)

/** A machine. Events and states count from 0. */
typedef struct QOR_FSM_DESC_S {
    uint32_t ulEventNum;
    uint32_t ulStateNum;
    const QOR_FSM_ENTRY_S *pstEntryTbl;    /**< cell of event e in state s: [e * ulStateNum + s] */
    const QOR_FSM_NAME_S *pstEventNameTbl; /**< ulEventNum rows in any order, or NULL */
    const QOR_FSM_NAME_S *pstStateNameTbl; /**< ulStateNum rows in any order, or NULL */
} QOR_FSM_DESC_S;

/** The fall-back timer of one state. */
typedef struct QOR_FSM_FALLBACK_S {
    uint32_t ulState;     /**< for the reader; the row is found by its position */
    uint32_t ulTimerType; /**< handed to the timer owner at expiry */
    uint32_t ulTimeOut;   /**< in the unit of HOST_TimerCreateOnce, seconds; 0: no timer */
} QOR_FSM_FALLBACK_S;

#pragma pack(push, 4)

/** One running machine. The caller fills states, description, name, context,
 * user data and fall-back table and zeroes the rest. */
typedef struct QOR_FSM_INST_S {
    uint32_t ulOldState; /**< before the last transition */
    uint32_t ulCurState;
    const QOR_FSM_DESC_S *pstFsmDesc;
    char szName[QOR_FSM_NAME_LEN];            /**< told in every diagnostic */
    QOR_FSM_LIB_S *pstLib;                    /**< from QOR_FSM_InitLib */
    uint64_t ulUserData;                      /**< handed to every handler */
    uint64_t ulFallBackTimer;                 /**< handle of the timer that runs, or 0 */
    uint32_t ulOldEvent;                      /**< the last event that was accepted */
    const QOR_FSM_FALLBACK_S *pstFallBackTbl; /**< one row per state, by state; NULL: no timers */
    uint32_t ulErrCnt;                        /**< failures of handlers, never reset */
    uint32_t ulErrEvent;           /**< event of the last failure that was not a mere repetition */
    uint32_t ulErrState;           /**< ulState of the cell of that failure */
    uint32_t ulStateChgCnt;        /**< transitions to another state */
    HOST_SYSTIME_S stErrTime;      /**< GMT of the last failure */
    HOST_SYSTIME_S stStateChgTime; /**< GMT of the last transition to another state */
} QOR_FSM_INST_S;

#pragma pack(pop)

QOR_ASSERT_SIZE(QOR_FSM_LIB_S, 32);
QOR_ASSERT_SIZE(QOR_FSM_ENTRY_S, 16);
QOR_ASSERT_SIZE(QOR_FSM_NAME_S, 12);
QOR_ASSERT_SIZE(QOR_FSM_DESC_S, 32);
QOR_ASSERT_SIZE(QOR_FSM_FALLBACK_S, 12);
QOR_ASSERT_SIZE(QOR_FSM_INST_S, 188);
QOR_ASSERT_OFFSET(QOR_FSM_INST_S, pstFallBackTbl, 140);
QOR_ASSERT_OFFSET(QOR_FSM_INST_S, stErrTime, 164);

/** Creates a context from *cfg. p2 must not be NULL and is not used otherwise.
 * Returns the context, released by QOR_FSM_DeInitLib; NULL for a NULL argument,
 * for ulSid, ulLogHandle or ulTimerOwner 0, and when memory is short. */
QOR_EXPORT QOR_FSM_LIB_S *QOR_FSM_InitLib(const QOR_FSM_LIB_S *cfg, const void *p2);

/** Releases lib. p2 must not be NULL. The fall-back timers of its instances must
 * have been deleted before. */
QOR_EXPORT void QOR_FSM_DeInitLib(QOR_FSM_LIB_S *lib, const void *p2);

/** Feeds event to inst. param goes to the handler and to the fall-back timer,
 * data to the handler. Returns
 * - 0: the handler succeeded; inst is not touched any more;
 * - QOR_FSM_ERR_EVENT: no such event (logged); nothing has changed;
 * - QOR_FSM_ERR_NO_PROC: the cell has no handler, or the state is so far out of
 *   range that there is no cell; nothing has changed;
 * - QOR_FAIL: the description has no table (logged);
 * - QOR_ERR_ARG: inst, its description or its context is NULL;
 * - else: the handler's failure, which may equal the codes above; the
 *                        states are as before, but the counters, the times and
 *                        the timer that was armed for the state now left again
 *                        are not. Instance and context must be there still.
 *
 * A state outside the range is reported and used, as far as the table goes.
 * The timer is armed anew even when the state stays; a timer that cannot be
 * created or deleted is logged and changes no result. Of the handlers'
 * failures the first ten and those that make the count 100, 1000, 10000 and
 * 100000 are logged, unless event and cell state are those of the failure
 * before; the failure before the first one counts as event 0 in state 0. */
QOR_EXPORT uint32_t QOR_FSM_Execute(QOR_FSM_INST_S *inst, uint32_t event, uint64_t param,
                                    uint64_t data);

/** Arms the fall-back timer of the current state; the timer owner gets the type
 * from the table and param. A timer that still runs is reported and forgotten.
 * Returns 0, also for a state without timer (then the handle becomes 0);
 * QOR_FSM_ERR_TIMER when the host refused (logged; the handle stays);
 * QOR_ERR_ARG for NULL. */
QOR_EXPORT uint32_t QOR_FSM_MrCreateFallBackTimer(uint64_t param, QOR_FSM_INST_S *inst);

/** Deletes the running fall-back timer, if any; a failure is logged. To be
 * called before an instance is given up. A timer that has fired is gone already:
 * clear ulFallBackTimer then, or its deletion by the next event is logged as a
 * failure. Returns 0; QOR_ERR_ARG for NULL. */
QOR_EXPORT uint32_t QOR_FSM_MrDeleteFallBackTimer(QOR_FSM_INST_S *inst);

/** Return the name of a state or an event of inst's machine; NULL when it is out
 * of range or has no row, and for NULL. The text is the caller's own. @{ */
QOR_EXPORT const char *QOR_FSM_GetStateName(const QOR_FSM_INST_S *inst, uint32_t state);
QOR_EXPORT const char *QOR_FSM_GetEventName(const QOR_FSM_INST_S *inst, uint32_t event);
/** @} */

/** Handlers for cells: QOR_FSM_ProcInvalidEvent fails with QOR_FSM_ERR_EVENT,
 * for events that must not come in a state; QOR_FSM_ProcDummyEvent returns 0,
 * for events that need no work. @{ */
#ifdef __cplusplus
QOR_EXPORT uint32_t QOR_FSM_ProcInvalidEvent(uint64_t param = 0, uint64_t data = 0,
                                             uint64_t ulUserData = 0);
QOR_EXPORT uint32_t QOR_FSM_ProcDummyEvent(uint64_t param = 0, uint64_t data = 0,
                                           uint64_t ulUserData = 0);
#else
QOR_EXPORT uint32_t QOR_FSM_ProcInvalidEvent(uint64_t param, uint64_t data, uint64_t ulUserData);
QOR_EXPORT uint32_t QOR_FSM_ProcDummyEvent(uint64_t param, uint64_t data, uint64_t ulUserData);
#endif
/** @} */

QOR_END_DECLS

#endif
