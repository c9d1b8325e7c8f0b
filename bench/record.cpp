// Copies of records, and what a message costs that is full of the same thing.
#include "bench.hpp"

namespace {

using namespace qor::bench;

constexpr char kFec[] = "0100 000c 80 0005 04 00000000 00000064 ";
constexpr char kMapping[] =
    "0400 0000 00000001 0100 0014 80 8005 0c 00000000 00000064 0104 05dc 0c04 0102"
    "0200 0004 00000010 896a 0004 00000000";
constexpr char kDescribed[] =
    "0400 0000 00000001 0100 0016 80 8005 0e 00000000 00000064 0104 05dc 0306 61626364"
    "0200 0004 00000010 896a 0004 00000000";

// ---- Copy and release

void Copy(benchmark::State &state, const char *octets) {
    auto message = Message(octets);
    QOR_LDP_SIGNAL_MSG_S rec = Decoded(message), copy;
    for (auto _ : state) {
        memset(static_cast<void *>(&copy), 0, sizeof copy);
        if (QOR_LDP_PKT_CopySignalMsg(&copy, &rec, Codec()) != QOR_OK)
            state.SkipWithError("not copied");
        benchmark::DoNotOptimize(&copy);
        QOR_LDP_PKT_FreeSignalMsg(&copy, Codec());
    }
    QOR_LDP_PKT_FreeSignalMsg(&rec, Codec());
}

// The record alone, and for a description one allocation.
void Plain(benchmark::State &state, const char *octets) {
    auto message = Message(octets);
    QOR_LDP_SIGNAL_MSG_S rec = Decoded(message), copy;
    for (auto _ : state) {
        memset(static_cast<void *>(&copy), 0, sizeof copy);
        benchmark::DoNotOptimize(&copy);
        memcpy(static_cast<void *>(&copy), &rec, sizeof copy);
        if (rec.szIntfDesc)
            copy.szIntfDesc = strdup(rec.szIntfDesc);
        benchmark::DoNotOptimize(&copy);
        free(copy.szIntfDesc);
        benchmark::ClobberMemory();
    }
    QOR_LDP_PKT_FreeSignalMsg(&rec, Codec());
}

// ---- Growth

std::string Times(int64_t n, const char *octets) {
    std::string text;
    for (; n > 0; --n)
        text += octets;
    return text;
}

// Octets in front of a TLV or list, of which one length field counts what follows.
std::string Counted(const char *type, const std::string &value) {
    char length[5];
    snprintf(length, sizeof length, "%04zx", Octets(value).size());
    return type + (length + value);
}

std::string UnknownTlvs(int64_t n) {  // kept for forwarding, one node each
    return "0301 0000 00000001 0101 0006 0001 eeeeeeee " + (kFec + Times(n, "ff010000"));
}
std::string FecElements(int64_t n) {  // in front of the pseudowire's
    return "0400 0000 00000001" +
           Counted("0100", Times(n, "02000100") + "80000504 00000000 00000064") +
           "0200 0004 00000010";
}
std::string SubTlvs(int64_t n) {
    return "0400 0000 00000001 0100 001a 81 8005 16 0108 000afde800000064 0104 0a000001"
           "0104 0a000002 0200 0004 00000010" +
           Counted("096b", Times(n, "010405dc"));
}

void Many(benchmark::State &state, std::string (*make)(int64_t n)) {
    HOST_POSIX_DevLogRate(1, 1);  // unknown TLVs are logged: nearly all of these lines are dropped
    HOST_POSIX_LineSink(
        HOST_POSIX_SINK_DEVLOG, [](void *, const HOST_POSIX_LINE_S *) {}, nullptr);
    auto message = Message(make(state.range(0)));
    for (auto _ : state) {
        QOR_LDP_SIGNAL_MSG_S rec = Decoded(message);
        benchmark::DoNotOptimize(&rec);
        QOR_LDP_PKT_FreeSignalMsg(&rec, Codec());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// As many as a message of 4,096 octets holds.
void Counts(benchmark::internal::Benchmark *b) {
    b->RangeMultiplier(10)->Range(1, 1000);
}

BENCHMARK_CAPTURE(Copy, mapping, kMapping)->Name("copy and free mapping/qor");
BENCHMARK_CAPTURE(Plain, mapping, kMapping)->Name("copy and free mapping/memcpy");
BENCHMARK_CAPTURE(Copy, described, kDescribed)->Name("copy and free mapping with description/qor");
BENCHMARK_CAPTURE(Plain, described, kDescribed)
    ->Name("copy and free mapping with description/memcpy and strdup");
BENCHMARK_CAPTURE(Many, tlvs, UnknownTlvs)->Name("decode kept TLV/qor")->Apply(Counts);
BENCHMARK_CAPTURE(Many, fec, FecElements)->Name("decode FEC element/qor")->Apply(Counts);
BENCHMARK_CAPTURE(Many, sub, SubTlvs)->Name("decode sub-TLV/qor")->Apply(Counts);

}  // namespace
