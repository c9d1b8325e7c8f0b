#include "tcp_stream.hpp"

#include <iterator>
#include <utility>

namespace qorldp {
namespace {

// Unwrapped numbers start here so that segments before the first one are not negative.
constexpr uint64_t kEpoch = uint64_t{1} << 32;

// What a held segment costs beside its octets, so that tiny segments are bounded as well.
constexpr size_t kHeldOverhead = 160;

}  // namespace

uint64_t TcpStream::Unwrap(uint32_t seq) const {
    const auto distance = static_cast<int32_t>(seq - static_cast<uint32_t>(next_));
    return next_ + static_cast<uint64_t>(static_cast<int64_t>(distance));
}

bool TcpStream::Near(uint64_t seq) const {
    const auto distance = static_cast<int64_t>(seq - next_);
    return distance >= -kWindow && distance <= kWindow;
}

void TcpStream::Segment(const Packet &packet, ByteSink &sink) {
    if (packet.rst) {
        if (state_ != State::kIdle) {
            Close(true, sink, packet.time);
        }
        return;
    }
    if (packet.syn) {
        Syn(packet, sink);
    }
    if (packet.payload.empty() && packet.missing == 0 && (!packet.fin || state_ == State::kIdle)) {
        return;
    }
    const uint32_t seq = packet.seq + (packet.syn ? 1 : 0);
    if (state_ != State::kIdle && !Near(Unwrap(seq))) {
        Finish(sink, packet.time);
        state_ = State::kIdle;
    }
    if (state_ == State::kClosed && Unwrap(seq) >= next_ && !packet.payload.empty()) {
        state_ = State::kIdle;  // the addresses and ports serve again
    }
    if (state_ == State::kIdle) {
        next_ = kEpoch + seq;
        state_ = State::kJoining;
        syn_seen_ = false;
    }
    const uint64_t start = Unwrap(seq);
    switch (state_) {
        case State::kJoining:
            Hold(start, packet);
            if (packet.fin || held_.size() >= kJoinSegments ||
                packet.time.sec - held_since_.sec > kMaxJoinAge) {
                CommitJoin(sink, packet.time);
            }
            break;
        case State::kOpen:
            if (start <= next_) {
                Deliver(start, packet.payload, packet.missing, packet.fin, sink, packet.time);
                Drain(sink);
            } else {
                Hold(start, packet);
            }
            if (held_octets_ > kMaxHeld ||
                (!held_.empty() && packet.time.sec - held_since_.sec > kMaxHoleAge)) {
                SkipHole(sink, packet.time);
            }
            break;
        case State::kIdle:
        case State::kClosed:
            break;
    }
}

void TcpStream::Finish(ByteSink &sink, const Timestamp &time) {
    if (state_ != State::kIdle) {
        Close(false, sink, time);
    }
}

void TcpStream::Syn(const Packet &packet, ByteSink &sink) {
    if (state_ == State::kJoining) {
        const uint64_t first = Unwrap(packet.seq + 1);
        // Data that overtook its SYN.
        if (Near(first) && first <= held_.begin()->first) {
            syn_seen_ = true;
            Open(first, false, sink, packet.time);
            Drain(sink);
            return;
        }
    }
    const bool repeated = (state_ == State::kOpen || state_ == State::kClosed) && syn_seen_ &&
                          static_cast<uint32_t>(first_) == packet.seq + 1;
    if (repeated) {
        return;
    }
    Finish(sink, packet.time);
    syn_seen_ = true;
    Open(kEpoch + (packet.seq + 1), false, sink, packet.time);
}

void TcpStream::Open(uint64_t first, bool joined, ByteSink &sink, const Timestamp &time) {
    state_ = State::kOpen;
    first_ = next_ = first;
    sink.Start(joined, time);
}

void TcpStream::CommitJoin(ByteSink &sink, const Timestamp &time) {
    Open(held_.begin()->first, true, sink, time);
    Drain(sink);
    held_since_ = time;
}

void TcpStream::Hold(uint64_t seq, const Packet &packet) {
    if (held_.empty()) {
        held_since_ = packet.time;
    }
    const auto at = held_.lower_bound(seq);
    if (at != held_.end() && at->first == seq) {
        // Of repeated segments the one that reaches further counts.
        if (at->second.data.size() >= packet.payload.size() && (at->second.fin || !packet.fin)) {
            return;
        }
        Release(at, std::next(at));
    }
    held_[seq] = Held{
        {packet.payload.begin(), packet.payload.end()}, packet.missing, packet.fin, packet.time};
    held_octets_ += packet.payload.size() + kHeldOverhead;
    budget_.used += packet.payload.size() + kHeldOverhead;
}

// Delivers what is new in a segment that starts at or before next_.
void TcpStream::Deliver(uint64_t seq, Bytes data, uint32_t lost, bool fin, ByteSink &sink,
                        const Timestamp &time) {
    const uint64_t end = seq + data.size() + lost;
    const uint64_t old = next_ - seq;
    if (old < data.size()) {
        next_ = seq + data.size();
        sink.Data(data.subspan(old), time);
    }
    if (next_ < end) {
        const uint64_t missing = end - next_;
        next_ = end;
        sink.Gap(missing, time);
    }
    if (fin && next_ == end) {
        Release(held_.begin(), held_.end());  // a sender has nothing behind its FIN
        Close(true, sink, time);
    }
}

void TcpStream::Drain(ByteSink &sink) {
    while (state_ == State::kOpen && !held_.empty() && held_.begin()->first <= next_) {
        const auto node = held_.begin();
        const uint64_t seq = node->first;
        const Held segment = std::move(node->second);
        held_octets_ -= segment.data.size() + kHeldOverhead;
        budget_.used -= segment.data.size() + kHeldOverhead;
        held_.erase(node);
        Deliver(seq, segment.data, segment.lost, segment.fin, sink, segment.time);
    }
}

void TcpStream::SkipHole(ByteSink &sink, const Timestamp &time) {
    const uint64_t missing = held_.begin()->first - next_;
    next_ = held_.begin()->first;
    held_since_ = time;
    sink.Gap(missing, time);
    Drain(sink);
}

void TcpStream::Close(bool closed, ByteSink &sink, const Timestamp &time) {
    if (state_ == State::kJoining) {
        CommitJoin(sink, time);
    }
    while (state_ == State::kOpen && !held_.empty()) {
        SkipHole(sink, time);
    }
    if (state_ == State::kOpen) {
        state_ = State::kClosed;
        sink.End(closed, time);
    }
    Release(held_.begin(), held_.end());
}

void TcpStream::Release(HeldMap::iterator first, HeldMap::iterator last) {
    for (auto at = first; at != last; ++at) {
        held_octets_ -= at->second.data.size() + kHeldOverhead;
        budget_.used -= at->second.data.size() + kHeldOverhead;
    }
    held_.erase(first, last);
}

}  // namespace qorldp
