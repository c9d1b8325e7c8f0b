// One record of the black box and one line of the developer log beside spdlog's ring buffer, which
// keeps the same text in front of the same time stamp.
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>

#include "bench.hpp"

namespace {

using namespace qor::bench;

constexpr uint32_t kBox = 1;

QOR_MAM_S *Boxes(uint32_t mode) {
    auto *boxes = QOR_MAM_Init(kSid, &kBox);
    QOR_MAM_BlackBoxCreate(boxes, kBox, QOR_MAM_BOX_MAX, mode);
    return boxes;
}

void BlackBox(benchmark::State &state, uint32_t mode) {
    QOR_MAM_S *boxes = Boxes(mode);
    uint32_t pwId = 0;
    for (auto _ : state) {
        ++pwId;
        QOR_MAM_BlackBoxWriteString(boxes, kBox, "PW %u: label mapping from %s, label %u", pwId,
                                    "10.0.0.1", 16 + pwId);
    }
    QOR_MAM_DeInit(boxes);
}

void Spdlog(benchmark::State &state, const char *pattern) {
    // As many records as fill a box of that text.
    auto sink = std::make_shared<spdlog::sinks::ringbuffer_sink_st>(QOR_MAM_BOX_MAX / 60);
    spdlog::logger logger("pw", sink);
    logger.set_pattern(pattern);
    uint32_t pwId = 0;
    for (auto _ : state) {
        ++pwId;
        logger.info("PW {}: label mapping from {}, label {}", pwId, "10.0.0.1", 16 + pwId);
    }
}

void DevLog(benchmark::State &state) {
    QOR_MAM_S *boxes = Boxes(QOR_MAM_MODE_SEQ);
    const QOR_LOG_CFG_S cfg{0, kSid, boxes, kBox, 0x1A, "L2VPN", "pw", 0, 1, 0, 0};
    QOR_LOG_S *log = QOR_LOG_Init(&cfg, &cfg);
    HOST_POSIX_DevLogRate(0, 0);
    HOST_POSIX_LineSink(
        HOST_POSIX_SINK_DEVLOG, [](void *, const HOST_POSIX_LINE_S *) {}, nullptr);
    uint32_t pwId = 0;
    for (auto _ : state) {
        ++pwId;
        QOR_LOG_DevLog(log, "PW %u: label mapping from %s, label %u", pwId, "10.0.0.1", 16 + pwId);
    }
    QOR_LOG_DeInit(log);
    QOR_MAM_DeInit(boxes);
}

BENCHMARK_CAPTURE(BlackBox, seq, QOR_MAM_MODE_SEQ)->Name("black box record/qor");
BENCHMARK_CAPTURE(Spdlog, plain, "%v")->Name("black box record/spdlog");
BENCHMARK_CAPTURE(BlackBox, time, QOR_MAM_MODE_SEQ | QOR_MAM_MODE_DATE | QOR_MAM_MODE_TIME)
    ->Name("black box record with date and time/qor");
BENCHMARK_CAPTURE(Spdlog, time, "%m%d-%H%M%S%e %v")
    ->Name("black box record with date and time/spdlog");
BENCHMARK(DevLog)->Name("developer log line/qor");
BENCHMARK_CAPTURE(Spdlog, log, "[L2VPN]pw: %v")->Name("developer log line/spdlog");

}  // namespace
