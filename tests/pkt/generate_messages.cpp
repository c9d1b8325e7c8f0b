// Prints what the library encodes for random well-formed records of every kind, one
// "name<TAB>hex<TAB>record" a line, for a judge that does not share code with it. The same count
// and seed print the same.
//
//   generate_messages COUNT SEED
#include <cstdio>
#include <cstdlib>

#include "record_text.hpp"

namespace qor::test {
namespace {

struct Range {
    const char *name;
    uint32_t low, high;
};

constexpr uint32_t kMax = 0xFFFFFFFF;

// Interface parameters that are plain numbers; 0 would mean "not given".
constexpr Range kParameters[] = {{"mtu", 1, 0xFFFF},
                                 {"cells", 1, 0xFFFF},
                                 {"bitrate", 1, kMax},
                                 {"payload", 1, 0xFFFF},
                                 {"frag", 1, 0xFF}};

// The forms of an AGI (RFC 4360, RFC 5668): type, and what else its record has.
struct Agi {
    uint32_t type;
    Range parts[4];
};
constexpr Agi kAgis[] = {
    {0, {{"agi_as2", 0, 0xFFFF}, {"agi_num32", 0, kMax}}},
    {1, {{"agi_as4", 0, kMax}, {"agi_num16", 0, 0xFFFF}}},
    {2, {{"agi_as4", 0, kMax}, {"agi_num16", 0, 0xFFFF}}},
    {0x80,
     {{"agi_octet1", 0, 0xFF},
      {"agi_octet2", 0, 0xFF},
      {"agi_word1", 0, 0xFFFF},
      {"agi_word2", 0, 0xFFFF}}},
};

class Generator {
  public:
    explicit Generator(uint64_t seed) : state_(seed) {}

    // A message of the kind that the number selects.
    bool Print(uint32_t number) {
        const Kind &kind = kKinds[number % std::size(kKinds)];
        name_ = kind.name;
        text_ = desc_ = "";
        Set("type", kind.type);
        Set({"bodyid", 0, kMax});
        (this->*kind.fill)();

        TextRecord record(text_.c_str(), std::vector<uint8_t>(8));
        if (!desc_.empty()) record.rec.szIntfDesc = desc_.data();
        std::vector<uint8_t> buf;
        // Of a MAC Withdraw the caller fills in the address, and the MAC if it asked for one.
        if (kind.type == QOR_LDP_MSG_MAC_WITHDRAW) buf = Random(512);
        buf.resize(QOR_LDP_PKT_ENC_BUF_LEN);
        buf.resize(QOR_LDP_PKT_EncodeMsg(buf.data(), &record.rec, &ctx_));
        if (buf.empty()) return fprintf(stderr, "not encoded: %s%s\n", name_, text_.c_str()), false;
        previous_ = HexText(buf);
        // A record's text has no blanks in a value.
        if (!desc_.empty()) Set("desc", HexText({desc_.begin(), desc_.end()}));
        return printf("%s#%u\t%s\t%s\n", name_, number, previous_.c_str(), text_.c_str()) > 0;
    }

  private:
    struct Kind {
        const char *name;
        uint32_t type;
        void (Generator::*fill)();
    };

    // SplitMix64. The modulus favours some numbers by less than matters here. Two calls in one
    // expression would come in an order that the compiler chooses.
    uint32_t Number(uint32_t low, uint32_t high) {
        uint64_t z = state_ += 0x9E3779B97F4A7C15;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return static_cast<uint32_t>(low + (z ^ (z >> 31)) % (uint64_t{high} - low + 1));
    }

    bool Chance(uint32_t percent) { return Number(1, 100) <= percent; }

    std::vector<uint8_t> Random(uint32_t count) {
        std::vector<uint8_t> octets(count);
        for (uint8_t &octet : octets) octet = static_cast<uint8_t>(Number(0, 0xFF));
        return octets;
    }

    std::string Octets(uint32_t count) { return HexText(Random(count)); }

    std::string Tlv(uint32_t typeWord, uint32_t length) {
        char header[16];
        snprintf(header, sizeof header, "%04x%04x", typeWord, length);
        return header + Octets(length);
    }

    void Set(const std::string &name, const std::string &value) {
        text_ += ' ' + name + '=' + value;
    }
    void Set(const std::string &name, uint32_t value) { Set(name, std::to_string(value)); }
    void Set(const Range &range) { Set(range.name, Number(range.low, range.high)); }

    void Fec(uint32_t wholeGroups = 0) {
        general_ = Chance(40);
        group_ = Chance(wholeGroups);
        Set({"pwtype", 1, 0x1E});
        Set({"cbit", 0, 1});
        if (general_) text_ += " key=1 agit=1 agil=8 sait=1 sail=4 tait=1 tail=4 agi_sub=10";
        if (group_) return Set("nopwid", 1);
        if (!general_) return Set({"pwid", 0, kMax});
        const Agi &agi = kAgis[Number(0, std::size(kAgis) - 1)];
        Set("agi_type", agi.type);
        for (const Range &part : agi.parts)
            if (part.name != nullptr) Set(part);
        Set({"sai", 0, kMax});
        Set({"tai", 0, kMax});
    }

    void Group(bool written) {
        if (written) Set({"group", 0, kMax});
    }

