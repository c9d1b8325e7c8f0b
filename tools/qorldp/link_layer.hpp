// From a captured frame to the LDP octets in it.
#pragma once

#include "bytes.hpp"
#include "packet.hpp"

namespace qorldp {

enum class FrameKind {
    kLdp,       // the packet was filled in
    kOther,     // no business of LDP
    kFragment,  // a piece of an IP packet that may carry LDP; pieces are not put together
    kCut,       // ends inside the headers
};

// Tells whether frames of the libpcap link type can be read.
bool LinkTypeKnown(int link_type);

// Finds TCP or UDP on port 646 in one frame: behind VLAN tags, MPLS labels, IPv4 and IPv6 extension
// headers. Fills in all of packet but its time.
FrameKind ParseFrame(int link_type, Bytes frame, Packet &packet);

}  // namespace qorldp
