#include "session.hpp"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "link_layer.hpp"
#include "qor.hpp"
#include "scan.hpp"

namespace qorldp {
namespace {

// Whether the record of a decoded message has all of its FEC element: key, C bit and group ID.
bool KeepsFec(const QOR_LDP_SIGNAL_MSG_S &record) {
    switch (record.ulMsgType) {
        case QOR_LDP_MSG_MAPPING:
        case QOR_LDP_MSG_WITHDRAW:
        case QOR_LDP_MSG_RELEASE:
            return true;
        case QOR_LDP_MSG_NOTIFICATION:
            return (record.usFlags & QOR_LDP_FLAG_ERR_NOTIFY) == 0;
        default:
            return false;
    }
}

}  // namespace

// Receives the octets of one stream, hands them to its framer, and the framer's messages to the
// session with the place where they were found.
class Session::Delivery final : public ByteSink, public MessageSink {
  public:
    Delivery(Session &session, Stream &stream) : session_(session), stream_(stream) {}

    void Start(bool joined, const Timestamp &time) override {
        time_ = time;
        ++session_.stats_.sessions;
        stream_.framer.Start(!joined);
    }

    void Data(Bytes data, const Timestamp &time) override {
        time_ = time;
        stream_.framer.Feed(data, *this);
    }

    void Gap(uint64_t octets, const Timestamp &time) override {
        time_ = time;
        stream_.framer.Gap(octets, *this);
    }

    void End(bool /*closed*/, const Timestamp &time) override {
        time_ = time;
        stream_.framer.End(*this);
    }

    void Message(const Pdu &pdu, Bytes message, uint64_t offset) override {
        session_.Handle({time_, stream_.peers, stream_.number, offset}, pdu, message);
    }

    void Broken(Fault fault, uint64_t offset, uint64_t octets) override {
        const bool malformed =
            fault == Fault::kPduHeader || fault == Fault::kMessageSize || fault == Fault::kTrailing;
        session_.Broken({time_, stream_.peers, stream_.number, offset}, fault, octets, malformed);
    }

