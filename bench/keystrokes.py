#!/usr/bin/env python3
"""Measures how long zar lsp takes to answer a keystroke in a large policy file, and until its errors are shown.

Usage: keystrokes.py ZAR [RULES]

Each keystroke is an edit and a request for completions. Keys follow each other either at the pace of a fast typist, so
that checks begin and are dropped all the time, or as soon as the last one is answered.
"""
import pathlib
import statistics
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/command"))
from language_client import Client, position_of  # noqa: E402

KEYS = 200
RULES_OF_EVENT = 250


def policy(rules):
    classes = "".join(f"  class-{number}:\n    match: all\n    filters:\n"
                      f"      - {{attribute: attribute-{number % 50}, equals: value-{number}}}\n" for number in range(RULES_OF_EVENT))
    text = f"domains: {{d: }}\nclass-maps:\n{classes}policy-maps:\n"
    for first in range(0, rules, RULES_OF_EVENT):
        text += f"  policy-{first}:\n    events:\n      event:\n        match: first\n        rules:\n"
        for number in range(min(RULES_OF_EVENT, rules - first)):
            text += (f"          - {{number: {number + 1}, class: class-{number}, "
                     f"actions: [{{set: {{attribute-{number % 50}: value}}}}, permit]}}\n")
    return text + "targets:\n  t: {policies: [policy-0]}\n"


def type_keys(client, uri, text, pause):
    mark = "class: class-"
    at = position_of(text, mark, len(mark))
    times = []
    for _ in range(KEYS):
        time.sleep(pause)
        begin = time.monotonic()
        client.change(uri, {"range": {"start": at, "end": at}, "text": "9"})
        at = {"line": at["line"], "character": at["character"] + 1}
        answer = client.at("textDocument/completion", uri, at)
        times.append(1000 * (time.monotonic() - begin))
        assert len(answer["items"]) == RULES_OF_EVENT
    return times


def show(what, times):
    times.sort()
    print(f"{what:44} median {statistics.median(times):6.1f} ms   99 of 100 {times[len(times) * 99 // 100 - 1]:6.1f} ms   "
          f"longest {times[-1]:6.1f} ms")


def main():
    zar, rules = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 5000
    text = policy(rules)
    print(f"{rules} rules, {len(text) // 1024} KiB, {KEYS} keys")
    client = Client(zar)
    client.initialize()
    uri = client.open(text)
    client.diagnostics()
    show("edit and completion, 8 keys a second", type_keys(client, uri, text, 0.125))
    show("edit and completion, without a pause", type_keys(client, uri, text, 0))
    times = []
    for number in range(10):
        begin = time.monotonic()
        client.change(uri, {"text": text + f"nonsense-{number}: 1\n"})
        client.diagnostics(lambda found: any(f"nonsense-{number}" in each["message"] for each in found))
        times.append(1000 * (time.monotonic() - begin))
    show("edit until its errors are shown", times)
    client.end()


main()
