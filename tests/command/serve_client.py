"""A client of zar serve for tests and measurements: it writes and reads lines, on standard streams or on a socket."""
import json
import os
import select
import signal
import socket
import subprocess
import time

from child import HUNG, end_input


def wait_until(holds, why):
    end = time.monotonic() + HUNG
    while not holds():
        assert time.monotonic() < end, why
        time.sleep(0.01)


class Client:
    """One connection. 'read_from' and 'write_to' are descriptors."""

    def __init__(self, read_from, write_to):
        self.read_from, self.write_to = read_from, write_to
        self.received = b""
        self.last_id = 0

    def send_bytes(self, data):
        view = memoryview(data)
        while view:
            view = view[os.write(self.write_to, view):]

    def send(self, message):
        self.send_bytes(json.dumps(message).encode() + b"\n")

    def read_line(self):
        """The next line, or None at the end."""
        while b"\n" not in self.received:
            ready, _, _ = select.select([self.read_from], [], [], HUNG)
            assert ready, "the server does not answer"
            try:
                data = os.read(self.read_from, 1 << 20)
            except ConnectionResetError:
                return None
            if not data:
                return None
            self.received += data
        line, _, self.received = self.received.partition(b"\n")
        return line

    def read(self):
        line = self.read_line()
        return None if line is None else json.loads(line)

    def start(self, method, **params):
        """Sends a request and returns its id."""
        self.last_id += 1
        self.send({"jsonrpc": "2.0", "id": self.last_id, "method": method, "params": params})
        return self.last_id

    def notify(self, method, **params):
        self.send({"jsonrpc": "2.0", "method": method, "params": params})

    def response(self, wanted):
        message = self.read()
        assert message is not None, "the connection was closed"
        assert message["id"] == wanted, message
        return message

    def ask(self, method, **params):
        answer = self.response(self.start(method, **params))
        assert "error" not in answer, answer
        return answer["result"]

    def refused(self, method, **params):
        answer = self.response(self.start(method, **params))
        assert "result" not in answer, answer
        return answer["error"]


class StandardStreams(Client):
    """A server of its own, on standard input and output."""

    def __init__(self, zar, *options, **more):
        self.process = subprocess.Popen([zar, "serve", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, bufsize=0, **more)
        super().__init__(self.process.stdout.fileno(), self.process.stdin.fileno())

    def wait(self):
        """Ends the input; returns the exit code. What the server wrote to standard error is in 'errors'."""
        code, self.errors = end_input(self.process)
        return code


class SocketServer:
    def __init__(self, zar, path, *options, **more):
        self.path = str(path)
        self.process = subprocess.Popen([zar, "serve", "--socket", self.path, *options], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, **more)
        wait_until(lambda: os.path.exists(self.path) or self.process.poll() is not None, "the server does not start")

    def connect(self):
        made = socket.socket(socket.AF_UNIX)
        made.connect(self.path)
        client = Client(made.fileno(), made.fileno())
        client.socket = made
        client.close = made.close
        return client

    def children(self):
        """The processes of the server's sessions."""
        return children_of(self.process.pid)

    def complaint(self):
        """The next line of standard error, for which it waits."""
        ready, _, _ = select.select([self.process.stderr], [], [], HUNG)
        assert ready, "the server does not complain"
        return self.process.stderr.readline().decode()

    def end(self, with_signal=signal.SIGTERM):
        """Returns the exit code. What the server wrote to standard error is in 'errors'."""
        self.process.send_signal(with_signal)
        code = self.process.wait(HUNG)
        self.errors = self.process.stderr.read().decode()
        self.process.stderr.close()
        return code


def children_of(process):
    try:
        with open(f"/proc/{process}/task/{process}/children", encoding="ascii") as listed:
            return [int(child) for child in listed.read().split()]
    except FileNotFoundError:
        return []


def descendants_of(process):
    found = []
    for child in children_of(process):
        found += [child, *descendants_of(child)]
    return found


def is_running(process):
    """Whether it exists; one that has ended and waits to be forgotten does not count."""
    try:
        with open(f"/proc/{process}/stat", encoding="ascii") as stat:
            return stat.read().rpartition(")")[2].split()[0] not in "ZX"
    except FileNotFoundError:
        return False
