"""Validates streams and their results against the shipped JSON Schemas, and compares what the schema of streams and zar
accept.

Usage: stream_schema_test.py ZAR SOURCE_DIR
"""
import json
import pathlib
import subprocess
import sys

import jsonschema

POLICY = "examples/broadband.yaml"

# Lines whose structure is wrong: neither zar nor the schema takes them.
WRONG = [
    "{}",
    "[]",
    '{"event": "session-start"}',
    '{"event": "session-start", "target": 7}',
    '{"event": "session-start", "target": "line-0101", "extra": 1}',
    '{"event": "session-start", "target": "line-0101", "set": {"access": null}}',
    '{"event": "session-start", "target": "line-0101", "set": {"access": 1.5}}',
    '{"event": "session-start", "target": "line-0101", "set": {"access": 9223372036854775808}}',
    '{"event": "session-start", "target": "line-0101", "set": []}',
    '{"event": "session-start", "target": "line-0101", "clear": {}}',
    '{"event": "session-start", "target": "line 0101"}',
    '{"add-target": "new"}',
    '{"add-target": "new", "policies": []}',
    '{"add-target": "new", "policies": ["service", "service"]}',
    '{"add-target": "new", "policies": ["service"], "set": {}}',
    '{"delete-target": "line-0101", "target": "line-0101"}',
]
RIGHT = [
    '{"event": "session-start", "target": "line-0101"}',
    '{"event": "session-start", "target": "line-0101", "set": {}, "clear": []}',
    '{"event": "session-start", "target": "line-0101", "set": {"access": true, "service": -1, "account": "\\u00e4"}}',
    '{"add-target": "new:1@x", "policies": ["service"], "client": "access", "attributes": {"access": 1}}',
    '{"delete-target": "new:1@x"}',
]


def validator(folder, name):
    schema = json.loads((folder / name).read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    return jsonschema.Draft7Validator(schema, resolver=jsonschema.RefResolver(f"{folder.as_uri()}/{name}", schema))


def play(zar, source, lines):
    """Returns the results, and the numbers of the lines that are bad."""
    run = [zar, "run", POLICY, "--events", "-", "--jsonl"]
    done = subprocess.run(run, cwd=source, capture_output=True, text=True, input="\n".join(lines))
    assert done.returncode in (0, 65), done.stderr
    results = [json.loads(line) for line in done.stdout.splitlines()]
    bad = {result["line"] for result in results if "error" in result}
    assert (done.returncode == 65) == bool(bad), f"exit code {done.returncode} with the bad lines {bad}"
    return results, bad


def main():
    zar, source = sys.argv[1:]
    folder = pathlib.Path(source).resolve() / "share" / "schema"
    of_stream = validator(folder, "stream.json")
    of_results = validator(folder, "stream-result.json")

    results, bad = play(zar, source, WRONG + RIGHT)
    assert bad == set(range(1, len(WRONG) + 1)), f"zar refuses the lines {bad}"
    for line in WRONG:
        assert not of_stream.is_valid(json.loads(line)), f"the schema takes {line}"
    for line in RIGHT:
        of_stream.validate(json.loads(line))

    make = [sys.executable, f"{source}/scripts/make_stream.py", "--events", "2000", "--sessions", "200", "--live", "50", "--bad", "100"]
    lines = subprocess.run(make, check=True, capture_output=True, text=True).stdout.splitlines()
    for line in lines:
        of_stream.validate(json.loads(line))
    made, bad = play(zar, source, lines)
    assert len(bad) == 24 and len(made) == 2024, f"{len(bad)} bad lines and {len(made)} results"
    loops = subprocess.run([zar, "run", "tests/command/policies/paths.yaml", "--events", "-", "--jsonl"], cwd=source,
                           capture_output=True, text=True, input='{"event": "loop", "target": "t"}')
    stopped = [json.loads(line) for line in loops.stdout.splitlines()]
    assert "stopped" in stopped[0], stopped
    for result in results + made + stopped:
        of_results.validate(result)
    assert not of_results.is_valid({"line": 1}) and not of_results.is_valid({**made[0], "more": 1})
    print(f"{len(lines) + len(RIGHT)} lines and {len(results + made + stopped)} results are as the schemas say")


main()
