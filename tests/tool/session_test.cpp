// Messages in, shown messages out: what counts as pseudowire signalling, what as malformed.
#include "session.hpp"

#include <gtest/gtest.h>
#include <pcap/dlt.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <tuple>

#include "capture.hpp"
#include "output.hpp"
#include "qor_pkt_record.h"
#include "wire.hpp"

using namespace qorldp;
using namespace wire;
using enum MessageClass;
using enum Capture::Next;

namespace {

struct SessionTest : testing::Test {
    // Sends messages in one PDU, its head last, on a connection of their own; returns what is
    // shown.
    std::string Show(const Octets &messages, bool all = false) {
        out.Clear();
        stats = {};
        Session session(codec, *printer, stats, all);
        const Octets pdu = PduOf(messages);
        session.Frame(DLT_RAW, Ipv4(6, Tcp(0, 2, {})), {});
        session.Frame(DLT_RAW, Ipv4(6, Tcp(4, 0x18, Part(pdu, 3, pdu.size()))), {});
        session.Frame(DLT_RAW, Ipv4(6, Tcp(1, 0x18, Part(pdu, 0, 3))), {});
        session.Finish();
        return std::string(out.Text());
    }
    void ExpectShown(size_t type, const Octets &tlvs, std::string_view part) {
        const std::string shown = Show(Message(type, tlvs), true);
        EXPECT_NE(shown.find(part), std::string::npos) << shown << part;
    }
    static Octets Message(size_t type, const Octets &tlvs) {
        return U16(type) + U16(tlvs.size() + 4) + U32(1) + tlvs;
    }
    static Octets Tlv(size_t type, const Octets &v) { return U16(type) + U16(v.size()) + v; }
    static Octets Fec(const Octets &elements) { return Tlv(0x0100, elements); }
    static Octets Status(size_t code) { return Tlv(0x0300, U32(code) + U32(9) + U16(0x0400)); }

    static inline const Octets kPwid = {0x80, 0x80, 5, 4, 0, 0, 0, 5, 0, 0, 0, 7};
    static inline const Octets kPwFec = Fec(kPwid);
    static inline const Octets kLabel = Tlv(0x0200, U32(16));
    static inline const Octets kPrefix = {2, 0, 1, 20, 10, 1, 0x20};
    static inline const Octets kTypedPw = {5, 0x80, 2, 0, 5};
    static inline const Octets kAddresses = Tlv(0x0101, U16(1) + U32(0x0A000001));
    static inline const Octets kPwStatus = Tlv(0x896A, U32(1));

