// Allocators over malloc with one account per module id. A header in front of each block leads to
// the account, so freeing looks nothing up; allocating probes a table that only ever grows.
#include <pthread.h>
#include <sys/single_threaded.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "base/host/qor_host_api.hpp"  // IWYU pragma: keep
#include "qor_host_posix.h"

namespace {

// One cache line each: modules of different threads do not slow each other down.
struct alignas(64) Account {
    std::atomic<uint64_t> allocations;
    std::atomic<uint64_t> frees;
    std::atomic<uint64_t> octets;
    std::atomic<uint64_t> peak;
    std::atomic<uint64_t> failures;
};

struct alignas(std::max_align_t) Header {
    Account *account;
    uint32_t size;
    uint32_t mark;
};

constexpr uint32_t kMark = 0x51A110C5;
constexpr auto kRelaxed = std::memory_order_relaxed;

// Adds to a counter and returns what it was. A process with one thread needs no locked instruction,
// which costs as much as the rest of an allocation.
uint64_t Add(std::atomic<uint64_t> *counter, uint64_t n,
             std::memory_order order = std::memory_order_relaxed) {
    if (__libc_single_threaded != 0) {
        const uint64_t was = counter->load(kRelaxed);
        counter->store(was + n, kRelaxed);
        return was;
    }
    return counter->fetch_add(n, order);
}

// keys[i] is the module id of accounts[i], which stands where the id hashes to or behind; 0 marks a
// free place. Id 0 and the ids that found no place therefore have accounts of their own.
constexpr size_t kPlaces = 256;
constexpr size_t kMaxUsed = kPlaces - 1;
constinit std::atomic<uint64_t> keys[kPlaces];
constinit Account accounts[kPlaces];
constinit Account accountOfZero;
constinit Account accountOfOthers;
size_t used;  // places, under openLock
pthread_mutex_t openLock = PTHREAD_MUTEX_INITIALIZER;

size_t PlaceOf(uint64_t id) {
    static_assert(kPlaces == 1 << 8);
    return static_cast<size_t>(id * 0x9E3779B97F4A7C15u >> 56);
}

Account *Find(uint64_t id) {
    if (id == 0) {
        return &accountOfZero;
    }
    for (size_t place = PlaceOf(id);; place = (place + 1) % kPlaces) {
        const uint64_t key = keys[place].load(kRelaxed);
        if (key == id) {
            return &accounts[place];
        }
        if (key == 0) {  // there always is one
            return nullptr;
        }
    }
}

Account *FindOrOpen(uint64_t id) {
    if (Account *known = Find(id)) {
        return known;
    }
    if (id == HOST_POSIX_MEM_OTHERS) {
        return &accountOfOthers;
    }
    // Rare, so it may lock: an id has one account however many threads bring it at once.
    pthread_mutex_lock(&openLock);
    Account *account = Find(id);
    if (!account) {
        account = &accountOfOthers;
        if (used < kMaxUsed) {
            size_t place = PlaceOf(id);
            while (keys[place].load(kRelaxed) != 0) {
                place = (place + 1) % kPlaces;
            }
            account = &accounts[place];
            keys[place].store(id, kRelaxed);
            used++;
        }
    }
    pthread_mutex_unlock(&openLock);
    return account;
}

void *Allocate(uint64_t id, uint32_t size) {
    Account *account = FindOrOpen(id);
    auto *header = static_cast<Header *>(malloc(sizeof(Header) + uint64_t{size}));
    if (!header) {
        Add(&account->failures, 1);
        return nullptr;
    }
    *header = Header{account, size, kMark};
    Add(&account->allocations, 1);
    const uint64_t octets = Add(&account->octets, size) + size;
    uint64_t peak = account->peak.load(kRelaxed);
    while (octets > peak && !account->peak.compare_exchange_weak(peak, octets, kRelaxed)) {
    }
    return header + 1;
}

HOST_POSIX_MEM_STAT_S StatOf(const Account &account, uint64_t id) {
    // Frees first: read the other way round, another thread's blocks could count as freed but not
    // as allocated.
    const uint64_t frees = account.frees.load(std::memory_order_acquire);
    const uint64_t allocations = account.allocations.load(kRelaxed);
    return {id,
            allocations - frees,
            account.octets.load(kRelaxed),
            account.peak.load(kRelaxed),
            allocations,
            account.failures.load(kRelaxed)};
}

bool IsUsed(const Account &account) {
    return account.allocations.load(kRelaxed) != 0 || account.failures.load(kRelaxed) != 0;
}

}  // namespace

// Memory comes from one heap: the partition is taken and not looked at.
const uint8_t g_aucHostMemPt[] = {0, 1, 2};

void *HOST_MemAlloc(uint64_t moduleId, uint8_t /*partition*/, uint32_t size, const char * /*file*/,
                    uint32_t /*line*/) {
    return Allocate(moduleId, size);
}

void *HOST_MemAllocBySid(uint64_t moduleId, uint32_t size, uint32_t /*tag*/) {
    return Allocate(moduleId, size);
}

void HOST_MemFree(void *p, const char *file, uint32_t line) {
    if (!p) {
        return;
    }
    Header *header = static_cast<Header *>(p) - 1;
    if (header->mark != kMark) {  // freed before, overrun from below, or of another allocator
        HOST_Assert(file, line, 0);
        return;
    }
    Account *account = header->account;
    Add(&account->octets, -uint64_t{header->size});
    Add(&account->frees, 1, std::memory_order_release);
    header->mark = 0;
    free(header);
}

uint32_t HOST_POSIX_MemStat(uint64_t moduleId, HOST_POSIX_MEM_STAT_S *stat) {
    const Account *account = moduleId == HOST_POSIX_MEM_OTHERS ? &accountOfOthers : Find(moduleId);
    if (!account || !IsUsed(*account)) {
        return 1;
    }
    *stat = StatOf(*account, moduleId);
    return 0;
}

void HOST_POSIX_MemWalk(HOST_POSIX_MEM_PF visit, void *user) {
    const auto show = [&](const Account &account, uint64_t id) {
        if (IsUsed(account)) {
            const HOST_POSIX_MEM_STAT_S stat = StatOf(account, id);
            visit(user, &stat);
        }
    };
    show(accountOfZero, 0);
    for (size_t i = 0; i < kPlaces; i++) {
        show(accounts[i], keys[i].load(kRelaxed));
    }
    show(accountOfOthers, HOST_POSIX_MEM_OTHERS);
}
