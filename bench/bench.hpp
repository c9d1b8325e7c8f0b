// What the benchmarks share: records of the library that are set up, and keys in random order.
//
// A benchmark's name is "case/who" or "case/who/n": scripts/bench-report.py compares those of one
// case and n. "qor" is this library; the others are what a user would take instead.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "qor.h"
#include "qor_host_posix.h"

namespace qor::bench {

constexpr uint64_t kSid = 1;
constexpr int kSmallest = 1000, kLargest = 1'000'000;

// The sizes over which growth is shown.
inline void Sizes(benchmark::internal::Benchmark *b) {
    b->RangeMultiplier(10)->Range(kSmallest, kLargest);
}

// The numbers 0 to n - 1 in the same random order each time.
inline std::vector<uint32_t> Shuffled(size_t n, uint32_t seed = 1) {
    std::vector<uint32_t> numbers(n);
    std::iota(numbers.begin(), numbers.end(), 0U);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(seed));
    return numbers;
}

// Goes round and round through the indexes 0 to n - 1.
class Ring {
  public:
    explicit Ring(size_t n) : n_(n) {}
    size_t Next() {
        const size_t at = next_++;
        if (next_ == n_)
            next_ = 0;
        return at;
    }

  private:
    size_t n_, next_ = 0;
};

inline QOR_PKT_CTX_S *Codec() {
    static const QOR_LOG_CFG_S log{0, kSid, nullptr, 0, 1, "B", "codec", 0, 1, 0, 0};
    static const QOR_PKT_CTX_S cfg{
        0, kSid, reinterpret_cast<uintptr_t>(QOR_LOG_Init(&log, &log)), 0, nullptr, {}};
    static QOR_PKT_CTX_S *ctx = QOR_PKT_Init(&cfg);
    return ctx;
}

// Octets from hexadecimal with blanks between them; Message() fills in the length too.
inline std::vector<uint8_t> Octets(const std::string &text) {
    std::vector<uint8_t> octets;
    for (size_t at = 0; at < text.size(); at += text[at] == ' ' ? 1U : 2U)
        if (text[at] != ' ')
            octets.push_back(static_cast<uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
    return octets;
}

inline std::vector<uint8_t> Message(const std::string &text) {
    std::vector<uint8_t> octets = Octets(text);
    octets[2] = static_cast<uint8_t>((octets.size() - 4) >> 8);
    octets[3] = static_cast<uint8_t>(octets.size() - 4);
    return octets;
}

inline QOR_LDP_SIGNAL_MSG_S Decoded(std::vector<uint8_t> &octets) {
    QOR_LDP_SIGNAL_MSG_S rec{};
    if (QOR_LDP_PKT_DecodeMsg(octets.data(), &rec, Codec()) != QOR_OK)
        abort();
    return rec;
}

}  // namespace qor::bench
