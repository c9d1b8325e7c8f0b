// Decode, encode, decode: see CheckRoundTrip.
#include "fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    qor::fuzz::CheckRoundTrip({data, size});
    return 0;
}
