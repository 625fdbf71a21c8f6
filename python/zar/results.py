"""What calls return: frozen dataclasses, with the names of the JSON schemas of the command.

A line and a column, from 1, say where something stands in the policy file.
"""

from __future__ import annotations

from collections.abc import Iterator, Mapping
from dataclasses import dataclass, field
from typing import Literal

Verdict = Literal["none", "permit", "deny"]
Level = Literal["decision", "rules", "filters"]
Kind = Literal["policy-map", "class-map", "target", "parameter-map"]


# ---- Errors of policy files, and checks ----


@dataclass(frozen=True)
class FileProblem:
    """What is wrong at one place of a policy file. Without a line it is wrong as a whole."""

    message: str
    line: int | None = None
    column: int | None = None
    expected: str | None = None
    suggestion: str | None = None
    source: int | None = None

    def text(self, file: str) -> str:
        """FILE:LINE:COLUMN: MESSAGE, with what was expected and what was probably meant."""
        place = ":".join(str(part) for part in (file, self.line, self.column) if part is not None)
        expected = f" (expected {self.expected})" if self.expected else ""
        suggestion = f"; did you mean '{self.suggestion}'?" if self.suggestion else ""
        return f"{place}: {self.message}{expected}{suggestion}"


@dataclass(frozen=True)
class FileErrors:
    """The first 100 errors of a file, and how many there are beyond them."""

    file: str
    errors: tuple[FileProblem, ...]
    more_errors: int = 0

    def lines(self) -> list[str]:
        """A line for each error."""
        more = [f"{self.file}: {self.more_errors} more errors"] if self.more_errors else []
        return [problem.text(self.file) for problem in self.errors] + more


@dataclass(frozen=True)
class ObjectCounts:
    policy_maps: int = 0
    class_maps: int = 0
    parameter_maps: int = 0
    targets: int = 0


@dataclass(frozen=True)
class CheckedFile:
    """A file that was checked. It has no counts of objects if it could not be read as a whole."""

    file: str
    good: bool
    errors: tuple[FileProblem, ...]
    more_errors: int
    objects: ObjectCounts | None


@dataclass(frozen=True)
class Check:
    """Whether policy files are good, and what is wrong with them."""

    good: bool
    files: tuple[CheckedFile, ...]


@dataclass(frozen=True)
class Loaded:
    """What was loaded: the name of the file, and how many objects of each kind it has."""

    file: str
    objects: Mapping[str, int]


# ---- What an event did, and why ----


@dataclass(frozen=True)
class Given:
    """What was changed before the event."""

    set: Mapping[str, str]
    clear: tuple[str, ...]


@dataclass(frozen=True)
class DecidingAction:
    number: int
    action: str
    line: int
    column: int


@dataclass(frozen=True)
class DecidedBy:
    """The last permit or deny that ran for this very event."""

    rule: str
    class_map: str
    line: int
    column: int
    action: DecidingAction


@dataclass(frozen=True)
class RuleRun:
    """A rule that ran: POLICY/EVENT/NUMBER."""

    rule: str
    class_map: str
    line: int
    column: int


@dataclass(frozen=True)
class Change:
    """An attribute before and after; None: the target does not have it."""

    attribute: str
    before: str | None
    after: str | None


@dataclass(frozen=True)
class FilterTried:
    """A filter and the value that it found. It was not asked if the outcome was certain without it."""

    filter: str
    attribute: str
    value: str | None
    asked: bool
    holds: bool
    line: int
    column: int


@dataclass(frozen=True)
class NearestRule:
    """The rule that came nearest to matching. Without 'missing', it has no filter and never matches."""

    rule: str
    class_map: str
    line: int
    column: int
    missing: int | None
    first: FilterTried | None


@dataclass(frozen=True)
class NearestStatement:
    """The statement that came nearest to matching."""

    index: int
    line: int
    column: int
    missing: int | None
    first: FilterTried | None


@dataclass(frozen=True)
class StatementTried:
    index: int
    matched: bool
    line: int
    column: int
    filters: tuple[FilterTried, ...] = ()


@dataclass(frozen=True)
class Raised:
    """The event that an action raised."""

    event: str
    verdict: Verdict
    policies: tuple[PolicyTried, ...]


@dataclass(frozen=True)
class Applied:
    """The parameter-map that an action applied."""

    parameter_map: str
    statements: tuple[StatementTried, ...]
    actions: tuple[ActionRun, ...]
    nearest: NearestStatement | None = None


@dataclass(frozen=True)
class ActionRun:
    """An action that ran, and what it changed, raised or applied."""

    number: int
    action: str
    failed: bool
    refused: bool
    line: int
    column: int
    changes: tuple[Change, ...]
    raised: Raised | None = None
    applied: Applied | None = None


