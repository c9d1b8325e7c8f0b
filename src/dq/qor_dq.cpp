// Contexts, instances and nodes. The user's callbacks may delete nodes and unregister instances,
// those they are called for included, and so both are watched while they run.
#include "dq/qor_dq.hpp"

#include <cstring>

#include "base/qor_timer.hpp"
#include "base/qor_watch.hpp"

namespace {

using qor::RefuseNull;
using qor::Report;
using qor::Watch;
using qor::dq::kSource;
using qor::dq::RefuseInstance;

constexpr uint32_t kInstanceTag = 57;
constexpr uint32_t kNodeTag = 16;

// A context with what its users do not see.
struct Context : QOR_DQ_S {
    Watch *watches;
};

Context *ContextOf(const QOR_DQ_INST_S *inst) {
    return static_cast<Context *>(inst->pstCtx);
}

QOR_DQ_INST_S *FindInstance(QOR_DQ_S *ctx, uint32_t timerType) {
    return static_cast<QOR_DQ_INST_S *>(
        HOST_AvlFind(&ctx->stInstTree, &timerType, &ctx->stInstInfo));
}

QOR_DQ_NODE_S *OldestNode(const QOR_DQ_INST_S *inst) {
    HOST_DLL_NODE_S *link = qor::First(inst->stNodeList);
    return link == nullptr ? nullptr : qor::dq::NodeAt(link);
}

QOR_DQ_NODE_S *FindNode(QOR_DQ_INST_S *inst, const void *key) {
    return static_cast<QOR_DQ_NODE_S *>(HOST_AvlFind(&inst->stNodeTree, key, &inst->stNodeInfo));
}

bool IsRegistration(const QOR_DQ_REG_INFO_S &reg) {
    return reg.ulKeyLen <= QOR_DQ_KEY_MAX && reg.pfnTimeOut != nullptr &&
           reg.pfnCmpKey != nullptr && reg.ulCycleTime != 0 && reg.ulCycleMaxNum != 0 &&
           reg.ulTimeInterval != 0;
}

void StopTimer(const QOR_DQ_S *ctx, QOR_DQ_INST_S *inst) {
    if (inst->ulTimer != 0) {
        HOST_TimerDelete(ctx->stCfg.ulTimerOwner, inst->ulTimer);
        inst->ulTimer = 0;
    }
}

// Unlinks and releases node.
void ReleaseNode(Context *ctx, QOR_DQ_INST_S *inst, QOR_DQ_NODE_S *node) {
    HOST_AvlDelete(&inst->stNodeTree, &node->stNode);
    HOST_DllDelete(&inst->stNodeList, &node->stLink);
    Watch::Forget(ctx->watches, node);
    if (inst->stReg.pfnDelNode != nullptr) {
        uint64_t userValue = node->ulUserValue;  // the member itself is not aligned for a pointer
        inst->stReg.pfnDelNode(node->aucKey, &userValue, ctx->stCfg.ulCbHandle);
    }
    HOST_MemFree(node, kSource, __LINE__);
}

// Deletes node; the last one stops the timer.
void DeleteNode(Context *ctx, QOR_DQ_INST_S *inst, QOR_DQ_NODE_S *node) {
    Watch watch(&ctx->watches, inst);
    ReleaseNode(ctx, inst, node);
    if (watch.HasFirst() && inst->stNodeList.ulCount == 0) {
        StopTimer(ctx, inst);
    }
}

// Hands node to the user and returns the answer. The key is a copy: the callback may delete the
// node and go on using it.
uint32_t TimeOut(const Context *ctx, const QOR_DQ_INST_S *inst, const QOR_DQ_NODE_S *node) {
    uint8_t key[QOR_DQ_KEY_MAX];
    std::memcpy(key, node->aucKey, sizeof key);
    return inst->stReg.pfnTimeOut(key, node->ulUserValue, ctx->stCfg.ulCbHandle);
}

}  // namespace

QOR_DQ_S *QOR_DQ_Init(const QOR_DQ_CFG_S *cfg) {
    if (RefuseNull(kSource, cfg)) {
        return nullptr;
    }
    auto *ctx = static_cast<Context *>(qor::AllocContext(kSource, cfg->ulSid, sizeof(Context)));
    if (RefuseNull(kSource, ctx)) {
        return nullptr;
    }
    *ctx = {};
    ctx->stInstInfo = {.pfnCompare = QOR_DQ_CmpInstCallback,
                       .usKeyOffset = offsetof(QOR_DQ_INST_S, stReg.ulTimerType),
                       .usNodeOffset = offsetof(QOR_DQ_INST_S, stNode)};
    qor::CopyChecked(kSource, &ctx->stCfg, sizeof ctx->stCfg, cfg, sizeof *cfg);
    return ctx;
}

