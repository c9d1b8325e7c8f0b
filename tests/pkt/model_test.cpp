// Records: keys and their texts, status codes, FEC 129 values, copies and releases.
#include <algorithm>
#include <bit>
#include <cstring>
#include <sstream>

#include "codec_test.hpp"

using namespace qor::test;

namespace {

class ModelTest : public CodecTest {
  protected:
    static QOR_LDP_PW_FEC_KEY_S Key(const std::string &text) {
        return TextRecord(text).rec.stFecKey;
    }
};

TEST_F(ModelTest, KeyOrder) {
    // 1 and 256 in the order of their octets in memory.
    const bool little = std::endian::native == std::endian::little;
    const std::string low = little ? "256 " : "1 ", high = little ? "1 " : "256 ";
    const std::tuple<std::string, std::string, int32_t> rows[] = {
        {"key=0 pwid=9 pwtype=9", "key=1", -1},
        {"addr0=2 pwtype=9 pwid=9", "family=1", -1},
        {"pwtype=4 pwid=9", "pwtype=5 pwid=1", -1},
        {"pwid=1 word1=3", "pwid=256 word1=2", -1},
        {"pwid=1 word1=3", "pwid=1 word1=2", 0},
        {"key=3 pwid=255", "key=3 pwid=0x80000000", -1},
        {"key=1 agit=1 agi_sub=9", "key=1 agit=2", -1},
        {"key=1 agi_sub=1 tai=1", "key=1 agi_sub=2", -1},
        {"key=1 tait=1 tai=9", "key=1 tait=2", -1},
        {"key=1 sait=9 tai=" + low, "key=1 tai=" + high, -1},
        {"key=1 sai=2 tai=1", "key=1 sai=1 tai=2", -1},
        {"key=1 sait=1 sai=9", "key=1 sait=2", -1},
        {"key=1 sai=" + low, "key=1 sai=" + high, -1},
        {"key=1 agil=8 sail=4 tail=9", "key=1 agil=1 sail=2", 0},
        {"key=2 pwid=1 addr0=1", "key=2 pwid=1 addr0=2", -1},
        {"key=2 pwid=1 addr0=2 family=1", "key=2 pwid=2 addr0=1", -1},
        {"key=2 pwid=" + low, "key=2 pwid=" + high, -1},
        {"key=6 pwid=1 word1=9 word2=2", "key=6 pwid=256", -1},
        {"key=6 pwid=1 word1=1", "key=6 pwid=1 word1=256", -1},
        {"key=6 word2=1", "key=6 word2=2", 0},
        {"key=9 word5=1", "key=9 word5=2", -1},
        {"key=1 addr0=1", "key=1 addr0=1", 0}};
    for (const auto &[lower, upper, order] : rows) {
        const auto a = Key(lower), b = Key(upper);
        EXPECT_EQ(QOR_LDP_PKT_CmpPwFecKey(&a, &b), order) << lower << " - " << upper;
        EXPECT_EQ(QOR_LDP_PKT_CmpPwFecKey(&b, &a), -order) << upper << " - " << lower;
    }
}

TEST_F(ModelTest, KeyTexts) {
    // The second half of a type 2 value is two 16-bit fields.
    QOR_LDP_PW_FEC_KEY_S inst = Key("key=2 pwid=7");
    inst.stInst.usVeId = 8;
    inst.stInst.usCeOffset = 9;
    const std::pair<QOR_LDP_PW_FEC_KEY_S, std::string> rows[] = {
        {Key("pwid=4294967295"), "4294967295"},
        {Key("key=1 agi_as2=65000 agi_num32=100 sai=0x0a000001 tai=0x0a000002"),
         "65000:100:10.0.0.1:10.0.0.1"},
        {Key("key=1 agi_type=2 agi_as4=65538 agi_num16=3 sai=1"), "1.2 : 3:0.0.0.1:0.0.0.1"},
        {inst, "instID:7, veId:8, ceOffset:9"},
        {Key("key=3 pwid=12"), "svc_12"},
        {Key("key=77 pwid=12"), ""}};
    for (const auto &[key, text] : rows) {
        for (int size = 1; size <= 64; ++size) {  // cut where the buffer ends
            std::vector<char> buf(static_cast<size_t>(size), 'x');
            ASSERT_EQ(QOR_LDP_PKT_FmtPwFec2Str(&key, buf.data(), size), buf.data());
            EXPECT_EQ(std::string(buf.data()), text.substr(0, static_cast<size_t>(size) - 1));
            EXPECT_EQ(host.asserts.empty(), text.size() < static_cast<size_t>(size)) << size;
            host.Reset();
        }
    }
}

// The last octet of each error code that stands for a status, the status and whether it is fatal.
TEST_F(ModelTest, StatusCodes) {
    std::ostringstream told;
    for (uint32_t low = 0; low <= 0xFF; ++low) {
        uint32_t fatal = 7, other = 7;
        const uint32_t status = QOR_LDP_PKT_ErrCode2StatusCode(0x80050000 + low, &fatal);
        if ((status | fatal) != 0) told << std::hex << low << '>' << status << '/' << fatal << ' ';
        EXPECT_EQ(QOR_LDP_PKT_ErrCode2StatusCode(low, &other) | other, 0u);
    }
    EXPECT_EQ(told.str(),
              "2>7/1 4>7/1 6>8/1 7>16/0 8>8/1 9>8/1 a>8/1 c>8/1 e>c/0 f>8/1 10>6/0 12>8/1 13>8/1 "
              "14>8/1 15>8/1 16>17/0 17>8/1 1f>16/0 ");
}

TEST_F(ModelTest, Fec129Values) {
    const std::pair<const char *, uint32_t> rows[] = {
        {"0108 000afde800000064 0104 0a000001 0104 0a000002", QOR_OK},
        {"0108 800a01020304 0104 0a000001 0104 0a000002", QOR_OK},
        // 0x80, 0x0A has 6 octets here: what follows is read as the SAII
        {"0108 800a010203040506 0104 0a000001 0104 0a000002", QOR_LDP_ERR_AII_TYPE},
        {"01", QOR_LDP_ERR_MAC_LEN},
        {"0208 000afde8000000", QOR_LDP_ERR_AGI_LEN},
        {"0208 000afde800000064", QOR_LDP_ERR_AGI_TYPE},
        {"0108 000afde800000064 0103 00000000", QOR_LDP_ERR_AII_LEN},
        {"0108 000afde800000064 0104 0a000001", QOR_LDP_ERR_MAC_LEN},
        {"0108 000afde800000064 0104 0a000001 0104 0a0000", QOR_LDP_ERR_AII_LEN},
        {"0108 000afde800000064 0104 0a000001 0004 0a000002", QOR_LDP_ERR_AII_TYPE}};
    for (const auto &[hex, code] : rows) {
        SCOPED_TRACE(hex);
        const auto octets = Hex(hex);
        QOR_LDP_FEC129_S value;
        memset(&value, kFill, sizeof value);
        const auto size = static_cast<uint16_t>(octets.size());
        EXPECT_EQ(QOR_LDP_PKT_ParseFec129(&value, octets.data(), size), code);
        if (code != QOR_OK) continue;
        std::vector<uint8_t> out(22, kFill);
        EXPECT_EQ(QOR_LDP_PKT_FormatFec129(&value, out.data()), octets.size());
        EXPECT_TRUE(std::equal(octets.begin(), octets.end(), out.begin())) << HexText(out);
        EXPECT_TRUE(value.stAgi.ucType != 0x80 || value.stAgi.stKetu.usWord2 == 0);
        value.ucAgiType = 2;  // governs all three
        EXPECT_EQ(QOR_LDP_PKT_FormatFec129(&value, out.data()), 6u);
        EXPECT_EQ(HexText(out).substr(0, 12), "020801040104");
    }
}

TEST_F(ModelTest, SmallOnes) {
    for (const auto &[length, valid] :
         {std::pair{0u, 0u}, {1, 1}, {4095, 1}, {4096, 0}, {65535, 0}}) {
        EXPECT_EQ(QOR_LDP_PKT_CopyTlvLenValid(static_cast<uint16_t>(length)), valid);
        EXPECT_EQ(QOR_LDP_PKT_TlvLenValid(length), valid);
        EXPECT_EQ(QOR_LDP_PKT_TlvLenValid(0x10000 + length), valid);
    }
    for (const auto &[sys, valid] : {std::pair{QOR_SYS_IP_ADDR_S{1, {}, 1}, 0u},
                                     {{1, {}, 0}, 1},
                                     {{0, {0, 1}, 1}, 1},
                                     {{0, {0, 1}, 9}, 0}})
        EXPECT_EQ(QOR_LDP_PKT_IsSysIpValid(&sys), valid);

    QOR_LDP_PW_FEC_KEY_S key = Key("key=1 sai=1 addr0=5 addr3=6");
    EXPECT_EQ(QOR_LDP_PKT_SetPwFec128(&key, &key.stPeerAddr, 5, 100), QOR_OK);
    const auto expected = Key("addr0=5 addr3=6 pwtype=5 pwid=100");
    EXPECT_EQ(memcmp(&key, &expected, sizeof key), 0);
    QOR_IP_ADDR_S addr;
    uint8_t type;
    uint32_t id;
    EXPECT_EQ(QOR_LDP_PKT_GetPwFec128(&key, &addr, &type, &id), QOR_OK);
    EXPECT_TRUE(memcmp(&addr, &key.stPeerAddr, sizeof addr) == 0 && type == 5 && id == 100);

    std::vector<uint8_t> config(offsetof(QOR_PKT_CTX_S, szFecText));  // all that may be read
    memcpy(config.data(), &ctx, config.size());
    QOR_PKT_CTX_S *made = QOR_PKT_Init(reinterpret_cast<const QOR_PKT_CTX_S *>(config.data()));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(memcmp(made, &ctx, config.size()), 0);
    EXPECT_EQ(host.allocations.back().sid, ctx.ulSid);
    EXPECT_EQ(host.allocations.back().partition, g_aucHostMemPt[2]);
    QOR_PKT_DeInit(made);
}

TEST_F(ModelTest, WhatCopiesDrop) {
    const std::string map = "type=0x400 ", note = "type=1 ", mac = "type=0x301 ";
    const std::pair<std::string, std::string> rows[] = {
        {map + "intf=07*4095", map + "intf=07*4095"},
        {map + "intf=07*4096 desc=a", map + "desc=a"},
        {map + "intflen=9", map},
        {note + "notify=0102", note + "notifylen=2"},
        {note + "flags=1 notifylen=2", note + "flags=1"},
        {mac + "mac= unknown= unknown=c1230000 tag=11", mac + "unknown=c1230000 tag=11"},
        {mac + "maclen=4 pathlen=5 taglen=6", mac}};
    for (const auto &[text, kept] : rows) {
        const TextRecord source(text), expected(kept);
        QOR_LDP_SIGNAL_MSG_S copy;
        EXPECT_EQ(QOR_LDP_PKT_CopySignalMsg(&copy, &source.rec, &ctx), QOR_OK);
        EXPECT_EQ(Describe(copy), Describe(expected.rec));
        QOR_LDP_PKT_FreeSignalMsg(&copy, &ctx);
        NextCase();
    }
    const TextRecord source("intf=0104 desc=a type=0x400");
    QOR_LDP_SIGNAL_MSG_S copy = source.rec;
    host.FailAllocation(2);  // the mapping copy alone keeps what it made
    EXPECT_EQ(QOR_LDP_PKT_CopySignalMappingMsg(&copy, &source.rec, &ctx), QOR_FAIL);
    EXPECT_TRUE(copy.szIntfDesc == nullptr && copy.pucIntfPara != nullptr &&
                copy.pucIntfPara != source.rec.pucIntfPara);
    QOR_LDP_PKT_FreeSignalMsg(&copy, &ctx);
}

// A decoded MAC withdraw points into the message and owns only the nodes of the unknown TLVs, and
// every way to release it is right.
TEST_F(ModelTest, BorrowedPointers) {
    for (const auto release : {QOR_LDP_PKT_FreeSignalMsg, QOR_LDP_PKT_FreeUnknowTlvList,
                               QOR_LDP_PKT_FreeUnknowTlvNode}) {
        Decoded decoded(Hex("0301 [ 00000001 8404 [ 010203040506 ] c104 [ 0a000001 ] "
                            "be0a [ 00001e10 00*8 ] c123 [ 00 ] d124 [ ] ]"),
                        ctx);
        ASSERT_EQ(decoded.code, QOR_OK);
        EXPECT_EQ(decoded.rec.pucMacList, decoded.octets + 12);
        EXPECT_EQ(decoded.rec.stUnknownTlvList.ulCount, 2u);
        QOR_LDP_SIGNAL_MSG_S moved = decoded.rec;  // the list head is somewhere else now
        QOR_LDP_SIGNAL_MSG_S copy;
        EXPECT_EQ(QOR_LDP_PKT_CopySignalMsg(&copy, &moved, &ctx), QOR_OK);
        EXPECT_EQ(Describe(copy), Describe(decoded.rec));
        moved.ulMsgType = QOR_LDP_MSG_MAPPING;
        QOR_LDP_PKT_FreeUnknowTlvNode(&moved, &ctx);  // of a MAC withdraw only
        EXPECT_EQ(moved.stUnknownTlvList.ulCount, 2u);
        release(&decoded.rec, &ctx);
        EXPECT_EQ(decoded.rec.stUnknownTlvList.ulCount, 0u);
        release(&decoded.rec, &ctx);
        QOR_LDP_PKT_FreeSignalMsg(&copy, &ctx);  // owns everything
        EXPECT_TRUE(copy.pucMacList == nullptr && copy.pucPathVector == nullptr &&
                    copy.pucPwTag == nullptr && copy.ulMacLen == 0);
        NextCase();
    }
}

// The decoders of single messages take no message type and still keep nothing after a failure; a
// record may be decoded into again.
TEST_F(ModelTest, DirectAndRepeatedDecodes) {
    const std::string head =
        "0400 [ 00000001 0100 [ 80 0005 0b 00000001 00000064 0307 6162636400 ] 096b [ 0104 05dc ] ";
    const auto mapping = Hex(head + "0200 [ 00000010 ] ]"), broken = Hex(head + "0200 [ 10 ] ]");
    const auto kept = Hex("0301 [ 00000001 c123 [ 00 ] 1234 [ ] ]");
    QOR_LDP_SIGNAL_MSG_S rec{};
    EXPECT_EQ(QOR_LDP_PKT_DecodeMappingMsg(broken.data(), &rec, &ctx), QOR_LDP_ERR_LABEL_LEN);
    EXPECT_EQ(QOR_LDP_PKT_DecodeMacwithdrawMsg(kept.data(), &rec, &ctx), QOR_LDP_ERR_UNKNOWN_TLV);
    EXPECT_TRUE(rec.pucIntfPara == nullptr && rec.stUnknownTlvList.ulCount == 0);
    NextCase();
    rec = {};
    EXPECT_EQ(QOR_LDP_PKT_DecodeMsg(mapping.data(), &rec, &ctx), QOR_OK);
    const std::string first = Describe(rec);
    EXPECT_EQ(QOR_LDP_PKT_DecodeMsg(mapping.data(), &rec, &ctx), QOR_OK);
    EXPECT_EQ(Describe(rec), first);
    EXPECT_STREQ(rec.szIntfDesc, "abcd");
    Encode(rec);
    for (int i = 0; i < 2; ++i) QOR_LDP_PKT_FreeSignalMsg(&rec, &ctx);
    EXPECT_TRUE(rec.szIntfDesc == nullptr && rec.pucIntfPara == nullptr && rec.usIntfParaLen == 0);
    EXPECT_EQ(QOR_LDP_PKT_DecodeMacwithdrawMsg(kept.data(), &rec, &ctx), QOR_LDP_ERR_UNKNOWN_TLV);
    // The numbers of the allocation sites are known to hosts.
    std::vector<int64_t> tags;
    for (const Allocation &a : host.allocations) tags.push_back(a.tag);
    EXPECT_EQ(tags, (std::vector<int64_t>{39, 26, 21, 39, 26, 21, 13, 57}));
}

// What a message may leave out does not come from the one before.
TEST_F(ModelTest, NothingStale) {
    QOR_LDP_SIGNAL_MSG_S rec{};
    const auto decode = [&](const char *hex) {
        rec.usFlags = rec.usMappingFlags = rec.ucSpeCount = 9;
        rec.ulAddrListWord = rec.ulMacTlvType = rec.ulMacLen = rec.ulPathVectorLen = 9;
        rec.ulPwTagType = rec.ulPwTagLen = 9;
        EXPECT_EQ(QOR_LDP_PKT_DecodeMsg(Hex(hex).data(), &rec, &ctx), QOR_OK);
        EXPECT_EQ(rec.usFlags, 0);
    };
    decode("0400 [ 00000001 0200 [ 00000010 ] ]");
    EXPECT_EQ(rec.usMappingFlags + rec.ucSpeCount, 0);
    decode("0402 [ 00000001 0200 [ 00000010 ] ]");
    EXPECT_EQ(rec.ulAddrListWord, 0u);
    decode("0301 [ 00000001 8234 [ ] ]");
    EXPECT_EQ(rec.ulMacTlvType | rec.ulMacLen | rec.ulPathVectorLen, 0u);
    EXPECT_EQ(rec.ulPwTagType | rec.ulPwTagLen, 0u);
}

}  // namespace
