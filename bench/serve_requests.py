#!/usr/bin/env python3
"""Measures what zar serve answers in a second, and how soon, on a Unix socket, for one client and for eight at a time.

Usage: serve_requests.py ZAR [SECONDS]

Each client raises the same event in a session of its own, and asks again as soon as it has its answer; 'explain' and
'version' show what is the session's work and what the way there costs. A client is a process that compares the answer of
each request with the first one's length, so half of the time is the clients'. Use a release build.
"""
import json
import multiprocessing
import pathlib
import socket
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/command"))
from serve_client import SocketServer  # noqa: E402

POLICY = str(ROOT / "examples/broadband.yaml")
EVENT = {"event": "session-start", "target": "line-0101", "level": "decision"}
REQUESTS = {"version": {}, "explain": EVENT, "raise": EVENT}


def ask_until(path, method, seconds, results):
    """The time of each answer, in seconds."""
    request = json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": REQUESTS[method]}).encode() + b"\n"
    times = []
    with socket.socket(socket.AF_UNIX) as connection:
        connection.connect(path)
        lines = connection.makefile("rb")
        for _ in range(50):
            connection.sendall(request)
            assert b'"result"' in lines.readline()
        end = time.monotonic() + seconds
        while (begin := time.perf_counter()) and time.monotonic() < end:
            connection.sendall(request)
            answer = lines.readline()
            times.append(time.perf_counter() - begin)
            assert answer.startswith(b'{"jsonrpc":"2.0","id":1,"result"'), answer[:200]
    results.put(times)


def measure(path, method, clients, seconds):
    results = multiprocessing.Queue()
    processes = [multiprocessing.Process(target=ask_until, args=(path, method, seconds, results)) for _ in range(clients)]
    for process in processes:
        process.start()
    times = sorted(sum((results.get() for _ in processes), []))
    for process in processes:
        process.join()
    return len(times) / seconds, times[len(times) // 2], times[len(times) * 99 // 100]


def main():
    zar = sys.argv[1]
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 5
    with tempfile.TemporaryDirectory() as directory:
        server = SocketServer(zar, f"{directory}/zar.socket", POLICY)
        print("request  clients  requests/s  median µs  99 % µs")
        for method in REQUESTS:
            for clients in (1, 8):
                rate, median, late = measure(server.path, method, clients, seconds)
                print(f"{method:7}  {clients:7}  {rate:10.0f}  {median * 1e6:9.0f}  {late * 1e6:7.0f}", flush=True)
        server.end()


main()
