// Decoding and encoding, beside the least that any decoder must do: clear a record and read the
// octets.
#include "bench.hpp"

namespace {

using namespace qor::bench;

struct Sample {
    const char *name;
    const char *octets;
    uint32_t share;  // of the mix, in percent
};

#define PWID "0100 000c 80 0005 04 00000000 00000064 "
constexpr Sample kSamples[] = {
    {"mapping",
     "0400 0000 00000001 0100 0014 80 8005 0c 00000000 00000064 0104 05dc 0c04 0102"
     "0200 0004 00000010 896a 0004 00000000",
     60},
    {"mapping FEC 129",
     "0400 0000 00000001 0100 001a 81 8005 16 0108 000afde800000064 0104 0a000001 0104 0a000002"
     "0200 0004 00000010 896a 0004 00000000 096b 0008 0104 05dc 0c04 0102",
     10},
    {"request", "0401 0000 00000001 0100 0014 80 8005 0c 00000000 00000064 0104 05dc 0c04 0102", 2},
    {"withdraw", "0402 0000 00000001 " PWID "0200 0004 00000010", 8},
    {"release", "0403 0000 00000001 " PWID "0200 0004 00000010", 8},
    {"notification", "0001 0000 00000001 0300 000a 00000028 00000001 0000 896a 0004 00000018 " PWID,
     10},
    {"MAC withdraw",
     "0301 0000 00000001 0101 0006 0001 eeeeeeee " PWID
     "8404 0012 001122334455 66778899aabb 66778899aabc",
     2},
};

void Decode(benchmark::State &state, std::vector<std::vector<uint8_t>> messages) {
    QOR_LDP_SIGNAL_MSG_S rec;
    Ring ring(messages.size());
    for (auto _ : state) {
        std::vector<uint8_t> &octets = messages[ring.Next()];
        memset(static_cast<void *>(&rec), 0, sizeof rec);
        rec.ulPeerIp = 0x0A000001;
        if (QOR_LDP_PKT_DecodeMsg(octets.data(), &rec, Codec()) != QOR_OK)
            state.SkipWithError("refused");
        benchmark::DoNotOptimize(&rec);  // of these messages nothing is to be released
    }
}

void DecodeFloor(benchmark::State &state, std::vector<std::vector<uint8_t>> messages) {
    QOR_LDP_SIGNAL_MSG_S rec;
    std::vector<uint8_t> copy(QOR_LDP_PKT_ENC_BUF_LEN);
    Ring ring(messages.size());
    for (auto _ : state) {
        const std::vector<uint8_t> &octets = messages[ring.Next()];
        memset(static_cast<void *>(&rec), 0, sizeof rec);
        benchmark::DoNotOptimize(&rec);
        memcpy(copy.data(), octets.data(), octets.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
}

// The FEC 128 element of the Label Mapping alone, into a FEC record as clear as the message's.
void DecodeElement(benchmark::State &state) {
    const auto octets = Message(kSamples[0].octets);
    const uint8_t *element = octets.data() + 12;
    QOR_LDP_PKT_LOG_S log{Codec(), "bench", 0, 0, 0};
    QOR_LDP_PWID_FEC_INFO_S info;
    for (auto _ : state) {
        memset(static_cast<void *>(&info), 0, sizeof info);
        uint32_t length = 0;
        if (QOR_LDP_PKT_DecodeVcFec128(element, 20, &log, &info, &length) != QOR_OK)
            state.SkipWithError("refused");
        benchmark::DoNotOptimize(&info);
    }
}

void Encode(benchmark::State &state, std::vector<std::vector<uint8_t>> messages) {
    std::vector<QOR_LDP_SIGNAL_MSG_S> records;
    for (auto &octets : messages)
        records.push_back(Decoded(octets));
    std::vector<uint8_t> out(QOR_LDP_PKT_ENC_BUF_LEN);
    Ring ring(records.size());
    for (auto _ : state) {
        if (QOR_LDP_PKT_EncodeMsg(out.data(), &records[ring.Next()], Codec()) == 0)
            state.SkipWithError("refused");
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    for (auto &rec : records)
        QOR_LDP_PKT_FreeSignalMsg(&rec, Codec());
}

void EncodeFloor(benchmark::State &state, std::vector<std::vector<uint8_t>> messages) {
    std::vector<uint8_t> out(QOR_LDP_PKT_ENC_BUF_LEN);
    Ring ring(messages.size());
    for (auto _ : state) {
        const std::vector<uint8_t> &octets = messages[ring.Next()];
        memcpy(out.data(), octets.data(), octets.size());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

const bool registered = [] {
    std::vector<std::vector<uint8_t>> mix;
    const auto add = [](const std::string &what,
                        const std::vector<std::vector<uint8_t>> &messages) {
        benchmark::RegisterBenchmark(("decode " + what + "/qor").c_str(), Decode, messages);
        benchmark::RegisterBenchmark(("decode " + what + "/floor").c_str(), DecodeFloor, messages);
        benchmark::RegisterBenchmark(("encode " + what + "/qor").c_str(), Encode, messages);
        benchmark::RegisterBenchmark(("encode " + what + "/floor").c_str(), EncodeFloor, messages);
    };
    for (const Sample &sample : kSamples) {
        add(sample.name, {Message(sample.octets)});
        mix.insert(mix.end(), sample.share, Message(sample.octets));
    }
    benchmark::RegisterBenchmark("decode mapping/FEC element", DecodeElement);
    std::shuffle(mix.begin(), mix.end(), std::mt19937(1));
    add("mix", mix);
    return true;
}();

}  // namespace
