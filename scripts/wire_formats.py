"""The elements and TLVs of the codec, as scripts/wire-formats.py needs them: fields, rules, examples.

Octets are written in hex; "[ ... ]" encloses what a 16-bit length in front of it counts. An example
of a TLV is its value, an example of an element or sub-TLV the whole of it.
"""
from dataclasses import dataclass, field

# Length and value of a field that has no fixed size.
REST = 0
OK = "QOR_OK"
OF_ELEMENT = "that of the element"
REFUSED = "not encoded"
KEPT = "kept TLVs"


def err(name):
    return "QOR_LDP_ERR_" + name


@dataclass
class Rule:
    """What is refused, with what, and examples of it; OK: what is accepted.

    written: TLVs that a message is to be written with when the record of an example is encoded again;
    REFUSED when it is not to be encoded at all.
    """

    text: str
    code: str
    examples: list = field(default_factory=list)
    written: str = ""


@dataclass
class Format:
    """One TLV, element or sub-TLV. type: 0 for what has none."""

    name: str
    type: int
    rfc: str
    fields: list  # (name, bits), behind the header
    rules: list
    text: str = ""
    length: int = None  # of a TLV that has only this one
    length_code: dict = field(default_factory=dict)  # {message: code for any other}


# ---- Pieces of examples

GROUP, PW_ID = "00000009", "00000064"
PWID = f"80 8005 04 {GROUP} {PW_ID}"
IDS = "0108 000afde800000064 0104 0a000001 0104 0a000002"
GEN_PWID = f"81 0005 16 {IDS}"
LABEL = "00000010"

# ---- FEC elements

PWID_ELEMENT = Format(
    "PWid element (FEC 128)", 0x80, "RFC 8077 section 6.1",
    [("PWid (0x80)", 8), ("C", 1), ("PW Type", 15), ("PW Info Length", 8), ("Group ID", 32),
     ("PW ID, unless the PW Info Length is 0", 32), ("Interface parameter sub-TLVs", REST)],
    [
        Rule("the element is cut in front of its PW info length, or ends before the PW info length "
             "does", err("PW_FEC"), ["80 8005", f"80 8005 05 {GROUP} {PW_ID}", "80 8005 f8" + GROUP]),
        Rule("a PW info length of 1, 2 or 3", err("PW_FEC"),
             [f"80 8005 01 {GROUP} 00", f"80 8005 03 {GROUP} 000000"]),
        Rule("accepted, in a Label Mapping with a PW ID", OK,
             [PWID, f"80 0004 08 {GROUP} {PW_ID} 0104 05dc"]),
    ],
    "The PW info length counts from the PW ID on. 0 stands for all pseudowires of the group. Of the "
    "PW type the low octet is kept. "
    "An element without interface parameters leaves ucRtpMode 0, which is no RTP and not "
    "QOR_LDP_RTP_NOT_GIVEN: encoded again it has TDM options. Under QOR_LDP_FLAG_REPEAT_FEC an element "
    "with a PW ID is written twice.")