@dataclass(frozen=True)
class RuleTried:
    number: int
    class_map: str
    match: str
    matched: bool
    line: int
    column: int
    actions: tuple[ActionRun, ...]
    cut_short: bool
    filters: tuple[FilterTried, ...] = ()


@dataclass(frozen=True)
class PolicyTried:
    """An active policy-map, and its rules if it handles the event."""

    policy_map: str
    handles_event: bool
    line: int
    column: int
    match: str | None = None
    rules: tuple[RuleTried, ...] = ()
    nearest: NearestRule | None = None


@dataclass(frozen=True)
class Stopped:
    """The event was stopped by a limit: events or parameter-maps were nested too deep, or were too many."""

    message: str
    refused: int
    line: int
    column: int


@dataclass(frozen=True)
class Explanation:
    """What an event did on a target, and why.

    The path (policies) is only there at the levels 'rules' and 'filters'. str() shows all of it as text.
    """

    file: str
    event: str
    target: str
    given: Given
    level: Level
    verdict: Verdict
    decided_by: DecidedBy | None
    rules_run: tuple[RuleRun, ...]
    changes: tuple[Change, ...]
    log: tuple[str, ...]
    error: Stopped | None = None
    nearest: NearestRule | None = None
    policies: tuple[PolicyTried, ...] = ()

    @property
    def permitted(self) -> bool:
        return self.verdict == "permit"

    @property
    def denied(self) -> bool:
        return self.verdict == "deny"

    def rules(self) -> tuple[str, ...]:
        """The rules that ran, as POLICY/EVENT/NUMBER."""
        return tuple(rule.rule for rule in self.rules_run)

    def changed(self) -> dict[str, str | None]:
        """The attributes that the event changed, and their values afterwards; None: gone."""
        return {change.attribute: change.after for change in self.changes}

    def __str__(self) -> str:
        from zar._text import explanation_text

        return explanation_text(self)


# ---- Objects of the repository ----


@dataclass(frozen=True)
class Client:
    name: str
    database: str


@dataclass(frozen=True)
class Domain:
    """A domain; without an owner it belongs to the engine."""

    name: str
    owner: str | None


@dataclass(frozen=True)
class Filter:
    attribute: str
    kind: str
    text: str | None
    min: int | None
    max: int | None
    no_match: bool


@dataclass(frozen=True)
class Action:
    """An action: what it does (kind), to which attribute, event or parameter-map (subject), with which text."""

    number: int
    precedence: int
    kind: str
    subject: str | None
    text: str | None


@dataclass(frozen=True)
class ClassMap:
    name: str
    domain: str
    match: str
    filters: tuple[Filter, ...]


@dataclass(frozen=True)
class Rule:
    number: int
    class_map: str = field(metadata={"key": "class"})
    execute: str = ""
    actions: tuple[Action, ...] = ()


@dataclass(frozen=True)
class Event:
    name: str
    match: str
    rules: tuple[Rule, ...]


@dataclass(frozen=True)
class PolicyMap:
    name: str
    domain: str
    events: tuple[Event, ...]


@dataclass(frozen=True)
class Statement:
    index: int
    filters: tuple[Filter, ...]
    actions: tuple[Action, ...]


@dataclass(frozen=True)
class ParameterMap:
    name: str
    statements: tuple[Statement, ...]


@dataclass(frozen=True)
class Target:
    """A target; without a client it belongs to the engine. Its policies are in the order of their activation."""

    name: str
    client: str | None
    attributes: Mapping[str, str]
    policies: tuple[str, ...]


@dataclass(frozen=True)
class Shown:
    """An object and what uses it. The database is that of a client, or the default one (None)."""

    kind: Kind
    database: str | None
    used_by: tuple[str, ...]
    object: PolicyMap | ClassMap | Target | ParameterMap = field(
        metadata={
            "by": "kind",
            "classes": {
                "policy-map": PolicyMap,
                "class-map": ClassMap,
                "target": Target,
                "parameter-map": ParameterMap,
            },
        }
    )


@dataclass(frozen=True)
class Inventory:
    """The objects of the repository that were asked for."""

    file: str
    clients: tuple[Client, ...]
    domains: tuple[Domain, ...]
    objects: tuple[Shown, ...]


@dataclass(frozen=True)
class Config:
    """The running configuration: everything that the repository holds."""

    file: str
    clients: tuple[Client, ...]
    domains: tuple[Domain, ...]
    class_maps: tuple[ClassMap, ...]
    parameter_maps: tuple[ParameterMap, ...]
    policy_maps: tuple[PolicyMap, ...]
    targets: tuple[Target, ...]

    def tested_attributes(self) -> frozenset[str]:
        """The attributes that any filter tests: no other attribute of a target changes what events do."""
        maps = [f for class_map in self.class_maps for f in class_map.filters]
        statements = [f for p in self.parameter_maps for statement in p.statements for f in statement.filters]
        return frozenset(f.attribute for f in maps + statements)


