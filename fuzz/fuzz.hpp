// What the fuzzers share: an allocator that fails where an input wants it to and counts what lives,
// sinks that read every text to its end, and a check that ends the run.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>  // IWYU pragma: export

#include <algorithm>
#include <cstdint>  // IWYU pragma: export
#include <memory>   // IWYU pragma: export
#include <span>     // IWYU pragma: export

#include "qor_pkt.h"  // IWYU pragma: export

#define FUZZ_CHECK(condition) \
    ((condition) ? void() : qor::fuzz::Fail(__FILE__, __LINE__, #condition))

namespace qor::fuzz {

using Bytes = std::span<const uint8_t>;

[[noreturn]] void Fail(const char *file, int line, const char *condition);

// Makes the nth allocation of the library from now on fail (1 is the next one); 0 none.
void FailAllocation(uint32_t nth);

// Whether that allocation was asked for.
bool AllocationFailed();

size_t LiveBlocks();

// Assertion reports of the library since the start.
uint64_t Reports();

// A copy in a heap block of exactly that size, so that the sanitizer sees an octet too far.
class ExactCopy {
  public:
    explicit ExactCopy(Bytes octets) : block_(new uint8_t[octets.size()]) {
        std::copy(octets.begin(), octets.end(), block_.get());
    }
    uint8_t *Get() { return block_.get(); }

  private:
    std::unique_ptr<uint8_t[]> block_;
};

// A codec context that traces, logs and reports all it can. Of the process, made once.
QOR_PKT_CTX_S &CodecContext();

// A message of any kind: what is decoded is told, and what is accepted survives another encode and
// decode but for the known losses.
void CheckRoundTrip(Bytes message);

}  // namespace qor::fuzz
