"""Validates the output of sub-commands with --json against the shipped JSON Schemas.

Usage: json_schema_test.py ZAR SOURCE_DIR SUB-COMMAND
"""
import json
import pathlib
import subprocess
import sys

import jsonschema

PATHS = "tests/command/policies/paths.yaml"
LINT = "tests/command/policies/lint.yaml"
BROADBAND_EVENT = '{"event": "session-start", "target": "line-0101"}\n'
EXAMPLES = ["broadband", "guest-network", "interface-qos"]

# The command lines to try for each sub-command, each with its exit code and, if needed, its standard input.
CASES = {
    "check": [
        (0, ["examples/broadband.yaml"]),
        (0, [f"examples/{name}.yaml" for name in EXAMPLES]),
        (65, ["/nowhere"]),
        (65, ["examples/broadband.yaml", "README.md", "examples"]),
    ],
    "run": [(0, [f"examples/{name}.yaml"]) for name in EXAMPLES]
    + [
        (0, [PATHS]),
        (0, ["tests/command/policies/diff-old.yaml"]),
        (0, [PATHS, "--event", "start@t", "--event", "hopeless@t", "--event", "other@u"]),
        (1, [PATHS, "--event", "start@t", "--event", "loop@t", "--event", "other@u"]),
        (0, [PATHS, "--event", "start@*", "--set", "age=7"]),
        (0, ["examples/broadband.yaml", "--with", "-"], "scenario: [{event: session-stop, target: line-0103}]"),
        (0, [f"examples/{name}.yaml" for name in EXAMPLES]),
        (65, ["/nowhere"]),
        (65, ["examples/broadband.yaml", "/nowhere", PATHS]),
    ],
    "explain": [
        (0, ["examples/broadband.yaml", "--event", "session-start@line-0101", "--level", level])
        for level in ("decision", "rules", "filters")
    ]
    + [
        (0, [PATHS, "--event", event, "--level", level])
        for event in ("start@t", "apply@t", "apply-empty@t", "hopeless@t", "empty@t", "other@t", "other@u", "start@*", "other@*")
        for level in ("decision", "rules", "filters")
    ]
    + [(1, [PATHS, "--event", event, "--level", level]) for event in ("loop@t", "loop@*") for level in ("decision", "filters")]
    + [(0, [PATHS, "--event", "apply@t", "--set", "age=\u00e4\u202e"]), (65, ["README.md", "--event", "e@t"])]
    + [(0, [LINT, "--reach", "p/ages/2"]), (1, [LINT, "--reach", "p/ages/3"]), (1, [LINT, "--reach", "p/never/1"])]
    + [(65, ["README.md", "--reach", "p/e/1"])],
    "show": [
        (0, ["examples/broadband.yaml"]),
        (0, ["examples/guest-network.yaml", "policy", "guest-login"]),
        (0, ["tests/command/policies/config.yaml"]),
        (0, [PATHS, "parameter-map"]),
        (65, ["README.md"]),
    ],
    "test": [
        (0, ["examples/broadband.yaml", "--min-coverage", "95"]),
        (0, [f"examples/{name}.yaml" for name in EXAMPLES]),
        (1, ["tests/command/policies/failing.yaml"]),
        (1, [PATHS]),
        (1, ["examples/broadband.yaml", "--with", "-"],
         "tests: [{steps: [{event: session-stop, target: line-0103}, {event: session-stop, target: line-0103, expect: {verdict: deny}}]}]"),
        (0, ["examples/broadband.yaml", "examples/guest-network.yaml", "--only", "DSL has its own profile"]),
        (65, ["examples/broadband.yaml", "/nowhere", "tests/command/policies/failing.yaml"]),
        (65, ["/nowhere"]),
    ],
    "config": [
        (0, [f"examples/{name}.yaml"]) for name in EXAMPLES
    ]
    + [(0, ["tests/command/policies/config.yaml"]), (0, [PATHS]), (65, ["/nowhere"])],
    "diff": [
        (65, ["/nowhere", "examples/broadband.yaml", "--replay", "README.md"]),
        (0, ["examples/broadband.yaml", "examples/broadband.yaml", "--replay", "examples/broadband.yaml"]),
        (1, ["tests/command/policies/diff-old.yaml", "tests/command/policies/diff-new.yaml"]),
        (1, ["tests/command/policies/diff-old.yaml", "tests/command/policies/diff-new.yaml", "--replay", "tests/command/policies/diff-old.yaml"]),
        (1, ["examples/broadband.yaml", "examples/guest-network.yaml", "--replay", "examples/broadband.yaml"]),
        (65, ["tests/command/policies/diff-old.yaml", "tests/command/policies/diff-new.yaml", "--replay", "tests/command/policies/diff.jsonl"]),
    ],
    "fmt": [
        (0, ["--check", *(f"examples/{name}.yaml" for name in EXAMPLES)]),
        (0, ["-"], "domains: {d:   }\n"),
        (1, ["--diff", "-", "examples/broadband.yaml"], "domains: {d:   }\n"),
        (65, ["--check", "/nowhere", "examples/broadband.yaml"]),
        (65, ["-"], "clients: 7\n"),
    ],
    "graph": [(0, [f"examples/{name}.yaml"]) for name in EXAMPLES]
    + [(0, ["tests/command/policies/config.yaml"]), (0, [PATHS]), (65, ["examples"])],
    "report": [
        (0, ["examples/broadband.yaml", "-o", "/dev/null"]),
        (0, ["examples/broadband.yaml", "--against", "examples/guest-network.yaml", "-o", "/dev/null"]),
        (0, ["-", "--against", "examples/guest-network.yaml", "-o", "/dev/null"], "{}\n"),
        (0, ["examples/broadband.yaml", "--events", "-", "-o", "/dev/null"], BROADBAND_EVENT + "{}\n"),
        (0, ["examples/broadband.yaml", "--against", "examples/broadband.yaml", "--events", "-", "-o", "/dev/null"], BROADBAND_EVENT),
        (65, ["README.md", "--against", "/nowhere", "-o", "/dev/null"]),
    ],
    "schema": [(0, [])],
    "shell": [
        (65, ["README.md"], "show\n"),
        (65, [], "load README.md\n"),
        (0, [], "create domain d\ncreate class a\nexit\n"),
        (0, [], "load examples/broadband.yaml\nraise session-start@line-0103\nexplain volume-update@line-0102 filters\nshow\nrun | include verdict\nundo\ntest\ndiff\n"),
        (65, ["examples/broadband.yaml"], "raise session-start@line-0103\nraise nothing@line-0103\nquit\n"),
        (65, ["examples/broadband.yaml"], "create policy p {events: {e: {rules: [{number: 1, class: always, actions: [deny]}]}}}\n"
         "create target t {client: access, policies: [p]}\nraise e@t\nshow target t\nload nothing\n"),
    ],
    "prove": [(0, [f"examples/{name}.yaml"]) for name in EXAMPLES]
    + [
        (0, ["examples/broadband.yaml", "--against", "examples/broadband.yaml"]),
        (1, ["examples/guest-network.yaml", "--claim", "{event: login, never: permit}"]),
        (1, ["tests/command/policies/diff-new.yaml", "--against", "tests/command/policies/diff-old.yaml"]),
        (3, ["examples/broadband.yaml", "--timeout", "0"]),
        (1, [PATHS]),
        (65, ["/nowhere"]),
        (65, ["/nowhere", "--against", "README.md"]),
    ],
    "lint": [
        (1, [LINT]),
        (1, ["tests/command/policies/lint-actions.yaml"]),
        (1, ["tests/command/policies/lint-ignore.yaml"]),
        (1, ["examples/broadband.yaml"]),
        (0, ["examples/guest-network.yaml"]),
        (65, ["README.md"]),
        (65, ["README.md", "examples/guest-network.yaml", "examples/broadband.yaml"]),
        (1, ["examples/guest-network.yaml", "examples/broadband.yaml"]),
    ],
}


