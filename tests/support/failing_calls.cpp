// Operations of the default platform's core that fail when Platform::FailCall says so. The linker
// sends calls of f to __wrap_f; __real_f is the operation itself.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "test_platform.hpp"

using qor::test::Call;

namespace {

// Tells whether an operation must fail. As its contract wants it leaves room octets at out zeroed.
bool Fails(Call call, void *out, size_t room) {
    const bool fails = qor::test::Platform::Get().Fails(call);
    if (fails && out != nullptr) memset(out, 0, room);
    return fails;
}

}  // namespace

#define WRAP(type, f, parameters, fault, failure, ...) \
    type __real_##f parameters;                        \
    type __wrap_##f parameters { return Fails fault ? failure : __real_##f(__VA_ARGS__); }

extern "C" {

WRAP(int, memcpy_s, (void *dst, size_t dstMax, const void *src, size_t n),
     (Call::kBounded, dst, dstMax), ERANGE, dst, dstMax, src, n)
WRAP(int, memset_s, (void *dst, size_t dstMax, int c, size_t n), (Call::kBounded, dst, dstMax),
     ERANGE, dst, dstMax, c, n)
WRAP(int, strcpy_s, (char *dst, size_t dstMax, const char *src),
     (Call::kBounded, dst, std::min<size_t>(dstMax, 1)), ERANGE, dst, dstMax, src)
WRAP(int32_t, HOST_VsnprintfTruncated, (char *out, uint32_t room, const char *fmt, va_list ap),
     (Call::kFormat, out, std::min(room, 1u)), -1, out, room, fmt, ap)
WRAP(uint32_t, HOST_Inet6Ntoa, (uint64_t low, uint64_t high, char *out, uint32_t size),
     (Call::kFormat, out, std::min(size, 1u)), 1, low, high, out, size)
WRAP(uint32_t, HOST_Div64By32RoundUp,
     (uint32_t high, uint32_t low, uint32_t divisor, uint32_t *quotHigh, uint32_t *quotLow),
     (Call::kClock, nullptr, 0), 1, high, low, divisor, quotHigh, quotLow)

int32_t __wrap_HOST_SnprintfTruncated(char *out, uint32_t room, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const int32_t length = __wrap_HOST_VsnprintfTruncated(out, room, fmt, ap);
    va_end(ap);
    return length;
}

// There is no snprintf_s that takes a va_list to pass the arguments on to.
int __wrap_snprintf_s(char *dst, size_t dstMax, size_t count, const char *fmt, ...) {
    const bool fails = Fails(Call::kFormat, dst, std::min<size_t>(dstMax, 1));
    if (fails || dst == nullptr || dstMax == 0) return -1;
    const size_t room = std::min(count, dstMax - 1) + 1;
    va_list ap;
    va_start(ap, fmt);
    const int length = vsnprintf(dst, room, fmt, ap);
    va_end(ap);
    return length >= 0 && static_cast<size_t>(length) < room ? length : -1;
}

}  // extern "C"
