// The context, the health record, the indexes, and the lookups.
#include "pads/qor_pads.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::Where;
using qor::pads::kSource;
using qor::pads::kTypes;
using qor::pads::Schedule;

constexpr uint32_t kIndexTags[kTypes] = {56, 92, 32, 77};  // by type
constexpr uint32_t kSecondsPerMinute = 60;

// The empty tree of records with a 32-bit id.
QOR_AVL_TREE_S EmptyTree(size_t keyOffset, size_t nodeOffset) {
    return {.stTree = {},
            .stTreeInfo = {.pfnCompare = QOR_PADS_CompareUint32Key,
                           .usKeyOffset = static_cast<uint16_t>(keyOffset),
                           .usNodeOffset = static_cast<uint16_t>(nodeOffset)},
            .ulNodeNum = 0,
            .ucKeyLen = sizeof(uint32_t)};
}

template <class T>
T *FirstIn(QOR_AVL_TREE_S *tree) {
    return qor::FirstEntry<T>(&tree->stTree, &tree->stTreeInfo);
}

void StopTimers(QOR_PADS_HEALTH_S *health) {
    qor::pads::StopTimer(health, Schedule::kMinute);
    qor::pads::StopTimer(health, Schedule::kSecond);
}

void ReleaseIndex(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health) {
    const uint32_t type = index->ulIndexType;
    QOR_AVL_DeleteNode(&health->stIndexTree, &index->stNode);
    index->ulIndexType = qor::pads::kReleased;
    qor::pads::Forget(health, index);
    while (auto *user = FirstIn<QOR_PADS_USER_S>(&index->stUserTree)) {
        qor::pads::DeleteUser(index, type, user, health);
    }
    HOST_MemFree(index, kSource, __LINE__);
}

// What the registrations of all types have in common: a new index in *out.
uint32_t Register(uint32_t id, const void *reg, uint32_t type, QOR_PADS_S *ctx,
                  QOR_PADS_INDEX_S **out) {
    if (RefuseNull(kSource, reg, ctx)) {
        return QOR_ERR_ARG;
    }
    auto *health = static_cast<qor::pads::Health *>(ctx->pstHealth);
    if (health == nullptr || health->closing || qor::pads::FindIndex(health, id) != nullptr) {
        return QOR_FAIL;
    }
    auto *index = qor::AllocZeroed<QOR_PADS_INDEX_S>(kSource, ctx->ulSid, kIndexTags[type]);
    if (RefuseNull(kSource, index)) {
        return QOR_FAIL;
    }
    QOR_PADS_InitIndex(index, id, reg, type);
    QOR_AVL_InsertNode(&health->stIndexTree, &index->stNode);
    *out = index;
    return QOR_OK;
}

// What the unregistrations of all types have in common. A callback may unregister the index as
// well.
uint32_t DeleteUsers(Where where, QOR_PADS_INDEX_S *index, uint32_t type,
                     QOR_PADS_HEALTH_S *health) {
    if (const uint32_t refusal = qor::pads::CheckArguments(where, type, index, health)) {
        return refusal;
    }
    qor::Watch watch(qor::pads::WatchesOf(health), index);
    while (watch.HasFirst()) {
        auto *user = FirstIn<QOR_PADS_USER_S>(&index->stUserTree);
        if (user == nullptr) {
            break;
        }
        qor::pads::DeleteUser(index, type, user, health);
    }
    return QOR_OK;
}

}  // namespace

QOR_PADS_S *QOR_PADS_InitPads(const QOR_PADS_S *cfg) {
    if (RefuseNull(kSource, cfg)) {
        return nullptr;
    }
    if (cfg->ulUserHandle == 0 || cfg->ulSid == 0 || cfg->ulAuxHandle == 0 ||
        cfg->ulTimerOwner == 0) {
        Report(kSource);
        return nullptr;
    }
    auto *ctx =
        static_cast<QOR_PADS_S *>(qor::AllocContext(kSource, cfg->ulSid, sizeof(QOR_PADS_S)));
    if (RefuseNull(kSource, ctx)) {
        return nullptr;
    }
    // What stands behind the configuration in the caller's record is not looked at.
    constexpr size_t kConfigLen = offsetof(QOR_PADS_S, pstHealth);
    qor::CopyChecked(kSource, ctx, kConfigLen, cfg, kConfigLen);
    ctx->pstHealth = nullptr;
    return ctx;
}

