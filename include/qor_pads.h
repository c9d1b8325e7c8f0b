/** @file
 * Health service: exceptions that a module counts, dates and describes. An
 * index is one registered exception; its users are the objects that show it.
 * What makes a user a record depends on the index's type:
 *
 * - once: adding a user records at once, and keeps no user
 * - expire: a user that stays for the index's time is recorded and removed
 * - stat: durations reported for a user are summed over a sliding window; every
 *   report that leaves the sum at the threshold or above records
 * - DA: nothing is recorded; a callback runs periodically for each user
 *
 * An index keeps its last two records with the text that the user's callback
 * wrote. The expire and DA users are served by two periodic timers of the host,
 * one of a minute and one of a second, for which the timer owner calls
 * QOR_PADS_HealthSchedule.
 *
 * Finding, adding and deleting indexes and users is O(log n). Unless a comment
 * says otherwise, functions with a code return QOR_OK; QOR_ERR_ARG for a NULL
 * argument; QOR_FAIL for what they refuse. An operation of one type that is
 * given an index of another reports that and returns QOR_FAIL.
 *
 * Callbacks may add and delete users and register and unregister indexes, those
 * they are called for included; they must not de-initialise the service. One
 * that adds a user for every one deleted keeps a deletion of all from ending.
 */
#ifndef QOR_PADS_H
#define QOR_PADS_H

#include "qor_pads_record.h" /* IWYU pragma: export */

QOR_BEGIN_DECLS

/* ---- Context ------------------------------------------------------------- */

/** Creates a context from the first four members of *cfg. Returns it, released
 * by QOR_PADS_DeInitPads; NULL for NULL, for one of the four being 0, and when
 * memory is short. */
QOR_EXPORT QOR_PADS_S *QOR_PADS_InitPads(const QOR_PADS_S *cfg);

/** De-initialises the health record and releases ctx. */
QOR_EXPORT uint32_t QOR_PADS_DeInitPads(QOR_PADS_S *ctx);

/** Creates the health record of ctx. timerTypes are the types of the minute and
 * of the second timer, in this order; a second call changes nothing. QOR_FAIL
 * when memory is short. */
QOR_EXPORT uint32_t QOR_PADS_InitHealth(const uint32_t *timerTypes, QOR_PADS_S *ctx);

/** Stops the timers, unregisters every index (with a pfnDelUser call for every
 * user) and releases the health record, if there is one. From the beginning of the
 * call nothing can be registered. */
QOR_EXPORT uint32_t QOR_PADS_DeInitHealth(QOR_PADS_S *ctx);

/* ---- Indexes ------------------------------------------------------------- */

/** Register an index. QOR_FAIL without a health record, when the id is taken by
 * an index of any type, and when memory is short. QOR_PADS_RegDA also adds the
 * user 0, without data, and returns the result of that; the index stays when it
 * failed. @{ */
QOR_EXPORT uint32_t QOR_PADS_RegOnceExcp(uint32_t id, const QOR_PADS_ONCE_REG_S *reg,
                                         QOR_PADS_S *ctx);
QOR_EXPORT uint32_t QOR_PADS_RegExpireExcp(uint32_t id, const QOR_PADS_EXPIRE_REG_S *reg,
                                           QOR_PADS_S *ctx);
QOR_EXPORT uint32_t QOR_PADS_RegStatExcp(uint32_t id, const QOR_PADS_STAT_REG_S *reg,
                                         QOR_PADS_S *ctx);
QOR_EXPORT uint32_t QOR_PADS_RegDA(uint32_t id, const QOR_PADS_DA_REG_S *reg, QOR_PADS_S *ctx);
/** @} */

/** Deletes the users of index id, ignoring what pfnDelUser returns, and releases
 * it. From the beginning of the call the index is not found any more. QOR_OK,
 * also for an unknown id; QOR_FAIL without a health record. */
QOR_EXPORT uint32_t QOR_PADS_UnRegIndex(uint32_t id, QOR_PADS_S *ctx);