GEN_PWID_ELEMENT = Format(
    "Generalized PWid element (FEC 129)", 0x81, "RFC 8077 section 6.2",
    [("GenPWid (0x81)", 8), ("C", 1), ("PW Type", 15), ("PW Info Length", 8),
     ("AGI Type (1)", 8), ("AGI Length (8)", 8), ("AGI: Type", 8), ("Subtype (0x0A)", 8),
     ("AGI: administrator and number", 48), ("SAII Type (1)", 8), ("SAII Length (4)", 8),
     ("SAII", 32), ("TAII Type (1)", 8), ("TAII Length (4)", 8), ("TAII", 32)],
    [
        Rule("less than four octets, or cut in front of the AGI or behind an identifier's type", err("PW_FEC"),
             ["81 0005", "81 0005 05", "81 0005 01 01", f"81 0005 0b 0108 000afde800000064 01"]),
        Rule("an AGI type other than 1", err("AGI_TYPE"), ["81 0005 16 " + IDS.replace("0108", "0208")]),
        Rule("an AGI length other than 8, or the AGI is cut", err("AGI_LEN"),
             ["81 0005 16 " + IDS.replace("0108", "0107"), "81 0005 04 0108 000a"]),
        Rule("an AGI subtype other than 0x0A", err("AGI_SUBTYPE"),
             ["81 0005 16 " + IDS.replace("000a", "000b", 1)]),
        Rule("an SAII or TAII type other than 1", err("AII_TYPE"),
             ["81 0005 16 " + IDS.replace("0104 0a000001", "0204 0a000001"),
              "81 0005 16 " + IDS.replace("0104 0a000002", "0204 0a000002")]),
        Rule("an SAII or TAII length other than 4, or one is cut", err("AII_LEN"),
             ["81 0005 16 " + IDS.replace("0104 0a000001", "0103 0a000001"),
              "81 0005 15 " + IDS[:-2]]),
        Rule("no SAII or TAII at all behind the AGI", err("SUB_TLV"),
             ["81 0005 0a 0108 000afde800000064"]),
        Rule("accepted, in a Label Mapping with identifiers", OK, [GEN_PWID]),
        Rule("octets behind the TAII: passed over", OK, [f"81 0005 18 {IDS} ffff"]),
    ],
    "The PW info length counts all that follows; 0 stands for all pseudowires of the group that the "
    "PW Group ID TLV names. A PW info length that is too large ends with the TLV.")

WILDCARD_ELEMENT = Format(
    "Wildcard element", 0x01, "RFC 5036 section 3.4.1",
    [("Wildcard (0x01)", 8)],
    [Rule("accepted and passed over, with a pseudowire element in the same TLV", OK, ["01 " + PWID])])

PREFIX_ELEMENT = Format(
    "Prefix element", 0x02, "RFC 5036 section 3.4.1",
    [("Prefix (0x02)", 8), ("Address Family", 16), ("Prefix Length", 8), ("Prefix, its bits in whole octets", REST)],
    [
        Rule("less than four octets, or less than the prefix length tells", err("ADDR_FEC"),
             ["02 0001", "02 0001 21 0a000001"]),
        Rule("an address family other than 1 and 2", err("FAMILY"), ["02 0003 20 0a000001"]),
        Rule("accepted and passed over, with a pseudowire element in the same TLV", OK,
             ["02 0001 18 0a0000 " + PWID, "03 0002 00 " + PWID]),
    ],
    "The host element 0x03 is walked in the same way: its length octet counts bits.")

ELEMENTS = [PWID_ELEMENT, GEN_PWID_ELEMENT, WILDCARD_ELEMENT, PREFIX_ELEMENT]

# ---- Interface parameter sub-TLVs