def forbids_anything_else(schema):
    """Objects with named properties must forbid others: otherwise a misspelt key would pass."""
    if isinstance(schema, dict):
        if "properties" in schema and schema.get("additionalProperties") is not False:
            return False
        return all(forbids_anything_else(part) for part in schema.values())
    if isinstance(schema, list):
        return all(forbids_anything_else(part) for part in schema)
    return True


def main():
    zar, source, command = sys.argv[1:]
    folder = pathlib.Path(source).resolve() / "share" / "schema"
    schema = json.loads((folder / f"{command}.json").read_text())
    # The schemas refer to each other by their file names.
    resolver = jsonschema.RefResolver(f"{folder.as_uri()}/{command}.json", schema)
    jsonschema.Draft7Validator.check_schema(schema)
    assert forbids_anything_else(schema), "an object of the schema takes unknown keys"
    for code, arguments, *given in CASES[command]:
        line = [zar, command, *arguments, "--json"]
        done = subprocess.run(line, cwd=source, capture_output=True, input="".join(given).encode())
        shown = " ".join(repr(word) for word in line)
        assert done.returncode == code, f"{shown}: exit code {done.returncode}\n{done.stderr.decode()}"
        # Exactly one object.
        found = json.loads(done.stdout.decode("utf-8"))
        jsonschema.Draft7Validator(schema, resolver=resolver).validate(found)
        assert list(found)[:2] == ["schema_version", "command"], shown
    print(f"{len(CASES[command])} outputs of zar {command} are as the schema says")


main()
