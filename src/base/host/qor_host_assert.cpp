#include <atomic>
#include <cstdio>

#include "base/host/qor_host_api.hpp"  // IWYU pragma: keep
#include "base/host/qor_host_slot.hpp"
#include "qor_host_posix.h"

namespace {

constinit qor::host::Slot<HOST_POSIX_ASSERT_PF> slot;
std::atomic<uint64_t> reports;

}  // namespace

void HOST_Assert(const char *file, uint32_t line, uint32_t /*zero*/) {
    reports.fetch_add(1, std::memory_order_relaxed);
    const auto target = slot.Get();
    if (target.call) {
        target.call(target.user, file, line);
        return;
    }
    fprintf(stderr, "assertion failed: %s:%u\n", file, line);
}

void HOST_POSIX_AssertSink(HOST_POSIX_ASSERT_PF report, void *user) {
    slot.Set({report, user});
}

uint64_t HOST_POSIX_AssertCount(void) {
    return reports.load(std::memory_order_relaxed);
}
