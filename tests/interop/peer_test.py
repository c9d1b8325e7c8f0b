"""An LDP peer whose pseudowire messages the library encodes talks to a real daemon, which must show
what they say. Arguments: qorldp, encode_peer.
"""

import select
import socket
import struct
import subprocess
import sys
import threading
import time

from lab import HIGH, PATIENCE, R1, R2, Lab, Router, connect, until
from signalling import Capture, agree, heard, replay

PORT, ALL_ROUTERS, HERE = 646, "224.0.0.2", "10.0.0.2"
HELLO, INITIALIZATION, KEEPALIVE = 0x0100, 0x0200, 0x0201
HOLD = 60  # seconds that a hello and a KeepAlive last

# What the daemon shows of a pseudowire's other side, and why it says that the pseudowire is down.
# It cannot forward here, and says so or nothing when the other side is well.
SHOWN = ("remoteLabel", "remoteControlWord", "remoteVcType", "remoteGroupID", "remoteIfMtu",
         "lastFailureReason")
OURS = "local not forwarding"
SAME = {"No Error": OURS}

MAPPING, REQUEST, WITHDRAW, RELEASE, STATUS, MAC_WITHDRAW = (
    f"type={kind:#x} " for kind in (0x400, 0x401, 0x402, 0x403, 1, 0x301))
ERROR = STATUS + "flags=1 "
PLAIN = f"pwtype=5 pwid={HIGH} cbit=1 group=0xfffffffe "
UNASSIGNED = ("unassigned", None, None, None, None)

# What is sent in one PDU ({own[n]}: the daemon's label), the daemon's answers as for heard(), and
# what it then shows.
STEPS = [
    ("mappings",
     [MAPPING + "pwtype=4 pwid=100 cbit=1 group=7 label=1048575 mtu=1500 vccv=0x0402 desc=to-r1",
      MAPPING + "pwtype=4 pwid=777 group=7 label=16 mtu=1400 rtp=0xff",
      MAPPING + PLAIN + "label=100000 mtu=9000 pwstatus=1 rtp=0xff",
      MAPPING + "pwtype=5 pwid=65536 cbit=1 label=20 mtu=9000 pwstatus=0xffffffff"],
     [(R1, "Notification", 100), (R1, "Label Withdraw", 65536)],
     {100: (1048575, 1, "Eth Tagged", 7, 1500, OURS),
      777: (16, 0, "Eth Tagged", 7, 1400, "mtu mismatch between peers"),
      HIGH: (100000, 1, "Ethernet", 0xFFFFFFFE, 9000, "remote not forwarding"),
      65536: (20, 1, "Ethernet", 0, 9000, OURS)}),
    ("down", [STATUS + "pwtype=4 pwid=100 cbit=1 group=7 status=0x18"], [],
     {100: (1048575, 1, "Eth Tagged", 7, 1500, "remote not forwarding")}),
    ("up", [STATUS + "pwtype=4 pwid=100 cbit=1 group=7 status=0", STATUS + PLAIN + "status=0"],
     [(R1, "Notification", HIGH)],
     {100: (1048575, 1, "Eth Tagged", 7, 1500, OURS),
      HIGH: (100000, 1, "Ethernet", 0xFFFFFFFE, 9000, OURS)}),
    ("group down", [STATUS + "pwtype=4 nopwid=1 group=7 status=1"], [],
     {100: (1048575, 1, "Eth Tagged", 7, 1500, "remote not forwarding")}),
    ("other mapping", [MAPPING + "pwtype=4 pwid=777 group=8 label=17 mtu=1500"],
     [(R1, "Label Release", 777), (R1, "Notification", 777)],
     {777: (17, 0, "Eth Tagged", 8, 1500, OURS)}),
    ("request", [REQUEST + "pwtype=4 pwid=100 cbit=1"], [(R1, "Label Mapping", None)], {}),
    ("MAC withdrawal", [MAC_WITHDRAW + "pwtype=4 pwid=100 cbit=1"],
     [(R1, "Notification", "Unknown TLV")], {}),
    ("withdrawal", [WITHDRAW + "pwtype=4 pwid=100 cbit=1 group=7 label=1048575"],
     [(R1, "Label Release", 100)], {100: UNASSIGNED}),
    ("withdrawal of a group",
     [WITHDRAW + "pwtype=5 nopwid=1 cbit=1 group=0xfffffffe label=0xffffffff"],
     [(R1, "Label Release", None)], {HIGH: UNASSIGNED}),
    ("release and error",
     [RELEASE + "pwtype=4 pwid=777 label={own[777]}", ERROR + "status=0x16 statustype=0x400"], [],
     {777: (17, 0, "Eth Tagged", 8, 1500, OURS)}),
    # The daemon gives up the control word that it wants: RFC 8077 section 7.2.
    ("mapping without control word",
     [MAPPING + "pwtype=4 pwid=100 group=1 label=18 mtu=1500"],
     [(R1, "Label Withdraw", 100)], {100: (18, 0, "Eth Tagged", 1, 1500, OURS)}),
]
LAST_STEP = (
    "release of what it withdrew", [RELEASE + "pwtype=4 pwid=100 cbit=1 label={own[100]}"],
    [(R1, "Label Mapping", 100)], {100: (18, 0, "Eth Tagged", 1, 1500, OURS)})
