// Messages, events and statistics as JSON, one object per line. The keys are a promise:
// docs/qorldp-json.md.
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "describe.hpp"
#include "printer.hpp"

namespace qorldp {
namespace {

class JsonWriter {
  public:
    explicit JsonWriter(Output &out) : out_(out), json_(line_) {}

    void BeginLine(std::string_view kind) {
        line_.Clear();
        json_.Reset(line_);
        json_.StartObject();
        Word({"kind", ""}, kind);
    }

    void EndLine() {
        json_.EndObject();
        out_.Put({line_.GetString(), line_.GetSize()});
        out_.Put('\n');
    }

    void Number(const Field &field, uint64_t value, std::string_view name = {}) {
        Key(field.key);
        json_.Uint64(value);
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
        Number({field.key, ""}, value);
        Key(field.name_key);
        json_.StartArray();
        for (const FlagName &flag : names) {
            if ((value & flag.bit) != 0) {
                String(flag.name);
            }
        }
        json_.EndArray();
    }

    void Bool(const Field &field, bool value) {
        Key(field.key);
        json_.Bool(value);
    }

    void Word(const Field &field, std::string_view text) {
        Key(field.key);
        String(text);
    }

    // Octets of a peer need not be UTF-8: they are escaped as in text.
    void Text(const Field &field, std::string_view text) {
        scratch_.Clear();
        scratch_.Escaped(text);
        Word(field, scratch_.Text());
    }

    void Ip4(const Field &field, uint32_t ip) {
        Key(field.key);
        Ip4Item(ip);
    }

    void Octets(const Field &field, Bytes octets) {
        scratch_.Clear();
        scratch_.HexOctets(octets);
        Word(field, scratch_.Text());
    }

    void Time(const Field &field, const Timestamp &time) {
        scratch_.Clear();
        scratch_.Time(time, 'T');
        scratch_.Put('Z');
        Word(field, scratch_.Text());
    }

    void Open(const Field &field) {
        Key(field.key);
        json_.StartObject();
    }
    void Close() { json_.EndObject(); }

    void OpenList(const Field &field) {
        Key(field.key);
        json_.StartArray();
    }
    void CloseList() { json_.EndArray(); }

    void OpenItem() { json_.StartObject(); }
    void CloseItem() { json_.EndObject(); }

    void Mac(Bytes octets) {
        scratch_.Clear();
        for (size_t i = 0; i < octets.size(); ++i) {
            scratch_.Put(i == 0 ? "" : ":");
            scratch_.Hex(octets[i], 2);
        }
        String(scratch_.Text());
    }

    void Ip4Item(uint32_t ip) {
        scratch_.Clear();
        scratch_.Ip4(ip);
        String(scratch_.Text());
    }

  private:
    void Key(std::string_view key) {
        json_.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
    }

    void String(std::string_view text) {
        json_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }

    Output &out_;
    rapidjson::StringBuffer line_;  // one object: RapidJSON is fastest with its own buffer
    rapidjson::Writer<rapidjson::StringBuffer> json_;
    Output scratch_{-1};
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
            w_.Number({"code", ""}, message.error ? message.error->code : QOR_OK);
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
