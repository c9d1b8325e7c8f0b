/** @file
 * The default platform's own operations: what a program that links qor::host
 * can ask of it beyond the contract of qor_host.h.
 *
 * Memory counts, assertion reports and sinks belong to the process and may be
 * used from any thread. A timer owner and its timers belong to one thread at
 * a time; different owners are independent.
 *
 * Without a callback the event log and the system log go to syslog(3), the other
 * sinks and the assertion reports to stderr. Texts longer than
 * HOST_POSIX_LINE_MAX - 1 octets are cut.
 */
#ifndef QOR_HOST_POSIX_H
#define QOR_HOST_POSIX_H

#include "qor_host.h"  /* IWYU pragma: export */
#include "qor_types.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/* ---- Memory --------------------------------------------------------------- */

/** Module id of the account that late modules share. */
#define HOST_POSIX_MEM_OTHERS UINT64_MAX

/** The account of a module. There is room for 255 module ids and id 0; modules
 * that come later share the account of HOST_POSIX_MEM_OTHERS. */
typedef struct HOST_POSIX_MEM_STAT_S {
    uint64_t ullModuleId;
    uint64_t ullLiveBlocks;  /**< allocated and not yet freed */
    uint64_t ullLiveOctets;  /**< what was asked for, without the platform's overhead */
    uint64_t ullPeakOctets;  /**< the most ullLiveOctets has been */
    uint64_t ullAllocations; /**< successful ones since the process started */
    uint64_t ullFailures;    /**< refused ones since the process started */
} HOST_POSIX_MEM_STAT_S;

/** Copies the account of a module into *stat. Returns 0; 1 when the module has
 * no account, then *stat is not touched. While other threads allocate, the
 * counts are each right but not of one instant. */
QOR_EXPORT uint32_t HOST_POSIX_MemStat(uint64_t moduleId, HOST_POSIX_MEM_STAT_S *stat);

/** Gets one account; *stat is valid during the call. */
typedef void (*HOST_POSIX_MEM_PF)(void *user, const HOST_POSIX_MEM_STAT_S *stat);

/** Calls visit for each account, in no particular order. At the end of a program,
 * an account with live blocks is a leak. */
QOR_EXPORT void HOST_POSIX_MemWalk(HOST_POSIX_MEM_PF visit, void *user);

/* ---- Assertion reports ---------------------------------------------------- */

/** Gets the first two arguments of a HOST_Assert call. */
typedef void (*HOST_POSIX_ASSERT_PF)(void *user, const char *file, uint32_t line);

/** Sets who gets the assertion reports; NULL brings stderr back. */
QOR_EXPORT void HOST_POSIX_AssertSink(HOST_POSIX_ASSERT_PF report, void *user);

/** Returns the number of assertion reports since the process started, whoever got
 * them. */
QOR_EXPORT uint64_t HOST_POSIX_AssertCount(void);

/* ---- Timers ----------------------------------------------------------------- */

/** One expiry: the type and the parameter that the timer was armed with. A
 * one-shot timer is gone when this is called, its handle no longer valid. The
 * callback may arm and cancel any timers of the owner. */
typedef void (*HOST_POSIX_TIMER_PF)(void *user, uint32_t timerType, uint64_t param);

/** Creates an owner, the first argument of HOST_TimerCreateOnce,
 * HOST_TimerCreatePeriod and HOST_TimerDelete. Returns 0 when expire is NULL or
 * memory or file descriptors ran out. The caller destroys it.
 *
 * An interval of 0 seconds is due at the next run for a one-shot timer and is
 * refused for a periodic one. */
QOR_EXPORT uint64_t HOST_POSIX_TimerOwnerCreate(HOST_POSIX_TIMER_PF expire, void *user);

/** Cancels the owner's timers and releases it. 0 is ignored. Not to be called
 * from the owner's callback. */
QOR_EXPORT void HOST_POSIX_TimerOwnerDestroy(uint64_t owner);

