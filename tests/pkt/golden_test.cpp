// Sweeps over the golden messages: both directions, copies, cuts, bent octets, failing allocations.
#include <algorithm>
#include <cstring>
#include <ios>
#include <set>

#include "codec_test.hpp"

using namespace qor::test;

namespace {

void SetWord(std::vector<uint8_t> &octets, size_t at, size_t value) {
    octets[at] = static_cast<uint8_t>(value >> 8);
    octets[at + 1] = static_cast<uint8_t>(value);
}

class GoldenTest : public CodecTest {
  protected:
    // Runs check(golden, octets) for each golden message.
    template <class F>
    void ForEach(F check) {
        for (const Golden &g : GoldenMessages()) {
            SCOPED_TRACE(g.name);
            const auto octets = Hex(g.octets ? g.octets : g.encoded);
            // A message that is told to be longer would be filled up with zeros.
            EXPECT_EQ(octets.size(), 4u + Word(octets, 2));
            check(g, octets);
            NextCase();
        }
    }

    // Decodes any message whatever. The result is a told one, nothing leaks, and what is accepted
    // survives another encode and decode.
    void Survives(const std::vector<uint8_t> &message) {
        const auto shown = static_cast<ptrdiff_t>(std::min<size_t>(message.size(), 200));
        SCOPED_TRACE(HexText({message.begin(), message.begin() + shown}));
        {
            Decoded first(message, ctx);
            ASSERT_TRUE(IsTold(first.code)) << std::hex << first.code;
            ASSERT_TRUE(host.asserts.empty());
            if (first.code == QOR_OK) CarriesOver(first.rec);
        }
        NextCase();
    }

    void CarriesOver(const QOR_LDP_SIGNAL_MSG_S &rec) {
        const std::string before = Carried(rec);
        const auto [encoding, code] = Expectation(rec);
        const std::vector<uint8_t> encoded = Encode(rec);
        ASSERT_EQ(encoded.empty(), encoding == RoundTrip::Encoding::kRefused);
        if (encoded.empty() || encoding == RoundTrip::Encoding::kUnclear) return;
        Decoded second(encoded, ctx);
        ASSERT_EQ(second.code, code);
        EXPECT_TRUE(encoding != RoundTrip::Encoding::kSame || before == Carried(second.rec))
            << before << Carried(second.rec);
    }
};

TEST_F(GoldenTest, Decode) {
    ForEach([&](const Golden &g, const std::vector<uint8_t> &octets) {
        if (g.octets == nullptr) return;
        Decoded decoded(octets, ctx);
        EXPECT_EQ(decoded.code, QOR_OK);
        EXPECT_EQ(Describe(decoded.rec), Describe(TextRecord(g.record, octets).rec));
        EXPECT_TRUE(errorTexts.empty());
    });
}

TEST_F(GoldenTest, Encode) {
    ForEach([&](const Golden &g, const std::vector<uint8_t> &octets) {
        TextRecord source(g.record, octets);
        source.rec.ulMsgId = 0x5A5A5A5A;  // not what is written
        const auto expected = g.encoded ? Hex(g.encoded) : octets;
        EXPECT_EQ(HexText(Encode(source.rec)), HexText(expected));
        EXPECT_EQ(host.asserts.size(), 0u);
        // Short of memory the description is left out; nothing else is allocated.
        host.Reset();
        host.FailAllocation(1);
        const char *lost = source.rec.szIntfDesc;
        EXPECT_EQ(Encode(source.rec).size(), expected.size() - (lost ? strlen(lost) + 3 : 0));
        EXPECT_EQ(host.allocationCalls, lost ? 1u : 0u);
        EXPECT_EQ(host.asserts.size(), host.allocationCalls);
    });
}

TEST_F(GoldenTest, CopyIsEqualAndItsOwn) {
    ForEach([&](const Golden &g, const std::vector<uint8_t> &octets) {
        TextRecord source(g.record, octets);
        const std::string before = Describe(source.rec);
        QOR_LDP_SIGNAL_MSG_S copy;
        memset(static_cast<void *>(&copy), 0xA5, sizeof copy);
        ASSERT_EQ(QOR_LDP_PKT_CopySignalMsg(&copy, &source.rec, &ctx), QOR_OK);
        EXPECT_EQ(Describe(source.rec), before);
        source.Scribble();
        // An empty buffer is not copied.
        EXPECT_EQ(Describe(copy), before.substr(0, before.find("notify=\n")));
        for (const Allocation &a : host.allocations) EXPECT_EQ(a.sid, ctx.ulSid);
        QOR_LDP_PKT_FreeSignalMsg(&copy, &ctx);
        QOR_LDP_PKT_FreeSignalMsg(&copy, &ctx);
    });
}

// A cut message is refused, unless the cut lies between two TLVs.
TEST_F(GoldenTest, CutAtEveryOctet) {
    ForEach([&](const Golden &g, const std::vector<uint8_t> &whole) {
        if (g.octets == nullptr) return;
        std::set<size_t> ends;  // of the TLVs
        for (size_t at = 8; at < whole.size(); at += 4u + Word(whole, at + 2)) ends.insert(at);
        const bool notification = Word(whole, 0) == QOR_LDP_MSG_NOTIFICATION;
        for (size_t size = 4; size < whole.size(); ++size) {
            SCOPED_TRACE(size);
            auto cut = whole;
            cut.resize(size);
            SetWord(cut, 2, size - 4);
            const uint32_t code = Decoded(cut, ctx).code;
            if (size <= 8)
                EXPECT_EQ(code, QOR_OK);
            else if (notification && size < 22)
                EXPECT_EQ(code, QOR_LDP_ERR_NOTIFY_LEN);
            else
                EXPECT_TRUE(code == QOR_LDP_ERR_TLV_LEN || ends.contains(size)) << code;
            Survives(cut);
        }
    });
}

// Each octet, length fields among them, one more, one less, all clear, all set, one bit flipped.
TEST_F(GoldenTest, BentOctets) {
    ForEach([&](const Golden &, const std::vector<uint8_t> &whole) {
        for (size_t at = 0; at < whole.size(); ++at) {
            std::set<int> values = {whole[at] + 1, whole[at] - 1, 0, 0xFF};
            for (int bit = 1; bit < 0x100; bit <<= 1) values.insert(whole[at] ^ bit);
            for (int value : values) {
                auto bent = whole;
                bent[at] = static_cast<uint8_t>(value);
                // What a longer message length counts reads as zeros.
                const size_t length = Word(bent, 2);
                if (length <= QOR_LDP_PKT_MAX_MSG_LEN && length + 4 > bent.size())
                    bent.resize(length + 4);
                ASSERT_NO_FATAL_FAILURE(Survives(bent));
            }
        }
    });
    // One that an unknown TLV fills: with an address list and a MAC list it becomes too long.
    auto full =
        Hex("0301 0000 00000001 0100 000c 80 0005 04 00000000 00000064 8404 0000 c123 0000");
    full.resize(4 + QOR_LDP_PKT_MAX_MSG_LEN);
    SetWord(full, 2, full.size() - 4);
    SetWord(full, 30, full.size() - 32);
    Survives(full);
    EXPECT_EQ(NeverMet(), "");
}

}  // namespace
