#!/usr/bin/env python3
"""Writes docs/wire-formats.md and docs/errors.md, and holds them against the library.

write                    writes both pages from wire_formats.py and wire_messages.py, the headers and the
                         library
check                    fails when the pages are not what would be written, or when the library
                         treats an example, a length or a TLV otherwise than they say

Both take --libraries LIBQOR LIBQOR_HOST, the shared libraries; without it those of build/release.
"""
import argparse
import re
import sys
import textwrap

import wire_formats as wire
import wire_messages as messages
from wire_check import Check
from wire_library import ROOT, Library, codes, statuses

PAGES = {"docs/wire-formats.md": "wire_page", "docs/errors.md": "error_page"}
MADE = "\n<!-- Made by scripts/wire-formats.py; do not edit. -->\n"

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


def order_text(order):
    return ", ".join(entry if entry == wire.KEPT else f"{messages.in_order(entry)[1].name} {messages.in_order(entry)[0]}".strip()
                     for entry in order)


def paragraph(text):
    return textwrap.fill(text, 100, break_long_words=False, break_on_hyphens=False) + "\n\n" if text else ""


def wire_page(_library):
    text = """# Wire formats

Every message, TLV, element and sub-TLV that the codec reads or writes: its octets, when it is
refused and with which code, and how it is written. [Error codes](errors.md) tells the LDP status of
each code. What the tables say is held against the built library by a test: examples of every rule,
lengths up to 300 of a TLV that has only one, type word and order of what is written. Only two TLVs
come from no decoded record and are not tried there: Returned Message, and PW Group ID in a Label
Request.

All numbers are in network order. Bits are counted from the highest.

"""
    text += heading(2, "Message")
    text += paragraph("RFC 5036 section 3.5.")
    text += diagram([("U", 1), ("Message Type", 15), ("Message Length", 16), ("Message ID", 32), ("TLVs", wire.REST)])
    text += "\n" + paragraph(
        "The length counts what follows it. A message that ends behind its message ID or before decodes to "
        "nothing, and that is accepted. The U bit of the message is not looked at.")
    text += rule_table(messages.ANY_MESSAGE) + "\n"
    text += heading(2, "TLV")
    text += paragraph("RFC 5036 section 3.3.")
    text += diagram([("U", 1), ("F", 1), ("Type", 14), ("Length", 16), ("Value", wire.REST)])
    text += "\n" + paragraph(
        "The length counts the value. U and F bit are looked at in unknown TLVs, the marker, and where a second "
        "FEC TLV is one too many. The diagrams below show the value.")
    for message in messages.MESSAGES:
        text += heading(2, message.name)
        text += paragraph(f"Type 0x{message.type:04X}, {message.rfc}. {message.text}")
        text += "| TLV | type | read | length, else | written as | when |\n|---|---|---|---|---|---|\n"
        for tlv, read, word, when in message.tlvs:
            length = ""
            if tlv.length is not None and message.name in tlv.length_code:
                length = f"{tlv.length}, {code_cell(tlv.length_code[message.name])}"
            written = ", ".join(f"0x{w:04X}" for w in messages.as_written(word)) or "never"
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
    for place, rules in messages.all_rules():
        for rule in rules:
            if place not in places.setdefault(rule.code, []):
                places[rule.code].append(place)
    names = statuses()
    for name, (number, comment) in codes().items():
        status, fatal = library.status(number)
        status = f"0x{status:02X} `{names[status]}`" if status else "none"
        links = ", ".join(f"[{p}](wire-formats.md#{anchor(p)})" for p in places.get(name, []))
        text += f"| 0x{number:08X} | `{name}` | {comment} | {status} | {'yes' if fatal else ''} | {links} |\n"
    return text + """
Besides these, functions that return a code return `QOR_OK`, `QOR_FAIL` for a refused argument,
`QOR_ERR_ARG` and `QOR_ERR_NO_MEM`; state machines, the queue and the black box have codes of their
own in their headers. `qor::Message::decode` returns `QOR_ERR_ARG` when the octets do not hold the
whole message. Where no status stands, nothing is sent to the peer.
""" + MADE


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
    for fault in faults:
        print(fault)
    print(f"{check.done} messages and TLVs tried, {len(faults)} faults")
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main())
