// The users of the indexes.
#include "pads/qor_pads.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::pads::CheckArguments;
using qor::pads::kSource;
using qor::pads::Schedule;

constexpr uint32_t kExpireUserTag = 26;
constexpr uint32_t kStatUserTag = 0;
constexpr uint32_t kDaUserTag = 66;

// Creates a user of index; NULL when memory is short or a user has the id already.
QOR_PADS_USER_S *NewUser(QOR_PADS_INDEX_S *index, uint32_t userId, uint64_t userData, uint32_t tag,
                         const QOR_PADS_HEALTH_S *health) {
    auto *user = qor::AllocZeroed<QOR_PADS_USER_S>(kSource, health->pstPads->ulSid, tag);
    if (RefuseNull(kSource, user)) {
        return nullptr;
    }
    QOR_PADS_InitUser(index, user, userId, userData);
    if (QOR_AVL_InsertNode(&index->stUserTree, &user->stNode) != nullptr) {
        HOST_MemFree(user, kSource, __LINE__);
        return nullptr;
    }
    return user;
}

bool IsLinked(const HOST_DLL_NODE_S &link) {
    return link.pstNext != nullptr && link.pstPrev != nullptr && link.pstNext->pstPrev == &link &&
           link.pstPrev->pstNext == &link;
}

// Takes an expire or DA user out of its list, and stops the timer when it was the last.
void Unschedule(const QOR_PADS_INDEX_S *index, uint32_t type, QOR_PADS_USER_S *user,
                QOR_PADS_HEALTH_S *health) {
    if (!IsLinked(user->stLink)) {
        return;
    }
    if (type == QOR_PADS_EXCP_DA) {
        HOST_DllDelete(&health->stDaList, &user->stLink);
        QOR_PADS_TryStopMinTimer(health);
    } else if (index->stExpire.usExpireUnit == QOR_PADS_UNIT_SEC) {
        qor::pads::Unlink(health, Schedule::kSecond, &user->stLink);
        QOR_PADS_TryStopSecTimer(health);
    } else if (index->stExpire.usExpireUnit == QOR_PADS_UNIT_MIN) {
        qor::pads::Unlink(health, Schedule::kMinute, &user->stLink);
        QOR_PADS_TryStopMinTimer(health);
    }
}

void FreeSamples(QOR_PADS_USER_S *user) {
    while (HOST_DLL_NODE_S *link = qor::First(user->stStatList)) {
        HOST_DllDelete(&user->stStatList, link);
        HOST_MemFree(
            qor::EntryAt<QOR_PADS_STAT_NODE_S>(link, offsetof(QOR_PADS_STAT_NODE_S, stLink)),
            kSource, __LINE__);
    }
}

QOR_PADS_DELUSER_PF DelUserOf(const QOR_PADS_INDEX_S *index, uint32_t type) {
    switch (type) {
        case QOR_PADS_EXCP_EXPIRE:
            return index->stExpire.pfnDelUser;
        case QOR_PADS_EXCP_STAT:
            return index->stStat.pfnDelUser;
        case QOR_PADS_EXCP_DA:
            return index->stDa.pfnDelUser;
        default:
            return nullptr;
    }
}

// What the deletions of all types have in common.
uint32_t Delete(qor::Where where, QOR_PADS_INDEX_S *index, uint32_t type, QOR_PADS_USER_S *user,
                QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = CheckArguments(where, type, index, user, health)) {
        return refusal;
    }
    if (user->pstIndex != index) {
        Report(where);
        return QOR_FAIL;
    }
    return qor::pads::DeleteUser(index, type, user, health);
}

}  // namespace

namespace qor::pads {

void Unlink(QOR_PADS_HEALTH_S *health, Schedule schedule, HOST_DLL_NODE_S *link) {
    HOST_DLL_S &list = ListOf(health, schedule);
    if (ResumeOf(health, schedule) == link) {
        SetResume(health, schedule, Next(list, link));
    }
    HOST_DllDelete(&list, link);
}

uint32_t DeleteUser(QOR_PADS_INDEX_S *index, uint32_t type, QOR_PADS_USER_S *user,
                    QOR_PADS_HEALTH_S *health) {
    Unschedule(index, type, user, health);
    FreeSamples(user);
    const QOR_PADS_DELUSER_PF pfnDelUser = DelUserOf(index, type);
    const uint32_t userId = user->ulUserId;
    const uint64_t userData = user->pUserData;
    QOR_AVL_DeleteNode(&index->stUserTree, &user->stNode);
    Forget(health, user);
    HOST_MemFree(user, kSource, __LINE__);
    if (pfnDelUser == nullptr) {
        return QOR_OK;
    }
    return pfnDelUser(index->ulIndexId, userId, userData, health->pstPads->ulUserHandle);
}

}  // namespace qor::pads

