// What is told of a stream: messages, and what happened between them.
#pragma once

#include <string>
#include <string_view>

#include "bytes.hpp"
#include "framer.hpp"
#include "packet.hpp"
#include "qor.hpp"
#include "scan.hpp"

namespace qorldp {

// Sender and receiver as text, made once per stream.
struct Peers {
    explicit Peers(const Flow &flow);

    std::string src;
    std::string dst;
    std::string line;  // "address:port > address:port"
    uint16_t src_port;
    uint16_t dst_port;
};

// Where something was seen.
struct Origin {
    Timestamp time;
    const Peers &peers;
    uint32_t stream;  // number of the TCP stream, 0: a UDP datagram
    uint64_t offset;  // octet position in the stream or datagram
};

enum class MessageClass { kForeign, kPseudowire, kNotification, kMalformed };

std::string_view ClassName(MessageClass message_class);

// The result of the codec that a malformed message shows.
struct DecodeError {
    uint32_t code;
    qor::Status answer;
    std::string_view reason;
};

struct Message {
    const Origin &origin;
    const Pdu &pdu;
    Bytes octets;
    uint32_t type;
    bool u_bit;
    uint32_t id;
    MessageClass message_class;
    const DecodeError *error = nullptr;            // when the codec refused it
    const StatusTlv *status = nullptr;             // of a Notification
    const QOR_LDP_SIGNAL_MSG_S *record = nullptr;  // when the codec decoded the message
    const QOR_LDP_SIGNAL_MSG_S *fec = nullptr;     // when a pseudowire FEC element was decoded
};

struct Event {
    const Origin &origin;
    Fault fault;
    uint64_t octets;
    bool malformed;
};

std::string_view FaultKey(Fault fault);
std::string_view FaultText(Fault fault);

}  // namespace qorldp
