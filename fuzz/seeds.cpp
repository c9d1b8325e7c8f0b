// Writes the first inputs of every fuzzer: FOLDER/TARGET/NUMBER. Arguments: FOLDER, a capture.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <utility>

#include "record_text.hpp"

using Octets = std::vector<uint8_t>;

namespace {

class Corpus {
  public:
    explicit Corpus(std::filesystem::path folder) : folder_(std::move(folder)) {}

    void Add(const std::string &target, const Octets &octets) {
        const std::filesystem::path folder = folder_ / target;
        std::filesystem::create_directories(folder);
        std::ofstream out(folder / ("seed" + std::to_string(count_[target]++)), std::ios::binary);
        out.write(reinterpret_cast<const char *>(octets.data()),
                  static_cast<std::streamsize>(octets.size()));
    }

  private:
    std::filesystem::path folder_;
    std::map<std::string, int> count_;
};

Octets With(Octets octets, std::initializer_list<uint8_t> more) {
    octets.insert(octets.end(), more);
    return octets;
}

Octets Behind(std::initializer_list<uint8_t> front, const Octets &octets) {
    Octets all(front);
    all.insert(all.end(), octets.begin(), octets.end());
    return all;
}

void AddMessage(Corpus &corpus, const Octets &message) {
    using qor::test::Word;
    for (const char *target : {"round_trip", "mutate_message"}) {
        corpus.Add(target, message);
    }
    corpus.Add("decode_message", With(message, {0, 0}));
    corpus.Add("decode_message", With(message, {1, 0}));
    // The decoders of elements find something of their own among all TLVs.
    for (size_t at = 8; at + 4 <= message.size(); at += 4U + Word(message, at + 2)) {
        const size_t end = std::min(at + 4 + Word(message, at + 2), message.size());
        const Octets tlv(message.begin() + static_cast<ptrdiff_t>(at),
                         message.begin() + static_cast<ptrdiff_t>(end));
        corpus.Add("elements", Behind({static_cast<uint8_t>(at), 0, 0}, tlv));
        corpus.Add("elements", Behind({14, 0, 0}, tlv));
    }
    // One segment: flags, octets, and at the end of the input (numbers are read from there) its
    // length, the first sequence number, and that the octets count.
    Octets pdu =
        Behind({0, 1, 0, static_cast<uint8_t>(6 + message.size()), 10, 0, 0, 1, 0, 0}, message);
    if (pdu.size() <= 200) {
        const auto size = static_cast<uint8_t>(pdu.size());
        corpus.Add("stream", With(pdu, {size, 0, 0, 0, 0, 1, 0}));
        corpus.Add("stream", With(pdu, {size, 0, 0, 0, 0, 1, 1}));
    }
}

void Put32(Octets &out, uint32_t value) {  // as a little-endian machine has it
    for (int i = 0; i < 4; ++i) {
        out.push_back(static_cast<uint8_t>(value >> 8 * i));
    }
}

void Append(Octets &out, const Octets &more) {
    out.insert(out.end(), more.begin(), more.end());
}

// A pcap file with one message in a UDP datagram of raw IP.
Octets Datagram(const Octets &message) {
    const auto octet = [](size_t n) { return static_cast<uint8_t>(n); };
    const size_t pdu = 6 + message.size(), udp = 12 + pdu, ip = 20 + udp;
    Octets file = qor::test::Hex("d4c3b2a1 0200 0400 00000000 00000000 00000400 65000000");
    for (const uint32_t word : {0U, 0U, static_cast<uint32_t>(ip), static_cast<uint32_t>(ip)}) {
        Put32(file, word);
    }
    Append(file, {0x45, 0, octet(ip >> 8), octet(ip), 0, 1, 0, 0, 64, 17, 0, 0});
    Append(file, qor::test::Hex("0a000001 0a000002 0286 0286"));
    Append(file, {octet(udp >> 8), octet(udp), 0, 0, 0, 1, octet(pdu >> 8), octet(pdu)});
    Append(file, qor::test::Hex("0a000001 0000"));
    Append(file, message);
    return file;
}

// A pcapng file of one interface with a packet of the same octets as behind a pcap file's headers.
Octets NextGeneration(const Octets &pcap) {
    constexpr size_t kHeaders = 24 + 16;
    const Octets packet(pcap.begin() + kHeaders, pcap.end());
    Octets file = qor::test::Hex(
        "0a0d0d0a 1c000000 4d3c2b1a 0100 0000 ffffffffffffffff 1c000000"
        "01000000 14000000 6500 0000 00000000 14000000 06000000");
    const size_t padding = (4 - packet.size() % 4) % 4;
    const auto size = static_cast<uint32_t>(packet.size());
    const auto block = static_cast<uint32_t>(32 + size + padding);
    for (const uint32_t word : {block, 0U, 0U, 0U, size, size}) {
        Put32(file, word);
    }
    Append(file, packet);
    Append(file, Octets(padding));
    Put32(file, block);
    return file;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        return 2;
    }
    Corpus corpus(argv[1]);
    for (const auto &golden : qor::test::GoldenMessages()) {
        const Octets message = qor::test::Hex(golden.octets ? golden.octets : golden.encoded);
        AddMessage(corpus, message);
        const Octets file = Datagram(message);
        corpus.Add("capture", file);
        corpus.Add("capture", NextGeneration(file));
    }
    for (const char *value : {"0108 000afde800000064 0104 0a000001 0104 0a000002",
                              "0108 800a01020304 0104 0a000001 0104 0a000002"}) {
        corpus.Add("fec129", With(qor::test::Hex(value), {1, 79}));
    }
    const std::string texts = "\r\n%s %n text\\ \r\r\n......\x7f\xff";
    corpus.Add("text", {texts.begin(), texts.end()});

    std::ifstream file(argv[2], std::ios::binary);
    const Octets capture{std::istreambuf_iterator<char>(file), {}};
    if (capture.empty()) {
        return 1;
    }
    corpus.Add("capture", capture);
    for (const size_t part : {2U, 4U, 8U}) {
        corpus.Add("capture", {capture.begin(),
                               capture.begin() + static_cast<ptrdiff_t>(capture.size() / part)});
    }
}
