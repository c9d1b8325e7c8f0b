#pragma once

#include <cstdint>

namespace qor::host {

inline constexpr uint64_t kNsPerSecond = 1'000'000'000;
inline constexpr uint64_t kMsPerSecond = 1000;
inline constexpr uint64_t kNsPerMs = kNsPerSecond / kMsPerSecond;

// Nanoseconds of the clock that nobody sets.
uint64_t MonotonicNs();

}  // namespace qor::host
