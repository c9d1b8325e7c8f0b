"""A lab for tests against a real LDP daemon: two routers, each a network namespace, and a link.

The lab lives in mount, process and network namespaces of its own, with empty /run, /etc/frr and
/var/tmp: nothing that runs or is written there meets the rest of the system or another test, and
all of it goes away with the test, however it ends.
"""

import ctypes
import datetime
import glob
import json
import os
import shutil
import signal
import subprocess
import sys
import time

DAEMONS = "/usr/lib/frr"
PATIENCE, LIMIT = 45, 240  # seconds for one event on a busy machine, for the whole test
NEW_NAMESPACES = 0x00020000 | 0x40000000 | 0x20000000  # mount, network, process: <sched.h>
DIE_WITH_PARENT = 1  # <sys/prctl.h>

R1, R2 = "1.1.1.1", "2.2.2.2"
HIGH = 2**32 - 1  # the highest PW ID
INTERFACES = ("ce0", "mpw0", "mpw1", "mpw2", "mpw3")
with open(os.path.join(os.path.dirname(__file__), "ldpd.conf"), encoding="ascii") as file:
    CONFIGURATION = file.read()


class Failure(Exception):
    """Something that the test waited for did not happen."""


def skip(reason):
    print(f"SKIPPED: {reason}")
    sys.exit(77)


def run(*command, namespace=""):
    prefix = ["nsenter", f"--net=/run/netns/{namespace}"] if namespace else []
    return subprocess.run([*prefix, *command], check=True, capture_output=True, text=True,
                          timeout=PATIENCE, stdin=subprocess.DEVNULL).stdout


def until(what, probe):
    """Asks probe until it says yes."""
    deadline = time.monotonic() + PATIENCE
    while not probe():
        if time.monotonic() > deadline:
            raise Failure(f"{what}: not within {PATIENCE} s")
        time.sleep(0.1)


def connect(namespace, number):
    """Gives end 1 or 2 of the link to a namespace ("": the lab's own), with its addresses."""
    if namespace:
        run("ip", "link", "set", f"link{number}", "netns", namespace)
    loopback, other = (R1, R2)[::1 if number == 1 else -1]
    for command in ("link set lo up", f"address add {loopback}/32 dev lo",
                    f"link set link{number} up", f"address add 10.0.0.{number}/24 dev link{number}",
                    f"route add {other}/32 via 10.0.0.{3 - number}"):
        run("ip", *command.split(), namespace=namespace)


class Lab:
    """The test's own namespaces, and what it compared in them."""

    def __init__(self):
        self.compared, self.differences = 0, []
        if os.geteuid() != 0:
            skip("needs root")
        if not os.access(f"{DAEMONS}/ldpd", os.X_OK):
            skip("frr is not installed")
        for program in ("ip", "mount", "nsenter", "tcpdump", "vtysh"):
            if shutil.which(program) is None:
                skip(f"{program} is not installed")
        libc = ctypes.CDLL(None, use_errno=True)
        if libc.unshare(NEW_NAMESPACES) != 0:
            skip(f"no namespaces: {os.strerror(ctypes.get_errno())}")
        child = os.fork()
        if child != 0:  # outside; when this process goes, the kernel ends all that is inside
            signal.signal(signal.SIGINT, signal.SIG_DFL)
            signal.alarm(LIMIT)
            os._exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) & 0xFF)
        libc.prctl(DIE_WITH_PARENT, signal.SIGKILL)
        try:
            run("mount", "--make-rprivate", "/")
            run("mount", "-t", "proc", "proc", "/proc")
            for folder in ("/run", "/etc/frr", "/var/tmp"):
                run("mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", folder)
            run("ip", "netns", "add", "probe")
            run("ip", "link", "add", "link1", "type", "veth", "peer", "link2")
        except subprocess.CalledProcessError as error:
            skip(f"no namespaces: {error.stderr.strip()}")

    def compare(self, what, seen, expected):
        self.compared += 1
        if seen != expected:
            self.differences.append(f"{what}: {seen!r}, not {expected!r}")

    def settle(self, probe):
        """Asks probe for what to compare until all is equal or it is late, then compares."""
        deadline = time.monotonic() + PATIENCE
        while True:
            findings = list(probe())
            equal = all(seen == expected for _, seen, expected in findings)
            if equal or time.monotonic() > deadline:
                break
            time.sleep(0.2)
        for finding in findings:
            self.compare(*finding)
        if not equal:
            raise Failure(f"still so after {PATIENCE} s")

    def play(self, test):
        """Runs the test, says what came of it and ends."""
        start = time.monotonic()
        try:
            test(self)
        except (Failure, subprocess.SubprocessError) as error:
            self.differences.append(f"{error} {getattr(error, 'stderr', None) or ''}".strip())
            for name in glob.glob("/run/*.log"):
                with open(name, encoding="utf-8", errors="replace") as log:
                    print(name, *log.readlines()[-10:], sep="\n  ")
        for line in self.differences:
            print(f"DIFFERENT {line}")
        seconds = time.monotonic() - start
        print(f"{self.compared} values compared, {len(self.differences)} faults, {seconds:.0f} s")
        sys.exit(1 if self.differences or self.compared == 0 else 0)


