#!/usr/bin/env python3
"""Writes docs/wire-formats.md and docs/errors.md, and holds them against the library.

write                    writes both pages from scripts/wire_formats.py, the headers and the library
check                    fails when the pages are not what would be written, or when the library
                         treats an example, a length or a TLV otherwise than they say

Both take --libraries LIBQOR LIBQOR_HOST, the shared libraries; without it those of build/release.
"""
import argparse
import ctypes
import pathlib
import re
import struct
import sys
import textwrap

import wire_formats as wire
from wire_library import Library, octets, record

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGES = {"docs/wire-formats.md": "wire_page", "docs/errors.md": "error_page"}
MADE = "\n<!-- Made by scripts/wire-formats.py; do not edit. -->\n"

# ---- What the headers say


def codes():
    """{name: (number, comment)} of the decoders' results, as the header defines them."""
    header = (ROOT / "include/qor_pkt_record.h").read_text()
    rows = re.findall(r"#define (QOR_LDP_ERR_\w+) UINT32_C\((0x\w+)\) +/\*\*< (.*?) \*/", header)
    return {name: (int(number, 16), comment) for name, number, comment in rows}


def statuses():
    header = (ROOT / "include/qor_pkt_record.h").read_text()
    return {int(v, 16): n for n, v in re.findall(r"#define (QOR_LDP_STATUS_\w+) UINT32_C\((0x\w+)\)", header)}


def tlv_types():
    """Those that the code has names for."""
    private = (ROOT / "src/pkt/qor_pkt_ldp.hpp").read_text()
    public = (ROOT / "include/qor_pkt_tlv.h").read_text()
    names = re.findall(r"\bkTlv(?!TypeMask)\w+ = (0x\w+);", private) + re.findall(
        r"QOR_LDP_TLV_\w+ UINT32_C\((0x\w+)\)", public)
    return {int(number, 16) for number in names}


# ---- Diagrams


def diagram(fields):
    """Fields as in the RFCs: 32 bits a row."""
    rows, row, used = [], [], 0
    for name, bits in fields:
        if bits == wire.REST:
            if used:
                rows.append(row)
                row, used = [], 0
            rows.append([(name, 32, "~")])
            continue
        while bits:
            part = min(bits, 32 - used)
            row.append((name, part, "|"))
            name = "..." if bits > part else ""
            bits -= part
            used = (used + part) % 32
            if not used:
                rows.append(row)
                row = []
    if row:
        rows.append(row)

    def rule(width):
        return "+" + "-+" * width

    lines = [" " + "".join(f"{i // 10 if i % 10 == 0 else ' '} " for i in range(32)).rstrip(),
             " " + " ".join(str(i % 10) for i in range(32))]
    above = 32
    for row in rows:
        width = sum(bits for _, bits, _ in row)
        lines.append(rule(max(above, width)))
        text = ""
        for name, bits, edge in row:
            if len(name) > 2 * bits - 1:
                sys.exit(f"{name}: does not fit into {bits} bits")
            text += edge + name.center(2 * bits - 1)
        lines.append(text + row[-1][2])
        above = width
    lines.append(rule(above))
    return "```text\n" + "\n".join(lines) + "\n```\n"


# ---- Pages


def anchor(name):
    return re.sub(r"[^a-z0-9]+", "-", name.lower()).strip("-")


def heading(level, name):
    """Its anchor is the one that web views of the source make by themselves."""
    return f'<a name="{anchor(name)}"></a>\n\n{"#" * level} {name}\n\n'


def link(name):
    return f"[{name}](#{anchor(name)})"


def code_cell(code):
    return code and f"`{code}`"


def rule_table(rules):
    text = "| when | result |\n|---|---|\n"
    for rule in rules:
        text += f"| {rule.text} | {rule.code if rule.code == wire.OF_ELEMENT else code_cell(rule.code)} |\n"
    return text


def as_written(written):
    """The type words of a row of a message's table."""
    return written if isinstance(written, tuple) else (written,) if written else ()


def in_order(entry):
    """(remark, Format) of a place in the order of a message."""
    return entry if isinstance(entry, tuple) else ("", entry)


def order_text(order):
    return ", ".join(entry if entry == wire.KEPT else f"{in_order(entry)[1].name} {in_order(entry)[0]}".strip()
                     for entry in order)


def paragraph(text):
    return textwrap.fill(text, 100, break_long_words=False, break_on_hyphens=False) + "\n\n" if text else ""


