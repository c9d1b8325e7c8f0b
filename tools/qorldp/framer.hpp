// Cutting a stream of octets into LDP PDUs and messages (RFC 5036 section 3.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bytes.hpp"

namespace qorldp {

// The header of the PDU that a message came in.
struct Pdu {
    uint32_t lsr_id;
    uint16_t label_space;
};

// What is wrong between the messages.
enum class Fault {
    kPduHeader,    // no PDU where one should start
    kMessageSize,  // a message without an ID, or longer than its PDU
    kTrailing,     // octets behind the last message of a PDU
    kCutPdu,       // the stream ends inside a PDU
    kSkipped,      // octets passed over in search of a PDU
    kGap,          // octets missing in the capture
};

// Offsets count the octets of the stream from 0, missing ones included.
class MessageSink {
  public:
    virtual ~MessageSink() = default;

    // message: the header (8 octets at least) and all octets that its length field counts.
    virtual void Message(const Pdu &pdu, Bytes message, uint64_t offset) = 0;
    // octets: how many are concerned, 0 when that cannot be said.
    virtual void Broken(Fault fault, uint64_t offset, uint64_t octets) = 0;
};

class Framer {
  public:
    // The longest PDU unless the peers agreed on another limit (RFC 5036 section 3.5.3).
    static constexpr size_t kDefaultMaxPdu = 4096;

    // Begins a stream. in_sync: a PDU starts at the first octet; else one is searched.
    void Start(bool in_sync);

    // Takes the next octets. Whole PDUs are read where they stand, only a PDU cut at the end is
    // copied.
    void Feed(Bytes data, MessageSink &sink);

    // octets of the stream are missing here: searches the next PDU behind them.
    void Gap(uint64_t octets, MessageSink &sink);

    // The stream ends. Tells a PDU that was cut.
    void End(MessageSink &sink);

    // Octets that were fed, for checks.
    uint64_t Offset() const { return offset_ + partial_.size(); }
    // Memory that the framer holds, in octets.
    size_t Held() const { return partial_.capacity(); }

  private:
    void Keep(Bytes rest);
    size_t Parse(Bytes data, bool last, MessageSink &sink);
    size_t Search(Bytes data, bool last);
    void ParsePdu(Bytes pdu, uint64_t offset, MessageSink &sink);
    void TellSkipped(MessageSink &sink);

    std::vector<uint8_t> partial_;
    uint64_t offset_ = 0;   // of the first octet that is not consumed
    uint64_t skipped_ = 0;  // octets passed over by the search so far
    bool in_sync_ = true;
};

}  // namespace qorldp
