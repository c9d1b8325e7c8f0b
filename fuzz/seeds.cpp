// Writes the first inputs of every fuzzer: FOLDER/TARGET/NUMBER. Arguments: FOLDER, a capture.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

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
    // length and the first sequence number.
    Octets pdu =
        Behind({0, 1, 0, static_cast<uint8_t>(6 + message.size()), 10, 0, 0, 1, 0, 0}, message);
    if (pdu.size() <= 200) {
        const auto size = static_cast<uint8_t>(pdu.size());
        corpus.Add("stream", With(pdu, {size, 0, 0, 0, 0, 1}));
    }
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        return 2;
    }
    Corpus corpus(argv[1]);
    for (const auto &golden : qor::test::GoldenMessages()) {
        AddMessage(corpus, qor::test::Hex(golden.octets ? golden.octets : golden.encoded));
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