    Output out{-1};
    Codec codec;
    std::unique_ptr<Printer> printer = MakeJsonPrinter(out, codec);
    Stats stats;
};

TEST_F(SessionTest, Classes) {
    constexpr uint32_t kUnknownFec = QOR_LDP_ERR_UNKNOWN_FEC;
    const struct {
        const char *name;
        size_t type;
        Octets tlvs;
        MessageClass kind;
        uint32_t code = 0;
    } kCases[] = {
        {"host, prefix", 0x0400, Fec(Octets{3, 0, 1, 4, 10, 1, 2, 3} + kPrefix) + kLabel, kForeign},
        {"multipoint", 0x0400, Fec({6, 0, 1, 4, 10, 0, 0, 1, 0, 3, 1, 2, 3}) + kLabel, kForeign},
        {"prefix, PW", 0x0400, Fec(kPrefix + kPwid) + kLabel, kPseudowire},
        {"unknown, PW", 0x0400, Fec(Octets{0x7F} + kPwid) + kLabel, kMalformed, kUnknownFec},
        {"empty FEC", 0x0400, Fec({}) + kLabel, kMalformed, kUnknownFec},
        {"cut prefix", 0x0400, Fec({2, 0, 1, 24, 10}) + kLabel, kMalformed, QOR_LDP_ERR_ADDR_FEC},
        {"prefix, PW TLV", 0x0400, Fec(kPrefix) + kLabel + kPwStatus, kMalformed, kUnknownFec},
        {"no FEC, PW TLV", 0x0400, kLabel + kPwStatus, kPseudowire},
        {"cut TLV", 0x0402, Fec(kPrefix) + U16(0x0200) + U16(9), kMalformed, kUnknownFec},
        {"wildcard", 0x0402, Fec({1}), kForeign},
        {"prefix wildcard", 0x0402, Fec({5, 2, 2, 0, 1}), kForeign},
        {"PW wildcard", 0x0402, Fec(kTypedPw), kMalformed, kUnknownFec},
        {"addresses", 0x0301, kAddresses, kForeign},
        {"bad MAC list", 0x0301, kAddresses + Tlv(0x8404, Octets(7)), kMalformed,
         QOR_LDP_ERR_MAC_LIST_LEN},
        {"PW status", 0x0001, Status(0x28) + kPwStatus + kPwFec, kPseudowire},
        {"prefix status", 0x0001, Status(0x28) + kPwStatus + Fec(kPrefix), kMalformed, kUnknownFec},
        {"error", 0x0001, Status(0x0C), kNotification},
        {"prefix error", 0x0001, Status(0x0D) + Fec(kPrefix), kNotification},
        {"end of LIB", 0x0001, Status(0x2F) + Fec(kTypedPw), kNotification},
        {"unknown FEC error", 0x0001, Status(0x0C) + Fec({0x7F}), kMalformed, kUnknownFec},
        {"PW abort", 0x0404, kPwFec, kPseudowire},
        {"unknown message", 0x3E01, {1, 2, 3}, kForeign},
    };
    for (const auto &row : kCases) {
        SCOPED_TRACE(row.name);
        const bool foreign = row.kind == kForeign;
        const std::string code = foreign ? "}" : ",\"code\":" + std::to_string(row.code);
        ExpectShown(row.type, row.tlvs, '"' + std::string(ClassName(row.kind)) + '"' + code);
        const std::string all(out.Text());
        EXPECT_EQ(Show(Message(row.type, row.tlvs)), foreign ? "" : all);
    }
}

TEST_F(SessionTest, FieldsAndReasonsOfEveryKind) {
    const Octets general = Octets{0x81, 0x80, 5, 22, 1, 8, 0, 0x0A} + U16(65000) + U32(100) +
                           U16(0x0104) + U32(0x01020304) + U16(0x0104) + U32(0x05060708);
    ExpectShown(0x0400, Fec(general) + kLabel + Tlv(0x096B, U32(0x01042328)),
                R"("fec":{"type":"Generalized PWid","pw_type":5,"pw_type_name":"Ethernet",)"
                R"("control_word":true,"agi":"65000:100","saii":"1.2.3.4","taii":"5.6.7.8"},)"
                R"("label":16,"mtu":9000})");
    const Octets element = Octets{0x80, 0, 5, 23} + U32(5) + U32(7) + U32(0x010405DC) +
                           Octets{12, 4, 2, 2, 3, 7, 'a', '"', '\\', 0xC3, '\n'} + U32(0x1704C000);
    const Octets points = U16(0x0104) + U32(70) + U16(0x0404) + U32(0x01010101);
    ExpectShown(0x0400,
                Fec(element) + kLabel + Tlv(0x0600, U32(44)) + Tlv(0x896A, U32(0x38)) +
                    Tlv(0x896B, U32(0x01040640)) + Tlv(0x896D, points),
                R"("group_id":5,"pw_id":7},"label":16,"label_request_id":44,"pw_status":56,)"
                R"("pw_status_names":["PSN-facing receive fault","PSN-facing transmit fault",)"
                R"("forwarding standby"],"mtu":1500,"vccv_cc":2,"vccv_cc_names":["router alert )"
                R"(label"],"vccv_cv":2,"vccv_cv_names":["LSP ping"],"flow_label":49152,)"
                R"("flow_label_names":["transmit","receive"],"description":"a\"\\x5C\\xC3\\x0A",)"
                R"("interface_parameters_tlv":{"mtu":1600,"octets":"01040640"},)"
                R"("switching_points":[{"peer":"1.1.1.1","pw_id":70}]})");
    ExpectShown(0x0402, Fec({0x80, 0, 5, 0, 0, 0, 0, 9}),
                R"("control_word":false,"group_id":9,"whole_group":true}})");
    ExpectShown(
        0x0001, Status(0x80000024) + kPwFec,
        R"("group_id":5,"pw_id":7},"status":{"code":36,"name":"Illegal C-Bit","fatal":true,)"
        R"("forward":false,"message_type":1024,"message_name":"Label Mapping",)"
        R"("message_id":9}})");
    ExpectShown(0x0301,
                kPwFec + Tlv(0x8404, {1, 2, 3, 4, 5, 0xAF}) +
                    Tlv(0xBE0A, U32(0x1E10) + U32(0x01020304) + U32(0x05060708)) +
                    Tlv(0xC104, U32(0x01020304)) + Tlv(0xC777, {0xAB}),
                R"("mac_tlv":1028,"mac_tlv_name":"MAC list","macs":["01:02:03:04:05:AF"],)"
                R"("pw_tag":"0102030405060708","path_vector":["1.2.3.4"],)"
                R"("unknown_tlvs":[{"type":1911,"octets":"AB"}]})");
    // A TLV that was passed over is no reason, one that was refused is.
    ExpectShown(0x0400, kPwFec + Tlv(0x8777, {}), R"("no label"})");
    ExpectShown(0x0401, kPwFec + Tlv(0x0777, {}), "tlv: Type:1911");
    ExpectShown(0x0400, Fec({0x7F}) + kLabel,
                R"("error":{"code":2147811342,"text":"no or unknown FEC element","ldp_status":12,)"
                R"("ldp_status_name":"Unknown FEC","fatal":false},"reason":"Unknown FEC Element )"
                R"(type 0x7f"})");
    EXPECT_EQ(stats.errors.at(QOR_LDP_ERR_UNKNOWN_FEC), 1U);
    const std::string shown = Show(Message(0x0400, Fec({0x7F}) + kLabel) + Message(0x0401, kPwFec));
    EXPECT_NE(shown.find(R"("offset":31,"length":24,)"), std::string::npos) << shown;
    EXPECT_NE(shown.find(R"("id":1,"class":"pseudowire")"), std::string::npos) << shown;
}

