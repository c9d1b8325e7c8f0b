"""The codec of the built shared libraries, called from Python by scripts/wire-formats.py."""
import ctypes
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
        log = ctypes.create_string_buffer(128)
        log_context = self.qor.QOR_LOG_Init(log, log)
        config = ctypes.create_string_buffer(struct.pack("=QQQ", 0, 1, log_context), 256)
        self.context = ctypes.c_void_p(self.qor.QOR_PKT_Init(config))

    def run(self, type_, body):
        """Decodes a message. Returns the code and, when that is 0, what the record encodes to."""
        message = struct.pack(">HHI", type_, 4 + len(body), 1) + body
        received = ctypes.create_string_buffer(message, max(len(message), 8))
        record = ctypes.create_string_buffer(1024)
        code = self.qor.QOR_LDP_PKT_DecodeMsg(received, record, self.context)
        written = b""
        if code == 0:
            out = ctypes.create_string_buffer(16384)
            length = self.qor.QOR_LDP_PKT_EncodeMsg(out, record, self.context)
            written = out.raw[8:length]
        self.qor.QOR_LDP_PKT_FreeSignalMsg(record, self.context)
        return code, written

    def status(self, code):
        fatal = ctypes.c_uint32()
        return self.qor.QOR_LDP_PKT_ErrCode2StatusCode(code, ctypes.byref(fatal)), fatal.value
