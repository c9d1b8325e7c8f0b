// Messages, events and statistics as JSON, one object per line. The keys are a promise:
// docs/qorldp-json.md.
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "bytes.hpp"
#include "codec.hpp"
#include "describe.hpp"
#include "framer.hpp"
#include "message.hpp"
#include "names.hpp"
#include "output.hpp"
#include "packet.hpp"
#include "parts.hpp"
#include "printer.hpp"
#include "qor_types.h"
#include "stats.hpp"

namespace qorldp {
namespace {

// The tool's own words, names and keys, stand as they are; Text() is for those of a peer.
class JsonWriter {
  public:
    explicit JsonWriter(Output &out) : out_(out) {}

    void BeginLine(std::string_view kind) {
        Begin("{");
        Word({"kind", ""}, kind);
    }

    void EndLine() { out_.Put("}\n"); }

    void Number(const Field &field, uint64_t value, std::string_view name = {}) {
        Member(field, Decimal{value});
        if (!field.name_key.empty()) {
            Word({field.name_key, ""}, name);
        }
    }

    // Hexadecimal is for people; a program gets the number.
    void Hex(const Field &field, uint64_t value, size_t /*digits*/, std::string_view name = {}) {
        Number(field, value, name);
    }

    void Flags(const Field &field, uint32_t value, size_t /*digits*/,
               std::span<const FlagName> names, std::string_view /*none*/) {
        Member(field, Decimal{value});
        OpenList({field.name_key, ""});
        for (const FlagName &flag : names) {
            if ((value & flag.bit) != 0) {
                Item("\"", flag.name, "\"");
            }
        }
        CloseList();
    }

    void Bool(const Field &field, bool value) { Member(field, value ? "true" : "false"); }
    void Word(const Field &field, std::string_view text) { Member(field, "\"", text, "\""); }

    // Octets of a peer need not be UTF-8: they are escaped as in text.
    void Text(const Field &field, std::string_view text) {
        Member(field, "\"", Escaped{text, true}, "\"");
    }

    void Ip4(const Field &field, uint32_t ip) { Member(field, "\"", Dotted{ip}, "\""); }
    void Octets(const Field &field, Bytes octets) { Member(field, "\"", HexOctets{octets}, "\""); }

    void Time(const Field &field, const Timestamp &time) {
        Member(field, "\"");
        out_.Time(time, 'T');
        out_.Put("Z\"");
    }

    void Open(const Field &field) {
        Member(field);
        Begin("{");
    }
    void Close() { End("}"); }

    void OpenList(const Field &field) {
        Member(field);
        Begin("[");
    }
    void CloseList() { End("]"); }

    void OpenItem() {
        Item();
        Begin("{");
    }
    void CloseItem() { End("}"); }

    void Mac(Bytes octets) { Item("\"", HexOctets{octets, ":"}, "\""); }
    void Ip4Item(uint32_t ip) { Item("\"", Dotted{ip}, "\""); }

  private:
    // value: its parts, or nothing when it follows.
    template <class... Parts>
    void Member(const Field &field, const Parts &...value) {
        Item("\"", field.key, "\":", value...);
    }

    template <class... Parts>
    void Item(const Parts &...parts) {
        out_.Put(first_ ? "" : ",", parts...);
        first_ = false;
    }

    void Begin(std::string_view bracket) {
        out_.Put(bracket);
        first_ = true;
    }

    void End(std::string_view bracket) {
        out_.Put(bracket);
        first_ = false;
    }

    Output &out_;
    bool first_ = true;  // nothing stands before in this object or list
};

class JsonPrinter final : public Printer {
  public:
    JsonPrinter(Output &out, Codec &codec) : w_(out), describer_(w_, codec) {}

    void Print(const Message &message) override {
        w_.BeginLine("message");
        Place(message.origin);
        w_.Number({"length", ""}, message.octets.size());
        w_.Ip4({"lsr_id", ""}, message.pdu.lsr_id);
        w_.Number({"label_space", ""}, message.pdu.label_space);
        const char *const name = MessageName(message.type);
        w_.Number({"type", "", "name"}, message.type, name != nullptr ? name : "unknown");
        w_.Bool({"u_bit", ""}, message.u_bit);
        w_.Number({"id", ""}, message.id);
        w_.Word({"class", ""}, ClassName(message.message_class));
        if (message.message_class != MessageClass::kForeign) {
            w_.Number({"code", ""}, message.error != nullptr ? message.error->code : QOR_OK);
        }
        describer_.Describe(message);
        w_.EndLine();
    }

    void Print(const Event &event) override {
        w_.BeginLine("event");
        Place(event.origin);
        w_.Word({"event", ""}, FaultKey(event.fault));
        w_.Word({"text", ""}, FaultText(event.fault));
        if (event.octets != 0) {
            w_.Number({"octets", ""}, event.octets);
        }
        w_.Bool({"malformed", ""}, event.malformed);
        w_.EndLine();
    }

    void Print(const Stats &stats) override {
        w_.BeginLine("stats");
        w_.OpenList({"messages", ""});
        for (const auto &[type, count] : stats.types) {
            const char *const name = MessageName(type);
            w_.OpenItem();
            w_.Number({"type", "", "name"}, type, name != nullptr ? name : "unknown");
            Counts(count);
            w_.CloseItem();
        }
        w_.CloseList();
        w_.Open({"total", ""});
        Counts(stats.Total());
        w_.Close();
        w_.OpenList({"errors", ""});
        for (const auto &[code, count] : stats.errors) {
            w_.OpenItem();
            w_.Number({"code", "", "text"}, code, ErrorName(code));
            w_.Number({"number", ""}, count);
            w_.CloseItem();
        }
        w_.CloseList();
        for (const StatsRow &row : kStatsRows) {
            w_.Number({row.key, ""}, stats.*row.count);
        }
        w_.EndLine();
    }

  private:
    void Place(const Origin &origin) {
        w_.Time({"time", ""}, origin.time);
        w_.Word({"transport", ""}, origin.stream == 0 ? "udp" : "tcp");
        w_.Word({"src", ""}, origin.peers.src);
        w_.Number({"src_port", ""}, origin.peers.src_port);
        w_.Word({"dst", ""}, origin.peers.dst);
        w_.Number({"dst_port", ""}, origin.peers.dst_port);
        if (origin.stream != 0) {
            w_.Number({"stream", ""}, origin.stream);
        }
        w_.Number({"offset", ""}, origin.offset);
    }

    void Counts(const TypeCount &count) {
        w_.Number({"number", ""}, count.total);
        w_.Number({"pseudowire", ""}, count.pseudowire);
        w_.Number({"malformed", ""}, count.malformed);
    }

    JsonWriter w_;
    Describer<JsonWriter> describer_;
};

}  // namespace

std::unique_ptr<Printer> MakeJsonPrinter(Output &out, Codec &codec) {
    return std::make_unique<JsonPrinter>(out, codec);
}

}  // namespace qorldp