def number(name, type_, bits, rfc, text="", header=16):
    size = (header + bits) // 8
    bad = f"{type_:02x}{size + 2:02x} " + "00" * size
    good = f"{type_:02x}{size:02x} " + "00" * (bits // 8 - 1) + "21"
    return Format(
        name, type_, rfc,
        [(f"0x{type_:02X}", 8), (f"Length ({size})", 8), (name, bits)],
        [Rule(f"a length other than {size}", err("SUB_TLV"), [bad, f"{type_:02x}02"]),
         Rule("accepted", OK, [good])], text)


SUB_TLVS = [
    number("Interface MTU", 0x01, 16, "RFC 4446 section 3.3"),
    number("Maximum concatenated ATM cells", 0x02, 16, "RFC 4446 section 3.3"),
    Format("Interface description", 0x03, "RFC 4446 section 3.3",
           [("0x03", 8), ("Length", 8), ("Text", REST)],
           [Rule("accepted; kept up to 79 characters", OK, ["0302", "0306 61626364"])],
           "Written with a NUL behind the text, which the length counts, and cut to what the list has "
           "room for: 251 octets in all."),
    number("CEM payload octets", 0x04, 16, "RFC 4446 section 3.3"),
    number("CEP options", 0x05, 16, "RFC 4842", "Bits 0x2000 and 0x0020 tell the RTP mode."),
    number("CEP/TDM bit rate", 0x07, 32, "RFC 4446 section 3.3", "In units of 64 kbit/s."),
    number("Fragmentation indicator", 0x09, 16, "RFC 4623", "The low octet is kept."),
    Format("TDM options", 0x0B, "RFC 5287",
           [("0x0B", 8), ("Length", 8), ("R", 1), ("Options", 15), ("4 or 8 more octets, or none", REST)],
           [Rule("a length other than 4, 8 and 12", err("SUB_TLV"), ["0b06 00000000", "0b02"]),
            Rule("accepted", OK, ["0b04 8000", "0b08 0000 00000000", "0b0c 0000 0000000000000000"])],
           "R and the lowest bit of the options tell the RTP mode. Written when there are no CEP "
           "options and ucRtpMode is not QOR_LDP_RTP_NOT_GIVEN: 4 octets without RTP, else 8, what is "
           "not told zero."),
    number("VCCV capabilities", 0x0C, 16, "RFC 5085", "CC types, then CV types."),
    number("Flow label", 0x17, 16, "RFC 6391"),
]
# How the sub-TLVs are read as a list.
SUB_TLV_RULES = [
    Rule("a length below 2, or more than is left", err("SUB_TLV"), ["0101", "0105 05dc", "0100", "01"]),
    Rule("of another type: logged and skipped", OK, ["7704 0000"]),
]

# ---- Switching points

SPE_TLVS = [
    Format("PW ID of the last segment", 0x01, "RFC 6073 section 7.4.1",
           [("0x01", 8), ("Length (4)", 8), ("PW ID", 32)],
           [Rule("a length other than 4", err("SPE_PWID_LEN"), ["0103 000000"]),
            Rule("accepted", OK, ["0104 00000064"])]),
    Format("Peer address", 0x04, "RFC 6073 section 7.4.1",
           [("0x04", 8), ("Length (4)", 8), ("IPv4 address", 32)],
           [Rule("a length other than 4", err("SPE_PEER_LEN"), ["0402 0000"]),
            Rule("accepted", OK, ["0404 0a000001"])]),
]
SPE_RULES = [
    Rule("a length below 2, or more than is left", err("SUB_TLV"), ["0101 00", "0105 00000064"]),
    Rule("of another type: logged and skipped", OK, ["0202 0000"]),
]

# ---- TLVs


def word(name, type_, rfc, value, text=""):
    """A TLV of one 32-bit word; its code for another length stands with the messages."""
    return Format(name, type_, rfc, [(value, 32)], [], text, length=4)


FEC = Format(
    "FEC TLV", 0x0100, "RFC 5036 section 3.4.1", [("FEC elements", REST)],
    [
        Rule("no pseudowire element, or an element of another type", err("UNKNOWN_FEC"),
             ["", "01", "7f", PWID + " 7f"]),
        Rule("an element is refused", OF_ELEMENT, []),
        Rule("accepted", OK, [PWID, GEN_PWID, f"{PWID} {GEN_PWID}"]),
    ],
    "A list of elements. The last pseudowire element counts. It need not be the first TLV.")
LABEL_TLV = word("Generic Label TLV", 0x0200, "RFC 5036 section 3.4.2.1", "Label")
LABEL_TLV.length_code = {m: err("LABEL_LEN") for m in ("Label Mapping", "Label Withdraw", "Label Release")}
REQ_ID = word("Label Request Message ID TLV", 0x0600, "RFC 5036 section 3.5.7",
              "Message ID of the Label Request")
REQ_ID.length_code = {"Label Mapping": err("REQ_ID_LEN")}
PW_STATUS = word("PW Status TLV", 0x096A, "RFC 8077 section 6.3.2", "Status code",
                 "Bits: 0x01 not forwarding, 0x02 and 0x04 ingress and egress of the attachment "
                 "circuit, 0x08 and 0x10 ingress and egress of the PSN side.")
PW_STATUS.length_code = {m: err("WORD_LEN") for m in ("Label Mapping", "Notification")}
GROUP_ID = word("PW Group ID TLV", 0x096C, "RFC 8077 section 6.2.2.2", "Group ID")
GROUP_ID.length_code = {
    m: err("WORD_LEN") for m in ("Label Mapping", "Label Withdraw", "Label Release", "Notification")}
INTF_PARA = Format(
    "Interface Parameters TLV", 0x096B, "RFC 8077 section 6.2.2.1",
    [("Interface parameter sub-TLVs", REST)],
    [Rule("behind a FEC 129 element: a sub-TLV is refused", err("SUB_TLV"), []),
     Rule("elsewhere: kept as it is", OK, ["", "0104 05dc", "ffff"])],
    "The same sub-TLVs as in a PWid element. Behind a FEC 129 element they are decoded, without the "
    "CEP options and the description. With a FEC 128 element, or in front of a FEC 129 element, the "
    "octets are kept and written back, in the latter case besides those made from the fields.")
SPE = Format(
    "PW Switching Point TLV", 0x096D, "RFC 6073 section 7.4", [("Switching point sub-TLVs", REST)],
    [Rule("a bad list does not fail the message: the switching points are left out", OK,
          ["0101", "0104 00000064 0404 0a000001"])],
    "Up to ten peers are kept and written, the nth with the nth PW ID. PW IDs without a peer are lost.")
MARKER = Format(
    "Marker TLV", 0x3FED, "a vendor TLV", [("Value, not read", REST)],
    [Rule("without U bit: as any unknown TLV", err("UNKNOWN_TLV"), []),
     Rule("with U bit: QOR_LDP_FLAG_MARKER is set", OK, [])],
    "Written with a length of 4, without U bit, its value left to the caller.")
LABEL_ADDR = Format(
    "Address list of Label Withdraw and Release", 0x0300, "a vendor TLV",
    [("00", 2), ("Word", 30), ("Zero", 48)], [],
    "Shares its type with the Status TLV; only in a Notification it is taken as that.", length=10)
LABEL_ADDR.length_code = {"Label Withdraw": err("STATUS_LEN"), "Label Release": err("REL_ADDR_LEN")}
STATUS = Format(
    "Status TLV", 0x0300, "RFC 5036 section 3.4.6",
    [("E", 1), ("F", 1), ("Status Code", 30), ("Message ID", 32), ("Message Type", 16)], [],
    "Must be the first TLV of a Notification. The E bit is written with codes 7 and 8.", length=10)
STATUS.length_code = {"Notification": err("STATUS_LEN")}
EXT_STATUS = Format("Extended Status TLV", 0x0301, "RFC 5036 section 3.5.1", [("Value, not read", REST)],
                    [Rule("accepted", OK, ["", "00000000"])])
RETURNED_PDU = Format("Returned PDU TLV", 0x0302, "RFC 5036 section 3.5.1", [("Value, not read", REST)],
                      [Rule("accepted", OK, ["", "0001"])])
RETURNED_MSG = Format("Returned Message TLV", 0x0303, "RFC 5036 section 3.5.1",
                      [("Octets of the message", REST)], [Rule("accepted", OK, ["", "0400"])],
                      "Read over, and written from pucNotifyData.")

ADDR_LIST = Format(
    "Address List TLV", 0x0101, "RFC 5036 section 3.4.3",
    [("Address Family (1)", 16), ("IPv4 addresses, 4 octets each", REST)],
    [
        Rule("one octet", err("ADDR_LIST"), ["00"]),
        Rule("a family other than 1", err("FAMILY"), ["0002", "0002 00000000", "0002 000000"]),
        Rule("not 2 octets and a multiple of 4", err("ADDR_LIST"), ["0001 000000"]),
        Rule("accepted and passed over", OK, ["", "0001", "0001 0a000001"]),
    ],
    "Written with one address, whose octets are left to the caller.")
PATH_VECTOR = Format("Path Vector TLV", 0x0104, "RFC 5036 section 3.4.5", [("LSR IDs, 4 octets each", REST)],
                     [Rule("accepted, of any length", OK, ["", "0a000001", "01"])])
MAC_LIST = Format(
    "MAC List TLV", 0x0404, "RFC 4762 section 6.2", [("MAC addresses, 6 octets each", REST)],
    [Rule("not a multiple of 6", err("MAC_LIST_LEN"), ["00", "00112233445566"]),
     Rule("accepted", OK, ["", "001122334455"])],
    "Written empty, which tells the peer to forget all that it has not learnt from the sender; an "
    "address list in the record is not written. Under QOR_LDP_FLAG_REPEAT_FEC it is written with a "
    "length of 6, the address left to the caller.")


def vendor(name, type_, fixed, fields, rules, text=""):
    return Format(name, type_, "a vendor TLV", [("Octets " + " ".join(fixed), 32)] + fields, rules, text)


PE_ID = Format("PE-ID List TLV", 0x0405, "of MAC withdrawal", [("PE-IDs, not read further", REST)],
               [Rule("accepted, of any length", OK, ["0a000001"]),
                Rule("accepted when empty, and the record is not encoded then", OK, [""], REFUSED)],
               "Does not displace a MAC list with addresses of the same message.")
FLUSH = Format(
    "MAC Flush Parameters TLV", 0x0406, "RFC 7361", [("Flags", 8), ("Sub-TLVs, not read further", REST)],
    [Rule("empty", err("MAC_LEN"), [""]), Rule("accepted", OK, ["80", "801234"])])
VENDOR_FLUSH = vendor(
    "Vendor flush TLV", 0x3E00, ["00", "03", "FA", "00"], [("Data", REST)],
    [Rule("less than 4 octets", err("MAC_LEN"), ["0003fa"]), Rule("other fixed octets", err("OUI"), ["0003fa01"]),
     Rule("accepted", OK, ["0003fa00", "0003fa00beef"])])
WITHOUT_DATA = Rule("accepted without data, and the record is not encoded then", OK, ["00001e10"], REFUSED)
FLAP = vendor(
    "MAC flap TLV", 0x3E08, ["00", "00", "1E", "10"], [("Data", REST)],
    [Rule("less than 4 octets", err("MAC_LEN"), ["00001e"]), Rule("other fixed octets", err("OUI"), ["00011e10"]),
     Rule("accepted", OK, ["00001e10cafe01"]), WITHOUT_DATA])
FLAP_FLAGS = vendor(
    "MAC flap TLV with flags", 0x3E09, ["00", "00", "1E", "10"], [("Flags", 8), ("Data", REST)],
    [Rule("less than 6 octets", err("MAC_LEN"), ["00001e", "00001e1005"]), Rule("other fixed octets", err("OUI"), ["00001e1105ca"]),
     Rule("accepted", OK, ["00001e1005cafe"])],
    "A record without data is not encoded.")
PW_TAG = vendor(
    "PW tag TLV", 0x3E0A, ["00", "00", "1E", "10"],
    [("Word 1, or the TLV ends here", 32), ("Word 2", 32), ("Data", REST)],
    [Rule("less than 4 octets, or 1 to 7 behind them", err("MAC_LEN"), ["00001e", "00001e1000000001000000"]),
     Rule("other fixed octets", err("OUI"), ["10001e100000000000000000"]),
     Rule("accepted", OK, ["00001e10", "00001e100102020105060605"])],
    "The two words are brought to host order in the received octets.")

TLVS = [FEC, LABEL_TLV, REQ_ID, PW_STATUS, INTF_PARA, GROUP_ID, SPE, MARKER, LABEL_ADDR, STATUS, EXT_STATUS,
        RETURNED_PDU, RETURNED_MSG, ADDR_LIST, PATH_VECTOR, MAC_LIST, PE_ID, FLUSH, VENDOR_FLUSH, FLAP,
        FLAP_FLAGS, PW_TAG]
