// A mutator that knows LDP: it takes a message apart into TLVs, changes one of them, and puts it
// together again with lengths that are right, as a rule.
#include <algorithm>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "fuzz.hpp"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace {

using Octets = std::vector<uint8_t>;
using Random = std::minstd_rand;

constexpr size_t kMessageHeader = 8;

constexpr uint16_t kMessageTypes[] = {0x0001, 0x0301, 0x0400, 0x0401, 0x0402, 0x0403};

constexpr uint16_t kTlvTypes[] = {0x0100, 0x0101, 0x0104, 0x0200, 0x0300, 0x0303, 0x0404,
                                  0x0405, 0x0406, 0x0600, 0x096A, 0x096B, 0x096C, 0x096D,
                                  0x3E00, 0x3E08, 0x3E09, 0x3E0A, 0x3FED, 0x1234};

constexpr size_t kLengths[] = {0, 1, 2, 4, 6, 8, 10, 12};

constexpr uint8_t kSubTlvTypes[] = {1, 2, 3, 4, 5, 7, 9, 0x0B, 0x0C, 0x17, 0x55};

constexpr uint8_t kElementTypes[] = {1, 2, 3, 0x80, 0x81, 0x42};

struct Tlv {
    uint16_t type = 0;
    Octets value;
};

size_t Below(Random &random, size_t end) {
    return end == 0 ? 0 : random() % end;
}

template <class T, size_t kCount>
T OneOf(Random &random, const T (&values)[kCount]) {
    return values[Below(random, kCount)];
}

void Put(Octets &out, size_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

// Octets of a message by its own length, as far as they are there.
size_t MessageSize(qor::fuzz::Bytes input) {
    return std::clamp(size_t{4} + (size_t{input[2]} << 8 | input[3]), kMessageHeader, input.size());
}

std::vector<Tlv> Parse(qor::fuzz::Bytes message) {
    std::vector<Tlv> tlvs;
    for (size_t at = kMessageHeader; at + 4 <= message.size();) {
        const size_t length = size_t{message[at + 2]} << 8 | message[at + 3];
        const size_t end = std::min(at + 4 + length, message.size());
        tlvs.push_back({static_cast<uint16_t>(message[at] << 8 | message[at + 1]),
                        {message.begin() + static_cast<ptrdiff_t>(at) + 4,
                         message.begin() + static_cast<ptrdiff_t>(end)}});
        at = end;
    }
    return tlvs;
}

// Changes octets with the fuzzer's own means, which also change their number.
void Scramble(Octets &value, Random &random) {
    const size_t size = value.size();
    value.resize(size + 1 + Below(random, 40));
    value.resize(LLVMFuzzerMutate(value.data(), size, value.size()));
}

// Puts a sub-TLV at the end of a PWid element, or at the start of an Interface Parameters TLV.
void AddSubTlv(Tlv &tlv, Random &random) {
    const auto length = static_cast<uint8_t>(2 + Below(random, 9));
    Octets sub(length);
    sub[0] = OneOf(random, kSubTlvTypes);
    sub[1] = Below(random, 9) == 0 ? 0 : length;
    std::generate(sub.begin() + 2, sub.end(), [&] { return static_cast<uint8_t>(random()); });
    const bool element = (tlv.type & 0x3FFF) == 0x0100 && tlv.value.size() >= 12;
    if (element && tlv.value[0] == 0x80) {
        tlv.value[3] = static_cast<uint8_t>(tlv.value[3] + length);  // PW info length
        const size_t end = std::min(tlv.value.size(), size_t{8} + tlv.value[3] - length);
        tlv.value.insert(tlv.value.begin() + static_cast<ptrdiff_t>(end), sub.begin(), sub.end());
    } else {
        tlv.value.insert(tlv.value.begin(), sub.begin(), sub.end());
    }
}

void Change(std::vector<Tlv> &tlvs, Random &random) {
    const size_t at = Below(random, tlvs.size());
    const size_t other = Below(random, tlvs.size());
    switch (tlvs.empty() ? 0 : Below(random, 9)) {
        case 0: {
            Tlv fresh{OneOf(random, kTlvTypes), Octets(OneOf(random, kLengths))};
            fresh.type |= static_cast<uint16_t>(Below(random, 4) << 14);
            Scramble(fresh.value, random);
            tlvs.insert(tlvs.begin() + static_cast<ptrdiff_t>(at), fresh);
            break;
        }
        case 1:
            tlvs.erase(tlvs.begin() + static_cast<ptrdiff_t>(at));
            break;
        case 2:
            std::swap(tlvs[at], tlvs[other]);
            break;
        case 3: {
            const Tlv copy = tlvs[at];
            tlvs.insert(tlvs.begin() + static_cast<ptrdiff_t>(other), copy);
            break;
        }
        case 4:
            tlvs[at].type = OneOf(random, kTlvTypes);
            break;
        case 5:
            tlvs[at].type ^= static_cast<uint16_t>(1 << (14 + Below(random, 2)));
            break;
        case 6:
            AddSubTlv(tlvs[at], random);
            break;
        case 7:
            if (!tlvs[at].value.empty()) {
                tlvs[at].value[0] = OneOf(random, kElementTypes);
            }
            break;
        default:
            Scramble(tlvs[at].value, random);
    }
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned int seed) {
    Random random(seed);
    if (size < kMessageHeader || Below(random, 16) == 0) {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    const size_t end = MessageSize({data, size});
    const Octets behind(data + end, data + size);  // what a fuzzer keeps for itself
    std::vector<Tlv> tlvs = Parse({data, end});
    for (size_t changes = 1 + Below(random, 3); changes != 0; --changes) {
        Change(tlvs, random);
    }
    Octets out(data, data + kMessageHeader);
    if (Below(random, 12) == 0) {
        const uint16_t type = OneOf(random, kMessageTypes);
        out[0] = static_cast<uint8_t>(type >> 8);
        out[1] = static_cast<uint8_t>(type);
    }
    for (const Tlv &tlv : tlvs) {
        Put(out, tlv.type);
        Put(out, tlv.value.size() + (Below(random, 24) == 0 ? random() % 3 : 0));
        out.insert(out.end(), tlv.value.begin(), tlv.value.end());
    }
    const size_t length = out.size() - 4 + (Below(random, 24) == 0 ? random() % 9 : 0);
    out[2] = static_cast<uint8_t>(length >> 8);
    out[3] = static_cast<uint8_t>(length);
    out.insert(out.end(), behind.begin(), behind.end());
    out.resize(std::min(out.size(), max_size));
    memcpy(data, out.data(), out.size());
    return out.size();
}