MALFORMED = [(R1, "Label Mapping", 0x8005001F)]  # the answer to the request: no PW ID


def tlv(kind, value):
    return struct.pack("!HH", kind, len(value)) + value


class Session(threading.Thread):
    """One LDP session and what keeps it up (RFC 5036 sections 2.4 and 2.5)."""

    def __init__(self, encoder):
        super().__init__(daemon=True)
        self.encoder, self.own = encoder, socket.inet_aton(R2)
        self.last_id, self.buffer, self.types, self.fault = 0, b"", [], None
        self.lock, self.tcp = threading.Lock(), None
        self.udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.udp.bind(("", PORT))
        self.udp.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(HERE))

    def next_id(self):
        self.last_id += 1
        return self.last_id

    def message(self, kind, *tlvs):
        return tlv(kind, struct.pack("!I", self.next_id()) + b"".join(tlvs))

    def pdu(self, *messages):
        return tlv(1, self.own + bytes(2) + b"".join(messages))  # version 1, label space 0

    def run(self):
        due = 0
        try:
            while True:
                ready = select.select([self.tcp] if self.tcp else [], [], [], 0.5)[0]
                if ready:
                    self.receive()
                    continue
                hello = tlv(0x0400, struct.pack("!HH", HOLD, 0)), tlv(0x0401, self.own)
                with self.lock:
                    self.udp.sendto(self.pdu(self.message(HELLO, *hello)), (ALL_ROUTERS, PORT))
                    if KEEPALIVE in self.types and time.monotonic() > due:
                        self.tcp.sendall(self.pdu(self.message(KEEPALIVE)))
                        due = time.monotonic() + HOLD / 3
        except OSError as error:
            self.fault = str(error)

    def receive(self):
        octets = self.tcp.recv(65536)
        if not octets:
            raise OSError("closed by the daemon")
        self.buffer += octets
        while len(self.buffer) >= 10:
            end = 4 + struct.unpack_from("!H", self.buffer, 2)[0]
            if len(self.buffer) < end:
                break
            at = 10
            while at < end:
                kind, length = struct.unpack_from("!HH", self.buffer, at)
                self.types.append(kind & 0x7FFF)
                at += 4 + length
            self.buffer = self.buffer[end:]

    def open(self, router):
        """The peer with the greater address connects: this one."""
        self.start()
        until("the daemon hears hello", lambda: R2 in str(router.show("mpls ldp discovery")))
        tcp = socket.create_connection((R1, PORT), timeout=PATIENCE, source_address=(R2, 0))
        parameters = struct.pack("!HHBBH4sH", 1, HOLD, 0, 0, 4096, socket.inet_aton(R1), 0)
        tcp.sendall(self.pdu(self.message(INITIALIZATION, tlv(0x0500, parameters))))
        self.tcp = tcp
        until("session", lambda: router.sessions() == [R2])

    def send(self, records):
        with self.lock:
            lines = "".join(f"{record} bodyid={self.next_id()}\n" for record in records)
            done = subprocess.run([self.encoder], input=lines, text=True, check=True,
                                  stdout=subprocess.PIPE, timeout=PATIENCE)
            self.tcp.sendall(self.pdu(bytes.fromhex(done.stdout)))


def play(lab, router, session, capture, step, records, answers, shown):
    before = len(capture.messages())
    labels = {pw_id: binding["localLabel"] for pw_id, binding in router.bindings().items()}
    session.send([record.format(own=labels) for record in records])

    def probe():
        yield from heard(step, capture, before, answers)
        seen = router.bindings()
        for pw_id, values in shown.items():
            for key, value in zip(SHOWN, values):
                found = seen.get(pw_id, {}).get(key)
                yield f"{step}: PW ID {pw_id}: {key}", SAME.get(found, found), value
    lab.settle(probe)


def test(lab):
    router = Router(1)
    connect("", 2)
    capture = Capture(sys.argv[1], router)
    router.start()
    session = Session(sys.argv[2])
    session.open(router)
    own = [(R1, "Label Mapping", pw_id) for pw_id in (100, 777, 65536, HIGH)]
    lab.settle(lambda: heard("start", capture, 0, own))
    for step in STEPS:
        play(lab, router, session, capture, *step)
        agree(lab, step[0], capture, router)
    play(lab, router, session, capture, *LAST_STEP)
    # Not what the daemon shows: that is the control word it would like.
    sent = replay(capture.messages())[R1].live[100]
    lab.compare("control word that is left", sent["ControlWord"], 0)

    def octets_and_capture():
        decoded = [m["type"] for m in capture.messages() if m["lsr_id"] == R1]
        yield "message types decoded", decoded, list(session.types)
    lab.settle(octets_and_capture)
    lab.compare("session", (router.sessions(), session.fault), ([R2], None))
    objects = capture.finish(lab, MALFORMED)
    released = [(m["fec"].get("pw_id"), m.get("label")) for m in objects
                if (m["lsr_id"], m["name"]) == (R1, "Label Release")]
    lab.compare("labels released", released, [(777, 16), (100, 1048575), (None, None)])
    fatal = [m for m in objects if m.get("status", {}).get("fatal")]
    lab.compare("fatal Notifications", fatal, [])


if __name__ == "__main__":
    Lab().play(test)
