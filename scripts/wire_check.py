"""Holds what wire_formats.py and wire_messages.py say against the codec, for scripts/wire-formats.py."""
import ctypes
import struct

import wire_formats as wire
import wire_messages as messages
from wire_library import codes, octets, record, tlv_types


def examples(rules):
    """(rule, octets) of each example of each rule."""
    for rule in rules:
        for example in rule.examples:
            yield rule, octets(example)


def packed(tlvs):
    """The octets of [(type word, value)]."""
    return b"".join(struct.pack(">HH", word, len(value)) + value for word, value in tlvs)


class Check:
    """Tries all of it in run() and keeps what is otherwise in faults."""

    def __init__(self, library):
        self.library = library
        self.names = {0: wire.OK, **{number: name for name, (number, _) in codes().items()}}
        self.faults = []
        self.done = 0
        self.seen = set()  # (message, type word) of what was written

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
        words = {tlv.type: messages.as_written(written) for tlv, _, written, _ in message.tlvs}
        order = [entry if entry == wire.KEPT else messages.in_order(entry)[1].type for entry in message.order]
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
        return packed(parts)

    def tlv_in_message(self, message, tlv):
        name = f"{tlv.name} in {message.name}"
        if tlv.length is not None and message.name in tlv.length_code:
            for length in [*range(0, 300), 1000]:
                code = wire.OK if length == tlv.length else tlv.length_code[message.name]
                # Begins as a PW status does, which the base of a Notification is.
                value = (b"\0\0\0\x28" + b"\0" * length)[:length]
                self.expect(f"{name}, length {length}", message, self.body(message, tlv, value), code)
        for rule, value in examples(tlv.rules):
            self.expect(f"{name}, {rule.text}", message, self.body(message, tlv, value), rule.code, rule.written)

    def message(self, message):
        for tlv, read, _, _ in message.tlvs:
            if read != "unknown":
                self.tlv_in_message(message, tlv)
        for rule, body in examples(message.rules):
            self.expect(f"{message.name}, {rule.text}", message, body, rule.code, rule.written)
        for rule, end in examples(messages.ANY_MESSAGE):
            body = self.body(message, wire.EXT_STATUS, b"", True) + end
            self.expect(f"{message.name}, {rule.text}", message, body, rule.code)
        unknown = wire.OK if message.unknown == messages.SKIPPED else wire.err("UNKNOWN_TLV")
        tlv = wire.Format("unknown", 0x0123, "", [], [])
        for u_bit, code in ((False, unknown), (True, wire.OK)):
            self.expect(f"{message.name}, unknown TLV", message, self.body(message, tlv, b"\1", u_bit), code)

    def element(self, entry, mapping):
        for rule, element in examples(entry.rules):
            self.expect(f"{entry.name}, {rule.text}", mapping, self.body(mapping, wire.FEC, element), rule.code)

    def sub_tlv(self, entry, mapping):
        """In a FEC 128 element, and beside a FEC 129 element in a TLV."""
        for rule, sub in examples(entry.rules):
            element = struct.pack(">BHB", 0x80, 5, 4 + len(sub)) + b"\0" * 4 + b"\0\0\0\1" + sub
            self.expect(f"{entry.name}, {rule.text}", mapping, self.body(mapping, wire.FEC, element), rule.code)
            body = packed([(0x0100, octets(wire.GEN_PWID)), (0x0200, octets(wire.LABEL)), (0x096B, sub)])
            self.expect(f"{entry.name} in its TLV, {rule.text}", mapping, body, rule.code)

    def switching_point(self, entry):
        log = record("QOR_LDP_PKT_LOG_S", struct.pack("=Q", self.library.context.value))
        decode = self.library.qor.QOR_LDP_PKT_DecodeSPE
        decode.restype = ctypes.c_uint32
        for rule, value in examples(entry.rules):
            count, entries = ctypes.c_uint8(), record("QOR_LDP_SPE_S", count=10)
            found = decode(value, len(value), log, ctypes.byref(count), entries)
            self.done += 1
            if self.names.get(found, hex(found)) != rule.code:
                self.faults.append(f"{entry.name}: {value.hex()}: {hex(found)}, not {rule.code}")

    def complete(self):
        """Nothing of the codec is without a format, a rule or an example that writes it."""
        for message in messages.MESSAGES:
            for tlv, _, written, _ in message.tlvs:
                for word in messages.as_written(written):
                    if (message.name, word) not in self.seen and (message.name, tlv) not in messages.NEVER_DECODED:
                        self.faults.append(f"{tlv.name} in {message.name}: never seen written as {word:#06x}")
        described = {tlv.type for tlv in wire.TLVS}
        self.faults += [f"TLV 0x{t:04X}: of the codec, but without a format" for t in sorted(tlv_types() - described)]
        returned = {rule.code for _, rules in messages.all_rules() for rule in rules}
        self.faults += [f"{name}: of no rule" for name in codes() if name not in returned]

    def run(self):
        for message in messages.MESSAGES:
            self.message(message)
        mapping = next(m for m in messages.MESSAGES if m.name == "Label Mapping")
        for u_bit, code in ((False, wire.err("UNKNOWN_TLV")), (True, wire.OK)):
            self.expect("marker", mapping, self.body(mapping, wire.MARKER, b"\0" * 4, u_bit), code)
        self.expect("length field", mapping, b"\0" * 4093, wire.err("TLV_LEN"))
        self.expect("message type", 0x0404, b"", wire.err("MSG_TYPE"))
        for entry in wire.ELEMENTS:
            self.element(entry, mapping)
        for entry in [*wire.SUB_TLVS, wire.Format("sub-TLV", 0, "", [], wire.SUB_TLV_RULES)]:
            self.sub_tlv(entry, mapping)
        for entry in [*wire.SPE_TLVS, wire.Format("switching point", 0, "", [], wire.SPE_RULES)]:
            self.switching_point(entry)
        self.complete()
