// Private to the timed key queue: what its files share.
#pragma once

#include "base/qor_check.hpp"  // IWYU pragma: export
#include "base/qor_links.hpp"  // IWYU pragma: export
#include "qor_dq.h"            // IWYU pragma: export

namespace qor::dq {

inline constexpr char kSource[] = "qor_dq";

inline QOR_DQ_NODE_S *NodeAt(HOST_DLL_NODE_S *link) {
    return EntryAt<QOR_DQ_NODE_S>(link, offsetof(QOR_DQ_NODE_S, stLink));
}

// Tells whether inst is NULL or without context, that is, being unregistered, and then reports it.
inline bool RefuseInstance(Where where, const QOR_DQ_INST_S *inst) {
    if (inst != nullptr && inst->pstCtx != nullptr) {
        return false;
    }
    Report(where);
    return true;
}

}  // namespace qor::dq