void QOR_DQ_DeInit(QOR_DQ_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return;
    }
    while (auto *inst = qor::FirstEntry<QOR_DQ_INST_S>(&ctx->stInstTree, &ctx->stInstInfo)) {
        QOR_DQ_UnRegInst(inst);
    }
    HOST_MemFree(ctx, kSource, __LINE__);
}

QOR_DQ_INST_S *QOR_DQ_RegInst(QOR_DQ_S *ctx, const QOR_DQ_REG_INFO_S *reg) {
    if (ctx == nullptr || reg == nullptr || !IsRegistration(*reg)) {
        Report(kSource);
        return nullptr;
    }
    if (QOR_DQ_INST_S *present = FindInstance(ctx, reg->ulTimerType)) {
        return present;
    }
    auto *inst = qor::AllocZeroed<QOR_DQ_INST_S>(kSource, ctx->stCfg.ulSid, kInstanceTag);
    if (RefuseNull(kSource, inst)) {
        return nullptr;
    }
    inst->stNode = qor::kUnlinked;
    inst->pstCtx = ctx;
    qor::CopyChecked(kSource, &inst->stReg, sizeof inst->stReg, reg, sizeof *reg);
    if (inst->stReg.pfnFormatKey == nullptr) {
        inst->stReg.pfnFormatKey = QOR_DQ_FormatKey;
    }
    inst->stNodeInfo = {.pfnCompare = inst->stReg.pfnCmpKey,
                        .usKeyOffset = offsetof(QOR_DQ_NODE_S, aucKey),
                        .usNodeOffset = offsetof(QOR_DQ_NODE_S, stNode)};
    qor::InitList(&inst->stNodeList);
    HOST_AvlInsertOrFind(&ctx->stInstTree, &inst->stNode, &ctx->stInstInfo);
    return inst;
}

void QOR_DQ_UnRegInst(QOR_DQ_INST_S *inst) {
    if (RefuseInstance(kSource, inst)) {
        return;
    }
    Context *ctx = ContextOf(inst);
    // From here on callbacks neither find the instance nor can use it.
    HOST_AvlDelete(&ctx->stInstTree, &inst->stNode);
    Watch::Forget(ctx->watches, inst);
    inst->pstCtx = nullptr;
    while (auto *node = qor::FirstEntry<QOR_DQ_NODE_S>(&inst->stNodeTree, &inst->stNodeInfo)) {
        ReleaseNode(ctx, inst, node);
    }
    StopTimer(ctx, inst);
    HOST_MemFree(inst, kSource, __LINE__);
}

uint32_t QOR_DQ_AddNode(QOR_DQ_INST_S *inst, const void *key, uint64_t userValue) {
    if (RefuseInstance(kSource, inst) || RefuseNull(kSource, key)) {
        return QOR_ERR_ARG;
    }
    // Most keys are new: the search of the insertion is the only one.
    auto *node = qor::AllocZeroed<QOR_DQ_NODE_S>(kSource, inst->pstCtx->stCfg.ulSid, kNodeTag);
    if (node == nullptr && FindNode(inst, key) != nullptr) {
        return QOR_DQ_ERR_EXIST;
    }
    if (RefuseNull(kSource, node)) {
        return QOR_FAIL;
    }
    node->stNode = qor::kUnlinked;
    qor::CopyChecked(kSource, node->aucKey, sizeof node->aucKey, key, inst->stReg.ulKeyLen);
    if (HOST_AvlInsertOrFind(&inst->stNodeTree, &node->stNode, &inst->stNodeInfo) != nullptr) {
        HOST_MemFree(node, kSource, __LINE__);
        return QOR_DQ_ERR_EXIST;
    }
    qor::Append(&inst->stNodeList, &node->stLink);
    node->pstInst = inst;
    node->ulTimeStamp = QOR_DQ_GetTimeStamp();
    node->ulUserValue = userValue;
    return QOR_DQ_StartCycleTimer(inst);
}

uint32_t QOR_DQ_DelNode(QOR_DQ_INST_S *inst, const void *key) {
    if (RefuseInstance(kSource, inst) || RefuseNull(kSource, key)) {
        return QOR_ERR_ARG;
    }
    if (QOR_DQ_NODE_S *node = FindNode(inst, key)) {
        DeleteNode(ContextOf(inst), inst, node);
    }
    return QOR_OK;
}

void QOR_DQ_DelAllNode(QOR_DQ_INST_S *inst) {
    if (RefuseInstance(kSource, inst)) {
        return;
    }
    Context *ctx = ContextOf(inst);
    Watch watch(&ctx->watches, inst);
    while (watch.HasFirst()) {
        auto *node = qor::FirstEntry<QOR_DQ_NODE_S>(&inst->stNodeTree, &inst->stNodeInfo);
        if (node == nullptr) {
            return;
        }
        DeleteNode(ctx, inst, node);
    }
}

