// Messages as blocks of text: a head line, then one field per line.
#include <cstddef>
#include <cstdint>
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
#include "parts.hpp"
#include "printer.hpp"
#include "stats.hpp"

namespace qorldp {
namespace {

constexpr std::string_view kIndent = "    ";
constexpr size_t kLabelWidth = 16;

class TextWriter {
  public:
    explicit TextWriter(Output &out) : out_(out) {}

    void Number(const Field &field, uint64_t value, std::string_view name = {}) {
        Named(field, name, Decimal{value});
    }

    void Hex(const Field &field, uint64_t value, size_t digits, std::string_view name = {}) {
        Named(field, name, "0x", Hexadecimal{value, digits});
    }

    // none: what no bit set means.
    void Flags(const Field &field, uint32_t value, size_t digits, std::span<const FlagName> names,
               std::string_view none) {
        Begin(field, "0x", Hexadecimal{value, digits}, " (");
        bool first = true;
        for (const FlagName &flag : names) {
            if ((value & flag.bit) != 0) {
                out_.Put(first ? "" : "; ", flag.name);
                first = false;
            }
        }
        if (first) {
            out_.Put(value == 0 ? none : "unknown");
        }
        out_.Put(")", LineEnd());
    }

    void Bool(const Field &field, bool value) { Value(field, value ? "yes" : "no"); }
    void Word(const Field &field, std::string_view text) { Value(field, text); }
    void Text(const Field &field, std::string_view text) { Value(field, Escaped{text}); }
    void Ip4(const Field &field, uint32_t ip) { Value(field, Dotted{ip}); }
    void Octets(const Field &field, Bytes octets) { Value(field, HexOctets{octets}); }

    void Open(const Field &field) {
        Begin(field);
        ++depth_;
        first_ = true;
    }

    void Close() {
        --depth_;
        first_ = false;
        out_.Put(LineEnd());
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

    void Mac(Bytes octets) { Value({"", ""}, HexOctets{octets, ":"}); }
    void Ip4Item(uint32_t ip) { Ip4({"", ""}, ip); }

  private:
    // Begins a line of its own, or the next value in one.
    template <class... Parts>
    void Begin(const Field &field, const Parts &...parts) {
        if (depth_ == 0) {
            out_.Put(kIndent, Column{field.label, kLabelWidth}, parts...);
            return;
        }
        out_.Put(first_ ? "" : ", ", field.label, field.label.empty() ? "" : " ", parts...);
        first_ = false;
    }

    std::string_view LineEnd() const { return depth_ == 0 ? "\n" : ""; }

    template <class... Parts>
    void Value(const Field &field, const Parts &...parts) {
        Begin(field, parts..., LineEnd());
    }

    // name: what the value means, in brackets behind it.
    template <class... Parts>
    void Named(const Field &field, std::string_view name, const Parts &...value) {
        if (name.empty()) {
            Value(field, value...);
        } else {
            Value(field, value..., " (", name, ")");
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
        const char *const name = MessageName(message.type);
        if (name != nullptr) {
            out_.Put(name);
        } else {
            out_.Put("message 0x", Hexadecimal{message.type, 4});
        }
        out_.Put(", ID ", Decimal{message.id}, ", LSR ", Dotted{message.pdu.lsr_id}, ":",
                 Decimal{message.pdu.label_space});
        Position(message.origin);
        if (message.message_class == MessageClass::kForeign) {
            out_.Put(": not pseudowire signalling\n");
            return;
        }
        out_.Put("\n");
        describer_.Describe(message);
    }

    void Print(const Event &event) override {
        Place(event.origin);
        out_.Put(event.malformed ? "MALFORMED: " : "");
        if (event.octets != 0) {
            out_.Put(Decimal{event.octets}, " ");
        }
        out_.Put(FaultText(event.fault));
        Position(event.origin);
        out_.Put("\n");
    }

    void Print(const Stats &stats) override {
        Row("message", "number", "pseudowire", "malformed");
        for (const auto &[type, count] : stats.types) {
            Cells(Name(type), count);
        }
        Cells("all", stats.Total());
        out_.Put("\n");
        for (const auto &[code, count] : stats.errors) {
            Row("code " + HexText(code, 8), std::to_string(count), "", ErrorName(code));
        }
        for (const StatsRow &row : kStatsRows) {
            out_.Put(Column{row.label, 32}, Decimal{stats.*row.count}, "\n");
        }
    }

  private:
    void Place(const Origin &origin) {
        out_.Time(origin.time, ' ');
        out_.Put(" ", origin.peers.line, " ");
    }

    void Position(const Origin &origin) {
        if (origin.stream == 0) {
            out_.Put(", UDP octet ", Decimal{origin.offset});
        } else {
            out_.Put(", stream ", Decimal{origin.stream}, " octet ", Decimal{origin.offset});
        }
    }

    static std::string HexText(uint64_t value, size_t digits) {
        Output text(-1);
        text.Put("0x", Hexadecimal{value, digits});
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
        out_.Put(Column{name, 20});
        for (const std::string_view cell : {a, b, c}) {
            out_.Put(Column{"", cell.size() < 11 ? 12 - cell.size() : 1}, cell);
        }
        out_.Put("\n");
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
