// Messages as blocks of text: a head line, then one field per line.
#include "describe.hpp"
#include "printer.hpp"

namespace qorldp {
namespace {

constexpr size_t kIndent = 4;
constexpr size_t kLabelWidth = 16;

class TextWriter {
  public:
    explicit TextWriter(Output &out) : out_(out) {}

    void Number(const Field &field, uint64_t value, std::string_view name = {}) {
        Begin(field);
        out_.Dec(value);
        InBrackets(name);
        End();
    }

    void Hex(const Field &field, uint64_t value, size_t digits, std::string_view name = {}) {
        Begin(field);
        out_.Put("0x");
        out_.Hex(value, digits);
        InBrackets(name);
        End();
    }

    // none: what no bit set means.
    void Flags(const Field &field, uint32_t value, size_t digits, std::span<const FlagName> names,
               std::string_view none) {
        Begin(field);
        out_.Put("0x");
        out_.Hex(value, digits);
        out_.Put(" (");
        bool first = true;
        for (const FlagName &flag : names) {
            if ((value & flag.bit) != 0) {
                out_.Put(first ? "" : "; ");
                out_.Put(flag.name);
                first = false;
            }
        }
        if (value == 0) {
            out_.Put(none);
        } else if (first) {
            out_.Put("unknown");
        }
        out_.Put(')');
        End();
    }

    void Bool(const Field &field, bool value) {
        Begin(field);
        out_.Put(value ? "yes" : "no");
        End();
    }

    void Word(const Field &field, std::string_view text) {
        Begin(field);
        out_.Put(text);
        End();
    }

    void Text(const Field &field, std::string_view text) {
        Begin(field);
        out_.Escaped(text);
        End();
    }

    void Ip4(const Field &field, uint32_t ip) {
        Begin(field);
        out_.Ip4(ip);
        End();
    }

    void Octets(const Field &field, Bytes octets) {
        Begin(field);
        out_.HexOctets(octets);
        End();
    }

    void Open(const Field &field) {
        Begin(field);
        ++depth_;
        first_ = true;
    }

    void Close() {
        --depth_;
        first_ = false;
        End();
    }

    void OpenList(const Field &field) { Open(field); }
    void CloseList() { Close(); }

    void OpenItem() {
        out_.Put(first_ ? "" : "; ");
        ++depth_;
        first_ = true;
    }

    void CloseItem() {
        --depth_;
        first_ = false;
    }

    void Mac(Bytes octets) {
        Begin({"", ""});
        for (size_t i = 0; i < octets.size(); ++i) {
            out_.Put(i == 0 ? "" : ":");
            out_.Hex(octets[i], 2);
        }
    }

    void Ip4Item(uint32_t ip) { Ip4({"", ""}, ip); }

  private:
    // A line of its own, or the next value in one.
    void Begin(const Field &field) {
        if (depth_ == 0) {
            out_.Pad(kIndent);
            out_.Put(field.label);
            out_.Pad(kLabelWidth - field.label.size());
            return;
        }
        out_.Put(first_ ? "" : ", ");
        first_ = false;
        if (!field.label.empty()) {
            out_.Put(field.label);
            out_.Put(' ');
        }
    }

    void End() {
        if (depth_ == 0) {
            out_.Put('\n');
        }
    }

    void InBrackets(std::string_view name) {
        if (!name.empty()) {
            out_.Put(" (");
            out_.Put(name);
            out_.Put(')');
        }
    }

    Output &out_;
    int depth_ = 0;
    bool first_ = true;
};

class TextPrinter final : public Printer {
  public:
    TextPrinter(Output &out, Codec &codec) : out_(out), writer_(out), describer_(writer_, codec) {}

    void Print(const Message &message) override {
        Place(message.origin);
        if (const char *const name = MessageName(message.type)) {
            out_.Put(name);
        } else {
            out_.Put(Name(message.type));
        }
        out_.Put(", ID ");
        out_.Dec(message.id);
        out_.Put(", LSR ");
        out_.Ip4(message.pdu.lsr_id);
        out_.Put(':');
        out_.Dec(message.pdu.label_space);
        Position(message.origin);
        if (message.message_class == MessageClass::kForeign) {
            out_.Put(": not pseudowire signalling\n");
            return;
        }
        out_.Put('\n');
        describer_.Describe(message);
    }

    void Print(const Event &event) override {
        Place(event.origin);
        out_.Put(event.malformed ? "MALFORMED: " : "");
        if (event.octets != 0) {
            out_.Dec(event.octets);
            out_.Put(' ');
        }
        out_.Put(FaultText(event.fault));
        Position(event.origin);
        out_.Put('\n');
    }

    void Print(const Stats &stats) override {
        Row("message", "number", "pseudowire", "malformed");
        for (const auto &[type, count] : stats.types) {
            Cells(Name(type), count);
        }
        Cells("all", stats.Total());
        out_.Put('\n');
        for (const auto &[code, count] : stats.errors) {
            Row("code " + HexText(code, 8), std::to_string(count), "", ErrorName(code));
        }
        for (const StatsRow &row : kStatsRows) {
            out_.Put(row.label);
            out_.Pad(32 - row.label.size());
            out_.Dec(stats.*row.count);
            out_.Put('\n');
        }
    }

  private:
    void Place(const Origin &origin) {
        out_.Time(origin.time, ' ');
        out_.Put(' ');
        out_.Put(origin.peers.line);
        out_.Put(' ');
    }

    void Position(const Origin &origin) {
        if (origin.stream == 0) {
            out_.Put(", UDP octet ");
        } else {
            out_.Put(", stream ");
            out_.Dec(origin.stream);
            out_.Put(" octet ");
        }
        out_.Dec(origin.offset);
    }

    static std::string HexText(uint64_t value, size_t digits) {
        Output text(-1);
        text.Put("0x");
        text.Hex(value, digits);
        return std::string(text.Text());
    }

    static std::string Name(uint32_t type) {
        const char *const name = MessageName(type);
        return name != nullptr ? name : "message " + HexText(type, 4);
    }

    void Cells(std::string_view name, const TypeCount &count) {
        Row(name, std::to_string(count.total), std::to_string(count.pseudowire),
            std::to_string(count.malformed));
    }

    void Row(std::string_view name, std::string_view a, std::string_view b, std::string_view c) {
        out_.Put(name);
        out_.Pad(20 - name.size());
        for (const std::string_view cell : {a, b, c}) {
            out_.Pad(cell.size() < 11 ? 12 - cell.size() : 1);
            out_.Put(cell);
        }
        out_.Put('\n');
    }

    Output &out_;
    TextWriter writer_;
    Describer<TextWriter> describer_;
};

}  // namespace

std::unique_ptr<Printer> MakeTextPrinter(Output &out, Codec &codec) {
    return std::make_unique<TextPrinter>(out, codec);
}

}  // namespace qorldp
