// A token bucket, kept as the time at which it will be full again. A bucket serves one rate.
#pragma once

#include <algorithm>
#include <cstdint>

namespace qor::host {

struct Rate {
    uint64_t perToken = 0;  // nanoseconds in which one token comes back; 0 is no limit
    uint64_t burst = 1;     // tokens that a full bucket holds
};

struct Bucket {
    uint64_t fullAt = 0;

    // Takes a token at time now, or returns false when there is none.
    bool Take(const Rate &rate, uint64_t now) {
        const uint64_t level = std::max(fullAt, now);
        if (level - now + rate.perToken > rate.perToken * rate.burst) {
            return false;
        }
        fullAt = level + rate.perToken;
        return true;
    }
};

}  // namespace qor::host
