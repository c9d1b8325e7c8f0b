// Private to the health service: what its files share.
//
// The user's callbacks may delete users and unregister indexes, those they are called for included,
// and so both are watched while they run. An index that is being released has left the tree and has
// no type any more, so that no operation finds or accepts it.
#pragma once

#include "base/qor_check.hpp"  // IWYU pragma: export
#include "base/qor_links.hpp"  // IWYU pragma: export
#include "base/qor_watch.hpp"  // IWYU pragma: export
#include "qor_pads.h"          // IWYU pragma: export

namespace qor::pads {

inline constexpr char kSource[] = "qor_pads";

inline constexpr uint32_t kTypes = QOR_PADS_EXCP_DA + 1;
inline constexpr uint32_t kReleased = UINT32_MAX;  // type of an index that is being released

// A health record with what its users do not see.
struct Health : QOR_PADS_HEALTH_S {
    Watch *watches;  // on an index and perhaps a user of it
    bool closing;    // nothing is registered any more
};

inline Watch **WatchesOf(QOR_PADS_HEALTH_S *health) {
    return &static_cast<Health *>(health)->watches;
}

// To be called before an index or a user is freed.
inline void Forget(QOR_PADS_HEALTH_S *health, const void *released) {
    Watch::Forget(*WatchesOf(health), released);
}

// The two schedules, each with a timer and a list of expire users. Their members in the health
// record may not be aligned for a pointer, so they are passed by value.
enum class Schedule { kMinute, kSecond };

inline uint64_t TimerOf(const QOR_PADS_HEALTH_S *health, Schedule schedule) {
    return schedule == Schedule::kMinute ? health->ulMinTimer : health->ulSecTimer;
}

inline void SetTimer(QOR_PADS_HEALTH_S *health, Schedule schedule, uint64_t timer) {
    (schedule == Schedule::kMinute ? health->ulMinTimer : health->ulSecTimer) = timer;
}

inline HOST_DLL_S &ListOf(QOR_PADS_HEALTH_S *health, Schedule schedule) {
    return schedule == Schedule::kMinute ? health->stMinList : health->stSecList;
}

// The entry with which the next scan begins, or NULL.
inline HOST_DLL_NODE_S *ResumeOf(const QOR_PADS_HEALTH_S *health, Schedule schedule) {
    return schedule == Schedule::kMinute ? health->pstMinCurNode : health->pstSecCurNode;
}

inline void SetResume(QOR_PADS_HEALTH_S *health, Schedule schedule, HOST_DLL_NODE_S *node) {
    (schedule == Schedule::kMinute ? health->pstMinCurNode : health->pstSecCurNode) = node;
}

inline QOR_PADS_USER_S *UserAt(HOST_DLL_NODE_S *link) {
    return EntryAt<QOR_PADS_USER_S>(link, offsetof(QOR_PADS_USER_S, stLink));
}

inline QOR_PADS_INDEX_S *FindIndex(QOR_PADS_HEALTH_S *health, uint32_t id) {
    QOR_AVL_TREE_S &tree = health->stIndexTree;
    return static_cast<QOR_PADS_INDEX_S *>(HOST_AvlFind(&tree.stTree, &id, &tree.stTreeInfo));
}

inline QOR_PADS_USER_S *FindUser(QOR_PADS_INDEX_S *index, uint32_t id) {
    QOR_AVL_TREE_S &tree = index->stUserTree;
    return static_cast<QOR_PADS_USER_S *>(HOST_AvlFind(&tree.stTree, &id, &tree.stTreeInfo));
}

// Checks the arguments of an operation on an index of one type. Returns QOR_OK, or the code to
// return for a NULL one or an index of another type, which has another tail; both are reported.
template <class... T>
uint32_t CheckArguments(Where where, uint32_t type, const QOR_PADS_INDEX_S *index, T *...others) {
    if (RefuseNull(where, index, others...)) {
        return QOR_ERR_ARG;
    }
    if (index->ulIndexType == type) {
        return QOR_OK;
    }
    Report(where);
    return QOR_FAIL;
}

// Deletes the timer of a schedule, if it runs.
void StopTimer(QOR_PADS_HEALTH_S *health, Schedule schedule);

// Takes the link of a user out of list, one of the schedules, and moves that one's resume pointer
// on.
void Unlink(QOR_PADS_HEALTH_S *health, Schedule schedule, HOST_DLL_NODE_S *link);

// Deletes user of index, which is or was of that type, and returns what pfnDelUser does.
uint32_t DeleteUser(QOR_PADS_INDEX_S *index, uint32_t type, QOR_PADS_USER_S *user,
                    QOR_PADS_HEALTH_S *health);

}  // namespace qor::pads
