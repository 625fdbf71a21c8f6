"""A FreeRADIUS server with the example's configuration, its clients, and a day of access requests and accounting."""

import dataclasses
import os
import pathlib
import re
import signal
import socket
import subprocess
import threading

from support import HUNG, SOURCE

EXAMPLE = SOURCE / "examples" / "freeradius"
POLICY = EXAMPLE / "radius.yaml"

Packet = list[tuple[str, str]]


@dataclasses.dataclass(frozen=True)
class Answer:
    """The kind of an answer, Access-Accept for example, and its attributes; 'none' if there is none."""

    kind: str
    attributes: dict[str, str]


# Now and then radclient 3.2.7 succeeds, so there was an answer, but does not print it.
UNPRINTED = Answer("unprinted", {})


class RadiusServer:
    """FreeRADIUS in the foreground, on free ports of this machine, with its files in a folder of the test."""

    def __init__(self, folder: pathlib.Path, policy: pathlib.Path = POLICY, raddb: pathlib.Path = EXAMPLE / "raddb"):
        self.folder = folder
        self.detail = folder / "detail"
        self.output = ""
        self.ports = free_ports()
        environment = {
            **os.environ,
            "TZ": "UTC",
            "ZAR_RADIUS_FOLDER": str(folder),
            "ZAR_RADIUS_AUTH_PORT": str(self.ports[0]),
            "ZAR_RADIUS_ACCT_PORT": str(self.ports[1]),
            "ZAR_RADIUS_PYTHON": f"{EXAMPLE}:{SOURCE / 'python'}",
            "ZAR_RADIUS_POLICY": str(policy),
        }
        self.process = subprocess.Popen(["/usr/sbin/freeradius", "-f", "-l", "stdout", "-d", str(raddb)], env=environment, text=True,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.ready = threading.Event()
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.output += line
            if "Ready to process requests" in line:
                self.ready.set()
        self.ready.set()

    def __enter__(self):
        assert self.ready.wait(HUNG), self.output
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        self.process.wait(HUNG)
        self.reader.join(HUNG)

    def has_started(self):
        return self.ready.wait(HUNG) and "Ready to process requests" in self.output

    def send(self, packet: Packet) -> Answer:
        """Sends an Access-Request or, if it has a status, accounting; returns the answer."""
        answers = (self.send_once(packet) for _ in range(10))
        return next(answer for answer in answers if answer != UNPRINTED)

    def send_once(self, packet: Packet) -> Answer:
        """Like send(); the answer may be UNPRINTED."""
        accounting = any(name == "Acct-Status-Type" for name, _ in packet)
        address = f"127.0.0.1:{self.ports[1 if accounting else 0]}"
        text = ", ".join(f"{name} = {value}" for name, value in packet)
        done = subprocess.run(["radclient", "-x", "-r", "1", "-t", str(HUNG), address, "acct" if accounting else "auth", "testing123"],
                              input=text, capture_output=True, text=True)
        _, found, received = done.stdout.partition("Received ")
        if not found and done.returncode == 0:
            return UNPRINTED
        assert found or "No reply" in done.stderr + done.stdout, f"{done.returncode}\n{done.stdout}{done.stderr}{self.output}"
        attributes = dict(re.findall(r'^\t([^ ]+) = "?(.*?)"?$', received, re.MULTILINE))
        # Newer releases sign their answers.
        attributes.pop("Message-Authenticator", None)
        return Answer(received.split()[0] if found else "none", attributes)


def free_ports():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as one, socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as other:
        one.bind(("127.0.0.1", 0))
        other.bind(("127.0.0.1", 0))
        return one.getsockname()[1], other.getsockname()[1]


# ---- A day ----

MIDNIGHT = 1767225600  # 2026-01-01
HOUR = 3600


def request(user: str, line: str, time: int = 0) -> Packet:
    return [("User-Name", f'"{user}"'), ("NAS-Port-Id", f'"{line}"'), ("User-Password", '"secret"'), *stamp(time)]


def accounting(status: str, user: str, line: str, time: int = 0, gigawords: int = 0) -> Packet:
    return [("Acct-Status-Type", status), ("Acct-Session-Id", f'"{time // HOUR:04x}-{line}"'), ("User-Name", f'"{user}"'),
            ("NAS-Port-Id", f'"{line}"'), ("Acct-Output-Gigawords", str(gigawords)), *stamp(time)]


def stamp(time: int) -> Packet:
    return [("Event-Timestamp", str(MIDNIGHT + time))]


def subscriber(number: int) -> tuple[str, str]:
    """A user and a line: one in four is a business, one in ten is barred, one in ten calls from nowhere known."""
    user = f"shop-{number}@business.example.net" if number % 4 == 3 else f"user-{number}@home.example.net"
    line = {0: f"olt-9/1/{number}", 5: "attic"}.get(number % 10, f"olt-{number % 3 + 1}/1/{number}")
    return user, line


def day_of(number: int) -> list[tuple[int, Packet]]:
    """What a subscriber sends, with the seconds since midnight. The heavy users come again after their volume is used up."""
    user, line = subscriber(number)
    start = 6 * HOUR + 577 * number
    if line == "attic" or line.startswith("olt-9"):
        return [(start, request(user, line, start))]
    times = [start + 2 * HOUR * step for step in range(4)]
    heavy = number % 6 == 1
    packets = [(start, request(user, line, start)), (start, accounting("Start", user, line, start))]
    packets += [(time, accounting("Interim-Update", user, line, time, step * 3 if heavy else step)) for step, time in enumerate(times)]
    if heavy:
        packets.append((times[-1] + 60, request(user, line, times[-1] + 60)))
    return [*packets, (times[-1] + HOUR, accounting("Stop", user, line, times[-1] + HOUR, 9))]


def whole_day() -> list[Packet]:
    packets = [packet for number in range(30) for packet in day_of(number)]
    return [packet for _, packet in sorted(packets, key=lambda packet: packet[0])]
