#!/usr/bin/env python3
"""Plays a stream of events on the workers of a Dask cluster, and writes the results that one process would write.

Usage: replay_dask.py POLICY EVENTS RESULTS [--workers N] [--scheduler ADDRESS] [--zar PROGRAM]

Without --scheduler it starts N workers on this machine. The workers of a cluster need the program and a folder that all
machines share: the one of RESULTS. The exit code is the worst one of the parts, as zar gives it.
"""
import argparse
import contextlib
import os
import pathlib
import subprocess
import sys
import tempfile

from distributed import Client, LocalCluster

from merge import merge
from partition import partition

GOOD, STOPPED, BAD_LINES = 0, 1, 65


def play(zar, policy, part):
    """Runs on a worker. Returns the exit code, the results' path and the summary.

    Dask repeats a task whose worker it loses, so the results get their name only when they are complete.
    """
    with tempfile.NamedTemporaryFile(dir=pathlib.Path(part).parent, delete=False) as out:
        done = subprocess.run([zar, "run", policy, "--events", part, "--jsonl"], stdout=out, stderr=subprocess.PIPE)
    results = f"{part}.results"
    os.replace(out.name, results)
    return done.returncode, results, done.stderr.decode()


@contextlib.contextmanager
def connected(wanted):
    with contextlib.ExitStack() as opened:
        cluster = wanted.scheduler
        if not cluster:
            # One thread each: playing a part takes a whole processor.
            cluster = LocalCluster(n_workers=wanted.workers, threads_per_worker=1, dashboard_address=None)
            opened.enter_context(cluster)
        # It goes first. Workers that ended before it would make the others repeat their tasks.
        yield opened.enter_context(Client(cluster))


def replay(wanted, folder):
    parts = partition(wanted.events, wanted.workers, folder)
    with connected(wanted) as client:
        tasks = [client.submit(play, wanted.zar, str(pathlib.Path(wanted.policy).resolve()), str(part), pure=False) for part in parts]
        done = client.gather(tasks)
    worst = max(code for code, _, _ in done)
    for part, (code, _, summary) in zip(parts, done):
        print(f"{part.name}: exit code {code}\n{summary}", file=sys.stderr)
    if worst in (GOOD, STOPPED, BAD_LINES):
        with open(wanted.results, "wb") as out:
            merge([results for _, results, _ in done], out)
    return worst


def main():
    parser = argparse.ArgumentParser(description="Plays a stream of events on a Dask cluster.")
    parser.add_argument("policy")
    parser.add_argument("events")
    parser.add_argument("results")
    parser.add_argument("--workers", type=int, default=2, help="parts of the stream, and workers on this machine")
    parser.add_argument("--scheduler", help="the address of a cluster's scheduler")
    parser.add_argument("--zar", default="zar")
    wanted = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=pathlib.Path(wanted.results).resolve().parent) as folder:
        sys.exit(replay(wanted, folder))


if __name__ == "__main__":
    main()
