#!/usr/bin/env python3
"""Splits a stream of events among files by target, so that each can be played by a process of its own, anywhere.

Usage: partition.py EVENTS N FOLDER

Writes FOLDER/part-0.jsonl to part-(N-1).jsonl. All lines of a target are in one part, in their order. Each part has an
empty line where a line went to another part: so every result has the number of its line in the whole stream.
"""
import argparse
import contextlib
import json
import pathlib
import zlib


def target_of(line):
    """Returns the name of the target; nothing if the line is bad: which part reports it does not matter."""
    try:
        found = json.loads(line)
        names = [found[key] for key in ("target", "add-target", "delete-target") if key in found]
        return names[0].encode() if names and isinstance(names[0], str) else b""
    except (ValueError, TypeError, RecursionError):
        return b""


def partition(events, count, folder):
    """Returns the paths of the parts."""
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    paths = [folder / f"part-{number}.jsonl" for number in range(count)]
    with contextlib.ExitStack() as files:
        parts = [files.enter_context(open(path, "wb")) for path in paths]
        skipped = [0] * count
        for line in files.enter_context(open(events, "rb")):
            chosen = zlib.crc32(target_of(line)) % count
            for number in range(count):
                skipped[number] += number != chosen
            parts[chosen].write(b"\n" * skipped[chosen] + line)
            skipped[chosen] = 0
    return paths


def main():
    parser = argparse.ArgumentParser(description="Splits a stream of events among files by target.")
    parser.add_argument("events")
    parser.add_argument("count", metavar="N", type=int)
    parser.add_argument("folder")
    wanted = parser.parse_args()
    for path in partition(wanted.events, wanted.count, wanted.folder):
        print(path)


if __name__ == "__main__":
    main()
