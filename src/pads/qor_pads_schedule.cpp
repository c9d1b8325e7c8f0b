// The periodic work: DA runs, expiry, and the two timers behind them.
#include "base/qor_timer.hpp"
#include "pads/qor_pads.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::Watch;
using qor::pads::kSource;
using qor::pads::ListOf;
using qor::pads::ResumeOf;
using qor::pads::Schedule;
using qor::pads::SetResume;
using qor::pads::SetTimer;
using qor::pads::TimerOf;
using qor::pads::UserAt;
using qor::pads::WatchesOf;

constexpr uint32_t kMinutePeriod = 60;  // seconds
constexpr uint32_t kSecondPeriod = 1;
constexpr uint32_t kRecordsPerTick = 10;

// Looks at an expire user and removes it when it has expired. Returns what
// QOR_PADS_ProcOneExpireExcp does. The resume pointer is on the next user meanwhile, where the
// deletion of that one moves it on.
uint32_t Examine(QOR_PADS_USER_S *user, Schedule schedule, QOR_PADS_HEALTH_S *health) {
    QOR_PADS_INDEX_S *index = user->pstIndex;
    SetResume(health, schedule, qor::Next(ListOf(health, schedule), &user->stLink));
    Watch watch(WatchesOf(health), index, user);
    const uint32_t result = QOR_PADS_ProcOneExpireExcp(index, user, health);
    if (result == QOR_PADS_NOT_DUE || !watch.HasSecond()) {
        return result;
    }
    if (result != QOR_OK) {
        SetResume(health, schedule, &user->stLink);  // it is tried again in the next tick
        return result;
    }
    qor::pads::Unlink(health, schedule, &user->stLink);
    QOR_PADS_TryStopMinTimer(health);
    QOR_PADS_TryStopSecTimer(health);
    QOR_AVL_DeleteNode(&index->stUserTree, &user->stNode);
    qor::pads::Forget(health, user);
    HOST_MemFree(user, kSource, __LINE__);  // without pfnDelUser: the record told its end
    return result;
}

// Tells whether it is too early for an expire user. A user from the future is for Examine to
// report.
bool IsWaiting(const QOR_PADS_USER_S &user, uint32_t now) {
    return now >= user.ulAddTime && now - user.ulAddTime < user.pstIndex->stExpire.usExpireTime;
}

// Returns the next user of an expire index from link on, or NULL.
QOR_PADS_USER_S *ExpireUserFrom(const HOST_DLL_S &list, HOST_DLL_NODE_S *link) {
    while (link != nullptr && UserAt(link)->pstIndex->ulIndexType != QOR_PADS_EXCP_EXPIRE) {
        link = qor::Next(list, link);
    }
    return link == nullptr ? nullptr : UserAt(link);
}

uint32_t StartTimer(QOR_PADS_HEALTH_S *health, Schedule schedule, uint32_t period, uint32_t type) {
    if (TimerOf(health, schedule) == 0) {
        SetTimer(health, schedule, qor::ArmPeriodic(health->pstPads->ulTimerOwner, period, type));
        if (TimerOf(health, schedule) == 0) {
            Report(kSource);
            return QOR_ERR_ARG;
        }
    }
    return QOR_OK;
}

}  // namespace

void qor::pads::StopTimer(QOR_PADS_HEALTH_S *health, Schedule schedule) {
    if (TimerOf(health, schedule) != 0) {
        HOST_TimerDelete(health->pstPads->ulTimerOwner, TimerOf(health, schedule));
        SetTimer(health, schedule, 0);
    }
}

uint32_t QOR_PADS_HealthSchedule(uint32_t timerType, QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_HEALTH_S *health = ctx->pstHealth;
    if (health == nullptr) {
        return QOR_FAIL;
    }
    uint32_t count = 0;
    if (timerType == health->ulMinTimerType) {
        const uint32_t result = QOR_PADS_ScheduleDA(&count, health);
        if (result != QOR_OK) {
            return result;
        }
        if (count >= kRecordsPerTick) {
            return QOR_OK;
        }
    }
    return QOR_PADS_ScheduleExcp(timerType, &count, health);
}

