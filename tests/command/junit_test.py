"""Reads the JUnit XML of zar test with an XML parser.

Usage: junit_test.py ZAR SOURCE_DIR
"""
import json
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

FAILING = "tests/command/policies/failing.yaml"

# A name in YAML, and what the parser has to find.
NAMES = [
    ("'a <b> & \"c\" ]]> &amp; <!-- d'", 'a <b> & "c" ]]> &amp; <!-- d'),
    ('"two\\nlines,\\ta tab"', "two\nlines,\ta tab"),
    ('"\\e[31mred\\a"', "\\x1b[31mred\\x07"),
    ('"gr\u00fc\u00df \U0001f600"', "gr\u00fc\u00df \U0001f600"),
    ('""', ""),
]

POLICY = """
domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: [{log: "<&>"}]}]}}}}
targets: {t: {policies: [p]}}
"""


def results(zar, source, code, *arguments, given=""):
    """The root of the document that the command writes."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "results.xml"
        line = [zar, "test", *arguments, "--junit", str(path)]
        done = subprocess.run(line, cwd=source, capture_output=True, input=given.encode())
        assert done.returncode == code, f"{line}: exit code {done.returncode}\n{done.stderr.decode()}"
        return xml.etree.ElementTree.parse(path).getroot()


def check_counts(root):
    """Every count is that of the elements."""
    for element in [root, *root.iter("testsuite")]:
        for name, what in (("tests", "testcase"), ("failures", "failure"), ("errors", "error")):
            assert int(element.get(name)) == len(list(element.iter(what))), f"{name} of {element.attrib}"


def check_failures(zar, source):
    root = results(zar, source, 65, "examples/broadband.yaml", FAILING, "/nowhere")
    check_counts(root)
    suites = root.findall("testsuite")
    assert [suite.get("name") for suite in suites] == ["examples/broadband.yaml", FAILING, "/nowhere"]
    done = subprocess.run([zar, "test", FAILING, "--json"], cwd=source, capture_output=True)
    written = json.loads(done.stdout)["files"][0]["tests"]
    cases = suites[1].findall("testcase")
    assert [(case.get("name"), int(case.get("line")), case.find("failure") is None) for case in cases] == [
        (test["name"], test["line"], test["passed"]) for test in written
    ]
    failure = cases[1].find("failure")
    assert failure.get("message") == "rules: expected always, actual p/start/10", failure.attrib
    assert "\n    expected: always\n    actual:   p/start/10\n  explanation\n" in failure.text, failure.text
    assert "\x1b" not in failure.text
    assert suites[2].find("testcase/error") is not None


def check_names(zar, source):
    tests = "".join(
        f"  - {{name: {name}, event: e, target: t, expect: {{log: ['<![CDATA[']}}}}\n" for name, _ in NAMES
    )
    root = results(zar, source, 1, "-", given=f"{POLICY}tests:\n{tests}")
    check_counts(root)
    found = [case.get("name") for case in root.iter("testcase")]
    assert found == [name for _, name in NAMES], found
    for failure in root.iter("failure"):
        assert failure.get("message") == 'log: expected "<![CDATA[", actual "<&>"', failure.get("message")
        assert 'action 1 log "<&>"\n' in failure.text, failure.text


def main():
    zar, source = sys.argv[1:]
    check_failures(zar, source)
    check_names(zar, source)
    print(f"{len(NAMES)} names and the results of three files are as an XML parser reads them")


main()
