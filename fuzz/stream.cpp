// Segments of one connection in any order, with any flags, overlapping and missing: what the
// framer gets is counted right, all that was held back is given back, and where each octet tells
// its place, each comes in its place.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <span>
#include <vector>

#include "bytes.hpp"
#include "framer.hpp"
#include "packet.hpp"
#include "tcp_stream.hpp"

using namespace qorldp;

namespace {

void Check(bool condition) {
    if (!condition) {
        abort();
    }
}

class Receiver final : public ByteSink, public MessageSink {
  public:
    // placed: the octets of the segments are the low octets of their sequence numbers.
    explicit Receiver(bool placed) : placed_(placed) {}

    void Start(bool joined, const Timestamp &) override {
        Check(!open_);
        open_ = true;
        octets_ = 0;
        next_ = -1;
        framer_.Start(!joined);
    }
    void Data(Bytes data, const Timestamp &) override {
        Check(open_ && !data.empty());
        if (placed_) {
            for (const uint8_t octet : data) {
                Check(next_ < 0 || octet == next_);
                next_ = (octet + 1) & 0xFF;
            }
        }
        octets_ += data.size();
        framer_.Feed(data, *this);
        Check(framer_.Held() <= 2 * kLongestPdu && framer_.Offset() == octets_);
    }
    void Gap(uint64_t octets, const Timestamp &) override {
        Check(open_ && octets != 0);
        octets_ += octets;
        if (next_ >= 0) {
            next_ = static_cast<uint8_t>(static_cast<uint64_t>(next_) + octets);
        }
        framer_.Gap(octets, *this);
        Check(framer_.Held() == 0 && framer_.Offset() == octets_);
    }
    void End(bool, const Timestamp &) override {
        Check(open_);
        open_ = false;
        framer_.End(*this);
        Check(framer_.Held() == 0 && framer_.Offset() == octets_);
    }
    void Message(const Pdu &, Bytes message, uint64_t offset) override {
        Check(message.size() >= 8 && offset + message.size() <= octets_);
        Check(message.size() == size_t{4} + (size_t{message[2]} << 8 | message[3]));
    }
    void Broken(Fault fault, uint64_t offset, uint64_t) override {
        Check(offset <= octets_ || fault == Fault::kGap);
    }
    bool Open() const { return open_; }

  private:
    static constexpr size_t kLongestPdu = 4 + 0xFFFF;
    Framer framer_;
    const bool placed_;
    bool open_ = false;
    uint64_t octets_ = 0;
    int next_ = -1;  // the octet that must come next, when placed; -1 any
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider in(data, size);
    Budget budget;
    const bool placed = in.ConsumeBool();
    Receiver receiver(placed);
    TcpStream stream(budget);
    uint32_t seq = in.ConsumeIntegral<uint32_t>();
    Packet packet;
    while (in.remaining_bytes() != 0) {
        const auto flags = in.ConsumeIntegral<uint8_t>();
        // Mostly what follows, sometimes a little off, sometimes anywhere.
        if (flags & 0x10) {
            seq += static_cast<uint32_t>(in.ConsumeIntegral<int8_t>());
        } else if (flags & 0x20) {
            seq = in.ConsumeIntegral<uint32_t>();
        }
        auto payload = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange<size_t>(0, 200));
        packet.syn = (flags & 7) == 1;
        if (placed) {
            std::iota(payload.begin(), payload.end(),
                      static_cast<uint8_t>(seq + (packet.syn ? 1 : 0)));
        }
        packet.fin = (flags & 7) == 2;
        packet.rst = (flags & 7) == 3;
        packet.missing = (flags & 7) == 4 ? in.ConsumeIntegral<uint8_t>() : 0;
        packet.time.sec += flags >> 6 == 3 ? 100 : flags >> 6;
        packet.seq = seq;
        packet.payload = payload;
        stream.Segment(packet, receiver);
        Check(budget.used <= TcpStream::kMaxHeld + 1024);
        seq += static_cast<uint32_t>(payload.size()) + packet.missing + (packet.syn ? 1 : 0);
    }
    stream.Finish(receiver, packet.time);
    Check(!receiver.Open() && budget.used == 0);
    return 0;
}