uint32_t QOR_PADS_DeInitPads(QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_DeInitHealth(ctx);
    HOST_MemFree(ctx, kSource, __LINE__);
    return QOR_OK;
}

uint32_t QOR_PADS_InitHealth(const uint32_t *timerTypes, QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, timerTypes, ctx)) {
        return QOR_ERR_ARG;
    }
    if (ctx->pstHealth != nullptr) {
        return QOR_OK;
    }
    auto *health = static_cast<qor::pads::Health *>(
        qor::AllocContext(kSource, ctx->ulSid, sizeof(qor::pads::Health)));
    if (RefuseNull(kSource, health)) {
        return QOR_FAIL;
    }
    *health = {};
    health->pstPads = ctx;
    health->stIndexTree =
        EmptyTree(offsetof(QOR_PADS_INDEX_S, ulIndexId), offsetof(QOR_PADS_INDEX_S, stNode));
    health->ulMinTimerType = timerTypes[0];
    health->ulSecTimerType = timerTypes[1];
    qor::InitList(&health->stMinList);
    qor::InitList(&health->stDaList);
    qor::InitList(&health->stSecList);
    ctx->pstHealth = health;
    return QOR_OK;
}

uint32_t QOR_PADS_DeInitHealth(QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    auto *health = static_cast<qor::pads::Health *>(ctx->pstHealth);
    if (health == nullptr || health->closing) {
        return QOR_OK;
    }
    health->closing = true;  // callbacks must not register for ever
    StopTimers(health);
    while (auto *index = FirstIn<QOR_PADS_INDEX_S>(&health->stIndexTree)) {
        ReleaseIndex(index, health);
    }
    StopTimers(health);  // a callback that added users has started them again
    HOST_MemFree(health, kSource, __LINE__);
    ctx->pstHealth = nullptr;
    return QOR_OK;
}

uint32_t QOR_PADS_RegOnceExcp(uint32_t id, const QOR_PADS_ONCE_REG_S *reg, QOR_PADS_S *ctx) {
    QOR_PADS_INDEX_S *index = nullptr;
    const uint32_t result = Register(id, reg, QOR_PADS_EXCP_ONCE, ctx, &index);
    if (result == QOR_OK) {
        index->stOnce = {reg->pfnRecord, reg->ulSecond};
    }
    return result;
}

uint32_t QOR_PADS_RegExpireExcp(uint32_t id, const QOR_PADS_EXPIRE_REG_S *reg, QOR_PADS_S *ctx) {
    QOR_PADS_INDEX_S *index = nullptr;
    const uint32_t result = Register(id, reg, QOR_PADS_EXCP_EXPIRE, ctx, &index);
    if (result == QOR_OK) {
        const uint32_t seconds =
            reg->usTime * (reg->usUnit != QOR_PADS_UNIT_SEC ? kSecondsPerMinute : 1);
        index->stExpire = {.usExpireTime = static_cast<uint16_t>(seconds),  // 16 bits are kept
                           .usExpireUnit = reg->usUnit,
                           .pfnRecord = reg->pfnRecord,
                           .pfnDelUser = reg->pfnDelUser};
    }
    return result;
}

uint32_t QOR_PADS_RegStatExcp(uint32_t id, const QOR_PADS_STAT_REG_S *reg, QOR_PADS_S *ctx) {
    QOR_PADS_INDEX_S *index = nullptr;
    const uint32_t result = Register(id, reg, QOR_PADS_EXCP_STAT, ctx, &index);
    if (result == QOR_OK) {
        const uint32_t unit = reg->ucUnit == QOR_PADS_UNIT_MIN ? kSecondsPerMinute : 1;
        index->stStat = {.ulStatWindow = reg->ulWindow * unit,
                         .ulStatThreshold = reg->ulThreshold * unit,
                         .ucStatFlag = reg->ucFlag,
                         .ucStatUnit = reg->ucUnit,
                         .pfnRecord = reg->pfnRecord,
                         .pfnDelUser = reg->pfnDelUser};
    }
    return result;
}

uint32_t QOR_PADS_RegDA(uint32_t id, const QOR_PADS_DA_REG_S *reg, QOR_PADS_S *ctx) {
    QOR_PADS_INDEX_S *index = nullptr;
    const uint32_t result = Register(id, reg, QOR_PADS_EXCP_DA, ctx, &index);
    if (result != QOR_OK) {
        return result;
    }
    index->stDa = {.ulDaPeriod = reg->ulPeriodMin * kSecondsPerMinute,
                   .ulDaPara = reg->ulPara,
                   .pfnDa = reg->pfnDa,
                   .pfnDelUser = reg->pfnDelUser};
    return QOR_PADS_AddDAUser(index, 0, 0, ctx->pstHealth);
}

