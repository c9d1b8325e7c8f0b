"""The messages that the codec reads and writes, as scripts/wire-formats.py needs them."""
from dataclasses import dataclass

from wire_formats import (
    ADDR_LIST, ELEMENTS, EXT_STATUS, FEC, FLAP, FLAP_FLAGS, FLUSH, GEN_PWID, GROUP_ID, INTF_PARA,
    KEPT, LABEL, LABEL_ADDR, LABEL_TLV, MAC_LIST, MARKER, OK, PATH_VECTOR, PE_ID, PWID, PW_ID,
    PW_STATUS, PW_TAG, REQ_ID, RETURNED_MSG, RETURNED_PDU, SPE, SPE_RULES, SPE_TLVS, STATUS,
    SUB_TLVS, SUB_TLV_RULES, TLVS, VENDOR_FLUSH, Rule, err)


@dataclass
class Message:
    name: str
    type: int
    rfc: str
    text: str
    tlvs: list  # (Format, read, type word it is written with, several or None, when)
    base: list  # [(TLV type, value)] of a valid message
    unknown: str
    rules: list  # whole bodies
    order: list  # of Formats as they are written, or (remark, Format), or KEPT


def as_written(written):
    """The type words of a row of a message's table."""
    return written if isinstance(written, tuple) else (written,) if written else ()


def in_order(entry):
    """(remark, Format) of a place in the order of a message."""
    return entry if isinstance(entry, tuple) else ("", entry)


SKIPPED = "skipped"
REJECTED = "without U bit the message fails with QOR_LDP_ERR_UNKNOWN_TLV, with U bit skipped"
LATER_FEC = [
    Rule("a second FEC TLV without U bit", err("UNKNOWN_TLV"), [f"0100 [ {PWID} ] 0100 [ {PWID} ]"]),
    Rule("a second FEC TLV with U bit is ignored", OK, [f"0100 [ {PWID} ] 8100 [ 7f ]"])]
NOT_KEPT = Rule("C bit and group ID of a FEC 128 element are not kept", OK, [f"0100 [ {PWID} ]"],
                f"0100 [ 80 0005 04 00000000 {PW_ID} ]")
IGNORED_FEC = "a second FEC TLV is ignored"
GROUP_FEC = "0100 [ 81 0005 00 ]"
GROUP_RULES = [
    Rule("a FEC 129 element without identifiers and no PW Group ID TLV", err("NO_PW_ID"), [GROUP_FEC]),
    Rule("a FEC 129 group with PW Group ID TLV", OK, [f"{GROUP_FEC} 096c [ 00000007 ]"], f"{GROUP_FEC} 096c [ 00000007 ]")]