// What is wrong with a stream and with packets is told where it stands, and counted.
TEST_F(SessionTest, EventsAndCounts) {
    const Octets pdu = PduOf(Message(0x0201, {})), faulty = U32(0x00020005) + pdu + Part(pdu, 0, 7);
    const auto play = [&] {
        out.Clear();
        stats = {};
        Session session(codec, *printer, stats, false);
        session.Frame(DLT_RAW, Ipv4(6, Tcp(0, 2, {})), {});
        session.Frame(DLT_RAW, Ipv4(6, Tcp(1, 0x18, faulty)), {});
        session.Frame(DLT_RAW, Ipv4(6, Tcp(130, 0x18, pdu)), {});
        session.Frame(DLT_RAW, Ipv4(6, U16(646)), {});
        session.Frame(DLT_RAW, Ipv4(17, {1}, 2), {});
        session.Frame(DLT_RAW, Ipv4(89, {1}), {});
        session.Finish();
        printer->Print(stats);
        return std::string(out.Text());
    };
    const std::tuple<std::string, const char *, std::string, std::string, bool> rows[] = {
        {"0", "pdu-header", "", "no LDP PDU where one should start", true},
        {"0", "skipped", "4", "octets passed over in search of a PDU", false},
        {"22", "cut-pdu", "7", "octets of a PDU whose end is missing", false},
        {"29", "gap", "100", "octets missing in the capture", false}};
    std::string json, text;
    for (const auto &[offset, event, octets, told, malformed] : rows) {
        json += R"({"kind":"event","time":"1970-01-01T00:00:00.000000Z","transport":"tcp",)"
                R"("src":"10.0.0.1","src_port":50000,"dst":"10.0.0.2","dst_port":646,"stream":1,)"
                R"("offset":)" +
                offset + R"(,"event":")" + event + R"(","text":")" + told +
                (octets.empty() ? "\"" : R"(","octets":)" + octets) +
                (malformed ? ",\"malformed\":true}\n" : ",\"malformed\":false}\n");
        text += "1970-01-01 00:00:00.000000 10.0.0.1:50000 > 10.0.0.2:646 " +
                (malformed ? "MALFORMED: " : octets + ' ') + told + ", stream 1 octet " + offset +
                '\n';
    }
    EXPECT_EQ(play(),
              json + R"({"kind":"stats","messages":[{"type":513,"name":"KeepAlive","number":2,)"
                     R"("pseudowire":0,"malformed":0}],"total":{"number":2,"pseudowire":0,)"
                     R"("malformed":0},"errors":[],"packets":6,"ldp_packets":3,"cut_packets":1,)"
                     R"("ip_fragments":1,"streams":1,"sessions":1,"dropped_streams":0,"gaps":1,)"
                     R"("octets_lost":100,"octets_skipped":4,"cut_pdus":1,"framing_errors":1})"
                     "\n");
    printer = MakeTextPrinter(out, codec);
    EXPECT_TRUE(play().starts_with(text + "message  ")) << out.Text();
}

