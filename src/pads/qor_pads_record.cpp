// When an exception becomes a record: the evaluation of one user.
#include <algorithm>

#include "pads/qor_pads.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::pads::CheckArguments;
using qor::pads::kSource;

constexpr uint32_t kStatNodeTag = 42;
constexpr uint32_t kFrequentSeconds = 2;

QOR_PADS_STAT_NODE_S *SampleAt(HOST_DLL_NODE_S *link) {
    return qor::EntryAt<QOR_PADS_STAT_NODE_S>(link, offsetof(QOR_PADS_STAT_NODE_S, stLink));
}

// Records with the callback of an index, which may have none.
uint32_t Record(QOR_PADS_INDEX_S *index, QOR_PADS_EXCP_INFO_S info, QOR_PADS_RECORD_PF pfnRecord,
                QOR_PADS_HEALTH_S *health) {
    return pfnRecord == nullptr ? QOR_OK : QOR_PADS_RecordExcp(index, &info, pfnRecord, health);
}

}  // namespace

uint32_t QOR_PADS_GetSecFromSysUp() {
    uint32_t high = 0;
    uint32_t low = 0;
    HOST_GetUptimeSec(&high, &low);
    return low;
}

uint32_t QOR_PADS_GetSecFrom1970() {
    uint32_t high = 0;
    uint32_t low = 0;
    HOST_GetSystemTime(&high, &low);
    return low > INT32_MAX ? 0 : low;
}

uint32_t QOR_PADS_RecordExcp(QOR_PADS_INDEX_S *index, QOR_PADS_EXCP_INFO_S *info,
                             QOR_PADS_RECORD_PF pfnRecord, QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, index, info, pfnRecord, health)) {
        return QOR_ERR_ARG;
    }
    const uint32_t date = QOR_PADS_GetSecFrom1970();
    const uint32_t now = QOR_PADS_GetSecFromSysUp();
    if (now < index->astRecords[index->ulRecCur & 1].ulAbsTime + kFrequentSeconds) {
        info->ulFreqFlag = 1;
    }
    char text[QOR_PADS_TEXT_LEN] = "";
    qor::Watch watch(qor::pads::WatchesOf(health), index);
    const uint32_t result = pfnRecord(index->ulIndexId, info, text, health->pstPads->ulUserHandle);
    if (result != QOR_OK) {
        return result == QOR_PADS_SKIP ? QOR_OK : result;
    }
    if (!watch.HasFirst()) {
        return QOR_OK;
    }
    index->ulRecCur = (index->ulRecCur & 1) ^ 1;
    QOR_PADS_RECORD_S &slot = index->astRecords[index->ulRecCur];
    slot.ulTimeStamp = date;
    slot.ulAbsTime = now;
    qor::CopyTextChecked(kSource, slot.szText, sizeof slot.szText, text);
    index->ulRecCount++;
    if (info->ulFreqFlag == 1) {
        index->ulFreqCount++;
    }
    return QOR_OK;
}

uint32_t QOR_PADS_RecordOnceExcp(QOR_PADS_INDEX_S *index, uint32_t userId, uint64_t userData,
                                 QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = CheckArguments(kSource, QOR_PADS_EXCP_ONCE, index, health)) {
        return refusal;
    }
    return Record(index, {userId, userData, 0, 0}, index->stOnce.pfnRecord, health);
}

uint32_t QOR_PADS_RecordExpireExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                   QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal =
            CheckArguments(kSource, QOR_PADS_EXCP_EXPIRE, index, user, health)) {
        return refusal;
    }
    return Record(index, {user->ulUserId, user->pUserData, 0, 0}, index->stExpire.pfnRecord,
                  health);
}

uint32_t QOR_PADS_RecordStatExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user, uint32_t sum,
                                 QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = CheckArguments(kSource, QOR_PADS_EXCP_STAT, index, user, health)) {
        return refusal;
    }
    return Record(index, {user->ulUserId, user->pUserData, 0, sum}, index->stStat.pfnRecord,
                  health);
}

uint32_t QOR_PADS_AddStatNode(uint32_t indexId, uint32_t userId, uint32_t value, QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_HEALTH_S *health = ctx->pstHealth;
    if (health == nullptr) {
        return QOR_FAIL;
    }
    QOR_PADS_INDEX_S *index = qor::pads::FindIndex(health, indexId);
    if (CheckArguments(kSource, QOR_PADS_EXCP_STAT, index) != QOR_OK) {
        return QOR_FAIL;
    }
    QOR_PADS_USER_S *user = qor::pads::FindUser(index, userId);
    if (RefuseNull(kSource, user)) {
        return QOR_FAIL;
    }
    auto *sample = qor::AllocZeroed<QOR_PADS_STAT_NODE_S>(kSource, ctx->ulSid, kStatNodeTag);
    if (RefuseNull(kSource, sample)) {
        return QOR_FAIL;
    }
    sample->ulTime = QOR_PADS_GetSecFromSysUp();
    sample->ulValue = value;
    qor::Append(&user->stStatList, &sample->stLink);
    return QOR_PADS_ProcOneStatExcp(index, user, health);
}

uint32_t QOR_PADS_ProcOneStatExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                  QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = CheckArguments(kSource, QOR_PADS_EXCP_STAT, index, user, health)) {
        return refusal;
    }
    const uint32_t now = QOR_PADS_GetSecFromSysUp();
    const uint32_t window = index->stStat.ulStatWindow;
    HOST_DLL_NODE_S *link = qor::First(user->stStatList);
    if (link != nullptr) {
        if (SampleAt(link)->ulTime > now) {
            Report(kSource);
            return QOR_FAIL;
        }
        if (window > now) {
            return QOR_OK;
        }
    }
    uint64_t sum = 0;
    while (link != nullptr) {
        QOR_PADS_STAT_NODE_S *sample = SampleAt(link);
        link = qor::Next(user->stStatList, link);
        if (sample->ulTime > now) {
            Report(kSource);
            return QOR_FAIL;
        }
        const uint32_t age = now - sample->ulTime;
        if (age > window) {
            HOST_DllDelete(&user->stStatList, &sample->stLink);
            HOST_MemFree(sample, kSource, __LINE__);
        } else {
            sum += std::min(window - age, sample->ulValue);
        }
    }
    if (sum >= index->stStat.ulStatThreshold) {
        QOR_PADS_RecordStatExcp(index, user,
                                static_cast<uint32_t>(std::min<uint64_t>(sum, UINT32_MAX)), health);
    }
    return QOR_OK;
}

uint32_t QOR_PADS_ProcOneExpireExcp(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                    QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal =
            CheckArguments(kSource, QOR_PADS_EXCP_EXPIRE, index, user, health)) {
        return refusal;
    }
    const uint32_t now = QOR_PADS_GetSecFromSysUp();
    if (now < user->ulAddTime) {
        Report(kSource);
        return QOR_FAIL;
    }
    return now - user->ulAddTime >= index->stExpire.usExpireTime
               ? QOR_PADS_RecordExpireExcp(index, user, health)
               : QOR_PADS_NOT_DUE;
}
