#!/usr/bin/env python3
"""Captures made to exhaust memory, through a pipe. Arguments: the program."""

import os
import struct
import subprocess
import sys
import unittest

QORLDP = sys.argv.pop(1)
MEMORY = 64 << 20
FILE = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 101)
SYN, ACK = 2, 16


def frame(stream, seq, flags, data=b"", second=0):
    """A pcap record: raw IPv4, TCP from an address that stands for the stream."""
    octets = struct.pack(">BBHHHBBHIIHHIIBBHHH", 0x45, 0, 40 + len(data), 1, 0, 64, 6, 0,
                         0x0B000000 + stream, 0x0A000002, 50000, 646, seq, 0, 0x50, flags,
                         0xFFFF, 0, 0) + data
    return struct.pack("<IIII", second, 0, len(octets), len(octets)) + octets


def pdu(size):
    """One message of an unknown TLV in a PDU of so many octets."""
    return struct.pack(">HHIHHHIHH", 1, size - 4, 0x0A000001, 0, 0x0201, size - 14, 1, 0x8F00,
                       size - 22) + bytes(size - 22)


def half_open():
    for stream in range(1000000):
        yield frame(stream, 1, SYN)


def gaps(streams, segments):
    """Each segment stands behind a hole that is never filled."""
    def packets():
        for at in range(segments):
            for stream in range(streams):
                yield frame(stream, 2 + 900 * at + (at > 0), ACK, bytes(800))
    return packets


def tiny():
    for at in range(3000):
        for stream in range(200):
            yield frame(stream, 2 + 2 * at + (at > 0), ACK, b"x")


def cut_pdus(size):
    """Every stream has had a long PDU in pieces and holds the start of the next."""
    def packets():
        long = pdu(size)
        for stream in range(6000):
            yield frame(stream, 0, SYN)
            for at in range(0, size, 30000):
                yield frame(stream, 1 + at, ACK, long[at:at + 30000])
            yield frame(stream, 1 + size, ACK, long[:200])
    return packets


def zeros():
    for _ in range(4096):
        yield bytes(1 << 20)


class Limits(unittest.TestCase):
    def run_with(self, pieces, first=FILE):
        child = subprocess.Popen([QORLDP, "decode", "--stats", "-"], stdin=subprocess.PIPE,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            with child.stdin as pipe:
                pipe.write(first)
                for piece in pieces:
                    pipe.write(piece)
        except BrokenPipeError:
            pass  # it has seen enough
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        return child.returncode, usage.ru_maxrss * 1024

    def test_memory_and_status(self):
        cases = {
            "a million half-open streams": (half_open(), 0),
            "gaps in one stream": (gaps(1, 100000)(), 0),
            "gaps in all streams": (gaps(4000, 40)(), 0),
            "tiny segments behind gaps": (tiny(), 0),
            "PDUs of the usual limit": (cut_pdus(4100)(), 0),
            "the longest PDUs": (cut_pdus(65539)(), 0),
            "4 GiB of zeros": (zeros(), 0),
        }
        for name, (pieces, expected) in cases.items():
            with self.subTest(name):
                status, memory = self.run_with(pieces)
                print(f"{name}: status {status}, {memory >> 20} MiB")
                self.assertEqual(status, expected)
                self.assertLess(memory, MEMORY)
        with self.subTest("4 GiB of zeros that are no capture"):
            self.assertEqual(self.run_with(zeros(), b"")[0], 2)


if __name__ == "__main__":
    unittest.main()
