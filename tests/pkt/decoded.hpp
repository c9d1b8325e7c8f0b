// One decoded message, and what must be left of its record after another encode and decode.
#pragma once

#include <algorithm>
#include <memory>

#include "record_text.hpp"  // IWYU pragma: export

namespace qor::test {

// The octets stand at an odd address in a heap block that ends where the message may be read to;
// the record is released at the end.
class Decoded {
  public:
    using Decode = decltype(&QOR_LDP_PKT_DecodeMsg);

    Decoded(std::span<const uint8_t> message, const QOR_PKT_CTX_S &ctx,
            Decode decode = QOR_LDP_PKT_DecodeMsg)
        : ctx_(ctx) {
        // 8 octets, and what the length field counts when that is acceptable, must be readable.
        const auto octet = [&](size_t at) { return at < message.size() ? message[at] : size_t{0}; };
        const size_t length = octet(2) << 8 | octet(3);
        const bool refused = length > QOR_LDP_PKT_MAX_MSG_LEN && decode == QOR_LDP_PKT_DecodeMsg;
        const size_t size = std::max<size_t>(8, refused ? 0 : 4 + length);
        block_ = std::make_unique<uint8_t[]>(size + 1);
        octets = block_.get() + 1;
        std::copy_n(message.begin(), std::min(size, message.size()), octets);
        rec.ulPeerIp = kPeer;
        code = decode(octets, &rec, &ctx);
    }
    ~Decoded() { QOR_LDP_PKT_FreeSignalMsg(&rec, &ctx_); }
    Decoded(const Decoded &) = delete;
    Decoded &operator=(const Decoded &) = delete;

    uint8_t *octets;
    QOR_LDP_SIGNAL_MSG_S rec{};
    uint32_t code;

  private:
    std::unique_ptr<uint8_t[]> block_;
    const QOR_PKT_CTX_S &ctx_;
};

// Whether DecodeMsg may return a code.
bool IsTold(uint32_t code);

// The part of a decoded record that its encoding carries, as text.
std::string Carried(QOR_LDP_SIGNAL_MSG_S rec);

// What encoding an accepted record and decoding that again must give.
struct RoundTrip {
    enum class Encoding { kSame, kRefused, kOther, kUnclear } encoding;
    uint32_t code;  // of the second decode, for kSame and kOther
};

RoundTrip Expectation(const QOR_LDP_SIGNAL_MSG_S &rec);

// What the two explain of records that did not come yet: a line for each such reason.
std::string NeverMet();

}  // namespace qor::test
