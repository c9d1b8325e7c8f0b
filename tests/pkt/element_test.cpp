// Elements, TLVs and sub-TLVs on their own: the corners that whole messages do not reach.
#include <algorithm>
#include <cstring>

#include "codec_test.hpp"

using namespace qor::test;

namespace {

class ElementTest : public CodecTest {
  protected:
    // Calls a decoder that is told the number of its octets.
    template <class Decode, class... Out>
    uint32_t Run(Decode decode, const std::string &hex, Out... out) {
        const auto octets = Hex(hex);
        return decode(octets.data(), static_cast<uint32_t>(octets.size()), out...);
    }

    QOR_LDP_PKT_LOG_S report{&ctx, "M", kPeer, 0, 0};
};

// A Generalized PWid element that ends early, by the octets left or by its PW info length.
TEST_F(ElementTest, GeneralizedPwidCuts) {
    constexpr uint32_t kPw = QOR_LDP_ERR_PW_FEC, kAgi = QOR_LDP_ERR_AGI_LEN;
    constexpr uint32_t kSub = QOR_LDP_ERR_SUB_TLV, kAii = QOR_LDP_ERR_AII_LEN;
    const uint32_t codes[] = {kPw,  kPw,  kPw,  kPw,  kPw,  kPw,  kAgi, kAgi, kAgi,
                              kAgi, kAgi, kAgi, kAgi, kAgi, kSub, kPw,  kAii, kAii,
                              kAii, kAii, kSub, kPw,  kAii, kAii, kAii, kAii, QOR_OK};
    auto whole = Hex("81 0005 00 0108 000afde800000064 0104 00000001 0104 00000002 00*14");
    for (whole[3] = 0; whole[3] <= 40; ++whole[3])
        for (uint32_t left = 1; left <= 40; ++left) {
            const std::vector<uint8_t> element(whole.begin(), whole.begin() + left);
            const bool header = left >= 4, group = header && whole[3] == 0;
            const uint32_t length = std::min(left, whole[3] + 4u);
            QOR_LDP_PWID_FEC_INFO_S info{};
            uint32_t used = 0;
            EXPECT_EQ(QOR_LDP_PKT_DecodeVcFec129(element.data(), left, &report, &info, &used),
                      group ? QOR_OK : codes[std::min(length, 26u)])
                << left << ' ' << +whole[3];
            EXPECT_TRUE(length < 26 || (used == length && info.stKey.stFec129.ulTaii == 2));
            EXPECT_EQ(info.ucPwIdPresent, header && !group);
        }
    EXPECT_EQ(TakeLog(), "");
}

TEST_F(ElementTest, AddressElements) {
    using Decode = decltype(&QOR_LDP_PKT_DecodeAddrFec);
    const std::tuple<Decode, const char *, uint32_t, uint32_t> rows[] = {
        {QOR_LDP_PKT_DecodeWcFec, "01", QOR_OK, 1},
        {QOR_LDP_PKT_DecodeAddrFec, "02 0001 19 0a010180", QOR_OK, 8},
        {QOR_LDP_PKT_DecodeAddrFec, "02 0002 ff 00*32", QOR_OK, 36},
        {QOR_LDP_PKT_DecodeAddrFec, "02 0002 ff 00*31", QOR_LDP_ERR_ADDR_FEC, 4},
        {QOR_LDP_PKT_DecodeAddrFec, "02 0003", QOR_LDP_ERR_ADDR_FEC, 0},
        {QOR_LDP_PKT_DecodeAddrFec, "02 0100 20", QOR_LDP_ERR_FAMILY, 0},
        {QOR_LDP_PKT_DecodeHostFec, "03 0001 04 0a0000", QOR_OK, 7},
        {QOR_LDP_PKT_DecodeHostFec, "03 0001 04 0a00", QOR_LDP_ERR_ADDR_FEC, 0},
        {QOR_LDP_PKT_DecodeHostFec, "03 0001 05 0a00000100", QOR_LDP_ERR_ADDR_FEC, 0},
        {QOR_LDP_PKT_DecodeHostFec, "03 0002 10 00*16", QOR_OK, 19},
        {QOR_LDP_PKT_DecodeHostFec, "03 0003 04 00*16", QOR_LDP_ERR_FAMILY, 0}};
    for (const auto &[decode, octets, code, length] : rows) {
        uint32_t used = 0;
        EXPECT_EQ(Run(decode, octets, &report, &used), code) << octets;
        EXPECT_TRUE(length == 0 || used == length) << octets << ' ' << used;
    }
}

// Identifier lengths come from the record, values go out for type 1 only.
TEST_F(ElementTest, OddGeneralizedPwids) {
    const std::pair<std::string, const char *> rows[] = {
        {"agit=2 agil=8 sait=2 sail=4 tait=2 tail=4", "81 0005 16 0208 0204 0204 00*16"},
        {"agit=1 agil=0 sait=1 sail=0 tait=1 tail=0", "81 0005 06 0100 000a0000"},
        {"agit=1 agil=255 sait=1 sail=255 tait=1 tail=255", "81 0005 03 01ff00"}};
    for (const auto &[types, octets] : rows) {
        const TextRecord record("key=1 pwtype=5 agi_sub=10 sai=7 tai=8 " + types);
        QOR_LDP_PWID_FEC_INFO_S info{};
        info.ucPwIdPresent = 1;
        info.stKey = record.rec.stFecKey;
        std::vector<uint8_t> out(300, kFill);
        out.resize(QOR_LDP_PKT_EncodeGenPwId(out.data(), &info));
        EXPECT_EQ(HexText(out), HexText(Hex(octets)));
    }
}

TEST_F(ElementTest, SwitchingPoints) {
    std::string peers, ids;
    for (int i = 0; i < 256; ++i) peers += "0404 0a0000ff ";
    for (int i = 0; i < 11; ++i) ids += "0104 00000007 ";
    // The last numbers are those of the points told and of the peers stored.
    const std::tuple<std::string, uint32_t, uint32_t, size_t, const char *> rows[] = {
        {peers.substr(0, 12 * 14) + ids, QOR_OK, 12, 10, ""},
        {peers, QOR_OK, 0, 10, ""},
        {"0404 0a0000ff 05 02 0000", QOR_OK, 1, 1,
         "QOR PKT: DecodeSPE() <Unknown TLV, TLV Type = 5, PeerIp = 0xa000001>.\r\n"},
        {"0404 0a0000ff 01", QOR_LDP_ERR_SUB_TLV, 0, 1, ""},
        {"0404 0a0000ff 05 01 00", QOR_LDP_ERR_SUB_TLV, 0, 1, ""},
        {"0404 0a0000ff 0405 0a0000ff", QOR_LDP_ERR_SUB_TLV, 0, 1, ""},
        {"0403 0a0000", QOR_LDP_ERR_SPE_PEER_LEN, 0, 0,
         "QOR_PKT: Invalid spe tlv peer ip length 3"},
        {"0102 0000", QOR_LDP_ERR_SPE_PWID_LEN, 0, 0, "QOR_PKT: Invalid spe tlv pw id length 2"}};
    for (const auto &[octets, code, points, stored, logged] : rows) {
        SCOPED_TRACE(octets.substr(0, 40));
        uint8_t count = 99;
        std::vector<QOR_LDP_SPE_S> entries(QOR_LDP_PKT_SPE_MAX);
        EXPECT_EQ(Run(QOR_LDP_PKT_DecodeSPE, octets, &report, &count, &entries[0]), code);
        EXPECT_EQ(count, points);
        for (size_t i = 0; i < entries.size(); ++i)
            EXPECT_EQ(entries[i].ulPeerIp, i < stored ? 0x0A0000FFu : 0u) << i;
        EXPECT_TRUE(points != 12 || entries[9].ulPwId == 7);
        EXPECT_EQ(TakeLog(), logged);
    }
}

// Which MAC TLV of a message the record keeps.
#define LIST "8404 [ 010203040506 ] "
#define EMPTY "8404 [ ] "
#define PE_ID "8405 [ 0a000001 ] "
#define FLUSH "8406 [ 80 ] "
#define VENDOR "be00 [ 0003fa00 ] "
#define FLAP(word) word "[ 00001e10 aabb ] "
TEST_F(ElementTest, MacSlot) {
    const std::tuple<std::string, uint32_t, uint32_t> rows[] = {
        {LIST PE_ID, 0x404, 6},          {PE_ID LIST, 0x404, 6},
        {PE_ID EMPTY, 0x405, 4},         {EMPTY PE_ID, 0x405, 4},
        {FLUSH EMPTY, 0x406, 0},         {LIST FLUSH EMPTY, 0x406, 0},
        {FLUSH LIST EMPTY, 0x404, 0},    {LIST FLUSH PE_ID, 0x406, 0},
        {FLAP("be08") EMPTY, 0x3E08, 2}, {LIST VENDOR PE_ID EMPTY, 0x3E00, 0},
        {FLAP("be09") EMPTY, 0x3E09, 1}, {LIST PE_ID EMPTY, 0x404, 0}};
    for (const auto &[tlvs, type, length] : rows) {
        SCOPED_TRACE(tlvs);
        Decoded decoded(Hex("0301 [ 00000001 " + tlvs + "]"), ctx);
        EXPECT_EQ(decoded.code, QOR_OK);
        EXPECT_EQ(decoded.rec.ulMacTlvType, type);
        EXPECT_EQ(decoded.rec.ulMacLen, length);
        EXPECT_EQ(decoded.rec.pucMacList == nullptr, length == 0);
    }
}

TEST_F(ElementTest, Descriptions) {
    QOR_LDP_PWID_FEC_INFO_S info;
    QOR_LDP_PKT_InitPwIdFecInfo(&info);
    QOR_LDP_INTF_PARA_S &para = info.stIntfPara;
    EXPECT_EQ(para.ucRtpMode, QOR_LDP_RTP_NOT_GIVEN);
    for (const char *sub : {"0304 6162", "0302", "0303 63", "0302"})
        EXPECT_EQ(QOR_LDP_PKT_DecodeIntfDescSubTlv(Hex(sub).data(), &para, &report), QOR_OK);
    EXPECT_STREQ(para.szIntfDesc, "c");
    QOR_LDP_SIGNAL_MSG_S rec{};
    rec.ulMsgType = QOR_LDP_MSG_MAPPING;
    host.FailAllocation(1);
    QOR_LDP_PKT_FillMappingIntfDesc(&info, &report, &rec);
    EXPECT_TRUE(rec.szIntfDesc == nullptr && para.szIntfDesc != nullptr) << "not moved";
    QOR_LDP_PKT_FillMappingIntfDesc(&info, &report, &rec);
    EXPECT_TRUE(rec.szIntfDesc != nullptr && para.szIntfDesc == nullptr) << "moved";
    QOR_LDP_PKT_FillMappingIntfDesc(&info, &report, &rec);
    EXPECT_STREQ(rec.szIntfDesc, "c") << "none came";
    QOR_LDP_PKT_FreeSignalMsg(&rec, &ctx);
    EXPECT_EQ(QOR_LDP_PKT_DecodeIntfDescSubTlv(Hex("0303 63").data(), &para, &report), QOR_OK);
    QOR_LDP_PKT_ClearPwIdFecInfo(&info);
    EXPECT_TRUE(para.szIntfDesc == nullptr && para.ucRtpMode == 0);
    // Texts that do not fit a PW info length are cut; the NUL always travels.
    for (const size_t length : {1u, 243u, 244u, 245u, 600u}) {
        std::string text(length, 'd');
        para.szIntfDesc = text.data();
        para.usMtu = 1500;
        para.ucRtpMode = QOR_LDP_RTP_NOT_GIVEN;
        std::vector<uint8_t> out(1024, kFill);
        const size_t kept = std::min<size_t>(length, 251 - 4 - 3);
        EXPECT_EQ(QOR_LDP_PKT_EncodeIntfParaSubTlv(out.data(), &para, &ctx), 4 + 3 + kept);
        EXPECT_EQ(out[5], 3 + kept);
        EXPECT_EQ(memcmp(&out[4 + 2 + kept - 1], "d\0\xEE", 3), 0);
        uint8_t *cursor = out.data();
        uint32_t running = 7;
        QOR_LDP_PKT_EncodeIntfDescSubTlv(&cursor, &running, &para);
        const size_t alone = std::min<size_t>(length, 252) + 3;
        EXPECT_EQ(cursor, &out[alone]);
        EXPECT_EQ(running, 7 + alone);
    }
    para.ucRtpMode = QOR_LDP_RTP_NONE;
    EXPECT_EQ(QOR_LDP_PKT_DecodeIntfParaSubTlv(&para.ucRtpMode, 0, &para, &report), QOR_OK);
    EXPECT_EQ(para.ucRtpMode, QOR_LDP_RTP_NOT_GIVEN);
}

// What the bits of the CEP and TDM options say of RTP; the later of several counts.
TEST_F(ElementTest, RtpModes) {
    const std::pair<const char *, int> rows[] = {
        {"0504 2020", 2},           {"0504 dfdf", 0},      {"0b04 8000", 1},
        {"0b04 8001", 2},           {"0b08 7ffe 00*4", 0}, {"0b0c 0001 00*8 0504 2000", 1},
        {"0504 2000 0b04 0001", 2}, {"0104 05dc", 0xFF}};
    for (const auto &[hex, mode] : rows) {
        QOR_LDP_INTF_PARA_S para{};
        EXPECT_EQ(Run(QOR_LDP_PKT_DecodeIntfParaSubTlv, hex, &para, &report), QOR_OK);
        EXPECT_EQ(para.ucRtpMode, mode) << hex;
    }
}

TEST_F(ElementTest, StatusAndGroupTlv) {  // E and F bit are not the caller's
    for (const auto &[code, octets] : {std::pair{9u, "00000009"}, {0xC0000028, "00000028"}}) {
        std::vector<uint8_t> out(14, kFill);
        EXPECT_EQ(QOR_LDP_PKT_EncodeLdpStatusCode(out.data(), code, 0x01020304, 0x0506), 0u);
        EXPECT_EQ(HexText(out), "0300000a" + std::string(octets) + "010203040506");
        EXPECT_EQ(QOR_LDP_PKT_IsNotifySetFBit(code), 0u);
    }
    uint8_t group[8], *cursor = group;
    EXPECT_EQ(QOR_LDP_PKT_EncodeGroupIdTlv(&cursor, 0xFFFFFFFE), QOR_OK);
    EXPECT_EQ(HexText({group, cursor}), "096c0004fffffffe");
}

// The encoders write 4096 octets of data, 4096 of an error notification, and refuse MAC TLVs that
// mean nothing without data.
TEST_F(ElementTest, EncoderLimits) {
    using EncodeTlv = decltype(&QOR_LDP_PKT_EncodePwTagTlv);
    const std::tuple<EncodeTlv, const char *, int32_t> tlvs[] = {
        {QOR_LDP_PKT_EncodeMacPeIdTlv, "mac=11*4096", 4100},
        {QOR_LDP_PKT_EncodeMacPeIdTlv, "mac=11*4097", 0},
        {QOR_LDP_PKT_EncodeMacFlapTlv, "mactype=0x3e09 mac=11*4096", 4105},
        {QOR_LDP_PKT_EncodeMacFlapTlv, "mactype=0x3e09 mac=11*4097", 0},
        {QOR_LDP_PKT_EncodePwTagTlv, "tag=11*4096", 4104},
        {QOR_LDP_PKT_EncodePwTagTlv, "tag=11*4097", 0},
        {QOR_LDP_PKT_EncodePwTagTlv, "taglen=12", 8}};
    for (const auto &[encode, record, written] : tlvs) {
        const TextRecord source(record);
        std::vector<uint8_t> out(QOR_LDP_PKT_ENC_BUF_LEN);
        uint8_t *cursor = out.data();
        EXPECT_EQ(encode(&cursor, &source.rec, &ctx), QOR_OK);
        EXPECT_EQ(cursor - out.data(), written) << record;
        EXPECT_EQ(Word(out, 2), std::max(written - 4, 0)) << record;
    }
    const std::tuple<const char *, size_t, size_t> messages[] = {
        // The largest of all; unknown TLVs have no room behind 4096 octets.
        {"type=0x301 key=1 agil=8 sail=4 tail=4 agit=1 sait=1 tait=1 flags=0x2000 mactype=0x3e09 "
         "mac=00*4096 tagtype=0x3e0a tag=00*4096 path=00*4096 unknown=c1230000",
         12367, 0},
        {"type=1 flags=1 notify=00*4070", 4096, 0},
        {"type=1 flags=1 notify=00*4071", 0, 0},
        {"type=0x301 mactype=0x3e08", 0, 1},
        {"type=0x301 mactype=0x3e09", 0, 1},
        {"type=0x301 mactype=0x405", 0, 1}};
    for (const auto &[record, written, reports] : messages) {
        host.Reset();
        EXPECT_EQ(Encode(TextRecord(record).rec).size(), written);
        EXPECT_EQ(host.asserts.size(), reports) << record;
        EXPECT_EQ(host.lines.empty(), written != 12367);
    }
}

// No message is long enough for these headers, a caller's may be.
TEST_F(ElementTest, LongHeaders) {
    QOR_LDP_SIGNAL_MSG_S rec{};
    const QOR_LDP_TLV_HDR_S header{QOR_LDP_TLV_MAC_PE_ID, 4097};
    const QOR_LDP_TLV_HDR_S most{QOR_LDP_TLV_MAC_PE_ID, 4096};
    const auto value = Hex("00001e10 11*4093"), vendor = Hex("0003fa00 11*4093");
    for (const auto decode : {QOR_LDP_PKT_DecodeMacTlv, QOR_LDP_PKT_DecodeMacFlapTlv,
                              QOR_LDP_PKT_DecodeMacFlushTlv, QOR_LDP_PKT_DecodePwTagTlv})
        EXPECT_TRUE(decode(value.data(), &header, &rec, &ctx) == QOR_LDP_ERR_MAC_LEN &&
                    decode(value.data(), &most, &rec, &ctx) == QOR_OK);
    EXPECT_EQ(QOR_LDP_PKT_DecodeMacVendorFlushTlv(vendor.data(), &header, &rec, &ctx), QOR_OK);
}

// A TLV of 8 octets must end in front of the end, and what follows is not tried.
TEST_F(ElementTest, UnknownTlvRoom) {
    std::vector<uint8_t> out(128);
    const TextRecord kept("unknown= unknown=c1230000 unknown=c1230004aabbccdd unknown=c1230000");
    for (const auto &[room, written] :
         {std::pair{13, 12}, {12, 4}, {5, 4}, {4, 0}, {0, 0}, {-9, 0}, {99, 16}}) {
        uint8_t *const start = &out[16], *cursor = start;
        EXPECT_EQ(QOR_LDP_PKT_EncodeUnknownTlv(&cursor, &kept.rec, start + room, &ctx), QOR_OK);
        EXPECT_EQ(cursor - start, written) << room;
        EXPECT_EQ(TakeLog(), room == 99
                                 ? ""
                                 : "LDP PKT: The buffer is not enough when encode macwithdraw "
                                   "unknwon tlv");
    }
}

// The words of a PW tag change their order in place, at each decode and each encode; less than two
// words stay as they are.
TEST_F(ElementTest, TagWordsAreSwappedInPlace) {
    Decoded decoded(Hex("0301 [ 00000001 3e0a [ 00001e10 00000001 00000002 0304 ] ]"), ctx);
    ASSERT_EQ(decoded.rec.ulPwTagLen, 10u);
    const uint32_t words[] = {1, 2};
    EXPECT_EQ(memcmp(words, decoded.rec.pucPwTag, sizeof words), 0);
    Encode(decoded.rec);
    EXPECT_EQ(HexText({decoded.octets + 16, decoded.octets + 26}), "00000001000000020304");
    const TextRecord half("type=0x301 tagtype=0x3e0a tag=01020304050607");
    const std::string octets = HexText(Encode(half.rec));
    EXPECT_EQ(octets.substr(octets.size() - 22), "00001e1001020304050607");
}

}  // namespace