MESSAGES = [
    Message(
        "Notification", 0x0001, "RFC 5036 section 3.5.1, RFC 8077 section 6.3",
        "Tells an LDP error, or with status 0x28 the status of a pseudowire.",
        [(STATUS, "required, first", 0x0300, "unless ulStatus is QOR_LDP_PKT_NONE in a PW status"),
         (PW_STATUS, "required with status 0x28", 0x896A, "PW status"),
         (FEC, "required with status 0x28", 0x0100, "PW status"),
         (GROUP_ID, "optional", 0x096C, "FEC 129 without identifiers"),
         (EXT_STATUS, "ignored", None, ""), (RETURNED_PDU, "ignored", None, ""),
         (RETURNED_MSG, "ignored", 0x0303, "LDP error with pucNotifyData"),
         (REQ_ID, "ignored", None, "")],
        [(0x0300, "00000028 00000001 0000"), (0x096A, "00000001"), (0x0100, PWID)],
        SKIPPED,
        [Rule("a length field above 4 and below 18", err("NOTIFY_LEN"), ["0300 [ 00000028 00000001 ]"]),
         Rule("the first TLV is no Status TLV", err("FIRST_TLV"), ["0302 [ 00000028 00000001 0000 ]"]),
         Rule("status 0x28 without PW Status TLV", err("NO_PW_STATUS"),
              [f"0300 [ 00000028 00000001 0000 ] 0100 [ {PWID} ]"]),
         Rule("status 0x28 without FEC TLV", err("NO_FEC"),
              ["0300 [ 00000028 00000001 0000 ] 096a [ 00000001 ]"]),
         Rule("status 0x28 for a FEC 129 group without PW Group ID TLV", err("NO_PW_ID"),
              [f"0300 [ 00000028 00000001 0000 ] 096a [ 00000001 ] {GROUP_FEC}"]),
         Rule("status 0x28 for a FEC 129 group with PW Group ID TLV", OK,
              [f"0300 [ 00000028 00000001 0000 ] 096a [ 00000001 ] {GROUP_FEC} 096c [ 00000007 ]"],
              f"{GROUP_FEC} 096c [ 00000007 ]"),
         Rule("another status needs no other TLV; those it has are looked at", OK, ["0300 [ 0000000a 00000001 0000 ]"]),
         Rule(IGNORED_FEC, OK,
              [f"0300 [ 00000028 00000001 0000 ] 096a [ 00000001 ] 0100 [ {PWID} ] 0100 [ 7f ]"])],
        [STATUS, PW_STATUS, FEC, GROUP_ID, RETURNED_MSG]),
    Message(
        "MAC Withdraw", 0x0301, "RFC 4762 section 6.2, RFC 7361",
        "An Address Withdraw message with a pseudowire FEC: forget MAC addresses. Of the TLVs from PE-ID "
        "List to MAC flap with flags the one of ulMacTlvType is written.",
        [(ADDR_LIST, "optional", 0x0101, "always"), (FEC, "optional", 0x0100, "always"),
         (MAC_LIST, "optional", 0x8404, "empty, but not with a vendor flush"),
         (PE_ID, "optional", 0x8405, ""), (FLUSH, "optional", 0xC406, ""),
         (VENDOR_FLUSH, "optional", 0xBE00, ""), (FLAP, "optional", 0xBE08, ""),
         (FLAP_FLAGS, "optional", 0xBE09, ""), (PW_TAG, "optional", 0xBE0A, ""),
         (PATH_VECTOR, "optional", 0xC104, "when it is not empty")],
        [(0x0101, "0001"), (0x0100, PWID)],
        REJECTED + ", with U and F bit kept and written back",
        [Rule("unknown TLV with U and F bit", OK, [f"0100 [ {PWID} ] c123 [ abcd ]"], "c123 [ abcd ]"),
         NOT_KEPT, Rule(IGNORED_FEC, OK, [f"0100 [ {PWID} ] 0100 [ 7f ]"])],
        [ADDR_LIST, FEC, MAC_LIST, PE_ID, FLUSH, VENDOR_FLUSH, FLAP, FLAP_FLAGS, PW_TAG, PATH_VECTOR, KEPT]),
    Message(
        "Label Mapping", 0x0400, "RFC 5036 section 3.5.7, RFC 8077 section 6",
        "Offers a label for a pseudowire.",
        [(FEC, "optional", 0x0100, "always"), (LABEL_TLV, "required", 0x0200, "always"),
         (REQ_ID, "optional", 0x0600, ""), (PW_STATUS, "optional", 0x896A, ""),
         (INTF_PARA, "optional", (0x896B, 0x096B), "as kept; from the fields of FEC 129"),
         (GROUP_ID, "optional", 0x096C, "of FEC 129, not 0"), (SPE, "optional", 0x896D, ""),
         (MARKER, "optional", 0x3FED, "")],
        [(0x0100, PWID), (0x0200, LABEL)],
        REJECTED,
        [Rule("the FEC element has no PW ID or no identifiers", err("NO_PW_ID"),
              ["0100 [ 80 0005 00 00000009 ] 0200 [ 00000010 ]", "0100 [ 81 0005 00 ] 0200 [ 00000010 ]"]),
         Rule("no Generic Label TLV", err("NO_LABEL"), [f"0100 [ {PWID} ]"]),
         Rule(IGNORED_FEC, OK,
              [f"0100 [ {PWID} ] 0200 [ 00000010 ] 0100 [ 7f ]"]),
         Rule("FEC 129 with PW Group ID TLV", OK, [f"0100 [ {GEN_PWID} ] 0200 [ 00000010 ] 096c [ 00000007 ]"],
              "096c [ 00000007 ]"),
         Rule("FEC 128 with PW Group ID TLV: its group instead of the element's", OK,
              [f"0100 [ {PWID} ] 0200 [ 00000010 ] 096c [ 00000007 ]"],
              f"0100 [ 80 8005 08 00000007 {PW_ID} 0b040000 ] 0200 [ 00000010 ]"),
         Rule("Interface Parameters in front of FEC 129", OK,
              [f"096b [ ffff ] 0100 [ {GEN_PWID} ] 0200 [ 00000010 ]"], "896b [ ffff ]"),
         Rule("marker with U bit", OK, [f"0100 [ {PWID} ] 0200 [ 00000010 ] bfed [ 00000000 ]"], "3fed [ 00000000 ]")],
        [FEC, LABEL_TLV, REQ_ID, PW_STATUS, ("of FEC 129", INTF_PARA), GROUP_ID, SPE,
         ("as they were kept", INTF_PARA), MARKER]),
    Message(
        "Label Request", 0x0401, "RFC 5036 section 3.5.8",
        "Asks for a label.",
        [(FEC, "optional", 0x0100, "always"), (GROUP_ID, "unknown", 0x096C, "FEC 129 without identifiers")],
        [(0x0100, PWID)], REJECTED,
        [NOT_KEPT, *LATER_FEC, Rule("the FEC element has no PW ID or no identifiers", err("NO_PW_ID"),
                         ["0100 [ 80 0005 00 00000009 ]", "0100 [ 81 0005 00 ]"])],
        [FEC, GROUP_ID]),
    Message(
        "Label Withdraw", 0x0402, "RFC 5036 section 3.5.10",
        "Takes back the label of a pseudowire, or of a group of them.",
        [(FEC, "optional", 0x0100, "always"), (LABEL_TLV, "optional", 0x0200, "when there is one"),
         (LABEL_ADDR, "optional", 0x8300, "when its word is not 0"),
         (GROUP_ID, "optional", 0x096C, "FEC 129 without identifiers")],
        [(0x0100, PWID)], REJECTED, [*LATER_FEC, *GROUP_RULES],
        [FEC, GROUP_ID, LABEL_TLV, LABEL_ADDR]),
    Message(
        "Label Release", 0x0403, "RFC 5036 section 3.5.11",
        "Gives a label back.",
        [(FEC, "optional", 0x0100, "always"), (LABEL_TLV, "optional", 0x0200, "when there is one"),
         (LABEL_ADDR, "optional", 0x8300, "when its word is neither 0 nor QOR_LDP_PKT_NONE"),
         (GROUP_ID, "optional", 0x096C, "FEC 129 without identifiers")],
        [(0x0100, PWID)], SKIPPED, [*LATER_FEC, *GROUP_RULES],
        [FEC, GROUP_ID, LABEL_TLV, LABEL_ADDR]),
]

# Of every message: header, length, overruns.
ANY_MESSAGE = [
    Rule("a length field above 4096", err("TLV_LEN")),
    Rule("another message type", err("MSG_TYPE")),
    Rule("less than four octets where a TLV should begin, or a TLV that runs past the message",
         err("TLV_LEN"), ["0100 00", "0100 0005 01"]),
]

# (message, TLV) that no decoded record leads to.
NEVER_DECODED = [("Notification", RETURNED_MSG), ("Label Request", GROUP_ID)]


def all_rules():
    """(name of the section, its rules)"""
    yield "Message", ANY_MESSAGE
    for message in MESSAGES:
        yield message.name, message.rules
        if message.unknown.startswith(REJECTED):
            yield message.name, [Rule("", err("UNKNOWN_TLV"))]
    for entry in [*ELEMENTS, *TLVS]:
        yield entry.name, [*entry.rules, *(Rule("", c) for c in entry.length_code.values())]
    for name, rules, entries in (("Interface parameters", SUB_TLV_RULES, SUB_TLVS),
                                 ("Switching points", SPE_RULES, SPE_TLVS)):
        yield name, [*rules, *(rule for entry in entries for rule in entry.rules)]
