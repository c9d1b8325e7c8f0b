// Faulty messages: the code of each, what the developer log and the error reports say of it, and
// that nothing is kept of it.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ios>

#include "codec_test.hpp"

using namespace qor::test;

namespace {

#define ERR(name) QOR_LDP_ERR_##name
#define ELEMENT "80 8005 04 00000009 00000064 "
#define PWID "0100 [ " ELEMENT "] "
#define GROUP129 "0100 [ 81 0005 00 ] "
#define GEN_PWID(agi, sai, tai) \
    "0100 [ 81 0005 16 " agi " 000afde800000064 " sai " 00000001 " tai " 00000002 ] "
#define LABEL "0200 [ 00000010 ] "
#define SUB(octets) GEN_PWID("0108", "0104", "0104") LABEL "096b [ " octets " ] "
#define STATUS(code) "0300 [ " code " 00000001 0000 ] "
#define PW_STATUS "096a [ 00000001 ] "
// Stands for the line of a Mapping whose FEC TLV is wrong.
#define FEC "<fec>"
#define PARA "QOR_PKT: Invalid intf para "
#define NO_PW ", PW Type 0, PW ID 0"

struct Fault {
    uint32_t type;
    std::string body;  // behind the message ID
    uint32_t code;
    std::string log = "";     // lines
    std::string reason = "";  // of the report, if there is one
};

enum : uint32_t { kNote = 0x0001, kMac = 0x0301, kMap = 0x0400, kReq, kWdr, kRel };

// clang-format off
const Fault kFaults[] = {
    {0x8404, PWID LABEL, ERR(MSG_TYPE), "QOR PKT: DecodeMsg unknwon msg type: 1028"},
    // FEC
    {kMap, LABEL "0100 [ ]", ERR(UNKNOWN_FEC), FEC},
    {kMap, "0100 [ " ELEMENT "7f ] " LABEL, ERR(UNKNOWN_FEC), FEC, "Unknown FEC Element type 0x7f"},
    {kMap, "0100 [ 01 01 02 0002 80 00*16 ]", ERR(UNKNOWN_FEC), FEC},
    {kMap, "0100 [ 80 0005 ]", ERR(PW_FEC), "QOR_PKT: Invalid fec buflen 3\n" FEC,
     "Invalid FEC length 3"},
    {kMap, "0100 [ 01 80 0005 05 00000009 00000064 ]", ERR(PW_FEC),
     "QOR_PKT: Invalid fec buflen 12, pwinfolen 5\n" FEC, "Invalid FEC length 5"},
    {kMap, "0100 [ 80 0005 f8 00000009 00000064 ]", ERR(PW_FEC),
     "QOR_PKT: Invalid fec buflen 12, pwinfolen 248\n" FEC, "Invalid FEC length 248"},
    {kMap, "0100 [ " ELEMENT "80 0005 03 00000009 00000064 ]", ERR(PW_FEC),
     "QOR_PKT: Invalid PWInfoLength 12\n" FEC},
    {kMap, "0100 [ 02 0001 21 0a000001 ]", ERR(ADDR_FEC), FEC},
    {kMap, "0100 [ 02 0003 20 ]", ERR(FAMILY), FEC},
    // A host element is walked as a prefix of 4 bits: its second address octet is the next type.
    {kMap, "0100 [ 03 0001 04 0a 7e 0001 ]", ERR(UNKNOWN_FEC), FEC,
     "Unknown FEC Element type 0x7e"},
    {kMap, "0100 [ 81 0005 16 02 ]", ERR(AGI_TYPE), FEC},
    {kMap, GEN_PWID("0107", "0104", "0104"), ERR(AGI_LEN), FEC},
    {kMap, GEN_PWID("0108", "0204", "0104"), ERR(AII_TYPE), FEC},
    {kMap, GEN_PWID("0108", "0105", "0104"), ERR(AII_LEN), FEC},
    {kMap, GEN_PWID("0108", "0104", "0103"), ERR(AII_LEN), FEC},
    {kMap, "0100 [ 81 0005 16 0108 0002fde800000064 0204 ]", ERR(AGI_SUBTYPE), FEC},
    // Interface parameters, in the element and in their TLV
    {kMap, "0100 [ 80 0005 09 00000000 00000064 0105 05dc00 ]", ERR(SUB_TLV),
     PARA "mtu length 5\n" FEC, "Invalid length of MTU 5, PW Type 5, PW ID 100"},
    {kMap, "0100 [ 80 0005 09 00000000 00000064 0303 61 6301 ]", ERR(SUB_TLV),
     PARA "sub tlv length 1, subtype 99, buflen 5, decodelen 3\n" FEC,
     "Invalid length 1 of Interface Parameter Sub-TLV 99, PW Type 5, PW ID 100"},
    {kMap, SUB("0303 61 0104 05"), ERR(SUB_TLV),
     PARA "sub tlv length 4, subtype 1, buflen 6, decodelen 3",
     "Invalid length 4 of Interface Parameter Sub-TLV 1" NO_PW},
    {kMap, SUB("0203 00"), ERR(SUB_TLV), PARA "max atm cells length 3",
     "Invalid length of Concat ATM Cells 3" NO_PW},
    {kMap, SUB("0405 000000"), ERR(SUB_TLV), PARA "payload length 5",
     "Invalid length of CEM Payload 5" NO_PW},
    {kMap, SUB("0503 00"), ERR(SUB_TLV), PARA "cem option length 3",
     "Invalid length of CEM Option 3" NO_PW},
    {kMap, SUB("0704 0000"), ERR(SUB_TLV), PARA "bitrate length 4",
     "Invalid length of CEM BitRate 4" NO_PW},
    {kMap, SUB("0902"), ERR(SUB_TLV), PARA "frag length 2", "Invalid length of fragment 2" NO_PW},
    {kMap, SUB("0c05 000000"), ERR(SUB_TLV), PARA "vccv length 5", "Invalid length of VCCV 5" NO_PW},
    {kMap, SUB("1706 00000000"), ERR(SUB_TLV), PARA "flow label length 6",
     "Invalid length of FlowLabel 6" NO_PW},
    {kMap, SUB("0b06 00000000"), ERR(SUB_TLV), PARA "tdm option length 6"},
    {kMap, SUB("0303 61 0104 05dc 01"), ERR(SUB_TLV)},
    {kMap, SUB("0602 0351 61*79"), QOR_OK,
     "QOR PKT: DecodePWidFec() <Unknown Interface Parameter Sub-TLV, Type = 6, PeerIp = "
     "0xa000001>"},
    {kMap, SUB("0352 61*80"), QOR_OK,
     "QOR_PKT: The length of interface description string (82) exceeds the maximum length (79)"},
    // Label messages
    {kMap, PWID, ERR(NO_LABEL)}, {kMap, "0100 [ 80 0005 00 00000009 ] " LABEL, ERR(NO_PW_ID)},
    {kMap, PWID "0200 [ 000010 ]", ERR(LABEL_LEN)}, {kMap, PWID "0200 [ 00000000 ]", QOR_OK},
    {kMap, PWID LABEL "096a [ 0000 ]", ERR(WORD_LEN)},
    {kMap, PWID LABEL "096c [ 0000000000 ]", ERR(WORD_LEN)},
    {kMap, PWID LABEL "096b [ 0104 05dc ] 096b [ 0104 ] 0600 [ ]", ERR(REQ_ID_LEN)},
    {kMap, PWID LABEL "7fed [ 00000000 ]", ERR(UNKNOWN_TLV),
     "LDP PKT: Decode mapping unknwon tlv: Type:16365, UBit:0, FBit:1"},
    {kMap, PWID LABEL "096d [ 0405 00000000 00 ]", QOR_OK,
     "QOR_PKT: Invalid spe tlv peer ip length 5"},
    {kReq, "0100 [ 80 0005 00 00000009 ]", ERR(NO_PW_ID)},
    {kReq, PWID LABEL, ERR(UNKNOWN_TLV),
     "LDP PKT: Decode request unknwon tlv: Type:512, UBit:0, FBit:0"},
    {kWdr, PWID "0200 [ 0000000010 ]", ERR(LABEL_LEN)},
    {kWdr, PWID "8300 [ 00*8 ]", ERR(STATUS_LEN)}, {kWdr, PWID "096c [ ]", ERR(WORD_LEN)},
    {kWdr, GROUP129 LABEL, ERR(NO_PW_ID)}, {kRel, PWID "0200 [ ]", ERR(LABEL_LEN)},
    {kRel, PWID "0300 [ 00*8 ]", ERR(REL_ADDR_LEN)}, {kRel, PWID "096c [ 00 ]", ERR(WORD_LEN)},
    {kRel, GROUP129, ERR(NO_PW_ID)},
    // Notification
    {kNote, "0300 000a 00*9", ERR(NOTIFY_LEN),
     "QOR PKT: DecodeNotificationMsg()<TlvType = 0 DecodedLen = 4 TotalLen = 17>"},
    {kNote, "0301 [ 00*10 ]", ERR(FIRST_TLV),
     "QOR PKT: DecodeNotificationMsg()TLV Type Invalid <TlvType = 769 DecodedLen = 8 TotalLen = "
     "18>"},
    {kNote, "0300 [ 00*12 ]", ERR(STATUS_LEN)}, {kNote, STATUS("80000028") PWID, ERR(NO_PW_STATUS)},
    {kNote, STATUS("00000028") PW_STATUS, ERR(NO_FEC)},
    {kNote, STATUS("00000028") GROUP129 PW_STATUS, ERR(NO_PW_ID)},
    {kNote, STATUS("00000028") "096a [ 00*8 ]", ERR(WORD_LEN)},
    {kNote, STATUS("00000028") "096c [ 000000 ]", ERR(WORD_LEN)},
    {kNote, STATUS("00000007") GROUP129 "0301 [ ] 0302 [ ] 0303 [ ] 0600 [ ]", QOR_OK},
    // MAC withdrawal
    {kMac, "0404 [ 00*7 ]", ERR(MAC_LIST_LEN)}, {kMac, "0101 [ 00 ]", ERR(ADDR_LIST)},
    {kMac, "0101 [ 0002 000000 ]", ERR(FAMILY)}, {kMac, "0101 [ 0001 000000 ]", ERR(ADDR_LIST)},
    {kMac, "0101 [ ] 0101 [ 0001 ] 0101 [ 0001 00*8 ]", QOR_OK}, {kMac, "0406 [ ]", ERR(MAC_LEN)},
    {kMac, "3e00 [ 0003fa ]", ERR(MAC_LEN)}, {kMac, "3e00 [ 0003fa01 ]", ERR(OUI)},
    {kMac, "3e08 [ 00011e10 ]", ERR(OUI)}, {kMac, "3e09 [ 00001e1005 ]", ERR(MAC_LEN)},
    {kMac, "3e0a [ 00001e10 00*7 ]", ERR(MAC_LEN)}, {kMac, "3e0a [ 10001e10 00*8 ]", ERR(OUI)},
};
// clang-format on

// How the messages differ in the one walk over their TLVs.
struct Message {
    uint32_t type;
    const char *name, *decoder;
    const char *unknown;  // as the log of an unknown TLV names it, NULL for no log
    const char *fecLog;   // of an unknown FEC element
    const char *head;     // what stands in front of the first FEC TLV
    const char *rest;     // what the message needs behind it
    bool rejects;         // unknown TLVs with a clear U bit
    bool oneFec;          // a second FEC TLV is an unknown one with a clear U bit
};

constexpr Message kMessages[] = {
    {kNote, "Label Notification Message", "Notification", "notification",
     "LDP PKT: Decode notification Fec failed retcod: 0x8005000e", STATUS("0000000c"), "", false,
     false},
    {kMac, "Mac Withdraw Message", "Macwithdraw", "macwithdraw", "", "", "", true, false},
    {kMap, "Label Mapping Message", "Mapping", "mapping", FEC, "", LABEL, true, false},
    {kReq, "Label Request Message", "Request", "request",
     "LDP PKT: Decode request Fec failed retcode: 0x8005000e", "", "", true, true},
    {kWdr, "Label Withdraw Message", "Withdraw", "withdraw",
     "QOR PKT: Decode withdraw Fec failed retcod: 0x8005000e", "", "", true, true},
    {kRel, "Label Release Message", "Release", nullptr,
     "LDP PKT: Decode release Fec failed retcode: 0x8005000e", "", "", false, true},
};

[[gnu::format(printf, 1, 2)]] std::string Print(const char *format, ...) {
    char text[256];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

class FaultTest : public CodecTest {
  protected:
    void Check(const Fault &fault) {
        const std::string hex = Print("%04x", fault.type) + "[ 00000001" + fault.body + "]";
        SCOPED_TRACE(hex);
        const auto octets = Hex(hex);
        {
            Decoded decoded(octets, ctx);
            EXPECT_EQ(decoded.code, fault.code) << std::hex << decoded.code;
            EXPECT_EQ(decoded.rec.stFecKey.stPeerAddr.aulAddr[0], kPeer);
            EXPECT_TRUE(fault.code != QOR_LDP_ERR_UNKNOWN_FEC || decoded.rec.ulGroupId == 0);
            EXPECT_TRUE(fault.code == QOR_OK ||
                        (decoded.rec.pucIntfPara == nullptr && decoded.rec.szIntfDesc == nullptr &&
                         decoded.rec.stUnknownTlvList.ulCount == 0));
        }
        std::string expected = fault.log;
        if (const size_t at = expected.find(FEC); at != std::string::npos)
            expected.replace(at, strlen(FEC),
                             Print("QOR PKT: Decode mapping FEC failed, retcode: 0x%x, "
                                   "peerip:0x%8.8x",
                                   fault.code, kPeer));
        if (fault.type == kMac &&
            fault.code != QOR_OK) {  // says so of every fault, by its last TLV
            int last = 0;
            for (size_t at = 8; at + 4 <= octets.size(); at += 4u + Word(octets, at + 2))
                last = Word(octets, at) & 0x3FFF;
            expected += std::string(expected.empty() ? "" : "\n") +
                        Print("LDP PKT: Decode DecodeMacwithdrawMsg TLV %d failed retcod: %u", last,
                              fault.code);
        }
        EXPECT_EQ(TakeLog(), expected);
        EXPECT_TRUE(host.asserts.empty());
        ASSERT_EQ(host.events.size(), fault.reason.empty() ? 0u : 1u);
        ASSERT_EQ(errorTexts.size(), host.events.size());
        for (const Event &event : host.events) {
            EXPECT_TRUE(event.cid == 0x51 && event.para == 9 && event.id == 77);
            EXPECT_EQ(event.peer, kPeer);
            EXPECT_EQ(event.reason, fault.reason);
            for (const Message &m : kMessages)
                EXPECT_TRUE(m.type != fault.type || m.name == event.message) << event.message;
            EXPECT_EQ(errorTexts[0], "MessageType=" + event.message +
                                         ", PeerIpAddress=10.0.0.1, ErrorReason=" + fault.reason);
        }
        NextCase();
    }
};

TEST_F(FaultTest, Messages) {
    for (const Fault &fault : kFaults) Check(fault);
}

TEST_F(FaultTest, EveryMessage) {
    for (const Message &m : kMessages) {
        const std::string head = m.head, whole = head + PWID + m.rest;
        const auto at = static_cast<unsigned>(8 + Hex(whole).size());
        Check({m.type, "", QOR_OK});  // a message ID and nothing else
        Check({m.type, whole + "010000", ERR(TLV_LEN)});
        for (const unsigned length : {5u, 0xFFFFu})
            Check({m.type, whole + Print("1234 %04x 00000010", length), ERR(TLV_LEN),
                   Print("QOR PKT: Decode%sMsg() ==> TLV length is invalid <TlvLen = %u, "
                         "DecodedLen = %u TotalLen = %u>.",
                         m.decoder, length, at, at + 4)});
        Check({m.type, head + "0100 [ 7f ]", ERR(UNKNOWN_FEC), m.fecLog,
               "Unknown FEC Element type 0x7f"});
        for (const unsigned word : {0x1234u, 0x5234u, 0x9234u, 0xD234u, 0x0100u, 0x8100u}) {
            const unsigned type = word & 0x3FFF;
            const bool fec = type == 0x0100, ignored = fec && !m.oneFec;
            const bool fails = (fec ? m.oneFec : m.rejects) && (word & 0x8000) == 0;
            Check({m.type, whole + Print("%04x [ 7f ]", word), fails ? ERR(UNKNOWN_TLV) : QOR_OK,
                   ignored || m.unknown == nullptr
                       ? ""
                       : Print("LDP PKT: Decode %s unknwon tlv: Type:%u, UBit:%u, FBit:%u",
                               m.unknown, type, word >> 15, word >> 14 & 1)});
        }
    }
}

// A length field of 4096 is decoded, 4097 is refused before anything is written.
TEST_F(FaultTest, LongestMessage) {
    EXPECT_EQ(Decoded(Hex("0403 [ 00000001 1234 [ 00*4088 ] ]"), ctx).code, QOR_OK);
    QOR_LDP_SIGNAL_MSG_S rec, before;
    memset(static_cast<void *>(&rec), 0x5A, sizeof rec);
    memcpy(static_cast<void *>(&before), &rec, sizeof rec);
    EXPECT_EQ(QOR_LDP_PKT_DecodeMsg(Hex("0403 1001 00000001").data(), &rec, &ctx), ERR(TLV_LEN));
    EXPECT_EQ(memcmp(&rec, &before, sizeof rec), 0);
    uint16_t type = 0, total = 0;
    EXPECT_EQ(QOR_LDP_PKT_DecodeMsgHeader(Hex("8403 ffff 00000001").data(), &type, &total), QOR_OK);
    EXPECT_EQ(type, 0x0403u);
    EXPECT_EQ(total, 3u);
}

// Reports go where they are wanted: callback and event log are independent of each other.
TEST_F(FaultTest, ReportSinks) {
    QOR_LDP_PKT_LOG_S report{&ctx, "M", kPeer, 0, 0};
    for (const uint32_t length : {127u, 3u, 128u})
        QOR_LDP_PKT_OutputErrMsg(&report, "reason", length);
    report.szMsgName = "a name of sixty characters, which is more than any message has...";
    QOR_LDP_PKT_OutputErrMsg(&report, std::string(127, 'r').c_str(), 127);
    ASSERT_EQ(errorTexts.size(), 3u);
    const std::string head = "MessageType=M, PeerIpAddress=10.0.0.1, ErrorReason=";
    EXPECT_EQ(errorTexts[0], head + "reason");
    EXPECT_EQ(errorTexts[1], head + "rea");
    EXPECT_EQ(errorTexts[2].size(), 199u);
    NextCase();

    const auto fault = Hex("0401 [ 00000001 0100 [ 7f ] ]");
    ctx.pfnErrOutput = [](const char *, uint64_t) { Platform::Get().events.clear(); };
    Decoded(fault, ctx);
    EXPECT_EQ(host.events.size(), 0u) << "the event log comes before the callback";
    ctx.pfnErrOutput = nullptr;
    Decoded(fault, ctx);
    EXPECT_EQ(host.events.size(), 1u);
    log->stCfg.ulEventId = 0;
    Decoded(fault, ctx);
    EXPECT_EQ(host.events.size(), 1u);
    EXPECT_TRUE(host.asserts.empty());
    ctx.ulLogHandle = 0;  // no log at all: each line is reported, the event log is not asked
    EXPECT_EQ(Decoded(fault, ctx).code, ERR(UNKNOWN_FEC));
    ASSERT_EQ(host.asserts.size(), 1u);
    EXPECT_EQ(host.asserts[0].file, "qor_log");
}

// What is traced at a debug level.
constexpr std::tuple<uint32_t, const char *, const char *> kTraces[] = {
    {1, "0400 [ 00000001 0100 [ 80 0005 08 00000000 00000064 0104 05dc ] " LABEL "]",
     "QOR_PKT: DecodeMsg, PeerIp:0x0a000001, MessageType:0x400, MessageLen:32\n"
     "QOR_PKT: DecodeVcFec128, FecLen:16, PWInfoLength:8\n"
     "QOR_PKT: EncodeIntfParaSubTlv, EncodeLen:4, MTU:1500, MaxAtmCells:0, PayloadBytes:0, "
     "CepOptions:0x0, BitRate:0, Fragment:0, RtpHeader:255, VCCV:0x0\n"
     "QOR_PKT: EncodePWidFecWithIntfPara, IntfParaLen:4, PWInfoLength:8\n"
     "QOR_PKT: EncodeMsg, PeerIp:0x0a000001, MessageType:0x400, PwID:100, MsgLength:36"},
    {1, "0001 [ 00000001 " STATUS("00000028") PW_STATUS PWID "]",
     "QOR_PKT: DecodeMsg, PeerIp:0x0a000001, MessageType:0x1, MessageLen:42\n"
     "QOR_PKT: DecodeVcFec128, FecLen:12, PWInfoLength:4\n"
     "QOR_PKT: EncodePWidFecWithoutIntfPara, PWInfoLength:4\n"
     "QOR_PKT: EncodeMsg, PeerIp:0x0a000001, MessageType:0x1, PwID:100, MsgLength:46"},
    {1, "0300 [ 00000001 ]",
     "QOR_PKT: DecodeMsg, PeerIp:0x0a000001, MessageType:0x300, MessageLen:4\n"
     "QOR PKT: DecodeMsg unknwon msg type: 768\n"
     "QOR PKT: Encode msg unknwon msg type: 768\n"
     "QOR_PKT: EncodeMsg, PeerIp:0x0a000001, MessageType:0x300, PwID:0, MsgLength:0"},
    {2, "0401 [ 00000001 " PWID "]", ""}};

TEST_F(FaultTest, Traces) {
    for (const auto &[level, octets, logged] : kTraces) {
        SCOPED_TRACE(octets);
        ctx.ulDebugSwitch = level;
        Decoded decoded(Hex(octets), ctx);
        EXPECT_EQ(Encode(decoded.rec).empty(), decoded.code != QOR_OK);
        EXPECT_EQ(TakeLog(), logged);
        EXPECT_EQ(host.asserts.size(), decoded.code == QOR_OK ? 0u : 1u);
        host.Reset();
    }
}

}  // namespace
