"""The qorldp program as its users run it. Arguments: the program, two-routers.pcap."""

import collections
import json
import os
import re
import resource
import struct
import subprocess
import sys
import tempfile
import unittest

QORLDP, TWO_ROUTERS = sys.argv[1:]
FOLDER = tempfile.TemporaryDirectory()
with open(TWO_ROUTERS, "rb") as capture:
    OCTETS = capture.read()


def run(*arguments, **options):
    pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
    return subprocess.run([QORLDP, *arguments], text=True, timeout=60, **pipes)


def objects(*arguments):
    return [json.loads(line) for line in run("decode", "--json", *arguments).stdout.splitlines()]


def file(octets):
    with tempfile.NamedTemporaryFile(dir=FOLDER.name, delete=False) as out:
        out.write(octets)
    return out.name


def pcapng(octets):
    """The same capture in the other format, which its times in microseconds suit."""
    def block(kind, body):
        return struct.pack("<II", kind, 12 + len(body)) + body + struct.pack("<I", 12 + len(body))

    link, at = struct.unpack_from("<I", octets, 20)[0], 24
    blocks = [block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1)),
              block(1, struct.pack("<HHI", link, 0, 0))]
    while at < len(octets):
        second, micro, kept, length = struct.unpack_from("<IIII", octets, at)
        time = second * 1000000 + micro
        head = struct.pack("<IIIII", 0, time >> 32, time & 0xFFFFFFFF, kept, length)
        blocks.append(block(6, head + octets[at + 16 : at + 16 + kept] + bytes(-kept % 4)))
        at += 16 + kept
    return b"".join(blocks)


class Cli(unittest.TestCase):
    def test_two_routers(self):
        shown = objects(TWO_ROUTERS)
        self.assertEqual({m["code"] for m in shown}, {0})
        names = {"Label Mapping": 9, "Label Withdraw": 6, "Label Release": 2, "Notification": 12}
        names["Address Withdraw"] = 2
        self.assertEqual(collections.Counter(m["name"] for m in shown if "fec" in m), names)
        self.assertEqual([m["class"] for m in shown if "fec" not in m], ["notification"] * 4)
        self.assertEqual(len(objects(*[TWO_ROUTERS] * 50)), 50 * len(shown))
        *shown, stats = objects("--all", "--stats", TWO_ROUTERS)
        self.assertEqual(collections.Counter(m["transport"] for m in shown), {"tcp": 62, "udp": 61})
        self.assertEqual(stats["kind"], "stats")
        self.assertEqual(stats["total"], {"number": 123, "pseudowire": 31, "malformed": 0})
        for counter in ("gaps", "octets_lost", "octets_skipped", "framing_errors", "errors"):
            self.assertFalse(stats[counter])

    def test_text_and_json_agree(self):
        done = run("decode", "--all", TWO_ROUTERS)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        blocks = re.split(r"\n(?=\S)", done.stdout.strip())
        lines = run("decode", "--all", "--json", TWO_ROUTERS).stdout.splitlines()
        self.assertEqual(len(blocks), len(lines))
        only_json = {"kind", "transport", "type", "length", "u_bit", "class", "code"}
        for block, line in zip(blocks, lines):
            block = block.replace(" ", "T", 1).replace(" ", "Z ", 1)
            fields = []
            json.loads(line, object_pairs_hook=fields.extend)
            for key, value in fields:
                for item in value if isinstance(value, list) else [value]:
                    forms = [str(item)]
                    forms += [f"0x{item:0{n}X}" for n in (2, 4, 8) if isinstance(item, int)]
                    if not (item is None or isinstance(item, bool) or key in only_json):
                        self.assertTrue(any(f in block for f in forms), f"{key} {item}\n{block}")

    def test_exit_status_and_sentence(self):
        # The PW info length of the first PWid element: its interface parameters end too early.
        at = OCTETS.index(b"\x80\x80\x04\x08") + 3
        malformed = file(OCTETS[:at] + b"\x07" + OCTETS[at + 1 :])
        cut, empty = file(OCTETS[:-9]), file(b"")
        for path, status, sentence in (
            (TWO_ROUTERS, 0, ""),
            (malformed, 1, ""),
            (empty, 2, "the file is empty"),
            (file(b"hello\n" * 50), 2, "no capture"),
            (cut, 2, "damaged"),
            (file(OCTETS[:20] + b"\x69\0\0\0" + OCTETS[24:]), 2, "not supported"),
            (os.path.join(FOLDER.name, "none"), 2, "No such file"),
            (FOLDER.name, 2, "directory"),
        ):
            done = run("decode", path)
            self.assertEqual(done.returncode, status, path)
            line = f"qorldp: {path}: .*{sentence}.*\n" if sentence else ""
            self.assertRegex(done.stderr, f"\\A{line}\\Z")
        whole = run("decode", TWO_ROUTERS).stdout
        shown = run("decode", cut).stdout
        self.assertTrue(len(shown) > 1000 and whole.startswith(shown))
        self.assertRegex(run("decode", malformed).stdout, "MALFORMED(.|\n)*reason")
        several = run("decode", empty, TWO_ROUTERS)
        self.assertEqual((several.returncode, several.stdout), (2, whole))

    def test_arguments(self):
        cases = ["--help"], ["decode", "--help"], ["--version"], [], ["decode"], ["decode", "-x"]
        for arguments, status in zip(cases, (0, 0, 0, 2, 2, 2)):
            done = run(*arguments)
            self.assertEqual(done.returncode, status, arguments)
            self.assertTrue(done.stderr if status else done.stdout)

    def test_standard_input_and_output(self):
        with open(TWO_ROUTERS, "rb") as capture:
            piped = run("decode", "-", stdin=capture).stdout
        shown = run("decode", TWO_ROUTERS).stdout
        self.assertEqual(piped, shown)
        self.assertEqual(run("decode", file(pcapng(OCTETS))).stdout, shown)
        with open("/dev/full", "w") as full:
            done = run("decode", TWO_ROUTERS, stdout=full)
            self.assertEqual(run("--version", stdout=full).returncode, 2)
        self.assertEqual(done.returncode, 2)
        self.assertIn("No space left", done.stderr)
        with open(file(b""), "w") as small:
            done = run("decode", TWO_ROUTERS, stdout=small, preexec_fn=lambda: resource.setrlimit(
                resource.RLIMIT_FSIZE, (1000, 1000)))
        self.assertEqual(done.returncode, 2)
        receiver, sender = os.pipe()
        os.close(receiver)
        done = run("decode", TWO_ROUTERS, stdout=sender)
        os.close(sender)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


unittest.main(argv=sys.argv[:1])
