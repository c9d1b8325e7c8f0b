#!/usr/bin/env python3
"""Captures made to exhaust memory, through a pipe. Arguments: the program."""

import array
import fcntl
import re
import struct
import subprocess
import sys
import termios
import time
import unittest

QORLDP = sys.argv.pop(1)
MEMORY = 64 << 20
FILE = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 101)
SYN, RST, ACK = 2, 4, 16
# A little less than the tool's limits, so that no stream is dropped.
HELD, OVERHEAD, STREAM_HELD = 8060 << 10, 160, 890 << 10


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


def cut_pdus(size, kept):
    """Every stream has had a long PDU in pieces and holds the start of the next."""
    def packets():
        long = pdu(size)
        for stream in range(6000):
            yield frame(stream, 0, SYN)
            for at in range(0, size, 30000):
                yield frame(stream, 1 + at, ACK, long[at:at + 30000])
            for at in range(0, kept, 30000):
                yield frame(stream, 1 + size + at, ACK, long[at:min(at + 30000, kept)])
    return packets


def zeros():
    for _ in range(4096):
        yield bytes(1 << 20)


class Held:
    """Streams that hold back segments."""
    streams = 0

    def __init__(self):
        self.mine, self.octets, self.seq = [], 0, 0

    def segment(self, size):
        if not self.mine or self.octets + size + OVERHEAD > STREAM_HELD * len(self.mine):
            Held.streams += 1
            self.mine.append(Held.streams)
            self.octets = STREAM_HELD * (len(self.mine) - 1)
            self.seq = 3
            yield frame(Held.streams, 0, SYN)
        yield frame(self.mine[-1], self.seq, ACK, bytes(size))
        self.seq += size + 1
        self.octets += size + OVERHEAD


def holes(keep):
    """Makes holes in the memory that held segments take: of each size one in keep stays."""
    kept = Held()
    for size in 64, 700, 3200, 14000, 58000:
        rest = Held()
        for at in range((HELD - kept.octets) // (size + OVERHEAD)):
            yield from (kept if at % keep == 0 else rest).segment(size)
        for stream in rest.mine:
            yield frame(stream, 0, RST)


def block(kind, body):
    """A pcapng block."""
    return struct.pack("<II", kind, 12 + len(body)) + body + struct.pack("<I", 12 + len(body))


NG = block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1))


def next_generation(records):
    """The same records in pcapng, behind the longest block that libpcap takes."""
    yield block(1, struct.pack("<HHI", 101, 0, 0))
    yield block(0x0BAD, bytes((16 << 20) - 64))
    for record in records:
        head, octets = record[:16], record[16:]
        yield block(6, struct.pack("<III", 0, 0, 0) + head[8:] + octets + bytes(-len(octets) % 4))


def interfaces():
    for _ in range(4000):
        yield block(1, struct.pack("<HHI", 1, 0, 0)) * 1000


def peak(child):
    """The most memory that the child has used, once it has read all; None when it has ended."""
    unread = array.array("i", [1])
    while unread[0]:
        fcntl.ioctl(child.stdin, termios.FIONREAD, unread)
        time.sleep(0.05)
        if child.poll() is not None:
            return None
    with open(f"/proc/{child.pid}/status", encoding="ascii") as status:
        return int(re.search(r"VmHWM:\s*(\d+) kB", status.read())[1]) << 10


class Limits(unittest.TestCase):
    def run_with(self, pieces, first=FILE):
        child = subprocess.Popen([QORLDP, "decode", "--stats", "-"], stdin=subprocess.PIPE,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        memory = None
        try:
            with child.stdin as pipe:
                pipe.write(first)
                for piece in pieces:
                    pipe.write(piece)
                pipe.flush()
                memory = peak(child)
        except BrokenPipeError:
            pass  # it has seen enough
        return child.wait(), memory

    def test_memory_and_status(self):
        cases = {
            "a million half-open streams": half_open(),
            "gaps in one stream": gaps(1, 100000)(),
            "gaps in all streams": gaps(4000, 40)(),
            "tiny segments behind gaps": tiny(),
            "the start of a PDU in each stream": cut_pdus(4100, 4000)(),
            "the start of the longest PDU in each stream": cut_pdus(65539, 60000)(),
            "segments of all sizes come and go": holes(5),
            "4 GiB of zeros": zeros(),
        }
        for name, pieces in cases.items():
            with self.subTest(name):
                status, memory = self.run_with(pieces)
                self.assertEqual(status, 0)
                print(f"{name}: {memory >> 20} MiB")
                self.assertLess(memory, MEMORY)

    def test_pcapng(self):
        status, memory = self.run_with(next_generation(holes(5)), NG)
        print(f"the longest block of pcapng, and segments of all sizes: {memory >> 20} MiB")
        self.assertEqual(status, 0)
        self.assertLess(memory, MEMORY)

    def test_what_cannot_be_read(self):
        self.assertEqual(self.run_with(zeros(), b"")[0], 2)
        self.assertEqual(self.run_with(interfaces(), NG)[0], 2)


if __name__ == "__main__":
    unittest.main()