def wire_page(_library):
    text = """# Wire formats

Every message, TLV, element and sub-TLV that the codec reads or writes: its octets, when it is
refused and with which code, and how it is written. [Error codes](errors.md) tells the LDP status of
each code. What the tables say is held against the built library by a test: examples of every rule, lengths
up to 300 of a TLV that has only one, type word and order of what is written. Only two TLVs come from no
decoded record and are not tried there: Returned Message, and PW Group ID in a Label Request.

All numbers are in network order. Bits are counted from the highest.

"""
    text += heading(2, "Message")
    text += paragraph("RFC 5036 section 3.5.")
    text += diagram([("U", 1), ("Message Type", 15), ("Message Length", 16), ("Message ID", 32), ("TLVs", wire.REST)])
    text += "\n" + paragraph(
        "The length counts what follows it. A message that ends behind its message ID or before decodes to "
        "nothing, and that is accepted. The U bit of the message is not looked at.")
    text += rule_table(wire.ANY_MESSAGE) + "\n"
    text += heading(2, "TLV")
    text += paragraph("RFC 5036 section 3.3.")
    text += diagram([("U", 1), ("F", 1), ("Type", 14), ("Length", 16), ("Value", wire.REST)])
    text += "\n" + paragraph(
        "The length counts the value. U and F bit are looked at in unknown TLVs, the marker, and where a second "
        "FEC TLV is one too many. The diagrams below show the value.")
    for message in wire.MESSAGES:
        text += heading(2, message.name)
        text += paragraph(f"Type 0x{message.type:04X}, {message.rfc}. {message.text}")
        text += "| TLV | type | read | length, else | written as | when |\n|---|---|---|---|---|---|\n"
        for tlv, read, word, when in message.tlvs:
            length = ""
            if tlv.length is not None and message.name in tlv.length_code:
                length = f"{tlv.length}, {code_cell(tlv.length_code[message.name])}"
            written = ", ".join(f"0x{w:04X}" for w in as_written(word)) or "never"
            text += f"| {link(tlv.name)} | 0x{tlv.type:04X} | {read} | {length} | {written} | {when} |\n"
        text += "\n" + paragraph(f"Unknown TLVs: {message.unknown}. Written in this order: {order_text(message.order)}.")
        text += rule_table(message.rules) + "\n"
    text += heading(2, "FEC elements")
    for element in wire.ELEMENTS:
        text += format_section(element, 3)
    text += heading(2, "TLV values")
    for tlv in wire.TLVS:
        text += format_section(tlv, 3)
    text += heading(2, "Interface parameters")
    text += paragraph("RFC 4446 section 3.3. The length octet counts itself and the type. Numbers that are not 0 "
                      "are written, in the order 0x01, 0x02, 0x07, 0x04, 0x05 or 0x0B, 0x0C, 0x09, 0x17, then the "
                      "description.")
    text += rule_table(wire.SUB_TLV_RULES) + "\n"
    for sub in wire.SUB_TLVS:
        text += format_section(sub, 3)
    text += heading(2, "Switching points")
    text += paragraph("RFC 6073 section 7.4.1. The length octet counts the value. The results are those of "
                      "`QOR_LDP_PKT_DecodeSPE`; a message is not refused for them.")
    text += rule_table(wire.SPE_RULES) + "\n"
    for sub in wire.SPE_TLVS:
        text += format_section(sub, 3)
    return text.rstrip() + "\n" + MADE


def format_section(entry, level):
    text = heading(level, entry.name)
    number = f"Type 0x{entry.type:0{2 if entry.type < 256 else 4}X}, " if entry.type else ""
    text += f"{number}{entry.rfc}.\n\n" + diagram(entry.fields) + "\n" + paragraph(entry.text)
    rules = list(entry.rules)
    for message, code in entry.length_code.items():
        rules.append(wire.Rule(f"in a {message}: a length other than {entry.length}", code))
    return text + (rule_table(rules) + "\n" if rules else "")


def error_page(library):
    text = """# Error codes

What a decoder returns, and what `QOR_LDP_PKT_ErrCode2StatusCode` makes of it: the LDP status to
answer with (RFC 5036 section 3.9), 0 for none, and whether the Notification carries the E bit,
which ends the session.

| code | name | meaning | LDP status | E bit | of |
|---|---|---|---|---|---|
"""
    places = {}
    for place, rules in all_rules():
        for rule in rules:
            if place not in places.setdefault(rule.code, []):  # OK and OF_ELEMENT have no row
                places[rule.code].append(place)
    names = statuses()
    for name, (number, comment) in codes().items():
        status, fatal = library.status(number)
        status = f"0x{status:02X} `{names[status]}`" if status else "none"
        links = ", ".join(f"[{p}](wire-formats.md#{anchor(p)})" for p in places.get(name, []))
        text += f"| 0x{number:08X} | `{name}` | {comment} | {status} | {'yes' if fatal else ''} | {links} |\n"
    return text + """
Besides these, functions that return a code return `QOR_OK`, `QOR_FAIL` for a refused argument,
`QOR_ERR_ARG` and `QOR_ERR_NO_MEM`; state machines, the queue and the black box have codes of their own
in their headers. `qor::Message::decode` returns `QOR_ERR_ARG` when the octets do not hold the whole
message. Where no status stands, nothing is sent to the peer.
""" + MADE


