// What every module does the same way: refuse NULL arguments, report failed bounded routines.
#pragma once

#include <cstring>
#include <type_traits>

#include "qor_host.h"   // IWYU pragma: export
#include "qor_types.h"  // IWYU pragma: export

namespace qor {

// The place that a report names: the module's source name, whatever file the module's code is
// spread over, and the line of the call that made this object.
struct Where {
    constexpr Where(const char *name, uint32_t at = __builtin_LINE()) : source(name), line(at) {}
    const char *source;
    uint32_t line;
};

inline void Report(Where where) {
    HOST_Assert(where.source, where.line, 0);
}

// When a pointer to T is as bad as NULL.
template <class T>
struct NullRule {
    static constexpr bool IsNull(const T *p) { return p == nullptr; }
};

template <class T>
struct NullRule<T *> {  // a cursor
    static constexpr bool IsNull(T *const *p) { return p == nullptr || *p == nullptr; }
};

// Tells whether one of the arguments is NULL, and then reports it: once, however many are.
template <class... T>
bool RefuseNull(Where where, T *...args) {
    if ((!NullRule<std::remove_const_t<T>>::IsNull(args) && ...)) [[likely]] {
        return false;
    }
    Report(where);
    return true;
}

// memcpy_s whose failure is reported. Nothing to copy is no call: the bounded routine would take a
// NULL source for an error even then. What a failing host left out is copied all the same: records
// that go on with an empty configuration would call through NULL or forget what they own.
inline int CopyChecked(Where where, void *dst, size_t room, const void *src, size_t n) {
    if (n == 0) {
        return 0;
    }
    const int result = memcpy_s(dst, room, src, n);
    if (result != 0) {
        Report(where);
        if (n <= room) {
            std::memcpy(dst, src, n);
        }
    }
    return result;
}

inline void ZeroChecked(Where where, void *dst, size_t n) {
    if (memset_s(dst, n, 0, n) != 0) {
        Report(where);
    }
}

inline void CopyTextChecked(Where where, char *dst, size_t room, const char *src) {
    if (strcpy_s(dst, room, src) != 0) {
        Report(where);
    }
}

// Passes a formatter's result on; a negative one is reported.
inline int FormatChecked(Where where, int stored) {
    if (stored < 0) {
        Report(where);
    }
    return stored;
}

// Memory of a module context, from the partition that the host has for them; NULL when it is short.
inline void *AllocContext(Where where, uint64_t sid, uint32_t size) {
    constexpr unsigned kPartition = 2;  // octet of the host's partition table
    return HOST_MemAlloc(sid, g_aucHostMemPt[kPartition], size, where.source, where.line);
}

// Memory of a module for one T, or for size octets that begin with one, zeroed; NULL when it is
// short.
template <class T>
T *AllocZeroed(Where where, uint64_t sid, uint32_t tag, uint32_t size = sizeof(T)) {
    void *p = HOST_MemAllocBySid(sid, size, tag);
    if (p != nullptr) {
        ZeroChecked(where, p, size);
    }
    return static_cast<T *>(p);
}

constexpr int32_t Compare(uint32_t a, uint32_t b) {
    return a == b ? 0 : a > b ? 1 : -1;
}

// Releases what *p points at and clears it. p must not point into a packed record.
template <class T>
void FreeAndClear(Where where, T **p) {
    if (*p != nullptr) {
        HOST_MemFree(*p, where.source, where.line);
        *p = nullptr;
    }
}

}  // namespace qor
