#!/usr/bin/env python3
"""Writes a stream of events for examples/broadband.yaml, for measurements and tests.

Usage: make_stream.py [--events N] [--sessions N] [--live N] [--bad N] [--seed N]

The same numbers give the same stream. Sessions come up, use volume and go; a session that goes makes room for the next
one, so that at most --live of them exist at a time. Their events are shuffled among those of the others. Of every --bad
lines one is bad.
"""
import argparse
import random
import sys

ACCESSES = ("fibre", "dsl", "dsl-vectoring", "radio")
SERVICES = ("flat", "volume", "business")


def parse_arguments():
    parser = argparse.ArgumentParser(description="Writes a stream of events to standard output.")
    parser.add_argument("--events", type=int, default=100_000)
    parser.add_argument("--sessions", type=int, default=10_000, help="in all")
    parser.add_argument("--live", type=int, default=1000, help="sessions at a time")
    parser.add_argument("--bad", type=int, default=0, help="one of this many lines is bad")
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    if min(arguments.sessions, arguments.live) < 1 or arguments.events < 2 * arguments.sessions:
        parser.error("at least one session, and two events for each")
    return arguments


def added(number):
    attributes = (
        f'"circuit-id": "olt-{number % 64}/{number % 16}/{number}", "account": "{number}", '
        f'"access": "{ACCESSES[number % 4]}", "service": "{SERVICES[number % 3]}", "unpaid-months": {number % 5}'
    )
    return (
        f'{{"add-target": "session-{number}", "client": "access", "attributes": {{{attributes}}}, '
        f'"policies": ["authorisation", "service"]}}\n'
    )


class Session:
    """One session, with the events that it still has."""

    def __init__(self, number, events):
        self.name = f"session-{number}"
        self.left = events
        self.started = False

    def next_event(self, volume):
        self.left -= 1
        if not self.started:
            self.started = True
            return f'{{"event": "session-start", "target": "{self.name}"}}\n'
        if self.left == 0:
            return f'{{"event": "session-stop", "target": "{self.name}"}}\n'
        return f'{{"event": "volume-update", "target": "{self.name}", "set": {{"volume-left": {volume}}}}}\n'


def lines(wanted):
    chance = random.Random(wanted.seed)
    each, more = divmod(wanted.events, wanted.sessions)
    live = []
    begun = 0
    while True:
        while len(live) < wanted.live and begun < wanted.sessions:
            live.append(Session(begun, each + (begun < more)))
            yield added(begun)
            begun += 1
        if not live:
            return
        at = int(chance.random() * len(live))
        session = live[at]
        yield session.next_event(session.left % 5)
        if session.left > 0:
            continue
        live[at] = live[-1]
        live.pop()
        yield f'{{"delete-target": "{session.name}"}}\n'


def main():
    wanted = parse_arguments()
    for number, line in enumerate(lines(wanted), 1):
        sys.stdout.write(line)
        if wanted.bad and number % wanted.bad == 0:
            sys.stdout.write('{"event": "session-start", "target": "nobody"}\n')


main()
