"""The codec's headers, and the codec of the built shared libraries, called from Python, for
scripts/wire-formats.py."""
import ctypes
import pathlib
import re
import struct


def octets(text):
    """The octets of hex with [ ] around what a 16-bit length counts."""
    stack = [b""]
    for token in re.findall(r"[\[\]]|(?:[0-9a-f]{2})+", text):
        if token == "[":
            stack.append(b"")
        elif token == "]":
            inner = stack.pop()
            stack[-1] += struct.pack(">H", len(inner)) + inner
        else:
            stack[-1] += bytes.fromhex(token)
    return stack[0]


ROOT = pathlib.Path(__file__).resolve().parent.parent
BITS = dict(re.findall(r"<class-decl name='(\w+)' size-in-bits='(\d+)'", (ROOT / "tests/api/libqor.abi").read_text()))


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


# ---- Calls


def record(name, begin=b"", count=1):
    """Room for records, that begin with some octets, else zero."""
    return ctypes.create_string_buffer(begin, int(BITS[name]) // 8 * count)


class Library:
    """Decodes and encodes with the shared libraries."""

    def __init__(self, qor, host):
        self.host = ctypes.CDLL(host, mode=ctypes.RTLD_GLOBAL)
        self.qor = ctypes.CDLL(qor)
        for name in ("QOR_PKT_Init", "QOR_LOG_Init"):
            getattr(self.qor, name).restype = ctypes.c_void_p
        for name in ("DecodeMsg", "EncodeMsg", "ErrCode2StatusCode"):
            getattr(self.qor, "QOR_LDP_PKT_" + name).restype = ctypes.c_uint32
        # Log lines and reports are not what is looked at.
        line = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p)
        self.quiet = line(lambda user, what: None)
        for sink in range(4):
            self.host.HOST_POSIX_LineSink(sink, self.quiet, None)
        report = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_uint32)
        self.unreported = report(lambda user, file, line: None)
        self.host.HOST_POSIX_AssertSink(self.unreported, None)
        log_context = self.qor.QOR_LOG_Init(record("QOR_LOG_CFG_S"), record("QOR_LOG_CFG_S"))
        config = record("QOR_PKT_CTX_S", struct.pack("=QQQ", 0, 1, log_context))
        self.context = ctypes.c_void_p(self.qor.QOR_PKT_Init(config))

    def run(self, type_, body):
        """Decodes a message. Returns the code and, when that is 0, what the record encodes to behind the
        message ID, None for nothing."""
        message = struct.pack(">HHI", type_, 4 + len(body), 1) + body
        received = ctypes.create_string_buffer(message, max(len(message), 8))
        message = record("QOR_LDP_SIGNAL_MSG_S")
        code = self.qor.QOR_LDP_PKT_DecodeMsg(received, message, self.context)
        written = None
        if code == 0:
            out = ctypes.create_string_buffer(16384)
            length = self.qor.QOR_LDP_PKT_EncodeMsg(out, message, self.context)
            written = out.raw[8:length] if length else None
        self.qor.QOR_LDP_PKT_FreeSignalMsg(message, self.context)
        return code, written

    def status(self, code):
        fatal = ctypes.c_uint32()
        return self.qor.QOR_LDP_PKT_ErrCode2StatusCode(code, ctypes.byref(fatal)), fatal.value
