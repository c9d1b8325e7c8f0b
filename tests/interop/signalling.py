"""What went over a link, as qorldp decodes it, and whether a daemon's own view agrees with it."""

import collections
import json
import signal
import subprocess

from lab import PATIENCE, until

VC_TYPES = {4: "Eth Tagged", 5: "Ethernet"}
COUNTERS = {
    "keepalive": "KeepAlive", "address": "Address", "addressWithdraw": "Address Withdraw",
    "notification": "Notification", "labelMapping": "Label Mapping",
    "labelRequest": "Label Request", "labelWithdraw": "Label Withdraw",
    "labelRelease": "Label Release"}

# What must hold of the mappings that a router sent (last; whether it still stands) and got, when it
# gives this as the reason why a pseudowire is down.
REASONS = {
    "local not forwarding": lambda sent, stands, got: sent["status"] != 0 or not stands,
    "remote not forwarding": lambda sent, stands, got: got["status"] != 0,
    "mtu mismatch between peers": lambda sent, stands, got: sent["IfMtu"] != got["IfMtu"],
    "No Error": lambda sent, stands, got: sent["IfMtu"] == got["IfMtu"] and got["status"] == 0,
}

# The other counters of qorldp tell of what is missing or wrong.
STATS = {"kind", "messages", "total", "errors", "packets", "ldp_packets", "streams", "sessions"}