  private:
    Session &session_;
    Stream &stream_;
    Timestamp time_;
};

void Session::Frame(int link_type, Bytes frame, const Timestamp &time) {
    ++stats_.packets;
    Packet packet;
    packet.time = now_ = time;
    switch (ParseFrame(link_type, frame, packet)) {
        case FrameKind::kOther:
            return;
        case FrameKind::kFragment:
            ++stats_.fragments;
            return;
        case FrameKind::kCut:
            ++stats_.cut_packets;
            return;
        case FrameKind::kLdp:
            break;
    }
    ++stats_.ldp_packets;
    if (!packet.tcp) {
        Datagram(packet);
        return;
    }
    Stream &stream = Find(packet.flow);
    Delivery delivery(*this, stream);
    const size_t held = stream.framer.Held();
    stream.tcp.Segment(packet, delivery);
    budget_.used += stream.framer.Held() - held;
    while (budget_.used > kMaxHeld && !streams_.empty()) {
        Drop(*streams_.back());
        ++stats_.dropped_streams;
    }
}

void Session::Finish() {
    // In the order in which the streams began.
    std::vector<Stream *> order;
    for (const auto &stream : streams_) {
        order.push_back(stream.get());
    }
    std::ranges::sort(order, {}, &Stream::number);
    for (Stream *const stream : order) {
        Drop(*stream);
    }
}

Session::Stream &Session::Find(const Flow &flow) {
    if (!streams_.empty() && streams_.front()->flow == flow) {
        return *streams_.front();
    }
    if (const auto known = index_.find(flow); known != index_.end()) {
        streams_.splice(streams_.begin(), streams_, known->second->place);
        return *known->second;
    }
    if (streams_.size() == kMaxStreams) {
        Drop(*streams_.back());
        ++stats_.dropped_streams;
    }
    const auto number = static_cast<uint32_t>(++stats_.streams);
    streams_.push_front(std::make_unique<Stream>(flow, number, budget_));
    Stream &stream = *streams_.front();
    stream.place = streams_.begin();
    index_[flow] = &stream;
    return stream;
}

void Session::Drop(Stream &stream) {
    Delivery delivery(*this, stream);
    const size_t held = stream.framer.Held();
    stream.tcp.Finish(delivery, now_);
    budget_.used -= held;
    index_.erase(stream.flow);
    streams_.erase(stream.place);
}

// A UDP datagram holds whole PDUs, as a rule one Hello (RFC 5036 section 2.4).
void Session::Datagram(const Packet &packet) {
    class Sink final : public MessageSink {
      public:
        Sink(Session &session, const Packet &packet)
            : session_(session), packet_(packet), peers_(packet.flow) {}

        void Message(const Pdu &pdu, Bytes message, uint64_t offset) override {
            session_.Handle({packet_.time, peers_, 0, offset}, pdu, message);
        }

        void Broken(Fault fault, uint64_t offset, uint64_t octets) override {
            // A PDU that the capture has not whole is no fault of the sender.
            const bool cut = packet_.missing != 0 && fault == Fault::kCutPdu;
            const bool malformed = !cut && fault != Fault::kSkipped;
            session_.Broken({packet_.time, peers_, 0, offset}, fault, octets, malformed);
        }

      private:
        Session &session_;
        const Packet &packet_;
        Peers peers_;
    };
    Sink sink(*this, packet);
    Framer framer;
    framer.Feed(packet.payload, sink);
    framer.End(sink);
}

void Session::Handle(const Origin &origin, const Pdu &pdu, Bytes octets) {
    Reader in(octets);
    const uint16_t type_word = in.U16();
    const uint32_t type = type_word & 0x7FFFU;
    in.Skip(2);
    const uint32_t id = in.U32();
    TypeCount &count = stats_.types[type];
    ++count.total;

    const Scan scan = ScanMessage(octets);
    const Treatment treatment = Classify(type, scan);
    if (treatment == Treatment::kForeign && !all_) {
        return;
    }
    qorldp::Message message{.origin = origin,
                            .pdu = pdu,
                            .octets = octets,
                            .type = type,
                            .u_bit = (type_word & 0x8000) != 0,
                            .id = id,
                            .message_class = MessageClass::kForeign,
                            .status = scan.status ? &*scan.status : nullptr};
    std::optional<DecodeError> error;
    const uint32_t peer = pdu.lsr_id;
    bool decoded = false;
    if (treatment == Treatment::kDecode) {
        const qor::Result result = codec_.Decode(octets, peer);
        decoded = static_cast<bool>(result);
        if (decoded) {
            message.record = &codec_.Record();
        } else {
            error = DecodeError{result.code, result.status(), codec_.Reason()};
            message.error = &*error;
            ++stats_.errors[result.code];
            ++count.malformed;
        }
    }
    if (scan.pw_element) {
        ++count.pseudowire;
        message.fec = decoded && KeepsFec(codec_.Record()) ? message.record
                                                           : codec_.DecodeFec(scan.first_fec, peer);
    }
    if (error) {
        message.message_class = MessageClass::kMalformed;
    } else if (treatment != Treatment::kForeign) {
        message.message_class = type == QOR_LDP_MSG_NOTIFICATION && !scan.pw_element
                                    ? MessageClass::kNotification
                                    : MessageClass::kPseudowire;
    }
    printer_.Print(message);
}

void Session::Broken(const Origin &origin, Fault fault, uint64_t octets, bool malformed) {
    switch (fault) {
        case Fault::kGap:
            ++stats_.gaps;
            stats_.octets_lost += octets;
            break;
        case Fault::kSkipped:
            stats_.octets_skipped += octets;
            break;
        case Fault::kCutPdu:
            ++stats_.cut_pdus;
            break;
        case Fault::kPduHeader:
        case Fault::kMessageSize:
        case Fault::kTrailing:
            break;
    }
    if (malformed) {
        ++stats_.framing_errors;
    }
    printer_.Print(Event{origin, fault, octets, malformed});
}

}  // namespace qorldp