TEST_F(SessionTest, StreamsAndTheirMemoryAreBounded) {
    // The start of a PDU that is never whole.
    const Octets start = U32(0x1FFF0) + U32(1) + U16(0) + U32(0x0201FF00);
    for (const size_t held : {size_t{2000}, size_t{40000}}) {
        stats = {};
        Session session(codec, *printer, stats, false);
        Octets frame = Ipv4(6, Tcp(0, 2, start + Octets(held - start.size())));
        constexpr size_t kStreams = 2 * Session::kMaxStreams;
        for (size_t i = 0; i < kStreams; ++i) {
            frame[14] = static_cast<uint8_t>(i >> 8);
            frame[15] = static_cast<uint8_t>(i);
            session.Frame(DLT_RAW, frame, {});
        }
        const size_t kept = std::min(Session::kMaxStreams, Session::kMaxHeld / held);
        EXPECT_EQ(stats.streams, kStreams);
        EXPECT_EQ(stats.dropped_streams, kStreams - kept);
        session.Finish();
        EXPECT_EQ(stats.cut_pdus, kStreams);
    }
}

TEST_F(SessionTest, CaptureCutAtEveryOctet) {
    std::ifstream in(TWO_ROUTERS, std::ios::binary);
    const int fd = memfd_create("cut", 0);
    uint64_t before = 0;
    for (char octet = 0; in.get(octet);) {
        ASSERT_EQ(write(fd, &octet, 1), 1);
        stats = {};
        out.Clear();
        Session session(codec, *printer, stats, false);
        Capture capture;
        Bytes frame;
        Timestamp time;
        Capture::Next next = capture.Open("/proc/self/fd/" + std::to_string(fd)) ? kFrame : kError;
        while (next == kFrame && (next = capture.Read(frame, time)) == kFrame)
            session.Frame(capture.LinkType(), frame, time);
        session.Finish();
        // What came before the cut is shown, and never becomes malformed by it.
        EXPECT_EQ(capture.Error().empty(), next == kEnd) << in.tellg();
        EXPECT_GE(stats.Total().total, before) << in.tellg();
        EXPECT_FALSE(stats.Malformed()) << in.tellg();
        before = stats.Total().total;
    }
    close(fd);
    EXPECT_EQ(before, 123U);
}

}  // namespace
