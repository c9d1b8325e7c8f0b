#include "message.hpp"

#include <arpa/inet.h>

#include <array>

namespace qorldp {
namespace {

std::string AddressText(const IpAddress &address) {
    char text[INET6_ADDRSTRLEN];
    inet_ntop(address.v6 ? AF_INET6 : AF_INET, address.octets.data(), text, sizeof text);
    return text;
}

std::string EndpointText(const IpAddress &address, uint16_t port) {
    const std::string text = AddressText(address);
    return (address.v6 ? "[" + text + "]" : text) + ":" + std::to_string(port);
}

struct FaultRow {
    std::string_view key;
    std::string_view text;
};

constexpr FaultRow kFaults[] = {
    {"pdu-header", "no LDP PDU where one should start"},
    {"message-length", "octets of a message without an ID or longer than its PDU"},
    {"trailing", "octets behind the last message of a PDU"},
    {"cut-pdu", "octets of a PDU whose end is missing"},
    {"skipped", "octets passed over in search of a PDU"},
    {"gap", "octets missing in the capture"},
};

}  // namespace

Peers::Peers(const Flow &flow)
    : src(AddressText(flow.src)),
      dst(AddressText(flow.dst)),
      line(EndpointText(flow.src, flow.src_port) + " > " + EndpointText(flow.dst, flow.dst_port)),
      src_port(flow.src_port),
      dst_port(flow.dst_port) {}

std::string_view ClassName(MessageClass message_class) {
    constexpr std::string_view kNames[] = {"other", "pseudowire", "notification", "malformed"};
    return kNames[static_cast<size_t>(message_class)];
}

std::string_view FaultKey(Fault fault) {
    return kFaults[static_cast<size_t>(fault)].key;
}

std::string_view FaultText(Fault fault) {
    return kFaults[static_cast<size_t>(fault)].text;
}

}  // namespace qorldp