def all_rules():
    """(name of the section, its rules)"""
    yield "Message", wire.ANY_MESSAGE
    for message in wire.MESSAGES:
        yield message.name, message.rules
        if message.unknown.startswith(wire.REJECTED):
            yield message.name, [wire.Rule("", wire.err("UNKNOWN_TLV"))]
    for entry in [*wire.ELEMENTS, *wire.TLVS]:
        yield entry.name, [*entry.rules, *(wire.Rule("", c) for c in entry.length_code.values())]
    for name, rules, entries in (("Interface parameters", wire.SUB_TLV_RULES, wire.SUB_TLVS),
                                 ("Switching points", wire.SPE_RULES, wire.SPE_TLVS)):
        yield name, [*rules, *(rule for entry in entries for rule in entry.rules)]


# ---- Checks


class Check:
    def __init__(self, library):
        self.library = library
        self.names = {0: wire.OK, **{number: name for name, (number, _) in codes().items()}}
        self.faults = []
        self.done = 0

    def expect(self, what, message, body, code, wanted=""):
        """message: a description, or the type of one that there is not."""
        self.done += 1
        found, written = self.library.run(getattr(message, "type", message), body)
        found = self.names.get(found, hex(found))
        what = f"{what}: {body.hex()}"
        if found != code:
            self.faults.append(f"{what}: {found}, not {code}")
        elif (written is None) != (code != wire.OK or wanted == wire.REFUSED):
            self.faults.append(f"{what}: encoding it gives {written}")
        elif written:
            self.written(what, message, written, wanted)

    def written(self, what, message, body, wanted):
        """The TLVs have the words of the message's table and stand in its order."""
        if octets(wanted) not in body:
            self.faults.append(f"{what}: {wanted} is not written, but {body.hex()}")
        words = {tlv.type: as_written(written) for tlv, _, written, _ in message.tlvs}
        order = [entry if entry == wire.KEPT else in_order(entry)[1].type for entry in message.order]
        while body:
            word, length = struct.unpack(">HH", body[:4])
            body = body[4 + length:]
            type_ = word & 0x3FFF
            if word in words.get(type_, []):
                self.seen.add((message.name, word))
            elif type_ in words or word >> 14 != 3:
                self.faults.append(f"{what}: written as {word:#06x}")
            place = type_ if type_ in words else wire.KEPT
            if place not in order:
                self.faults.append(f"{what}: {word:#06x} is not written in the order told")
                return
            order = order[order.index(place):]

    def body(self, message, tlv, value, u_bit=False):
        """A valid message with one TLV as given."""
        parts = [(t, octets(v)) for t, v in message.base if t != tlv.type]
        mine = (tlv.type | (0x8000 if u_bit else 0), value)
        # What must be first stays first.
        first = [t for t, _ in message.base[:1] if t == tlv.type]
        parts = [mine, *parts] if first else [*parts, mine]
        return b"".join(struct.pack(">HH", t, len(v)) + v for t, v in parts)

    def tlv_in_message(self, message, tlv):
        name = f"{tlv.name} in {message.name}"
        if tlv.length is not None and message.name in tlv.length_code:
            for length in [*range(0, 300), 1000]:
                code = wire.OK if length == tlv.length else tlv.length_code[message.name]
                # Begins as a PW status does, which the base of a Notification is.
                value = (b"\0\0\0\x28" + b"\0" * length)[:length]
                self.expect(f"{name}, length {length}", message, self.body(message, tlv, value), code)
        for rule in tlv.rules:
            for example in rule.examples:
                self.expect(f"{name}, {rule.text}", message, self.body(message, tlv, octets(example)), rule.code,
                            rule.written)

    def run(self):
        self.seen = set()
        mapping = next(m for m in wire.MESSAGES if m.name == "Label Mapping")
        for message in wire.MESSAGES:
            for tlv, read, _, _ in message.tlvs:
                if read != "unknown":
                    self.tlv_in_message(message, tlv)
            for rule in message.rules:
                for example in rule.examples:
                    self.expect(f"{message.name}, {rule.text}", message, octets(example), rule.code, rule.written)
            for example in wire.ANY_MESSAGE[-1].examples:
                body = self.body(message, wire.EXT_STATUS, b"", True) + octets(example)
                self.expect(f"{message.name}, overrun", message, body, wire.ANY_MESSAGE[-1].code)
            unknown = wire.OK if message.unknown == wire.SKIPPED else wire.err("UNKNOWN_TLV")
            for u_bit, code in ((False, unknown), (True, wire.OK)):
                tlv = wire.Format("unknown", 0x0123, "", [], [])
                self.expect(f"{message.name}, unknown TLV", message, self.body(message, tlv, b"\1", u_bit), code)
        for u_bit, code in ((False, wire.err("UNKNOWN_TLV")), (True, wire.OK)):
            self.expect("marker", mapping, self.body(mapping, wire.MARKER, b"\0" * 4, u_bit), code)
        self.expect("length field", mapping, b"\0" * 4093, wire.err("TLV_LEN"))
        self.expect("message type", 0x0404, b"", wire.err("MSG_TYPE"))
        for element in wire.ELEMENTS:
            for rule in element.rules:
                for example in rule.examples:
                    self.expect(f"{element.name}, {rule.text}", mapping,
                                self.body(mapping, wire.FEC, octets(example)), rule.code)
        for entry in [*wire.SUB_TLVS, wire.Format("sub-TLV", 0, "", [], wire.SUB_TLV_RULES)]:
            for rule in entry.rules:
                for example in rule.examples:
                    sub = octets(example)
                    element = struct.pack(">BHB", 0x80, 5, 4 + len(sub)) + b"\0" * 4 + b"\0\0\0\1" + sub
                    self.expect(f"{entry.name}, {rule.text}", mapping,
                                self.body(mapping, wire.FEC, element), rule.code)
                    # A FEC 129 element has them in a TLV.
                    generalized = [(0x0100, octets(wire.GEN_PWID)), (0x0200, octets(wire.LABEL)), (0x096B, sub)]
                    body = b"".join(struct.pack(">HH", t, len(v)) + v for t, v in generalized)
                    self.expect(f"{entry.name} in its TLV, {rule.text}", mapping, body, rule.code)
        self.switching_points()
        for message in wire.MESSAGES:
            for tlv, _, written, _ in message.tlvs:
                for word in as_written(written):
                    if (message.name, word) not in self.seen and (message.name, tlv) not in wire.NEVER_DECODED:
                        self.faults.append(f"{tlv.name} in {message.name}: never seen written as {word:#06x}")
        described = {tlv.type for tlv in wire.TLVS}
        self.faults += [f"TLV 0x{t:04X}: of the codec, but without a format" for t in sorted(tlv_types() - described)]
        returned = {rule.code for _, rules in all_rules() for rule in rules}
        self.faults += [f"{name}: of no rule" for name in codes() if name not in returned]

    def switching_points(self):
        log = record("QOR_LDP_PKT_LOG_S", struct.pack("=Q", self.library.context.value))
        decode = self.library.qor.QOR_LDP_PKT_DecodeSPE
        decode.restype = ctypes.c_uint32
        for entry in [*wire.SPE_TLVS, wire.Format("switching point", 0, "", [], wire.SPE_RULES)]:
            for rule in entry.rules:
                for example in rule.examples:
                    value = octets(example)
                    count, entries = ctypes.c_uint8(), record("QOR_LDP_SPE_S", count=10)
                    found = decode(value, len(value), log, ctypes.byref(count), entries)
                    self.done += 1
                    if self.names.get(found, hex(found)) != rule.code:
                        self.faults.append(f"{entry.name}: {example}: {hex(found)}, not {rule.code}")


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("mode", choices=["write", "check"])
    parser.add_argument("--libraries", nargs=2,
                        default=[ROOT / "build/release/src" / name for name in ("libqor.so", "base/host/libqor-host.so")])
    args = parser.parse_args()
    library = Library(*args.libraries)
    faults = []
    for name, page in PAGES.items():
        path, text = ROOT / name, globals()[page](library)
        if args.mode == "write":
            path.write_text(text)
        elif not path.exists() or path.read_text() != text:
            faults.append(f"{name}: not what scripts/wire-formats.py write would make")
    check = Check(library)
    check.run()
    faults += check.faults
    print("\n".join(faults))
    print(f"{check.done} messages and TLVs tried, {len(faults)} faults")
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main())
