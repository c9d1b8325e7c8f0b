#!/usr/bin/env python3
"""Measure qorldp beside tcpdump and tshark on the same captures.

    decode_speed.py QORLDP [--messages N ...] [--rounds N] [--mss BYTES] [--without NAME ...]
    decode_speed.py --write FILE [--messages N] [--mss BYTES] [--shuffle]

Every program runs as a whole process with its output thrown away. The rounds alternate between
them; one that takes longer than --once seconds runs in the first round only. Time is the median per
message, memory the greatest peak. Both are divided by those of the others; below 1 qorldp takes
less.

The capture is one LDP session from the message types that pseudowires use: mostly Label Mappings,
then withdrawals, releases, PW status notifications and MAC withdrawals. Without --mss each message
has its own PDU and TCP segment; with it messages are packed into PDUs and the stream is cut at so
many octets: nearer to what a wire carries, but no fair race, as tcpdump then skips all messages
that do not start with a segment.
"""

import argparse
import os
import random
import select
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import time

MAX_PDU = 4096


def tlv(kind, value, unknown=False):
    return struct.pack(">HH", kind | (0x8000 if unknown else 0), len(value)) + value


def parameter(kind, value):
    return bytes((kind, len(value) + 2)) + value


def pwid(rng, pw_id, parameters=b""):
    element = struct.pack(
        ">BHBII", 0x80, rng.choice((4, 5)) | rng.choice((0, 0x8000)), 4 + len(parameters), 0, pw_id
    )
    return tlv(0x0100, element + parameters)


def generalized(pw_id):
    group = struct.pack(">BBHI", 0, 0x0A, 65000, pw_id)
    body = b"\x01\x08" + group + struct.pack(">BBIBBI", 1, 4, pw_id, 1, 4, pw_id + 1)
    return tlv(0x0100, struct.pack(">BHB", 0x81, 5, len(body)) + body)


def body(rng, pw_id):
    label = tlv(0x0200, struct.pack(">I", 16 + pw_id % 1000000))
    status = tlv(0x096A, struct.pack(">I", rng.choice((0, 0, 1, 0x18))), unknown=True)
    mtu = parameter(1, struct.pack(">H", rng.choice((1500, 9000))))
    draw = rng.random()
    if draw < 0.70:
        parameters = mtu + parameter(12, b"\x01\x02")
        if rng.random() < 0.3:
            parameters += parameter(3, b"customer %d" % (pw_id % 1000))
        return 0x0400, pwid(rng, pw_id, parameters) + label + status
    if draw < 0.75:
        return 0x0400, generalized(pw_id) + label + tlv(0x096B, mtu)
    if draw < 0.83:
        return 0x0402, pwid(rng, pw_id) + label
    if draw < 0.91:
        return 0x0403, pwid(rng, pw_id) + label
    if draw < 0.97:
        return 0x0001, tlv(0x0300, struct.pack(">IIH", 0x28, 0, 0)) + status + pwid(rng, pw_id)
    macs = rng.randbytes(6 * rng.randrange(1, 4))
    addresses = tlv(0x0101, b"\x00\x01\x0a\x00\x00\x01")
    return 0x0301, addresses + pwid(rng, pw_id) + tlv(0x0404, macs, unknown=True)


def messages(rng, count):
    for number in range(1, count + 1):
        kind, octets = body(rng, 100 + number)
        yield struct.pack(">HHI", kind, len(octets) + 4, number) + octets


def pdu(octets):
    return struct.pack(">HHIH", 1, len(octets) + 6, 0x0A000001, 0) + octets


def pdus(source, packed):
    batch = b""
    for message in source:
        if batch and (not packed or len(batch) + len(message) > MAX_PDU - 6):
            yield pdu(batch)
            batch = b""
        batch += message
    yield pdu(batch)


def segments(source, mss):
    if mss is None:
        yield from source
        return
    stream = b"".join(source)
    for at in range(0, len(stream), mss):
        yield stream[at : at + mss]


def frame(sequence, payload):
    tcp = struct.pack(">HHIIBBHHH", 646, 50000, sequence & 0xFFFFFFFF, 1, 0x50, 0x18, 65535, 0, 0)
    addresses = b"\x0a\0\0\1\x0a\0\0\2"
    ip = struct.pack(
        ">BBHHHBBH8s", 0x45, 0xC0, 40 + len(payload), 0, 0x4000, 64, 6, 0, addresses
    )
    total = sum(struct.unpack(">10H", ip))
    total = (total & 0xFFFF) + (total >> 16)
    ip = ip[:10] + struct.pack(">H", ~(total + (total >> 16)) & 0xFFFF) + ip[12:]
    return b"\x02\0\0\0\0\2\x02\0\0\0\0\1\x08\0" + ip + tcp + payload