    void Parameters() {
        for (const Range &range : kParameters)
            if (Chance(50)) Set(range);
        if (Chance(50)) Set("vccv", Number(0, 0x7FF) & 0x73F);
        if (Chance(30)) Set("flow", Number(1, 3) << 14);
        // Either of the options tells the use of RTP. TLV 0x096B gets neither CEP options nor text.
        const bool cep = !general_ && Chance(40);
        Set("rtp", cep || Chance(30) ? QOR_LDP_RTP_NOT_GIVEN : Number(0, 2));
        if (cep) Set({"cep", 1, 0xFFFF});
        if (general_ || Chance(50)) return;
        for (uint32_t left = Number(1, QOR_LDP_PKT_DESC_MAX); left > 0; --left)
            desc_ += static_cast<char>(Chance(95) ? Number(' ', '~') : Number(1, 0xFF));
    }

    void Mapping() {
        Fec();
        Group(!general_ || Chance(50));
        Parameters();
        Set({"label", 16, 0xFFFFF});
        Set("pwstatus", Chance(60) ? Number(0, 0x3F) : QOR_LDP_PKT_NONE);
        if (Chance(40)) Set("mapflags", QOR_LDP_MAPPING_REQ_ID), Set({"reqid", 0, kMax});
        // Beside PWid the TLV is kept as octets: an MTU, a bit rate.
        if (!general_ && Chance(20)) {
            const std::string mtu = Octets(2);
            Set("intf", "0104" + mtu + "0706" + Octets(4));
        }
        const uint32_t points = Chance(20) ? Number(1, QOR_LDP_PKT_SPE_MAX) : 0;
        Set("spes", points);
        for (uint32_t i = 0; i < points; ++i) {
            Set("peer" + std::to_string(i), Number(0, kMax));
            Set("segment" + std::to_string(i), Number(0, kMax));
        }
    }

    void Request() {
        Fec();
        if (!general_) Set("group", 0);  // no other would be written
    }

    void Withdraw() {
        Fec(20);
        Group(!general_ || group_);
        const bool label = Chance(80), word = Chance(20);
        Set("label", label ? Number(16, 0xFFFFF) : QOR_LDP_PKT_NONE);
        if (word) Set({"addrlist", 1, 0x3FFFFFFF});
        if (group_ && !general_ && !label && !word) name_ = "PWid group at the end";
    }

    void PwStatus() {
        Fec(20);
        Group(!general_ || group_);
        Set({"status", 0, 0x3F});
        if (group_ && !general_)
            name_ = "PWid group at the end";
        else if (Chance(10))
            name_ = "PW status under status 6", Set("flags", QOR_LDP_FLAG_STATUS_6);
    }

    void Error() {
        Set("flags", QOR_LDP_FLAG_ERR_NOTIFY);
        Set({"status", 0, QOR_LDP_STATUS_PW_STATUS - 1});
        if (Chance(90)) Set({"statusid", 0, kMax}), Set({"statustype", 0x400, 0x403});
        if (Chance(50)) Set("notify", previous_);
    }

    void MacWithdraw() {
        constexpr uint32_t kTypes[] = {0x404, 0x405, 0x406, 0x3E00, 0x3E08, 0x3E09};
        Fec();
        Group(!general_);
        const uint32_t type = kTypes[Number(0, std::size(kTypes) - 1)];
        Set("mactype", type);
        if (type == 0x406 || type == 0x3E09) Set({"macflags", 0, 0xFF});
        // The encoder writes an empty list, or one MAC; another list goes out as it was put in.
        if (type != 0x404)
            Set("mac", Octets(Number(1, 20)));
        else if (Chance(30))
            Set("flags", QOR_LDP_FLAG_REPEAT_FEC);
        else if (Chance(70))
            Set("unknown", Tlv(0x8404, Number(1, 20) * 6));
        if (Chance(30)) Set("tagtype", 0x3E0A), Set("tag", Octets(Chance(20) ? 0 : Number(8, 20)));
        if (Chance(30)) Set("path", Octets(Number(1, 6) * 4));
        while (Chance(25)) {
            const uint32_t tlvType = Number(0xA00, 0xAFF);
            Set("unknown", Tlv(0xC000 | tlvType, Number(0, 20)));
        }
    }

    static constexpr Kind kKinds[] = {
        {"mapping", QOR_LDP_MSG_MAPPING, &Generator::Mapping},
        {"request", QOR_LDP_MSG_REQUEST, &Generator::Request},
        {"withdraw", QOR_LDP_MSG_WITHDRAW, &Generator::Withdraw},
        {"mapping", QOR_LDP_MSG_MAPPING, &Generator::Mapping},
        {"release", QOR_LDP_MSG_RELEASE, &Generator::Withdraw},
        {"PW status", QOR_LDP_MSG_NOTIFICATION, &Generator::PwStatus},
        {"error", QOR_LDP_MSG_NOTIFICATION, &Generator::Error},
        {"MAC withdraw", QOR_LDP_MSG_MAC_WITHDRAW, &Generator::MacWithdraw},
    };

    QOR_PKT_CTX_S ctx_{};
    uint64_t state_;
    const char *name_ = "";
    std::string text_, desc_;
    std::string previous_;  // what an error Notification returns
    bool general_ = false, group_ = false;
};

}  // namespace
}  // namespace qor::test

int main(int argc, char **argv) {
    if (argc != 3) return fprintf(stderr, "usage: generate_messages COUNT SEED\n"), 2;
    qor::test::Generator generator(strtoull(argv[2], nullptr, 0));
    const auto count = static_cast<uint32_t>(strtoul(argv[1], nullptr, 0));
    for (uint32_t i = 0; i < count; ++i)
        if (!generator.Print(i)) return 1;
}