uint32_t QOR_PADS_ScheduleDA(uint32_t *countOut, QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, countOut, health)) {
        return QOR_ERR_ARG;
    }
    uint32_t now = QOR_PADS_GetSecFromSysUp();
    uint32_t runs = 0;
    uint32_t budget = health->stDaList.ulCount;
    HOST_DLL_NODE_S *link = qor::First(health->stDaList);
    while (link != nullptr) {
        QOR_PADS_USER_S *user = UserAt(link);
        QOR_PADS_INDEX_S *index = user->pstIndex;
        if (now < user->ulAddTime) {
            now =
                QOR_PADS_GetSecFromSysUp();  // a callback may have taken its time, and added users
        }
        if (now < user->ulAddTime || index == nullptr) {
            Report(kSource);
            return QOR_FAIL;
        }
        if (index->ulIndexType != QOR_PADS_EXCP_DA ||
            now - user->ulAddTime < index->stDa.ulDaPeriod) {
            link = qor::Next(health->stDaList, link);
            continue;
        }
        if (budget-- == 0) {
            break;  // a callback keeps adding users
        }
        Watch watch(WatchesOf(health), index, user);
        if (index->stDa.pfnDa != nullptr) {
            const uint32_t result =
                index->stDa.pfnDa(index->ulIndexId, user->pUserData, health->pstPads->ulUserHandle);
            if (result != QOR_OK) {
                return result == QOR_PADS_SKIP ? QOR_OK : result;
            }
        }
        runs++;
        if (watch.HasFirst()) {
            index->ulRecCount++;
        }
        if (watch.HasSecond()) {
            user->ulAddTime = now;
            link = qor::Next(health->stDaList, link);
        } else {
            link = qor::First(health->stDaList);  // who ran is due again after a whole period only
        }
    }
    *countOut = runs;
    return QOR_OK;
}

uint32_t QOR_PADS_ScheduleExcp(uint32_t timerType, uint32_t *countInOut,
                               QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, countInOut, health)) {
        return QOR_ERR_ARG;
    }
    Schedule schedule = Schedule::kMinute;
    if (timerType != health->ulMinTimerType) {
        if (timerType != health->ulSecTimerType) {
            return QOR_OK;
        }
        schedule = Schedule::kSecond;
    }
    const HOST_DLL_S &list = ListOf(health, schedule);
    uint32_t budget = list.ulCount;
    // Reading the clock costs more than all else for a user who waits, and most do: it is read
    // again only behind a callback.
    uint32_t now = 0;
    bool stale = true;
    do {
        HOST_DLL_NODE_S *link = ResumeOf(health, schedule);
        QOR_PADS_USER_S *user = ExpireUserFrom(list, link != nullptr ? link : qor::First(list));
        if (user == nullptr) {
            SetResume(health, schedule, nullptr);
            return QOR_OK;
        }
        if (stale) {
            now = QOR_PADS_GetSecFromSysUp();
        }
        stale = !IsWaiting(*user, now);
        uint32_t result = QOR_PADS_NOT_DUE;
        if (stale) {
            result = Examine(user, schedule, health);
        } else {
            SetResume(health, schedule, qor::Next(list, &user->stLink));
        }
        if (result == QOR_OK) {
            ++*countInOut;
        } else if (result != QOR_PADS_NOT_DUE) {
            return QOR_OK;
        }
        if (ResumeOf(health, schedule) == nullptr) {
            SetResume(health, schedule, qor::First(list));
        }
    } while (*countInOut < kRecordsPerTick && --budget != 0);
    return QOR_OK;
}

uint32_t QOR_PADS_StartMinTimer(QOR_PADS_HEALTH_S *health) {
    return RefuseNull(kSource, health)
               ? QOR_ERR_ARG
               : StartTimer(health, Schedule::kMinute, kMinutePeriod, health->ulMinTimerType);
}

uint32_t QOR_PADS_StartSecTimer(QOR_PADS_HEALTH_S *health) {
    return RefuseNull(kSource, health)
               ? QOR_ERR_ARG
               : StartTimer(health, Schedule::kSecond, kSecondPeriod, health->ulSecTimerType);
}

uint32_t QOR_PADS_TryStopMinTimer(QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, health)) {
        return QOR_ERR_ARG;
    }
    if (health->stDaList.ulCount == 0 && health->stMinList.ulCount == 0) {
        qor::pads::StopTimer(health, Schedule::kMinute);
    }
    return QOR_OK;
}

uint32_t QOR_PADS_TryStopSecTimer(QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, health)) {
        return QOR_ERR_ARG;
    }
    if (health->stSecList.ulCount == 0) {
        qor::pads::StopTimer(health, Schedule::kSecond);
    }
    return QOR_OK;
}