def numbered(source):
    sequence = 1
    for payload in source:
        yield sequence, payload
        sequence += len(payload)


def shuffled(source):
    """Swaps and repeats some segments."""
    source = list(source)
    for i in range(0, len(source) - 1, 7):
        source[i], source[i + 1] = source[i + 1], source[i]
    for i, segment in enumerate(source):
        yield segment
        if i % 11 == 5:
            yield segment


def write_capture(path, count, mss, shuffle=False):
    rng = random.Random(1)
    with open(path, "wb") as out:
        out.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 1))
        source = numbered(segments(pdus(messages(rng, count), mss is not None), mss))
        for number, segment in enumerate(shuffled(source) if shuffle else source):
            packet = frame(*segment)
            when = (1700000000 + number // 1000, number % 1000 * 1000, len(packet), len(packet))
            out.write(struct.pack("<IIII", *when) + packet)


def peak_of(pid):
    """Returns the peak KiB of a running process. What the system reports at its end includes the
    process that it was forked from."""
    with open(f"/proc/{pid}/status", encoding="utf-8") as status:
        peaks = [int(line.split()[1]) for line in status if line.startswith("VmHWM:")]
    return max(peaks, default=0)


def run(command):
    """Returns seconds and peak KiB of a process."""
    begin = time.perf_counter()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    over = os.pidfd_open(child.pid)
    peak = 0
    while not select.select([over], [], [], 0.005)[0]:
        peak = max(peak, peak_of(child.pid))
    seconds = time.perf_counter() - begin
    os.close(over)
    if child.wait() != 0:
        sys.exit(f"{' '.join(command)}: exit status {child.returncode}")
    return seconds, peak


def measure(programs, options):
    """{name: (median seconds, greatest peak KiB)}"""
    results = {name: [] for name in programs}
    for _ in range(options.rounds):
        for name, command in programs.items():
            if not results[name] or results[name][0][0] < options.once:
                results[name].append(run(command))
    return {
        name: (statistics.median(seconds), max(peaks))
        for name, (seconds, peaks) in ((name, zip(*runs)) for name, runs in results.items())
    }


def report(count, results):
    for own, (seconds, peak) in results.items():
        if own.startswith("qorldp"):
            for case, at, value in (
                ("time", 0, f"{seconds / count * 1e9:7.1f} ns "),
                ("peak memory", 1, f"{peak / 1024:7.1f} MiB"),
            ):
                ratios = ", ".join(
                    f"{name} {results[own][at] / other[at]:.3g}"
                    for name, other in results.items()
                    if name != own
                )
                print(f"{f'{own}: {case}':32} {count:>9} {value}   {ratios}", flush=True)


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawTextHelpFormatter
    )
    parser.add_argument("qorldp", nargs="?", help="the program under test")
    parser.add_argument("--write", metavar="FILE", help="write the capture and stop")
    parser.add_argument("--messages", type=int, nargs="+", default=[100000, 1000000])
    parser.add_argument("--mss", type=int, help="pack messages into PDUs, cut segments here")
    parser.add_argument("--shuffle", action="store_true", help="swap and repeat some segments")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--once", type=float, default=10, metavar="SECONDS")
    parser.add_argument("--without", nargs="*", default=[], help="names of the table to leave out")
    options = parser.parse_args()
    if options.write:
        write_capture(options.write, options.messages[0], options.mss, options.shuffle)
        return
    if not options.qorldp:
        parser.error("which qorldp?")

    print(f"{'case':32} {'n':>9} {'qorldp':>11}   ratio to")
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "session.pcap")
        programs = {
            "qorldp decode": [options.qorldp, "decode", path],
            "qorldp decode --json": [options.qorldp, "decode", "--json", path],
            "tcpdump -nv": ["tcpdump", "-nvr", path],
            "tshark -V": ["tshark", "-V", "-r", path],
            "tshark -T json": ["tshark", "-T", "json", "-r", path],
        }
        chosen = {
            name: command
            for name, command in programs.items()
            if shutil.which(command[0]) and name not in options.without
        }
        for count in options.messages:
            write_capture(path, count, options.mss, options.shuffle)
            report(count, measure(chosen, options))


if __name__ == "__main__":
    main()
