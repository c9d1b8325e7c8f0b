// Rebuilding streams and cutting them into messages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "framer.hpp"
#include "packet.hpp"
#include "tcp_stream.hpp"
#include "wire.hpp"

using namespace qorldp;
using namespace wire;

namespace {

// A TCP stream and a framer. log: the data of the stream as one string, with marks between for
// everything else, or the message IDs of the framer with their offsets and what it told between.
struct Harness final : ByteSink, MessageSink {
    void Start(bool joined, const Timestamp &) override { log << (joined ? "<join>" : "<start>"); }
    void Data(Bytes data, const Timestamp &) override {
        log << (data[0] == '*' ? "<big>" : std::string(data.begin(), data.end()));
    }
    void Gap(uint64_t n, const Timestamp &) override { log << '<' << n << '>'; }
    void End(bool closed, const Timestamp &) override { log << (closed ? "<closed>" : "<end>"); }
    void Message(const Pdu &pdu, Bytes message, uint64_t offset) override {
        EXPECT_EQ(pdu.lsr_id, 0x0A000001U);
        log << ' ' << int{message[7]} << '@' << offset;
    }
    void Broken(Fault fault, uint64_t offset, uint64_t octets) override {
        constexpr const char *kNames[] = {"header", "size", "trailing", "cut", "skipped", "gap"};
        log << ' ' << kNames[static_cast<size_t>(fault)] << '@' << offset << '+' << octets;
    }

    // flag: S, F or R; '@': seq is the time from now on. Dots at the end of the text are octets
    // outside the snapshot, "*" is more than may wait.
    void Send(uint32_t seq, char flag, const std::string &text) {
        packet.time.sec = flag == '@' ? seq : packet.time.sec;
        packet.seq = seq;
        packet.syn = flag == 'S';
        packet.fin = flag == 'F';
        packet.rst = flag == 'R';
        const Octets block = text == "*" ? Octets(TcpStream::kMaxHeld, '*')
                                         : Octets(text.begin(), std::ranges::find(text, '.'));
        packet.payload = block;
        packet.missing = static_cast<uint32_t>(std::ranges::count(text, '.'));
        tcp.Segment(packet, *this);
    }
    std::string Finish() {
        tcp.Finish(*this, {});
        EXPECT_EQ(budget.used, 0U);
        return log.str();
    }