@dataclass(frozen=True)
class TargetAttributes:
    target: str
    attributes: Mapping[str, str]


@dataclass(frozen=True)
class AddedTarget:
    target: str
    attributes: Mapping[str, str]
    policies: tuple[str, ...]


# ---- Lint ----


@dataclass(frozen=True)
class Reason:
    """A part of the file that a finding follows from."""

    what: str
    line: int
    column: int


@dataclass(frozen=True)
class Finding:
    """What is provably wrong; 'input' has attributes that show it, if there are any."""

    kind: str
    message: str
    line: int
    column: int
    because: tuple[Reason, ...]
    input: Given | None


@dataclass(frozen=True)
class CommentPlace:
    line: int
    column: int


@dataclass(frozen=True)
class IgnoredFinding:
    """A finding that a comment of the file ignores, for a reason."""

    kind: str
    message: str
    line: int
    column: int
    because: tuple[Reason, ...]
    input: Given | None
    reason: str
    comment: CommentPlace


@dataclass(frozen=True)
class Lint:
    """What is provably wrong with the loaded file. Not complete: some questions were not decided."""

    file: str
    complete: bool
    findings: tuple[Finding, ...]
    ignored: tuple[IgnoredFinding, ...]


# ---- Tests of policy files ----


@dataclass(frozen=True)
class Failure:
    """What a test expected and got: rules, verdict, log, limit, or an attribute."""

    what: str
    expected: str
    actual: str


@dataclass(frozen=True)
class Test:
    """A test of the file; if it failed, why, in which of its steps, and what the event did."""

    __test__ = False  # pytest does not take it for a class of tests

    name: str
    line: int
    column: int
    passed: bool
    failures: tuple[Failure, ...]
    step: int | None = None
    explanation: Explanation | None = None

    def __str__(self) -> str:
        from zar._text import failed_test_text

        return f"{self.name}: passed" if self.passed else failed_test_text(self)


@dataclass(frozen=True)
class Missed:
    """A part of the file that no test covers."""

    what: str
    why: str
    line: int
    column: int


@dataclass(frozen=True)
class CoveredPart:
    covered: int
    total: int
    missed: tuple[Missed, ...]


@dataclass(frozen=True)
class Coverage:
    percent: int
    rules: CoveredPart
    statements: CoveredPart
    filters: CoveredPart


@dataclass(frozen=True)
class TestedFile:
    __test__ = False

    file: str
    passed: int
    failed: int
    tests: tuple[Test, ...]
    coverage: Coverage


@dataclass(frozen=True)
class TestRun:
    """The tests of the loaded file, and what they cover."""

    __test__ = False  # pytest does not take it for a class of tests

    passed: int
    failed: int
    files: tuple[TestedFile, ...]

    def __iter__(self) -> Iterator[Test]:
        return (test for file in self.files for test in file.tests)


# ---- Differences ----


@dataclass(frozen=True)
class NamedPlace:
    name: str
    line: int
    column: int


@dataclass(frozen=True)
class Difference:
    property: str
    old: tuple[str, ...]
    new: tuple[str, ...]


@dataclass(frozen=True)
class ObjectChange:
    """An object that was added, removed, changed or renamed."""

    change: str
    kind: str
    old: NamedPlace | None
    new: NamedPlace | None
    differences: tuple[Difference, ...]


@dataclass(frozen=True)
class ReplayCounts:
    possible: int
    verdict: int
    attributes: int
    log: int
    rules: int


@dataclass(frozen=True)
class ReplayDifference:
    """An event of the scenario that both files decide differently, and in which aspects."""

    number: int
    event: str
    target: str
    line: int
    column: int
    aspects: tuple[str, ...]


@dataclass(frozen=True)
class FirstDifference:
    """Both accounts of the first event that differs; None where it cannot be raised."""

    number: int
    old: Explanation | None
    new: Explanation | None


@dataclass(frozen=True)
class Replay:
    scenario: str
    events: int
    differing: int
    impossible: int
    counts: ReplayCounts
    differences: tuple[ReplayDifference, ...]
    first: FirstDifference | None


@dataclass(frozen=True)
class Diff:
    """What is different between the loaded file (old) and another (new)."""

    old: str
    new: str
    added: int
    removed: int
    changed: int
    renamed: int
    changes: tuple[ObjectChange, ...]
    replay: Replay | None


# ---- The server ----


@dataclass(frozen=True)
class Version:
    version: str
    protocol: int


@dataclass(frozen=True)
class SessionStats:
    requests: int
    events: int
    targets: int
    file: str | None


@dataclass(frozen=True)
class Stats:
    """What the server has done since it started, and this session."""

    uptime_seconds: float
    requests: int
    errors: int
    connections: int
    connections_total: int
    sessions_lost: int
    session: SessionStats