uint32_t QOR_PADS_UnRegIndex(uint32_t id, QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_PADS_HEALTH_S *health = ctx->pstHealth;
    if (RefuseNull(kSource, health)) {
        return QOR_FAIL;
    }
    QOR_PADS_INDEX_S *index = qor::pads::FindIndex(health, id);
    if (index == nullptr) {
        return QOR_OK;
    }
    if (index->ulIndexType >= kTypes) {
        Report(kSource);
        return QOR_FAIL;
    }
    ReleaseIndex(index, health);
    return QOR_OK;
}

uint32_t QOR_PADS_UnRegOnceExcp(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health) {
    return DeleteUsers(kSource, index, QOR_PADS_EXCP_ONCE, health);
}

uint32_t QOR_PADS_UnRegExpireExcp(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health) {
    return DeleteUsers(kSource, index, QOR_PADS_EXCP_EXPIRE, health);
}

uint32_t QOR_PADS_UnRegStatExcp(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health) {
    return DeleteUsers(kSource, index, QOR_PADS_EXCP_STAT, health);
}

uint32_t QOR_PADS_UnRegDA(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health) {
    return DeleteUsers(kSource, index, QOR_PADS_EXCP_DA, health);
}

uint32_t QOR_PADS_InitIndex(QOR_PADS_INDEX_S *index, uint32_t id, const void *reg, uint32_t type) {
    if (RefuseNull(kSource, index, reg)) {
        return QOR_ERR_ARG;
    }
    index->ulIndexId = id;
    index->ulIndexType = type;
    // The name comes first in every registration record.
    qor::CopyTextChecked(kSource, index->szIndexName, sizeof index->szIndexName,
                         static_cast<const char *>(reg));
    index->stNode = qor::kUnlinked;
    index->stUserTree =
        EmptyTree(offsetof(QOR_PADS_USER_S, ulUserId), offsetof(QOR_PADS_USER_S, stNode));
    index->ulRecCount = 0;
    return QOR_OK;
}

QOR_PADS_INDEX_S *QOR_PADS_GetIndexById(uint32_t id, QOR_PADS_S *ctx) {
    if (RefuseNull(kSource, ctx) || ctx->pstHealth == nullptr) {
        return nullptr;
    }
    return qor::pads::FindIndex(ctx->pstHealth, id);
}

QOR_PADS_INDEX_S *QOR_PADS_GetFirstIndex(QOR_PADS_HEALTH_S *health) {
    return RefuseNull(kSource, health) ? nullptr : FirstIn<QOR_PADS_INDEX_S>(&health->stIndexTree);
}

QOR_PADS_INDEX_S *QOR_PADS_GetNextIndex(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, index, health)) {
        return nullptr;
    }
    return static_cast<QOR_PADS_INDEX_S *>(
        HOST_AvlNext(&index->stNode, &health->stIndexTree.stTreeInfo));
}

QOR_PADS_USER_S *QOR_PADS_GetUserById(QOR_PADS_INDEX_S *index, uint32_t userId,
                                      QOR_PADS_HEALTH_S *health) {
    return RefuseNull(kSource, index, health) ? nullptr : qor::pads::FindUser(index, userId);
}

QOR_PADS_USER_S *QOR_PADS_GetFirstUser(QOR_PADS_INDEX_S *index, QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, index, health)) {
        return nullptr;
    }
    return FirstIn<QOR_PADS_USER_S>(&index->stUserTree);
}

QOR_PADS_USER_S *QOR_PADS_GetNextUser(QOR_PADS_INDEX_S *index, QOR_PADS_USER_S *user,
                                      QOR_PADS_HEALTH_S *health) {
    if (RefuseNull(kSource, index, user, health)) {
        return nullptr;
    }
    return static_cast<QOR_PADS_USER_S *>(
        HOST_AvlNext(&user->stNode, &index->stUserTree.stTreeInfo));
}

int32_t QOR_PADS_CompareUint32Key(const void *a, const void *b) {
    if (RefuseNull(kSource, a, b)) {
        return -1;
    }
    return qor::Compare(*static_cast<const uint32_t *>(a), *static_cast<const uint32_t *>(b));
}