/** Delete the users of an index of that type; the index stays. @{ */
QOR_EXPORT uint32_t QOR_PADS_UnRegOnceExcp(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_UnRegExpireExcp(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_UnRegStatExcp(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_UnRegDA(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health);
/** @} */

/** Fills the part of a zeroed index that all types have; reg is a registration
 * record of any type, of which the name is read. */
QOR_EXPORT uint32_t QOR_PADS_InitIndex(QOR_PADS_INDEX_S *index, uint32_t id, const void *reg,
                                       uint32_t type);

/* ---- Users --------------------------------------------------------------- */

/** Adds a user, or records at once, by the index's type. QOR_FAIL without a
 * health record, for an unknown index, a DA index, a user id that is taken, and
 * when memory is short; else the result of the type's operation. */
QOR_EXPORT uint32_t QOR_PADS_AddExcpUser(uint32_t indexId, uint32_t userId, uint64_t userData,
                                         QOR_PADS_S *ctx);

/** Deletes a user. Returns what pfnDelUser returns; QOR_OK for an unknown user,
 * and so for a once index; QOR_FAIL without a health record, for an unknown
 * index and for a DA user. */
QOR_EXPORT uint32_t QOR_PADS_DelExcpUser(uint32_t indexId, uint32_t userId, QOR_PADS_S *ctx);

/** Add and delete a user by type, for an index that was looked up, and the only way for DA
 * users. Adding to a once index records and returns the result of
 * QOR_PADS_RecordOnceExcp. Adding to an expire index whose unit is not one of
 * QOR_PADS_UNIT_* returns QOR_FAIL and leaves a user that never expires. A user
 * of another index is refused. @{ */
QOR_EXPORT uint32_t QOR_PADS_AddOnceExcpUser(QOR_PADS_INDEX_S *index, uint32_t userId,
                                             uint64_t userData, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_AddExpireExcpUser(QOR_PADS_INDEX_S *index, uint32_t userId,
                                               uint64_t userData, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_AddStatExcpUser(QOR_PADS_INDEX_S *index, uint32_t userId,
                                             uint64_t userData, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_AddDAUser(QOR_PADS_INDEX_S *index, uint32_t userId, uint64_t userData,
                                       QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_DelExpireExcpUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                               QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_DelStatExcpUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                             QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_DelDAUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                       QOR_PADS_HEALTH_S *health);
/** @} */

/** Fills the part of a zeroed user that all types have; its time is now. */
QOR_EXPORT uint32_t QOR_PADS_InitUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                      uint32_t userId, uint64_t userData);

/* ---- Lookup -------------------------------------------------------------- */

/** Return an index, by id, the first one, the one behind index, in the order of
 * ids; NULL when there is none and for NULL. The index belongs to the service.
 * @{ */
QOR_EXPORT QOR_PADS_INDEX_S *QOR_PADS_GetIndexById(uint32_t id, QOR_PADS_S *ctx);
QOR_EXPORT QOR_PADS_INDEX_S *QOR_PADS_GetFirstIndex(QOR_PADS_HEALTH_S *health);
QOR_EXPORT QOR_PADS_INDEX_S *QOR_PADS_GetNextIndex(QOR_PADS_INDEX_S *index,
                                                   QOR_PADS_HEALTH_S *health);
/** @} */

/** Return a user of index, by id, the first one, the one behind user, as the
 * indexes above. @{ */
QOR_EXPORT QOR_PADS_USER_S *QOR_PADS_GetUserById(QOR_PADS_INDEX_S *index, uint32_t userId,
                                                 QOR_PADS_HEALTH_S *health);
QOR_EXPORT QOR_PADS_USER_S *QOR_PADS_GetFirstUser(QOR_PADS_INDEX_S *index,
                                                  QOR_PADS_HEALTH_S *health);
QOR_EXPORT QOR_PADS_USER_S *QOR_PADS_GetNextUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                                 QOR_PADS_HEALTH_S *health);
/** @} */

/** Orders two uint32_t: 1, 0 or -1; -1 for NULL. The compare callback of the
 * trees. */
QOR_EXPORT int32_t QOR_PADS_CompareUint32Key(const void *a, const void *b);

/* ---- Recording ----------------------------------------------------------- */

/** Return the seconds since system start, and since 1970 (0 when the low word,
 * taken as signed, is not positive). @{ */
QOR_EXPORT uint32_t QOR_PADS_GetSecFromSysUp(void);
QOR_EXPORT uint32_t QOR_PADS_GetSecFrom1970(void);
/** @} */

/** Asks pfnRecord for the text of a record and keeps it in the older slot of
 * index. Sets info->ulFreqFlag, to be passed as 0, to 1 for a frequent record: when
 * the newest record, or the start of the system without one, is less than 2
 * seconds ago. Returns QOR_OK, also for QOR_PADS_SKIP and when the callback
 * unregistered the index, which keep nothing; else the callback's error. */
QOR_EXPORT uint32_t QOR_PADS_RecordExcp(QOR_PADS_INDEX_S *index, QOR_PADS_EXCP_INFO_S *info,
                                        QOR_PADS_RECORD_PF pfnRecord, QOR_PADS_HEALTH_S *health);

/** QOR_PADS_RecordExcp with the callback of an index of that type; QOR_OK without
 * one. sum is in seconds. @{ */
QOR_EXPORT uint32_t QOR_PADS_RecordOnceExcp(QOR_PADS_INDEX_S *index, uint32_t userId,
                                            uint64_t userData, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_RecordExpireExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                              QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_RecordStatExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                            uint32_t sum, QOR_PADS_HEALTH_S *health);
/** @} */

/** Reports a duration of value seconds for a user of a stat index, and evaluates
 * the user. QOR_FAIL without a health record, for an unknown index or user, an
 * index of another type, when memory is short and when the clock went back (the
 * report is kept then); a failing record callback is no failure here. */
QOR_EXPORT uint32_t QOR_PADS_AddStatNode(uint32_t indexId, uint32_t userId, uint32_t value,
                                         QOR_PADS_S *ctx);

/** Evaluates a user of a stat index: drops samples older than the window and
 * records when the others sum up to the threshold. A sample counts as far as
 * the window has not passed it: at most window - age seconds. While the system
 * is younger than the window, only a user without samples is evaluated. Costs
 * O(samples). QOR_FAIL when the clock went back. */
QOR_EXPORT uint32_t QOR_PADS_ProcOneStatExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                             QOR_PADS_HEALTH_S *health);

/** Records a user of an expire index whose time has come and returns the result
 * of that; QOR_PADS_NOT_DUE before; QOR_FAIL when the clock went back. Does not
 * remove the user. */
QOR_EXPORT uint32_t QOR_PADS_ProcOneExpireExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                               QOR_PADS_HEALTH_S *health);

/* ---- Scheduling ---------------------------------------------------------- */

/** To be called by the timer owner when a timer of timerType fires. A minute
 * tick runs the DA users that are due and then, if they were fewer than ten and
 * no DA callback failed, expires users in minutes; a second tick expires users in seconds. Returns
 * QOR_OK, also when a record callback failed; an error of a DA callback; QOR_FAIL
 * without a health record and when the clock went back behind a DA user. */
QOR_EXPORT uint32_t QOR_PADS_HealthSchedule(uint32_t timerType, QOR_PADS_S *ctx);

/** Runs the DA users that are due, without a limit, and stores their number in
 * *countOut. A callback that does not return 0 ends the run: QOR_PADS_SKIP with
 * QOR_OK, an error with that error. So does a clock that went back, with
 * QOR_FAIL. *countOut is left alone then. */
QOR_EXPORT uint32_t QOR_PADS_ScheduleDA(uint32_t *countOut, QOR_PADS_HEALTH_S *health);

/** Goes on with the expire users of that timer where the last scan stopped:
 * until *countInOut, to which the expired ones are added, is above 9, or until as
 * many users were looked at as there were at the beginning. A user whose record
 * callback fails, or behind whom the clock went back, ends the scan and is the
 * first of the next one. QOR_OK, also for another timer type. */
QOR_EXPORT uint32_t QOR_PADS_ScheduleExcp(uint32_t timerType, uint32_t *countInOut,
                                          QOR_PADS_HEALTH_S *health);

/** Start the minute or the second timer, if it does not run. QOR_ERR_ARG also
 * when the host did not create it. The service starts them by itself. @{ */
QOR_EXPORT uint32_t QOR_PADS_StartMinTimer(QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_StartSecTimer(QOR_PADS_HEALTH_S *health);
/** @} */

/** Stop the minute timer when there is neither a DA user nor an expire user in
 * minutes, the second timer when there is no expire user in seconds. @{ */
QOR_EXPORT uint32_t QOR_PADS_TryStopMinTimer(QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_TryStopSecTimer(QOR_PADS_HEALTH_S *health);
/** @} */

/* ---- Text ---------------------------------------------------------------- */

/** Writes the records of all indexes into buf (len octets): name, date, time and
 * text, in lines of 45 characters of text, the older record of an index first.
 * What does not fit is left out: the first line of a record is cut, further
 * lines are dropped. QOR_OK then too, and for len 0; QOR_FAIL without a health
 * record, and when a single octet is left for a record. */
QOR_EXPORT uint32_t QOR_PADS_AllExcp2String(char *buf, uint32_t len, QOR_PADS_S *ctx);

/** QOR_PADS_AllExcp2String for one index and for one record, at *bufPos with
 * *remain octets left, both of which are moved on. An empty text writes nothing; the text of
 * record must end. @{ */
QOR_EXPORT uint32_t QOR_PADS_OneExcp2String(QOR_PADS_INDEX_S *index, char **bufPos,
                                            uint32_t *remain, QOR_PADS_HEALTH_S *health);
QOR_EXPORT uint32_t QOR_PADS_FormatOutOneExcp(QOR_PADS_INDEX_S *index, char **bufPos,
                                              uint32_t *remain, QOR_PADS_RECORD_S *record);
/** @} */

/** Write the state of the service, or of one index with its users, into buf (len
 * octets, at least 2). The user data of every user must be a text or NULL for
 * QOR_PADS_DumpIndexInfo. Return the characters in front of the NUL;
 * QOR_ERR_ARG for NULL, without a health record, for an unknown id, and when
 * the text does not fit (a part that fills the buffer to the end is not one
 * that fits, unless it is the last). @{ */
QOR_EXPORT uint32_t QOR_PADS_DumpHealthInfo(char *buf, uint32_t len, QOR_PADS_S *ctx);
QOR_EXPORT uint32_t QOR_PADS_DumpIndexInfo(uint32_t id, char *buf, uint32_t len, QOR_PADS_S *ctx);
/** @} */

QOR_END_DECLS

#endif
