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

}  // namespace qor::bench