/** Returns a descriptor for poll() and the like, readable when HOST_POSIX_TimerRun
 * is to be called. A timer may be due then, but need not: one may have been
 * cancelled, and far ones are sorted on the way. It belongs to the owner; do not
 * read or close it. */
QOR_EXPORT int HOST_POSIX_TimerFd(uint64_t owner);

/** Fires what is due, earliest first, and returns how many expiries there were.
 * Timers fire from here only, in the thread that calls. They keep to
 * CLOCK_MONOTONIC in milliseconds, rounded up: setting the system's date does not
 * move them.
 *
 * A timer that a callback arms fires at the next run at the earliest. A
 * periodic timer keeps its phase however late a run is; periods that were
 * missed altogether are skipped. Returns 0 when called from the callback. */
QOR_EXPORT uint32_t HOST_POSIX_TimerRun(uint64_t owner);

/** Returns the number of armed timers. */
QOR_EXPORT uint32_t HOST_POSIX_TimerCount(uint64_t owner);

/* ---- Sinks -------------------------------------------------------------------- */

/** Octets of a sink's text at most, the NUL included. */
#define HOST_POSIX_LINE_MAX 4096

/** Sinks of lines: HOST_DevLogLimit, HOST_Syslog, HOST_Debug and HOST_Printf. */
typedef enum HOST_POSIX_SINK_E {
    HOST_POSIX_SINK_DEVLOG,
    HOST_POSIX_SINK_SYSLOG,
    HOST_POSIX_SINK_DEBUG,
    HOST_POSIX_SINK_CONSOLE,
    HOST_POSIX_SINK_COUNT
} HOST_POSIX_SINK_E;

/** One text of a sink; members that a sink has no value for are 0. Valid during
 * the call. */
typedef struct HOST_POSIX_LINE_S {
    HOST_POSIX_SINK_E enSink;
    uint32_t ulCid;      /**< developer log, debug */
    uint32_t ulSeverity; /**< system log */
    uint32_t ulDbgType;  /**< debug */
    uint32_t ulArg;      /**< debug */
    uint64_t ullArg;     /**< debug */
    const char *szText;  /**< ends as the library wrote it, with or without a newline */
} HOST_POSIX_LINE_S;

/** Gets one text of a sink. */
typedef void (*HOST_POSIX_LINE_PF)(void *user, const HOST_POSIX_LINE_S *line);

/** Sets who gets the texts of one sink; NULL brings the default back. Returns 0,
 * or 1 for an unknown sink. A call that is under way in another thread may
 * still reach the former callback. */
QOR_EXPORT uint32_t HOST_POSIX_LineSink(HOST_POSIX_SINK_E sink, HOST_POSIX_LINE_PF write,
                                        void *user);

/** The arguments of one HOST_EventLog call. Valid during the call. */
typedef struct HOST_POSIX_EVENT_S {
    uint32_t ulCid;
    uint32_t ulEventPara;
    uint64_t ullEventId;
    uint32_t ulPeerIp; /**< host order, 0 when the library gave no record */
    const char *szMsgName;
    const char *szReason;
} HOST_POSIX_EVENT_S;

/** Gets one event. */
typedef void (*HOST_POSIX_EVENT_PF)(void *user, const HOST_POSIX_EVENT_S *event);

/** Sets who gets the events; NULL brings the default back. */
QOR_EXPORT void HOST_POSIX_EventSink(HOST_POSIX_EVENT_PF write, void *user);

/** Sets the rate of the developer log, for each component id on its own: burst
 * lines at once, then linesPerSecond. The line that follows dropped ones is
 * preceded by one that tells their number. linesPerSecond 0 is no limit; a
 * burst of 0 counts as 1. 100 and 200 hold until this is called. There is room
 * for 64 component ids; those that come later share one limit. */
QOR_EXPORT void HOST_POSIX_DevLogRate(uint32_t linesPerSecond, uint32_t burst);

QOR_END_DECLS

#endif
