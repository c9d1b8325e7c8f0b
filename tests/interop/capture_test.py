"""Two LDP daemons signal pseudowires while tcpdump records the link between them; what qorldp then
decodes must be what the daemons themselves show. Argument: qorldp.
"""

import json
import sys

from lab import HIGH, R1, R2, Lab, Router, until
from signalling import Capture, agree, heard


def tagged(name, *commands):
    """An event: a change of a router's first VPN."""
    return lambda routers: routers[name].vtysh(
        "configure terminal", "l2vpn TAGGED type vpls", *commands)


def restart(routers):
    ldpd = routers["r2"].ldpd
    ldpd.kill()
    ldpd.wait()
    # Its children say goodbye on their own.
    until("r1 notices", lambda: not routers["r1"].sessions())
    routers["r2"].start_ldpd()


def pairs(name, *pw_ids):
    return [(router, name, pw_id) for router in (R1, R2) for pw_id in pw_ids]


# What happens, and the messages that then must be seen: sender ("" is either), name, PW ID or
# status. Which router tells first that it does not forward is a race, and makes the other's message
# superfluous.
EVENTS = [
    ("start", lambda routers: None,
     pairs("Label Mapping", 100, 777, HIGH, 65536)
     + [("", "Notification", 100), ("", "Notification", 777), ("", "Notification", HIGH),
        ("", "Label Withdraw", 65536), ("", "Label Release", 65536)]),
    ("MTU at r1", tagged("r1", "mtu 1600"),
     [(R1, "Label Withdraw", 100), (R2, "Label Release", 100), (R1, "Label Mapping", 100),
      (R1, "Label Withdraw", 777), (R2, "Label Release", 777), (R1, "Label Mapping", 777)]),
    ("MTU at r2", tagged("r2", "mtu 1600"),
     [(R2, "Label Mapping", 100), (R2, "Label Mapping", 777), ("", "Notification", 100),
      ("", "Notification", 777)]),
    ("customer's interface down",
     lambda routers: routers["r1"].run("ip", "link", "set", "ce0", "down"),
     [(R1, "Address Withdraw", 100), (R1, "Address Withdraw", 777),
      (R2, "Notification", "Unknown TLV")]),
    ("PW ID at r1", tagged("r1", "member pseudowire mpw1", "pw-id 778"),
     [(R1, "Label Withdraw", 777), (R2, "Label Release", 777), (R1, "Label Mapping", 778)]),
    ("PW ID at r2", tagged("r2", "member pseudowire mpw1", "pw-id 778"),
     [(R2, "Label Withdraw", 777), (R2, "Label Mapping", 778), ("", "Notification", 778)]),
    ("pseudowire removed", tagged("r1", "no member pseudowire mpw0"),
     [(R1, "Label Withdraw", 100), (R2, "Label Release", 100)]),
    ("pseudowire back",
     tagged("r1", "member pseudowire mpw0", f"neighbor lsr-id {R2}", "pw-id 100"),
     [(R1, "Label Mapping", 100), ("", "Notification", 100)]),
    ("session cleared",
     lambda routers: routers["r2"].vtysh(f"clear mpls ldp neighbor {R1}"),
     [(R2, "Notification", "Shutdown")] + pairs("Label Mapping", 100, 778, HIGH, 65536)),
    ("daemon killed", restart,
     pairs("Initialization", None) + [(R1, "Label Mapping", 778), (R2, "Label Mapping", 777)]
     + pairs("Label Mapping", 100, HIGH, 65536)),
]


def test(lab):
    routers = {"r1": Router(1), "r2": Router(2)}
    capture = Capture(sys.argv[1], routers["r1"])
    for router in routers.values():
        router.start()
    before = 0
    for step, event, wanted in EVENTS:
        event(routers)
        lab.settle(lambda: heard(step, capture, before, wanted))
        agree(lab, step, capture, *routers.values())
        before = len(capture.messages())

    objects = capture.finish(lab)
    customer, = json.loads(routers["r1"].run("ip", "-json", "link", "show", "ce0"))
    for m in objects:
        if m["name"] == "Address Withdraw":
            lab.compare("withdrawn MAC", m.get("macs"), [customer["address"].upper()])


if __name__ == "__main__":
    Lab().play(test)
