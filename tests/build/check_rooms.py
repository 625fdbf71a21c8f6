#!/usr/bin/env python3
"""Checks that each room of the simulator includes only rooms below it, and that the simulator does not print, read the
environment or end the process.

  check_rooms.py ROOT NM LIBSIMULATOR
"""

import pathlib
import re
import subprocess
import sys

# From the bottom up: a room may include itself and those before it.
ROOMS = ["text", "messages", "policy", "format", "findings", "repository", "explanation", "stream", "inventory", "reasoning",
         "lint", "prove", "graph", "diff", "testing", "session", "service", "page", "editing", "language_server"]

# What brings a stream of the process, or the means to end it or look around in it.
FORBIDDEN_HEADERS = {"iostream", "print", "unistd.h", "sys/wait.h", "csignal", "signal.h"}
FORBIDDEN_NAMES = {
    "std::cout", "std::cerr", "std::clog", "std::cin", "stdin", "stdout", "stderr",
    "getenv", "secure_getenv", "setenv", "environ", "isatty",
    "exit", "_exit", "_Exit", "quick_exit", "fork", "system", "execv", "execve",
    "printf", "vprintf", "puts", "putchar", "perror",
}  # fmt: skip

# Files are written with the calls of the system.
ALLOWED_HEADERS = {"simulator/text/files.cpp": {"unistd.h"}}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def faults_of_include(where, room, quote, header):
    folder, _, rest = header.partition("/")
    if folder == "command":
        return [f"{where} includes {header}: the simulator does not know the command"]
    if quote == "<" and header in FORBIDDEN_HEADERS - ALLOWED_HEADERS.get(str(where), set()):
        return [f"{where} includes <{header}>: the simulator returns values"]
    if folder != "simulator":
        return []
    other = rest.partition("/")[0]
    if other not in ROOMS:
        return [f"{where} includes {header}, which is in no known room"]
    if ROOMS.index(other) > ROOMS.index(room):
        return [f"{where} includes {header}: {room} stands below {other}"]
    return []


def faults_of_includes(root):
    faults = []
    sources = sorted((root / "simulator").rglob("*.h")) + sorted((root / "simulator").rglob("*.cpp"))
    for source in sources:
        where = source.relative_to(root)
        room = where.parts[1]
        if room not in ROOMS:
            faults.append(f"{where} is in no known room")
            continue
        for quote, header in INCLUDE.findall(source.read_text()):
            faults += faults_of_include(where, room, quote, header)
    if len(sources) < 50:
        faults.append(f"only {len(sources)} sources were found in simulator/")
    return faults


def faults_of_names(nm, library):
    listing = subprocess.run([nm, "--undefined-only", "-C", library], capture_output=True, text=True, check=True).stdout
    needed = {line.split(maxsplit=1)[1].partition("@")[0].strip() for line in listing.splitlines() if " U " in line}
    if "queue_get_next" not in needed:
        return [f"{library} does not need queue_get_next: its names were not read"]
    return [f"{library} needs {name}" for name in sorted(needed & FORBIDDEN_NAMES)]


def main():
    root, nm, library = sys.argv[1:]
    faults = faults_of_includes(pathlib.Path(root)) + faults_of_names(nm, library)
    for fault in faults:
        print(fault, file=sys.stderr)
    sys.exit(1 if faults else 0)


main()
