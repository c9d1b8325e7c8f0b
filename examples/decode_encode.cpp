// Decodes one Label Mapping, prints what it says, and writes it back: decode_encode.c with the
// owners of qor.hpp.
#include <algorithm>
#include <array>
#include <cstdint>
#include <iostream>
#include <vector>

#include "qor.hpp"

namespace {

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
    const qor::Owner<QOR_PKT_CTX_S> ctx(QOR_PKT_Init(&cfg));
    if (ctx == nullptr) {
        return 1;
    }

    std::array<uint8_t, kMapping.size()> received = kMapping;
    qor::Message msg(*ctx, 0x0A000001);  // from 10.0.0.1
    if (const qor::Result result = msg.decode(received); !result) {
        std::cout << "refused: " << std::hex << result.code << ", LDP status "
                  << result.status().code << '\n';
        return 1;
    }
    std::cout << "PW ID " << msg->stFecKey.ulPwId << ", label " << msg->ulLabel << ", MTU "
              << msg->usMtu << '\n';

    std::vector<uint8_t> out(QOR_LDP_PKT_ENC_BUF_LEN);
    out.resize(msg.encode(out).octets);
    const bool same = std::equal(out.begin(), out.end(), kMapping.begin(), kMapping.end());
    std::cout << "encoded to " << out.size() << " octets, " << (same ? "the same" : "different")
              << '\n';
    return same ? 0 : 1;
}
