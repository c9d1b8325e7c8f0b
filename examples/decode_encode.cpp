// Decodes one Label Mapping, prints what it says, and writes it back: as decode_encode.c, with
// owners that release the context and the record.
#include <algorithm>
#include <array>
#include <cstdint>
#include <iostream>
#include <memory>
#include <vector>

#include "qor.h"

namespace {

using Context = std::unique_ptr<QOR_PKT_CTX_S, decltype(&QOR_PKT_DeInit)>;

class Message {
  public:
    Message(QOR_PKT_CTX_S &ctx, uint32_t peer) : ctx_(ctx) { record_.ulPeerIp = peer; }
    Message(const Message &) = delete;
    Message &operator=(const Message &) = delete;
    ~Message() { QOR_LDP_PKT_FreeSignalMsg(&record_, &ctx_); }

    // octets must outlive the message: what a MAC Withdraw holds stays there.
    uint32_t Decode(const uint8_t *octets) {
        return QOR_LDP_PKT_DecodeMsg(octets, &record_, &ctx_);
    }

    std::vector<uint8_t> Encode() const {
        std::vector<uint8_t> out(QOR_LDP_PKT_ENC_BUF_LEN);
        out.resize(QOR_LDP_PKT_EncodeMsg(out.data(), &record_, &ctx_));
        return out;
    }

    const QOR_LDP_SIGNAL_MSG_S *operator->() const { return &record_; }

  private:
    QOR_PKT_CTX_S &ctx_;
    QOR_LDP_SIGNAL_MSG_S record_{};
};

// As received, from the message header on (RFC 5036 section 3.5.7).
constexpr std::array<uint8_t, 36> kMapping = {
    0x04, 0x00, 0x00, 0x20,                          // Label Mapping, 32 octets follow
    0x00, 0x00, 0x00, 0x2A,                          // message ID 42
    0x01, 0x00, 0x00, 0x10,                          // FEC TLV, 16 octets
    0x80, 0x80, 0x05, 0x08,                          // PWid, control word, Ethernet, 8 octets
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x64,  // group 0, PW ID 100
    0x01, 0x04, 0x05, 0xDC,                          // MTU 1500
    0x02, 0x00, 0x00, 0x04, 0x00, 0x00, 0x03, 0xE8,  // label 1000
};

}  // namespace

int main() {
    QOR_PKT_CTX_S cfg{};
    cfg.ulSid = 1;  // memory is accounted to module 1
    const Context ctx(QOR_PKT_Init(&cfg), &QOR_PKT_DeInit);
    if (ctx == nullptr) {
        return 1;
    }

    Message msg(*ctx, 0x0A000001);  // from 10.0.0.1
    if (const uint32_t result = msg.Decode(kMapping.data()); result != QOR_OK) {
        std::cout << "refused: " << std::hex << result << '\n';
        return 1;
    }
    std::cout << "PW ID " << msg->stFecKey.ulPwId << ", label " << msg->ulLabel << ", MTU "
              << msg->usMtu << '\n';

    const std::vector<uint8_t> out = msg.Encode();
    const bool same = std::equal(out.begin(), out.end(), kMapping.begin(), kMapping.end());
    std::cout << "encoded to " << out.size() << " octets, " << (same ? "the same" : "different")
              << '\n';
    return same ? 0 : 1;
}