void QOR_DQ_FlushNode(QOR_DQ_INST_S *inst, uint32_t count) {
    if (RefuseInstance(kSource, inst)) {
        return;
    }
    Context *ctx = ContextOf(inst);
    for (; count != 0; --count) {
        QOR_DQ_NODE_S *node = OldestNode(inst);
        if (node == nullptr) {
            return;
        }
        Watch watch(&ctx->watches, inst, node);
        TimeOut(ctx, inst, node);  // whatever it answers
        if (watch.HasSecond()) {
            DeleteNode(ctx, inst, node);
        }
        if (!watch.HasFirst()) {
            return;
        }
    }
}

uint32_t QOR_DQ_IsNodeExist(QOR_DQ_INST_S *inst, const void *key) {
    return QOR_DQ_GetNode(inst, key) != nullptr ? 1 : 0;
}

QOR_DQ_NODE_S *QOR_DQ_GetNode(QOR_DQ_INST_S *inst, const void *key) {
    return RefuseNull(kSource, inst, key) ? nullptr : FindNode(inst, key);
}

uint32_t QOR_DQ_SetTimeOutValue(QOR_DQ_INST_S *inst, uint32_t value) {
    if (RefuseNull(kSource, inst)) {
        return QOR_ERR_ARG;
    }
    inst->stReg.ulTimeInterval = value;
    return QOR_OK;
}

uint32_t QOR_DQ_ProcTimer(uint32_t timerType, QOR_DQ_S *ctx) {
    if (RefuseNull(kSource, ctx)) {
        return QOR_ERR_ARG;
    }
    QOR_DQ_INST_S *inst = FindInstance(ctx, timerType);
    if (inst == nullptr) {
        return QOR_OK;
    }
    auto *context = static_cast<Context *>(ctx);
    for (uint32_t i = 0; i < inst->stReg.ulCycleMaxNum; ++i) {
        QOR_DQ_NODE_S *node = OldestNode(inst);
        if (node == nullptr ||
            QOR_DQ_GetTimeStamp() - node->ulTimeStamp < inst->stReg.ulTimeInterval) {
            break;
        }
        const bool last = qor::Next(inst->stNodeList, &node->stLink) == nullptr;
        Watch watch(&context->watches, inst, node);
        const uint32_t answer = TimeOut(context, inst, node);
        if (watch.HasSecond() && answer == QOR_DQ_RENEW) {
            QOR_DQ_UpdateTimeStamp(node, inst);
        } else if (watch.HasSecond()) {
            DeleteNode(context, inst, node);
        }
        if (!watch.HasFirst()) {
            break;
        }
        inst->ulHandleCount++;
        if (last) {
            break;
        }
    }
    return QOR_OK;
}

uint32_t QOR_DQ_StartCycleTimer(QOR_DQ_INST_S *inst) {
    if (RefuseInstance(kSource, inst)) {
        return QOR_ERR_ARG;
    }
    if (inst->ulTimer != 0) {
        return QOR_OK;
    }
    inst->ulTimer = qor::ArmPeriodic(inst->pstCtx->stCfg.ulTimerOwner, inst->stReg.ulCycleTime,
                                     inst->stReg.ulTimerType);
    if (inst->ulTimer == 0) {
        Report(kSource);
        return QOR_FAIL;
    }
    return QOR_OK;
}

uint32_t QOR_DQ_StopCycleTimer(QOR_DQ_INST_S *inst) {
    if (RefuseInstance(kSource, inst)) {
        return QOR_ERR_ARG;
    }
    StopTimer(inst->pstCtx, inst);
    return QOR_OK;
}

void QOR_DQ_UpdateTimeStamp(QOR_DQ_NODE_S *node, QOR_DQ_INST_S *inst) {
    if (RefuseNull(kSource, node, inst)) {
        return;
    }
    if (node->stLink.pstNext == nullptr || node->pstInst != inst) {
        Report(kSource);  // pfnDelNode was called for it, or it is another instance's
        return;
    }
    node->ulTimeStamp = QOR_DQ_GetTimeStamp();
    HOST_DllDelete(&inst->stNodeList, &node->stLink);
    qor::Append(&inst->stNodeList, &node->stLink);
}

uint32_t QOR_DQ_GetTimeStamp() {
    uint32_t seconds = 0;
    uint32_t subSeconds = 0;
    HOST_SecondNow(&seconds, &subSeconds);
    return seconds;
}

int32_t QOR_DQ_CmpInstCallback(const void *a, const void *b) {
    if (RefuseNull(kSource, a, b)) {
        return 0;
    }
    return qor::Compare(*static_cast<const uint32_t *>(a), *static_cast<const uint32_t *>(b));
}