class Router:
    """Router 1 or 2: a namespace, and the daemons in it."""

    def __init__(self, number):
        self.name, self.link = f"r{number}", f"link{number}"
        self.address, self.peer = (R1, R2)[::1 if number == 1 else -1]
        self.ldpd, self.since = None, ""  # the process and its start, as qorldp writes times
        run("ip", "netns", "add", self.name)
        connect(self.name, number)
        for interface in INTERFACES:
            other = f"x{interface}"  # keeps it up
            self.run("ip", "link", "add", interface, "type", "veth", "peer", other)
            self.run("ip", "link", "set", other, "up")
            self.run("ip", "link", "set", interface, "up")
        for folder in (f"/etc/frr/{self.name}", f"/run/frr/{self.name}"):
            os.makedirs(folder)
        shutil.chown(f"/run/frr/{self.name}", "frr", "frr")
        hello = f"hostname {self.name}\n"
        ldpd = CONFIGURATION.format(me=self.address, peer=self.peer, link=self.link)
        for daemon, text in ("vtysh", hello), ("zebra", hello), ("ldpd", ldpd):
            with open(f"/etc/frr/{self.name}/{daemon}.conf", "w", encoding="ascii") as out:
                out.write(text)

    def run(self, *command):
        return run(*command, namespace=self.name)

    def start(self):
        self.daemon("zebra")
        until(f"{self.name}: zebra", lambda: os.path.exists(f"/run/frr/{self.name}/zserv.api"))
        self.start_ldpd()

    def start_ldpd(self):
        now = datetime.datetime.now(datetime.timezone.utc)
        self.since = now.strftime("%Y-%m-%dT%H:%M:%S.%fZ")
        self.ldpd = self.daemon("ldpd")

    def daemon(self, name):
        with open(f"/run/{self.name}.log", "ab") as log:
            return subprocess.Popen(
                ["nsenter", f"--net=/run/netns/{self.name}", f"{DAEMONS}/{name}", "-N", self.name,
                 "-f", f"/etc/frr/{self.name}/{name}.conf"],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    def vtysh(self, *commands):
        words = [word for command in commands for word in ("-c", command)]
        return run("vtysh", "-N", self.name, *words)

    def show(self, what):
        """What the daemon shows, as JSON; {} while it does not answer."""
        try:
            return json.loads(self.vtysh(f"show {what} json"))
        except (subprocess.CalledProcessError, json.JSONDecodeError):
            return {}

    def sessions(self):
        neighbors = self.show("mpls ldp neighbor").get("neighbors", [])
        return [n["neighborId"] for n in neighbors if n["state"] == "OPERATIONAL"]

    def bindings(self):
        return {b["vcId"]: b for b in self.show("l2vpn atom binding").values()}
