// Rebuilding the octets of one direction of a TCP connection from captured segments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "bytes.hpp"
#include "packet.hpp"

namespace qorldp {

// Gets the rebuilt octets in order.
class ByteSink {
  public:
    virtual ~ByteSink() = default;

    // A connection starts. joined: its beginning was not captured, the first octet may be any.
    virtual void Start(bool joined, const Timestamp &time) = 0;
    virtual void Data(Bytes data, const Timestamp &time) = 0;
    // octets are missing before the next data.
    virtual void Gap(uint64_t octets, const Timestamp &time) = 0;
    // The connection is over. closed: it was ended by its sender, not by the end of the capture.
    virtual void End(bool closed, const Timestamp &time) = 0;
};

// Octets that all streams together hold back, against a limit that their owner enforces.
struct Budget {
    size_t used = 0;
};

class TcpStream {
  public:
    // Data behind a missing segment is held back up to here; then the segment counts as lost.
    static constexpr size_t kMaxHeld = 1 << 20;
    // So it does when it did not come for this long (seconds): no LDP session outlives that.
    static constexpr int64_t kMaxHoleAge = 60;
    // Sequence numbers further away belong to another connection whose SYN was not captured.
    static constexpr int64_t kWindow = 4 << 20;
    // When the SYN is missing the first captured segment need not be the first sent. So many
    // are collected, for at most so many seconds, before the lowest counts as the first.
    static constexpr size_t kJoinSegments = 4;
    static constexpr int64_t kMaxJoinAge = 1;

    explicit TcpStream(Budget &budget) : budget_(budget) {}
    TcpStream(const TcpStream &) = delete;
    TcpStream &operator=(const TcpStream &) = delete;
    ~TcpStream() { Release(held_.begin(), held_.end()); }

    void Segment(const Packet &packet, ByteSink &sink);

    // Delivers what is held back, as no more will come, and ends the connection.
    void Finish(ByteSink &sink, const Timestamp &time);

  private:
    enum class State { kIdle, kJoining, kOpen, kClosed };

    // A segment that waits. lost: octets behind data that were not captured.
    struct Held {
        std::vector<uint8_t> data;
        uint32_t lost;
        bool fin;
        Timestamp time;
    };
    using HeldMap = std::map<uint64_t, Held>;

    // Sequence numbers unwrapped to 64 bits, close to next_.
    uint64_t Unwrap(uint32_t seq) const;
    bool Near(uint64_t seq) const;

    void Syn(const Packet &packet, ByteSink &sink);
    void Open(uint64_t first, bool joined, ByteSink &sink, const Timestamp &time);
    void CommitJoin(ByteSink &sink, const Timestamp &time);
    void Hold(uint64_t seq, const Packet &packet);
    void Deliver(uint64_t seq, Bytes data, uint32_t lost, bool fin, ByteSink &sink,
                 const Timestamp &time);
    void Drain(ByteSink &sink);
    void SkipHole(ByteSink &sink, const Timestamp &time);
    void Close(bool closed, ByteSink &sink, const Timestamp &time);
    void Release(HeldMap::iterator first, HeldMap::iterator last);

    Budget &budget_;
    State state_ = State::kIdle;
    bool syn_seen_ = false;
    uint64_t first_ = 0;  // where the connection starts
    uint64_t next_ = 0;   // the octet that is delivered next
    HeldMap held_;
    size_t held_octets_ = 0;
    Timestamp held_since_;
};

}  // namespace qorldp