uint32_t QOR_PADS_AddExcpUser(uint32_t indexId, uint32_t userId, uint64_t userData,
                              QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_HEALTH_S *health = ctx->pstHealth;
    QOR_PADS_INDEX_S *index = QOR_PADS_GetIndexById(indexId, ctx);
    if (RefuseNull(kSource, index)) {
        return QOR_FAIL;
    }
    if (qor::pads::FindUser(index, userId) != nullptr) {
        return QOR_FAIL;
    }
    switch (index->ulIndexType) {
        case QOR_PADS_EXCP_ONCE:
            return QOR_PADS_AddOnceExcpUser(index, userId, userData, health);
        case QOR_PADS_EXCP_EXPIRE:
            return QOR_PADS_AddExpireExcpUser(index, userId, userData, health);
        case QOR_PADS_EXCP_STAT:
            return QOR_PADS_AddStatExcpUser(index, userId, userData, health);
        default:
            Report(kSource);
            return QOR_FAIL;
    }
}

uint32_t QOR_PADS_DelExcpUser(uint32_t indexId, uint32_t userId, QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_HEALTH_S *health = ctx->pstHealth;
    QOR_PADS_INDEX_S *index = QOR_PADS_GetIndexById(indexId, ctx);
    if (RefuseNull(kSource, index)) {
        return QOR_FAIL;
    }
    QOR_PADS_USER_S *user = qor::pads::FindUser(index, userId);
    if (user == nullptr || index->ulIndexType == QOR_PADS_EXCP_ONCE) {
        return QOR_OK;
    }
    if (index->ulIndexType == QOR_PADS_EXCP_EXPIRE || index->ulIndexType == QOR_PADS_EXCP_STAT) {
        return qor::pads::DeleteUser(index, index->ulIndexType, user, health);
    }
    Report(kSource);
    return QOR_FAIL;
}

uint32_t QOR_PADS_AddOnceExcpUser(QOR_PADS_INDEX_S *index, uint32_t userId, uint64_t userData,
                                  QOR_PADS_HEALTH_S *health) {
    return QOR_PADS_RecordOnceExcp(index, userId, userData, health);
}

uint32_t QOR_PADS_AddExpireExcpUser(QOR_PADS_INDEX_S *index, uint32_t userId, uint64_t userData,
                                    QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = CheckArguments(kSource, QOR_PADS_EXCP_EXPIRE, index, health)) {
        return refusal;
    }
    QOR_PADS_USER_S *user = NewUser(index, userId, userData, kExpireUserTag, health);
    if (user == nullptr) {
        return QOR_FAIL;
    }
    switch (index->stExpire.usExpireUnit) {
        case QOR_PADS_UNIT_SEC:
            qor::Append(&health->stSecList, &user->stLink);
            QOR_PADS_StartSecTimer(health);
            return QOR_OK;
        case QOR_PADS_UNIT_MIN:
            qor::Append(&health->stMinList, &user->stLink);
            QOR_PADS_StartMinTimer(health);
            return QOR_OK;
        default:
            Report(kSource);
            return QOR_FAIL;  // the user stays, until it is deleted
    }
}

uint32_t QOR_PADS_AddStatExcpUser(QOR_PADS_INDEX_S *index, uint32_t userId, uint64_t userData,
                                  QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = CheckArguments(kSource, QOR_PADS_EXCP_STAT, index, health)) {
        return refusal;
    }
    QOR_PADS_USER_S *user = NewUser(index, userId, userData, kStatUserTag, health);
    if (user == nullptr) {
        return QOR_FAIL;
    }
    qor::InitList(&user->stStatList);
    return QOR_OK;
}

uint32_t QOR_PADS_AddDAUser(QOR_PADS_INDEX_S *index, uint32_t userId, uint64_t userData,
                            QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = CheckArguments(kSource, QOR_PADS_EXCP_DA, index, health)) {
        return refusal;
    }
    if (qor::pads::FindUser(index, userId) != nullptr) {
        return QOR_FAIL;
    }
    QOR_PADS_USER_S *user = NewUser(index, userId, userData, kDaUserTag, health);
    if (user == nullptr) {
        return QOR_FAIL;
    }
    qor::Append(&health->stDaList, &user->stLink);
    QOR_PADS_StartMinTimer(health);
    return QOR_OK;
}

uint32_t QOR_PADS_DelExpireExcpUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                    QOR_PADS_HEALTH_S *health) {
    return Delete(kSource, index, QOR_PADS_EXCP_EXPIRE, user, health);
}

uint32_t QOR_PADS_DelStatExcpUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                  QOR_PADS_HEALTH_S *health) {
    return Delete(kSource, index, QOR_PADS_EXCP_STAT, user, health);
}

uint32_t QOR_PADS_DelDAUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                            QOR_PADS_HEALTH_S *health) {
    return Delete(kSource, index, QOR_PADS_EXCP_DA, user, health);
}

uint32_t QOR_PADS_InitUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user, uint32_t userId,
                           uint64_t userData) {
    if (RefuseNull(kSource, index, user)) {
        return QOR_ERR_ARG;
    }
    user->pstIndex = index;
    user->ulAddTime = QOR_PADS_GetSecFromSysUp();
    user->pUserData = userData;
    user->ulUserId = userId;
    user->stNode = qor::kUnlinked;
    user->stLink = {nullptr, nullptr};
    return QOR_OK;
}
