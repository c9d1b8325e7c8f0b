// The way of a packet through the tool: to its TCP stream, to its PDUs, to its messages, to the
// codec and to the printer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>

#include "bytes.hpp"
#include "codec.hpp"
#include "framer.hpp"
#include "message.hpp"
#include "packet.hpp"
#include "printer.hpp"
#include "stats.hpp"
#include "tcp_stream.hpp"

namespace qorldp {

class Session {
  public:
    // The most streams at a time, and octets that they may hold back together; the stream that was
    // silent for longest is given up for a new one.
    static constexpr size_t kMaxStreams = 4096;
    static constexpr size_t kMaxHeld = 8 << 20;

    // all: show also what is no pseudowire signalling.
    Session(Codec &codec, Printer &printer, Stats &stats, bool all)
        : codec_(codec), printer_(printer), stats_(stats), all_(all) {}

    // Takes one frame of a capture.
    void Frame(int link_type, Bytes frame, const Timestamp &time);

    // The capture ends: delivers what is held back. Streams do not go on in the next capture.
    void Finish();

  private:
    struct Stream {
        Stream(const Flow &key, uint32_t number_, Budget &budget)
            : flow(key), peers(key), number(number_), tcp(budget) {}

        Flow flow;
        Peers peers;
        uint32_t number;
        TcpStream tcp;
        Framer framer;
        std::list<std::unique_ptr<Stream>>::iterator place;
    };
    class Delivery;

    Stream &Find(const Flow &flow);
    void Drop(Stream &stream);
    void Datagram(const Packet &packet);
    void Handle(const Origin &origin, const Pdu &pdu, Bytes octets);
    void Broken(const Origin &origin, Fault fault, uint64_t octets, bool malformed);

    Codec &codec_;
    Printer &printer_;
    Stats &stats_;
    bool all_;

    Budget budget_;
    std::list<std::unique_ptr<Stream>> streams_;  // the one heard last first
    std::unordered_map<Flow, Stream *, FlowHash> index_;
    Timestamp now_;
};

}  // namespace qorldp
