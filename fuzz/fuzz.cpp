#include "fuzz.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decoded.hpp"
#include "qor_host_posix.h"
#include "qor_log.h"

namespace qor::fuzz {
namespace {

uint32_t failIn;
bool failed;
size_t liveBlocks;
volatile size_t seen;  // keeps the texts from being optimised away

void *Allocate(uint32_t size) {
    if (failIn != 0 && --failIn == 0) {
        failed = true;
        return nullptr;
    }
    ++liveBlocks;
    return memset(malloc(size), 0xA5, size);
}

void SeeText(void * /*user*/, const HOST_POSIX_LINE_S *line) {
    seen = strlen(line->szText);
}

}  // namespace

void Fail(const char *file, int line, const char *condition) {
    fprintf(stderr, "%s:%d: not true: %s\n", file, line, condition);
    abort();
}

void FailAllocation(uint32_t nth) {
    failIn = nth;
    failed = false;
}

bool AllocationFailed() {
    return failed;
}

size_t LiveBlocks() {
    return liveBlocks;
}

uint64_t Reports() {
    return HOST_POSIX_AssertCount();
}

QOR_PKT_CTX_S &CodecContext() {
    static QOR_PKT_CTX_S context = [] {
        QOR_LOG_CFG_S log{};
        log.ulSid = 1;
        log.szTag = "F";
        log.szModName = "fuzz";
        log.ulEventId = 1;
        QOR_PKT_CTX_S ctx{};
        ctx.ulSid = 1;
        ctx.ulLogHandle = reinterpret_cast<uintptr_t>(QOR_LOG_Init(&log, &log));
        ctx.ulDebugSwitch = 1;
        ctx.pfnErrOutput = [](const char *text, uint64_t) { seen = strlen(text); };
        return ctx;
    }();
    return context;
}

void CheckRoundTrip(Bytes message) {
    using test::Decoded, test::RoundTrip;
    QOR_PKT_CTX_S &ctx = CodecContext();
    const size_t live = LiveBlocks();
    {
        const Decoded first(message, ctx);
        FUZZ_CHECK(test::IsTold(first.code));
        if (first.code == QOR_OK) {
            // Taken now: the encoder turns the words of a PW tag where they stand.
            const std::string before = test::Carried(first.rec);
            const auto buffer = std::make_unique<uint8_t[]>(QOR_LDP_PKT_ENC_BUF_LEN);
            const uint32_t length = QOR_LDP_PKT_EncodeMsg(buffer.get(), &first.rec, &ctx);
            const auto [encoding, code] = test::Expectation(first.rec);
            FUZZ_CHECK((length == 0) == (encoding == RoundTrip::Encoding::kRefused));
            if (length != 0 && encoding != RoundTrip::Encoding::kUnclear) {
                const Decoded second(Bytes(buffer.get(), length), ctx);
                FUZZ_CHECK(second.code == code);
                FUZZ_CHECK(encoding != RoundTrip::Encoding::kSame ||
                           before == test::Carried(second.rec));
            }
        }
    }
    FUZZ_CHECK(LiveBlocks() == live);
}

}  // namespace qor::fuzz

// The linker puts these in place of the default platform's allocators.
extern "C" {

void *__wrap_HOST_MemAlloc(uint64_t, uint8_t, uint32_t size, const char *, uint32_t) {
    return qor::fuzz::Allocate(size);
}

void *__wrap_HOST_MemAllocBySid(uint64_t, uint32_t size, uint32_t) {
    return qor::fuzz::Allocate(size);
}

void __wrap_HOST_MemFree(void *p, const char *, uint32_t) {
    if (p != nullptr) {
        --qor::fuzz::liveBlocks;
        free(p);
    }
}

int LLVMFuzzerInitialize(int *, char ***) {
    for (const auto sink : {HOST_POSIX_SINK_DEVLOG, HOST_POSIX_SINK_SYSLOG, HOST_POSIX_SINK_DEBUG,
                            HOST_POSIX_SINK_CONSOLE}) {
        HOST_POSIX_LineSink(sink, qor::fuzz::SeeText, nullptr);
    }
    HOST_POSIX_EventSink(
        [](void *, const HOST_POSIX_EVENT_S *event) {
            qor::fuzz::seen = strlen(event->szMsgName) + strlen(event->szReason);
        },
        nullptr);
    HOST_POSIX_AssertSink([](void *, const char *, uint32_t) {}, nullptr);
    qor::fuzz::CodecContext();
    return 0;
}
}
