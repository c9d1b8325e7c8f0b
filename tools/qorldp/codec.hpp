// The library's codec as the tool uses it: one context, one message at a time, and the reason that
// the library gives for a refusal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "bytes.hpp"
#include "qor.hpp"

namespace qorldp {

class Codec {
  public:
    Codec();
    Codec(const Codec &) = delete;
    Codec &operator=(const Codec &) = delete;
    ~Codec();

    // Decodes one message, exactly as many octets as its length field counts. The record is that of
    // Record() until the next call.
    qor::Result Decode(Bytes octets, uint32_t peer);
    const QOR_LDP_SIGNAL_MSG_S &Record() const { return *message_; }

    // Why the last Decode failed, in the library's words; empty when it gave none.
    std::string_view Reason() const { return reason_; }

    // Decodes the value of a FEC TLV alone: key, C bit and group ID. Returns nullptr when it holds
    // no pseudowire or is malformed. The record lives until the next call.
    const QOR_LDP_SIGNAL_MSG_S *DecodeFec(Bytes value, uint32_t peer);

    // Decodes interface parameter sub-TLVs. Returns nullptr when they are malformed. The record
    // lives until the next call.
    const QOR_LDP_INTF_PARA_S *DecodeParameters(Bytes sub_tlvs);

    // The octets as they came, of a pointer in Record() that leads into the message.
    Bytes InMessage(const uint8_t *octets, size_t length) const;

  private:
    // Gets the library's reports about a refusal.
    static void Report(const char *text, uint64_t codec);

    qor::Owner<QOR_LOG_S> log_;
    qor::Owner<QOR_PKT_CTX_S> ctx_;
    qor::Message message_;
    qor::Message fec_;
    qor::FecInfo parameters_;
    Bytes octets_;
    std::vector<uint8_t> writable_;
    bool listening_ = false;
    std::string reason_;
};

}  // namespace qorldp
