// Octets and signalling records as text, so that tests are tables: "01*3 [ 0a ]" is 01 01 01 00 01
// 0a, "pwtype=5 pwid=100" is a record.
#pragma once

#include <cstdint>  // IWYU pragma: export
#include <deque>
#include <span>    // IWYU pragma: export
#include <string>  // IWYU pragma: export
#include <vector>  // IWYU pragma: export

#include "qor_pkt.h"  // IWYU pragma: export

namespace qor::test {

// The peer of every message.
constexpr uint32_t kPeer = 0x0A000001;

// Octets of a hex text. "xx*n" repeats an octet, brackets enclose what a 16-bit length in front of
// them counts.
std::vector<uint8_t> Hex(const std::string &text);

std::string HexText(const std::vector<uint8_t> &octets);

// The 16-bit number at an offset.
uint16_t Word(const std::vector<uint8_t> &octets, size_t at);

// Every field of a record that is not zero, one "name=value" a line, with the octets that its
// pointers lead to.
std::string Describe(const QOR_LDP_SIGNAL_MSG_S &rec);

inline const std::vector<uint8_t> kNoMessage(8);

// A record built from "name=value" words, with the message type and the two message ids of a
// message. Numbers are decimal or 0x; buffers are hex and set their length too; "unknown" appends a
// TLV; "desc" is text up to the next blank.
class TextRecord {
  public:
    explicit TextRecord(const std::string &text, const std::vector<uint8_t> &message = kNoMessage);
    TextRecord(const TextRecord &) = delete;
    TextRecord &operator=(const TextRecord &) = delete;

    QOR_LDP_SIGNAL_MSG_S rec{};

    // Overwrites every buffer that the record points to.
    void Scribble();

  private:
    void Set(const std::string &name, const std::string &value);
    uint8_t *Keep(const std::vector<uint8_t> &octets);

    std::deque<std::vector<uint8_t>> buffers_;
    std::deque<QOR_LDP_UNKNOWN_TLV_S> nodes_;
};

// Messages written by hand from the RFCs beside the records that stand for them.
struct Golden {
    const char *name;
    const char *octets;             // a message that decodes to the record; NULL: only encoded
    const char *record;             // see TextRecord
    const char *encoded = nullptr;  // what the record encodes to, 0xEE where octets are left alone;
                                    // NULL: the same octets
};

std::span<const Golden> GoldenMessages();

}  // namespace qor::test
