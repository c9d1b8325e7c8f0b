#include "framer.hpp"

#include "names.hpp"

namespace qorldp {
namespace {

constexpr size_t kPduHeader = 10;    // version, length, LSR ID, label space
constexpr size_t kLengthCounts = 6;  // octets of it that the length field counts
constexpr size_t kMessageHeader = 8;
constexpr uint16_t kVersion = 1;

struct PduHeader {
    uint16_t version;
    size_t size;  // of the whole PDU
};

PduHeader ReadHeader(Bytes data) {
    Reader in(data);
    const uint16_t version = in.U16();
    return {version, size_t{4} + in.U16()};
}

size_t MessageSize(Bytes message) {
    Reader in(message);
    in.Skip(2);
    return size_t{4} + in.U16();
}

// A message of a known type that ends inside its PDU: what tells a PDU from octets that look
// like its header. room: octets of the PDU from here on.
bool PlausibleMessage(Bytes data, size_t room) {
    Reader in(data);
    const uint16_t type = in.U16() & 0x7FFF;
    const size_t length = in.U16();
    return in.Ok() && length >= 4 && length + 4 <= room && MessageName(type) != nullptr;
}

bool PlausibleMessages(Bytes data) {
    while (data.size() >= kMessageHeader && PlausibleMessage(data, data.size())) {
        data = data.subspan(MessageSize(data));
    }
    return data.empty();
}

}  // namespace

void Framer::Start(bool in_sync) {
    Keep({});
    offset_ = skipped_ = 0;
    in_sync_ = in_sync;
}

void Framer::Feed(Bytes data, MessageSink &sink) {
    if (partial_.empty()) {
        const size_t used = Parse(data, false, sink);
        Keep(data.subspan(used));
        return;
    }
    partial_.insert(partial_.end(), data.begin(), data.end());
    const size_t used = Parse(partial_, false, sink);
    if (used != 0) {
        Keep(Bytes(partial_).subspan(used));
    }
}

void Framer::Gap(uint64_t octets, MessageSink &sink) {
    End(sink);
    sink.Broken(Fault::kGap, offset_, octets);
    offset_ += octets;
    in_sync_ = false;
}

void Framer::End(MessageSink &sink) {
    const size_t used = Parse(partial_, true, sink);
    const size_t rest = partial_.size() - used;
    Keep({});
    if (rest != 0) {
        TellSkipped(sink);
        sink.Broken(Fault::kCutPdu, offset_, rest);
        offset_ += rest;
    }
    TellSkipped(sink);
}

// What is left of a PDU stays in a block of its size: thousands of streams would otherwise keep the
// room of the longest PDU that each of them ever had.
void Framer::Keep(Bytes rest) {
    std::vector<uint8_t>(rest.begin(), rest.end()).swap(partial_);
}

// Reads all whole PDUs of data and returns the octets consumed. last: no more will come.
size_t Framer::Parse(Bytes data, bool last, MessageSink &sink) {
    size_t used = 0;
    const auto advance = [&](size_t octets) {
        used += octets;
        offset_ += octets;
    };
    while (used < data.size()) {
        const Bytes rest = data.subspan(used);
        if (!in_sync_) {
            const size_t passed = Search(rest, last);
            skipped_ += passed;
            advance(passed);
            if (!in_sync_) {
                break;
            }
            TellSkipped(sink);
            continue;
        }
        if (rest.size() < 4) {
            break;
        }
        const PduHeader header = ReadHeader(rest);
        bool plausible = header.version == kVersion && header.size >= kPduHeader;
        if (plausible && header.size > kDefaultMaxPdu + 4) {
            // Allowed when the peers agreed; a broken length would swallow what follows.
            if (rest.size() < kPduHeader + 4) {
                break;
            }
            plausible = PlausibleMessage(rest.subspan(kPduHeader), header.size - kPduHeader);
        }
        if (!plausible) {
            sink.Broken(Fault::kPduHeader, offset_, 0);
            in_sync_ = false;
            continue;
        }
        if (header.size > rest.size()) {
            break;
        }
        ParsePdu(rest.first(header.size), offset_, sink);
        advance(header.size);
    }
    return used;
}

// Looks for a PDU whose messages all make sense. Returns the octets in front of it and is in sync
// then; else the octets that cannot belong to one.
size_t Framer::Search(Bytes data, bool last) {
    size_t at = 0;
    for (; at + kPduHeader + 4 <= data.size(); ++at) {
        const Bytes candidate = data.subspan(at);
        const PduHeader header = ReadHeader(candidate);
        if (header.version != kVersion || header.size < kPduHeader + kMessageHeader ||
            header.size > kDefaultMaxPdu + 4 ||
            !PlausibleMessage(candidate.subspan(kPduHeader), header.size - kPduHeader)) {
            continue;
        }
        if (header.size > candidate.size()) {
            if (last) {
                continue;
            }
            return at;  // the rest of it decides
        }
        if (PlausibleMessages(candidate.subspan(kPduHeader, header.size - kPduHeader))) {
            in_sync_ = true;
            return at;
        }
    }
    return last ? data.size() : at;
}

void Framer::ParsePdu(Bytes pdu, uint64_t offset, MessageSink &sink) {
    Reader in(pdu);
    in.Skip(kPduHeader - kLengthCounts);
    Pdu header;
    header.lsr_id = in.U32();
    header.label_space = in.U16();
    while (in.Left() != 0) {
        const uint64_t at = offset + in.Position();
        if (in.Left() < kMessageHeader) {
            sink.Broken(Fault::kTrailing, at, in.Left());
            return;
        }
        const size_t size = MessageSize(in.Rest());
        if (size < kMessageHeader || size > in.Left()) {
            // Where the next message starts is unknown, where the next PDU does is not.
            sink.Broken(Fault::kMessageSize, at, in.Left());
            return;
        }
        sink.Message(header, in.Take(size), at);
    }
}

void Framer::TellSkipped(MessageSink &sink) {
    if (skipped_ != 0) {
        sink.Broken(Fault::kSkipped, offset_ - skipped_, skipped_);
        skipped_ = 0;
    }
}

}  // namespace qorldp
