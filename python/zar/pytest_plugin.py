"""Policy files as tests of pytest: each test of a file is an item, and a failure shows what the event did and why.

A YAML file is collected if it has sections 'policy-maps' and 'tests', or if the command line names it. The option
zar_files of pytest's configuration replaces the patterns of names that are considered (*.yaml *.yml); --zar-command and
the option zar_command name the command.

The fixture zar_load gives simulators, which are closed at the end of the test:

    def test_a_closed_account_is_refused(zar_load):
        simulator = zar_load("policies/broadband.yaml")
        assert simulator.explain("session-start", "line-0101", set={"account-state": "closed"}).denied
"""

from __future__ import annotations

import contextlib
import pathlib
import re
from collections import Counter
from collections.abc import Callable, Iterable, Iterator

import pytest

import zar
from zar.results import Test

SECTIONS = [
    re.compile(rb"^['\"]?" + section + rb"['\"]?[ \t]*:", re.MULTILINE) for section in (rb"policy-maps", rb"tests")
]


def pytest_addoption(parser: pytest.Parser) -> None:
    parser.addini(
        "zar_files", "names of policy files whose tests are collected", type="args", default=["*.yaml", "*.yml"]
    )
    parser.addini("zar_command", "the command zar that plays policy files", default="")
    parser.getgroup("zar").addoption("--zar-command", metavar="PATH", help="the command zar that plays policy files")


def command_of(config: pytest.Config) -> str | None:
    """The command that is configured; without one, the package finds it."""
    return config.getoption("--zar-command") or str(config.getini("zar_command")) or None


def pytest_collect_file(file_path: pathlib.Path, parent: pytest.Collector) -> PolicyFile | None:
    patterns = parent.config.getini("zar_files")
    named = parent.session.isinitpath(file_path) and file_path.suffix in (".yaml", ".yml")
    if named or (any(file_path.match(pattern) for pattern in patterns) and has_tests(file_path)):
        found: PolicyFile = PolicyFile.from_parent(parent, path=file_path)
        return found
    return None


def has_tests(path: pathlib.Path) -> bool:
    """Whether it looks like a policy file with tests; many other files are written in YAML."""
    try:
        text = path.read_bytes()
    except OSError:
        return False
    return all(section.search(text) for section in SECTIONS)


class PolicyFile(pytest.File):
    """A policy file. The command runs all its tests at once, while they are collected; the items report them."""

    def collect(self) -> Iterable[PolicyTest]:
        with zar.load(self.path, command=command_of(self.config)) as simulator:
            tests = list(simulator.test())
        for name, test in zip(distinct_names(tests), tests, strict=True):
            item: PolicyTest = PolicyTest.from_parent(self, name=name)
            item.test = test
            yield item

    def repr_failure(self, excinfo: pytest.ExceptionInfo[BaseException], style: object = None) -> str:
        """The places of errors in the file, rather than those in this package."""
        if isinstance(excinfo.value, zar.ZarError):
            return str(excinfo.value)
        return str(super().repr_failure(excinfo))


def distinct_names(tests: list[Test]) -> list[str]:
    """A name for each test: its own, and its line as well where several have the same."""
    counts = Counter(test.name for test in tests)
    return [test.name if counts[test.name] == 1 else f"{test.name} (line {test.line})" for test in tests]


class PolicyTestFailure(Exception):
    """A test of a policy file failed."""


class PolicyTest(pytest.Item):
    """A test of a policy file."""

    test: Test

    def runtest(self) -> None:
        if not self.test.passed:
            raise PolicyTestFailure(str(self.test))

    def repr_failure(self, excinfo: pytest.ExceptionInfo[BaseException], style: object = None) -> str:
        if isinstance(excinfo.value, PolicyTestFailure):
            return f"{self.path}:{self.test.line}: {excinfo.value}"
        return str(super().repr_failure(excinfo))

    def reportinfo(self) -> tuple[pathlib.Path, int, str]:
        return self.path, self.test.line - 1, self.name


@pytest.fixture
def zar_load(request: pytest.FixtureRequest) -> Iterator[Callable[[str | pathlib.Path], zar.Simulator]]:
    """Loads a policy file, whose path may be relative to the test's file; returns its simulator."""
    with contextlib.ExitStack() as simulators:

        def load(path: str | pathlib.Path) -> zar.Simulator:
            beside = request.path.parent / path
            found = beside if beside.exists() else pathlib.Path(path)
            return simulators.enter_context(zar.load(found, command=command_of(request.config)))

        yield load
