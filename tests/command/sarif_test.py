"""Validates zar check and zar lint with --format sarif against the structure of SARIF 2.1.0, and compares with --json.

Usage: sarif_test.py ZAR SOURCE_DIR
"""
import json
import pathlib
import subprocess
import sys
import urllib.parse

import jsonschema

LINT = "tests/command/policies/lint.yaml"
IGNORE = "tests/command/policies/lint-ignore.yaml"

# Command lines, each with its exit code and its standard input.
CASES = [
    (0, ["check", "examples/broadband.yaml", "examples/guest-network.yaml"], b""),
    (65, ["check", "examples/broadband.yaml", "README.md", "/nowhere"], b""),
    (65, ["check", "-"], b"clients: {a b: {databse: \"\\e\xe2\x80\xae\"}}\n"),
    (65, ["check", "-"], b"clients: {" + b", ".join(b"'%d!': " % number for number in range(150)) + b"}\n"),
    (0, ["lint", "examples/guest-network.yaml"], b""),
    (1, ["lint", LINT], b""),
    (1, ["lint", IGNORE, LINT], b""),
    (65, ["lint", LINT, "examples/broadband.yaml", "README.md"], b""),
]


def run(zar, source, line, given):
    done = subprocess.run([zar, *line], cwd=source, capture_output=True, input=given)
    assert not done.stderr, f"{line}: {done.stderr}"
    return done.returncode, json.loads(done.stdout.decode("utf-8"))


def places_of_json(command, found):
    """The places of all errors and findings: file, line, column."""
    errors = found["files"] if command == "check" else found.get("file_errors", [])
    for file in errors:
        for error in file["errors"]:
            yield file["file"], error["line"], error["column"]
    if command == "lint":
        for file in found.get("files", [found] if "findings" in found else []):
            for finding in file["findings"] + file["ignored"]:
                yield file["file"], finding["line"], finding["column"]


def places_of_sarif(log):
    for result in log["runs"][0]["results"]:
        place = result["locations"][0]["physicalLocation"]
        uri = place["artifactLocation"]["uri"]
        region = place.get("region", {})
        yield (urllib.parse.unquote(uri.removeprefix("file://")), region.get("startLine"), region.get("startColumn"))


def check_rules(log):
    rules = [rule["id"] for rule in log["runs"][0]["tool"]["driver"]["rules"]]
    for result in log["runs"][0]["results"]:
        assert rules[result["ruleIndex"]] == result["ruleId"], result
    used = {result["ruleId"] for result in log["runs"][0]["results"]}
    assert used == set(rules) and len(used) == len(rules), rules


def check_suppressions(log, files):
    """The results that a comment ignores, and no others, are suppressed for the reason that it gives."""
    reasons = [
        suppression["justification"]
        for result in log["runs"][0]["results"]
        for suppression in result["suppressions"]
    ]
    assert reasons == [ignored["reason"] for file in files for ignored in file["ignored"]], reasons
    return len(reasons)


def main():
    zar, source = sys.argv[1:]
    schema = json.loads((pathlib.Path(__file__).parent / "sarif.json").read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)
    results = suppressed = 0
    for code, line, given in CASES:
        status, log = run(zar, source, [*line, "--format", "sarif"], given)
        assert status == code, f"{line}: exit code {status}"
        validator.validate(log)
        check_rules(log)
        _, found = run(zar, source, [*line, "--format", "json"], given)
        if line[0] == "lint":
            suppressed += check_suppressions(log, found.get("files", [found] if "findings" in found else []))
        assert sorted(places_of_sarif(log), key=str) == sorted(places_of_json(line[0], found), key=str), line
        results += len(log["runs"][0]["results"])
        more = any(file.get("more_errors") for file in found.get("files", []))
        assert more == ("toolExecutionNotifications" in log["runs"][0]["invocations"][0]), line
    assert results > 100, results
    assert suppressed > 0
    print(f"{results} results of {len(CASES)} logs are as SARIF says")


main()
