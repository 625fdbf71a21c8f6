"""Explanations and failed tests as text, for people who read the output of tests."""

from __future__ import annotations

from collections.abc import Iterable, Iterator

from zar.results import (
    ActionRun,
    Applied,
    Change,
    Explanation,
    FilterTried,
    NearestRule,
    NearestStatement,
    PolicyTried,
    RuleTried,
    Test,
)

Lines = Iterator[str]


def explanation_text(explanation: Explanation) -> str:
    """The event, its path through the policies, and its outcome."""
    return "\n".join(_explanation(explanation))


def failed_test_text(test: Test) -> str:
    """What was expected, and what happened instead."""
    step = f" (step {test.step})" if test.step else ""
    lines = [f"{test.name}{step}"]
    lines += [f"  {failure.what}: expected {failure.expected}, but got {failure.actual}" for failure in test.failures]
    if test.explanation:
        lines += ["", *_explanation(test.explanation)]
    return "\n".join(lines)


def _explanation(explanation: Explanation) -> Lines:
    yield f"{explanation.event} at {explanation.target} ({explanation.file})"
    yield from (f"  given: {name} cleared" for name in explanation.given.clear)
    yield from (f"  given: {name} = {value}" for name, value in explanation.given.set.items())
    yield from _indented(line for policy in explanation.policies for line in _policy(policy))
    if explanation.decided_by:
        by = explanation.decided_by
        yield f"  verdict: {explanation.verdict}, by {by.rule} (class-map {by.class_map}, line {by.action.line})"
    else:
        yield f"  verdict: {explanation.verdict}"
    yield from _indented(_nearest_rule(explanation.nearest))
    yield from (f"  {_change(change)}" for change in explanation.changes)
    yield from (f'  logged: "{text}"' for text in explanation.log)
    if explanation.error:
        yield f"  error: {explanation.error.message} (line {explanation.error.line})"


def _indented(lines: Iterable[str]) -> Lines:
    return (f"  {line}" for line in lines)


def _policy(policy: PolicyTried) -> Lines:
    if not policy.handles_event:
        yield f"policy-map {policy.policy_map} does not handle it"
        return
    yield f"policy-map {policy.policy_map} (line {policy.line}) {policy.match}"
    yield from _indented(line for rule in policy.rules for line in _rule(rule))
    yield from _indented(_nearest_rule(policy.nearest))


def _rule(rule: RuleTried) -> Lines:
    outcome = "matched" if rule.matched else "did not match"
    yield f"rule {rule.number}, class-map {rule.class_map} {rule.match} (line {rule.line}): {outcome}"
    yield from _indented(_filter(tried) for tried in rule.filters)
    yield from _indented(line for action in rule.actions for line in _action(action))
    if rule.cut_short:
        yield "  the rule ends here"


def _action(action: ActionRun) -> Lines:
    outcome = " was refused" if action.refused else " failed" if action.failed else ""
    changes = "".join(f" ({_change(change)})" for change in action.changes)
    yield f"{action.number} {action.action}{outcome}{changes}"
    if action.raised:
        yield from _indented(line for policy in action.raised.policies for line in _policy(policy))
        yield f"  verdict: {action.raised.verdict}"
    if action.applied:
        yield from _indented(_applied(action.applied))


def _applied(applied: Applied) -> Lines:
    for statement in applied.statements:
        outcome = "matched" if statement.matched else "did not match"
        yield f"parameter-map {applied.parameter_map}, statement {statement.index} (line {statement.line}): {outcome}"
        yield from _indented(_filter(tried) for tried in statement.filters)
    yield from _indented(line for action in applied.actions for line in _action(action))
    yield from _nearest_statement(applied.nearest)


def _nearest_rule(nearest: NearestRule | None) -> Lines:
    if nearest and nearest.first:
        yield f"nearest: {nearest.rule} (line {nearest.line}), but {_filter(nearest.first)}"


def _nearest_statement(nearest: NearestStatement | None) -> Lines:
    if nearest and nearest.first:
        yield f"nearest: statement {nearest.index} (line {nearest.line}), but {_filter(nearest.first)}"


def _filter(tried: FilterTried) -> str:
    outcome = "not asked" if not tried.asked else "holds" if tried.holds else "does not hold"
    value = "absent" if tried.value is None else f"'{tried.value}'"
    return f"{tried.filter} (line {tried.line}): {outcome}; {tried.attribute} is {value}"


def _change(change: Change) -> str:
    before = "absent" if change.before is None else f"'{change.before}'"
    after = "absent" if change.after is None else f"'{change.after}'"
    return f"{change.attribute}: {before} -> {after}"
