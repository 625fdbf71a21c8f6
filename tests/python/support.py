"""What the tests of the Python package share: policies, and a server that answers as a test says."""

import contextlib
import json
import pathlib
import socket
import threading
import time

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BROADBAND = SOURCE / "examples" / "broadband.yaml"

# Nothing depends on how long anything takes; what takes longer has hung.
HUNG = 120


class ScriptedServer:
    """Listens on a Unix socket. For each request of a client it calls answer(request), which returns what to send, if anything."""

    def __init__(self, path, answer):
        self.path = path
        self.requests = []
        self.answer = answer
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(path))
        self.listener.listen()
        self.clients = []
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def serve(self):
        with contextlib.suppress(OSError):
            while True:
                client, _ = self.listener.accept()
                self.clients.append(client)
                with contextlib.suppress(OSError):
                    self.talk(client)

    def talk(self, client):
        with client.makefile("rb") as lines:
            for line in lines:
                request = json.loads(line)
                self.requests.append(request)
                for reply in self.replies_to(request):
                    client.sendall(reply if isinstance(reply, bytes) else json.dumps({"jsonrpc": "2.0", **reply}).encode() + b"\n")

    def replies_to(self, request):
        if request["method"] == "version":
            return [{"id": request["id"], "result": {"version": "1.0.0", "protocol": 1}}]
        return self.answer(request) or []

    def close(self):
        for client in self.clients:
            with contextlib.suppress(OSError):
                client.shutdown(socket.SHUT_RDWR)
            client.close()
        self.listener.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def result(request, value):
    return {"id": request["id"], "result": value}


def error(request, code, message="no", **data):
    return {"id": request["id"], "error": {"code": code, "message": message, **({"data": data} if data else {})}}


def only_child_of(parent):
    """The process that is left when those before it have ended: a session with a new file gets a new process."""
    until = time.monotonic() + HUNG
    while len(children := children_of(parent)) != 1:
        assert time.monotonic() < until, f"processes: {children}"
        time.sleep(0.01)
    return children[0]


def children_of(parent):
    """The processes that a process has started."""
    found = []
    for path in pathlib.Path("/proc").glob("[0-9]*/stat"):
        # Others come and go.
        with contextlib.suppress(OSError):
            if int(path.read_text().rpartition(")")[2].split()[1]) == parent:
                found.append(int(path.parent.name))
    return found