    Packet packet;
    Budget budget;
    TcpStream tcp{budget};
    Framer framer;
    std::ostringstream log;
};

TEST(StreamTest, AnyOrderRepetitionAndOverlapGiveTheOriginal) {
    for (uint32_t seed = 0; seed < 300; ++seed) {
        std::mt19937 rng(seed);
        const auto up_to = [&](size_t n) { return rng() % (n + 1); };
        std::string original(3000 + up_to(3000), ' ');
        std::ranges::generate(original, [&] { return static_cast<char>('a' + rng() % 26); });
        const auto isn = static_cast<uint32_t>(seed % 2 == 0 ? 0U - up_to(5000) : rng());
        std::vector<std::pair<size_t, size_t>> segments;
        for (size_t at = 0; at < original.size(); at += segments.back().second)
            segments.emplace_back(at, std::min(original.size() - at, 1 + up_to(200)));
        for (size_t i = segments.size() / 4; i > 0; --i)
            segments.emplace_back(up_to(original.size() - 1), 1 + up_to(400));
        // Without a SYN what comes too late for the start is lost: only neighbours swap.
        const bool syn = seed % 3 != 0;
        const size_t window = syn ? segments.size() : 2;
        for (size_t i = 0; i < segments.size(); i += window) {
            std::ranges::shuffle(
                std::span(segments).subspan(i, std::min(window, segments.size() - i)), rng);
        }
        Harness stream;
        stream.Send(isn, syn ? 'S' : ' ', "");
        for (const auto &[at, length] : segments)
            stream.Send(isn + 1 + static_cast<uint32_t>(at), ' ', original.substr(at, length));
        ASSERT_EQ(stream.Finish(), (syn ? "<start>" : "<join>") + original + "<end>") << seed;
    }
}

TEST(StreamTest, GapsConnectionsAndLateSyns) {
    // Segments as sequence number, flag or ':', and data.
    constexpr const char *kCases[][2] = {
        {"100S 101:ab 106:fg 108:h 90000000:z", "<start>ab<3>fgh<end><join>z<end>"},
        {"100S 101:ab........ 111:cd", "<start>ab<8>cd<end>"},
        {"100S 102:b 102:bc 101:a", "<start>abc<end>"},
        {"100S 5@ 102:b 65@ 103:c 101:a", "<start>abc<end>"},
        {"100S 5@ 102:b 66@ 103:c 101:a", "<start><1>bc<end>"},
        {"100S 102:* 101:a", "<start><1><big><end>"},
        {"103:cd 101:ab 100S", "<start>abcd<end>"},
        {"100S 103:cd 108:h 101Fabcdef", "<start>abcdef<closed>"},
        // A repeated SYN and late copies are no new connection, data far away is.
        {"100S 101:ab 100S 103Fc 101:ab 104F 5000S 5001:de 5003R 90000000:f",
         "<start>abc<closed><start>de<closed><join>f<end>"},
    };
    for (const auto &[script, log] : kCases) {
        Harness stream;
        std::istringstream words(script);
        uint32_t number = 0;
        char flag = ' ';
        for (std::string text; words >> number >> flag;) {
            std::getline(words, text, ' ');
            stream.Send(number, flag, text);
        }
        EXPECT_EQ(stream.Finish(), log) << script;
    }
}

// What is told of octets that come in two pieces, with a gap between them when it is not 0.
std::string Framed(const Octets &octets, size_t first_piece, bool in_sync, uint64_t gap = 0) {
    Harness harness;
    harness.framer.Start(in_sync);
    harness.framer.Feed(Part(octets, 0, first_piece), harness);
    if (gap != 0) harness.framer.Gap(gap, harness);
    harness.framer.Feed(Part(octets, first_piece, octets.size()), harness);
    harness.framer.End(harness);
    return harness.log.str();
}

const Octets kMessage = U32(0x02010004) + U32(9);
const Octets kPdu = PduOf(kMessage);
const Octets kTwoPdus = PduOf(kMessage + U32(0x02010004) + U32(8)) + kPdu;

TEST(FramerTest, FaultsAreToldAndReadingGoesOnWhereverTheStreamIsCut) {
    const std::tuple<const char *, bool, Octets, const char *> kCases[] = {
        {"two PDUs", true, kTwoPdus, " 9@10 8@18 9@36"},
        {"joined at a PDU", false, kTwoPdus, " 9@10 8@18 9@36"},
        {"joined after the version", false, Part(kTwoPdus, 2, 44), " skipped@0+24 9@34"},
        {"joined in a message", false, Part(kTwoPdus, 13, 44), " skipped@0+13 9@23"},
        {"version", true, U16(2) + U16(14) + Octets(14) + kPdu, " header@0+0 skipped@0+18 9@28"},
        {"PDU too short", true, U16(1) + U16(5) + kPdu, " header@0+0 skipped@0+4 9@14"},
        {"PDU too long", true, U32(0x1FFFF) + Octets(20) + kPdu, " header@0+0 skipped@0+24 9@34"},
        {"message too long", true, PduOf(U32(0x02010032) + U32(1)) + kPdu, " size@10+8 9@28"},
        {"message without ID", true, PduOf(U32(0x02010003) + U32(1)) + kPdu, " size@10+8 9@28"},
        {"trailing", true, PduOf(kMessage + Octets(3)) + kPdu, " 9@10 trailing@18+3 9@31"},
        {"no message", true, PduOf({}) + kPdu, " 9@20"},
        {"end inside a PDU", true, kPdu + Part(kPdu, 0, 17), " 9@10 cut@18+17"},
        {"only garbage", true, Octets(40), " header@0+0 skipped@0+40"},
        {"odd message", false, PduOf(kMessage + Octets(10, 0xEE)) + kPdu, " skipped@0+28 9@38"},
        {"never ends", false, U32(0x101F4) + Octets(6) + kMessage + kPdu, " skipped@0+18 9@28"},
    };
    for (const auto &[name, in_sync, octets, log] : kCases)
        for (size_t at = 0; at <= octets.size(); ++at)
            EXPECT_EQ(Framed(octets, at, in_sync), log) << name << " cut at " << at;
}

TEST(FramerTest, GapEndsThePduKeepsTheOffsetAndNeedsASearch) {
    EXPECT_EQ(Framed(Part(kTwoPdus, 0, 12) + Part(kTwoPdus, 20, 44), 12, true, 100),
              " cut@0+12 gap@12+100 skipped@112+6 9@128");
}

}  // namespace