class Capture:
    """The LDP packets of a link, from now on."""

    def __init__(self, qorldp, router):
        self.qorldp, self.file = qorldp, f"/run/{router.name}.pcap"
        self.tcpdump = subprocess.Popen(
            ["nsenter", f"--net=/run/netns/{router.name}", "tcpdump", "--immediate-mode", "-Z",
             "root", "-U", "-i", router.link, "-w", self.file, "port", "646"],
            stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        until("tcpdump listens", lambda: "listening" in self.tcpdump.stderr.readline())

    def decode(self, option):
        """The objects that qorldp prints, and its exit status."""
        done = subprocess.run([self.qorldp, "decode", "--json", option, self.file],
                              stdout=subprocess.PIPE, text=True, timeout=PATIENCE)
        return [json.loads(line) for line in done.stdout.splitlines()], done.returncode

    def messages(self):
        """The messages so far; the last packet may just be written."""
        objects, _ = self.decode("--all")
        return [m for m in objects if m.get("transport") == "tcp" and "name" in m]

    def finish(self, lab, malformed=()):
        """Stops. All that was recorded must be whole, and well formed but for some messages: tuples
        of sender, name and code."""
        self.tcpdump.send_signal(signal.SIGINT)
        self.tcpdump.communicate(timeout=PATIENCE)
        (*objects, stats), status = self.decode("--stats")
        lab.compare("exit status of qorldp", status, 1 if malformed else 0)
        seen = [(m.get("lsr_id"), m.get("name", m.get("event")), m.get("code")) for m in objects]
        for one in seen:
            lab.compare("sender, name, code", one, one if one in malformed else (*one[:2], 0))
        lab.compare("malformed", [one for one in seen if one[2] != 0], list(malformed))
        lab.compare("malformed, counted", stats["total"]["malformed"], len(malformed))
        for key in stats.keys() - STATS:
            lab.compare(f"stats: {key}", stats[key], 0)
        return objects


class Speaker:
    """What one router has told on its session."""

    def __init__(self):
        self.live, self.last = {}, {}  # mappings by PW ID: not withdrawn; all, as last sent
        self.ends = ()  # of its connection

    def hear(self, m):
        if m["name"] == "Initialization":
            self.__init__()
            self.ends = [m["src"], m["src_port"], m["dst"], m["dst_port"]]
        if m["class"] != "pseudowire":
            return
        fec = m["fec"]
        if m["name"] == "Label Mapping":
            self.live[fec["pw_id"]] = self.last[fec["pw_id"]] = {
                "Label": m["label"], "IfMtu": m.get("mtu", 0), "GroupID": fec["group_id"],
                "ControlWord": int(fec["control_word"]), "VcType": VC_TYPES.get(fec["pw_type"]),
                "status": m.get("pw_status", 0)}
        concerned = [
            pw_id for pw_id, mapping in self.live.items()
            if (mapping["GroupID"] == fec["group_id"] if "whole_group" in fec
                else pw_id == fec["pw_id"])]
        for pw_id in concerned:
            if m["name"] == "Label Withdraw":
                del self.live[pw_id]
            elif m["name"] == "Notification":
                self.live[pw_id]["status"] = m["pw_status"]


def replay(messages):
    speakers = collections.defaultdict(Speaker)
    for m in messages:
        speakers[m["lsr_id"]].hear(m)
    return speakers


def views(messages, router):
    """Yields what the wire says of the session of a router with its peer, beside what the router
    shows: tuples of a name and two values that should be equal."""
    speakers, peer = replay(messages), router.peer
    own, other = speakers[router.address], speakers[peer]
    detail = router.show("mpls ldp neighbor detail").get(peer, {})
    yield "neighbors with a session", [peer], router.sessions()
    local, remote = ([detail.get(f"tcp{end}Address"), detail.get(f"tcp{end}Port")]
                     for end in ("Local", "Remote"))
    for view, lsr_id, ends in (("sent", router.address, local + remote),
                               ("received", peer, remote + local)):
        yield f"ends of the connection, {view}", speakers[lsr_id].ends, ends
        counted = {key: n for one in detail.get(f"{view}Messages", []) for key, n in one.items()}
        # It does not count what ends the session either when it receives it.
        seen = collections.Counter(
            m["name"] for m in messages if m["lsr_id"] == lsr_id and m["time"] > router.since
            and not (view == "received" and m.get("status", {}).get("fatal")))
        for key, name in COUNTERS.items():
            if (view, name) != ("sent", "Address Withdraw"):  # which it does not count
                yield f"messages {view}: {name}", seen[name], counted.get(key)

    bindings = router.bindings()
    yield "PW IDs without binding", (own.live.keys() | other.live.keys()) - bindings.keys(), set()
    for pw_id, shown in bindings.items():
        # A router that withdraws because it cannot forward still shows its label.
        bound = shown["localLabel"] != "unassigned"
        sent, got = (own.last if bound else own.live).get(pw_id), other.live.get(pw_id)
        for side, mapping in ("local", sent), ("remote", got):
            for key, value in (mapping or {"Label": "unassigned"}).items():
                # Without a pseudowire of its own it shows the other's control word as 0.
                if key != "status" and (bound or key != "ControlWord"):
                    yield f"PW ID {pw_id}: {side}{key}", value, shown.get(f"{side}{key}")
        reason = shown.get("lastFailureReason")
        if bound and sent and got:
            possible = [name for name, holds in REASONS.items()
                        if holds(sent, pw_id in own.live, got)]
            yield f"PW ID {pw_id}: reason", reason if reason in possible else possible, reason

    vcs = router.show("l2vpn atom vc")
    labelled = {pw_id for pw_id, b in bindings.items() if b["localLabel"] != "unassigned"}
    yield "pseudowires with a label", labelled, {vc["vcId"] for vc in vcs.values()}
    for name, vc in vcs.items():
        sent, got = own.live.get(vc["vcId"]), other.live.get(vc["vcId"])
        up = sent and got and sent["IfMtu"] == got["IfMtu"] and not sent["status"] | got["status"]
        yield f"{name}: peer", peer, vc["peerId"]
        yield f"{name}: status", "up" if up else "down", vc["status"]


def agree(lab, step, capture, *routers):
    """Compares the wire with what each router shows of the session with its peer."""
    def probe():
        messages = capture.messages()
        for router in routers:
            for what, wire, shown in views(messages, router):
                yield f"{step}: {router.name}: {what}", wire, shown
    lab.settle(probe)


def heard(step, capture, before, wanted):
    """Yields, as views() does, which messages came behind the first ones: tuples of sender ("" is
    any), name, and PW ID or name of the status."""
    seen = [(m["lsr_id"], m["name"], m["fec"].get("pw_id") if "fec" in m else
             m.get("status", {}).get("name")) for m in capture.messages()[before:]]
    seen += [("", *rest) for _, *rest in seen]
    for one in wanted:
        yield f"{step}: message", one if one in seen else None, one
